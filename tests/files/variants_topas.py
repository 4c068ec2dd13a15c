"""Scorers of TOPAS, as text and in binary: what they may write, and what must come out."""

import gzip

import numpy as np

from variants import (
    NO_ORIENTATION, SIZE, SPACING, VALUES, cut_short, read, refused, too_long,
)

FORMAT = "TOPAS"
RUN = "Gy/run"
HISTORY = "Gy/history"
OF_SUM = "holds the dose of all simulated histories (Sum)"
OF_MEAN = "holds the dose of one history (Mean)"
BOTH = "tells Sum and Mean; the Sum is taken"
IN_MIDDLE = "tells no position; its middle is put at 0, 0, 0"
NO_HISTORIES = (
    "tells standard deviations of single histories, but not how many histories there are; no "
    "uncertainty is read"
)
WARNINGS = (OF_SUM, IN_MIDDLE, NO_ORIENTATION)
MIDDLE = (-4.0, -2.5, -4.5)
HISTORIES = 4096
ALL = ("Sum", "Mean", "Histories_with_Scorer_Active", "Count_in_Bin", "Second_Moment", "Variance",
       "Standard_Deviation", "Min", "Max")
#: Sums are multiples of 1/64: so are means times histories.
STATISTICS = {
    "Sum": VALUES.astype(float),
    "Mean": VALUES.astype(float) / HISTORIES,
    "Histories_with_Scorer_Active": np.full(VALUES.shape, float(HISTORIES)),
    "Count_in_Bin": np.full(VALUES.shape, 7.0),
    "Second_Moment": VALUES.astype(float),
    "Variance": (VALUES.astype(float) / 8192) ** 2,
    "Standard_Deviation": VALUES.astype(float) / 8192,
    "Min": np.zeros(VALUES.shape),
    "Max": np.ones(VALUES.shape),
}
OTHER_MEANS = dict(STATISTICS, Mean=STATISTICS["Mean"] * (1 + 1e-5))


def head(statistics=("Sum",), scored="DoseToMedium ( Gy )", bins=None, more=(), version="3.9"):
    bins = bins or [f"{axis} in {count} bin{'s' if count > 1 else ' '} of {step / 10:g} cm"
                    for axis, count, step in zip("XYZ", SIZE, SPACING)]
    lines = [f"TOPAS Version: {version}", "Parameter File: a : b.txt", "Results for scorer: Dose",
             'Filtered by: OnlyIncludeParticlesGoing = "In"', "Scored in component: Phantom", *bins,
             f"{scored} : {'   '.join(statistics)}   ", *more]
    return "".join(f"# {line}\n" for line in lines).encode()


def rows(statistics=("Sum",), values=STATISTICS, order="xyz", single=False):
    """The lines of all bins; `order` names the slowest axis first."""
    nx, ny, nz = SIZE
    lines = []
    axes = ["zyx".index(axis) for axis in order]
    for position in np.ndindex(*(VALUES.shape[axis] for axis in axes)):
        bin_ = tuple(position[axes.index(axis)] for axis in range(3))
        z, y, x = bin_
        indices = (x * ny * nz + y * nz + z,) if single else (x, y, z)
        lines.append(", ".join([*map(str, indices),
                                *(f"{values[name][bin_]:.16g}" for name in statistics)]))
    return lines


def text(statistics=("Sum",), lines=None, **changes):
    lines = rows(statistics) if lines is None else lines
    return head(statistics, **changes) + "".join(f"{line}\n" for line in lines).encode()


def binary(statistics=("Sum",), name="dose.bin", **changes):
    return head(statistics, more=(f"Binary file: {name}",), **changes)


def stored(statistics=("Sum",), values=STATISTICS):
    return np.stack([values[name] for name in statistics], -1).astype("<f8").tobytes()


def good(name, contents, values=VALUES, *, warnings=WARNINGS, unit=RUN, origin=MIDDLE, **changes):
    return read(name, contents, values, warnings=warnings, unit=unit, origin=origin, doubts=(), **changes)


