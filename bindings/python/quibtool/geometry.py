"""Sizes, transfers, flips, turns and warps.

Each function tests its arguments before it calls the library, whose engine ends the
process (exit 1) on what it refuses: TypeError and ValueError name the argument, MemoryError
comes where a result would not fit. The name in brackets is that of the C function.
"""

import ctypes
import enum
import math
from collections.abc import Sequence
from typing import Any, Optional, Union

import numpy as np
import numpy.typing as npt

from quibtool import _check, raw
from quibtool.image import OUT, Image, Into, call, check_size, make, need_depth, need_image
from quibtool.image import need_like, need_other, need_same_depth, region_size

Matrix = npt.NDArray[np.float64]
Corners = list[tuple[float, float]]


class ResizeMode(enum.IntEnum):
    """How resize finds a pixel. SMOOTH, also CUBIC, is two samples an axis under a smoothstep
    at 32 bits and cubic at 1 and 24 bits; AREA averages, and only reduces. PAIRS keep the
    rows of two interlaced fields apart, at 32 bits and even heights. 8-bit images are always
    nearest, but for AREA."""

    NEAREST = 0
    LINEAR = 1
    SMOOTH = 2
    CUBIC = 2
    AREA = 3
    PAIRS_NEAREST = raw.STRETCH_PAIRS_NEAREST
    PAIRS_LINEAR = raw.STRETCH_PAIRS_LINEAR


class Interpolation(enum.IntEnum):
    """How a warp finds a pixel between those of its source."""

    NEAREST = 0
    LINEAR = 1
    CUBIC = 2


_ENGINE_MODES = (ResizeMode.NEAREST, ResizeMode.LINEAR, ResizeMode.SMOOTH, ResizeMode.AREA)
ModeLike = Union[ResizeMode, int, str]
InterpolationLike = Union[Interpolation, int, str]

# --- Size ------------------------------------------------------------------------


def _target(src: Image, size: Union[Sequence[int], Image], blank: bool) -> Image:
    """The image to write: the one given, or a new one of src's depth."""
    if isinstance(size, Image):
        need_same_depth("size", size, src)
        return need_other("size", size, src)
    try:
        width, height = size
    except (TypeError, ValueError):
        raise TypeError(f"size must be (width, height) or an Image, not {size!r}") from None
    width, height, depth = check_size(width, height, src.depth)
    return Image(width, height, depth) if blank else Image.empty(width, height, depth)


def _need_shrink(mode: ResizeMode, source: tuple[int, int], target: tuple[int, int]) -> None:
    if mode == ResizeMode.AREA and (target[0] > source[0] or target[1] > source[1]):
        raise ValueError(f"mode area only reduces, which {source[0]} x {source[1]} to "
                         f"{target[0]} x {target[1]} does not")


def _is_limited(*images: Image) -> bool:
    return any(image.region is not None or image.mask is not None for image in images)


def resize(src: Image, size: Union[Sequence[int], Image],
           mode: ModeLike = ResizeMode.LINEAR) -> Image:
    """src fitted into a new image of size (width, height), or into an existing one of its
    depth, which is returned. Regions and masks count at 1 and 24 bits and in mode area alone.
    [QuibResize]"""
    need_image("src", src)
    if src.depth == 32 or src.depth == 8:
        mode = _check.choice("mode", mode, ResizeMode)
    else:
        mode = _check.choice("mode", mode, ResizeMode, _ENGINE_MODES)
    out = _target(src, size, _is_limited(src))
    _need_shrink(mode, (src.width, src.height), (out.width, out.height))
    if mode >= raw.STRETCH_PAIRS_NEAREST and (src.height | out.height) & 1:
        raise ValueError(f"mode of pairs needs even heights, not {src.height} and {out.height}")
    _need_unmasked(src, out)
    _reserve_resize(src, out)
    call("QuibResize", src, out, int(mode))
    return out


def resize_fit(src: Image, size: Union[Sequence[int], Image],
               mode: ModeLike = ResizeMode.LINEAR) -> Image:
    """src's region, or all of it, fitted into the region, or all, of a new image of size
    (width, height) or of an existing one, by the engine at every depth. Modes nearest,
    linear, cubic and area. [QuibResizeFit]"""
    need_image("src", src)
    mode = _check.choice("mode", mode, ResizeMode, _ENGINE_MODES)
    out = _target(src, size, _is_limited(src))
    _need_shrink(mode, region_size(src), region_size(out))
    _need_unmasked(src, out)
    _reserve_resize(src, out)
    call("QuibResizeFit", src, out, int(mode))
    return out


