"""What the tests of the Python package share."""

import os
from pathlib import Path

import numpy as np
import pytest
import zarngi

PROJECT = Path(__file__).resolve().parents[2]
DATA = PROJECT.parent / "shared" / "data"


def small_grid(shape=(9, 11, 13), spacing=(2.0, 2.5, 3.0), origin=(-12.0, -12.5, -12.0), shift=0.0):
    """A smooth dose with different gradients along all axes."""
    z, y, x = np.meshgrid(
        *(o + h * np.arange(n) for n, h, o in zip(shape, spacing[::-1], origin[::-1])),
        indexing="ij",
    )
    dose = 50 * np.exp(-(((x - shift) / 9) ** 2) - (y / 13) ** 2 - ((z - 2) / 11) ** 2) + 0.02 * x
    return zarngi.DoseGrid(dose.astype(np.float32) + 1, spacing, origin)


@pytest.fixture
def pair():
    """Two small grids of different geometry, some voxels of which fail at 2 %, 2 mm."""
    return small_grid(), small_grid((10, 12, 12), (2.2, 2.4, 2.6), (-12.4, -13.0, -11.0), shift=2.2)


@pytest.fixture
def head_neck():
    """The two days of the head-and-neck plan."""
    paths = [DATA / f"head_neck_day{day}.nrrd" for day in (1, 2)]
    for path in paths:
        if not path.exists():
            pytest.skip(f"{path} is absent")
    return paths


@pytest.fixture
def program():
    """The command-line program of the same build."""
    build = Path(os.environ.get("ZARNGI_BUILD_DIR", PROJECT / "build" / "release"))
    path = build / "cli" / "zarngi"
    if not path.exists():
        pytest.skip(f"{path} is not built")
    return path
