"""Dose-volume histograms."""

from __future__ import annotations

from collections.abc import Mapping
from dataclasses import dataclass, field
from typing import Any

import numpy as np
import numpy.typing as npt

@dataclass(frozen=True, eq=False)
class DoseVolume:
    """The doses of a structure, at points in parts of voxels that are at most 1 mm wide.

    Attributes
    ----------
    minimum, mean, maximum : float
        Gy.
    metrics : mapping of str to float
        "D98", "D95", "D50", "D2", "D0.03cc" and what was asked for: doses in Gy, volumes in %; NaN
        where the structure is smaller.
    doses : numpy.ndarray
        Gy, evenly spaced from 0 on.
    volumes : numpy.ndarray
        Shares, 0 to 1, of the structure's volume at or above each of `doses`.
    without_dose : int
        Points outside of the dose grid, which have no part in all this.
    """

    minimum: float
    mean: float
    maximum: float
    metrics: Mapping[str, float]
    doses: npt.NDArray[np.float64] = field(repr=False)
    volumes: npt.NDArray[np.float64] = field(repr=False)
    without_dose: int = field(repr=False)

    @classmethod
    def from_record(cls, record: Mapping[str, Any] | None, bin_width: float) -> DoseVolume | None:
        """Of the record's member, if there is one."""
        if record is None:
            return None
        curve = np.asarray(record["curve"], np.float64)
        return cls(
            record["min"],
            record["mean"],
            record["max"],
            {name: number(value) for name, value in record["metrics"].items()},
            np.arange(curve.size) * bin_width,
            curve,
            record["withoutDose"],
        )


def number(value: float | None) -> float:
    """A number of a record, NaN for null."""
    return float("nan") if value is None else float(value)
