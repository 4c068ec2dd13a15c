"""Comparisons as a document asks: those of the command-line program, whatever gives the doses."""

import copy
import json
import subprocess
import sys

import numpy as np
import pytest
import zarngi
from conftest import small_grid

#: What differs between two runs, and between files and arrays.
VOLATILE = ("created", "command", "timings", "threads", "request", "warnings")
OF_FILES = ("name", "path", "format", "bytes", "sha256", "data")


def told(record):
    """A record without times and what tells where files lie."""
    record = copy.deepcopy({k: v for k, v in record.items() if k not in VOLATILE})
    doses = [record["files"]["reference"], record["files"]["evaluation"]]
    for side in (record.get("doses") or {}).values():
        doses += side.get("added", []) if isinstance(side, dict) else []
    structures = record.get("structures") or {}
    for file in [*doses, *structures.get("files", [])]:
        for member in OF_FILES:
            file.pop(member, None)
    # An array is in Gy; of a file that is assumed.
    record["conditions"] = [one for one in record["conditions"] if one["name"] != "assumed-dose-unit"]
    for criterion in record["criteria"]:
        criterion.pop("seconds")
    for part in (record.get("explanation") or {}, *record.get("sweeps", [])):
        part.pop("seconds", None)
    return record


def by_program(program, folder, *arguments):
    path = folder / "record.json"
    subprocess.run([program, "compare", *map(str, arguments), "--json", path], check=True,
                   capture_output=True)
    return json.loads(path.read_text())


@pytest.fixture
def files(tmp_path, pair):
    """The two grids as files, a third on the grid of the first, and a mask of two structures."""
    reference, evaluation = pair
    zarngi.write(tmp_path / "reference.mha", reference.dose, reference)
    zarngi.write(tmp_path / "evaluation.mha", evaluation.dose, evaluation)
    zarngi.write(tmp_path / "boost.mha", (reference.dose / 4).astype(np.float32), reference)
    labels = np.zeros(reference.shape, np.uint8)
    labels[2:6, 3:8, 4:9], labels[6:, :4] = 1, 2
    zarngi.write(tmp_path / "mask.nrrd", labels, reference)
    (tmp_path / "plane.txt").write_text(
        "y\\x [mm, Gy]\t-6\t-3\t0\t3\t6\n"
        + "".join(f"{y}\t" + "\t".join(str(40 - abs(x) - abs(y)) for x in (-6, -3, 0, 3, 6)) + "\n"
                  for y in (-4, 0, 4)))
    (tmp_path / "points.csv").write_text(
        "x [mm],y [mm],z [mm],dose [Gy]\n0,0,0,49\n3,1.5,-2,44\n-9,4,5,20\n")
    return tmp_path


def changed(**members):
    """A request whose members, named as "structures.show", have other values."""
    request = zarngi.default_request()
    for name, value in members.items():
        place = request
        *sections, last = name.split("__")
        for section in sections:
            place = place[section]
        assert last in place
        place[last] = value
    return request


CASES = {
    "criteria": (
        "reference.mha",
        {"criteria": ["3%/2mm", "2%L/1.5mm"], "cutOff": 5.0, "limits__tolerance": ["90"]},
        ("-c", "3%/2mm", "-c", "2%L/1.5mm", "--dco", "5", "--tolerance", "90"),
    ),
    "rates": (
        "reference.mha",
        {"passRateOnly": True, "nearest": True, "normalisation": 40.0, "step": 0.3},
        ("--pass-rate-only", "--nearest", "--norm", "40", "--step", "0.3"),
    ),
    "structures": (
        "reference.mha",
        {"structures__files": ["mask.nrrd"], "structures__metrics": ["D99", "V20Gy"],
         "structures__show": ["*"]},
        ("--structures", "mask.nrrd", "--dvh", "D99,V20Gy", "--structure", "*"),
    ),
    "sums": (
        "reference.mha",
        {"reference__add": ["boost.mha"], "evaluation__scale": "1.2"},
        ("--reference-add", "boost.mha", "--evaluation-scale", "1.2"),
    ),
    "plane": (
        "plane.txt",
        {"plane__name": "coronal", "plane__at": [0.0, 0.0, 1.0]},
        ("--plane", "coronal", "--at", "0,0,1"),
    ),
    "points": ("points.csv", {}, ()),
    "findings": (
        "reference.mha",
        {"explain": {"range": 5.0, "structure": None}, "sweeps": ["1:3%/2mm"]},
        ("--explain", "--explain-range", "5", "--sweep", "1:3%/2mm"),
    ),
}


