"""
Published and made-up files of arrays and planes of several makers, with the figures that two other
parsers gave for each; and those that are refused, by name.
"""

import json
import re
import subprocess
import warnings
from pathlib import Path

import numpy as np
import pytest
import zarngi

from answers import ENGINE, PROGRAM, page_answer

SHARED = Path(__file__).resolve().parents[3] / "shared" / "data"
SAMPLES = SHARED / "formats"

pytestmark = pytest.mark.skipif(not SAMPLES.is_dir(), reason=f"no samples of formats in {SAMPLES}")

# Format, size, spacing and first place (mm; none: points), doses, minimum, maximum, sum (Gy), and the
# dose in five places.
FIGURES = {
    "ptw/x729.mcc": (
        "PTW array", (27, 27), (10, 10), (-130, -130), 729, 0.011306, 1.043, 417.131781,
        {(0, 0): 1.0064, (-130, -130): 0.011705, (60, -100): 0.37268, (-70, 110): 0.057189,
         (130, 130): 0.011881}),
    "ptw/x1000.mcc": (
        "PTW array", (45, 45), (2.5, 2.5), (-55, -55), 977, 0.028423, 2.7228, 1076.02105,
        {(0, 0): 2.7228, (-55, -55): 0.02877, (32.5, -32.5): 0.087744, (-27.5, 12.5): 0.50447,
         (52.5, 52.5): 0.032313}),
    "ptw/x1500.mcc": (
        "PTW array", (53, 53), (5, 5), (-130, -130), 1405, 0.036231, 1.7271, 805.30666,
        {(0, 0): 1.5308, (-130, -130): 0.041117, (65, -105): 0.13897, (-70, 110): 0.90013,
         (130, 130): 0.037076}),
    "ptw/starcheck.mcc": (
        "PTW array", None, None, None, 527, 0.01546, 1.042, 332.457716,
        {(0, 0): 1.0014, (-130, -130): 0.01546, (60, -100): 0.5523, (-30, 50): 1.0387,
         (85.84, -85.84): 1.0037}),
    "synthetic/matrixx_cm.opg": (
        "IBA plane", (12, 10), (83.8 / 11, 7.62), (-41.9, -34.29), 120, 0.16, 1.6176, 106.656,
        {(-41.9, -34.29): 0.16, (41.9, -34.29): 0.1776, (-41.9, 34.29): 1.6, (3.81, -3.81): 0.8096,
         (41.9, 34.29): 1.6176}),
    "synthetic/gaps.opg": (
        "IBA plane", (9, 9), (5, 5), (-20, -20), 33, 1, 1.088, 34.452,
        {(0, 0): 1.044, (-20, -20): 1, (20, -20): 1.008, (-20, 20): 1.08, (0, 15): 1.074}),
    "synthetic/qaplane_cgy.all": (
        "XiO or Monaco plane", (7, 5), (2, 2), (-6, -4), 35, 1, 5.06, 106.05,
        {(-6, 4): 1, (6, 4): 1.06, (-6, -4): 5, (0, 0): 3.03, (6, -4): 5.06}),
    "synthetic/qaplane_gy.txt": (
        "XiO or Monaco plane", (7, 5), (2, 2), (-6, -3), 35, 100, 506, 10605,
        {(-6, 5): 100, (6, 5): 106, (-6, -3): 500, (0, 1): 303, (6, -3): 506}),
    "synthetic/mapcheck_zero.txt": (
        "detector array", (5, 5), (5, 5), (-10, -10), 13, 0, 0.504, 3.624,
        {(-10, 10): 0.1, (10, 10): 0.104, (-10, -10): 0.5, (-5, 5): 0.201, (10, -10): 0.504,
         (0, 0): 0}),
}  # fmt: skip

REFUSED = {
    "ptw/10x10xy.mcc": "is a PTW scan in a water tank, in A.U.; ",
    "ptw/06MV_05x05.mcc": "is a PTW scan in a water tank, in cGy/MU; ",
    "synthetic/counts.opg": "is an IBA plane of counts; ",
    "synthetic/relative.opg": "is an IBA plane of doses relative to one that it does not tell; ",
    "synthetic/two_bodies.opg": "is an IBA file of 2 planes; ",
    "synthetic/plane_xz.opg": "is an IBA file of the plane XZ; ",
    "synthetic/comma.opg": "is an IBA plane that tells no Data Unit: ",
    "synthetic/qaplane_contradicts.all": "contradicts itself: 7 places 2 mm apart span 12 mm, not 14",
    "synthetic/iplan_two_planes.txt": "is a plane by BrainLAB iPlan, which does not tell which way ",
    "synthetic/gdef_cu.dxf": "is of the Generic Dosimetry Exchange Format, which does not tell where ",
    "synthetic/mapcheck_no_calibration.txt": "is a detector array that is not calibrated to dose ",
}


