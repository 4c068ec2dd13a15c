"""Builds libZarnGI with CMake and puts it into the package.

The library's sources are found beside this directory in the project's tree, or in `native/` in a
source distribution, which carries a copy of them.
"""

import os
import re
import shutil
import subprocess
import tempfile
from pathlib import Path

from setuptools import Extension, setup
from setuptools.command.build_ext import build_ext
from setuptools.command.sdist import sdist
from wheel.bdist_wheel import bdist_wheel

HERE = Path(__file__).resolve().parent
LIBRARY = "libZarnGI.so"
#: What CMake needs of the project's tree to build the library.
LIBRARY_SOURCES = ("CMakeLists.txt", "cmake", "lib")


def native_sources() -> Path:
    """The directory with the library's CMakeLists.txt."""
    for directory in (HERE / "native", HERE.parent):
        if all((directory / name).exists() for name in LIBRARY_SOURCES):
            return directory
    raise SystemExit(f"the sources of libZarnGI are neither in {HERE.parent} nor in {HERE}/native")


def project_version() -> str:
    """The version that CMake gives the library."""
    text = (native_sources() / "CMakeLists.txt").read_text()
    match = re.search(r"project\(ZarnGI VERSION ([0-9.]+)", text)
    if match is None:
        raise SystemExit("CMakeLists.txt tells no version")
    return match[1]


def build_library(build_directory: str) -> Path:
    """Build the library and return its path."""
    options = ("CLI", "TESTS", "PYTHON", "BENCH", "REPORT")
    subprocess.run(
        ["cmake", "-S", str(native_sources()), "-B", build_directory]
        + ["-DCMAKE_BUILD_TYPE=Release"]
        + [f"-DZARNGI_BUILD_{option}=OFF" for option in options]
        + ["-Wno-dev", "--no-warn-unused-cli"],
        check=True,
    )
    jobs = str(len(os.sched_getaffinity(0)))
    subprocess.run(
        ["cmake", "--build", build_directory, "--target", "ZarnGI", "--parallel", jobs], check=True
    )
    return (Path(build_directory) / "lib" / LIBRARY).resolve()


class BuildLibrary(build_ext):
    """Runs CMake instead of compiling an extension module; ctypes loads the library."""

    def get_ext_filename(self, fullname: str) -> str:
        return str(Path(*fullname.split(".")).with_name(LIBRARY))

    def build_extension(self, ext: Extension) -> None:
        target = Path(self.get_ext_fullpath(ext.name))
        target.parent.mkdir(parents=True, exist_ok=True)
        shutil.copyfile(build_library(str(Path(self.build_temp) / "native")), target)


class SdistWithLibrary(sdist):
    """Adds the library's sources to the source distribution."""

    def make_release_tree(self, base_dir: str, files: list[str]) -> None:
        super().make_release_tree(base_dir, files)
        source = native_sources()
        for name in LIBRARY_SOURCES:
            target = Path(base_dir) / "native" / name
            if (source / name).is_dir():
                shutil.copytree(source / name, target, dirs_exist_ok=True)
            else:
                target.parent.mkdir(exist_ok=True)
                shutil.copyfile(source / name, target)


class AnyPythonWheel(bdist_wheel):
    """The wheel depends on the platform but on no particular Python."""

    def get_tag(self) -> tuple[str, str, str]:
        return "py3", "none", super().get_tag()[2]


# A fresh build directory each time: a kept one would put files that are gone into the package.
scratch = tempfile.TemporaryDirectory(prefix="zarngi-build-")

setup(
    options={"build": {"build_base": scratch.name}},
    version=project_version(),
    ext_modules=[Extension("zarngi.lib.libZarnGI", sources=[])],
    cmdclass={
        "build_ext": BuildLibrary,
        "sdist": SdistWithLibrary,
        "bdist_wheel": AnyPythonWheel,
    },
)
