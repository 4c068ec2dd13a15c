"""How every pair of a run is compared."""

from __future__ import annotations

import json
import os
from collections.abc import Iterable, Mapping
from dataclasses import dataclass, replace
from functools import lru_cache
from typing import Any

from .. import _checks
from .._criteria import Criterion, parse_criterion
from .._given import protocol_request
from ..io import _comparison
from .errors import CohortError

_USUAL = Criterion(3, 2)


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


def protocol_of(request: str | os.PathLike[str] | Mapping[str, Any]) -> str:
    """A request without files, as a text, from a document with one, or from a record that holds it.

    Raises
    ------
    CohortError
        When it is none.
    OSError
        When the document cannot be read.
    """
    if isinstance(request, Mapping):
        name, document = "request", dict(request)
    else:
        name = os.fspath(request)
        with open(request, encoding="utf-8", errors="replace") as file:
            text = file.read()
        try:
            document = json.loads(text)
        except ValueError:
            raise CohortError(f"{name}: this is no JSON document") from None
    if isinstance(document, dict) and document.get("format") == "zarngi-report":
        document = document.get("request")
    text = json.dumps(document)
    # The doses that it names, or does not, are not those of a pair: only the rest is read.
    refusal = _comparison.attempt(_with_files(text, "", "", "structures"), (), {}, 1, lambda _: False)
    if isinstance(refusal, _comparison.Refusal) and refusal.is_of_request:
        raise CohortError(f"{name}: {refusal.sentence}")
    return json.dumps(_of_this_version(document))


def asked_of(
    request: str | os.PathLike[str] | Mapping[str, Any] | None,
    protocol: str | os.PathLike[str] | Mapping[str, Any] | None,
) -> str | None:
    """What is asked by a request or a protocol; None: by neither."""
    if request is not None and protocol is not None:
        raise TypeError("run takes a request or a protocol, not both")
    if protocol is not None:
        return shared_protocol(protocol)
    return None if request is None else protocol_of(request)


def shared_protocol(protocol: str | os.PathLike[str] | Mapping[str, Any]) -> str:
    """As `protocol_of`, of a protocol that is shipped, a document, or its file.

    Raises
    ------
    CohortError
        When it is none.
    """
    try:
        return json.dumps(protocol_request(protocol))
    except ValueError as error:
        raise CohortError(str(error)) from None


def _of_this_version(document: dict[str, Any]) -> dict[str, Any]:
    """A request of the first version with the members that came later, as they usually are."""
    usual = _comparison.default_request()
    for name, value in usual.items():
        if isinstance(value, dict) and isinstance(document.get(name), dict):
            document[name] = {**value, **document[name]}
    return {**usual, **document, "formatVersion": usual["formatVersion"]}


def _with_files(protocol: str, reference: str, evaluation: str, structures: str) -> bytes:
    """The request of a pair; what is no request is left as it is, for the library to refuse."""
    document = json.loads(protocol)
    if isinstance(document, dict):
        for role, path in (("reference", reference), ("evaluation", evaluation)):
            if isinstance(document.get(role), dict):
                document[role].update(file=path, add=[])
        if isinstance(document.get("structures"), dict):
            document["structures"]["files"] = [structures] if structures else []
    return json.dumps(document).encode()


@dataclass(frozen=True)
class Settings:
    """What is asked of every pair. None, and what is empty, leaves it to the protocol.

    Attributes
    ----------
    criteria : tuple of Criterion
        One comparison each.
    dose_cutoff : float or None
        % of the normalisation dose.
    normalisation : float or None
        Gy; None: the protocol's, else the largest reference dose.
    max_gamma : float or None
        Largest gamma searched for.
    step : float or None
        Spacing of the search lattice in mm; None: the protocol's, else a tenth of the distance to
        agreement.
    interpolate, slices : bool
        As in `gamma_index`; the protocol may have switched on nearest voxels or slices.
    mode : str
        "map" or "pass_rate".
    structures : tuple of str or None
        Names of structures to tell apart, as `StructureSet.select` takes them; empty: all; None:
        the protocol's. Those that a pair does not have are left out of it.
    protocol : str or None
        As `protocol_of` or `shared_protocol` gives it; None: what `zarngi.default_request` asks, by 3%/2mm.
    """

    criteria: tuple[Criterion, ...] = ()
    dose_cutoff: float | None = None
    normalisation: float | None = None
    max_gamma: float | None = None
    step: float | None = None
    interpolate: bool = True
    mode: str = "map"
    slices: bool = False
    structures: tuple[str, ...] | None = None
    protocol: str | None = None

    def __post_init__(self) -> None:
        # As floats, so that 10 and 10.0 are the same settings.
        units = {"dose_cutoff": "%", "max_gamma": "", "normalisation": "Gy", "step": "mm"}
        for name, unit in units.items():
            value = _checks.positive_or_none(name, getattr(self, name), unit)
            object.__setattr__(self, name, value)
        _checks.choice("mode", self.mode, ("map", "pass_rate"))
        if self.structures is not None:
            object.__setattr__(self, "structures", tuple(self.structures))

    def changed(self, **changes: Any) -> Settings:
        """These settings with those changes that are not None or empty."""
        given = {name: value for name, value in changes.items() if value}
        return replace(self, **given) if given else self

    @property
    def has_structures(self) -> bool:
        """Whether structures of a pair have to do with its results."""
        return self.structures is not None or _names_structures(self.text())

    def request(self, reference: str, evaluation: str, structures: str) -> bytes:
        """What is asked of a pair; an empty path of structures: none."""
        return _with_files(self.text(), reference, evaluation, structures)

    def text(self) -> str:
        """All of it in one line; equal texts mean equal results of equal files."""
        return _text_of(self)

    def document(self) -> dict[str, Any]:
        """The request, without files."""
        document: dict[str, Any]
        document = json.loads(self.protocol) if self.protocol else _comparison.default_request()
        criteria = self.criteria or (() if self.protocol else (_USUAL,))
        if criteria:
            document["criteria"] = [str(criterion) for criterion in criteria]
        for name, value in (
            ("cutOff", self.dose_cutoff),
            ("normalisation", self.normalisation),
            ("maxGamma", self.max_gamma),
            ("step", self.step),
            ("nearest", not self.interpolate),
            ("passRateOnly", self.mode == "pass_rate"),
            ("slices", self.slices),
        ):
            if value:
                document[name] = value
        if self.structures is not None:
            document["structures"]["show"] = list(self.structures)
        document["structures"]["ifPresent"] = True
        # Documents of cohorts tell of no patient, and plans are read for what documents tell.
        document |= {"plans": [], "identify": False, "header": {}}
        return document


@lru_cache(maxsize=256)
def _text_of(settings: Settings) -> str:
    return json.dumps(settings.document(), sort_keys=True)


@lru_cache(maxsize=256)
def _names_structures(text: str) -> bool:
    request = json.loads(text)
    structures, limits = request["structures"], request["limits"]
    texts = [*request["criteria"], *(text for member in limits.values() for text in member)]
    goals = request.get("goals", ())  # none in a document of version 1
    names = (*structures["show"], *structures["exclude"], structures["within"], *goals)
    return any(names) or any(":" in text for text in texts)
