"""How long a person waits: whole commands of two builds, in turn, and the ratio of their medians.

    waiting.py BEFORE AFTER [--rounds N] [--data FOLDER]

BEFORE and AFTER are build directories (build/release), of which each has the program and the Python
package. The commands run one after the other, before and after by turns, so that a machine whose
speed drifts is slow for both.
"""

import argparse
import os
import statistics
import subprocess
import sys
import tempfile
import time
from pathlib import Path

READ = (
    "import statistics, sys, time, zarngi\n"
    "times = []\n"
    "for _ in range(15):\n"
    "    start = time.perf_counter()\n"
    "    zarngi.read(sys.argv[1])\n"
    "    times.append(time.perf_counter() - start)\n"
    "print(statistics.median(times))\n"
)


def seconds(command, environment=None):
    start = time.perf_counter()
    subprocess.run(command, check=True, stdout=subprocess.DEVNULL, env=environment)
    return time.perf_counter() - start


def reading_seconds(build, path):
    """The median of a reading, in a process that has read before."""
    environment = {**os.environ, "PYTHONPATH": str(build / "python")}
    output = subprocess.run(["/usr/bin/python3", "-c", READ, path], check=True, env=environment,
                            capture_output=True, text=True).stdout
    return float(output)


def rows(data, scratch):
    """What is waited for: a name and a function of a build directory."""
    pair = [str(data / "head_neck_day1.nrrd"), str(data / "head_neck_day2.nrrd")]
    compare = ["compare", *pair, "-c", "3%/3mm"]
    record = [*compare, "--report", str(scratch / "r.html"), "--json", str(scratch / "r.json")]

    def program(*arguments):
        return lambda build: seconds([str(build / "cli/zarngi"), *arguments])

    def reading(name):
        return lambda build: reading_seconds(build, str(data / name))

    return {
        "zarngi --version": program("--version"),
        "zarngi compare, head-neck, 3%/3mm": program(*compare),
        "the same with --report --json": program(*record),
        "zarngi info, head-neck": program("info", pair[0]),
        "zarngi info, proton plan": program("info", str(data / "proton_ramp_plan.dcm")),
        "zarngi.read, head-neck": reading("head_neck_day1.nrrd"),
        "zarngi.read, proton plan": reading("proton_ramp_plan.dcm"),
    }


def main():
    parser = argparse.ArgumentParser(description=__doc__.splitlines()[0])
    parser.add_argument("before", type=Path)
    parser.add_argument("after", type=Path)
    parser.add_argument("--rounds", type=int, default=15)
    project = Path(__file__).resolve().parents[1]
    parser.add_argument("--data", type=Path, default=project.parent / "shared/data")
    options = parser.parse_args()
    builds = [options.before.resolve(), options.after.resolve()]
    print(f"{'':36}{'before':>10}{'after':>10}{'after/before':>14}   ({options.rounds} rounds)")
    with tempfile.TemporaryDirectory() as scratch:
        for name, measure in rows(options.data, Path(scratch)).items():
            times = ([], [])
            for _ in range(options.rounds):
                for build, own in zip(builds, times):
                    own.append(measure(build))
            before, after = map(statistics.median, times)
            print(f"{name:36}{1e3 * before:8.1f} ms{1e3 * after:7.1f} ms{after / before:14.2f}")
            sys.stdout.flush()


if __name__ == "__main__":
    main()
