"""Packed bitmaps in memory, BMP and PSD files, device contexts.

Headers and files are looked through before the library is called, whose engine ends the
process (exit 1) on bitmaps that it refuses: ValueError says what is wrong with them. A file
that another process changes between the look and the call is looked at in vain. The name in
brackets is that of the C function.
"""

import ctypes
import os
import struct
import sys
import weakref
from typing import Any, NamedTuple, Union

import numpy as np

from quibtool import _check, raw
from quibtool.errors import QuibError, check
from quibtool.image import OUT, Image, Pixels, call, check_size, need_depth, need_image, row_bytes

Path = Union[str, bytes, "os.PathLike[str]", "os.PathLike[bytes]"]
_HEADER = struct.Struct("<IiiHHIIiiII")
_RGB, _RLE8, _RLE4, _MASKS = 0, 1, 2, 3
_MOVEABLE = 0x0002

# --- The platform's calls --------------------------------------------------------


def _platform(name: str, result: Any, *arguments: Any, dll: str = "kernel32") -> Any:
    """A function of the system, or of the library that stands in for it elsewhere."""
    if sys.platform == "win32":
        function = getattr(ctypes.WinDLL(dll), name)
    else:
        try:
            function = raw.LIBRARY[name]
        except AttributeError:
            raise NotImplementedError(f"the loaded library comes without {name}") from None
    function.restype, function.argtypes = result, arguments
    return function


class _Block:
    """A block of movable global memory, filled with bytes."""

    def __init__(self, data: bytes) -> None:
        pointer, size = ctypes.c_void_p, ctypes.c_size_t
        self._lock = _platform("GlobalLock", pointer, pointer)
        self._unlock = _platform("GlobalUnlock", ctypes.c_int32, pointer)
        self._free = _platform("GlobalFree", pointer, pointer)
        self._size = len(data)
        self.handle = _platform("GlobalAlloc", pointer, ctypes.c_uint32, size)(
            _MOVEABLE, max(len(data), 1))
        if not self.handle:
            raise MemoryError(f"no block of {len(data)} bytes")
        ctypes.memmove(self._lock(self.handle), data, len(data))
        self._unlock(self.handle)

    def contents(self) -> bytes:
        """What the block holds now."""
        found = ctypes.string_at(self._lock(self.handle), self._size)
        self._unlock(self.handle)
        return found

    def __enter__(self) -> "_Block":
        return self

    def __exit__(self, *unused: object) -> None:
        self._free(self.handle)


# --- Headers ---------------------------------------------------------------------


class _Header(NamedTuple):
    size: int
    width: int
    height: int
    planes: int
    bits: int
    compression: int
    image_bytes: int
    x_density: int
    y_density: int
    used: int
    important: int


def _header(data: bytes) -> _Header:
    if len(data) < _HEADER.size:
        raise ValueError(f"a bitmap must have a header of 40 bytes, not {len(data)} bytes")
    header = _Header(*_HEADER.unpack_from(data))
    if header.width < 1 or header.height < 1:
        raise ValueError(f"a bitmap must have 1 column and row or more, its lowest row first, "
                         f"not {header.width} x {header.height}")
    if header.bits not in (1, 8, 24, 32):
        raise ValueError(f"a bitmap must have 1, 8, 24 or 32 bits per pixel, not {header.bits}")
    return header


def _need_engine_header(header: _Header) -> None:
    """What the engine refuses in a header."""
    if header.size != 40 or header.planes != 1:
        raise ValueError(f"a bitmap must have biSize 40 and 1 plane, not {header.size} and "
                         f"{header.planes}")
    if header.compression not in (_RGB, _MASKS) and \
            (header.compression, header.bits) != (_RLE8, 8):
        raise ValueError(f"a bitmap of {header.bits} bits must not have compression "
                         f"{header.compression}")
    if header.used > (256 if header.bits == 8 else 0x8000):
        raise ValueError(f"a bitmap must not have {header.used} colours")


def _need_runs(header: _Header, data: bytes) -> None:
    """Follows the commands of a run-length stream, which must fill every row; what the data
    are too few for is 0."""
    at, x, y = 40 + (4 * header.used or 1024), 0, 0
    while True:
        if x > header.width or y > header.height:
            raise ValueError("the bitmap's runs leave its rows")
        count, value = (data[at:at + 2] + b"\0\0")[:2]
        at += 2
        if count:
            x += count
        elif value == 0:
            if x != header.width:
                raise ValueError(f"the bitmap's runs end row {y} after {x} pixels")
            x, y = 0, y + 1
        elif value == 1:
            if y not in (header.height, header.height - 1):
                raise ValueError(f"the bitmap's runs end after {y} of {header.height} rows")
            return
        elif value == 2:
            dx, dy = (data[at:at + 2] + b"\0\0")[:2]
            at, x, y = at + 2, x + dx, y + dy
        else:
            x += value
            at += value + (value & 1)


