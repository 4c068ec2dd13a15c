"""Real processes of Dask and of the program, started and ended by the tests."""

import json
import os
import signal
import subprocess
import time
from contextlib import contextmanager
from pathlib import Path

from conftest import command, count_done

PATIENCE = 300


def wait_for(condition, what):
    """Waits until a condition holds; its value."""
    end = time.monotonic() + PATIENCE
    while time.monotonic() < end:
        value = condition()
        if value:
            return value
        time.sleep(0.02)
    raise AssertionError(f"after {PATIENCE} s there is not: {what}")


def has_ended(pid):
    """Whether a process is gone, or waits for its parent to notice."""
    try:
        return Path(f"/proc/{pid}/stat").read_text().rpartition(")")[2].split()[0] in "ZX"
    except (FileNotFoundError, ProcessLookupError):
        return True


def kill(process):
    """SIGKILL, to a process or one's id, and its end."""
    if isinstance(process, int):
        os.kill(process, signal.SIGKILL)
        # Until then it is there with all that it has open.
        wait_for(lambda: has_ended(process), "the end of a killed process")
        return
    process.kill()
    process.wait()


class Cluster:
    """A scheduler and workers, each a process."""

    def __init__(self, folder):
        self._folder = folder
        self._processes = []
        self.scheduler = None
        self.start_scheduler()

    def _start(self, *arguments):
        environment = os.environ | {
            "DASK_DISTRIBUTED__SCHEDULER__ALLOWED_FAILURES": "0",
            "DASK_DISTRIBUTED__COMM__TIMEOUTS__CONNECT": "3s",
            "DASK_DISTRIBUTED__SCHEDULER__WORKER_TTL": "60s",
        }
        log = open(self._folder / f"log{len(self._processes)}", "w")
        process = subprocess.Popen(
            arguments, stdout=log, stderr=subprocess.STDOUT, env=environment, cwd=self._folder
        )
        log.close()
        self._processes.append(process)
        return process

    @property
    def file(self):
        return self._folder / f"scheduler{len(self._processes_of('scheduler'))}.json"

    def _processes_of(self, kind):
        return [p for p in self._processes if kind in p.args[0]]

    def start_scheduler(self):
        path = self._folder / f"scheduler{len(self._processes_of('scheduler')) + 1}.json"
        self.scheduler = self._start(
            "/usr/bin/dask-scheduler", "--host", "127.0.0.1", "--port", "0", "--no-dashboard",
            "--dashboard-address", "127.0.0.1:0", "--scheduler-file", str(path),
        )  # fmt: skip
        wait_for(lambda: path.exists() and path.read_text().strip().endswith("}"), "a scheduler")
        self.address = json.loads(path.read_text())["address"]

    def start_worker(self, *options, nanny=False):
        return self._start(
            "/usr/bin/dask-worker", self.address, "--nthreads", "1", "--no-dashboard",
            "--nanny" if nanny else "--no-nanny", *options,
        )  # fmt: skip

    def end(self):
        self.end_workers()
        kill(self.scheduler)

    def end_workers(self):
        """As they are, so that a scheduler serves the next test."""
        nannies = [p for p in self._processes_of("worker") if p.poll() is None]
        workers = [pid for nanny in nannies for pid in children(nanny.pid)]
        for process in nannies:
            kill(process)
        for pid in workers:
            if os.path.exists(f"/proc/{pid}"):
                kill(pid)


def children(pid):
    """Processes that a process has started."""
    found = subprocess.run(["ps", "-o", "pid=", "--ppid", str(pid)], capture_output=True, text=True,
                           check=False)  # fmt: skip
    return [int(word) for word in found.stdout.split()]


def worker_of(nanny):
    """The worker that a nanny looks after."""

    def find():
        for pid in children(nanny.pid):
            try:
                with open(f"/proc/{pid}/cmdline", "rb") as file:
                    line = file.read()
            except OSError:
                continue
            if b"spawn_main" in line:
                return pid
        return None

    return wait_for(find, "a worker of a nanny")


@contextmanager
def running(*arguments, **options):
    """The program, while something is done to it."""
    process = subprocess.Popen(
        command(*arguments), stdout=subprocess.PIPE, stderr=subprocess.PIPE, text=True, **options
    )
    try:
        yield process
    finally:
        if process.poll() is None:
            kill(process)
        process.stdout.close()
        process.stderr.close()


def ended(process):
    """Standard output, standard error and exit code of a process, once it has ended."""
    out, err = process.communicate(timeout=PATIENCE)
    return out, err, process.returncode


def wait_until_done(results, count):
    """Waits until a results file holds so many pairs."""
    wait_for(lambda: count_done(results) >= count, f"{count} pairs in {results}")


def open_for_writing(pipe):
    """A descriptor of a pipe that somebody wants to read; None while nobody does."""
    try:
        return os.open(pipe, os.O_WRONLY | os.O_NONBLOCK)
    except OSError:
        return None
