"""Every row of the tables of variants: the program and the package give what the row tells."""

import dataclasses
import hashlib
import json
import os
import resource
import subprocess
import warnings

import pytest
import zarngi

import variants_dicom
import variants_metaimage
import variants_nifti
import variants_nrrd
from variants import Grid

TABLES = (variants_nrrd, variants_metaimage, variants_nifti, variants_dicom)
ROWS = {f"{table.FORMAT}: {row.name}": row for table in TABLES for row in table.ROWS}
PROGRAM = os.environ["ZARNGI"]


@dataclasses.dataclass
class Answer:
    """What a reader makes of a file: a dose, or a sentence."""

    size: tuple = ()
    spacing: tuple = ()
    origin: tuple = ()
    sha256: str = ""
    warnings: tuple = ()
    unit: str = ""
    sentence: str = ""


def limit_memory():
    """A header must not talk a reader into a giant allocation."""
    two_gigabytes = 2 << 30
    resource.setrlimit(resource.RLIMIT_AS, (two_gigabytes, two_gigabytes))


def program_runs_with_little_memory():
    """A sanitized program needs more address space than any computer has memory."""
    run = subprocess.run([PROGRAM, "--version"], preexec_fn=limit_memory, capture_output=True)
    return run.returncode == 0


LIMIT = limit_memory if program_runs_with_little_memory() else None


def by_program(path):
    run = subprocess.run(
        [PROGRAM, "info", "--json", path],
        capture_output=True, text=True, timeout=60, check=False, preexec_fn=LIMIT,
    )
    if run.returncode != 0:
        prefix = f"zarngi: {path}: "
        assert run.returncode == 1 and run.stdout == "", run
        assert run.stderr.startswith(prefix) and run.stderr.endswith("\n"), run.stderr
        return Answer(sentence=run.stderr[len(prefix) : -1])
    answer = json.loads(run.stdout)
    assert answer["tellsPosition"] != any("no position" in w for w in answer["warnings"])
    assert answer["tellsOrientation"] != any("no orientation" in w for w in answer["warnings"])
    grid = answer["grid"]
    return Answer(
        *(tuple(grid[key]) for key in ("size", "spacing", "origin")),
        answer["dosesSha256"], tuple(answer["warnings"]), answer["doseUnit"],
    )


def by_package(path, **options):
    prefix = f"{path}: "
    with warnings.catch_warnings(record=True) as caught:
        warnings.simplefilter("always")
        try:
            grid = zarngi.read(path, **options)
        except zarngi.FormatError as error:
            assert isinstance(error, ValueError) and str(error).startswith(prefix), error
            return Answer(sentence=str(error)[len(prefix) :])
    told = [str(w.message) for w in caught if w.category is zarngi.FormatWarning]
    assert len(told) == len(caught) and all(w.startswith(prefix) for w in told), caught
    doses = grid.dose.astype("<f4").tobytes()
    return Answer(
        grid.dose.shape[::-1], tuple(grid.spacing), tuple(grid.origin),
        hashlib.sha256(doses).hexdigest(), tuple(w[len(prefix) :] for w in told), "Gy",
    )


def expected_of(result):
    if not isinstance(result, Grid):
        return Answer(sentence=result)
    doses = result.values.astype("<f4").tobytes()
    return Answer(
        result.values.shape[::-1], tuple(result.spacing), tuple(result.origin),
        hashlib.sha256(doses).hexdigest(), tuple(result.warnings), result.unit,
    )


def write_files(folder, files):
    """Writes them; gives the path of the first one."""
    for name, contents in files.items():
        path = folder / name
        path.parent.mkdir(exist_ok=True)
        path.write_bytes(contents)
    return str(folder / next(iter(files)))


@pytest.mark.parametrize("name", ROWS)
def test_variant(tmp_path, name):
    row = ROWS[name]
    path = write_files(tmp_path, row.files)
    expected = expected_of(row.expected)
    assert by_program(path) == expected
    assert by_package(path) == (expected_of(row.in_package) if row.in_package else expected)
