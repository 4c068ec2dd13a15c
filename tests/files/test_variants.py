"""
Every row of the tables of variants, through the program, the package and the page: the dose that the
row tells to the bit, on its grid, with its warnings; or its sentence.
"""

import os
import re
import subprocess
import threading

import pytest
import zarngi

import variants_3ddose
import variants_dicom
import variants_measurements
import variants_metaimage
import variants_nifti
import variants_nrrd
import variants_planes
import variants_structures
import variants_topas
from answers import (
    ENGINE, PROGRAM, Answer, by_package, by_page, by_program, differences, digest, limit_memory,
)
from variants import FOREIGN, VALUES, Grid
from zarngi.io import _host

TABLES = (
    variants_nrrd, variants_metaimage, variants_nifti, variants_dicom, variants_3ddose, variants_topas,
)  # fmt: skip
ROWS = {f"{table.FORMAT}: {row.name}": row for table in TABLES for row in table.ROWS}
TELLING_UNITS = {f"{variants_dicom.FORMAT}: {row.name}" for row in variants_dicom.ROWS}

limit_memory()


def expected_of(name, result):
    if not isinstance(result, Grid):
        return Answer(sentence=result)
    return Answer(
        result.values.shape[::-1], tuple(result.spacing), tuple(result.origin),
        digest(result.values), result.all_warnings(name in TELLING_UNITS), result.unit,
        result.normal,
    )


def write_files(folder, files):
    """Writes them; gives the path of the first one."""
    for name, contents in files.items():
        path = folder / name
        path.parent.mkdir(exist_ok=True)
        path.write_bytes(contents)
    return str(folder / next(iter(files)))


def test_rows_have_names_of_their_own():
    assert len(ROWS) == sum(len(table.ROWS) for table in TABLES)


@pytest.mark.parametrize("name", ROWS)
def test_variant(tmp_path, name):
    row = ROWS[name]
    path = write_files(tmp_path, row.files)
    expected = expected_of(name, row.expected)
    in_package = expected_of(name, row.in_package) if row.in_package else expected
    assert not differences(by_program(path), expected)
    assert not differences(by_package(path), in_package)


@pytest.mark.skipif(not ENGINE, reason="the engine of the page is not built")
@pytest.mark.parametrize("name", ROWS)
def test_variant_in_the_page(tmp_path, name):
    row = ROWS[name]
    unpacks = not row.name.startswith("JPEG")
    expected = expected_of(name, row.expected if unpacks or not row.in_package else row.in_package)
    # It is given files alone.
    expected.sentence = re.sub(" is a (folder|device), not a dose file$", " is missing", expected.sentence)
    assert not differences(by_page(write_files(tmp_path, row.files)), expected)


#: What sentences have in quotes in words of their own.
OWN_WORDS = {
    "=", "Data Flags", "Dose Counts", "Dose Units", "binarydata", "binarydatabyteordermsb", "byte skip",
    "compresseddata", "data file", "dimension", "dimsize", "elementtype", "encoding", "endian", "ndims",
    "offset", "sizes", "transformmatrix", "type",
}  # fmt: skip


def test_nothing_is_quoted_where_that_is_not_wanted(tmp_path):
    """Any text of a file may be a patient's name: of a message only its own words are left."""
    rows = [(zarngi.read, row.files, row.expected) for row in ROWS.values()]
    rows += [(zarngi.read, {"dose": row.contents}, row.expected)
             for row in (*variants_measurements.ROWS, *variants_planes.ROWS)]
    rows += [(zarngi.read_structures, {row.file: row.contents}, row.expected)
             for row in variants_structures.ROWS]  # fmt: skip
    left_out = 0
    for i, (read, files, expected) in enumerate(rows):
        told = isinstance(expected, str) and re.findall('"(.*?)"', expected)
        if not told:
            continue
        (tmp_path / str(i)).mkdir()
        path = write_files(tmp_path / str(i), files)
        with _host.without_excerpts(), pytest.raises(zarngi.FormatError) as refusal:
            read(path)
        quoted = re.findall('"(.*?)"', str(refusal.value))
        assert set(quoted) <= OWN_WORDS | {"..."}, refusal.value
        left_out += "..." in quoted
    assert left_out > 150


