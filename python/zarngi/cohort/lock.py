"""One writer of a results file."""

from __future__ import annotations

import os
import socket
from collections.abc import Iterator
from contextlib import contextmanager, suppress

from .errors import ResultsError

#: A place behind all that is written into the file, so that others can read who holds the lock.
_BEYOND = 1 << 30

try:
    from fcntl import LOCK_EX, LOCK_NB, lockf

    def _lock(descriptor: int) -> None:
        lockf(descriptor, LOCK_EX | LOCK_NB)

except ImportError:
    import msvcrt

    def _lock(descriptor: int) -> None:
        os.lseek(descriptor, _BEYOND, os.SEEK_SET)
        msvcrt.locking(descriptor, msvcrt.LK_NBLCK, 1)  # type: ignore[attr-defined]
        os.lseek(descriptor, 0, os.SEEK_SET)


def _opened(path: str) -> int:
    """A descriptor of the locked file `path`, which is still the one of that name."""
    while True:
        flags = os.O_RDWR | os.O_CREAT | getattr(os, "O_CLOEXEC", 0)
        descriptor = os.open(path, flags, 0o666)
        try:
            _lock(descriptor)
            # Whoever held it may have removed it meanwhile.
            if os.path.exists(path) and os.path.samestat(os.fstat(descriptor), os.stat(path)):
                return descriptor
        except BaseException:
            os.close(descriptor)
            raise
        os.close(descriptor)


def _remove(path: str, descriptor: int) -> None:
    """Remove the file and close it, in the order that the system allows.

    Removed first where that can be: whoever opens it in between would hold a lock that the next one
    does not see. Systems that remove no open file keep it for whoever has it open.
    """
    try:
        os.unlink(path)
    except PermissionError:
        os.close(descriptor)
        with suppress(PermissionError, FileNotFoundError):
            os.unlink(path)
    else:
        os.close(descriptor)


@contextmanager
def only_writer(results: str) -> Iterator[None]:
    """Be the only one who writes a results file; a lock beside it, gone with the process.

    It is no lock on the file itself: closing any descriptor of that would drop SQLite's own.

    Raises
    ------
    ResultsError
        When somebody else is, with the process and the host.
    OSError
        When the lock cannot be had.
    """
    path = f"{results}-lock"
    try:
        descriptor = _opened(path)
    except (BlockingIOError, PermissionError) as error:
        if isinstance(error, PermissionError) and not os.access(path, os.W_OK):
            raise
        with open(path, encoding="utf-8", errors="replace") as file:
            holder = file.read(200).strip() or "another process"
        raise ResultsError(f"{results}: is being written by {holder}") from error
    try:
        os.ftruncate(descriptor, 0)
        os.write(descriptor, f"process {os.getpid()} on {socket.gethostname()}".encode())
        yield
    finally:
        _remove(path, descriptor)
