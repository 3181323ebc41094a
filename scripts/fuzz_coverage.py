#!/usr/bin/env python3
"""fuzz_coverage.py [--missing] [--corpora FOLDER] [TARGET...]

Prints how many of the lines that each fuzz target aims at are run by its corpus in
fuzz/corpus, and by the one in FOLDER/TARGET, such as build/fuzz/corpora. --missing lists
the lines that are not. The build is the preset fuzz-coverage, by clang. Lines that no input
reaches are left out: those of scripts/unreachable_lines.txt, and of the same form in
scripts/unfuzzable_lines.txt.
"""

import argparse
import os
import pathlib
import re
import subprocess
import sys

import coverage

ROOT = pathlib.Path(__file__).resolve().parent.parent
BUILD = ROOT / "build" / "fuzz-coverage"

UNREACHABLE = (coverage.UNREACHABLE, ROOT / "scripts" / "unfuzzable_lines.txt")

# The halves of files that bring bitmaps in and out.
IMPORT = "imageIsGoodTarget headerIsGood rowsOf rowOffset openRun isBlank chooseImport " \
    "heldPixels importRun importBlanks importRows importDib ownConvertFromDIB"
EXPORT = "headerIsGood imageIsGoodSource rowsOf rowOffset openRun closeWrittenRun " \
    "preparePalette levelsOf reduceImage ditheredImage chooseExport exportRows exportImage " \
    "ownConvertToDIB"
FETCH = "ownMaskSize alphaAbove ownReadMasks ownReadColours fetch1 fetch8 fetch24 fetch32 " \
    "unpackChannel fetchMasked ownChooseDibFetch"

# What each target aims at: files, of some only these functions.
AIMS = {
    "bmp_file": ["quibtool/loadbmp.cpp", f"_Src/dib/iplDIB.cpp {IMPORT}",
                 f"_Src/dib/format.cpp {FETCH}", "_Src/dib/imagerows.cpp ownTopDownRows",
                 "_Src/dib/block.cpp ownHeldBytes ownReadExtent ownOpenDib ownPaletteSize "
                 "ownPixelStart ownDibRowPitch ownDibHeight ownIsCompressed"],
    "device_drawing": ["quibtool/draw.cpp", "platform/gdi.cpp"],
    "dib_export": [f"_Src/dib/iplDIB.cpp {EXPORT}", "_Src/dib/imagerows.cpp", "_Src/dib/palette.cpp",
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


def lines_run(program, profile, aims):
    """{file: {line: how often it was run}} for the lines that hold code of these aims."""
    objects = [program]
    for library in BUILD.glob("lib/libQuibPlatform.so"):
        objects += ["-object", library]
    export = run("llvm-cov", "export", "-format=lcov", f"-instr-profile={profile}", *objects,
                 stdout=subprocess.PIPE, text=True)
    files, starts, counts = {}, {}, {}
    for line in export.stdout.splitlines():
        key, _, value = line.partition(":")
        if key == "SF":
            # A compiler cache makes paths relative to the build.
            name = pathlib.Path(BUILD, value).resolve().relative_to(ROOT).as_posix()
            starts, counts = {}, {}
            if name in aims:
                files[name] = starts, counts
        elif key == "FN":
            number, symbol = value.split(",", 1)
            starts.setdefault(int(number), set()).add(symbol)
        elif key == "DA":
            number, count = value.split(",")[:2]
            counts[int(number)] = int(count)
    return {name: chosen(*files[name], aims[name]) for name in files}


def chosen(starts, counts, functions):
    """Of a file's lines those of these functions, if any are named."""
    if not functions:
        return counts
    named = {line: any(re.search(rf"(?<!\d){len(name)}{name}(?![a-z])", symbol)
                       for name in functions for symbol in symbols)
             for line, symbols in starts.items()}
    # Each line belongs to the function that starts last before it.
    return {line: count for line, count in counts.items()
            if named[max(start for start in starts if start <= line)]}


def aims_of(target):
    """{file: functions that are aimed at, or none for all}."""
    aims = {}
    for aim in AIMS[target]:
        pattern, *functions = aim.split()
        for path in ROOT.glob(pattern):
            aims[path.relative_to(ROOT).as_posix()] = functions
    return aims


def unreachable(target, found):
    """{(file, line)} of the lists that were not run, and what is wrong with the lists."""
    lines, faults = set(), []
    for path in UNREACHABLE:
        for about, source, reason in coverage.read_blocks(path.read_text(encoding="utf-8")):
            *only, name = about.split()
            places = coverage.places(source, (ROOT / name).read_text(encoding="utf-8"))
            if len(places) != 1 or not reason:
                faults.append(f"{path.name}: {name}: {source[0][1]}: stands there "
                              f"{len(places)} times, or has no reason")
            elif not only or target in only:
                lines |= {(name, number) for (is_meant, _), number in zip(source, places[0])
                          if is_meant and found.get(name, {}).get(number) == 0}
    return lines, faults


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
    found = lines_run(*replay(target, folders), aims_of(target))
    excused, faults = unreachable(target, found)
    lines = sum(len(counts) for counts in found.values()) - len(excused)
    covered = sum(1 for counts in found.values() for count in counts.values() if count)
    print(f"{target:16} {lines:6} {covered:6} {100 * covered / lines:9.1f} {len(excused):6}",
          flush=True)
    for path, counts in found.items() if arguments.missing else ():
        missing = [line for line, count in counts.items()
                   if not count and (path, line) not in excused]
        if missing:
            print(f"    {path}: {ranges(missing)}")
    return faults


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
    print(f"{'target':16} {'lines':>6} {'run':>6} {'per cent':>9} {'listed':>6}")
    faults = {fault for target in targets for fault in report(target, arguments)}
    if faults:
        sys.exit("\n".join(sorted(faults)))


if __name__ == "__main__":
    main()
