"""The variants of NRRD."""

import gzip
import itertools
import math

import numpy as np

from variants import (
    ASSUMED, BYTES, DAMAGED, NO_ORIENTATION, NO_POSITION, NOT_FINITE, ORIENTATIONS, ORIGIN, ROTATED, SIZE,
    SPACING, TEXT, VALUES, WHOLE, cut_short, flipped, gzip_member, gzip_rows, read, refused,
    replaced, scaled, sized, too_long, turned, unpacks_too_long, unpacks_too_short, words,
)

NO_CENTERINGS = "tells no centerings; its axis mins count as faces of voxels"
NO_PLACE = (NO_POSITION, NO_ORIENTATION)
NO_AXES = {"space": None, "space_directions": None, "space_origin": None}
FACES = tuple(o - h / 2 for o, h in zip(ORIGIN, SPACING))
HEADER_ENDLESS = "its header has no end (an empty line)"


def vector(numbers):
    return "(" + ",".join(words([n]) for n in numbers) + ")"


def vectors(rows):
    return " ".join(map(vector, rows))


def nrrd(data=BYTES, version="NRRD0004", more="", **changes):
    """A file; None removes a field, and `more` are lines behind the fields."""
    fields = {
        "type": "float",
        "dimension": "3",
        "space": "left-posterior-superior",
        "sizes": words(SIZE),
        "space directions": vectors(np.diag(SPACING)),
        "kinds": "domain domain domain",
        "endian": "little",
        "encoding": "raw",
        "space origin": vector(ORIGIN),
    } | {key.replace("_", " "): value for key, value in changes.items()}
    lines = [f"{key}: {value}\n" for key, value in fields.items() if value is not None]
    return f"{version}\n{''.join(lines)}{more}\n".encode() + data


def spaced(data=BYTES, **changes):
    """A file that tells spacings and no directions."""
    return nrrd(data, **(NO_AXES | {"spacings": words(SPACING)} | changes))


def packed(data):
    return nrrd(data, encoding="gzip")


def detached(name, data, header_end="\n", **changes):
    """A header, and the file with its data."""
    header = nrrd(b"", data_file=name, **changes)
    return {
        "file": "dose.nhdr",
        "contents": header if header_end else header.rstrip(b"\n") + b"\n",
        "beside": {name: data},
    }


def oriented(orientation):
    values, spacing, origin, axes = turned(orientation)
    steps = np.multiply(axes, np.reshape(spacing, (3, 1)))
    return nrrd(values.tobytes(), sizes=words(values.shape[::-1]), space_origin=vector(origin),
                space_directions=vectors(steps))


TYPES = {
    "i1": "int8, int8_t, signed char",
    "u1": "uint8, uint8_t, uchar, unsigned char",
    "i2": "int16, int16_t, short, short int, signed short, signed short int",
    "u2": "uint16, uint16_t, ushort, unsigned short, unsigned short int",
    "i4": "int32, int32_t, int, signed int",
    "u4": "uint32, uint32_t, uint, unsigned int",
    "i8": "int64, int64_t, longlong, long long, long long int, signed long long, "
    "signed long long int",
    "u8": "uint64, uint64_t, ulonglong, unsigned long long, unsigned long long int",
    "f4": "float",
    "f8": "double",
}


def type_rows():
    for code, names in TYPES.items():
        values = VALUES if code[0] == "f" else WHOLE
        for name in names.split(", "):
            data = values.astype("<" + code).tobytes()
            yield read(f"type {name}", nrrd(data, type=name), values)
        data = values.astype(">" + code).tobytes()
        yield read(f"big endian {name}", nrrd(data, type=name, endian="big"), values)
        digits = " ".join(str(value) for value in values.astype(code).ravel()).encode()
        yield read(f"text {name}", nrrd(digits, type=name, encoding="ascii"), values)
    below = VALUES.astype("<f8") * (1 + 2.0**-30)
    yield read("doubles are rounded once", nrrd(below.tobytes(), type="double"),
               below.astype(np.float32))
    large = (VALUES.astype("i8") << 50) + 1
    yield read("whole numbers beyond 2^53", nrrd(large.tobytes(), type="int64"),
               large.astype(np.float32))
    top = np.full(VALUES.shape, 2**64 - 1, "u8")
    yield read("the largest whole number", nrrd(top.tobytes(), type="uint64"),
               top.astype(np.float32))
    negative = -WHOLE
    yield read("negative numbers", nrrd(negative.astype("<i2").tobytes(), type="int16"), negative)
    for name in ("block", "long", "half", "float16", "bool", "float double", ""):
        yield refused(f"type '{name}'", nrrd(type=name),
                      f'has values of the unknown type "{name}"')
    yield refused("no type", nrrd(type=None), 'its header has no "type"')


def byte_order_rows():
    byte = WHOLE.astype("u1").tobytes()
    no_order = 'its header has no "endian", the byte order of its values'
    yield read("endian: LITTLE", nrrd(endian="LITTLE"))
    yield refused("no endian", nrrd(endian=None), no_order)
    yield refused("no endian, packed", nrrd(gzip.compress(BYTES), endian=None, encoding="gzip"),
                  no_order)
    yield read("no endian, values of one byte", nrrd(byte, type="uint8", endian=None), WHOLE)
    yield read("no endian, text", nrrd(TEXT, encoding="text", endian=None))
    yield refused("endian: middle", nrrd(endian="middle"),
                  'its header gives a byte order (endian) of "middle"')


