"""The acceptance test of this installation."""

from __future__ import annotations

import os
from typing import Any

from ._interruption import Progress, Reins
from ._library import interruptibly
from ._wholefile import write_whole
from .io import _selftest


class SelfTest:
    """What an acceptance test found.

    Attributes
    ----------
    passed : bool
        Whether every case passed; else this installation must not be used.
    record : dict
        What `zarngi selftest --json` writes: versions, machine, digests of the libraries, and what was
        wanted and found of every case.
    """

    def __init__(self, passed: bool, record: dict[str, Any], page: bytes) -> None:
        self.passed = passed
        self.record = record
        self._page = page

    def page(self, path: str | os.PathLike[str]) -> None:
        """Write the record as a page with a line for name, date and signature.

        Parameters
        ----------
        path : str or os.PathLike
            The page; it appears when it is complete.
        """
        write_whole(path, self._page)

    def __repr__(self) -> str:
        cases = self.record["cases"]
        count = sum(case["passed"] for case in cases)
        return f"SelfTest({count} of {len(cases)} cases passed)"


def selftest(progress: Progress | None = None) -> SelfTest:
    """Test whether this installation computes what it should, in ten seconds or so.

    Random problems on every set of instructions that the processor runs are held bit by bit to the
    plain definition of the search; gamma, files and structures to results that are known.

    Parameters
    ----------
    progress : callable, optional
        Is told the part that is done, 0 to 1; what it raises ends the test.

    Returns
    -------
    SelfTest

    Examples
    --------
    >>> import zarngi
    >>> zarngi.selftest().passed
    True
    """

    def run(reins: Reins) -> tuple[bool, dict[str, Any], bytes]:
        def goes_on(done: float) -> bool:
            reins.tell(done)
            return not reins.ended

        return _selftest.run(goes_on)

    return SelfTest(*interruptibly(run, progress))
