"""Finds and loads the shared library."""

import ctypes
import ctypes.util
import os
import pathlib
import sys

VARIABLE = "QUIBTOOL_LIBRARY"
ABI = 1  # the soname's number
WINDOWS = sys.platform == "win32"
# The columns of exported names that are not C's: the system's own compiler decorates
# those of the two functions with C++ linkage.
_DECORATED = {
    "QuibColorConversion": (
        "_Z19QuibColorConversionP9_IplImageS0_",
        "?QuibColorConversion@@YAJPAU_IplImage@@0@Z",
        "?QuibColorConversion@@YAJPEAU_IplImage@@0@Z",
    ),
    "QUIBWarpPerspectiveQ_": (
        "_Z21QUIBWarpPerspectiveQ_P9_IplImagePS0_PA2_Kdib",
        "?QUIBWarpPerspectiveQ_@@YAJPAU_IplImage@@PAPAU1@QAY01$$CBNH_N@Z",
        "?QUIBWarpPerspectiveQ_@@YAJPEAU_IplImage@@PEAPEAU1@QEAY01$$CBNH_N@Z",
    ),
}


def exported_name(function: str) -> str:
    """The name under which a function leaves the library on this platform."""
    if function not in _DECORATED:
        return function
    column = 0 if not WINDOWS else 1 if ctypes.sizeof(ctypes.c_void_p) == 4 else 2
    return _DECORATED[function][column]


def _candidates() -> list[str]:
    """The names to try, in order."""
    named = os.environ.get(VARIABLE)
    own = ["QuibTool.dll"] if WINDOWS else [f"libQuibTool.so.{ABI}", "libQuibTool.so"]
    if named and os.path.isdir(named):
        return [str(pathlib.Path(named) / name) for name in own]
    if named:
        return [named]
    found = ctypes.util.find_library("QuibTool")
    return own + ([found] if found else [])


def load() -> ctypes.CDLL:
    """The library that QUIBTOOL_LIBRARY names, a file or its folder, or else the one
    that the system's loader finds. ImportError says what was tried."""
    said = []
    for name in _candidates():
        try:
            return ctypes.CDLL(name)
        except OSError as error:
            said.append(f"{name}: {error}")
    raise ImportError(
        "The QuibTool library cannot be loaded. Install it where the loader looks, or set "
        f"{VARIABLE} to its file or folder. Tried: " + "; ".join(said))
