"""Runs in one process: what is stored, what is computed again, what is not told."""

import contextlib
import csv
import io
import json
import os
import pty
import re
import shutil
import signal
import sqlite3
import subprocess

import numpy as np
import pydicom
import pytest
import zarngi
import zarngi.cohort
from conftest import (
    SLOW, command, contents, page_record, rates, require_pages, small_pair, write_grid, write_rows, zarngi_cohort,
)  # fmt: skip
from processes import ended, open_for_writing, running, wait_for
from zarngi.cohort.record import WITHOUT_NOISE
from zarngi.cohort.report import page_data
from zarngi.cohort.results import Results
from zarngi.cohort.table import rows_of


#: Members of requests that came with the third version.
LATER = ("plans", "identify", "header", "title", "source", "sha256")


@pytest.fixture
def study(tmp_path):
    """Three pairs of one's own, the second of which cannot be read; and where results go."""
    rows = []
    for i in range(3):
        for role, grid in zip("re", small_pair(0.4 * i)):
            write_grid(tmp_path / f"{role}{i}.nrrd", grid)
        rows.append({"id": f"p{i}", "reference": f"r{i}.nrrd", "evaluation": f"e{i}.nrrd"})
    (tmp_path / "e1.nrrd").write_text("no dose")
    return write_rows(tmp_path / "m.csv", rows), tmp_path / "results.sqlite"


def computed(done):
    """How many pairs the summary says were computed."""
    return int(re.split(" pairs?: ", done.stdout)[1].split(" computed")[0])


def test_results_are_those_of_gamma_index(study):
    manifest, results = study
    criteria = {"3%/2mm": {"dd": 3, "dta": 2}, "2%L/1mm": {"dd": 2, "dta": 1, "local": True}}
    table = zarngi.cohort.run(manifest, results, criteria=list(criteria), dose_cutoff=20)
    assert list(table["id"]) == ["p0", "p0", "p1", "p2", "p2"]
    for _, row in table[table["error"] == ""].iterrows():
        grids = [zarngi.read(manifest.parent / f"{role}{row['id'][1]}.nrrd") for role in "re"]
        result = zarngi.gamma_index(*grids, dose_cutoff=20, **criteria[row["criterion"]])
        assert (row["tested"], row["passed"], row["failed"]) == (
            result.tested, result.passed, result.failed,
        )  # fmt: skip
        assert np.float32(row["pass_rate"]) == np.float32(result.pass_rate)
        assert (row["mean"], row["maximum"]) == (result.mean, result.maximum)
        assert [row["p95"], row["p99"]] == list(result.percentile([95, 99]))
        assert (row["hot"], row["cold"]) == (result.hot, result.cold)
    kept = zarngi.cohort.load(results)
    assert kept.equals(table)


def test_own_criteria_of_a_pair(tmp_path):
    grids = small_pair(1.0)
    for role, grid in zip("re", grids):
        write_grid(tmp_path / f"{role}.nrrd", grid)
    pair = {"id": "a", "reference": str(tmp_path / "r.nrrd"), "evaluation": str(tmp_path / "e.nrrd")}
    own = pair | {"id": "b", "normalisation": 30.0, "cutoff": 50.0}
    table = zarngi.cohort.run([pair, own])
    wanted = [zarngi.gamma_index(*grids), zarngi.gamma_index(*grids, normalisation=30, dose_cutoff=50)]
    assert [tuple(row) for row in table[["tested", "passed"]].values] == [
        (result.tested, result.passed) for result in wanted
    ]


def test_planes_and_points(tmp_path):
    """A manifest reads whatever the program reads."""
    rows = "dose in Gy, mm\n\t-10\t0\t10\n10\t1\t2\t1\n0\t2\t{}\t2\n-10\t1\t2\t1\n"
    (tmp_path / "planned.txt").write_text(rows.format(3))
    (tmp_path / "array.txt").write_text(rows.format("").replace("10\t1\t2\t1", "10\t1\t2.5\t1"))
    (tmp_path / "points.csv").write_text("x (mm),y,dose (Gy)\n0,0,3\n3.5,1,2.7\n-7,9.5,1.4\n")
    pairs = [{"id": name, "reference": str(tmp_path / name), "evaluation": str(tmp_path / "planned.txt")}
             for name in ("array.txt", "points.csv")]
    pairs.append({"id": "reversed", "reference": pairs[0]["evaluation"],
                  "evaluation": pairs[0]["reference"]})
    table = zarngi.cohort.run(pairs).set_index("id")
    for pair in pairs[:2]:
        result = zarngi.gamma_index(zarngi.read(pair["reference"]), zarngi.read(pair["evaluation"]))
        assert (table["tested"][pair["id"]], table["passed"][pair["id"]]) == (
            result.tested, result.passed)
    assert (table["tested"]["array.txt"], table["tested"]["points.csv"]) == (8, 3)
    assert table["error"]["reversed"].startswith("reversed: evaluation: has no dose at 1 of its places")


