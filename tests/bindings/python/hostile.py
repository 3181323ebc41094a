#!/usr/bin/env python3
"""hostile.py SEED CALLS NOTE ROOT: calls every function with random arguments, many bad.

The file NOTE holds the call that is under way, so that one that ends the process is known.
At the end prints how many calls of each function went well. ROOT is where the project's
pictures lie.
"""

import collections
import math
import random
import struct
import sys

import numpy as np

import quibtool as q

ROOT = sys.argv[4] if len(sys.argv) > 4 else "."
RUBBISH = (None, "", "nonsense", 3.5, math.nan, math.inf, -1, 0, 1, 2 ** 31, -2 ** 31, 2 ** 32,
           2 ** 70, (), (1, 2), [[1]], b"BM", object(), int, True)


class Maker:
    """Arguments by kind, some of them of no kind at all."""

    def __init__(self, seed):
        self.random = random.Random(seed)
        self.made = []

    def file(self, good):
        return self.random.choice((ROOT + good, "nosuch", ".", __file__, "nul\0l", 5))

    def rare(self):
        return self.random.random() < 0.06

    def number(self, low=-3, high=40):
        if self.rare():
            return self.random.choice((-2 ** 31, 2 ** 31 - 1, 2 ** 31, 1 << 40, -1, 0))
        return self.random.randint(low, high)

    def real(self, size=40.0):
        if self.rare():
            return self.random.choice((math.nan, math.inf, -1e300, 1e8, 1e-300, 0.0))
        kinds = (self.random.uniform(-size, size), float(self.random.randint(-4, 4)) * size / 8,
                 self.random.uniform(-1, 1))
        return self.random.choice(kinds)

    def image(self, depth=None):
        """Mostly one of the last, so that two that are asked for fit one another."""
        fitting = [i for i in self.made if not i.closed and depth in (None, i.depth)]
        if fitting and self.random.random() < 0.8:
            return self.random.choice(fitting[-6:])
        depth = depth or self.random.choice((1, 8, 24, 32))
        size = self.random.choice(((16, 12), (16, 12), (7, 5), (33, 4), (1, 9), (9, 1), (40, 40)))
        image = q.Image(*size, depth)
        image.pixels[:] = np.frombuffer(self.random.randbytes(image.pixels.size),
                                        np.uint8).reshape(image.pixels.shape)
        if depth == 8 and size[0] % 4 == 0 and self.random.random() < 0.3:
            image = q.Image.from_array(image.pixels.copy())
        self.limit(image)
        self.made = self.made[-12:] + [image]
        return image

    def limit(self, image):
        """Gives some images a region or a mask."""
        if self.random.random() < 0.2:
            x = self.random.randrange(image.width)
            y = self.random.randrange(image.height)
            image.region = (x, y, self.random.randint(1, image.width - x),
                            self.random.randint(1, image.height - y))
        if self.random.random() < 0.15:
            mask = q.Image(self.random.randint(1, 40), self.random.randint(1, 30), 1, 1)
            mask.pixels[:] = self.random.randrange(256)
            image.mask = mask

    def pair(self):
        """Two images of one size and depth."""
        first = self.image()
        second = self.random.choice((first, first.clone(), first.copy(), self.image()))
        self.made = self.made[-12:] + [second]
        return first, second

    def rect(self):
        return self.random.choice((None, tuple(self.number(-5, 20) for _ in range(4)),
                                   (1, 1, 6, 4), (0, 0, 7, 5)))

    def matrix(self, rows, columns):
        shape = [[self.real() for _ in range(columns)] for _ in range(rows)]
        if columns == 3 and self.random.random() < 0.7:
            shape = [[self.random.uniform(-2, 2) + (i == j) for j in range(3)]
                     for i in range(rows)]
            if rows == 3:
                shape[2] = [self.random.uniform(-.01, .01), self.random.uniform(-.01, .01), 1.0]
        if columns == 2 and self.random.random() < 0.7:
            shape = [[x + self.random.uniform(-3, 3), y + self.random.uniform(-3, 3)]
                     for x, y in ((0, 0), (15, 0), (15, 11), (0, 11))]
        return shape

    def kernel(self, columns=None, rows=None):
        columns = columns or self.random.randint(1, 6)
        rows = rows or self.random.randint(1, 6)
        top = self.random.choice((3, 120, 2 ** 31 - 1))
        taps = [[self.random.randint(-top, top) for _ in range(columns)] for _ in range(rows)]
        kernel = q.Kernel(taps, shift=self.random.choice((0, 1, 8, 31, 2 ** 31 - 1)))
        if self.rare():
            kernel.close()
        return kernel

    def surface(self, image):
        size = (image.width, image.height) if self.random.random() < 0.9 else (5, 5)
        return q.Surface(*size, self.random.choice((15, 16, 24, 32)))

    def window(self):
        return self.random.choice((3, (5, 1), (self.number(1, 50), self.number(1, 50))))

    def anchor(self):
        return self.random.choice((None, None, (self.number(0, 4), self.number(0, 4))))

    def boolean(self):
        return self.random.random() < 0.5

    def dib(self, compression=0):
        bits = self.random.choice((1, 8, 24, 32, 8, 16))
        header = [40, 9, 7, 1, bits, compression, 0, 0, 0, 0, 0]
        if self.random.random() < 0.4:
            place = self.random.randrange(11)
            header[place] = self.random.choice((0, 1, 2, 3, 41, 255, 257, 0x8000, 0x8001, 2 ** 30,
                                                2 ** 31 - 1)) & (0xFFFF if place in (3, 4) else
                                                                 2 ** 32 - 1)
        head = struct.pack("<IiiHHIIiiII", *header)
        rows = self.random.randbytes(self.random.choice((0, 1300, 3000)))
        if compression and self.random.random() < 0.7:  # rows of runs, as they should be
            rows = bytes(1024) + (b"\5\1\0\4\1\2\3\4\0\0" * 7) + b"\0\1"
        return head + rows


