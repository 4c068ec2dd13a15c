"""
Names in every set of characters that DICOM declares: as they were written, as pydicom and Python
read them, and as they are damaged.
"""

import io
import json
import subprocess
import unicodedata
import warnings

import numpy as np
import pydicom
import pytest

import zarngi
from answers import PROGRAM
from structure_sets import contour, file_of, named, polygon, roi, structure_set
from variants_dicom import dose

ESC = b"\x1b"
NONE = "\N{REPLACEMENT CHARACTER}"
DAMAGED = "has texts with bytes that are no characters of its character set; U+FFFD stands for each"
AS_UTF8 = "does not tell its character set; texts beyond ASCII are taken as UTF-8"
UNCALLED = ("has texts without the escape sequence of their character set; they are taken as ISO 2022 "
            "IR ")
AS_LATIN1 = "does not tell its character set; texts beyond ASCII are taken as Latin-1"

#: The sets of single bytes: number, codec, what calls the set, and words of a language.
SINGLE = {
    "100": ("latin_1", b"-A", "Rückenmark, moëlle"),
    "101": ("iso8859_2", b"-B", "Rdzeń kręgowy, žaludek"),
    "109": ("iso8859_3", b"-C", "Ħalq, ĝusta"),
    "110": ("iso8859_4", b"-D", "Seļģa, šķūņi"),
    "126": ("iso8859_7", b"-F", "Νωτιαίος μυελός"),
    "127": ("iso8859_6", b"-G", "النخاع الشوكي"),
    "138": ("iso8859_8", b"-H", "חוט השדרה"),
    "144": ("iso8859_5", b"-L", "Спинной мозг"),
    "148": ("iso8859_9", b"-M", "Göğüs, ışın"),
    "166": ("tis_620", b"-T", "ไขสันหลัง"),
    "203": ("iso8859_15", b"-b", "Cœur, Šarka €"),
    "13": ("shift_jis", b")I", "ｾｷｽﾞｲ"),
}
#: What pydicom 2.3 does not know.
UNKNOWN_TO_PYDICOM = {"203"}
#: Those of several bytes: what declares them, and words.
SEVERAL = {
    "UTF-8": ("ISO_IR 192", "Rückenmark 脊髄 Спинной 𠮷"),
    "GB18030": ("GB18030", "脊髓 Rückenmark 𠮷 척수"),
    "GBK": ("GBK", "脊髓 腮腺 朱镕基"),
    "Japanese": (["", "ISO 2022 IR 87"], "脊髄 spinal かな 耳下腺"),
    "Japanese, rare": (["", "ISO 2022 IR 87", "ISO 2022 IR 159"], "脊髄 丂丄鮏"),
    "Japanese, narrow": (["ISO 2022 IR 13", "ISO 2022 IR 87"], "ｾｷｽﾞｲ PTV 脊髄"),
    "Korean": (["", "ISO 2022 IR 149"], "척수 PTV 이하선"),
    "Latin and Greek": (["ISO 2022 IR 100", "ISO 2022 IR 126"], "Rückenmark μυελός"),
    "Latin, Cyrillic, Japanese": (["ISO 2022 IR 100", "ISO 2022 IR 144", "ISO 2022 IR 87"],
                                  "Göttingen Москва 東京"),
}


def told(folder, contents):
    """The names and warnings of the program."""
    path = folder / "set.dcm"
    path.write_bytes(contents)
    run = subprocess.run([PROGRAM, "info", "--json", path], capture_output=True, check=True)
    document = json.loads(run.stdout)
    return [s["name"] for s in document["structures"]], document["warnings"]


def by_pydicom(contents):
    with warnings.catch_warnings():
        warnings.simplefilter("error")
        data = pydicom.dcmread(io.BytesIO(contents))
        return [str(item.ROIName) for item in data.StructureSetROISequence]


@pytest.mark.parametrize("number", SINGLE)
@pytest.mark.parametrize("is_called", [False, True], ids=["alone", "called"])
def test_words_in_single_bytes(tmp_path, number, is_called):
    codec, call, words = SINGLE[number]
    encoded = words.encode(codec)
    declared = ["ISO 2022 IR 6", f"ISO 2022 IR {number}"] if is_called else f"ISO_IR {number}"
    contents = named([ESC + call + encoded if is_called else encoded], declared)
    assert told(tmp_path, contents) == ([words], [])
    if number not in UNKNOWN_TO_PYDICOM:
        written = named([words], declared)
        assert by_pydicom(written) == [words]
        # For pydicom the default set is Latin-1, which it therefore does not call.
        notes = [UNCALLED + "100"] if is_called and number == "100" else []
        assert told(tmp_path, written) == ([words], notes)


