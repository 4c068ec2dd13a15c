"""Reading and writing: formats, orientations, damaged files, missing packages."""

import errno
import gzip
import itertools
import os
import sys
import zlib

import nibabel
import numpy as np
import pydicom
import pytest
import zarngi
from zarngi.io import _dicom, _files

SPACING, ORIGIN = (2.0, 2.5, 3.0), (-7.5, 12.25, -40.0)
DOSE = np.random.default_rng(1).random((4, 3, 5), dtype=np.float32) * 60
GRID = zarngi.DoseGrid(DOSE, SPACING, ORIGIN)

#: Every way in which a file's axes may lie along the patient's: patient axis and sign, per axis.
ORIENTATIONS = [
    list(zip(permutation, signs))
    for permutation in itertools.permutations(range(3))
    for signs in itertools.product((1, -1), repeat=3)
]


def turned(orientation):
    """GRID as a file of that orientation stores it: values [k, j, i], spacing, origin, axes."""
    values, origin = DOSE, list(ORIGIN)
    for a, sign in orientation:
        if sign < 0:
            values = np.flip(values, 2 - a)
            origin[a] += (DOSE.shape[2 - a] - 1) * SPACING[a]
    order = [2 - a for a, _ in orientation]
    values = values.transpose(order[::-1])
    spacing = [SPACING[a] for a, _ in orientation]
    axes = [[sign * (a == c) for c in range(3)] for a, sign in orientation]
    return np.ascontiguousarray(values), spacing, origin, axes


def words(values):
    return " ".join(f"{v:g}" for v in np.ravel(values))


def metaimage(values, spacing, origin, axes, **changes):
    entries = {
        "ObjectType": "Image",
        "NDims": "3",
        "TransformMatrix": words(axes),
        "Offset": words(origin),
        "ElementSpacing": words(spacing),
        "DimSize": words(values.shape[::-1]),
        "ElementType": "MET_FLOAT",
    } | changes
    entries["ElementDataFile"] = entries.pop("ElementDataFile", "LOCAL")  # always the last
    lines = [f"{key} = {value}\n" for key, value in entries.items() if value is not None]
    return "".join(lines).encode() + values.tobytes()


def nrrd(values, spacing, origin, axes, **changes):
    def vector(v):
        return "(" + ",".join(f"{c:g}" for c in v) + ")"

    entries = {
        "type": "float",
        "dimension": "3",
        "space": "left-posterior-superior",
        "sizes": words(values.shape[::-1]),
        "space directions": " ".join(vector(np.multiply(a, h)) for a, h in zip(axes, spacing)),
        "space origin": vector(origin),
        "endian": "little",
        "encoding": "raw",
    } | {key.replace("_", " "): value for key, value in changes.items()}
    lines = [f"{key}: {value}\n" for key, value in entries.items() if value is not None]
    return ("NRRD0004\n# made by a test\n" + "".join(lines) + "\n").encode() + values.tobytes()


def nifti(values, spacing, origin, axes):
    affine = np.eye(4)
    affine[:3, :3] = np.multiply(axes, np.reshape(spacing, (3, 1))).T
    affine[:3, 3] = origin
    return nibabel.Nifti1Image(values.T, np.diag([-1, -1, 1, 1]) @ affine).to_bytes()


def two_places():
    image = nibabel.Nifti1Image(DOSE.T, np.diag([2, 2, 2, 1]))
    image.set_qform(np.diag([2, 2, 3, 1]), code=1)
    return image.to_bytes()


def assert_same(grid, spacing=SPACING, origin=ORIGIN, dose=DOSE):
    np.testing.assert_array_equal(grid.dose, dose)
    assert grid.dose.dtype == np.float32 and type(grid.dose) is np.ndarray
    assert grid.dose.flags.c_contiguous and grid.dose.flags.writeable and grid.dose.flags.owndata
    np.testing.assert_allclose(grid.spacing, spacing, rtol=1e-12)
    np.testing.assert_allclose(grid.origin, origin, rtol=1e-12)


