"""Builds libZarnGI and libZarnGIHost with CMake and puts them into the package.

Their sources are found beside this directory in the project's tree, or in `native/` in a source
distribution, which carries a copy of them. Where ZARNGI_BUILT in the environment names a folder, what it
holds is put into the package instead, and nothing is built: scripts/wheels.sh makes such folders.
"""

from __future__ import annotations

import functools
import os
import re
import shutil
import subprocess
import sys
import tempfile
from pathlib import Path

from setuptools import Extension, setup
from setuptools.command.build_ext import build_ext
from setuptools.command.sdist import sdist
from wheel.bdist_wheel import bdist_wheel

HERE = Path(__file__).resolve().parent
BUILT = os.environ.get("ZARNGI_BUILT")
#: CMake's targets, and where it puts the library of each.
LIBRARIES = {"ZarnGI": "lib/libZarnGI.so.4", "ZarnGIHost": "host/libZarnGIHost.so.1"}
COMMANDS = {"zarngi-cohort": "zarngi.cohort.cli:main"}
#: Only a folder that is built brings the program.
PROGRAM = {"zarngi": "zarngi._program:main"}
#: The pages without data, by the names of their front ends, and where the package has them.
PAGES = {"cohort": "cohort/page.html", "report": "report.html"}
#: What CMake needs of the project's tree to build the libraries.
LIBRARY_SOURCES = ("CMakeLists.txt", "cmake", "lib", "platform", "files", "comparison", "host")


def native_sources() -> Path:
    """The directory with the libraries' CMakeLists.txt."""
    for directory in (HERE / "native", HERE.parent):
        if all((directory / name).exists() for name in LIBRARY_SOURCES):
            return directory
    raise SystemExit(f"the libraries' sources are neither in {HERE.parent} nor in {HERE}/native")


def project_version() -> str:
    """The version that CMake gives libZarnGI."""
    text = (native_sources() / "CMakeLists.txt").read_text()
    match = re.search(r"project\(ZarnGI VERSION ([0-9.]+)", text)
    if match is None:
        raise SystemExit("CMakeLists.txt tells no version")
    return match[1]


def build_libraries(build_directory: str) -> None:
    """Build the libraries."""
    options = ("CLI", "TESTS", "PYTHON", "BENCH", "REPORT")
    configure = ["cmake", "-S", str(native_sources()), "-B", build_directory]
    configure += ["-DCMAKE_BUILD_TYPE=Release", "-Wno-dev", "--no-warn-unused-cli"]
    configure += [f"-DZARNGI_BUILD_{option}=OFF" for option in options]
    configure += [f"-DZARNGI_TABLES_PYTHON={sys.executable}"]
    jobs = str(os.cpu_count() or 1)
    build = ["cmake", "--build", build_directory, "--parallel", jobs, "--target", *LIBRARIES]
    try:
        for command in (configure, build):
            subprocess.run(command, check=True)
    except (FileNotFoundError, subprocess.CalledProcessError) as error:
        raise SystemExit(
            f"{error}\nThe libraries of zarngi are built by CMake 3.25 or later, which takes a "
            "C++20 compiler, the headers of zlib, libdeflate and nlohmann-json and OpenSSL's libcrypto.a "
            "(apt-get install cmake g++ zlib1g-dev libdeflate-dev nlohmann-json3-dev libssl-dev)."
        ) from error


def page_in_distribution(name: str) -> str:
    """Where a source distribution has a page, beside the sources."""
    return f"{name}-page.html"


def build_pages(build_directory: Path) -> None:
    """Have npm build the pages, where it is there: without them the package writes no pages."""
    if shutil.which("npm") is None or not (HERE.parent / "web" / "package.json").exists():
        print("zarngi is built without its pages, which take npm", file=sys.stderr)
        return
    configure = ["cmake", "-S", str(HERE.parent), "-B", str(build_directory), "-Wno-dev"]
    configure += ["--no-warn-unused-cli", f"-DZARNGI_TABLES_PYTHON={sys.executable}"]
    configure += [f"-DZARNGI_BUILD_{option}=OFF" for option in ("CLI", "TESTS", "PYTHON", "BENCH", "PAGE")]
    build = ["cmake", "--build", str(build_directory), "--target", "zarngi_report_template"]
    for command in (configure, build):
        if subprocess.run(command).returncode != 0:
            print("zarngi is built without its pages, which npm could not build", file=sys.stderr)
            return


@functools.cache
def pages_built_now() -> Path:
    """Where the pages are once npm has built them."""
    build_directory = Path(scratch.name) / "pages"
    build_pages(build_directory)
    return build_directory / "web" / "front-end" / "dist"


def built_page(name: str) -> Path | None:
    """A page without data, where web/ was built already, came along built, or can be built."""
    return page_that_is_there(name) or existing(pages_built_now() / name / "template.html")


def existing(place: Path) -> Path | None:
    """The place, if there is something."""
    return place if place.exists() else None


def page_that_is_there(name: str) -> Path | None:
    """A page without data, where web/ was built already or came along built."""
    tree = HERE.parent
    built = tree.glob(f"build/*/web/front-end/dist/{name}/template.html")
    places = [
        HERE / "native" / page_in_distribution(name),
        tree / f"web/prebuilt/{name}/template.html",
        *sorted(built),
    ]
    return next((place for place in places if place.exists()), None)


class BuildLibraries(build_ext):
    """Runs CMake instead of compiling extension modules; ctypes loads the libraries."""

    def get_ext_filename(self, fullname: str) -> str:
        *folders, name = fullname.split(".")
        return str(Path(*folders, Path(LIBRARIES[name]).name))

    def build_extensions(self) -> None:
        package = Path(self.get_ext_fullpath("zarngi.lib.ZarnGI")).parent.parent
        if BUILT is not None:
            shutil.copytree(BUILT, package, dirs_exist_ok=True)
            return
        native = Path(self.build_temp) / "native"
        build_libraries(str(native))
        for extension, library in zip(self.extensions, LIBRARIES.values()):
            target = Path(self.get_ext_fullpath(extension.name))
            target.parent.mkdir(parents=True, exist_ok=True)
            shutil.copyfile((native / library).resolve(), target)
        for name, place in PAGES.items():
            page = built_page(name)
            if page is not None:
                (package / place).parent.mkdir(parents=True, exist_ok=True)
                shutil.copyfile(page, package / place)


class SdistWithLibraries(sdist):
    """Adds the libraries' sources to the source distribution."""

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
        for name in PAGES:
            page = built_page(name)
            if page is not None:
                shutil.copyfile(page, Path(base_dir) / "native" / page_in_distribution(name))


class AnyPythonWheel(bdist_wheel):
    """The wheel depends on the platform but on no particular Python."""

    def get_tag(self) -> tuple[str, str, str]:
        return "py3", "none", super().get_tag()[2]


# A fresh build directory each time: a kept one would put files that are gone into the package.
scratch = tempfile.TemporaryDirectory(prefix="zarngi-build-")

setup(
    options={"build": {"build_base": scratch.name}},
    version=project_version(),
    ext_modules=[Extension(f"zarngi.lib.{name}", sources=[]) for name in LIBRARIES],
    entry_points={
        "console_scripts": [
            f"{name} = {place}"
            for name, place in (COMMANDS if BUILT is None else COMMANDS | PROGRAM).items()
        ]
    },
    cmdclass={
        "build_ext": BuildLibraries,
        "sdist": SdistWithLibraries,
        "bdist_wheel": AnyPythonWheel,
    },
)
