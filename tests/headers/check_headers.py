#!/usr/bin/env python3
"""check_headers.py INCLUDE COMPILER...: each header of programs stands alone.

A file that includes nothing but the one header must pass each compiler, gcc or clang
and not installed as c++, in each dialect of C and C++, pedantic and without a warning;
with clang also for Windows with Microsoft's runtime, in 64 and 32 bits. Windows' own
headers, which are missing there, are then empty files, so that of platform.h no more
is seen than that it asks for them.

First a header with mistakes must fail, so that passing says something. The exit status
is 77, for skipped, if a compiler is not installed.
"""

import concurrent.futures
import os
import pathlib
import shutil
import subprocess
import sys
import tempfile

STRICT = ["-pedantic", "-Wall", "-Wextra", "-Werror", "-fsyntax-only"]
# C and C++ of before 1999 have no 64-bit integers but the compilers' own.
DIALECTS = {
    "c": {"c89": ["-Wno-long-long"], "c99": [], "c11": [], "c17": []},
    "c++": {"c++98": ["-Wno-long-long"], "c++11": [], "c++14": [], "c++17": [], "c++20": [],
            "c++2b": []},
}
PROGRAM = "#include <quibtool/{0}>\n\nint main(void)\n{{\n    return 0;\n}}\n"
TWICE = "#include <quibtool/{0}>\n" + PROGRAM
# Each is a mistake in some dialect: a comment, a list, a type and a keyword.
MISTAKES = ("// no comment of C89\n", "enum { A, };\n", "typedef uint32_t Word;\n",
            "typedef struct { int a; } *restrict;\nint f(int restrict);\n")


def commands(compiler):
    """{description: command} of all dialects; a source's name comes last."""
    found = {}
    for language, dialects in DIALECTS.items():
        for dialect, options in dialects.items():
            base = [compiler, "-x", language, f"-std={dialect}", *STRICT, *options]
            found[f"{compiler} {dialect}"] = base
            if "clang" in compiler:
                for machine in ("x86_64", "i686"):
                    target = f"--target={machine}-pc-windows-msvc"
                    found[f"{compiler} {dialect} {target}"] = base + [
                        target, "-ffreestanding", "-isystem", "windows"]
    return found


def judge(include, folder, description, command, header):
    """What the compiler says against a header, or nothing."""
    for number, text in enumerate((PROGRAM, TWICE)):
        source = folder / f"{header.replace('/', '_')}{number}.c"
        source.write_text(text.format(header), encoding="utf-8")
        ended = subprocess.run([*command, "-I", str(include), str(source)], cwd=folder, text=True,
                               stdout=subprocess.PIPE, stderr=subprocess.STDOUT, check=False)
        if ended.returncode != 0:
            return f"{header}: {description}:\n{ended.stdout}"
    return ""


def refuse_mistakes(folder, ways):
    """Each mistake must fail somewhere, or these checks see nothing."""
    bad = folder / "bad" / "quibtool"
    bad.mkdir(parents=True)
    for number, mistake in enumerate(MISTAKES):
        name = f"mistake{number}.h"
        (bad / name).write_text(mistake, encoding="utf-8")
        if not any(judge(bad.parent, folder, way, command, name) for way, command in ways.items()):
            sys.exit(f"a header with a mistake passes everywhere: {mistake}")


def main():
    include, compilers = pathlib.Path(sys.argv[1]).resolve(), sys.argv[2:]
    missing = [compiler for compiler in compilers if not shutil.which(compiler)]
    if missing:
        print(f"skipped: not installed: {', '.join(missing)}")
        return 77
    headers = sorted(str(path.relative_to(include / "quibtool"))
                     for path in (include / "quibtool").rglob("*.h"))
    if "quibtool.h" not in headers:
        sys.exit(f"{include} has no quibtool/quibtool.h")
    ways = {way: command for compiler in compilers for way, command in commands(compiler).items()}
    with tempfile.TemporaryDirectory() as name:
        folder = pathlib.Path(name)
        (folder / "windows").mkdir()
        for stand_in in ("windows.h", "ddraw.h"):
            (folder / "windows" / stand_in).write_text("", encoding="utf-8")
        refuse_mistakes(folder, ways)
        # The stand-ins are for systems without Windows' headers.
        cases = [(way, command, header) for way, command in ways.items() for header in headers
                 if "windows-msvc" not in way or "/" not in header or header.endswith("ddraw.h")]
        with concurrent.futures.ThreadPoolExecutor(os.cpu_count()) as pool:
            told = list(pool.map(lambda case: judge(include, folder, *case), cases))
    failures = [text for text in told if text]
    print("\n".join(failures))
    print(f"{len(headers)} headers, {len(cases)} compilations, {len(failures)} failed")
    return 1 if failures else 0


if __name__ == "__main__":
    sys.exit(main())
