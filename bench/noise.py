"""Rates without statistical noise beside those of doses that have none: the tables of docs/noise.md.

    python3 bench/noise.py table             # noise of growing size, three sets each
    python3 bench/noise.py sets --count 400  # how often the interval holds the true rate

Runs the program that $ZARNGI names, else `zarngi`. The pairs: `head-neck` (../shared/data: day 1, and
half-way to day 2), `fields` (two crossed fields, the evaluation moved and flattened), `arcs` (a dose
around a ring, scaled and turned), `targets` (two spheres in a bath, moved and blurred; computed when all but
one condition of the rule stood) and `horseshoe` (around an organ, moved and scaled; computed after all of the rule
stood). Noise has the standard
deviation s * maximum * sqrt(dose / maximum), independent from voxel to voxel.
"""

import argparse
import gzip
import json
import os
import subprocess
import sys
import tempfile
from pathlib import Path

import numpy

PROGRAM = os.environ.get("ZARNGI", "zarngi")
DATA = Path(__file__).parents[2] / "shared/data"
CRITERIA = ("3%/2mm", "2%/2mm", "2%/1mm")
CUT_OFF = 10


def read_nrrd(path):
    head, _, data = path.read_bytes().partition(b"\n\n")
    lines = head.decode("latin1").splitlines()
    fields = dict(line.replace(":=", ":").split(":", 1) for line in lines if ":" in line and line[0] != "#")
    values = numpy.frombuffer(gzip.decompress(data), "<f4")
    return values.reshape([int(n) for n in fields["sizes"].split()][::-1])


def head_neck():
    reference, other = (read_nrrd(DATA / f"head_neck_day{day}.nrrd") for day in (1, 2))
    return reference, reference + 0.5 * (other - reference), 2.5


def axes(spacing, *halves):
    return numpy.meshgrid(*(numpy.arange(-half, half + 1e-6, spacing) for half in halves), indexing="ij")


def edge(offset, half, blur=3.5):
    return 1 / (1 + numpy.exp((abs(offset) - half) / blur))


def fields():
    z, y, x = axes(3.0, 66, 78, 75)

    def dose(shift, factor, slope):
        first = edge(x - shift, 35) * edge(z - shift, 40) * numpy.exp(-0.0048 * (y + 80))
        second = edge(y - shift, 30) * edge(z - shift, 40) * numpy.exp(-0.0048 * (80 - x))
        return 60 * factor * (1 + slope * x / 75) * (first + 0.8 * second)

    return dose(0, 1, 0), dose(0.8, 1.008, 0.015), 3.0


def arcs():
    z, y, x = axes(2.5, 50, 70, 70)

    def dose(turn, factor, width):
        radius, angle = numpy.hypot(x, y), numpy.arctan2(y, x) + turn
        ring = numpy.exp(-(((radius - 28) / width) ** 2)) * (1 + 0.35 * numpy.cos(3 * angle))
        core = 0.5 * edge(radius, 20, 5.0)
        spots = 1 + 0.03 * numpy.sin(x / 7) * numpy.sin(y / 9) * numpy.sin(z / 6) * (factor != 1)
        return 50 * factor * spots * (ring + core) * edge(z, 38, 4.0)

    return dose(0, 1, 14), dose(0.012, 0.992, 14.2), 2.5


def targets():
    z, y, x = axes(2.5, 45, 60, 60)

    def dose(shift, boost, blur):
        bath = 18 * numpy.exp(-((x**2 + y**2) / 48**2 + z**2 / 40**2))
        large = edge(numpy.sqrt((x + 12) ** 2 + y**2 + (z - shift) ** 2), 20, blur)
        small = edge(numpy.sqrt((x - 25) ** 2 + (y - shift) ** 2 + z**2), 9, blur)
        return bath + 40 * large + 46 * boost * small

    return dose(0, 1, 2.5), dose(1.1, 0.975, 2.8), 2.5


