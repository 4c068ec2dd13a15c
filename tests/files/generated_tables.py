"""Tables of known doses under heads of all kinds: prose with units, numbers and dates tells nothing."""

import dataclasses
import random

SEPARATORS = ("\t", ";", ",", " ")
LAYOUTS = ("matrix",) * 5 + ("columns",) * 6 + ("unnamed",) * 3 + ("bare",)
GRAY = {"Gy": 1, "cGy": 1 / 100}
MILLIMETRES = {"mm": 1, "cm": 10, "inch": 25.4, "in": 25.4, "m": 1000, "pixel": 0.5}
#: Of which none is about the numbers below it.
PROSE = (
    "Film {n}, SSD {n}00 cm, plan {n} Gy",
    "Field {n}x{n} cm2",
    "Patient {n}, prescribed {n}0 cGy in {n} fractions",
    "Scanned on 2026-0{n}-1{n} at 14:3{n}, slab of {n} cm",
    "depth {n} cm; gantry {n}0 deg; {n}00 MU",
    "Tolerance {n} %/{n} mm",
    "calibrated with {n}.{n} cGy per MU",
    "Physicist: A. Gray",
    "width {n} in, height {n} in",
    "0{n}/1{n}/2026, {n}00 mGy background",
    "----------",
    "Linac {n}: 6 MV, {n}00 MU/min, output 1.0{n} cGy/MU",
    "measured = {n}.5 Gy (max), {n},5 Gy (mean)",
    "Date;2026;{n}",
    "Jaws,{n}0,{n}0",
)
#: Which tell the unit of the coordinates, but in a sentence.
SENTENCES = (
    "All positions were measured from the isocentre in {unit}",
    "Coordinates ({unit}) of the couch",
    "the film's positions, {unit}, to the right",
)


@dataclasses.dataclass
class Table:
    contents: bytes
    doses: dict  # Gy, by place in mm
    mustBeRead: bool
    mustBeRefused: bool
    units: tuple  # as they are given


def written(value, comma):
    text = f"{value:.12g}"
    return text.replace(".", ",") if comma else text


