"""The wheel, installed by pip without a network into an environment of its own, and used there.

ZARNGI_WHEEL names the wheel; without it one is made here of what this build has, which only lacks what is
linked in for systems that do not have it.
"""

import os
import shutil
import signal
import stat
import subprocess
import sys
import zipfile
from pathlib import Path

import pytest

PROJECT = Path(__file__).resolve().parents[2]
#: What a person needs to type commands; no compiler and no CMake among them.
TOOLS = ("bash", "cat", "env", "head", "ls", "sh", "tee", "true")


def run(*command, **options):
    """Standard output of a command that has to succeed, outside of this test's Python environment."""
    environment = {k: v for k, v in os.environ.items() if not k.startswith("PYTHON")}
    environment |= {"PIP_NO_INDEX": "1", "PIP_DISABLE_PIP_VERSION_CHECK": "1", "MPLBACKEND": "Agg",
                    "PYTHONDONTWRITEBYTECODE": "1", **options.pop("variables", {})}  # fmt: skip
    done = subprocess.run(list(map(str, command)), env=environment, capture_output=True, text=True,
                          timeout=300, check=False, **options)  # fmt: skip
    assert done.returncode == 0, done.stdout + done.stderr
    return done.stdout


def made_here(folder):
    """A wheel of what this build has."""
    build = Path(os.environ.get("ZARNGI_BUILD_DIR", PROJECT / "build" / "release"))
    staged, program = build / "python" / "zarngi", build / "cli" / "zarngi"
    if not (staged / "lib").exists() or not program.exists():
        pytest.skip(f"{build} has no package or no program, and ZARNGI_WHEEL names no wheel")
    built = folder / "built"
    shutil.copytree(staged / "lib", built / "lib", ignore=shutil.ignore_patterns("*.so"))
    shutil.copy(program, built / "lib")
    for page in ("report.html", "cohort/page.html"):
        if (staged / page).exists():
            (built / page).parent.mkdir(exist_ok=True)
            shutil.copy(staged / page, built / page)
    sources = folder / "python"
    shutil.copytree(PROJECT / "python", sources)
    shutil.copy(PROJECT / "CMakeLists.txt", folder)
    for name in ("cmake", "lib", "platform", "files", "comparison", "host"):
        (folder / name).symlink_to(PROJECT / name)
    run(sys.executable, "setup.py", "-q", "bdist_wheel", "--dist-dir", folder / "dist", cwd=sources,
        variables={"ZARNGI_BUILT": str(built), "SOURCE_DATE_EPOCH": "1700000000"})
    (wheel,) = (folder / "dist").glob("*.whl")
    return wheel


@pytest.fixture(scope="session")
def wheel(tmp_path_factory):
    named = os.environ.get("ZARNGI_WHEEL")
    return Path(named) if named else made_here(tmp_path_factory.mktemp("wheel"))


@pytest.fixture(scope="session")
def python(wheel, tmp_path_factory):
    """Python of a virtual environment with the wheel, which sees the system's numpy."""
    folder = tmp_path_factory.mktemp("environment") / "venv"
    run("/usr/bin/python3", "-m", "venv", "--system-site-packages", folder)
    run(folder / "bin" / "python", "-m", "pip", "install", "--no-deps", "--ignore-installed", wheel)
    return folder / "bin" / "python"


@pytest.fixture(scope="session")
def path(python, tmp_path_factory):
    """A PATH without compilers, in which the environment comes first."""
    folder = tmp_path_factory.mktemp("tools")
    for tool in TOOLS:
        (folder / tool).symlink_to(shutil.which(tool))
    assert shutil.which("cc", path=folder) is None
    return f"{python.parent}:{folder}"


def test_contents(wheel):
    with zipfile.ZipFile(wheel) as contents:
        names = {entry.filename: entry for entry in contents.infolist()}
        (metadata,) = (name for name in names if name.endswith(".dist-info/METADATA"))
        told = contents.read(metadata).decode()
    files = ["__init__.py", "py.typed", "cohort/page.html", "report.html", "lib/zarngi", "lib/libZarnGI.so.4",
             "lib/libZarnGIHost.so.1"]  # fmt: skip
    missing = [name for name in files if f"zarngi/{name}" not in names]
    assert not missing
    assert names["zarngi/lib/zarngi"].external_attr >> 16 & stat.S_IXUSR
    assert "Requires-Python: >=3.9" in told and "Requires-Dist: numpy" in told
    terms = {Path(name).name for name in names if ".dist-info/" in name or "/licences/" in name}
    assert {"LICENSE", "copyright", "Apache-2.0.txt"} <= terms
    if os.environ.get("ZARNGI_WHEEL"):
        assert {"zlib1g-dev.txt", "libdeflate-dev.txt", "libssl-dev.txt"} <= terms
    # Times of the commit, modes that depend on no umask: the bytes depend on the sources alone.
    assert len({entry.date_time for entry in names.values()}) == 1
    modes = {entry.external_attr >> 16 & 0o777 for entry in names.values()}
    assert modes <= {0o644, 0o664, 0o755, 0o775}