@pytest.mark.parametrize("case", CASES)
@pytest.mark.filterwarnings("ignore::zarngi.FormatWarning")
def test_same_as_program(program, files, monkeypatch, case):
    monkeypatch.chdir(files)
    reference, members, options = CASES[case]
    record = by_program(program, files, reference, "evaluation.mha", *options)
    request = changed(**members)
    of_files = zarngi.compare(request, reference=reference, evaluation="evaluation.mha")
    assert told(of_files.record) == told(record)
    assert of_files.record["files"]["reference"] == record["files"]["reference"]
    assert of_files.record["request"] == record["request"]
    of_arrays = zarngi.compare(request, reference=zarngi.read(reference),
                               evaluation=zarngi.read("evaluation.mha"))
    assert told(of_arrays.record) == told(record)
    assert of_arrays.record["files"]["reference"]["sha256"] is None
    for i in range(len(record["criteria"])):
        np.testing.assert_array_equal(of_files.gamma(i), of_arrays.gamma(i))
        np.testing.assert_array_equal(of_files.passed(i), of_arrays.passed(i))
    again = zarngi.compare(files / "record.json")
    assert told(again.record) == told(record)


def test_structures_in_memory(pair):
    reference, evaluation = pair
    mask = np.zeros(reference.shape, bool)
    mask[2:6] = True
    comparison = zarngi.compare(zarngi.default_request(), reference=reference,
                                evaluation=evaluation, structures={"PTV": mask})
    old = zarngi.gamma_index(reference, evaluation, structures={"PTV": mask})
    (row,) = comparison.record["criteria"][0]["structures"]
    assert (row["name"], row["tested"], row["passed"]) == (
        "PTV", old.structures["PTV"].tested, old.structures["PTV"].passed)
    np.testing.assert_array_equal(comparison.gamma(), old.gamma)
    assert np.float32(comparison.pass_rate()) == np.float32(old.pass_rate)


@pytest.mark.parametrize(
    ("members", "kind", "member"),
    [
        ({"criteria": ["3%/2mm", "0%/2mm"]}, "request", "criteria[1]"),
        ({"structures__within": "PTV"}, "request", "structures.within"),
        ({"cutOff": "ten"}, "request", "cutOff"),
        ({"limits": None}, "request", "limits"),
        ({"cutOff": 1000.0}, "pair", None),
    ],
)
def test_refused_requests(pair, members, kind, member):
    with pytest.raises(zarngi.RequestError) as refusal:
        zarngi.compare(changed(**members), reference=pair[0], evaluation=pair[1])
    assert (refusal.value.kind, refusal.value.member) == (kind, member)


def test_refused_files(tmp_path, pair):
    request = zarngi.default_request()
    with pytest.raises(FileNotFoundError) as refusal:
        zarngi.compare(request, reference=tmp_path / "absent.mha", evaluation=pair[1])
    assert refusal.value.filename == str(tmp_path / "absent.mha")
    (tmp_path / "text.mha").write_text("no dose")
    for read in (zarngi.read, lambda path: zarngi.compare(request, reference=path,
                                                          evaluation=pair[1])):
        with pytest.raises(zarngi.FormatError) as refusal:
            read(tmp_path / "text.mha")
        assert str(refusal.value).startswith(f"{tmp_path / 'text.mha'}: ")
    bad = small_grid()
    bad.dose[0, 0, 0] = np.nan
    with pytest.raises(zarngi.FormatError, match="not finite"):
        zarngi.compare(request, reference=bad, evaluation=pair[1])


