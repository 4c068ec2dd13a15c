"""Undamaged files of all formats, and those the package writes: read as independent readers do."""

import gzip
import itertools
import zlib

import numpy as np
import pytest
import zarngi
from pydicom.uid import (
    DeflatedExplicitVRLittleEndian, ExplicitVRBigEndian, ExplicitVRLittleEndian,
    ImplicitVRLittleEndian, RLELossless,
)

import variants_dicom
import variants_metaimage
import variants_nifti
import variants_nrrd
from judges import JUDGES
from variants import ORIENTATIONS, turned, words

TYPES = ("i1", "u1", "i2", "u2", "i4", "u4", "i8", "u8", "f4", "f8")
#: VTK has no 64-bit whole numbers in MetaImage.
META_TYPES = tuple(t for t in TYPES if t not in ("i8", "u8"))


class Random:
    """One file's shape, place, type and values, from a fixed seed."""

    def __init__(self, seed, types=TYPES):
        self.numbers = np.random.default_rng(seed)
        size = self.numbers.integers(1, 12, 3)
        self.spacing = tuple(self.numbers.integers(1, 40, 3) / 8)
        self.origin = tuple(self.numbers.integers(-4000, 4000, 3) / 8)
        self.type = np.dtype(types[seed % len(types)])
        self.values = self.make_values(size)
        self.order = "<>"[self.numbers.integers(2)]
        self.is_packed = bool(self.numbers.integers(2))
        self.orientation = ORIENTATIONS[self.numbers.integers(len(ORIENTATIONS))]

    def make_values(self, size):
        if self.type.kind == "f":
            return (self.numbers.normal(0, 30, size)).astype(self.type)
        limits = np.iinfo(self.type)
        return self.numbers.integers(limits.min, limits.max, size, self.type, endpoint=True)

    def turned(self):
        return turned(self.orientation, self.values, self.spacing, self.origin)

    def stored(self, values):
        return values.astype(self.type.newbyteorder(self.order)).tobytes()


def nrrd(random):
    values, spacing, origin, axes = random.turned()
    steps = np.multiply(axes, np.reshape(spacing, (3, 1)))
    data = random.stored(values)
    name = variants_nrrd.TYPES[random.type.str[1:]].split(", ")[0]
    return variants_nrrd.nrrd(
        gzip.compress(data) if random.is_packed else data,
        type=name, sizes=words(values.shape[::-1]), space_origin=variants_nrrd.vector(origin),
        space_directions=variants_nrrd.vectors(steps),
        endian="little" if random.order == "<" else "big",
        encoding="gzip" if random.is_packed else "raw",
    )


def metaimage(random):
    values, spacing, origin, axes = random.turned()
    data = random.stored(values)
    data = zlib.compress(data) if random.is_packed else data
    changes = {"CompressedData": "True", "CompressedDataSize": str(len(data))}
    return variants_metaimage.meta(
        data, DimSize=words(values.shape[::-1]), ElementSpacing=words(spacing),
        Offset=words(origin), TransformMatrix=words(axes),
        ElementType=variants_metaimage.TYPES[random.type.str[1:]],
        BinaryDataByteOrderMSB=str(random.order == ">"), **(changes if random.is_packed else {}),
    )


def nifti(random):
    values, _, _, _ = random.turned()
    affine = variants_nifti.affine_of(
        random.orientation, random.spacing, random.origin, random.values
    )
    slope, inter = random.numbers.integers(1, 9) / 4, random.numbers.integers(-9, 9) / 4
    contents = variants_nifti.nifti(
        values=values, affine=affine, version=1 + int(random.numbers.integers(2)),
        order=random.order, scl_slope=slope, scl_inter=inter,
    )
    return gzip.compress(contents) if random.is_packed else contents


SYNTAXES = (
    ImplicitVRLittleEndian, ExplicitVRLittleEndian, DeflatedExplicitVRLittleEndian, RLELossless,
    ExplicitVRBigEndian,
)