def by_program(path):
    return subprocess.run([PROGRAM, "info", "--json", path], capture_output=True, text=True,
                          timeout=60, check=False)  # fmt: skip


def doses_of(dose):
    """Places (x, y) and doses that are measured."""
    if isinstance(dose, zarngi.DosePoints):
        return dose.positions, dose.dose
    x, y = (dose.origin[i] + dose.spacing[i] * np.arange(dose.shape[1 - i]) for i in range(2))
    places = np.stack(np.meshgrid(x, y), -1)
    measured = np.ones(dose.shape, bool) if dose.measured is None else dose.measured
    return places[measured], dose.dose[measured]


@pytest.mark.parametrize("name", FIGURES)
def test_figures(name):
    form, size, spacing, origin, count, minimum, maximum, total, places = FIGURES[name]
    run = by_program(SAMPLES / name)
    assert run.returncode == 0 and run.stderr == "", run.stderr
    told = json.loads(run.stdout)
    with warnings.catch_warnings():
        warnings.simplefilter("error")  # nothing is taken for granted
        dose = zarngi.read(SAMPLES / name)
    assert told["file"]["format"] == form and told["warnings"] == []
    assert told["doseUnit"] == "Gy"
    if size:
        assert told["grid"]["size"] == [*size, 1]
        assert told["measurement"]["places"] == size[0] * size[1]
        assert told["measurement"]["measured"] == count
        np.testing.assert_allclose(dose.spacing, spacing, rtol=1e-12)
        np.testing.assert_allclose(dose.origin, origin, rtol=1e-12)
    at, doses = doses_of(dose)
    assert len(doses) == count
    # Figures are of the numbers in the file; doses are rounded to single precision once.
    for figure, value in zip((minimum, maximum), (doses.min(), doses.max())):
        assert value == np.float32(figure)
    assert doses.sum(dtype=float) == pytest.approx(total, rel=1e-7)
    assert told["grid"]["maximum"]["dose"] == pytest.approx(maximum, rel=1e-7)
    for place, figure in places.items():
        nearest = np.hypot(*(at - np.array(place)).T)
        assert nearest.min() < 1e-3  # the step of rounded coordinates spans them from end to end
        assert doses[nearest.argmin()] == np.float32(figure), place


@pytest.mark.skipif(not ENGINE, reason="the engine of the page is not built")
@pytest.mark.parametrize("name", [*FIGURES, *REFUSED])
def test_the_page_answers_alike(name):
    path = SAMPLES / name
    run = by_program(path)
    answer = page_answer(str(path))
    if run.returncode != 0:
        assert run.stderr == f"zarngi: {path}: {answer['sentence']}\n"
        return
    told = json.loads(run.stdout)
    assert answer["sha256"] == told["dosesSha256"] and answer["format"] == told["file"]["format"]
    assert answer["grid"] == told["grid"] and answer["warnings"] == told["warnings"]


@pytest.mark.parametrize("name", REFUSED)
def test_refusals(name):
    run = by_program(SAMPLES / name)
    assert run.returncode == 1 and run.stdout == ""
    assert run.stderr.startswith(f"zarngi: {SAMPLES / name}: {REFUSED[name]}")
    with pytest.raises(zarngi.FormatError, match=re.escape(REFUSED[name])):
        zarngi.read(SAMPLES / name)


def test_a_unit_that_is_given():
    """Where the file tells neither unit nor factor, the unit given is that of its numbers."""
    dose = zarngi.read(SAMPLES / "synthetic/comma.opg", dose_unit="cGy")
    np.testing.assert_array_equal(dose.dose, np.float32([[0.01, 0.02, 0.03], [0.04, 0.05, 0.06]]))


def test_flags_name_the_detectors_of_the_cylinder():
    dose = zarngi.read(SHARED / "arccheck_measured.txt")
    assert dose.shape == (41, 131)
    assert dose.measured.sum() == np.count_nonzero(dose.dose) == 1386