def _need_unmasked(src: Image, out: Image) -> None:
    if src.mask is not None or out.mask is not None:
        raise ValueError("size changes take no mask: the engine cannot scale every one")


def _reserve_resize(src: Image, out: Image) -> None:
    room = 64 * (src.width + src.height + out.width + out.height) + 16 * out.row_bytes
    _check.reserve("the tables of a resize", room + (1 << 18))


# --- Transfer --------------------------------------------------------------------


def _inside(name: str, rect: Any, image: Image) -> _check.Rect:
    if rect is None:
        return 0, 0, image.width, image.height
    left, top, right, bottom = _check.rectangle(name, rect)
    if not (0 <= left < right <= image.width and 0 <= top < bottom <= image.height):
        raise ValueError(f"{name} must lie inside the image of {image.width} x {image.height}, "
                         f"not be {(left, top, right, bottom)}")
    return left, top, right, bottom


def blt(src: Image, dst: Image, src_rect: Optional[Sequence[int]] = None,
        dst_rect: Optional[Sequence[int]] = None, stretch: bool = False) -> None:
    """Moves a rectangle of src to one of dst, all of an image for None. Sizes that differ are
    scaled to nearest pixels with stretch, else as much moves as both have. src may be dst if
    the sizes agree. Pixels of 1 bit move only where sizes differ. [QuibBlt]"""
    need_image("src", src)
    need_same_depth("dst", dst, src)
    source = _inside("src_rect", src_rect, src)
    target = _inside("dst_rect", dst_rect, dst)
    sizes = [(r[2] - r[0], r[3] - r[1]) for r in (source, target)]
    if sizes[0] != sizes[1]:
        need_other("dst", dst, src)
        if stretch and src.depth != 32:
            _need_unmasked(src, dst)
    _reserve_resize(src, dst)
    call("QuibBlt", src, *source, dst, *target, int(bool(stretch)))


def pan_zoom(src: Image, dst: Image, src_x: float = 0.0, step_x: float = 1.0, src_y: float = 0.0,
             step_y: float = 1.0, dst_rect: Optional[Sequence[float]] = None,
             mode: ModeLike = ResizeMode.LINEAR) -> None:
    """Draws a moving view of src into dst_rect (left, top, right, bottom, fractions allowed)
    of dst: column src_x lies under left, and each column of dst is step_x further. The modes
    are nearest, linear and smooth, and for other depths than 32 bits also area. QuibError
    for a view of one pixel or less and one that misses src. [QuibBlt_PANZOOM]"""
    need_image("src", src)
    need_other("dst", need_same_depth("dst", dst, src), src)
    mode = _check.choice("mode", mode, ResizeMode, _ENGINE_MODES[:3 + (src.depth != 32)])
    view = [_check.real(name, value, -1e8, 1e8) for name, value in
            (("src_x", src_x), ("step_x", step_x), ("src_y", src_y), ("step_y", step_y))]
    edges = (0.0, 0.0, float(dst.width), float(dst.height)) if dst_rect is None else dst_rect
    left, top, right, bottom = _check.matrix("dst_rect", [edges], 1, 4, 1e8)[0].tolist()
    if left < 0 or top < 0 or right > dst.width or bottom > dst.height:
        raise ValueError(f"dst_rect must lie inside the image of {dst.width} x {dst.height}")
    if src.depth != 32:
        _need_unmasked(src, dst)
        source = _view_size(src, view, (left, top, right, bottom))
        _need_shrink(mode, source, (int(right) - int(left), int(bottom) - int(top)))
    _reserve_resize(src, dst)
    call("QuibBlt_PANZOOM", src, *view, dst, left, right, top, bottom, int(mode))


def _view_size(src: Image, view: list[float], edges: tuple[float, ...]) -> tuple[int, int]:
    """Whole pixels of src under a view, as the library cuts them."""
    sizes = []
    for axis, limit in ((0, src.width), (1, src.height)):
        start, step = view[2 * axis:2 * axis + 2]
        low, high = edges[axis], edges[axis + 2]
        first = int(start - (low - int(low)) * step)
        last = int(start + step * (high - low))
        sizes.append(min(last, limit) - max(first, 0))
    return sizes[0], sizes[1]


