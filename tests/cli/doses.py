"""Small dose distributions for the tests, written by libraries other than the program's own."""

import gzip
import struct
from dataclasses import dataclass, field

import nibabel
import numpy
import pydicom
from pydicom.dataset import FileMetaDataset
from pydicom.uid import ExplicitVRLittleEndian, ImplicitVRLittleEndian, RLELossless, generate_uid

RT_DOSE = "1.2.840.10008.5.1.4.1.1.481.2"


@dataclass
class Dose:
    """A dose in Gy on a grid along the patient's axes; values[z, y, x], origin: a voxel centre."""

    values: numpy.ndarray
    spacing: tuple = (2.5, 2.0, 3.0)
    origin: tuple = (-20.0, -15.0, 8.0)

    @property
    def size(self):
        return tuple(reversed(self.values.shape))


def blob(shift=0.0, size=(18, 15, 12), scale=1.0):
    """A bump of 2 Gy that decays over some centimetres; whole multiples of 2^-14 Gy."""
    dose = Dose(numpy.zeros(tuple(reversed(size)), numpy.float32))
    z, y, x = numpy.meshgrid(*[numpy.arange(n) for n in dose.values.shape], indexing="ij")
    place = [c * s + o for c, s, o in zip((x, y, z), dose.spacing, dose.origin)]
    square = (
        ((place[0] - shift) / 14) ** 2 + (place[1] / 11) ** 2 + ((place[2] - 24) / 13) ** 2
    )
    values = 2 * scale * numpy.exp(-square) * (1 + 0.05 * numpy.sin(place[0]))
    dose.values = (numpy.round(values * 2**14) / 2**14).astype(numpy.float32)
    return dose


def unit_notes(*paths):
    """What is told on standard error of files that tell no unit of dose."""
    return "".join(f"zarngi: warning: {path}: tells no unit of dose; its values are taken for Gy\n"
                   for path in paths)  # fmt: skip


def pair():
    return blob(), blob(shift=1.5, scale=1.02)


def _text(numbers):
    return " ".join(repr(float(n)) if not isinstance(n, int) else str(n) for n in numbers)


def meta_header(dose, data_file, **changes):
    entries = {
        "ObjectType": "Image",
        "NDims": "3",
        "BinaryData": "True",
        "BinaryDataByteOrderMSB": "False",
        "CompressedData": "False",
        "TransformMatrix": "1 0 0 0 1 0 0 0 1",
        "Offset": _text(dose.origin),
        "ElementSpacing": _text(dose.spacing),
        "DimSize": _text(dose.size),
        "ElementType": "MET_FLOAT",
    }
    entries.update({key: value for key, value in changes.items() if value is not None})
    kept = {key: value for key, value in entries.items() if changes.get(key, "") is not None}
    kept["ElementDataFile"] = data_file
    return "".join(f"{key} = {value}\n" for key, value in kept.items()).encode()


def write_mha(path, dose, data=None, **changes):
    payload = dose.values.astype("<f4").tobytes() if data is None else data
    path.write_bytes(meta_header(dose, "LOCAL", **changes) + payload)
    return path


def write_mhd(path, dose, **changes):
    raw = path.with_suffix(".raw")
    raw.write_bytes(dose.values.astype("<f4").tobytes())
    path.write_bytes(meta_header(dose, raw.name, **changes))
    return path


def nrrd_header(dose, **changes):
    entries = {
        "type": "float",
        "dimension": "3",
        "space": "left-posterior-superior",
        "sizes": _text(dose.size),
        "space directions": "({},0,0) (0,{},0) (0,0,{})".format(*map(repr, dose.spacing)),
        "kinds": "domain domain domain",
        "endian": "little",
        "encoding": "raw",
        "sample units": '"Gy"',
        "space origin": "({!r},{!r},{!r})".format(*dose.origin),
    }
    entries.update({key.replace("_", " "): value for key, value in changes.items()})
    lines = [f"{key}: {value}\n" for key, value in entries.items() if value is not None]
    return ("NRRD0004\n" + "".join(lines) + "\n").encode()


def write_nrrd(path, dose, data=None, **changes):
    payload = dose.values.astype("<f4").tobytes() if data is None else data
    if changes.get("encoding") == "gzip":
        payload = gzip.compress(payload)
    path.write_bytes(nrrd_header(dose, **changes) + payload)
    return path


def write_nifti(path, dose, scaled_to=None, turn=numpy.eye(4)):
    """As nibabel writes it: NIfTI's x and y run the other way than DICOM's."""
    affine = numpy.diag([-dose.spacing[0], -dose.spacing[1], dose.spacing[2], 1.0])
    affine[:3, 3] = (-dose.origin[0], -dose.origin[1], dose.origin[2])
    image = nibabel.Nifti1Image(dose.values.transpose(2, 1, 0), turn @ affine)
    if scaled_to is not None:
        image.set_data_dtype(scaled_to)
    nibabel.save(image, str(path))
    return path


