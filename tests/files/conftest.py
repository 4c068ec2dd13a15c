"""What the tests of files share."""

import tempfile
from pathlib import Path

import pytest


@pytest.fixture
def tmp_path(tmp_path_factory):
    """A folder of the test. pytest itself looks through those of all earlier tests for the next number."""
    return Path(tempfile.mkdtemp(dir=tmp_path_factory.getbasetemp()))