@pytest.mark.parametrize("orientation", ORIENTATIONS, ids=str)
@pytest.mark.parametrize(
    ("name", "content"), [("g.mha", metaimage), ("g.nrrd", nrrd), ("g.nii", nifti)]
)
def test_orientations_are_brought_to_one(tmp_path, name, content, orientation):
    path = tmp_path / name
    path.write_bytes(content(*turned(orientation)))
    assert_same(zarngi.read(path))


@pytest.mark.parametrize("name", ["g.mha", "g.nrrd", "g.nii", "g.nii.gz"])
@pytest.mark.parametrize("dtype", ["f4", "f8", ">f4", "f2", "i2", "u1", "i8", "bool"])
def test_what_is_written_is_read(tmp_path, name, dtype):
    values = np.rint(DOSE).astype(dtype)
    zarngi.write(tmp_path / name, values, like=GRID)
    assert_same(zarngi.read(tmp_path / name), dose=values.astype(np.float32))
    assert [p.name for p in tmp_path.iterdir()] == [name]


def test_gamma_maps_keep_their_gaps(tmp_path):
    gamma = DOSE.copy()
    gamma[0] = np.nan
    zarngi.write(tmp_path / "gamma.mha", gamma, like=GRID)
    np.testing.assert_array_equal(zarngi.read(tmp_path / "gamma.mha").dose, gamma)


def test_slices_are_written_as_volumes(tmp_path):
    plane = zarngi.DoseGrid(DOSE[0], (2, 2.5), (-7.5, 12.25))
    zarngi.write(tmp_path / "plane.nrrd", plane.dose, like=plane)
    assert_same(zarngi.read(tmp_path / "plane.nrrd"), (2, 2.5, 1), (-7.5, 12.25, 0), DOSE[:1])


STRAIGHT = [(0, 1), (1, 1), (2, 1)]
STORED = turned(STRAIGHT)
BIG_ENDIAN = STORED[0].astype(">f4"), *STORED[1:]


def compressed(content, values, *rest, pack, **changes):
    header = content(values, *rest, **changes)[: -values.nbytes]
    return header + pack(values.tobytes())


VARIANTS = {
    "metaimage zlib": compressed(metaimage, *STORED, pack=zlib.compress, CompressedData="True"),
    "metaimage big endian": metaimage(*BIG_ENDIAN, BinaryDataByteOrderMSB="True"),
    "metaimage other names": metaimage(
        *STORED[:3], np.eye(3), TransformMatrix=None, Offset=None, Position=words(ORIGIN)
    ),
    "metaimage text": metaimage(*STORED, BinaryData="False")[: -DOSE.nbytes]
    + " ".join(repr(float(v)) for v in DOSE.ravel()).encode(),
    "nrrd gzip": compressed(nrrd, *STORED, pack=gzip.compress, encoding="gzip"),
    "nrrd big endian": nrrd(*BIG_ENDIAN, endian="big"),
    "nrrd ras": nrrd(
        STORED[0], SPACING, np.multiply(ORIGIN, (-1, -1, 1)), np.diag([-1, -1, 1]), space="RAS"
    ),
    "nrrd spacings": nrrd(*STORED, space=None, space_directions=None, spacings=words(SPACING)),
    "nrrd four axes": nrrd(*STORED, sizes="5 3 4 1", dimension="4"),
    "nrrd text": nrrd(*STORED, encoding="ascii")[: -DOSE.nbytes]
    + "\n".join(repr(float(v)) for v in DOSE.ravel()).encode(),
    "nrrd byte skip": compressed(nrrd, *STORED, pack=lambda d: b"12345" + d, byte_skip="5"),
    "nrrd windows lines": compressed(nrrd, *STORED, pack=lambda d: b"").replace(b"\n", b"\r\n")
    + DOSE.tobytes(),
}