def calls(m):
    """Every function, with the arguments for one call of it."""
    a, b = m.pair()
    r = m.random
    return {
        "Image": lambda: q.Image(m.number(), m.number(), r.choice((1, 8, 24, 32, 16)), m.number()),
        "Image.empty": lambda: q.Image.empty(m.number(), m.number(), r.choice((1, 8, 24, 32))),
        "Image.close": lambda: m.image().close(),
        "Image.info": lambda: a.info(),
        "Image.locked": lambda: a.locked().__enter__(),
        "Image.fill": lambda: a.fill(m.number(0, 300), m.rect()),
        "Image.is_black": lambda: a.is_black(m.number()),
        "Image.clone": lambda: a.clone(),
        "Image.copy": lambda: a.copy(r.choice((None, b))),
        "blt": lambda: q.blt(a, b, m.rect(), m.rect(), m.boolean()),
        "pan_zoom": lambda: q.pan_zoom(
            a, m.image(a.depth), m.real(), m.real(4), m.real(), m.real(4),
            r.choice((None, m.rect(), [m.real() for _ in range(4)])), m.number(0, 3)),
        "compose": lambda: q.compose(m.image(32), m.image(32), r.choice((None, b))),
        "compose_simple": lambda: q.compose_simple(m.image(32), m.image(32), r.choice((None, b))),
        "compose_at": lambda: q.compose_at(
            m.image(32), m.image(32), r.choice((None, (m.number(-40), m.number(-40)))),
            r.choice((None, (0, 0, 9, -9), m.rect()))),
        "set_alpha_constant": lambda: q.set_alpha_constant(m.image(32), m.number(0, 255),
                                                           m.rect()),
        "set_alpha": lambda: q.set_alpha(m.image(32), r.choice((None, m.image(8))),
                                         m.number(0, 100)),
        "composite": lambda: q.composite(m.image(32), m.image(32), m.number(0, 5), m.boolean(),
                                         m.boolean(), m.rect(), m.rect(), m.rect()),
        "composite_constant": lambda: q.composite_constant(
            m.image(32), m.image(32), m.number(0, 255), m.number(0, 255), m.number(0, 5),
            m.rect(), m.rect(), m.rect()),
        "from_dib": lambda: q.from_dib(m.dib(r.choice((0, 0, 1, 2, 3))), r.choice((0, 8, 32, 5))),
        "from_dib_parts": lambda: (lambda d: q.from_dib_parts(d[:40], d[40:]))(
            m.dib(r.choice((0, 0, 1, 3)))),
        "to_dib": lambda: q.to_dib(a),
        "draw": lambda: q.draw(a, q.Device(9, 9, r.choice((24, 32))), m.number(), m.number()),
        "resize": lambda: q.resize(a, r.choice((b, (m.number(), m.number()))),
                                   r.choice((0, 1, 2, 3, 0x7000, 0x7001))),
        "resize_fit": lambda: q.resize_fit(a, r.choice((b, (m.number(), m.number()))),
                                           m.number(0, 3)),
        "flip": lambda: q.flip(a, m.number(-1, 1), r.choice((None, a, b))),
        "rotate": lambda: q.rotate(a, r.choice((90, 180, 45, m.real(720))),
                                   r.choice((None, (m.number(), m.number()))), m.number(0, 2),
                                   m.boolean(), r.choice((None, b, m.image(a.depth)))),
        "rotate_3d": lambda: q.rotate_3d(m.image(32), r.choice((89.99999999, m.real(400))),
                                         m.number(1, 3)),
        "warp_affine": lambda: q.warp_affine(m.image(32), m.matrix(2, 3), m.number(0, 2),
                                             m.boolean()),
        "warp_perspective": lambda: q.warp_perspective(m.image(32), m.matrix(3, 3), m.boolean(),
                                                       m.number(0, 2), m.boolean()),
        "warp_quad": lambda: q.warp_quad(a, m.matrix(4, 2), m.number(0, 2), m.boolean(),
                                         m.boolean(), r.choice((None, b))),
        "warp_quad_engine": lambda: q.warp_quad_engine(
            a, m.matrix(4, 2), m.number(0, 2), m.boolean(), m.boolean(), r.choice((None, b))),
        "perspective_quad": lambda: q.perspective_quad(a, m.matrix(3, 3)),
        "perspective_transform": lambda: q.perspective_transform(a, m.matrix(4, 2)),
        "brightness_contrast": lambda: q.brightness_contrast(
            m.image(32), m.number(), m.number(), m.number(0, 3), r.choice((None, b))),
        "hue_saturation": lambda: q.hue_saturation(m.image(32), m.number(), m.number(),
                                                   r.choice((None, b))),
        "color_conversion": lambda: q.color_conversion(a, b),
        "color_to_gray": lambda: q.color_to_gray(a),
        "bitonal_to_gray": lambda: q.bitonal_to_gray(m.image(1), m.number(0, 255),
                                                     m.number(0, 256)),
        "to_surface": lambda: q.to_surface(a, m.surface(a)),
        "to_surface7": lambda: q.to_surface7(a, m.surface(a)),
        "from_surface": lambda: q.from_surface(m.surface(a), a),
        "to_surface_16": lambda: q.to_surface_16(a, m.surface(a)),
        "interlace": lambda: q.interlace(r.choice((a, m.surface(a))), m.number(0, 1)),
        "uninterlace": lambda: q.uninterlace(a, b, r.choice((None, b, m.image()))),
        "convolve": lambda: q.convolve(a, [m.kernel() for _ in range(r.choice((1, 2, 10, 11)))],
                                       m.number(0, 4)),
        "convolve_separable": lambda: q.convolve_separable(
            a, m.kernel(None, r.choice((1, 1, 2))), m.kernel(r.choice((1, 1, 2)))),
        "Kernel": lambda: q.Kernel([[m.number() for _ in range(3)]] * 2, None, m.number(),
                                    m.boolean()),
        "Kernel.taps": lambda: m.kernel().taps,
        "Kernel.small_taps": lambda: m.kernel().small_taps,
        "Kernel.close": lambda: m.kernel().close(),
        "decimate_blur": lambda: q.decimate_blur(a, m.window(), r.choice((None, b)),
                                                 m.number(0, 2)),
        "fixed_filter": lambda: q.fixed_filter(a, m.number(0, 10)),
        "load_bmp": lambda: q.load_bmp(m.file("/examples/images/cat.bmp")),
        "load_psd": lambda: q.load_psd(m.file("/tests/zxdll/files/agpsd_runs.psd")),
        **{name: (lambda f: lambda: f(m.image(), m.window(), m.anchor()))(getattr(q, name))
           for name in ("max_filter", "min_filter", "median_filter", "blur")},
        "color_median_filter": lambda: q.color_median_filter(
            m.image(24), r.choice((3, (2, 5), 2 ** 31)), m.anchor()),
        **{name: (lambda f: lambda: f(m.image()))(getattr(q, name))
           for name in ("square", "absolute", "invert")},
        **{name: (lambda f: lambda: f(m.image(), m.number()))(getattr(q, name))
           for name in ("add_scalar", "multiply_scalar", "multiply_scalar_scaled", "shift_left",
                        "shift_right", "and_scalar", "or_scalar", "xor_scalar")},
        **{name: (lambda f: lambda: f(*m.pair()))(getattr(q, name))
           for name in ("add", "subtract", "multiply", "multiply_scaled", "bitwise_and",
                        "bitwise_or", "bitwise_xor")},
    }


