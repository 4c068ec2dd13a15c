"""Solids in linear gradients of dose, after B. Nelms et al., Med. Phys. 42 (2015) 4435: what their contours describe.

The contours of a solid describe prisms, of which volume, mean dose and dose-volume figures are known in closed form;
the solid itself is what somebody had in mind. Run as a program, this prints the table of docs/accuracy.md.
"""

import json
import math
import tempfile
from dataclasses import dataclass
from pathlib import Path

import numpy

import doses
from structure_files import write_structure_set
from support import run

RADIUS, HALF, SMALL = 12.0, 12.0, 4.0
#: Gy at the middle of the solids, and Gy per mm.
MIDDLE, STEEPNESS = 30.0, 0.5
SHARES = (99, 95, 50, 5, 1)
LEVELS = (27, 30, 33)
SLICES = (1.0, 2.0, 3.0)
#: mm, with positions of the voxels that meet neither planes nor vertices.
GRIDS = ((1.0, 1.0, 1.0), (2.0, 2.0, 2.0), (2.5, 2.5, 3.0), (3.0, 3.0, 2.0))
GRADIENTS = {"y": 1, "z": 2}


def circle(radius, count=360):
    angles = numpy.arange(count) * 2 * math.pi / count
    return numpy.stack([radius * numpy.cos(angles), radius * numpy.sin(angles)], axis=1)


def across(half_width, places):
    """Outline of what is symmetric about x = 0, from its half widths along y."""
    return numpy.array([*((w, y) for w, y in zip(half_width, places)),
                        *((-w, y) for w, y in zip(half_width[::-1], places[::-1]))])  # fmt: skip


def lying_cone(z):
    radii = abs(z) + (RADIUS - abs(z)) * numpy.linspace(1, 0, 200) ** 2
    places = HALF - radii * 2 * HALF / RADIUS
    return across(numpy.sqrt(numpy.maximum(radii**2 - z**2, 0)), places)


def lying_cylinder(z):
    return across([math.sqrt(RADIUS**2 - z**2)] * 2, [-HALF, HALF])


@dataclass
class Solid:
    section: object  # outline at a height, or None
    reach: float  # from -reach to reach along z
    volume: float  # mm^3
    centre: tuple = (0.0, 0.0, 0.0)


SOLIDS = {
    "sphere": Solid(lambda z: circle(math.sqrt(RADIUS**2 - z**2)), RADIUS, 4 / 3 * math.pi * RADIUS**3),
    "small sphere": Solid(lambda z: circle(math.sqrt(SMALL**2 - z**2)), SMALL, 4 / 3 * math.pi * SMALL**3),
    "cylinder along z": Solid(lambda z: circle(RADIUS), HALF, math.pi * RADIUS**2 * 2 * HALF),
    "cylinder along y": Solid(lying_cylinder, RADIUS, math.pi * RADIUS**2 * 2 * HALF),
    "cone along z": Solid(lambda z: circle(RADIUS * (HALF - z) / (2 * HALF)), HALF,
                          math.pi * RADIUS**2 * 2 * HALF / 3, (0.0, 0.0, -HALF / 2)),
    "cone along y": Solid(lying_cone, RADIUS, math.pi * RADIUS**2 * 2 * HALF / 3, (0.0, -HALF / 2, 0.0)),
}  # fmt: skip


def contours(solid, spacing):
    """Planes half a slice apart from the ends, with coordinates as files hold them."""
    count = round(2 * solid.reach / spacing)
    found = []
    for i in range(count):
        z = (i + 0.5 - count / 2) * spacing
        if abs(z) < solid.reach:
            found.append([tuple(float(f"{c:.6g}") for c in (x, y, z)) for x, y in solid.section(z)])
    return found


def area_and_moment(outline):
    """Of a polygon: its area, and the integral of y over it."""
    x, y = outline.T
    after_x, after_y = numpy.roll(x, -1), numpy.roll(y, -1)
    cross = x * after_y - after_x * y
    area = cross.sum() / 2
    return abs(area), math.copysign(1, area) * (cross * (y + after_y)).sum() / 6


def area_above(edges, level):
    """Of the parts of polygons from y = level upwards: the integral of x along their edges."""
    x, y, after_x, after_y = edges
    steps = numpy.where(after_y == y, 1, after_y - y)
    low, high = numpy.maximum(y, level), numpy.maximum(after_y, level)
    slope = (after_x - x) / steps
    return abs(((2 * x + slope * (low + high - 2 * y)) / 2 * (high - low)).sum())


class Prisms:
    """What contours at even distances describe, in a dose that rises along one axis."""

    def __init__(self, outlines, spacing, axis):
        self.outlines = [numpy.array(outline)[:, :2] for outline in outlines]
        self.heights = [outline[0][2] for outline in outlines]
        self.spacing, self.axis = spacing, axis
        self.areas, moments = zip(*map(area_and_moment, self.outlines))
        self.volume = sum(self.areas) * spacing
        around = [numpy.vstack([o, o[:1]]) for o in self.outlines]
        self.edges = numpy.hstack([numpy.vstack([a[:-1].T, a[1:].T]) for a in around])
        weighted = moments if axis == 1 else [a * z for a, z in zip(self.areas, self.heights)]
        self.mean = dose_at(sum(weighted) * spacing / self.volume)

    def reaching(self, dose):
        """The share of the volume at or above a dose."""
        level = (dose - MIDDLE) / STEEPNESS
        if self.axis == 1:
            return area_above(self.edges, level) * self.spacing / self.volume
        half = self.spacing / 2
        thick = (min(max(z + half - level, 0), self.spacing) for z in self.heights)
        return sum(a * t for a, t in zip(self.areas, thick)) / self.volume

    def dose_to(self, share):
        """The dose that a share of the volume reach."""
        low, high = dose_at(-2 * RADIUS), dose_at(2 * RADIUS)
        for _ in range(50):
            middle = (low + high) / 2
            low, high = (middle, high) if self.reaching(middle) >= share else (low, middle)
        return low