@pytest.mark.parametrize("kind", VARIANTS)
def test_variants_of_the_headers(tmp_path, kind):
    # The contents tell the format, whatever the name.
    path = tmp_path / "dose"
    path.write_bytes(VARIANTS[kind])
    assert_same(zarngi.read(path))


@pytest.mark.parametrize("encoding", ["raw", "gzip"])
def test_headers_with_a_data_file(tmp_path, encoding):
    data = DOSE.tobytes() if encoding == "raw" else gzip.compress(DOSE.tobytes())
    (tmp_path / "dose.raw").write_bytes(data)
    header = nrrd(*STORED, encoding=encoding, data_file="dose.raw")[: -DOSE.nbytes]
    (tmp_path / "dose.nhdr").write_bytes(header)
    assert_same(zarngi.read(tmp_path / "dose.nhdr"))
    header = metaimage(
        *STORED,
        CompressedData=str(encoding != "raw"),
        HeaderSize="-1" if encoding == "raw" else "0",
        ElementDataFile="dose.raw",
    )
    (tmp_path / "dose.mhd").write_bytes(header[: -DOSE.nbytes])
    assert_same(zarngi.read(tmp_path / "dose.mhd"))


def test_nifti_units_and_scaling(tmp_path):
    image = nibabel.Nifti1Image(
        np.rint(DOSE * 100).astype("i2").T, np.diag([-0.002, -0.0025, 0.003, 1])
    )
    image.header.set_xyzt_units("meter")
    image.header.set_slope_inter(0.01, 0.5)
    nibabel.save(image, tmp_path / "dose.nii")
    grid = zarngi.read(tmp_path / "dose.nii")
    np.testing.assert_allclose(grid.dose, np.rint(DOSE * 100) / 100 + 0.5, rtol=1e-6)
    np.testing.assert_allclose(grid.spacing, SPACING, rtol=1e-6)


def rt_dose(tmp_path, bits=16, orientation=(1, 0, 0, 0, 1, 0), offsets="rising", **changes):
    """An RT Dose file of GRID, in any orientation, made by hand; None removes an element."""
    rows, columns = np.reshape(orientation, (2, 3))
    normal = np.cross(rows, columns)
    along = [(int(np.argmax(np.abs(v))), int(np.sign(v.sum()))) for v in (rows, columns, normal)]
    if offsets == "falling":
        along[2] = (along[2][0], -along[2][1])
    values, spacing, origin, axes = turned(along)
    steps = np.arange(len(values)) * spacing[2]
    positions = origin[2] + steps * axes[2][2]
    scaling = 0.001 if bits == 16 else 2e-8
    dataset = pydicom.Dataset()
    dataset.SOPClassUID = "1.2.840.10008.5.1.4.1.1.481.2"
    dataset.SOPInstanceUID = pydicom.uid.generate_uid()
    dataset.FrameOfReferenceUID = "1.2.3.4"
    dataset.Modality = "RTDOSE"
    dataset.DoseUnits = "GY"
    dataset.DoseType = "PHYSICAL"
    dataset.DoseSummationType = "PLAN"
    dataset.DoseGridScaling = scaling
    dataset.NumberOfFrames, dataset.Rows, dataset.Columns = values.shape
    dataset.ImagePositionPatient = list(map(float, origin))
    dataset.ImageOrientationPatient = list(orientation)
    dataset.PixelSpacing = [spacing[1], spacing[0]]
    dataset.GridFrameOffsetVector = list(
        positions if offsets == "absolute" else steps * (axes[2] @ normal)
    )
    dataset.FrameIncrementPointer = 0x3004000C
    dataset.SamplesPerPixel = 1
    dataset.PhotometricInterpretation = "MONOCHROME2"
    dataset.BitsAllocated = dataset.BitsStored = bits
    dataset.HighBit = bits - 1
    dataset.PixelRepresentation = 0
    dataset.PixelData = np.rint(values / scaling).astype(f"<u{bits // 8}").tobytes()
    for keyword, value in changes.items():
        if value is None:
            delattr(dataset, keyword)
        else:
            setattr(dataset, keyword, value)
    path = tmp_path / "dose.dcm"
    path.write_bytes(_dicom._file_bytes(pydicom, dataset))
    return path