def patch(path, position, data):
    """Overwrites some bytes."""
    contents = bytearray(path.read_bytes())
    contents[position : position + len(data)] = data
    path.write_bytes(bytes(contents))
    return path


def patch_nifti(path, position, code, *numbers):
    return patch(path, position, struct.pack("<" + code * len(numbers), *numbers))


POSITIONS = {
    "HFS": (1, 0, 0, 0, 1, 0),
    "HFP": (-1, 0, 0, 0, -1, 0),
    "FFS": (-1, 0, 0, 0, 1, 0),
    "FFP": (1, 0, 0, 0, -1, 0),
    "coronal": (1, 0, 0, 0, 0, -1),
    "sagittal": (0, 1, 0, 0, 0, -1),
}


@dataclass
class DicomStyle:
    """How a dose is put into DICOM. None for an element removes it."""

    bits: int = 16
    position: str = "HFS"
    descending: bool = False
    absolute_offsets: bool = False
    syntax: str = ExplicitVRLittleEndian
    compress: bool = False
    elements: dict = field(default_factory=dict)


def _stored_array(dose, row_axis, column_axis):
    """The values as frames of rows of columns, and the position of the first one."""
    normal = numpy.cross(row_axis, column_axis)
    origin = numpy.array(dose.origin, float)
    values = dose.values.transpose(2, 1, 0)
    order = []
    for direction in (normal, column_axis, row_axis):
        axis = int(numpy.argmax(numpy.abs(direction)))
        order.append(axis)
        if direction[axis] < 0:
            values = numpy.flip(values, axis)
            origin[axis] += dose.spacing[axis] * (values.shape[axis] - 1)
    return values.transpose(order), origin, [dose.spacing[axis] for axis in order], normal


def write_dicom(path, dose, style=None):
    style = style or DicomStyle()
    orientation = POSITIONS[style.position]
    row_axis, column_axis = numpy.array(orientation[:3]), numpy.array(orientation[3:])
    frames, origin, spacing, normal = _stored_array(dose, row_axis, column_axis)
    offsets = numpy.arange(frames.shape[0]) * spacing[0]
    if style.descending:
        origin = origin + normal * offsets[-1]
        frames, offsets = frames[::-1], -offsets
    if style.absolute_offsets:
        offsets = offsets * normal[2] + origin[2]
    scaling = 2.0**-14 if style.bits == 16 else 2.0**-26
    stored = numpy.round(frames.astype(float) / scaling).astype(f"<u{style.bits // 8}")

    meta = FileMetaDataset()
    meta.MediaStorageSOPClassUID = RT_DOSE
    meta.MediaStorageSOPInstanceUID = generate_uid()
    meta.TransferSyntaxUID = style.syntax
    data = pydicom.FileDataset(str(path), {}, file_meta=meta, preamble=b"\0" * 128)
    data.is_little_endian = True
    data.is_implicit_VR = style.syntax == ImplicitVRLittleEndian
    data.SOPClassUID = RT_DOSE
    data.SOPInstanceUID = meta.MediaStorageSOPInstanceUID
    data.Modality = "RTDOSE"
    data.PatientName = "Secret^Patient"
    data.PatientID = "secret-id"
    data.FrameOfReferenceUID = "1.2.3.4"
    data.ImagePositionPatient = [float(c) for c in origin]
    data.ImageOrientationPatient = [float(c) for c in orientation]
    data.PixelSpacing = [spacing[1], spacing[2]]
    data.SliceThickness = spacing[0]
    data.NumberOfFrames, data.Rows, data.Columns = frames.shape
    data.FrameIncrementPointer = 0x3004000C
    data.GridFrameOffsetVector = [float(o) for o in offsets]
    data.SamplesPerPixel = 1
    data.PhotometricInterpretation = "MONOCHROME2"
    data.BitsAllocated = data.BitsStored = style.bits
    data.HighBit = style.bits - 1
    data.PixelRepresentation = 0
    data.DoseUnits = "GY"
    data.DoseType = "PHYSICAL"
    data.DoseSummationType = "PLAN"
    data.DoseGridScaling = repr(scaling) if style.bits == 16 else "1.49011611938E-8"
    data.PixelData = stored.tobytes()
    for keyword, value in style.elements.items():
        if value is None:
            delattr(data, keyword)
        else:
            setattr(data, keyword, value)
    if style.compress:
        data.compress(RLELossless)
    data.save_as(str(path), write_like_original=False)
    return path
