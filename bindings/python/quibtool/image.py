"""Images: handles of the library, with their pixels as numpy arrays."""

import contextlib
import ctypes
import threading
import weakref
from collections.abc import Iterator, Sequence
from typing import Any, NamedTuple, Optional

import numpy as np
import numpy.typing as npt

from quibtool import _check, raw
from quibtool.errors import QuibError, check

Pixels = npt.NDArray[np.uint8]
DEPTHS = (1, 8, 24, 32)
# Depth of the record's elements, channels, colour model, channel sequence, by bits per pixel.
_KINDS = {8: (8, 1, b"GRAY", b"GRAY"), 24: (8, 3, b"RGB", b"BGR"), 32: (8, 4, b"RGBA", b"BGRA")}
_BYTES_MAX = _check.INT_MAX - 64
_ADDRESS = ctypes.POINTER(raw.IplImage)


class Region(NamedTuple):
    """The part of an image that an operation touches, in pixels."""

    x: int
    y: int
    width: int
    height: int


class Info(NamedTuple):
    """The size of an image in pixels, its bits per pixel, and the bytes from row to row."""

    width: int
    height: int
    depth: int
    row_bytes: int


def row_bytes(width: int, depth: int) -> int:
    """Bytes of a row, padded to 4."""
    return (width * depth + 31) // 32 * 4


def rgba(red: int, green: int, blue: int, alpha: int = 255) -> int:
    """The word of a 32-bit pixel, as Image and fill take it."""
    parts = [_check.integer(name, value, 0, 255) for name, value in
             (("red", red), ("green", green), ("blue", blue), ("alpha", alpha))]
    return parts[2] | parts[1] << 8 | parts[0] << 16 | parts[3] << 24


def check_size(width: Any, height: Any, depth: Any) -> tuple[int, int, int]:
    """The size and depth of a picture that can be made; MemoryError for one too large."""
    width = _check.integer("width", width, 1)
    height = _check.integer("height", height, 1)
    depth = _check.integer("depth", depth)
    if depth not in DEPTHS:
        raise ValueError(f"depth must be 1, 8, 24 or 32 bits per pixel, not {depth}")
    what = f"a picture of {width} x {height} pixels of {depth} bits"
    size = row_bytes(width, depth) * height
    if size > _BYTES_MAX or width * depth > _check.INT_MAX - 32:
        raise MemoryError(f"{what} would take {size} bytes; the library's have less than 2 GiB")
    _check.reserve(what, size + (1 << 16))
    return width, height, depth


def _free(address: int, library_region: list[int]) -> None:
    """Frees a handle of the library's making, with the region that it made itself."""
    handle = ctypes.cast(address, _ADDRESS)
    handle.contents.maskROI = None
    handle.contents.roi = None
    if library_region:
        handle.contents.roi = ctypes.cast(library_region[0], ctypes.POINTER(raw.IplROI))
    raw.QuibFree(ctypes.byref(handle))


class _Handle:
    """What keeps a record and its pixels: an image, and each array that shows them."""

    def __init__(self, pointer: Any, keep: Any = None, owned: bool = True) -> None:
        self.pointer = pointer
        self.record: raw.IplImage = pointer.contents
        self.keep = keep
        self.lock = threading.RLock()
        self.library_region: list[int] = []
        if owned:
            address = ctypes.addressof(self.record)
            weakref.finalize(self, _free, address, self.library_region).atexit = False


class _Shown:
    """Pixels of a handle for numpy, which holds on to this."""

    def __init__(self, handle: _Handle, shape: tuple[int, ...], strides: tuple[int, ...]) -> None:
        self.handle = handle
        self.__array_interface__ = {
            "version": 3, "typestr": "|u1", "shape": shape, "strides": strides,
            "data": (handle.record.imageData, False),
        }


