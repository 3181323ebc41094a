#!/usr/bin/env python3
"""sentences.py HEADER OUTPUT: the first sentence that the public header says of each
function, as C++ records for the tool's help."""

import pathlib
import re
import sys

sys.path.insert(0, str(pathlib.Path(__file__).resolve().parents[2] / "scripts"))
import interface  # noqa: E402


def first_sentence(text):
    text = " ".join(text.split())
    return re.split(r"(?<=[.])\s", text, maxsplit=1)[0]


def literal(text):
    return '"' + text.replace("\\", "\\\\").replace('"', '\\"') + '"'


def main():
    header, output = map(pathlib.Path, sys.argv[1:3])
    read = interface.read(header)
    lines = [f"{{{literal(function.name)}, {literal(first_sentence(function.text))}}},\n"
             for function in read.functions]
    output.write_text("".join(lines), encoding="utf-8")


if __name__ == "__main__":
    main()
