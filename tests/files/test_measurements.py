"""
Every row of the table of planes and points, through the program and through the package: the doses to
the bit at their places, with the warnings; or one sentence in both.
"""

import json
import subprocess
import warnings

import numpy as np
import pytest
import zarngi

import generated_tables
import variants_dicom
import variants_film
import variants_measurements
import variants_planes
from answers import ENGINE, PROGRAM, digest, page_answer
from variants_measurements import PLANE, Plane, Points, dicom_image, matrix, number

CUT = "does not end with the end of a line; it may be cut short"
ROWS = [*variants_measurements.ROWS, *variants_planes.ROWS, *variants_film.ROWS]
ROWS_BY_NAME = {row.name: row for row in ROWS}


def test_rows_have_names_of_their_own():
    assert len(ROWS_BY_NAME) == len(ROWS)


def by_program(path, units):
    names = ("--dose-unit", "--length-unit", "--pixel-size")
    options = [text for option, unit in zip(names, units) if unit for text in (option, str(unit))]
    run = subprocess.run([PROGRAM, "info", "--json", path, *options], capture_output=True, text=True,
                         timeout=60, check=False)
    if run.returncode == 0:
        return json.loads(run.stdout)
    prefix = f"zarngi: {path}: "
    assert run.returncode == 1 and run.stdout == "" and run.stderr.startswith(prefix), run
    return run.stderr[len(prefix) : -1]


def by_package(path, units):
    with warnings.catch_warnings(record=True) as caught:
        warnings.simplefilter("always")
        try:
            dose = zarngi.read(path, **dict(zip(("dose_unit", "length_unit", "pixel_size"), units)))
        except zarngi.FormatError as error:
            assert str(error).startswith(f"{path}: ")
            return str(error)[len(path) + 2 :], ()
    return dose, tuple(str(w.message)[len(path) + 2 :] for w in caught)


def check_plane(told, dose, plane):
    count = plane.values.size
    measured = count if plane.measured is None else int(plane.measured.sum())
    assert told["measurement"] == {
        "kind": "plane", "inSpace": False, "places": count, "measured": measured,
    }
    assert told["grid"]["size"] == [*plane.values.shape[::-1], 1]
    assert told["grid"]["spacing"] == [*plane.spacing, None]
    assert told["grid"]["origin"] == [*plane.origin, 0]
    assert isinstance(dose, zarngi.DoseGrid)
    assert (dose.shape, dose.spacing, dose.origin) == (
        plane.values.shape, plane.spacing, plane.origin)
    np.testing.assert_array_equal(dose.dose, plane.values)
    assert told["doseUnit"] == dose.unit == plane.unit
    if plane.measured is None:
        assert dose.measured is None
    else:
        np.testing.assert_array_equal(dose.measured, plane.measured)


def check_points(told, dose, points):
    axes = len(points.positions[0])
    expected = [[*place, *([0.0] * (3 - axes))] for place in points.positions]
    assert told["measurement"]["kind"] == "points"
    assert told["measurement"]["inSpace"] == (axes == 3)
    assert told["measurement"]["points"] == expected
    assert isinstance(dose, zarngi.DosePoints)
    np.testing.assert_array_equal(dose.positions, np.array(points.positions))
    np.testing.assert_array_equal(dose.dose, np.array(points.values, np.float32))


@pytest.mark.parametrize("name", ROWS_BY_NAME)
def test_measurement(tmp_path, name):
    row = ROWS_BY_NAME[name]
    path = str(tmp_path / "measured")
    (tmp_path / "measured").write_bytes(row.contents)
    told = by_program(path, row.units)
    dose, caught = by_package(path, row.units)
    if not isinstance(row.expected, (Plane, Points)):
        assert told == row.expected
        assert dose == row.expected
        return
    check = check_plane if isinstance(row.expected, Plane) else check_points
    check(told, dose, row.expected)
    assert tuple(told["warnings"]) == caught == row.expected.warnings
    values = dose.dose if isinstance(row.expected, Points) else row.expected.values
    assert told["dosesSha256"] == digest(np.asarray(values))


@pytest.mark.skipif(not ENGINE, reason="the engine of the page is not built")
@pytest.mark.parametrize("name", ROWS_BY_NAME)
def test_measurement_in_the_page(tmp_path, name):
    row = ROWS_BY_NAME[name]
    path = tmp_path / "measured"
    path.write_bytes(row.contents)
    told = page_answer(str(path), row.units)
    if not isinstance(row.expected, (Plane, Points)):
        assert told["sentence"] == row.expected
        return
    assert "sentence" not in told
    assert told["sha256"] == digest(np.asarray(row.expected.values, np.float32))
    assert tuple(told["warnings"]) == row.expected.warnings


