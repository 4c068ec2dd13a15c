"""The bindings to libZarnGIHost: plain values, arrays and handles, above which the public types stand."""

import sys

from ._errors import FormatError, FormatWarning, RequestError

__all__ = ["FormatError", "FormatWarning", "RequestError", "read", "read_bytes", "write"]


def __getattr__(name: str) -> object:
    """The functions that read and write, by the names that they had here before."""
    if name in ("read", "read_bytes", "write"):
        return getattr(sys.modules[__name__.partition(".")[0]], name)
    raise AttributeError(f"module {__name__!r} has no attribute {name!r}")
