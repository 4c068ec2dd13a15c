"""EGSnrc's .3ddose: what its numbers may look like, and what must come out."""

import gzip

import numpy as np

from variants import DAMAGED, NO_ORIENTATION, ORIGIN, SIZE, SPACING, VALUES, read, refused
from variants_measurements import NO_DOSE_UNIT

FORMAT = "EGSnrc 3ddose"
UNIT = "Gy/history"
NO_UNIT = "tells no unit; its doses are taken for Gy per history"
WARNINGS = (NO_UNIT, NO_ORIENTATION)
NO_ERRORS = "holds doses without their errors; it may be cut short"
NO_END = "does not end with the end of a line; it may be cut short"
#: cm
BOUNDARIES = [
    [f"{(first + (i - 0.5) * step) / 10:.10g}" for i in range(count + 1)]
    for first, step, count in zip(ORIGIN, SPACING, SIZE)
]
ERRORS = (np.arange(VALUES.size) % 50) / 1000 + 0.001


def numbers(values):
    return [f"{float(value):.12g}" for value in np.ravel(values)]


def threeddose(values=VALUES, errors=ERRORS, boundaries=BOUNDARIES, sizes=SIZE, end="\n"):
    """A block on a line, as egs++ has it."""
    blocks = [[str(size) for size in sizes], *boundaries, numbers(values), numbers(errors)]
    return ("\n".join("\t".join(block) for block in blocks if block) + end).encode()


def wrapped(contents, words=3):
    """As Fortran wraps it."""
    all_words = contents.split()
    lines = [all_words[:3]] + [all_words[i : i + words] for i in range(3, len(all_words), words)]
    return b"\n".join(b"  " + b"   ".join(line) for line in lines) + b"\n"


def along(axis, boundaries, values=VALUES):
    """With other boundaries along an axis."""
    changed = [list(one) for one in BOUNDARIES]
    changed[axis] = boundaries.split()
    sizes = [len(one) - 1 for one in changed]
    shape = sizes[::-1]
    values = np.resize(values, shape)
    return threeddose(values, np.full(values.size, 0.01), changed, sizes), values


def good(name, contents, values=VALUES, *, warnings=WARNINGS, **changes):
    return read(name, contents, values, warnings=warnings, unit=UNIT, doubts=(), **changes)


def does_not_fit(there):
    return (
        f"does not fit its grid of 5 x 3 x 4 voxels: 60 doses and as many errors are 120 numbers, "
        f"the file has {there}"
    )


def layouts():
    plain = threeddose()
    yield good("a block on a line", plain)
    yield good("wrapped", wrapped(plain))
    yield good("all on a line", plain.replace(b"\n", b" ") + b"\n")
    yield good("Windows", plain.replace(b"\n", b"\r\n"))
    yield good("separators at the ends", plain.replace(b"\n", b"\t\n"))
    yield good("packed", gzip.compress(plain))
    yield good("packed twice over", gzip.compress(plain[:400]) + gzip.compress(plain[400:]))
    yield refused("packed and damaged", gzip.compress(plain)[:-5] + b"12345", DAMAGED)
    yield good("exponents", threeddose(VALUES * 2.0**-60), VALUES * np.float32(2.0**-60))
    double = plain.replace(b"\t0.012\t", b"\t1.2D-02\t")
    assert double != plain
    yield good("exponents of double precision", double)
    yield good("no end of a line", plain[:-1], warnings=(NO_UNIT, NO_END, NO_ORIENTATION))
    yield good("doses alone", threeddose(errors=[]), warnings=(NO_UNIT, NO_ERRORS, NO_ORIENTATION))
    same = np.full_like(VALUES, 0.25)
    counted = threeddose([], []) + b"60*0.25\n20*0.5 40*1\n"
    yield good("counts before numbers", counted, same)
    yield refused("a count of nothing", counted.replace(b"60*", b"0*"),
                  'has "0*0.25" where a number should be (word 19)')
    yield refused("a count without a number", counted.replace(b"60*0.25", b"60*"),
                  'has "60*" where a number should be (word 19)')
    yield refused("a count of too many", counted.replace(b"40*1", b"41*1"), does_not_fit(121))
    zeroed = np.where(np.arange(60).reshape(VALUES.shape) % 4 == 0, np.float32(0), VALUES)
    errors = np.where(zeroed.ravel() == 0, 0.9999999, ERRORS)
    left_out = int((zeroed == 0).sum())
    yield good("doses left out", threeddose(zeroed, errors), zeroed,
               warnings=(NO_UNIT,
                         f"holds 0 in {left_out} voxels whose dose its program left out, as too "
                         "uncertain or in air (error 0.9999999)", NO_ORIENTATION))
    yield good("nothing scored", threeddose(zeroed, np.where(zeroed.ravel() == 0, 1, ERRORS)), zeroed)
    yield good("negative doses", threeddose(-VALUES), -VALUES)


