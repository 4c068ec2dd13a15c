"""Structures: the rule from contours to voxels, shapes whose volumes are known, rates and doses."""

import csv
import re
import subprocess

import numpy as np
import pytest
import structure_rule
import structure_sets as written
import zarngi
from conftest import DATA
from documents import read_document  # tests/cli

#: Voxels, tested, passed, mean gamma at 3 %/3 mm; passed, mean gamma at 2 %/2 mm.
HEAD_NECK = {
    "BODY": (515448, 86948, 78555, 0.435467, 63826, 0.648561),
    "BRAIN": (71327, 47834, 43651, 0.435011, 34783, 0.647789),
    "BRSTEM": (2005, 1203, 1007, 0.612540, 655, 0.913652),
    "CTV": (4450, 4450, 4450, 0.066039, 4450, 0.098858),
    "Dose 5200[cGy]": (6, 6, 6, 0.824002, 0, 1.231557),
    "GTV": (546, 546, 546, 0.045870, 546, 0.068805),
    "Lens - left": (10, 0, 0, np.nan, 0, np.nan),
    "Lens - right": (11, 0, 0, np.nan, 0, np.nan),
    "Optic Chiasm": (72, 72, 69, 0.317976, 61, 0.471075),
    "Optic Nerve - Rt": (146, 0, 0, np.nan, 0, np.nan),
    "Optic Nerve-Lt": (111, 111, 111, 0.134153, 111, 0.201202),
    "Orbit - left": (550, 370, 370, 0.144768, 370, 0.217118),
    "Orbit - right": (565, 5, 5, 0.954028, 0, 1.428015),
    "PTV1": (8128, 8128, 7972, 0.184883, 7451, 0.276102),
    "optBRAIN": (50060, 27839, 25788, 0.433101, 20677, 0.645893),
    "optOptic": (1439, 556, 553, 0.172389, 540, 0.257766),
}


def write(path, structures, **elements):
    """A structure set of lists of contours by name."""
    rois = [
        written.roi(number, name, [written.contour(c) for c in contours])
        for number, (name, contours) in enumerate(structures.items(), 1)
    ]
    path.write_bytes(written.file_of(written.structure_set(rois, **elements)))
    return zarngi.read_structures(path)


def grid_of(size, spacing, origin, dose=None):
    shape = tuple(size)[::-1]
    return zarngi.DoseGrid(np.ones(shape) if dose is None else dose, spacing, origin)


def random_contours(random):
    """Contours on planes, some on voxel centres, with horizontal edges and repeated points."""
    heights = np.cumsum(random.choice([1, 2, 2, 2.5, 7], random.integers(1, 7))) - 6.0
    contours = []
    for z in heights:
        for _ in range(random.integers(1, 4)):
            corners = random.integers(3, 12)
            flat = random.uniform(-9, 9, (corners, 2))
            kind = random.integers(0, 3)
            if kind == 0:
                flat = np.round(flat)  # through voxel centres, with horizontal edges
            elif kind == 1:
                flat = np.repeat(np.round(flat * 2) / 2, random.integers(1, 3, corners), axis=0)
            flat = np.round(flat, 4)
            contours.append(np.column_stack([flat, np.full(len(flat), z)]))
        if random.random() < 0.2:
            contours.append(np.roll(contours[-1][::-1], 2, axis=0))
    return contours


@pytest.mark.parametrize("seed", range(12))
def test_random_contours_by_a_second_statement_of_the_rule(tmp_path, seed):
    random = np.random.default_rng(seed)
    structures = {f"S{i}": random_contours(random) for i in range(3)}
    read = write(tmp_path / "rs.dcm", structures)
    size = (19, 17, 15)
    spacing = (1.0, 1.0, 1.0) if seed % 2 else tuple(random.choice([0.8, 1.25, 1.5, 2.0], 3))
    origin = (-9.0, -8.0, -7.0) if seed % 3 else (-8.3, -9.1, -7.77)
    grid = grid_of(size, spacing, origin)
    for name, expected in zip(
        structures, structure_rule.membership(structures.values(), size, spacing, origin)
    ):
        np.testing.assert_array_equal(read[name].mask(grid), expected, err_msg=name)
    result = zarngi.gamma_index(grid, grid, structures=read)
    sampled = {name: result.structures[name].volume for name in structures}
    by_rule = structure_rule.membership(
        structures.values(), size, spacing, origin, structure_rule.finest_parts(spacing)
    )
    part = np.prod(np.divide(spacing, structure_rule.finest_parts(spacing))) / 1000
    for (name, volume), mask in zip(sampled.items(), by_rule):
        assert volume == pytest.approx(mask.sum() * part, abs=1e-9), name


