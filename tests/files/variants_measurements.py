"""Planes and points of doses: how files may tell them, and what must come out."""

import dataclasses

import numpy as np

import variants_dicom
from variants import VALUES

#: Gy, [y, x]: multiples of 1/64, exact as decimals and in cGy.
PLANE = VALUES[0, :, :4]
X = (-15.0, -10.0, -5.0, 0.0)
Y = (-2.0, 0.5, 3.0)
NO_LENGTH = "tells no unit of length; its coordinates are taken for mm"
NO_DOSE_UNIT = ("tells no unit of dose: a column's name, as in dose (Gy), or a line of its own must "
                "say Gy or cGy, or the unit be given")


@dataclasses.dataclass(frozen=True)
class Plane:
    """A plane that must come out to the bit; `measured` tells where there is a dose."""

    values: np.ndarray = dataclasses.field(default_factory=lambda: PLANE)
    spacing: tuple = (5.0, 2.5)
    origin: tuple = (-15.0, -2.0)
    measured: np.ndarray | None = None
    warnings: tuple = ()
    unit: str = "Gy"


@dataclasses.dataclass(frozen=True)
class Points:
    """Points of two or three coordinates."""

    positions: tuple
    values: tuple
    warnings: tuple = ()


@dataclasses.dataclass(frozen=True)
class Row:
    name: str
    contents: bytes
    expected: object  # a Plane, Points, or a sentence
    units: tuple = (None, None)  # of dose and of length, and the pixel size, as they are given


def number(value, comma=False):
    return f"{value:.12g}".replace(".", ",") if comma else f"{value:.12g}"


def matrix(head="dose in Gy, mm\n", separator="\t", corner="y\\x", scale=1, comma=False, x=X, y=Y,
           values=PLANE, end="", line_end="\n"):
    """A matrix with coordinates along its edges, row by row."""
    def line(first, numbers):
        return separator.join([first, *(number(n, comma) for n in numbers)]) + end

    lines = [line(corner, x)]
    lines += [line(number(at, comma), row * scale) for at, row in zip(y, values.astype(float))]
    return (head + line_end.join(lines) + line_end).encode()


def columns(head="x (mm),y (mm),dose (Gy)", separator=",", places=None, values=PLANE, comma=False,
            scale=1):
    places = [(x, y) for y in Y for x in X] if places is None else places
    lines = [separator.join(number(n, comma) for n in (*place, float(dose) * scale))
             for place, dose in zip(places, values.ravel())]
    return "\n".join([*([head] if head else []), *lines, ""]).encode()


def section(name, values=PLANE, scale=100, ends=True):
    rows = [f"{number(y / 10)}\t{i + 1}\t" + "\t".join(number(float(d) * scale) for d in row)
            for i, (y, row) in reversed(list(enumerate(zip(Y, values))))]
    last = ["\tCOL\t" + "\t".join(str(i + 1) for i in range(len(X))),
            "\tXcm\t" + "\t".join(number(x / 10) for x in X)]
    return "\r\n".join([name, "Ycm\tROW\t", *rows, *(last if ends else []), "", ""])


def array(*sections, head=""):
    start = "** A file\r\n\r\nFile Revision:\tD\r\nCal File:\tnone.cal\r\nRows:\t3\r\nCols:\t4\r\n"
    others = section("Raw Counts", PLANE + 1)
    return (start + head + "\r\n" + others + "".join(sections) + "0123ABCD").encode()


def extracted(head="", values=PLANE, scale=100, dose="cGy", length="mm", hole="None", factor=1.0):
    lines = ["*Version:\t1.0.2", f"*Dose Units:\t{dose}", "*Dose Scalar Quantity:\t0",
             f"*Coordinate Units:\t{length}", f"*Hole Value:\t{hole}"]
    lines.append("*Y\\X\t" + "\t".join(number(x * factor) for x in X) + "\t")
    for y, row in reversed(list(zip(Y, values))):
        lines.append("\t".join([number(y * factor), *(number(float(d) * scale) for d in row)]) + "\t")
    return (head + "\r\n".join(lines) + "\r\n").encode()


