"""Dose grids."""

from __future__ import annotations

from collections.abc import Sequence
from dataclasses import dataclass
from typing import Any, Literal, get_args

import numpy as np
import numpy.typing as npt

from . import _checks
from ._points import DosePoints, place
from .io import _dicom, _host, _measurements
from .io._host import DoseUnit

_VOXEL_LIMIT = 2**31

#: Coordinates count as evenly spaced when none is farther than this part of a step from its place.
EVENNESS = 1e-3


def even_spacing(name: str, positions: npt.ArrayLike) -> float:
    """Step (mm, negative for a falling sequence) of at least two evenly spaced positions.

    Raises
    ------
    ValueError
        When the positions are not finite, do not rise or fall throughout, or are uneven.
    """
    values = np.asarray(positions, dtype=np.float64)
    if values.ndim != 1 or values.size < 2:
        raise ValueError(f"{name} has shape {values.shape}; accepted: a sequence of two or more")
    if not np.isfinite(values).all():
        raise ValueError(f"{name} holds a value that is not finite")
    step = float((values[-1] - values[0]) / (values.size - 1))
    deviations = np.abs(values - (values[0] + step * np.arange(values.size)))
    worst = int(np.argmax(deviations))
    if step == 0 or deviations[worst] > EVENNESS * abs(step):
        raise ValueError(
            f"{name} is not evenly spaced: value {worst} is {values[worst]:g}, "
            f"even steps of {step:g} would put it at {values[0] + step * worst:g}"
        )
    return step


