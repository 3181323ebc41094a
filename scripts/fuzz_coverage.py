#!/usr/bin/env python3
"""fuzz_coverage.py [--missing] [--corpora FOLDER] [TARGET...]

Prints how many of the lines that each fuzz target aims at are run by its corpus in
fuzz/corpus, and by the one in FOLDER/TARGET, such as build/fuzz/corpora. --missing lists
the lines that are not. The build is the preset fuzz-coverage, by clang.
"""

import argparse
import os
import pathlib
import subprocess
import sys

ROOT = pathlib.Path(__file__).resolve().parent.parent
BUILD = ROOT / "build" / "fuzz-coverage"

# What each target aims at.
AIMS = {
    "bmp_file": ["quibtool/loadbmp.cpp", "_Src/dib/block.cpp", "_Src/dib/format.cpp"],
    "device_drawing": ["quibtool/draw.cpp", "platform/gdi.cpp"],
    "dib_export": ["_Src/dib/iplDIB.cpp", "_Src/dib/imagerows.cpp", "_Src/dib/palette.cpp",
                   "_Src/dib/median.cpp", "_Src/dib/format.cpp", "_Src/dib/block.cpp"],
    "exports": ["quibtool/*.cpp", "quibtool/stretch/*.cpp"],
    "filters": ["_Src/window/*.cpp", "quibtool/filters.cpp", "quibtool/convolve.cpp"],
    "geometry": ["_Src/warp/*.cpp", "quibtool/warp/*.cpp", "quibtool/flip.cpp"],
    "packed_dib": ["quibtool/dib.cpp", "_Src/dib/iplDIB.cpp", "_Src/dib/median.cpp",
                   "_Src/dib/imagerows.cpp", "_Src/dib/palette.cpp", "_Src/dib/block.cpp",
                   "_Src/dib/format.cpp"],
    "pixels": ["_Src/pixel/*.cpp", "_Src/size/*.cpp", "_Src/walk/*.cpp",
               "_Src/colour/Ownctog.cpp", "_Src/colour/iplbitnl.cpp", "_Src/colour/iplcolor.cpp"],
    "psd_file": ["zxdll/*.cpp", "quibtool/loadpsd.cpp"],
    "reduce_bits": ["_Src/colour/dither.cpp", "_Src/colour/iplredb.cpp"],
    "rle_stream": ["_Src/dib/ownrle.cpp"],
    "surfaces": ["quibtool/surface/*.cpp", "quibtool/interlace.cpp"],
    "zlib_stream": ["zxdll/inflate.cpp"],
}


def run(*command, **options):
    return subprocess.run(command, check=True, cwd=ROOT, **options)


def build(targets):
    quiet = {"stdout": subprocess.DEVNULL}
    run("bash", "-c", "source scripts/packages.sh && need_packages "
        "cmake ninja-build googletest clang libclang-rt-14-dev llvm", stdout=sys.stderr)
    run("cmake", "--preset", "fuzz-coverage", **quiet)
    run("cmake", "--build", "--preset", "fuzz-coverage", "--target",
        *(f"{target}_fuzz" for target in targets), **quiet)


def replay(target, folders):
    """Runs the target over the folders and gives the file of what it counted."""
    program = BUILD / "bin" / f"{target}_fuzz"
    raw = [BUILD / f"{target}-{i}.profraw" for i in range(len(folders))]
    for folder, counts in zip(folders, raw):
        counts.unlink(missing_ok=True)
        run(program, folder, env=os.environ | {"LLVM_PROFILE_FILE": str(counts)},
            stdout=subprocess.DEVNULL)
    profile = BUILD / f"{target}.profdata"
    run("llvm-profdata", "merge", "-sparse", *raw, "-o", profile)
    return program, profile


def lines_run(program, profile, files):
    """{file: {line: how often it was run}} for the lines that hold code."""
    objects = [program]
    for library in BUILD.glob("lib/libQuibPlatform.so"):
        objects += ["-object", library]
    export = run("llvm-cov", "export", "-format=lcov", f"-instr-profile={profile}", *objects,
                 *files, stdout=subprocess.PIPE, text=True)
    found = {}
    for line in export.stdout.splitlines():
        key, _, value = line.partition(":")
        if key == "SF":
            counts = found.setdefault(pathlib.Path(value).relative_to(ROOT).as_posix(), {})
        elif key == "DA":
            number, count = value.split(",")[:2]
            counts[int(number)] = int(count)
    return found


def ranges(numbers):
    """"3-5, 9" for 3, 4, 5 and 9."""
    parts = []
    for number in sorted(numbers):
        if parts and parts[-1][1] == number - 1:
            parts[-1][1] = number
        else:
            parts.append([number, number])
    return ", ".join(str(a) if a == b else f"{a}-{b}" for a, b in parts)


def report(target, arguments):
    folders = [ROOT / "fuzz" / "corpus" / target]
    if arguments.corpora and (arguments.corpora / target).is_dir():
        folders.append((arguments.corpora / target).resolve())
    files = sorted(path for pattern in AIMS[target] for path in ROOT.glob(pattern))
    found = lines_run(*replay(target, folders), files)
    lines = sum(len(counts) for counts in found.values())
    covered = sum(1 for counts in found.values() for count in counts.values() if count)
    print(f"{target:16} {lines:6} {covered:6} {100 * covered / lines:9.1f}", flush=True)
    for path, counts in found.items() if arguments.missing else ():
        if missing := [line for line, count in counts.items() if not count]:
            print(f"    {path}: {ranges(missing)}")


def main():
    parser = argparse.ArgumentParser(description=__doc__.splitlines()[0])
    parser.add_argument("--missing", action="store_true")
    parser.add_argument("--corpora", type=pathlib.Path)
    parser.add_argument("targets", nargs="*", metavar="TARGET")
    arguments = parser.parse_args()
    targets = arguments.targets or sorted(AIMS)
    if unknown := [target for target in targets if target not in AIMS]:
        sys.exit(f"no such target: {', '.join(unknown)}")
    build(targets)
    print(f"{'target':16} {'lines':>6} {'run':>6} {'per cent':>9}")
    for target in targets:
        report(target, arguments)


if __name__ == "__main__":
    main()