HOLES = np.array([[1, 0, 1, 0], [0, 1, 0, 1], [1, 0, 1, 0]], bool)
HOLED = np.where(HOLES, PLANE, np.float32(0))
WITH_HOLES = Plane(HOLED, measured=HOLES)


def array_rows():
    doses = section("Dose Counts")
    yield Row("array", array(doses), Plane())
    holed = section("Dose Counts", HOLED)
    yield Row("array without flags, 0 is no detector", array(holed), dataclasses.replace(
        WITH_HOLES, warnings=("has no section Data Flags; places that read 0 are taken for places "
                              "without a detector",)))
    yield from flag_rows(holed)
    yield from calibration_rows()
    yield Row("array, shifted", array(doses, head="Shift X:\t1.5\tmm\r\nShift Y:\t0.0\tmm\r\n"),
              Plane(warnings=('tells "Shift X: 1.5 mm", which is not taken into account',)))
    yield Row("array without doses", array(section("Corrected Counts")),
              'is a detector array without a section "Dose Counts"')
    yield Row("array with doses twice", array(doses, doses), 'has two sections "Dose Counts"')
    yield Row("array, cut short", array()[:-8] + section("Dose Counts", ends=False).encode(),
              'is cut short: its section "Dose Counts" does not end with COL and Xcm')
    yield Row("array, another size", array(doses).replace(b"Cols:\t4", b"Cols:\t5"),
              "tells Cols: 5, but its doses have 4")
    yield Row("array, an odd row",
              array(doses.replace("\t1\t", "\t1\t7\t")),
              "has 4 columns, but 5 doses in line 20")
    yield Row("array, no number", array(doses.replace("-0.2\t1\t", "-0.2\t1\tx")),
              f'has "x{number(float(PLANE[0, 0]) * 100)}" where a number should be (line 20)')
    yield Row("array of nothing", array(section("Dose Counts", PLANE * 0)), "holds no dose")


def flags(detectors=HOLES, others=196.0):
    """Bit 0 names a detector, whatever the other bits say."""
    return section("Data Flags", np.where(detectors, 197.0, others), 1)


def flag_rows(holed):
    yield Row("array, flags name the detectors", array(holed, flags()), WITH_HOLES)
    for other in (0.0, 68.0, 128.0):
        yield Row(f"array, {other:g} is no detector", array(holed, flags(others=other)), WITH_HOLES)
    reads_zero = HOLES.copy()
    reads_zero[0, 1] = True
    yield Row("array, a detector that reads 0", array(holed, flags(reads_zero)),
              Plane(HOLED, measured=reads_zero))
    yield Row("array, all are detectors", array(holed, flags(np.ones((3, 4), bool))), Plane(HOLED))
    yield Row("array, a reading without detector",
              array(section("Dose Counts"), flags()),
              "has a dose where its Data Flags name no detector (line 18)")
    yield Row("array, flags of other places",
              array(holed, flags().replace("-0.2\t1", "-0.3\t1")),
              'has a section "Data Flags" of other places than "Dose Counts"')
    yield Row("array, flags of other columns",
              array(holed, flags().replace("\tXcm\t-1.5", "\tXcm\t-1.6")),
              'has a section "Data Flags" of other places than "Dose Counts"')
    yield Row("array, a flag that is none", array(holed, flags(others=68.5)),
              "has a flag of 68.5 (line 26)")


def calibration_rows():
    counts = section("Corrected Counts", PLANE, 100 / 0.0125)
    factor = "Dose per Count:\t0.0125000000\r\n"
    doses = section("Dose Counts")
    yield Row("array, doses are counts times a factor", array(counts, doses, head=factor), Plane())
    wrong = float(PLANE[2, 1]) * 100
    damaged = doses.replace(f"\t{number(wrong)}\t", f"\t{number(wrong + 0.25)}\t")
    yield Row("array, a dose that is no such product", array(counts, damaged, head=factor),
              f'has a dose of "{number(wrong + 0.25)}", which is not its corrected count times Dose '
              "per Count (line 27)")
    yield Row("array that is not calibrated",
              array(section("Dose Counts", PLANE * 0), head="Dose per Count:\t0.0000000000\r\n"),
              "is a detector array that is not calibrated to dose (Dose per Count is 0); calibrate "
              "it in its program and export it anew")