@dataclass(frozen=True, eq=False, repr=False)
class DoseGrid:
    """A dose distribution sampled on a regular Cartesian grid.

    Parameters
    ----------
    dose : array_like, shape (nz, ny, nx)
        Dose in Gy, indexed ``[z, y, x]``; any real number type, memory order or view. The array is
        not copied: a change made to it later shows in later comparisons.

        A 2D array, ``[y, x]``, is a single slice and a 1D array a single line; see Notes.
    spacing : float or tuple of float
        Distance between voxel centres in mm, as (x, y, z); greater than 0. One number stands for
        all axes.
    origin : tuple of float
        Centre of the first voxel, ``dose[0, 0, 0]``, in mm, as (x, y, z).
    frame_of_reference : str, optional
        What the coordinates refer to, for example DICOM's Frame of Reference UID. Comparing two
        grids that name different ones gives a warning.
    measured : array_like of bool, shape of `dose`, optional
        Where there is a dose; by default everywhere. Other places are not tested, and a grid that
        has such places is no evaluation: there is no dose between them.
    plane_normal : {"x", "y", "z"}, optional
        The axis across a plane in space, along which the grid has one layer; by default the grid is
        a volume. Files of planar doses give such planes.
    unit : {"Gy", "Gy/history", "Gy/run", "CU"}
        What the doses are in. Those of simulations are doses per history, or of all histories of the
        run, those of portal images may be in calibrated units (CU): a grid of ``grid.dose * factor`` is in Gy. Grids in different units are compared only
        when the dose of 100 % is given.
    uncertainty : array_like, shape of `dose`, optional
        Standard uncertainty of each dose, in the same unit; NaN where none is known, as where there
        is no dose.

    Notes
    -----
    A 2D array takes two values of `spacing` and `origin` (x, y), a 1D array one (x). Such grids
    are compared with each other within their plane or along their line only. With three values the
    array is a volume of one slice (or one line) instead: it has a place in space and a thickness,
    the search goes through that thickness too, and dose off the slice's centre plane is the dose
    of the voxel, without interpolation. With `plane_normal` it is a plane in space, whose thickness
    means nothing: compared with another plane in their plane, and with a volume at its place.

    Examples
    --------
    >>> import numpy as np
    >>> import zarngi
    >>> zarngi.DoseGrid(np.ones((4, 5, 6)), spacing=(2, 2, 2.5), origin=(-5, -4, 0))
    DoseGrid(6 x 5 x 4 voxels of 2 x 2 x 2.5 mm, first centre (-5, -4, 0) mm, float64, 1 to 1 Gy)
    """

    dose: npt.NDArray[Any]
    spacing: tuple[float, ...]
    origin: tuple[float, ...]
    frame_of_reference: str | None = None
    measured: npt.NDArray[np.bool_] | None = None
    plane_normal: Literal["x", "y", "z"] | None = None
    unit: DoseUnit = "Gy"
    uncertainty: npt.NDArray[Any] | None = None

    def __post_init__(self) -> None:
        dose = _dose_array(self.dose)
        counts = _value_count(dose, self.origin)
        spacing = (self.spacing,) * counts if np.ndim(self.spacing) == 0 else self.spacing
        sizes = _checks.coordinates("spacing", spacing, counts)
        for i, size in enumerate(sizes):
            _checks.positive(f"spacing[{i}]", size, "mm")
        if counts > dose.ndim:
            dose = dose.reshape((1,) * (counts - dose.ndim) + dose.shape)
        object.__setattr__(self, "dose", dose)
        object.__setattr__(self, "measured", _mask(self.measured, dose))
        object.__setattr__(self, "spacing", sizes)
        object.__setattr__(self, "origin", _checks.coordinates("origin", self.origin, counts))
        object.__setattr__(self, "uncertainty", _uncertainty(self.uncertainty, dose))
        _check_normal(self.plane_normal, dose, counts)
        _checks.choice("unit", self.unit, get_args(DoseUnit))

    @classmethod
    def from_axes(
        cls,
        axes: Sequence[npt.ArrayLike],
        dose: npt.ArrayLike,
        *,
        frame_of_reference: str | None = None,
    ) -> DoseGrid:
        """The grid of a dose array and the coordinates of its voxel centres.

        Parameters
        ----------
        axes : sequence of array_like
            One array of coordinates in mm for each dimension of `dose` and in the same order:
            (z, y, x) for a 3D array, (y, x) for a 2D array, (x,) for a 1D array. Evenly spaced,
            rising or falling, two or more each.
        dose : array_like
            Dose in Gy; ``dose[i, j, k]`` belongs to ``(axes[0][i], axes[1][j], axes[2][k])``.
        frame_of_reference : str, optional
            What the coordinates refer to.

        Returns
        -------
        DoseGrid
            With rising coordinates: along falling axes the array is turned round (a view).

        Examples
        --------
        >>> import numpy as np
        >>> import zarngi
        >>> grid = zarngi.DoseGrid.from_axes(([30, 20, 10], [0, 2, 4, 6]), np.eye(3, 4))
        >>> grid.spacing, grid.origin
        ((2.0, 10.0), (0.0, 10.0))
        >>> grid.dose[2]
        array([1., 0., 0., 0.])
        """
        array = _dose_array(dose)
        if len(axes) != array.ndim:
            raise ValueError(f"axes holds {len(axes)} arrays; accepted: {array.ndim}, as dose has")
        steps = []
        firsts = []
        for i, axis in enumerate(axes):
            if np.shape(axis) != (array.shape[i],):
                raise ValueError(
                    f"axes[{i}] has shape {np.shape(axis)}; accepted: ({array.shape[i]},), "
                    f"as dimension {i} of dose has"
                )
            step = even_spacing(f"axes[{i}]", axis)
            positions = np.asarray(axis, dtype=np.float64)
            if step < 0:
                array = np.flip(array, i)
            steps.append(abs(step))
            firsts.append(float(positions[0] if step > 0 else positions[-1]))
        return cls(array, tuple(steps[::-1]), tuple(firsts[::-1]), frame_of_reference)

    @classmethod
    def from_dicom(
        cls, dataset: Any, *, allow_relative: bool = False, allow_error_doses: bool = False
    ) -> DoseGrid:
        """The grid of an RT Dose that pydicom has read or made.

        The doses are those that `read` gives for the file that the dataset makes.

        Parameters
        ----------
        dataset : pydicom.Dataset
            The RT Dose, with or without file meta information; it is not changed.
        allow_relative : bool
            Whether to take doses in relative units, as if they were Gy.
        allow_error_doses : bool
            Whether to take differences between doses (Dose Type ERROR), as if they were doses.

        Returns
        -------
        DoseGrid
            As of `read`.

        Raises
        ------
        FormatError
            As of `read`; the message begins with ``<dataset>``.
        """
        name = "<dataset>"
        dose = _host.read_memory(name, _dicom.encoded(dataset), {})
        grid = doses_of(
            _measurements.accepted(name, dose, allow_relative, allow_error_doses, stacklevel=3)
        )
        assert isinstance(grid, DoseGrid)  # as DICOM holds no points
        return grid

    def placed(self, plane: str, at: tuple[float, float, float]) -> DoseGrid | DosePoints:
        """A plane, which has two dimensions, at its place in the patient.

        Parameters
        ----------
        plane : str
            "axial" (x and y are those of the patient), "coronal" (x and z), "sagittal" (y and z),
            or "gantry:ANGLE" in degrees, across the beam of a head-first supine patient: x along
            (cos, sin, 0), y along z.
        at : tuple of float
            Where the plane's point (0, 0) lies in the patient, mm.

        Returns
        -------
        DoseGrid or DosePoints
            A grid of one layer where the plane lies along the patient's axes, else its points, those
            that are measured. Either is compared with a volume as the reference.

        Raises
        ------
        ValueError
            When the grid is no plane, or `plane` none of these.
        """
        if len(self.spacing) != 2:
            raise ValueError(
                f"the grid has {len(self.spacing)} dimensions; accepted: 2, a plane without a place"
            )
        dose = np.ascontiguousarray(self.dose, np.float32)
        measured = None if self.measured is None else np.ascontiguousarray(self.measured, np.uint8)
        return doses_of(
            _measurements.placed_plane(
                dose, measured, self.spacing, self.origin, plane, place(at)
            )
        )

    @property
    def shape(self) -> tuple[int, ...]:
        """Shape of `dose`: (nz, ny, nx), (ny, nx) or (nx,)."""
        return self.dose.shape

    @property
    def axes(self) -> tuple[npt.NDArray[np.float64], ...]:
        """Coordinates in mm of the voxel centres, one array for each dimension of `dose`."""
        return tuple(
            origin + spacing * np.arange(count)
            for count, spacing, origin in zip(self.shape, self.spacing[::-1], self.origin[::-1])
        )

    def __repr__(self) -> str:
        def joined(values: Sequence[float], separator: str) -> str:
            return separator.join(f"{v:g}" for v in values)

        across = "xyz".find(self.plane_normal or "none")
        sizes = [size for axis, size in enumerate(self.spacing) if axis != across]
        return (
            f"DoseGrid({joined(self.shape[::-1], ' x ')} voxels of {joined(sizes, ' x ')} "
            f"mm, first centre ({joined(self.origin, ', ')}) mm, {self.dose.dtype}, "
            f"{self.dose.min():g} to {self.dose.max():g} {self.unit})"
        )


