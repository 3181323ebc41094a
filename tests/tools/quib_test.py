#!/usr/bin/env python3
"""quib_test.py RESULTS WORK LIBRARY CHAIN UNFORESEEN PROGRAM...: the command-line tool
does what it says.

Each operation's picture is that of the library's own functions, called directly; LIBRARY
is empty where this interpreter cannot load it, and those tests are then left out. CHAIN
does one chain of operations by the library alone. UNFORESEEN is the tool with an operation
that it does not foresee to fail. PROGRAM is the tool, behind what it takes to run one.
RESULTS gets an outcome for each single test.
"""

import os
import pathlib
import random
import shutil
import subprocess
import sys
import unittest
import xml.etree.ElementTree as ElementTree
from ctypes import byref, c_double, c_int32, c_uint32, c_void_p

from library import Handle, Library, Rect
from pictures import Picture, bmp_bytes, noise, png_bytes, read_bmp, read_png, write_bmp

RESULTS, WORK, LIBRARY, CHAIN, UNFORESEEN, *PROGRAM = sys.argv[1:]
WORK = pathlib.Path(WORK)
shutil.rmtree(WORK, ignore_errors=True)
WORK.mkdir(parents=True)
LIB = Library(LIBRARY) if LIBRARY else None
ON_WINDOWS = PROGRAM[-1].endswith(".exe")
# Under Wine a start takes a tenth of a second; of cases that differ in their words alone
# some do there.
EVERY = 5 if ON_WINDOWS else 1
WIDTH, HEIGHT = 37, 26
# Wine takes the words of a command line for what the locale says that they are.
os.environ["LC_ALL"] = "C.UTF-8"


def quib(*words, folder=None, check=None, program=PROGRAM[-1]):
    done = subprocess.run([*PROGRAM[:-1], program, *map(str, words)], capture_output=True,
                          timeout=120, cwd=folder or WORK, check=False, stdin=subprocess.DEVNULL)
    if check is not None:
        assert done.returncode == check, (words, done)
    done.text = (done.stdout + done.stderr).decode("utf-8")
    return done


def main_picture(depth):
    return noise(WIDTH, HEIGHT, depth, f"main {depth}")


def other_picture(depth=32, width=29, height=31):
    return noise(width, height, depth, f"other {depth} {width}")


# --- The operations, by direct calls --------------------------------------------------


def made(name, *arguments):
    return lambda handle, other: LIB.made(name, handle, *arguments)


def paired(name):
    def call(handle, other):
        out = Handle()
        getattr(LIB, name)(handle, other, byref(out))
        return out
    return call


def in_place(name, *arguments):
    def call(handle, other):
        getattr(LIB, name)(handle, *arguments)
        return handle
    return call


def into(name, size, *arguments):
    """The function writes a new handle of a size, given after the source."""
    def call(handle, other):
        depth = LIB.picture(handle).depth
        target = LIB.create(*size, depth)
        getattr(LIB, name)(handle, target, *arguments)
        return target
    return call


def tone(name, *arguments):
    def call(handle, other):
        getattr(LIB, name)(handle, byref(handle), *arguments)
        return handle
    return call


def blit(rectangle):
    def call(handle, other):
        left, top, right, bottom = rectangle
        depth = LIB.picture(handle).depth
        target = LIB.create(right - left, bottom - top, depth)
        LIB.QuibBlt(handle, left, top, right, bottom, target, 0, 0, right - left, bottom - top, 0)
        return target
    return call


def canvas(handle, other):
    target = LIB.create(50, 40, 32, 0xFF0000FF)
    LIB.QuibBlt(handle, 0, 0, WIDTH, HEIGHT, target, 3, 4, 3 + WIDTH, 4 + HEIGHT, 0)
    return target


def paste(handle, other):
    LIB.QuibBlt(other, 0, 0, 27, 22, handle, 10, 4, 37, 26, 0)
    return handle


def pan_zoom(handle, other):
    target = LIB.create(20, 15, 32)
    LIB.QuibBlt_PANZOOM(handle, 2.5, 0.75, 3.25, 0.5, target, 0.0, 20.0, 0.0, 15.0, 2)
    return target


def over(x, y, opacity=100):
    def call(handle, other):
        if opacity != 100:
            LIB.QuibSetAlpha(other, None, opacity)
        LIB.QuibComposition4(other, handle, byref((c_int32 * 2)(x, -y)), None)
        return handle
    return call


def under(handle, other):
    LIB.QuibComposition4(handle, other, byref((c_int32 * 2)(-3, -2)), None)
    return other


def composite(kind, premultiplied, divided):
    def call(handle, other):
        out = Handle()
        LIB.QuibComposition1(other, handle, byref(out), None, None, None, kind, premultiplied,
                             divided)
        return out
    return call


def composite_by(kind, alpha_a, alpha_b):
    def call(handle, other):
        out = Handle()
        LIB.QuibComposition2(other, handle, alpha_a, alpha_b, byref(out), None, None, None, kind)
        return out
    return call


def mask(handle, other):
    gray = LIB.made("QuibColorToGray", other)
    LIB.QuibSetAlpha(handle, gray, 40)
    return handle


def warp(name, coefficients, *arguments):
    def call(handle, other):
        numbers = (c_double * len(coefficients))(*coefficients)
        return LIB.made(name, handle, numbers, *arguments)
    return call


def perspective(quad, size, inverse):
    def call(handle, other):
        target = LIB.create(*size, 32)
        LIB.QUIBWarpPerspectiveQ(handle, byref(target), (c_double * 8)(*quad), 2, inverse)
        return target
    return call


