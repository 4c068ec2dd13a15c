"""Every command, program and excerpt of the documentation runs as it stands."""

import doctest
import os
import re

import pydicom
import pytest
from not_run import NOT_RUN
from pages import PAGES, PROJECT, Command, is_command, read_page
from workshop import DATA, Workshop

OPTIONS = doctest.ELLIPSIS | doctest.NORMALIZE_WHITESPACE
#: Whether only an installation is there, and nothing to build with.
IS_INSTALLED = os.environ.get("ZARNGI_IS_INSTALLED", "") != ""
BUILDING = {"cc", "cmake", "ctest", "g++", "make", "ninja"}
HAS_REPORT = os.environ.get("ZARNGI_HAS_REPORT", "") != ""


def man_page_commands(name):
    """The examples of a manual page."""
    page = (PROJECT / "docs/man" / name).read_text(encoding="utf-8").replace("\\-", "-")
    (examples,) = re.findall(r"^\.EX\n(.*?)^\.EE", page, re.DOTALL | re.MULTILINE)
    return [Command(line) for line in examples.splitlines()]


@pytest.fixture
def workshop(tmp_path):
    return Workshop(tmp_path)


def run_commands(workshop, commands, place):
    """Those that are to be run; how many."""
    count = 0
    for command in commands:
        if command.text in NOT_RUN or ("--report" in command.text and not HAS_REPORT):
            continue
        if IS_INSTALLED and command.text.split()[0] in BUILDING:
            continue
        got = workshop.run_shell(command.text)
        count += 1
        if command.output is not None:
            shown = doctest.OutputChecker().check_output(command.output, got, OPTIONS)
            assert shown, f"{place}: {command.text}\ngives\n{got}\nnot\n{command.output}"
    return count


def run_block(workshop, block):
    """Runs what is no session; whether there was anything to run."""
    if block.kind == "python":
        assert workshop.run_program(block.text), f"{block.place} prints nothing"
    elif block.kind == "c":
        workshop.run_c(block.text)
    elif block.kind == "cmake":
        workshop.run_cmake(block.text)
    else:
        return run_commands(workshop, block.commands, block.place) > 0
    return True


def run_sessions(page):
    """The Python sessions of a page, which share their variables."""
    lines = [""] * (page.text.count("\n") + 1)
    for block in page.blocks:
        if block.is_session:
            session = block.text.splitlines()
            lines[block.line : block.line + len(session)] = session
    examples = doctest.DocTestParser().get_doctest("\n".join(lines), {}, page.name, page.name, 0)
    outcome = doctest.DocTestRunner(optionflags=OPTIONS).run(examples)
    assert outcome.failed == 0
    return outcome.attempted


@pytest.mark.parametrize("name", PAGES)
def test_page(name, workshop, monkeypatch):
    page = read_page(name)
    run = [block.text for block in page.blocks if block.commands or block.is_session]
    if "../shared/data" in "".join(run) and not DATA.is_dir():
        pytest.skip(f"{DATA} is absent")
    known = {"sh", "console", "python", "c", "cmake", "text", "indented", "inline"}
    assert {block.kind for block in page.blocks} <= known
    done = [run_block(workshop, block) for block in page.blocks if not block.is_session]
    monkeypatch.chdir(workshop.folder)
    sessions = run_sessions(page)
    if name in ("README.md", "docs/accuracy.md"):
        assert any(done)
    if name in ("docs/python.md", "docs/accuracy.md"):
        assert sessions > 10


def test_man_page(workshop):
    assert run_commands(workshop, man_page_commands("zarngi.1"), "zarngi.1") > 1


def test_man_page_of_cohorts(workshop):
    for folder, name in (("tps", "planned.dcm"), ("qa", "measured.dcm")):
        (workshop.folder / folder).mkdir()
        for patient in ("a", "b"):
            dataset = pydicom.dcmread(workshop.folder / name)
            dataset.PatientID = patient
            dataset.save_as(workshop.folder / folder / f"{patient}.dcm")
    commands = man_page_commands("zarngi-cohort.1")
    assert run_commands(workshop, commands, "zarngi-cohort.1") == len(commands)


def test_text_holds_no_commands():
    for name in PAGES:
        for block in read_page(name).blocks:
            if block.kind == "text":
                hidden = [line for line in block.text.splitlines() if is_command(line)]
                assert not hidden, f"{block.place}: to be run, this takes a fence of its own"


def test_what_is_not_run_is_on_a_page():
    blocks = [block for name in PAGES for block in read_page(name).blocks]
    shown = {command.text for block in blocks for command in block.commands}
    assert set(NOT_RUN) <= shown


def test_every_target_of_make_exists(workshop):
    targets = [command for command in NOT_RUN if command.startswith("make ")]
    assert targets
    for command in targets:
        assert workshop.run_shell(f"{command} --dry-run")
