"""The result of a comparison."""

from __future__ import annotations

from collections.abc import Callable, Mapping, Sequence
from dataclasses import dataclass
from functools import cached_property
from typing import TYPE_CHECKING, Any

import numpy as np
import numpy.typing as npt

from . import _checks
from ._criteria import Criteria
from ._explanation import Explanation, explain
from ._grid import DoseGrid
from ._plot import plot_result
from ._points import DosePoints
from ._structure_result import StructureResults
from .io._comparison import UNREACHED

if TYPE_CHECKING:
    from matplotlib.figure import Figure

    from ._structures import Structure


@dataclass(frozen=True)
class Counts:
    """Numbers of voxels: those that passed, and those that failed with more or with less dose."""

    passed: int
    hot: int
    cold: int


@dataclass(frozen=True, eq=False, repr=False)
class GammaResult:
    """The outcome of `gamma_index`.

    Attributes
    ----------
    gamma : numpy.ndarray of float32, shape of the reference dose
        Gamma of every tested voxel, NaN where not tested. 1e10 where no search point lay inside the
        evaluation grid. In pass-rate mode 1 for passed and 0 for failed voxels.
    pass_rate : float
        Percentage of tested voxels that passed; NaN when none was tested.
    tested, passed, failed : int
        Numbers of voxels.
    hot, cold : int
        Numbers of failed voxels whose evaluation dose at their centre is above or below that of the
        reference. They are neither where the doses are equal or the evaluation has none.
    criteria : Criteria
        The criteria and options.
    seconds : float
        Time the computation took, without handing over the grids and reading the result.
    reference, evaluation : DoseGrid, or DosePoints as the reference
        The doses compared (not copied).
    structures : StructureResults or None
        Results within the structures, where they were asked for.
    """

    gamma: npt.NDArray[np.float32]
    pass_rate: float
    tested: int
    passed: int
    hot: int
    cold: int
    criteria: Criteria
    seconds: float
    reference: DoseGrid | DosePoints
    evaluation: DoseGrid
    structures: StructureResults | None = None

    @classmethod
    def from_library(
        cls,
        gamma: npt.NDArray[np.float32],
        counts: Counts,
        seconds: float,
        criteria: Criteria,
        reference: DoseGrid | DosePoints,
        evaluation: DoseGrid,
        structures: StructureResults | None = None,
    ) -> GammaResult:
        """The result of the library's gamma map (contiguous, -1 where not tested).

        The map becomes the result's, with NaN for -1. Who passed is told by the library's own
        count: a gamma of exactly 1 may be rounded from above.
        """
        tested = _settle(gamma.reshape(-1))
        exact = 100 * counts.passed / tested if tested else float("nan")
        return cls(
            gamma,
            exact,
            tested,
            counts.passed,
            counts.hot,
            counts.cold,
            criteria,
            seconds,
            reference,
            evaluation,
            structures,
        )

    @property
    def failed(self) -> int:
        """Number of tested voxels that did not pass."""
        return self.tested - self.passed

    @property
    def empty(self) -> bool:
        """Whether no voxel was tested."""
        return self.tested == 0

    @cached_property
    def mean(self) -> float:
        """Mean gamma of the tested and reached voxels; NaN without any and in pass-rate mode."""
        return float(self._values.mean(dtype=np.float64)) if self._has_values else float("nan")

    @cached_property
    def maximum(self) -> float:
        """Largest gamma of the tested and reached voxels; NaN without any and in pass-rate mode."""
        return float(self._values.max()) if self._has_values else float("nan")

    @cached_property
    def unreached(self) -> int:
        """Number of tested voxels for which no search point lay inside the evaluation grid.

        They failed, with a gamma of 1e10, and have no part in `mean`, `maximum`, `percentile` and
        `histogram`. Not known in pass-rate mode, where it is 0.
        """
        return int(np.count_nonzero(self.gamma == UNREACHED))

    def percentile(self, q: npt.ArrayLike) -> Any:
        """Gamma below which `q` percent of the tested and reached voxels lie.

        Parameters
        ----------
        q : float or array_like
            Percentages, 0 to 100.

        Returns
        -------
        float or numpy.ndarray
            Shape of `q`; interpolated linearly between voxels.

        Raises
        ------
        ValueError
            When `q` is out of range, no voxel has a gamma, or in pass-rate mode.
        """
        values = self._require_values("percentile")
        percentages = np.asarray(q, dtype=np.float64)
        if not ((percentages >= 0) & (percentages <= 100)).all():
            raise _checks.refuse("q", q, "0 to 100 (%)")
        result = np.percentile(values.astype(np.float64), percentages)
        return float(result) if percentages.ndim == 0 else result

    def histogram(
        self, bins: int | Sequence[float] | npt.NDArray[Any] = 50
    ) -> tuple[npt.NDArray[np.int64], npt.NDArray[np.float64]]:
        """Distribution of gamma over the tested voxels.

        Parameters
        ----------
        bins : int or sequence of float
            Number of equal bins from 0 to the largest gamma found (at least 1), or the edges of the
            bins, rising.

        Returns
        -------
        counts : numpy.ndarray of int64, shape (n,)
            Voxels in each bin; those without evaluation dose (see `unreached`) are in none.
        edges : numpy.ndarray of float64, shape (n + 1,)
            Edges of the bins; each holds its lower edge, the last one its upper edge too.

        Raises
        ------
        ValueError
            When no voxel has a gamma, or in pass-rate mode.
        """
        values = self._require_values("histogram").astype(np.float64)
        if np.ndim(bins) == 0:
            count = _checks.integer("bins", bins, 1, 1_000_000)
            bins = np.linspace(0, max(1.0, float(values.max())), count + 1)
        counts, edges = np.histogram(values, bins=bins)
        return counts, edges.astype(np.float64)

    def summary(self) -> str:
        """The result in a few lines."""
        c = self.criteria
        kind = "local" if c.local else "global"
        dose = "largest reference dose" if c.normalisation is None else f"{c.normalisation:g} Gy"
        lines = [
            f"Criteria     {c.dd:g} % {kind}, {c.dta:g} mm, cut-off {c.dose_cutoff:g} % of {dose}",
            f"Tested       {self.tested} of {self.gamma.size} voxels",
        ]
        if self.empty:
            lines.append("Pass rate    none: no voxel lies above the cut-off")
        else:
            failed = f"{self.failed} failed: {self.hot} hot, {self.cold} cold"
            lines.append(f"Pass rate    {self.pass_rate:.2f} % ({failed})")
        if self._has_values:
            p95, p99 = self.percentile([95, 99])
            lines.append(
                f"Gamma        mean {self.mean:.3f}, 95 % below {p95:.3f}, 99 % below {p99:.3f}, "
                f"maximum {self.maximum:.3f}"
            )
        if self.unreached:
            lines.append(f"Unreached    {self.unreached} voxels found no evaluation dose")
        lines.append(f"Time         {self.seconds:.3f} s")
        return "\n".join(lines)

    def explain(
        self,
        *,
        range: float | None = None,
        structure: Structure | npt.ArrayLike | None = None,
        threads: int | None = None,
        progress: Callable[[float], object] | None = None,
    ) -> Explanation:
        """Find the shift and the dose factor of the evaluation that explain the failed voxels.

        Nothing is corrected: the result itself stays as it is. Where the comparison had structures,
        the explanation tells in which of them the voxels lie that still fail; not so after pickling.

        Parameters
        ----------
        range : float, optional
            Largest shift along each axis in mm, 1 to 100; by default the larger of 5 mm and twice
            the distance to agreement.
        structure : Structure or boolean array, optional
            The voxels to explain; by default all tested ones.
        threads : int, optional
            As of `gamma_index`; the explanation does not depend on it.
        progress : callable, optional
            Called with the part of the work that is done, rising from 0 to 1, in the thread of the
            caller. What it raises ends the work and is raised here, as that of Ctrl-C is.

        Returns
        -------
        Explanation

        Raises
        ------
        ValueError
            When a parameter is out of range, no voxel of the structure is tested, the lattice was
            turned at random, or the reference holds single points.
        """
        chosen = None if self.structures is None else self.structures.chosen
        doses = self.reference, self.evaluation
        return explain(doses, self.criteria, chosen, range, structure, threads, progress)

    def plot(
        self,
        axis: str | int | None = None,
        index: int | None = None,
        *,
        figure: Figure | None = None,
        structures: Mapping[str, Structure] | None = None,
    ) -> Figure:
        """Draw reference, evaluation and gamma in one slice, and the histogram of gamma.

        Needs matplotlib, and a reference of two or three dimensions.

        Parameters
        ----------
        axis : {"z", "y", "x"} or int, optional
            The axis that the slice cuts, by name or as the dimension of the dose array (0 is z); by
            default z, or that across a plane.
        index : int, optional
            Index of the slice on that axis of the reference; negative values count from the end.
            By default the slice with the most failing voxels or, if none failed, the most tested.
        figure : matplotlib.figure.Figure, optional
            Figure to draw into; by default a new one from `matplotlib.pyplot`.
        structures : mapping of str to Structure, optional
            What is outlined, by the edges of its voxels in the slice.

        Returns
        -------
        matplotlib.figure.Figure

        Raises
        ------
        ValueError
            When `axis` or `index` is out of range.
        ImportError
            When matplotlib is missing.
        """
        return plot_result(self, axis, index, figure, structures)

    def __repr__(self) -> str:
        outcome = (
            "nothing tested"
            if self.empty
            else f"{self.pass_rate:.2f} % of {self.tested} voxels passed"
        )
        if self._has_values:
            outcome += f", mean {self.mean:.3f}, maximum {self.maximum:.3f}"
        cutoff = f"cut-off {self.criteria.dose_cutoff:g} %"
        return f"GammaResult({self.criteria}, {cutoff}: {outcome}; {self.seconds:.3f} s)"

    @property
    def _has_values(self) -> bool:
        return self.criteria.mode == "map" and self._values.size > 0

    @cached_property
    def _values(self) -> npt.NDArray[np.float32]:
        """Gamma of the tested and reached voxels, in memory order."""
        values: npt.NDArray[np.float32] = self.gamma[(self.gamma >= 0) & (self.gamma < UNREACHED)]
        return values

    def _require_values(self, name: str) -> npt.NDArray[np.float32]:
        if self.criteria.mode != "map":
            raise ValueError(f"{name} needs gamma values; accepted: results with mode='map'")
        if not self._has_values:
            raise ValueError(
                f"{name} needs tested voxels that found evaluation dose; there are none"
            )
        return self._values


def _settle(gamma: npt.NDArray[np.float32]) -> int:
    """Count the tested voxels of a flat map and turn its negative values into NaN, in place.

    In pieces that stay in the processor's cache, so that memory is walked through once. The sign
    bit spread over all bits is a NaN or nothing: several times faster than an assignment through a
    mask.
    """
    tested = 0
    piece = 1 << 16
    for start in range(0, gamma.size, piece):
        part = gamma[start : start + piece]
        tested_here = int(np.count_nonzero(part >= 0))
        if tested_here == 0:
            part.fill(np.nan)
            continue
        bits = part.view(np.int32)
        np.bitwise_or(bits, bits >> 31, out=bits)
        tested += tested_here
    return tested
