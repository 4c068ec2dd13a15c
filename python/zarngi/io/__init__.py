"""Reading and writing of dose grids, and the binding to comparisons."""

from ._comparison import RequestError
from ._errors import FormatError, FormatWarning
from ._read import read, read_bytes
from ._write import write

__all__ = ["FormatError", "FormatWarning", "RequestError", "read", "read_bytes", "write"]