def counts():
    lines = threeddose().decode().splitlines()
    yield refused("a dose is missing", threeddose(VALUES.ravel()[1:]), does_not_fit(119))
    yield refused("half the errors", threeddose(errors=ERRORS[:30]), does_not_fit(90))
    yield refused("a number too many", threeddose(errors=[*ERRORS, 0.5]), does_not_fit(121))
    yield refused("few doses", threeddose(VALUES.ravel()[:7], []), does_not_fit(7))
    yield refused("boundaries alone", "\n".join(lines[:4]).encode() + b"\n", does_not_fit(0))
    yield refused("boundaries cut", "\n".join(lines[:3]).encode() + b"\n",
                  "is cut short within the boundaries of its voxels")
    yield refused("a word among doses", threeddose().replace(b"\t0.012\t", b"\t0.0l2\t"),
                  f'has "0.0l2" where a number should be (word {3 + 15 + 60 + 12})')
    yield refused("no number", threeddose().replace(b"\t0.012\t", b"\tnan\t"),
                  f'has "nan" where a number should be (word {3 + 15 + 60 + 12})')
    yield refused("too large a dose", threeddose(VALUES.astype(float) * 1e38),
                  "holds doses that are not finite numbers")
    yield refused("an error above 1", threeddose(errors=ERRORS * 100),
                  f"has an error of {ERRORS[ERRORS * 100 > 1][0] * 100:.6g} "
                  "(accepted: fractions from 0 to 1)")
    yield refused("a negative error", threeddose(errors=-ERRORS),
                  "has an error of -0.001 (accepted: fractions from 0 to 1)")
    yield refused("a grid that no file tells", b"2000 2000 300\n" + b"\n".join(
        b" ".join(b"%.3f" % (i / 10) for i in range(n + 1)) for n in (2000, 2000, 300)) + b"\n1*0\n",
        "its grid of 1 200 000 000 voxels is more than 31 841 bytes can tell")


def boundaries():
    uneven = "its voxels are uneven along {} (from {} mm to {} mm); resample the dose on an even grid first"
    contents, values = along(2, "-0.5000 -0.1667 0.1667 0.5000")
    yield good("thirds", contents, values, spacing=(2, 2.5, 10 / 3), origin=(-7.5, 12.25, -5 + 10 / 6))
    contents, values = along(0, "0 .33 0.67 1.00 1.33")
    yield good("thirds, two digits", contents, values, spacing=(3.325, 2.5, 3),
               origin=(1.6625, 12.25, -40))
    contents, _ = along(0, "0 0.3 0.7 1")
    yield refused("thirds, one digit", contents, uneven.format("x", 3, 4))
    contents, _ = along(1, "0 0.3 0.6 1 1.5 2.5")
    yield refused("growing voxels", contents, uneven.format("y", 3, 10))
    contents, _ = along(0, "0 0.2 0.4 0.7 0.9 1.2")
    yield refused("two sizes", contents, uneven.format("x", 2, 3))
    contents, values = along(2, "-3 1.5")
    yield good("one slab", contents, values, spacing=(2, 2.5, 45), origin=(-7.5, 12.25, -7.5))
    contents, _ = along(2, "-999 999")
    round_one = (
        "holds the dose of a cylinder or a sphere: it has one slab from -999 to 999 cm along {}; "
        "score the dose in a grid of voxels"
    )
    yield refused("a cylinder", contents, round_one.format("z"))
    contents, _ = along(1, "-999.000 999.000")
    yield refused("a sphere", contents, round_one.format("y"))
    for axis, name in enumerate("xyz"):
        contents, _ = along(axis, " ".join(BOUNDARIES[axis][::-1]))
        first, second = (float(text) * 10 for text in BOUNDARIES[axis][:-3:-1])
        yield refused(f"falling along {name}", contents,
                      f"its boundaries along {name} do not rise ({first:g} mm, then {second:g} mm)")
    contents, _ = along(2, "0 150")
    yield refused("huge voxels", contents,
                  "the voxel size of 1500 mm along axis z is outside 0.001 to 1000 mm")


def others():
    """Texts of numbers that are something else."""
    yield refused("a table of whole numbers", b"1 1 1\n2 3 4\n5 6 7\n8 9 10\n",
                  NO_DOSE_UNIT)
    yield refused("another size", b"5\t4" + threeddose()[3:], # a boundary along z counts for y
                  NO_DOSE_UNIT)
    yield refused("no boundaries", b"5 3 4\n",
                  NO_DOSE_UNIT)


ROWS = [*layouts(), *counts(), *boundaries(), *others()]
