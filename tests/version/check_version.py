#!/usr/bin/env python3
"""check_version.py SOURCE BUILD LIBRARY COMPILER: there is one version.

The numbers in include/quibtool/version.h against what a compiler makes of its macros,
CMake's project, the pkg-config file, the newest entries of CHANGELOG.md and
debian/changelog, the names of the shared library, or of a DLL its version record, and
the Python package's, if there is one. A DLL must also carry neither a time of its
build nor sections for debuggers.
"""

import pathlib
import re
import struct
import subprocess
import sys

failures = []


def expect(what, told, expected):
    print(f"{what}: {told}")
    if told != expected:
        failures.append(f"{what} is {told}, not {expected}")


def first(pattern, path):
    match = re.search(pattern, path.read_text(encoding="utf-8"), re.MULTILINE)
    return match[1] if match else None


def header_version(source):
    path = source / "include/quibtool/version.h"
    return ".".join(first(rf"^#define QUIBTOOL_VERSION_{part} (\d+)$", path)
                    for part in ("MAJOR", "MINOR", "PATCH"))


def check_macros(source, compiler, version):
    program = ('#include "quibtool/quibtool.h"\n_Static_assert(sizeof(QUIBTOOL_VERSION) == %d, "");\n'
               '_Static_assert(QUIBTOOL_VERSION_NUMBER == %d, "");\n'
               'told QUIBTOOL_VERSION told\n')
    major, minor, patch = map(int, version.split("."))
    text = program % (len(version) + 1, major * 10000 + minor * 100 + patch)
    call = [compiler, "-x", "c", "-", "-I", str(source / "include")]
    told = subprocess.run([*call, "-E", "-P"], input=text, text=True, check=True,
                          stdout=subprocess.PIPE).stdout
    parts = re.search(r"told (.*) told", told)[1]
    expect("the header's text", "".join(re.findall(r'"([^"]*)"', parts)), version)
    subprocess.run([*call, "-fsyntax-only"], input=text.replace("told QUIBTOOL_VERSION told\n", ""),
                   text=True, check=True)


def check_library(library, version):
    """The names that a shared library goes by."""
    major = version.split(".", maxsplit=1)[0]
    expect("the library's file", library.resolve().name, f"libQuibTool.so.{version}")
    dynamic = subprocess.run(["readelf", "-d", str(library)], text=True, check=True,
                             stdout=subprocess.PIPE).stdout
    expect("soname", re.search(r"SONAME.*\[(.*)\]", dynamic)[1], f"libQuibTool.so.{major}")


def check_dll(library, version):
    content = library.read_bytes()
    at = struct.unpack_from("<I", content, 0x3C)[0]
    assert content[at:at + 4] == b"PE\0\0"
    # A time of the build would be near today's; the linker leaves 0 instead.
    expect("time in the DLL", struct.unpack_from("<I", content, at + 8)[0], 0)
    sections = struct.unpack_from("<H", content, at + 6)[0]
    headers = at + 24 + struct.unpack_from("<H", content, at + 20)[0]
    names = [content[headers + 40 * i:headers + 40 * i + 8].rstrip(b"\0") for i in range(sections)]
    # Long names, such as those of debuggers' sections, are numbers after a slash.
    expect("sections for debuggers", [name for name in names if name.startswith(b"/")], [])

    record = content.find(struct.pack("<I", 0xFEEF04BD))
    assert record > 0, "the DLL has no version record"
    numbers = struct.unpack_from("<4I", content, record + 8)
    dotted = [f"{high >> 16}.{high & 0xFFFF}.{low >> 16}" for high, low in
              (numbers[:2], numbers[2:])]
    expect("the DLL's numbers", dotted, [version, version])
    for key, value in (("FileVersion", version), ("ProductVersion", version),
                       ("ProductName", "QuibTool"), ("OriginalFilename", "QuibTool.dll")):
        place = content.find(f"{key}\0".encode("utf-16-le"))
        assert place > 0, f"the DLL's record has no {key}"
        text = content[place + 2 * len(key) + 2:place + 2 * len(key) + 80].decode("utf-16-le", "replace")
        expect(f"the DLL's {key}", text.lstrip("\0").split("\0")[0], value)


def main():
    source, build, library = (pathlib.Path(argument).absolute() for argument in sys.argv[1:4])
    version = header_version(source)
    check_macros(source, sys.argv[4], version)
    expect("CMake's project", first(r"^CMAKE_PROJECT_VERSION:STATIC=(.*)$",
                                    build / "CMakeCache.txt"), version)
    expect("quibtool.pc", first(r"^Version: (.*)$", build / "quibtool.pc"), version)
    expect("CHANGELOG.md", first(r"^## \[?(\d[^] ]*)", source / "CHANGELOG.md"), version)
    expect("debian/changelog", first(r"^quibtool \(([^)-]*)", source / "debian/changelog"), version)
    project = source / "bindings/python/pyproject.toml"
    if project.is_file() and (told := first(r'^version = "(.*)"$', project)):
        expect("the Python package", told, version)
    if library.suffix == ".dll":
        check_dll(library, version)
    else:
        check_library(library, version)
    if failures:
        sys.exit("\n".join(failures))


if __name__ == "__main__":
    main()
