"""gamma_index: what reaches the library, what comes back, what is refused."""

import math

import numpy as np
import pytest
import zarngi
from conftest import small_grid
from environment import environment
from zarngi import _cpus, _given, _library
from zarngi.io import _comparison

FINAL = {"dd": 2, "dta": 2, "dose_cutoff": 5}


def bits(result):
    return result.gamma.view(np.uint32)


def environment_during(monkeypatch, pair, **options):
    """The fields of the library's environment while it computes."""
    seen = {}

    def told(_done):
        now = environment()
        for field, _ in now._fields_:
            value = getattr(now, field)
            seen[field] = list(value) if hasattr(value, "_length_") else value
        return True

    monkeypatch.setattr(_given, "_FEW_VOXELS", 0)
    monkeypatch.setattr(_given, "_follow", lambda _reins: told)
    zarngi.gamma_index(*pair, **options)
    return seen


@pytest.mark.parametrize(
    ("options", "fields"),
    [
        (
            {},
            {
                "DD": 3,
                "DTA": 2,
                "DCO": 10,
                "globalDD": True,
                "global_normalisation": -1,
                "gammaSearchMax": 3,
                "stepSize": float(np.float32(0.2)),
                "lNoInterpolation": False,
                "passRateMode": False,
                "gammaindex2D": False,
                "gammaindex2D_z": False,
                "gammaindex2D_y": False,
                "gammaindex2D_x": False,
                "randomRotation": False,
                "num_threads": _cpus.available_cpus(),
                "verbose": 0,
                "numSamplesEval": 1000,
            },
        ),
        ({"dd": 1.5}, {"DD": 1.5}),
        ({"dta": 2.5}, {"DTA": 2.5, "stepSize": 0.25}),
        ({"dose_cutoff": 12.5}, {"DCO": 12.5}),
        ({"local": True}, {"globalDD": False}),
        ({"normalisation": 40}, {"global_normalisation": 40}),
        ({"max_gamma": 1.5}, {"gammaSearchMax": 1.5}),
        ({"max_gamma": None}, {"gammaSearchMax": -1}),
        ({"step": 0.5}, {"stepSize": 0.5}),
        ({"interpolate": False}, {"lNoInterpolation": True}),
        ({"mode": "pass_rate"}, {"passRateMode": True}),
        ({"slices": True}, {"gammaindex2D": True, "gammaindex2D_z": False}),
        ({"slices": True, "verbose": 2}, {"gammaindex2D_z": True, "verbose": 2}),
        ({"random_rotation": True}, {"randomRotation": True}),
        ({"threads": 3}, {"num_threads": 3}),
        ({"verbose": 4}, {"verbose": 4}),
    ],
)
def test_options_reach_the_library(monkeypatch, pair, options, fields):
    seen = environment_during(monkeypatch, pair, **options)
    assert {name: seen[name] for name in fields} == fields


def test_grids_reach_the_library(monkeypatch, pair):
    seen = environment_during(monkeypatch, pair)
    for suffix, grid in zip(("ref", "eval"), pair):
        spacing, origin = np.array(grid.spacing), np.array(grid.origin)
        assert seen[f"nn_{suffix}"] == list(grid.shape[::-1])
        assert seen[f"N_{suffix}"] == grid.dose.size
        assert seen[f"hs_{suffix}"] == list(np.float32(spacing))
        assert seen[f"xmin_{suffix}"] == list(np.float32(origin - spacing / 2))


@pytest.mark.parametrize("axis", [0, 1, 2])
@pytest.mark.parametrize("shifted", [0, 1, 2])
def test_axes_and_centres_are_what_they_seem(axis, shifted):
    """A ramp along one axis, moved along one: gamma is the shift, or nothing."""
    spacing, origin = (2.0, 3.0, 4.0), [10.0, -20.0, 5.0]
    ramp = np.zeros((12, 11, 10)) + np.expand_dims(
        spacing[axis] * np.arange((10, 11, 12)[axis]), tuple({0, 1, 2} - {2 - axis})
    )
    reference = zarngi.DoseGrid(ramp + 1, spacing, origin)
    origin[shifted] += 1
    evaluation = zarngi.DoseGrid(ramp + 1, spacing, origin)
    result = zarngi.gamma_index(reference, evaluation, dd=0.02, dta=2, dose_cutoff=1)
    inner = result.gamma[2:-2, 2:-2, 2:-2]
    expected = 0.5 if axis == shifted else 0
    np.testing.assert_allclose(inner, expected, atol=2e-3)


