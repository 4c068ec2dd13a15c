"""Exact and fast gamma-index comparison of radiotherapy dose distributions.

>>> import zarngi
>>> reference, evaluation = zarngi.demo_pair()
>>> result = zarngi.gamma_index(reference, evaluation, dd=3, dta=2)
>>> 0 <= result.pass_rate <= 100
True
"""

from ._asked import NothingTestedError
from ._compare import Comparison, compare, default_request, protocol, protocols
from ._convert import convert
from ._criteria import Criteria
from ._demo import demo_pair
from ._dose_volume import DoseVolume
from ._explanation import Change, Explanation
from ._gamma import gamma_index
from ._grid import DoseGrid
from ._points import DosePoints
from ._read import read, read_bytes
from ._result import GammaResult
from ._selftest import SelfTest, selftest
from ._structure_result import StructureResult, StructureResults
from ._structures import Structure, StructureSet, dvh, read_structures
from ._sweep import Sweep, sweep
from ._write import write
from .io import FormatError, FormatWarning, RequestError

#: Of the project; that of the interface of libZarnGI is apart.
__version__ = "4.10.0"

__all__ = [
    "Change",
    "Comparison",
    "Criteria",
    "DoseGrid",
    "DosePoints",
    "DoseVolume",
    "Explanation",
    "FormatError",
    "FormatWarning",
    "GammaResult",
    "NothingTestedError",
    "RequestError",
    "SelfTest",
    "Structure",
    "StructureResult",
    "StructureResults",
    "StructureSet",
    "Sweep",
    "compare",
    "convert",
    "default_request",
    "demo_pair",
    "dvh",
    "gamma_index",
    "protocol",
    "protocols",
    "read",
    "read_bytes",
    "read_structures",
    "selftest",
    "sweep",
    "write",
]