# --- Flips and turns -------------------------------------------------------------


class Axis(enum.IntEnum):
    """What changes places: ROWS are top and bottom, COLUMNS left and right."""

    ROWS = 0
    COLUMNS = 1
    BOTH = -1


def flip(src: Image, axis: Union[Axis, int, str] = Axis.ROWS,
         out: Optional[Image] = None) -> Image:
    """src with rows, columns or both reversed, in a new image or in out, which may be src.
    [QuibFlip]"""
    need_image("src", src)
    axis = _check.choice("axis", axis, Axis)
    if out is None:
        out = src.clone() if _is_limited(src) else Image.empty(src.width, src.height, src.depth)
    need_like("out", out, src)
    if out._open is src._open and src.mask is not None:
        raise ValueError("out must be another image than one with a mask")
    _check.reserve("a row", 16 * src.row_bytes + (1 << 16))
    call("QuibFlip", src, out, int(axis))
    return out


def _interpolation(value: InterpolationLike, smooth_edge: bool) -> int:
    mode = int(_check.choice("interpolation", value, Interpolation))
    return mode | (raw.IPL_SMOOTH_EDGE if smooth_edge else 0)


def _need_area(name: str, size: tuple[int, int]) -> None:
    if size[0] < 2 or size[1] < 2:
        raise ValueError(f"{name} must have 2 columns and 2 rows or more, not "
                         f"{size[0]} x {size[1]}")


def _reserve_warp(*images: Image) -> None:
    room = sum(64 * (image.width + image.height) + 4 * image.size_bytes for image in images)
    _check.reserve("a warp", room + (1 << 20))