def test_same_field_on_other_voxels_agrees():
    """A linear field is the same on every grid, if the voxel centres are where they should be."""

    def sampled(shape, spacing, origin):
        empty = zarngi.DoseGrid(np.zeros(shape), spacing, origin)
        z, y, x = np.meshgrid(*empty.axes, indexing="ij")
        return zarngi.DoseGrid(100 + x + 2 * y + 3 * z, spacing, origin)

    fine = sampled((20, 20, 20), (1.0, 1.5, 2.0), (0, 1, 2))
    coarse = sampled((9, 8, 7), (3.0, 4.0, 5.0), (-1, 0, 1))
    result = zarngi.gamma_index(fine, coarse, dd=0.1, dta=1)
    assert np.nanmax(result.gamma[2:18, 2:16, 3:15]) < 1e-3


SAME_DOSE = {
    "float64": lambda d: d.astype(np.float64),
    "longdouble": lambda d: d.astype(np.longdouble),
    "big endian": lambda d: d.astype(">f4"),
    "Fortran order": np.asfortranarray,
    "strided view": lambda d: np.repeat(np.repeat(d, 2, 0), 3, 2)[::2, :, ::3],
    "negative strides": lambda d: d[::-1, ::-1, ::-1].copy()[::-1, ::-1, ::-1],
    "transposed": lambda d: d.transpose(2, 1, 0).copy().transpose(2, 1, 0),
    "unaligned": lambda d: np.ndarray(d.shape, "f4", b"\0" + d.tobytes(), offset=1),
    "read-only": lambda d: np.frombuffer(d.tobytes(), "f4").reshape(d.shape),
    "list": lambda d: d.tolist(),
    "unmasked array": lambda d: np.ma.masked_array(d, mask=False),
}


@pytest.mark.parametrize("kind", SAME_DOSE)
def test_memory_layout_and_type_do_not_matter(pair, kind):
    expected = zarngi.gamma_index(*pair, **FINAL)
    others = [zarngi.DoseGrid(SAME_DOSE[kind](g.dose), g.spacing, g.origin) for g in pair]
    before = [np.array(g.dose) for g in others]
    result = zarngi.gamma_index(*others, **FINAL)
    np.testing.assert_array_equal(bits(result), bits(expected))
    assert result.gamma.flags.c_contiguous
    for grid, copy in zip(others, before):
        np.testing.assert_array_equal(grid.dose, copy)


@pytest.mark.parametrize("dtype", ["u1", "i2", "u4", "i8", "f2"])
def test_whole_numbers_are_doses_too(pair, dtype):
    rounded = [zarngi.DoseGrid(np.rint(g.dose), g.spacing, g.origin) for g in pair]
    typed = [zarngi.DoseGrid(g.dose.astype(dtype), g.spacing, g.origin) for g in rounded]
    np.testing.assert_array_equal(
        bits(zarngi.gamma_index(*typed, **FINAL)), bits(zarngi.gamma_index(*rounded, **FINAL))
    )


def test_no_copy_of_a_dose_that_is_ready(monkeypatch, pair):
    lent = []
    compare = _comparison.compare

    def spy(text, doses, sets, threads, follow, options):
        lent.extend(dose.grid[0].ctypes.data for dose in doses if options.are_lent)
        return compare(text, doses, sets, threads, follow, options)

    monkeypatch.setattr(_comparison, "compare", spy)
    zarngi.gamma_index(*pair)
    assert lent == [g.dose.ctypes.data for g in pair]


def test_untested_voxels_are_nan_and_the_others_counted(pair):
    result = zarngi.gamma_index(*pair, **FINAL)
    dose = result.reference.dose
    tested = dose > np.float32(0.05) * dose.max()
    np.testing.assert_array_equal(np.isnan(result.gamma), ~tested)
    assert result.gamma.dtype == np.float32 and result.gamma.shape == dose.shape
    assert 0 < result.failed < result.tested == np.count_nonzero(tested)
    assert result.passed == np.count_nonzero(result.gamma <= 1)
    assert result.pass_rate == 100 * result.passed / result.tested


def test_pass_rate_mode_flags_the_voxels_that_pass(pair):
    everything = zarngi.gamma_index(*pair, **FINAL)
    quick = zarngi.gamma_index(*pair, **FINAL, mode="pass_rate")
    np.testing.assert_array_equal(quick.gamma == 1, everything.gamma <= 1)
    np.testing.assert_array_equal(quick.gamma == 0, everything.gamma > 1)
    assert (quick.tested, quick.passed) == (everything.tested, everything.passed)


