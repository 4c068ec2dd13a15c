"""Cohorts: many pairs of dose files, compared on every core there is.

The program `zarngi-cohort` is made of this package; `run` and `load` are its way from Python.
"""

from .errors import ClusterError, CohortError, ManifestError, ResultsError
from .limits import Limits, limits_of
from .manifest import Manifest, Pair
from .merge import merge
from .run import run
from .scan import Naming, Scan, scan
from .table import load

__all__ = [
    "ClusterError",
    "CohortError",
    "Limits",
    "Manifest",
    "ManifestError",
    "Naming",
    "Pair",
    "ResultsError",
    "Scan",
    "limits_of",
    "load",
    "merge",
    "run",
    "scan",
]