def stored_dose(scaling):
    return (np.rint(DOSE / scaling).astype(np.float64) * scaling).astype(np.float32)


@pytest.mark.parametrize("bits", [16, 32])
@pytest.mark.parametrize("offsets", ["rising", "falling"])
@pytest.mark.parametrize(
    "orientation",
    [
        (1, 0, 0, 0, 1, 0),  # head first, supine
        (-1, 0, 0, 0, -1, 0),  # head first, prone
        (-1, 0, 0, 0, 1, 0),  # feet first, supine
        (1, 0, 0, 0, -1, 0),  # feet first, prone
        (0, 1, 0, -1, 0, 0),  # on the side
        (0, 1, 0, 0, 0, -1),  # sagittal frames
    ],
)
def test_dicom_orientations(tmp_path, bits, offsets, orientation):
    grid = zarngi.read(rt_dose(tmp_path, bits, orientation, offsets))
    assert_same(grid, dose=stored_dose(0.001 if bits == 16 else 2e-8))
    assert grid.frame_of_reference == "1.2.3.4"


@pytest.mark.parametrize("orientation", [(1, 0, 0, 0, 1, 0), (-1, 0, 0, 0, 1, 0)])
def test_dicom_frames_at_absolute_positions(tmp_path, orientation):
    grid = zarngi.read(rt_dose(tmp_path, orientation=orientation, offsets="absolute"))
    assert_same(grid, dose=stored_dose(0.001))


def test_dicom_of_one_frame_has_a_thickness(tmp_path):
    frame = np.rint(DOSE[0] / 0.001).astype("<u2").tobytes()
    options = {"NumberOfFrames": None, "GridFrameOffsetVector": None, "PixelData": frame}
    grid = zarngi.read(rt_dose(tmp_path, SliceThickness=4, **options))
    assert grid.shape == (1, 3, 5) and grid.spacing == (2, 2.5, 4)
    with pytest.raises(zarngi.FormatError, match="no Slice Thickness"):
        zarngi.read(rt_dose(tmp_path, **options))


def test_dicom_relative_doses_only_when_asked_for(tmp_path):
    path = rt_dose(tmp_path, DoseUnits="RELATIVE")
    with pytest.raises(zarngi.FormatError, match="relative; pass allow_relative=True"):
        zarngi.read(path)
    assert_same(zarngi.read(path, allow_relative=True), dose=stored_dose(0.001))


def test_dicom_is_written_with_32_bits(tmp_path):
    path = tmp_path / "dose.dcm"
    zarngi.write(path, DOSE, like=zarngi.DoseGrid(DOSE, SPACING, ORIGIN, "1.2.3"))
    grid = zarngi.read(path)
    np.testing.assert_allclose(grid.dose, DOSE, rtol=1e-7, atol=DOSE.max() / 2**32)
    assert (grid.spacing, grid.origin, grid.frame_of_reference) == (SPACING, ORIGIN, "1.2.3")
    with pytest.raises(ValueError, match="accepted: finite, 0 and up"):
        zarngi.write(path, DOSE - 50, like=GRID)


HUGE = {"DimSize": "2000 2000 2000"}
OBLIQUE = [[0.96, 0.28, 0], [-0.28, 0.96, 0], [0, 0, 1]]