LIBRARIES = """
import zarngi
print(*{line.split()[-1] for line in open("/proc/self/maps") if "libZarnGI" in line})
"""


def test_it_uses_its_own_libraries_and_program(python, path, tmp_path):
    libraries = run(python, "-c", LIBRARIES, cwd=tmp_path, variables={"PATH": path}).split()
    assert len(libraries) == 2
    assert all(Path(library).is_relative_to(python.parents[1]) for library in libraries)
    told = run("zarngi", "--version", cwd=tmp_path, variables={"PATH": path})
    version = run(python, "-c", "import zarngi; print(zarngi.__version__)", cwd=tmp_path)
    assert version.strip() in told
    run("zarngi", "demo", "d", cwd=tmp_path, variables={"PATH": path})
    report = ("compare", "d/reference.mha", "d/evaluation.mha", "-c", "3%/2mm", "--report", "r.html")
    assert "verdict     pass" in run("zarngi", *report, cwd=tmp_path, variables={"PATH": path})
    assert (tmp_path / "r.html").stat().st_size > 100_000


def test_exit_status_is_that_of_the_program(python, path, tmp_path):
    done = subprocess.run(["zarngi", "compare"], capture_output=True, env={"PATH": path}, cwd=tmp_path, check=False)
    assert done.returncode == 2 and done.stderr


ELSEWHERE = """
import pathlib, sys
import zarngi._program as program

program.INSIDE = pathlib.Path(sys.argv[1])
sys.platform = "win32"
sys.argv = ["zarngi", "a b", "c"]
sys.exit(program.main())
"""


def test_program_where_no_process_becomes_another(python, tmp_path):
    """As on Windows: Python waits, and Ctrl-C, which both hear, leaves the end to the program."""
    program = tmp_path / "zarngi.exe"
    program.write_text("#!/bin/sh\ntrap 'echo heard; exit 3' INT\necho \"$#|$1\"\n"
                       "while :; do sleep 0.1; done\n")
    program.chmod(0o755)
    with subprocess.Popen([python, "-c", ELSEWHERE, tmp_path], stdout=subprocess.PIPE, text=True,
                          start_new_session=True) as process:  # fmt: skip
        assert process.stdout.readline() == "2|a b\n"
        os.killpg(process.pid, signal.SIGINT)
        assert process.stdout.readline() == "heard\n"
        assert process.wait(timeout=60) == 3
    program.unlink()
    done = subprocess.run([python, "-c", ELSEWHERE, tmp_path], capture_output=True, text=True, check=False)
    assert done.returncode == 1 and done.stderr.endswith("zarngi.exe: cannot be run (No such file or directory)\n")


def test_cohort(python, path, tmp_path):
    run("zarngi", "demo", "d", cwd=tmp_path, variables={"PATH": path})
    (tmp_path / "m.csv").write_text("id,reference,evaluation\na,d/reference.mha,d/evaluation.mha\n")
    for arguments in (("run", "m.csv", "-o", "r.sqlite", "--pages", "pages"),
                      ("report", "r.sqlite", "-o", "cohort.html")):  # fmt: skip
        run("zarngi-cohort", *arguments, cwd=tmp_path, variables={"PATH": path})
    assert (tmp_path / "pages" / "a.html").exists() and (tmp_path / "cohort.html").exists()


def test_the_guide_runs_as_it_stands(python, path, tmp_path):
    """All of docs/python.md, by the tests of the documentation, with the installed package."""
    (tmp_path / "empty").mkdir()
    variables = {
        "PATH": path, "PYTHONPATH": str(PROJECT / "tests" / "cli"), "ZARNGI_BUILD_DIR": str(tmp_path / "empty"),
        "ZARNGI_LIBDIR": "/usr/lib", "ZARNGI_HAS_REPORT": "1", "ZARNGI_IS_INSTALLED": "1",
    }  # fmt: skip
    told = run(python, "-m", "pytest", "-q", "-p", "no:cacheprovider", PROJECT / "tests/docs/test_pages.py",
               "-k", "docs/python.md", cwd=tmp_path, variables=variables)  # fmt: skip
    assert "1 passed" in told