def test_gamma_of_one_is_counted_as_the_library_did():
    """Doses far above the voxel's, by steps of the last bit: some gammas of 1 have failed."""
    reference = zarngi.DoseGrid(np.ones((1, 1, 1), np.float32), (1, 1, 1), (0, 0, 0))
    seen = set()
    for norm in range(90, 110):
        dose = np.float32(norm + 1)
        for _ in range(4):
            evaluation = zarngi.DoseGrid(np.full((1, 1, 1), dose), (1, 1, 1), (0, 0, 0))
            result = zarngi.gamma_index(reference, evaluation, dd=100, dta=1, dose_cutoff=0.1,
                                        normalisation=norm, max_gamma=1, step=1)
            squared = (np.float32(dose - 1) ** 2 / np.float32(norm)) / np.float32(norm)
            assert result.passed == (squared <= 1)
            seen.add((result.gamma.item() == 1, result.passed))
            dose = np.nextafter(dose, np.float32(1000))
    assert (True, 0) in seen and (True, 1) in seen


def test_result_does_not_depend_on_threads(pair):
    results = [zarngi.gamma_index(*pair, **FINAL, threads=n) for n in (1, 2, 7)]
    for other in results[1:]:
        np.testing.assert_array_equal(bits(other), bits(results[0]))


def plane_gamma(reference, evaluation, dd, dta, step, reach):
    """Gamma of 2D grids by brute force in double precision, away from the evaluation's border."""
    (ny, nx), h, o = evaluation.shape, evaluation.spacing, evaluation.origin
    offsets = step * np.arange(-round(reach / step), round(reach / step) + 1)
    dy, dx = np.meshgrid(offsets, offsets, indexing="ij")
    delta = dd / 100 * reference.dose.max()
    gamma = np.full(reference.shape, np.nan)
    for iy, y in enumerate(reference.axes[0]):
        for ix, x in enumerate(reference.axes[1]):
            fy, fx = (y + dy - o[1]) / h[1], (x + dx - o[0]) / h[0]
            if min(fy.min(), fx.min()) < 0 or fy.max() > ny - 1 or fx.max() > nx - 1:
                continue
            jy, jx = np.minimum(fy.astype(int), ny - 2), np.minimum(fx.astype(int), nx - 2)
            wy, wx = fy - jy, fx - jx
            d = evaluation.dose.astype(float)
            low = d[jy, jx] * (1 - wx) + d[jy, jx + 1] * wx
            high = d[jy + 1, jx] * (1 - wx) + d[jy + 1, jx + 1] * wx
            dose = low * (1 - wy) + high * wy
            dose_term = ((dose - reference.dose[iy, ix]) / delta) ** 2
            gamma[iy, ix] = math.sqrt((dose_term + (dy**2 + dx**2) / dta**2).min())
    return gamma


@pytest.mark.parametrize("corner", [(0.0, 0.0), (12.3, -217.7)])
def test_slices_are_compared_in_their_plane(pair, corner):
    first, second = (
        zarngi.DoseGrid(g.dose[4], g.spacing[:2], np.add(g.origin[:2], corner)) for g in pair
    )
    result = zarngi.gamma_index(first, second, **FINAL, max_gamma=2, step=0.25)
    expected = plane_gamma(first, second, 2, 2, 0.25, 4)
    known = np.isfinite(expected) & (expected < 2)
    assert result.gamma.shape == first.shape
    assert np.count_nonzero(known) > 20
    np.testing.assert_allclose(result.gamma[known], expected[known], atol=2e-5)


def test_lines_are_compared_along_themselves():
    reference = zarngi.DoseGrid(np.linspace(1, 2, 41, dtype=np.float32), 1, 7.3)
    evaluation = zarngi.DoseGrid(reference.dose, 1, 8.3)
    result = zarngi.gamma_index(reference, evaluation, dd=0.001, dta=2)
    np.testing.assert_allclose(result.gamma[5:-5], 0.5, atol=1e-3)


def test_slice_with_a_place_in_space_against_a_volume(pair):
    volume = pair[0]
    for index in (2, 5):
        placed = (*volume.origin[:2], volume.axes[0][index])
        plane = zarngi.DoseGrid(volume.dose[index], volume.spacing, placed)
        result = zarngi.gamma_index(plane, pair[1], normalisation=volume.dose.max(), **FINAL)
        whole = zarngi.gamma_index(*pair, **FINAL)
        np.testing.assert_array_equal(result.gamma[0], whole.gamma[index])


