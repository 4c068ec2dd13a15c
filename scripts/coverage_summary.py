"""Line and branch coverage per file from gcov's counters: coverage_summary.py OBJECTS SOURCES

Counted are the ways out of conditions, in code that is not optimized: those of the source and of the
few the compiler adds (guards of static objects, loops over arrays of objects). A call that may throw
has two ways out as well, listed one after the other: to what follows and to what an exception does.
Neither is counted: there is such a pair behind nearly every call, and the former says nothing that the
lines do not say.

What several objects or instances of a template compile is covered where one of them covers it. Their
branches have no names, only an order: they are taken for the same where the line has equally many.
"""

import json
import subprocess
import sys
from collections import defaultdict
from pathlib import Path

objects, sources = Path(sys.argv[1]).resolve(), Path(sys.argv[2]).resolve()
lines = defaultdict(lambda: defaultdict(int))
branches = defaultdict(lambda: defaultdict(int))


def ways_out(listed):
    """The counts of the branches that are ways out of conditions."""
    counts = []
    for branch in listed:
        if branch["throw"]:
            counts.pop()
        else:
            counts.append(branch["count"])
    return counts


def add(document):
    for entry in document["files"]:
        path = Path(document["current_working_directory"], entry["file"]).resolve()
        if not path.is_relative_to(sources):
            continue
        name = str(path.relative_to(sources))
        for line in entry["lines"]:
            number = line["line_number"]
            lines[name][number] += line["count"]
            counts = ways_out(line["branches"])
            for index, count in enumerate(counts):
                branches[name][number, len(counts), index] += count


for counters in sorted(objects.rglob("*.gcda")):
    output = subprocess.run(
        ["gcov", "--json-format", "--branch-probabilities", "--stdout", str(counters)],
        capture_output=True, text=True, check=True).stdout
    for document in output.splitlines():
        if document.strip():
            add(json.loads(document))


def share(counts):
    covered = sum(count > 0 for count in counts)
    return f"{100 * covered / len(counts):5.1f} % of {len(counts):4}" if counts else " " * 15


for name in sorted(lines):
    print(f"{name:45} lines {share(lines[name].values())}  branches {share(branches[name].values())}")
    if "--missing" in sys.argv:
        print("    lines:", *sorted(n for n, c in lines[name].items() if c == 0))
        print("    branches:", *sorted({n for (n, *_), c in branches[name].items() if c == 0}))
every_line = [c for file in lines.values() for c in file.values()]
every_branch = [c for file in branches.values() for c in file.values()]
print(f"{'all':45} lines {share(every_line)}  branches {share(every_branch)}")