def rotate(handle, other):
    target = LIB.create(WIDTH, HEIGHT, 32)
    LIB.QuibRotate(handle, target, 30.5, 10, 12, 2 | 16)
    return target


def rotate3d(handle, other):
    out = Handle()
    LIB.QUIBRotate3D(30.0, handle, byref(out), 2)
    return out


def threshold(handle, other):
    for name, value in (("QuibAddS", 155), ("QuibAddS", -254), ("QuibMultiplyS", 255)):
        handle = LIB.made(name, handle, value)
    return handle


def convolve(*kernels, method=0):
    def call(handle, other):
        made_kernels = [LIB.kernel(*kernel) for kernel in kernels]
        addresses = (c_void_p * len(kernels))(*[kernel.value for kernel in made_kernels])
        out = Handle()
        LIB.QuibConvolve2D(handle, byref(out), addresses, len(kernels), method)
        return out
    return call


def separable(handle, other):
    out = Handle()
    LIB.QuibConvolveSep2D(handle, byref(out), LIB.kernel(3, 1, 1, 0, [1, 2, 1], 2),
                          LIB.kernel(1, 2, 0, 1, [3, 1], 1))
    return out


def colour_median(handle, other):
    if LIB.picture(handle).depth == 32:
        handle.contents.alphaChannel = 4
    return LIB.made("QuibColorMedianFilter", handle, 3, 3, 1, 1)


def weave(handle, other):
    LIB.QuibUnInterlace(handle, other, byref(handle))
    return handle