DAMAGED = {
    "metaimage cut short": (metaimage(*STORED)[:-1], "cut short.*239 bytes of data instead of 240"),
    "metaimage lying": (metaimage(*STORED, **HUGE), "grid size of 2000 x 2000 x 2000"),
    "metaimage one size less": (metaimage(*STORED, DimSize="5 3"), "2 dimensions instead of 3"),
    "metaimage no size": (metaimage(*STORED, DimSize=None), "no dimsize"),
    "metaimage half voxel": (metaimage(*STORED, DimSize="5 3.5 4"), "grid size of '5 3.5 4'"),
    "metaimage colours": (metaimage(*STORED, ElementNumberOfChannels="3"), "one value per voxel"),
    "metaimage no spacing": (metaimage(*STORED, ElementSpacing=None), "no elementspacing"),
    "metaimage flat": (metaimage(*STORED, ElementSpacing="2 0 3"), "voxel size of 0 mm"),
    "metaimage nowhere": (metaimage(*STORED, Offset="0 nan 0"), "an origin of '0 nan 0'"),
    "metaimage far away": (metaimage(*STORED, Offset="0 1e9 0"), "origin of 1e\\+09 mm"),
    "metaimage type": (metaimage(*STORED, ElementType="MET_STRING"), "unknown type MET_STRING"),
    "metaimage oblique": (metaimage(*STORED[:3], OBLIQUE), "rotated against the patient's axes"),
    "metaimage list": (metaimage(*STORED, ElementDataFile="LIST"), "several files"),
    "metaimage alone": (metaimage(*STORED, ElementDataFile="no.raw"), "no.raw is missing"),
    "metaimage not packed": (metaimage(*STORED, CompressedData="True"), "data are damaged"),
    "metaimage endless": (b"ObjectType = Image\n" * 9, "header has no end"),
    "metaimage text cut": (metaimage(*STORED, BinaryData="False"), "cut short|damaged"),
    "nrrd cut short": (nrrd(*STORED)[:-1], "cut short"),
    "nrrd packed and cut": (
        compressed(nrrd, *STORED, pack=lambda d: gzip.compress(d)[:-60], encoding="gzip"),
        "cut short",
    ),
    "nrrd lying": (nrrd(*STORED, sizes="1000 1000 2000"), "cut short, or its header lies"),
    "nrrd oblique": (nrrd(*STORED[:3], OBLIQUE), "rotated against the patient's axes"),
    "nrrd shadow": (nrrd(*STORED[:3], [[1, 0, 0], [1, 0, 0], [0, 0, 1]]), "rotated"),
    "nrrd no direction": (nrrd(*STORED[:3], np.zeros((3, 3))), "no direction for an axis"),
    "nrrd inches": (nrrd(*STORED, space_units='"in" "in" "in"'), "not in mm"),
    "nrrd space": (nrrd(*STORED, space="scanner-xyz"), "'scanner-xyz' is not supported"),
    "nrrd bzip2": (nrrd(*STORED, encoding="bzip2"), "'bzip2' is not supported"),
    "nrrd empty skip": (nrrd(*STORED, byte_skip=""), "a byte skip of ''"),
    "nrrd no spacing": (nrrd(*STORED, space_directions=None), "no voxel size"),
    "nifti cut short": (nifti(*STORED)[:-9], "."),
    "nifti header only": (nifti(*STORED)[:350], "."),
    "nifti oblique": (nifti(*STORED[:3], OBLIQUE), "rotated against the patient's axes"),
    "nifti nowhere": (nibabel.Nifti1Image(DOSE, None).to_bytes(), "no position"),
    "nifti flat": (nifti(*STORED)[:80] + bytes(4) + nifti(*STORED)[84:], "voxel sizes of 0 x 2.5"),
    "nifti torn": (two_places(), "two different positions"),
    "nifti unknown values": (nifti(*STORED)[:70] + b"\xff" * 2 + nifti(*STORED)[72:], "damaged"),
    "gzip cut short": (gzip.compress(nifti(*STORED))[:40], "compressed data are damaged"),
    "text": (b"dose;1;2;3\n", "no dose file"),
    "empty": (b"", "no dose file"),
}


@pytest.mark.parametrize("kind", DAMAGED)
def test_damaged_files_are_refused_by_name(tmp_path, kind):
    content, message = DAMAGED[kind]
    path = tmp_path / ("dose.nii" if kind.startswith("nifti") else "dose")
    path.write_bytes(content)
    with pytest.raises(zarngi.FormatError, match=message) as caught:
        zarngi.read(path)
    assert str(caught.value).startswith(f"{path}: ")


