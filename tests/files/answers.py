"""What the program, the package and the page make of a dose file, in one form."""

import dataclasses
import hashlib
import json
import os
import resource
import subprocess
import warnings
from pathlib import Path

import zarngi

PROGRAM = os.environ["ZARNGI"]
# Where the engine of the page is built; empty where it is not.
ENGINE = os.environ.get("ZARNGI_ENGINE", "")
READ_FILES = Path(__file__).resolve().parents[1] / "web" / "engine" / "readFiles.mjs"
page = None
#: mm, across a plane that tells no thickness; documents have null instead.
THIN = 0.0078125


@dataclasses.dataclass
class Answer:
    """What a reader makes of a file: a dose, or a sentence."""

    size: tuple = ()
    spacing: tuple = ()
    origin: tuple = ()
    sha256: str = ""
    warnings: tuple = ()
    unit: str = ""
    normal: str = ""  # of a plane: the axis across it
    sentence: str = ""


def differences(told, expected):
    """In which fields two answers differ, for the reader of a failed test."""
    fields = [field.name for field in dataclasses.fields(Answer)]
    return [
        f"{name} {getattr(told, name)!r}, not {getattr(expected, name)!r}"
        for name in fields
        if getattr(told, name) != getattr(expected, name)
    ]


def digest(doses):
    return hashlib.sha256(doses.astype("<f4").tobytes()).hexdigest()


def limit_memory():
    """A header must not talk a reader into a giant allocation, in this process or the program."""
    gigabytes = 3 << 30
    before = resource.getrlimit(resource.RLIMIT_AS)
    resource.setrlimit(resource.RLIMIT_AS, (gigabytes, before[1]))
    # A sanitized program needs more address space than any computer has memory.
    if subprocess.run([PROGRAM, "--version"], capture_output=True).returncode != 0:
        resource.setrlimit(resource.RLIMIT_AS, before)


def normal_of(measurement):
    """Of what a record says of a dose; a volume has none."""
    return measurement["normal"] if measurement else ""


def by_program(path):
    run = subprocess.run(
        [PROGRAM, "info", "--json", path], capture_output=True, text=True, timeout=60, check=False
    )
    if run.returncode != 0:
        prefix = f"zarngi: {path}: "
        assert run.returncode == 1 and run.stdout == "", run
        assert run.stderr.startswith(prefix) and run.stderr.endswith("\n"), run.stderr
        return Answer(sentence=run.stderr[len(prefix) : -1])
    answer = json.loads(run.stdout)
    assert answer["tellsPosition"] != any("no position" in w for w in answer["warnings"])
    assert answer["tellsOrientation"] != any("no orientation" in w for w in answer["warnings"])
    assert answer["tellsUnit"] != any("taken for Gy" in w for w in answer["warnings"])
    grid = answer["grid"]
    return Answer(
        *(tuple(grid[key]) for key in ("size", "spacing", "origin")),
        answer["dosesSha256"], tuple(answer["warnings"]), answer["doseUnit"],
        normal_of(answer.get("measurement")),
    )


def by_package(path):
    prefix = f"{path}: "
    with warnings.catch_warnings(record=True) as caught:
        warnings.simplefilter("always")
        try:
            grid = zarngi.read(path)
        except zarngi.FormatError as error:
            assert isinstance(error, ValueError) and str(error).startswith(prefix), error
            return Answer(sentence=str(error)[len(prefix) :])
    spacing = [None if grid.plane_normal == axis and size == THIN else size
               for axis, size in zip("xyz", grid.spacing)]  # fmt: skip
    told = [str(w.message) for w in caught if w.category is zarngi.FormatWarning]
    assert len(told) == len(caught) and all(w.startswith(prefix) for w in told), caught
    return Answer(
        grid.dose.shape[::-1], tuple(spacing), tuple(grid.origin), digest(grid.dose),
        tuple(w[len(prefix) :] for w in told), grid.unit, grid.plane_normal or "",
    )


def page_answer(path, units=()):
    """What the engine of the page, which runs beside, says of a file; units as they are given."""
    global page
    if page is None:
        page = subprocess.Popen(
            [os.environ["ZARNGI_NODE"], READ_FILES], stdin=subprocess.PIPE, stdout=subprocess.PIPE,
            text=True, preexec_fn=without_limit,
        )  # fmt: skip
    told = dict(zip(("dose", "length", "pixelSize"), units))
    page.stdin.write(json.dumps({"path": path, "units": told}) + "\n")
    page.stdin.flush()
    return json.loads(page.stdout.readline())


def without_limit():
    """WebAssembly takes address space for all that it could ever need."""
    resource.setrlimit(resource.RLIMIT_AS, (resource.RLIM_INFINITY, resource.RLIM_INFINITY))


def by_page(path):
    answer = page_answer(path)
    if "sentence" in answer:
        return Answer(sentence=answer["sentence"])
    grid = answer["grid"]
    return Answer(
        *(tuple(grid[key]) for key in ("size", "spacing", "origin")),
        answer["sha256"], tuple(answer["warnings"]), answer["doseUnit"],
        normal_of(answer["measurement"]),
    )
