"""What a person waits for, and the memory it takes: whole commands of two builds, in turn.

    waiting.py BEFORE AFTER [--rounds N] [--large-rounds N] [--rows REGEX] [--data FOLDER]

BEFORE and AFTER are build directories (build/release), of which each has the program and the Python
package; or folders that `make windows` made, whose program is run by Wine and which have no package.
The commands run one after the other, before and after by turns, so that a machine whose speed drifts
is slow for both; medians are compared. Beside the time stand the processor time, which says more where
other work goes on, the page faults and the largest memory of the process. The large pair is that of
large_pair.py, in a folder that goes again.
"""

import argparse
import os
import re
import statistics
import subprocess
import sys
import tempfile
import time
from dataclasses import dataclass
from pathlib import Path

import large_pair

READ = """
import statistics, sys, time, zarngi
times = []
for _ in range(15):
    start = time.perf_counter()
    zarngi.read(sys.argv[1])
    times.append(time.perf_counter() - start)
print(statistics.median(times))
"""

#: The second time, as a process that has compared before; what its search takes is told as well.
COMPARE = """
import sys, time, zarngi
pair = [zarngi.read(name) for name in sys.argv[1:3]]
pair = [zarngi.DoseGrid(grid.dose.copy(), grid.spacing, grid.origin) for grid in pair]
for _ in range(2):
    start = time.perf_counter()
    result = zarngi.gamma_index(*pair, dd=3, dta=3)
    seconds = time.perf_counter() - start
print(seconds, result.seconds)
"""


@dataclass
class Run:
    """A process that has ended."""

    output: str
    seconds: float
    processor: float
    faults: int
    megabytes: float


def run(command, environment=None):
    start = time.perf_counter()
    process = subprocess.Popen(command, stdout=subprocess.PIPE, env=environment, text=True)
    output = process.stdout.read()
    process.stdout.close()
    _, status, used = os.wait4(process.pid, 0)
    process.returncode = os.waitstatus_to_exitcode(status)
    if process.returncode != 0:
        raise subprocess.CalledProcessError(process.returncode, command)
    seconds = time.perf_counter() - start
    processor = used.ru_utime + used.ru_stime
    return Run(output, seconds, processor, used.ru_minflt, used.ru_maxrss * 1024 / 1e6)


def program_of(build):
    """The words that start the program of a build."""
    for_windows = build / "zarngi.exe"
    return ["wine", str(for_windows)] if for_windows.exists() else [str(build / "cli/zarngi")]


def python(build, script, *arguments):
    """A script's figures, the first of which is its time; it runs with the package of a build."""
    environment = {**os.environ, "PYTHONPATH": str(build / "python")}
    made = run(["/usr/bin/python3", "-c", script, *map(str, arguments)], environment)
    made.seconds = float(made.output.split()[0])
    return made


def rows(data, large, scratch):
    """What is waited for: a name and a function of a build directory."""
    pair = [data / "head_neck_day1.nrrd", data / "head_neck_day2.nrrd"]
    record = ["--report", scratch / "r.html", "--json", scratch / "r.json"]

    def program(*arguments):
        return lambda build: run([*program_of(build), *map(str, arguments)])

    def comparing(files, *more):
        return program("compare", *files, "-c", "3%/3mm", *more)

    def reading(name):
        return lambda build: python(build, READ, data / name)

    return {
        "zarngi --version": program("--version"),
        "zarngi compare, head-neck, 3%/3mm": comparing(pair),
        "the same with --report --json": comparing(pair, *record),
        "zarngi info, head-neck": program("info", pair[0]),
        "zarngi info, proton plan": program("info", data / "proton_ramp_plan.dcm"),
        "zarngi.read, head-neck": reading("head_neck_day1.nrrd"),
        "zarngi.read, proton plan": reading("proton_ramp_plan.dcm"),
        "zarngi compare, large pair": comparing(large),
        "zarngi.gamma_index, large pair": lambda build: python(build, COMPARE, *large),
    }


def line(name, before, after):
    """A row of the table: medians of both, and the ratios of the times."""

    def medians(runs):
        return [
            statistics.median(getattr(run, figure) for run in runs)
            for figure in ("seconds", "processor", "faults", "megabytes")
        ]

    told = [medians(runs) for runs in (before, after)]
    text = f"{name:36}"
    for seconds, processor, faults, megabytes in told:
        text += f"{1e3 * seconds:10.1f}{1e3 * processor:10.1f} ms{faults:9.0f}{megabytes:7.0f} MB"
    text += "".join(f"{after / before:10.2f}" for before, after in list(zip(*told))[:2])
    if name.startswith("zarngi.gamma_index"):
        search = statistics.median(
            run.seconds / float(run.output.split()[1]) for run in after
        )
        text += f"   ({search:.2f} times its search)"
    return text


def main():
    parser = argparse.ArgumentParser(description=__doc__.splitlines()[0])
    parser.add_argument("before", type=Path)
    parser.add_argument("after", type=Path)
    parser.add_argument("--rounds", type=int, default=15)
    parser.add_argument("--large-rounds", type=int, default=5, help="of the large pair")
    parser.add_argument("--rows", default="", help="only rows whose name matches")
    project = Path(__file__).resolve().parents[1]
    parser.add_argument("--data", type=Path, default=project.parent / "shared/data")
    options = parser.parse_args()
    builds = [options.before.resolve(), options.after.resolve()]
    have_package = all((build / "python").exists() for build in builds)
    head = f"{'time':>10}{'processor':>13}{'faults':>9}{'peak':>10}"
    ratios = f"{'after/before: time':>20}, processor"
    print(f"{'before, after':36}{head}{head}{ratios}   ({options.rounds} rounds)")
    with tempfile.TemporaryDirectory() as scratch:
        large = [Path(scratch) / name for name in large_pair.NAMES]
        for name, measure in rows(options.data, large, Path(scratch)).items():
            needs_package = name.startswith("zarngi.")
            if not re.search(options.rows, name) or (needs_package and not have_package):
                continue
            is_large = name.endswith("large pair")
            if is_large:
                large_pair.make(scratch)
            runs = ([], [])
            for _ in range(options.large_rounds if is_large else options.rounds):
                for build, own in zip(builds, runs):
                    own.append(measure(build))
            print(line(name, *runs), flush=True)
    print(f"load {os.getloadavg()[0]:.1f}", file=sys.stderr)


if __name__ == "__main__":
    main()
