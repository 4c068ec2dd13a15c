"""DoseGrid: what it takes and what it refuses."""

import pickle

import numpy as np
import pytest
import zarngi

CUBE = np.arange(24.0).reshape(2, 3, 4)


def test_dose_is_not_copied():
    grid = zarngi.DoseGrid(CUBE[:, ::2], (1, 2, 3), (4, 5, 6))
    assert np.shares_memory(grid.dose, CUBE)


def test_axes_are_those_of_the_array():
    grid = zarngi.DoseGrid(CUBE, (1, 2, 3), (4, 5, 6))
    for axis, expected in zip(grid.axes, ([6, 9], [5, 7, 9], [4, 5, 6, 7])):
        np.testing.assert_array_equal(axis, expected)
    back = zarngi.DoseGrid.from_axes(grid.axes, CUBE)
    assert (back.spacing, back.origin) == (grid.spacing, grid.origin)


def test_falling_axes_turn_the_array_round():
    axes = ([9, 6], [5, 7, 9], [7, 6, 5, 4])
    grid = zarngi.DoseGrid.from_axes(axes, CUBE, frame_of_reference="1.2.3")
    assert (grid.spacing, grid.origin) == ((1, 2, 3), (4, 5, 6))
    assert grid.frame_of_reference == "1.2.3"
    np.testing.assert_array_equal(grid.dose, CUBE[::-1, :, ::-1])
    assert np.shares_memory(grid.dose, CUBE)


@pytest.mark.parametrize(
    ("spacing", "origin", "shape", "count"),
    [
        ((2, 3), (0, 0), (3, 4), 2),
        (2, (0, 0), (3, 4), 2),
        ((2, 3, 4), (0, 0, 9), (1, 3, 4), 3),
        (np.float32(2.5), np.zeros(3), (1, 3, 4), 3),
    ],
)
def test_slices_have_two_values_or_a_place_in_space(spacing, origin, shape, count):
    grid = zarngi.DoseGrid(CUBE[0], spacing, origin)
    assert grid.shape == shape and len(grid.spacing) == len(grid.origin) == count
    assert np.shares_memory(grid.dose, CUBE)


def test_grids_travel_between_processes():
    grid = zarngi.DoseGrid(CUBE, (1, 2, 3), (4, 5, 6), "1.2.3")
    copy = pickle.loads(pickle.dumps(grid))
    np.testing.assert_array_equal(copy.dose, grid.dose)
    assert (copy.spacing, copy.origin, copy.frame_of_reference) == ((1, 2, 3), (4, 5, 6), "1.2.3")


@pytest.mark.parametrize(
    ("arguments", "error", "message"),
    [
        ((np.zeros((0, 2, 2)), 1, (0, 0, 0)), ValueError, "dose has 0 voxels; accepted: 1 to"),
        ((np.zeros((1, 1, 1, 1)), 1, (0, 0, 0)), ValueError, "dose has 4 dimensions; accepted"),
        ((np.broadcast_to(1.0, (2**11,) * 3), 1, (0, 0, 0)), ValueError, "8589934592 voxels"),
        ((CUBE + 1j, 1, (0, 0, 0)), TypeError, "data type complex128; accepted: real numbers"),
        ((CUBE > 1, 1, (0, 0, 0)), TypeError, "data type bool"),
        ((np.ma.masked_greater(CUBE, 3), 1, (0, 0, 0)), ValueError, "masked voxels"),
        ((CUBE, (1, 2), (0, 0, 0)), ValueError, r"spacing=\(1, 2\) has 2 values; accepted: 3"),
        ((CUBE, (1, 2, 0), (0, 0, 0)), ValueError, r"spacing\[2\]=0.0 .* greater than 0 mm"),
        ((CUBE, (1, np.nan, 1), (0, 0, 0)), ValueError, r"spacing\[1\]=nan .*finite"),
        ((CUBE, ("1", 1, 1), (0, 0, 0)), TypeError, r"spacing\[0\]='1' is not a real number"),
        ((CUBE, 1, (0, 0)), ValueError, r"origin=\(0, 0\) has 2 values; accepted: 3"),
        ((CUBE[0], 1, 0), ValueError, "origin=0 has 1 values; accepted: 2 or 3"),
        ((CUBE, 1, (0, np.inf, 0)), ValueError, r"origin\[1\]=inf .*finite"),
    ],
)
def test_bad_grids_are_refused(arguments, error, message):
    with pytest.raises(error, match=message):
        zarngi.DoseGrid(*arguments)


@pytest.mark.parametrize(
    ("axes", "message"),
    [
        (([0, 1], [0, 1, 2]), "axes holds 2 arrays; accepted: 3"),
        (([0, 1, 2, 3], [0, 1, 2], [0, 1]), r"axes\[0\] has shape \(4,\); accepted: \(2,\)"),
        (([0, 1], [0, 1, 3], [0, 1, 2, 3]), r"axes\[1\] is not evenly spaced: value 1 is 1"),
        (([0, 1], [0, 1, 0], [0, 1, 2, 3]), r"axes\[1\] is not evenly spaced"),
        (([0, 1], [0, np.nan, 2], [0, 1, 2, 3]), r"axes\[1\] holds a value that is not finite"),
        (([5, 5], [0, 1, 2], [0, 1, 2, 3]), r"axes\[0\] is not evenly spaced"),
    ],
)
def test_bad_axes_are_refused(axes, message):
    with pytest.raises(ValueError, match=message):
        zarngi.DoseGrid.from_axes(axes, CUBE)


def test_a_single_coordinate_tells_no_spacing():
    with pytest.raises(ValueError, match=r"axes\[0\] has shape \(1,\)"):
        zarngi.DoseGrid.from_axes(([0], [0, 1, 2], [0, 1, 2, 3]), CUBE[:1])
