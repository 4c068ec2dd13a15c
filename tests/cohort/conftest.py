"""What the tests of cohorts share: pairs of doses, the program, and what is compared."""

import csv
import json
import os
import re
import sqlite3
import subprocess
import sys
from importlib import resources
from pathlib import Path

import numpy as np
import pytest
import zarngi
from zarngi.cohort.record import FIGURES

#: A pair takes about a tenth of a second with this, long enough to be killed in.
SLOW = ("-c", "2%/3mm", "--step", "0.02", "--max-gamma", "2")


def small_pair(shift=0.0):
    """A reference and an evaluation of a few thousand voxels."""
    grids = []
    for grid, move in zip(zarngi.demo_pair(), (0.0, shift)):
        dose = np.ascontiguousarray(grid.dose[6:22, 6:26, 6:30])
        corner = [o + 6 * h for o, h in zip(grid.origin, grid.spacing)]
        corner[0] += move
        grids.append(zarngi.DoseGrid(dose, grid.spacing, corner))
    return grids


def write_grid(path, grid):
    path.parent.mkdir(parents=True, exist_ok=True)
    zarngi.write(path, grid.dose, like=grid)


def write_rows(path, rows):
    """A manifest of mappings."""
    with open(path, "w", newline="") as file:
        writer = csv.DictWriter(file, list(rows[0]))
        writer.writeheader()
        writer.writerows(rows)
    return path


class Cohort:
    """A folder with pairs and their manifest."""

    def __init__(self, folder, count):
        self.folder = folder
        self.rows = []
        for i in range(count):
            name = f"p{i:03d}"
            for role, grid in zip(("planned", "measured"), small_pair(0.1 * (i % 17))):
                write_grid(folder / role / f"{name}.nrrd", grid)
            self.rows.append({
                "id": name, "reference": f"planned/{name}.nrrd",
                "evaluation": f"measured/{name}.nrrd", "group": f"Linac {i % 2 + 1}",
                "date": f"2026-02-{i % 28 + 1:02d}",
            })  # fmt: skip
        self.manifest = write_rows(folder / "manifest.csv", self.rows)


@pytest.fixture(scope="session")
def cohort(tmp_path_factory):
    """Good pairs, which no test may change."""
    return Cohort(tmp_path_factory.mktemp("cohort"), 28)


@pytest.fixture(scope="session")
def serial(cohort, tmp_path_factory):
    """What an undisturbed run in one process gives with `SLOW`."""
    path = tmp_path_factory.mktemp("serial") / "results.sqlite"
    assert zarngi_cohort("run", cohort.manifest, "-o", path, *SLOW).returncode == 0
    return contents(path)


@pytest.fixture(scope="module")
def scheduler(tmp_path_factory):
    from processes import Cluster  # which takes its commands from here

    started = Cluster(tmp_path_factory.mktemp("cluster"))
    yield started
    started.end()


@pytest.fixture
def cluster(scheduler):
    """The scheduler, to which the test adds workers of its own."""
    yield scheduler
    scheduler.end_workers()


def command(*arguments):
    return [sys.executable, "-m", "zarngi.cohort.cli", *map(str, arguments)]


def zarngi_cohort(*arguments, timeout=90, **options):
    """The program, run to its end."""
    return subprocess.run(
        command(*arguments), capture_output=True, text=True, timeout=timeout, check=False, **options
    )


def contents(path):
    """Everything in a results file but times."""
    with sqlite3.connect(f"file:{path}?mode=ro", uri=True) as database:
        names = [n for (n,) in database.execute("SELECT name FROM sqlite_master WHERE type='table'")]
        assert len(names) == 5
        tables = {}
        for name in names:
            cursor = database.execute(f"SELECT * FROM {name}")
            columns = [c[0] for c in cursor.description]
            kept = [i for i, c in enumerate(columns) if c not in ("reading", "searching", "finished")]
            tables[name] = sorted((tuple(row[i] for i in kept) for row in cursor), key=repr)
    return tables


def rates_of(tables):
    """Pass rates by id, of `contents`."""
    column = 4 + FIGURES.index("pass_rate")  # behind id, place, criterion and structure
    return {row[0]: row[column] for row in tables["results"]}


def count_done(path):
    """Pairs in a results file that somebody may be writing."""
    if not os.path.exists(path):
        return 0
    try:
        with sqlite3.connect(f"file:{path}?mode=ro", uri=True, timeout=5) as database:
            return database.execute("SELECT count(*) FROM pairs").fetchone()[0]
    except sqlite3.OperationalError:
        return 0  # not made yet


def rates(path):
    """Pass rates by id, and sentences of failures by id."""
    with sqlite3.connect(path) as database:
        return (
            dict(database.execute("SELECT id, pass_rate FROM results")),
            dict(database.execute("SELECT id, sentence FROM failures")),
        )


def page_record(path):
    """What a page shows."""
    found = re.findall(r'<script type="application/json" id="zarngi-data">(.*?)</script>',
                       path.read_text(encoding="utf-8"), re.DOTALL)  # fmt: skip
    return json.loads(found[0])


def require_pages():
    """Skip a test of pages where the package was built without them."""
    if not resources.files("zarngi").joinpath("report.html").is_file():
        pytest.skip("the package was built without its pages, which take npm")