def extracted_rows():
    yield Row("extracted plane", extracted(), Plane())
    yield Row("extracted plane in Gy and cm",
              extracted(dose="Gy", scale=1, length="cm", factor=0.1), Plane())
    yield Row("extracted plane with holes",
              extracted(values=np.where(HOLES, PLANE, -1), hole="-100"), WITH_HOLES)
    yield Row("extracted plane of another unit", extracted(dose="%"),
              'has Dose Units of "%" (accepted: Gy, cGy)')
    yield Row("extracted plane of another length", extracted(length="inch"),
              'has Coordinate Units of "inch" (accepted: mm, cm)')
    yield Row("extracted plane without unit", extracted().replace(b"*Dose Units:\tcGy\r\n", b""),
              'tells no "Dose Units"')
    yield Row("extracted plane of two units",
              extracted().replace(b"*Dose Units:\tcGy", b"*Dose Units:\tcGy\r\n*Dose Units:\tGy"),
              'gives "Dose Units" twice')
    yield Row("extracted plane, a bad hole", extracted(hole="x"),
              'has a Hole Value of "x", which is no number')
    yield Row("extracted plane, cut short", extracted()[:-20],
              f"has 4 columns, but {extracted()[:-20].splitlines()[-1].count(9)} doses in line 9")
    yield Row("extracted plane, uneven",
              extracted().replace(b"\t-10\t", b"\t-11\t"),
              "has columns that are not evenly spaced (-11 mm)")
    yield Row("extracted plane, one row", b"\r\n".join(extracted().split(b"\r\n")[:7]),
              "has fewer than two rows")


def matrix_rows():
    for separator in ("\t", ";", ",", " "):
        corner = "y\\x" if separator != " " else "y/x"
        yield Row(f"matrix with {separator!r}", matrix(separator=separator, corner=corner), Plane())
        if separator != ",":
            yield Row(f"matrix with {separator!r} and decimal commas",
                      matrix(separator=separator, corner=corner, comma=True), Plane())
    yield Row("matrix, blank corner", matrix(corner=""), Plane())
    yield Row("matrix, no corner", matrix(separator=" ", corner=""), Plane())
    yield Row("matrix in cGy", matrix("# cGy\n# mm\n", scale=100), Plane())
    yield Row("matrix, units in the corner", matrix("", corner="mm, Gy"), Plane())
    yield Row("matrix in cm", matrix("Gy cm\n", x=np.array(X) / 10, y=np.array(Y) / 10), Plane())
    yield Row("matrix, Windows", b"\xef\xbb\xbf" + matrix(line_end="\r\n"), Plane())
    yield Row("matrix, falling axes", matrix(x=X[::-1], y=Y[::-1], values=PLANE[::-1, ::-1]),
              Plane())
    yield Row("matrix, separators at the ends", matrix(end="\t"), Plane())
    empty = matrix(values=np.where(HOLES, PLANE, np.nan)).replace(b"nan", b"")
    yield Row("matrix, empty cells", empty, WITH_HOLES)
    yield Row("matrix, unit given", matrix("", scale=100), Plane(), ("cGy", "mm"))
    yield Row("matrix, told units beat given ones", matrix(), Plane(), ("cGy", "cm"))
    yield Row("matrix, no length", matrix("Gy\n"), Plane(warnings=(NO_LENGTH,)))
    yield Row("matrix, no dose unit", matrix("mm\n"), NO_DOSE_UNIT)
    yield Row("matrix of two units", matrix("Gy or cGy\n"), "tells two units of dose")
    yield Row("matrix, points and commas", matrix(separator=";").replace(b"0.5;", b"0,5;"),
              "has decimal points and decimal commas (line 4)")
    yield Row("matrix, thousands", matrix(separator=";").replace(b"-15", b"1,000.5"),
              "is no table of doses: its first row of numbers has 5 cells (accepted: columns x, "
              "y[, z], dose, a matrix with coordinates along its top and left edges, or one of five "
              "columns or more whose pixel size is given)")
    yield Row("matrix, not finite", matrix(values=np.where(PLANE == PLANE[0, 1], np.inf, PLANE)),
              'has "inf" where a number should be (line 3)')
    yield Row("matrix, cut short", matrix()[:-12],
              f"has 4 columns, but {matrix()[:-12].splitlines()[-1].count(9)} doses in line 5")
    yield Row("matrix, a control character", matrix().replace(b"0.5", b"0\x01"),
              "is not a dose file (DICOM RT Dose or RT Image, NRRD, MetaImage, NIfTI, or a table "
              "of measured doses)")
    yield Row("matrix, far away", matrix(x=np.array(X) + 1e6),
              "the origin of 999985 mm along axis x is no sensible position")


