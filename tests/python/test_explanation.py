"""Explanations and rates by criterion, against what is known and against the program."""

import os
import pickle
import re
import signal
import subprocess
import threading

import numpy as np
import pytest
import zarngi
from documents import read_document  # tests/cli
from zarngi.io import _comparison


def grid(shift=(0.0, 0.0, 0.0), factor=1.0, spacing=2.0, size=(52, 48, 44)):
    """A smooth dose; an evaluation is made equal to that without arguments by the change."""
    axes = [(np.arange(n) - (n - 1) / 2) * spacing for n in size]
    x, y, z = np.meshgrid(*axes, indexing="ij")
    x, y, z = x + shift[0], y + shift[1], z + shift[2]
    dose = 60 * np.exp(-(((x - 2) / 22) ** 4) - ((y + 3) / 20) ** 4 - (z / 18) ** 4) / factor
    return zarngi.DoseGrid(
        dose.transpose(2, 1, 0).astype(np.float32), spacing, tuple(axis[0] for axis in axes)
    )


@pytest.fixture
def moved():
    return grid(), grid((2.0, -1.5, 3.0), 1.02)


def test_finds_a_known_change(moved):
    result = zarngi.gamma_index(*moved, dd=3, dta=2)
    found = result.explain()
    np.testing.assert_allclose(found.best.shift, (2.0, -1.5, 3.0), atol=0.1)
    assert found.best.factor == pytest.approx(1.02, abs=0.004)
    assert found.best.direction == "2.0 mm left, 1.5 mm anterior, 3.0 mm superior"
    assert found.conclusion in ("shift", "both") and found.conclusion in found.sentence.lower() + "both"
    assert found.pass_rate_before == pytest.approx(result.pass_rate, abs=1e-9)
    assert (found.tested, found.failed_before) == (result.tested, result.failed)
    assert np.array_equal(np.isnan(found.gamma), np.isnan(result.gamma))
    assert np.count_nonzero(found.gamma > 1) == found.best.failed < result.failed / 10
    for low_high, value in zip(found.shift_within, found.best.shift):
        assert low_high[0] <= value <= low_high[1]
    assert found.factor_within[0] <= found.best.factor <= found.factor_within[1]


def test_is_the_same_as_that_of_the_program(moved, tmp_path):
    names = [str(tmp_path / name) for name in ("a.nrrd", "b.nrrd")]
    for name, dose in zip(names, moved):
        zarngi.write(name, dose.dose, dose)
    record = tmp_path / "record.json"
    program = os.path.join(os.environ["ZARNGI_BUILD_DIR"], "cli", "zarngi")
    if not os.path.exists(program):
        pytest.skip("the program is not built")
    command = [program, "compare", *names, "-c", "2%L/2mm", "--explain", "--json", str(record)]
    subprocess.run(command, check=True, capture_output=True)
    told = read_document(record)["explanation"]
    result = zarngi.gamma_index(*map(zarngi.read, names), dd=2, dta=2, local=True)
    for threads in (1, 3):
        found = dict(result.explain(threads=threads).record)
        assert found.pop("seconds") > 0
        assert {**found, "seconds": told["seconds"]} == told


