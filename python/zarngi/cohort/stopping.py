"""Being told to stop, by Ctrl-C or by a batch system.

An exception of a signal's handler is lost where it meets a finaliser of somebody else's code, so that it is
kept as well, and raised again where the work goes on.
"""

from __future__ import annotations

import signal
from typing import NoReturn

_told = False


def _stop(*_: object) -> NoReturn:
    global _told
    _told = True
    raise KeyboardInterrupt


def listen() -> None:
    """Hear both signals; a program does, a library leaves that to its host."""
    for number in (signal.SIGINT, signal.SIGTERM):
        if signal.getsignal(number) is not signal.SIG_IGN:
            signal.signal(number, _stop)


def go_on() -> None:
    """Raise `KeyboardInterrupt` once the program has been told to stop."""
    if _told:
        raise KeyboardInterrupt
