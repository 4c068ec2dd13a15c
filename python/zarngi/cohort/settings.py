"""How every pair of a run is compared."""

from __future__ import annotations

import json
from collections.abc import Iterable
from dataclasses import dataclass, field, replace
from typing import Any

from .. import _checks
from .._criteria import Criterion, parse_criterion


def parse_criteria(criteria: str | Criterion | Iterable[str | Criterion]) -> tuple[Criterion, ...]:
    """Criteria from texts; one text may hold several, with spaces or semicolons between them.

    Raises
    ------
    ValueError
        When a text is no criterion, one is given twice, or there is none.
    """
    given = [criteria] if isinstance(criteria, (str, Criterion)) else list(criteria)
    parsed: list[Criterion] = []
    for entry in given:
        texts = entry.replace(";", " ").split() if isinstance(entry, str) else [entry]
        parsed += [parse_criterion(t) if isinstance(t, str) else t for t in texts]
    if not parsed:
        raise ValueError("no criterion is given")
    for i, criterion in enumerate(parsed):
        if criterion in parsed[:i]:
            raise ValueError(f"the criterion {criterion} is given twice")
    return tuple(parsed)


@dataclass(frozen=True)
class Settings:
    """Criteria and options of a comparison, as `gamma_index` takes them.

    Attributes
    ----------
    criteria : tuple of Criterion
        One comparison each.
    dose_cutoff : float
        % of the normalisation dose.
    normalisation : float or None
        Gy; None: the largest reference dose.
    max_gamma : float
        Largest gamma searched for.
    step : float or None
        Spacing of the search lattice in mm; None: a tenth of the distance to agreement.
    interpolate, slices : bool
        As in `gamma_index`.
    mode : str
        "map" or "pass_rate".
    structures : tuple of str or None
        Names of structures to tell apart, as `StructureSet.select` takes them; empty: all; None:
        none. Those that a pair does not have are left out of it.
    """

    criteria: tuple[Criterion, ...] = field(default=(Criterion(3, 2),))
    dose_cutoff: float = 10
    normalisation: float | None = None
    max_gamma: float = 3
    step: float | None = None
    interpolate: bool = True
    mode: str = "map"
    slices: bool = False
    structures: tuple[str, ...] | None = None

    def __post_init__(self) -> None:
        # As floats, so that 10 and 10.0 are the same settings.
        for name, unit in (("dose_cutoff", "%"), ("max_gamma", "")):
            self._set(name, _checks.positive(name, getattr(self, name), unit))
        for name, unit in (("normalisation", "Gy"), ("step", "mm")):
            self._set(name, _checks.positive_or_none(name, getattr(self, name), unit))
        _checks.choice("mode", self.mode, ("map", "pass_rate"))
        if self.structures is not None:
            object.__setattr__(self, "structures", tuple(self.structures))

    def _set(self, name: str, value: float | None) -> None:
        object.__setattr__(self, name, value)

    def changed(self, **changes: Any) -> Settings:
        """These settings with those changes that are not None or empty."""
        return replace(self, **{name: value for name, value in changes.items() if value})

    def arguments(self, criterion: Criterion) -> dict[str, Any]:
        """The keyword arguments of `gamma_index` for one criterion."""
        return {
            "dd": criterion.dd,
            "dta": criterion.dta,
            "local": criterion.local,
            "dose_cutoff": self.dose_cutoff,
            "normalisation": self.normalisation,
            "max_gamma": self.max_gamma,
            "step": self.step,
            "interpolate": self.interpolate,
            "mode": self.mode,
            "slices": self.slices,
        }

    def text(self) -> str:
        """All of it in one line; equal texts mean equal results of equal files."""
        fields = {name: getattr(self, name) for name in self.__dataclass_fields__}
        fields["criteria"] = [str(criterion) for criterion in self.criteria]
        return json.dumps(fields, sort_keys=True)
