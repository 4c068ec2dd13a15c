"""Computing on a cluster, undisturbed and with files that are none."""

import os
import re
import threading

import pytest
import zarngi.cohort
from conftest import SLOW, contents, rates, rates_of, small_pair, write_grid, write_rows, zarngi_cohort
from processes import (
    children, ended, kill, open_for_writing, running, wait_for, wait_until_done,
)  # fmt: skip

from zarngi.cohort.cluster import DaskCluster
from zarngi.cohort.manifest import Manifest
from zarngi.cohort.record import Task
from zarngi.cohort.settings import Settings

distributed = pytest.importorskip("distributed")


def test_the_same_table_by_every_way(cohort, serial, cluster, tmp_path):
    """A scheduler by its address and by its file, workers of this machine, a client of one's own."""
    for _ in range(2):
        cluster.start_worker()
    run = ("run", cohort.manifest, *SLOW, "-o")
    ways = {
        "address": ("--cluster", cluster.address),
        "file": ("--scheduler-file", cluster.file),
        "here": ("--cluster", "2"),
    }
    for name, way in ways.items():
        done = zarngi_cohort(*run, tmp_path / name, *way)
        assert (done.returncode, done.stderr) == (0, ""), done.stderr
        assert contents(tmp_path / name) == serial
        # Of two workers one may come when all is done.
        assert re.search("; (1 worker|2 workers) read and compared", done.stdout)
    with distributed.Client(cluster.address) as client:
        zarngi.cohort.run(cohort.manifest, tmp_path / "own", criteria="2%/3mm", step=0.02,
                          max_gamma=2.0, client=client)  # fmt: skip
    assert contents(tmp_path / "own") == serial


def test_few_pairs_are_under_way(cohort, cluster):
    """Pairs are asked for as workers take them, so that a million take no more memory."""
    cluster.start_worker()
    asked = done = most = 0

    def tasks():
        nonlocal asked
        pair = next(iter(Manifest(cohort.manifest)))
        for number in range(1000):
            asked += 1
            yield Task(number, pair, Settings())

    with distributed.Client(cluster.address) as client:
        client.wait_for_workers(1)
        for outcomes in DaskCluster(client).outcomes(tasks(), 1000):
            done += len(outcomes)
            most = max(most, asked - done)
    # Four batches of at most 64 pairs for the one thread, and what has landed meanwhile.
    assert done == 1000 and most <= 5 * 64


def test_no_scheduler(cohort, tmp_path):
    done = zarngi_cohort("run", cohort.manifest, "-o", tmp_path / "r", "--scheduler-file", "none.json",
                         "--patience", "0.5")  # fmt: skip
    assert done.returncode == 1 and done.stderr.startswith("zarngi-cohort: none.json: ")
    assert done.stderr.count("\n") == 1


def write_huge(path, byte_count):
    """A file that is as large as its header says, and takes no room."""
    side = 1024
    head = f"ObjectType = Image\nNDims = 3\nDimSize = {side} {side} {byte_count // side**2 // 4}\n"
    head += "ElementType = MET_FLOAT\nElementSpacing = 1 1 1\nOffset = 0 0 0\n"
    head += "ElementDataFile = LOCAL\n"
    with open(path, "wb") as file:
        file.write(head.encode())
        file.truncate(len(head) + byte_count)


def feed_slowly(pipe, source, may_start):
    def feed():
        may_start.wait(60)
        with open(pipe, "wb") as file:
            contents_ = source.read_bytes()
            for i in range(0, len(contents_), 4096):
                file.write(contents_[i : i + 4096])
                file.flush()

    thread = threading.Thread(target=feed, daemon=True)
    thread.start()
    return thread


def test_bad_files_among_good_ones(cohort, serial, cluster, tmp_path):
    """A damaged, a missing, a huge and a slow file: rows of failures, and all others as they are."""
    for _ in range(2):
        cluster.start_worker("--memory-limit", "600MB")
    good = cohort.folder / "planned/p000.nrrd"
    damaged, huge, slow = tmp_path / "damaged.nrrd", tmp_path / "huge.mha", tmp_path / "slow.nrrd"
    damaged.write_bytes(good.read_bytes()[:-100])
    write_huge(huge, 4 << 30)
    os.mkfifo(slow)
    rows = [dict(row, reference=cohort.folder / row["reference"],
                 evaluation=cohort.folder / row["evaluation"]) for row in cohort.rows]  # fmt: skip
    odd = {"damaged": damaged, "missing": tmp_path / "none.nrrd", "huge": huge, "slow": slow}
    for i, (name, path) in enumerate(odd.items()):
        rows.insert(3 * i + 1, dict(rows[0], id=name, reference=good, evaluation=path))
    results = tmp_path / "results.sqlite"
    run = ("run", write_rows(tmp_path / "m.csv", rows), "-o", results, "--cluster", cluster.address, *SLOW)
    may_start = threading.Event()
    feeder = feed_slowly(slow, cohort.folder / "measured/p000.nrrd", may_start)
    with running(*run) as process:
        # All others are finished while one waits for its file.
        wait_until_done(results, len(rows) - 1)
        may_start.set()
        out, err, code = ended(process)
    feeder.join(10)
    assert (code, err) == (4, "")
    found, failures = rates(results)
    assert failures == {
        "damaged": "damaged: evaluation: its compressed data is damaged or cut short",
        "missing": "missing: evaluation: No such file or directory",
        "huge": "huge: does not fit in the memory of 0.6 GB that there is for a computation",
    }
    wanted = rates_of(serial)
    assert found == wanted | {"slow": wanted["p000"]}


def test_worker_that_dies_twice(cohort, serial, cluster, tmp_path):
    """A pair that takes its worker with it is a failure; it is tried alone before that is said."""
    workers = [cluster.start_worker("--name", str(i), nanny=True) for i in range(2)]
    deadly = tmp_path / "deadly.nrrd"
    os.mkfifo(deadly)
    rows = [dict(row, reference=cohort.folder / row["reference"],
                 evaluation=cohort.folder / row["evaluation"]) for row in cohort.rows]  # fmt: skip
    rows.insert(5, dict(rows[0], id="deadly", evaluation=deadly))
    results = tmp_path / "results.sqlite"
    run = ("run", write_rows(tmp_path / "m.csv", rows), "-o", results, "--cluster", cluster.address, *SLOW)
    with running(*run) as process:
        for _ in range(2):
            writer = wait_for(lambda: open_for_writing(deadly), "a worker at the pipe")
            kill(wait_for(lambda: reader_of(deadly, workers), "the worker that reads the pipe"))
            os.close(writer)
        out, err, code = ended(process)
    assert code == 4, err
    found, failures = rates(results)
    assert failures == {
        "deadly": "deadly: its worker died while computing it, and the next one, too"
    }
    assert found == rates_of(serial)


def reader_of(pipe, nannies):
    """The worker that has a pipe open."""
    for pid in (child for nanny in nannies for child in children(nanny.pid)):
        try:
            opened = [os.readlink(f"/proc/{pid}/fd/{n}") for n in os.listdir(f"/proc/{pid}/fd")]
        except OSError:
            continue
        if str(pipe) in opened:
            return pid
    return None