def test_many_points_need_a_raster(tmp_path):
    path = tmp_path / "points.csv"
    places = np.random.default_rng(5).uniform(-100, 100, (10001, 3))
    lines = [",".join(f"{n:.4f}" for n in (*place, 1)) for place in places]
    path.write_text("\n".join(["x (mm),y,z,dose (Gy)", *lines]))
    sentence = "has 10 001 points that form no raster; up to 10 000 are searched one by one"
    assert by_program(str(path), (None, None)) == sentence
    path.write_text("\n".join(["x (mm),y,z,dose (Gy)", *lines[:10000]]))
    assert zarngi.read(path).shape == (10000,)


def test_cut_and_damaged_tables_end_in_a_sentence(tmp_path):
    """No table that ends within a row is read without a warning, and damage ends in words."""
    whole = matrix()
    path = tmp_path / "cut.txt"
    for end in range(len(whole)):
        path.write_bytes(whole[:end])
        dose, warned = by_package(str(path), (None, None))
        # A number that is cut between its digits is a number.
        assert isinstance(dose, str) or whole[end - 1] == 10 or CUT in warned, whole[:end]
    random = np.random.default_rng(3)
    for _ in range(300):
        damaged = bytearray(whole)
        for position in random.integers(0, len(whole), 3):
            damaged[position] = random.integers(0, 256)
        path.write_bytes(damaged)
        dose, _ = by_package(str(path), (None, None))
        if not isinstance(dose, str):
            assert np.isfinite(dose.dose).all()


def doses_by_place(dose):
    if isinstance(dose, zarngi.DosePoints):
        return {tuple(place): float(value) for place, value in zip(dose.positions.tolist(), dose.dose)}
    return {(dose.origin[0] + dose.spacing[0] * i, dose.origin[1] + dose.spacing[1] * j): float(value)
            for (j, i), value in np.ndenumerate(dose.dose)}


def test_no_head_gives_a_wrong_dose(tmp_path):
    """Whatever is written above a table, it is read with its own doses at its own places or refused."""
    path = tmp_path / "table"
    read = refused = 0
    for seed in range(1000):
        table = generated_tables.table(seed)
        path.write_bytes(table.contents)
        dose, _ = by_package(str(path), table.units)
        shown = table.contents.decode()
        if isinstance(dose, str):
            refused += 1
            assert not table.mustBeRead, f"{dose}:\n{shown}"
            continue
        read += 1
        assert not table.mustBeRefused, shown
        assert doses_by_place(dose) == table.doses, shown
    assert read > 400 and refused > 400


@pytest.mark.parametrize("window", [1024, 1 << 16])
def test_recognition_does_not_hang_on_where_a_read_ends(tmp_path, window):
    """The byte falls on every character of numbers, a lone minus sign among them."""
    columns = window // 4
    x = [-5.0 * i for i in range(columns)]
    rows = [["y\\x", *map(number, x)],
            *([number(y), *(number(d) for d in np.full(columns, y + 8) / 64)] for y in (-2, 0, 2))]
    table = "\n".join("\t".join(row) for row in rows) + "\n"
    path = tmp_path / "wide.txt"
    ends = set()
    for padding in range(12):
        head = "# Gy, mm" + " " * padding + "\n"
        contents = (head + table).encode()
        path.write_bytes(contents)
        ends.add(contents[window - 2 : window])
        dose, _ = by_package(str(path), (None, None))
        assert not isinstance(dose, str), dose
        assert dose.shape == (3, columns)
    assert b"\t-" in ends and len(ends) > 5


PLACED = {
    "PatientPosition": "HFS", "GantryAngle": 30, "IsocenterPosition": [1, -2.5, 3],
    "RadiationMachineSAD": 1000, "RTImageSID": 1000, "PatientSupportAngle": 0,
}


@pytest.mark.parametrize(
    ("changes", "is_placed"),
    [
        ({}, True),
        ({"PatientPosition": "HFP"}, False),
        ({"RTImageSID": 1500}, False),
        ({"PatientSupportAngle": 10}, False),
        ({"IsocenterPosition": ""}, False),
    ],
)
def test_place_of_an_image(tmp_path, changes, is_placed):
    path = tmp_path / "image.dcm"
    path.write_bytes(dicom_image(**(PLACED | changes)))
    measurement = by_program(str(path), (None, None))["measurement"]
    assert ("place" in measurement) == is_placed
    if is_placed:
        place = measurement["place"]
        assert place["at"] == [1, -2.5, 3] and place["up"] == [0, 0, 1]
        np.testing.assert_allclose(place["right"], [np.cos(np.pi / 6), 0.5, 0], atol=1e-11)
    # A large enough volume: the image is searched at its own place, or refused for want of one.
    volume = zarngi.DoseGrid(np.full((9, 9, 9), 30, np.float32), 10, (-40, -40, -40))
    zarngi.write(tmp_path / "volume.mha", volume.dose, volume)
    run = subprocess.run([PROGRAM, "compare", path, tmp_path / "volume.mha", "--json", "-"],
                         capture_output=True, text=True, check=False)
    if not is_placed:
        assert "tells no place in the patient; --plane and --at give it" in run.stderr
        return
    record = json.loads(run.stdout)
    assert record["plane"]["name"] == "that of its file"
    first = record["measurements"]["reference"]["points"][0]
    expected = [1 - 15 * np.cos(np.pi / 6), -2.5 - 15 * 0.5, 3 - 2]
    np.testing.assert_allclose(first, expected, atol=1e-6)