def encoding_rows():
    unsupported = 'its encoding "{}" is not supported (accepted: raw, gzip, ascii)'
    yield read("encoding: RAW", nrrd(encoding="RAW"))
    yield read("encoding: gz", nrrd(gzip.compress(BYTES), encoding="gz"))
    yield from gzip_rows(packed, BYTES, split=120)
    yield read("big endian and packed",
               nrrd(gzip.compress(VALUES.astype(">f4").tobytes()), endian="big", encoding="gzip"))
    for name in ("ascii", "text", "txt"):
        yield read(f"encoding: {name}", nrrd(TEXT, encoding=name))
    for name in ("bzip2", "bz2", "hex", "zrl", "zip"):
        yield refused(f"encoding: {name}", nrrd(encoding=name), unsupported.format(name))
    yield refused("no encoding", nrrd(encoding=None), 'its header has no "encoding"')
    yield refused("packed in name only", nrrd(encoding="gzip"), DAMAGED)
    yield refused("packed data, said to be raw", nrrd(gzip_member(BYTES)),
                  cut_short(240, len(gzip_member(BYTES))))
    yield refused("packed as a whole", gzip.compress(nrrd()),
                  "is packed by gzip as a whole; unpack it first (gunzip)")


def text_rows():
    def text(data, **changes):
        return nrrd(data, encoding="ascii", **changes)

    few = "is cut short, or its header lies: its grid needs 60 values, the file has {}"
    none = 'has a value of "{}", which is no number of its type'
    bytes_ = {"type": "uint8"}
    lines = TEXT.replace(b" ", b"\n")
    yield read("text on lines", text(lines + b"\n"))
    yield read("text on lines of another system", text(lines.replace(b"\n", b"\r\n") + b"\r\n"))
    yield read("text between tabs", text(b"\t" + TEXT.replace(b" ", b"\t\t")))
    yield read("text with signs", text(b"+" + TEXT.replace(b" ", b" +")))
    exponents = " ".join(f"{value:.9e}" for value in VALUES.ravel()).encode()
    yield read("text with exponents", text(exponents))
    yield refused("text, a value missing", text(TEXT.rsplit(b" ", 1)[0]), few.format(59))
    yield refused("text, most missing", text(b"1 2 3"),
                  "is cut short, or its header lies: its grid needs 60 values, the file has fewer")
    yield refused("text, a value more", text(TEXT + b" 1"),
                  "holds more than its grid, or its header lies: its grid needs 60 values")
    yield refused("text, a word behind", text(TEXT + b" end"),
                  "holds more than its grid, or its header lies: its grid needs 60 values")
    yield refused("text between commas", text(TEXT.replace(b" ", b", ")),
                  none.format(TEXT.split(b" ", 1)[0].decode() + ","))
    yield refused("text with a word", text(b"dose" + TEXT[TEXT.index(b" "):]), none.format("dose"))
    yield refused("text with infinity", text(b"inf" + TEXT[TEXT.index(b" "):]), NOT_FINITE)
    yield refused("text with no number", text(b"nan" + TEXT[TEXT.index(b" "):]), NOT_FINITE)
    for value in ("256", "-1", "1.5"):
        digits = value + " 7" * 59
        yield refused(f"text {value} as a byte", text(digits.encode(), **bytes_),
                      none.format(value))


def space_name(letters):
    names = {"l": "left", "r": "right", "a": "anterior", "p": "posterior", "s": "superior",
             "i": "inferior"}
    return "-".join(names[letter] for letter in letters)


def space_rows():
    """Directions of the patient in any order and sign, by name and by initials."""
    pairs = ("lr", "pa", "si")
    for order in itertools.permutations(range(3)):
        for choice in itertools.product((0, 1), repeat=3):
            letters = "".join(pairs[axis][choice[axis]] for axis in order)
            signs = [1 - 2 * choice[axis] for axis in order]
            place = [ORIGIN[axis] * sign for axis, sign in zip(order, signs)]
            steps = np.zeros((3, 3))
            for coordinate, (axis, sign) in enumerate(zip(order, signs)):
                steps[axis, coordinate] = SPACING[axis] * sign
            changes = {"space_directions": vectors(steps), "space_origin": vector(place)}
            yield read(f"space {space_name(letters)}", nrrd(space=space_name(letters), **changes))
            yield read(f"space {letters.upper()}", nrrd(space=letters.upper(), **changes))
    yield read("space Left-Posterior-Superior", nrrd(space="Left-Posterior-Superior"))
    # A space counts although the steps are along its axes: the image is mirrored in the patient.
    mirrored = (
        VALUES[:, ::-1], SPACING, (ORIGIN[0], -ORIGIN[1] - 2 * SPACING[1], ORIGIN[2])
    )
    yield read("left-anterior-superior with steps along its axes",
               nrrd(space="left-anterior-superior"), mirrored[0], origin=mirrored[2])
    mirrored = (-ORIGIN[0] - 4 * SPACING[0], -ORIGIN[1] - 2 * SPACING[1], ORIGIN[2])
    yield read("RAS with steps along its axes", nrrd(space="RAS"), VALUES[:, ::-1, ::-1],
               origin=mirrored)
    for name in ("3D-right-handed", "scanner-xyz"):
        yield read(f"space {name}", nrrd(space=name), warnings=(NO_ORIENTATION,))
    yield read("space dimension 3 and no space", nrrd(space=None, space_dimension="3"),
               warnings=(NO_ORIENTATION,))
    yield read("directions without a space", nrrd(space=None), warnings=(NO_ORIENTATION,))
    for name in ("3D-left-handed", "left-posterior-superior-time", "LPST", "scanner-xyz-time",
                 "left-left-superior", "LRS", "left-posterior", "LP", "somewhere"):
        yield refused(f"space {name}", nrrd(space=name),
                      f'its space "{name}" is not supported (accepted: directions of the patient '
                      "such as left-posterior-superior)")
    yield refused("space dimension 2", nrrd(space=None, space_dimension="2"),
                  "its space has 2 dimensions instead of 3")
    no_steps = "its header gives a space but no space directions"
    yield refused("space with spacings", spaced(space="LPS", axis_mins="0 0 0"), no_steps)
    yield refused("space with spacings and nothing else", spaced(space="LPS"), no_steps)
    yield refused("space origin with spacings", spaced(space_origin="(0,0,0)"), no_steps)