def test_random_rotation_changes_little(pair):
    straight = zarngi.gamma_index(*pair, **FINAL)
    turned = zarngi.gamma_index(*pair, **FINAL, random_rotation=True)
    difference = np.abs(straight.gamma - turned.gamma)[straight.gamma < 1.2]
    assert 0 < difference.mean() < 0.05


POSITIVE = r"accepted: a number greater than 0"


@pytest.mark.parametrize(
    ("options", "error", "message"),
    [
        ({"dd": 0}, ValueError, rf"dd=0 .*{POSITIVE} %"),
        ({"dta": -2}, ValueError, rf"dta=-2 .*{POSITIVE} mm"),
        ({"dose_cutoff": 0}, ValueError, rf"dose_cutoff=0 .*{POSITIVE} %"),
        ({"dta": math.nan}, ValueError, rf"dta=nan .*{POSITIVE}"),
        ({"dd": math.inf}, ValueError, rf"dd=inf .*{POSITIVE}"),
        ({"dd": 1e-50}, ValueError, rf"dd=1e-50 .*{POSITIVE}"),
        ({"normalisation": 0}, ValueError, rf"normalisation=0 .*{POSITIVE} Gy"),
        ({"max_gamma": -1}, ValueError, rf"max_gamma=-1 .*{POSITIVE}"),
        ({"step": 0.0}, ValueError, rf"step=0.0 .*{POSITIVE} mm"),
        ({"threads": 0}, ValueError, r"threads=0 .*accepted: 1 to 1024"),
        ({"threads": 5000}, ValueError, r"threads=5000 .*accepted: 1 to 1024"),
        ({"verbose": 6}, ValueError, r"verbose=6 .*accepted: 0 to 5"),
        ({"mode": "rate"}, ValueError, r"mode='rate' .*accepted: 'map' or 'pass_rate'"),
        ({"on_empty": None}, ValueError, r"on_empty=None .*accepted: 'raise' or 'flag'"),
        ({"dd": "3"}, TypeError, r"dd='3' is not a real number"),
        ({"dta": True}, TypeError, r"dta=True is not a real number"),
        ({"dta": None}, TypeError, r"dta=None is not a real number"),
        ({"dd": [3]}, TypeError, r"dd=\[3\] is not a real number"),
        ({"local": 1}, TypeError, r"local=1 is neither True nor False"),
        ({"threads": 2.0}, TypeError, r"threads=2.0 is not a whole number"),
    ],
)
def test_bad_options_are_refused(pair, options, error, message):
    with pytest.raises(error, match=message):
        zarngi.gamma_index(*pair, **options)


@pytest.mark.parametrize("value", [np.float32(3), np.int64(3), np.array(3.0)])
def test_numbers_of_numpy_are_numbers(pair, value):
    expected = zarngi.gamma_index(*pair, dd=3)
    np.testing.assert_array_equal(bits(zarngi.gamma_index(*pair, dd=value)), bits(expected))


def with_dose(grid, value):
    dose = grid.dose.astype(np.float64)
    dose[2, 3, 4] = value
    return zarngi.DoseGrid(dose, grid.spacing, grid.origin)


@pytest.mark.parametrize("value", [math.nan, math.inf, 1e39])
@pytest.mark.parametrize("which", [0, 1])
def test_doses_that_are_not_finite_are_refused(pair, value, which):
    grids = list(pair)
    grids[which] = with_dose(grids[which], value)
    name = ("reference", "evaluation")[which]
    with pytest.raises(ValueError, match=rf"{name}\.dose holds 1 values .* \[2, 3, 4\]"):
        zarngi.gamma_index(*grids)


def test_huge_doses_are_finite(pair):
    """Their sum is not, in single precision."""
    huge = [zarngi.DoseGrid(g.dose * np.float32(5e36), g.spacing, g.origin) for g in pair]
    assert zarngi.gamma_index(*huge, **FINAL).tested > 0


def test_grids_that_do_not_go_together_are_refused(pair):
    plane = zarngi.DoseGrid(pair[1].dose[3], (2, 2), (0, 0))
    with pytest.raises(ValueError, match="reference has 3 dimensions and evaluation has 2"):
        zarngi.gamma_index(pair[0], plane)
    with pytest.raises(ValueError, match="random_rotation=True turns the search out of the plane"):
        zarngi.gamma_index(plane, plane, random_rotation=True)
    with pytest.raises(TypeError, match="evaluation is of type ndarray; accepted: zarngi.DoseGrid"):
        zarngi.gamma_index(pair[0], pair[1].dose)


