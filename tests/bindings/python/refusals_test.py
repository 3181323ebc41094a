"""What cannot be done is an exception that names the argument; the process lives."""

import math
import struct

import numpy as np
import pytest

import quibtool as q

GRAY, BITS, COLOR, FULL = (lambda: q.Image(8, 6, depth) for depth in (8, 1, 24, 32))


def image(depth=32, width=8, height=6):
    return q.Image(width, height, depth)


def small(depth=32, **more):
    found = image(depth, 20, 20)
    found.region = more.get("region", (3, 3, 1, 5))
    return found


def masked(depth=32):
    found = image(depth)
    found.mask = q.Image(8, 6, 1, 1)
    return found


def closed():
    found = image()
    found.close()
    return found


IDENTITY = [[1, 0, 0], [0, 1, 0], [0, 0, 1]]
QUAD = [[0, 0], [7, 0], [7, 5], [0, 5]]
CONCAVE = [[0, 0], [7, 0], [2, 2], [0, 5]]
# The exception, a word that its text must have, and the call.
REFUSED = [
    (ValueError, "width", lambda: q.Image(0, 5)),
    (ValueError, "height", lambda: q.Image(5, -1)),
    (ValueError, "depth", lambda: q.Image(5, 5, 16)),
    (TypeError, "width", lambda: q.Image(5.5, 5)),
    (TypeError, "height", lambda: q.Image(5, "5")),
    (ValueError, "width", lambda: q.Image(2 ** 31, 1)),
    (MemoryError, "2 GiB", lambda: q.Image(2 ** 31 - 1, 1)),
    (MemoryError, "2 GiB", lambda: q.Image.empty(40000, 40000)),
    (ValueError, "fill", lambda: q.Image(5, 5, 8, 256)),
    (ValueError, "fill", lambda: q.Image(5, 5, 32, 2 ** 32)),
    (ValueError, "closed", lambda: closed().pixels),
    (ValueError, "closed", lambda: closed().clone()),
    (ValueError, "src is closed", lambda: q.blur(closed())),
    (TypeError, "src must be an Image, not Kernel", lambda: q.blur(q.Kernel([[1]]))),
    (TypeError, "src must be an Image, not NoneType", lambda: q.resize(None, (3, 3))),
    (TypeError, "src must be an Image, not ndarray", lambda: q.invert(np.zeros((3, 3)))),
    (ValueError, "rect", lambda: image().fill(0, (5, 5, 5, 9))),
    (TypeError, "rect", lambda: image().fill(0, (5, 5))),
    (ValueError, "threshold", lambda: image().is_black(-1)),
    (ValueError, "out", lambda: image().copy(image(32, 7, 6))),
    (ValueError, "out", lambda: image().copy(image(24))),
    (ValueError, "region", lambda: setattr(image(), "region", (0, 0, 9, 6))),
    (ValueError, "region", lambda: setattr(image(), "region", (-1, 0, 2, 2))),
    (ValueError, "mask", lambda: setattr(image(), "mask", image(8))),
    (TypeError, "mask", lambda: setattr(image(), "mask", 1)),
    (ValueError, "array", lambda: q.Image.from_array(np.zeros((3, 4, 2), np.uint8))),
    (ValueError, "array", lambda: q.Image.from_array(np.zeros((3, 4)))),
    (ValueError, "array", lambda: q.Image.from_array(np.zeros((3, 5), np.uint8), copy=False)),
    (ValueError, "width", lambda: q.Image.from_array(np.zeros((3, 0), np.uint8))),
    (ValueError, "dst", lambda: q.blt(image(), image(24))),
    (ValueError, "src_rect", lambda: q.blt(image(), image(), (0, 0, 9, 6))),
    (ValueError, "dst_rect", lambda: q.blt(image(), image(), None, (-1, 0, 7, 6))),
    (ValueError, "mask", lambda: q.blt(masked(24), image(24, 9, 9), stretch=True)),
    (ValueError, "dst", lambda: q.pan_zoom(image(), image(8))),
    (ValueError, "mode", lambda: q.pan_zoom(image(), image(), mode="area")),
    (ValueError, "mode area", lambda: q.pan_zoom(image(8), image(8), step_x=.5, mode="area")),
    (ValueError, "step_x", lambda: q.pan_zoom(image(), image(), step_x=math.nan)),
    (ValueError, "dst_rect", lambda: q.pan_zoom(image(), image(), dst_rect=(0, 0, 9, 6))),
    (q.QuibError, "QUIB_BAD_ARGUMENT", lambda: q.pan_zoom(image(), image(), src_x=100)),
    (ValueError, "over", lambda: q.compose(image(24), image())),
    (ValueError, "under", lambda: q.compose_simple(image(), image(8))),
    (ValueError, "out", lambda: q.compose(image(), image(), image(32, 9, 9))),
    (ValueError, "rectangle", lambda: q.compose_at(image(), image(), None, (0, 0, 5, 5))),
    (TypeError, "position", lambda: q.compose_at(image(), image(), (1,))),
    (ValueError, "image", lambda: q.set_alpha_constant(image(24), 5)),
    (ValueError, "alpha", lambda: q.set_alpha_constant(image(), 256)),
    (ValueError, "plane", lambda: q.set_alpha(image(), image(8, 7, 6))),
    (ValueError, "plane", lambda: q.set_alpha(image(), image(1))),
    (ValueError, "percent", lambda: q.set_alpha(image(), None, 101)),
    (ValueError, "kind", lambda: q.composite(image(), image(), 6)),
    (ValueError, "rect_a", lambda: q.composite_constant(image(), image(), rect_a=(9, 9, 10, 10))),
    (ValueError, "b must", lambda: q.composite(image(), image(8))),
    (ValueError, "header", lambda: q.from_dib(b"short")),
    (TypeError, "data", lambda: q.from_dib(5)),
    (ValueError, "bits", lambda: q.from_dib_parts(struct.pack("<IiiHHIIiiII", 40, 9, 9, 1, 32, 0,
                                                              0, 0, 0, 0, 0), b"few")),
    (ValueError, "image", lambda: q.to_dib(image(24))),
    (TypeError, "device", lambda: q.draw(image(), 0)),
    (ValueError, "bits", lambda: q.Device(5, 5, 8)),
    (FileNotFoundError, "nosuch", lambda: q.load_bmp("nosuch.bmp")),
    (FileNotFoundError, "nosuch", lambda: q.load_psd("nosuch.psd")),
    (IsADirectoryError, "", lambda: q.load_bmp(".")),
    (ValueError, "null character", lambda: q.load_bmp("a\0b")),
    (ValueError, "BMP", lambda: q.load_bmp(__file__)),
    (q.QuibError, "QUIB_BAD_ARGUMENT", lambda: q.load_psd(__file__)),
    (ValueError, "size", lambda: q.resize(image(), image(24))),
    (ValueError, "another image", lambda: (lambda i: q.resize(i, i))(image())),
    (TypeError, "size", lambda: q.resize(image(), 5)),
    (ValueError, "mode", lambda: q.resize(image(24), (4, 4), "pairs_linear")),
    (ValueError, "even heights", lambda: q.resize(image(), (4, 5), "pairs_linear")),
    (ValueError, "mode area", lambda: q.resize(image(), (9, 4), "area")),
    (ValueError, "mode", lambda: q.resize_fit(image(), (9, 4), 4)),
    (ValueError, "mode must be one of nearest", lambda: q.resize(image(), (9, 4), "sharp")),
    (ValueError, "mask", lambda: q.resize(masked(24), (9, 9))),
    (MemoryError, "2 GiB", lambda: q.resize(image(), (60000, 60000))),
    (ValueError, "axis", lambda: q.flip(image(), 2)),
    (ValueError, "out", lambda: q.flip(image(), 0, image(32, 6, 8))),
    (ValueError, "mask", lambda: (lambda i: q.flip(i, 0, i))(masked())),
    (ValueError, "angle", lambda: q.rotate(image(), math.inf)),
    (ValueError, "interpolation", lambda: q.rotate(image(), 5, interpolation=3)),
    (ValueError, "src must have 2 columns", lambda: q.rotate(small(), 5)),
    (ValueError, "out", lambda: q.rotate(image(), 5, out=image(8))),
    (ValueError, "axis", lambda: q.rotate_3d(image(), 5, 4)),
    (ValueError, "angle", lambda: q.rotate_3d(image(), 89.9999999999, 1)),
    (ValueError, "src", lambda: q.rotate_3d(image(24), 5, 1)),
    (ValueError, "determinant", lambda: q.warp_affine(image(), [[1, 2, 0], [2, 4, 0]])),
    (ValueError, "coefficients", lambda: q.warp_affine(image(), [[1, 2], [2, 4]])),
    (ValueError, "coefficients", lambda: q.warp_affine(image(), [[math.nan, 2, 0], [2, 1, 0]])),
    (MemoryError, "GiB", lambda: q.warp_affine(image(), [[9e4, 0, 0], [0, 9e4, 0]])),
    (ValueError, "coefficients", lambda: q.warp_perspective(image(), [[0] * 3] * 3)),
    (ValueError, "convex", lambda: q.warp_perspective(image(), [[1, 0, 0], [0, 1, 0],
                                                                [-1, 0, 2.5]])),
    (ValueError, "quad", lambda: q.warp_quad(image(), QUAD[:3])),
    (ValueError, "src must have 32 bits", lambda: q.warp_quad(image(24), QUAD)),
    (ValueError, "src must have 2 columns", lambda: q.warp_quad(small(), QUAD)),
    (ValueError, "out must have 2 columns", lambda: q.warp_quad(image(), QUAD, inverse=True,
                                                                out=small())),
    (ValueError, "convex", lambda: q.warp_quad_engine(image(), CONCAVE)),
    (ValueError, "src", lambda: q.warp_quad_engine(image(8), QUAD)),
    (ValueError, "convex", lambda: q.perspective_transform(image(), CONCAVE)),
    (ValueError, "src must have 2 columns", lambda: q.perspective_transform(small(), QUAD)),
    (ValueError, "src", lambda: q.brightness_contrast(image(24), 5)),
    (ValueError, "out", lambda: q.hue_saturation(image(), 5, 5, image(32, 9, 9))),
    (ValueError, "src", lambda: q.color_to_gray(image(8))),
    (ValueError, "one", lambda: q.bitonal_to_gray(image(1), 0, 256)),
    (q.QuibError, "QuibColorConversion", lambda: q.color_conversion(image(), image(32, 9, 9))),
    (ValueError, "surface", lambda: q.to_surface(image(), q.Surface(9, 9))),
    (TypeError, "surface", lambda: q.to_surface(image(), 12345)),
    (ValueError, "image", lambda: q.to_surface7(image(1), q.Surface(8, 6))),
    (ValueError, "surface", lambda: q.from_surface(q.Surface(8, 6, 16), image())),
    (ValueError, "surface", lambda: q.to_surface_16(image(), q.Surface(8, 6, 24))),
    (ValueError, "keep", lambda: q.interlace(image(), 2)),
    (ValueError, "odd", lambda: q.uninterlace(image(), image(24))),
    (ValueError, "b must have 8", lambda: q.add(image(8), image(24))),
    (ValueError, "src", lambda: q.multiply_scalar_scaled(image(1), 5)),
    (ValueError, "a must", lambda: q.multiply_scaled(image(1), image(1))),
    (ValueError, "value", lambda: q.add_scalar(image(), 2 ** 31)),
    (ValueError, "bits", lambda: q.shift_left(image(), -1)),
    (ValueError, "taps", lambda: q.Kernel([])),
    (ValueError, "taps", lambda: q.Kernel([[1.5]])),
    (ValueError, "taps", lambda: q.Kernel([[1, 2], [3]])),
    (ValueError, "taps", lambda: q.Kernel([[128]], small=True)),
    (ValueError, "taps", lambda: q.Kernel([[2 ** 31]])),
    (ValueError, "anchor", lambda: q.Kernel([[1, 2]], (2, 0))),
    (ValueError, "shift", lambda: q.Kernel([[1]], shift=-1)),
    (ValueError, "kernels", lambda: q.convolve(image(), [])),
    (ValueError, "kernels", lambda: q.convolve(image(), [q.Kernel([[1]])] * 11)),
    (TypeError, "kernels", lambda: q.convolve(image(), [image()])),
    (ValueError, "closed", lambda: (lambda k: (k.close(), q.convolve(image(), k)))(
        q.Kernel([[1]]))),
    (ValueError, "combine", lambda: q.convolve(image(), q.Kernel([[1]]), 5)),
    (ValueError, "row", lambda: q.convolve_separable(image(), q.Kernel([[1]]), q.Kernel([[1]]))),
    (ValueError, "column", lambda: q.convolve_separable(image(), q.Kernel([[1, 1]]),
                                                        q.Kernel([[1, 1]]))),
    (ValueError, "size", lambda: q.blur(image(), 0)),
    (ValueError, "anchor", lambda: q.max_filter(image(), 3, (3, 0))),
    (ValueError, "src", lambda: q.color_median_filter(image(32))),
    (ValueError, "out", lambda: q.decimate_blur(image(), 3, image(32, 9, 9))),
    (ValueError, "another image", lambda: (lambda i: q.decimate_blur(i, 3, i))(image())),
    (ValueError, "kind", lambda: q.fixed_filter(image(), 11)),
]