class Enough(Exception):
    pass


def test_progress_ends_it(pair):
    def enough(done):
        assert 0 <= done <= 1
        raise Enough

    request = changed(sweeps=["1:3%/1:3mm"])
    with pytest.raises(Enough):
        zarngi.compare(request, reference=pair[0], evaluation=pair[1], progress=enough)
    shares = []
    zarngi.compare(request, reference=pair[0], evaluation=pair[1], progress=shares.append)
    assert shares and shares == sorted(shares)


def test_documents(tmp_path, pair):
    comparison = zarngi.compare(json.dumps(zarngi.default_request()), reference=pair[0],
                                evaluation=pair[1])
    assert "3%/2mm" in comparison.csv()
    (tmp_path / "template.html").write_text("<html><!--ZARNGI-DATA--></html>")
    comparison.page(tmp_path / "page.html", tmp_path / "template.html")
    assert 'id="volume-gamma-0"' in (tmp_path / "page.html").read_text()
    assert sorted(path.name for path in tmp_path.iterdir()) == ["page.html", "template.html"]


def test_maps_outlive_comparison(pair):
    passed = zarngi.compare(zarngi.default_request(), reference=pair[0],
                            evaluation=pair[1]).passed()
    assert set(np.unique(passed)) <= {0, 1, 255} and not passed.flags.writeable


def test_one_library():
    """What compares is the library that the package has opened, whatever else is installed."""
    program = (
        "import zarngi; r, e = zarngi.demo_pair();"
        "zarngi.compare(zarngi.default_request(), reference=r, evaluation=e);"
        "print(*{line.split()[-1] for line in open('/proc/self/maps') if 'libZarnGI.so.4' in line})"
    )
    ran = subprocess.run([sys.executable, "-c", program], check=True, capture_output=True, text=True)
    (library,) = ran.stdout.split()
    assert library.endswith("zarngi/lib/libZarnGI.so.4")


def test_protocols(tmp_path, pair):
    doses = {"reference": pair[0], "evaluation": pair[1]}
    whole = zarngi.protocol("tg-218")
    (digest,) = (one["sha256"] for one in zarngi.protocols() if one["name"] == "tg-218")
    path = tmp_path / "own.json"
    path.write_text(json.dumps(whole))
    for protocol in ("tg-218", whole, path):
        told = zarngi.compare(protocol=protocol, **doses).record["protocol"]
        assert (told["name"], told["sha256"], told["changed"]) == ("tg-218", digest, False)
    told = zarngi.compare({**whole, "cutOff": 20}, **doses).record["protocol"]
    assert (told["sha256"], told["changed"]) == (digest, True)
    with pytest.warns(zarngi.FormatWarning, match="Rectum"):
        assert "goals" not in zarngi.compare(protocol="prostate", **doses).record


def test_refused_protocols(tmp_path, pair):
    path = tmp_path / "own.json"
    for wrong, sentence in (("tg-217", "head-neck, prostate, tg-119, tg-218"), ({"format": "none"}, "format"),
                            ({**zarngi.protocol("tg-218"), "formatVersion": 4}, "1 to 3.*tg-218")):  # fmt: skip
        with pytest.raises(ValueError, match=sentence):
            zarngi.compare(protocol=wrong, reference=pair[0], evaluation=pair[1])
    path.write_text("no document")
    with pytest.raises(ValueError, match="own.json: this is no JSON document"):
        zarngi.protocol(path)
    for given in ({}, {"request": zarngi.default_request(), "protocol": "tg-218"}):
        with pytest.raises(TypeError, match="a request or a protocol"):
            zarngi.compare(reference=pair[0], evaluation=pair[1], **given)
