"""Convolution and filters with a window.

A filter gives a new image of its source's size and depth. A region is filtered into the top
left corner of the result, which is black elsewhere; blur gives a clone with the region
blurred in its place. Pixels outside the image are 0.

Arguments are tested before the library is called, whose engine ends the process (exit 1) on
what it refuses: TypeError and ValueError name the argument. The name in brackets is that of
the C function.
"""

import ctypes
import enum
import weakref
from collections.abc import Sequence
from typing import Any, Optional, Union

import numpy as np
import numpy.typing as npt

from quibtool import _check, raw
from quibtool.errors import check
from quibtool.image import OUT, Image, call, make, need_depth, need_image, need_like, need_other
from quibtool.image import row_bytes

Taps = npt.NDArray[np.int32]
_TAPS_MAX = 1 << 24

# --- Kernels ---------------------------------------------------------------------


def _delete(address: int) -> None:
    raw.QuibDeleteConvKernel(address)


def _taps(taps: npt.ArrayLike, low: int, high: int) -> npt.NDArray[np.int64]:
    try:
        values = np.array(taps)
    except ValueError:
        raise ValueError("taps must be rows of one length") from None
    if values.ndim != 2 or values.size < 1 or values.dtype.kind not in "iub":
        raise ValueError("taps must be integers in rows and columns, not of type "
                         f"{values.dtype} and shape {values.shape}")
    if values.size > _TAPS_MAX:
        raise ValueError(f"taps must be at most {_TAPS_MAX}, not {values.size}")
    if int(values.min()) < low or int(values.max()) > high:
        raise ValueError(f"taps must be {low} to {high}")
    return values.astype(np.int64)


class Kernel:
    """Taps in rows and columns, the place of the pixel among them (their middle for None)
    and the shift right of the sum. The tap in column i and row j goes with the pixel at
    (x + anchor[0] - i, y + anchor[1] - j). With small, taps are -128 to 127 and go in as
    bytes. [QuibCreateConvKernel, QuibCreateConvKernelChar]

    Good until close() or the end of a with statement.
    """

    def __init__(self, taps: npt.ArrayLike, anchor: Optional[Sequence[int]] = None,
                 shift: int = 0, small: bool = False) -> None:
        limits = (-128, 127) if small else (_check.INT_MIN, _check.INT_MAX)
        values = _taps(taps, *limits)
        rows, columns = values.shape
        x, y = _anchor(columns, rows, anchor)
        shift = _check.integer("shift", shift, 0)
        _check.reserve("a kernel", 64 * values.size + (1 << 16))
        name = "QuibCreateConvKernelChar" if small else "QuibCreateConvKernel"
        stored = np.ascontiguousarray(values, np.int8 if small else np.int32)
        kind = ctypes.c_int8 if small else ctypes.c_int32
        address = ctypes.c_void_p()
        check(name, getattr(raw, name)(ctypes.byref(address), columns, rows, x, y,
                                       stored.ctypes.data_as(ctypes.POINTER(kind)), shift))
        self._address: Optional[int] = address.value
        self._finish = weakref.finalize(self, _delete, address.value or 0)
        self._finish.atexit = False
        self.columns, self.rows = columns, rows

    def close(self) -> None:
        """Frees the kernel. [QuibDeleteConvKernel]"""
        self._address = None
        self._finish()

    @property
    def closed(self) -> bool:
        """Whether the kernel has been closed."""
        return self._address is None

    def __enter__(self) -> "Kernel":
        return self

    def __exit__(self, *unused: object) -> None:
        self.close()

    def _read(self, function: str, kind: Any, dtype: Any) -> tuple[npt.NDArray[Any], list[int]]:
        need_kernel("kernel", self)
        numbers = [ctypes.c_int32() for _ in range(5)]
        taps = np.zeros((self.rows, self.columns), dtype)
        at = taps.ctypes.data_as(ctypes.POINTER(kind))
        places = [ctypes.byref(number) for number in numbers]
        check(function, getattr(raw, function)(self._address, *places[:4], ctypes.byref(at),
                                               places[4]))
        return taps, [number.value for number in numbers]

    @property
    def taps(self) -> Taps:
        """A copy of the taps. [QuibGetConvKernel]"""
        return self._read("QuibGetConvKernel", ctypes.c_int32, np.int32)[0]

    @property
    def small_taps(self) -> npt.NDArray[np.int8]:
        """The low byte of each tap. [QuibGetConvKernelChar]"""
        return self._read("QuibGetConvKernelChar", ctypes.c_int8, np.int8)[0]

    @property
    def anchor(self) -> tuple[int, int]:
        """Column and row of the pixel among the taps."""
        numbers = self._read("QuibGetConvKernel", ctypes.c_int32, np.int32)[1]
        return numbers[2], numbers[3]

    @property
    def shift(self) -> int:
        """By how many bits sums are shifted right."""
        return self._read("QuibGetConvKernel", ctypes.c_int32, np.int32)[1][4]


