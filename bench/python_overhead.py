"""What the Python package adds to the library's own time.

    PYTHONPATH=build/release/python /usr/bin/python3 bench/python_overhead.py [REF EVAL] [options]

Compares the time of `zarngi.gamma_index` with that of the same calls made straight to the C
interface (hand over both grids, set the criteria, compute, fetch the map into a new array, reset),
in turn, and prints the medians and their ratio, of elapsed time and of processor time, which counts
on a busy machine. Without files it takes the head-and-neck pair.
"""

from __future__ import annotations

import argparse
import ctypes
import statistics
import time
from pathlib import Path

import numpy as np
import zarngi
from zarngi import _library

LIBRARY = _library._library
for name in ("setDD", "setDTA", "setDCO", "setGammaSearchMax"):
    getattr(LIBRARY, f"zarnGI_{name}").argtypes = [ctypes.c_float]

DATA = Path(__file__).resolve().parents[2] / "shared" / "data"
FLOAT_P = ctypes.POINTER(ctypes.c_float)


def call(name: str, *arguments: object) -> None:
    """A function of libZarnGI."""
    if getattr(LIBRARY, f"zarnGI_{name}")(*arguments) != 0:
        raise RuntimeError(name)


def plain_calls(
    reference: zarngi.DoseGrid, evaluation: zarngi.DoseGrid, dd: float, dta: float, threads: int
) -> np.ndarray:
    """The calls a C program makes."""

    def hand_over(setter: str, grid: zarngi.DoseGrid) -> None:
        corner = [o - h / 2 for o, h in zip(grid.origin, grid.spacing)]
        call(
            setter,
            (ctypes.c_int * 3)(*grid.shape[::-1]),
            (ctypes.c_float * 3)(*grid.spacing),
            (ctypes.c_float * 3)(*corner),
            grid.dose.ctypes.data_as(FLOAT_P),
        )

    call("init")
    hand_over("setRef", reference)
    hand_over("setEval", evaluation)
    for name, value in (
        ("setDD", dd),
        ("setDTA", dta),
        ("setDCO", 10.0),
        ("setGammaSearchMax", 3.0),
        ("setNumThreads", threads),
    ):
        call(name, value)
    call("startComputation")
    gamma = np.empty(reference.shape, np.float32)
    call("getGammaIndex3DMap", gamma.ctypes.data_as(FLOAT_P))
    rate = ctypes.c_float()
    call("getGammaIndexPassRate", ctypes.byref(rate))
    call("reset")
    return gamma


def main() -> None:
    parser = argparse.ArgumentParser(description=__doc__.splitlines()[0])
    default = [DATA / f"head_neck_day{day}.nrrd" for day in (1, 2)]
    parser.add_argument("files", nargs="*", type=Path, default=default, help="two dose files")
    parser.add_argument("--dd", type=float, default=3)
    parser.add_argument("--dta", type=float, default=3)
    parser.add_argument("--threads", type=int, default=2)
    parser.add_argument("--rounds", type=int, default=15)
    options = parser.parse_args()
    if len(options.files) != 2:
        parser.error("give two dose files, or none")
    pair = [zarngi.read(path) for path in options.files]
    criteria = {"dd": options.dd, "dta": options.dta, "threads": options.threads}
    contenders = {
        "C calls": lambda: plain_calls(*pair, **criteria),
        "Python": lambda: zarngi.gamma_index(*pair, **criteria),
    }
    clocks = {"elapsed": time.perf_counter, "processor": time.process_time}
    seconds: dict[tuple[str, str], list[float]] = {}
    for contender in contenders.values():
        contender()
    for _ in range(options.rounds):
        for name, contender in contenders.items():
            starts = {clock: read() for clock, read in clocks.items()}
            contender()
            for clock, read in clocks.items():
                seconds.setdefault((clock, name), []).append(read() - starts[clock])
    for clock in clocks:
        plain, python = (1e3 * statistics.median(seconds[clock, name]) for name in contenders)
        print(
            f"{clock:10} C calls {plain:8.2f} ms   Python {python:8.2f} ms   "
            f"ratio {python / plain:.3f} ({python - plain:+.2f} ms)"
        )


if __name__ == "__main__":
    main()