@pytest.mark.parametrize("name", SEVERAL)
def test_words_in_several_bytes(tmp_path, name):
    declared, words = SEVERAL[name]
    contents = named([words, *words.split()], declared)
    assert by_pydicom(contents) == [words, *words.split()]
    assert told(tmp_path, contents) == ([words, *words.split()], [])


def test_gb18030_of_four_bytes_and_gbk(tmp_path):
    words = "𠮷 ḿ 㐂 €"
    assert told(tmp_path, named([words.encode("gb18030")], "GB18030")) == ([words], [])
    assert told(tmp_path, named(["朱镕基".encode("gbk")], "GBK")) == (["朱镕基"], [])


def test_chinese_that_is_called(tmp_path):
    """Which pydicom does not write, and reads wrong."""
    contents = named([ESC + b"$)A" + "脊髓 PTV 腮腺".encode("gb2312")], ["", "ISO 2022 IR 58"])
    assert told(tmp_path, contents) == (["脊髓 PTV 腮腺"], [])


def expected_of(code, codec):
    """What a code means to Python; what a terminal takes for a command means nothing."""
    try:
        text = code.decode(codec)
    except UnicodeDecodeError:
        return None
    return None if unicodedata.category(text[-1]) == "Cc" else text


@pytest.mark.parametrize("number", SINGLE)
def test_every_single_byte(tmp_path, number):
    codec, call, _ = SINGLE[number]
    codes = [bytes([byte]) for byte in range(0x80, 0x100)]
    expected = [expected_of(code, codec) for code in codes]
    if number == "13":  # Python reads pairs of Shift JIS, too
        expected = [text if 0xA1 <= code[0] < 0xE0 else None for code, text in zip(codes, expected)]
    names = [b"%d " % i + code for i, code in enumerate(codes)]
    wanted = [f"{i} {text or NONE}" for i, text in enumerate(expected)]
    wanted = [text.rstrip(" ") for text in wanted]
    assert told(tmp_path, named(names, f"ISO_IR {number}")) == (wanted, [DAMAGED])
    called = [ESC + call + name for name in names]
    assert told(tmp_path, named(called, ["", f"ISO 2022 IR {number}"])) == (wanted, [DAMAGED])


#: Sets of pairs: number, codec, what calls the set, and its half.
PAIRS = {
    "87": ("iso2022_jp_2", b"$B", 0),
    "159": ("iso2022_jp_2", b"$(D", 0),
    "149": ("euc_kr", b"$)C", 0x80),
    "58": ("gb2312", b"$)A", 0x80),
}


@pytest.mark.parametrize("number", PAIRS)
def test_every_pair(tmp_path, number):
    """All 8836 codes of a set, a row a name; Korean fillers begin something else in Python."""
    codec, call, high = PAIRS[number]
    names, wanted = [], []
    for row in range(0x21, 0x7F):
        name, text = ESC + call, ""
        for cell in range(0x21, 0x7F):
            code = bytes((row | high, cell | high))
            meant = expected_of(code if high else ESC + call + code + ESC + b"(B", codec)
            if meant is not None:
                name, text = name + code, text + meant
        if text.strip():
            names.append(name)
            wanted.append(text)
    found, notes = told(tmp_path, named(names, ["", f"ISO 2022 IR {number}"]))
    assert len(found) > 60 and found == wanted and notes == []


def test_pairs_that_are_none(tmp_path):
    """Each pair that a set lacks is told; what follows it is read on."""
    texts = [ESC + b"$B\x7e\x7e" + ESC + b"(BA", ESC + b"$B\x30", ESC + b"$B\x30" + ESC + b"(BA",
             ESC + b"$)C\xb0", ESC + b"$)C\xb0A", ESC + b"$)A\xfe\xfeB"]
    names = [b"%d" % i + text for i, text in enumerate(texts)]
    found, notes = told(tmp_path, named(names, ["", *(f"ISO 2022 IR {n}" for n in PAIRS)]))
    assert found == ["0" + NONE * 2 + "A", "1" + NONE, "2" + NONE + "A", "3" + NONE,
                     "4" + NONE + "A", "5" + NONE * 2 + "B"]
    assert notes == [DAMAGED]