@pytest.mark.parametrize("number", range(len(REFUSED)))
def test_refusals_name_the_argument(number):
    kind, word, refused = REFUSED[number]
    with pytest.raises(kind) as caught:
        refused()
    assert word in str(caught.value)


HEADER = struct.Struct("<2sIHHIIiiHHIIiiII")


def bmp(bits=8, width=6, height=4, **changes):
    fields = dict(magic=b"BM", bytes=0, a=0, b=0, offset=0, size=40, width=width, height=height,
                  planes=1, bits=bits, compression=0, image=0, x=0, y=0, used=0, important=0)
    fields.update(changes)
    return HEADER.pack(*fields.values())


RUNS = bytes(1024) + b"\6\1\0\0" * 4 + b"\0\1"
BROKEN = [
    bmp(height=-4), bmp(width=0), bmp(width=-5), bmp(bits=4), bmp(bits=16), bmp(size=41),
    bmp(planes=2), bmp(compression=2), bmp(bits=24, compression=1), bmp(compression=9),
    bmp(used=257), bmp(bits=24, used=0x8001), bmp(width=2 ** 31 - 1, height=2 ** 31 - 1),
    bmp(width=2 ** 16, height=2 ** 16), bmp()[:53],
    bmp(compression=1) + RUNS[:1030], bmp(compression=1, image=20) + RUNS[:-2],
    bmp(compression=1, image=99) + bytes(1024) + b"\7\1" * 40,
    bmp(compression=1, image=99) + bytes(1024) + b"\0\2\7\0" * 40,
    bmp(compression=1, image=99) + bytes(1024) + b"\6\1\0\0\0\1",
    bmp(image=2 ** 32 - 1), bmp()[:10], b"", bmp(magic=b"MB"),
    bmp(bits=24, width=2 ** 21, height=300),
]
ONLY_FILES = range(len(BROKEN) - 5, len(BROKEN))


