"""What the documentation shows is what happens."""

import doctest
import importlib
import pkgutil
import re
import sys

import pytest
import zarngi
from conftest import PROJECT

OPTIONS = doctest.ELLIPSIS | doctest.NORMALIZE_WHITESPACE
MODULES = ["zarngi"] + [module.name for module in pkgutil.walk_packages(zarngi.__path__, "zarngi.")]


@pytest.mark.parametrize("name", MODULES)
def test_examples_in_docstrings(name):
    assert doctest.testmod(importlib.import_module(name), optionflags=OPTIONS).failed == 0


def test_docstrings_have_examples():
    finder = doctest.DocTestFinder()
    documented = {
        test.name
        for name in MODULES
        for test in finder.find(importlib.import_module(name))
        if test.examples
    }
    assert {"zarngi._gamma.gamma_index", "zarngi._grid.DoseGrid"} <= documented


def test_examples_in_the_guide(tmp_path, monkeypatch):
    monkeypatch.chdir(tmp_path)
    path = PROJECT / "docs" / "python.md"
    # The fences of code blocks would count as output.
    text = re.sub(r"^```.*$", "", path.read_text(), flags=re.MULTILINE)
    examples = doctest.DocTestParser().get_doctest(text, {}, path.name, str(path), 0)
    outcome = doctest.DocTestRunner(optionflags=OPTIONS).run(examples)
    assert outcome.failed == 0 and outcome.attempted > 20


@pytest.mark.parametrize("document", ["README.md", "docs/python.md"])
def test_python_programs_run_as_they_stand(document, tmp_path, monkeypatch, capsys):
    """Code blocks that are whole programs: those without a prompt."""
    monkeypatch.chdir(tmp_path)
    for name, grid in zip(("planned.mha", "delivered.mha"), zarngi.demo_pair()):
        zarngi.write(name, grid.dose, like=grid)
    monkeypatch.setattr(sys, "argv", ["program", "planned.mha", "delivered.mha"])
    blocks = re.findall(r"```python\n(.*?)```", (PROJECT / document).read_text(), re.DOTALL)
    programs = [block for block in blocks if ">>>" not in block]
    assert programs
    for program in programs:
        exec(compile(program, document, "exec"), {"__name__": "__main__"})
        assert capsys.readouterr().out


def test_guide_tells_every_public_name():
    guide = (PROJECT / "docs" / "python.md").read_text()
    assert [name for name in zarngi.__all__ if name not in guide] == []