SAME = (WIDTH, HEIGHT)
ALL = (1, 8, 24, 32)
KEEPS = "keeps alpha"
# (words, depths, direct call, whether the alphas stay, the other picture)
CASES = [
    ("resize 50x40 --mode nearest", (8, 24, 32), into("QuibResize", (50, 40), 0)),
    ("resize 50x40", (32,), into("QuibResize", (50, 40), 1)),
    ("resize 50x40", (8, 24), into("QuibResizeFit", (50, 40), 1)),
    ("resize 20x40 --mode smooth", (32,), into("QuibResize", (20, 40), 2)),
    ("resize 50x20 --mode cubic", (8, 24, 32), into("QuibResizeFit", (50, 20), 2)),
    ("resize 20x15 --mode area", (8, 24, 32), into("QuibResize", (20, 15), 3)),
    ("resize 50x40 --mode fields-nearest", (32,), into("QuibResize", (50, 40), 0x7000)),
    ("resize 50x40 --mode fields-linear", (32,), into("QuibResize", (50, 40), 0x7001)),
    ("resize 50%", (32,), into("QuibResize", (19, 13), 1)),
    ("resize 74x", (32,), into("QuibResize", (74, 52), 1)),
    ("resize 74x500 --fit inside", (32,), into("QuibResize", (74, 52), 1)),
    ("zoom 50x20 --mode linear", (8, 24, 32), into("QuibResizeFit", (50, 20), 1)),
    ("zoom 50x20 --mode nearest", ALL, into("QuibResizeFit", (50, 20), 0)),
    ("pan-zoom 2.5,3.25 0.75,0.5 --size 20x15 --mode smooth", (32,), pan_zoom),
    ("crop 20x10+5+7", (8, 24, 32), blit((5, 7, 25, 17))),
    ("crop 200x10-5+20", (8, 24, 32), blit((0, 20, 37, 26))),
    ("canvas 50x40 --place 3,4 --colour #0000ff", (32,), canvas),
    ("paste OTHER@10,4", (32,), paste),
    ("fill 10,20,30,40 --in 5x6+7+8", (32,),
     in_place("QuibFillColor", c_uint32(0x280A141E), Rect(7, 8, 12, 14))),
    ("fill 99", (8,), in_place("QuibFillColor", 99, None)),
    ("flip vertical", ALL, into("QuibFlip", SAME, 0)),
    ("flip horizontal", ALL, into("QuibFlip", SAME, 1)),
    ("flip both", ALL, into("QuibFlip", SAME, -1)),
    ("rotate 30.5 --center 10,12 --mode cubic --soft-edge", (32,), rotate),
    ("rotate3d y 30", (32,), rotate3d),
    ("affine 1,0.25,2,-0.1,1.5,5 --mode nearest", (32,),
     warp("QUIBWarpAffine", (1, .25, 2, -.1, 1.5, 5), 0)),
    ("homography 1,0.2,0,0.1,1,0,0.001,0.002,1", (32,),
     warp("QUIBWarpPerspective", (1, .2, 0, .1, 1, 0, .001, .002, 1), 0, 1)),
    ("perspective 3,2 40,5 35,30 1,25 --mode cubic", (32,),
     perspective((3, 2, 40, 5, 35, 30, 1, 25), (41, 31), False)),
    ("perspective 3,2 30,5 25,20 1,22 --mode cubic --inverse --size 20x21", (32,),
     perspective((3, 2, 30, 5, 25, 20, 1, 22), (20, 21), True)),
    ("perspective 0,0 40,0 10,10 0,40", (32,),
     perspective((0, 0, 40, 0, 10, 10, 0, 40), (41, 41), False)),
    ("over OTHER@10,-5", (32,), over(10, -5)),
    ("over OTHER --opacity 40", (32,), over(0, 0, 40)),
    ("under OTHER@-3,2", (32,), under),
    ("blend OTHER", (32,), lambda handle, other:
     (LIB.QuibComposition_s(other, handle, None), handle)[1]),
    *((f"composite {kind} OTHER", (32,), composite(number, 0, 1))
      for number, kind in enumerate("over in out atop xor plus".split())),
    ("composite over OTHER --premultiplied --result premultiplied", (32,), composite(0, 1, 0)),
    ("composite atop OTHER --alphas 200,90", (32,), composite_by(3, 200, 90)),
    ("opacity 40", (32,), in_place("QuibSetAlpha", None, 40)),
    ("alpha 77", (32,), in_place("QuibSetAlphaS", None, 77)),
    ("mask LARGE --opacity 40", (32,), mask),
    *((f"{name} {value} --alpha {alpha}", depths, made(function, value), alpha == "keep")
      for name, function, value, depths in (
          ("add", "QuibAddS", 60, ALL), ("multiply", "QuibMultiplyS", 3, ALL),
          ("multiply-scale", "QuibMultiplySScale", 99, (8, 24, 32)),
          ("and", "QuibAndS", 0xF3, ALL), ("or", "QuibOrS", 0x31, ALL),
          ("xor", "QuibXorS", 0x55, ALL), ("shift-left", "QuibLShiftS", 2, (8, 24, 32)),
          ("shift-right", "QuibRShiftS", 3, (8, 24, 32)))
      for alpha in ("keep", "change")),
    ("subtract 60 --alpha change", ALL, made("QuibAddS", -60)),
    *((f"{name} OTHER --alpha change", ALL, paired(function))
      for name, function in (("add", "QuibAdd"), ("subtract", "QuibSubtract"),
                             ("multiply", "QuibMultiply"), ("and", "QuibAnd"), ("or", "QuibOr"),
                             ("xor", "QuibXor"))),
    ("multiply-scale OTHER", (8, 24, 32), paired("QuibMultiplyScale"), True),
    ("square", ALL, made("QuibSquare"), True),
    ("abs --alpha change", ALL, made("QuibAbs")),
    ("not", ALL, made("QuibNot"), True),
    ("brightness 20 10", (32,), tone("QuibBrightnessAndContrast", 20, 10, 0)),
    ("brightness -20 --channel green", (32,), tone("QuibBrightnessAndContrast", -20, 0, 2)),
    ("contrast -30 --channel blue", (32,), tone("QuibBrightnessAndContrast", 0, -30, 3)),
    ("hue 120 40", (32,), tone("QuibHueAndSaturation", 120, 40)),
    ("saturation -50", (32,), tone("QuibHueAndSaturation", 0, -50)),
    ("gray", (24, 32), made("QuibColorToGray")),
    ("gray --zero 20 --one 200", (1,), made("QuibBitonalToGray", 20, 200)),
    ("threshold 100", (8,), threshold),
    ("depth 8", (24, 32), made("QuibColorToGray")),
    ("convolve 1,2,1:2,4,2:1,2,1 --shift 4", ALL,
     convolve((3, 3, 1, 1, [1, 2, 1, 2, 4, 2, 1, 2, 1], 4)), True),
    ("convolve -1,0,1/-1;0;1 --combine root --anchor 0,0 --alpha change", (32,),
     convolve((3, 1, 0, 0, [-1, 0, 1], 0), (1, 3, 0, 0, [-1, 0, 1], 0), method=2)),
    ("separable 1,2,1 3,1 --shift 2,1 --alpha change", (8, 24, 32), separable),
    *((f"filter {name} --alpha change", ALL, made("QuibFixedFilter", number))
      for number, name in enumerate(
          "prewitt-horizontal prewitt-vertical sobel-horizontal sobel-vertical laplacian-3x3 "
          "laplacian-5x5 gaussian-3x3 gaussian-5x5 highpass-3x3 highpass-5x5 sharpen".split())),
    ("blur 5", ALL, made("QuibBlur", 5, 5, 2, 2)),
    ("blur 7x3 --anchor 0,2 --alpha keep", ALL, made("QuibBlur", 7, 3, 0, 2), True),
    ("median 3x5", ALL, made("QuibMedianFilter", 3, 5, 1, 2)),
    ("max 4", ALL, made("QuibMaxFilter", 4, 4, 2, 2)),
    ("min 4x2", ALL, made("QuibMinFilter", 4, 2, 2, 1)),
    ("colour-median 3", (24, 32), colour_median, True),
    ("decimate-blur 5x3", (8, 24, 32), into("QuibDecimateBlur", SAME, 0, 5, 3)),
    ("fields odd", ALL, in_place("QuibInterlace", 0)),
    ("fields even", ALL, in_place("QuibInterlace", 1)),
    ("weave ALIKE", (8, 24, 32), weave),
]


def with_alphas_of(source, picture):
    rows = []
    for kept, row in zip(source.rows, picture.rows):
        row = bytearray(row)
        row[3::4] = kept[3::4]
        rows.append(bytes(row))
    return Picture(picture.width, picture.height, 32, rows)


def other_for(words, depth):
    """The picture that stands for a capital word, and the words with its file."""
    kinds = {"OTHER": (29, 31), "LARGE": (40, 30), "ALIKE": (WIDTH, HEIGHT)}
    for kind, size in kinds.items():
        if kind in words:
            other = other_picture(depth, *size)
            write_bmp(other, WORK / "other.bmp")
            return other, words.replace(kind, "other.bmp")
    return None, words


def as_saved(picture):
    """Opaque pictures are saved without alphas."""
    if picture.depth != 24:
        return picture
    return picture.coloured()


