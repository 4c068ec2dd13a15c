"""
Doses of Monte Carlo programs: figures of two independent parsers for files of others, uncertainties, what
damage does, and units in a comparison.
"""

import dataclasses
import json
import subprocess
import warnings
from pathlib import Path

import numpy as np
import pytest
import zarngi

import variants_3ddose
import variants_topas
from answers import ENGINE, PROGRAM, page_answer
from variants import SIZE, VALUES

DATA = Path(__file__).resolve().parents[3] / "shared" / "data" / "formats"
needs_data = pytest.mark.skipif(not DATA.is_dir(), reason="no files of others beside the project")


def read(path):
    with warnings.catch_warnings():
        warnings.simplefilter("ignore", zarngi.FormatWarning)
        return zarngi.read(path)


def info(path):
    run = subprocess.run([PROGRAM, "info", "--json", path], capture_output=True, text=True, check=False)
    return json.loads(run.stdout) if run.returncode == 0 else run.stderr.removeprefix(f"zarngi: {path}: ")


@dataclasses.dataclass
class Figures:
    unit: str
    spacing: tuple
    origin: tuple
    size: tuple
    least: float
    most: float
    total: float
    places: dict
    uncertain: tuple | None = None  # least and most standard uncertainty, of the dose


EVEN = Figures(
    "Gy/history", (5, 4, 3), (-7.5, 22, -4.5), (4, 3, 5), 1e-17, 4.24e-15, 1.275e-13,
    {(-7.5, 22, -4.5): 1e-17, (7.5, 22, -4.5): 4e-17, (-7.5, 30, -4.5): 2.1e-16,
     (-2.5, 26, 4.5): 3.12e-15, (7.5, 30, 7.5): 4.24e-15},
    (0.01, 0.029),
)  # fmt: skip
GRID = Figures(
    "Gy/run", (2, 2.5, 4), (-2, -3.75, -8), (3, 4, 5), 1e-9, 4.33e-7, 1.302e-5,
    {(-2, -3.75, -8): 1e-9, (2, -3.75, -8): 3e-9, (-2, 3.75, -8): 3.1e-8, (-2, -3.75, 8): 4.01e-7,
     (2, 3.75, 8): 4.33e-7},
    (0.03, 0.03),
)  # fmt: skip


def metaimages():
    """Images of simulations, whose values count as Gy with warnings."""
    gate = Figures("Gy", (2, 2.5, 3), (-5, -5, -4.5), (6, 5, 4), 0, 0.000345999986, 0.020216,
                   {(-5, -5, -4.5): 0, (5, -5, -4.5): 6.00000021e-06, (-5, 5, -4.5): 4.09999993e-05,
                    (-1, 0, 1.5): 0.000222999995, (5, 5, 4.5): 0.000345999986})  # fmt: skip
    fine = dict.fromkeys(((5, -5, -4.5), (-5, 5, -4.5), (-1, 0, 1.5), (5, 5, 4.5)), 0.0500000007)
    return {
        "fred/Phantom.Dose.mhd": Figures(
            "Gy", (10, 10, 10), (-45, -95, -45), (10, 20, 10), 0, 0.00432784716, 0.253805384,
            {(5, -5, 5): 0.00432784716, (-15, -35, -5): 0.000476643327, (15, 25, -5): 0.00031023132,
             (-5, 45, 5): 0.00114862539, (5, -15, -5): 0.00304362504}),
        "mcsquare/Dose.mhd": Figures(
            "Gy", (10, 10, 10), (0, 0, 0), (10, 20, 10), 0, 2122555.5, 113459852,
            {(50, 90, 40): 2122555.5, (40, 100, 40): 924374.75, (20, 110, 50): 132653.812,
             (50, 60, 40): 1107743.25, (0, 0, 0): 0}),
        "synthetic/gate-dose.mhd": gate,
        "synthetic/gate-dose_squared.mhd": dataclasses.replace(
            gate, most=3.11231671e-10, total=1.29868327e-08,
            places={(-5, -5, -4.5): 0, (5, -5, -4.5): 9.3591e-14, (-5, 5, -4.5): 4.37017975e-12,
                    (-1, 0, 1.5): 1.29282968e-10, (5, 5, 4.5): 3.11231671e-10}),
        "synthetic/gate-dose_uncertainty.mhd": dataclasses.replace(
            gate, most=0.0500000007, total=5.80000009, places={(-5, -5, -4.5): 0, **fine}),
        "synthetic/gate9-Dose-Uncertainty.mhd": dataclasses.replace(
            gate, least=0.0500000007, most=1, total=9.80000009, places={(-5, -5, -4.5): 1, **fine}),
    }  # fmt: skip


