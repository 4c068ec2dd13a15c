"""What the Python package adds to the library's own time.

    PYTHONPATH=build/release/python /usr/bin/python3 bench/python_overhead.py [REF EVAL] [options]

Compares the time of `zarngi.gamma_index` with that of the same calls made straight to the C
interface (hand over both grids, set the criteria, compute, fetch the map into a new array, reset),
in turn, and prints the medians and their ratio. Without files it takes the head-and-neck pair.
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

DATA = Path(__file__).resolve().parents[2] / "shared" / "data"
FLOAT_P = ctypes.POINTER(ctypes.c_float)


def plain_calls(
    reference: zarngi.DoseGrid, evaluation: zarngi.DoseGrid, dd: float, dta: float, threads: int
) -> np.ndarray:
    """The calls a C program makes."""

    def hand_over(setter: str, grid: zarngi.DoseGrid) -> None:
        corner = [o - h / 2 for o, h in zip(grid.origin, grid.spacing)]
        _library.call(
            setter,
            (ctypes.c_int * 3)(*grid.shape[::-1]),
            (ctypes.c_float * 3)(*grid.spacing),
            (ctypes.c_float * 3)(*corner),
            grid.dose.ctypes.data_as(FLOAT_P),
        )

    _library.call("init")
    hand_over("setRef", reference)
    hand_over("setEval", evaluation)
    for name, value in (
        ("setDD", dd),
        ("setDTA", dta),
        ("setDCO", 10.0),
        ("setGammaSearchMax", 3.0),
        ("setNumThreads", threads),
    ):
        _library.call(name, value)
    _library.call("startComputation")
    gamma = np.empty(reference.shape, np.float32)
    _library.call("getGammaIndex3DMap", gamma.ctypes.data_as(FLOAT_P))
    rate = ctypes.c_float()
    _library.call("getGammaIndexPassRate", ctypes.byref(rate))
    _library.call("reset")
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
    seconds: dict[str, list[float]] = {name: [] for name in contenders}
    for contender in contenders.values():
        contender()
    for _ in range(options.rounds):
        for name, contender in contenders.items():
            start = time.perf_counter()
            contender()
            seconds[name].append(time.perf_counter() - start)
    medians = {name: statistics.median(times) for name, times in seconds.items()}
    for name, median in medians.items():
        print(f"{name:8} {1e3 * median:9.2f} ms")
    ratio = medians["Python"] / medians["C calls"]
    extra = 1e3 * (medians["Python"] - medians["C calls"])
    print(f"ratio    {ratio:9.3f}  ({extra:+.2f} ms)")


if __name__ == "__main__":
    main()