def direction_rows():
    for orientation in ORIENTATIONS:
        yield read(f"axes {orientation}", oriented(orientation))
    yield read("directions with blanks", nrrd(space_directions="( 2, 0, 0 ) (0, 2.5, 0) (0 ,0 ,3)",
                                              space_origin="( -7.5, 12.25, -40 )"))
    yield read("no space origin", nrrd(space_origin=None), origin=(0, 0, 0),
               warnings=(NO_POSITION,))
    # A sine of the tilt of 0.5e-4; the step is as long as it is.
    yield read("a tilt by rounding", nrrd(space_directions="(2,0.0001,0) (0,2.5,0) (0,0,3)"),
               spacing=(math.sqrt(4 + 0.0001 * 0.0001), 2.5, 3))
    yield refused("a tilt", nrrd(space_directions="(2,0.001,0) (0,2.5,0) (0,0,3)"), ROTATED)
    yield refused("rotated", nrrd(space_directions="(1.6,1.2,0) (-1.5,2,0) (0,0,3)"), ROTATED)
    yield refused("one axis twice", nrrd(space_directions="(2,0,0) (2.5,0,0) (0,0,3)"), ROTATED)
    yield refused("a step of 0", nrrd(space_directions="(0,0,0) (0,2.5,0) (0,0,3)"),
                  sized("0", "x"))
    for steps in ("(nan,0,0) (0,2.5,0) (0,0,3)", "(2,0) (0,2.5) (0,3)", "(2,0,0) (0,2.5,0)",
                  "(2,0,0) (0,2.5,0) (0,0,three)", "(2,0,0) (0,2.5,0) (0,0,3", "2 2.5 3", ""):
        yield refused(f"directions {steps}", nrrd(space_directions=steps), DIRECTIONS[steps])
    for origin in ("(nan,0,0)", "(inf,0,0)", "(0,0)", "(0,0,0) (0,0,0)", "", "(0,0,x)", "none"):
        yield refused(f"origin '{origin}'", nrrd(space_origin=origin),
                      f'its header gives an origin of "{ORIGINS.get(origin, origin)}"')
    # One bit from a minus: no blank, or the place would come out elsewhere.
    yield refused("a carriage return for a minus", nrrd(space_origin="(\r7.5,12.25,-40)"),
                  'its header gives an origin of "?7.5 12.25 -40"')
    yield refused("far away", nrrd(space_origin="(0,1e6,0)"),
                  "the origin of 1e+06 mm along axis y is no sensible position")
    yield read("100 m away", nrrd(space_origin="(0,-1e5,0)"), origin=(0, -1e5, 0))
    yield refused("two voxel sizes", nrrd(spacings="2 2.5 3"),
                  "its header tells two voxel sizes (spacings and space directions)")
    yield read("a voxel size of 0.001 mm", nrrd(space_directions="(0.001,0,0) (0,1000,0) (0,0,3)"),
               spacing=(0.001, 1000, 3))
    yield refused("a voxel size of 0.0009 mm",
                  nrrd(space_directions="(0.0009,0,0) (0,2.5,0) (0,0,3)"), sized("0.0009", "x"))
    yield refused("a voxel size of 1001 mm",
                  nrrd(space_directions="(2,0,0) (0,1001,0) (0,0,3)"), sized("1001", "y"))
    yield refused("a voxel size of 1e30 mm",
                  nrrd(space_directions="(2,0,0) (0,2.5,0) (0,0,1e30)"), sized("1e+30", "z"))


DIRECTIONS = {
    "(nan,0,0) (0,2.5,0) (0,0,3)": 'its header gives a direction of "nan 0 0"',
    "(2,0) (0,2.5) (0,3)": 'its header gives a direction of "(2,0) (0,2.5) (0,3)"',
    "(2,0,0) (0,2.5,0)": 'its header gives space directions of "(2,0,0) (0,2.5,0)"',
    "(2,0,0) (0,2.5,0) (0,0,three)": 'its header gives a direction of "0 0 three"',
    "(2,0,0) (0,2.5,0) (0,0,3": 'its header gives space directions of "(2,0,0) (0,2.5,0) (0,0,3"',
    "2 2.5 3": 'its header gives a direction of "2 2.5 3"',
    "": 'its header gives space directions of ""',
}
#: As the sentence shows an origin that is no three numbers.
ORIGINS = {"(nan,0,0)": "nan 0 0", "(inf,0,0)": "inf 0 0", "(0,0,x)": "0 0 x"}


