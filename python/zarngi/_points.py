"""Doses at points that form no grid."""

from __future__ import annotations

from dataclasses import dataclass
from typing import Any

import numpy as np
import numpy.typing as npt

from . import _checks
from .io import _measurements


def place(at: tuple[float, float, float]) -> tuple[float, ...]:
    """A place in the patient, mm.

    Raises
    ------
    ValueError
        When it is none.
    """
    return _checks.coordinates("at", at, 3)


@dataclass(frozen=True, eq=False, repr=False)
class DosePoints:
    """Doses at single points, such as readings of a chamber.

    Points can be the reference of a comparison: each is searched for itself, with the dose and the
    distance that the criteria allow. Between points there is no dose, so they are no evaluation.

    Parameters
    ----------
    positions : array_like, shape (n, 3) or (n, 2)
        mm, as (x, y, z) in the patient, or (x, y) in a plane.
    dose : array_like, shape (n,)
        Dose in Gy; any real number type.
    frame_of_reference : str, optional
        What the coordinates refer to.

    Examples
    --------
    >>> import zarngi
    >>> zarngi.DosePoints([(0, 0, 0), (0, 0, 25)], [2.0, 1.5])
    DosePoints(2 points in space, 1.5 to 2 Gy)
    """

    positions: npt.NDArray[np.float64]
    dose: npt.NDArray[Any]
    frame_of_reference: str | None = None

    def __post_init__(self) -> None:
        positions = np.asarray(self.positions, np.float64)
        if positions.ndim != 2 or positions.shape[1] not in (2, 3) or len(positions) == 0:
            raise ValueError(
                f"positions has shape {positions.shape}; accepted: (n, 3) or (n, 2), n from 1 up"
            )
        if not np.isfinite(positions).all():
            raise ValueError("positions holds a value that is not finite; accepted: mm")
        dose = np.asarray(self.dose)
        if dose.dtype.kind not in "iuf":
            raise TypeError(f"dose has the data type {dose.dtype}; accepted: real numbers")
        if dose.shape != positions.shape[:1]:
            raise ValueError(
                f"dose has shape {dose.shape}; accepted: ({len(positions)},), one for each position"
            )
        object.__setattr__(self, "positions", positions)
        object.__setattr__(self, "dose", dose)

    @classmethod
    def of(cls, told: _measurements.Distribution) -> DosePoints:
        """The points that the library tells."""
        assert told.points is not None
        return cls(told.points, told.values, told.frame_of_reference)

    @property
    def shape(self) -> tuple[int, ...]:
        """Shape of `dose`: (n,)."""
        return self.dose.shape

    @property
    def dimensions(self) -> int:
        """3 in space, 2 in a plane."""
        return int(self.positions.shape[1])

    def placed(self, plane: str, at: tuple[float, float, float]) -> DosePoints:
        """Points of a plane at their places in the patient.

        Parameters
        ----------
        plane, at
            As of `DoseGrid.placed`.

        Returns
        -------
        DosePoints
            With positions of three coordinates.
        """
        if self.dimensions != 2:
            raise ValueError("the points have places in space already; accepted: positions (x, y)")
        positions = np.ascontiguousarray(self.positions)
        dose = np.ascontiguousarray(self.dose, np.float32)
        return DosePoints.of(_measurements.placed_points(positions, dose, plane, place(at)))

    def __repr__(self) -> str:
        where = "space" if self.dimensions == 3 else "a plane"
        return (
            f"DosePoints({len(self.dose)} points in {where}, "
            f"{self.dose.min():g} to {self.dose.max():g} Gy)"
        )
