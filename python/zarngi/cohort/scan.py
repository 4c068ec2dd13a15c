"""Finding dose files and pairing them."""

from __future__ import annotations

import hashlib
import hmac
import os
import re
import secrets
import warnings
from collections.abc import Callable, Iterator, Sequence
from dataclasses import dataclass, field
from pathlib import Path
from typing import Any

from .._optional import need
from .errors import CohortError
from .manifest import Pair
from .pairing import DoseFile, StructureFile, join_structures, paired

_DOSE = "1.2.840.10008.5.1.4.1.1.481.2"
_STRUCTURES = "1.2.840.10008.5.1.4.1.1.481.3"
_SEGMENTATION = "1.2.840.10008.5.1.4.1.1.66.4"
_PLANS = {"1.2.840.10008.5.1.4.1.1.481.5", "1.2.840.10008.5.1.4.1.1.481.8"}

_TAGS = [
    "SOPClassUID",
    "SOPInstanceUID",
    "PatientID",
    "FrameOfReferenceUID",
    "ReferencedFrameOfReferenceSequence",
    "ReferencedRTPlanSequence",
    "DoseSummationType",
    "SegmentationType",
    "InstanceCreationDate",
    "ContentDate",
    "SeriesDate",
    "StudyDate",
    "BeamSequence",
    "IonBeamSequence",
]
_DATES = ("InstanceCreationDate", "ContentDate", "SeriesDate", "StudyDate")
_PREAMBLE = 128


@dataclass(frozen=True)
class Naming:
    """What a manifest tells beside the files.

    Attributes
    ----------
    group : {"machine", "folder"} or None
        What fills the column group: the machine of the plan, if that is found, or the folder of the
        evaluation.
    dates : bool
        Whether the column date is filled, from the evaluation.
    patient : bool
        Whether ids are made of the patients' instead of being a keyed digest.
    key : str or None
        The file with the key of the digest, made where it is missing; None: a new key.
    """

    group: str | None = None
    dates: bool = False
    patient: bool = False
    key: str | None = None


@dataclass(frozen=True)
class Scan:
    """What was found: pairs, and lines about what is in none."""

    pairs: list[Pair] = field(default_factory=list)
    left_out: list[str] = field(default_factory=list)


def scan(
    folders: Sequence[str] = (),
    *,
    reference_from: Sequence[str] = (),
    evaluation_from: Sequence[str] = (),
    pattern: Sequence[str] | None = None,
    naming: Naming | None = None,
) -> Scan:
    """Find doses and pair them.

    By default DICOM RT Doses of the same plan, patient, frame of reference and summation type (and
    beam) are a pair, if one lies in `reference_from` and one in `evaluation_from`. With `pattern`
    files of any format are paired by their names.

    Parameters
    ----------
    folders : sequence of path
        Where to look, for structures and plans as well.
    reference_from, evaluation_from : sequence of path
        What lies in them is a reference or an evaluation.
    pattern : (str, str), optional
        Paths of reference and evaluation relative to the folders, with ``{id}`` and, where wanted,
        ``{group}`` and ``{date}`` in them, and ``*`` for anything within a name.
    naming : Naming, optional
        What the manifest tells beside the files.

    Returns
    -------
    Scan

    Raises
    ------
    CohortError
        When the arguments do not tell which of two doses is the reference.
    ImportError
        When pydicom is missing, unless `pattern` is given.
    OSError
        When a folder cannot be read.
    """
    naming = naming or Naming()
    if pattern is not None:
        if reference_from or evaluation_from:
            raise CohortError("--pattern tells which is the reference; leave --reference-from away")
        return _scan_names(folders or ["."], pattern)
    if not reference_from or not evaluation_from:
        raise CohortError(
            "which of two doses is the reference takes --reference-from and --evaluation-from, "
            "or --pattern"
        )
    found = _Found.of([*folders, *reference_from, *evaluation_from])
    references = _within(found.doses, reference_from)
    evaluations = _within(found.doses, evaluation_from)
    both = {dose.path for dose in references} & {dose.path for dose in evaluations}
    if both:
        raise CohortError(f"{sorted(both)[0]}: is both a reference and an evaluation")
    matches, left_out = paired(references, evaluations)
    left_out += found.complaints
    name = _namer(naming)
    pairs = []
    for reference, evaluation in matches:
        structures = join_structures(reference, found.structures, left_out)
        pairs.append(
            Pair(
                id=name(reference),
                reference=reference.path,
                evaluation=evaluation.path,
                structures=structures,
                group=found.group(evaluation, naming.group),
                date=evaluation.date if naming.dates else "",
            )
        )
    return Scan(_with_single_ids(pairs), left_out)


