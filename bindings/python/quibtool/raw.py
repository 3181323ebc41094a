"""The library's records, constants and 79 functions, as its C header declares them.

Nothing is checked here: a wrong address crashes the process, and what the engine
refuses, or memory that runs out for pixels, ends it with exit(1). The functions of
`quibtool` itself check their arguments first.

Calls release the interpreter's lock. Every function returns its status as an int: 0 is
success, all others are negative (`quibtool.QuibError` knows their meaning).
"""

import ctypes
from collections.abc import Callable
from ctypes import POINTER, Structure, c_bool, c_char, c_char_p, c_double, c_int8, c_int32
from ctypes import c_uint32, c_void_p
from typing import Any

from quibtool._library import exported_name, load

# --- Records ---------------------------------------------------------------------


class IplROI(Structure):
    """The region of an image that an operation touches."""

    _fields_ = [(name, c_int32) for name in ("coi", "xOffset", "yOffset", "width", "height")]


class IplImage(Structure):
    """An image; its address is a handle."""


# The address of a function that supplies tiles stands as a plain address.
class IplTileInfo(Structure):
    """What supplies the tiles of an image without a pixel block."""

    _fields_ = [("callBack", c_void_p), ("id", c_void_p), ("tileData", c_void_p),
                ("width", c_int32), ("height", c_int32)]


IplImage._fields_ = [
    ("nSize", c_int32),
    ("ID", c_int32),
    ("nChannels", c_int32),
    ("alphaChannel", c_int32),
    ("depth", c_uint32),
    ("colorModel", c_char * 4),
    ("channelSeq", c_char * 4),
    ("dataOrder", c_int32),
    ("origin", c_int32),
    ("align", c_int32),
    ("width", c_int32),
    ("height", c_int32),
    ("roi", POINTER(IplROI)),
    ("maskROI", POINTER(IplImage)),
    ("imageId", c_void_p),
    ("tileInfo", POINTER(IplTileInfo)),
    ("imageSize", c_int32),
    ("imageData", c_void_p),
    ("widthStep", c_int32),
    ("BorderMode", c_int32 * 4),
    ("BorderConst", c_int32 * 4),
    ("imageDataOrigin", c_void_p),
]


class QuibRect(Structure):
    """A rectangle; right and bottom are exclusive."""

    _fields_ = [(name, c_int32) for name in ("left", "top", "right", "bottom")]


class QuibPoint(Structure):
    """A position."""

    _fields_ = [("x", c_int32), ("y", c_int32)]


class QuibInfo(Structure):
    """The size and form of an image."""

    _fields_ = [(name, c_int32) for name in ("width", "height", "bitDepth", "widthStep")]


# --- Constants -------------------------------------------------------------------

QUIB_OK = 0
QUIB_FAILED = 0x80000000
QUIB_BAD_WIDTH = 0x80000001
QUIB_BAD_HEIGHT = 0x80000002
QUIB_BAD_DEPTH = 0x80000003
QUIB_BAD_ARGUMENT = 0x80000005
QUIB_NO_HEADER = 0x80000006
QUIB_DIB_BAD_WIDTH = 0x80000100
QUIB_DIB_BAD_HEIGHT = 0x80000101
QUIB_DIB_BAD_DEPTH = 0x80000102
QUIB_DIB_MISMATCH = 0x80000103
QUIB_SURFACE_BAD_WIDTH = 0x80000200
QUIB_SURFACE_BAD_HEIGHT = 0x80000201
QUIB_SURFACE_BAD_DEPTH = 0x80004005

STRETCH_NEAREST = 0
STRETCH_LINEAR = 1
STRETCH_SMOOTH = 2
STRETCH_PAIRS_NEAREST = 0x7000
STRETCH_PAIRS_LINEAR = 0x7001

IPL_INTER_NN = 0
IPL_INTER_LINEAR = 1
IPL_INTER_CUBIC = 2
IPL_INTER_SUPER = 3
IPL_SMOOTH_EDGE = 16

# --- Functions -------------------------------------------------------------------

LIBRARY = load()
NAMES: list[str] = []
Function = Callable[..., int]