def _need_engine_bitmap(header: _Header, data: bytes) -> None:
    _need_engine_header(header)
    if header.compression == _RLE8:
        _check.reserve("the bitmap's rows", row_bytes(header.width, 8) * header.height)
        _need_runs(header, data)


# --- Packed bitmaps --------------------------------------------------------------


def _bytes(name: str, data: Any) -> bytes:
    try:
        return bytes(memoryview(data))
    except (TypeError, BufferError):
        raise TypeError(f"{name} must be bytes, not {type(data).__name__}") from None


def from_dib(data: Union[bytes, bytearray, memoryview], depth: int = 0) -> Image:
    """A new image of a packed bitmap: header, colour table, rows from the lowest on. depth 0
    keeps the bitmap's, 8 gives 8 bits, any other 32, where every pixel is opaque. What data
    are too short for is 0. [Dib2Quib]"""
    content = _bytes("data", data)
    header = _header(content)
    depth = _check.integer("depth", depth)
    made = depth if depth == 8 else header.bits if depth == 0 else 32
    check_size(header.width, header.height, made)
    if made == 8 or header.bits in (1, 8) or (depth == 0 and header.bits == 24):
        _need_engine_bitmap(header, content)
    _check.reserve("the bitmap", 2 * len(content) + (1 << 18))
    with _Block(content) as block:
        return Image._adopt(call("Dib2Quib", block.handle, OUT, depth), "Dib2Quib")