def test_summary_and_exit_code(study):
    manifest, results = study
    done = zarngi_cohort("run", manifest, "-o", results)
    assert done.returncode == 4 and done.stderr == ""
    assert done.stdout.startswith("3 pairs: 3 computed, 1 failed\n")
    sentence = (
        "p1: evaluation: is not a dose file (DICOM RT Dose or RT Image, NRRD, MetaImage, NIfTI, or a "
        "table of measured doses)"
    )
    assert f"failed: {sentence}\n" in done.stdout
    found, failures = rates(results)
    assert set(found) == {"p0", "p2"} and failures == {"p1": sentence}
    assert os.listdir(manifest.parent).count("results.sqlite-lock") == 0


def test_done_is_done(study):
    """A pair is computed again when its files, its criteria or its failure call for it."""
    manifest, results = study
    run = ("run", manifest, "-o", results)
    zarngi_cohort(*run)
    before = contents(results)
    again = zarngi_cohort(*run)
    assert (computed(again), again.returncode) == (0, 4)
    assert contents(results) == before
    # A time that changes, a size that changes, a file that is put right.
    os.utime(manifest.parent / "e0.nrrd")
    assert computed(zarngi_cohort(*run)) == 1
    shutil.copyfile(manifest.parent / "e2.nrrd", manifest.parent / "e1.nrrd")
    healed = zarngi_cohort(*run)
    assert (computed(healed), healed.returncode) == (1, 0)
    assert computed(zarngi_cohort(*run, "-c", "3%/3mm")) == 3
    assert [row[2] for row in contents(results)["results"]] == ["3%/3mm"] * 3
    (manifest.parent / "r0.nrrd").unlink()
    assert computed(zarngi_cohort(*run, "-c", "3%/3mm")) == 1
    # What is missing is looked for again.
    assert computed(zarngi_cohort(*run, "-c", "3%/3mm")) == 1


def test_another_version_computes_again(study):
    manifest, results = study
    zarngi_cohort("run", manifest, "-o", results)
    with sqlite3.connect(results) as database:
        database.execute("UPDATE pairs SET version = '0.1' WHERE id = 'p0'")
    assert computed(zarngi_cohort("run", manifest, "-o", results)) == 1


def test_digests_tell_what_times_hide(study):
    manifest, results = study
    run = ("run", manifest, "-o", results)
    zarngi_cohort(*run)
    path = manifest.parent / "e2.nrrd"
    facts = path.stat()
    data = bytearray(path.read_bytes())
    data[-1] ^= 1  # of the packed data's checksum
    path.write_bytes(data)
    os.utime(path, ns=(facts.st_atime_ns, facts.st_mtime_ns))
    assert computed(zarngi_cohort(*run)) == 0
    verified = zarngi_cohort(*run, "--verify")
    assert computed(verified) == 1 and "failed: p2: evaluation: " in verified.stdout


def test_values_in_a_file_of_their_own(tmp_path):
    """The file that a header names belongs to the pair, and its name is not told."""
    for role, grid in zip("re", small_pair(0.5)):
        (tmp_path / f"DOE_JANE_{role}.raw").write_bytes(grid.dose.astype("<f4").tobytes())
        size = " ".join(map(str, grid.shape[::-1]))
        (tmp_path / f"{role}.mhd").write_text(
            f"ObjectType = Image\nNDims = 3\nDimSize = {size}\nElementType = MET_FLOAT\n"
            f"ElementSpacing = 2 2 2\nOffset = 0 0 0\nElementDataFile = DOE_JANE_{role}.raw\n"
        )
    rows = [{"id": "a", "reference": "r.mhd", "evaluation": "e.mhd"}]
    run = ("run", write_rows(tmp_path / "m.csv", rows), "-o", tmp_path / "results.sqlite")
    assert zarngi_cohort(*run).returncode == 0
    assert [row[2] for row in contents(run[-1])["files"]] == [
        "reference", "reference data", "evaluation", "evaluation data",
    ]  # fmt: skip
    assert computed(zarngi_cohort(*run)) == 0
    os.utime(tmp_path / "DOE_JANE_e.raw")
    assert computed(zarngi_cohort(*run)) == 1
    (tmp_path / "DOE_JANE_e.raw").unlink()
    done = zarngi_cohort(*run)
    assert done.returncode == 4 and "failed: a: evaluation: " in done.stdout
    assert "DOE" not in done.stdout
    assert b"DOE" not in run[-1].read_bytes()


