"""Builds the package's wheel with nothing but Python's own library, so that
`pip install .` needs no network. The entry points are those of PEP 517 and 660.

The version is the library's own: that of the project that this folder lies in.
"""

import base64
import hashlib
import os
import pathlib
import re
import tarfile
import zipfile

HERE = pathlib.Path(__file__).resolve().parent
NAME = "quibtool"
SUMMARY = "Image manipulation over numpy arrays, by the QuibTool library"
VERSION_FILE = HERE / "VERSION"  # in a source package, which has no project around it


def project_version():
    """The one version number: three macros of version.h, or else what CMakeLists.txt says."""
    if VERSION_FILE.is_file():
        return VERSION_FILE.read_text(encoding="utf-8").strip()
    project = HERE.parent.parent
    header = project / "include/quibtool/version.h"
    if header.is_file():
        text = header.read_text(encoding="utf-8")
        return ".".join(re.search(rf"#define QUIBTOOL_VERSION_{part} (\d+)", text)[1]
                        for part in ("MAJOR", "MINOR", "PATCH"))
    text = (project / "CMakeLists.txt").read_text(encoding="utf-8")
    return re.search(r"project\(QuibTool\s+VERSION\s+([0-9.]+)", text)[1]


def metadata():
    readme = (HERE / "README.md").read_text(encoding="utf-8")
    return (f"Metadata-Version: 2.1\nName: {NAME}\nVersion: {project_version()}\n"
            f"Summary: {SUMMARY}\nRequires-Python: >=3.9\nRequires-Dist: numpy\n"
            f"Description-Content-Type: text/markdown\n\n{readme}")


def contents(editable):
    """What the wheel holds: names and bytes."""
    info = f"{NAME}-{project_version()}.dist-info"
    files = {}
    if editable:
        files[f"{NAME}.pth"] = f"{HERE}\n".encode()
    else:
        for path in sorted((HERE / NAME).iterdir()):
            if path.suffix == ".py" or path.name == "py.typed":
                files[f"{NAME}/{path.name}"] = path.read_bytes()
    files[f"{info}/METADATA"] = metadata().encode()
    files[f"{info}/WHEEL"] = (b"Wheel-Version: 1.0\nGenerator: quibtool\n"
                              b"Root-Is-Purelib: true\nTag: py3-none-any\n")
    return files, f"{info}/RECORD"


def record_line(name, data):
    digest = base64.urlsafe_b64encode(hashlib.sha256(data).digest()).rstrip(b"=").decode()
    return f"{name},sha256={digest},{len(data)}\n"


def write_wheel(folder, editable):
    files, record = contents(editable)
    name = f"{NAME}-{project_version()}-py3-none-any.whl"
    lines = "".join(record_line(*item) for item in files.items())
    files[record] = f"{lines}{record},,\n".encode()
    with zipfile.ZipFile(os.path.join(folder, name), "w", zipfile.ZIP_DEFLATED) as wheel:
        for path, data in files.items():
            entry = zipfile.ZipInfo(path, (1980, 1, 1, 0, 0, 0))
            entry.external_attr = 0o100644 << 16
            wheel.writestr(entry, data, zipfile.ZIP_DEFLATED)
    return name


def build_wheel(wheel_directory, config_settings=None, metadata_directory=None):
    return write_wheel(wheel_directory, editable=False)


def build_editable(wheel_directory, config_settings=None, metadata_directory=None):
    return write_wheel(wheel_directory, editable=True)


def build_sdist(sdist_directory, config_settings=None):
    base = f"{NAME}-{project_version()}"
    work = pathlib.Path(sdist_directory)
    (work / "VERSION").write_text(project_version() + "\n", encoding="utf-8")
    (work / "PKG-INFO").write_text(metadata(), encoding="utf-8")
    with tarfile.open(work / f"{base}.tar.gz", "w:gz") as archive:
        for name in ("VERSION", "PKG-INFO"):
            archive.add(work / name, f"{base}/{name}")
            (work / name).unlink()
        for name in ("pyproject.toml", "build_backend.py", "README.md", NAME):
            archive.add(HERE / name, f"{base}/{name}",
                        filter=lambda member: None if "__pycache__" in member.name else member)
    return f"{base}.tar.gz"
