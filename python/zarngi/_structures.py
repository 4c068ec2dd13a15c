"""Structures: parts of the patient, from files or from masks."""

from __future__ import annotations

import os
import warnings
from collections.abc import Iterator, Mapping, Sequence
from pathlib import Path
from typing import Any, Union

import numpy as np
import numpy.typing as npt

from . import _checks
from ._dose_volume import DoseVolume
from ._given import Given, default_request, error_of, options_of
from ._grid import DoseGrid
from .io import _structures as _binding
from .io._comparison import Refused
from .io._errors import FormatWarning


class Structure:
    """A part of the patient: contours of a structure set, or voxels of a mask.

    Attributes
    ----------
    name : str
    number : int
        Of the ROI, or the label.
    type : str
        Its interpreted type, such as "PTV"; empty where the file tells none.
    colour : str or None
        "#rrggbb".
    volume : float
        cc: area of the contours times the thickness of their slices, or the voxels of the mask;
        NaN where it cannot be told.
    notes : tuple of str
        What a person should know of it; each continues its name.
    frame_of_reference : str or None
        What its coordinates refer to.
    """

    def __init__(self, source: _binding.Structures, index: int) -> None:
        described = source.description["structures"][index]
        self._source = source
        self._index = index
        self.name: str = described["name"]
        self.number: int = described["number"]
        self.type: str = described["type"]
        self.colour: str | None = described["colour"]
        self.volume = float("nan") if described["volume"] is None else float(described["volume"])
        self.notes: tuple[str, ...] = tuple(described["notes"])
        self.frame_of_reference: str | None = described["frameOfReference"] or None
        self._contours: int = described["contours"] or 0

    @property
    def contours(self) -> list[npt.NDArray[np.float64]]:
        """The closed contours, each of shape (n, 3): x, y, z in mm. None of a mask."""
        return [self._source.contour(self._index, i) for i in range(self._contours)]

    def mask(self, grid: DoseGrid) -> npt.NDArray[np.bool_]:
        """The voxels of a grid of three dimensions whose centres belong to the structure.

        Raises
        ------
        ValueError
            When its contours cannot be taken (not flat), or the grid has fewer dimensions.
        """
        require_space("grid", grid)
        return self._source.mask(self.name, self._index, grid.shape, grid.spacing, grid.origin)

    def dvh(self, dose: DoseGrid, **options: Any) -> Any:
        """Its dose-volume histogram in a dose, as `zarngi.dvh` gives it."""
        return dvh(dose, self, **options)

    def __repr__(self) -> str:
        kind = f"{self.type}, " if self.type else ""
        return f"Structure({self.name!r}, {kind}{self.volume:.2f} cc)"


class StructureSet(Mapping[str, Structure]):
    """The structures of a file by their names.

    Attributes
    ----------
    path : str
        Of the file.
    label : str
        Of the set; empty where the file tells none.
    """

    def __init__(
        self,
        source: _binding.Structures,
        path: str = "",
        shown: Sequence[str] = (),
        excluded: Sequence[str] = (),
    ) -> None:
        self.path = path
        self.label: str = source.description["label"]
        self._source = source
        self._shown = tuple(shown)
        self._excluded = tuple(excluded)
        count = len(source.description["structures"])
        self._structures = {s.name: s for s in (Structure(source, i) for i in range(count))}

    def select(self, *names: str, exclude: Sequence[str] = ()) -> StructureSet:
        """The same file, of which results show only some structures.

        Parameters
        ----------
        *names : str
            Names, patterns like "PTV*", or combinations like "ring=PTV57-PTV67" with the operators
            ``|``, ``&`` and ``-``; none of them: all structures.
        exclude : sequence of str
            Names or patterns of what is left out.
        """
        return StructureSet(self._source, self.path, names, exclude)

    def __getitem__(self, name: str) -> Structure:
        return self._structures[name]

    def __iter__(self) -> Iterator[str]:
        return iter(self._structures)

    def __len__(self) -> int:
        return len(self._structures)

    def __repr__(self) -> str:
        return f"StructureSet({', '.join(map(repr, self._structures))})"


#: What can be asked for: a file, one structure, or structures and masks by their names.
StructuresLike = Union[StructureSet, Structure, Mapping[str, "Structure | npt.ArrayLike"]]


