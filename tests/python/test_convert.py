"""`convert`: the files of `zarngi convert`, and what it raises."""

import os
import subprocess
from fractions import Fraction
from pathlib import Path

import doses
import numpy as np
import pytest
import zarngi

PROGRAM = Path(os.environ["ZARNGI_BUILD_DIR"]) / "cli" / "zarngi"
WHOSE = {"PatientName": "Nobody^At^All", "PatientID": "4711", "StudyInstanceUID": "1.2.3.9"}


@pytest.fixture
def folder(tmp_path, monkeypatch):
    """A dose, another one of somebody, one without unit, and differences."""
    dose, other = doses.pair()
    doses.write_nrrd(tmp_path / "dose.nrrd", dose)
    doses.write_nrrd(tmp_path / "below.nrrd", doses.Dose(dose.values - 1))
    for name, elements in (
        ("like.dcm", WHOSE),
        ("unknown.dcm", {"DoseUnits": None}),
        ("error.dcm", {"DoseType": "ERROR"}),
    ):
        doses.write_dicom(tmp_path / name, other, doses.DicomStyle(elements=elements))
    (tmp_path / "header.mhd").write_bytes(doses.meta_header(dose, "values.nii"))
    (tmp_path / "values.nii").write_bytes(dose.values.tobytes())
    (tmp_path / "points.csv").write_text("x (mm),y,z,dose (Gy)\n0,0,20,1.5\n4,1,20,1.4\n0,3,21,1.6\n")
    (tmp_path / "notes.txt").write_text("no dose at all")
    os.link(tmp_path / "dose.nrrd", tmp_path / "same.mha")
    monkeypatch.chdir(tmp_path)
    return tmp_path


def contents(folder):
    return {path.name: path.read_bytes() for path in folder.iterdir()}


@pytest.mark.filterwarnings("ignore::zarngi.FormatWarning")
@pytest.mark.parametrize(
    "source, output, arguments, options",
    [
        ("dose.nrrd", "made.dcm", {}, []),
        ("dose.nrrd", "made.dcm", {"like": Path("like.dcm")}, ["--like", "like.dcm"]),
        ("like.dcm", "made.dcm", {"scale": "1/33"}, ["--scale", "1/33"]),
        ("like.dcm", "made.mha", {"scale": Fraction(2, 7)}, ["--scale", "2/7"]),
        ("dose.nrrd", "made.nrrd", {"scale": np.float64(1e-5)}, ["--scale", "0.00001"]),
        ("header.mhd", "made.nii", {"scale": 2}, ["--scale", "2"]),
        ("below.nrrd", "made.nii.gz", {}, []),
        ("unknown.dcm", "made.nrrd", {"dose_unit": "cGy"}, ["--dose-unit", "cGy"]),
        ("error.dcm", "made.dcm", {"allow_error_doses": True}, ["--allow-error-doses"]),
    ],
)
def test_files_are_those_of_the_program(folder, source, output, arguments, options):
    zarngi.convert(source, folder / output, **arguments)
    made = Path(output).read_bytes()
    Path(output).unlink()
    subprocess.run([PROGRAM, "convert", source, output, *options], check=True, capture_output=True)
    assert made == Path(output).read_bytes()


def test_what_a_file_leaves_open_is_a_warning(folder):
    with pytest.warns(zarngi.FormatWarning, match="^header.mhd: tells no unit") as told:
        zarngi.convert("header.mhd", "made.mha")
    assert {one.filename for one in told} == {__file__}


@pytest.mark.filterwarnings("ignore::zarngi.FormatWarning")
@pytest.mark.parametrize(
    "source, output, arguments, error, member, sentence",
    [
        ("dose.nrrd", "made.txt", {}, zarngi.RequestError, "output", "made.txt: does not end in .dcm, "),
        ("dose.nrrd", "made.mha", {"like": "like.dcm"}, zarngi.RequestError, "like",
         "like is for RT Doses, and made.mha is none (.dcm)"),
        ("dose.nrrd", "made.dcm", {"scale": True}, zarngi.RequestError, "scale", 'scale: "True" is not '),
        ("dose.nrrd", "made.dcm", {"scale": -1}, zarngi.RequestError, "scale", 'scale: "-1" is not '),
        ("dose.nrrd", "dose.nrrd", {}, zarngi.RequestError, None, "dose.nrrd would overwrite an input file"),
        ("dose.nrrd", "same.mha", {}, zarngi.RequestError, None, "same.mha would overwrite an input file"),
        ("dose.nrrd", "like.dcm", {"like": "like.dcm"}, zarngi.RequestError, None, "like.dcm would overwrite"),
        ("header.mhd", "values.nii", {}, zarngi.RequestError, None, "values.nii would overwrite"),
        ("points.csv", "made.dcm", {}, zarngi.RequestError, None, "points.csv: holds single points; a volume is"),
        ("below.nrrd", "made.dcm", {}, zarngi.RequestError, None, "made.dcm: cannot be a DICOM RT Dose: it has "),
        ("error.dcm", "made.nrrd", {}, zarngi.RequestError, None, "allow_error_doses "),
        ("notes.txt", "made.nrrd", {}, zarngi.FormatError, None, "notes.txt: is not a dose file"),
        ("unknown.dcm", "made.nrrd", {}, zarngi.FormatError, None, "unknown.dcm: "),
        ("dose.nrrd", "made.dcm", {"like": "notes.txt"}, zarngi.FormatError, None, "notes.txt: is no DICOM file"),
        ("gone.nrrd", "made.dcm", {}, FileNotFoundError, None, "gone.nrrd"),
        ("dose.nrrd", "gone/made.dcm", {}, FileNotFoundError, None, "cannot be written"),
        ("dose.nrrd", "made.dcm", {"allow_error_doses": 1}, TypeError, None, "allow_error_doses=1 is neither"),
    ],
)  # fmt: skip
def test_refusals_are_one_sentence_and_write_nothing(folder, source, output, arguments, error, member, sentence):
    before = contents(folder)
    with pytest.raises(error) as raised:
        zarngi.convert(source, output, **arguments)
    assert type(raised.value) is error
    assert sentence in str(raised.value) and "\n" not in str(raised.value)
    assert getattr(raised.value, "member", None) == member
    assert contents(folder) == before


def test_a_refusal_keeps_what_is_there(folder):
    zarngi.convert("dose.nrrd", "made.dcm")
    before = contents(folder)
    with pytest.raises(zarngi.RequestError):
        zarngi.convert("below.nrrd", "made.dcm")
    assert contents(folder) == before


def test_nobody_is_named_unless_it_is_asked_for(folder):
    zarngi.convert("like.dcm", "plain.dcm")
    for text in (b"Nobody", b"4711", b"1.2.3.9"):
        assert text not in Path("plain.dcm").read_bytes()
