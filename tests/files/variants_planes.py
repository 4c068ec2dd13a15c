"""Arrays and planes that programs of their makers write: variants, corner cases and refusals."""

import numpy as np

from variants_measurements import HOLED, HOLES, PLANE, WITH_HOLES, Plane, Points, Row, X, Y, number

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


def opg(values=PLANE, x=X, y=Y, scale=100, separator="\t", told="[TAB]", digits=1, length="mm",
        bodies=1, device="MatriXX", zeros=False, keys=None, **format_of):
    """A plane in text; the numbers are the doses times `scale`."""
    head = {
        "File Version": "4", "Separator": told, "Radiation Type": "", "Data Type": "Abs. Dose",
        "Data Factor": "1.000", "Data Unit": "cGy", "Length Unit": length, "Plane": "XY",
        "No. of Columns": len(x), "No. of Rows": len(y), "Number of Bodies": bodies, **(keys or {}),
    }  # fmt: skip
    lines = ["<opimrtascii>", "", "<asciiheader>"]
    lines += [f"{key}:    {value}" for key, value in head.items() if value is not None]
    lines += ["Operators Note: made", "of two lines", "</asciiheader>", ""]
    if device is not None:
        lines += ["<asciiheaderext>", f"Device Type:   {device}", "Device Rotation:  0",
                  "</asciiheaderext>", ""]  # fmt: skip
    for _ in range(bodies):
        lines += ["<asciibody>", f"Plane Position:     0.0 {length}", ""]
        lines.append(separator.join([f"X[{length}]   ", *(f" {at:.{digits}f} " for at in x), ""]))
        lines.append(f"Y[{length}]")
        lines += [separator.join([f" {at:.{digits}f} ", *(f" {number(dose * scale)} " for dose in row), ""])
                  for at, row in zip(y, values.astype(float))]
        lines += ["</asciibody>", ""]
    return "\r\n".join([*lines, "</opimrtascii>", ""]).encode()


LATTICE = (np.random.default_rng(4).integers(1, 60 * 64, (32, 32)) / 64).astype(np.float32)
CORNERS = np.ones((32, 32), bool)
CORNERS[::31, ::31] = False
STEPS = tuple(7.619 * (i - 15.5) for i in range(32))


def iba_rows():
    yield Row("IBA plane", opg(), Plane())
    yield Row("IBA plane in Gy", opg(scale=1, keys={"Data Unit": "Gy"}), Plane())
    yield Row("IBA plane in uGy", opg(scale=1e6, keys={"Data Unit": "uGy"}), Plane())
    yield Row("IBA plane in mGy with a factor",
              opg(scale=400, keys={"Data Unit": "mGy", "Data Factor": "2.500"}), Plane())
    yield Row("IBA plane, rows that fall", opg(y=Y[::-1], values=PLANE[::-1]), Plane())
    yield Row("IBA plane with semicolons", opg(separator=";", told='";"'), Plane())
    start, body = opg().split(b"<asciibody>")
    yield Row("IBA plane with decimal commas", start + b"<asciibody>" + body.replace(b".", b","),
              Plane())
    yield Row("IBA plane without device", opg(HOLED, device=None), Plane(HOLED))
    yield Row("IBA plane, a MatriXX reads 0", opg(HOLED, device="MatriXX Evolution"), Plane(HOLED))
    yield Row("IBA plane of a star", opg(HOLED, device="StarTrack"), WITH_HOLES)
    yield Row("IBA plane of an unknown device", opg(HOLED, device="Other"),
              Plane(HOLED, warnings=('is measured by a device "Other", of which it is not known which '
                                     "places have no detector; all count",)))
    end = 11.809 * 10  # 118.0945 mm, to 0.001 cm
    spread = Plane(np.where(CORNERS, LATTICE, np.float32(0)), (2 * end / 31,) * 2, (-end, -end),
                   CORNERS)
    yield Row("IBA plane, corners without chambers, rounded in cm",
              opg(LATTICE, [at / 10 for at in STEPS], [at / 10 for at in STEPS], digits=3, length="cm"),
              spread)
    yield Row("IBA plane, the unit given", opg(keys={"Data Unit": None, "Data Factor": None}),
              Plane(), ("cGy", None))
    yield Row("IBA plane, its unit beats a given one", opg(), Plane(), ("Gy", None))
    yield from iba_refusals()