class Image:
    """An image of 1, 8, 24 or 32 bits per pixel; a handle of the library.

    Image(width, height, depth, fill) makes one. fill is a value for 1 and 8 bits and a
    word for 24 and 32 bits (see rgba). Pixels have bytes in the order B, G, R, A.
    [QuibCreate]

    `pixels` is a numpy array over the handle's memory, without a copy. An image can be
    closed, by close() or a with statement; its memory goes when the last array over it
    does too, so that arrays stay good.

    A `region` and a `mask` limit what operations read and write. Both stay until they are
    set anew, and are given to the library's record for the length of each call alone.

    Images may be used from several threads. Calls on one image wait for one another; those
    on different images run side by side. Arrays know of no calls.
    """

    def __init__(self, width: int, height: int, depth: int = 32, fill: int = 0) -> None:
        width, height, depth = check_size(width, height, depth)
        fill = _fill_of(depth, fill)
        pointer = _ADDRESS()
        check("QuibCreate", raw.QuibCreate(width, height, depth, ctypes.byref(pointer), fill))
        self._set(_Handle(pointer))
        if depth == 24:  # which the library leaves as they are
            self.fill(fill)

    def _set(self, handle: _Handle) -> None:
        self._handle: Optional[_Handle] = handle
        self._region: Optional[Region] = None
        self._mask: Optional[Image] = None
        self.copied = False
        roi = handle.record.roi
        if roi:  # a clone's; the library frees it with the handle
            found = roi.contents
            self._region = Region(found.xOffset, found.yOffset, found.width, found.height)
            handle.library_region.append(ctypes.addressof(found))
            handle.record.roi = None

    @classmethod
    def _adopt(cls, pointer: Any, function: str) -> "Image":
        if not pointer:
            raise QuibError(function, raw.QUIB_FAILED, "it made nothing")
        image = cls.__new__(cls)
        image._set(_Handle(pointer))
        return image

    @classmethod
    def empty(cls, width: int, height: int, depth: int = 32) -> "Image":
        """An image with undefined pixels. [QuibCreate0]"""
        width, height, depth = check_size(width, height, depth)
        pointer = _ADDRESS()
        check("QuibCreate0", raw.QuibCreate0(width, height, depth, ctypes.byref(pointer)))
        return cls._adopt(pointer, "QuibCreate0")

    @classmethod
    def from_array(cls, array: npt.ArrayLike, copy: Optional[bool] = None) -> "Image":
        """An image of an array's pixels: rows and columns of bytes (8 bits), of 3 bytes
        B, G, R (24 bits) or of 4 (32 bits), or of bools (1 bit).

        It lies over the array's own memory, which it keeps alive, if the array is
        writeable, contiguous, begins at a multiple of 4 and has rows of a multiple of 4
        bytes; the library writes whole padded rows, which other arrays have no place for.
        Else the pixels are copied once, and `copied` is true. copy=True always copies;
        copy=False raises ValueError where the memory cannot be shared.
        """
        pixels = np.asarray(array)
        if pixels.dtype == np.bool_ and pixels.ndim == 2:
            depth = 1
        elif pixels.dtype == np.uint8 and pixels.ndim == 2:
            depth = 8
        elif pixels.dtype == np.uint8 and pixels.ndim == 3 and pixels.shape[2] in (3, 4):
            depth = 8 * pixels.shape[2]
        else:
            raise ValueError("array must be of bytes in 2 dimensions or 3 with 3 or 4 channels, "
                             f"or of bools in 2, not {pixels.dtype} of shape {pixels.shape}")
        height, width = pixels.shape[:2]
        shareable = (isinstance(array, np.ndarray) and depth != 1
                     and pixels.flags.c_contiguous and pixels.flags.writeable
                     and width > 0 and width * depth % 32 == 0
                     and pixels.ctypes.data % 4 == 0)
        if copy is False and not shareable:
            raise ValueError("array cannot be shared: it must be writeable, contiguous, aligned "
                             "to 4 bytes, and have rows of a multiple of 4 bytes")
        if shareable and not copy:
            return cls._over(pixels, depth)
        image = cls.empty(width, height, depth)
        image.pixels[:] = np.packbits(pixels, axis=1) if depth == 1 else pixels
        image.copied = True
        return image

    @classmethod
    def _over(cls, pixels: Pixels, depth: int) -> "Image":
        height, width = pixels.shape[:2]
        if height < 1 or pixels.nbytes > _BYTES_MAX:
            raise ValueError(f"array must have 1 row or more and less than 2 GiB, not {height} "
                             f"rows of {pixels.nbytes} bytes together")
        elements, channels, model, sequence = _KINDS[depth]
        record = raw.IplImage(
            nSize=ctypes.sizeof(raw.IplImage), nChannels=channels, depth=elements,
            colorModel=model, channelSeq=sequence, align=4, width=width, height=height,
            imageSize=pixels.nbytes, imageData=pixels.ctypes.data,
            widthStep=pixels.nbytes // height)
        image = cls.__new__(cls)
        image._set(_Handle(ctypes.pointer(record), keep=(pixels, record), owned=False))
        return image

    # --- Life ----------------------------------------------------------------------

    @property
    def _open(self) -> _Handle:
        if self._handle is None:
            raise ValueError("the image is closed")
        return self._handle

    def close(self) -> None:
        """Gives the handle back; the memory goes with the last array over it. [QuibFree]"""
        self._handle = None
        self._mask = None

    @property
    def closed(self) -> bool:
        """Whether the image has been closed."""
        return self._handle is None

    def __enter__(self) -> "Image":
        self._open
        return self

    def __exit__(self, *unused: object) -> None:
        self.close()

    def __repr__(self) -> str:
        if self._handle is None:
            return "<quibtool.Image, closed>"
        return f"<quibtool.Image of {self.width} x {self.height} pixels of {self.depth} bits>"

    # --- What it is ----------------------------------------------------------------

    @property
    def width(self) -> int:
        """Pixels of a row."""
        return int(self._open.record.width)

    @property
    def height(self) -> int:
        """Rows."""
        return int(self._open.record.height)

    @property
    def depth(self) -> int:
        """Bits per pixel."""
        record = self._open.record
        return int((record.depth & 0x7FFFFFFF) * record.nChannels)

    @property
    def channels(self) -> int:
        """Channels of a pixel."""
        return int(self._open.record.nChannels)

    @property
    def row_bytes(self) -> int:
        """Bytes from one row to the next."""
        return int(self._open.record.widthStep)

    @property
    def size_bytes(self) -> int:
        """Bytes of all rows."""
        return int(self._open.record.imageSize)

    def info(self) -> Info:
        """Size and form, as the library tells them. [QuibGetInfo]"""
        info = raw.QuibInfo()
        call("QuibGetInfo", self, ctypes.byref(info))
        return Info(info.width, info.height, info.bitDepth, info.widthStep)

    @property
    def pixels(self) -> Pixels:
        """The pixels, as an array over the handle's own memory that keeps it alive: rows and
        columns; of 24 and 32 bits with a third dimension, the bytes B, G, R and A; of 1 bit
        the packed bytes, most significant bit first."""
        handle = self._open
        record = handle.record
        if self.depth == 1:
            shape: tuple[int, ...] = (record.height, (record.width + 7) // 8)
            strides: tuple[int, ...] = (record.widthStep, 1)
        elif record.nChannels == 1:
            shape, strides = (record.height, record.width), (record.widthStep, 1)
        else:
            shape = (record.height, record.width, record.nChannels)
            strides = (record.widthStep, record.nChannels, 1)
        return np.asarray(_Shown(handle, shape, strides))

    def __array__(self, dtype: Any = None, copy: Optional[bool] = None) -> npt.NDArray[Any]:
        pixels = self.pixels if dtype is None else self.pixels.astype(dtype, copy=False)
        return pixels.copy() if copy else pixels

    def to_bools(self) -> npt.NDArray[np.bool_]:
        """A copy of a 1-bit image's pixels as bools."""
        need_depth("image", self, (1,))
        return np.unpackbits(self.pixels, axis=1, count=self.width).astype(np.bool_)

    @contextlib.contextmanager
    def locked(self) -> Iterator[Pixels]:
        """The pixels, between the library's two brackets, which change and count nothing.
        [QuibLockData, QuibUnlockData]"""
        address = ctypes.c_void_p()
        call("QuibLockData", self, ctypes.byref(address))
        yield self.pixels
        call("QuibUnlockData", self)

    @property
    def region(self) -> Optional[Region]:
        """The part of the image that operations touch, all of it if None. Set it to
        (x, y, width, height) inside the image."""
        return self._region

    @region.setter
    def region(self, value: Optional[Sequence[int]]) -> None:
        if value is None:
            self._region = None
            return
        x, y, width, height = _check.rectangle("region", value)
        if x < 0 or y < 0 or width < 1 or height < 1 or x + width > self.width \
                or y + height > self.height:
            raise ValueError(f"region must be (x, y, width, height) inside an image of "
                             f"{self.width} x {self.height}, not {(x, y, width, height)}")
        self._region = Region(x, y, width, height)

    @property
    def mask(self) -> Optional["Image"]:
        """A 1-bit image, or None. Operations of the engine leave out the pixels where it has
        a 0; its corner lies on that of the region."""
        return self._mask

    @mask.setter
    def mask(self, value: Optional["Image"]) -> None:
        if value is not None:
            need_depth("mask", value, (1,))
            if value is self or value._mask is not None:
                raise ValueError("mask must be another image, without a mask of its own")
        self._mask = value

    # --- Pixels --------------------------------------------------------------------

    def fill(self, color: int, rect: Optional[Sequence[int]] = None) -> None:
        """Fills the image, or what of rect (left, top, right, bottom) lies inside it. color
        is a value for 1 and 8 bits and else a word B | G << 8 | R << 16 | A << 24. The
        library fills no 24-bit pixels; here they are. ValueError for a rect that misses.
        [QuibFillColor]"""
        color = _fill_of(self.depth, color)
        area = None if rect is None else clipped("rect", rect, self)
        if self.depth == 24:
            left, top, right, bottom = area or (0, 0, self.width, self.height)
            self.pixels[top:bottom, left:right] = [color >> shift & 255 for shift in (0, 8, 16)]
            return
        call("QuibFillColor", self, color, None if area is None else
             ctypes.byref(raw.QuibRect(*area)))

    def is_black(self, threshold: int = 0) -> bool:
        """Whether no byte of the rows, padding included but alpha left out, exceeds the
        threshold. [QuibIsBlack]"""
        result = ctypes.c_int32()
        threshold = _check.integer("threshold", threshold, 0, _check.UINT_MAX)
        call("QuibIsBlack", self, threshold, ctypes.byref(result))
        return bool(result.value)

    def clone(self) -> "Image":
        """A new image with the same pixels and region. [QuibClone]"""
        return make("QuibClone", self, OUT)

    def copy(self, out: Optional["Image"] = None) -> "Image":
        """Copies all pixels into out, an image of the same size, depth and row_bytes, or
        into a new one. [QuibCopy]"""
        need_image("self", self)
        if out is None:
            return make("QuibCopy", self, OUT)
        need_like("out", out, self)
        call("QuibCopy", self, Into(out))
        return out


def _fill_of(depth: int, fill: Any) -> int:
    return _check.integer("fill", fill, 0, {1: 1, 8: 255}.get(depth, _check.UINT_MAX))


# --- Tests of images -------------------------------------------------------------


def need_image(name: str, image: Any) -> Image:
    """An open image."""
    if not isinstance(image, Image):
        raise TypeError(f"{name} must be an Image, not {type(image).__name__}")
    if image.closed:
        raise ValueError(f"{name} is closed")
    return image


def need_depth(name: str, image: Any, depths: Sequence[int]) -> Image:
    """An open image of one of these depths."""
    need_image(name, image)
    if image.depth not in depths:
        wanted = " or ".join(map(str, depths))
        raise ValueError(f"{name} must have {wanted} bits per pixel, not {image.depth}")
    return image  # type: ignore[no-any-return]


def need_same_depth(name: str, image: Any, other: Image) -> Image:
    """An open image of another's depth."""
    return need_depth(name, image, (other.depth,))


def need_other(name: str, image: Image, other: Image) -> Image:
    """An image that is not that one."""
    if image._open is other._open:
        raise ValueError(f"{name} must be another image than the source")
    return image


def need_like(name: str, image: Any, other: Image, row: bool = True) -> Image:
    """An open image of another's size and depth."""
    need_same_depth(name, image, other)
    if (image.width, image.height) != (other.width, other.height):
        raise ValueError(f"{name} must have {other.width} x {other.height} pixels, not "
                         f"{image.width} x {image.height}")
    return image  # type: ignore[no-any-return]


def clipped(name: str, rect: Any, image: Image) -> _check.Rect:
    """What of a rectangle lies inside an image; ValueError if nothing does."""
    left, top, right, bottom = _check.rectangle(name, rect)
    area = (max(left, 0), max(top, 0), min(right, image.width), min(bottom, image.height))
    if area[0] >= area[2] or area[1] >= area[3]:
        raise ValueError(f"{name} must meet the image of {image.width} x {image.height}, not be "
                         f"{(left, top, right, bottom)}")
    return area


def region_size(image: Image) -> tuple[int, int]:
    """Width and height of an image's region, or of the image."""
    region = image.region
    return (region.width, region.height) if region else (image.width, image.height)


# --- Calls -----------------------------------------------------------------------


class Into:
    """An existing image in the place of a variable for a new one."""

    def __init__(self, image: Image) -> None:
        self.image = image


OUT = object()  # the variable in which a function stores a new handle


def _images_of(arguments: Sequence[Any]) -> list[Image]:
    images = []
    for argument in arguments:
        image = argument.image if isinstance(argument, Into) else argument
        if isinstance(image, Image):
            images.append(image)
            if image.mask is not None:
                images.append(need_image("the mask of an image", image.mask))
    return images


@contextlib.contextmanager
def _installed(images: Sequence[Image]) -> Iterator[None]:
    """Locks the images and gives their records the regions and masks, for a call."""
    handles = {id(image._open): image._open for image in images}
    with contextlib.ExitStack() as stack:
        for key in sorted(handles):
            stack.enter_context(handles[key].lock)
        for image in images:
            record = image._open.record
            if image.region is not None:
                record.roi = ctypes.pointer(raw.IplROI(0, *image.region))
            if image.mask is not None:
                record.maskROI = image.mask._open.pointer
        try:
            yield
        finally:
            for handle in handles.values():
                handle.record.roi = None
                handle.record.maskROI = None


def _argument(argument: Any, out: Any) -> Any:
    if argument is OUT:
        return ctypes.byref(out)
    if isinstance(argument, Into):
        return ctypes.byref(ctypes.cast(argument.image._open.pointer, _ADDRESS))
    return argument._open.pointer if isinstance(argument, Image) else argument


def call(function: str, *arguments: Any) -> Any:
    """Calls a function of the library on images and plain arguments; what it stores for
    OUT is the result. Raises QuibError for a status."""
    out = _ADDRESS()
    given = [_argument(argument, out) for argument in arguments]
    with _installed(_images_of(arguments)):
        status = getattr(raw, function)(*given)
    if status != 0 and out:
        Image._adopt(out, function).close()
    check(function, status)
    return out


def make(function: str, *arguments: Any, room: int = 0) -> Image:
    """The new image that a function stores. Beyond the images' own sizes, so many bytes
    are seen to be there first."""
    size = max((need_image("image", image).size_bytes for image in _images_of(arguments)),
               default=0)
    _check.reserve(f"the result of {function}", 3 * size + room + (1 << 18))
    return Image._adopt(call(function, *arguments), function)
