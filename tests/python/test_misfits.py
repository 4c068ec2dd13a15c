"""A package that is imported where its libraries cannot run says so in one sentence."""

import re
import shutil
import struct
import subprocess
import sys
from pathlib import Path

import pytest
import zarngi

LIBRARY = "libZarnGI.so.4"
INTEL, ARM64, BITS_32, BITS_64 = 3, 183, 1, 2


def elf(bits, machine):
    """The head of a shared library for a processor."""
    return b"\x7fELF" + bytes([bits, 1, 1]) + bytes(9) + struct.pack("<HHI", 3, machine, 1) + bytes(100)


def told_by_import(package, prelude=""):
    """The last line that Python prints when it imports the package in a folder."""
    code = f"{prelude}\nimport zarngi"
    done = subprocess.run([sys.executable, "-c", code], cwd=package.parent, capture_output=True, text=True, check=False,
                          env={"PYTHONPATH": str(package.parent), "PYTHONDONTWRITEBYTECODE": "1"})  # fmt: skip
    assert done.returncode == 1
    return done.stderr.splitlines()[-1]


@pytest.fixture
def package(tmp_path):
    """The package's sources with an empty folder for libraries."""
    copy = tmp_path / "zarngi"
    shutil.copytree(Path(zarngi.__file__).parent, copy, ignore=shutil.ignore_patterns("lib", "__pycache__"))
    (copy / "lib").mkdir()
    return copy


#: A Python of 32 bits counts its pointers so; ctypes has measured its own by then.
IN_32_BITS = "import ctypes, struct; struct.calcsize = lambda kind: 4"
ON_ARM = "import platform; platform.machine = lambda: 'ARM64'"


@pytest.mark.parametrize(
    ("contents", "prelude", "bits", "machine"),
    [
        (elf(BITS_32, INTEL), "", 64, r"\w+"),
        (elf(BITS_64, ARM64), ON_ARM, 64, "ARM64"),
        (elf(BITS_32, INTEL), IN_32_BITS, 32, r"\w+"),
        (b"MZ", "", 64, r"\w+"),
    ],
)
def test_a_library_for_another_processor(package, contents, prelude, bits, machine):
    (package / "lib" / LIBRARY).write_bytes(contents)
    assert re.fullmatch(
        rf"ImportError: {package}/lib/{LIBRARY} cannot be loaded by this Python of {bits} bits on a processor "
        rf"{machine} \(.+\): install the wheel for this system and processor, into a Python of 64 bits",
        told_by_import(package, prelude),
    )


def test_a_wheel_for_another_system(package):
    (package / "lib" / "libZarnGI.dll").touch()
    assert re.fullmatch(
        rf"ImportError: neither {package}/lib/{LIBRARY} nor an installed {LIBRARY} was found: install the wheel for "
        r"this system and processor, or .*",
        told_by_import(package),
    )


ON_WINDOWS = "import numpy, sys; sys.platform = 'win32'; sys.getwindowsversion = lambda: {version}"


@pytest.mark.parametrize(
    ("version", "told"),
    [
        ((6, 3, 9600), "ImportError: zarngi needs Windows 10 or 11, and this is Windows 6.3: use it on a newer one"),
        ((10, 0, 22631), "ImportError: neither .*libZarnGI.dll was found: .*"),
    ],
)
def test_an_old_windows(package, version, told):
    assert re.fullmatch(told, told_by_import(package, ON_WINDOWS.format(version=version)))