def iba_refusals():
    def row(name, contents, sentence, *units):
        return Row(f"IBA {name}", contents, sentence, *units)

    relative = ("is an IBA plane of doses relative to one that it does not tell; export absolute "
                "doses")
    counts = "is an IBA plane of counts; calibrate it to dose and export absolute doses"
    for name, keys, sentence in (
        ("counts", {"Data Unit": "cnt"}, counts),
        ("counts by their type", {"Data Type": "Counts"}, counts),
        ("relative doses", {"Data Unit": "1/10 %"}, relative),
        ("relative doses by their type", {"Data Type": "Rel. Dose"}, relative),
        ("unknown unit", {"Data Unit": "OD"},
         'has a Data Unit of "OD" (accepted: Gy, cGy, mGy, uGy)'),
        ("no unit", {"Data Unit": None},
         "is an IBA plane that tells no Data Unit: it must be Gy, cGy, mGy or uGy, or the unit of "
         "dose be given"),
        ("no factor", {"Data Factor": None}, "tells no Data Factor"),
        ("factor of 0", {"Data Factor": "0.0"}, "has a Data Factor of 0"),
        ("factor that is no number", {"Data Factor": "x"},
         'tells a Data Factor of "x", which is no number'),
        ("other plane", {"Plane": "XZ"}, "is an IBA file of the plane XZ; export its plane XY"),
        ("other number of bodies", {"Number of Bodies": 2}, "tells 2 planes, but holds 1"),
        ("no sensible number of bodies", {"Number of Bodies": 1.5},
         "tells a Number of Bodies of 1.5, which is no sensible count"),
        ("other columns", {"No. of Columns": 5}, "has 4 columns and 3 rows, but tells others"),
        ("other rows", {"No. of Rows": 2}, "has 4 columns and 3 rows, but tells others"),
        ("no rows", {"No. of Rows": None}, "tells no No. of Rows"),
        ("other separator", {"Separator": "|"},
         'has a Separator of "|" (accepted: [TAB], comma, semicolon)'),
        ("other length", {"Length Unit": "inch"},
         'has a Length Unit of "inch" (accepted: mm, cm)'),
        ("two lengths", {"Length Unit": "cm"},
         "has a plane without its lines X and Y, in the unit of length that its head tells"),
    ):  # fmt: skip
        yield row(name, opg(keys=keys), sentence)
    yield row("two bodies", opg(bodies=2), "is an IBA file of 2 planes; export one alone")
    yield row("rotated device", opg().replace(b"Rotation:  0", b"Rotation:  90"),
              "is measured by a rotated device (Device Rotation 90); export it without rotation")
    yield row("uneven columns", opg(x=(-15, -10.4, -5, 0)),
              "has columns that are not evenly spaced (-10.4 mm)")
    whole = opg()
    short = "is cut short or damaged: a section does not end, or </opimrtascii> is missing"
    for end in (-4, -24, -60):
        yield row(f"plane, cut by {-end}", whole[:end], short)
    yield row("plane, going on", whole + b"more", f"goes on behind </opimrtascii> (line "
              f"{len(whole.splitlines()) + 1})")
    yield row("plane, a section of another name", whole.replace(b"asciibody", b"asciibodi"),
              'has "<asciibodi>" where a section should begin (line 24)')
    yield row("plane without its beginning", whole.split(b"\r\n", 1)[1],
              "does not begin with <opimrtascii>")
    yield row("plane, damaged head", whole.replace(b"Plane:", b"Plane "),
              'has "Plane     XY" in the place of a key and what it tells (line 11)')
    yield row("plane in binary form", b"opdfile\0\0\1" + bytes(200),
              "is an IBA plane in binary form (.opd); export it as text (.opg)")


def qa(values=PLANE, scale=100, unit="cGy", end="\r\n", **changes):
    """A plane of a planning system; its rows go down."""
    head = {
        "DateTime": "January 1 2000,00:00:00 DocNum,1", "PatientID": "0", "PlaneDesc": "C: 2.50 cm",
        "DoseUnits": f" {unit}, (100%) , -1.0 {unit}, Abs", "CompfType": "-1",
        "OutputWidLenQAplane": "7.5,5.0", "QAssd": "-1.0", "Upperleft": "-15.0,3.0",
        "CalcGridResmm (x,y,z)": "3.0,3.0,3.0", "DosePtsxy": "4,3", "DoseResmm": "2.5", **changes,
    }  # fmt: skip
    lines = ["0001108e", *(f"{key},{value}" for key, value in head.items() if value is not None)]
    lines += [",".join(number(float(dose) * scale) for dose in row) for row in values[::-1]]
    return end.join([*lines, ""]).encode()