def test_relative_doses_are_read_when_asked_for(tmp_path):
    path = tmp_path / "dose.dcm"
    path.write_bytes(variants_dicom.dose(DoseUnits="RELATIVE"))
    grid = zarngi.read(path, allow_relative=True)
    assert digest(grid.dose) == digest(VALUES)


def test_file_formats_are_told(tmp_path):
    """The contents tell the format, whatever the name."""
    for table in TABLES:
        row = next(row for row in table.ROWS if isinstance(row.expected, Grid))
        path = tmp_path / "dose.of.no.format"
        path.write_bytes(next(iter(row.files.values())))
        run = subprocess.run([PROGRAM, "info", path], capture_output=True, text=True, check=True)
        assert f"format              {table.FORMAT}\n" in run.stdout


PIPED = {
    "NRRD": variants_nrrd.nrrd(),
    "NRRD, packed": variants_nrrd.packed(variants_nrrd.gzip_member(variants_nrrd.BYTES)),
    "MetaImage": variants_metaimage.meta(),
    "NIfTI": variants_nifti.nifti(),
    "NIfTI, packed": variants_nifti.gzip_member(variants_nifti.nifti()),
    "DICOM RT Dose": variants_dicom.dose(),
    "EGSnrc 3ddose": variants_3ddose.threeddose(),
    "TOPAS": variants_topas.text(),
    "larger than a pipe": variants_dicom.dose(stored=variants_dicom.LARGER.repeat(9, axis=1)),
}


def through_pipe(folder, contents, ask):
    """What a reader makes of contents that come through a pipe, in pieces."""
    path = folder / "pipe"
    os.mkfifo(path)

    def feed():
        with open(path, "wb", buffering=0) as pipe:
            for start in range(0, len(contents), 5000):
                pipe.write(contents[start : start + 5000])

    feeder = threading.Thread(target=feed, daemon=True)
    feeder.start()
    try:
        return ask(str(path))
    finally:
        feeder.join(10)
        assert not feeder.is_alive(), "the pipe was not read to its end"
        path.unlink()


@pytest.mark.parametrize("name", PIPED)
def test_pipe(tmp_path, name):
    (tmp_path / "file").write_bytes(PIPED[name])
    from_file = by_package(str(tmp_path / "file"))
    assert from_file.sha256
    assert through_pipe(tmp_path, PIPED[name], by_program) == from_file
    assert through_pipe(tmp_path, PIPED[name], by_package) == from_file


def test_short_pipes(tmp_path):
    for contents, sentence in ((b"", "is empty"), (b"no dose", FOREIGN)):
        for ask in (by_program, by_package):
            assert through_pipe(tmp_path, contents, ask) == Answer(sentence=sentence)


def of_system(path):
    """What the package says of a file that the system does not give."""
    with pytest.raises(OSError) as caught:
        zarngi.read(path)
    return caught.value


def test_missing_file(tmp_path):
    path = str(tmp_path / "absent.nrrd")
    assert by_program(path) == Answer(sentence="no such file")
    assert isinstance(of_system(path), FileNotFoundError)


def test_folder_and_device(tmp_path):
    assert by_program(str(tmp_path)) == Answer(sentence="is a folder, not a dose file")
    assert isinstance(of_system(str(tmp_path)), IsADirectoryError)
    for device in ("/dev/zero", "/dev/null"):
        assert by_program(device) == Answer(sentence="is a device, not a dose file")
        assert "is a device, not a dose file" in str(of_system(device))


@pytest.mark.skipif(os.geteuid() == 0, reason="the administrator may read everything")
def test_unreadable_file(tmp_path):
    path = tmp_path / "secret.nrrd"
    path.write_bytes(variants_nrrd.nrrd())
    path.chmod(0)
    assert by_program(str(path)).sentence == "cannot be opened: Permission denied"
    assert isinstance(of_system(str(path)), PermissionError)


@pytest.mark.parametrize("name", ["two\nlines.nrrd", "\x1b[31mred.nrrd", "tab\t.nrrd"])
def test_names_with_control_characters(tmp_path, name):
    """They reach no terminal as they are."""
    path = tmp_path / name
    for contents in (b"no dose", variants_nrrd.nrrd(space=None)):
        path.write_bytes(contents)
        run = subprocess.run([PROGRAM, "info", path], capture_output=True, text=True, check=False)
        assert name not in run.stdout + run.stderr
        assert "\x1b" not in run.stdout + run.stderr
        assert len(run.stderr.splitlines()) == (contents == b"no dose")