def horseshoe():
    z, y, x = axes(2.2, 48, 62, 62)

    def dose(offset, factor, gap):
        radius, angle = numpy.hypot(x, y - offset), numpy.arctan2(y - offset, x)
        arm = edge(radius - 34, 11, 2.8) * (1 - gap * numpy.exp(-(((angle + 1.57) / 0.6) ** 2)))
        scatter = 0.22 * numpy.exp(-(radius / 55) ** 2)
        return 66 * factor * (arm + scatter) * edge(z - offset, 36, 3.2)

    return dose(0, 1, 0.92), dose(-0.9, 1.012, 0.9), 2.2


PAIRS = {"head-neck": head_neck, "fields": fields, "arcs": arcs, "targets": targets, "horseshoe": horseshoe}


def write(path, values, spacing):
    sizes = " ".join(map(str, values.shape[::-1]))
    head = (
        f"NRRD0004\ntype: float\ndimension: 3\nspace: left-posterior-superior\nsizes: {sizes}\n"
        f"space directions: ({spacing},0,0) (0,{spacing},0) (0,0,{spacing})\nencoding: raw\n"
        "endian: little\nspace origin: (0,0,0)\nsample units: \"Gy\"\n\n"
    )
    path.write_bytes(head.encode() + numpy.ascontiguousarray(values, "<f4").tobytes())
    return path


class Workshop:
    """Runs comparisons of doses in memory."""

    def __init__(self, folder, spacing, maximum, threads):
        self.folder, self.spacing, self.maximum, self.threads = Path(folder), spacing, maximum, threads

    def compare(self, reference, evaluation, uncertainties=(None, None), seed=1):
        command = [
            PROGRAM, "compare", write(self.folder / "r.nrrd", reference, self.spacing),
            write(self.folder / "e.nrrd", evaluation, self.spacing), "--norm", repr(float(self.maximum)),
            "--dco", CUT_OFF, "--json", "-", "--pass-rate-only", "--threads", self.threads,
            *(word for criterion in CRITERIA for word in ("-c", criterion)),
        ]  # fmt: skip
        if any(u is not None for u in uncertainties):
            command += ["--noise", "--noise-seed", seed, "--uncertainty-unit", "gray"]
        for role, values in zip(("reference", "evaluation"), uncertainties):
            if values is not None:
                command += [f"--{role}-uncertainty", write(self.folder / f"{role}-u.nrrd", values, self.spacing)]
        run = subprocess.run(list(map(str, command)), capture_output=True, text=True, check=False)
        if run.returncode != 0:
            sys.exit(run.stderr)
        record = json.loads(run.stdout)
        return {one["label"]: one for one in record["criteria"]}, record


def uncertainty_of(dose, maximum, part):
    return part * maximum * numpy.sqrt(numpy.clip(dose, 0, None) / maximum)


def noisy_pair(pair, maximum, part, where, random):
    """Doses with noise, and the uncertainties as a simulation that has only them would tell them."""
    doses, told = [], []
    for role, dose in zip(("reference", "evaluation"), pair):
        if where not in (role, "both"):
            doses.append(dose)
            told.append(None)
            continue
        noise = random.normal(size=dose.shape) * uncertainty_of(dose, maximum, part)
        doses.append(numpy.clip(dose + noise, 0, None))
        told.append(uncertainty_of(doses[-1], maximum, part))
    return doses, told


def part_of(pair, box):
    """The part of a pair around its doses, so that little time goes into air."""
    reference, evaluation = pair
    where = numpy.nonzero(reference > 0.08 * reference.max())
    parts = tuple(slice(max(0, at.min() - box), at.max() + 1 + box) for at in where)
    return reference[parts], evaluation[parts]


def table(arguments):
    print("| pair | s | criterion | noise in | true | as given | corrected | interval | spread |\n|" + "---|" * 9)
    for name in arguments.pairs:
        *pair, spacing = PAIRS[name]()
        pair = part_of(pair, 3)
        maximum, random = pair[0].max(), numpy.random.default_rng(arguments.seed)
        with tempfile.TemporaryDirectory() as folder:
            workshop = Workshop(folder, spacing, maximum, arguments.threads)
            true, _ = workshop.compare(*pair)
            for part in arguments.noise:
                for where in ("reference", "evaluation", "both"):
                    rows = []
                    for seed in range(arguments.count):
                        doses, told = noisy_pair(pair, maximum, part, where, random)
                        rows.append(workshop.compare(*doses, told, seed)[0])
                    for criterion in CRITERIA:
                        print_row(name, part, criterion, where, true[criterion]["passRate"],
                                  [row[criterion] for row in rows])  # fmt: skip


