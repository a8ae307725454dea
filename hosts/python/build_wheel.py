"""Makes the wheel: the package as it stands, so that installing it needs no other package (PEP 517).

Installed from a checkout, the package remembers where that is, and finds the libraries built there.
"""

import base64
import csv
import hashlib
import io
import pathlib
import re
import tarfile
import zipfile

HERE = pathlib.Path(__file__).resolve().parent
TABLES = HERE / "quorrin" / "_tables.py"  # made from the C headers
VERSION = re.search(r"^VERSION = '(.*)'", TABLES.read_text(), re.M)[1]
NAME = f"quorrin-{VERSION}"
METADATA = f"""Metadata-Version: 2.1
Name: quorrin
Version: {VERSION}
Summary: Card side of EMV / PBOC financial transactions, for hosts in Python
Requires-Python: >=3.9
Classifier: Operating System :: POSIX :: Linux
Classifier: Typing :: Typed
"""
WHEEL = """Wheel-Version: 1.0
Generator: quorrin
Root-Is-Purelib: true
Tag: py3-none-any
"""
ENTRY_POINTS = """[pytest11]
quorrin.pytest_plugin = quorrin.pytest_plugin
"""


def get_requires_for_build_wheel(config_settings=None):
    return []


def get_requires_for_build_sdist(config_settings=None):
    return []


def get_requires_for_build_editable(config_settings=None):
    return []


def package_files():
    for file in sorted((HERE / "quorrin").rglob("*")):
        if file.suffix == ".py" or file.name == "py.typed":
            yield file.relative_to(HERE).as_posix(), file.read_bytes()
    checkout = HERE.parent.parent
    if (checkout / "include" / "quorrin" / "quorrin.h").exists():
        yield "quorrin/checkout.txt", f"{checkout}\n".encode()


def write_wheel(directory, files):
    """A wheel of these files; its RECORD lists each with hash and size."""
    info = f"{NAME}.dist-info"
    files = list(files) + [
        (f"{info}/METADATA", METADATA.encode()),
        (f"{info}/WHEEL", WHEEL.encode()),
        (f"{info}/entry_points.txt", ENTRY_POINTS.encode()),
    ]
    record = io.StringIO()
    rows = csv.writer(record, lineterminator="\n")
    name = f"{NAME}-py3-none-any.whl"
    with zipfile.ZipFile(pathlib.Path(directory) / name, "w", zipfile.ZIP_DEFLATED) as wheel:
        for path, content in files:
            digest = base64.urlsafe_b64encode(hashlib.sha256(content).digest()).rstrip(b"=").decode()
            rows.writerow([path, f"sha256={digest}", len(content)])
            wheel.writestr(path, content)
        rows.writerow([f"{info}/RECORD", "", ""])
        wheel.writestr(f"{info}/RECORD", record.getvalue())
    return name


def build_wheel(wheel_directory, config_settings=None, metadata_directory=None):
    return write_wheel(wheel_directory, package_files())


def build_editable(wheel_directory, config_settings=None, metadata_directory=None):
    return write_wheel(wheel_directory, [("quorrin.pth", f"{HERE}\n".encode())])


def build_sdist(sdist_directory, config_settings=None):
    name = f"{NAME}.tar.gz"
    with tarfile.open(pathlib.Path(sdist_directory) / name, "w:gz") as archive:
        for file in ["pyproject.toml", "README.md", "build_wheel.py"]:
            archive.add(HERE / file, f"{NAME}/{file}")
        for path, content in package_files():
            if not path.endswith("checkout.txt"):
                archive.add(HERE / path, f"{NAME}/{path}")
    return name