class Operations(unittest.TestCase):
    """Each operation gives the picture of the library's functions."""

    def compare(self, words, depth, call, keeps=False):
        source = main_picture(depth)
        write_bmp(source, WORK / "in.bmp")
        other, words = other_for(words, depth)
        # A file of 24 bits is a picture of 32.
        before = ("depth", "24") if depth == 24 else ()
        quib("in.bmp", *before, *words.split(), "out.bmp", check=0)
        expected = LIB.picture(call(LIB.handle(source), other and LIB.handle(other)))
        if keeps and expected.depth == 32:
            expected = with_alphas_of(source, expected)
        self.assertEqual(as_saved(read_bmp(WORK / "out.bmp")), as_saved(expected), (words, depth))

    def test_every_operation_has_a_case(self):
        listed = {line.split()[0] for line in quib("list", check=0).text.splitlines()
                  if line.startswith("  ")}
        self.assertEqual({case[0].split()[0] for case in CASES}, listed)


def add_cases():
    def test_of(words, depth, call, keeps):
        return lambda self: self.compare(words, depth, call, keeps)
    for words, depths, call, *keeps in CASES:
        for depth in depths:
            name = "".join(c if c.isalnum() else "_" for c in f"{words}_at_{depth}")
            setattr(Operations, f"test_{name}", test_of(words, depth, call, bool(keeps and keeps[0])))


add_cases()


class Chains(unittest.TestCase):
    """Operations follow one another; pictures keep or change their depth as told."""

    def setUp(self):
        write_bmp(main_picture(32), WORK / "in.bmp")

    def test_chain_is_its_steps(self):
        write_bmp(other_picture(), WORK / "logo.bmp")
        quib("in.bmp", "resize", "60x50", "--mode", "smooth", "blur", "5", "brightness", 20, 10,
             "over", "logo.bmp@10,10", "chain.bmp", check=0)
        quib("in.bmp", "resize", "60x50", "--mode=smooth", "a.bmp", check=0)
        quib("a.bmp", "blur", "5", "a.bmp", check=0)
        quib("a.bmp", "brightness", 20, 10, "a.bmp", check=0)
        quib("a.bmp", "over", "logo.bmp@10,10", "a.bmp", check=0)
        self.assertEqual(read_bmp(WORK / "chain.bmp"), read_bmp(WORK / "a.bmp"))
        quib("in.bmp", "logo.bmp", "chain.raw", program=CHAIN, check=0)
        self.assertEqual(b"".join(read_bmp(WORK / "chain.bmp").coloured().rows),
                         (WORK / "chain.raw").read_bytes())

    def test_four_turns_by_right_angles_give_the_picture(self):
        quib("in.bmp", *["rotate", "90", "--whole"] * 4, "out.bmp", check=0)
        self.assertEqual(read_bmp(WORK / "out.bmp"), main_picture(32))
        quib("in.bmp", "rotate", "-90", "--whole", "out.bmp", check=0)
        turned = read_bmp(WORK / "out.bmp")
        self.assertEqual((turned.width, turned.height), (HEIGHT, WIDTH))

    def test_gray_resize_stays_gray(self):
        write_bmp(main_picture(8), WORK / "in.bmp")
        for mode in ("linear", "smooth", "cubic", "area", "fields-linear"):
            quib("in.bmp", "resize", "20x12", "--mode", mode, "out.bmp", check=0)
            self.assertEqual(read_bmp(WORK / "out.bmp").depth, 8, mode)

    def test_cover_cuts_evenly(self):
        quib("in.bmp", "resize", "20x20", "--fit", "cover", "out.bmp", check=0)
        quib("in.bmp", "resize", "28x20", "crop", "20x20+4+0", "b.bmp", check=0)
        self.assertEqual(read_bmp(WORK / "out.bmp"), read_bmp(WORK / "b.bmp"))

    def test_depths(self):
        source = main_picture(8)
        write_bmp(source, WORK / "in.bmp")
        quib("in.bmp", "depth", "1", "out.bmp", check=0)
        bits = read_bmp(WORK / "out.bmp")
        self.assertEqual(bits.grayed().rows,
                         [bytes(255 * (gray >= 128) for gray in row) for row in source.rows])
        quib("in.bmp", "depth", "24", "out.bmp", check=0)
        self.assertEqual(read_bmp(WORK / "out.bmp").coloured(), source.coloured())

    def test_place_of_logo_with_at_sign_in_its_name(self):
        write_bmp(other_picture(), WORK / "lo@go.bmp")
        quib("in.bmp", "over", "lo@go.bmp", "out.bmp", check=0)
        quib("in.bmp", "over", "lo@go.bmp@0,0", "b.bmp", check=0)
        self.assertEqual(read_bmp(WORK / "out.bmp"), read_bmp(WORK / "b.bmp"))


HAS = quib("--version").text
needs_png = unittest.skipIf("without PNG" in HAS, "the tool was built without PNG")
needs_jpeg = unittest.skipIf("without JPEG" in HAS, "the tool was built without JPEG")