def test_different_frames_of_reference_are_told(pair):
    named = [
        zarngi.DoseGrid(g.dose, g.spacing, g.origin, name) for g, name in zip(pair, ("1.2", "1.3"))
    ]
    with pytest.warns(UserWarning, match="different frames of reference") as caught:
        zarngi.gamma_index(*named)
    assert caught[0].filename == __file__


def test_nothing_tested_raises_or_is_flagged(pair):
    with pytest.raises(zarngi.NothingTestedError, match=r"dose_cutoff=150 .*\d Gy"):
        zarngi.gamma_index(*pair, dose_cutoff=150)
    for mode in ("map", "pass_rate"):
        result = zarngi.gamma_index(*pair, dose_cutoff=150, mode=mode, on_empty="flag")
        assert result.empty and result.tested == result.passed == result.failed == 0
        assert math.isnan(result.pass_rate) and math.isnan(result.mean)
        assert np.isnan(result.gamma).all()
        assert "nothing tested" in repr(result) and "no voxel" in result.summary()


RESET = {
    "DTA": -1,
    "DD": -1,
    "DCO": -1,
    "global_normalisation": -1,
    "gammaSearchMax": -1,
    "stepSize": -1,
    "passrate": -1,
    "num_threads": 1,
    "verbose": 0,
    "passRateMode": False,
    "globalDD": True,
    "gammaindex2D": False,
    "gammaindex2D_z": False,
    "lNoInterpolation": False,
    "randomRotation": False,
}


def assert_reset():
    now = environment()
    assert {name: getattr(now, name) for name in RESET} == RESET
    assert not now.map_ref and not now.map_eval and not now.gamma


def test_environment_is_left_reset(pair, capfd):
    zarngi.gamma_index(
        *pair,
        local=True,
        normalisation=30,
        step=0.5,
        interpolate=False,
        mode="pass_rate",
        slices=True,
        threads=2,
        verbose=1,
    )
    assert_reset()


def test_environment_is_left_reset_after_a_failure(monkeypatch, pair):
    def failing(*_arguments):
        environment().DTA = 7
        raise KeyboardInterrupt

    expected = zarngi.gamma_index(*pair, **FINAL)
    with monkeypatch.context() as patch:
        patch.setattr(_comparison, "compare", failing)
        with pytest.raises(KeyboardInterrupt):
            zarngi.gamma_index(*pair, dd=1)
        assert_reset()
    np.testing.assert_array_equal(bits(zarngi.gamma_index(*pair, **FINAL)), bits(expected))


def test_state_left_by_others_does_no_harm(pair):
    expected = zarngi.gamma_index(*pair, **FINAL)
    environment().global_normalisation = 5.0
    environment().gammaindex2D = True
    np.testing.assert_array_equal(bits(zarngi.gamma_index(*pair, **FINAL)), bits(expected))


@pytest.mark.parametrize(
    ("status", "error", "message"),
    [
        (-29, MemoryError, "memory ran out"),
        (-100, RuntimeError, "busy"),
        (-7, RuntimeError, "unknown failure"),
    ],
)
def test_status_codes_come_with_a_meaning(monkeypatch, status, error, message):
    class Failing:
        @staticmethod
        def zarnGI_init():  # noqa: N802
            return status

    monkeypatch.setattr(_library, "_library", Failing)
    with pytest.raises(error, match=message):
        _library.call("init")


def test_silent_unless_verbose(pair, capfd):
    zarngi.gamma_index(*pair, slices=True)
    assert capfd.readouterr() == ("", "")
    print("before")
    zarngi.gamma_index(*pair, slices=True, verbose=5, threads=1)
    output = capfd.readouterr().out
    assert output.startswith("before\nDTA,DD,DDT,DCO : 2 3 G 10\n")
    assert "2D gamma-index analysis for each z-slice" in output and output.endswith("Done!\n")


def test_large_shift_leaves_voxels_unreached():
    reference = small_grid()
    evaluation = zarngi.DoseGrid(
        reference.dose[:, :, 7:], reference.spacing, (2, *reference.origin[1:])
    )
    result = zarngi.gamma_index(reference, evaluation, dd=3, dta=2, dose_cutoff=5)
    lost = np.count_nonzero(result.gamma == np.float32(1e10))
    assert result.unreached == lost > 0
    assert result.failed >= lost and result.maximum < 100
    assert "found no evaluation dose" in result.summary()
