"""The package as it is installed, its types, and its example."""

import base64
import importlib.util
import os
import pathlib
import re
import shutil
import struct
import subprocess
import sys
import zipfile

import pytest


def project_version(root):
    """What the build itself took for the version."""
    library = pathlib.Path(os.environ["QUIBTOOL_LIBRARY"]).resolve()
    return re.search(r"\.so\.([0-9.]+)$", library.name)[1]


def test_pip_installs_it_without_a_network(root, tmp_path):
    if importlib.util.find_spec("pip") is None:
        pytest.skip("python3-pip is not installed")
    source = shutil.copytree(root / "bindings/python", tmp_path / "bindings/python",
                             ignore=shutil.ignore_patterns("__pycache__"))
    shutil.copy(root / "CMakeLists.txt", tmp_path)
    shutil.copytree(root / "include", tmp_path / "include")
    subprocess.run([sys.executable, "-m", "pip", "install", "-q", "--no-index", "--no-deps",
                    "--no-cache-dir", "--target", tmp_path / "there", source], check=True,
                   timeout=300)
    said = subprocess.run([sys.executable, "-c", "import quibtool; "
                           "print(quibtool.__version__, quibtool.__file__, quibtool.Image(2, 2))"],
                          env={**os.environ, "PYTHONPATH": str(tmp_path / "there")},
                          capture_output=True, text=True, check=True, timeout=300).stdout
    assert said.startswith(f"{project_version(root)} {tmp_path / 'there'}")
    assert said.endswith("<quibtool.Image of 2 x 2 pixels of 32 bits>\n")


def test_the_wheel_holds_the_package(root, tmp_path, monkeypatch):
    monkeypatch.syspath_prepend(str(root / "bindings/python"))
    import build_backend
    name = build_backend.build_wheel(str(tmp_path))
    assert name == f"quibtool-{project_version(root)}-py3-none-any.whl"
    with zipfile.ZipFile(tmp_path / name) as wheel:
        held = {path for path in wheel.namelist() if path.startswith("quibtool/")}
        lines = wheel.read(f"quibtool-{project_version(root)}.dist-info/RECORD").decode()
        assert {line.split(",")[0] for line in lines.split()} == set(wheel.namelist())
    there = {f"quibtool/{path.name}" for path in (root / "bindings/python/quibtool").iterdir()
             if path.is_file()}
    assert held == there and "quibtool/py.typed" in held


@pytest.mark.parametrize("platform", ("linux", "win32"))
def test_types_are_strict(root, tmp_path, platform):
    if not shutil.which("mypy"):
        pytest.skip("mypy is not installed")
    done = subprocess.run(["mypy", "--strict", "--platform", platform, "--cache-dir", tmp_path,
                           "quibtool"], cwd=root / "bindings/python", capture_output=True,
                          text=True, check=False, timeout=600)
    assert done.returncode == 0, done.stdout


def test_the_example_makes_a_page(root, run_python, tmp_path):
    example = root / "bindings/python/examples/page.py"
    for picture in ("cat.bmp", "cup.bmp"):
        run_python(example, root / "examples/images" / picture, tmp_path)
        text = (tmp_path / "index.html").read_text(encoding="utf-8")
        pictures = [base64.b64decode(data) for data in
                    re.findall(r'base64,([^"]+)"', text)]
        assert len(pictures) == 7 and len(set(pictures)) == 7
        for data, size in zip(pictures, re.findall(r'width="(\d+)" height="(\d+)"', text)):
            assert data.startswith(b"\x89PNG")
            assert tuple(map(str, struct.unpack(">II", data[16:24]))) == size
        assert "quibtool.warp_quad(" in text
        assert "ValueError: kind must be one of prewitt_horizontal (0)" in text
    broken = subprocess.run([sys.executable, example, root / "README.md", tmp_path],
                            env={**os.environ, "PYTHONPATH": str(root / "bindings/python")},
                            capture_output=True, text=True, check=False, timeout=300)
    assert broken.returncode == 1 and "README.md" in broken.stderr
