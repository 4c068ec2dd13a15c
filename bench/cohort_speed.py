"""What a run of a cohort adds to the computing itself.

    PYTHONPATH=build/release/python /usr/bin/python3 bench/cohort_speed.py [--pairs 200] [--rounds 3]

Compares, in turn, on head-and-neck pairs and two workers: two bare processes that read and compare
every other pair and keep nothing, the same with an allocator that keeps its buffers,
`zarngi-cohort`'s way on two Dask workers, and a shell loop over `zarngi compare --json` with two
jobs; and of one worker: bare loops, and one Dask worker. Prints
medians and ratios of elapsed time and of processor time, which counts on a busy machine; the start
of the workers is not counted.
"""

from __future__ import annotations

import argparse
import csv
import os
import resource
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
start = time.process_time()
for row in rows:
    pair = [zarngi.read(os.path.join(folder, row[role])) for role in ("reference", "evaluation")]
    result = zarngi.gamma_index(*pair, dd=3, dta=2, threads=1)
    result.pass_rate, result.mean, result.maximum, result.percentile([95, 99])
print(time.process_time() - start)
"""

#: Elapsed and processor time, s.
Times = tuple[float, float]


#: What makes the allocator keep its buffers, as the workers of a cohort have it.
KEEPING = {"MALLOC_MMAP_THRESHOLD_": str(1 << 30), "MALLOC_TRIM_THRESHOLD_": str(1 << 30)}


def bare_keeping(folder: Path, workers: int) -> Times:
    """A loop in each of several processes, whose buffers serve again for the next pair."""
    return bare(folder, workers, KEEPING)


def bare(folder: Path, workers: int, variables: dict[str, str] | None = None) -> Times:
    """A loop in each of several processes."""
    environment = os.environ | (variables or {})
    processes = [
        subprocess.Popen(
            [sys.executable, "-c", BARE, str(folder), str(i), str(workers)],
            stdin=subprocess.PIPE, stdout=subprocess.PIPE, text=True, env=environment,
        )
        for i in range(workers)
    ]  # fmt: skip
    for process in processes:
        process.stdout.readline()
    start = time.perf_counter()
    for process in processes:
        process.stdin.write("\n")
        process.stdin.flush()
    used = 0.0
    for process in processes:
        used += float(process.stdout.readline())
        process.wait()
    return time.perf_counter() - start, used


def dask(folder: Path, workers: int) -> Times:
    """A run on Dask workers, each of one thread, with the results on disk."""
    import zarngi.cohort
    from distributed import Client, LocalCluster

    with tempfile.TemporaryDirectory() as scratch, LocalCluster(
        n_workers=workers, threads_per_worker=1, dashboard_address="127.0.0.1:0", silence_logs=50,
        local_directory=scratch,
    ) as cluster, Client(cluster) as client:  # fmt: skip
        client.run(__import__, "zarngi.cohort")

        def used() -> float:
            # Client, scheduler and nannies are this process.
            return time.process_time() + sum(client.run(time.process_time).values())

        before, start = used(), time.perf_counter()
        zarngi.cohort.run(folder / "manifest.csv", Path(scratch) / "r.sqlite", client=client)
        return time.perf_counter() - start, used() - before


def shell_loop(folder: Path, workers: int) -> Times:
    """A loop in the shell, as people write it."""
    program = PROJECT / "build/release/cli/zarngi"
    with open(folder / "manifest.csv") as file:
        rows = list(csv.DictReader(file))
    with tempfile.TemporaryDirectory() as scratch:
        lines = "".join(
            f"{folder / row['reference']}\0{folder / row['evaluation']}\0{scratch}/{row['id']}.json\0"
            for row in rows
        )
        before, start = _used_by_children(), time.perf_counter()
        command = ["xargs", "-0", "-n", "3", "-P", str(workers), "sh", "-c",
                   f'{program} compare "$1" "$2" --threads 1 --json "$3" >/dev/null', "sh"]  # fmt: skip
        subprocess.run(command, input=lines, text=True, check=True)
        return time.perf_counter() - start, _used_by_children() - before


def _used_by_children() -> float:
    usage = resource.getrusage(resource.RUSAGE_CHILDREN)
    return usage.ru_utime + usage.ru_stime


CONTENDERS = {
    ("bare", 1): bare,
    ("bare, keeping", 1): bare_keeping,
    ("dask", 1): dask,
    ("bare", 2): bare,
    ("bare, keeping", 2): bare_keeping,
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
        doses = [PROJECT.parent / f"shared/data/head_neck_day{day}.nrrd" for day in (1, 2)]
        subprocess.run([sys.executable, script, folder, "--pairs", str(options.pairs), "--manifest",
                        "--doses", *doses], check=True)  # fmt: skip
    taken: dict[tuple[str, int], list[Times]] = {key: [] for key in CONTENDERS}
    try:
        for _ in range(options.rounds):
            for (name, workers), contender in CONTENDERS.items():
                taken[name, workers].append(contender(folder, workers))
    finally:
        if scratch is not None:
            shutil.rmtree(scratch)
    print(f"load of the machine {os.getloadavg()[1]:.1f}; medians of {options.rounds} rounds")
    for clock, name in enumerate(("elapsed", "processor")):
        report(name, {key: statistics.median(t[clock] for t in times) for key, times in taken.items()})


def report(clock: str, medians: dict[tuple[str, int], float]) -> None:
    """Print what one clock says."""
    print(f"{clock} time, s: " + ", ".join(f"{n} {w} {t:.2f}" for (n, w), t in medians.items()))
    for way in ("bare", "bare, keeping"):
        two = 100 * medians[way, 2] / medians["dask", 2]
        one = 100 * medians["dask", 1] / medians[way, 1] - 100
        print(f"  of two {way} processes, two Dask workers reach {two:.1f} %; one Dask worker {one:+.1f} % time")
    print(f"  a shell loop takes {medians['shell', 2] / medians['dask', 2]:.2f} times as long as two Dask workers")


if __name__ == "__main__":
    main()
