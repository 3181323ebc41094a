#!/usr/bin/env python3
"""demo_test.py ROOT FOLDER PROGRAM: the demo writes a page of pictures into FOLDER.

Its pictures are PNG files of the size that the page tells, no name is there twice,
links lead somewhere, all of it has a moderate size, and the page's index has every
exported function.
"""

import html.parser
import pathlib
import shutil
import struct
import subprocess
import sys

MOST_BYTES = 9_000_000


class Page(html.parser.HTMLParser):
    """What a page says of its pictures, names and links."""

    def __init__(self, text):
        super().__init__()
        self.pictures, self.names, self.links, self.figures = [], [], [], 0
        self.feed(text)

    def handle_starttag(self, tag, attrs):
        attributes = dict(attrs)
        self.figures += tag == "figure"
        if "id" in attributes:
            self.names.append(attributes["id"])
        if tag == "img":
            self.pictures.append((attributes["src"], attributes["width"], attributes["height"]))
            if not attributes["alt"]:
                self.names.append("a picture without words")
        if tag == "a":
            self.links.append(attributes["href"])


def size_of(path):
    """Width and height of a PNG file, as text."""
    head = path.read_bytes()[:24]
    if head[:8] != b"\x89PNG\r\n\x1a\n":
        return None
    return tuple(str(side) for side in struct.unpack(">II", head[16:24]))


def problems_of(root, folder):
    """What is wrong with the page, a line each."""
    text = (folder / "index.html").read_text(encoding="utf-8")
    page = Page(text)
    for name in (root / "quibtool/exports.txt").read_text(encoding="utf-8").split("\n"):
        if name and not name.startswith("#") and f"<code>{name.split()[0]}</code></a>" not in text:
            yield f"{name.split()[0]} is not in the index"
    if page.figures < 100:
        yield f"only {page.figures} figures"
    for file, width, height in page.pictures:
        if not (folder / file).is_file():
            yield f"{file} is missing"
        elif size_of(folder / file) != (width, height):
            yield f"{file} is {size_of(folder / file)}, the page says {width} x {height}"
    for name in set(page.names):
        if page.names.count(name) > 1 or " " in name:
            yield f"the name {name!r} is there {page.names.count(name)} times"
    for link in page.links:
        if link.startswith("#") and link[1:] not in page.names:
            yield f"nothing is called {link}"
        elif not link.startswith("#") and not (folder / link).is_file():
            yield f"there is no {link}"
    total = sum(file.stat().st_size for file in folder.glob("*.png"))
    if total > MOST_BYTES:
        yield f"the pictures take {total} bytes"


def main():
    root, folder = map(pathlib.Path, sys.argv[1:3])
    images = root / "examples/images"
    shutil.rmtree(folder, ignore_errors=True)
    for picture, backdrop in (("cat.bmp", "cup.bmp"), ("cup.bmp", "cat.bmp")):
        subprocess.run([*sys.argv[3:], images / picture, images / backdrop, folder], check=True)
        problems = list(problems_of(root, folder))
        print("\n".join(problems))
        if problems:
            sys.exit(f"{len(problems)} problems with the page of {picture}")
    broken = subprocess.run([*sys.argv[3:], root / "README.md", images / "cup.bmp", folder],
                            stderr=subprocess.PIPE, text=True, check=False)
    if broken.returncode != 1 or "README.md" not in broken.stderr:
        sys.exit(f"no picture: status {broken.returncode}, {broken.stderr!r}")


if __name__ == "__main__":
    main()
