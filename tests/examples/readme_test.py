#!/usr/bin/env python3
"""readme_test.py ROOT COMMAND...: the README shows examples/hello/main.c word for word,
and COMMAND, which runs it, does what the README says."""

import pathlib
import re
import subprocess
import sys


def run(*arguments):
    """The exit status, and what was printed without Windows' line ends."""
    ended = subprocess.run([*sys.argv[2:], *arguments], stdout=subprocess.PIPE,
                           stderr=subprocess.STDOUT, text=True, check=False)
    return ended.returncode, ended.stdout


def main():
    root = pathlib.Path(sys.argv[1])
    shown = re.findall(r"^```c\n(.*?)^```$", (root / "README.md").read_text(encoding="utf-8"),
                       re.DOTALL | re.MULTILINE)
    example = (root / "examples/hello/main.c").read_text(encoding="utf-8")
    problems = []
    if shown != [example]:
        problems.append("README.md does not show examples/hello/main.c")

    status, output = run(str(root / "examples/images/cat.bmp"))
    line = re.search(r"^1920 x 1080, in the middle: red (\d+), green (\d+), blue (\d+), alpha 255$",
                     output, re.MULTILINE)
    if status != 0 or line is None:
        problems.append(f"the picture: status {status}, {output!r}")
    elif len(set(line.groups())) == 1:
        problems.append(f"the picture came out gray: {output!r}")

    status, output = run(str(root / "no-such-picture.bmp"))
    if status == 0 or "QuibLoadBMP: status 80000000" not in output:
        problems.append(f"no picture: status {status}, {output!r}")

    for problem in problems:
        print(problem)
    return 1 if problems else 0


if __name__ == "__main__":
    sys.exit(main())
