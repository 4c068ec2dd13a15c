"""Packages that only some functions need."""

from __future__ import annotations

import importlib
from types import ModuleType


def need(module: str, package: str, what: str) -> ModuleType:
    """Import an optional module.

    Raises
    ------
    ImportError
        That names the package to install and what for.
    """
    try:
        return importlib.import_module(module)
    except ImportError as error:
        raise ImportError(
            f"{what} needs the package {package}, which is not installed "
            f"(pip install {package}, or apt-get install python3-{package})"
        ) from error