def test_names_the_structures_that_the_program_names(moved, program, tmp_path):
    reference, evaluation = moved
    parts = {name: np.zeros(reference.shape, bool) for name in ("right", "left", "far")}
    parts["right"][18:26, 18:30, 14:22] = parts["left"][18:26, 18:30, 28:40] = True
    parts["far"][:4, :4, :4] = True
    cold = evaluation.dose.copy()
    for name in ("right", "left"):
        cold[parts[name]] *= np.float32(0.8)
    files = [(tmp_path / "a.nrrd", reference.dose), (tmp_path / "b.nrrd", cold)]
    files += [(tmp_path / f"{name}.nrrd", mask) for name, mask in parts.items()]
    for path, values in files:
        zarngi.write(path, values, reference)
    record = tmp_path / "record.json"
    options = [text for name in parts for text in ("--structures", tmp_path / f"{name}.nrrd")]
    subprocess.run([program, "compare", *(path for path, _ in files[:2]), "-c", "2%/2mm",
                    "--explain", *options, "--json", record], check=True, capture_output=True)
    told = read_document(record)["explanation"]
    grids = [zarngi.read(path) for path, _ in files[:2]]
    structures = {
        name: zarngi.read_structures(tmp_path / f"{name}.nrrd")[name] for name in ("right", "far")
    }
    result = zarngi.gamma_index(
        *grids, dd=2, dta=2,
        structures={"right": structures["right"], "left": parts["left"], "far": structures["far"]})
    found = result.explain()
    assert "What remains fails in left (" in found.sentence and "right (" in found.sentence
    assert found.sentence == told["sentence"]
    assert found.record["remainder"] == told["remainder"]
    left = result.explain(structure=structures["right"])
    assert left.record["structure"] == "right" and "left" not in left.sentence
    kept = pickle.loads(pickle.dumps(result))
    assert kept.structures["left"].failed == result.structures["left"].failed
    assert kept.structures.chosen is None


def test_tells_its_progress_which_may_end_it(moved):
    result = zarngi.gamma_index(*moved)
    shares = []
    whole = result.explain(progress=shares.append)
    assert shares == sorted(shares) and shares[0] < 0.1 and shares[-1] == 1 and len(shares) > 20

    class StoppedError(Exception):
        pass

    def stop(share):
        if share > 0.1:
            raise StoppedError

    with pytest.raises(StoppedError):
        result.explain(progress=stop)
    assert result.explain().best == whole.best
    told = []
    zarngi.sweep(*moved, dd=(2, 3), dta=(1, 2), progress=told.append)
    assert told == [0, 0.25, 0.5, 0.75, 1]
    with pytest.raises(StoppedError):
        zarngi.sweep(*moved, dd=(2, 3), progress=stop)


#: A second's search.
LONG = {"step": 0.01, "max_gamma": 10}


def long_search(moved, **_):
    zarngi.gamma_index(*moved, dd=0.1, dta=3, **LONG)


def long_sweep(moved, **_):
    zarngi.sweep(*moved, dd=(0.1, 0.2), dta=(3, 4), **LONG)


def explanation(moved, **options):
    zarngi.gamma_index(*moved).explain(**options)


@pytest.mark.parametrize("work", [long_search, long_sweep, explanation])
def test_control_c_ends_it(moved, monkeypatch, work):
    """In the middle of a search, or between those of an explanation."""
    main = threading.main_thread().ident
    failed, shares = [], []
    compare = _comparison.compare
    timer = threading.Timer(0.05, signal.pthread_kill, (main, signal.SIGINT))

    def recording(*arguments):
        if work is not explanation:
            timer.start()
        try:
            return compare(*arguments)
        except _comparison.Refused as refused:
            failed.append(refused.refusal.kind)
            raise

    def tell(share):
        shares.append(share)
        if len(shares) == 5:
            signal.pthread_kill(main, signal.SIGINT)

    monkeypatch.setattr(_comparison, "compare", recording)
    with pytest.raises(KeyboardInterrupt):
        work(moved, progress=tell)
    assert failed == ["interrupted"]
    assert work is not explanation or len(shares) < 15
    monkeypatch.undo()
    assert zarngi.gamma_index(*moved, structures=None).tested > 0


def test_of_planes_in_space_is_that_of_planes():
    pair = (grid(), grid((1.5, -2.0, 0.0), 0.98))
    flat = [zarngi.DoseGrid(d.dose[22], d.spacing[:2], d.origin[:2]) for d in pair]
    planes = [
        zarngi.DoseGrid(d.dose[22:23], (2, 2, thickness), (*d.origin[:2], 1), plane_normal="z")
        for d, thickness in zip(pair, (3, 5))
    ]
    found, expected = (zarngi.gamma_index(*two).explain() for two in (planes, flat))
    assert found.gamma.shape == planes[0].shape
    # Only planes in space know the patient's directions.
    assert found.record["best"]["direction"] == "1.5 mm left, 2.0 mm anterior"
    assert expected.record["best"]["direction"] == "1.5 mm along +x, 2.0 mm along -y"
    assert without_words(found.record) == without_words(expected.record)


