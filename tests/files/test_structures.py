"""
Every row of the table of structures through the program; a real structure set as pydicom reads it,
and as it is damaged; a large one in bounded time and memory.
"""

import io
import json
import os
import re
import subprocess
from pathlib import Path

import numpy as np
import pydicom
import pytest
import zarngi
from pydicom.uid import (
    DeflatedExplicitVRLittleEndian, ExplicitVRBigEndian, ExplicitVRLittleEndian,
    ImplicitVRLittleEndian,
)

import segmentations
import variants_dicom
import variants_structures
from answers import PROGRAM, by_program
from structure_sets import contour, file_of, polygon, roi, structure_set
from variants import ORIGIN, SPACING
from variants_nrrd import nrrd
from variants_structures import LABELS, USUAL, Structures, Told, digest, mask, usual

ROWS = {row.name: row for row in variants_structures.ROWS}
ROOT = Path(__file__).resolve().parents[2]
REAL = ROOT.parent / "shared" / "data" / "head_neck_structures.dcm"


def ask(path, *options):
    """What the program makes of a file: Structures or a sentence."""
    run = subprocess.run([PROGRAM, "info", "--json", *options, path], capture_output=True, text=True,
                         timeout=60, check=False)
    if run.returncode != 0:
        prefix = f"zarngi: {path}: "
        assert run.returncode == 1 and run.stdout == "", run
        assert run.stderr.startswith(prefix) and run.stderr.count("\n") == 1, run.stderr
        return run.stderr[len(prefix) : -1]
    document = json.loads(run.stdout)
    grid = document.get("grid")
    return Structures(
        tuple(map(told_of, document["structures"])), tuple(document["warnings"]),
        tuple(grid[key] for key in ("size", "spacing", "origin")) if grid else None,
    )


def told_of(entry):
    return Told(
        entry["name"], entry["number"], entry["sha256"], entry["type"], entry["colour"],
        entry["frameOfReference"], entry["contours"],
        tuple(entry["leftOut"][key] for key in ("points", "open", "few")), entry["refusal"],
    )


def test_rows_have_names_of_their_own():
    assert len(ROWS) == len(variants_structures.ROWS)


@pytest.mark.parametrize("name", ROWS)
def test_variant(tmp_path, name):
    row = ROWS[name]
    path = tmp_path / row.file
    path.write_bytes(row.contents)
    assert ask(path, "--structures") == row.expected
    is_dicom = row.contents[128:132] == b"DICM"
    if isinstance(row.expected, Structures) and (is_dicom or row.expected.grid is None):
        assert ask(path) == row.expected  # structures of DICOM are told without being asked for


def test_masks_are_told_as_doses_unless_asked_for(tmp_path):
    path = tmp_path / "mask.nrrd"
    path.write_bytes(nrrd(LABELS.astype("u1").tobytes(), type="uchar"))
    assert by_program(str(path)).unit == "Gy"
    assert ask(path, "--structures") == mask()


def test_members_are_documented(tmp_path):
    section = (ROOT / "docs" / "json.md").read_text().partition("## What a file of structures")[2]
    told = set(re.findall(r"`(\w+)`", section))
    for name, contents in (("set", file_of(usual())), ("mask", nrrd(LABELS.astype("u1").tobytes(),
                                                                  type="uchar"))):
        (tmp_path / name).write_bytes(contents)
        run = subprocess.run([PROGRAM, "info", "--json", "--structures", tmp_path / name],
                             capture_output=True, check=True)
        document = json.loads(run.stdout)
        (first, *_) = document["structures"]
        members = {*document, *first, *first["leftOut"], *document.get("grid", ())}
        assert members <= told


def test_structures_are_no_dose(tmp_path):
    for name, contents in (("a.dcm", file_of(usual())), ("b.dcm", variants_dicom.dose())):
        (tmp_path / name).write_bytes(contents)
    run = subprocess.run([PROGRAM, "compare", tmp_path / "a.dcm", tmp_path / "b.dcm"],
                         capture_output=True, text=True, check=False)
    assert run.returncode == 1
    assert run.stderr.endswith("a.dcm: is DICOM but no RT Dose (modality RTSTRUCT)\n")


@pytest.mark.parametrize("options", [(), ("--structures",)])
def test_pipe(tmp_path, options):
    path = tmp_path / "pipe"
    os.mkfifo(path)
    run = subprocess.Popen([PROGRAM, "info", "--json", *options, path], stdout=subprocess.PIPE)
    contents = file_of(structure_set([roi(1, "A", [contour(polygon(20000))])]))
    path.write_bytes(contents)
    assert json.loads(run.communicate(timeout=60)[0])["structures"][0]["vertices"] == 20000


