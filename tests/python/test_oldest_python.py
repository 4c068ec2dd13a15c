"""The package's sources hold nothing that the oldest Python it is for does not know.

Only Debian's Python runs here. What the grammar knows is asked of the parser; names and arguments of the
standard library that came later stand in tables.
"""

import ast
import re
from pathlib import Path

import pytest

PROJECT = Path(__file__).resolve().parents[2]
SOURCES = sorted((PROJECT / "python" / "zarngi").rglob("*.py"))
WANTED = re.search(r'^requires-python = ">=(\d+)\.(\d+)"$', (PROJECT / "python" / "pyproject.toml").read_text(),
                   re.MULTILINE)  # fmt: skip
OLDEST = tuple(map(int, WANTED.groups()))

#: Names that came with 3.10 or later; those with a point are members of that module, the others members of
#: whatever they are asked of, or names of their own.
LATER = set("""
    aiter anext add_note bit_count file_digest hardlink_to
    BaseExceptionGroup EncodingWarning ExceptionGroup
    asyncio.Barrier asyncio.Runner asyncio.TaskGroup asyncio.timeout contextlib.aclosing contextlib.chdir
    copy.replace datetime.UTC enum.EnumCheck enum.StrEnum enum.member enum.nonmember enum.verify
    inspect.get_annotations itertools.batched itertools.pairwise math.cbrt math.exp2 math.fma math.sumprod
    operator.call os.process_cpu_count os.path.splitroot sqlite3.Blob statistics.correlation
    statistics.covariance statistics.linear_regression sys.exception sys.monitoring sys.orig_argv
    sys.stdlib_module_names types.EllipsisType types.NoneType types.NotImplementedType types.UnionType
    typing.Concatenate typing.LiteralString typing.Never typing.NotRequired typing.ParamSpec typing.ReadOnly
    typing.Required typing.Self typing.TypeAlias typing.TypeAliasType typing.TypeGuard typing.TypeIs
    typing.TypeVarTuple typing.Unpack typing.assert_never typing.assert_type typing.dataclass_transform
    typing.override typing.reveal_type warnings.deprecated
""".split())
MODULES = {"tomllib"}
#: Arguments that functions of these names took later.
ARGUMENTS = {
    "zip": {"strict"}, "map": {"strict"}, "dataclass": {"slots", "kw_only", "match_args", "weakref_slot"},
    "field": {"kw_only"}, "TemporaryDirectory": {"ignore_cleanup_errors", "delete"},
    "NamedTemporaryFile": {"delete_on_close"}, "write_text": {"newline"}, "read_text": {"newline"},
    "bisect": {"key"}, "bisect_left": {"key"}, "bisect_right": {"key"}, "insort": {"key"},
    "rmtree": {"onexc", "dir_fd"}, "Thread": {"context"}, "connect": {"autocommit"},
    "glob": {"root_dir", "include_hidden", "case_sensitive"}, "relative_to": {"walk_up"},
    "warn": {"skip_file_prefixes"},
}  # fmt: skip
#: SQLite's words that came after 3.34, which systems of that Python bring.
LATER_SQL = re.compile(r"\b(RETURNING|STRICT|DROP COLUMN|MATERIALIZED|FULL JOIN|RIGHT JOIN|IS DISTINCT)\b|->>")


def is_of_annotation(tree):
    """The nodes that are annotations, which nothing evaluates."""
    found = set()
    for node in ast.walk(tree):
        for name in ("annotation", "returns"):
            part = getattr(node, name, None)
            if part is not None:
                found.update(map(id, ast.walk(part)))
    return found


def is_type(node):
    """Whether an operand of | looks like a type and not like a number, a set or an array."""
    if isinstance(node, ast.Constant):
        return node.value is None
    if isinstance(node, ast.Subscript):
        return is_type(node.value)
    name = getattr(node, "attr", getattr(node, "id", ""))
    builtin = {"bool", "bytearray", "bytes", "complex", "dict", "float", "int", "list", "memoryview", "object",
               "set", "str", "tuple"}  # fmt: skip
    return name in builtin or bool(re.match(r"_?[A-Z]\w*[a-z]", name))


def modules_of(tree):
    """The modules that names stand for."""
    names = {}
    for node in ast.walk(tree):
        if isinstance(node, ast.Import):
            names.update((alias.asname or alias.name, alias.name) for alias in node.names)
    return names


def complaints(text):
    """What the oldest Python would not take of a source."""
    tree = ast.parse(text, feature_version=OLDEST)
    annotations, modules = is_of_annotation(tree), modules_of(tree)
    if annotations and "from __future__ import annotations" not in text:
        unions = [n for n in ast.walk(tree) if id(n) in annotations and isinstance(n, ast.BinOp)]
        yield from (f"{node.lineno}: a union that is evaluated" for node in unions)
    for node in ast.walk(tree):
        if isinstance(node, (ast.Import, ast.ImportFrom)):
            of = getattr(node, "module", None) or ""
            told = {alias.name for alias in node.names} | {f"{of}.{alias.name}" for alias in node.names} | {of}
            yield from (f"{node.lineno}: {name}" for name in told & (LATER | MODULES))
        elif isinstance(node, ast.Attribute):
            owner = ast.unparse(node.value)
            told = {node.attr, f"{modules.get(owner, owner)}.{node.attr}"}
            yield from (f"{node.lineno}: {name}" for name in told & LATER)
        elif isinstance(node, ast.Name) and node.id in LATER:
            yield f"{node.lineno}: {node.id}"
        elif isinstance(node, ast.Call):
            name = getattr(node.func, "attr", getattr(node.func, "id", ""))
            given = {keyword.arg for keyword in node.keywords}
            yield from (f"{node.lineno}: {name}({argument}=)" for argument in given & ARGUMENTS.get(name, set()))
        elif isinstance(node, ast.BinOp) and isinstance(node.op, ast.BitOr) and id(node) not in annotations:
            if is_type(node.left) or is_type(node.right):
                yield f"{node.lineno}: {ast.unparse(node)}, a union that is evaluated"
        elif isinstance(node, ast.Constant) and isinstance(node.value, str):
            yield from (f"{node.lineno}: SQL: {match[0]}" for match in LATER_SQL.finditer(node.value))


@pytest.mark.parametrize("path", SOURCES, ids=lambda path: str(path.relative_to(PROJECT)))
def test_source(path):
    assert list(complaints(path.read_text(encoding="utf-8"))) == []


@pytest.mark.parametrize("text", [
    "Like = str | None", "Like = bytes | Other", "isinstance(x, int | float)", "def f(x: int | None): ...",
    "import hashlib\nhashlib.file_digest(f, 'md5')", "from itertools import pairwise", "import tomllib",
    "import datetime as d\nd.UTC", "zip(a, b, strict=True)", "@dataclass(slots=True)\nclass A: ...",
    "run('DELETE FROM a RETURNING id')", "raise ExceptionGroup('a', b)",
])  # fmt: skip
def test_what_came_later_is_found(text):
    assert list(complaints(text))


@pytest.mark.parametrize("text", ["match a:\n case 1: pass", "try: pass\nexcept* OSError: pass"])
def test_grammar_that_came_later_is_found(text):
    with pytest.raises(SyntaxError):
        list(complaints(text))


def test_what_it_knows_is_left():
    assert list(complaints("a = os.O_RDWR | os.O_CREAT\nb = marks | {1}\nc = names | dict(other)\nd = x >> 1 | y")) == []