class Files(unittest.TestCase):
    """Formats in and out."""

    @needs_png
    def test_png_keeps_pixels_and_depth(self):
        for depth in (1, 8, 32):
            source = main_picture(depth)
            write_bmp(source, WORK / "in.bmp")
            quib("in.bmp", "out.png", check=0)
            bits, colour_type, rows = read_png(WORK / "out.png")
            self.assertEqual((bits, colour_type), {1: (1, 0), 8: (8, 0), 32: (8, 6)}[depth])
            if depth <= 8:
                self.assertEqual(rows, source.rows)
            quib("out.png", "back.bmp", check=0)
            self.assertEqual(read_bmp(WORK / "back.bmp"), source)

    @needs_png
    def test_png_of_opaque_colours_has_no_alpha(self):
        source = noise(WIDTH, HEIGHT, 32, 5, opaque=True)
        write_bmp(source, WORK / "in.bmp")
        quib("in.bmp", "--compression", 9, "out.png", check=0)
        bits, colour_type, rows = read_png(WORK / "out.png")
        self.assertEqual((bits, colour_type), (8, 2))
        self.assertEqual(rows[0][:3], bytes(reversed(source.rows[0][:3])))

    @needs_jpeg
    def test_jpeg_is_near_and_flattened(self):
        flat = Picture(16, 16, 32, [bytes([30, 90, 200, 255]) * 8 + bytes(4) * 8] * 16)
        write_bmp(flat, WORK / "in.bmp")
        quib("in.bmp", "--quality", 95, "--background", "#ffffff", "out.jpg", check=0)
        quib("out.jpg", "back.bmp", check=0)
        row = read_bmp(WORK / "back.bmp").rows[8]
        for given, got in zip([30, 90, 200], row[:3]):
            self.assertLess(abs(given - got), 12)
        self.assertGreater(min(row[-3:]), 243)

    @needs_jpeg
    def test_quality_tells_in_the_size(self):
        write_bmp(main_picture(32), WORK / "in.bmp")
        quib("in.bmp", "--quality", 95, "a.jpg", check=0)
        quib("in.bmp", "--quality", 20, "b.jpg", check=0)
        self.assertLess((WORK / "b.jpg").stat().st_size, (WORK / "a.jpg").stat().st_size)

    def test_info(self):
        write_bmp(main_picture(8), WORK / "in.bmp")
        self.assertIn("37 x 26, 8 bits", quib("info", "in.bmp", check=0).text)

    def test_format_in_the_place_of_the_ending(self):
        write_bmp(main_picture(32), WORK / "in.bmp")
        quib("in.bmp", "--format", "bmp", "flip", "both", "out.data", check=0)
        self.assertEqual((WORK / "out.data").read_bytes()[:2], b"BM")


class Batches(unittest.TestCase):
    """Folders, patterns, and pictures that fail among others."""

    def setUp(self):
        self.folder = WORK / "folder"
        shutil.rmtree(self.folder, ignore_errors=True)
        (self.folder / "in").mkdir(parents=True)
        for number in range(5):
            write_bmp(noise(20, 10, 32, number), self.folder / f"in/{number}.bmp")

    def outputs(self, name="out"):
        return sorted(path.name for path in (self.folder / name).iterdir())

    def test_folder(self):
        done = quib("in", "flip", "both", "out/", "--jobs", 3, folder=self.folder, check=0)
        self.assertEqual(self.outputs(), [f"{number}.bmp" for number in range(5)])
        self.assertIn("5 of 5 pictures written", done.text)
        for number in range(5):
            rows = noise(20, 10, 32, number).rows
            flipped = [b"".join(row[at:at + 4] for at in range(76, -4, -4))
                       for row in reversed(rows)]
            self.assertEqual(read_bmp(self.folder / f"out/{number}.bmp").rows, flipped)

    def test_pattern_and_names(self):
        quib("in/[0-9]*.bmp", "not", "out/", folder=self.folder, check=2)
        quib("in/*.bmp", "not", "out/{number}-{name}.{ext}", "--quiet", folder=self.folder, check=0)
        self.assertEqual(self.outputs(), [f"{n + 1}-{n}.bmp" for n in range(5)])

    def test_broken_one_does_not_stop_the_others(self):
        (self.folder / "in/2.bmp").write_bytes(bmp_bytes(noise(20, 10, 32, 2))[:200])
        done = quib("in", "blur", 3, "out/", folder=self.folder, check=1)
        self.assertEqual(self.outputs(), ["0.bmp", "1.bmp", "3.bmp", "4.bmp"])
        self.assertIn("cut short", done.text)
        self.assertIn("4 of 5 pictures written, 1 failed", done.text)

    def test_recursive_keeps_folders(self):
        (self.folder / "in/deep").mkdir()
        write_bmp(noise(4, 4, 32, 9), self.folder / "in/deep/9.bmp")
        quib("--recursive", "in", "out/", folder=self.folder, check=0)
        self.assertTrue((self.folder / "out/deep/9.bmp").is_file())

    def test_two_to_one_name_is_refused(self):
        shutil.copy(self.folder / "in/1.bmp", self.folder / "1.bmp")
        done = quib("in/1.bmp", "1.bmp", "not", "out/", folder=self.folder, check=2)
        self.assertIn("both be written", done.text)

    def test_dry_run_writes_nothing(self):
        done = quib("--dry-run", "in", "not", "out/", folder=self.folder, check=0)
        self.assertIn("| not >", done.text)
        self.assertFalse((self.folder / "out").exists())

    def test_no_overwrite(self):
        quib("in/1.bmp", "a.bmp", folder=self.folder, check=0)
        before = (self.folder / "a.bmp").read_bytes()
        done = quib("--no-overwrite", "in/2.bmp", "a.bmp", folder=self.folder, check=1)
        self.assertIn("is there already", done.text)
        self.assertEqual((self.folder / "a.bmp").read_bytes(), before)

    def test_no_unfinished_file_stays(self):
        quib("in/1.bmp", "resize", "1000000x1000000", "a.bmp", folder=self.folder, check=1)
        self.assertEqual(sorted(os.listdir(self.folder)), ["in"])


