"""Dose-volume histograms."""

from __future__ import annotations

from collections.abc import Mapping, Sequence
from dataclasses import dataclass, field
from typing import TYPE_CHECKING, Any

import numpy as np
import numpy.typing as npt

from . import _checks
from ._cpus import available_cpus
from ._grid import DoseGrid, library_grid
from ._structures import Chosen, Structure, StructuresLike, require_volume
from .io import _structures as _binding

if TYPE_CHECKING:
    from ._structures import StructureSet


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


def options_of(
    chosen: Chosen, metrics: Sequence[str] | str, full_dose: float, threads: int | None = None
) -> dict[str, Any]:
    """The library's options that have to do with doses."""
    return {
        "shown": chosen.shown,
        "excluded": chosen.excluded,
        "metrics": [metrics] if isinstance(metrics, str) else list(metrics),
        "fullDose": full_dose,
        "maxGamma": 3,
        "passRateOnly": False,
        "tolerance": 95,
        "action": 90,
        "threads": available_cpus() if threads is None else threads,
    }


def dvh(
    dose: DoseGrid,
    structures: StructuresLike,
    *,
    metrics: Sequence[str] | str = (),
    prescription: float | None = None,
) -> Any:
    """Dose-volume histograms of structures in a dose.

    Parameters
    ----------
    dose : DoseGrid
        Of three dimensions.
    structures : StructureSet, Structure, or mapping of names to structures or boolean arrays
        Boolean arrays have the shape of the dose.
    metrics : str or sequence of str
        More figures like "D99", "D2cc", "V20Gy" and "V95%".
    prescription : float, optional
        Gy, what the percentages of "V95%" refer to; by default the largest dose.

    Returns
    -------
    DoseVolume, or dict of str to DoseVolume
        One for a `Structure`, else by name; None where a structure has no point in the grid.

    Raises
    ------
    ValueError, TypeError
        When an argument is out of range or of the wrong type.
    """
    require_volume("dose", dose)
    chosen = Chosen(structures, dose)
    full = _checks.positive_or_none("prescription", prescription, "Gy")
    grid = library_grid("dose", dose, 1).volume
    options = options_of(chosen, metrics, float(grid[0].max()) if full is None else full)
    record = _binding.compare(chosen.sources, grid, grid, options)["structures"]
    width = record["dvhBinWidth"]
    found = {
        row["name"]: DoseVolume.from_record(row["dvh"] and row["dvh"]["reference"], width)
        for row in record["list"]
    }
    return next(iter(found.values())) if isinstance(structures, Structure) else found
