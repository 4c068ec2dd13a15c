"""Whether files are the same as they were."""

from __future__ import annotations

import functools
import hashlib
import os
import stat
from dataclasses import replace

from .manifest import Pair
from .record import FileState

#: Bytes of a file that are in memory at a time.
_PART = 1 << 20

ROLES = ("reference", "evaluation", "structures")


def _name_digest(name: str) -> str:
    """Names of files often hold those of patients."""
    return hashlib.sha256(os.fsencode(name)).hexdigest()[:16]


def state_of(role: str, path: str, data_of: str | None = None) -> FileState:
    """Size and time of a file; of none of both where it is a pipe or a device.

    Parameters
    ----------
    role : str
        As of `FileState`.
    path : str
        The file.
    data_of : str, optional
        The header that names this file.

    Raises
    ------
    OSError
        When there is no such file.
    """
    facts = os.stat(path)
    name = "" if data_of is None else _name_digest(_relative(path, os.path.dirname(data_of)))
    if not stat.S_ISREG(facts.st_mode):
        return FileState(role, name, None, None)
    return FileState(role, name, facts.st_size, facts.st_mtime_ns)


def _relative(path: str, folder: str) -> str:
    try:
        return os.path.relpath(path, folder)
    except ValueError:  # on another drive
        return path


def with_digest(state: FileState, path: str) -> FileState:
    """The state with the SHA-256 of the contents."""
    if state.size is None:
        return state
    with open(path, "rb") as file:
        digest = hashlib.sha256()
        while part := file.read(_PART):
            digest.update(part)
    return replace(state, sha256=digest.hexdigest())


@functools.lru_cache(maxsize=64)
def _names_by_digest(folder: str, _changed: int) -> dict[str, str]:
    return {_name_digest(name): name for name in os.listdir(folder)}


def path_of(pair: Pair, state: FileState) -> str | None:
    """The path of a file that belongs to a pair; None when it cannot be told."""
    role, _, is_data = state.role.partition(" ")
    path: str = getattr(pair, role)
    if not is_data or not path:
        return path or None
    folder = os.path.dirname(path) or "."
    try:
        name = _names_by_digest(folder, os.stat(folder).st_mtime_ns).get(state.name)
    except OSError:
        return None
    return None if name is None else os.path.join(folder, name)


def are_same(
    pair: Pair, states: tuple[FileState, ...], *, has_structures: bool, is_failure: bool
) -> bool:
    """Whether sizes and times of the pair's files are those of `states`.

    Of a failure the files up to the one that is to blame; without structures whatever is known of
    them.
    """
    wanted = [role for role in ROLES if getattr(pair, role)]
    if not has_structures:
        wanted = [role for role in wanted if role != "structures"]
        states = tuple(state for state in states if not state.role.startswith("structures"))
    read = [state.role for state in states if " " not in state.role]
    if not read or read != (wanted[: len(read)] if is_failure else wanted):
        return False
    for known in states:
        path = path_of(pair, known)
        try:
            now = None if path is None else state_of(known.role, path)
        except OSError:
            now = None
        if now is None or (now.size, now.mtime) != (known.size, known.mtime):
            return False
    return True


def have_digests(pair: Pair, states: tuple[FileState, ...]) -> bool:
    """Whether the contents of the pair's files are those of `states`."""
    for known in states:
        path = path_of(pair, known)
        if path is None or known.sha256 is None:
            return False
        try:
            now = with_digest(state_of(known.role, path), path)
        except OSError:
            return False
        if now.sha256 != known.sha256:
            return False
    return True