FIGURES = {
    "synthetic/even.3ddose": EVEN,
    "synthetic/even.3ddose.gz": EVEN,
    "synthetic/even_wrapped.3ddose": EVEN,
    "synthetic/no_errors.3ddose": dataclasses.replace(EVEN, uncertain=None),
    "synthetic/zeroed.3ddose": dataclasses.replace(
        EVEN, least=0, total=9.585e-14, uncertain=(0.011, 0.029),
        places={(-7.5, 22, -4.5): 0, (7.5, 22, -4.5): 4e-17, (-7.5, 30, -4.5): 0,
                (-2.5, 26, 4.5): 3.12e-15, (7.5, 30, 7.5): 4.24e-15}),
    "synthetic/rounded.3ddose": Figures(
        "Gy/history", (3.3333, 3.3333, 1.17188), (-3.3335, 1.6665, -0.58594), (3, 2, 2), 1, 113, 684,
        {(-3.3335, 1.6665, -0.5859): 1, (3.3335, 1.6665, -0.5859): 3, (-3.3335, 5, -0.5859): 11,
         (0, 1.6665, 0.5859): 102, (3.3335, 5, 0.5859): 113}, (0.02, 0.02)),
    "synthetic/repeat.3ddose": Figures(
        "Gy/history", (10, 10, 10), (5, 5, 5), (2, 2, 2), 0, 3, 9,
        {(5, 5, 5): 0, (15, 15, 5): 0, (5, 5, 15): 1, (15, 5, 15): 2, (15, 15, 15): 3}, (0.5, 0.5)),
    "topas/Dose.csv": Figures(
        "Gy/run", (102, 102, 1), (0, 0, -149.5), (1, 1, 300), 6.58263766e-19, 4.48930734e-07,
        2.18619288e-05,
        {(0, 0, -149.5): 8.45737773e-08, (0, 0, -49.5): 1.24873708e-07, (0, 0, 5.5): 4.48930734e-07,
         (0, 0, 50.5): 6.15306417e-12, (0, 0, 149.5): 3.76746898e-12}),
    "topas/Dose.binheader": Figures(
        "Gy/run", (500, 500, 5), (0, 0, -97.5), (1, 1, 40), 6.90159681e-13, 1.70461256e-09,
        1.82344259e-08,
        {(0, 0, -97.5): 3.60548313e-10, (0, 0, -47.5): 4.31622793e-10, (0, 0, 2.5): 5.3358945e-10,
         (0, 0, 52.5): 1.70461256e-09, (0, 0, 97.5): 7.97813367e-13}, (0.0130514, 1)),
    "synthetic/topas_zfast.csv": GRID,
    "synthetic/topas_xfast.csv": GRID,
    "synthetic/topas_single.csv": GRID,
    "synthetic/topas_grid.binheader": GRID,
    "synthetic/topas_sparse.csv": dataclasses.replace(
        GRID, least=0, total=1.1412e-05,
        places={(-2, -3.75, 0): 2.01e-07, (2, -3.75, 0): 2.03e-07, (-2, 3.75, 0): 2.31e-07,
                (-2, -3.75, 8): 4.01e-07, (2, 3.75, 8): 4.33e-07}),
    **metaimages(),
}  # fmt: skip


@needs_data
@pytest.mark.parametrize("name", FIGURES)
def test_figures(name):
    wanted = FIGURES[name]
    told, grid = info(DATA / name), read(DATA / name)
    assert told["doseUnit"] == grid.unit == wanted.unit
    assert tuple(told["grid"]["size"]) == grid.dose.shape[::-1] == wanted.size
    rounded = 3e-4 if "rounded" in name else 0  # mm: its boundaries are
    for spacing, origin in ((told["grid"]["spacing"], told["grid"]["origin"]), (grid.spacing, grid.origin)):
        np.testing.assert_allclose(spacing, wanted.spacing, rtol=0, atol=rounded)
        np.testing.assert_allclose(origin, wanted.origin, rtol=0, atol=rounded)
    doses = grid.dose.astype(float)
    np.testing.assert_allclose(told["grid"]["minimum"], wanted.least, rtol=1e-6)
    np.testing.assert_allclose(told["grid"]["maximum"]["dose"], wanted.most, rtol=1e-6)
    np.testing.assert_allclose((doses.min(), doses.max(), doses.sum()),
                               (wanted.least, wanted.most, wanted.total), rtol=1e-6)
    for place, dose in wanted.places.items():
        index = [round((p - o) / s) for p, o, s in zip(place, grid.origin, grid.spacing)][::-1]
        np.testing.assert_allclose(doses[tuple(index)], dose, rtol=1e-6)
    check_uncertainty(told, grid, wanted)