def _dose_array(dose: npt.ArrayLike) -> npt.NDArray[Any]:
    """`dose` as an array of one to three dimensions; a view where it can be."""
    if isinstance(dose, np.ma.MaskedArray) and np.any(dose.mask):
        raise ValueError("dose is a masked array with masked voxels; accepted: .filled(...) of it")
    array = np.asarray(dose)
    if array.dtype.kind not in "iuf":
        raise TypeError(f"dose has the data type {array.dtype}; accepted: real numbers")
    if not 1 <= array.ndim <= 3:
        raise ValueError(f"dose has {array.ndim} dimensions; accepted: 1 to 3")
    if not 0 < array.size < _VOXEL_LIMIT:
        raise ValueError(f"dose has {array.size} voxels; accepted: 1 to {_VOXEL_LIMIT - 1}")
    return array


def _mask(measured: Any, dose: npt.NDArray[Any]) -> npt.NDArray[np.bool_] | None:
    if measured is None:
        return None
    mask = np.asarray(measured)
    if mask.dtype != np.bool_:
        raise TypeError(f"measured has the data type {mask.dtype}; accepted: bool")
    if mask.size != dose.size:
        raise ValueError(f"measured has shape {mask.shape}; accepted: {dose.shape}, as dose has")
    mask = mask.reshape(dose.shape)
    return None if mask.all() else mask


def _uncertainty(values: Any, dose: npt.NDArray[Any]) -> npt.NDArray[Any] | None:
    if values is None:
        return None
    array = np.asarray(values)
    if array.dtype.kind not in "iuf":
        raise TypeError(f"uncertainty has the data type {array.dtype}; accepted: real numbers")
    if array.size != dose.size:
        raise ValueError(
            f"uncertainty has shape {array.shape}; accepted: {dose.shape}, as dose has"
        )
    if (array < 0).any():
        raise ValueError("uncertainty holds a negative value; accepted: 0 and up, NaN")
    return array.reshape(dose.shape)


def _check_normal(normal: str | None, dose: npt.NDArray[Any], counts: int) -> None:
    if normal is None:
        return
    axis = "xyz".index(_checks.choice("plane_normal", normal, ("x", "y", "z")))
    if counts != 3 or dose.shape[2 - axis] != 1:
        raise ValueError(
            f"plane_normal={normal!r} is for a grid in space that has one layer along {normal}; "
            f"the dose has shape {dose.shape}, spacing and origin have {counts} values"
        )


def _value_count(dose: npt.NDArray[Any], origin: Any) -> int:
    """How many values spacing and origin have: the dimensions of dose, or three."""
    count = len(origin) if np.ndim(origin) else 1
    if count not in (dose.ndim, 3):
        accepted = str(dose.ndim) if dose.ndim == 3 else f"{dose.ndim} or 3"
        raise ValueError(f"origin={origin!r} has {count} values; accepted: {accepted}")
    return count


def doses_of(told: _measurements.Distribution) -> DoseGrid | DosePoints:
    """The grid or the points that the library tells."""
    if told.points is not None:
        return DosePoints.of(told)
    return DoseGrid(
        told.values,
        told.spacing,
        told.origin,
        told.frame_of_reference,
        told.measured,
        told.normal,
        told.unit,
        told.uncertainty,
    )