def dose_at(place):
    return MIDDLE + STEEPNESS * place


def gradient(spacing, axis):
    size = [int(2 * (RADIUS + 8) / s) for s in spacing]
    origin = [-s * (n - 1) / 2 + shift for s, n, shift in zip(spacing, size, (0.13, 0.37, 0.29))]
    dose = doses.Dose(numpy.zeros(tuple(reversed(size)), numpy.float32), spacing, tuple(origin))
    places = origin[axis] + numpy.arange(size[axis]) * spacing[axis]
    shape = [1, 1, 1]
    shape[2 - axis] = -1
    dose.values = numpy.broadcast_to(dose_at(places).reshape(shape), dose.values.shape).astype(numpy.float32)
    return dose


@dataclass
class Errors:
    """The largest ones: % of the volume or cc, % of the dose there, percentage points of the volume."""

    volume: float = 0.0
    volume_cc: float = 0.0
    mean: float = 0.0
    dose: float = 0.0
    share: float = 0.0

    def take(self, prisms, entry):
        figures = entry["dvh"]["reference"]
        metrics = figures["metrics"]
        cc = prisms.volume / 1000
        wanted = {f"D{share}": prisms.dose_to(share / 100) for share in SHARES}
        wanted["D0.03cc"] = prisms.dose_to(0.03 / cc)
        self.volume_cc = max(self.volume_cc, abs(entry["volume"] - cc))
        self.volume = max(self.volume, 100 * abs(entry["volume"] / cc - 1))
        self.mean = max(self.mean, 100 * abs(figures["mean"] / prisms.mean - 1))
        self.dose = max(self.dose, *(100 * abs(metrics[name] / dose - 1) for name, dose in wanted.items()))
        self.share = max(self.share, *(abs(metrics[f"V{level}Gy"] - 100 * prisms.reaching(level))
                                       for level in LEVELS))  # fmt: skip


def told(folder, spacing, structures):
    """What the program tells of the structures, by gradient: entries by name, for each grid."""
    metrics = ",".join([*(f"D{share}" for share in SHARES), *(f"V{level}Gy" for level in LEVELS)])
    for name, axis in GRADIENTS.items():
        for grid in GRIDS:
            path = doses.write_nrrd(folder / f"{name}.nrrd", gradient(grid, axis))
            result = run("dvh", path, "--structures", structures, "--dvh", metrics, "--json", folder / "d.json")
            assert result.returncode == 0, result.stderr
            document = json.loads((folder / "d.json").read_text())
            yield axis, {entry["name"]: entry for entry in document["structures"]["list"]}


def errors(folder):
    """By name and slice distance: the errors against the prisms, and these against the solid."""
    for spacing in SLICES:
        drawn = {name: contours(solid, spacing) for name, solid in SOLIDS.items()}
        structures = write_structure_set(folder / "s.dcm", drawn)
        prisms = {(name, axis): Prisms(outlines, spacing, axis)
                  for name, outlines in drawn.items() for axis in GRADIENTS.values()}  # fmt: skip
        found = {name: Errors() for name in SOLIDS}
        for axis, entries in told(folder, spacing, structures):
            for name in SOLIDS:
                found[name].take(prisms[name, axis], entries[name])
        for name in SOLIDS:
            yield name, spacing, found[name], {axis: prisms[name, axis] for axis in GRADIENTS.values()}


def ideal_distance(name, prisms):
    """% of the volume, and the largest of mean and D95, % of the dose there."""
    solid = SOLIDS[name]
    volume = 100 * (prisms[1].volume / solid.volume - 1)
    fine = 0.05
    distances = []
    for axis, one in prisms.items():
        distances.append(one.mean / dose_at(solid.centre[axis]) - 1)
        whole = Prisms(contours(solid, fine), fine, axis)
        distances.append(one.dose_to(0.95) / whole.dose_to(0.95) - 1)
    return volume, 100 * max(map(abs, distances))


def table():
    """The largest errors of each solid, over slice distances, grids and gradients."""
    worst = {name: [0.0] * 7 for name in SOLIDS}
    with tempfile.TemporaryDirectory(prefix="zarngi-prisms-") as folder:
        for name, spacing, error, prisms in errors(Path(folder)):
            volume, dose = ideal_distance(name, prisms)
            found = (error.volume, error.volume_cc, error.mean, error.dose, error.share, abs(volume), dose)
            worst[name] = [max(pair) for pair in zip(worst[name], found)]
    print("| solid | volume | mean | D99 to D1 | V | volume of the solid | its doses |")
    print("|---|---|---|---|---|---|---|")
    for name, (volume, cc, mean, dose, share, ideal, ideal_dose) in worst.items():
        print(f"| {name} | {volume:.1f} %, {cc:.3f} cc | {mean:.2f} % | {dose:.2f} % | {share:.1f} | "
              f"{ideal:.1f} % | {ideal_dose:.1f} % |")  # fmt: skip


if __name__ == "__main__":
    table()
