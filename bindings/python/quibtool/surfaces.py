"""Drawing surfaces in memory, and what moves pixels between them and images.

A Surface is an object with the methods of a DirectDraw surface that the library calls; other
surfaces can be handed to the functions of quibtool.raw by their addresses. Arguments are
tested before the library is called. The name in brackets is that of the C function.
"""

import ctypes
import enum
import sys
from typing import Any, Optional, Union

import numpy as np

from quibtool import _check, raw
from quibtool.image import Image, Pixels, call, need_depth, need_image

_FORMATS = {16: (0xF800, 0x07E0, 0x001F), 15: (0x7C00, 0x03E0, 0x001F),
            24: (0xFF0000, 0xFF00, 0xFF), 32: (0xFF0000, 0xFF00, 0xFF)}
_SLOTS = 49
_GET_DESCRIPTION, _LOCK, _UNLOCK = 22, 25, 32
if sys.platform == "win32":
    _method = ctypes.WINFUNCTYPE
else:
    _method = ctypes.CFUNCTYPE
_GetDescription = _method(ctypes.c_int32, ctypes.c_void_p, ctypes.c_void_p)
_Lock = _method(ctypes.c_int32, ctypes.c_void_p, ctypes.c_void_p, ctypes.c_void_p,
                ctypes.c_uint32, ctypes.c_void_p)
_Unlock = _method(ctypes.c_int32, ctypes.c_void_p, ctypes.c_void_p)


class _PixelFormat(ctypes.Structure):
    _fields_ = [(name, ctypes.c_uint32) for name in
                ("dwSize", "dwFlags", "dwFourCC", "dwRGBBitCount", "dwRBitMask", "dwGBitMask",
                 "dwBBitMask", "dwRGBAlphaBitMask")]


_HEAD = [("dwSize", ctypes.c_uint32), ("dwFlags", ctypes.c_uint32), ("dwHeight", ctypes.c_uint32),
         ("dwWidth", ctypes.c_uint32), ("lPitch", ctypes.c_int32),
         ("counts", ctypes.c_uint32 * 4), ("lpSurface", ctypes.c_void_p),
         ("colorKeys", ctypes.c_uint32 * 8), ("ddpfPixelFormat", _PixelFormat)]


class _Description(ctypes.Structure):
    _fields_ = _HEAD + [("dwCaps", ctypes.c_uint32)]


class _Description2(ctypes.Structure):
    _fields_ = _HEAD + [("ddsCaps", ctypes.c_uint32 * 4), ("dwTextureStage", ctypes.c_uint32)]


class _Object:
    """An interface of a surface: a table of methods, and an object that begins with its
    address."""

    def __init__(self, surface: "Surface", kind: Any) -> None:
        description = kind()
        description.dwSize = ctypes.sizeof(kind)
        description.dwHeight, description.dwWidth = surface.height, surface.width
        description.lPitch = surface._rows.strides[0]
        description.lpSurface = surface._rows.ctypes.data
        pixel = description.ddpfPixelFormat
        pixel.dwSize, pixel.dwFlags = ctypes.sizeof(_PixelFormat), 0x40
        pixel.dwRGBBitCount = 16 if surface.bits == 15 else surface.bits
        pixel.dwRBitMask, pixel.dwGBitMask, pixel.dwBBitMask = _FORMATS[surface.bits]
        # Bytes, so that the methods keep no surface alive in a circle.
        said = bytes(description)

        def describe(unused: Any, to: Any) -> int:
            ctypes.memmove(to, said, len(said))
            return 0

        def lock(unused: Any, rect: Any, to: Any, flags: Any, event: Any) -> int:
            return describe(unused, to)

        def unlock(unused: Any, rect: Any) -> int:
            return 0

        self._methods = {_GET_DESCRIPTION: _GetDescription(describe), _LOCK: _Lock(lock),
                         _UNLOCK: _Unlock(unlock)}
        self._table = (ctypes.c_void_p * _SLOTS)()
        for slot, method in self._methods.items():
            self._table[slot] = ctypes.cast(method, ctypes.c_void_p).value
        self._object = ctypes.c_void_p(ctypes.addressof(self._table))
        self.address = ctypes.addressof(self._object)