def _within(doses: Sequence[DoseFile], folders: Sequence[str]) -> list[DoseFile]:
    roots = [Path(folder).resolve() for folder in folders]
    return [d for d in doses if any(Path(d.path).resolve().is_relative_to(root) for root in roots)]


def _namer(naming: Naming) -> Callable[[DoseFile], str]:
    if naming.patient:
        return lambda dose: dose.patient or "unknown"
    key = _key(naming.key)

    def name(dose: DoseFile) -> str:
        text = "\0".join(dose.key)
        return hmac.new(key, text.encode(), hashlib.sha256).hexdigest()[:16]

    return name


def _key(path: str | None) -> bytes:
    if path is None:
        return secrets.token_bytes(32)
    if not os.path.exists(path):
        descriptor = os.open(path, os.O_WRONLY | os.O_CREAT | os.O_EXCL, 0o600)
        with open(descriptor, "w", encoding="ascii") as file:
            file.write(secrets.token_hex(32))
    key = Path(path).read_bytes()
    if len(key) < 16:
        raise CohortError(f"{path}: is too short for a key; 16 bytes or more")
    return key


def _with_single_ids(pairs: Sequence[Pair]) -> list[Pair]:
    """The pairs, with a number behind ids that would be there twice, as those of patients are."""
    count: dict[str, int] = {}
    for pair in pairs:
        count[pair.id] = count.get(pair.id, 0) + 1
    seen: dict[str, int] = {}
    named = []
    for pair in pairs:
        seen[pair.id] = seen.get(pair.id, 0) + 1
        identity = pair.id if count[pair.id] == 1 else f"{pair.id}-{seen[pair.id]}"
        named.append(Pair(**{**pair.__dict__, "id": identity}))
    return named


def files_in(folders: Sequence[str]) -> Iterator[str]:
    """All files in folders, each once, in order of their names."""
    seen = set()
    for folder in folders:
        if not os.path.isdir(folder):
            raise NotADirectoryError(20, "is not a folder", folder)
        for place, inside, names in os.walk(folder):
            inside.sort()
            for name in sorted(names):
                path = os.path.join(place, name)
                real = os.path.realpath(path)
                if real not in seen:
                    seen.add(real)
                    yield path


@dataclass
class _Found:
    """What DICOM files there are."""

    doses: list[DoseFile] = field(default_factory=list)
    structures: list[StructureFile] = field(default_factory=list)
    machines: dict[str, str] = field(default_factory=dict)  # by the plan's UID
    complaints: list[str] = field(default_factory=list)

    @classmethod
    def of(cls, folders: Sequence[str]) -> _Found:
        pydicom = need("pydicom", "pydicom", "finding DICOM files")
        found = cls()
        for path in files_in(folders):
            if not _is_dicom(path):
                continue
            try:
                with warnings.catch_warnings():
                    warnings.simplefilter("ignore")
                    dataset = pydicom.dcmread(path, stop_before_pixels=True, specific_tags=_TAGS)
                    found._take(path, dataset)
            # What is damaged surfaces as one of many kinds of exception.
            except Exception as error:
                reason = " ".join(str(error).split()) or type(error).__name__
                found.complaints.append(f"{path}: is no DICOM file that can be read ({reason})")
        return found

    def _take(self, path: str, dataset: Any) -> None:
        kind = str(dataset.get("SOPClassUID", ""))
        if kind == _DOSE:
            self.doses.append(_dose_file(path, dataset))
        elif kind == _STRUCTURES or (kind == _SEGMENTATION and _is_binary(dataset)):
            patient, frames = str(dataset.get("PatientID", "")), _frames(dataset)
            self.structures.append(StructureFile(path, patient, frames, kind == _SEGMENTATION))
        elif kind in _PLANS:
            self.machines[str(dataset.SOPInstanceUID)] = _machine(dataset)
        elif not kind:
            raise ValueError("it does not tell of what kind it is")

    def group(self, evaluation: DoseFile, by: str | None) -> str:
        """The group of a pair."""
        if by == "machine":
            return self.machines.get(evaluation.plan, "")
        return os.path.basename(os.path.dirname(evaluation.path)) if by == "folder" else ""


