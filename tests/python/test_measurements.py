"""Planes and points: the same as the command-line program, and what cannot be compared."""

import subprocess
import warnings

import numpy as np
import pytest
import zarngi
from conftest import DATA, small_grid
from documents import read_document  # tests/cli


def by_program(program, folder, *arguments):
    record = folder / "record.json"
    subprocess.run([program, "compare", *arguments, "--json", record], check=True,
                   capture_output=True)
    return read_document(record)["criteria"][0]


def check_same(result, criterion):
    for name in ("tested", "passed", "hot", "cold"):
        assert getattr(result, name) == criterion[name]
    assert np.float32(result.pass_rate) == np.float32(criterion["passRate"])
    assert result.mean == pytest.approx(criterion["mean"], rel=1e-12)
    assert result.maximum == criterion["max"]


@pytest.mark.parametrize(
    ("options", "criterion", "passed"),
    [
        ({"dd": 3, "dta": 3}, "3%/3mm", 969),
        ({"dd": 2, "dta": 2}, "2%/2mm", 951),
        ({"dd": 3, "dta": 3, "local": True}, "3%L/3mm", 943),
        ({"dd": 1, "dta": 1}, "1%/1mm", 816),
    ],
)
def test_measured_array(program, tmp_path, options, criterion, passed):
    paths = [DATA / name for name in ("arccheck_measured.txt", "arccheck_planned.snc")]
    if not all(path.exists() for path in paths):
        pytest.skip(f"{DATA} is absent")
    measured, planned = map(zarngi.read, paths)
    assert (measured.shape, int(measured.measured.sum())) == ((41, 131), 1386)
    result = zarngi.gamma_index(measured, planned, **options)
    assert (result.tested, result.passed) == (970, passed)
    check_same(result, by_program(program, tmp_path, *paths, "-c", criterion))
    assert np.isnan(result.gamma[~measured.measured]).all()


@pytest.mark.parametrize("plane", ["axial", "coronal", "sagittal", "gantry:90", "gantry:37.5"])
def test_planes_at_their_place(program, tmp_path, pair, plane):
    reference, evaluation = pair
    y, x = np.arange(-8, 9, 2.0), np.arange(-9, 10, 3.0)
    rows = 45 * np.exp(-((x / 9) ** 2) - (y[:, None] / 12) ** 2)
    grid = zarngi.DoseGrid.from_axes((y, x), rows)
    lines = ["\t".join(["y\\x [mm, Gy]", *map(repr, x.tolist())])]
    lines += ["\t".join(map(repr, [at, *row])) for at, row in zip(y.tolist(), rows.tolist())]
    (tmp_path / "plane.txt").write_text("\n".join(lines) + "\n")
    np.testing.assert_array_equal(
        zarngi.read(tmp_path / "plane.txt").dose, rows.astype(np.float32))
    zarngi.write(tmp_path / "volume.mha", evaluation.dose, evaluation)
    at = (0.5, 1.0, 2.0)
    placed = grid.placed(plane, at)
    assert isinstance(placed, zarngi.DosePoints) == (plane == "gantry:37.5")
    result = zarngi.gamma_index(placed, evaluation, dd=2, dta=2)
    assert 0 < result.passed < result.tested
    check_same(result, by_program(
        program, tmp_path, tmp_path / "plane.txt", tmp_path / "volume.mha", "-c", "2%/2mm",
        "--plane", plane, "--at", "0.5,1,2"))


def test_points_are_voxels(pair):
    reference, evaluation = pair
    z, y, x = np.meshgrid(*reference.axes, indexing="ij")
    positions = np.stack([x, y, z], -1).reshape(-1, 3)
    points = zarngi.DosePoints(positions, reference.dose.ravel())
    options = {"dd": 2, "dta": 2, "structures": None}
    whole = zarngi.gamma_index(reference, evaluation, **options)
    single = zarngi.gamma_index(points, evaluation, **options)
    assert single.tested == whole.tested
    assert abs(single.passed - whole.passed) <= 1  # positions are rounded differently
    np.testing.assert_allclose(single.gamma, whole.gamma.ravel(), rtol=1e-3, atol=1e-4)


