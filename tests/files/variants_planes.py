"""Arrays and planes that programs of their makers write: variants, corner cases and refusals."""

import numpy as np

from variants_measurements import HOLED, HOLES, PLANE, Plane, Points, Row, X, Y, number

#: A small array of a name that no maker has.
UNKNOWN = (
    'is measured by an array "MADE", whose chambers are not known; whether it is whole is not '
    "known, either"
)


def scan(readings, kind="CROSSPLANE", off=0.0, diagonal="NOT", **changes):
    """The keys and readings (position, dose, number of the chamber) of a scan."""
    other = {"CROSSPLANE": "INPLANE", "INPLANE": "CROSSPLANE"}[kind]
    keys = {
        "INPLANE_AXIS_DIR": "GUN_TARGET" if diagonal == "SECOND" else "TARGET_GUN",
        "CROSSPLANE_AXIS_DIR": "LEFT_RIGHT", "DETECTOR": "MADE", "DETECTOR_SN": "1",
        "SCAN_CURVETYPE": f"{kind}_PROFILE", "SCAN_DEPTH": "0.00",
        f"SCAN_OFFAXIS_{other}": f"{off:.2f}", "SCAN_ANGLE": "0.00",
        "SCAN_DIAGONAL": f"{diagonal}_DIAGONAL", "MEAS_UNIT": "GY",
    }  # fmt: skip
    return {k: v for k, v in {**keys, **changes}.items() if v is not None}, readings


def ptw(scans, end="\n", form="CC-Export V1.9      "):
    lines = ["BEGIN_SCAN_DATA", f"\tFORMAT={form}", "\tLAST_MODIFIED=1-Jan-2000 00:00:00"]
    for i, (keys, readings) in enumerate(scans, 1):
        lines += [f"\tBEGIN_SCAN  {i}", *(f"\t\t{k}={v}" for k, v in keys.items()), "\t\tBEGIN_DATA"]
        for position, dose, *last in readings:
            cells = [f"{position:.2f}", f"{dose * 1000:.12g}E-03", *(str(cell) for cell in last)]
            lines.append("\t\t\t" + "\t\t".join(cells))
        lines += ["\t\tEND_DATA", f"\tEND_SCAN  {i}"]
    return end.join([*lines, "END_SCAN_DATA", ""]).encode()


def chamber(i, j, shape):
    return f"#{shape[1] * i + j + 1}"


def profiles(values=PLANE, x=X, y=Y, measured=None, kind="CROSSPLANE", **changes):
    """A scan for each row, or for each column."""
    measured = np.ones(values.shape, bool) if measured is None else measured
    rows = values.shape[0]
    places = [[(i, j) for j in range(len(x)) if measured[i, j]] for i in range(rows)]
    if kind == "INPLANE":
        places = [[(i, j) for i in range(rows) if measured[i, j]] for j in range(len(x))]
    return [
        scan([(x[j] if kind == "CROSSPLANE" else y[i], float(values[i, j]), chamber(i, j, values.shape))
              for i, j in line],
             kind, y[line[0][0]] if kind == "CROSSPLANE" else x[line[0][1]], **changes)
        for line in places
    ]  # fmt: skip


SIDE = tuple(10.0 * i - 130 for i in range(27))
LARGE = (np.random.default_rng(2).integers(0, 60 * 64, (27, 27)) / 64).astype(np.float32)
SQUARE = np.float32([[1.5, 0, 2.25], [3.5, 4, 4.5], [5.75, 0, 6.5]])


def large(**changes):
    return profiles(LARGE, SIDE, SIDE, DETECTOR="OCTAVIUS_729", **changes)


def star():
    """A row and both diagonals; the middle stands in all of them."""
    middle = scan([(-5, 3.5, "#1"), (0, 4, "#2"), (5, 4.5, "#3")])
    first = scan([(-7.07, 1.5, "#4"), (0, 4, "#2"), (7.07, 6.5, "#5")], "INPLANE", diagonal="FIRST")
    second = scan([(-7.07, 2.25, "#6"), (0, 4, "#2"), (7.07, 5.75, "#7")], "INPLANE",
                  diagonal="SECOND")  # fmt: skip
    return [middle, first, second]


def changed(scans, index=0, **changes):
    """The scans, of which one has other keys; None: not that key."""
    keys, readings = scans[index]
    keys = {k: v for k, v in {**keys, **changes}.items() if v is not None}
    return [*scans[:index], (keys, readings), *scans[index + 1:]]