def test_no_names_of_files_in_results_and_pages(tmp_path):
    require_pages()
    folder = tmp_path / "DOE^JANE 1950"
    for role, grid in zip(("plan", "qa"), small_pair(0.5)):
        write_grid(folder / f"DOE_JANE_{role}.dcm", grid)
    (folder / "DOE_JANE_bad.nrrd").write_text("NRRD0004\ndata file: DOE_JANE.raw\n")
    good = folder / "DOE_JANE_plan.dcm"
    rows = [
        {"id": f"p{i}", "reference": good, "evaluation": folder / f"DOE_JANE_{name}"}
        for i, name in enumerate(("qa.dcm", "bad.nrrd", "gone.nrrd"))
    ]
    results, pages = tmp_path / "results.sqlite", tmp_path / "pages"
    done = zarngi_cohort("run", write_rows(tmp_path / "m.csv", rows), "-o", results, "--pages", pages,
)  # fmt: skip
    assert done.returncode == 4
    page = (pages / "p0.html").read_text()
    assert "p0 evaluation" in page
    for text in (done.stdout, page, results.read_bytes().decode("latin-1")):
        assert "DOE" not in text and str(tmp_path) not in text
    assert pydicom.dcmread(good).FrameOfReferenceUID not in page


def test_nothing_that_stands_in_a_file_is_told(tmp_path):
    """Headers hold names where nobody expects them; a sentence may tell what is wrong, not with what."""
    good, _ = small_pair()
    write_grid(tmp_path / "good.nrrd", good)
    write_grid(tmp_path / "good.dcm", good)
    dicom = {"units": ("DoseUnits", "DOE^JANE"), "modality": ("Modality", "DOE^JANE"),
             "scaling": ("DoseGridScaling", b"DOE^JANE")}  # fmt: skip
    meta = "ObjectType = Image\nNDims = 3\nDimSize = 2 2 2\nElementSpacing = 1 1 1\n"
    files = {
        "line.nrrd": "NRRD0004\nDOE^JANE 1950\n",
        "twice.mha": f"{meta}DOE^JANE = 1\nDOE^JANE = 2\n",
        "channels.mha": f"{meta}ElementType = MET_FLOAT\nElementNumberOfChannels = DOE^JANE\n"
        "ElementDataFile = LOCAL\n",
        "beside.mha": f"{meta}ElementType = MET_FLOAT\nElementDataFile = DOE^JANE.raw\n",
        "unit.nrrd": "NRRD0004\ntype: float\ndimension: 3\nsizes: 2 2 2\nspacings: 1 1 1\nendian: little\n"
        "encoding: raw\nsample units: \"DOE^JANE\"\n\n" + "0" * 32,
        "table.csv": "x (mm),y,dose (Gy)\n0,0,3\n3.5,DOE^JANE,2\n0,1,2\n",
        "columns.csv": "DOE^JANE,of,1950\n0,0,3\n3.5,2,2\n",
    }
    for name, text in files.items():
        (tmp_path / name).write_text(text)
    for name, (member, value) in dicom.items():
        dataset = pydicom.dcmread(tmp_path / "good.dcm")
        if isinstance(value, bytes):
            dataset[member] = pydicom.dataelem.RawDataElement(
                pydicom.tag.Tag(pydicom.datadict.tag_for_keyword(member)), "DS", len(value), value, 0,
                False, True)  # fmt: skip
        else:
            setattr(dataset, member, value)
        if member == "Modality":
            dataset.SOPClassUID = dataset.file_meta.MediaStorageSOPClassUID = "1.2.3"
        dataset.save_as(tmp_path / f"{name}.dcm", write_like_original=True)
        files[f"{name}.dcm"] = ""
    rows = [{"id": name, "reference": "good.nrrd", "evaluation": name} for name in files]
    rows.append({"id": "fine", "reference": "good.nrrd", "evaluation": "good.dcm"})
    results = tmp_path / "results.sqlite"
    done = zarngi_cohort("run", write_rows(tmp_path / "m.csv", rows), "-o", results)
    found, failures = rates(results)
    assert set(failures) | set(found) == {*files, "fine"} and set(found) == {"fine", "unit.nrrd"}
    for text in (done.stdout, done.stderr, results.read_bytes().decode("latin-1")):
        assert "doe" not in text.lower()
    assert failures["line.nrrd"] == (
        'line.nrrd: evaluation: its header has a line that is no field of NRRD: "..."'
    )
    assert failures["beside.mha"] == "beside.mha: evaluation: its data file ... is missing"