def spacing_rows():
    cells, nodes = words(FACES), words(ORIGIN)
    at_origin = {"warnings": NO_PLACE, "origin": (0, 0, 0)}
    by_faces = (NO_CENTERINGS, NO_ORIENTATION)
    yield read("spacings", spaced(), **at_origin)
    yield read("axis mins of cells", spaced(axis_mins=cells, centers="cell cell cell"),
               warnings=(NO_ORIENTATION,))
    yield read("axis mins of nodes", spaced(axis_mins=nodes, centers="node node node"),
               warnings=(NO_ORIENTATION,))
    yield read("axismins, centerings in capitals",
               spaced(axismins=nodes, centerings="Node NODE node"), warnings=(NO_ORIENTATION,))
    yield read("axis mins of cells and nodes",
               spaced(axis_mins=words([FACES[0], ORIGIN[1], FACES[2]]), centers="cell node cell"),
               warnings=(NO_ORIENTATION,))
    for centers in (None, "??? ??? ???", "none none none"):
        yield read(f"axis mins, centerings {centers}", spaced(axis_mins=cells, centers=centers),
                   warnings=by_faces)
    yield read("axis mins, one centering not told",
               spaced(axis_mins=words([ORIGIN[0], FACES[1], ORIGIN[2]]),
                      centers="node ??? node"), warnings=by_faces)
    yield refused("centerings of another kind", spaced(axis_mins=nodes, centers="node edge node"),
                  'its header gives centerings of "node edge node"')
    yield refused("too few centerings", spaced(axis_mins=nodes, centers="node node"),
                  'its header gives centerings of "node node"')
    for mins in ("nan 0 0", "0 0", "0 0 0 0", "0 zero 0", ""):
        yield refused(f"axis mins '{mins}'", spaced(axis_mins=mins, centers="cell cell cell"),
                      f'its header gives axis mins of "{MINS.get(mins, mins)}"')
    yield read("four axes, the last one none of space",
               spaced(dimension="4", sizes="5 3 4 1", spacings="2 2.5 3 nan", kinds=None,
                      axis_mins=nodes + " nan", centers="node node node ???"),
               warnings=(NO_ORIENTATION,))
    yield read("four axes, the first one none of space",
               spaced(dimension="4", sizes="1 5 3 4", spacings="nan 2 2.5 3", kinds=None),
               **at_origin)
    yield read("four axes with spacings", spaced(dimension="4", sizes="5 3 4 1", kinds=None,
                                                 spacings="2 2.5 3 1"), **at_origin)
    yield read("spacings on windows", spaced(spacings="2\t 2.5   3 "), **at_origin)
    yield refused("no voxel size", nrrd(**NO_AXES), "its header tells no voxel size")
    yield refused("thicknesses and no spacings", nrrd(**NO_AXES, thicknesses="2 2.5 3"),
                  "its header tells no voxel size")
    yield refused("a spacing of 0", spaced(spacings="2 0 3"), sized("0", "y"))
    yield refused("a spacing below 0", spaced(spacings="2 2.5 -3"), sized("-3", "z"))
    for spacings, shown in (("2 nan 3", "nan"), ("inf 2.5 3", "inf"), ("two 2.5 3", "two"),
                            ("2 2.5", "2 2.5"), ("2 2.5 3 4", "2 2.5 3 4"), ("", "")):
        yield refused(f"spacings '{spacings}'", spaced(spacings=spacings),
                      f'its header gives a voxel size of "{shown}"')


#: As the sentence shows axis mins of which one is no number.
MINS = {"nan 0 0": "nan", "0 zero 0": "zero"}