def reading_changed(scans, index, reading, which=0):
    """The scans, of which one has another reading."""
    keys, readings = scans[index]
    return [*scans[:index], (keys, [*readings[:which], reading, *readings[which + 1:]]),
            *scans[index + 1:]]  # fmt: skip


def ptw_rows():
    made = {"warnings": (UNKNOWN,)}
    yield Row("PTW array", ptw(profiles()), Plane(**made))
    yield Row("PTW array, along the columns", ptw(profiles(kind="INPLANE")), Plane(**made))
    yield Row("PTW array, Windows", ptw(profiles(), "\r\n"), Plane(**made))
    yield Row("PTW array, a chessboard", ptw(profiles(HOLED, measured=HOLES)),
              Plane(HOLED, measured=HOLES, **made))
    yield Row("PTW array, a reading of 0", ptw(profiles(HOLED)), Plane(HOLED, **made))
    yield Row("PTW array, diagonals", ptw(star()),
              Plane(SQUARE, (5, 5), (-5, -5), SQUARE > 0, **made))
    yield Row("PTW array, on no raster",
              ptw([scan([(1.0, 2.5, "#1"), (-4.03, 0.5, "#7")], off=-3.7),
                   scan([(11.2, 1.25, "#3")], "INPLANE", 8.11)]),
              Points(((1.0, -3.7), (8.11, 11.2), (-4.03, -3.7)), (2.5, 1.25, 0.5), **made))
    yield Row("PTW array of known chambers", ptw(large()), Plane(LARGE, (10, 10), (-130, -130)))
    yield Row("PTW array, positions at a depth",
              ptw(profiles(LARGE, [1.0481 * x for x in SIDE], [1.0481 * x for x in SIDE],
                           DETECTOR="OCTAVIUS_729", SCAN_DEPTH="48.10")),
              Plane(LARGE, (272.5 / 26,) * 2, (-136.25, -136.25)))
    yield Row("PTW array, an offset", ptw(profiles(COLL_OFFSET_INPLANE="2.50", CORRECTION_FACTOR="1.0")),
              Plane(warnings=(UNKNOWN, "tells COLL_OFFSET_INPLANE 2.5, which is not taken into account")))
    yield from ptw_refusals()