def test_pages_show_structures(study):
    """Those of the manifest, chosen by name where names are given; a bad file costs no page."""
    manifest, results = study
    folder, pages = manifest.parent, manifest.parent / "pages"
    reference, evaluation = small_pair(0.4)
    labels = np.zeros(reference.shape, np.uint8)
    labels[4:9, 5:12, 5:12], labels[10:14, 5:12, 5:12] = 1, 2
    zarngi.write(folder / "DOE_JANE.nrrd", labels, like=reference)
    write_grid(folder / "e.nrrd", evaluation)
    pair = {"reference": "r0.nrrd", "evaluation": "e.nrrd"}
    rows = [pair | {"id": name, "structures": path} for name, path in (
        ("mask", "DOE_JANE.nrrd"), ("none", ""), ("bad", "e1.nrrd"))]  # fmt: skip
    write_rows(manifest, rows)
    run = ("run", manifest, "-o", results, "--pages", pages)
    require_pages()

    def shown(name):
        record = page_record(pages / f"{name}.html")
        return [structure["name"] for structure in record.get("structures", {}).get("list", [])]

    done = zarngi_cohort(*run)
    assert done.returncode == 0 and "warning: bad: structures: is not a file of" in done.stdout
    assert [shown(row["id"]) for row in rows] == [["label 1", "label 2"], [], []]
    record = page_record(pages / "mask.html")
    assert record["structures"]["list"][0]["dvh"]["reference"]["curve"]
    assert "DOE" not in (pages / "mask.html").read_text()
    assert {row[3] for row in contents(results)["results"]} == {""}
    assert computed(zarngi_cohort(*run)) == 0
    os.utime(folder / "DOE_JANE.nrrd")
    assert computed(zarngi_cohort("run", manifest, "-o", results)) == 0
    assert computed(zarngi_cohort(*run)) == 1
    write_rows(manifest, rows[:1])
    zarngi_cohort(*run, "--structures", "*2,Rectum")
    assert shown("mask") == ["label 2"]


def test_a_protocol_is_asked_of_every_pair(study, tmp_path):
    """With its criteria and limits of structures, as far as a pair has them; options come first."""
    manifest, results = study
    reference, evaluation = small_pair(0.8)
    labels = np.zeros(reference.shape, np.uint8)
    labels[4:9, 5:12, 5:12], labels[10:14, 5:12, 5:12] = 1, 2
    zarngi.write(tmp_path / "mask.nrrd", labels, like=reference)
    protocol = zarngi.default_request()
    protocol |= {"criteria": ["2%/1mm", "label 2:3%/2mm"], "cutOff": 20}
    protocol["limits"]["tolerance"] = ["label 1:99"]
    protocol["goals"] = ["label 1: Dmean >= 0 Gy", "label 2: Dmax < 0.001 Gy"]
    path = tmp_path / "protocol.json"
    path.write_text(json.dumps(protocol))
    rows = [{"id": "with", "reference": "r2.nrrd", "evaluation": "e2.nrrd", "structures": "mask.nrrd"},
            {"id": "without", "reference": "r2.nrrd", "evaluation": "e2.nrrd", "structures": ""}]  # fmt: skip
    write_rows(manifest, rows)
    run = ("run", manifest, "-o", results, "--request", path)
    done = zarngi_cohort(*run)
    assert done.returncode == 0
    assert "warning: with: goal not met in label 2: label 2: Dmax < 0.001 Gy" in done.stdout
    assert "goal not met in label 1" not in done.stdout

    def told():
        return [(row[0], row[2], row[3]) for row in contents(results)["results"]]

    assert told() == [("with", "2%/1mm", ""), ("with", "2%/1mm", "label 1"), ("with", "2%/1mm", "label 2"),
                      ("with", "3%/2mm", "label 2"), ("without", "2%/1mm", "")]  # fmt: skip
    pair = [zarngi.read(tmp_path / f"{role}2.nrrd") for role in "re"]
    wanted = zarngi.gamma_index(*pair, dd=2, dta=1, dose_cutoff=20)
    tested = {row[0]: row[4] for row in contents(results)["results"] if row[3] == ""}
    assert tested == {"with": wanted.tested, "without": wanted.tested}
    assert computed(zarngi_cohort(*run)) == 0
    assert computed(zarngi_cohort(*run, "--dco", 30)) == 2
    assert computed(zarngi_cohort(*run, "--dco", 30, "-c", "3%/3mm")) == 2
    assert {row[1] for row in told()} == {"3%/3mm"}
    former = {**protocol, "formatVersion": 1, "structures": {**protocol["structures"]}}
    for name, place in (("ifPresent", former["structures"]), ("noise", former), ("refuse", former)):
        del place[name]
    former = {name: value for name, value in former.items() if name not in ("goals", "referenceGuessed", *LATER)}
    for role in ("reference", "evaluation", "units"):
        former[role] = {name: value for name, value in former[role].items() if name != "uncertainty"}
    path.write_text(json.dumps(former))
    assert computed(zarngi_cohort(*run)) == 2 and len(told()) == 5
    for wrong, member in ((protocol | {"cutOff": "ten"}, "ten"), (protocol | {"patient": 1}, "patient"),
                          ([], "is no object")):  # fmt: skip
        path.write_text(json.dumps(wrong))
        refused = zarngi_cohort(*run)
        assert refused.returncode == 1 and member in refused.stderr and "protocol.json: " in refused.stderr
    assert zarngi_cohort("run", manifest, "-o", results, "--request", "gone.json").returncode == 1