def circle(radius, z, centre=(0.0, 0.0), corners=360):
    return written.polygon(corners, radius, centre, z)


def square(half, z):
    corners = [(-half, -half), (half, -half), (half, half), (-half, half)]
    return [(x, y, z) for x, y in corners]


HEIGHTS = np.arange(-30, 30.1, 1.0)
#: Contours, and volume in cc.
SHAPES = {
    "sphere": (
        [circle(np.sqrt(400 - z * z), z) for z in HEIGHTS if abs(z) < 20],
        4 / 3 * np.pi * 20**3,
    ),
    "cylinder": ([circle(12, z) for z in HEIGHTS], np.pi * 144 * 61),
    "cone": (
        [circle(20 * (30 - z) / 60, z) for z in HEIGHTS[:-1] + 0.5],
        np.pi / 3 * 400 * 60,
    ),
    "cube": ([square(10, z) for z in np.arange(-9.5, 10)], 8000),
    "hollow sphere": (
        [circle(np.sqrt(400 - z * z), z) for z in HEIGHTS if abs(z) < 20]
        + [circle(np.sqrt(100 - z * z), z) for z in HEIGHTS if abs(z) < 10],
        4 / 3 * np.pi * (20**3 - 10**3),
    ),
    "torus around a hole": (
        [
            circle(15 + side * np.sqrt(36 - z * z), z)
            for z in np.arange(-5.9, 6, 0.2)
            for side in (1, -1)
        ],
        2 * np.pi**2 * 15 * 36,
    ),
    "island in a hole": (
        [circle(r, z) for z in HEIGHTS for r in (18, 12, 6)],
        np.pi * (18**2 - 12**2 + 6**2) * 61,
    ),
    "two parts with a gap": (
        [circle(10, z) for z in HEIGHTS if abs(z) > 12],
        np.pi * 100 * 36,
    ),
    "planes not evenly spaced": (
        [circle(10, z) for z in (-10, -8, -6, -3, -1, 1, 3.5, 5.5)],
        np.pi * 100 * 17.5,
    ),
}


@pytest.mark.parametrize("spacing", [(2.0, 2.0, 2.0), (2.5, 1.7, 3.0)])
def test_volumes_of_shapes(tmp_path, spacing):
    read = write(tmp_path / "rs.dcm", {name: contours for name, (contours, _) in SHAPES.items()})
    size = tuple(int(np.ceil(80 / s)) for s in spacing)
    origin = tuple(-(n - 1) / 2 * s + 0.137 for n, s in zip(size, spacing))  # not on the planes
    grid = grid_of(size, spacing, origin)
    result = zarngi.gamma_index(grid, grid, structures=read)
    for name, (contours, volume) in SHAPES.items():
        # A polygon of 360 corners is smaller by a twenty-thousandth; slices of 1 mm of a round body
        # are off by some thousandths.
        assert read[name].volume * 1000 == pytest.approx(volume, rel=4e-3), name
        # Points 0.85 to 1 mm apart: at both ends along z half a layer more or less, of 17.5 mm at least.
        assert result.structures[name].volume * 1000 == pytest.approx(volume, rel=0.06), name
    assert any("gap" in note for note in read["two parts with a gap"].notes)


def test_histograms_of_linear_doses(tmp_path):
    """In a cube and a sphere with a dose that grows along x the shares are known."""
    read = write(tmp_path / "rs.dcm", {name: SHAPES[name][0] for name in ("cube", "sphere")})
    size, spacing, origin = (41, 41, 41), (2.0, 2.0, 2.0), (-40.0, -40.0, -40.0)
    x = origin[0] + 2.0 * np.arange(41)
    dose = np.broadcast_to(30 + 0.5 * x, (41, 41, 41))
    doses = read["cube"].dvh(grid_of(size, spacing, origin, dose), metrics="V30Gy,D25,D1cc")
    # From 25 Gy at x = -10 mm to 35 Gy at 10 mm; points are 1 mm apart, half a Gy.
    assert doses.mean == pytest.approx(30, abs=1e-9)
    for percent, name in ((98, "D98"), (95, "D95"), (50, "D50"), (25, "D25"), (2, "D2")):
        assert doses.metrics[name] == pytest.approx(35 - percent / 10, abs=0.26), name
    assert doses.metrics["V30Gy"] == pytest.approx(50, abs=2.6)
    assert doses.metrics["D1cc"] == pytest.approx(35 - 10 / 8, abs=0.26)
    np.testing.assert_allclose(
        doses.volumes, np.clip((35 - doses.doses) / 10, 0, 1), atol=0.026
    )
    sphere = read["sphere"].dvh(grid_of(size, spacing, origin, dose))
    # The share of a ball of radius 20 beyond a plane at h: (2 - 3 t + t^3) / 4 with t = h / 20.
    t = np.clip((sphere.doses - 30) / 10, -1, 1)
    np.testing.assert_allclose(sphere.volumes, (2 - 3 * t + t**3) / 4, atol=0.02)


