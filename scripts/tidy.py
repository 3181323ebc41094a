#!/usr/bin/env python3
"""tidy.py BUILD CACHE --all|--changed: runs clang-tidy over the library's sources.

BUILD holds compile_commands.json. A source that passes leaves a file in CACHE,
named after all that its verdict hangs on: the source and the project's headers
that it includes, however far away, its commands, the configuration and the
versions of clang-tidy and the compiler. --changed leaves out sources
that have passed like this before. Exits with 1 if a source did not pass.
"""

import concurrent.futures
import hashlib
import json
import os
import pathlib
import subprocess
import sys

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


def key(source, command, general):
    digest = hashlib.sha256(general + command.encode())
    for path in with_headers(source):
        digest.update(f"\0{path}\0".encode() + (ROOT / path).read_bytes())
    return digest.hexdigest()


def passes(source, build):
    """Whether clang-tidy has nothing to say, and what it says."""
    ended = subprocess.run(["clang-tidy", "--quiet", "-p", str(build), str(source)], cwd=ROOT,
                           stdout=subprocess.PIPE, stderr=subprocess.STDOUT, text=True,
                           check=False)
    return ended.returncode == 0, ended.stdout


def library_sources(build):
    """{source: its commands} of the library; kernels have one a level."""
    commands = json.loads((build / "compile_commands.json").read_text(encoding="utf-8"))
    found = {}
    for entry in commands:
        path = pathlib.Path(entry["file"])
        if path.is_relative_to(ROOT) and path.relative_to(ROOT).parts[0] in lint.LIBRARY:
            source = path.relative_to(ROOT)
            found[source] = found.get(source, "") + entry["command"]
    return found


def main():
    build, cache, choice = pathlib.Path(sys.argv[1]).resolve(), pathlib.Path(sys.argv[2]), sys.argv[3]
    cache.mkdir(parents=True, exist_ok=True)
    general = versions() + (ROOT / ".clang-tidy").read_bytes()
    sources = library_sources(build)
    if not sources:
        sys.exit("tidy.py: there are no sources")
    for path in lint.sources(ROOT):
        # dllmain.cpp is Windows' own.
        if path.parts[0] in lint.LIBRARY and path.suffix == ".cpp" and path not in sources \
                and path.name != "dllmain.cpp":
            sys.exit(f"tidy.py: {path} is not built")
    keys = {source: key(source, command, general) for source, command in sources.items()}
    wanted = [source for source in sources
              if choice == "--all" or not (cache / keys[source]).exists()]
    # Largest first, so that none is left to the end alone.
    wanted.sort(key=lambda source: sum((ROOT / path).stat().st_size
                                       for path in with_headers(source)), reverse=True)
    bad = 0
    with concurrent.futures.ThreadPoolExecutor(os.cpu_count()) as pool:
        for source, (good, output) in zip(wanted, pool.map(lambda s: passes(s, build), wanted)):
            if good:
                (cache / keys[source]).touch()
            else:
                bad += 1
                print(f"{source}:\n{output}")
    print(f"{len(wanted)} of {len(sources)} sources looked at, {bad} did not pass")
    return 1 if bad else 0


if __name__ == "__main__":
    sys.exit(main())