def unit_rows():
    """The numbers of the header, and what they are in mm."""
    lengths = {
        "mm": 1, "MM": 1, "millimeter": 1, "millimetres": 1, "cm": 10, "centimeters": 10,
        "m": 1000, "metre": 1000, "um": 1e-3, "\u00b5m": 1e-3, "\u03bcm": 1e-3, "microns": 1e-3,
        "micrometers": 1e-3, "": 1, "???": 1,
    }
    for name, length in lengths.items():
        numbers = [h / length for h in SPACING], [o / length for o in ORIGIN]
        in_mm = [tuple(float(f"{n:.17g}") * length for n in row) for row in numbers]
        three = " ".join([f'"{name}"'] * 3)
        steps = {"space_directions": vectors(np.diag(numbers[0])),
                 "space_origin": vector(numbers[1])}
        geometry = {"spacing": in_mm[0], "origin": in_mm[1]}
        yield read(f"space units '{name}'", nrrd(space_units=three, **steps), **geometry)
        yield read(f"units '{name}' with directions", nrrd(units=three, **steps), **geometry)
        mins = {"spacings": words(numbers[0]), "axis_mins": words(numbers[1])}
        yield read(f"units '{name}' with spacings",
                   spaced(units=three, centers="node node node", **mins),
                   warnings=(NO_ORIENTATION,), **geometry)
    for name in ("in", "km", "nm", "voxels", "Gy", "s"):
        foreign = f'its lengths are in "{name}", not in mm'
        three = " ".join([f'"{name}"'] * 3)
        yield refused(f"space units {name}", nrrd(space_units=three), foreign)
        yield refused(f"units {name}", nrrd(units=three), foreign)
        yield refused(f"units {name} with spacings", spaced(units=three), foreign)
    mixed = '"mm" "cm" "mm"'
    yield read("space units of each axis",
               nrrd(space_units=mixed, space_directions="(2,0,0) (0,0.25,0) (0,0,3)",
                    space_origin="(-7.5,1.25,-40)"), origin=(-7.5, 12.5, -40))
    # Units of space belong to coordinates, whichever axis of the array runs along them.
    values, _, _, _ = turned(((1, 1), (0, 1), (2, 1)))
    yield read("space units of swapped axes",
               nrrd(values.tobytes(), sizes="3 5 4", space_units=mixed,
                    space_directions="(0,0.25,0) (2,0,0) (0,0,3)", space_origin="(-7.5,1.25,-40)"),
               origin=(-7.5, 12.5, -40))
    yield read("units of each axis with spacings", spaced(units=mixed, spacings="2 0.25 3"),
               origin=(0, 0, 0), warnings=NO_PLACE)
    yield refused("units of each axis with directions", nrrd(units=mixed),
                  "its header gives several units of length and no space units")
    yield read("space units count before units", nrrd(units=mixed, space_units='"mm" "mm" "mm"'))
    yield refused("too few units", nrrd(units='"mm" "mm"'),
                  'its header gives units of ""mm" "mm""')
    yield refused("too few space units", nrrd(space_units='"mm" "mm"'),
                  'its header gives space units of ""mm" "mm""')
    yield read("a key that is no field", nrrd(more="units:=GY\n"))
    for name in ("Gy", "GY", "gray"):
        yield read(f"sample units {name}", nrrd(sample_units=f'"{name}"'), doubts=())
    for name in ("", "???"):
        yield read(f"sample units '{name}'", nrrd(sample_units=f'"{name}"'))
    yield read("sample units without quotes", nrrd(sample_units="Gy"), doubts=())
    for name, gray in (("cGy", 0.01), ("mGy", 0.001)):
        yield read(f"sample units {name}", nrrd(sample_units=f'"{name}"'), scaled(VALUES, gray),
                   doubts=())
    yield read("sample units cGy, whole numbers",
               nrrd(WHOLE.astype("<u2").tobytes(), type="ushort", sampleunits="cGy"),
               scaled(WHOLE, 0.01), doubts=())
    for name in ("HU", "MeV/g", "cGy/MU"):
        yield read(f"sample units {name}", nrrd(sample_units=f'"{name}"'),
                   doubts=(f'its sample units are "{name}", taken for Gy',))
    quantised = "was quantised (old min, old max); its values are taken as they are stored"
    yield read("old min and old max", nrrd(old_min="0", old_max="60"), warnings=(quantised,))


def doubt_rows():
    """Names and values that are no doses'."""
    for word, names in {
        "uncertainty": ("dose-Uncertainty", "dose_uncertainty", "DoseUncertainty", "UNCERTAINTY"),
        "squared": ("Dose-Squared", "dose_squared", "dosesquared"),
        "edep": ("plan.Edep", "edep", "TotalEDep"),
        "hits": ("output-NbOfHits", "nbofhits", "hits"),
        "LET": ("LET", "plan_let", "Phantom.LETd", "totalLET", "plan LETD"),
    }.items():
        doubt = f'its name ends in "{word}"; its values are taken for doses all the same'
        for name in names:
            yield read(f"named {name}", nrrd(), file=f"{name}.nrrd", doubts=(ASSUMED, doubt))
    yield read("named uncertainty, told in Gy", nrrd(sample_units="Gy"), file="uncertainty.NRRD.gz",
               doubts=(doubt.replace("LET", "uncertainty"),))
    for name in ("uncertainty-dose", "outlet", "pallet", "Toilet", "LET_plan", "letter", "LETs",
                 "uncertainty.d/dose"):
        yield read(f"named {name}", nrrd(), file=f"{name}.nrrd")
    yield from far_rows()
    zeros = np.zeros_like(VALUES)
    yield read("no dose at all", nrrd(zeros.tobytes()), zeros)
    yield read("doses of -0", nrrd((-zeros).tobytes()), -zeros)
    one = VALUES.copy()
    one[1, 2, 3] = -0.5
    yield read("a dose below 0", nrrd(one.tobytes()), one)
    yield read("all doses below 0", nrrd((-1 - VALUES).tobytes()), -1 - VALUES)


