"""Exact and fast gamma-index comparison of radiotherapy dose distributions.

>>> import zarngi
>>> reference, evaluation = zarngi.demo_pair()
>>> result = zarngi.gamma_index(reference, evaluation, dd=3, dta=2)
>>> 0 <= result.pass_rate <= 100
True
"""

from . import _library
from ._demo import demo_pair
from ._gamma import NothingTestedError, gamma_index
from ._grid import DoseGrid
from ._result import Criteria, GammaResult
from .io import FormatError, FormatWarning, read, read_bytes, write

__version__ = _library.version()

__all__ = [
    "Criteria",
    "DoseGrid",
    "FormatError",
    "FormatWarning",
    "GammaResult",
    "NothingTestedError",
    "demo_pair",
    "gamma_index",
    "read",
    "read_bytes",
    "write",
]
