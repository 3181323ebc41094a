"""QuibTool for Python: image manipulation over numpy arrays.

    import quibtool

    with quibtool.load_bmp("cat.bmp") as cat:
        small = quibtool.resize(cat, (320, 240), "area")
        small.pixels[..., 3] = 255          # a numpy array over the image's own memory
        soft = quibtool.blur(small, 5)

An `Image` is a handle of the library; functions take images and give new ones. All 79 C
functions have a function here that tests its arguments first, since the library ends the
process (exit 1) on what its engine refuses and where memory runs out for pixels: TypeError,
ValueError and MemoryError come in its place, OSError for files, and QuibError for the
library's own statuses. What remains: memory that runs out in a call although as much was
there just before it, files that change while they are read, and the functions of
`quibtool.raw`, which test nothing.

`FUNCTIONS` tells the Python name of each C function.
"""

from importlib import metadata as _metadata

from quibtool import raw
from quibtool.composition import Composite, compose, compose_at, compose_simple, composite
from quibtool.composition import composite_constant, set_alpha, set_alpha_constant
from quibtool.errors import QuibError
from quibtool.filters import Combine, Fixed, Kernel, blur, color_median_filter, convolve
from quibtool.filters import convolve_separable, decimate_blur, fixed_filter, max_filter
from quibtool.filters import median_filter, min_filter
from quibtool.geometry import Axis, Interpolation, ResizeMode, blt, flip, pan_zoom
from quibtool.geometry import perspective_quad, perspective_transform, resize, resize_fit, rotate
from quibtool.geometry import rotate_3d, warp_affine, warp_perspective, warp_quad
from quibtool.geometry import warp_quad_engine
from quibtool.image import Image, Info, Region, rgba
from quibtool.interchange import Device, draw, from_dib, from_dib_parts, load_bmp, load_psd, to_dib
from quibtool.pixels import Channel, absolute, add, add_scalar, and_scalar, bitonal_to_gray
from quibtool.pixels import bitwise_and, bitwise_or, bitwise_xor, brightness_contrast
from quibtool.pixels import color_conversion, color_to_gray, hue_saturation, invert, multiply
from quibtool.pixels import multiply_scalar, multiply_scalar_scaled, multiply_scaled, or_scalar
from quibtool.pixels import shift_left, shift_right, square, subtract, uninterlace, xor_scalar
from quibtool.surfaces import Field, Surface, from_surface, interlace, to_surface, to_surface7
from quibtool.surfaces import to_surface_16

try:
    __version__ = _metadata.version("quibtool")
except _metadata.PackageNotFoundError:  # run from the sources
    __version__ = "unknown"

FUNCTIONS = {
    "Dib2Quib": "from_dib", "Dib2Quib0": "from_dib_parts",
    "QUIBGetPerspectiveQuad": "perspective_quad",
    "QUIBPerspectiveTransform": "perspective_transform", "QUIBRotate3D": "rotate_3d",
    "QUIBWarpAffine": "warp_affine", "QUIBWarpPerspective": "warp_perspective",
    "QUIBWarpPerspectiveQ": "warp_quad", "QUIBWarpPerspectiveQ_": "warp_quad_engine",
    "Quib2Dib": "to_dib", "Quib2Surface": "to_surface", "Quib2Surface7": "to_surface7",
    "QuibAbs": "absolute", "QuibAdd": "add", "QuibAddS": "add_scalar", "QuibAnd": "bitwise_and",
    "QuibAndS": "and_scalar", "QuibBitonalToGray": "bitonal_to_gray", "QuibBlt": "blt",
    "QuibBlt_PANZOOM": "pan_zoom", "QuibBlur": "blur",
    "QuibBrightnessAndContrast": "brightness_contrast", "QuibClone": "Image.clone",
    "QuibColorConversion": "color_conversion", "QuibColorMedianFilter": "color_median_filter",
    "QuibColorToGray": "color_to_gray", "QuibComposition1": "composite",
    "QuibComposition2": "composite_constant", "QuibComposition3": "compose",
    "QuibComposition4": "compose_at", "QuibComposition_s": "compose_simple",
    "QuibConvolve2D": "convolve", "QuibConvolveSep2D": "convolve_separable",
    "QuibCopy": "Image.copy", "QuibCreate": "Image", "QuibCreate0": "Image.empty",
    "QuibCreateConvKernel": "Kernel", "QuibCreateConvKernelChar": "Kernel",
    "QuibDecimateBlur": "decimate_blur", "QuibDeleteConvKernel": "Kernel.close",
    "QuibDrawToHDC": "draw", "QuibFillColor": "Image.fill", "QuibFixedFilter": "fixed_filter",
    "QuibFlip": "flip", "QuibFree": "Image.close", "QuibGetConvKernel": "Kernel.taps",
    "QuibGetConvKernelChar": "Kernel.small_taps", "QuibGetInfo": "Image.info",
    "QuibHueAndSaturation": "hue_saturation", "QuibInterlace": "interlace",
    "QuibIsBlack": "Image.is_black", "QuibLShiftS": "shift_left", "QuibLoadBMP": "load_bmp",
    "QuibLoadFramePsd2Bmp": "load_psd", "QuibLockData": "Image.locked",
    "QuibMaxFilter": "max_filter", "QuibMedianFilter": "median_filter",
    "QuibMinFilter": "min_filter", "QuibMultiply": "multiply",
    "QuibMultiplyS": "multiply_scalar", "QuibMultiplySScale": "multiply_scalar_scaled",
    "QuibMultiplyScale": "multiply_scaled", "QuibNot": "invert", "QuibOr": "bitwise_or",
    "QuibOrS": "or_scalar", "QuibRShiftS": "shift_right", "QuibResize": "resize",
    "QuibResizeFit": "resize_fit", "QuibRotate": "rotate", "QuibSetAlpha": "set_alpha",
    "QuibSetAlphaS": "set_alpha_constant", "QuibSquare": "square", "QuibSubtract": "subtract",
    "QuibToSurf_16": "to_surface_16", "QuibUnInterlace": "uninterlace",
    "QuibUnlockData": "Image.locked", "QuibXor": "bitwise_xor", "QuibXorS": "xor_scalar",
    "Surface2Quib": "from_surface",
}

__all__ = [name for name in dir() if not name.startswith("_")
           and name not in ("composition", "errors", "filters", "geometry", "image",
                            "interchange", "pixels", "surfaces")]
