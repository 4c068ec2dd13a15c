"""What reading and comparing raise and warn of."""

from __future__ import annotations


class FormatError(ValueError):
    """A file is damaged, or holds something else than a dose grid this package can use."""


class FormatWarning(UserWarning):
    """A file leaves something open, which was taken for granted."""


class RequestError(ValueError):
    """A comparison that cannot be made as it is asked for.

    Attributes
    ----------
    member : str or None
        What is to be mended, as it stands in the request: "criteria[1]", "structures.within".
    kind : str
        "request", or "pair" where the doses, or what belongs to them, cannot be compared so.
    """

    def __init__(self, sentence: str, member: str | None, kind: str) -> None:
        super().__init__(sentence)
        self.member = member
        self.kind = kind
