"""The raw declarations against the C header."""

import ctypes
import inspect
import re
import sys

import pytest

import quibtool as q
from quibtool import _library, errors, raw

POINTER = ctypes.POINTER
IMAGE = POINTER(raw.IplImage)
# What each type of the header is here.
TYPES = {
    "int": ctypes.c_int32,
    "int32_t": ctypes.c_int32,
    "uint32_t": ctypes.c_uint32,
    "double": ctypes.c_double,
    "bool": ctypes.c_bool,
    "char*": ctypes.c_char_p,
    "void*": ctypes.c_void_p,
    "void**": POINTER(ctypes.c_void_p),
    "int32_t*": POINTER(ctypes.c_int32),
    "int32_t**": POINTER(POINTER(ctypes.c_int32)),
    "int8_t*": POINTER(ctypes.c_int8),
    "int8_t**": POINTER(POINTER(ctypes.c_int8)),
    "IplImage*": IMAGE,
    "IplImage**": POINTER(IMAGE),
    "QuibRect*": POINTER(raw.QuibRect),
    "QuibPoint*": POINTER(raw.QuibPoint),
    "QuibInfo*": POINTER(raw.QuibInfo),
    "OwnConvKernel*": ctypes.c_void_p,
    "OwnConvKernel**": POINTER(ctypes.c_void_p),
    "struct IDirectDrawSurface*": ctypes.c_void_p,
    "struct IDirectDrawSurface7*": ctypes.c_void_p,
    "double(*)[2]": POINTER(ctypes.c_double * 2),
    "double(*)[3]": POINTER(ctypes.c_double * 3),
}


@pytest.fixture(scope="module")
def header():
    from conftest import ROOT
    sys.path.insert(0, str(ROOT / "scripts"))
    import interface
    return interface.read()


def plain(kind):
    """A C type without const and blanks."""
    kind = re.sub(r"\bconst\b", "", kind)
    return re.sub(r"\s*([*\[\]()])\s*", r"\1", kind).strip()


def test_every_function_has_the_types_of_the_header(header):
    exported = {line.split()[0] for line in open(_exports(), encoding="utf-8")
                if line.strip() and not line.startswith("#")}
    assert len(exported) == 79
    assert set(raw.NAMES) == exported == {function.name for function in header.functions}
    for function in header.functions:
        declared = getattr(raw, function.name)
        assert declared.restype is ctypes.c_int32 and function.result == "QuibStatus"
        wanted = [TYPES[plain(parameter.type)] for parameter in function.parameters]
        assert list(declared.argtypes) == wanted, function.name


def _exports():
    from conftest import ROOT
    return ROOT / "quibtool/exports.txt"


def test_names_that_are_decorated_are_those_of_the_library():
    from conftest import ROOT
    lines = (ROOT / "quibtool/decorated.txt").read_text(encoding="utf-8").splitlines()
    listed = {line.split()[0]: tuple(line.split()[1:]) for line in lines
              if line and not line.startswith("#")}
    assert listed == _library._DECORATED


def test_constants_are_those_of_the_header(header):
    for constant in header.constants:
        match = re.search(r"(0x[0-9A-Fa-f]+|\b\d+)u?\)?$", constant.value)
        if match and hasattr(raw, constant.name):
            assert getattr(raw, constant.name) == int(match[1], 0), constant.name
    statuses = {c.name for c in header.constants if c.name.startswith("QUIB_")
                and c.value.startswith("((QuibStatus)0x")}
    assert len(statuses) == 13
    assert statuses == {name for name, _ in errors._NAMED.values()}
    for name in statuses:
        assert errors.describe(getattr(raw, name))[0] == name


def test_the_record_has_the_size_that_the_library_gives_it():
    assert ctypes.sizeof(raw.IplImage) == (112 if ctypes.sizeof(ctypes.c_void_p) == 4 else 144)
    assert q.Image(3, 2)._open.record.nSize == ctypes.sizeof(raw.IplImage)


def test_every_function_has_a_python_name_that_tells_of_it():
    assert set(q.FUNCTIONS) == set(raw.NAMES)
    for c_name, name in q.FUNCTIONS.items():
        found = q
        for part in name.split("."):
            found = inspect.getattr_static(found, part)
            found = found.__func__ if isinstance(found, classmethod) else found
        said = re.search(r"\[([\w, ]+)\]$", inspect.getdoc(found), re.MULTILINE)
        assert said and c_name in said[1].split(", "), (c_name, name)


def test_every_status_has_its_words():
    error = q.QuibError("QuibFlip", -0x7FFFFFFB)
    assert str(error) == "QuibFlip: QUIB_BAD_ARGUMENT (0x80000005): bad argument or bad handle"
    assert errors.describe(-10) == ("-10", "Incorrect image size")
    assert errors.describe(-125)[1] == "Mask. Incorrect size of ROI in the image header"
    assert errors.describe(-116)[1] == "Unknown error or status code"
    with pytest.raises(q.QuibError):
        errors.check("QuibFlip", raw.QUIB_FAILED - (1 << 32))
