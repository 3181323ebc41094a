"""Arithmetic and logic, pixel by pixel, and tone and gray.

Each function of arithmetic and logic gives a clone of its first image in which the results
are written: as many pixels as the smallest of the images' regions and masks holds, paired
from each one's corner, in all channels. Results are clamped to 0 to 255, or 0 and 1.

Arguments are tested before the library is called, whose engine ends the process (exit 1) on
what it refuses: TypeError and ValueError name the argument. The name in brackets is that of
the C function.
"""

import enum
from typing import Any, Optional, Union

from quibtool import _check
from quibtool.image import OUT, Image, Into, call, make, need_depth, need_image, need_like
from quibtool.image import need_same_depth

# --- Arithmetic and logic --------------------------------------------------------


def _with_value(function: str, src: Any, value: Any, low: int = _check.INT_MIN,
                high: int = _check.INT_MAX) -> Image:
    need_image("src", src)
    return make(function, src, OUT, _check.integer("value", value, low, high))


def _of_two(function: str, a: Any, b: Any) -> Image:
    need_image("a", a)
    return make(function, a, need_same_depth("b", b, a), OUT)


def add_scalar(src: Image, value: int) -> Image:
    """src + value; 1 bit: or_scalar. [QuibAddS]"""
    return _with_value("QuibAddS", src, value)


def multiply_scalar(src: Image, value: int) -> Image:
    """src * value; 1 bit: and_scalar. [QuibMultiplyS]"""
    return _with_value("QuibMultiplyS", src, value)


def multiply_scalar_scaled(src: Image, value: int) -> Image:
    """src * value / 255, rounded down, value clamped to 0 to 255; not of 1 bit.
    [QuibMultiplySScale]"""
    need_depth("src", src, (8, 24, 32))
    return _with_value("QuibMultiplySScale", src, value)


def square(src: Image) -> Image:
    """src * src; 1 bit: a copy. [QuibSquare]"""
    need_image("src", src)
    return make("QuibSquare", src, OUT)


def absolute(src: Image) -> Image:
    """The absolute value, which is a copy. [QuibAbs]"""
    need_image("src", src)
    return make("QuibAbs", src, OUT)


def add(a: Image, b: Image) -> Image:
    """a + b; 1 bit: bitwise_or. Both of one depth. [QuibAdd]"""
    return _of_two("QuibAdd", a, b)


def subtract(a: Image, b: Image) -> Image:
    """a - b; 1 bit: a and not b. Both of one depth. [QuibSubtract]"""
    return _of_two("QuibSubtract", a, b)


def multiply(a: Image, b: Image) -> Image:
    """a * b; 1 bit: bitwise_and. Both of one depth. [QuibMultiply]"""
    return _of_two("QuibMultiply", a, b)


def multiply_scaled(a: Image, b: Image) -> Image:
    """a * b / 255, rounded down; both of one depth, not of 1 bit. [QuibMultiplyScale]"""
    need_depth("a", a, (8, 24, 32))
    return _of_two("QuibMultiplyScale", a, b)


def shift_left(src: Image, bits: int) -> Image:
    """Elements shifted left; what leaves them is lost. [QuibLShiftS]"""
    need_image("src", src)
    return make("QuibLShiftS", src, OUT, _check.integer("bits", bits, 0, _check.UINT_MAX))


def shift_right(src: Image, bits: int) -> Image:
    """Elements shifted right. [QuibRShiftS]"""
    need_image("src", src)
    return make("QuibRShiftS", src, OUT, _check.integer("bits", bits, 0, _check.UINT_MAX))


def invert(src: Image) -> Image:
    """Each bit turned round. [QuibNot]"""
    need_image("src", src)
    return make("QuibNot", src, OUT)


def and_scalar(src: Image, value: int) -> Image:
    """src and the low bits of value. [QuibAndS]"""
    return _with_value("QuibAndS", src, value)


def or_scalar(src: Image, value: int) -> Image:
    """src or the low bits of value. [QuibOrS]"""
    return _with_value("QuibOrS", src, value)