def texts():
    yield good("x slowest", text())
    yield good("x fastest", text(lines=rows(order="zyx"), version="4.2"))
    shuffled = rows()
    np.random.default_rng(2).shuffle(shuffled)
    yield good("lines in any order", text(lines=shuffled))
    yield good("a single index", text(lines=rows(single=True),
                                      more=("Using single index calculated as X * NY * NZ + Y * NZ + Z",)))
    yield good("water, Windows", text(scored="DoseToWaterBinned ( Gy )").replace(b"\n", b"\r\n"))
    yield good("Mean", text(("Mean",)), (VALUES / np.float32(HISTORIES)), unit=HISTORY,
               warnings=(OF_MEAN, IN_MIDDLE, NO_ORIENTATION))
    yield good("all statistics", text(ALL), warnings=(OF_SUM, BOTH, IN_MIDDLE, NO_ORIENTATION))
    other = tuple(reversed(ALL))
    yield good("all in another order", text(other), warnings=(OF_SUM, BOTH, IN_MIDDLE, NO_ORIENTATION))
    few = ("Standard_Deviation", "Sum")
    yield good("deviations without histories", text(few),
               warnings=(OF_SUM, NO_HISTORIES, IN_MIDDLE, NO_ORIENTATION))
    sparse = "Showing only rows that have sum > 20 Gy"
    kept = [line for line in rows() if float(line.split(",")[-1]) > 20]
    assert 0 < len(kept) < 60
    yield good("sparse", text(lines=kept, more=(sparse,)), np.where(VALUES > 20, VALUES, np.float32(0)))
    yield good("lengths in mm", text(bins=[f"{axis} in {count} bins of {step:g} mm"
                                           for axis, count, step in zip("XYZ", SIZE, SPACING)]))


def damaged_texts():
    lines = rows()
    yield refused("a bin is missing", text(lines=lines[:7] + lines[8:]),
                  "is cut short, or bins were left out: it does not tell the bin 0, 1, 3")
    yield refused("a bin told twice", text(lines=[*lines, lines[7]]),
                  "tells the bin 0, 1, 3 twice (line 70)")
    yield refused("an index too large", text(lines=[*lines[:-1], "5, 2, 3, 1"]),
                  "has an index of 5 where there are 5 bins (line 69)")
    yield refused("an index between", text(lines=[*lines[:-1], "4, 2.5, 3, 1"]),
                  "has an index of 2.5 where there are 3 bins (line 69)")
    yield refused("a number too many", text(lines=[*lines[:-1], lines[-1] + ", 1"]),
                  "has 5 numbers in line 69, where there are 3 indices and 1 statistics")
    yield refused("no number", text(lines=[*lines[:-1], "4, 2, 3, 1.O"]),
                  'has "1.O" where a number should be (line 69)')
    yield refused("a negative dose", text(lines=[*lines[:-1], "4, 2, 3, -0.5"]),
                  "has a dose of -0.5 (line 69)")
    yield refused("cut in a line", text()[:-1], "is cut short within its last line")
    yield refused("few lines", text(lines=lines[:9]),
                  "is cut short: it has fewer lines than its 60 bins")
    yield refused("more bins than a file tells",
                  text(lines=lines[:9], more=("Showing only rows that have sum > 0",),
                       bins=["X in 1000 bins of 1 mm", "Y in 1000 bins of 1 mm", "Z in 900 bins of 1 mm"]),
                  "its grid of 900 000 000 voxels is more than "
                  f"{len(b''.join(line.encode() + b' ' for line in lines[:9]))} bytes can tell")
    yield refused("sums that are not those of the means", text(ALL, rows(ALL, OTHER_MEANS)),
                  "tells a Sum that is not its Mean times its histories (line 10)")
    yield refused("packed", gzip.compress(text(), mtime=0),
                  "is packed by gzip as a whole; unpack it first (gunzip)")
    yield refused("doses of 1e39", text(lines=[*lines[:-1], "4, 2, 3, 1e39"]),
                  "holds doses that are not finite numbers")