def test_places_that_are_no_file(tmp_path):
    assert ask(tmp_path, "--structures") == "is a folder, not a file of structures"
    assert ask("/dev/null", "--structures") == "is a device, not a file of structures"
    assert ask(tmp_path / "absent", "--structures") == "no such file"


def test_table(tmp_path):
    """It fits a terminal, keeps what it leaves out in words, and tells nothing of the patient."""
    path = tmp_path / "set.dcm"
    high = polygon(4) + np.outer(np.arange(4), (0, 0, 1))
    path.write_bytes(file_of(structure_set([
        roi(1, "N" * 64, [contour(polygon(4, 20**0.5, z=z)) for z in (0, 2.5)]),
        roi(2, "Zunge und Mundboden \N{LATIN SMALL LETTER O WITH DIAERESIS}" * 3, [contour(high)],
            kind="TREATED_VOLUME_AND_MORE"),
        roi(3, "Iso", [contour("1\\2\\3", "POINT")]),
    ], SpecificCharacterSet="ISO_IR 192")))
    run = subprocess.run([PROGRAM, "info", path], capture_output=True, text=True, check=True)
    table = run.stdout.split("\n\n")[1].splitlines()
    assert len(table) == 4 and {len(line) for line in table} == {79}
    assert re.fullmatch(r"N+\.\.\.  ORGAN +#ff0080 +2 +2  0\.20", table[1])
    assert "..." in table[2] and table[2].endswith(" -")
    notes = run.stdout.split("\n\n")[2]
    assert "cannot be taken: has a contour that does not lie in a plane of constant z: it is 3 mm" \
           " high (contour 1)\n" in notes
    assert "Iso: has no closed contours (1 point left out), and so no volume\n" in notes
    assert "Nobody" not in run.stdout


# The real structure set, and pydicom as its judge.


def by_pydicom(contents):
    """What pydicom makes of a structure set of closed contours."""
    data = pydicom.dcmread(io.BytesIO(contents))
    drawn = {item.ReferencedROINumber: item for item in data.ROIContourSequence}
    types = {item.ReferencedROINumber: item.RTROIInterpretedType
             for item in data.RTROIObservationsSequence}
    told = []
    for item in data.StructureSetROISequence:
        contours = drawn[item.ROINumber].ContourSequence
        assert {c.ContourGeometricType for c in contours} == {"CLOSED_PLANAR"}
        vertices = np.concatenate([np.array(c.ContourData, float) for c in contours])
        colour = "#" + bytes(map(int, drawn[item.ROINumber].ROIDisplayColor)).hex()
        told.append(Told(item.ROIName, int(item.ROINumber), digest(vertices),
                         types[item.ROINumber], colour, item.ReferencedFrameOfReferenceUID,
                         len(contours)))
    return Structures(tuple(told))


@pytest.fixture(name="real")
def real_structure_set():
    if not REAL.exists():
        pytest.skip(f"{REAL} is not there")
    return REAL.read_bytes()


def test_real_structures_as_pydicom_reads_them(real):
    judged = by_pydicom(real)
    assert len(judged.told) == 16 and sum(told.contours for told in judged.told) == 423
    assert ask(REAL) == judged


@pytest.mark.parametrize("syntax", [ImplicitVRLittleEndian, ExplicitVRBigEndian,
                                    DeflatedExplicitVRLittleEndian])
def test_real_structures_in_another_syntax(tmp_path, real, syntax):
    data = pydicom.dcmread(io.BytesIO(real))
    data.file_meta.TransferSyntaxUID = syntax
    data.is_implicit_VR = syntax == ImplicitVRLittleEndian
    data.is_little_endian = syntax != ExplicitVRBigEndian
    data.save_as(tmp_path / "set.dcm")
    assert ask(tmp_path / "set.dcm") == by_pydicom(real)