def xor_scalar(src: Image, value: int) -> Image:
    """src exclusive or the low bits of value. [QuibXorS]"""
    return _with_value("QuibXorS", src, value)


def bitwise_and(a: Image, b: Image) -> Image:
    """a and b, of one depth. [QuibAnd]"""
    return _of_two("QuibAnd", a, b)


def bitwise_or(a: Image, b: Image) -> Image:
    """a or b, of one depth. [QuibOr]"""
    return _of_two("QuibOr", a, b)


def bitwise_xor(a: Image, b: Image) -> Image:
    """a exclusive or b, of one depth. [QuibXor]"""
    return _of_two("QuibXor", a, b)


# --- Tone ------------------------------------------------------------------------


class Channel(enum.IntEnum):
    """Which colours brightness_contrast changes."""

    ALL = 0
    RED = 1
    GREEN = 2
    BLUE = 3


def _tone_target(src: Image, out: Optional[Image]) -> Image:
    need_depth("src", src, (32,))
    if out is None:
        return src.copy()
    need_like("out", out, src)
    return out


def brightness_contrast(src: Image, brightness: int = 0, contrast: int = 0,
                        channel: Union[Channel, int, str] = Channel.ALL,
                        out: Optional[Image] = None) -> Image:
    """src, of 32 bits, with its brightness shifted and its contrast stretched, each clamped
    to -128 to 127, in a new image with src's alpha or in out, which may be src and keeps its
    own. With 0 and 0 out stays as it is. [QuibBrightnessAndContrast]"""
    target = _tone_target(src, out)
    brightness = _check.integer("brightness", brightness)
    contrast = _check.integer("contrast", contrast)
    channel = _check.choice("channel", channel, Channel)
    call("QuibBrightnessAndContrast", src, Into(target), brightness, contrast, int(channel))
    return target


def hue_saturation(src: Image, hue: int = 0, saturation: int = 0,
                   out: Optional[Image] = None) -> Image:
    """src, of 32 bits, with its hue turned by degrees (-360 and up) and its saturation changed
    by a percentage (-100 gray, 400 full), in a new image or in out, which may be src.
    [QuibHueAndSaturation]"""
    target = _tone_target(src, out)
    hue = _check.integer("hue", hue)
    saturation = _check.integer("saturation", saturation)
    call("QuibHueAndSaturation", src, Into(target), hue, saturation)
    return target


# --- Gray ------------------------------------------------------------------------


def color_to_gray(src: Image) -> Image:
    """A new 8-bit image, (18 B + 183 G + 54 R) / 256 of src, of 24 or 32 bits.
    [QuibColorToGray]"""
    need_depth("src", src, (24, 32))
    return make("QuibColorToGray", src, OUT)


def bitonal_to_gray(src: Image, zero: int = 0, one: int = 255) -> Image:
    """A new 8-bit image with zero and one, 0 to 255, in the place of the bits of src.
    [QuibBitonalToGray]"""
    need_depth("src", src, (1,))
    values = [_check.integer(name, value, 0, 255) for name, value in (("zero", zero), ("one", one))]
    return make("QuibBitonalToGray", src, OUT, *values, room=8 * src.size_bytes)


def color_conversion(a: Image, b: Image) -> None:
    """Converts nothing; QuibError for images of different sizes. [QuibColorConversion]"""
    call("QuibColorConversion", need_image("a", a), need_image("b", b))


# --- Fields of video frames ------------------------------------------------------


def uninterlace(even: Image, odd: Image, out: Optional[Image] = None) -> Image:
    """The even rows of one image and the odd rows of another, in a new image or in out, which
    may be either; all of one size and depth. [QuibUnInterlace]"""
    need_image("even", even)
    need_like("odd", odd, even)
    if out is None:
        return make("QuibUnInterlace", even, odd, OUT)
    need_like("out", out, even)
    call("QuibUnInterlace", even, odd, Into(out))
    return out