def from_dib_parts(header: bytes, bits: Union[bytes, bytearray, memoryview]) -> Image:
    """A new 32-bit image of a bitmap's header and its rows apart. Rows are looked for where
    they are right for 32 bits only. [Dib2Quib0]"""
    head, rows = _bytes("header", header), _bytes("bits", bits)
    found = _header(head)
    check_size(found.width, found.height, 32)
    step = (found.bits * found.width + 31) // 32 * found.bits // 8
    needed = step * found.height
    if found.bits in (24, 32):
        needed = max(needed, step * (found.height - 1) + found.width * found.bits // 8)
    else:
        _need_engine_bitmap(found, head[:40] + rows[:needed])
    if len(rows) < needed:
        raise ValueError(f"bits must be at least {needed} bytes, not {len(rows)}")
    _check.reserve("the bitmap", 3 * len(rows) + (1 << 18))
    kept = [ctypes.create_string_buffer(part, len(part) + 64) for part in (head, rows)]
    out = call("Dib2Quib0", ctypes.addressof(kept[0]), ctypes.addressof(kept[1]), OUT)
    return Image._adopt(out, "Dib2Quib0")


def to_dib(image: Image) -> bytes:
    """A packed bitmap of a 32-bit image, of 24 bits and without the alpha, or of a 1-bit one,
    of 8 bits with black and white. The library writes no others as they are. [Quib2Dib]"""
    need_depth("image", image, (1, 32))
    bits = 24 if image.depth == 32 else 8
    colors = b"" if bits == 24 else struct.pack("<2I", 0, 0xFFFFFF)
    size = row_bytes(image.width, bits) * image.height
    _check.reserve("the bitmap", 3 * size + (1 << 18))
    header = _HEADER.pack(40, image.width, image.height, 1, bits, _RGB, size, 0, 0,
                          len(colors) // 4, 0)
    with _Block(header + colors + bytes(size)) as block:
        call("Quib2Dib", image, block.handle)
        return block.contents()


# --- Files -----------------------------------------------------------------------


def _file_name(path: Path) -> bytes:
    """A file's name as the library's runtime takes it."""
    name = os.fspath(path)
    if isinstance(name, str):
        encoding = "mbcs" if sys.platform == "win32" else sys.getfilesystemencoding()
        errors = "strict" if sys.platform == "win32" else sys.getfilesystemencodeerrors()
        try:
            name = name.encode(encoding, errors)
        except UnicodeEncodeError:
            raise ValueError(f"path {path!r} has characters that the system's code page "
                             "lacks") from None
    if b"\0" in name:
        raise ValueError(f"path must not hold a null character: {path!r}")
    return name


def _start_of(name: bytes, count: int) -> bytes:
    with open(name, "rb") as file:
        return file.read(count)


def load_bmp(path: Path) -> Image:
    """A new image of a BMP file: 32 bits for 24 and 32, with alpha 0 for 24; gray of its own
    depth for 1 and 8. What a short file lacks is 0. OSError if it cannot be opened,
    ValueError if it is no bitmap that the library reads. [QuibLoadBMP]"""
    name = _file_name(path)
    start = _start_of(name, 54)
    if len(start) < 54 or start[:2] != b"BM":
        raise ValueError(f"{path!r} must be a BMP file: it has no such headers")
    header = _header(start[14:])
    colors = header.used or (3 if header.compression == _MASKS else
                             1 << header.bits if header.bits < 16 else 0)
    header = header._replace(used=colors)
    check_size(header.width, header.height, 32 if header.bits > 8 else header.bits)
    size = header.image_bytes or row_bytes(header.width, header.bits) * header.height
    if size + 4 * colors + 40 > _check.INT_MAX:
        raise MemoryError(f"{path!r} claims a bitmap of {size} bytes")
    _check.reserve("the file's bitmap", size + 4 * colors + (1 << 18))
    _need_engine_header(header)
    if header.compression == _RLE8:
        _need_engine_bitmap(header, _start_of(name, 54 + 4 * colors + size)[14:])
    _check.reserve("the image", 2 * size + 5 * header.width * header.height)
    return Image._adopt(call("QuibLoadBMP", name, OUT), "QuibLoadBMP")


def load_psd(path: Path) -> tuple[Image, Image]:
    """Two new images of a PSD file with two layers: the lower one's picture, of 32 bits with
    its mask or transparency as alpha, and the upper one's mask or transparency, of 8 bits.
    OSError if it cannot be opened, QuibError if it is damaged or of another kind.
    [QuibLoadFramePsd2Bmp]"""
    name = _file_name(path)
    start = _start_of(name, 26)
    if len(start) == 26 and start[:4] == b"8BPS":
        height, width = struct.unpack(">II", start[14:22])
        if width * height * 4 > _check.INT_MAX:
            raise MemoryError(f"{path!r} claims {width} x {height} pixels")
        _check.reserve("the file's pixels", 24 * width * height + (1 << 20))
    image = ctypes.POINTER(raw.IplImage)()
    mask = ctypes.POINTER(raw.IplImage)()
    status = raw.QuibLoadFramePsd2Bmp(name, ctypes.byref(image), ctypes.byref(mask))
    made = [Image._adopt(pointer, "QuibLoadFramePsd2Bmp") if pointer else None
            for pointer in (image, mask)]
    check("QuibLoadFramePsd2Bmp", status)
    if made[0] is None or made[1] is None:
        raise QuibError("QuibLoadFramePsd2Bmp", raw.QUIB_FAILED, "it made nothing")
    return made[0], made[1]


# --- Device contexts -------------------------------------------------------------


class _DeviceBitmap:
    """A memory device context with a bitmap selected into it."""

    def __init__(self, width: int, height: int, bits: int) -> None:
        pointer, word = ctypes.c_void_p, ctypes.c_uint32
        create = _platform("CreateCompatibleDC", pointer, pointer, dll="gdi32")
        section = _platform("CreateDIBSection", pointer, pointer, pointer, word, pointer, pointer,
                            word, dll="gdi32")
        select = _platform("SelectObject", pointer, pointer, pointer, dll="gdi32")
        info = _HEADER.pack(40, width, -height, 1, bits, _RGB, 0, 0, 0, 0, 0) + bytes(4)
        address = ctypes.c_void_p()
        self.context = create(None)
        bitmap = section(self.context, info, 0, ctypes.byref(address), None, 0)
        if not self.context or not bitmap or not address.value:
            raise MemoryError(f"no device bitmap of {width} x {height} pixels of {bits} bits")
        before = select(self.context, bitmap)
        weakref.finalize(self, _release, self.context, bitmap, before).atexit = False
        step = row_bytes(width, bits)
        self.__array_interface__ = {
            "version": 3, "typestr": "|u1", "shape": (height, width, bits // 8),
            "strides": (step, bits // 8, 1), "data": (address.value, False)}


def _release(context: int, bitmap: int, before: int) -> None:
    pointer = ctypes.c_void_p
    _platform("SelectObject", pointer, pointer, pointer, dll="gdi32")(context, before)
    _platform("DeleteObject", ctypes.c_int32, pointer, dll="gdi32")(bitmap)
    _platform("DeleteDC", ctypes.c_int32, pointer, dll="gdi32")(context)


class Device:
    """A device context in memory, of 24 or 32 bits per pixel, black at first. `pixels` is an
    array over it, rows from the top on, that keeps it alive; `context` is the HDC."""

    def __init__(self, width: int, height: int, bits: int = 32) -> None:
        width, height, bits = check_size(width, height, bits)
        if bits not in (24, 32):
            raise ValueError(f"bits must be 24 or 32, not {bits}")
        self._bitmap = _DeviceBitmap(width, height, bits)
        self.context: int = self._bitmap.context

    @property
    def pixels(self) -> Pixels:
        """The device's pixels, B, G, R and a fourth byte."""
        _platform("GdiFlush", ctypes.c_int32, dll="gdi32")()
        return np.asarray(self._bitmap)


def draw(image: Image, device: Device, x: int = 0, y: int = 0) -> None:
    """Draws an image with its corner at (x, y) of a device context. [QuibDrawToHDC]"""
    need_image("image", image)
    if not isinstance(device, Device):
        raise TypeError(f"device must be a Device, not {type(device).__name__}")
    call("QuibDrawToHDC", image, device.context, _check.integer("x", x), _check.integer("y", y))