NAMED = "x (mm),y (mm),dose (Gy)"
PROSE = ("Film 3, SSD 100 cm, plan 2 Gy", "Field 10x10 cm2", "# 6 MV, 200 MU, 12.5.2026, 1.02 cGy/MU",
         "Jaws,10,20", "% scanned at 72 dpi; phantom 30 cm x 12 in", "2 Gy, 3%/3mm")
NO_RASTER = ("has columns without names, which fill no raster like coordinates: name them, as in x (mm), "
             "y (mm), dose (Gy), or give a matrix its coordinates along its top and left edges")
SCORER = ("is the text of a simulation's scorer, which tells no positions; let the simulation write its "
          "dose as DICOM RT Dose, MetaImage or NRRD")
COUNTS = [(x, y) for y in range(3) for x in range(4)]


def other_column(name):
    return f'has a column "{name}" (accepted: x, y, z in mm or cm, dose in Gy or cGy)'


def other_line(text):
    return f'tells its units as "{text}" (accepted: Gy, cGy, mm, cm)'


def bins(line):
    return (f"tells bins (line {line}), so that its numbers may count them; write the unit beside the "
            "coordinates, as in x (mm) or y\\x (mm)")


def prose_rows():
    """What stands in sentences is the unit of nothing."""
    for i, line in enumerate(PROSE):
        yield Row(f"prose {i} over columns", columns(f"{line}\n{NAMED}"), Plane())
        yield Row(f"prose {i} over columns in cm and cGy",
                  columns(f"{line}\nx (cm),y (cm),dose (cGy)", scale=100,
                          places=[(x / 10, y / 10) for y in Y for x in X]), Plane())
        yield Row(f"prose {i} over columns without unit", columns(f"{line}\nx,y,dose"), NO_DOSE_UNIT)
        yield Row(f"prose {i} over a matrix", matrix(f"{line}\nGy, mm\n", ";"), Plane())
    yield Row("prose, dose given", columns(f"{PROSE[0]}\nx,y,dose"), Plane(warnings=(NO_LENGTH,)),
              ("Gy", None))
    yield Row("a long head", columns("# prose\n" * 1000 + NAMED), Plane())
    for line, word in (("Positions from the centre, in cm", "cm"), ("3 pixels are 1 mm", "pixels"),
                       ("distances (inch)", "inch"), ("all of it in m", "metre"),
                       ("places (in) of the film", "(in)"), ("cm (from the centre)", "cm")):
        yield Row(f"a doubtful length: {line}", columns(f"{line}\nx,y,dose (Gy)"),
                  f'tells no unit of length, but has "{word}" among the words of its head (line 1): name '
                  "the columns as in x (mm), or give the unit")
        yield Row(f"a doubtful length, given: {line}", columns(f"{line}\nx,y,dose (Gy)"), Plane(),
                  (None, "mm"))


