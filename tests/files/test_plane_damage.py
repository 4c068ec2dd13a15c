"""
Damaged files of arrays and planes: a bit turned over in each byte, bytes lost, and files cut short. They are
refused, or read with a warning, or give the same doses in the same places. Only what the file tells
once, with nothing to check it by, may make another dose.
"""

import re
import warnings
from collections import Counter

import numpy as np
import pytest
import zarngi

import variants_measurements
import variants_planes
from variants_measurements import HOLED, HOLES, PLANE

CLOSE = 0.02  # mm: coordinates are written to 0.01 mm, or 0.001 cm
NEAR = 2e-6  # of a dose: what is told twice agrees to a few digits of single precision
NUMBER = rb"[-+.,0-9Ee]+"


def spans(contents, *patterns):
    """The bytes of the first group of each match."""
    return {
        place
        for pattern in patterns
        for match in re.finditer(pattern, contents)
        for place in range(*match.span(1))
    }


def array_with_counts():
    """Doses that are counts times a factor, with flags."""
    counts = variants_measurements.section("Corrected Counts", HOLED, 100 / 0.0125)
    doses = variants_measurements.section("Dose Counts", HOLED)
    return variants_measurements.array(
        counts, doses, variants_measurements.flags(HOLES), head="Dose per Count:\t0.0125000000\r\n"
    )


ARRAY = array_with_counts()
PTW = variants_planes.ptw(variants_planes.large())
STAR = variants_planes.opg(HOLED, device="StarTrack")
MATRIX = variants_planes.opg(variants_planes.LATTICE, variants_planes.STEPS, variants_planes.STEPS, digits=2)
QA = variants_planes.qa()

CELL = rb"\t( *" + NUMBER + rb" *)(?=\t)"
FACTOR = rb"Data (?:Factor|Unit): +(.*)\r"
ROW = rb"\n( *" + NUMBER + rb" *)\t"

#: Contents, and the bytes that nothing checks: they are told once.
WHOLES = {
    # A flag that names another detector, where none reads.
    "array": (ARRAY, spans(ARRAY, rb"\t(196|0)(?=[\t\r])")),
    "PTW": (PTW, spans(PTW, rb"\t\t(" + NUMBER + rb")\t\t#")),
    "star": (STAR, spans(STAR, CELL, FACTOR, ROW)),
    "MatriXX": (MATRIX, spans(MATRIX, CELL, FACTOR)),
    "QA": (QA, spans(QA, rb"Upperleft,(.*)\r", rb"(?<=[,\n])(" + NUMBER + rb")(?=[,\r])")),
}


def flips(contents, random):
    """A bit of each byte, or of three thousand of them."""
    places = np.arange(len(contents))
    for place in places if len(places) < 3000 else random.permutation(places)[:3000]:
        bit = int(random.integers(8))
        yield place, contents[:place] + bytes([contents[place] ^ 1 << bit]) + contents[place + 1 :]


def losses(contents, random):
    """A byte that is lost."""
    for place in random.permutation(len(contents))[:1000]:
        yield place, contents[:place] + contents[place + 1 :]


def cuts(contents, random):
    """Nothing behind a place; the last line may do without its end."""
    for place in random.permutation(len(contents) - 2)[:1000]:
        yield place, contents[:place]


def read(contents):
    """Places and doses, in the order of the places; whether there were warnings. None: refused."""
    with warnings.catch_warnings(record=True) as caught:
        warnings.simplefilter("always")
        try:
            dose = zarngi.read_bytes(contents)
        except zarngi.FormatError:
            return None
    if isinstance(dose, zarngi.DosePoints):
        return dose.positions, dose.dose, bool(caught)
    measured = np.ones(dose.shape, bool) if dose.measured is None else dose.measured
    at = np.argwhere(measured)[:, ::-1] * dose.spacing + dose.origin
    return at, dose.dose[measured], bool(caught)


def differs(found, whole):
    """In what a reading differs from that of the whole file."""
    places, doses, _ = found
    if doses.shape != whole[1].shape or np.abs(places - whole[0]).max() > CLOSE:
        return "places"
    others = np.count_nonzero(np.abs(doses - whole[1]) > NEAR * np.abs(whole[1]))
    return f"{others} doses" if others else ""


@pytest.mark.parametrize("damage", [flips, losses, cuts])
@pytest.mark.parametrize("name", WHOLES)
def test_damage(name, damage):
    contents, unchecked = WHOLES[name]
    whole = read(contents)
    assert whole and not whole[2]
    found, counts = [], Counter()
    for place, damaged in damage(contents, np.random.default_rng(13)):
        got = read(damaged)
        counts["refused" if got is None else "told" if got[2] else "read"] += 1
        if got is None or got[2] or (place in unchecked and damage is not cuts):
            continue
        difference = differs(got, whole)
        if difference:
            line = damaged[damaged.rfind(b"\n", 0, place) + 1 : place + 20]
            found.append(f"byte {place}: {difference}: {line}")
    assert not found, "\n".join([f"{len(found)} of {counts}", *found])
    assert counts["refused"] > 100
