"""Which doses are a pair."""

from __future__ import annotations

from collections.abc import Iterable, Sequence
from dataclasses import dataclass


@dataclass(frozen=True)
class DoseFile:
    """What pairs an RT Dose; empty texts for what it does not tell.

    Attributes
    ----------
    path : str
        The file.
    plan : str
        UID of the one plan that it refers to.
    patient : str
        Patient ID.
    frame : str
        UID of the frame of reference.
    part : str
        Summation type, fraction group and beams.
    date : str
        ISO 8601.
    """

    path: str
    plan: str
    patient: str
    frame: str
    part: str
    date: str = ""

    @property
    def key(self) -> tuple[str, str, str, str]:
        """Equal for doses that belong together."""
        return self.plan, self.patient, self.frame, self.part

    @property
    def can_be_paired(self) -> bool:
        """Whether it tells enough: files that tell nothing are not the same for that."""
        return bool(self.plan or (self.patient and self.frame))


@dataclass(frozen=True)
class StructureFile:
    """What joins an RT Structure Set, or a segmentation, to a pair."""

    path: str
    patient: str
    frames: frozenset[str]
    is_segmentation: bool = False


def _by_key(doses: Iterable[DoseFile]) -> dict[tuple[str, ...], list[DoseFile]]:
    groups: dict[tuple[str, ...], list[DoseFile]] = {}
    for dose in doses:
        groups.setdefault(dose.key, []).append(dose)
    return groups


def paired(
    references: Sequence[DoseFile], evaluations: Sequence[DoseFile]
) -> tuple[list[tuple[DoseFile, DoseFile]], list[str]]:
    """Pairs of which each dose has exactly one partner, and a line for each other dose.

    Parameters
    ----------
    references, evaluations : sequence of DoseFile
        No file is in both.

    Returns
    -------
    pairs : list of (reference, evaluation)
        In the order of the references.
    left_out : list of str
        What has no partner, or more than one.
    """
    told = [dose for dose in (*references, *evaluations) if dose.can_be_paired]
    left_out = [
        f"{dose.path}: tells neither a plan nor patient and frame of reference"
        for dose in (*references, *evaluations)
        if not dose.can_be_paired
    ]
    are_references = {dose.path for dose in references}
    pairs = []
    for doses in _by_key(told).values():
        ours = [dose for dose in doses if dose.path in are_references]
        theirs = [dose for dose in doses if dose.path not in are_references]
        if len(ours) == len(theirs) == 1:
            pairs.append((ours[0], theirs[0]))
        elif ours and theirs:
            paths = ", ".join(dose.path for dose in doses)
            left_out.append(f"more than one of a plan, patient, frame and beam: {paths}")
        else:
            left_out += [f"{dose.path}: has no partner" for dose in doses]
    return pairs, left_out


def join_structures(
    dose: DoseFile, files: Iterable[StructureFile], left_out: list[str]
) -> str:
    """The one structure set of a dose's patient and frame of reference; none if there are several.

    Several are told in `left_out`, once. Segmentations count where there is no structure set.
    """
    told = [
        file
        for file in files
        if dose.frame and dose.frame in file.frames and file.patient == dose.patient
    ]
    sets = [file for file in told if not file.is_segmentation]
    found = [file.path for file in sets or told]
    if len(found) > 1:
        line = f"more than one structure set of a frame of reference: {', '.join(found)}"
        if line not in left_out:
            left_out.append(line)
        return ""
    return found[0] if found else ""
