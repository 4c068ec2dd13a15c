"""Cohorts where the system is no POSIX one: without fcntl, resource, os.fork and /proc.

No Python for Windows is at hand. These processes, and those that they start, lack what Windows lacks, and have
what it has instead: msvcrt's locks, and open files that cannot be removed.
"""

import os
import re
import signal
import sqlite3

import pytest
from conftest import SLOW, contents, zarngi_cohort
from processes import kill, running, wait_for

LACKING = '''
import builtins, ctypes, fcntl, os, pathlib, psutil, subprocess, sys, types

def locking(descriptor, mode, count):
    """As Windows has it: of bytes from here on, and refused with another error."""
    try:
        fcntl.lockf(descriptor, fcntl.LOCK_EX | fcntl.LOCK_NB, count, 0, os.SEEK_CUR)
    except BlockingIOError as error:
        raise PermissionError(13, "Permission denied") from error

msvcrt = types.ModuleType("msvcrt")
msvcrt.LK_NBLCK, msvcrt.locking = 2, locking
blocked = {"fcntl", "resource", *os.environ.get("BLOCKED_TOO", "").split()}
import_anywhere = builtins.__import__

def import_as_there(name, globals=None, *others, **named):
    """What other packages do on this system is their own affair."""
    if (globals or {}).get("__name__", "").startswith("zarngi"):
        if name in blocked:
            raise ImportError(f"No module named {name!r}", name=name)
        if name == "msvcrt":
            return msvcrt
    return import_anywhere(name, globals, *others, **named)

builtins.__import__ = import_as_there
for name in ("fork", "forkpty", "register_at_fork", "sched_getaffinity", "O_CLOEXEC"):
    delattr(os, name)

class CDLL(ctypes.CDLL):
    def __init__(self, name, *arguments, **options):
        if name is None:
            raise TypeError("bad argument type for built-in operation")
        super().__init__(name, *arguments, **options)

ctypes.CDLL = CDLL
read_text, unlink, listed, linked = pathlib.Path.read_text, os.unlink, os.listdir, os.readlink

def read_text_elsewhere(path, *arguments, **options):
    if str(path).startswith("/proc"):
        raise FileNotFoundError(2, "No such file or directory", str(path))
    return read_text(path, *arguments, **options)

def unlink_closed(path, *arguments, **options):
    for number in listed("/proc/self/fd"):
        if os.path.exists(f"/proc/self/fd/{number}") and linked(f"/proc/self/fd/{number}") == os.path.abspath(path):
            raise PermissionError(13, "Permission denied", path)
    return unlink(path, *arguments, **options)

pathlib.Path.read_text = read_text_elsewhere
os.unlink = unlink_closed
'''


@pytest.fixture(scope="module")
def lacking(tmp_path_factory):
    """An environment for processes that lack it all."""
    folder = tmp_path_factory.mktemp("lacking")
    (folder / "sitecustomize.py").write_text(LACKING)
    environment = os.environ | {"PYTHONPATH": f"{folder}:{os.environ.get('PYTHONPATH', '')}"}
    told = zarngi_cohort("--version", env=environment)
    assert told.returncode == 0, told.stderr
    return environment


def failures(path):
    with sqlite3.connect(path) as database:
        return [sentence for (sentence,) in database.execute("SELECT sentence FROM failures")]


@pytest.mark.parametrize("cluster", [(), ("--cluster", "2")], ids=["one process", "workers"])
def test_results_are_the_same(cohort, serial, lacking, tmp_path, cluster):
    results = tmp_path / "r.sqlite"
    done = zarngi_cohort("run", cohort.manifest, "-o", results, *SLOW, *cluster, env=lacking)
    assert done.returncode == 0, done.stderr
    assert contents(results) == serial
    assert not os.path.exists(f"{results}-lock")


def test_one_writer(cohort, serial, lacking, tmp_path):
    """The other one is told who writes; the lock of a killed process is none."""
    results = tmp_path / "r.sqlite"
    run = ("run", cohort.manifest, "-o", results, *SLOW)
    with running(*run, env=lacking) as writer:
        wait_for(results.exists, "results of a writer, who has locked them by then")
        writer.send_signal(signal.SIGSTOP)  # it must not end before the other one has begun
        other = zarngi_cohort(*run, env=lacking)
        assert other.returncode != 0
        assert re.search(rf"is being written by process {writer.pid} on \S+\n$", other.stderr), other.stderr
        kill(writer)
    assert os.path.exists(f"{results}-lock")
    assert zarngi_cohort(*run, env=lacking).returncode == 0
    assert contents(results) == serial
    assert not os.path.exists(f"{results}-lock")


def test_memory_is_watched(cohort, lacking, tmp_path):
    results = tmp_path / "r.sqlite"
    run = ("run", cohort.manifest, "-o", results, "-c", "3%/3mm")
    assert zarngi_cohort(*run, "--memory", "0.01", env=lacking).returncode != 0
    sentence = "does not fit in the memory of 0.01 GB that there is for a computation"
    told = failures(results)
    assert len(told) == len(cohort.rows) and all(line.endswith(sentence) for line in told)
    assert zarngi_cohort(*run, "--memory", "8", env=lacking).returncode == 0
    assert failures(results) == []


def test_memory_that_cannot_be_watched_is_not_promised(cohort, lacking, tmp_path):
    environment = lacking | {"BLOCKED_TOO": "psutil"}
    run = ("run", cohort.manifest, "-o", tmp_path / "r.sqlite", "-c", "3%/3mm")
    refused = zarngi_cohort(*run, "--memory", "8", env=environment)
    assert refused.returncode != 0
    assert refused.stderr == "zarngi-cohort: a bound of memory takes psutil on this system (pip install psutil)\n"
    assert zarngi_cohort(*run, env=environment).returncode == 0
