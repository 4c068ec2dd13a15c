"""GammaResult: statistics, texts and figures."""

import math
import pickle
import sys

import numpy as np
import pytest
import zarngi
from matplotlib import image


@pytest.fixture
def result(pair):
    return zarngi.gamma_index(*pair, dd=2, dta=2, dose_cutoff=5)


@pytest.fixture
def flags(pair):
    return zarngi.gamma_index(*pair, dd=2, dta=2, dose_cutoff=5, mode="pass_rate")


def test_statistics_are_those_of_the_tested_voxels(result):
    values = result.gamma[~np.isnan(result.gamma)].astype(np.float64)
    assert result.mean == pytest.approx(values.mean(), rel=1e-12)
    assert result.maximum == values.max()
    assert result.percentile(50) == np.median(values)
    np.testing.assert_array_equal(
        result.percentile([[0, 25], [99, 100]]), np.percentile(values, [[0, 25], [99, 100]])
    )


def test_histogram_holds_every_tested_voxel(result):
    counts, edges = result.histogram(7)
    assert counts.sum() == result.tested and len(edges) == 8
    assert edges[0] == 0 and edges[-1] == max(1, result.maximum)
    counts, edges = result.histogram([0, 1, math.inf])
    assert counts.tolist() == [
        np.count_nonzero(result.gamma < 1),
        np.count_nonzero(result.gamma >= 1),
    ]


def test_flags_have_no_gamma_values(flags):
    assert math.isnan(flags.mean) and math.isnan(flags.maximum)
    for ask in (lambda: flags.percentile(50), flags.histogram):
        with pytest.raises(ValueError, match="accepted: results with mode='map'"):
            ask()


@pytest.mark.parametrize("q", [-1, 101, [50, math.nan]])
def test_percentages_out_of_range_are_refused(result, q):
    with pytest.raises(ValueError, match=r"q=.*accepted: 0 to 100"):
        result.percentile(q)


def test_texts_tell_the_facts(result):
    for text in (repr(result), result.summary()):
        assert f"{result.pass_rate:.2f} %" in text
        assert f"{result.mean:.3f}" in text and f"{result.maximum:.3f}" in text
        assert str(result.tested) in text
    assert repr(result).startswith("GammaResult(2%G/2mm, cut-off 5 %: ")
    assert f"{result.failed} failed" in result.summary()
    assert f"{result.seconds:.3f} s" in result.summary()


def test_results_travel_between_processes(result):
    copy = pickle.loads(pickle.dumps(result))
    np.testing.assert_array_equal(copy.gamma.view("u4"), result.gamma.view("u4"))
    assert (copy.criteria, copy.pass_rate) == (result.criteria, result.pass_rate)


def shown(axes):
    return np.ma.filled(axes.images[0].get_array(), np.nan)


@pytest.mark.parametrize(("axis", "dimension"), [("z", 0), ("y", 1), ("x", 2), (1, 1)])
def test_plot_shows_the_slice(result, axis, dimension):
    figure = result.plot(axis, 3)
    reference, evaluation, gamma, histogram = figure.axes[:4]
    np.testing.assert_array_equal(shown(reference), result.reference.dose.take(3, dimension))
    np.testing.assert_array_equal(shown(gamma), result.gamma.take(3, dimension))
    assert evaluation.get_xlim() == reference.get_xlim() == gamma.get_xlim()
    position = result.reference.axes[dimension][3]
    nearest = np.argmin(np.abs(result.evaluation.axes[dimension] - position))
    np.testing.assert_array_equal(
        shown(evaluation), result.evaluation.dose.take(nearest, dimension)
    )
    assert f"{'zyx'[dimension]} = {position:g} mm" in reference.get_title()
    assert sum(bar.get_height() for bar in histogram.patches) == result.tested


def test_plot_chooses_the_slice_with_most_failures(result):
    worst = np.argmax(np.count_nonzero(result.gamma > 1, axis=(1, 2)))
    np.testing.assert_array_equal(shown(result.plot().axes[2]), result.gamma[worst])


def test_plot_shows_the_tested_region(pair):
    grid = zarngi.DoseGrid(np.pad(pair[0].dose, 40), pair[0].spacing, (0, 0, 0))
    panel = zarngi.gamma_index(grid, grid, dose_cutoff=5).plot("y").axes[2]
    spot = panel.get_xlim() + panel.get_ylim()
    # 40 voxels of 2 and 3 mm, less a margin of 25 mm; the dose above 5 % fills its 13 and 9 voxels.
    assert spot == (80 - 25, 104 + 25, 120 - 25, 144 + 25)


def test_colours_break_at_a_gamma_of_one(result):
    image = result.plot().axes[2].images[0]
    below, above = image.to_rgba(np.array([0.999, 1.001]), norm=True)[:, :3]
    assert below[2] > below[0] and above[0] > above[2]


def test_voxels_are_drawn_where_they_are(result):
    panel = result.plot("x", 0).axes[0]
    left, right, bottom, top = panel.images[0].get_extent()
    assert (left, right) == (-13.75, 13.75)  # y: 11 voxels of 2.5 mm from -12.5
    assert (bottom, top) == (-13.5, 13.5)  # z: 9 voxels of 3 mm from -12


@pytest.mark.parametrize("kind", ["map", "flags", "plane", "empty"])
def test_plot_can_be_saved_and_is_not_blank(pair, result, flags, tmp_path, kind):
    planes = [zarngi.DoseGrid(g.dose[4], g.spacing[:2], g.origin[:2]) for g in pair]
    drawn = {
        "map": lambda: result,
        "flags": lambda: flags,
        "plane": lambda: zarngi.gamma_index(*planes),
        "empty": lambda: zarngi.gamma_index(*pair, dose_cutoff=200, on_empty="flag"),
    }[kind]()
    path = tmp_path / "result.png"
    drawn.plot().savefig(path)
    pixels = image.imread(path)[..., :3]
    for quarter in (q for half in np.array_split(pixels, 2) for q in np.array_split(half, 2, 1)):
        assert len(np.unique(quarter.reshape(-1, 3), axis=0)) > 5


@pytest.mark.parametrize(
    ("arguments", "error", "message"),
    [
        (("w",), ValueError, "axis='w' .*accepted: 'z' or 'y' or 'x'"),
        ((3,), ValueError, "axis=3 .*accepted: 0 to 2"),
        (("z", 9), ValueError, "index=9 .*accepted: -9 to 8"),
        (("z", 1.5), TypeError, "index=1.5 is not a whole number"),
    ],
)
def test_slices_that_are_not_there_are_refused(result, arguments, error, message):
    with pytest.raises(error, match=message):
        result.plot(*arguments)


def test_missing_matplotlib_is_asked_for_by_name(monkeypatch, result):
    monkeypatch.setitem(sys.modules, "matplotlib.pyplot", None)
    with pytest.raises(ImportError, match="plotting needs the package matplotlib"):
        result.plot()


def test_plot_draws_into_a_figure_of_ours(result):
    from matplotlib.figure import Figure

    figure = Figure()
    assert result.plot(figure=figure) is figure and len(figure.axes) >= 4