class Surface:
    """A drawing surface in memory, of 16 bits (5, 6 and 5 for R, G and B), 15 (5 each, stored
    in 16), 24 or 32 bits per pixel, black at first. `pixels` is an array over it."""

    def __init__(self, width: int, height: int, bits: int = 32) -> None:
        self.width = _check.integer("width", width, 1, 1 << 20)
        self.height = _check.integer("height", height, 1, 1 << 20)
        self.bits = _check.integer("bits", bits)
        if bits not in _FORMATS:
            raise ValueError(f"bits must be 15, 16, 24 or 32, not {bits}")
        step = (self.width * (16 if bits == 15 else bits) + 31) // 32 * 4
        if step * self.height > _check.INT_MAX:
            raise MemoryError(f"a surface of {width} x {height} would take {step * height} bytes")
        self._rows = np.zeros((self.height, step), dtype=np.uint8)
        self._older = _Object(self, _Description)
        self._newer = _Object(self, _Description2)

    @property
    def pixels(self) -> Union[Pixels, "np.ndarray[Any, np.dtype[np.uint16]]"]:
        """The pixels: words for 15 and 16 bits, else bytes in 3 or 4 channels."""
        if self.bits <= 16:
            return self._rows.view(np.uint16)[:, :self.width]
        channels = self.bits // 8
        rows = self._rows[:, :self.width * channels]
        return rows.reshape(self.height, self.width, channels) if rows.shape == self._rows.shape \
            else np.lib.stride_tricks.as_strided(
                self._rows, (self.height, self.width, channels),
                (self._rows.strides[0], channels, 1))


def _need_surface(surface: Any, image: Optional[Image] = None) -> Surface:
    if not isinstance(surface, Surface):
        raise TypeError(f"surface must be a Surface, not {type(surface).__name__}")
    if image is not None and (surface.width, surface.height) != (image.width, image.height):
        raise ValueError(f"surface must have {image.width} x {image.height} pixels, not "
                         f"{surface.width} x {surface.height}")
    return surface


def to_surface(image: Image, surface: Surface) -> None:
    """Draws an image on a surface of its size, in the surface's format. Of gray on 16 bits
    every row takes as many pixels as there are rows. [Quib2Surface]"""
    need_image("image", image)
    call("Quib2Surface", image, _need_surface(surface, image)._older.address)


def to_surface7(image: Image, surface: Surface) -> None:
    """The same by the newer interface; 8, 24 and 32 bits on 16, else 24 and 32 bits.
    [Quib2Surface7]"""
    need_depth("image", image, (8, 24, 32) if _need_surface(surface).bits <= 16 else (24, 32))
    call("Quib2Surface7", image, _need_surface(surface, image)._newer.address)


def from_surface(surface: Surface, image: Image) -> None:
    """Reads a surface of 24 or 32 bits into a 24-bit or 32-bit image of its size. Where both
    have 24 bits every fourth byte becomes 255. [Surface2Quib]"""
    need_depth("image", image, (24, 32))
    if _need_surface(surface, image).bits not in (24, 32):
        raise ValueError(f"surface must have 24 or 32 bits, not {surface.bits}")
    call("Surface2Quib", surface._older.address, image)


def to_surface_16(image: Image, surface: Surface) -> None:
    """Draws a 24-bit or 32-bit image on a surface of 15 or 16 bits and of its size. The last
    pixel of odd rows goes the other way, and an 8-bit image takes the surface's bytes.
    [QuibToSurf_16]"""
    need_depth("image", image, (8, 24, 32))
    if _need_surface(surface, image).bits > 16:
        raise ValueError(f"surface must have 15 or 16 bits, not {surface.bits}")
    call("QuibToSurf_16", image, surface._older.address, int(surface.bits == 16))


class Field(enum.IntEnum):
    """The rows that stay."""

    ODD = 0
    EVEN = 1


def interlace(target: Union[Image, Surface], keep: Union[Field, int, str] = Field.ODD) -> None:
    """Overwrites each even row of an image or a surface by the odd one below it, or each odd
    row by the even one above it. [QuibInterlace]"""
    keep = _check.choice("keep", keep, Field)
    if isinstance(target, Surface):
        call("QuibInterlace", target._older.address, int(keep) + 2)
    else:
        need_image("target", target)
        call("QuibInterlace", target, int(keep))