def test_an_image_whose_doses_stay_in_its_block_keeps_its_place(tmp_path):
    """Of 32 bits, and most of its file: what stands before the pixels is written over."""
    stored = np.arange(80 * 100).reshape(1, 80, 100)
    told = {}
    for bits in (16, 32):
        path = tmp_path / f"{bits}.dcm"
        path.write_bytes(dicom_image(stored, bits, **PLACED))
        facts = by_program(str(path), (None, None))
        told[bits] = {key: facts[key] for key in ("grid", "measurement", "dicom", "doseUnit")}
    assert told[16]["measurement"]["place"]["at"] == [1, -2.5, 3]
    assert told[32] == told[16]
    doses = [zarngi.read(tmp_path / f"{bits}.dcm").dose for bits in (16, 32)]
    assert np.array_equal(*doses) and doses[0].max() == 7999 / 64


def compared(*arguments):
    run = subprocess.run([PROGRAM, "compare", *map(str, arguments), "--json", "-"],
                         capture_output=True, text=True, check=False)
    return json.loads(run.stdout) if run.returncode == 0 else run.stderr


def test_portal_images_meet_gray_by_a_factor_alone(tmp_path):
    names = {"portal": {"RescaleType": "CU"}, "predicted": {"RescaleType": "cu", "RTImageSID": 1500},
             "planned": {}, "nearer": {"RescaleType": "CU", "RTImageSID": 1000}}
    paths = {name: tmp_path / f"{name}.dcm" for name in names}
    for name, path in paths.items():
        path.write_bytes(dicom_image(**names[name]))
    alike = compared(paths["portal"], paths["predicted"])
    assert alike["doseUnit"] == "CU" and alike["criteria"][0]["passRate"] == 100
    assert not any("from the source" in warning for warning in alike["warnings"])
    refused = compared(paths["portal"], paths["planned"])
    assert f"doses in CU ({paths['portal']}) and in Gy ({paths['planned']})" in refused
    record = compared(paths["portal"], paths["planned"], "--reference-scale", 1)
    assert record["doseUnit"] == "Gy" and record["criteria"][0]["passRate"] == 100
    apart = compared(paths["nearer"], paths["predicted"])
    assert any("the planes lie 1000 and 1500 mm from the source" in one for one in apart["warnings"])


def test_planar_doses_without_frames_or_units(tmp_path):
    """As a planning system writes planes; and a dose that is read in the unit that is given alone."""
    stored = variants_dicom.STORED[:1]
    whole = {"NumberOfFrames": 0, "GridFrameOffsetVector": None}
    path = tmp_path / "plane.dcm"
    path.write_bytes(variants_dicom.dose(stored=stored, **whole))
    plane = zarngi.read(path)
    path.write_bytes(variants_dicom.dose(stored=stored, **(whole | {"NumberOfFrames": 1})))
    np.testing.assert_array_equal(plane.dose, zarngi.read(path).dose)
    assert plane.plane_normal == zarngi.read(path).plane_normal is not None
    path.write_bytes(variants_dicom.dose(stored=stored, **whole, DoseUnits=None))
    for unit, part in (("Gy", 1), ("cGy", 100)):
        given = zarngi.read(path, dose_unit=unit)
        np.testing.assert_allclose(given.dose, plane.dose / part, rtol=1e-6)
    path.write_bytes(variants_dicom.dose(stored=stored, NumberOfFrames=0))
    with pytest.raises(zarngi.FormatError, match="Number of Frames of 0"):
        zarngi.read(path)


def test_tables_come_through_pipes(tmp_path):
    whole = matrix()
    script = f"cat {tmp_path}/table | {PROGRAM} info --json /dev/stdin"
    (tmp_path / "table").write_bytes(whole)
    run = subprocess.run(["sh", "-c", script], capture_output=True, text=True, check=True)
    assert json.loads(run.stdout)["dosesSha256"] == digest(PLANE)
