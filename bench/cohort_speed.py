"""What a run of a cohort adds to the computing itself.

    PYTHONPATH=build/release/python /usr/bin/python3 bench/cohort_speed.py [--pairs 200] [--rounds 3]

Compares, in turn, on head-and-neck pairs and two workers: two bare processes that read and compare
every other pair and keep nothing, `zarngi-cohort`'s way on two Dask workers, and a shell loop over
`zarngi compare --json` with two jobs; and of one worker: a bare loop, and one Dask worker. Prints
seconds (medians) and ratios; the start of the workers is not counted.
"""

from __future__ import annotations

import argparse
import csv
import os
import shutil
import statistics
import subprocess
import sys
import tempfile
import time
from pathlib import Path

PROJECT = Path(__file__).resolve().parents[1]

BARE = """
import csv, os, sys, time, warnings, zarngi
warnings.simplefilter("ignore")
folder, part, of = sys.argv[1], int(sys.argv[2]), int(sys.argv[3])
rows = list(csv.DictReader(open(os.path.join(folder, "manifest.csv"))))[part::of]
print("ready", flush=True)
sys.stdin.readline()
for row in rows:
    pair = [zarngi.read(os.path.join(folder, row[role])) for role in ("reference", "evaluation")]
    result = zarngi.gamma_index(*pair, dd=3, dta=2, threads=1)
    result.pass_rate, result.mean, result.maximum, result.percentile([95, 99])
"""


def bare(folder: Path, workers: int) -> float:
    """Seconds of a loop in each of several processes."""
    processes = [
        subprocess.Popen(
            [sys.executable, "-c", BARE, str(folder), str(i), str(workers)],
            stdin=subprocess.PIPE, stdout=subprocess.PIPE, text=True,
        )
        for i in range(workers)
    ]  # fmt: skip
    for process in processes:
        process.stdout.readline()
    start = time.perf_counter()
    for process in processes:
        process.stdin.write("\n")
        process.stdin.flush()
    for process in processes:
        if process.wait() != 0:
            raise SystemExit("a bare loop failed")
    return time.perf_counter() - start


def dask(folder: Path, workers: int) -> float:
    """Seconds of a run on Dask workers, each of one thread, with the results on disk."""
    import zarngi.cohort
    from distributed import Client, LocalCluster

    with LocalCluster(n_workers=workers, threads_per_worker=1, dashboard_address=None,
                      silence_logs=50) as cluster, Client(cluster) as client:  # fmt: skip
        client.run(lambda: __import__("zarngi.cohort"))
        with tempfile.TemporaryDirectory() as scratch:
            start = time.perf_counter()
            zarngi.cohort.run(folder / "manifest.csv", Path(scratch) / "r.sqlite", client=client)
            return time.perf_counter() - start


def shell_loop(folder: Path, workers: int) -> float:
    """Seconds of a loop in the shell, as people write it."""
    program = PROJECT / "build/release/cli/zarngi"
    with open(folder / "manifest.csv") as file:
        rows = list(csv.DictReader(file))
    with tempfile.TemporaryDirectory() as scratch:
        lines = "".join(
            f"{folder / row['reference']}\0{folder / row['evaluation']}\0{scratch}/{row['id']}.json\0"
            for row in rows
        )
        start = time.perf_counter()
        command = ["xargs", "-0", "-n", "3", "-P", str(workers), "sh", "-c",
                   f'{program} compare "$1" "$2" --threads 1 --json "$3" >/dev/null', "sh"]  # fmt: skip
        subprocess.run(command, input=lines, text=True, check=True)
        return time.perf_counter() - start


CONTENDERS = {
    ("bare", 1): bare,
    ("dask", 1): dask,
    ("bare", 2): bare,
    ("dask", 2): dask,
    ("shell", 2): shell_loop,
}


def main() -> None:
    parser = argparse.ArgumentParser(description=__doc__.splitlines()[0])
    parser.add_argument("--pairs", type=int, default=200)
    parser.add_argument("--rounds", type=int, default=3)
    parser.add_argument("--folder", type=Path, help="pairs that cohort_pairs.py wrote")
    options = parser.parse_args()
    scratch = None
    folder = options.folder
    if folder is None:
        scratch = tempfile.mkdtemp()
        folder = Path(scratch)
        script = PROJECT / "bench/cohort_pairs.py"
        subprocess.run([sys.executable, script, folder, "--pairs", str(options.pairs), "--manifest"],
                       check=True)  # fmt: skip
    seconds: dict[tuple[str, int], list[float]] = {key: [] for key in CONTENDERS}
    try:
        for _ in range(options.rounds):
            for (name, workers), contender in CONTENDERS.items():
                seconds[name, workers].append(contender(folder, workers))
                print(f"{name} {workers}: {seconds[name, workers][-1]:.2f} s", flush=True)
    finally:
        if scratch is not None:
            shutil.rmtree(scratch)
    medians = {key: statistics.median(values) for key, values in seconds.items()}
    print(f"load of the machine {os.getloadavg()[1]:.1f}; medians of {options.rounds} rounds")
    for key, value in medians.items():
        print(f"{key[0]:6} {key[1]} at a time {value:8.2f} s")
    print(f"two Dask workers reach {100 * medians['bare', 2] / medians['dask', 2]:.1f} % of two bare processes")
    print(f"one Dask worker takes {100 * medians['dask', 1] / medians['bare', 1] - 100:+.1f} % over a bare loop")
    print(f"the shell loop takes {medians['shell', 2] / medians['dask', 2]:.2f} times as long as two Dask workers")


if __name__ == "__main__":
    main()
