"""DICOM Segmentations, written by pydicom."""

import numpy as np
from pydicom.pixel_data_handlers.numpy_handler import pack_bits
from pydicom.sequence import Sequence

from structure_sets import dataset, file_of
from variants import ORIGIN, SPACING, STRAIGHT, turned

SEGMENTATION = "1.2.840.10008.5.1.4.1.1.66.4"


def texts(numbers):
    """Decimal strings of at most 16 characters."""
    return [f"{number:.10g}" for number in numbers]


def segment(number, label):
    return dataset(SegmentNumber=number, SegmentLabel=label, SegmentAlgorithmType="MANUAL")


def measures(spacing, between=True, thickness=None):
    """Of pixels: between rows first."""
    made = dataset(PixelSpacing=texts([spacing[1], spacing[0]]))
    made.SliceThickness = texts([spacing[2] if thickness is None else thickness])[0]
    if between:
        made.SpacingBetweenSlices = texts([spacing[2]])[0]
    return dataset(PixelMeasuresSequence=Sequence([made]))


def frame(number, position):
    """The groups of a frame; no number: its segment is told for all."""
    groups = dataset(PlanePositionSequence=Sequence([dataset(ImagePositionPatient=texts(position))]))
    if number is not None:
        groups.SegmentIdentificationSequence = Sequence([dataset(ReferencedSegmentNumber=number)])
    return groups


def segmentation(masks, names=None, orientation=STRAIGHT, spacing=SPACING, origin=ORIGIN, empty_frames=False,
                 reverse=False, shared=None, **elements):
    """
    Segments {number: mask [z, y, x]}, whose frames without a voxel are left out.

    The file's axes lie along the patient's as the orientation says.
    """
    frames, groups, axes = [], [], None
    for number, mask in masks.items():
        values, steps, first, cosines = turned(orientation, mask, spacing, origin)
        axes = np.asarray(cosines)
        for plane, voxels in enumerate(values):
            if voxels.any() or empty_frames:
                frames.append(voxels)
                groups.append(frame(number, np.asarray(first) + axes[2] * steps[2] * plane))
    if reverse:
        frames, groups = frames[::-1], groups[::-1]
    if shared is None:
        shared = measures(steps)
    shared.PlaneOrientationSequence = Sequence([dataset(ImageOrientationPatient=texts([*axes[0], *axes[1]]))])
    bits = pack_bits(np.stack(frames).astype(np.uint8).ravel())
    changes = {
        "SOPClassUID": SEGMENTATION, "SOPInstanceUID": "1.2.3.4.8", "Modality": "SEG", "PatientName": "Nobody^At^All",
        "PatientID": "none", "FrameOfReferenceUID": "1.2.3", "ContentLabel": "SEGMENTS", "SegmentationType": "BINARY",
        "SamplesPerPixel": 1, "PhotometricInterpretation": "MONOCHROME2", "NumberOfFrames": len(frames),
        "Rows": frames[0].shape[0], "Columns": frames[0].shape[1], "BitsAllocated": 1, "BitsStored": 1, "HighBit": 0,
        "PixelRepresentation": 0, "SharedFunctionalGroupsSequence": Sequence([shared]),
        "PerFrameFunctionalGroupsSequence": Sequence(groups),
        "SegmentSequence": Sequence([segment(n, (names or {}).get(n, f"segment {n}")) for n in masks]),
        "PixelData": bits + b"\0" * (len(bits) % 2), **elements,
    }  # fmt: skip
    return dataset(**changes)


def contents(masks, syntax=None, **options):
    made = segmentation(masks, **options)
    return file_of(made) if syntax is None else file_of(made, syntax)