@needs_data
@pytest.mark.skipif(not ENGINE, reason="the engine of the page is not built")
@pytest.mark.parametrize("name", FIGURES)
def test_the_page_answers_alike(name):
    told, answer = info(DATA / name), page_answer(str(DATA / name))
    assert answer["sha256"] == told["dosesSha256"] and answer["doseUnit"] == told["doseUnit"]
    assert answer["grid"] == told["grid"] and answer["warnings"] == told["warnings"]


def check_uncertainty(told, grid, wanted):
    if wanted.uncertain is None:
        assert grid.uncertainty is None and "uncertainty" not in told
        return
    doses, uncertainty = grid.dose.astype(float), grid.uncertainty
    assert uncertainty.shape == doses.shape
    np.testing.assert_array_equal(np.isnan(uncertainty), doses == 0)
    part = uncertainty[doses > 0] / doses[doses > 0]
    assert told["uncertainty"]["known"] == part.size
    high = np.sort(uncertainty[doses > doses.max() / 2] / doses[doses > doses.max() / 2]) * 100
    assert told["uncertainty"]["highDoses"] == high.size
    np.testing.assert_allclose(told["uncertainty"]["median"], high[(high.size - 1) // 2], rtol=1e-6)
    np.testing.assert_allclose(told["uncertainty"]["largest"], high[-1], rtol=1e-6)
    if wanted.uncertain[1] < 1:
        np.testing.assert_allclose((part.min(), part.max()), wanted.uncertain, rtol=1e-5)


@needs_data
def test_standard_error_of_a_sum():
    grid = read(DATA / "topas" / "Dose.binheader")
    at = grid.dose.argmax()
    assert round(float(grid.uncertainty.flat[at] / grid.dose.flat[at]), 4) == 0.0176


@needs_data
def test_errors_of_each_voxel():
    grid = read(DATA / "synthetic" / "even.3ddose")
    k, j, i = np.indices(grid.shape)
    np.testing.assert_allclose(grid.uncertainty / grid.dose, 0.01 + 0.001 * (i + 2 * j + 3 * k), rtol=1e-6)


REFUSED = {
    "synthetic/cylinder.3ddose": "cylinder or a sphere",
    "synthetic/uneven.3ddose": "uneven along z (from 3 mm to 10 mm)",
    "synthetic/descending.3ddose": "boundaries along x do not rise",
    "synthetic/short.3ddose": "does not fit its grid of 4 x 3 x 5 voxels",
    "synthetic/half_errors.3ddose": "does not fit its grid of 4 x 3 x 5 voxels",
    "synthetic/topas_missing.csv": "does not tell the bin",
    "synthetic/topas_twice.csv": "tells the bin",
    "synthetic/topas_energy.csv": "EnergyDeposit ( MeV )",
    "topas/SurfaceTracks.csv": "SurfaceTrackCount",
    "topas/minimal_fluence.csv": "Fluence ( /mm2 )",
    "topas/cylinder.csv": "R, Phi, Z",
    "topas/no_bins.csv": "without bins",
}


@needs_data
@pytest.mark.parametrize("name", REFUSED)
def test_refused_by_name(name):
    assert REFUSED[name] in info(DATA / name)
    with pytest.raises(zarngi.FormatError) as refusal:
        read(DATA / name)
    assert info(DATA / name) == str(refusal.value).removeprefix(f"{DATA / name}: ") + "\n"


def test_bins_outside_a_filter_are_gaps(tmp_path):
    outside = np.arange(VALUES.size).reshape(VALUES.shape) % 6 == 0
    values = dict(variants_topas.STATISTICS, Sum=np.where(outside, -1, VALUES.astype(float)))
    path = tmp_path / "dose.csv"
    path.write_bytes(variants_topas.text(lines=variants_topas.rows(values=values)))
    grid, told = read(path), info(path)
    np.testing.assert_array_equal(grid.measured, ~outside)
    np.testing.assert_array_equal(grid.dose, np.where(outside, 0, VALUES))
    assert told["measurement"]["kind"] == "grid" and told["measurement"]["measured"] == 50
    assert any(w.startswith("has 10 bins of -1") for w in told["warnings"])


STATISTICS = ("Mean", "Standard_Deviation", "Histories_with_Scorer_Active")


@pytest.mark.parametrize(
    ("statistics", "part"),
    [(("Sum", *STATISTICS[1:]), 1 / 128), (STATISTICS, 1 / 128), (STATISTICS[:2], None)],
)
def test_uncertainty_of_a_scorer(tmp_path, statistics, part):
    """The deviation of single histories is 1/8192 of the sum, of 4096 of them."""
    path = tmp_path / "dose.csv"
    path.write_bytes(variants_topas.text(statistics))
    grid = read(path)
    if part is None:
        assert grid.uncertainty is None
        return
    where = VALUES > 0
    np.testing.assert_allclose(grid.uncertainty[where] / grid.dose[where], part, rtol=1e-6)
    assert np.isnan(grid.uncertainty[~where]).all()


def mutations(contents, random, count=400):
    for _ in range(count):
        position = int(random.integers(len(contents)))
        damaged = bytearray(contents)
        damaged[position] ^= 1 << int(random.integers(8))
        yield bytes(damaged)
    for end in random.integers(0, len(contents), 100):
        yield contents[:end]


def test_damage_of_redundant_files(tmp_path):
    """Of sums, means and histories no one is lost without the others telling: refused, or the same."""
    statistics = variants_topas.ALL
    path = tmp_path / "dose.binheader"
    path.write_bytes(variants_topas.binary(statistics))
    refused = 0
    for damaged in mutations(variants_topas.stored(statistics), np.random.default_rng(4)):
        (tmp_path / "dose.bin").write_bytes(damaged)
        try:
            grid = read(path)
        except zarngi.FormatError:
            refused += 1
            continue
        np.testing.assert_allclose(grid.dose, VALUES, rtol=1e-6)
    assert refused > 100


@pytest.mark.parametrize(
    ("contents", "per_row"),
    [(variants_topas.text(), 4), (variants_3ddose.threeddose(), 0)],
    ids=["TOPAS", "3ddose"],
)
def test_damage_of_texts(tmp_path, contents, per_row):
    """No dose changes its place: what is read differs at one place at most, by its own digits."""
    path = tmp_path / "dose"
    counts = [0, 0]
    for damaged in mutations(contents, np.random.default_rng(5)):
        path.write_bytes(damaged)
        try:
            grid = read(path)
        except zarngi.FormatError:
            counts[0] += 1
            continue
        counts[1] += 1
        assert grid.dose.shape == SIZE[::-1]
        assert (grid.dose != VALUES).sum() <= 1
    assert min(counts) > 50


def compared(*arguments):
    run = subprocess.run([PROGRAM, "compare", *map(str, arguments), "--json", "-"], capture_output=True,
                         text=True, check=False)
    return json.loads(run.stdout) if run.returncode == 0 else run.stderr


@pytest.fixture
def pair(tmp_path):
    """A simulated dose, and the same in gray: 2^60 times as much."""
    simulated, planned = tmp_path / "simulated.3ddose", tmp_path / "planned.mha"
    simulated.write_bytes(variants_3ddose.threeddose(VALUES * 2.0**-60))
    zarngi.write(planned, VALUES, zarngi.DoseGrid(VALUES, (2, 2.5, 3), (-7.5, 12.25, -40)))
    return simulated, planned


def test_units_meet_by_a_factor_or_a_norm(pair):
    simulated, planned = pair
    sentence = f"Gy/history ({simulated}) and in Gy ({planned})"
    assert sentence in compared(simulated, planned)
    assert "--reference-scale or --evaluation-scale" in compared(planned, simulated)
    for scale, rate in ((2**60, 100), (1, 0)):
        record = compared(planned, simulated, "--evaluation-scale", scale)
        assert record["doseUnit"] == "Gy" and record["criteria"][0]["passRate"] == rate
    record = compared(simulated, planned, "--reference-scale", 2**60)
    assert record["doseUnit"] == "Gy" and record["criteria"][0]["passRate"] == 100
    by_norm = compared(planned, simulated, "--norm", "30")
    assert by_norm["doseUnit"] == "Gy" and by_norm["criteria"][0]["passRate"] == 0
    assert any("they are compared as they are" in warning for warning in by_norm["warnings"])
    alike = compared(simulated, simulated)
    assert alike["doseUnit"] == "Gy/history" and alike["criteria"][0]["passRate"] == 100


def test_runs_and_histories_are_told_apart(tmp_path):
    run, history = tmp_path / "run.csv", tmp_path / "history.csv"
    run.write_bytes(variants_topas.text())
    history.write_bytes(variants_topas.text(("Mean",)))
    assert "Gy/run" in compared(run, history)
    record = compared(run, history, "--evaluation-scale", variants_topas.HISTORIES)
    assert record["doseUnit"] == "Gy/run" and record["criteria"][0]["passRate"] == 100


def test_units_in_the_package(pair):
    simulated, planned = (read(path) for path in pair)
    with pytest.raises(ValueError, match="reference has the unit Gy and evaluation Gy/history"):
        zarngi.gamma_index(planned, simulated)
    made = zarngi.DoseGrid(simulated.dose * 2.0**60, simulated.spacing, simulated.origin)
    assert zarngi.gamma_index(planned, made).pass_rate == 100
    assert zarngi.gamma_index(planned, simulated, normalisation=30).pass_rate == 0
    assert "Gy/history" in repr(simulated)