def far_rows():
    """Of n positive doses, n // 1000 may lie above the 99.9th percentile."""
    def row(name, count, far, high, doubts, zeros=100):
        values = np.zeros((1, 1, count + zeros), np.float32)
        values[..., zeros // 2 :][..., :count] = 1 + np.arange(count, dtype=np.float32) % 2
        values[..., zeros // 2 + 5 : zeros // 2 + 5 + far] = high
        return read(name, nrrd(values.tobytes(), sizes=f"{count + zeros} 1 1"), values,
                    doubts=(ASSUMED, *doubts))

    def apart(far, count, high):
        return (f"its maximum of {high} Gy is more than 100 times the 99.9th percentile of its "
                f"positive doses (2 Gy); {far} of {count} stand apart",)

    yield row("six doses far above 6000", 6000, 6, 127573, apart(6, "6 000", 127573))
    yield row("seven doses far above 6000", 6000, 7, 127573, ())
    yield row("six doses far above 5999", 5999, 6, 127573, ())
    yield row("a dose far above 1000", 1000, 1, 200.25, apart(1, "1 000", "200.25"))
    yield row("a dose far above 1000, without zeros", 1000, 1, 200.25, apart(1, "1 000", "200.25"),
              zeros=0)
    yield row("a dose 100 times the others", 1000, 1, 200, ())
    yield row("a dose far above 999", 999, 1, 1e6, ())


def skip_rows():
    skipped = b"one\ntwo\n"
    whole = gzip.compress(b"12345" + BYTES)
    cut_lines = (
        "is cut short, or its header lies: it has fewer lines than are to be skipped"
    )
    odd = (
        "its compressed data begins at an odd place (byte skip: -1), which is not supported"
    )
    yield read("line skip", nrrd(skipped + BYTES, line_skip="2"))
    yield read("lineskip", nrrd(skipped + BYTES, lineskip="2"))
    yield read("line skip of lines of another system",
               nrrd(skipped.replace(b"\n", b"\r\n") + BYTES, line_skip="2"))
    yield read("byte skip", nrrd(b"12345" + BYTES, byte_skip="5"))
    yield read("byteskip", nrrd(b"12345" + BYTES, byteskip="5"))
    yield read("lines, then bytes", nrrd(b"one\n12345" + BYTES, byte_skip="5", line_skip="1"))
    yield read("skips of 0", nrrd(line_skip="0", byte_skip="0"))
    yield read("byte skip -1", nrrd(b"whatever\ncomes before" + BYTES, byte_skip="-1"))
    yield read("byte skip -1 with nothing to skip", nrrd(byte_skip="-1"))
    yield read("a line, then byte skip -1",
               nrrd(b"one\n" + b"12345" + BYTES, line_skip="1", byte_skip="-1"))
    yield refused("byte skip -1 with too few bytes", nrrd(BYTES[1:], byte_skip="-1"),
                  cut_short(240, 239))
    yield read("line skip before packed data",
               nrrd(skipped + gzip.compress(BYTES), line_skip="2", encoding="gzip"))
    yield read("byte skip in packed data", nrrd(whole, byte_skip="5", encoding="gzip"))
    yield read("lines before packed data, bytes in it",
               nrrd(skipped + whole, line_skip="2", byte_skip="5", encoding="gzip"))
    yield refused("byte skip -1 in packed data",
                  nrrd(whole, byte_skip="-1", encoding="gzip"), odd)
    yield refused("byte skip in packed data that is too short",
                  nrrd(whole, byte_skip="6", encoding="gzip"), unpacks_too_short(246, 245))
    yield refused("byte skip in packed data that is too long",
                  nrrd(whole, byte_skip="4", encoding="gzip"), unpacks_too_long(244))
    yield refused("byte skip in damaged data",
                  nrrd(flipped(whole, -8), byte_skip="5", encoding="gzip"), DAMAGED)
    yield read("line skip before text", nrrd(b"1 2 3\n" + TEXT, line_skip="1", encoding="text"))
    yield read("byte skip before text", nrrd(b"1 2 3 " + TEXT, byte_skip="6", encoding="text"))
    yield refused("a byte skip too few", nrrd(b"12345" + BYTES, byte_skip="4"), too_long(240, 241))
    yield refused("a byte skip too many", nrrd(b"12345" + BYTES, byte_skip="6"),
                  cut_short(240, 239))
    yield refused("a byte skip behind the end", nrrd(byte_skip="99999"), cut_short(240, 0))
    yield refused("a line skip behind the end", nrrd(skipped, line_skip="3"), cut_lines)
    yield refused("line skip -1", nrrd(line_skip="-1"), 'its header gives a line skip of "-1"')
    for skip in ("-2", "", "1.5", "five", "1 2"):
        yield refused(f"byte skip '{skip}'", nrrd(byte_skip=skip),
                      f'its header gives a byte skip of "{skip}"')


def detached_rows():
    def pair(name, row, data=BYTES, **changes):
        return read(row, **detached(name, data, **changes))

    def nowhere(name, row, sentence, data=BYTES, **changes):
        parts = detached(name, data, **changes)
        return refused(row, parts["contents"], sentence, file=parts["file"], beside={})

    spread = "its data are spread over several files; write them into one"
    yield pair("dose.raw", "data file")
    yield pair("dose.raw", "data file, header without an end", header_end="")
    yield pair("dose.raw.gz", "packed data file", gzip.compress(BYTES), encoding="gzip")
    yield pair("dose.txt", "data file of text", TEXT, encoding="ascii", endian=None)
    yield pair("a dose of ours.raw", "data file with blanks in its name")
    yield pair("folder/dose.raw", "data file in a folder")
    yield pair("dose.raw", "data file and byte skip", b"12345" + BYTES, byte_skip="5")
    yield pair("dose.raw", "data file and line skip", b"one\ntwo\n" + BYTES, line_skip="2")
    yield pair("dose.raw", "data file and byte skip -1", b"12345" + BYTES, byte_skip="-1")
    yield read("./ before a data file", nrrd(b"", data_file="./dose.raw"), file="dose.nhdr",
               beside={"dose.raw": BYTES})
    yield read("datafile", nrrd(b"", datafile="dose.raw"), beside={"dose.raw": BYTES})
    yield read("data file under both names",
               nrrd(b"", datafile="dose.raw", data_file="dose.raw"), beside={"dose.raw": BYTES})
    yield refused("two data files", nrrd(b"", datafile="a.raw", data_file="dose.raw"),
                  'its header gives "data file" twice, under two names',
                  beside={"dose.raw": BYTES, "a.raw": BYTES})
    yield refused("data file too short", nrrd(b"", data_file="dose.raw"), cut_short(240, 239),
                  beside={"dose.raw": BYTES[1:]})
    yield refused("data file too long", nrrd(b"", data_file="dose.raw"), too_long(240, 241),
                  beside={"dose.raw": BYTES + b"\0"})
    yield refused("data file empty", nrrd(b"", data_file="dose.raw"), cut_short(240, 0),
                  beside={"dose.raw": b""})
    yield refused("the header is its own data file", nrrd(b"", data_file="dose"),
                  cut_short(240, len(nrrd(b"", data_file="dose"))))
    yield nowhere("absent.raw", "data file missing", "its data file absent.raw is missing")
    yield nowhere("../absent.raw", "data file missing above", "its data file absent.raw is missing")
    yield nowhere(".", "a folder as the data file",
                  "its data file . is a folder, not a dose file")
    yield nowhere("/dev/zero", "a device as the data file",
                  "its data file zero is a device, not a dose file")
    yield nowhere("LIST", "a list of data files", spread)
    yield nowhere("LIST 2", "a list of data files with dimension", spread)
    yield nowhere("dose%03d.raw 1 4 1", "a pattern of data files", spread)
    yield nowhere("", "an empty name of a data file",
                  "its header does not tell where its data are")


def line_rows():
    field = 'its header has a line that is no field of NRRD: "{}"'
    for number in range(1, 6):
        yield read(f"NRRD000{number}", nrrd(version=f"NRRD000{number}"))
    for version in ("NRRD0006", "NRRD0000", "NRRD00.01", "NRRD0", "NRRD00040"):
        yield refused(version, nrrd(version=version),
                      f'is of an unknown version of NRRD, "{version}" '
                      "(accepted: NRRD0001 to NRRD0005)")
    header = nrrd(b"")
    yield read("lines of another system", header.replace(b"\n", b"\r\n") + BYTES)
    yield read("one line of another system", replaced(header, b"\n", b"\r\n", 1) + BYTES)
    yield read("lines of another system, packed",
               nrrd(b"", encoding="gzip").replace(b"\n", b"\r\n") + gzip.compress(BYTES))
    for name in (b"type", b"sizes", b"space directions", b"space origin", b"encoding", b"endian"):
        contents = replaced(nrrd(), b"\n" + name + b":", b"\n" + name.title() + b":")
        yield read(f"field {name.title().decode()}", contents)
    yield read("fields in capitals", replaced(nrrd(), b"\nspace origin:", b"\nSPACE ORIGIN:"))
    yield read("blanks around a colon", replaced(nrrd(), b"type:", b"type :  "))
    yield refused("no blanks behind colons", header.replace(b": ", b":") + BYTES,
                  field.format("type:float"))
    yield read("blanks at line ends", header[:-1].replace(b"\n", b" \n") .replace(
        b"NRRD0004 ", b"NRRD0004") + b"\n" + BYTES)
    for line in ("# type: short", "#sizes: 9 9 9", "type:=short", "sizes:=1 1 1", "encoding:=gzip",
                 "space directions:=(9,0,0) (0,9,0) (0,0,9)", "space units:=\"in\" \"in\" \"in\"",
                 "byte skip:=7", "data file:=no.raw", "note:=a: b", "content: a:=b",
                 "content: dose", "labels: \"x\" \"y\" \"z\"", "min: 0", "max: 60", "number: 60",
                 "measurement frame: (1,0,0) (0,1,0) (0,0,1)", "block size: 4",
                 "thicknesses: 2 2.5 3", "type: float", "a=b:=c"):
        yield read(f"line {line}", nrrd(more=line + "\n"))
    for line in ("dose: 5", "no field at all", "spacing: 1 1 1", "endian", "=", "\x1b[31m: 1"):
        yield refused(f"line {line!a}", nrrd(more=line + "\n"),
                      field.format(line.replace("\x1b", "?")))
    yield refused("a NUL for a blank", replaced(nrrd(), b"dimension: 3", b"dimension:\0003"),
                  field.format("dimension:?3"))
    yield refused("a field of two values", nrrd(more="type: short\n"),
                  'its header gives "type" twice')
    yield refused("a field of two values under two names",
                  nrrd(more="byte skip: 1\nbyteskip: 2\n"),
                  'its header gives "byte skip" twice, under two names')
    yield refused("header only, no end", nrrd(b"").rstrip(b"\n"), HEADER_ENDLESS)
    yield refused("the first line only", b"NRRD0004\n", HEADER_ENDLESS)
    yield refused("the first line only, no end", b"NRRD0004", HEADER_ENDLESS)
    yield refused("an empty line too early", b"NRRD0004\n\ntype: float\n",
                  'its header has no "sizes"')
    yield refused("a header of two million bytes", nrrd(more="#" + "-" * 2000000 + "\n"),
                  HEADER_ENDLESS)


def size_rows():
    many = "has {} values per voxel instead of one dose"
    yield read("four axes", nrrd(dimension="4", sizes="5 3 4 1", kinds=None,
                                 space_directions=vectors(np.diag(SPACING)) + " none"))
    yield read("four axes, the first one of one value",
               nrrd(dimension="4", sizes="1 5 3 4", kinds=None,
                    space_directions="none " + vectors(np.diag(SPACING))))
    yield read("four axes, none in capitals",
               nrrd(dimension="4", sizes="1 5 3 4", kinds=None,
                    space_directions="NONE " + vectors(np.diag(SPACING))))
    yield refused("three values per voxel",
                  nrrd(3 * BYTES, dimension="4", sizes="3 5 3 4", kinds=None,
                       space_directions="none " + vectors(np.diag(SPACING))), many.format(3))
    yield refused("two volumes",
                  nrrd(2 * BYTES, dimension="4", sizes="5 3 4 2", kinds=None,
                       space_directions=vectors(np.diag(SPACING)) + " none"), many.format(2))
    yield refused("two volumes with spacings",
                  spaced(2 * BYTES, dimension="4", sizes="5 3 4 2", kinds=None,
                         spacings="2 2.5 3 1"), "is not three-dimensional but 4-dimensional")
    yield refused("two directions", nrrd(dimension="3", sizes="5 12 1",
                                         space_directions="(2,0,0) (0,2.5,0) none"),
                  "is not three-dimensional but 2-dimensional")
    yield refused("two dimensions", nrrd(dimension="2", sizes="5 12", kinds=None),
                  "is not three-dimensional but 2-dimensional")
    yield refused("a size less", nrrd(sizes="5 12"),
                  'its header gives a number of dimensions of "3"')
    yield refused("no dimension", nrrd(dimension=None), 'its header has no "dimension"')
    yield refused("no sizes", nrrd(sizes=None), 'its header has no "sizes"')
    for sizes in ("5.5 3 4", "five 3 4", "nan 3 4", "99999999999999999999 1 1", ""):
        yield refused(f"sizes '{sizes}'", nrrd(sizes=sizes),
                      f'its header gives a grid size of "{sizes}"')
    yield refused("a size of 0", nrrd(sizes="0 3 4"), "the grid has 0 voxels along axis x")
    yield refused("a size below 0", nrrd(sizes="5 3 -4"), "the grid has -4 voxels along axis z")
    for sizes in ("100000 100000 100000", "1300 1300 1300", "2147483647 1 2", "2147483648 1 1"):
        grid = sizes.replace(" ", " x ")
        yield refused(f"sizes {sizes}", nrrd(sizes=sizes),
                      f"the grid of {grid} voxels is too large (2^31 voxels or more)")
    yield refused("a lying size", nrrd(sizes="1000 1000 1000"), cut_short("4 000 000 000", 240))
    yield refused("a lying size, packed",
                  nrrd(gzip_member(BYTES), sizes="1000 1000 1000", encoding="gzip"),
                  cut_short("4 000 000 000", len(gzip_member(BYTES))))
    yield refused("a lying size, text", nrrd(TEXT, sizes="1000 1000 1000", encoding="text"),
                  "is cut short, or its header lies: its grid needs 1 000 000 000 values, "
                  "the file has fewer")
    yield read("one voxel", nrrd(BYTES[:4], sizes="1 1 1"), VALUES[:1, :1, :1])
    yield refused("a byte short", nrrd(BYTES[:-1]), cut_short(240, 239))
    yield refused("a byte long", nrrd(BYTES + b"\n"), too_long(240, 241))
    yield refused("no data", nrrd(b""), cut_short(240, 0))
    yield refused("twice the data", nrrd(2 * BYTES), too_long(240, 480))
    yield refused("packed, a byte short", packed(gzip.compress(BYTES[:-1])),
                  unpacks_too_short(240, 239))
    yield refused("packed, a byte long", packed(gzip.compress(BYTES + b"\0")),
                  unpacks_too_long(240))
    yield refused("packed, nothing", packed(gzip.compress(b"")), unpacks_too_short(240, 0))
    for value in (np.nan, np.inf, -np.inf):
        values = VALUES.copy()
        values[2, 1, 3] = value
        yield refused(f"a dose of {value}", nrrd(values.tobytes()), NOT_FINITE)
    large = VALUES.astype("<f8")
    large[0, 0, 0] = 1e39
    yield refused("a dose beyond single precision", nrrd(large.tobytes(), type="double"),
                  NOT_FINITE)


FORMAT = "NRRD"
ROWS = [
    *type_rows(), *byte_order_rows(), *encoding_rows(), *text_rows(), *space_rows(),
    *direction_rows(), *spacing_rows(), *unit_rows(), *doubt_rows(), *skip_rows(), *detached_rows(),
    *line_rows(), *size_rows(),
]