def print_row(name, part, criterion, where, true, found):
    given = numpy.mean([one["passRate"] for one in found])
    told = [one["withoutNoise"] for one in found if one["withoutNoise"]["kind"] == "told"]
    cells = ["too noisy to tell", "", ""]
    if told:
        rates = [one["passRate"] for one in told]
        ends = [numpy.mean([one[end] for one in told]) for end in ("lower", "upper")]
        cells = [f"{numpy.mean(rates):.2f}", f"{ends[0]:.1f} to {ends[1]:.1f}", f"{numpy.std(rates):.2f}"]
    print("| " + " | ".join([name, f"{part:g}", criterion, where, f"{true:.2f}", f"{given:.2f}", *cells]) + " |", flush=True)


def sets(arguments):
    """Sets of noise of random size, one after the other through pairs and kinds."""
    told, held, widths, worst, silent = 0, 0, [], 0.0, 0
    by_pair = {}
    random = numpy.random.default_rng(arguments.seed)
    for name in arguments.pairs:
        *pair, spacing = PAIRS[name]()
        pair = part_of(pair, 3)
        maximum = pair[0].max()
        with tempfile.TemporaryDirectory() as folder:
            workshop = Workshop(folder, spacing, maximum, arguments.threads)
            for number in range(arguments.count // len(arguments.pairs)):
                part = random.uniform(0.005, 0.03)
                where = ("reference", "evaluation", "both")[number % 3]
                doses, uncertainties = noisy_pair(pair, maximum, part, where, random)
                # Of the doses without noise, in the voxels that are tested with it.
                tested = doses[0] > CUT_OFF / 100 * maximum
                true, _ = workshop.compare(numpy.where(tested, numpy.maximum(pair[0], 1.0001 * CUT_OFF / 100 * maximum), 0), pair[1])
                found, _ = workshop.compare(*doses, uncertainties, number)
                for criterion in CRITERIA:
                    estimate, rate = found[criterion]["withoutNoise"], true[criterion]["passRate"]
                    if estimate["kind"] != "told":
                        silent += 1
                        continue
                    told += 1
                    holds = estimate["lower"] - 1e-4 <= rate <= estimate["upper"] + 1e-4
                    held += holds
                    widths.append((estimate["upper"] - estimate["lower"]) / 2)
                    off = max(estimate["lower"] - rate, rate - estimate["upper"])
                    worst = max(worst, off)
                    counts = by_pair.setdefault(name, [0, 0])
                    counts[0] += holds
                    counts[1] += 1
                    if not holds:
                        print(f"{name} s {part:.4f} {where} {criterion}: true {rate:.2f}, "
                              f"{estimate['passRate']:.2f} ({estimate['lower']:.2f} to {estimate['upper']:.2f})")  # fmt: skip
                print(f"{name} {number + 1}: {held} of {told} hold", file=sys.stderr, flush=True)
    print(f"the interval holds the true rate in {held} of {told} ({100 * held / max(told, 1):.1f} %), "
          f"{silent} too noisy; by pair {by_pair}; half-widths median {numpy.median(widths):.2f}, "
          f"95 % below {numpy.percentile(widths, 95):.2f}; farthest outside {worst:.2f}")  # fmt: skip


if __name__ == "__main__":
    parser = argparse.ArgumentParser(description=__doc__, formatter_class=argparse.RawDescriptionHelpFormatter)
    parser.add_argument("what", choices=("table", "sets"))
    parser.add_argument("--pairs", nargs="+", choices=PAIRS, default=list(PAIRS))
    parser.add_argument("--noise", nargs="+", type=float, default=[0.01, 0.02, 0.03])
    parser.add_argument("--count", type=int, default=3)
    parser.add_argument("--seed", type=int, default=1)
    parser.add_argument("--threads", type=int, default=2)
    chosen = parser.parse_args()
    {"table": table, "sets": sets}[chosen.what](chosen)
