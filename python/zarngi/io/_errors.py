"""What reading raises and warns of."""


class FormatError(ValueError):
    """A file is damaged, or holds something else than a dose grid this package can use."""


class FormatWarning(UserWarning):
    """A file leaves something open, which was taken for granted."""
