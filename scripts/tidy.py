#!/usr/bin/env python3
"""tidy.py BUILD CACHE --all|--changed: runs clang-tidy over the library's sources.

BUILD holds compile_commands.json. Kernels are compiled once a processor level, and
looked at as often, but the static analyzer, which takes most of the time, follows
them at the first level alone: the levels are the same source over other vectors.

A source that passes leaves a file in CACHE, named after all that its verdict hangs
on: this program, the source and the project's headers that it includes, however
far away, its commands, the configuration and the versions of clang-tidy and the
compiler. --changed leaves out sources that have passed like this before. Exits
with 1 if a source did not pass.
"""

import concurrent.futures
import hashlib
import json
import os
import pathlib
import subprocess
import sys
import tempfile

import lint

ROOT = pathlib.Path(__file__).resolve().parent.parent


def with_headers(source):
    """A source and all files of the project that it includes, in a fixed order."""
    known, waiting = set(), [source]
    while waiting:
        path = waiting.pop()
        if path not in known:
            known.add(path)
            waiting += [target for _, target in lint.includes(ROOT, path) if target]
    return sorted(known)


def versions():
    tidy = subprocess.run(["clang-tidy", "--version"], capture_output=True, check=True)
    compiler = subprocess.run(["c++", "--version"], capture_output=True, check=True)
    return tidy.stdout + compiler.stdout


def key(source, entries, general):
    commands = "\0".join(entry["command"].replace(str(ROOT), ".") for entry in entries)
    digest = hashlib.sha256(general + commands.encode())
    for path in with_headers(source):
        digest.update(f"\0{path}\0".encode() + (ROOT / path).read_bytes())
    return digest.hexdigest()


# Without the analyzer clang finds constants of templates unused that are used.
WITHOUT_ANALYZER = ["--checks=-clang-analyzer-*", "--extra-arg=-Wno-unused-const-variable"]


def look(source, entry, options):
    """clang-tidy over a source as this entry compiles it."""
    with tempfile.TemporaryDirectory() as folder:
        (pathlib.Path(folder) / "compile_commands.json").write_text(json.dumps([entry]),
                                                                    encoding="utf-8")
        return subprocess.run(["clang-tidy", "--quiet", "-p", folder, *options, str(source)],
                              cwd=ROOT, stdout=subprocess.PIPE, stderr=subprocess.STDOUT,
                              text=True, check=False)


def passes(source, entries):
    """Whether clang-tidy has nothing to say, and what it says."""
    ended = [look(source, entry, WITHOUT_ANALYZER if place else [])
             for place, entry in enumerate(entries)]
    return all(each.returncode == 0 for each in ended), "".join(each.stdout for each in ended)


def library_sources(build):
    """{source: its entries} of the library; kernels have one a level."""
    commands = json.loads((build / "compile_commands.json").read_text(encoding="utf-8"))
    found = {}
    for entry in commands:
        path = pathlib.Path(entry["file"])
        if path.is_relative_to(ROOT) and path.relative_to(ROOT).parts[0] in lint.LIBRARY:
            found.setdefault(path.relative_to(ROOT), []).append(entry)
    return found


def main():
    build, cache, choice = pathlib.Path(sys.argv[1]).resolve(), pathlib.Path(sys.argv[2]), sys.argv[3]
    cache.mkdir(parents=True, exist_ok=True)
    general = versions() + (ROOT / ".clang-tidy").read_bytes() + pathlib.Path(__file__).read_bytes()
    sources = library_sources(build)
    if not sources:
        sys.exit("tidy.py: there are no sources")
    for path in lint.sources(ROOT):
        # dllmain.cpp is Windows' own.
        if path.parts[0] in lint.LIBRARY and path.suffix == ".cpp" and path not in sources \
                and path.name != "dllmain.cpp":
            sys.exit(f"tidy.py: {path} is not built")
    keys = {source: key(source, entries, general) for source, entries in sources.items()}
    wanted = [source for source in sources
              if choice == "--all" or not (cache / keys[source]).exists()]
    # Largest first, so that none is left to the end alone.
    wanted.sort(key=lambda source: sum((ROOT / path).stat().st_size
                                       for path in with_headers(source)), reverse=True)
    bad = 0
    with concurrent.futures.ThreadPoolExecutor(os.cpu_count()) as pool:
        for source, (good, output) in zip(wanted, pool.map(lambda s: passes(s, sources[s]), wanted)):
            if good:
                (cache / keys[source]).touch()
            else:
                bad += 1
                print(f"{source}:\n{output}")
    print(f"{len(wanted)} of {len(sources)} sources looked at, {bad} did not pass")
    return 1 if bad else 0


if __name__ == "__main__":
    sys.exit(main())
