#!/usr/bin/env python3
"""page.py PICTURE.bmp FOLDER: makes a page, FOLDER/index.html, of text, code and pictures.

Each step below has words for the page and a function. The page shows the function's lines as
they stand here, and the picture that they gave.
"""

import base64
import html
import inspect
import pathlib
import re
import struct
import sys
import textwrap
import time
import zlib

import numpy as np

import quibtool

# --- Steps -----------------------------------------------------------------------
# Each gives an image from the picture, and those that came before, by their names.


def loaded(picture, made):
    """A BMP file of 24 bits becomes an image of 32 bits whose alpha is 0. `pixels` is a numpy
    array over the image's own memory, so that one line makes it opaque."""
    image = quibtool.load_bmp(picture)
    image.pixels[..., 3] = 255
    return image


def smaller(picture, made):
    """Sizes change by several ways; `area` averages all pixels that fall together."""
    image = made["loaded"]
    return quibtool.resize(image, (image.width // 2, image.height // 2), "area")


def edges(picture, made):
    """Filters give new images, which numpy can go on with: gradients of both directions,
    added up without a loop."""
    gray = quibtool.color_to_gray(made["loaded"])
    sides = [quibtool.fixed_filter(gray, kind) for kind in ("sobel_horizontal", "sobel_vertical")]
    return quibtool.invert(quibtool.add(*sides))


def sunset(picture, made):
    """Tone: the hue turned by degrees, brightness and contrast."""
    warm = quibtool.hue_saturation(made["loaded"], -10, 20)
    return quibtool.brightness_contrast(warm, -10, 20)


def framed(picture, made):
    """A region limits what an operation touches. Here the mean of 15 x 15 pixels softens the
    middle alone; the other pixels of the result are the picture's."""
    image = made["loaded"].clone()
    width, height = image.width // 2, image.height // 2
    image.region = (width // 2, height // 2, width, height)
    return quibtool.blur(image, 15)


def drawn(picture, made):
    """A numpy array becomes an image over the array's memory: what numpy draws there can be
    laid over the picture at once."""
    image = made["loaded"].clone()
    y, x = np.mgrid[0:160, 0:160] - 80
    ring = np.zeros((160, 160, 4), np.uint8)
    ring[..., 2] = 255
    ring[..., 3] = 230 * np.exp(-((np.hypot(x, y) - 60) / 9.0) ** 2)
    quibtool.compose_at(quibtool.Image.from_array(ring, copy=False), image, (140, -60))
    return image


def tilted(picture, made):
    """A warp onto a quadrangle, with soft edges, over a backdrop."""
    image = made["loaded"]
    right, bottom = image.width - 1, image.height - 1
    quad = [[right * .2, bottom * .1], [right * .95, 0], [right, bottom * .9], [0, bottom]]
    leaf = quibtool.warp_quad(image, quad, "cubic", smooth_edge=True)
    backdrop = quibtool.blur(image, 25)
    return quibtool.compose(leaf, backdrop)


STEPS = (loaded, smaller, edges, sunset, framed, drawn, tilted)


def refused():
    """The C library ends the process on what its engine refuses. Here arguments are tested
    first, and an exception names the one that was wrong."""
    return quibtool.fixed_filter(quibtool.Image(8, 8), 11)


# --- The page --------------------------------------------------------------------


def png(image):
    """An image as a PNG file, without its alpha."""
    pixels = image.pixels
    rows = pixels[..., 2::-1] if pixels.ndim == 3 else pixels
    lines = b"".join(b"\0" + row.tobytes() for row in rows)
    head = struct.pack(">IIBBBBB", image.width, image.height, 8, 2 if pixels.ndim == 3 else 0,
                       0, 0, 0)

    def chunk(kind, data):
        return struct.pack(">I", len(data)) + kind + data + \
            struct.pack(">I", zlib.crc32(kind + data))
    return b"\x89PNG\r\n\x1a\n" + chunk(b"IHDR", head) + \
        chunk(b"IDAT", zlib.compress(lines, 6)) + chunk(b"IEND", b"")


def words_and_code(step):
    """The docstring of a step, and the lines below it."""
    source = inspect.getsource(step)
    code = source.split('"""', 2)[2].strip("\n")
    return inspect.getdoc(step), textwrap.dedent(code)


def paragraph(words):
    return "<p>" + re.sub(r"`(.+?)`", r"<code>\1</code>", html.escape(words)) + "</p>"


def section(step, image, seconds):
    words, code = words_and_code(step)
    data = base64.b64encode(png(image)).decode()
    return (f'<section id="{step.__name__}"><h2>{step.__name__}</h2>{paragraph(words)}'
            f"<pre>{html.escape(code)}</pre><figure>"
            f'<img alt="{step.__name__}" src="data:image/png;base64,{data}" '
            f'width="{image.width}" height="{image.height}">'
            f"<figcaption>{image.width} x {image.height}, {image.depth} bits, "
            f"{seconds * 1000:.1f} ms</figcaption></figure></section>")


def closing():
    words, code = words_and_code(refused)
    try:
        refused()
        said = "nothing"
    except ValueError as error:
        said = f"ValueError: {error}"
    return (f'<section id="refused"><h2>refused</h2>{paragraph(words)}'
            f"<pre>{html.escape(code)}\n\n{html.escape(said)}</pre></section>")


STYLE = """body { font: 16px/1.5 system-ui, sans-serif; max-width: 46rem; margin: 2rem auto;
padding: 0 1rem; color: #222 } pre { background: #f3f3f0; padding: .8rem; overflow-x: auto }
img { max-width: 100%; height: auto } figure { margin: 0 } figcaption { color: #666 }"""


def main():
    if len(sys.argv) != 3:
        sys.exit("usage: page.py PICTURE.bmp FOLDER")
    picture, folder = sys.argv[1], pathlib.Path(sys.argv[2])
    made, sections = {}, []
    try:
        for step in STEPS:
            start = time.perf_counter()
            image = made[step.__name__] = step(picture, made)
            sections.append(section(step, image, time.perf_counter() - start))
    except (OSError, ValueError, MemoryError) as error:
        sys.exit(f"{picture}: {error}")
    folder.mkdir(parents=True, exist_ok=True)
    (folder / "index.html").write_text(
        "<!doctype html><html lang='en'><meta charset='utf-8'>"
        "<meta name='viewport' content='width=device-width'><title>QuibTool from Python</title>"
        f"<style>{STYLE}</style><h1>QuibTool from Python</h1>{''.join(sections)}{closing()}"
        "</html>\n", encoding="utf-8")
    print(folder / "index.html")


if __name__ == "__main__":
    main()
