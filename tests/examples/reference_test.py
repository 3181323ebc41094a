#!/usr/bin/env python3
"""reference_test.py ROOT FOLDER [PROGRAM...]: the reference is whole.

Each exported function's example runs by itself and ends with status 0. The pages that
scripts/reference.py writes into FOLDER are there for each function, with what a page
has to tell, a snippet that calls the function, and pictures of more than one colour, or
of one and a reason. No link is dead, and the search finds each function. Without a program
FOLDER holds pages that are there already, as a package has installed them.
"""

import html.parser
import importlib.util
import json
import pathlib
import re
import shutil
import struct
import subprocess
import sys
import zlib

MOST_BYTES = 6_000_000
SEARCHES = {"median": "QuibMedianFilter", "quibresize": "QuibResize",
            "alpha percent": "QuibSetAlpha", "heckbert": "QUIBPerspectiveTransform",
            "frees kernel": "QuibDeleteConvKernel"}


class Page(html.parser.HTMLParser):
    """What a page says of its pictures, names and links."""

    def __init__(self, path):
        super().__init__()
        self.pictures, self.names, self.links, self.code, self.inside = [], [], [], "", []
        self.text = path.read_text(encoding="utf-8")
        self.feed(self.text)

    def handle_starttag(self, tag, attrs):
        attributes = dict(attrs)
        if tag not in ("img", "meta", "link", "input", "br"):
            self.inside.append((tag, attributes.get("class") or ""))
        if "id" in attributes:
            self.names.append(attributes["id"])
        if tag == "img":
            self.pictures.append(attributes)
        if tag in ("a", "link"):
            self.links.append(attributes["href"])
        if tag == "script":
            self.links.append(attributes["src"])

    def handle_endtag(self, tag):
        while self.inside and self.inside.pop()[0] != tag:
            pass

    def handle_data(self, data):
        if any(tag == "pre" and name == "code" for tag, name in self.inside):
            self.code += data


def chunks(path):
    """(kind, bytes) of each chunk of a PNG file."""
    data = path.read_bytes()
    at = 8
    while at < len(data):
        size, kind = struct.unpack(">I4s", data[at:at + 8])
        yield kind, data[at + 8:at + 8 + size]
        at += size + 12


def size_and_flatness(path):
    """Width, height, and whether the picture has one colour alone."""
    found, pixels = {}, b""
    for kind, data in chunks(path):
        found[kind] = data
        pixels += data if kind == b"IDAT" else b""
    width, height, depth, colours = struct.unpack(">IIBB", found[b"IHDR"][:10])
    if colours == 3:
        return width, height, len(found[b"PLTE"]) <= 3
    samples = {0: 1, 2: 3, 4: 2, 6: 4}[colours]
    row_bytes = (width * samples * depth + 7) // 8
    raw = zlib.decompress(pixels)
    rows = [raw[y * (row_bytes + 1) + 1:(y + 1) * (row_bytes + 1)] for y in range(height)]
    # Rows are told as differences: of one colour, no row has more than a pixel and zeros.
    return width, height, all(set(row[samples:]) <= {row[0], 0} for row in rows)


def problems_of_examples(root, folder, program, functions):
    for name in functions:
        ended = subprocess.run([*program, root / "examples/images/cat.bmp",
                                root / "examples/images/cup.bmp", folder / "alone", name],
                               stdout=subprocess.PIPE, stderr=subprocess.STDOUT, text=True,
                               check=False)
        if ended.returncode != 0:
            yield f"the example of {name} ends with status {ended.returncode}: {ended.stdout}"


def problems_of_page(page, name, folder):
    if not re.search(rf"\b{name}\(", page.code):
        yield f"{name}: the snippet does not call it"
    for part in ('class="box ', "<dt>Fails</dt>", '<pre class="code signature">'):
        if part not in page.text:
            yield f"{name}: its page has no {part}"
    if not page.pictures:
        yield f"{name} has no picture"
    for picture in page.pictures:
        if not (folder / picture["src"]).is_file():
            continue  # a dead link, which is told as such
        width, height, is_flat = size_and_flatness(folder / picture["src"])
        if (int(picture["width"]) % width, int(picture["height"]) % height) != (0, 0):
            yield f"{name}: {picture['src']} is {width} x {height}, the page says otherwise"
        if is_flat and f"{picture['alt']}\n <em>(one colour: " not in page.text \
                and f"{picture['alt']} <em>(one colour: " not in page.text:
            yield f"{name}: {picture['src']} has one colour and does not say why"
        if not picture["alt"]:
            yield f"{name}: {picture['src']} has no words"


def problems_of_links(pages, folder):
    for path, page in pages.items():
        for link in page.links + [picture["src"] for picture in page.pictures]:
            file, _, name = link.partition("#")
            target = folder / file if file else path
            if not target.is_file():
                yield f"{path.name}: there is no {link}"
            elif name and name not in pages[target].names:
                yield f"{path.name}: {file} has nothing called {name}"
        for name in set(page.names):
            if page.names.count(name) > 1:
                yield f"{path.name}: {name} is there twice"


def search_index(folder):
    text = (folder / "search-index.js").read_text(encoding="utf-8")
    return json.loads(text.removeprefix("const SEARCH_INDEX = ").rstrip().rstrip(";"))


def problems_of_search(folder, functions):
    entries = {entry[0]: entry for entry in search_index(folder)}
    for name in functions:
        if name not in entries or entries[name][1] != f"{name}.html" or not entries[name][2]:
            yield f"{name} is not in the search index"
    for words, wanted in SEARCHES.items():
        told = " ".join(entries[wanted]).lower()
        if not all(word in told for word in words.split()):
            yield f"a search for '{words}' does not find {wanted}"


def problems_of_pages(folder, functions):
    pages = {path: Page(path) for path in folder.glob("*.html")}
    for name in functions:
        path = folder / f"{name}.html"
        if path not in pages:
            yield f"{name} has no page"
            continue
        yield from problems_of_page(pages[path], name, folder)
    yield from problems_of_links(pages, folder)
    total = sum(path.stat().st_size for path in folder.rglob("*") if path.is_file())
    if total > MOST_BYTES:
        yield f"the reference takes {total} bytes"


def make_pages(root, folder, program):
    images = root / "examples/images"
    subprocess.run([*program, images / "cat.bmp", images / "cup.bmp", folder / "made"], check=True)
    subprocess.run([sys.executable, root / "scripts/reference.py", folder / "made",
                    folder / "pages"], check=True)
    return folder / "pages"


def main():
    root, folder = map(pathlib.Path, sys.argv[1:3])
    program = sys.argv[3:]
    functions = (root / "quibtool/exports.txt").read_text(encoding="utf-8").split()
    pages, problems = folder, []
    if program:
        for module in ("jinja2", "pygments"):
            if importlib.util.find_spec(module) is None:
                print(f"skipped: the pages need python3-{module}")
                sys.exit(77)
        shutil.rmtree(folder, ignore_errors=True)
        problems += problems_of_examples(root, folder, program, functions)
        pages = None if problems else make_pages(root, folder, program)
    if pages:
        problems += problems_of_pages(pages, functions)
        problems += problems_of_search(pages, functions)
    print("\n".join(problems))
    if problems:
        sys.exit(f"{len(problems)} problems with the reference")
    print(f"{len(functions)} functions have their pages")


if __name__ == "__main__":
    main()