class Maker:
    """One table by chance, which the seed determines."""

    def __init__(self, seed):
        self.chance = chance = random.Random(seed)
        self.separator = chance.choice(SEPARATORS)
        self.comma = self.separator != "," and chance.random() < 0.3
        self.layout = chance.choice(LAYOUTS)
        self.dose = chance.choice(("Gy", "cGy") * 4 + ("%", "Gy/MU"))
        self.length = chance.choice(("mm", "cm") * 6 + ("inch", "in", "m", "pixel"))
        self.tellsDose = chance.choice(("place", "line", "nowhere"))
        self.tellsLength = chance.choice(("place", "line", "sentence", "nowhere"))
        if self.dose not in GRAY:
            self.tellsDose = "place"
        if self.layout in ("unnamed", "bare"):  # they have no place for units
            self.tellsDose = self.tellsDose.replace("place", "line")
            self.tellsLength = self.tellsLength.replace("place", "line")
        if self.tellsLength == "nowhere":  # what tells none is in mm
            self.length = "mm"
        self.x = self.axis(chance.choice((3, 4, 5, 6)))
        self.y = self.axis(chance.choice((3, 4, 5)))
        self.values = {(x, y): chance.randint(16, 200) / 64 for y in self.y for x in self.x}

    def axis(self, count):
        """In units of the file."""
        step = self.chance.choice((0.25, 0.5, 2, 5))
        first = self.chance.choice((-4, -1.5, 0, 1.25, 10))
        return [first + step * i for i in range(count)]

    def number(self, value):
        return written(value, self.comma)

    def dose_of(self, place):
        return self.values[place] / GRAY.get(self.dose, 1 / 100)

    def told_at_places(self):
        """Units that stand beside the coordinates: length, dose."""
        return (self.length if self.tellsLength == "place" else "",
                self.dose if self.tellsDose == "place" else "")

    def head(self):
        chance = self.chance
        digit = str(chance.randint(1, 9))
        lines = [line.format(n=digit) for line in chance.sample(PROSE, chance.randint(0, 4))]
        told = [unit for unit, how in ((self.dose, self.tellsDose), (self.length, self.tellsLength))
                if how == "line"]
        chance.shuffle(told)
        if told:
            form = chance.choice(("{}", "Units: {}", "all values in {}", "[{}]"))
            forms = [form.format(", ".join(told))] if chance.random() < 0.5 else told
            for line in forms:
                lines.insert(chance.randint(0, len(lines)), line)
        if self.tellsLength == "sentence":
            sentence = chance.choice(SENTENCES).format(unit=self.length)
            lines.insert(chance.randint(0, len(lines)), sentence)
        mark = chance.choice(("", "# ", "#", "// ", "% "))
        return [mark + line for line in lines]

    def matrix(self):
        length, dose = self.told_at_places()
        units = ", ".join(unit for unit in (length, dose) if unit)
        blank = self.separator in (" ", ",")  # neither may stand in a cell
        if blank and length and dose:
            units = f"[{length}][{dose}]"
        elif units:
            units = f"[{units}]"
        corner = f"y\\x{'' if blank else ' '}{units}" if units else self.chance.choice(("y\\x", "y\\x", "Y/X"))
        hasCorner = units or self.separator != " " or self.chance.random() < 0.5
        rows = [[*([corner] if hasCorner else []), *map(self.number, self.x)]]
        rows += [[self.number(y), *(self.number(self.dose_of((x, y))) for x in self.x)] for y in self.y]
        return rows

    def names(self):
        length, dose = self.told_at_places()
        form = self.chance.choice(("{} ({})", "{} [{}]", "{}({})", "{}/{}"))
        axis = (lambda name: form.format(name, length)) if length else (lambda name: name)
        return {"x": axis("x"), "y": axis(self.chance.choice("yY")),
                "dose": form.format("dose", dose) if dose else "Dose"}

    def columns(self, named):
        order = ["x", "y", "dose"]
        if named:
            self.chance.shuffle(order)
        rows = [[{"x": self.number(x), "y": self.number(y), "dose": self.number(self.dose_of((x, y)))}[name]
                 for name in order] for x, y in self.values]
        length, dose = self.told_at_places()
        if named and dose and self.chance.random() < 0.3:
            units = {"x": length, "y": length, "dose": dose}
            row = [units[name] for name in order]
            if self.separator != " " or length:
                return [order, row, *rows]
        names = self.names()
        return [[names[name] for name in order], *rows] if named else rows

    def bare(self):
        """Doses alone, three columns of them."""
        return [[self.number(self.dose_of((x, y))) for x in self.x[:3]] for y in self.y]

    def table(self):
        head = self.head()
        rows = {"matrix": self.matrix, "columns": lambda: self.columns(True),
                "unnamed": lambda: self.columns(False), "bare": self.bare}[self.layout]()
        text = "\n".join([*head, *(self.separator.join(row) for row in rows), ""])
        scale = MILLIMETRES[self.length]
        given = self.chance.random() < 0.5 and self.tellsDose == "nowhere"
        units = (self.dose if given else None, None)
        isOurs = self.dose in GRAY and self.length in ("mm", "cm")
        isNoisy = self.layout in ("unnamed", "bare")  # a line of a head may be taken for names
        isClear = isOurs and not isNoisy and self.tellsLength != "sentence"
        doses = {(x * scale, y * scale): dose for (x, y), dose in self.values.items()}
        return Table(
            text.encode(), doses,
            mustBeRead=isClear and (self.tellsDose != "nowhere" or given),
            mustBeRefused=not isOurs or self.layout == "bare" or (self.tellsDose == "nowhere" and not given),
            units=units,
        )


def table(seed):
    return Maker(seed).table()
