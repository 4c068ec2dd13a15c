"""Structure sets and label masks for the tests, written by libraries other than the program's."""

import numpy
import pydicom
from pydicom.dataset import Dataset, FileMetaDataset
from pydicom.sequence import Sequence
from pydicom.uid import ExplicitVRLittleEndian, generate_uid

RT_STRUCTURE_SET = "1.2.840.10008.5.1.4.1.1.481.3"


def rectangle(x, y, z):
    """A contour from x[0] to x[1] and y[0] to y[1]."""
    return [(x[0], y[0], z), (x[1], y[0], z), (x[1], y[1], z), (x[0], y[1], z)]


def box(x, y, heights):
    return [rectangle(x, y, z) for z in heights]


def _contour(vertices, kind="CLOSED_PLANAR"):
    item = Dataset()
    item.ContourGeometricType = kind
    item.NumberOfContourPoints = len(vertices)
    item.ContourData = [f"{c:.6g}" for vertex in vertices for c in vertex]
    return item


def write_structure_set(path, structures, frame="1.2.3", kinds=None):
    """Structures: lists of contours (lists of vertices in mm) by name."""
    meta = FileMetaDataset()
    meta.MediaStorageSOPClassUID = RT_STRUCTURE_SET
    meta.MediaStorageSOPInstanceUID = generate_uid(entropy_srcs=[str(path)])
    meta.TransferSyntaxUID = ExplicitVRLittleEndian
    data = Dataset()
    data.file_meta = meta
    data.SOPClassUID = RT_STRUCTURE_SET
    data.SOPInstanceUID = meta.MediaStorageSOPInstanceUID
    data.Modality = "RTSTRUCT"
    data.StructureSetLabel = "TEST"
    data.StructureSetROISequence = Sequence()
    data.ROIContourSequence = Sequence()
    data.RTROIObservationsSequence = Sequence()
    for number, (name, contours) in enumerate(structures.items(), 1):
        roi = Dataset()
        roi.ROINumber = number
        roi.ROIName = name
        roi.ReferencedFrameOfReferenceUID = frame
        data.StructureSetROISequence.append(roi)
        drawn = Dataset()
        drawn.ReferencedROINumber = number
        kind = (kinds or {}).get(name, "CLOSED_PLANAR")
        drawn.ContourSequence = Sequence([_contour(contour, kind) for contour in contours])
        data.ROIContourSequence.append(drawn)
    data.is_little_endian, data.is_implicit_VR = True, False
    data.save_as(str(path), write_like_original=False)
    return path


def write_label_mask(path, dose, labels):
    """An NRRD on the grid of a dose; labels[z, y, x]."""
    sizes = " ".join(str(n) for n in dose.size)
    directions = " ".join(
        "(" + ",".join(str(s if i == j else 0) for j in range(3)) + ")"
        for i, s in enumerate(dose.spacing)
    )
    origin = ",".join(str(c) for c in dose.origin)
    header = (
        "NRRD0004\ntype: uint8\ndimension: 3\nspace: left-posterior-superior\n"
        f"sizes: {sizes}\nspace directions: {directions}\nspace origin: ({origin})\n"
        "encoding: raw\n\n"
    )
    path.write_bytes(header.encode() + labels.astype(numpy.uint8).tobytes())
    return path