@pytest.mark.parametrize("declared", ["GB18030", "ISO_IR 192", "GBK"])
def test_a_sample_of_unicode(tmp_path, declared):
    """Characters of all planes, and all pairs of GBK, in names of a hundred."""
    random = np.random.default_rng(18030)
    if declared == "GBK":
        pairs = (bytes((a, b)) for a in range(0x81, 0xFF) for b in range(0x40, 0xFF) if b != 0x7F)
        texts = [text for pair in pairs if (text := expected_of(pair, "gbk"))]
    else:
        numbers = {*random.integers(0xA0, 0x10000, 20000), *random.integers(0x10000, 0x110000, 3000)}
        texts = [chr(n) for n in sorted(numbers) if not 0xD800 <= n < 0xE000]
    codec = {"ISO_IR 192": "utf-8"}.get(declared, declared.lower())
    names = ["x" + "".join(texts[i : i + 100]) + "x" for i in range(0, len(texts), 100)]
    assert len(names) > 150
    found, notes = told(tmp_path, named([name.encode(codec) for name in names], declared))
    assert found == names and notes == []


#: What files leave open or get wrong: what they declare, the bytes, the name and the warnings.
OPEN = {
    "nothing told, ASCII": (None, b"PTV ~", "PTV ~", []),
    "nothing told, Latin-1": (None, "Rückenmark".encode("latin_1"), "Rückenmark", [AS_LATIN1]),
    "nothing told, UTF-8": (None, "Rückenmark".encode(), "Rückenmark", [AS_UTF8]),
    "ASCII told": ("ISO_IR 6", "Lünge".encode("latin_1"), "Lünge", [AS_LATIN1]),
    "nothing told, called": (None, ESC + b"-Fa\xe1", "aα", [
        "has texts in the character set ISO 2022 IR 126, which it does not declare"]),
    "another set called": ("ISO_IR 100", "脊髄".encode("iso2022_jp") + b"\xfc", "脊髄ü", [
        "has texts in the character set ISO 2022 IR 87, which it does not declare"]),
    "not called": (["", "ISO 2022 IR 149"], "척수".encode("euc_kr"), "척수", [
        UNCALLED + "149"]),
    "only Korean told": ("ISO 2022 IR 149", "척수".encode("euc_kr"), "척수", []),
    "another spelling": ("ISO-IR 100", b"R\xfcck", "Rück", []),
    "one more spelling": ("iso_ir_100", b"R\xfcck", "Rück", []),
    "an unknown set": ("KOI8-R", b"R\xfcck", "Rück", [
        'declares the unknown character set "KOI8-R"', AS_LATIN1]),
    "UTF-8 beside others": (["ISO_IR 192", "ISO 2022 IR 87"], "Rück".encode(), "Rück", [
        "declares character sets that exclude one another (ISO_IR 192\\ISO 2022 IR 87); the first one "
        "is taken"]),
    "others beside UTF-8": (["ISO_IR 100", "ISO_IR 192"], b"R\xfcck", "Rück", [
        "declares character sets that exclude one another (ISO_IR 100\\ISO_IR 192); the first one is "
        "taken"]),
    "UTF-8 that is none": ("ISO_IR 192", b"R\xfcck", f"R{NONE}ck", [DAMAGED]),
    "UTF-8, too long": ("ISO_IR 192", b"\xc0\xafx", f"{NONE}{NONE}x", [DAMAGED]),
    "UTF-8, a surrogate": ("ISO_IR 192", b"\xed\xa0\x80x", f"{NONE * 3}x", [DAMAGED]),
    "UTF-8, cut": ("ISO_IR 192", b"x\xf0\x90\x80", f"x{NONE}", [DAMAGED]),
    "UTF-8, a command": ("ISO_IR 192", b"x\xc2\x9b31my", f"x{NONE}31my", [DAMAGED]),
    "Latin-1, a command": ("ISO_IR 100", b"x\x9b31my", f"x{NONE}31my", [DAMAGED]),
    "GB18030, cut": ("GB18030", b"x\x81\x30\x81", f"x{NONE}0{NONE}", [DAMAGED]),
    "GB18030, beyond": ("GB18030", b"x\xfe\x39\xfe\x39y", f"x{NONE}y", [DAMAGED]),
    "an escape at the end": ("ISO_IR 100", b"x" + ESC, f"x{NONE}", [DAMAGED]),
    "half a call": (["", "ISO 2022 IR 87"], b"x" + ESC + b"$", f"x{NONE}$", [DAMAGED]),
    "no such call": (["", "ISO 2022 IR 87"], b"x" + ESC + b"(Zy", f"x{NONE}(Zy", [DAMAGED]),
    "a call alone": (["", "ISO 2022 IR 87"], b"x" + ESC + b"$B", "x", []),
    "romaji have no tilde": ("ISO_IR 13", b"A~\xb1", "A\N{OVERLINE}ｱ", []),
    "a line ends the set": (["", "ISO 2022 IR 144"], ESC + b"-L\xd0\n\xd0", "а а", [
        UNCALLED + "144"]),
    "the first set comes back": (["ISO 2022 IR 100", "ISO 2022 IR 144"],
                                 ESC + b"-L\xd0\\\xd0", "а\\Ð", []),
}

