"""Writes the tables of coded character sets as a C++ source, from the codecs of Python, so that
every host decodes alike: tables.py OUTPUT. tables.h describes them."""

import sys
from pathlib import Path

#: The sets of bytes A0 to FF, and the codec of each.
UPPER_HALVES = {
    "latin1": "iso8859_1", "latin2": "iso8859_2", "latin3": "iso8859_3", "latin4": "iso8859_4",
    "latin5": "iso8859_9", "latin9": "iso8859_15", "cyrillic": "iso8859_5", "arabic": "iso8859_6",
    "greek": "iso8859_7", "hebrew": "iso8859_8", "thai": "tis_620", "katakana": "shift_jis",
}
#: Those of 94 rows with 94 cells: a codec, and what calls and leaves the set in it.
ROWS_OF_CELLS = {
    "jisX0208": ("iso2022_jp_2", b"\x1b$B", b"\x1b(B"),
    "jisX0212": ("iso2022_jp_2", b"\x1b$(D", b"\x1b(B"),
    "ksX1001": ("iso2022_kr", b"\x1b$)C\x0e", b"\x0f"),
}
GRAPHIC = range(0x21, 0x7F)
#: The second bytes of pairs of GB 18030.
TRAILS = [*range(0x40, 0x7F), *range(0x80, 0xFF)]
#: The last four-byte code of GB 18030 below those of U+10000 and above.
FOUR_BYTE_CODES = 39420
#: Letters whose case does not matter: Latin, Greek, Cyrillic, and the wide Latin ones.
LETTERS = [*range(0xC0, 0x530), *range(0xFF21, 0xFF3B)]


def character(data, codec):
    """The one character of a code in the basic plane; 0: none."""
    try:
        text = data.decode(codec)
    except UnicodeDecodeError:
        return 0
    return ord(text) if len(text) == 1 and ord(text) < 0x10000 else 0


def four_bytes(code):
    code, d = divmod(code, 10)
    code, c = divmod(code, 126)
    a, b = divmod(code, 10)
    return bytes((0x81 + a, 0x30 + b, 0x81 + c, 0x30 + d))


def runs_of(numbers):
    """Where numbers stop following one another: pairs of place and number; 0 stays 0."""
    runs, expected = [], None
    for place, number in enumerate(numbers):
        if number != expected:
            runs.append((place, number))
        expected = number + 1 if number else 0
    return runs


def letter_cases():
    """The capital letters that have one small letter of as many bytes in UTF-8."""
    for letter in LETTERS:
        small = chr(letter).lower()
        if len(small) == 1 and ord(small) != letter:
            if len(small.encode()) == len(chr(letter).encode()):
                yield letter, ord(small)


def pairs_of_gb18030():
    return [character(bytes((lead, trail)), "gb18030") for lead in range(0x81, 0xFF)
            for trail in TRAILS]


def differences_of_gb2312():
    """Where GB 2312 differs from GB 18030, but for characters of private use, which it has none of."""
    for row in range(0xA1, 0xFF):
        for cell in range(0xA1, 0xFF):
            code = bytes((row, cell))
            old, new = character(code, "gb2312"), character(code, "gb18030")
            if old != new and not (old == 0 and 0xE000 <= new < 0xF900):
                yield row << 8 | cell, old


def lines_of(entries):
    """As many entries on a line as fit."""
    line = "   "
    for entry in entries:
        if len(line) + len(entry) > 98:
            yield line
            line = "   "
        line += f" {entry},"
    yield line


def numbers(name, values):
    body = "\n".join(lines_of(map(str, values)))
    return f"const std::array<std::uint16_t, {len(values)}> {name} = {{\n{body}\n}};\n"


def pairs(name, values):
    body = "\n".join(lines_of(f"{{{a}, {b}}}" for a, b in values))
    table = f"{name}Table"
    return (f"constexpr std::array<CodePair, {len(values)}> {table} = {{{{\n{body}\n}}}};\n"
            f"const std::span<const CodePair> {name} = {table};\n")


def source():
    yield "// Made by files/characters/tables.py from the codecs of Python.\n"
    yield '#include "files/characters/tables.h"\n\nnamespace files::characterTables\n{\n'
    for name, codec in UPPER_HALVES.items():
        yield numbers(name, [character(bytes((byte,)), codec) for byte in range(0xA0, 0x100)])
    for name, (codec, call, leave) in ROWS_OF_CELLS.items():
        yield numbers(name, [character(call + bytes((row, cell)) + leave, codec)
                             for row in GRAPHIC for cell in GRAPHIC])
    yield numbers("gb18030Pairs", pairs_of_gb18030())
    four = [character(four_bytes(code), "gb18030") for code in range(FOUR_BYTE_CODES)]
    yield pairs("gb18030Runs", [*runs_of(four), (FOUR_BYTE_CODES, 0)])
    yield pairs("gb2312Differences", list(differences_of_gb2312()))
    yield pairs("smallLetters", list(letter_cases()))
    yield "} // namespace files::characterTables\n"


if __name__ == "__main__":
    Path(sys.argv[1]).write_text("".join(source()), encoding="ascii")
