"""What ends the work on a cohort."""

from __future__ import annotations


class CohortError(Exception):
    """Something that a person can put right; the message is one line or a few."""


class ManifestError(CohortError, ValueError):
    """Rows of a manifest that make no sense, each line with the file and the line number."""


class ResultsError(CohortError):
    """A results file that cannot be used, or is in use."""


class ClusterError(CohortError):
    """The scheduler or all workers are gone; what is finished is kept."""


#: What a command says that writes pages, where the package was built without them.
WITHOUT_PAGES = (
    "this installation came without its pages, which npm builds: install npm (apt-get install npm) and "
    "install zarngi again"
)
