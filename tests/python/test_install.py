"""The package installs offline into a new virtual environment and works there."""

import ast
import os
import re
import shutil
import subprocess
import sys
import tarfile
from pathlib import Path

import pytest
from conftest import PROJECT


def run(*command, variables=(), **options):
    """Run a command outside this test's Python environment; its output."""
    environment = {k: v for k, v in os.environ.items() if not k.startswith("PYTHON")}
    environment |= dict(variables)
    environment |= {"PIP_NO_INDEX": "1", "PIP_DISABLE_PIP_VERSION_CHECK": "1"}
    done = subprocess.run(
        list(map(str, command)), env=environment, capture_output=True, text=True, **options
    )
    assert done.returncode == 0, done.stdout + done.stderr
    return done.stdout


def readme_example():
    readme = (PROJECT / "README.md").read_text()
    return next(re.finditer(r"```python\n(.*?)```", readme, re.DOTALL))[1]


@pytest.fixture
def environment(tmp_path):
    """Python and pip of a new virtual environment that sees Debian's packages."""
    directory = tmp_path / "venv"
    run(sys.executable, "-m", "venv", "--system-site-packages", directory)
    return directory / "bin" / "python"


ROUND_TRIP = """
import zarngi

grid = zarngi.demo_pair()[0]
zarngi.write("dose.nii.gz", grid.dose, like=grid)
assert (zarngi.read("dose.nii.gz").dose == grid.dose).all()
print({line.split()[-1] for line in open("/proc/self/maps") if "libZarnGI" in line})
"""


def assert_works(python, directory):
    """The README's example runs, from a directory that is not the project's."""
    assert "Pass rate" in run(python, "-c", readme_example(), cwd=directory)
    libraries = ast.literal_eval(run(python, "-c", ROUND_TRIP, cwd=directory))
    assert {Path(library).name for library in libraries} == {"libZarnGI.so.4", "libZarnGIHost.so.1"}
    assert all(Path(library).is_relative_to(python.parents[1]) for library in libraries)
    place = run(python, "-c", "import zarngi; print(zarngi.__file__)", cwd=directory).strip()
    assert Path(place).is_relative_to(python.parents[1])
    assert (Path(place).parent / "py.typed").exists()
    assert run(python.with_name("zarngi-cohort"), "--version", cwd=directory).startswith("zarngi-cohort ")


def test_source_distribution_is_complete_and_installs(environment, tmp_path):
    # A copy of the tree, so that nothing is left behind in it. What pip does with a tree is the same
    # from here on: compiling everything once is enough.
    tree = tmp_path / "tree"
    for name in ("CMakeLists.txt", "cmake", "lib", "platform", "files", "comparison", "host", "python"):
        source = PROJECT / name
        copy = shutil.copytree if source.is_dir() else shutil.copy
        tree.mkdir(exist_ok=True)
        copy(source, tree / name)
    run(environment, "setup.py", "-q", "sdist", "--dist-dir", tmp_path, cwd=tree / "python")
    shutil.rmtree(tree)
    (archive,) = tmp_path.glob("zarngi-*.tar.gz")
    with tarfile.open(archive) as contents:
        names = [name.partition("/")[2] for name in contents.getnames()]
    expected = {"lib/libZarnGI.h", "host/libZarnGIHost.h", "files/formats/nrrd/header.cpp"}
    assert {f"native/{name}" for name in expected} <= set(names)
    assert {"zarngi/py.typed", "zarngi/io/_host.py"} <= set(names)
    assert not [name for name in names if name.endswith((".so", ".pyc"))]
    # Objects that were made from the same bytes by the same command are taken as they are.
    toolchain = tmp_path / "headers.cmake"
    toolchain.write_text("set(CMAKE_DISABLE_PRECOMPILE_HEADERS ON)\n")
    launcher = f"{sys.executable};{Path(__file__).with_name('compile_once.py')}"
    run(
        environment, "-m", "pip", "install", "--no-build-isolation", "--no-deps", archive,
        variables={"CMAKE_TOOLCHAIN_FILE": str(toolchain), "CMAKE_CXX_COMPILER_LAUNCHER": launcher},
    )  # fmt: skip
    assert_works(environment, tmp_path)
    terms = {path.name for path in environment.parents[1].rglob("zarngi-*.dist-info/**/*") if path.is_file()}
    assert {"LICENSE", "copyright", "Apache-2.0.txt"} <= terms


def test_installed_by_cmake(tmp_path):
    build = os.environ.get("ZARNGI_BUILD_DIR")
    if build is None:
        pytest.skip("ZARNGI_BUILD_DIR names no build tree")
    run("cmake", "--install", build, "--prefix", tmp_path, "--component", "python")
    (package,) = tmp_path.rglob("zarngi/__init__.py")
    assert package.with_name("py.typed").exists()
    place = f"import sys; sys.path.insert(0, {str(package.parents[1])!r})\n"
    assert "Pass rate" in run(sys.executable, "-c", place + readme_example(), cwd=tmp_path)
    libraries = run(sys.executable, "-c", place + ROUND_TRIP, cwd=tmp_path)
    assert libraries.count(f"{package.parent}/lib/libZarnGI") == 2