def test_rates_without_noise(study):
    """Those of one comparison by the same request; a pair too small for one has none."""
    manifest, results = study
    noisy = zarngi.default_request()
    noisy |= {"criteria": ["3%/2mm"], "noise": {"seed": 1}}
    noisy["reference"]["uncertainty"] = "1%"
    zarngi.cohort.run(manifest, results, request=noisy)
    with Results(results) as stored:
        rows = {row["id"]: [row[name] for name in WITHOUT_NOISE] for row in rows_of(stored)}
        (series,) = page_data(stored, "group", "", (95, 90))["series"]
    assert [list(told) for told in zip(*(series[name] for name in WITHOUT_NOISE))] == [rows["p0"], rows["p2"]]
    assert rows["p1"] == [None] * 3  # which failed
    for name in ("p0", "p2"):
        pair = [manifest.parent / f"{role}{name[1]}.nrrd" for role in "re"]
        told = zarngi.compare(noisy, reference=pair[0], evaluation=pair[1]).record["criteria"][0]["withoutNoise"]
        assert rows[name] == [told[member] for member in ("passRate", "lower", "upper")]
        assert told["kind"] == "told" and told["lower"] < told["upper"]
    strict = noisy | {"criteria": ["0.5%/2mm"]}
    table = zarngi.cohort.run(manifest, results, request=strict)
    assert table["pass_rate"].notna().sum() == 2 and table["without_noise"].isna().all()


def test_a_results_file_of_the_first_format(study):
    """It is read as it is, and brought up to date by the next run, which computes nothing again."""
    manifest, results = study
    zarngi_cohort("run", manifest, "-o", results)
    wanted = contents(results)
    table = zarngi_cohort("export", results).stdout
    with sqlite3.connect(results) as database:
        for name in WITHOUT_NOISE:
            database.execute(f"ALTER TABLE results DROP COLUMN {name}")
        database.execute("PRAGMA user_version = 1")
    before = results.read_bytes()
    results.chmod(0o444)
    assert zarngi_cohort("export", results).stdout == table
    merged = results.with_name("merged.sqlite")
    assert zarngi_cohort("merge", results, "-o", merged).returncode == 0
    assert contents(merged) == wanted
    assert results.read_bytes() == before
    results.chmod(0o644)
    assert computed(zarngi_cohort("run", manifest, "-o", results)) == 0
    assert contents(results) == wanted