def rubbish_call(m, name):
    """A call with arguments of any kind at all."""
    function = q
    for part in name.split("."):
        function = getattr(function, part)
    if not callable(function):
        return
    given = [m.random.choice((*RUBBISH, *m.made)) for _ in range(m.random.randint(0, 6))]
    if name.startswith("Image.") and name != "Image.empty":
        given[:1] = [m.image()]
    elif name.startswith("Kernel."):
        given[:1] = [m.kernel()]
    function(*given)


ALLOWED = (TypeError, ValueError, MemoryError, OSError, q.QuibError)


def main():
    seed, count, note = int(sys.argv[1]), int(sys.argv[2]), sys.argv[3]
    maker = Maker(seed)
    names = sorted(set(q.FUNCTIONS.values()))
    went_well = collections.Counter()
    with open(note, "w", buffering=1, encoding="utf-8") as noted:
        for number in range(count):
            name = maker.random.choice(names)
            noted.seek(0)
            noted.write(f"{seed}: call {number} of {name}\n")
            try:
                if maker.random.random() < 0.15:
                    rubbish_call(maker, name)
                else:
                    calls(maker)[name]()
                    went_well[name] += 1
            except ALLOWED:
                pass
    print(*(f"{name} {went_well[name]}" for name in names), sep="\n")


if __name__ == "__main__":
    main()