def without_words(record):
    """What an explanation counts."""
    if not isinstance(record, dict):
        return record
    words = ("direction", "sentence", "seconds")
    return {name: without_words(value) for name, value in record.items() if name not in words}


def test_of_a_plane_stays_in_it():
    reference, evaluation = (
        zarngi.DoseGrid(dose.dose[22], dose.spacing[:2], dose.origin[:2])
        for dose in (grid(), grid((1.5, -2.0, 0.0), 0.98))
    )
    found = zarngi.gamma_index(reference, evaluation).explain()
    assert found.axes == ("searched", "searched", "one voxel")
    np.testing.assert_allclose(found.best.shift, (1.5, -2.0, 0), atol=0.1)
    assert re.fullmatch(r"1\.\d mm along \+x, [12]\.\d mm along -y", found.best.direction)
    assert found.shift_within[2] is None and found.gamma.shape == reference.shape


def test_explains_a_part(moved):
    reference, evaluation = moved
    result = zarngi.gamma_index(reference, evaluation, dd=2, dta=1)
    part = np.zeros(reference.shape, bool)
    part[10:34, 10:38, 12:40] = True
    found = result.explain(structure=part)
    assert found.tested == np.count_nonzero(part & ~np.isnan(result.gamma)) < result.tested
    assert np.isnan(found.gamma[~part]).all()
    np.testing.assert_allclose(found.best.shift, (2.0, -1.5, 3.0), atol=0.15)


@pytest.mark.parametrize(
    ("options", "error", "text"),
    [
        ({"range": 0}, ValueError, "range"),
        ({"range": 101}, ValueError, "1 to 100"),
        ({"threads": 0}, ValueError, "threads"),
        ({"structure": np.ones((2, 2, 2), bool)}, ValueError, "shape"),
        ({"structure": np.ones((44, 48, 52))}, TypeError, "bool"),
        ({"structure": np.zeros((44, 48, 52), bool)}, ValueError, "is tested"),
    ],
)
def test_refuses_what_makes_no_sense(moved, options, error, text):
    with pytest.raises(error, match=text):
        zarngi.gamma_index(*moved).explain(**options)


def test_refuses_points(moved):
    points = zarngi.DosePoints([(0, 0, 0)], [60])
    with pytest.raises(ValueError, match="single points"):
        zarngi.gamma_index(points, moved[1]).explain()


def test_an_interruption_leaves_the_library_usable(moved):
    result = zarngi.gamma_index(*moved)
    shares = []

    def interrupting(share):
        shares.append(share)
        if len(shares) == 5:
            raise KeyboardInterrupt

    with pytest.raises(KeyboardInterrupt):
        result.explain(progress=interrupting)
    assert zarngi.gamma_index(*moved).pass_rate == result.pass_rate


def test_a_sweep_gives_the_rates_of_single_comparisons(moved):
    reference, _ = moved
    part = np.zeros(reference.shape, bool)
    part[20:24, 20:30, 20:40] = True
    swept = zarngi.sweep(*moved, dd=(1, 3), dta=(1, 2, 2.5), local=True, structures={"part": part})
    assert swept.rates.shape == (2, 3) and swept.local
    for i, dd in enumerate((1, 3)):
        for j, dta in enumerate((1, 2, 2.5)):
            single = zarngi.gamma_index(*moved, dd=dd, dta=dta, local=True)
            assert swept.rates[i, j] == single.pass_rate
            inside = single.gamma[part & ~np.isnan(single.gamma)]
            assert swept.structures["part"][i, j] == pytest.approx(100 * np.mean(inside <= 1))


@pytest.mark.parametrize("values", [(), (0, 1), 3])
def test_a_sweep_needs_values(moved, values):
    with pytest.raises((ValueError, TypeError)):
        zarngi.sweep(*moved, dd=values)