@pytest.mark.parametrize("number", range(len(BROKEN)))
def test_broken_files_are_refused(tmp_path, number):
    path = tmp_path / "broken.bmp"
    path.write_bytes(BROKEN[number])
    with pytest.raises((ValueError, MemoryError)):
        q.load_bmp(path)
    if number not in ONLY_FILES:
        with pytest.raises((ValueError, MemoryError)):
            q.from_dib(BROKEN[number][14:], 8)


def test_good_runs_are_read(tmp_path):
    path = tmp_path / "runs.bmp"
    path.write_bytes(bmp(compression=1, image=len(RUNS)) + RUNS)
    assert q.load_bmp(path).info()[:3] == (6, 4, 8)
    path.write_bytes(bmp(bits=24))  # without any pixels
    assert not q.load_bmp(path).pixels.any()


@pytest.mark.parametrize("seed", (1, 2, 5))
def test_the_process_lives_through_damaged_files(root, run_python, tmp_path, seed):
    program = """
import pathlib, random, sys
import quibtool as q
numbers = random.Random(int(sys.argv[1]))
path = pathlib.Path(sys.argv[2])
read = refused = 0
for number in range(600):
    load = (q.load_bmp, q.load_psd)[number % 2]
    data = bytearray(pathlib.Path(sys.argv[3 + number % 2]).read_bytes()[:4000])
    for _ in range(numbers.randint(0, 4)):
        data[numbers.choice((numbers.randrange(64), numbers.randrange(len(data))))] = \\
            numbers.choice((0, 1, 2, 8, 24, 32, 40, 127, 128, 255))
    path.write_bytes(data[:numbers.choice((len(data), numbers.randrange(len(data))))])
    try:
        load(path)
        read += 1
    except (ValueError, MemoryError, q.QuibError):
        refused += 1
print(read, refused)
"""
    read, refused = map(int, run_python("-c", program, seed, tmp_path / "damaged",
                                        root / "examples/images/cat.bmp",
                                        root / "tests/zxdll/files/agpsd_runs.psd").split())
    assert read > 20 and refused > 100