def test_protocols(study):
    manifest, results = study
    run = ("run", manifest, "-o", results)
    zarngi_cohort(*run, "--protocol", "tg-119")
    assert {row[2] for row in contents(results)["results"]} == {"3%/3mm"}
    own = manifest.parent / "own.json"
    own.write_text(json.dumps({**zarngi.protocol("tg-119"), "name": "Ours", "criteria": ["2%/2mm"]}))
    zarngi_cohort(*run, "--protocol", own)
    assert {row[2] for row in contents(results)["results"]} == {"2%/2mm"}
    unknown = zarngi_cohort(*run, "--protocol", "tg-217")
    assert unknown.returncode == 1 and "head-neck, prostate, tg-119, tg-218" in unknown.stderr
    assert zarngi_cohort(*run, "--protocol", "tg-119", "--request", own).returncode == 2


def test_pages_below_a_rate(study):
    manifest, results = study
    require_pages()
    pages = manifest.parent / "pages"
    arguments = ("run", manifest, "-o", results, "--pages", pages, "-c", "3%/1mm")
    zarngi_cohort("run", manifest, "-o", results, "-c", "3%/1mm")
    found = rates(results)[0]
    assert found["p2"] < found["p0"]
    below = (found["p0"] + found["p2"]) / 2
    done = zarngi_cohort(*arguments, "--pages-below", below)
    assert computed(done) == 1 and os.listdir(pages) == ["p2.html"]
    assert computed(zarngi_cohort(*arguments, "--pages-below", below)) == 0
    (pages / "p2.html").unlink()
    assert computed(zarngi_cohort(*arguments, "--pages-below", below)) == 1


def test_shards_become_the_whole(cohort, serial, tmp_path):
    """Three jobs of an array, and their files put together."""
    parts = [tmp_path / f"part{i}.sqlite" for i in (1, 2, 3)]
    for i, part in enumerate(parts, 1):
        done = zarngi_cohort("run", cohort.manifest, "-o", part, "--shard", f"{i}/3", *SLOW)
        assert done.returncode == 0
    whole = tmp_path / "all.sqlite"
    assert zarngi_cohort("merge", *parts, "-o", whole).returncode == 0
    assert contents(whole) == serial
    # Once more than once is once; what is there is not written over.
    twice = tmp_path / "twice.sqlite"
    zarngi_cohort("merge", *parts, parts[0], whole, "-o", twice)
    assert contents(twice) == serial
    refused = zarngi_cohort("merge", *parts, "-o", whole)
    assert refused.returncode == 1 and "is there already" in refused.stderr


def test_merge_of_different_results_is_refused(study, tmp_path):
    manifest, results = study
    other = tmp_path / "other.sqlite"
    zarngi_cohort("run", manifest, "-o", results)
    zarngi_cohort("run", manifest, "-o", other, "-c", "2%/2mm")
    done = zarngi_cohort("merge", results, other, "-o", tmp_path / "all.sqlite")
    assert done.returncode == 1 and 'other results of the pair "p0"' in done.stderr
    assert not (tmp_path / "all.sqlite").exists()


def test_export_is_the_table(study):
    manifest, results = study
    zarngi_cohort("run", manifest, "-o", results)
    rows = list(csv.DictReader(io.StringIO(zarngi_cohort("export", results).stdout)))
    table = zarngi.cohort.load(results)
    assert len(rows) == len(table) == 3
    for row, wanted in zip(rows, table.to_dict("records")):
        assert (row["id"], row["error"]) == (wanted["id"], wanted["error"])
        if not wanted["error"]:
            assert float(row["mean"]) == wanted["mean"] and float(row["p99"]) == wanted["p99"]


def test_without_pandas_and_dask(study, tmp_path):
    """The package works without what is optional, and says what is missing."""
    hidden = tmp_path / "hidden"
    for name in ("pandas", "distributed", "dask"):
        (hidden / name).mkdir(parents=True)
        (hidden / name / "__init__.py").write_text("raise ImportError")
    path = f"{hidden}:{os.environ['PYTHONPATH']}"
    manifest, results = study
    environment = os.environ | {"PYTHONPATH": path}
    assert zarngi_cohort("run", manifest, "-o", results, env=environment).returncode == 4
    done = zarngi_cohort("run", manifest, "-o", results, "--cluster", "2", env=environment)
    assert done.returncode == 1
    assert "needs the package distributed, which is not installed" in done.stderr


