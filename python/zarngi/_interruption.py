"""Long work that tells how far it is, and that an exception in the caller's thread ends.

Python runs the handlers of signals, such as that of Ctrl-C, in the main thread alone, and between its
own instructions. A thread that waits inside the library does not get there, so it waits here instead,
while another one works.
"""

from __future__ import annotations

import threading
from collections.abc import Callable
from queue import SimpleQueue
from typing import TypeVar

Result = TypeVar("Result")

#: Is told the part of the work that is done, 0 to 1; what it raises ends the work.
Progress = Callable[[float], object]


class Reins:
    """What the caller holds of the work."""

    def __init__(self) -> None:
        self._told: SimpleQueue[float | None] = SimpleQueue()
        self._ended = threading.Event()

    def tell(self, done: float) -> None:
        """Tell the caller the part that is done."""
        self._told.put(done)

    @property
    def ended(self) -> bool:
        """Whether the work is to end."""
        return self._ended.is_set()

    def end(self) -> None:
        """Have the work end soon."""
        self._ended.set()

    def finish(self) -> None:
        """Tell the caller that there is nothing more to wait for."""
        self._told.put(None)

    def follow(self, progress: Progress | None) -> None:
        """Wait for the end of the work, and hand on what is told."""
        for done in iter(self._told.get, None):
            if progress is not None:
                progress(done)


def interruptible(work: Callable[[Reins], Result], progress: Progress | None = None) -> Result:
    """What `work` returns, which runs on a thread of its own.

    Raises
    ------
    BaseException
        What `work` raises; what `progress` or the handler of a signal raises in this thread, which
        waits until the work has ended.
    """
    reins = Reins()
    returned: list[Result] = []
    raised: list[BaseException] = []

    def run() -> None:
        try:
            returned.append(work(reins))
        except BaseException as error:  # noqa: BLE001 - it is raised where somebody waits
            raised.append(error)
        finally:
            reins.finish()

    thread = threading.Thread(target=run, name="zarngi")
    try:
        thread.start()
    except RuntimeError:  # there can be no more threads
        return work(reins)
    try:
        reins.follow(progress)
    except BaseException:
        reins.end()
        raise
    finally:
        _wait_for(thread)
    if raised:
        raise raised[0]
    return returned[0]


def _wait_for(thread: threading.Thread) -> None:
    """Impatience does not help: what the thread uses cannot be used before."""
    while thread.is_alive():
        try:
            thread.join()
        except KeyboardInterrupt:
            continue