def dicom(random):
    syntax = SYNTAXES[random.numbers.integers(len(SYNTAXES))]
    values, spacing, origin, axes = random.turned()
    bits = 8 * random.type.itemsize
    if syntax == ExplicitVRBigEndian and bits == 32:
        syntax = ExplicitVRLittleEndian  # ambiguous, and refused
    if syntax == RLELossless and (bits == 32 or random.type.kind == "i"):
        syntax = ImplicitVRLittleEndian  # pydicom packs no others
    order = ">" if syntax == ExplicitVRBigEndian else "<"
    offsets = np.arange(len(values)) * spacing[2] * int(np.cross(*axes[:2]) @ axes[2])
    elements = variants_dicom.dataset(
        stored=values, bits=bits, signed=random.type.kind == "i", order=order,
        scaling="0.0012345678901", SliceThickness=spacing[2],
        ImagePositionPatient=list(map(float, origin)),
        ImageOrientationPatient=[float(c) for c in np.ravel(axes[:2])],
        PixelSpacing=[spacing[1], spacing[0]],
        GridFrameOffsetVector=list(map(float, offsets)),
    )
    return variants_dicom.file_of(elements, syntax)


MAKERS = {
    "NRRD": (nrrd, "dose.nrrd", TYPES),
    "MetaImage": (metaimage, "dose.mha", META_TYPES),
    "NIfTI": (nifti, "dose.nii", TYPES),
    "DICOM RT Dose": (dicom, "dose.dcm", TYPES[:6]),
}
FILES = 20  # of each format


@pytest.mark.parametrize("seed", range(FILES))
@pytest.mark.parametrize("kind", MAKERS)
def test_judge(tmp_path, kind, seed):
    make, name, types = MAKERS[kind]
    path = tmp_path / name
    path.write_bytes(make(Random(seed, types)))
    judged = JUDGES[kind](path)
    assert np.any(judged.values), "a file without doses"
    assert not judged.differs_from(zarngi.read(path))


ENDINGS = {".mha": "MetaImage", ".nrrd": "NRRD", ".nii": "NIfTI", ".nii.gz": "NIfTI"}
WRITTEN = [
    (ending, code) for ending, code in itertools.product(ENDINGS, TYPES)
    if ending != ".mha" or code in META_TYPES
]


@pytest.mark.parametrize(("ending", "code"), WRITTEN)
def test_what_is_written_is_read(tmp_path, ending, code):
    random = Random(TYPES.index(code))
    grid = zarngi.DoseGrid(
        random.values.astype(np.float32), random.spacing, random.origin
    )
    path = tmp_path / ("dose" + ending)
    zarngi.write(path, random.values, like=grid)
    judged = JUDGES[ENDINGS[ending]](path)
    assert not judged.differs_from(grid)
    assert judged.values.tobytes() == random.values.astype(np.float32).tobytes()


@pytest.mark.parametrize("code", ["i8", "u8"])
def test_64_bit_metaimage_is_what_it_says(tmp_path, code):
    """VTK has none, so what is written is taken apart by hand."""
    random = Random(TYPES.index(code))
    grid = zarngi.DoseGrid(random.values.astype(np.float32), random.spacing, random.origin)
    zarngi.write(tmp_path / "dose.mha", random.values, like=grid)
    header, _, packed = (tmp_path / "dose.mha").read_bytes().partition(b"ElementDataFile = LOCAL\n")
    entries = dict(line.split(" = ") for line in header.decode().splitlines())
    assert entries["ElementType"] == variants_metaimage.TYPES[code]
    assert entries["BinaryDataByteOrderMSB"] == "False" and entries["CompressedData"] == "True"
    assert entries["DimSize"] == " ".join(map(str, random.values.shape[::-1]))
    assert [float(s) for s in entries["ElementSpacing"].split()] == list(random.spacing)
    assert [float(o) for o in entries["Offset"].split()] == list(random.origin)
    assert entries["TransformMatrix"] == "1 0 0 0 1 0 0 0 1"
    assert int(entries["CompressedDataSize"]) == len(packed)
    assert zlib.decompress(packed) == random.values.astype("<" + code).tobytes()
    assert zarngi.read(tmp_path / "dose.mha").dose.tobytes() == grid.dose.tobytes()
