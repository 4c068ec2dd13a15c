"""Manifests: what is accepted, and what is refused before anything starts."""

import pytest
from conftest import zarngi_cohort
from zarngi.cohort import Manifest, ManifestError

HEAD = "id,reference,evaluation\n"

REFUSED = [
    ("", ':1: has no column "id"'),
    ("id,reference\nx,y\n", ':1: has no column "evaluation"'),
    ("id,reference,evaluation,normalization\n", ':1: has an unknown column "normalization"'),
    ("id,id,reference,evaluation\n", ':1: has the column "id" twice'),
    (HEAD, ": holds no pairs"),
    (HEAD + "a,x,y\n\nb,,y\n", ":4: its reference is missing"),
    (HEAD + "a,x,y\na,u,v\n", ':3: its id "a" stands in line 2, too'),
    (HEAD + "a,x,y,z\n", ":2: has more cells than there are columns"),
    (HEAD + "a\tb,x,y\n", ":2: its id holds a character that cannot be printed"),
    (HEAD + "a" * 81 + ",x,y\n", ":2: its id has more than 80 characters"),
    (HEAD + '"a,x,y\n', ": is not CSV (unexpected end of data)"),
    ("id,reference,evaluation,date\na,x,y,1.2.2026\n", ':2: its date "1.2.2026" is not like 2026-'),
    ("id,reference,evaluation,cutoff\na,x,y,-1\n", ':2: its cutoff "-1" is not a number above 0'),
    ("id,reference,evaluation,normalisation\na,x,y,nan\n", ':2: its normalisation "nan" is not a'),
    ("id,reference,evaluation,criteria\na,x,y,3/3\n", ':2: "3/3" is not of the form 3%/2mm'),
    ("id,reference,evaluation,criteria\na,x,y,3%/3mm 3%G/3mm\n", "3%/3mm is given twice"),
]


@pytest.mark.parametrize(("text", "complaint"), REFUSED)
def test_refused(text, complaint, tmp_path):
    path = tmp_path / "manifest.csv"
    path.write_text(text)
    with pytest.raises(ManifestError) as refusal:
        Manifest(path)
    assert str(refusal.value).startswith(f"{path}:") and complaint in str(refusal.value)


def test_every_bad_row_is_told_and_nothing_starts(tmp_path):
    path = tmp_path / "manifest.csv"
    path.write_text(HEAD + "a,x,y\nb,,y\nc,x,\n" + ",x,y\n" * 20)
    done = zarngi_cohort("run", path, "-o", tmp_path / "results.sqlite")
    lines = done.stderr.splitlines()
    assert done.returncode == 1 and done.stdout == ""
    assert lines[0] == f"zarngi-cohort: {path}:3: its reference is missing"
    assert lines[1] == f"zarngi-cohort: {path}:4: its evaluation is missing"
    assert lines[10] == f"zarngi-cohort: {path}: more may follow" and len(lines) == 11
    assert [p.name for p in tmp_path.iterdir()] == ["manifest.csv"]


def test_not_utf8(tmp_path):
    path = tmp_path / "manifest.csv"
    path.write_bytes(HEAD.encode() + "ä,x,y\n".encode("latin-1"))
    with pytest.raises(ManifestError, match="is not UTF-8"):
        Manifest(path)


def test_what_spreadsheets_write(tmp_path):
    """A byte-order mark, semicolons, quotes, Windows' line ends, columns in capitals."""
    path = tmp_path / "manifest.csv"
    text = 'ID;Reference;Evaluation;Group;Date;Criteria;Cutoff;Site\r\n"a;1";x.dcm;/d/y.dcm;L 1;'
    text += "2026-03-01T12:30;3%/2mm; 20;Lung\r\n"
    path.write_bytes(text.encode("utf-8-sig"))
    (pair,) = Manifest(path, keep=["Site"])
    assert (pair.id, pair.group, pair.date) == ("a;1", "L 1", "2026-03-01T12:30:00")
    assert (pair.reference, pair.evaluation) == (str(tmp_path / "x.dcm"), "/d/y.dcm")
    assert ([str(c) for c in pair.criteria], pair.cutoff) == (["3%/2mm"], 20)
    assert pair.labels == {"Site": "Lung"}


@pytest.mark.parametrize(
    ("arguments", "complaint"),
    [
        (["run", "m.csv"], "the following arguments are required: -o/--output"),
        (["run", "m.csv", "-o", "r", "-c", "3/2"], '"3/2" is not of the form 3%/2mm'),
        (["run", "m.csv", "-o", "r", "--shard", "5/4"], "the shard 5/4 is not one of 1/N to N/N"),
        (["run", "m.csv", "-o", "r", "--cluster", "0"], '"0" is neither a number of workers nor'),
        (["run", "m.csv", "-o", "r", "--cluster", "2", "--scheduler-file", "f"], "not allowed with"),
        (["frobnicate"], "invalid choice"),
    ],
)
def test_wrong_usage_is_one_line(arguments, complaint):
    done = zarngi_cohort(*arguments)
    assert done.returncode == 2
    assert complaint in done.stderr and done.stderr.count("\n") == 1