@pytest.mark.parametrize("kind", ["text", "other database", "nothing"])
def test_what_is_no_results_file(kind, study, tmp_path):
    manifest, _ = study
    path = tmp_path / "other.db"
    if kind == "text":
        path.write_text("x" * 5000)
    elif kind == "other database":
        with sqlite3.connect(path) as database:
            database.execute("CREATE TABLE pairs (id TEXT)")
    before = path.read_bytes() if path.exists() else None
    commands = [("export", path), ("limits", path)]
    commands += [("run", manifest, "-o", path)] if before is not None else []
    for arguments in commands:
        done = zarngi_cohort(*arguments)
        assert done.returncode == 1 and done.stderr.count("\n") == 1, done.stderr
        assert done.stderr.startswith(f"zarngi-cohort: {path}: ")
    assert (path.read_bytes() if path.exists() else None) == before


def test_relative_doses_need_a_normalisation(tmp_path):
    grids = small_pair(0.5)
    for role, grid in zip("re", grids):
        path = tmp_path / f"{role}.dcm"
        write_grid(path, grid)
        dataset = pydicom.dcmread(path)
        dataset.DoseUnits = "RELATIVE"
        dataset.save_as(path)
    write_grid(tmp_path / "gray.nrrd", grids[0])
    rows = [
        {"id": "a", "reference": "r.dcm", "evaluation": "e.dcm", "normalisation": "60"},
        {"id": "b", "reference": "r.dcm", "evaluation": "e.dcm", "normalisation": ""},
        {"id": "c", "reference": "r.dcm", "evaluation": "gray.nrrd", "normalisation": "60"},
    ]
    results = tmp_path / "results.sqlite"
    zarngi_cohort("run", write_rows(tmp_path / "m.csv", rows), "-o", results)
    found, failures = rates(results)
    assert set(found) == {"a"}
    assert failures["b"].startswith("b: reference: holds relative doses, not Gy")
    assert failures["c"].startswith("c: ") and "relative doses" in failures["c"]


def test_warnings_are_kept(tmp_path):
    for role, grid in zip("re", small_pair()):
        write_grid(tmp_path / f"{role}.dcm", grid)  # each with a frame of reference of its own
    rows = [{"id": "a", "reference": "r.dcm", "evaluation": "e.dcm"}]
    results = tmp_path / "results.sqlite"
    zarngi_cohort("run", write_rows(tmp_path / "m.csv", rows), "-o", results, "-c", "3%/2mm",
                  "-c", "2%/2mm")  # fmt: skip
    warnings = contents(results)["warnings"]
    assert [row[2] for row in warnings if "(" not in row[2]] == [
        "a: the files have different frames of reference: their positions may not match"
    ]


def test_rare_sentences_are_told_before_common_ones_and_these_once(tmp_path):
    """What is odd about one pair must not be lost among what all of them have."""
    reference, evaluation = small_pair()
    for i in range(12):
        write_grid(tmp_path / f"{i}.nrrd", evaluation)
    below = evaluation.dose.copy()
    below[0, 0, 0] = -1
    write_grid(tmp_path / "11.nrrd", zarngi.DoseGrid(below, evaluation.spacing, evaluation.origin))
    write_grid(tmp_path / "r.nrrd", reference)
    rows = [{"id": str(i), "reference": "r.nrrd", "evaluation": f"{i}.nrrd"} for i in range(12)]
    done = zarngi_cohort("run", write_rows(tmp_path / "m.csv", rows), "-o", tmp_path / "r.sqlite")
    told = [line for line in done.stdout.splitlines() if line.startswith("warning: ")]
    assert told[:2] == ["warning: 11: (negative-doses) the evaluation holds doses below 0, down to -1 Gy",
                        "warning: 11: evaluation: holds 1 value below 0, which no dose is, down to -1 Gy"]  # fmt: skip
    assert [line for line in told[2:] if "(unreached)" not in line] == [f"warning: 12 pairs: {role}: tells no unit of dose; its values are taken for Gy"
                        for role in ("evaluation", "reference")]  # fmt: skip


def test_file_that_never_answers(study):
    """A pipe that nobody writes is a failure in time, and of its pair alone; again the next run."""
    manifest, results = study
    (manifest.parent / "e1.nrrd").unlink()
    os.mkfifo(manifest.parent / "e1.nrrd")
    run = ("run", manifest, "-o", results, "--read-timeout", "0.3")
    done = zarngi_cohort(*run)
    assert (done.returncode, done.stderr) == (4, "")
    sentence = "p1: evaluation: could not be read within 0.3 s"
    found, failures = rates(results)
    assert failures == {"p1": sentence} and set(found) == {"p0", "p2"}
    again = zarngi_cohort(*run)
    assert "1 computed, 2 done before, 1 failed" in again.stdout
    good = (manifest.parent / "e2.nrrd").read_bytes()
    with running("run", manifest, "-o", results) as process:
        (manifest.parent / "e1.nrrd").write_bytes(good)  # waits for the reader
        assert ended(process)[2] == 0
    assert rates(results)[1] == {}