def unit_rows():
    """Units are those of a column's name or of a line of their own, and none but ours."""
    for name in ("dose (%)", "dose (Gy/MU)", "dose (cGy / MU)", "dose [mGy]", "dose in % of 2 Gy", "dose_rel",
                 "dose rate (Gy/min)", "dose (mm)", "dose/Gy/MU"):
        yield Row(f"columns, {name}", columns(f"plan 2 Gy\nx (mm),y (mm),{name}"), other_column(name),
                  ("Gy", "mm"))
    for name in ("x (in)", "x (inch)", "x (m)", "x (pixel)", "x/px", "x_um", 'x (")', "x index", "x (Gy)",
                 "x (1/mm)"):
        yield Row(f"columns, {name}", columns(f"{name},y,dose (Gy)"), other_column(name))
    for name in ("dose (Gy)", "dose [GY]", "Dose/Gy", "dose_Gy", "dose in Gy", "dose to water (Gy)",
                 "Dose (gray)"):
        yield Row(f"columns, {name}, read", columns(f"x position (mm),y/mm,{name}"), Plane())
    for line in ("inch, Gy", "dose in %", "Units: mm, Gy/MU", "[mm, mGy]", "Dose units: arbitrary",
                 "coordinates in pixels", "unit of length: in", "%, mm", "mm; counts", "in, Gy", "[in] [Gy]",
                 "all values in in, Gy", "Gy, m"):
        yield Row(f"line, {line}", columns(f"{line}\nx,y,dose"), other_line(line), ("Gy", "mm"))
    for line in ("Units: mm, Gy", "[mm] [Gy]", "all values are in Gy and mm", "Dose: Gy; positions: mm"):
        yield Row(f"line, {line}, read", columns(f"{line}\nx,y,dose"), Plane())
    yield Row("names with commas, rows with blanks", columns("x (mm), y (mm), dose (Gy)", " "), Plane())
    yield Row("units below names", columns("x,y,dose\nmm,mm,cGy", scale=100), Plane())
    yield Row("units below names, in brackets", columns("# x;y;dose\n# [mm];;[Gy]", ";"), Plane())
    yield Row("units below names, inches", columns("x,y,dose\ninch,inch,Gy"), other_line("inch"))
    yield Row("units below names, exchanged", columns("x,y,dose\nGy,mm,Gy"),
              "has units below its columns (line 2) that are not those of positions and a dose")
    yield Row("line and columns of two units", columns(f"cGy\n{NAMED}"), "tells two units of dose")
    yield Row("corner in inches", matrix("", corner="y\\x [inch, Gy]"), other_line("y\\x [inch, Gy]"))
    for corner in ("y\\x [in, Gy]", "y\\x[in][Gy]", "mm, Gy, in"):
        yield Row(f"corner {corner}", matrix("", corner=corner), other_line(corner))
    yield Row("corner of both axes with units", matrix("", corner="Y [mm] / X [mm] Gy"), Plane())
    for corner in ("x\\y", "X [mm] / Y [mm]"):
        yield Row(f"corner {corner}", matrix(corner=corner),
                  f'has "{corner}" in the corner of its matrix, whose columns are x and whose rows are y: '
                  "write y\\x")
    for dose in ("cGy/MU", "Gy or cGy"):
        yield Row(f"extracted plane in {dose}", extracted(dose=dose),
                  f'has Dose Units of "{dose}" (accepted: Gy, cGy)')
    yield Row("extracted plane in mm of prose", extracted(length="mm at 100 cm"),
              'has Coordinate Units of "mm at 100 cm" (accepted: mm, cm)')


def evidence_rows():
    """Numbers that nobody calls coordinates are coordinates where they fill a raster."""
    three = ["1.5;1.25;1.75", "1.5;2;1.75", "1.5;1.25;1.5", "0.5;0.25;0.75", "0;0.25;0"]
    bare = ("\n".join(["Gy, mm", *three]) + "\n").encode()
    yield Row("three columns of doses", bare, NO_RASTER)
    yield Row("three columns of doses, units given", bare.replace(b"Gy, mm\n", b""), NO_RASTER,
              ("Gy", "mm"))
    four = "\n".join(["Gy, mm", *(f"{line};1.5" for line in three), ""]).encode()
    yield Row("four columns of doses", four, NO_RASTER)
    yield Row("points without names", columns("# Gy mm", places=SCATTERED, values=np.ones(3)), NO_RASTER)
    yield Row("a raster without names, tabs", columns("Gy mm", "\t"), Plane())
    yield Row("a raster without names, units given", columns(""), Plane(), ("Gy", "mm"))
    yield Row("a raster without names and length", columns("Gy"), Plane(warnings=(NO_LENGTH,)))
    yield Row("a raster without names, counted", columns("Gy", places=COUNTS),
              "has columns without names that may count rows and columns: name them, as in x (mm), y "
              "(mm), dose (Gy)")
    yield Row("a raster without names, counted in mm", columns("Gy mm", places=COUNTS),
              Plane(spacing=(1.0, 1.0), origin=(0.0, 0.0)))
    yield Row("a raster of other names above units", columns("depth,offset,value\n# Gy mm"),
              'has columns named "depth", "offset", "value" (accepted: x, y[, z], dose)')
    for line in ("y, x and dose (Gy, mm)", "Gy; dose, x, y in mm"):
        yield Row(f"words in another order: {line}", columns(f"{line}\n", ";").replace(b"\n\n", b"\n"),
                  "has columns without names below words in another order than x, y, dose (line 1); name "
                  "the columns in a line with cells like those of the rows", ("Gy", "mm"))
    yield Row("an entry of the head like a corner", b"Gy mm\nDose 2 4\n-10 0 1\n-5 0 1.25\n0 0 1.5\n",
              'has "Dose" where the corner of a matrix is; write y\\x there, or name the columns')
    yield Row("sizes above rows", b"Gy mm\n3 2\n1 1.5 2\n1.25 1.75 2\n",
              "has two numbers above rows of three (line 2), which may be sizes; write y\\x before those "
              "of a matrix")
    yield Row("another corner", matrix(corner="A \\ B"),
              'has "A \\ B" where the corner of a matrix is; write y\\x there, or name the columns')