def _is_dicom(path: str) -> bool:
    if not os.path.isfile(path):
        return False
    with open(path, "rb") as file:
        return file.read(_PREAMBLE + 4)[_PREAMBLE:] == b"DICM"


def _dose_file(path: str, dataset: Any) -> DoseFile:
    plans = dataset.get("ReferencedRTPlanSequence") or []
    plan = plans[0] if len(plans) == 1 else None
    return DoseFile(
        path=path,
        plan="" if plan is None else str(plan.get("ReferencedSOPInstanceUID", "")),
        patient=str(dataset.get("PatientID", "")),
        frame=str(dataset.get("FrameOfReferenceUID", "")),
        part=_part(dataset, plan),
        date=_date(dataset),
    )


def _part(dataset: Any, plan: Any) -> str:
    """Of what the dose is: the plan, a fraction group, one of its beams."""
    numbers = []
    groups = [] if plan is None else plan.get("ReferencedFractionGroupSequence") or []
    for group in groups:
        numbers.append(str(group.get("ReferencedFractionGroupNumber", "")))
        beams = group.get("ReferencedBeamSequence") or []
        numbers += [str(beam.get("ReferencedBeamNumber", "")) for beam in beams]
    return " ".join([str(dataset.get("DoseSummationType", "")), *numbers])


def _date(dataset: Any) -> str:
    for keyword in _DATES:
        text = str(dataset.get(keyword) or "")
        if re.fullmatch(r"\d{8}", text):
            return f"{text[:4]}-{text[4:6]}-{text[6:]}"
    return ""


def _frames(dataset: Any) -> frozenset[str]:
    frames = [dataset, *(dataset.get("ReferencedFrameOfReferenceSequence") or [])]
    return frozenset(str(frame.get("FrameOfReferenceUID", "")) for frame in frames) - {""}


def _is_binary(dataset: Any) -> bool:
    """Whether it is a segmentation of the type that is read."""
    return str(dataset.get("SegmentationType", "")) == "BINARY"


def _machine(dataset: Any) -> str:
    beams = dataset.get("BeamSequence") or dataset.get("IonBeamSequence") or []
    names = dict.fromkeys(str(beam.get("TreatmentMachineName", "")) for beam in beams)
    return "+".join(name for name in names if name)


_FIELDS = {"id": r"[^/]+?", "group": r"[^/]+?", "date": r"[0-9-]+"}


def _expression(pattern: str) -> re.Pattern[str]:
    """The expression that paths of a pattern match."""
    if "{id}" not in pattern:
        raise CohortError(f'--pattern: "{pattern}" has no {{id}}')
    seen: set[str] = set()
    parts = []
    for part in re.split(r"(\{\w+\}|\*)", pattern):
        name = part[1:-1]
        if part == "*":
            parts.append("[^/]*")
        elif part.startswith("{") and name in _FIELDS:
            parts.append(f"(?P={name})" if name in seen else f"(?P<{name}>{_FIELDS[name]})")
            seen.add(name)
        elif part.startswith("{"):
            raise CohortError(f'--pattern: "{part}" is none of {{id}}, {{group}}, {{date}}')
        else:
            parts.append(re.escape(part))
    return re.compile("".join(parts))


def _scan_names(folders: Sequence[str], pattern: Sequence[str]) -> Scan:
    expressions = [_expression(text) for text in pattern]
    found: list[dict[str, list[tuple[str, dict[str, str]]]]] = [{}, {}]
    for folder in folders:
        for path in files_in([folder]):
            relative = os.path.relpath(path, folder).replace(os.sep, "/")
            matches = [expression.fullmatch(relative) for expression in expressions]
            if all(matches):
                raise CohortError(f"{path}: matches both patterns")
            for match, by_id in zip(matches, found):
                if match:
                    by_id.setdefault(match["id"], []).append((path, match.groupdict()))
    result = Scan()
    for identity in sorted(found[0].keys() | found[1].keys()):
        references, evaluations = (by_id.get(identity, []) for by_id in found)
        paths = [path for path, _ in (*references, *evaluations)]
        if len(references) == len(evaluations) == 1:
            told = references[0][1] | evaluations[0][1]
            result.pairs.append(
                Pair(identity, *paths, group=told.get("group", ""), date=told.get("date", ""))
            )
        elif len(references) > 1 or len(evaluations) > 1:
            result.left_out.append(f"more than one of {identity}: {', '.join(paths)}")
        else:
            result.left_out.append(f"{paths[0]}: has no partner")
    return result