def test_contours_that_cannot_be_taken(tmp_path):
    tilted = circle(10, 0.0)
    tilted[:, 2] += 0.01 * tilted[:, 0]
    read = write(tmp_path / "rs.dcm", {"tilted": [tilted], "good": SHAPES["cube"][0], "none": []})
    grid = grid_of((20, 20, 20), (2, 2, 2), (-19, -19, -19))
    with pytest.raises(ValueError, match="tilted: .*0.2"):
        read["tilted"].mask(grid)
    assert np.isnan(read["tilted"].volume)
    assert not read["none"].mask(grid).any()
    result = zarngi.gamma_index(grid, grid, structures=read)
    assert list(result.structures) == ["good", "none"]
    assert "tilted" in result.structures.refused
    assert result.structures["none"].empty
    assert result.structures["none"].notes


@pytest.fixture(scope="module")
def head_neck_grids():
    paths = [DATA / f"head_neck_day{day}.nrrd" for day in (1, 2)]
    if not all(path.exists() for path in paths):
        pytest.skip(f"{DATA} is absent")
    return [zarngi.read(path) for path in paths]


def test_head_neck_structures(head_neck_grids):
    structures = zarngi.read_structures(DATA / "head_neck_structures.dcm")
    strict = zarngi.gamma_index(*head_neck_grids, dd=2, dta=2, structures=structures).structures
    usual = zarngi.gamma_index(*head_neck_grids, dd=3, dta=3, structures=structures).structures
    assert list(usual) == list(HEAD_NECK)
    for name, (voxels, tested, passed, mean, passed_strictly, mean_strictly) in HEAD_NECK.items():
        assert (usual[name].voxels, usual[name].tested) == (voxels, tested), name
        assert (usual[name].passed, strict[name].passed) == (passed, passed_strictly), name
        assert usual[name].mean == pytest.approx(mean, abs=5.1e-7, nan_ok=True), name
        assert strict[name].mean == pytest.approx(mean_strictly, abs=5.1e-7, nan_ok=True), name
        assert structures[name].mask(head_neck_grids[0]).sum() == voxels, name


def plain(name):
    return re.sub(r"\W", "", name).lower()


def research_platform():
    """Volume (cc) and mean dose (Gy) of each structure, by its plain name."""
    with open(DATA / "head_neck_dvh_cerr.csv", newline="") as file:
        heads, *rows = csv.reader(file)
    told = {}
    for i in range(0, len(heads), 2):
        pairs = np.array([(row[i], row[i + 1]) for row in rows if row[i]], float)
        volume = float(re.search(r"% of ([\d.]+) cc", heads[i + 1])[1])
        mean = np.trapz(pairs[:, 1], pairs[:, 0]) / 100
        told[plain(heads[i].partition("_")[0])] = volume, mean
    return told


def test_volumes_and_means_beside_those_of_a_research_platform(head_neck_grids):
    """In hundredths of a cc; its bins are 0.2 Gy wide."""
    structures = zarngi.read_structures(DATA / "head_neck_structures.dcm")
    ours = zarngi.gamma_index(*head_neck_grids, dd=3, dta=3, structures=structures).structures
    theirs = research_platform()
    assert {plain(name) for name in ours} == set(theirs)
    for name, result in ours.items():
        volume, mean = theirs[plain(name)]
        difference = abs(round(result.volume, 2) - round(volume, 2))
        assert difference <= max(0.03, 0.002 * volume) + 1e-9, name
        assert abs(result.reference.mean - mean) <= 0.15, name