def scorer_rows():
    numbers = columns(None, ", ", places=[(x, y, 0) for x, y in COUNTS])
    yield Row("scorer of another simulation",
              b"# mesh name: box\n# primitive scorer name: dose\n# iX, iY, iZ, total(value) [Gy]\n"
              + numbers, SCORER)
    yield Row("bins", columns("# x in 4 bins of 0.5 cm\nGy\nx,y,dose", places=COUNTS), bins(1))
    yield Row("bins beside coordinates", columns(f"# a histogram of 20 bins\n{NAMED}"), Plane())


SCATTERED = ((0.0, 0.0, 1.5), (3.1, 0.2, -7.0), (-40.0, 12.0, 0.3))


def column_rows():
    yield Row("columns on a raster", columns(), Plane())
    yield Row("columns in another order", columns()[::-1][::-1].replace(b"x (mm),y (mm)", b"x [mm],y [mm]"),
              Plane())
    shuffled = columns().split(b"\n")
    yield Row("columns, shuffled rows",
              b"\n".join([shuffled[0], *sorted(shuffled[1:-1]), b""]), Plane())
    holed = [(x, y) for i, y in enumerate(Y) for j, x in enumerate(X) if HOLES[i, j]]
    yield Row("columns on a raster with gaps", columns(places=holed, values=PLANE[HOLES]),
              WITH_HOLES)
    yield Row("columns without names", columns("# Gy mm"), Plane())
    yield Row("columns with a commented head", columns("# x y dose (Gy, mm)", " "), Plane())
    yield Row("columns in cGy and cm",
              columns("x,y,dose/cGy, cm", places=[(x / 10, y / 10) for y in Y for x in X],
                      scale=100).replace(b", cm", b"", 1).replace(b"x,y", b"x_cm,y"), Plane())
    yield Row("columns with decimal commas", columns("x;y;dose (Gy)", ";", comma=True),
              Plane(warnings=(NO_LENGTH,)))
    doses = np.array([1.5, 2.25, 0.125], np.float32)
    yield Row("points in space", columns("x (mm),y,z,dose (Gy)", places=SCATTERED, values=doses),
              Points(SCATTERED, (1.5, 2.25, 0.125)))
    flat = tuple(place[:2] for place in SCATTERED)
    yield Row("points in a plane", columns("x (mm),y,dose (Gy)", places=flat, values=doses),
              Points(flat, (1.5, 2.25, 0.125)))
    yield Row("one reading", b"x,y,z,dose\n# mm, Gy\n1,2,3,1.5\n".replace(b"x,y,z,dose\n", b"")
              .replace(b"1,2", b"1;2").replace(b"2,3", b"2;3").replace(b"3,1", b"3;1"),
              Points(((1.0, 2.0, 3.0),), (1.5,)))
    yield Row("points, no unit", columns("x,y,z,dose", places=SCATTERED, values=doses), NO_DOSE_UNIT)
    yield Row("points, one place twice",
              columns("x (mm),y,z,dose (Gy)", places=SCATTERED[:2] + SCATTERED[:1], values=doses),
              "has two doses in one place (0, 0, 1.5)")
    yield Row("points, another column", columns("x (mm),y,name,dose (Gy)", places=SCATTERED,
                                                values=doses),
              'has a column "name" (accepted: x, y, z, dose)')
    yield Row("columns of something else", columns("depth,factor,value (Gy)"),
              'has columns named "depth", "factor", "value (Gy)" (accepted: x, y[, z], dose)')
    yield Row("five columns", b"# Gy mm\n1 2 3 4 5\n3 4 5 6 7\n",
              "is no table of doses: its first row of numbers has 5 cells (accepted: columns x, "
              "y[, z], dose, a matrix with coordinates along its top and left edges, or one of five "
              "columns or more whose pixel size is given)")
    yield Row("points, a short row", columns() + b"1,2\n",
              "has 3 columns, but 2 cells in line 14")
    yield Row("points, far away", columns("x (mm),y,dose (Gy)", places=[(1e6, 1), (2, 3), (4, 9)],
                                          values=doses),
              "has a position of 1e+06 mm, which is no sensible one")


