#!/usr/bin/env python3
"""readme_test.py ROOT SHORT FULL [EMULATOR...]: the README shows examples/hello/short.c
and main.c word for word, and the programs, run by the emulator if there is one, do what
it says."""

import pathlib
import re
import subprocess
import sys


def run(program, *arguments):
    """The exit status, and what was printed without Windows' line ends."""
    ended = subprocess.run([*sys.argv[4:], program, *arguments], stdout=subprocess.PIPE,
                           stderr=subprocess.STDOUT, text=True, check=False)
    return ended.returncode, ended.stdout


def main():
    root = pathlib.Path(sys.argv[1])
    shown = re.findall(r"^```c\n(.*?)^```$", (root / "README.md").read_text(encoding="utf-8"),
                       re.DOTALL | re.MULTILINE)
    examples = [(root / "examples/hello" / name).read_text(encoding="utf-8")
                for name in ("short.c", "main.c")]
    short, full = sys.argv[2:4]
    problems = []
    if shown != examples:
        problems.append("README.md does not show examples/hello/short.c and main.c")

    # An emulator may add lines of its own: hence "in".
    for picture, expected in (("examples/images/cat.bmp", (0, "status 00000000\n")),
                              ("no-such-picture.bmp", (1, "status 80000000\n"))):
        status, output = run(short, str(root / picture))
        if status != expected[0] or expected[1] not in output:
            problems.append(f"short.c with {picture}: status {status}, {output!r}")

    status, output = run(full, str(root / "examples/images/cat.bmp"))
    line = re.search(r"^1920 x 1080, in the middle: red (\d+), green (\d+), blue (\d+), alpha 255$",
                     output, re.MULTILINE)
    if status != 0 or line is None:
        problems.append(f"the picture: status {status}, {output!r}")
    elif len(set(line.groups())) == 1:
        problems.append(f"the picture came out gray: {output!r}")

    status, output = run(full, str(root / "no-such-picture.bmp"))
    if status == 0 or "QuibLoadBMP: status 80000000" not in output:
        problems.append(f"no picture: status {status}, {output!r}")

    for problem in problems:
        print(problem)
    return 1 if problems else 0


if __name__ == "__main__":
    sys.exit(main())
