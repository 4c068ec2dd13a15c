"""`convert`: a dose as a file of another format."""

from __future__ import annotations

import os
import warnings
from fractions import Fraction
from pathlib import Path
from typing import Union

from . import _checks
from ._read import DoseUnit, LengthUnit, told_of
from .io import _conversion
from .io._comparison import Refused
from .io._errors import FormatWarning

_PathLike = Union[str, "os.PathLike[str]"]

#: What sentences call the arguments.
_WORDS = {"allowErrorDoses": "allow_error_doses"}


def convert(
    path: _PathLike,
    output: _PathLike,
    *,
    like: _PathLike | None = None,
    scale: float | Fraction | str | None = None,
    allow_error_doses: bool = False,
    dose_unit: DoseUnit | None = None,
    length_unit: LengthUnit | None = None,
    pixel_size: float | None = None,
) -> None:
    """Write a dose as a file of another format: the file that `zarngi convert` writes.

    Parameters
    ----------
    path : str or os.PathLike
        A file with a volume of doses, of any format that `read` takes.
    output : str or os.PathLike
        The file to write, whose name tells its format: .dcm (an RT Dose), .mha, .nrrd, .nii or
        .nii.gz. It appears when it is complete; an existing one is replaced, but no file that is
        read.
    like : str or os.PathLike, optional
        A DICOM file whose patient, study, frame of reference and plan an RT Dose gets: also the
        patient's name. By default it is nobody's, with UIDs of its own.
    scale : float, Fraction or str, optional
        What doses are multiplied by: a number above 0, or a fraction like "1/33".
    allow_error_doses : bool
        Whether to take RT Doses of the Dose Type ERROR, differences between doses, too.
    dose_unit, length_unit : str, optional
        As of `read`.
    pixel_size : float, optional
        As of `read`.

    Raises
    ------
    RequestError
        When the file holds no volume, or the format cannot hold its doses, or an argument makes no
        sense; `member` is then its name.
    FormatError, OSError
        When a file cannot be read or written. In each case nothing is written.

    Warns
    -----
    FormatWarning
        As of `read`.

    Examples
    --------
    >>> import zarngi
    >>> grid, _ = zarngi.demo_pair()
    >>> zarngi.write("course.nrrd", grid.dose, like=grid)
    >>> zarngi.convert("course.nrrd", "fraction.dcm", scale="1/33")
    """
    asked = _conversion.Conversion(
        str(Path(path)),
        str(Path(output)),
        None if like is None else str(Path(like)),
        None if scale is None else str(scale),
        _checks.boolean("allow_error_doses", allow_error_doses),
        told_of(dose_unit, length_unit, pixel_size),
        _WORDS,
    )
    try:
        told = _conversion.convert(asked)
    except Refused as refused:
        raise refused.refusal.error() from None
    for sentence in told:
        warnings.warn(sentence, FormatWarning, stacklevel=2)