_image = POINTER(IplImage)
_images = POINTER(_image)
_rect = POINTER(QuibRect)
_rows3 = POINTER(c_double * 3)
_rows2 = POINTER(c_double * 2)
_kernel = c_void_p  # an opaque record
_surface = c_void_p
_int = c_int32
_uint = c_uint32


def _function(name: str, *arguments: Any) -> Function:
    NAMES.append(name)
    function = LIBRARY[exported_name(name)]
    function.argtypes = arguments
    function.restype = c_int32  # QuibStatus
    return function


# Handles
QuibCreate = _function("QuibCreate", _int, _int, _int, _images, _uint)
QuibCreate0 = _function("QuibCreate0", _int, _int, _int, _images)
QuibFree = _function("QuibFree", _images)
QuibGetInfo = _function("QuibGetInfo", _image, POINTER(QuibInfo))
QuibLockData = _function("QuibLockData", _image, POINTER(c_void_p))
QuibUnlockData = _function("QuibUnlockData", _image)
QuibFillColor = _function("QuibFillColor", _image, _uint, _rect)
QuibIsBlack = _function("QuibIsBlack", _image, _uint, POINTER(_int))
QuibCopy = _function("QuibCopy", _image, _images)
QuibClone = _function("QuibClone", _image, _images)

# Transfer
QuibBlt = _function("QuibBlt", _image, _int, _int, _int, _int, _image, _int, _int, _int, _int, _int)
QuibBlt_PANZOOM = _function("QuibBlt_PANZOOM", _image, c_double, c_double, c_double, c_double,
                            _image, c_double, c_double, c_double, c_double, _int)

# Composition and alpha
QuibComposition3 = _function("QuibComposition3", _image, _image, _images)
QuibComposition4 = _function("QuibComposition4", _image, _image, POINTER(QuibPoint), _rect)
QuibComposition_s = _function("QuibComposition_s", _image, _image, _images)
QuibSetAlphaS = _function("QuibSetAlphaS", _image, _rect, _uint)
QuibSetAlpha = _function("QuibSetAlpha", _image, _image, _uint)
QuibComposition1 = _function("QuibComposition1", _image, _image, _images, _rect, _rect, _rect,
                             _int, _int, _int)
QuibComposition2 = _function("QuibComposition2", _image, _image, _uint, _uint, _images, _rect,
                             _rect, _rect, _int)

# Bitmaps in memory, files, device contexts
Dib2Quib = _function("Dib2Quib", c_void_p, _images, _int)
Dib2Quib0 = _function("Dib2Quib0", c_void_p, c_void_p, _images)
Quib2Dib = _function("Quib2Dib", _image, c_void_p)
QuibLoadBMP = _function("QuibLoadBMP", c_char_p, _images)
QuibLoadFramePsd2Bmp = _function("QuibLoadFramePsd2Bmp", c_char_p, _images, _images)
QuibDrawToHDC = _function("QuibDrawToHDC", _image, c_void_p, _int, _int)

# Size and geometry
QuibResize = _function("QuibResize", _image, _image, _int)
QuibResizeFit = _function("QuibResizeFit", _image, _image, _int)
QuibFlip = _function("QuibFlip", _image, _image, _int)
QuibRotate = _function("QuibRotate", _image, _image, c_double, _int, _int, _int)
QUIBRotate3D = _function("QUIBRotate3D", c_double, _image, _images, _int)
QUIBWarpAffine = _function("QUIBWarpAffine", _image, _images, _rows3, _int)
QUIBWarpPerspective = _function("QUIBWarpPerspective", _image, _images, _rows3, _int, _int)
QUIBWarpPerspectiveQ = _function("QUIBWarpPerspectiveQ", _image, _images, _rows2, _int, c_bool)
QUIBWarpPerspectiveQ_ = _function("QUIBWarpPerspectiveQ_", _image, _images, _rows2, _int, c_bool)
QUIBGetPerspectiveQuad = _function("QUIBGetPerspectiveQuad", _image, _rows3, _rows2)
QUIBPerspectiveTransform = _function("QUIBPerspectiveTransform", _image, _rows3, _rows2)