def need_kernel(name: str, kernel: Any) -> Kernel:
    """A kernel that is not closed."""
    if not isinstance(kernel, Kernel):
        raise TypeError(f"{name} must be a Kernel, not {type(kernel).__name__}")
    if kernel.closed:
        raise ValueError(f"{name} is closed")
    return kernel


def _anchor(columns: int, rows: int, anchor: Any) -> tuple[int, int]:
    place = (columns // 2, rows // 2) if anchor is None else tuple(anchor)
    if len(place) != 2:
        raise TypeError(f"anchor must be (column, row), not {anchor!r}")
    return (_check.integer("column of anchor", place[0], 0, columns - 1),
            _check.integer("row of anchor", place[1], 0, rows - 1))


# --- Convolution -----------------------------------------------------------------


class Combine(enum.IntEnum):
    """What becomes of the results of several kernels. SQUARES is the sum of their squares,
    ROOT its square root."""

    SUM = 0
    SQUARES = 1
    ROOT = 2
    LARGEST = 3
    SMALLEST = 4


def _room(src: Image, columns: int, rows: int) -> int:
    """Bytes that a window needs besides the images: src with a border, in wide numbers."""
    wide = row_bytes(src.width + columns, 8 * src.channels) * (min(src.height, rows) + rows)
    whole = row_bytes(src.width + columns, 8 * src.channels) * (src.height + rows)
    if whole > _check.INT_MAX:
        raise MemoryError(f"a window of {columns} x {rows} around {src.width} x {src.height} "
                          f"pixels takes {whole} bytes")
    return 8 * wide + 2 * whole


def convolve(src: Image, kernels: Union[Kernel, Sequence[Kernel]],
             combine: Union[Combine, int, str] = Combine.SUM) -> Image:
    """src convolved by a kernel or by up to 10. [QuibConvolve2D]"""
    need_image("src", src)
    given = [kernels] if isinstance(kernels, Kernel) else list(kernels)
    if not 1 <= len(given) <= 10:
        raise ValueError(f"kernels must be 1 to 10, not {len(given)}")
    for kernel in given:
        need_kernel("each of kernels", kernel)
    combine = _check.choice("combine", combine, Combine)
    room = _room(src, 2 * max(k.columns for k in given), 2 * max(k.rows for k in given))
    addresses = (ctypes.c_void_p * len(given))(*(kernel._address for kernel in given))
    return make("QuibConvolve2D", src, OUT, addresses, len(given), int(combine), room=room)


def convolve_separable(src: Image, row: Kernel, column: Kernel) -> Image:
    """src convolved by a row of two taps or more, and then by a column.
    [QuibConvolveSep2D]"""
    need_image("src", src)
    need_kernel("row", row)
    need_kernel("column", column)
    if row.rows != 1 or row.columns < 2:
        raise ValueError(f"row must have 1 row of 2 taps or more, not {row.rows} of {row.columns}")
    if column.columns != 1 or column.rows < 2:
        raise ValueError(f"column must have 2 rows or more of 1 tap, not {column.rows} of "
                         f"{column.columns}")
    return make("QuibConvolveSep2D", src, OUT, row._address, column._address,
                room=_room(src, row.columns, column.rows))


# --- Windows ---------------------------------------------------------------------


def _window(function: str, src: Any, size: Any, anchor: Any) -> Image:
    need_image("src", src)
    sides = (size, size) if isinstance(size, (int, np.integer)) else tuple(size)
    if len(sides) != 2:
        raise TypeError(f"size must be a number or (columns, rows), not {size!r}")
    columns = _check.integer("columns of size", sides[0], 1, 1 << 16)
    rows = _check.integer("rows of size", sides[1], 1, 1 << 16)
    x, y = _anchor(columns, rows, anchor)
    return make(function, src, OUT, columns, rows, x, y, room=_room(src, columns, rows))


Size = Union[int, Sequence[int]]
AnchorLike = Optional[Sequence[int]]


def max_filter(src: Image, size: Size = 3, anchor: AnchorLike = None) -> Image:
    """The largest element of a window of size (columns, rows), in which the pixel stands at
    anchor, its middle for None. 1 bit: whether any is set. [QuibMaxFilter]"""
    return _window("QuibMaxFilter", src, size, anchor)


def min_filter(src: Image, size: Size = 3, anchor: AnchorLike = None) -> Image:
    """The smallest element of the window. [QuibMinFilter]"""
    return _window("QuibMinFilter", src, size, anchor)


def median_filter(src: Image, size: Size = 3, anchor: AnchorLike = None) -> Image:
    """The median of the window's elements, or the upper one of two; at 1 bit the lower one.
    [QuibMedianFilter]"""
    return _window("QuibMedianFilter", src, size, anchor)


def color_median_filter(src: Image, size: Size = 3, anchor: AnchorLike = None) -> Image:
    """The pixel of the window whose colours differ least from those of all its pixels; of 24
    bits only. [QuibColorMedianFilter]"""
    need_depth("src", src, (24,))
    return _window("QuibColorMedianFilter", src, size, anchor)


def blur(src: Image, size: Size = 3, anchor: AnchorLike = None) -> Image:
    """The mean of the window's elements, halves up. [QuibBlur]"""
    return _window("QuibBlur", src, size, anchor)


def decimate_blur(src: Image, size: Size = 3, out: Optional[Image] = None,
                  interpolation: int = 0) -> Image:
    """src blurred by a window of size (columns, rows), each lowered to half of the image, in
    a new image or in out, of src's size and depth. Where that leaves no window, the pixels are
    copied. interpolation is 0, 1 or 2, and makes no difference. [QuibDecimateBlur]"""
    need_image("src", src)
    sides = (size, size) if isinstance(size, (int, np.integer)) else tuple(size)
    if len(sides) != 2:
        raise TypeError(f"size must be a number or (columns, rows), not {size!r}")
    columns, rows = (_check.integer(f"{name} of size", value, 1) for name, value in
                     zip(("columns", "rows"), sides))
    interpolation = _check.integer("interpolation", interpolation, 0, 2)
    if out is None:
        out = Image(src.width, src.height, src.depth)
    need_other("out", need_like("out", out, src), src)
    room = _room(src, min(columns, src.width), min(rows, src.height))
    _check.reserve("a blur", room + 4 * src.size_bytes)
    call("QuibDecimateBlur", src, out, interpolation, columns, rows)
    return out


class Fixed(enum.IntEnum):
    """The filters of fixed_filter: gradients (horizontal, that is the difference of right and
    left, and vertical), Laplacians, Gaussians, what a pixel differs from its mean plus 128, and
    sharpening."""

    PREWITT_HORIZONTAL = 0
    PREWITT_VERTICAL = 1
    SOBEL_HORIZONTAL = 2
    SOBEL_VERTICAL = 3
    LAPLACIAN_3X3 = 4
    LAPLACIAN_5X5 = 5
    GAUSSIAN_3X3 = 6
    GAUSSIAN_5X5 = 7
    HIGHPASS_3X3 = 8
    HIGHPASS_5X5 = 9
    SHARPEN = 10


def fixed_filter(src: Image, kind: Union[Fixed, int, str]) -> Image:
    """One of eleven filters with a window of their own. [QuibFixedFilter]"""
    need_image("src", src)
    kind = _check.choice("kind", kind, Fixed)
    return make("QuibFixedFilter", src, OUT, int(kind), room=_room(src, 5, 5))
