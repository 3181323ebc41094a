"""Tests of arguments, each of which names the argument and what was expected."""

import enum
import math
import operator
from collections.abc import Iterable
from typing import Any, TypeVar, Union

import numpy as np
import numpy.typing as npt

INT_MIN, INT_MAX, UINT_MAX = -(1 << 31), (1 << 31) - 1, (1 << 32) - 1
Rect = tuple[int, int, int, int]
Choice = TypeVar("Choice", bound=enum.IntEnum)


def integer(name: str, value: Any, low: int = INT_MIN, high: int = INT_MAX) -> int:
    """A whole number from low to high."""
    try:
        number = operator.index(value)
    except TypeError:
        raise TypeError(f"{name} must be an integer, not {type(value).__name__}") from None
    if not low <= number <= high:
        raise ValueError(f"{name} must be {low} to {high}, not {number}")
    return number


def real(name: str, value: Any, low: float = -1e9, high: float = 1e9) -> float:
    """A finite number from low to high."""
    try:
        number = float(value)
    except (TypeError, ValueError, OverflowError):
        raise TypeError(f"{name} must be a number, not {type(value).__name__}") from None
    if not low <= number <= high:  # false for what is no number too
        raise ValueError(f"{name} must be {low:g} to {high:g}, not {number}")
    return number


def choice(name: str, value: Any, kinds: type[Choice], allowed: Iterable[Choice] = ()) -> Choice:
    """A member of an enumeration, by itself, its name in any case, or its number."""
    members = list(allowed) or list(kinds)
    expected = ", ".join(f"{member.name.lower()} ({member.value})" for member in members)
    if isinstance(value, str):
        found = kinds.__members__.get(value.upper())
    else:
        number = integer(name, value, -(1 << 63), 1 << 63)
        found = next((member for member in members if member == number), None)
    if found is None or found not in members:
        raise ValueError(f"{name} must be one of {expected}, not {value!r}")
    return found


def rectangle(name: str, value: Any) -> Rect:
    """Left, top, right and bottom, the last two exclusive."""
    try:
        edges = list(value)
    except TypeError:
        edges = []
    if len(edges) != 4:
        raise TypeError(f"{name} must be (left, top, right, bottom), not {value!r}")
    left, top, right, bottom = (integer(f"{edge} of {name}", number) for edge, number in
                                zip(("left", "top", "right", "bottom"), edges))
    return left, top, right, bottom


def matrix(name: str, value: Any, rows: int, columns: int,
           limit: float = 1e9) -> npt.NDArray[np.float64]:
    """Finite numbers in rows and columns."""
    try:
        numbers = np.array(value, dtype=np.float64, order="C")
    except (TypeError, ValueError, OverflowError):
        raise TypeError(f"{name} must be {rows} x {columns} numbers") from None
    if numbers.shape != (rows, columns):
        raise ValueError(f"{name} must be {rows} x {columns} numbers, not of shape "
                         f"{numbers.shape}")
    if not (np.isfinite(numbers).all() and (np.abs(numbers) <= limit).all()):
        raise ValueError(f"{name} must be finite numbers within {limit:g}")
    return numbers


def reserve(what: str, amount: Union[int, float]) -> None:
    """Sees whether so many bytes can be had, since the library ends the process where
    they cannot. They are given back at once."""
    if not math.isfinite(amount) or amount > INT_MAX * 16:
        raise MemoryError(f"{what} would take {amount:.3g} bytes")
    try:
        np.empty(int(amount), dtype=np.uint8)
    except (MemoryError, ValueError):
        raise MemoryError(f"no {int(amount)} bytes of memory for {what}") from None
