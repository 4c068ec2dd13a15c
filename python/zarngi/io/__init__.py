"""Reading and writing of dose grids."""

from ._errors import FormatError, FormatWarning
from ._read import read, read_bytes
from ._write import write

__all__ = ["FormatError", "FormatWarning", "read", "read_bytes", "write"]
