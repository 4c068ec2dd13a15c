"""
Damaged files: single bits turned over and files cut short. Whatever the package reads of one must
be what an independent reader gives for the same bytes, and program and page must give the same answer.
"""

import dataclasses
import gzip
import warnings
import zlib
from collections import Counter

import numpy as np
import pytest
import zarngi
from pydicom.uid import DeflatedExplicitVRLittleEndian, ImplicitVRLittleEndian, RLELossless

import variants_dicom
import variants_metaimage
import variants_nifti
import variants_nrrd
from answers import ENGINE, by_package, by_page, by_program, differences, limit_memory
from judges import JUDGES, NoAnswer
from variants import words

VALUES = (np.random.default_rng(7).integers(0, 4000, (11, 10, 12)) / 64).astype(np.float32)
BYTES = VALUES.astype("<f4").tobytes()
TEXT = "\n".join(repr(float(value)) for value in VALUES.ravel()).encode()
SIZES = words(VALUES.shape[::-1])
PLACES = 1000  # in the data, of flips and of cuts
SAMPLE = 40  # one file in so many goes through the program as well


@dataclasses.dataclass
class Whole:
    """An undamaged file, and where its data begin."""

    kind: str
    name: str
    contents: bytes
    header: int


def nrrd(data, **changes):
    """Without kinds, which tell nothing about a dose: teem refuses those that it does not know."""
    changes["kinds"] = None
    header = len(variants_nrrd.nrrd(b"", sizes=SIZES, **changes))
    contents = variants_nrrd.nrrd(data, sizes=SIZES, **changes)
    return Whole("NRRD", "dose.nrrd", contents, header)


def meta(data, **changes):
    header = len(variants_metaimage.meta(b"", DimSize=SIZES, **changes))
    contents = variants_metaimage.meta(data, DimSize=SIZES, **changes)
    return Whole("MetaImage", "dose.mha", contents, header)


def nifti(version, is_packed=False):
    contents = variants_nifti.nifti(values=VALUES, version=version)
    if is_packed:
        return Whole("NIfTI", "dose.nii.gz", gzip.compress(contents, mtime=0), 20)
    return Whole("NIfTI", "dose.nii", contents, variants_nifti.BEGINNINGS[version])


def dicom(*syntax):
    offsets = [3.0 * i for i in range(len(VALUES))]
    contents = variants_dicom.dose(
        *syntax, stored=(VALUES * 64).astype(int), GridFrameOffsetVector=offsets
    )
    if syntax == (DeflatedExplicitVRLittleEndian,):
        header = variants_dicom.data_set_start(contents)
    else:
        header = contents.rindex(b"\xe0\x7f\x10\0") + 12
    return Whole("DICOM RT Dose", "dose.dcm", contents, header)


limit_memory()
PACKED = zlib.compress(BYTES)
WHOLES = {
    "NRRD": nrrd(BYTES),
    "NRRD, packed": nrrd(gzip.compress(BYTES, mtime=0), encoding="gzip"),
    "NRRD, text": nrrd(TEXT, encoding="ascii"),
    "MetaImage": meta(BYTES),
    "MetaImage, packed": meta(PACKED, CompressedData="True", CompressedDataSize=str(len(PACKED))),
    "MetaImage, text": meta(TEXT, BinaryData="False"),
    "NIfTI-1": nifti(1),
    "NIfTI-2": nifti(2),
    "NIfTI-1, packed": nifti(1, is_packed=True),
    "DICOM, explicit": dicom(),
    "DICOM, implicit": dicom(ImplicitVRLittleEndian),
    "DICOM, RLE": dicom(RLELossless),
    "DICOM, deflated": dicom(DeflatedExplicitVRLittleEndian),
}


def flips(whole, random):
    """One bit of each byte of the header, and bits at random places of the data."""
    places = random.integers(whole.header, len(whole.contents), PLACES)
    for place in (*range(whole.header), *places):
        bit = int(random.integers(8))
        damaged = bytearray(whole.contents)
        damaged[place] ^= 1 << bit
        yield f"bit {bit} of byte {place}", bytes(damaged)


def cuts(whole, random):
    """Behind each byte of the header, and at random places of the data."""
    places = random.integers(whole.header, len(whole.contents), PLACES)
    for place in (*range(whole.header), *places):
        yield f"cut to {place} bytes", whole.contents[:place]


def read(path):
    with warnings.catch_warnings():
        warnings.simplefilter("ignore", zarngi.FormatWarning)
        try:
            return zarngi.read(path)
        except zarngi.FormatError:
            return None


def for_judge(whole, contents):
    """The file as the judge can take it."""
    if whole.kind != "MetaImage":
        return contents
    # VTK knows keys and words in one case only; here only the case of a letter is damaged.
    if contents.lower()[: whole.header] == whole.contents.lower()[: whole.header]:
        contents = whole.contents[: whole.header] + contents[whole.header :]
    # VTK cannot do without the size of packed data, which tells nothing new at the end of a file.
    if b"CompressedData = True" in contents and b"CompressedDataSize =" not in contents:
        size = f"CompressedDataSize = {len(contents) - whole.header}\n".encode()
        contents = contents.replace(b"ElementDataFile", size + b"ElementDataFile", 1)
    return contents


def write_anew(path, contents):
    """Some file systems write a file that is overwritten to the disk at once, which takes long."""
    path.unlink(missing_ok=True)
    path.write_bytes(contents)


def disagreement(whole, path):
    """What the package reads otherwise than the judge, or nothing; None where it refuses."""
    grid = read(path)
    if grid is None:
        return None
    contents = path.read_bytes()
    judged = path.with_name("judged-" + path.name)
    write_anew(judged, for_judge(whole, contents))
    try:
        return JUDGES[whole.kind](judged).differs_from(grid)
    except NoAnswer as error:
        return f"the judge cannot read it: {error}"


@pytest.mark.parametrize("damage", [flips, cuts])
@pytest.mark.parametrize("name", WHOLES)
def test_damage(tmp_path, name, damage):
    whole = WHOLES[name]
    path = tmp_path / whole.name
    path.write_bytes(whole.contents)
    assert disagreement(whole, path) == "", "the undamaged file"
    found, counts = [], Counter()
    for number, (what, contents) in enumerate(damage(whole, np.random.default_rng(11))):
        write_anew(path, contents)
        difference = disagreement(whole, path)
        counts["refused" if difference is None else "read"] += 1
        if difference:
            found.append(f"{what}: {difference}")
        if ENGINE:
            told = by_page(str(path))
            # Page and program look first whether a file is a structure set.
            if differences(told, by_package(str(path))):
                differing = differences(told, by_program(str(path)))
                found.extend(f"{what}: the page gives {item}" for item in differing)
        if number % SAMPLE == 0:
            differing = differences(by_program(str(path)), by_package(str(path)))
            found.extend(f"{what}: the program gives {item}" for item in differing)
    assert not found, "\n".join([f"{len(found)} of {counts}", *found])
    assert counts["refused"] > 50
