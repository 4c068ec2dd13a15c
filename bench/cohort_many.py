"""Ten thousand small pairs in one run: all there, memory of the client, time that is not computing.

    PYTHONPATH=build/release/python /usr/bin/python3 bench/cohort_many.py [--pairs 10000]

The pairs are a hundred synthetic ones under many ids. Prints the memory of the client after each
tenth of the run and the summary of the program.
"""

from __future__ import annotations

import argparse
import subprocess
import sys
import tempfile
import time
from pathlib import Path

from zarngi.cohort.cluster import DaskCluster, connected
from zarngi.cohort.progress import Counts
from zarngi.cohort.results import Results
from zarngi.cohort.run import Plan, execute
from zarngi.cohort.manifest import Manifest
from zarngi.cohort.settings import Settings

DIFFERENT = 100


def megabytes() -> float:
    """Of this process in memory."""
    fields = Path("/proc/self/statm").read_text().split()
    return int(fields[1]) * 4096 / 1e6


def main() -> None:
    parser = argparse.ArgumentParser(description=__doc__.splitlines()[0])
    parser.add_argument("--pairs", type=int, default=10_000)
    parser.add_argument("--workers", type=int, default=2)
    options = parser.parse_args()
    with tempfile.TemporaryDirectory() as scratch:
        folder = Path(scratch)
        script = Path(__file__).with_name("cohort_pairs.py")
        subprocess.run([sys.executable, script, folder, "--pairs", str(DIFFERENT), "--small",
                        "--manifest"], check=True)  # fmt: skip
        head, *rows = (folder / "manifest.csv").read_text().splitlines()
        with open(folder / "many.csv", "w") as file:
            print(head, file=file)
            for i in range(options.pairs):
                print(f"{i:07d},{rows[i % DIFFERENT].partition(',')[2]}", file=file)
        tenths: list[float] = []

        def watch(counts: Counts) -> None:
            if 10 * counts.computed >= (len(tenths) + 1) * counts.total:
                tenths.append(megabytes())

        with connected(processes=options.workers) as client, \
                Results(folder / "results.sqlite", create=True) as results:  # fmt: skip
            plan = Plan(Manifest(folder / "many.csv"), Settings())
            before = time.process_time()
            summary = execute(plan, results, DaskCluster(client), watch)
            (stored,) = next(results.select("SELECT count(*) FROM results"))
        print(f"{stored} rows of {options.pairs} pairs in {summary.seconds:.1f} s, "
              f"{summary.computed / summary.seconds:.0f} pairs/s")  # fmt: skip
        own = 1e3 * (time.process_time() - before) / options.pairs
        print(f"client, scheduler and results file: {own:.2f} ms of processor time a pair")
        print(f"not computing: {100 - 100 * summary.busy:.0f} % of the workers' time")
        print("client after each tenth, MB:", " ".join(f"{m:.0f}" for m in tenths))
        size = (folder / "results.sqlite").stat().st_size
        print(f"results file: {size / stored:.0f} bytes a pair")
        if stored != options.pairs or summary.failed:
            raise SystemExit("not all pairs are there")


if __name__ == "__main__":
    main()
