"""The package's modules import each other from top to bottom: no circle, and none of the program."""

import ast
import graphlib
from pathlib import Path

import pytest
import zarngi

ROOT = Path(zarngi.__file__).parent
PATHS = {
    ".".join(("zarngi", *path.relative_to(ROOT).with_suffix("").parts)).removesuffix(".__init__"): path
    for path in ROOT.rglob("*.py")
}


def nodes(tree):
    """All but what only type checkers read."""
    yield tree
    if isinstance(tree, ast.If) and ast.unparse(tree.test) == "TYPE_CHECKING":
        return
    for child in ast.iter_child_nodes(tree):
        yield from nodes(child)


def imported(module, source):
    """Modules of the package, wherever in the source they are imported."""
    package = module if PATHS[module].name == "__init__.py" else module.rpartition(".")[0]
    for node in nodes(ast.parse(source)):
        if isinstance(node, ast.Import):
            names = [alias.name for alias in node.names]
        elif isinstance(node, ast.ImportFrom):
            above = package.split(".")[: len(package.split(".")) - node.level + 1] if node.level else []
            base = ".".join([*above, *filter(None, [node.module])])
            names = [f"{base}.{a.name}" if f"{base}.{a.name}" in PATHS else base for a in node.names]
        else:
            continue
        yield from (name for name in names if name in PATHS and name != module)


def test_no_circles():
    graph = {module: set(imported(module, path.read_text())) for module, path in PATHS.items()}
    assert "zarngi.io._host" in graph["zarngi._grid"]
    order = list(graphlib.TopologicalSorter(graph).static_order())  # raises CycleError
    assert set(order) == set(PATHS)


@pytest.mark.parametrize("module", [name for name in PATHS if name.startswith("zarngi.io")])
def test_bindings_know_no_public_types(module):
    below = {"zarngi._library", "zarngi._optional"}
    above = set(imported(module, PATHS[module].read_text())) - below
    assert all(name.startswith("zarngi.io") for name in above)
