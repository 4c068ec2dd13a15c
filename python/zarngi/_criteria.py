"""Criteria as people write them: 3%/2mm, 3%G/2mm or 2%L/2mm."""

from __future__ import annotations

import re
from dataclasses import dataclass

_FORM = re.compile(r"([0-9.e+-]+)%([gl]?)/([0-9.e+-]+)mm")


def _written(criterion: Criterion | Criteria, of_normalisation: str) -> str:
    kind = "L" if criterion.local else of_normalisation
    return f"{criterion.dd:g}%{kind}/{criterion.dta:g}mm"


@dataclass(frozen=True, order=True)
class Criterion:
    """Dose difference and distance to agreement.

    Attributes
    ----------
    dd : float
        Dose difference in %.
    dta : float
        Distance to agreement in mm.
    local : bool
        Whether `dd` refers to the voxel's own dose.
    """

    dd: float
    dta: float
    local: bool = False

    def __str__(self) -> str:
        return _written(self, "")


@dataclass(frozen=True)
class Criteria:
    """The criteria and options of a comparison, as given to `gamma_index`.

    Attributes
    ----------
    dd : float
        Dose difference in %.
    dta : float
        Distance to agreement in mm.
    dose_cutoff : float
        Dose cut-off in % of the normalisation dose.
    local : bool
        Whether `dd` refers to the voxel's own dose instead of the normalisation dose.
    normalisation : float or None
        Normalisation dose in Gy; None: the largest reference dose.
    max_gamma : float or None
        Largest gamma searched for; None: not bounded.
    step : float or None
        Spacing of the search lattice in mm; None: a tenth of `dta`.
    interpolate, slices, random_rotation : bool
        As in `gamma_index`.
    mode : str
        "map" or "pass_rate".
    """

    dd: float
    dta: float
    dose_cutoff: float
    local: bool
    normalisation: float | None
    max_gamma: float | None
    step: float | None
    interpolate: bool
    mode: str
    slices: bool
    random_rotation: bool

    def __str__(self) -> str:
        return _written(self, "G")

    @property
    def notation(self) -> str:
        """Dose difference and distance as a request has them, to the last bit."""
        return f"{self.dd!r}%{'L' if self.local else ''}/{self.dta!r}mm"


def parse_criterion(text: str) -> Criterion:
    """A criterion from its text, with the grammar of the option ``--criteria`` of zarngi.

    Raises
    ------
    ValueError
        When the text is of another form, or a number is out of range.

    Examples
    --------
    >>> str(parse_criterion("2 %L / 2 mm")), parse_criterion("3%/2mm").local
    ('2%L/2mm', False)
    """
    form = _FORM.fullmatch("".join(text.lower().split()))
    refusal = ValueError(f'"{text}" is not of the form 3%/2mm, 3%G/2mm or 2%L/2mm')
    if form is None:
        raise refusal
    try:
        dd, dta = float(form[1]), float(form[3])
    except ValueError:
        raise refusal from None
    if not (1e-30 < dd < 1e6 and 1e-30 < dta < 1e6):
        raise refusal
    return Criterion(dd, dta, form[2] == "l")