def dicom_image(stored=None, bits=16, **elements):
    """An RT Image; its rows go down."""
    stored = (PLANE[::-1] * 64).astype(int)[np.newaxis] if stored is None else stored
    made = variants_dicom.dataset(stored=stored, bits=bits)
    for keyword in ("DoseUnits", "DoseType", "DoseSummationType", "GridFrameOffsetVector",
                    "DoseGridScaling", "ImagePositionPatient", "ImageOrientationPatient",
                    "PixelSpacing", "NumberOfFrames", "SliceThickness", "FrameIncrementPointer"):
        delattr(made, keyword)
    made.Modality = "RTIMAGE"
    made.SOPClassUID = "1.2.840.10008.5.1.4.1.1.481.1"
    made.ImagePlanePixelSpacing = [2.5, 5]
    made.RTImagePosition = [-15, 3]
    made.RescaleSlope, made.RescaleIntercept, made.RescaleType = 1 / 64, 0, "GY"
    for keyword, value in elements.items():
        if value is None:
            delattr(made, keyword)
        else:
            setattr(made, keyword, value)
    return variants_dicom.file_of(made)


def dicom_rows():
    yield Row("RT Image", dicom_image(), Plane())
    yield Row("RT Image in cGy with an intercept",
              dicom_image(RescaleSlope=100 / 64, RescaleIntercept=25, RescaleType="CGY"),
              Plane(PLANE + np.float32(0.25)))
    yield Row("RT Image without position", dicom_image(RTImagePosition=None),
              Plane(origin=(-7.5, -2.5),
                    warnings=("tells no RT Image Position; its middle is put at 0, 0",)))
    yield Row("RT Image, turned over", dicom_image(RTImageOrientation=[1, 0, 0, 0, 1, 0]),
              Plane(PLANE[::-1], origin=(-15.0, 3.0)))
    yield Row("RT Image without unit", dicom_image(RescaleType=None),
              "is an RT Image that does not say that it holds doses (no Rescale Type)")
    yield Row("RT Image of another unit", dicom_image(RescaleType="US"),
              'is an RT Image with a Rescale Type of "US" (accepted: GY, CGY, CU)')
    yield Row("portal image in calibrated units", dicom_image(RescaleType="CU"), Plane(unit="CU"))
    yield Row("RT Image of two frames",
              dicom_image(np.repeat((PLANE * 64).astype(int)[np.newaxis], 2, 0), NumberOfFrames=2),
              "is an RT Image of 2 frames; a plane has one")
    yield Row("RT Image, tilted", dicom_image(RTImageOrientation=[0.8, 0.6, 0, -0.6, 0.8, 0]),
              "the grid is rotated against the patient's axes; resample it first")
    yield Row("RT Image, a slope of 0", dicom_image(RescaleSlope=0), "has a Rescale Slope of 0")
    yield Row("RT Image without spacing", dicom_image(ImagePlanePixelSpacing=None),
              "has no Image Plane Pixel Spacing")


ROWS = [*array_rows(), *extracted_rows(), *matrix_rows(), *column_rows(), *prose_rows(), *unit_rows(),
        *evidence_rows(), *scorer_rows(), *dicom_rows()]
