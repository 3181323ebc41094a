"""Composition: one image over another, and alpha.

Arguments are tested before the library is called, whose engine ends the process (exit 1) on
what it refuses: TypeError and ValueError name the argument. The name in brackets is that of
the C function.
"""

import ctypes
import enum
from collections.abc import Sequence
from typing import Any, Optional, Union

from quibtool import _check, raw
from quibtool.image import OUT, Image, Into, call, clipped, make, need_depth, need_like

# --- Composition -----------------------------------------------------------------


class Composite(enum.IntEnum):
    """How two images are laid over one another (Porter and Duff, 1984)."""

    OVER = 0
    IN = 1
    OUT = 2
    ATOP = 3
    XOR = 4
    PLUS = 5


CompositeLike = Union[Composite, int, str]
RectLike = Optional[Sequence[int]]


def _compose(function: str, over: Any, under: Any, out: Optional[Image]) -> Image:
    need_depth("over", over, (32,))
    need_depth("under", under, (32,))
    if out is None:
        return make(function, over, under, OUT)
    need_like("out", out, under)
    if out._open is under._open:
        call(function, over, under, None)
    else:
        call(function, over, under, Into(out))
    return out


def compose(over: Image, under: Image, out: Optional[Image] = None) -> Image:
    """Lays one 32-bit image over another by the alphas of both, from the top left corner, in
    a new image of under's size, in out of the same size, or in under if that is out. With a
    result of its own, images of different widths are walked askew. [QuibComposition3]"""
    return _compose("QuibComposition3", over, under, out)


def compose_simple(over: Image, under: Image, out: Optional[Image] = None) -> Image:
    """The same by over's alpha alone; the alpha of what is written becomes 255.
    [QuibComposition_s]"""
    return _compose("QuibComposition_s", over, under, out)


def compose_at(over: Image, under: Image, position: RectLike = None,
               rectangle: RectLike = None) -> None:
    """Lays over on under in place, its first pixel at position (x, y), inside a rectangle
    (left, top, right, bottom). y grows upwards and row r stands at -r, so that top lies
    above bottom. What falls outside is left out. [QuibComposition4]"""
    need_depth("over", over, (32,))
    need_depth("under", under, (32,))
    point = None
    if position is not None:
        edges = list(position)
        if len(edges) != 2:
            raise TypeError(f"position must be (x, y), not {position!r}")
        point = [_check.integer(f"{axis} of position", value, -(1 << 30), 1 << 30)
                 for axis, value in zip("xy", edges)]
    area = None
    if rectangle is not None:
        area = _check.rectangle("rectangle", rectangle)
        if area[1] <= area[3] or area[2] <= area[0]:
            raise ValueError("rectangle must have left below right and top above bottom, where "
                             f"y grows upwards, not be {area}")
    call("QuibComposition4", over, under, point and _by_address(raw.QuibPoint(*point)),
         area and _by_address(raw.QuibRect(*area)))


def _by_address(record: Any) -> Any:
    return ctypes.byref(record)


def _inputs(a: Any, b: Any, rects: Sequence[RectLike]) -> list[Any]:
    """Tests the inputs of an alpha composite; gives the three rectangles, clipped."""
    need_depth("a", a, (32,))
    need_depth("b", b, (32,))
    areas: list[Any] = []
    for name, rect, image in zip(("rect_a", "rect_b", "rect_result"), rects, (a, b, b)):
        areas.append(None if rect is None else
                     _by_address(raw.QuibRect(*clipped(name, rect, image))))
    return areas


def composite(a: Image, b: Image, kind: CompositeLike = Composite.OVER,
              premultiplied: bool = False, divide: bool = False, rect_a: RectLike = None,
              rect_b: RectLike = None, rect_result: RectLike = None) -> Image:
    """Lays 32-bit a over b into a new image, a clone of b, by the alphas of both. With
    premultiplied the colours carry their alpha already; with divide those of the result are
    straight again. Rectangles limit the pixels of their image and must meet it.
    [QuibComposition1]"""
    kind = _check.choice("kind", kind, Composite)
    areas = _inputs(a, b, (rect_a, rect_b, rect_result))
    return make("QuibComposition1", a, b, OUT, *areas, int(kind), int(bool(premultiplied)),
                int(bool(divide)))


def composite_constant(a: Image, b: Image, alpha_a: int = 255, alpha_b: int = 255,
                       kind: CompositeLike = Composite.OVER, rect_a: RectLike = None,
                       rect_b: RectLike = None, rect_result: RectLike = None) -> Image:
    """The same with one alpha, 0 to 255, for all of an image; the result's fourth channel is
    b's. [QuibComposition2]"""
    kind = _check.choice("kind", kind, Composite)
    alphas = [_check.integer(name, value, 0, 255) for name, value in
              (("alpha_a", alpha_a), ("alpha_b", alpha_b))]
    areas = _inputs(a, b, (rect_a, rect_b, rect_result))
    return make("QuibComposition2", a, b, *alphas, OUT, *areas, int(kind))


# --- Alpha -----------------------------------------------------------------------


def set_alpha_constant(image: Image, alpha: int, rect: RectLike = None) -> None:
    """Stores alpha, 0 to 255, in the alpha of each pixel of a 32-bit image. With rect, which
    must meet it, in the first bottom - top rows, and of each in the bytes left + 3, left + 7
    and so on, one for each of the right - left columns: left counts bytes. [QuibSetAlphaS]"""
    need_depth("image", image, (32,))
    alpha = _check.integer("alpha", alpha, 0, 255)
    area = None if rect is None else _by_address(raw.QuibRect(*clipped("rect", rect, image)))
    call("QuibSetAlphaS", image, area, alpha)


def set_alpha(image: Image, plane: Optional[Image] = None, percent: int = 100) -> None:
    """Stores the bytes of an 8-bit image at least as large, or the alpha that is there, times
    percent, 0 to 100, in the alpha of each pixel of a 32-bit image. [QuibSetAlpha]"""
    need_depth("image", image, (32,))
    percent = _check.integer("percent", percent, 0, 100)
    if plane is not None:
        need_depth("plane", plane, (8,))
        if plane.width < image.width or plane.height < image.height:
            raise ValueError(f"plane must be at least {image.width} x {image.height}, not "
                             f"{plane.width} x {plane.height}")
    call("QuibSetAlpha", image, plane, percent)
