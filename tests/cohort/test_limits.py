"""Limits against worked numbers."""

import math
import sqlite3

import pytest
from conftest import write_grid, write_rows, small_pair, zarngi_cohort
from zarngi.cohort import limits_of
from zarngi.cohort.limits import action_limit

RATES = [99.34, 98.75, 98.24, 99.18, 97.9, 98.63, 99.02, 97.41, 98.88, 98.5]
RANGES = [0.59, 0.51, 0.94, 1.28, 0.73, 0.39, 1.61, 1.47, 0.38]


def test_worked_numbers():
    values = [(f"p{i}", f"2026-01-{i + 1:02d}", rate) for i, rate in enumerate(RATES)]
    found = limits_of(list(reversed(values)))
    assert [p.id for p in found.points] == [f"p{i}" for i in range(10)]
    moving = [p.moving_range for p in found.points]
    assert moving[0] is None and moving[1:] == pytest.approx(RANGES)
    # By hand: the sum of the rates is 985.85, that of the ranges 7.90.
    assert found.centre == pytest.approx(98.585)
    assert found.mean_range == pytest.approx(7.90 / 9)
    # No rate is above 100 %, and so is no limit, though the centre line and 2.334889 are.
    assert (found.lower, found.upper) == (pytest.approx(98.585 - 2.334889, abs=1e-6), 100)
    assert found.range_limit == pytest.approx(2.8677, abs=1e-4)
    # Squared deviations sum to 3.20565, so sigma**2 = 0.3561833; dA = 6 sqrt(0.3561833 + 2.002225).
    assert found.sigma**2 == pytest.approx(3.20565 / 9)
    assert found.action == pytest.approx(100 - 3 * 1.535711, abs=1e-5)
    assert not found.has_enough and found.has_dates


@pytest.mark.parametrize(
    ("centre", "sigma", "limit"),
    # 100 - 3 sqrt(sigma**2 + (centre - 100)**2): 3-4-5 triangles.
    [(97, 4, 85), (100, 1, 97), (96, 0, 88), (97, 0, 91)],
)
def test_action_limit(centre, sigma, limit):
    assert action_limit(centre, sigma) == pytest.approx(limit)


def test_points_beyond_are_marked():
    rates = [98.0, 98.2] * 12 + [80.0]
    found = limits_of([(str(i), "", rate) for i, rate in enumerate(rates)])
    assert found.has_enough and not found.has_dates
    marks = [found.beyond(point) for point in found.points]
    assert marks == [""] * 24 + ["action"]
    assert found.points[-1].moving_range > found.range_limit
    with pytest.raises(ValueError, match="two pass rates or more"):
        limits_of([("a", "", 99.0)])


def test_command(tmp_path):
    """Groups by any column; what a person is told; too few pairs are told."""
    rows = []
    for i in range(6):
        for role, grid in zip("re", small_pair(0.5 * i)):
            write_grid(tmp_path / f"{role}{i}.nrrd", grid)
        rows.append({"id": f"p{i}", "reference": f"r{i}.nrrd", "evaluation": f"e{i}.nrrd",
                     "date": f"2026-01-0{6 - i}", "site": "lung" if i < 5 else "brain"})  # fmt: skip
    manifest = write_rows(tmp_path / "m.csv", rows)
    results = tmp_path / "r.sqlite"
    assert zarngi_cohort("run", manifest, "-o", results, "--keep", "site").returncode == 0
    done = zarngi_cohort("limits", results, "--by", "site")
    assert done.returncode == 0
    # One pair of brain has no moving range.
    assert [line for line in done.stdout.splitlines() if line[0] != " "] == ["lung 3%/2mm: 5 pairs"]
    with sqlite3.connect(results) as database:
        found = [r for (r,) in database.execute("SELECT pass_rate FROM results LIMIT 5")]
    mean = math.fsum(found) / 5
    assert f"centre line      {mean:8.3f} %" in done.stdout
    assert "fewer than 20 pairs" in done.stdout
    refused = zarngi_cohort("limits", results, "--by", "machine")
    assert refused.returncode == 1
    assert refused.stderr == 'zarngi-cohort: there is no column "machine"; there are group, site\n'