def qa_rows():
    plane = Plane(PLANE, (2.5, 2.5), (-15, -2))
    yield Row("QA plane", qa(), plane)
    yield Row("QA plane in Gy", qa(scale=1, unit="Gy"), plane)
    yield Row("QA plane, commas at the ends", qa(end=",\r\n").replace(b",\r\n", b"\r\n", 12), plane)
    yield Row("QA plane without its first line", qa().split(b"\r\n", 1)[1], plane)
    yield Row("QA plane, its last line does not end", qa()[:-2], Plane(
        PLANE, (2.5, 2.5), (-15, -2),
        warnings=("does not end with the end of a line; it may be cut short",)))
    for name, changes, sentence in (
        ("relative", {"DoseUnits": " cGy, (100%) , 200.0 cGy, Rel"},
         "is a plane of relative doses by XiO or Monaco; export absolute doses"),
        ("another unit", {"DoseUnits": " %, (100%) , -1.0 %, Abs"},
         'has DoseUnits of "%" (accepted: Gy, cGy)'),
        ("two units", {"DoseUnits": " Gy, (100%) , -1.0 cGy, Abs"}, "tells two units of dose"),
        ("damaged units", {"DoseUnits": " cGy, Abs"},
         'tells a DoseUnits of "cGy, Abs", which are not 4 entries'),
        ("another width", {"OutputWidLenQAplane": "10.0,5.0"},
         "contradicts itself: 4 places 2.5 mm apart span 7.5 mm, not 10"),
        ("another length", {"OutputWidLenQAplane": "7.5,5.1"},
         "contradicts itself: 3 places 2.5 mm apart span 5 mm, not 5.1"),
        ("no width", {"OutputWidLenQAplane": None}, "tells no OutputWidLenQAplane"),
        ("no place", {"Upperleft": None}, "tells no Upperleft"),
        ("no number", {"Upperleft": "-15.0,x"},
         'tells a Upperleft of "-15.0,x", which are no numbers'),
        ("a size of one row", {"DosePtsxy": "4,1"},
         "tells DosePtsxy of 1 places along an axis, which is no count"),
        ("a step of 0", {"DoseResmm": "0"}, "tells a DoseResmm of 0"),
        ("no step", {"DoseResmm": None}, "is a plane by XiO or Monaco that tells no DoseResmm"),
        ("more columns", {"DosePtsxy": "5,3", "OutputWidLenQAplane": "10.0,5.0"},
         "tells 5 columns, but has 4 doses in line 13"),
        ("more rows", {"DosePtsxy": "4,4", "OutputWidLenQAplane": "7.5,7.5"},
         "tells 4 rows, but has 3"),
    ):
        yield Row(f"QA plane, {name}", qa(**changes), sentence)
    last = qa().splitlines()
    cut = b"\r\n".join([*last[:-1], last[-1].rsplit(b",", 1)[0], b""])
    yield Row("QA plane, a short row", cut, "tells 4 columns, but has 3 doses in line 15")


def foreign_rows():
    iplan = (b"BrainLAB Dose Export Version: \t1.2\r\nTable Entries in Gy\r\nAP \\ LR\t-1.0\t1.0\r\n"
             b"2.0\t0.1\t0.2\r\n1.0\t0.3\t0.4\r\n")
    sentence = ("is a plane by BrainLAB iPlan, which does not tell which way its axes point; export "
                "the dose as DICOM RT Dose")
    yield Row("iPlan plane", iplan, sentence)
    yield Row("iPlan plane without its head", iplan.split(b"\r\n", 2)[2], sentence)
    image = (b"[General]\nFileFormat=Generic Dosimetry Exchange Format\n[Interpretation]\nUnit=CU\n"
             b"[Data]\n0\t1\t2\n10\t11\t12\n")
    yield Row("dosimetry exchange image", image,
              "is of the Generic Dosimetry Exchange Format, which does not tell where its image lies "
              "and which way it points; export a DICOM RT Image in Gy or cGy", ("cGy", "mm"))


ROWS = [*ptw_rows(), *iba_rows(), *qa_rows(), *foreign_rows()]