def test_told_to_stop_while_a_file_is_silent(study):
    manifest, results = study
    pipe = manifest.parent / "e1.nrrd"
    pipe.unlink()
    os.mkfifo(pipe)
    with running("run", manifest, "-o", results) as process:
        writer = wait_for(lambda: open_for_writing(pipe), "a reader of the pipe")
        process.send_signal(signal.SIGINT)
        out, err, code = ended(process)
        os.close(writer)
    assert (out, code) == ("", 130) and "zarngi-cohort: stopped; " in err


def test_nothing_tested_is_a_failure(tmp_path):
    for role, grid in zip("re", small_pair()):
        write_grid(tmp_path / f"{role}.nrrd", grid)
    pair = {"id": "a", "reference": str(tmp_path / "r.nrrd"), "evaluation": str(tmp_path / "e.nrrd")}
    table = zarngi.cohort.run([pair], normalisation=10000.0)
    assert len(table) == 1 and np.isnan(table["pass_rate"][0])
    assert table["error"][0].startswith("a: nothing to compare: no reference voxel lies above")


def test_structures(tmp_path):
    """Rows for each structure that a pair has, as `gamma_index` gives them."""
    reference, evaluation = small_pair(1.0)
    labels = np.zeros(reference.shape, np.uint8)
    labels[4:9, 5:12, 5:12], labels[10:14, 5:12, 5:12] = 1, 2
    for name, array, grid in (("r", reference.dose, reference), ("e", evaluation.dose, evaluation),
                              ("mask", labels, reference)):  # fmt: skip
        zarngi.write(tmp_path / f"{name}.nrrd", array, like=grid)
    pair = {"id": "a", "reference": str(tmp_path / "r.nrrd"), "evaluation": str(tmp_path / "e.nrrd")}
    rows = [pair | {"structures": str(tmp_path / "mask.nrrd")}, pair | {"id": "b"}]
    table = zarngi.cohort.run(rows, structures=())
    found = zarngi.read_structures(tmp_path / "mask.nrrd")
    wanted = zarngi.gamma_index(reference, evaluation, structures=found).structures
    assert list(table["id"]) == ["a"] * (1 + len(wanted)) + ["b"] and len(wanted) == 2
    for _, row in table[table["structure"] != ""].iterrows():
        result = wanted[row["structure"]]
        figures = ("tested", "passed", "failed", "hot", "cold", "pass_rate", "mean", "p95", "maximum")
        assert [row[name] for name in figures] == [getattr(result, name) for name in figures]
    some = zarngi.cohort.run(rows, tmp_path / "r.sqlite", structures=[list(found)[1], "Rectum"])
    assert list(some["structure"]) == ["", list(found)[1], ""]
    unit = "tells no unit of dose; its values are taken for Gy"

    def left_out(pair, name):
        return f'{pair}: no structure is called "{name}", so it is left out'

    warnings = contents(tmp_path / "r.sqlite")["warnings"]
    assert sorted(row[2] for row in warnings if "(unreached)" not in row[2]) == [
        f"a: evaluation: {unit}", left_out("a", "Rectum"), f"a: reference: {unit}",
        f"b: evaluation: {unit}", left_out("b", "Rectum"), left_out("b", list(found)[1]),
        f"b: reference: {unit}",
    ]  # fmt: skip
    assert list(zarngi.cohort.run(rows)["structure"]) == ["", ""]


def test_progress_on_a_terminal_only(study):
    """Rate, failures and time left where a person looks; the summary apart from it."""
    manifest, results = study
    seen, terminal = pty.openpty()
    process = subprocess.Popen(command("run", manifest, "-o", results), stdout=subprocess.PIPE,
                               stderr=terminal, text=True)  # fmt: skip
    out = process.communicate(timeout=60)[0]
    os.close(terminal)
    shown = b""
    with contextlib.suppress(OSError):  # the other end is closed
        while part := os.read(seen, 4096):
            shown += part
    os.close(seen)
    assert re.search(rb"\r3 of 3 pairs, 1 failed, [0-9.]+ pairs/s, 0 s left", shown), shown
    assert re.search(rb"\r +\r$", shown) and out.startswith("3 pairs: 3 computed")