def test_planes_in_space_are_compared_in_their_plane():
    rows = small_grid().dose[4]
    planes = [
        zarngi.DoseGrid(rows * f, (2, 2.5), (-12, -12.5)).placed("coronal", (0, at, 0))
        for f, at in ((1, 3.0), (1.01, 5.0))
    ]
    flat = [zarngi.DoseGrid(rows * f, (2, 2.5), (-12, -12.5)) for f in (1, 1.01)]
    with pytest.warns(UserWarning, match="2 mm apart along y"):
        result = zarngi.gamma_index(*planes, dd=2, dta=2)
    assert result.gamma.shape == planes[0].shape
    expected = zarngi.gamma_index(*flat, dd=2, dta=2)
    np.testing.assert_array_equal(result.gamma.ravel(), expected.gamma.ravel())


def test_planar_doses(program, tmp_path, pair):
    """Planes whatever thickness they tell, as for the program."""
    reference, evaluation = pair
    paths = []
    for name, grid, thickness in (("a", reference, 3.0), ("b", reference, 5.0), ("c", evaluation, 3)):
        origin = (*grid.origin[:2], 2.0)
        one = zarngi.DoseGrid(grid.dose[4:5], (*grid.spacing[:2], thickness), origin)
        paths.append(tmp_path / f"{name}.dcm")
        zarngi.write(paths[-1], one.dose, one)
    zarngi.write(tmp_path / "volume.nrrd", evaluation.dose, evaluation)
    thin, thick, other = map(zarngi.read, paths)
    assert (thick.plane_normal, thick.spacing[2], thick.shape[0]) == ("z", 5, 1)
    volume = zarngi.read(tmp_path / "volume.nrrd")
    with warnings.catch_warnings():
        warnings.simplefilter("ignore")  # the files have frames of reference of their own
        for compared, files in (((thick, other), paths[1:]),
                                ((thick, volume), (paths[1], tmp_path / "volume.nrrd"))):
            result = zarngi.gamma_index(*compared, dd=2, dta=2)
            assert 0 < result.passed < result.tested and result.gamma.shape == thick.shape
            check_same(result, by_program(program, tmp_path, *files, "-c", "2%/2mm"))
            same = zarngi.gamma_index(thin, compared[1], dd=2, dta=2)
            np.testing.assert_array_equal(same.gamma, result.gamma)


@pytest.mark.parametrize("step", [0.0078125, 0.005, 0.003])
def test_lattices_finer_than_a_plane_is_thick(program, tmp_path, step):
    """Whoever asks: the program, a document and `gamma_index`, of planes and of lines."""
    x = np.arange(-9, 10, 3.0)
    doses = [40 - x**2 / 5 - y[:, None] for y in (np.arange(0, 10, 2.0), np.arange(0.02, 10, 2.0))]
    grids = [zarngi.DoseGrid(dose, (3, 2), (-9, 0)) for dose in doses]
    paths = [tmp_path / "a.txt", tmp_path / "b.txt"]
    for path, grid in zip(paths, grids):
        lines = ["\t".join(["y\\x [mm, Gy]", *map(repr, x.tolist())])]
        lines += ["\t".join(map(repr, [y, *row])) for y, row in zip(range(0, 10, 2), grid.dose.tolist())]
        path.write_text("\n".join(lines) + "\n")
    options = {"dd": 0.02, "dta": 0.05, "step": step}
    result = zarngi.gamma_index(*grids, **options)
    assert 0 < result.passed < result.tested
    check_same(result, by_program(program, tmp_path, *paths, "-c", "0.02%/0.05mm", "--step", str(step)))
    request = zarngi.default_request() | {"criteria": ["0.02%/0.05mm"], "step": step}
    asked = zarngi.compare(request, reference=grids[0], evaluation=grids[1])
    np.testing.assert_array_equal(asked.gamma()[0], result.gamma)
    lines = [zarngi.DoseGrid(dose[2], 3, -9) for dose in doses]
    flat = [zarngi.DoseGrid(np.tile(dose[2], (2, 1)), (3, 2), (-9, 0)) for dose in doses]
    along, across = (zarngi.gamma_index(*pair, **options) for pair in (lines, flat))
    np.testing.assert_array_equal(along.gamma, across.gamma[0])


