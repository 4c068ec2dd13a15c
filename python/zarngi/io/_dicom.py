"""DICOM RT Dose files, by means of pydicom."""

from __future__ import annotations

import io
from datetime import datetime
from pathlib import Path
from typing import Any

import numpy as np
import numpy.typing as npt

from ._volume import FormatError, Volume, need, one_line

_RT_DOSE_STORAGE = "1.2.840.10008.5.1.4.1.1.481.2"
_OFFSET_TOLERANCE = 0.01  # mm
_LARGEST_STORED = 2**32 - 1


def read(path: Path, *, allow_relative: bool = False) -> Volume:
    """Read a DICOM RT Dose file."""
    pydicom = need("pydicom", "pydicom", "reading DICOM")
    try:
        dataset = pydicom.dcmread(path, force=True)
        _check_is_dose(dataset, allow_relative)
        return _volume(dataset)
    except (FormatError, FileNotFoundError, ImportError, MemoryError):
        raise
    # A damaged data set surfaces as one of many kinds of exception, whatever element it hits.
    except Exception as error:
        raise FormatError(f"it is damaged or cut short ({one_line(error)})") from error


def _check_is_dose(dataset: Any, allow_relative: bool) -> None:
    modality = str(dataset.get("Modality", "") or "unknown")
    if dataset.get("SOPClassUID") != _RT_DOSE_STORAGE and modality != "RTDOSE":
        raise FormatError(f"it is no DICOM RT Dose (modality {modality})")
    if "PixelData" not in dataset:
        raise FormatError("it is an RT Dose without a dose grid")
    units = str(dataset.get("DoseUnits", "") or "")
    if units == "RELATIVE" and not allow_relative:
        raise FormatError("its doses are relative; pass allow_relative=True to read them as such")
    if units not in ("GY", "RELATIVE"):
        raise FormatError(f"its Dose Units are {units!r}, not Gy")
    if int(_number(dataset, "SamplesPerPixel", "Samples per Pixel")) != 1:
        raise FormatError("it has more than one sample per pixel")


def _numbers(dataset: Any, keyword: str, name: str, count: int) -> list[float]:
    value = dataset.get(keyword)
    if value is None or value == "":
        raise FormatError(f"it has no {name}")
    values = [float(v) for v in (value if np.ndim(value) else [value])]
    if len(values) != count or not np.isfinite(values).all():
        raise FormatError(f"it has a {name} of {value}")
    return values


def _number(dataset: Any, keyword: str, name: str) -> float:
    return _numbers(dataset, keyword, name, 1)[0]


def _volume(dataset: Any) -> Volume:
    scaling = _number(dataset, "DoseGridScaling", "Dose Grid Scaling")
    if not scaling > 0:
        raise FormatError(f"it has a Dose Grid Scaling of {scaling:g}")
    stored = np.asarray(dataset.pixel_array)
    stored = stored.reshape((-1,) + stored.shape[-2:])
    position = _numbers(dataset, "ImagePositionPatient", "Image Position (Patient)", 3)
    cosines = _numbers(dataset, "ImageOrientationPatient", "Image Orientation (Patient)", 6)
    between_rows, between_columns = _numbers(dataset, "PixelSpacing", "Pixel Spacing", 2)
    normal = np.cross(cosines[:3], cosines[3:])
    step = _frame_step(dataset, len(stored), position[2], float(normal[2]))
    frame = dataset.get("FrameOfReferenceUID")
    return Volume(
        stored * np.float64(scaling),
        (between_columns, between_rows, abs(step)),
        position,
        (cosines[:3], cosines[3:], (normal * np.sign(step)).tolist()),
        str(frame) if frame else None,
    )


def _frame_step(dataset: Any, count: int, position_z: float, normal_z: float) -> float:
    """Distance (mm) from frame to frame along the frames' normal, negative against it."""
    if count == 1:
        return _number(dataset, "SliceThickness", "Slice Thickness")
    offsets = np.array(
        _numbers(dataset, "GridFrameOffsetVector", "Grid Frame Offset Vector", count)
    )
    is_absolute = offsets[0] != 0
    if is_absolute and abs(offsets[0] - position_z) > _OFFSET_TOLERANCE:
        raise FormatError(
            "its Grid Frame Offset Vector begins neither with 0 nor with the position of the "
            "first frame"
        )
    step = float((offsets[-1] - offsets[0]) / (count - 1))
    deviations = offsets - (offsets[0] + step * np.arange(count))
    worst = int(np.argmax(np.abs(deviations)))
    if abs(deviations[worst]) > _OFFSET_TOLERANCE:
        raise FormatError(
            f"its frames are not evenly spaced (frame {worst + 1} lies {deviations[worst]:g} mm "
            "off)"
        )
    # Absolute offsets are positions along the patient's axis, relative ones along the normal.
    return -step if is_absolute and normal_z < 0 else step


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
    return _file_bytes(pydicom, dataset)


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


def _file_bytes(pydicom: Any, dataset: Any) -> bytes:
    meta = pydicom.dataset.FileMetaDataset()
    meta.MediaStorageSOPClassUID = dataset.SOPClassUID
    meta.MediaStorageSOPInstanceUID = dataset.SOPInstanceUID
    meta.TransferSyntaxUID = pydicom.uid.ExplicitVRLittleEndian
    dataset.file_meta = meta
    dataset.is_little_endian = True
    dataset.is_implicit_VR = False
    buffer = io.BytesIO()
    file = pydicom.FileDataset(buffer, dataset, preamble=b"\0" * 128, file_meta=meta)
    file.is_little_endian = True
    file.is_implicit_VR = False
    file.save_as(buffer, write_like_original=False)
    return buffer.getvalue()
