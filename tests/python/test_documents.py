"""What the docstrings show is what happens; tests/docs holds the pages to it."""

import doctest
import importlib
import pkgutil

import pytest
import zarngi
from conftest import PROJECT

OPTIONS = doctest.ELLIPSIS | doctest.NORMALIZE_WHITESPACE
MODULES = ["zarngi"] + [module.name for module in pkgutil.walk_packages(zarngi.__path__, "zarngi.")]


@pytest.mark.parametrize("name", MODULES)
def test_examples_in_docstrings(name, tmp_path, monkeypatch):
    monkeypatch.chdir(tmp_path)  # some write files
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


def test_guide_tells_every_public_name():
    guide = (PROJECT / "docs" / "python.md").read_text()
    assert [name for name in zarngi.__all__ if name not in guide] == []
