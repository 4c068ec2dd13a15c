"""Reading and writing of dose grids."""

from ._files import read, write
from ._volume import FormatError

__all__ = ["FormatError", "read", "write"]
