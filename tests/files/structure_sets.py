"""RT Structure Sets, written by pydicom."""

import io

import numpy as np
import pydicom
from pydicom.dataelem import DataElement
from pydicom.dataset import Dataset, FileDataset, FileMetaDataset
from pydicom.sequence import Sequence
from pydicom.uid import ExplicitVRBigEndian, ExplicitVRLittleEndian, ImplicitVRLittleEndian

RT_STRUCTURE_SET = "1.2.840.10008.5.1.4.1.1.481.3"
CONTOUR_DATA = 0x30060050
#: More than pydicom takes for a text; a decimal string has room for 65534.
LONGEST_TEXT = 10240


def dataset(**elements):
    made = Dataset()
    for keyword, value in elements.items():
        if value is not None:
            setattr(made, keyword, value)
    return made


def decimal(vertices):
    """Numbers as planning systems write them: at most 16 characters, as many as are needed."""
    return "\\".join(f"{value:.10g}" for value in np.ravel(vertices))


def contour(vertices, kind="CLOSED_PLANAR", **elements):
    """A contour through vertices [n, 3], or one whose data are a text as it is."""
    text = vertices if isinstance(vertices, str) else decimal(vertices)
    made = dataset(ContourGeometricType=kind, **elements)
    data = text.encode() + b" " * (len(text) % 2)
    is_long = len(data) > LONGEST_TEXT
    # Texts of these types pydicom writes as they are; as_decimal_strings() makes the first one right.
    made.add(DataElement(CONTOUR_DATA, "UN" if is_long else "LT", data if is_long else data.decode()))
    return made


def named(names, character_set=None, **elements):
    """A file whose structures have these names, texts or bytes as they stand in it."""
    made = structure_set([roi(i, "", None) for i in range(len(names))],
                         SpecificCharacterSet=character_set, **elements)
    for item, name in zip(made.StructureSetROISequence, names):
        if isinstance(name, bytes):
            item[0x30060026] = DataElement(0x30060026, "UN", name + b" " * (len(name) % 2))
        else:
            item.ROIName = name
    return file_of(made).replace(b"\x06\x30\x26\x00UN\x00\x00", b"\x06\x30\x26\x00UT\x00\x00")


def as_decimal_strings(contents):
    for tag in (b"\x06\x30\x50\x00", b"\x30\x06\x00\x50"):
        contents = contents.replace(tag + b"LT", tag + b"DS")
    return contents


def polygon(corners=6, radius=10.0, centre=(0.0, 0.0), z=0.0):
    angles = 2 * np.pi * np.arange(corners) / corners
    x = centre[0] + radius * np.cos(angles)
    y = centre[1] + radius * np.sin(angles)
    return np.round(np.stack([x, y, np.full(corners, z)], 1), 4)


def roi(number, name, contours=(), colour=(255, 0, 128), kind="ORGAN", frame="1.2.3"):
    """What the three sequences tell of a structure; no contours: no item of contours."""
    told = dataset(ROINumber=number, ROIName=name, ReferencedFrameOfReferenceUID=frame,
                   ROIGenerationAlgorithm="MANUAL")
    drawn = dataset(ROIDisplayColor=list(colour), ReferencedROINumber=number,
                    ContourSequence=Sequence(list(contours))) if contours is not None else None
    observed = dataset(ObservationNumber=number, ReferencedROINumber=number,
                       RTROIInterpretedType=kind, ROIInterpreter="")
    return told, drawn, observed


def structure_set(rois, **elements):
    told, drawn, observed = zip(*rois) if rois else ((), (), ())
    changes = {
        "SOPClassUID": RT_STRUCTURE_SET, "SOPInstanceUID": "1.2.3.4.6", "Modality": "RTSTRUCT",
        "PatientName": "Nobody^At^All", "PatientID": "none", "StructureSetLabel": "Plan A",
        "StructureSetROISequence": Sequence(list(told)),
        "ROIContourSequence": Sequence([item for item in drawn if item is not None]),
        "RTROIObservationsSequence": Sequence(list(observed)), **elements,
    }
    return dataset(**changes)


def file_of(elements, syntax=ExplicitVRLittleEndian, open_ends=False):
    """The bytes of a file; with open ends no sequence or item tells its length."""
    if open_ends:
        set_open(elements)
    about = FileMetaDataset()
    about.MediaStorageSOPClassUID = elements.SOPClassUID
    about.MediaStorageSOPInstanceUID = "1.2.3.4.6"
    about.TransferSyntaxUID = syntax
    made = FileDataset(None, elements, file_meta=about, preamble=bytes(128))
    made.is_little_endian = syntax != ExplicitVRBigEndian
    made.is_implicit_VR = syntax == ImplicitVRLittleEndian
    contents = io.BytesIO()
    pydicom.dcmwrite(contents, made, write_like_original=False)
    return as_decimal_strings(contents.getvalue())


def set_open(elements):
    for element in elements:
        if element.VR == "SQ":
            element.value.is_undefined_length = element.is_undefined_length = True
            for item in element.value:
                item.is_undefined_length_sequence_item = True
                set_open(item)