def test_the_same_numbers_as_the_program(program, head_neck, head_neck_grids, tmp_path):
    record = tmp_path / "record.json"
    structures = DATA / "head_neck_structures.dcm"
    arguments = ["--structures", structures, "-c", "3%/3mm", "--dvh", "V95%,D1cc"]
    subprocess.run(
        [program, "compare", *head_neck, *arguments, "--json", record],
        check=True,
        capture_output=True,
    )
    told = read_document(record)
    (criterion,) = told["criteria"]
    read = zarngi.read_structures(structures)
    result = zarngi.gamma_index(
        *head_neck_grids, dd=3, dta=3, structures=read, dvh_metrics=["V95%", "D1cc"]
    )
    parts = [*result.structures.values(), result.structures.outside]
    for part, row in zip(parts, [*criterion["structures"], criterion["outsideStructures"]]):
        assert part.name == row["name"]
        for name in ("tested", "passed", "failed", "hot", "cold", "unreached"):
            assert getattr(part, name) == row[name], part.name
        for name, member in (("pass_rate", "passRate"), ("mean", "mean"), ("p95", "p95"), ("maximum", "max")):
            expected = np.nan if row[member] is None else row[member]
            np.testing.assert_equal(getattr(part, name), expected)
    for part, row in zip(parts, told["structures"]["list"]):
        assert (part.voxels, part.volume) == (row["voxels"], row["volume"])
        for role in ("reference", "evaluation"):
            doses = getattr(part, role)
            assert doses.mean == row["dvh"][role]["mean"]
            assert doses.volumes.tolist() == row["dvh"][role]["curve"]
            for name, value in row["dvh"][role]["metrics"].items():
                np.testing.assert_equal(doses.metrics[name], np.nan if value is None else value)


def test_masks_and_combinations(head_neck_grids):
    reference, evaluation = head_neck_grids
    read = zarngi.read_structures(DATA / "head_neck_structures.dcm")
    high = reference.dose > 50
    mixed = zarngi.gamma_index(
        reference, evaluation, dd=3, dta=3, structures={"high": high, "target": read["PTV1"]}
    ).structures
    assert mixed["high"].voxels == high.sum()
    assert mixed["target"].passed == 7972
    # By its contours, as in the file, not by its voxels.
    whole = zarngi.dvh(reference, read.select("PTV1"))["PTV1"]
    assert mixed["target"].reference.mean == whole.mean
    assert mixed["target"].volume == pytest.approx(126.776, abs=5e-4)
    gamma = zarngi.gamma_index(reference, evaluation, dd=3, dta=3).gamma
    assert mixed["high"].tested == np.count_nonzero(gamma[high] >= 0)
    ring = read.select("ring=PTV1-CTV", "optB*", exclude=["opt*"])
    rows = zarngi.gamma_index(reference, evaluation, dd=3, dta=3, structures=ring).structures
    assert list(rows) == ["ring"]
    inner = read["PTV1"].mask(reference) & ~read["CTV"].mask(reference)
    assert rows["ring"].voxels == inner.sum()


def test_refusals(head_neck_grids, tmp_path):
    reference, evaluation = head_neck_grids
    read = zarngi.read_structures(DATA / "head_neck_structures.dcm")
    other = zarngi.DoseGrid(reference.dose, reference.spacing, reference.origin, "1.2.3.4")
    for structures, error, text in (
        (read.select("nobody"), ValueError, '"nobody"'),
        ({}, ValueError, "empty"),
        ({"x": np.ones(3, bool)}, ValueError, "shape"),
        ({"a=b": read["PTV1"]}, ValueError, "named"),
        ({"CTV": reference.dose > 50, "x": read["PTV1"]}, ValueError, "of a file"),
        ({"x": reference.dose}, TypeError, "bool"),
        ([read], TypeError, "mapping"),
    ):
        with pytest.raises(error, match=text):
            zarngi.gamma_index(reference, evaluation, structures=structures)
    with pytest.raises(ValueError, match="frame of reference"):
        zarngi.gamma_index(other, evaluation, structures=read)
    with pytest.warns(UserWarning, match="positions may not match"):
        zarngi.gamma_index(other, evaluation, structures=read, ignore_frame=True)
    flat = zarngi.DoseGrid(np.ones((4, 4)), (1, 1), (0, 0))
    with pytest.raises(ValueError, match="three values"):
        zarngi.gamma_index(flat, flat, structures=read)
    (tmp_path / "rs.dcm").write_bytes(b"nothing")
    with pytest.raises(zarngi.FormatError, match="rs.dcm: "):
        zarngi.read_structures(tmp_path / "rs.dcm")
