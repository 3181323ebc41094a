"""What the tests share."""

import os
import pathlib
import subprocess
import sys

import numpy as np
import pytest

import quibtool as q

ROOT = pathlib.Path(__file__).resolve().parents[3]


@pytest.fixture
def root():
    return ROOT


@pytest.fixture
def random_image():
    """Makes images of seeded random pixels."""
    numbers = np.random.default_rng(7)

    def make(width=17, height=11, depth=32):
        image = q.Image(width, height, depth)
        image.pixels[:] = numbers.integers(0, 256, image.pixels.shape, np.uint8)
        return image
    return make


@pytest.fixture
def run_python():
    """Runs a program in a process of its own and gives what it wrote; it must not die."""
    def run(*arguments, **more):
        path = os.pathsep.join([str(ROOT / "bindings/python"), os.environ.get("PYTHONPATH", "")])
        done = subprocess.run([sys.executable, "-X", "faulthandler", *map(str, arguments)],
                              env={**os.environ, "PYTHONPATH": path,
                                   "PYTHONDONTWRITEBYTECODE": "1"},
                              capture_output=True, text=True, timeout=600, check=False, **more)
        assert done.returncode == 0, (done.returncode, done.stdout[-2000:], done.stderr[-2000:])
        return done.stdout
    return run
