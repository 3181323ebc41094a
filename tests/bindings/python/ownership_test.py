"""Whose memory is whose, and for how long."""

import gc
import threading
import weakref

import numpy as np
import pytest

import quibtool as q
from quibtool import raw


@pytest.fixture
def freed(monkeypatch):
    """Counts the handles that go back to the library."""
    count = []
    free = raw.QuibFree
    monkeypatch.setattr(raw, "QuibFree", lambda handle: count.append(free(handle)))
    gc.collect()
    count.clear()
    yield count
    gc.collect()
    assert not any(count)


def test_pixels_are_the_handles_own_memory(random_image):
    for depth in (1, 8, 24, 32):
        image = random_image(9, 5, depth)
        pixels = image.pixels
        assert pixels.ctypes.data == image._open.record.imageData
        pixels[2, 1] = 77
        assert (image.pixels[2, 1] == 77).all() and pixels.strides[0] == image.row_bytes
        assert np.shares_memory(np.asarray(image), pixels)


def test_arrays_outlive_their_image(freed):
    image = q.Image(300, 200, 32, q.rgba(1, 2, 3, 4))
    part = image.pixels[50:, ::2, 1]
    with image:
        pass
    assert image.closed and repr(image) == "<quibtool.Image, closed>"
    del image
    gc.collect()
    assert freed == [] and (part == 2).all()
    part[:] = 9
    del part
    gc.collect()
    assert len(freed) == 1


def test_closing_frees_at_once_and_only_once(freed):
    image = q.Image(5, 5)
    image.close()
    assert len(freed) == 1
    image.close()
    del image
    gc.collect()
    assert len(freed) == 1


def test_results_of_regions_are_freed_with_them(freed):
    image = q.Image(5, 5, 8, 3)
    image.region = (1, 1, 2, 2)
    clone = image.clone()
    assert clone.region == (1, 1, 2, 2)
    clone.region = None
    assert (q.invert(clone).pixels == 252).all()
    del clone, image
    gc.collect()
    assert len(freed) == 3


def test_images_lie_over_arrays(freed):
    array = np.zeros((4, 8, 3), np.uint8)
    image = q.Image.from_array(array)
    assert not image.copied and np.shares_memory(image.pixels, array)
    q.blt(q.Image(8, 4, 24, q.rgba(7, 8, 9)), image)
    assert (array == [9, 8, 7]).all()
    pixels, kept = image.pixels, weakref.ref(image)
    del image, array
    gc.collect()
    assert kept() is None and (pixels == [9, 8, 7]).all()
    assert len(freed) == 1  # the source of the transfer; borrowed records are not the library's


@pytest.mark.parametrize("array", [
    np.zeros((4, 6), np.uint8), np.zeros((4, 8), np.uint8)[:, ::2], np.zeros((4, 16), np.uint8)[:, 4:12],
    np.zeros((8, 4), np.uint8).T, np.zeros((3, 9), bool), np.zeros(33, np.uint8)[1:].reshape(4, 8),
    np.broadcast_to(np.uint8(5), (4, 8))])
def test_arrays_that_cannot_be_shared_are_copied_once(array):
    image = q.Image.from_array(array)
    assert image.copied and not np.shares_memory(image.pixels, array)
    assert np.array_equal(image.to_bools() if array.dtype == bool else image.pixels, array)
    with pytest.raises(ValueError):
        q.Image.from_array(array, copy=False)


def test_a_copy_can_be_asked_for():
    array = np.ones((4, 8), np.uint8)
    image = q.Image.from_array(array, copy=True)
    assert image.copied and not np.shares_memory(image.pixels, array)


def test_masks_and_kernels_are_kept_while_they_are_used():
    image = q.Image(8, 4, 8, 1)
    image.mask = q.Image(8, 4, 1, 0)
    gc.collect()
    assert (q.invert(image).pixels == 1).all()
    image.mask.close()
    with pytest.raises(ValueError, match="mask"):
        q.invert(image)


def test_surfaces_and_devices_live_as_long_as_their_pixels():
    pixels = q.Surface(40, 30, 24).pixels
    device = q.Device(40, 30).pixels
    gc.collect()
    pixels[:] = 1
    device[:] = 1
    assert pixels.sum() == 3600 and device.sum() == 4800


def in_threads(work, count=4):
    failures = []

    def run(number):
        try:
            work(number)
        except BaseException as error:  # noqa: B902, told to the test below
            failures.append(error)
    threads = [threading.Thread(target=run, args=(number,)) for number in range(count)]
    for thread in threads:
        thread.start()
    for thread in threads:
        thread.join()
    assert failures == []


def test_threads_work_on_images_of_their_own(random_image):
    images = [random_image(120, 90) for _ in range(4)]
    expected = [(q.blur(i, 5).pixels, q.median_filter(i, 5).pixels) for i in images]

    def work(number):
        for _ in range(10):
            assert np.array_equal(q.blur(images[number], 5).pixels, expected[number][0])
            assert np.array_equal(q.median_filter(images[number], 5).pixels, expected[number][1])
    in_threads(work)


def test_threads_wait_for_one_another_on_one_image(random_image):
    image, other = random_image(60, 50), random_image(60, 50)
    expected = q.composite(image, other).pixels

    def work(number):
        for _ in range(50):
            pair = (image, other)
            assert np.array_equal(q.composite(*pair).pixels, expected)
            q.add(other, image).close()
    in_threads(work)