def ptw_refusals():
    def row(name, contents, sentence):
        return Row(f"PTW {name}", contents, sentence)

    yield row("array of missing chambers", ptw(large()[:-1]),
              "has 702 chambers, where its array has 729; it may be incomplete, or of several "
              "measurements")
    moved = (-117.0, *large()[0][1][1][1:])
    yield row("array, a damaged position", ptw(reading_changed(large(), 0, moved, 1)),
              "has chamber 2 in a place that has no other one opposite; a position may be damaged")
    everywhere = profiles(LARGE, [x * 1.1 if abs(x) > 100 else x for x in SIDE], SIDE,
                          DETECTOR="OCTAVIUS_729")
    yield row("array in other places", ptw(everywhere),
              "has chambers in other places than its array; a position may be damaged")
    other = (0, 4.25, "#2")
    twice = "tells chamber 2 twice, with two doses or in two places in scan "
    yield row("array, a chamber twice", ptw(reading_changed(star(), 1, other, 1)), twice + "2")
    yield row("array, a chamber in two places", ptw(reading_changed(star(), 2, (1, 4, "#2"), 1)),
              twice + "3")
    yield row("array, a place twice", ptw(reading_changed(star(), 0, (5, 4.5, "#9"), 0)),
              "has two doses in one place (5, 0, 0)")
    yield row("array in another unit", ptw(profiles(MEAS_UNIT="A.U.")),
              "is measured by a PTW array in A.U.; calibrate it to dose and export it in Gy")
    for key, value in {"MEAS_UNIT": "cGy", "DETECTOR": "STARCHECK", "SCAN_DEPTH": "5.00",
                       "DETECTOR_SN": None}.items():
        yield row(f"array of two {key}", ptw(changed(profiles(), 2, **{key: value})),
                  f"tells another {key} in scan 3 than in scan 1; export one measurement alone")
    for key in ("SCAN_OFFAXIS_INPLANE", "SCAN_ANGLE", "SCAN_DIAGONAL", "SCAN_CURVETYPE",
                "INPLANE_AXIS_DIR", "CROSSPLANE_AXIS_DIR"):
        yield row(f"array without {key}", ptw(changed(profiles(), 1, **{key: None})),
                  f"tells no {key} in scan 2")
    for key in ("MEAS_UNIT", "DETECTOR"):
        yield row(f"array without {key}", ptw(profiles(**{key: None})), f"tells no {key} in scan 1")
    yield row("array, turned", ptw(changed(profiles(), 1, SCAN_ANGLE="90.00")),
              "has a SCAN_ANGLE other than 0 in scan 2")
    yield row("array, upside down", ptw(changed(profiles(), 1, INPLANE_AXIS_DIR="GUN_TARGET")),
              'has INPLANE_AXIS_DIR "GUN_TARGET" in scan 2, which no array has there')
    yield row("array, mirrored", ptw(changed(profiles(), 1, CROSSPLANE_AXIS_DIR="RIGHT_LEFT")),
              'has CROSSPLANE_AXIS_DIR "RIGHT_LEFT" in scan 2, which no array has there')
    yield row("array, a depth dose", ptw(changed(profiles(), 2, SCAN_CURVETYPE="PDD")),
              'has a SCAN_CURVETYPE of "PDD" in scan 3 (accepted: CROSSPLANE_PROFILE, INPLANE_PROFILE)')
    yield row("array, another diagonal", ptw(changed(profiles(), 2, SCAN_DIAGONAL="THIRD_DIAGONAL")),
              'has a SCAN_DIAGONAL of "THIRD_DIAGONAL" in scan 3')
    yield row("array, a diagonal off the middle", ptw(changed(star(), 1, SCAN_OFFAXIS_CROSSPLANE="1.0")),
              "has a diagonal off the middle in scan 2")
    yield row("array, no number", ptw(profiles()).replace(b"\t-5.00\t", b"\t-5,00\t", 1),
              'has "-5,00" where a number should be (line 18)')
    yield row("array, a row of four cells", ptw(profiles()).replace(b"\t#1\n", b"\t#1\t1\n"),
              "has 4 cells in line 16 (accepted: position, dose and chamber)")
    yield row("array, a bad chamber", ptw(profiles()).replace(b"#1\n", b"#1.5\n"),
              'has a chamber "#1.5" (line 16)')
    yield row("array, a chamber without number", ptw(profiles()).replace(b"\t\t#1\n", b"\n"),
              "names chambers of 11 of its 12 readings, not of all")
    yield row("array, another version", ptw(profiles(), form="CC-Export V2.0"),
              'has a FORMAT of "CC-Export V2.0" (accepted: CC-Export V1.9)')
    yield from ptw_damage(row)
    tank = profiles(MEAS_UNIT="A.U.", MEAS_MEDIUM="WATER")
    bare = [(keys, [reading[:2] for reading in readings]) for keys, readings in tank]
    advice = "; of such, write places and doses in Gy into a table with columns x, y, z, dose"
    yield row("scans in a tank", ptw(bare), "is a PTW scan in a water tank, in A.U." + advice)
    beside = [(keys, [(*reading, "12.5E-03") for reading in readings]) for keys, readings in bare]
    yield row("scans in a tank with reference", ptw(beside),
              "is a PTW scan in a water tank, in A.U." + advice)
    yield row("scan in air", ptw(changed(bare, MEAS_MEDIUM="AIR", MEAS_UNIT="GY")),
              "is a PTW scan by a single detector, in GY" + advice)


def ptw_damage(row):
    whole = ptw(profiles())
    short = "is cut short: it does not end with END_SCAN_DATA"
    yield row("array, cut short", whole[:-5], 'has "END_SCAN_" in the place of a key and what it '
              f"tells (line {len(whole.splitlines())})")
    for lines in (-1, -2, -4):
        yield row(f"array, cut by {-lines} lines", b"\n".join(whole.splitlines()[:lines]), short)
    yield row("array, going on", whole + b"BEGIN_SCAN_DATA\n",
              f"goes on behind END_SCAN_DATA (line {len(whole.splitlines()) + 1})")
    yield row("array without a scan", ptw([]), "holds no scan")
    yield row("array without readings", ptw([scan([])]), "has no readings in scan 1")
    yield row("array, its second scan lost", whole.replace(b"BEGIN_SCAN  2", b"BEGIN_SCAN  3"),
              'has "BEGIN_SCAN  3" where BEGIN_SCAN 2 should stand (line 22)')
    yield row("array, a scan that ends as another", whole.replace(b"END_SCAN  2", b"END_SCAN  3"),
              'has "END_SCAN  3" where END_SCAN 2 should stand (line 39)')
    yield row("array without its beginning", whole.split(b"\n", 1)[1],
              "does not begin with BEGIN_SCAN_DATA")
    yield row("array, a key twice", whole.replace(b"DETECTOR_SN=1", b"DETECTOR=OTHER", 1),
              'its header gives "detector" twice')


ROWS = [*ptw_rows()]
