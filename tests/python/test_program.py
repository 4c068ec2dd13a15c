"""The same bits as the command-line program, and figures known from an independent program.

Untested voxels are -1 in the program's maps and NaN here.
"""

import subprocess

import numpy as np
import pytest
import zarngi
from conftest import DATA
from documents import read_document  # tests/cli


@pytest.fixture(scope="module")
def grids():
    paths = [DATA / f"head_neck_day{day}.nrrd" for day in (1, 2)]
    if not all(path.exists() for path in paths):
        pytest.skip(f"{DATA} is absent")
    return [zarngi.read(path) for path in paths]


@pytest.mark.parametrize(
    ("options", "tested", "pass_rate", "mean", "maximum"),
    [
        ({"dd": 3, "dta": 3}, 88129, 90.318741, 0.437427, 1.560771),
        ({"dd": 3, "dta": 3, "local": True}, 88129, 81.407936, 0.622812, 1.803545),
        ({"dd": 3, "dta": 3, "interpolate": False}, 88129, 96.885246, 0.430893, 2.784487),
        ({"dd": 3, "dta": 2, "mode": "pass_rate"}, 88129, 77.773491, np.nan, np.nan),
    ],
)
def test_known_figures(grids, options, tested, pass_rate, mean, maximum):
    result = zarngi.gamma_index(*grids, **options)
    assert result.tested == tested
    # The figures are of single precision.
    assert np.float32(result.pass_rate) == np.float32(pass_rate)
    assert result.mean == pytest.approx(mean, abs=1e-6, nan_ok=True)
    assert result.maximum == pytest.approx(maximum, abs=1e-6, nan_ok=True)


def program_map(program, paths, options, directory):
    """The gamma map of the command-line program, with NaN where it has -1."""
    path = directory / "gamma.nrrd"
    subprocess.run(
        [program, "compare", *paths, *options, "--gamma-map", path], check=True, capture_output=True
    )
    gamma = zarngi.read(path).dose
    gamma[gamma == -1] = np.nan
    return gamma


@pytest.mark.parametrize(
    ("arguments", "options"),
    [
        (["--dd", "3", "--dta", "3"], {"dd": 3, "dta": 3}),
        (
            ["--dd", "2.5", "--dta", "1.5", "--local", "--dco", "40", "--norm", "50"],
            {"dd": 2.5, "dta": 1.5, "local": True, "dose_cutoff": 40, "normalisation": 50},
        ),
        (
            ["--nearest", "--step", "0.7", "--max-gamma", "2"],
            {"interpolate": False, "step": 0.7, "max_gamma": 2},
        ),
        (["--slices", "--pass-rate-only"], {"slices": True, "mode": "pass_rate"}),
    ],
)
def test_same_bits_as_the_program(program, head_neck, grids, tmp_path, arguments, options):
    result = zarngi.gamma_index(*grids, **options)
    expected = program_map(program, head_neck, arguments, tmp_path)
    np.testing.assert_array_equal(result.gamma, expected)
    assert result.tested > 1000


@pytest.mark.parametrize("criteria", [(3, 3), (2, 2)])
def test_same_counts_as_the_program(program, head_neck, grids, tmp_path, criteria):
    dd, dta = criteria
    record = tmp_path / "record.json"
    arguments = [program, "compare", *head_neck, "--dd", str(dd), "--dta", str(dta)]
    subprocess.run([*arguments, "--json", record], check=True, capture_output=True)
    (told,) = read_document(record)["criteria"]
    result = zarngi.gamma_index(*grids, dd=dd, dta=dta)
    for name in ("tested", "passed", "failed", "hot", "cold", "unreached"):
        assert getattr(result, name) == told[name], name
    assert min(result.hot, result.cold) > 4000


def test_same_bits_as_the_program_for_dicom(program, tmp_path):
    paths = [DATA / f"proton_ramp_{name}.dcm" for name in ("plan", "beam1")]
    if not all(path.exists() for path in paths):
        pytest.skip(f"{DATA} is absent")
    options = ["--dd", "3", "--dta", "2", "--norm", "4", "--dco", "50", "--pass-rate-only"]
    plan, beam = (zarngi.read(path) for path in paths)
    assert plan.dose.max() == pytest.approx(2.210228, abs=1e-6)
    assert beam.dose.max() == pytest.approx(1.952423, abs=1e-6)
    result = zarngi.gamma_index(
        plan, beam, dd=3, dta=2, normalisation=4, dose_cutoff=50, mode="pass_rate"
    )
    expected = program_map(program, paths, options, tmp_path)
    np.testing.assert_array_equal(result.gamma, expected)
    assert result.tested > 1000


@pytest.mark.parametrize("ending", [".mha", ".nrrd", ".nii", ".nii.gz", ".dcm"])
def test_same_bits_as_the_program_for_files_of_ours(program, tmp_path, ending):
    paths = [tmp_path / f"{name}{ending}" for name in ("reference", "evaluation")]
    for path, grid in zip(paths, zarngi.demo_pair()):
        named = zarngi.DoseGrid(grid.dose, grid.spacing, grid.origin, "1.2.3")
        zarngi.write(path, named.dose, like=named)
    result = zarngi.gamma_index(*map(zarngi.read, paths), dd=2, dta=1.5)
    expected = program_map(program, paths, ["--dd", "2", "--dta", "1.5"], tmp_path)
    np.testing.assert_array_equal(result.gamma, expected)
    assert 0 < result.failed < result.tested