# Tone and gray
QuibBrightnessAndContrast = _function("QuibBrightnessAndContrast", _image, _images, _int, _int,
                                      _int)
QuibHueAndSaturation = _function("QuibHueAndSaturation", _image, _images, _int, _int)
QuibColorConversion = _function("QuibColorConversion", _image, _image)
QuibColorToGray = _function("QuibColorToGray", _image, _images)
QuibBitonalToGray = _function("QuibBitonalToGray", _image, _images, _int, _int)

# Drawing surfaces and fields of video frames
Quib2Surface = _function("Quib2Surface", _image, _surface)
Quib2Surface7 = _function("Quib2Surface7", _image, _surface)
Surface2Quib = _function("Surface2Quib", _surface, _image)
QuibToSurf_16 = _function("QuibToSurf_16", _image, _surface, _int)
QuibInterlace = _function("QuibInterlace", c_void_p, _uint)
QuibUnInterlace = _function("QuibUnInterlace", _image, _image, _images)

# Pixel operations
QuibAddS = _function("QuibAddS", _image, _images, _int)
QuibMultiplyS = _function("QuibMultiplyS", _image, _images, _int)
QuibMultiplySScale = _function("QuibMultiplySScale", _image, _images, _int)
QuibSquare = _function("QuibSquare", _image, _images)
QuibAbs = _function("QuibAbs", _image, _images)
QuibAdd = _function("QuibAdd", _image, _image, _images)
QuibSubtract = _function("QuibSubtract", _image, _image, _images)
QuibMultiply = _function("QuibMultiply", _image, _image, _images)
QuibMultiplyScale = _function("QuibMultiplyScale", _image, _image, _images)
QuibLShiftS = _function("QuibLShiftS", _image, _images, _uint)
QuibRShiftS = _function("QuibRShiftS", _image, _images, _uint)
QuibNot = _function("QuibNot", _image, _images)
QuibAndS = _function("QuibAndS", _image, _images, _int)
QuibOrS = _function("QuibOrS", _image, _images, _int)
QuibXorS = _function("QuibXorS", _image, _images, _int)
QuibAnd = _function("QuibAnd", _image, _image, _images)
QuibOr = _function("QuibOr", _image, _image, _images)
QuibXor = _function("QuibXor", _image, _image, _images)

# Convolution and filters
QuibCreateConvKernel = _function("QuibCreateConvKernel", POINTER(_kernel), _int, _int, _int, _int,
                                 POINTER(_int), _int)
QuibCreateConvKernelChar = _function("QuibCreateConvKernelChar", POINTER(_kernel), _int, _int,
                                     _int, _int, POINTER(c_int8), _int)
QuibGetConvKernel = _function("QuibGetConvKernel", _kernel, POINTER(_int), POINTER(_int),
                              POINTER(_int), POINTER(_int), POINTER(POINTER(_int)), POINTER(_int))
QuibGetConvKernelChar = _function("QuibGetConvKernelChar", _kernel, POINTER(_int), POINTER(_int),
                                  POINTER(_int), POINTER(_int), POINTER(POINTER(c_int8)),
                                  POINTER(_int))
QuibDeleteConvKernel = _function("QuibDeleteConvKernel", _kernel)
QuibConvolve2D = _function("QuibConvolve2D", _image, _images, POINTER(_kernel), _int, _int)
QuibConvolveSep2D = _function("QuibConvolveSep2D", _image, _images, _kernel, _kernel)
QuibMaxFilter = _function("QuibMaxFilter", _image, _images, _int, _int, _int, _int)
QuibMinFilter = _function("QuibMinFilter", _image, _images, _int, _int, _int, _int)
QuibMedianFilter = _function("QuibMedianFilter", _image, _images, _int, _int, _int, _int)
QuibColorMedianFilter = _function("QuibColorMedianFilter", _image, _images, _int, _int, _int, _int)
QuibBlur = _function("QuibBlur", _image, _images, _int, _int, _int, _int)
QuibDecimateBlur = _function("QuibDecimateBlur", _image, _image, _int, _int, _int)
QuibFixedFilter = _function("QuibFixedFilter", _image, _images, _int)
