"""Threads, processes and interruptions."""

import multiprocessing
import os
import signal
import threading
import time
from concurrent.futures import ProcessPoolExecutor, ThreadPoolExecutor

import numpy as np
import pytest
import zarngi
from conftest import small_grid
from zarngi import _library
from zarngi.io import _comparison

CRITERIA = [{"dd": dd, "dta": dta} for dd in (1, 2) for dta in (1, 2, 3)]


def run(options):
    """One comparison, made from nothing so that every process can do it alone."""
    result = zarngi.gamma_index(small_grid(), small_grid(shift=2.2), **options)
    return result.gamma.tobytes(), result.pass_rate


@pytest.fixture(scope="module")
def long_run():
    """A comparison in one thread that takes half a second, however fast the search."""
    grid = zarngi.demo_pair()[0]
    other = zarngi.DoseGrid(grid.dose * np.float32(1.2), grid.spacing, grid.origin)
    step = 0.5
    while True:
        options = {"dd": 1, "dta": 3, "step": step, "max_gamma": 2, "threads": 1}
        if zarngi.gamma_index(grid, other, **options).seconds > 0.5:
            return lambda: zarngi.gamma_index(grid, other, **options)
        step /= 1.5


def test_threads_get_the_results_of_a_single_thread():
    expected = [run(options) for options in CRITERIA]
    with ThreadPoolExecutor(4) as pool:
        assert list(pool.map(run, CRITERIA * 3)) == expected * 3


@pytest.mark.parametrize("method", ["fork", "spawn"])
def test_processes_get_the_results_of_a_single_one(method):
    expected = [run(options) for options in CRITERIA]
    context = multiprocessing.get_context(method)
    with ProcessPoolExecutor(2, mp_context=context) as pool:
        assert list(pool.map(run, CRITERIA)) == expected


def test_other_threads_run_during_a_computation(long_run):
    result = []
    worker = threading.Thread(target=lambda: result.append(long_run()))
    worker.start()
    ticks = [time.perf_counter()]
    while worker.is_alive():
        time.sleep(0.001)
        ticks.append(time.perf_counter())
    assert len(result) == 1
    # With the interpreter locked there would be one gap as long as the computation.
    assert np.diff(ticks).max() < result[0].seconds / 2


def wait_until_computing():
    deadline = time.monotonic() + 30
    while not _library._exclusive.in_use:
        assert time.monotonic() < deadline
        time.sleep(0.0005)
    time.sleep(0.005)


def test_fork_while_another_thread_computes(long_run):
    """The child computes at once, right, and does not inherit the lock or a library half way."""
    expected = run(CRITERIA[0])
    results = []
    worker = threading.Thread(target=lambda: results.append(long_run()))
    worker.start()
    wait_until_computing()
    child = os.fork()
    if child == 0:
        signal.alarm(60)
        os._exit(0 if run(CRITERIA[0]) == expected else 1)
    assert os.waitpid(child, 0)[1] == 0
    worker.join()
    assert len(results) == 1
    assert run(CRITERIA[0]) == expected


def test_a_call_inside_a_call_is_refused(monkeypatch):
    pair = small_grid(), small_grid(shift=2.2)
    refused = []
    compare = _comparison.compare

    def interrupting(*arguments):
        if not refused:
            try:
                zarngi.gamma_index(*pair, dd=1)
            except RuntimeError as error:
                refused.append(str(error))
        return compare(*arguments)

    monkeypatch.setattr(_comparison, "compare", interrupting)
    result = zarngi.gamma_index(*pair, **CRITERIA[0])
    assert refused == ["gamma_index was called from inside another call of the same thread"]
    assert (result.gamma.tobytes(), result.pass_rate) == run(CRITERIA[0])


def test_interrupt_leaves_a_usable_library(long_run):
    """Ctrl-C ends a computation."""
    expected = run(CRITERIA[0])
    timer = threading.Timer(0.02, os.kill, (os.getpid(), signal.SIGINT))
    with pytest.raises(KeyboardInterrupt):
        timer.start()
        long_run()
        time.sleep(5)
    assert run(CRITERIA[0]) == expected