def rotate(src: Image, angle: float, center: Optional[Sequence[int]] = None,
           interpolation: InterpolationLike = Interpolation.LINEAR, smooth_edge: bool = False,
           out: Optional[Image] = None) -> Image:
    """src turned counter-clockwise by degrees about a pixel, its middle for None, in a new
    image of its size filled with 0 or in out. What is not covered stays. [QuibRotate]"""
    need_image("src", src)
    angle = _check.real("angle", angle)
    middle = (src.width // 2, src.height // 2) if center is None else tuple(center)
    if len(middle) != 2:
        raise TypeError(f"center must be (x, y), not {center!r}")
    x = _check.integer("x of center", middle[0], -(1 << 24), 1 << 24)
    y = _check.integer("y of center", middle[1], -(1 << 24), 1 << 24)
    mode = _interpolation(interpolation, smooth_edge)
    if out is None:
        out = Image(*check_size(src.width, src.height, src.depth))
    need_other("out", need_same_depth("out", out, src), src)
    _need_area("src", region_size(src))
    _reserve_warp(src, out)
    call("QuibRotate", src, out, angle, x, y, mode)
    return out


# --- Warps into a new image ------------------------------------------------------


def _corners(image: Image) -> list[tuple[int, int]]:
    """The corners of an image's region, the last column and row included."""
    x, y, width, height = image.region or (0, 0, image.width, image.height)
    right, bottom = x + width - 1, y + height - 1
    return [(x, y), (right, y), (right, bottom), (x, bottom)]


def _mapped(rows: list[list[float]], corners: list[tuple[int, int]]) -> Corners:
    """Where coefficients take corners."""
    def along(row: list[float], x: float, y: float) -> float:
        return (row[1] * y + row[2]) + row[0] * x

    found = []
    for x, y in corners:
        scale = along(rows[2], x, y) if len(rows) == 3 else 1.0
        found.append(tuple(along(row, x, y) / scale if scale else math.inf
                           for row in rows[:2]))
    return found  # type: ignore[return-value]


def _bound(corners: Corners) -> tuple[int, int]:
    """Width and height of the image that holds the corners."""
    sizes = []
    for axis in (0, 1):
        values = [corner[axis] for corner in corners]
        span = max(values) - min(values)
        if not math.isfinite(span) or span > 1e9:
            raise ValueError("coefficients must keep the corners of src at finite places, less "
                             "than 1e9 pixels apart")
        sizes.append(int(span) + 1)
    return check_size(sizes[0], sizes[1], 32)[:2]


def _turns(quad: Corners) -> list[float]:
    """The cross products of a quadrangle's edges."""
    edges = [(quad[(i + 1) % 4][0] - quad[i][0], quad[(i + 1) % 4][1] - quad[i][1])
             for i in range(4)]
    return [edges[i][0] * edges[(i + 1) % 4][1] - edges[i][1] * edges[(i + 1) % 4][0]
            for i in range(4)]


def _need_convex(name: str, quad: Corners) -> None:
    turns = _turns(quad)
    if not (all(turn > 0 for turn in turns) or all(turn < 0 for turn in turns)):
        raise ValueError(f"{name} must be a convex quadrangle, not {quad}")


def rotate_3d(src: Image, angle: float, axis: int) -> Image:
    """src, of 32 bits, turned by degrees about the horizontal axis (1), the vertical one (2)
    or in the picture's plane (3), without perspective, in a new image. An angle whose whole
    part is a multiple of 90, 0 included, gains one degree. [QUIBRotate3D]"""
    need_depth("src", src, (32,))
    angle = _check.real("angle", angle)
    axis = _check.integer("axis", axis, 1, 3)
    _need_area("src", region_size(src))
    used = angle + 1.0 if int(angle) % 90 == 0 else angle
    cosine = math.cos(used * 0.01745329252)
    sine = math.sin(used * 0.01745329252)
    if axis != 3 and abs(cosine) < 1.1e-7:
        raise ValueError(f"angle must not turn the image out of sight, as {angle} does")
    rows = {1: [[1.0, 0.0, 0.0], [0.0, cosine, 0.0]], 2: [[cosine, 0.0, 0.0], [0.0, 1.0, 0.0]],
            3: [[cosine, -sine, 0.0], [sine, cosine, 0.0]]}[axis]
    width, height = _bound(_mapped(rows, _corners(src)))
    _reserve_warp(src)
    return make("QUIBRotate3D", angle, src, OUT, axis, room=8 * width * height)


def _rows(numbers: Matrix) -> Any:
    kind = ctypes.c_double * numbers.shape[1]
    return numbers.ctypes.data_as(ctypes.POINTER(kind))


def warp_affine(src: Image, coefficients: npt.ArrayLike,
                interpolation: InterpolationLike = Interpolation.LINEAR,
                smooth_edge: bool = False) -> Image:
    """src, of 32 bits, with pixel (x, y) taken to (c0 x + c1 y + c2, c3 x + c4 y + c5), the
    coefficients two rows of three, in a new image as large as what src becomes. What comes
    to lie at negative coordinates is lost. [QUIBWarpAffine]"""
    need_depth("src", src, (32,))
    numbers = _check.matrix("coefficients", coefficients, 2, 3, 1e7)
    mode = _interpolation(interpolation, smooth_edge)
    _need_area("src", region_size(src))
    rows = numbers.tolist()
    if not abs(rows[0][0] * rows[1][1] - rows[1][0] * rows[0][1]) > 1e-7:
        raise ValueError("coefficients must not flatten the image: their determinant is 0")
    width, height = _bound(_mapped(rows, _corners(src)))
    _reserve_warp(src)
    return make("QUIBWarpAffine", src, OUT, _rows(numbers), mode, room=8 * width * height)


def warp_perspective(src: Image, coefficients: npt.ArrayLike, inverse: bool = False,
                     interpolation: InterpolationLike = Interpolation.LINEAR,
                     smooth_edge: bool = False) -> Image:
    """The same over c6 x + c7 y + c8, of three rows. With inverse the coefficients take
    pixels of the result to places of src; the size is that of the other direction all the
    same. [QUIBWarpPerspective]"""
    need_depth("src", src, (32,))
    numbers = _check.matrix("coefficients", coefficients, 3, 3, 1e7)
    mode = _interpolation(interpolation, smooth_edge)
    _need_area("src", region_size(src))
    quad = _mapped(numbers.tolist(), _corners(src))
    width, height = _bound(quad)
    if inverse:
        _need_area("the result", (width, height))
        quad = _mapped(numbers.tolist(), [(0, 0), (width - 1, 0), (width - 1, height - 1),
                                          (0, height - 1)])
    if any(not abs(number) < 1e9 for corner in quad for number in corner):
        raise ValueError("coefficients must keep the corners at finite places")
    _need_convex("what the coefficients make of the corners", quad)
    _reserve_warp(src)
    return make("QUIBWarpPerspective", src, OUT, _rows(numbers), int(bool(inverse)), mode,
                room=8 * width * height)


# --- Quadrangles -----------------------------------------------------------------


def _quad(quad: npt.ArrayLike) -> tuple[Matrix, Corners]:
    numbers = _check.matrix("quad", quad, 4, 2, 1e6)
    return numbers, [(x, y) for x, y in numbers.tolist()]


def _box(quad: Corners) -> tuple[int, int]:
    sizes = [int(max(c[axis] for c in quad) + 0.5) - int(min(c[axis] for c in quad) - 0.5)
             for axis in (0, 1)]
    return sizes[0], sizes[1]


def _is_convex(quad: Corners) -> bool:
    """By the thresholds of warp_quad."""
    turns = _turns(quad)
    large = all(abs(turn) > limit for turn, limit in zip(turns, (0.001, 0.001, 0.001, 0.1)))
    return large and (min(turns) > 0 or max(turns) < 0)


def _need_quad_areas(src: Image, out: Optional[Image], inverse: bool) -> None:
    _need_area("src", region_size(src))
    if inverse and out is not None:
        _need_area("out", region_size(out))


def warp_quad(src: Image, quad: npt.ArrayLike,
              interpolation: InterpolationLike = Interpolation.LINEAR, inverse: bool = False,
              smooth_edge: bool = False, out: Optional[Image] = None) -> Image:
    """Warps src's region onto a quadrangle of out, the places of its corners (left, top),
    (right, top), (right, bottom) and (left, bottom); with inverse, the quadrangle of src onto
    the region of out. A missing out is made, of the size of src and filled with 0. A concave
    quadrangle is drawn by scanlines, nearest, and so are all on processors that the engine's
    warp is not used on: at 32 bits alone, so warp_quad_engine takes the other depths. A
    quadrangle of one column or row leaves the pixels alone. [QUIBWarpPerspectiveQ]"""
    need_depth("src", src, (32,))
    numbers, corners = _quad(quad)
    mode = _interpolation(interpolation, smooth_edge)
    _need_quad_areas(src, out or src, inverse)
    if out is None:
        out = Image(*check_size(src.width, src.height, 32))
    need_other("out", need_same_depth("out", out, src), src)
    _reserve_warp(src, out)
    call("QUIBWarpPerspectiveQ", src, Into(out), _rows(numbers), mode, bool(inverse))
    return out


def warp_quad_engine(src: Image, quad: npt.ArrayLike,
                     interpolation: InterpolationLike = Interpolation.LINEAR,
                     inverse: bool = False, smooth_edge: bool = False,
                     out: Optional[Image] = None) -> Image:
    """The same by the engine alone: ValueError for a concave quadrangle. A missing out is
    made of the size of the quadrangle's box, with 32 bits. [QUIBWarpPerspectiveQ_]"""
    need_image("src", src)
    numbers, corners = _quad(quad)
    mode = _interpolation(interpolation, smooth_edge)
    if not _is_convex(corners):
        raise ValueError(f"quad must be a convex quadrangle, not {corners}")
    if out is None:
        need_depth("src", src, (32,))
        out = Image(*check_size(*_box(corners), 32))
    need_other("out", need_same_depth("out", out, src), src)
    _need_quad_areas(src, out, inverse)
    _reserve_warp(src, out)
    call("QUIBWarpPerspectiveQ_", src, Into(out), _rows(numbers), mode, bool(inverse))
    return out


def perspective_quad(src: Image, coefficients: npt.ArrayLike) -> Matrix:
    """Where three rows of coefficients take the corners of src's region, as four rows of x
    and y. A corner on the transform's horizon gives infinities, or no numbers.
    [QUIBGetPerspectiveQuad]"""
    need_image("src", src)
    numbers = _check.matrix("coefficients", coefficients, 3, 3, 1e300)
    quad = np.zeros((4, 2))
    call("QUIBGetPerspectiveQuad", src, _rows(numbers), _rows(quad))
    return quad


def perspective_transform(src: Image, quad: npt.ArrayLike) -> Matrix:
    """The three rows of coefficients that take the corners of src's region to a convex
    quadrangle's. [QUIBPerspectiveTransform]"""
    need_image("src", src)
    numbers = _check.matrix("quad", quad, 4, 2, 1e100)
    _need_convex("quad", [(x, y) for x, y in numbers.tolist()])
    _need_area("src", region_size(src))
    coefficients = np.zeros((3, 3))
    call("QUIBPerspectiveTransform", src, _rows(coefficients), _rows(numbers))
    return coefficients