@pytest.mark.parametrize(
    ("normal", "shape", "values", "message"),
    [
        ("w", (1, 4, 5), 3, "accepted: 'x' or 'y' or 'z'"),
        ("y", (1, 4, 5), 3, "one layer along y"),
        ("z", (4, 5), 2, "have 2 values"),
    ],
)
def test_refused_planes(normal, shape, values, message):
    with pytest.raises(ValueError, match=message):
        zarngi.DoseGrid(np.ones(shape), 2, (0,) * values, plane_normal=normal)


def test_unmeasured_places():
    grid = small_grid()
    measured = np.indices(grid.shape).sum(0) % 2 == 0
    holed = zarngi.DoseGrid(grid.dose, grid.spacing, grid.origin, measured=measured)
    result = zarngi.gamma_index(holed, grid)
    assert result.tested == np.count_nonzero(
        grid.dose[measured] > 0.1 * grid.dose[measured].max())
    with pytest.raises(ValueError, match="evaluation has places that are not measured"):
        zarngi.gamma_index(grid, holed)


@pytest.mark.parametrize(
    ("arguments", "error", "message"),
    [
        (([(0, 0, 0)], [1, 2]), ValueError, r"dose has shape \(2,\); accepted: \(1,\)"),
        (([(0, 0, 0, 0)], [1]), ValueError, r"positions has shape \(1, 4\)"),
        (([(0, 0, np.nan)], [1]), ValueError, "positions holds a value that is not finite"),
        (([(0, 0, 0)], ["a"]), TypeError, "accepted: real numbers"),
    ],
)
def test_refused_points(arguments, error, message):
    with pytest.raises(error, match=message):
        zarngi.DosePoints(*arguments)


def test_refused_comparisons():
    grid = small_grid()
    flat = zarngi.DosePoints([(0, 0), (1, 1)], [1, 2])
    points = zarngi.DosePoints([(0, 0, 0), (1, 1, 1)], [1, 2])
    plane = zarngi.DoseGrid(np.ones((4, 5)), 2, (0, 0))
    placed = plane.placed("axial", (0, 0, 0))
    for arguments, options, message in (
        ((flat, grid), {}, "reference has 2 dimensions and evaluation has 3"),
        ((plane, grid), {}, "reference has 2 dimensions and evaluation has 3"),
        ((points, grid), {"random_rotation": True}, "random_rotation=True turns"),
        ((points, placed), {}, "evaluation is a plane in space"),
        ((grid, placed), {}, "evaluation is a plane, in which a volume cannot be searched"),
        ((plane.placed("coronal", (0, 0, 0)), placed), {}, "do not lie alike"),
        ((placed, placed), {"random_rotation": True}, "random_rotation=True turns"),
        ((placed, grid), {"structures": {"all": np.ones(placed.shape, bool)}}, "reference is a plane"),
        ((points, grid), {"structures": {"all": np.ones(grid.shape, bool)}}, "no DosePoints"),
    ):
        with pytest.raises(ValueError, match=message):
            zarngi.gamma_index(*arguments, **options)
    with pytest.raises(TypeError, match="between points there is no dose"):
        zarngi.gamma_index(grid, points)
    with pytest.raises(ValueError, match="is none of axial, coronal, sagittal, gantry:ANGLE"):
        plane.placed("oblique", (0, 0, 0))
    with pytest.raises(ValueError, match="have places in space already"):
        points.placed("axial", (0, 0, 0))
    with pytest.raises(zarngi.NothingTestedError):
        zarngi.gamma_index(zarngi.DosePoints([(0, 0, 0)], [0]), grid)
