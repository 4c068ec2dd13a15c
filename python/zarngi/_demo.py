"""A synthetic pair of dose grids to try things on."""

from __future__ import annotations

from collections.abc import Callable

import numpy as np
import numpy.typing as npt

from ._grid import DoseGrid

_TARGET_DOSE = 60.0  # Gy


def demo_pair() -> tuple[DoseGrid, DoseGrid]:
    """A planned and a delivered dose, both synthetic.

    The plan gives 60 Gy to a target the size of an orange that bends round the spinal cord. The
    delivery misses it by two millimetres, is 1 % too high, and lacks up to 8 % in a cold
    spot.

    Returns
    -------
    reference, evaluation : DoseGrid
        48 x 40 x 32 voxels of 2.5 mm and 60 x 50 x 26 voxels of 2 x 2 x 3 mm, float32.

    Examples
    --------
    >>> import zarngi
    >>> reference, evaluation = zarngi.demo_pair()
    >>> reference
    DoseGrid(48 x 40 x 32 voxels of 2.5 x 2.5 x 2.5 mm, first centre (-58.75, -48.75, -38.75) mm, \
float32, 0.0317431 to 59.9576 Gy)
    """
    return (
        _sampled(_planned_dose, (48, 40, 32), (2.5, 2.5, 2.5)),
        _sampled(_delivered_dose, (60, 50, 26), (2.0, 2.0, 3.0)),
    )


_Array = npt.NDArray[np.float64]


def _planned_dose(x: _Array, y: _Array, z: _Array) -> _Array:
    """Dose in Gy at positions in mm."""
    target = _inside(np.sqrt((x / 36) ** 2 + (y / 28) ** 2 + (z / 26) ** 2), softness=0.07)
    cord = _inside(np.hypot(x / 9, (y - 26) / 11), softness=0.2)
    scatter = 0.08 * np.exp(-((x / 45) ** 2) - (y / 38) ** 2 - (z / 30) ** 2)
    dose: _Array = _TARGET_DOSE * (target * (1 - 0.75 * cord) * 0.92 + scatter)
    return dose


def _delivered_dose(x: _Array, y: _Array, z: _Array) -> _Array:
    """Dose in Gy at positions in mm."""
    cold_spot = np.exp(-(((x - 14) / 11) ** 2) - ((y + 8) / 11) ** 2 - ((z - 4) / 12) ** 2)
    dose: _Array = 1.01 * (1 - 0.08 * cold_spot) * _planned_dose(x - 1.7, y + 0.9, z - 0.7)
    return dose


def _inside(r: _Array, softness: float) -> _Array:
    """1 well inside the unit sphere, 0 well outside."""
    share: _Array = 1 / (1 + np.exp((r - 1) / softness))
    return share


def _sampled(
    dose: Callable[[_Array, _Array, _Array], _Array],
    counts: tuple[int, int, int],
    spacing: tuple[float, float, float],
) -> DoseGrid:
    """A grid centred on the isocentre."""
    axes = [h * (np.arange(n) - (n - 1) / 2) for n, h in zip(counts, spacing)]
    z, y, x = np.meshgrid(*axes[::-1], indexing="ij")
    return DoseGrid(
        dose(x, y, z).astype(np.float32), spacing, tuple(float(axis[0]) for axis in axes)
    )
