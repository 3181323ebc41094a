"""Each function's result against plain numpy, where that is easy, or what it must keep to."""

import struct

import numpy as np
import pytest

import quibtool as q
from quibtool import raw

DEPTHS = (1, 8, 24, 32)


@pytest.fixture(scope="module", autouse=True)
def called():
    """Notes the C functions that these tests call: all of them, in the end."""
    names = set()
    originals = {name: getattr(raw, name) for name in raw.NAMES}
    for name, function in originals.items():
        setattr(raw, name, lambda *given, n=name, f=function: (names.add(n), f(*given))[1])
    yield names
    for name, function in originals.items():
        setattr(raw, name, function)
    import gc
    gc.collect()
    assert set(raw.NAMES) - names == set()


def same(image, expected):
    assert np.array_equal(image.pixels, expected)


def wide(image):
    return image.pixels.astype(np.int64)


# --- Handles ---------------------------------------------------------------------


def test_images_are_made_filled_and_told(random_image):
    image = q.Image(5, 3, 32, q.rgba(1, 2, 3, 4))
    same(image, np.tile(np.uint8([3, 2, 1, 4]), (3, 5, 1)))
    assert image.info() == (5, 3, 32, 20)
    same(q.Image(5, 3, 24, q.rgba(1, 2, 3)), np.tile(np.uint8([3, 2, 1]), (3, 5, 1)))
    assert q.Image(33, 2, 1, 1).to_bools().all()
    assert q.Image.empty(33, 2, 1).row_bytes == 8
    image.fill(q.rgba(9, 9, 9), (3, -4, 99, 2))
    assert (image.pixels[:2, 3:] == [9, 9, 9, 255]).all() and (image.pixels[2] == [3, 2, 1, 4]).all()
    gray = q.Image(5, 3, 8, 7)
    gray.fill(200, (1, 1, 2, 2))
    assert gray.pixels.sum() == 14 * 7 + 200
    assert not gray.is_black(199) and gray.is_black(200)
    with gray.locked() as pixels:
        assert pixels[1, 1] == 200
    gray.close()


@pytest.mark.parametrize("depth", DEPTHS)
def test_copies_are_the_same_and_apart(random_image, depth):
    image = random_image(depth=depth)
    before = image.pixels.copy()
    out = q.Image(image.width, image.height, depth)
    copies = [image.clone(), image.copy(), image.copy(out)]
    image.pixels[:] = 0
    for copy in copies:
        same(copy, before)
    assert copies[2] is out


# --- Interchange -----------------------------------------------------------------


def test_bitmaps_go_out_and_in(random_image):
    image = random_image(7, 5)
    data = q.to_dib(image)
    assert struct.unpack_from("<IiiHH", data) == (40, 7, 5, 1, 24)
    back = q.from_dib(data, 32)
    assert (back.pixels[..., :3] == image.pixels[..., :3]).all()
    assert (back.pixels[..., 3] == 255).all()
    same(q.from_dib(data), image.pixels[..., :3])
    bits = random_image(9, 4, 1)
    assert (q.from_dib(q.to_dib(bits)).pixels == np.where(bits.to_bools(), 254, 0)).all()
    header = struct.pack("<IiiHHIIiiII", 40, 7, 5, 1, 32, 0, 0, 0, 0, 0, 0)
    rows = image.pixels[::-1].tobytes()
    parts = q.from_dib_parts(header, rows)
    assert (parts.pixels[..., :3] == image.pixels[..., :3]).all()
    assert q.from_dib(header + rows).pixels.tobytes() == parts.pixels.tobytes()


def test_files_are_read(root, tmp_path):
    cat = q.load_bmp(root / "examples/images/cat.bmp")
    data = (root / "examples/images/cat.bmp").read_bytes()[14:]
    assert (cat.pixels[..., :3] == q.from_dib(data, 32).pixels[..., :3]).all()
    assert not cat.pixels[..., 3].any()
    named = tmp_path / "Katze \N{CAT FACE}.bmp"
    named.write_bytes((root / "examples/images/cat.bmp").read_bytes())
    same(q.load_bmp(str(named)), cat.pixels)
    picture, mask = q.load_psd(root / "tests/zxdll/files/agpsd_runs.psd")
    assert (picture.depth, mask.depth) == (32, 8) and picture.info()[:2] == mask.info()[:2]


def test_images_are_drawn_on_devices(random_image):
    image = random_image(6, 4)
    device = q.Device(8, 8)
    q.draw(image, device, 1, -1)
    assert (device.pixels[:3, 1:7, :3] == image.pixels[1:, :, :3]).all()
    assert not device.pixels[3:].any() and not device.pixels[:, 7:].any()