class Unforeseen(unittest.TestCase):
    """What ends the process of one picture does not end the others."""

    def run_batch(self, how, jobs):
        folder = WORK / "unforeseen"
        shutil.rmtree(folder, ignore_errors=True)
        folder.mkdir()
        for number in range(6):
            write_bmp(noise(13 if number in (1, 4) else 20, 10, 32, number), folder / f"{number}.bmp")
        done = quib("unforeseen", "unforeseen", how, "unforeseen/out/", "--jobs", jobs,
                    program=UNFORESEEN, check=1)
        self.assertEqual(sorted(os.listdir(folder / "out")), [f"{n}.bmp" for n in (0, 2, 3, 5)])
        self.assertIn("4 of 6 pictures written, 2 failed", done.text)
        for number in (1, 4):
            self.assertRegex(done.text, rf"{number}\.bmp: unforeseen: memory ran out, or the library "
                                        "refused what it was asked for: its process is gone")
        return done.text

    def test_refusals(self):
        for jobs in (1, 3):
            self.assertIn("(it ended with status 1)", self.run_batch("refusal", jobs))

    def test_faults(self):
        self.assertRegex(self.run_batch("fault", 2), "stopped by (a signal|the exception c000001d)")


class Names(unittest.TestCase):
    """File names in any script, of which a code page of Windows has only one."""

    def setUp(self):
        self.folder = WORK / "größe Ж 日本"
        shutil.rmtree(self.folder, ignore_errors=True)
        self.folder.mkdir()
        for name, depth in (("ж.bmp", 32), ("日.bmp", 8)):
            write_bmp(main_picture(depth), self.folder / name)

    def test_in_and_out(self):
        for words in ((f"{self.folder.name}/ж.bmp", "größe Ж 日本/é 日.bmp"),
                      (f"{self.folder.name}/*.bmp", "größe Ж 日本/out {name}.bmp"),
                      (self.folder.name, "größe Ж 日本/a ж/")):
            done = quib(words[0], "flip", "both", "--verbose", words[1], check=0)
            self.assertIn("größe Ж 日本", done.text)
        for name in ("é 日.bmp", "out ж.bmp", "a ж/ж.bmp"):
            quib(f"{self.folder.name}/{name}", "flip", "both", "back.bmp", check=0)
            self.assertEqual(read_bmp(WORK / "back.bmp"), main_picture(32), name)
        quib(f"{self.folder.name}/a ж/日.bmp", "flip", "both", "back.bmp", check=0)
        self.assertEqual(read_bmp(WORK / "back.bmp"), main_picture(8))

    def test_operand_and_psd(self):
        shutil.copy(pathlib.Path(__file__).parents[1] / "zxdll/files/gimp_rgb.psd",
                    self.folder / "層.psd")
        quib("größe Ж 日本/層.psd", "over", "größe Ж 日本/ж.bmp@1,2", "a.bmp", check=0)
        shutil.copy(self.folder / "層.psd", WORK / "layers.psd")
        shutil.copy(self.folder / "ж.bmp", WORK / "over.bmp")
        quib("layers.psd", "over", "over.bmp@1,2", "b.bmp", check=0)
        self.assertEqual(read_bmp(WORK / "a.bmp"), read_bmp(WORK / "b.bmp"))

    def test_errors_show_them(self):
        self.assertIn("größe Ж 日本/é.bmp: the file cannot be opened",
                      quib("größe Ж 日本/é.bmp", "not", "a.bmp", check=1).text)
        self.assertIn("ж.bmp: 37 x 26, 32 bits", quib("info", "größe Ж 日本/ж.bmp", check=0).text)

    def test_words_with_quotes_and_backslashes(self):
        # The other process, which gets the words again, complains of the name that it got.
        write_bmp(main_picture(32), WORK / "in.bmp")
        for name in ('a"b', "a\\b c", 'a\\"b', 'a b\\\\"', "a\tb \\\\"):
            done = quib("in.bmp", "over", name, "a.bmp", check=1)
            self.assertIn("over: '" + name.replace("\t", "\\x09") + "': ", done.text)


class PosixNames(unittest.TestCase):
    """A name may have any byte, and stands for itself alone."""

    def setUp(self):
        write_bmp(main_picture(32), WORK / "in.bmp")

    def test_odd_names(self):
        name = os.fsencode(str(WORK)) + b"/odd \xff\x1b[31m\n.bmp"
        with open(name, "wb") as file:
            file.write(bmp_bytes(main_picture(8))[:60])
        done = subprocess.run([*map(os.fsencode, PROGRAM), name, b"out.bmp"], capture_output=True,
                              cwd=WORK, check=False)
        self.assertEqual(done.returncode, 1)
        self.assertIn(b"odd \\xff\\x1b[31m\\x0a.bmp: ", done.stderr)
        self.assertNotIn(b"\x1b", done.stderr)

    def test_devices_are_not_replaced(self):
        done = quib("in.bmp", "--format", "bmp", "not", "/dev/null", check=1)
        self.assertIn("no ordinary file", done.text)
        self.assertFalse(pathlib.Path("/dev/null").is_file())


class WindowsNames(unittest.TestCase):
    """Two names may be one file; some are devices."""

    def setUp(self):
        for name in ("in.bmp", "other.bmp"):
            write_bmp(main_picture(32), WORK / name)

    def test_case_does_not_tell_files_apart(self):
        (WORK / "upper").mkdir(exist_ok=True)
        write_bmp(main_picture(8), WORK / "upper/IN.BMP")
        done = quib("in.bmp", "upper/IN.BMP", "not", "out/", check=2)
        self.assertIn("both be written", done.text)
        quib("upper/*.bmp", "not", "upper/out.bmp", check=0)

    def test_backslashes(self):
        quib("upper\\..\\in.bmp", "not", "made\\deep\\", check=0)
        self.assertTrue((WORK / "made/deep/in.bmp").is_file())

    def test_devices_are_not_replaced(self):
        quib("in.bmp", "--format", "bmp", "not", "nul", check=1)

    def test_formats_that_are_not_built_in(self):
        self.assertIn("without PNG; without JPEG", HAS)
        self.assertIn("writes no png files", quib("in.bmp", "not", "out.png", check=2).text)
        (WORK / "in.png").write_bytes(png_bytes(1, 1, 8, 0, [b"\0"]))
        self.assertIn("PNG files are not part of this build", quib("in.png", "a.bmp", check=1).text)


