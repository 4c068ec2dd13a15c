"""DICOM RT Dose as pydicom makes it."""

from __future__ import annotations

import copy
import io
from datetime import datetime
from typing import Any

import numpy as np
import numpy.typing as npt

from .._optional import need
from ._errors import FormatError

_RT_DOSE_STORAGE = "1.2.840.10008.5.1.4.1.1.481.2"
_LARGEST_STORED = 2**32 - 1


def encoded(dataset: Any) -> bytes:
    """The bytes of the DICOM file that a dataset of pydicom makes, in its own transfer syntax.

    Raises
    ------
    FormatError
        When the dataset cannot be written.
    """
    pydicom = need("pydicom", "pydicom", "from_dicom")
    if not isinstance(dataset, pydicom.Dataset):
        raise TypeError(f"dataset is a {type(dataset).__name__}; accepted: a pydicom Dataset")
    try:
        return _file_bytes(pydicom, _own_copy(dataset), _transfer_syntax(pydicom, dataset))
    except MemoryError:
        raise
    # A data set that cannot be written surfaces as one of many kinds of exception.
    except Exception as error:
        reason = " ".join(str(error).split())
        raise FormatError(f"<dataset>: cannot be written as DICOM ({reason})") from error


def _own_copy(dataset: Any) -> Any:
    """A dataset that can be changed: writing settles the types of some elements in place."""
    copied = copy.deepcopy(dataset[:])
    if dataset.is_decompressed:
        # pydicom keeps the packed values until the dataset is written.
        copied.PixelData = dataset.pixel_array.tobytes()
    return copied


def _transfer_syntax(pydicom: Any, dataset: Any) -> Any:
    meta = getattr(dataset, "file_meta", None)
    if meta is not None and "TransferSyntaxUID" in meta:
        return meta.TransferSyntaxUID
    if dataset.is_little_endian is False:
        return pydicom.uid.ExplicitVRBigEndian
    return (
        pydicom.uid.ImplicitVRLittleEndian
        if dataset.is_implicit_VR
        else pydicom.uid.ExplicitVRLittleEndian
    )


def encode(
    values: npt.NDArray[Any],
    spacing: list[float],
    origin: list[float],
    frame_of_reference: str | None,
) -> bytes:
    """The bytes of an RT Dose of 32 bits, which names no patient and no plan."""
    pydicom = need("pydicom", "pydicom", "writing DICOM")
    doses = np.asarray(values, dtype=np.float64)
    if not np.isfinite(doses).all() or doses.min() < 0:
        raise ValueError("array holds values that DICOM RT Dose cannot; accepted: finite, 0 and up")
    scaling = float(f"{(doses.max() or 1.0) / _LARGEST_STORED:.10g}")
    stored = np.minimum(np.rint(doses / scaling), _LARGEST_STORED).astype("<u4")

    dataset = pydicom.Dataset()
    now = datetime.now()
    dataset.SOPClassUID = _RT_DOSE_STORAGE
    dataset.SOPInstanceUID = pydicom.uid.generate_uid()
    dataset.StudyInstanceUID = pydicom.uid.generate_uid()
    dataset.SeriesInstanceUID = pydicom.uid.generate_uid()
    dataset.FrameOfReferenceUID = frame_of_reference or pydicom.uid.generate_uid()
    dataset.Modality = "RTDOSE"
    dataset.Manufacturer = "ZarnGI"
    dataset.StudyDate = now.strftime("%Y%m%d")
    dataset.StudyTime = now.strftime("%H%M%S")
    for keyword in (
        "PatientName",
        "PatientID",
        "PatientBirthDate",
        "PatientSex",
        "StudyID",
        "AccessionNumber",
        "ReferringPhysicianName",
        "PositionReferenceIndicator",
    ):
        setattr(dataset, keyword, "")
    dataset.SeriesNumber = None
    dataset.InstanceNumber = 1
    dataset.DoseUnits = "GY"
    dataset.DoseType = "PHYSICAL"
    dataset.DoseSummationType = "PLAN"
    dataset.DoseGridScaling = f"{scaling:.10g}"
    _describe_image(dataset, stored.shape, spacing, origin)
    dataset.PixelData = stored.tobytes()
    return _file_bytes(pydicom, dataset, pydicom.uid.ExplicitVRLittleEndian)


def _decimal(value: float) -> str:
    """A decimal string of at most the 16 characters that DICOM allows."""
    for digits in range(17, 0, -1):
        text = f"{value:.{digits}g}"
        if len(text) <= 16:
            return text
    raise ValueError(f"{value} does not fit a decimal string")


def _describe_image(
    dataset: Any, shape: tuple[int, ...], spacing: list[float], origin: list[float]
) -> None:
    dataset.NumberOfFrames, dataset.Rows, dataset.Columns = shape
    dataset.ImagePositionPatient = [_decimal(c) for c in origin]
    dataset.ImageOrientationPatient = [1, 0, 0, 0, 1, 0]
    dataset.PixelSpacing = [_decimal(spacing[1]), _decimal(spacing[0])]
    dataset.SliceThickness = _decimal(spacing[2])
    dataset.GridFrameOffsetVector = [_decimal(i * spacing[2]) for i in range(shape[0])]
    dataset.FrameIncrementPointer = 0x3004000C
    dataset.SamplesPerPixel = 1
    dataset.PhotometricInterpretation = "MONOCHROME2"
    dataset.BitsAllocated = 32
    dataset.BitsStored = 32
    dataset.HighBit = 31
    dataset.PixelRepresentation = 0


def _file_bytes(pydicom: Any, dataset: Any, transfer_syntax: Any) -> bytes:
    meta = pydicom.dataset.FileMetaDataset()
    for keyword in ("SOPClassUID", "SOPInstanceUID"):
        if keyword in dataset:
            setattr(meta, f"MediaStorage{keyword}", dataset[keyword].value)
    meta.TransferSyntaxUID = transfer_syntax
    dataset.file_meta = meta
    dataset.preamble = b"\0" * 128
    dataset.is_little_endian = transfer_syntax.is_little_endian
    dataset.is_implicit_VR = transfer_syntax.is_implicit_VR
    buffer = io.BytesIO()
    dataset.save_as(buffer, write_like_original=True)
    return buffer.getvalue()