def test_segments_as_pydicom_reads_them(tmp_path):
    """Random voxels of random shapes, most of them in two segments, in an odd number of bits."""
    random = np.random.default_rng(23)
    for _ in range(20):
        shape = random.integers(1, 9, 3)
        masks = {number: random.random(shape) < 0.4 for number in (3, 8)}
        masks[3][0, 0, 0] = masks[8][-1, -1, -1] = True
        path = tmp_path / "segments.dcm"
        path.write_bytes(segmentations.contents(masks))
        read = pydicom.dcmread(path)
        voxels = read.pixel_array.reshape(-1, read.Rows, read.Columns)
        judged = {number: np.zeros(shape, bool) for number in masks}
        for groups, frame in zip(read.PerFrameFunctionalGroupsSequence, voxels):
            z = groups.PlanePositionSequence[0].ImagePositionPatient[2]
            number = groups.SegmentIdentificationSequence[0].ReferencedSegmentNumber
            judged[number][round((z - ORIGIN[2]) / SPACING[2])] = frame
        lap = (judged[3] & judged[8]).any()
        used = [z for z in range(shape[0]) if any(mask[z].any() for mask in judged.values())]
        layers = [judged[3] * 3, judged[8] * 8] if lap else [judged[3] * 3 + judged[8] * 8] * 2
        told = ask(path).told
        assert [one.sha256 for one in told] == [
            digest(layer[used[0] : used[-1] + 1].astype("<i4")) for layer in layers]


def test_segments_are_what_a_mask_of_the_same_voxels_is(tmp_path):
    """In a comparison, whose figures of structures follow from them."""
    reference, evaluation = zarngi.demo_pair()
    for name, dose in (("a", reference), ("b", evaluation)):
        zarngi.write(tmp_path / f"{name}.mha", dose.dose, dose)
    inside = reference.dose > 0.5 * reference.dose.max()
    zarngi.write(tmp_path / "inside.nrrd", inside.astype(np.uint8), reference)
    (tmp_path / "inside.dcm").write_bytes(segmentations.contents(
        {1: inside}, names={1: "inside"}, spacing=reference.spacing, origin=reference.origin))
    figures = []
    for file in ("inside.nrrd", "inside.dcm"):
        run = subprocess.run([PROGRAM, "compare", tmp_path / "a.mha", tmp_path / "b.mha", "--structures",
                              tmp_path / file, "--json", "-"], capture_output=True, text=True, check=True)
        record = json.loads(run.stdout)
        figures.append((record["structures"]["list"], record["criteria"][0]["structures"]))
    assert figures[0] == figures[1]
    assert figures[0][1][0]["tested"] > 100


# Damaged files.


def outlines(expected):
    return {(told.name, told.sha256) for told in expected.told}


@pytest.mark.parametrize("syntax", [ExplicitVRLittleEndian, ImplicitVRLittleEndian,
                                    DeflatedExplicitVRLittleEndian])
def test_no_cut_goes_unnoticed(tmp_path, syntax):
    """A cut between two elements of the file itself may read as a set without what follows."""
    whole = file_of(usual(), syntax)
    path = tmp_path / "set.dcm"
    outcomes = set()
    for size in range(variants_dicom.data_set_start(whole), len(whole), 3):
        path.unlink(missing_ok=True)
        path.write_bytes(whole[:size])
        answer = ask(path, "--structures")
        if isinstance(answer, Structures):
            assert not any(told.contours for told in answer.told) or \
                outlines(answer) == outlines(USUAL), size
        outcomes.add(answer if isinstance(answer, str) else "read")
    assert any("cut short" in outcome for outcome in outcomes)


def test_no_turned_bit_is_a_crash(tmp_path):
    """Each is read or refused in one line; most bits of the elements' heads are refused."""
    whole = file_of(usual(), open_ends=True)
    random = np.random.default_rng(13)
    path = tmp_path / "set.dcm"
    refused = 0
    places = range(variants_dicom.data_set_start(whole), len(whole), 2)
    for place in places:
        damaged = bytearray(whole)
        damaged[place] ^= 1 << int(random.integers(8))
        path.unlink(missing_ok=True)
        path.write_bytes(damaged)
        refused += isinstance(ask(path, "--structures"), str)
    assert len(places) / 8 < refused < len(places)


# Large files.


def test_large_file_ends_in_bounded_time_and_memory(tmp_path):
    """Memory for the file and its vertices, and for what a table of them needs."""
    vertices = np.round(np.random.default_rng(2).uniform(-300, 300, (1100, 3)), 6)
    vertices[:, 2] = 0
    drawn = contour(vertices)
    copies = 2000
    path = tmp_path / "set.dcm"
    path.write_bytes(file_of(structure_set([roi(1, "A", [drawn] * copies)]), ImplicitVRLittleEndian))
    size = path.stat().st_size
    assert size > 50e6
    limited = f'ulimit -v {4 * size // 1024}; exec "$0" info "$1"'
    run = subprocess.run(["sh", "-c", limited, PROGRAM, path], capture_output=True, timeout=20,
                         check=True)
    assert f" {copies}\n".encode() in run.stdout
