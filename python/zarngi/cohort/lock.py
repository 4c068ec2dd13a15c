"""One writer of a results file."""

from __future__ import annotations

import fcntl
import os
import socket
from collections.abc import Iterator
from contextlib import contextmanager

from .errors import ResultsError


def _opened(path: str) -> int:
    """A descriptor of the locked file `path`, which is still the one of that name."""
    while True:
        descriptor = os.open(path, os.O_RDWR | os.O_CREAT | os.O_CLOEXEC, 0o666)
        try:
            fcntl.lockf(descriptor, fcntl.LOCK_EX | fcntl.LOCK_NB)
            # Whoever held it may have removed it meanwhile.
            if os.path.exists(path) and os.path.samestat(os.fstat(descriptor), os.stat(path)):
                return descriptor
        except BaseException:
            os.close(descriptor)
            raise
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
        os.unlink(path)
        os.close(descriptor)