@pytest.mark.parametrize(
    ("changes", "message"),
    [
        ({"Modality": "CT", "SOPClassUID": "1.2"}, r"no DICOM RT Dose \(modality CT\)"),
        ({"PixelData": None}, "without a dose grid"),
        ({"PixelData": b"\0" * 10}, "damaged or cut short"),
        ({"DoseUnits": None}, "Dose Units are ''"),
        ({"DoseGridScaling": None}, "no Dose Grid Scaling"),
        ({"DoseGridScaling": 0}, "Dose Grid Scaling of 0"),
        ({"ImagePositionPatient": None}, r"no Image Position \(Patient\)"),
        ({"PixelSpacing": [2, 0]}, "voxel size of 0 mm"),
        ({"GridFrameOffsetVector": [0, 3, 6]}, "a Grid Frame Offset Vector of"),
        ({"GridFrameOffsetVector": [0, 3, 6.2, 9]}, "not evenly spaced .frame 3 lies 0.2 mm off"),
        ({"GridFrameOffsetVector": [5, 8, 11, 14]}, "neither with 0 nor with the position"),
        ({"ImageOrientationPatient": [0.8, 0.6, 0, -0.6, 0.8, 0]}, "rotated"),
    ],
)
def test_bad_dicom_is_refused(tmp_path, changes, message):
    with pytest.raises(zarngi.FormatError, match=message):
        zarngi.read(rt_dose(tmp_path, **changes))


def test_missing_files_are_missing(tmp_path):
    with pytest.raises(FileNotFoundError):
        zarngi.read(tmp_path / "no.nrrd")


@pytest.mark.parametrize(
    ("module", "name", "content"),
    [("pydicom", "d.dcm", b"\0" * 128 + b"DICM"), ("nibabel", "d.nii", nifti(*STORED))],
)
def test_missing_packages_are_asked_for_by_name(tmp_path, monkeypatch, module, name, content):
    monkeypatch.setitem(sys.modules, module, None)
    path = tmp_path / name
    path.write_bytes(content)
    with pytest.raises(ImportError, match=f"reading .* needs the package {module}"):
        zarngi.read(path)
    with pytest.raises(ImportError, match=f"writing .* needs the package {module}"):
        zarngi.write(path, DOSE, like=GRID)
    assert path.read_bytes() == content


@pytest.mark.parametrize(
    ("name", "array", "error", "message"),
    [
        ("dose.png", DOSE, ValueError, "unknown ending; accepted: .mha, .nrrd, .nii, .nii.gz"),
        ("dose.mha", DOSE[1:], ValueError, r"shape \(3, 3, 5\); accepted: \(4, 3, 5\)"),
        ("dose.mha", DOSE + 1j, TypeError, "data type complex"),
        ("no/dose.mha", DOSE, FileNotFoundError, "no"),
    ],
)
def test_bad_writes_leave_nothing(tmp_path, name, array, error, message):
    with pytest.raises(error, match=message):
        zarngi.write(tmp_path / name, array, like=GRID)
    assert list(tmp_path.iterdir()) == []


@pytest.mark.parametrize("failing", ["replace", "write"])
def test_a_failed_write_keeps_the_old_file(tmp_path, monkeypatch, failing):
    path = tmp_path / "dose.nrrd"
    zarngi.write(path, DOSE, like=GRID)
    before = path.read_bytes()

    def full(*_):
        raise OSError(errno.ENOSPC, "No space left on device")

    if failing == "replace":
        monkeypatch.setattr(os, "replace", full)
    else:
        monkeypatch.setattr(_files, "_write_bytes", lambda file, data: full(file.write(data[:9])))
    with pytest.raises(OSError, match="No space left"):
        zarngi.write(path, DOSE * 2, like=GRID)
    assert path.read_bytes() == before
    assert list(tmp_path.iterdir()) == [path]