def read_structures(path: str | os.PathLike[str]) -> StructureSet:
    """Read structures from a file.

    The contents, not the name, tell the format: a DICOM RT Structure Set or Segmentation, or a
    label mask in NRRD (segmentations of several segments, too), MetaImage or NIfTI.

    Parameters
    ----------
    path : str or os.PathLike
        The file.

    Returns
    -------
    StructureSet

    Raises
    ------
    FormatError
        When the file is damaged or holds no structures. A kind of ValueError; the message begins
        with the path.
    OSError
        When the file cannot be opened.

    Warns
    -----
    FormatWarning
        When something was taken for granted that the file does not tell.
    """
    name = str(Path(path))
    source = _binding.read_file(name)
    for warning in source.description["warnings"]:
        warnings.warn(f"{name}: {warning}", FormatWarning, stacklevel=2)
    return StructureSet(source, name)


class Chosen:
    """What was asked for, as the library takes it."""

    def __init__(self, structures: StructuresLike, grid: DoseGrid) -> None:
        self.shown: list[str] = []
        self.excluded: list[str] = []
        self.sources: list[_binding.Structures] = []
        self._names_of_files: set[str] = set()
        if isinstance(structures, StructureSet):
            self._add_set(structures)
        elif isinstance(structures, Structure):
            self._add_set(StructureSet(structures._source, shown=[structures.name]))
        elif isinstance(structures, Mapping):
            self._add_mapping(structures, grid)
        else:
            raise TypeError(
                f"structures is of type {type(structures).__name__}; accepted: what "
                "zarngi.read_structures returns, a Structure, or a mapping of names to structures "
                "or boolean arrays"
            )

    def _add_set(self, chosen: StructureSet) -> None:
        self.sources.append(chosen._source)
        self.shown += chosen._shown
        self.excluded += chosen._excluded

    def _add_mapping(
        self, structures: Mapping[str, Structure | npt.ArrayLike], grid: DoseGrid
    ) -> None:
        if not structures:
            raise ValueError("structures is empty; accepted: at least one structure")
        for name, structure in structures.items():
            if isinstance(structure, Structure):
                self._add_named(name, structure)
            else:
                mask = _mask(name, structure, grid)
                self.sources.append(_binding.from_mask(name, mask, grid.spacing, grid.origin))
                self.shown.append(name)
        masks = {name for name, one in structures.items() if not isinstance(one, Structure)}
        if taken := masks & self._names_of_files:
            raise ValueError(f"structures[{min(taken)!r}] has the name of a structure of a file")

    def _add_named(self, name: str, structure: Structure) -> None:
        """A structure of a file as it is, not its voxels: its volume and doses go by its contours."""
        if "=" in name or '"' in structure.name:
            raise ValueError(f"structures[{name!r}] cannot be named so; accepted: names without =")
        is_renamed = name != structure.name
        self.shown.append(f'{name}="{structure.name}"' if is_renamed else name)
        self._names_of_files |= {s["name"] for s in structure._source.description["structures"]}
        if all(source is not structure._source for source in self.sources):
            self.sources.append(structure._source)


def _mask(name: str, values: npt.ArrayLike, grid: DoseGrid) -> npt.NDArray[np.bool_]:
    mask = np.asarray(values)
    if mask.dtype != np.bool_:
        raise TypeError(f"structures[{name!r}] is of type {mask.dtype}; accepted: bool arrays")
    if mask.shape != grid.shape:
        raise ValueError(
            f"structures[{name!r}] has shape {mask.shape}; accepted: that of the dose, {grid.shape}"
        )
    return mask


def require_volume(name: str, grid: DoseGrid) -> None:
    """Refuse what has no volume for structures to lie in."""
    require_space(name, grid)
    if grid.plane_normal is not None:
        raise ValueError(f"{name} is a plane; structures need volumes")


def require_space(name: str, grid: DoseGrid) -> None:
    """Refuse grids of a plane or a line that has no place in space."""
    if not isinstance(grid, DoseGrid):
        raise TypeError(f"{name} is of type {type(grid).__name__}; accepted: zarngi.DoseGrid")
    if len(grid.spacing) < 3:
        raise ValueError(
            f"{name} has {len(grid.spacing)} dimensions; structures need three values of spacing "
            "and origin"
        )


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
    given = Given(default_request())
    given.take_dose("reference", dose, "dose")
    given.take_dose("evaluation", dose, "dose")
    given.take_structures(Chosen(structures, dose), "structures[{}]")
    given.section("structures").update(
        metrics=[metrics] if isinstance(metrics, str) else list(metrics),
        prescription=_checks.positive_or_none("prescription", prescription, "Gy"),
        ignoreFrame=True,
    )
    try:
        made = given.compared(None, None, options_of(has_only_findings=True))
    except Refused as refused:
        raise error_of(refused, {"dose": dose}) from None
    record = made.record()["structures"]
    width = record["dvhBinWidth"]
    found = {
        row["name"]: DoseVolume.from_record(row["dvh"] and row["dvh"]["reference"], width)
        for row in record["list"]
    }
    return next(iter(found.values())) if isinstance(structures, Structure) else found