@pytest.mark.parametrize("bits", (15, 16, 24, 32))
def test_surfaces_are_drawn(random_image, bits):
    image = random_image(6, 6)
    blue, green, red = (image.pixels[..., channel].astype(int) for channel in range(3))
    surfaces = [q.Surface(6, 6, bits) for _ in range(3)]
    q.to_surface(image, surfaces[0])
    q.to_surface7(image, surfaces[1])
    if bits > 16:
        expected = image.pixels[..., :bits // 8]
        surfaces.pop()
    else:
        q.to_surface_16(image, surfaces[2])
        expected = (red >> 3 << 11 | green >> 2 << 5 | blue >> 3) if bits == 16 else \
            (red >> 3 << 10 | green >> 3 << 5 | blue >> 3)
    for surface in surfaces:
        assert np.array_equal(surface.pixels, expected)
    if bits == 32:
        back = q.Image(6, 6)
        q.from_surface(surfaces[0], back)
        assert (back.pixels[..., :3] == image.pixels[..., :3]).all()
        assert (back.pixels[..., 3] == 255).all()


# --- Size and transfer -----------------------------------------------------------


@pytest.mark.parametrize("depth", (8, 24, 32))
def test_sizes_change(random_image, depth):
    image = random_image(12, 8, depth)
    doubled = image.pixels.repeat(2, 0).repeat(2, 1)
    same(q.resize(image, (24, 16), "nearest"), doubled)
    same(q.resize_fit(image, (24, 16), q.ResizeMode.NEAREST), doubled)
    out = q.Image(6, 4, depth)
    assert q.resize(image, out, "area") is out
    blocks = wide(image).reshape(4, 2, 6, 2, -1).mean((1, 3)).reshape(out.pixels.shape)
    assert np.abs(blocks - out.pixels).max() <= 1
    for mode in ("linear", "smooth"):
        same(q.resize(q.Image(5, 4, depth, 9), (9, 3), mode),
             q.Image(9, 3, depth, 9).pixels)
    pairs = random_image(4, 4)
    same(q.resize(pairs, (4, 8), "pairs_nearest"), pairs.pixels[[0, 1, 0, 1, 2, 3, 2, 3]])


def test_blocks_move(random_image):
    src, dst = random_image(9, 7), random_image(9, 7)
    expected = dst.pixels.copy()
    expected[2:5, 4:8] = src.pixels[1:4, 3:7]
    q.blt(src, dst, (3, 1, 7, 4), (4, 2, 8, 5))
    same(dst, expected)
    large = q.Image(18, 14)
    q.blt(src, large, stretch=True)
    same(large, src.pixels.repeat(2, 0).repeat(2, 1))
    view = q.Image(9, 7)
    q.pan_zoom(src, view, 0, 1, 0, 1, mode="nearest")
    same(view, src.pixels)


@pytest.mark.parametrize("depth", DEPTHS)
def test_flips(random_image, depth):
    image = random_image(13, 6, depth)
    pixels = image.to_bools() if depth == 1 else image.pixels
    shown = (lambda i: i.to_bools()) if depth == 1 else (lambda i: i.pixels)
    assert np.array_equal(shown(q.flip(image, "rows")), pixels[::-1])
    assert np.array_equal(shown(q.flip(image, q.Axis.COLUMNS)), pixels[:, ::-1])
    expected = pixels[::-1, ::-1].copy()
    assert q.flip(image, -1, image) is image
    assert np.array_equal(shown(image), expected)


def test_turns_and_warps(random_image):
    image = random_image(9, 9)
    same(q.rotate(image, 90, (4, 4)), np.rot90(image.pixels))
    same(q.rotate(image, 180, (4, 4)), image.pixels[::-1, ::-1])
    moved = q.warp_affine(image, [[1, 0, 2], [0, 1, 3]], "nearest")
    assert np.array_equal(moved.pixels[3:, 2:], image.pixels[:-3, :-2])
    assert not moved.pixels[:3].any()
    shift = [[1, 0, 2], [0, 1, 3], [0, 0, 1]]
    same(q.warp_perspective(image, shift, interpolation="nearest"), moved.pixels)
    quad = q.perspective_quad(image, shift)
    assert np.array_equal(quad, [[2, 3], [10, 3], [10, 11], [2, 11]])
    found = q.perspective_transform(image, quad)
    assert np.allclose(found / found[2, 2], shift)
    for warp in (q.warp_quad, q.warp_quad_engine):
        onto = warp(image, quad, "nearest", out=q.Image(9, 9))
        same(onto, moved.pixels)
    turned = q.rotate_3d(q.Image(20, 20, 32, q.rgba(5, 6, 7)), 60, 2)
    assert turned.width in (10, 11) and turned.height == 20
    assert (turned.pixels[10, 5] == [7, 6, 5, 255]).all()


# --- Composition -----------------------------------------------------------------


def test_layers_are_laid_over_one_another(random_image):
    over, under = random_image(8, 5), random_image(8, 5)
    under.pixels[..., 3] = 255
    s, d = wide(over), wide(under)
    simple = q.compose_simple(over, under)
    assert (simple.pixels[..., :3] == d[..., :3] + ((s - d)[..., :3] * s[..., 3:] >> 8)).all()
    assert (simple.pixels[..., 3] == 255).all()
    exact = d[..., :3] + (s - d)[..., :3] * s[..., 3:] / 255
    full = q.compose(over, under)
    assert np.abs(full.pixels[..., :3] - exact).max() <= 2
    assert (full.pixels[..., 3] == 255).all()
    assert np.abs(q.composite(over, under).pixels[..., :3] - exact).max() <= 3
    third = q.composite_constant(over, under, 51, 255)
    assert np.abs(third.pixels[..., :3] - (d * .8 + s * .2)[..., :3]).max() <= 3
    placed = under.clone()
    q.compose_at(over, placed, (2, -1))
    same(placed, np.where((np.arange(8) >= 2)[None, :, None] & (np.arange(5) >= 1)[:, None, None],
                          q.compose(_moved(over, 2, 1), under).pixels, under.pixels))
    assert q.compose(over, under, under) is under
    same(under, full.pixels)


def _moved(image, x, y):
    pixels = np.zeros_like(image.pixels)
    pixels[y:, x:] = image.pixels[:-y, :-x]
    return q.Image.from_array(pixels)


def test_alpha_is_set(random_image):
    image, plane = random_image(8, 5), random_image(9, 6, 8)
    q.set_alpha(image, plane)
    assert (image.pixels[..., 3] == plane.pixels[:5, :8]).all()
    q.set_alpha(image, percent=50)
    assert (image.pixels[..., 3] == plane.pixels[:5, :8] // 2).all()
    q.set_alpha_constant(image, 77)
    assert (image.pixels[..., 3] == 77).all()
    q.set_alpha_constant(image, 78, (4, 2, 6, 5))
    assert np.argwhere(image.pixels[..., 3] == 78).tolist() == \
        [[y, x] for y in (0, 1, 2) for x in (1, 2)]


# --- Tone and gray ---------------------------------------------------------------


def test_tones(random_image):
    image = random_image()
    light = q.brightness_contrast(image, 20)
    assert (light.pixels[..., :3] == np.minimum(wide(image)[..., :3] + 20, 255)).all()
    assert (light.pixels[..., 3] == image.pixels[..., 3]).all()
    red = q.brightness_contrast(image, -20, channel="red")
    assert (red.pixels[..., 2] == np.maximum(wide(image)[..., 2] - 20, 0)).all()
    assert (red.pixels[..., :2] == image.pixels[..., :2]).all()
    same(q.brightness_contrast(image), image.pixels)
    green = q.hue_saturation(q.Image(3, 3, 32, q.rgba(255, 0, 0)), 120)
    assert (green.pixels == [0, 255, 0, 255]).all()
    gray = q.color_to_gray(image)
    assert (gray.pixels == wide(image)[..., :3] @ [18, 183, 54] >> 8).all()
    bits = random_image(depth=1)
    same(q.bitonal_to_gray(bits, 10, 20), np.where(bits.to_bools(), 20, 10))
    q.color_conversion(image, gray)
    with pytest.raises(q.QuibError):
        q.color_conversion(image, q.Image(3, 3))


def test_fields(random_image):
    even, odd = random_image(5, 7, 24), random_image(5, 7, 24)
    expected = even.pixels.copy()
    expected[1::2] = odd.pixels[1::2]
    same(q.uninterlace(even, odd), expected)
    q.interlace(even, "even")
    assert (even.pixels[1::2] == even.pixels[:6:2]).all()
    surface = q.Surface(4, 4)
    surface.pixels[1::2] = 9
    q.interlace(surface, "odd")
    assert (surface.pixels == 9).all()


# --- Arithmetic and logic --------------------------------------------------------

ONE = {
    "add_scalar": (lambda v: v + 100, 100), "multiply_scalar": (lambda v: v * 3, 3),
    "multiply_scalar_scaled": (lambda v: v * 77 // 255, 77), "square": (lambda v: v * v,),
    "absolute": (abs,), "shift_left": (lambda v: v << 3 & 255, 3),
    "shift_right": (lambda v: v >> 3, 3), "invert": (lambda v: 255 - v,),
    "and_scalar": (lambda v: v & 0x3C, 0x3C), "or_scalar": (lambda v: v | 0x3C, 0x3C),
    "xor_scalar": (lambda v: v ^ 0x3C, 0x3C),
}
TWO = {
    "add": np.add, "subtract": np.subtract, "multiply": np.multiply,
    "multiply_scaled": lambda a, b: a * b // 255, "bitwise_and": np.bitwise_and,
    "bitwise_or": np.bitwise_or, "bitwise_xor": np.bitwise_xor,
}


@pytest.mark.parametrize("depth", (8, 24, 32))
@pytest.mark.parametrize("name", ONE)
def test_operations_on_one(random_image, name, depth):
    image = random_image(depth=depth)
    formula, *value = ONE[name]
    same(getattr(q, name)(image, *value), np.clip(formula(wide(image)), 0, 255))


@pytest.mark.parametrize("depth", (8, 24, 32))
@pytest.mark.parametrize("name", TWO)
def test_operations_on_two(random_image, name, depth):
    a, b = random_image(depth=depth), random_image(depth=depth)
    same(getattr(q, name)(a, b), np.clip(TWO[name](wide(a), wide(b)), 0, 255))


def test_regions_and_masks_limit_operations(random_image):
    image = random_image(16, 8, 8)
    expected = image.pixels.copy()
    image.region = (3, 2, 5, 4)
    image.mask = q.Image.from_array(np.tile([True, False, True, True, False], (4, 1)))
    result = q.invert(image)
    for column in (3, 5, 6):
        expected[2:6, column] ^= 255
    same(result, expected)
    assert result.region == (3, 2, 5, 4) and result.mask is None
    assert image._open.record.roi._type_ and not image._open.record.roi


# --- Filters ---------------------------------------------------------------------


def windows(image, size):
    pad = size // 2
    framed = np.pad(wide(image), ((pad, pad), (pad, pad)) + ((0, 0),) * (image.channels > 1))
    return np.lib.stride_tricks.sliding_window_view(framed, (size, size), (0, 1))


@pytest.mark.parametrize("depth", (8, 24, 32))
def test_windows(random_image, depth):
    image = random_image(depth=depth)
    seen = windows(image, 5)
    same(q.max_filter(image, 5), seen.max((-1, -2)))
    same(q.min_filter(image, 5), seen.min((-1, -2)))
    same(q.median_filter(image, 5), np.median(seen, (-1, -2)))
    same(q.blur(image, 5), (seen.sum((-1, -2)) + 12.5) // 25)
    gaussian = np.outer([1, 2, 1], [1, 2, 1])
    same(q.fixed_filter(image, "gaussian_3x3"),
         ((windows(image, 3) * gaussian).sum((-1, -2)) + 8) >> 4)
    kernel = q.Kernel(gaussian, shift=4)
    expected = (windows(image, 3) * gaussian).sum((-1, -2)) >> 4
    same(q.convolve(image, kernel), expected)
    same(q.convolve(image, [kernel, kernel], "sum"), np.minimum(2 * expected, 255))
    row, column = q.Kernel([[0, 1, 0]]), q.Kernel([[0], [1], [0]], small=True)
    same(q.convolve_separable(image, row, column), image.pixels)
    inner = q.decimate_blur(image, 3).pixels[1:-1, 1:-1]
    assert np.abs(inner - windows(image, 3).mean((-1, -2))[1:-1, 1:-1]).max() <= 1
    kernel.close()


def test_the_color_median_is_a_pixel_of_the_window(random_image):
    image = random_image(8, 8, 24)
    result = q.color_median_filter(image, 3)
    for y in range(1, 7):
        for x in range(1, 7):
            near = wide(image)[y - 1:y + 2, x - 1:x + 2].reshape(9, 3)
            far = np.abs(near[:, None] - near[None]).sum((1, 2))
            assert (result.pixels[y, x] == near[far.argmin()]).all()


def test_kernels_tell_what_they_were_made_of():
    taps = np.arange(-6, 6).reshape(3, 4)
    for small in (False, True):
        with q.Kernel(taps, (1, 2), 5, small) as kernel:
            assert np.array_equal(kernel.taps, taps)
            assert np.array_equal(kernel.small_taps, taps)
            assert (kernel.anchor, kernel.shift) == ((1, 2), 5)
        assert kernel.closed
    assert q.Kernel([[0x1FF]]).small_taps[0, 0] == -1
