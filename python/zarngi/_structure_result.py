"""The results of a comparison within structures."""

from __future__ import annotations

from collections.abc import Iterator, Mapping
from dataclasses import dataclass, field
from typing import Any

import numpy as np
import numpy.typing as npt

from ._dose_volume import DoseVolume, number
from ._optional import need
from ._structures import Chosen


@dataclass(frozen=True, eq=False)
class StructureResult:
    """The outcome of a gamma test within a structure, and its doses.

    Attributes
    ----------
    name : str or None
        None: outside of all structures.
    voxels : int
        Voxels of the reference whose centres belong to it.
    volume : float
        cc, by points in parts of voxels; NaN outside of all structures.
    tested, passed, failed, hot, cold, unreached : int
        Numbers of voxels, as in `GammaResult`.
    pass_rate : float
        %; NaN where nothing was tested.
    minimum, mean, p95, p99, maximum : float
        Of gamma over the tested and reached voxels; NaN without any and in pass-rate mode.
    reference, evaluation : DoseVolume or None
        The doses; None where the structure has no point in the grid.
    difference : mapping of str to float
        The evaluation's doses and metrics less the reference's.
    notes : tuple of str
        What a person should know of it; each continues its name.
    """

    name: str | None
    voxels: int
    volume: float
    tested: int
    passed: int
    failed: int
    hot: int
    cold: int
    unreached: int
    pass_rate: float
    minimum: float
    mean: float
    p95: float
    p99: float
    maximum: float
    reference: DoseVolume | None = field(repr=False)
    evaluation: DoseVolume | None = field(repr=False)
    difference: Mapping[str, float] = field(repr=False)
    notes: tuple[str, ...] = field(repr=False)
    _histogram: tuple[float, tuple[int, ...]] | None = field(repr=False)

    @property
    def empty(self) -> bool:
        """Whether no voxel was tested."""
        return self.tested == 0

    def histogram(self) -> tuple[npt.NDArray[np.int64], npt.NDArray[np.float64]]:
        """Counts of the tested voxels by gamma, and the edges of the bins, the upper ones included.

        Raises
        ------
        ValueError
            In pass-rate mode.
        """
        if self._histogram is None:
            raise ValueError("histogram needs gamma values; accepted: results with mode='map'")
        width, counts = self._histogram
        return np.asarray(counts, np.int64), np.arange(len(counts) + 1) * width


def _result(row: Mapping[str, Any], gamma: Mapping[str, Any], bin_width: float) -> StructureResult:
    """Of the record's members for a structure and for what a criterion found in it."""
    doses = row.get("dvh") or {}
    difference = doses.get("difference") or {}
    flat = {name: value for name, value in difference.items() if name != "metrics"}
    histogram = gamma["histogram"]
    return StructureResult(
        gamma["name"],
        row.get("voxels", 0),
        number(row.get("volume")),
        *(gamma[name] for name in ("tested", "passed", "failed", "hot", "cold", "unreached")),
        *(number(gamma[name]) for name in ("passRate", "min", "mean", "p95", "p99", "max")),
        reference=DoseVolume.from_record(doses.get("reference"), bin_width),
        evaluation=DoseVolume.from_record(doses.get("evaluation"), bin_width),
        difference={name: number(v) for name, v in {**flat, **difference.get("metrics", {})}.items()},
        notes=tuple(row.get("notes", ())),
        _histogram=histogram and (histogram["binWidth"], tuple(histogram["counts"])),
    )


class StructureResults(Mapping[str, StructureResult]):
    """Results within structures by their names.

    Attributes
    ----------
    outside : StructureResult
        Of the tested voxels in none of them.
    refused : mapping of str to str
        Structures whose contours cannot be taken, with the reason.
    """

    def __init__(self, document: Mapping[str, Any], chosen: Chosen) -> None:
        self._chosen: Chosen | None = chosen
        record, criterion = document["structures"], document["criterion"]
        width = record["dvhBinWidth"]
        self._results = {
            row["name"]: _result(row, gamma, width)
            for row, gamma in zip(record["list"], criterion["structures"])
        }
        self.outside = _result({}, criterion["outsideStructures"], width)
        self.refused = {one["name"]: one["reason"] for one in record["refused"]}

    @property
    def chosen(self) -> Chosen | None:
        """The structures as the library takes them; None after pickling."""
        return self._chosen

    def __getstate__(self) -> dict[str, Any]:
        return {**self.__dict__, "_chosen": None}  # it is memory of the library

    def __getitem__(self, name: str) -> StructureResult:
        return self._results[name]

    def __iter__(self) -> Iterator[str]:
        return iter(self._results)

    def __len__(self) -> int:
        return len(self._results)

    def to_frame(self) -> Any:
        """The results as a table of pandas, one row for each structure.

        Returns
        -------
        pandas.DataFrame
            Indexed by name; columns as the attributes of `StructureResult`, and the metrics of both
            doses.

        Raises
        ------
        ImportError
            When pandas is missing.
        """
        pandas = need("pandas", "pandas", "a table of structures")
        return pandas.DataFrame.from_dict(
            {name: _columns(result) for name, result in self.items()}, orient="index"
        )

    def __repr__(self) -> str:
        rates = (f"{name!r}: {result.pass_rate:.2f} %" for name, result in self.items())
        return f"StructureResults({', '.join(rates)})"


_SINGLE = (
    "voxels", "volume", "tested", "passed", "failed", "hot", "cold", "unreached",
    "pass_rate", "minimum", "mean", "p95", "p99", "maximum",
)  # fmt: skip


def _columns(result: StructureResult) -> dict[str, float]:
    columns = {name: getattr(result, name) for name in _SINGLE}
    for role in ("reference", "evaluation"):
        doses: DoseVolume | None = getattr(result, role)
        if doses is not None:
            columns[f"{role}_mean"] = doses.mean
            columns |= {f"{role}_{name}": value for name, value in doses.metrics.items()}
    return columns
