"""Whatever is killed: finished pairs are kept, and the same command goes on to the same table."""

import os
import signal
import subprocess
import sys
import time

import pytest
from conftest import SLOW, command, contents, count_done, zarngi_cohort
from processes import ended, kill, running, wait_until_done, worker_of

pytest.importorskip("distributed")

GO_ON = "what is finished is kept, and the same command goes on"


@pytest.fixture
def results(tmp_path):
    return tmp_path / "results.sqlite"


def run_of(cohort, results, *options):
    options = options or ("--threads", "1")
    return ("run", cohort.manifest, "-o", results, *SLOW, *options)


def assert_goes_on(cohort, serial, results, *options):
    """The same command computes what is left, and not more, and gives the undisturbed table."""
    before = count_done(results)
    done = zarngi_cohort(*run_of(cohort, results, *options))
    assert done.returncode == 0, done.stderr
    if before:
        assert f"{len(cohort.rows) - before} computed, {before} done before" in done.stdout
    assert contents(results) == serial
    assert not os.path.exists(f"{results}-lock")


def test_worker_killed(cohort, serial, cluster, results):
    """The run survives it; the worker's pairs are computed once more."""
    nannies = [cluster.start_worker(nanny=True) for _ in range(2)]
    with running(*run_of(cohort, results, "--cluster", cluster.address)) as process:
        wait_until_done(results, 3)
        kill(worker_of(nannies[0]))
        _, err, code = ended(process)
    assert (code, err) == (0, "")
    assert contents(results) == serial


def test_all_workers_killed(cohort, serial, cluster, results):
    workers = [cluster.start_worker() for _ in range(2)]
    options = ("--cluster", cluster.address, "--patience", "1")
    with running(*run_of(cohort, results, *options)) as process:
        wait_until_done(results, 3)
        for worker in workers:
            kill(worker)
        _, err, code = ended(process)
    assert code == 1
    assert err == f"zarngi-cohort: there has been no worker for 1 s; {GO_ON}\n"
    cluster.start_worker()
    assert_goes_on(cohort, serial, results, *options)


def test_scheduler_killed(cohort, serial, cluster, results):
    workers = [cluster.start_worker() for _ in range(2)]
    options = ("--cluster", cluster.address)
    environment = os.environ | {"DASK_DISTRIBUTED__COMM__TIMEOUTS__CONNECT": "3s"}
    with running(*run_of(cohort, results, *options), env=environment) as process:
        wait_until_done(results, 3)
        kill(cluster.scheduler)
        _, err, code = ended(process)
    assert code == 1
    (line,) = err.splitlines()
    assert line.startswith("zarngi-cohort: the scheduler is gone") and line.endswith(GO_ON)
    for worker in workers:
        kill(worker)
    cluster.start_scheduler()
    cluster.start_worker()
    assert_goes_on(cohort, serial, results, "--cluster", cluster.address)


@pytest.mark.parametrize("where", ["cluster", "here"])
def test_client_killed(where, cohort, serial, cluster, results):
    """Its lock goes with it; the cluster forgets what it had to do."""
    cluster.start_worker()
    options = ("--cluster", cluster.address) if where == "cluster" else ()
    with running(*run_of(cohort, results, *options)) as process:
        wait_until_done(results, 3)
        kill(process)
    assert os.path.exists(f"{results}-lock")
    assert 3 <= count_done(results) < len(cohort.rows)
    assert_goes_on(cohort, serial, results, *options)


def test_worker_stopped_for_a_while(cohort, serial, cluster, results):
    workers = [cluster.start_worker() for _ in range(2)]
    with running(*run_of(cohort, results, "--cluster", cluster.address)) as process:
        wait_until_done(results, 3)
        workers[0].send_signal(signal.SIGSTOP)
        time.sleep(2)
        workers[0].send_signal(signal.SIGCONT)
        _, err, code = ended(process)
    assert (code, err) == (0, "")
    assert contents(results) == serial


@pytest.mark.parametrize(
    ("sent", "options"),
    [(signal.SIGINT, ()), (signal.SIGINT, ("--cluster", "2")), (signal.SIGTERM, ())],
)
def test_told_to_stop(sent, options, cohort, serial, results):
    """Ctrl-C, which a terminal sends to the workers as well, and the end of a batch job."""
    with running(*run_of(cohort, results, *options), start_new_session=True) as process:
        wait_until_done(results, 3)
        if sent == signal.SIGINT:
            os.killpg(process.pid, sent)
        else:
            process.send_signal(sent)
        out, err, code = ended(process)
    assert (out, err, code) == ("", f"zarngi-cohort: stopped; {GO_ON}\n", 130)
    assert_goes_on(cohort, serial, results)


def test_second_client_is_told(cohort, serial, results):
    with running(*run_of(cohort, results)) as process:
        wait_until_done(results, 3)
        process.send_signal(signal.SIGSTOP)  # it must not end before the other one has begun
        second = zarngi_cohort(*run_of(cohort, results))
        process.send_signal(signal.SIGCONT)
        _, _, code = ended(process)
    assert second.returncode == 1 and code == 0
    assert second.stderr == (
        f"zarngi-cohort: {results}: is being written by process {process.pid} on {os.uname().nodename}\n"
    )
    assert contents(results) == serial


def test_file_that_may_not_grow(cohort, serial, results):
    limited = "import resource, os, sys; resource.setrlimit(resource.RLIMIT_FSIZE, (40960, 40960));"
    limited += "os.execv(sys.argv[1], sys.argv[1:])"
    done = subprocess.run(
        [sys.executable, "-c", limited, *command(*run_of(cohort, results))],
        capture_output=True, text=True, timeout=60, check=False,
    )  # fmt: skip
    assert_full(done, results)
    assert_goes_on(cohort, serial, results)


def test_disk_full(cohort, serial, results, tmp_path):
    """A small file system under the results, which only this process sees."""
    place = tmp_path / "small"
    place.mkdir()
    script = 'mount -t tmpfs -o size=64k tmpfs "$0" || exit 77\n"$@"\ncode=$?\n'
    script += 'cp "$0"/results.sqlite* "$0/.." && exit $code'
    arguments = command(*run_of(cohort, place / "results.sqlite"))
    namespace = ["unshare", "--mount"] + ([] if os.getuid() == 0 else ["--map-root-user"])
    done = subprocess.run([*namespace, "sh", "-c", script, place, *arguments], capture_output=True,
                          text=True, timeout=60, check=False)  # fmt: skip
    if done.returncode == 77 or "unshare" in done.stderr:
        pytest.skip(f"no file system of one's own can be had: {done.stderr.strip()}")
    assert_full(done, place / "results.sqlite")
    assert_goes_on(cohort, serial, results)


def assert_full(done, results):
    (line,) = done.stderr.splitlines()
    assert done.returncode == 1 and line.startswith(f"zarngi-cohort: {results}: ")
    assert "disk" in line