@pytest.mark.parametrize("seed", (1, 2, 3))
def test_the_process_lives_through_hostile_calls(root, run_python, tmp_path, seed):
    said = run_python(root / "tests/bindings/python/hostile.py", seed, 4000, tmp_path / "note",
                      root)
    never = [line for line in said.splitlines() if line.endswith(" 0")]
    assert len(said.splitlines()) == len(set(q.FUNCTIONS.values())) and never == []


def test_the_process_lives_where_memory_runs_out(run_python):
    resource = pytest.importorskip("resource")
    assert resource
    program = """
import resource, sys
import quibtool as q
image, gray = q.Image(2000, 1500, 32, 5), q.Image(2000, 1500, 24)
kernel = q.Kernel([[1] * 9] * 9)
with open("/proc/self/statm") as file:
    used = int(file.read().split()[0]) * resource.getpagesize()
resource.setrlimit(resource.RLIMIT_AS, (used + (int(sys.argv[1]) << 20),) * 2)
for call in (lambda: q.blur(image, 9), lambda: q.median_filter(image, 9), lambda: q.add(image, image),
             lambda: q.convolve(image, kernel), lambda: q.rotate(image, 33, smooth_edge=True),
             lambda: q.color_median_filter(gray), lambda: q.resize(image, (3000, 3000), "smooth"),
             lambda: q.warp_quad(image, [[0, 0], [1999, 9], [1500, 1400], [0, 1499]], "cubic"),
             lambda: q.from_dib(q.to_dib(image)), lambda: q.composite(image, image.clone()),
             lambda: q.resize_fit(image, (1000, 700), "area"), lambda: q.decimate_blur(image, 9)):
    try:
        call()
        print("made")
    except MemoryError:
        print("refused")
"""
    outcomes = [run_python("-c", program, limit).split() for limit in (1, 40, 90, 400)]
    assert all(len(outcome) == 12 for outcome in outcomes)
    assert outcomes[0].count("refused") == 12 and outcomes[3].count("made") == 12
    assert 0 < outcomes[2].count("made") < 12


def test_a_library_that_is_not_there_is_an_import_error(run_python, tmp_path):
    program = f"""
import os
os.environ["QUIBTOOL_LIBRARY"] = {str(tmp_path)!r}
try:
    import quibtool
except ImportError as error:
    print(error)
"""
    assert "QUIBTOOL_LIBRARY" in run_python("-c", program)