@pytest.mark.parametrize("name", OPEN)
def test_what_is_open(tmp_path, name):
    declared, encoded, text, notes = OPEN[name]
    assert told(tmp_path, named([encoded], declared)) == ([text], notes)


def test_a_set_of_an_item(tmp_path):
    elements = structure_set([roi(1, "Rück", None), roi(2, "мозг", None)],
                             SpecificCharacterSet="ISO_IR 100")
    elements.StructureSetROISequence[1].SpecificCharacterSet = "ISO_IR 144"
    contents = file_of(elements)
    assert by_pydicom(contents) == ["Rück", "мозг"]
    assert told(tmp_path, contents) == (["Rück", "мозг"], [])


def test_no_cut_reads_on(tmp_path):
    """Every beginning of texts with escape sequences is a name of characters alone."""
    whole = [words.encode("iso2022_jp_2") for words in ("脊髄 A 丂丄", "α ü")]
    whole += [ESC + b"$)C" + "척수".encode("euc_kr"), "𠮷ḿ".encode("gb18030")]
    for declared in (["", "ISO 2022 IR 87", "ISO 2022 IR 159"], "GB18030", "ISO_IR 192", None):
        names = [b"%d." % i + text[:end] for i, text in enumerate(whole) for end in range(len(text))]
        found, _ = told(tmp_path, named(names, declared))
        assert len(found) == len(names)
        assert not any(unicodedata.category(c) == "Cc" for name in found for c in name)


def test_doses_tell_texts_and_patients(tmp_path):
    path = tmp_path / "dose.dcm"
    path.write_bytes(dose(
        SpecificCharacterSet=["", "ISO 2022 IR 87"], PatientName="Yamada^Tarou=山田^太郎=やまだ^たろう",
        SeriesDescription="前立腺"))
    run = subprocess.run([PROGRAM, "info", "--json", "--patient", path], capture_output=True,
                         check=True)
    document = json.loads(run.stdout)
    assert document["dicom"]["patientName"] == "Yamada^Tarou=山田^太郎=やまだ^たろう"
    assert document["dicom"]["seriesDescription"] == "前立腺" and document["warnings"] == []


#: A name, what declares its set, and a set in brackets that has its last character.
ARGUMENTS = {"Rückenmark": ("ISO_IR 100", "[xyzk]"), "脊髄": ("GB18030", "[脊髄]"),
             "МОЗГ": ("ISO_IR 144", "[а-г]")}


@pytest.mark.parametrize("name", ARGUMENTS)
def test_names_match_arguments(tmp_path, name):
    """Characters, not bytes; the case of letters does not matter."""
    declared, last = ARGUMENTS[name]
    dose_path, path = tmp_path / "dose.dcm", tmp_path / "set.dcm"
    dose_path.write_bytes(dose())
    grid = zarngi.read(str(dose_path))
    middle = np.array(grid.origin) + np.array(grid.spacing) * (np.array(grid.dose.shape[::-1]) - 1) / 2
    square = [contour(polygon(4, 30, middle[:2], middle[2] + z)) for z in np.arange(-20, 20, 2.5)]
    path.write_bytes(file_of(structure_set([roi(1, name, square, frame="1.2.3.4"),
                                            roi(2, "B", square, frame="1.2.3.4")],
                                           SpecificCharacterSet=declared)))
    for pattern in (name, name.lower(), name.upper(), "?" + name[1:], name[:-1] + last, "*" + name[1:]):
        run = subprocess.run(
            [PROGRAM, "compare", dose_path, dose_path, "--structures", path, "--structure", pattern,
             "--json", "-"], capture_output=True, check=False)
        assert run.returncode in (0, 3), run.stderr.decode()
        shown = json.loads(run.stdout)["structures"]["list"]
        assert [row["name"] for row in shown] == [name], pattern
        chosen = zarngi.read_structures(str(path)).select(pattern)
        result = zarngi.gamma_index(grid, grid, structures=chosen)
        assert list(result.structures) == [name], pattern
