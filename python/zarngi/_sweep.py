"""Pass rates by criterion."""

from __future__ import annotations

from collections.abc import Callable, Mapping, Sequence
from dataclasses import dataclass, field
from typing import Any

import numpy as np
import numpy.typing as npt

from . import _checks
from ._asked import Asked
from ._gamma import gamma_index
from ._grid import DoseGrid
from ._optional import need
from ._structures import Structure


@dataclass(frozen=True, eq=False)
class Sweep:
    """Pass rates for each dose difference with each distance to agreement.

    Attributes
    ----------
    dd, dta : tuple of float
        % and mm.
    local : bool
        Whether `dd` refers to each reference voxel's own dose.
    rates : numpy.ndarray of float64, shape (len(dd), len(dta))
        %, of all tested voxels.
    structures : mapping of str to numpy.ndarray
        %, of the tested voxels of each structure; NaN where nothing was tested.
    """

    dd: tuple[float, ...]
    dta: tuple[float, ...]
    local: bool
    rates: npt.NDArray[np.float64]
    structures: Mapping[str, npt.NDArray[np.float64]] = field(default_factory=dict)

    def to_frame(self) -> Any:
        """The rates of all tested voxels as a table of pandas: rows `dd`, columns `dta`.

        Raises
        ------
        ImportError
            When pandas is missing.
        """
        pandas = need("pandas", "pandas", "a table of rates")
        return pandas.DataFrame(
            self.rates,
            index=pandas.Index(self.dd, name="dd"),
            columns=pandas.Index(self.dta, name="dta"),
        )


def _values(name: str, values: Sequence[float], unit: str) -> tuple[float, ...]:
    if np.ndim(values) != 1 or len(values) == 0:
        raise ValueError(f"{name}={values!r} is accepted as a sequence of one number or more")
    return tuple(_checks.positive(f"{name}[{i}]", value, unit) for i, value in enumerate(values))


def sweep(
    reference: DoseGrid,
    evaluation: DoseGrid,
    dd: Sequence[float] = (1, 2, 3, 4, 5),
    dta: Sequence[float] = (1, 2, 3, 4, 5),
    *,
    structures: Mapping[str, Structure | npt.ArrayLike] | None = None,
    progress: Callable[[float], object] | None = None,
    **options: Any,
) -> Sweep:
    """Pass rates for each dose difference with each distance to agreement.

    Parameters
    ----------
    reference, evaluation : DoseGrid
        As of `gamma_index`.
    dd, dta : sequence of float
        % and mm; greater than 0.
    structures : mapping of str to Structure or boolean array, optional
        Parts of the reference whose rates are told as well.
    progress : callable, optional
        Called with the part of the criteria that are done, rising from 0 to 1. What it raises ends
        the work and is raised here, as that of Ctrl-C is.
    **options
        Of `gamma_index`, such as `local` and `dose_cutoff`.

    Returns
    -------
    Sweep

    Raises
    ------
    ValueError, TypeError, MemoryError
        As of `gamma_index`.

    Examples
    --------
    >>> import zarngi
    >>> reference, evaluation = zarngi.demo_pair()
    >>> rates = zarngi.sweep(reference, evaluation, dd=(2, 3), dta=(1, 2)).rates
    >>> bool((rates[1] >= rates[0]).all())
    True
    """
    differences, distances = _values("dd", dd, "%"), _values("dta", dta, "mm")
    rows, columns = sorted(set(differences)), sorted(set(distances))
    arguments = {**(gamma_index.__kwdefaults__ or {}), **options, "structures": structures}
    asked = Asked.of(reference, evaluation, **arguments | {"dd": rows[0], "dta": columns[0]})
    kind = "L" if asked.criteria.local else ""
    asked.given.document["sweeps"] = [f"{_listed(rows)}%{kind}/{_listed(columns)}mm"]
    _, record = asked.compared(progress, stacklevel=3, has_only_findings=True)
    if progress is not None:
        progress(1.0)
    everything, *parts = record["sweeps"][0]["parts"]
    asked.check_tested(everything["tested"])
    places = np.ix_([rows.index(value) for value in differences],
                    [columns.index(value) for value in distances])
    rates = {
        part["structure"]: _rates(part["passed"], part["tested"])[places]
        for part in (everything, *parts)
    }
    return Sweep(differences, distances, asked.criteria.local, rates.pop(None), rates)


def _listed(values: Sequence[float]) -> str:
    return ",".join(map(repr, values))


def _rates(passed: Sequence[Sequence[int]], tested: int) -> npt.NDArray[np.float64]:
    """%, NaN where nothing was tested."""
    counts = np.asarray(passed, np.float64)
    return 100 * counts / tested if tested else np.full_like(counts, np.nan)