class Errors(unittest.TestCase):
    """Wrong words and files: an error that names what was given and expected."""

    def setUp(self):
        write_bmp(main_picture(32), WORK / "in.bmp")

    def fails(self, status, said, *words):
        done = quib(*words)
        self.assertEqual(done.returncode, status, done.text)
        for each in said.split("|"):
            self.assertIn(each, done.text)

    def all_fail(self, status, cases):
        for said, words in list(cases.items())[::EVERY]:
            self.fails(status, said, "in.bmp", *words.split(), "out.bmp")

    def test_usage(self):
        self.fails(2, "usage: quib")
        self.fails(2, "no output is given", "in.bmp")
        self.fails(2, "no output is given", "in.bmp", "not")
        self.fails(2, "there is no operation 'blurr'; did you mean blur?", "in.bmp", "not",
                   "blurr", "out.bmp")
        self.fails(2, "there is no option '--mod' here|resize takes --mode, --fit|mean --mode?",
                   "in.bmp", "resize", "5x5", "--mod", "linear", "out.bmp")
        self.fails(2, "WINDOW is missing", "in.bmp", "blur")
        self.fails(2, "the output's ending tells no format", "in.bmp", "not", "out.xyz")
        self.fails(2, "need a folder", "in.bmp", "in.bmp", "not", "out.bmp")
        self.fails(2, "there is no operation 'x'", "help", "x")
        self.fails(2, "SHELL", "completion", "tcsh")

    def test_arguments(self):
        self.all_fail(2, {
            "blur: WINDOW is '0', expected a window, N or COLUMNSxROWS, from 1": "blur 0",
            "WINDOW is 'a'": "blur a",
            "BRIGHTNESS is '999', expected a whole number from -128 to 127": "brightness 999",
            "--mode is 'x', expected one of nearest, linear": "resize 5x5 --mode x",
            "SIZE is 'x'": "resize x",
            "COLOUR is '#12'": "fill #12",
            "COLOUR is '300'": "fill 300",
            "COEFFICIENTS is '1,2'": "affine 1,2",
            "KERNELS is '1,2:3'": "convolve 1,2:3",
            "LEFT-TOP is '1e9,0'": "perspective 1e9,0 1,0 1,1 0,1",
            "ANGLE is 'nan'": "rotate nan",
            "PERCENT is '101'": "opacity 101"})

    def test_what_the_engine_would_refuse(self):
        self.all_fail(1, {
            "--anchor is 5,0": "blur 5 --anchor 5,0",
            "which only reduces": "resize 99x99 --mode area",
            "only reduces": "zoom 99x9 --mode area",
            "flatten": "affine 1,1,0,1,1,0",
            "infinity": "homography 1,0,0,0,1,0,0,0,0",
            "no convex quadrangle": "homography 1,0,0,0,1,0,-0.1,0,1",
            "even heights": "resize 10x9 --mode fields-linear",
            "11 kernels": "convolve " + "/".join(["1"] * 11),
            "two or more": "separable 1 1,2",
            "misses the picture": "crop 5x5+90+0",
            "expected two columns": "crop 1x5+0+0 rotate 5",
            "view outside": "pan-zoom 500,0 1",
            "no convex": "perspective 0,0 40,0 10,10 0,40 --inverse",
            "the limit is": "resize 20000x20000",
            "too large": "resize 1000000x1000000",
            "at most 32767": "resize 40000x2 rotate 5",
            "'none.bmp': the file cannot be opened": "over none.bmp",
            "FILE is a picture of": "crop 5x5+0+0 weave in.bmp"})

    def test_files(self):
        whole = bmp_bytes(main_picture(32))
        for name, data, said in (
                ("empty.bmp", b"", "the file is empty"),
                ("short.bmp", whole[:30], "ends inside its header"),
                ("cut.bmp", whole[:-5], "cut short"),
                ("text.png", b"hello", "no picture that can be read"),
                ("down.bmp", whole[:22] + b"\xff\xff\xff\xff" + whole[26:], "top row first"),
                ("huge.bmp", whole[:18] + b"\xff\xff\xff\x7f" * 2 + whole[26:], "too large"),
                ("zero.bmp", whole[:18] + bytes(8) + whole[26:], "0 x 0"),
                ("psd.psd", b"8BPS" + bytes(50), "PSD file")):
            (WORK / name).write_bytes(data)
            self.fails(1, said, name, "not", "out.bmp")
        self.fails(1, "cannot be opened", "missing.bmp", "out.bmp")


def damaged(data, seed):
    """A file cut somewhere, or with some bytes changed, some of them in its head."""
    source = random.Random(seed)
    data = bytearray(data)
    if seed % 3 == 0:
        return bytes(data[:source.randrange(len(data))])
    for _ in range(source.randrange(1, 6)):
        most = min(len(data), 80) if source.random() < 0.6 else len(data)
        data[source.randrange(most)] = source.randrange(256)
    return bytes(data)


