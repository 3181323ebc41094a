#!/usr/bin/env python3
"""coverage.py [--report]: which lines of the library the native suite runs.

Builds the preset `coverage`, runs its test programs, and prints for each folder of the
library how many lines and functions there are and how many were run, then each line
that was not. Fails if there is one that scripts/unreachable_lines.txt does not name, or
if that names one that was run or is gone. --report tells what stands in the counters:
they add up, so after a first pass a new test can be run alone.

Lines count once however often they are compiled: for each processor level, or for each
type that a template is made for. So this asks for a machine that has all levels. Replays
of the fuzz corpora are left out, since they look at no results.
"""

import argparse
import collections
import concurrent.futures
import json
import os
import pathlib
import subprocess
import sys

import lint

ROOT = pathlib.Path(__file__).resolve().parent.parent
BUILD = ROOT / "build/coverage"
UNREACHABLE = ROOT / "scripts/unreachable_lines.txt"
# These are for other systems.
ELSEWHERE = {"quibtool/dllmain.cpp"}


def build_and_run():
    """Whether all tests passed."""
    subprocess.run(["bash", "-c", "source scripts/packages.sh && need_packages cmake "
                    "ninja-build g++ googletest"], cwd=ROOT, check=True, stdout=sys.stderr)
    for command in (["cmake", "--preset", "coverage"],
                    ["cmake", "--build", "--preset", "coverage"]):
        subprocess.run(command, cwd=ROOT, check=True, stdout=subprocess.DEVNULL)
    for counters in BUILD.rglob("*.gcda"):
        counters.unlink()
    ended = subprocess.run(["ctest", "--test-dir", str(BUILD), "-R", "^quib_.*tests", "-Q",
                            "-O", str(BUILD / "run.log"), "--output-on-failure",
                            "-j", str(os.cpu_count()), "--timeout", "900"], check=False)
    return ended.returncode == 0


def read_counters(notes):
    """What gcov tells about one object."""
    ended = subprocess.run(["gcov", "--json-format", "--stdout", str(notes)], cwd=BUILD,
                           capture_output=True, check=True)
    return json.loads(ended.stdout)


def counters():
    """({file: {line: times}}, {file: {first line of a function: times}}) of the library."""
    lines = collections.defaultdict(collections.Counter)
    functions = collections.defaultdict(collections.Counter)
    with concurrent.futures.ThreadPoolExecutor(os.cpu_count()) as pool:
        for told in pool.map(read_counters, sorted(BUILD.rglob("*.gcno"))):
            for entry in told["files"]:
                path = pathlib.Path(told["current_working_directory"], entry["file"]).resolve()
                if not path.is_relative_to(ROOT):
                    continue
                name = path.relative_to(ROOT).as_posix()
                if name.split("/")[0] not in lint.LIBRARY:
                    continue
                for line in entry["lines"]:
                    lines[name][line["line_number"]] += line["count"]
                for function in entry["functions"]:
                    functions[name][function["start_line"]] += function["execution_count"]
    return lines, functions


def built():
    """The sources that the build holds, whether there is code in them or not."""
    names = set()
    for notes in BUILD.rglob("*.gcno"):
        parts = notes.relative_to(BUILD).parts
        folder, name = parts[:parts.index("CMakeFiles")], parts[parts.index("CMakeFiles") + 2:]
        names.add("/".join((*folder, *name)).removesuffix(".gcno"))
    return names


def read_blocks(text):
    """[(file, [(is it meant?, source line)], reason)] of the list."""
    blocks = []
    for block in text.split("\n\n"):
        rows = [row for row in block.splitlines() if row and not row.startswith("#")]
        if not rows:
            continue
        source = [(row[0] == ">", row[1:].strip()) for row in rows[1:] if row[0] in " >"]
        reason = " ".join(row for row in rows[1:] if row[0] not in " >")
        blocks.append((rows[0], source, reason))
    return blocks


def places(source, text):
    """The line numbers of each place where these source lines stand one after the other."""
    rows = [(number, row.strip()) for number, row in enumerate(text.splitlines(), 1)
            if row.strip()]
    wanted = [row for _, row in source]
    return [[number for number, _ in rows[first:first + len(wanted)]]
            for first in range(len(rows))
            if [row for _, row in rows[first:first + len(wanted)]] == wanted]


def check_list(blocks, lines, read):
    """({(file, line)} that the list names, what is wrong with the list)."""
    listed, faults = set(), []
    for name, source, reason in blocks:
        found = places(source, read(name)) if source else []
        meant = [row for is_meant, row in source if is_meant]
        about = f"{name}: {meant[0] if meant else ''}"
        if not reason or not meant:
            faults.append(f"{about}: without a line, or a reason")
        elif len(found) != 1:
            faults.append(f"{about}: stands there {len(found)} times")
        else:
            for (is_meant, row), number in zip(source, found[0]):
                if is_meant and lines[name].get(number) != 0:
                    faults.append(f"{name}:{number}: {row}: was run, or is no code")
                elif is_meant:
                    listed.add((name, number))
    return listed, faults


def missed(lines, listed):
    """[(file, line)] that were not run and are not listed."""
    return [(name, number) for name in sorted(lines) for number in sorted(lines[name])
            if lines[name][number] == 0 and (name, number) not in listed]


def print_table(lines, functions, listed):
    form = "{:10}{:>8}{:>8}{:>8}{:>9}{:>11}{:>8}{:>9}"
    print(form.format("folder", "lines", "run", "listed", "share", "functions", "run", "share"))
    for folder in (*sorted(lint.LIBRARY), "all"):
        of = [[times for name in counts if folder in ("all", name.split("/")[0])
               for times in counts[name].values()] for counts in (lines, functions)]
        excused = sum(1 for name, _ in listed if folder in ("all", name.split("/")[0]))
        run = [sum(1 for times in part if times) for part in of]
        share = [f"{100 * some / max(1, len(part)):.2f}%" for some, part in zip(run, of)]
        print(form.format(folder, len(of[0]), run[0], excused, share[0], len(of[1]), run[1],
                          share[1]))


def main():
    parser = argparse.ArgumentParser(description=__doc__.splitlines()[0])
    parser.add_argument("--report", action="store_true")
    passed = parser.parse_args().report or build_and_run()
    if not passed:
        print(f"A test failed: {BUILD / 'run.log'}")
    lines, functions = counters()

    def read(name):
        path = ROOT / name
        return path.read_text(encoding="utf-8") if path.is_file() else ""
    blocks = read_blocks(UNREACHABLE.read_text(encoding="utf-8"))
    listed, faults = check_list(blocks, lines, read)
    print_table(lines, functions, listed)
    faults += [f"{name}:{number}: {read(name).splitlines()[number - 1].strip()}: was not run"
               for name, number in missed(lines, listed)]
    sources = {path.relative_to(ROOT).as_posix() for folder in lint.LIBRARY
               for path in (ROOT / folder).rglob("*.cpp")}
    faults += [f"{name}: is not in the build" for name in sorted(sources - built() - ELSEWHERE)]
    for fault in faults:
        print(fault)
    return 1 if faults or not passed else 0


if __name__ == "__main__":
    sys.exit(main())
