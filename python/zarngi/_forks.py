"""What is to be done where a process is forked."""

from __future__ import annotations

import os
from collections.abc import Callable


def at_forks(**steps: Callable[[], None]) -> None:
    """As `os.register_at_fork`; nothing on systems whose processes are not forked."""
    if hasattr(os, "register_at_fork"):
        os.register_at_fork(**steps)