class Damage(unittest.TestCase):
    """Damaged files end in a picture or in an error, and the tool never in a crash."""

    def survives(self, ending, data, count=60):
        folder = WORK / f"damaged-{ending}"
        shutil.rmtree(folder, ignore_errors=True)
        folder.mkdir()
        for seed in range(count):
            (folder / f"{seed}.{ending}").write_bytes(damaged(data, seed))
        done = quib("--memory", 64, folder, "resize", "8x8", "--format", "bmp", f"{folder}-out/")
        self.assertIn(done.returncode, (0, 1), done.text)
        self.assertIn(f"of {count} pictures written", done.text)
        self.assertNotIn("its process is gone", done.text)

    def test_bmp(self):
        for depth in (1, 8, 24, 32):
            self.survives("bmp", bmp_bytes(main_picture(depth)), 40)

    @needs_png
    def test_png(self):
        rows = noise(WIDTH, HEIGHT, 32, 1).rows
        self.survives("png", png_bytes(WIDTH, HEIGHT, 8, 6, rows))

    @needs_jpeg
    def test_jpeg(self):
        write_bmp(main_picture(32), WORK / "in.bmp")
        quib("in.bmp", "whole.jpg", check=0)
        self.survives("jpg", (WORK / "whole.jpg").read_bytes())

    def test_psd(self):
        files = pathlib.Path(__file__).parents[1] / "zxdll/files"
        self.survives("psd", (files / "gimp_rgb.psd").read_bytes(), 30)


class Texts(unittest.TestCase):
    """Help, the manual page and the completions, all of one table."""

    def operations(self):
        return [line.split()[0] for line in quib("list", check=0).text.splitlines()
                if line.startswith("  ")]

    def test_help_of_each(self):
        for name in self.operations()[::EVERY]:
            text = quib("help", name, check=0).text
            self.assertIn("Depths: ", text, name)
            said = text.partition("In the library:\n")[2].splitlines()
            self.assertTrue(said, name)
            for line in said:
                self.assertNotRegex(line, r"^  \w+: *$", f"{name}: nothing is said of {line}")

    def test_help_and_version(self):
        self.assertIn("usage: quib", quib("--help", check=0).text)
        self.assertIn("usage: quib", quib("help", check=0).text)
        self.assertRegex(quib("--version", check=0).text, r"^quib \d+\.\d+\.\d+")

    def parses(self, shell, *words):
        if not shutil.which(words[0]):
            self.skipTest(f"there is no {words[0]}")
        path = WORK / f"completion.{shell}"
        path.write_text(quib("completion", shell, check=0).text)
        done = subprocess.run([*words, path], capture_output=True, text=True, check=False)
        self.assertEqual((done.returncode, done.stdout + done.stderr), (0, ""))

    def test_bash_parses(self):
        self.parses("bash", "bash", "-n")

    def test_zsh_parses(self):
        self.parses("zsh", "zsh", "-n")

    def test_fish_parses(self):
        self.parses("fish", "fish", "--no-execute")

    @unittest.skipUnless(shutil.which("bash"), "there is no bash")
    def test_bash_completes(self):
        path = WORK / "completion.bash"
        path.write_text(quib("completion", "bash", check=0).text)
        for words, expected in ((["in.bmp", "blu"], {"blur"}),
                                (["in.bmp", "resize", "5x5", "--mo"], {"--mode"}),
                                (["in.bmp", "resize", "5x5", "--mode", "sm"], {"smooth"}),
                                (["in.bmp", "filter", "sob"], {"sobel-horizontal",
                                                               "sobel-vertical"})):
            script = (f'source "{path}"; COMP_WORDS=(quib {" ".join(words)}); '
                      f'COMP_CWORD={len(words)}; _quib; printf "%s\\n" "${{COMPREPLY[@]}}"')
            done = subprocess.run(["bash", "-c", script], capture_output=True, text=True,
                                  cwd=WORK / "..", check=True)
            self.assertLessEqual(expected, set(done.stdout.split()), words)

    @unittest.skipUnless(shutil.which("mandoc"), "there is no mandoc")
    def test_manual_has_no_faults(self):
        path = WORK / "quib.1"
        path.write_text(quib("manual", check=0).text)
        done = subprocess.run(["mandoc", "-Tlint", "-Wwarning", path], capture_output=True,
                              text=True, check=False)
        self.assertEqual((done.returncode, done.stdout), (0, ""))
        for name in self.operations():
            self.assertIn(f".SS {name}".replace("-", "\\-"), path.read_text())


# --- Results ----------------------------------------------------------------------------


class Recorder(unittest.TextTestResult):
    """Keeps the outcome of each test."""

    def __init__(self, *arguments):
        super().__init__(*arguments)
        self.cases = []

    def stopTest(self, test):
        super().stopTest(test)
        wrong = [text for each, text in self.failures + self.errors if each is test]
        why = [text for each, text in self.skipped if each is test]
        self.cases.append((test, wrong, why))


def write_results(cases, path):
    suite = ElementTree.Element("testsuite")
    for test, wrong, why in cases:
        case = ElementTree.SubElement(suite, "testcase", classname=type(test).__name__,
                                      name=test.id().rsplit(".", 1)[-1], status="run",
                                      result="skipped" if why else "completed")
        if wrong:
            ElementTree.SubElement(case, "failure").text = wrong[0]
        if why:
            ElementTree.SubElement(case, "skipped", message=why[0])
    path.parent.mkdir(parents=True, exist_ok=True)
    ElementTree.ElementTree(suite).write(path, encoding="utf-8")


def main():
    del globals()["PosixNames" if ON_WINDOWS else "WindowsNames"]
    if not LIB:
        # There are hundreds, and they run where the library can be loaded.
        del globals()["Operations"]
    suite = unittest.defaultTestLoader.loadTestsFromModule(sys.modules[__name__])
    done = unittest.TextTestRunner(resultclass=Recorder, verbosity=0).run(suite)
    write_results(done.cases, pathlib.Path(RESULTS))
    sys.exit(not done.wasSuccessful())


if __name__ == "__main__":
    main()