def filtered():
    outside = [", ".join([*line.split(", ")[:3], "-1"]) for line in rows()]
    yield refused("nothing inside a filter", text(lines=outside),
                  "holds no dose: all bins are outside the structures of a filter")


def heads():
    def named(name, sentence, **changes):
        return refused(name, text(**changes), sentence)

    where = "; score the dose in a box"
    yield named("a cylinder", "is scored by TOPAS in bins along R, Phi, Z, not along X, Y, Z" + where,
                bins=["R in 2 bins of 2.5 cm", "Phi in 2 bins of 50 deg", "Z in 1 bin  of 100 cm"])
    yield named("a sphere", "is scored by TOPAS in bins along R, Phi, Theta, not along X, Y, Z" + where,
                bins=["R in 2 bins of 2.5 cm", "Phi in 2 bins of 50 deg", "Theta in 1 bin  of 180 deg"])
    yield named("an axis is missing", "is scored by TOPAS in bins along X, Y, not along X, Y, Z" + where,
                bins=["X in 2 bins of 2.5 cm", "Y in 2 bins of 5 cm"])
    yield named("no bins", "is a single value of a TOPAS scorer, without bins; divide its component into "
                "bins along X, Y and Z", bins=["Scored on surface: A"])
    no_dose = ", scored by TOPAS, no dose; score DoseToMedium or DoseToWater, in Gy"
    for scored in ("EnergyDeposit ( MeV )", "Fluence ( /mm2 )", "SurfaceTrackCount", "DoseToWater ( MeV )"):
        yield named(scored, f"holds {scored}{no_dose}", scored=scored)
    yield named("neither Sum nor Mean",
                "tells neither the Sum nor the Mean of its doses; have TOPAS report Sum",
                statistics=("Variance", "Count_in_Bin"))
    yield named("an unknown statistic", 'has "Som" where TOPAS names a statistic', statistics=("Sum", "Som"),
                lines=rows())
    yield named("a statistic twice", "names Sum twice", statistics=("Sum", "Sum"))
    yield named("bins of energy", 'is binned by more than places ("Binned by incident track energy in 2 bins '
                'of 1 MeV from 0 Me..."); have TOPAS score the dose without',
                more=("Binned by incident track energy in 2 bins of 1 MeV from 0 MeV to 2 MeV",))
    yield named("two quantities", "tells two quantities of a TOPAS scorer", more=("DoseToWater ( Gy ) : Sum",))
    yield refused("no quantity", head().replace(b" : Sum", b" Sum"),
                  "is a head of TOPAS that does not tell what was scored")
    yield named("an unknown length", 'its header gives a unit of length of "ell"',
                bins=["X in 5 bins of 0.2 ell", "Y in 3 bins of 0.25 cm", "Z in 4 bins of 0.3 cm"])
    yield named("no bin at all", "the grid has 0 voxels along axis x",
                bins=["X in 0 bins of 0.2 cm", "Y in 3 bins of 0.25 cm", "Z in 4 bins of 0.3 cm"])


def binaries():
    def beside(contents):
        return {"beside": {"dose.bin": contents}, "file": "dose.binheader"}

    yield good("binary", binary(), **beside(stored()))
    yield good("binary, all statistics", binary(ALL), **beside(stored(ALL)),
               warnings=(OF_SUM, BOTH, IN_MIDDLE, NO_ORIENTATION))
    yield refused("binary, cut short", binary(), cut_short(480, 479), **beside(stored()[:-1]))
    yield refused("binary, too long", binary(), too_long(480, 481), **beside(stored() + b"\0"))
    yield refused("binary, not finite", binary(), "holds a value that is not a finite number (bin 2)",
                  **beside(stored()[:8] + np.array([np.nan]).tobytes() + stored()[16:]))
    yield refused("binary, missing", binary(), "its data file dose.bin is missing", file="dose.binheader")
    yield refused("binary, sums that are not those of the means", binary(ALL),
                  "tells a Sum that is not its Mean times its histories (bin 1)",
                  **beside(stored(ALL, OTHER_MEANS)))


ROWS = [*texts(), *damaged_texts(), *filtered(), *heads(), *binaries()]
