"""The pages and the views of records tell the members that the schema has, and no others."""

import re

import pytest
from documents import SCHEMA, entry_of, members_of, parts_of, target_of  # tests/cli
from pages import PROJECT, read_page

DEFINITIONS = SCHEMA["$defs"]
#: What the tables of docs/json.md describe, in their order; one more is of what a file holds.
TABLES = ("record", "file", "header", "grid", "criterion", "explanation", "noise", "sweep", "measurement", "structures",
          "structure", "doses", "goal", "part", "dvh")  # fmt: skip
#: Of these a table says "see ...".
ELSEWHERE = {f"#/$defs/{name}" for name in (*TABLES, "request", "doseFigures")}
#: Of the schema, in the order in which the table of requests tells several.
TYPES = ("number", "string", "array", "object", "integer", "boolean", "null")


def raw_tables(name):
    """Rows of cells with their marks."""
    lines = (PROJECT / name).read_text(encoding="utf-8").splitlines()
    tables, previous = [], ""
    for line in lines:
        if line.startswith("| ---"):
            tables.append([])
        elif line.startswith("|") and previous.startswith("|"):
            tables[-1].append([cell.strip() for cell in line.strip("|").split(" | ")])
        previous = line
    return tables


def named(cell):
    return re.findall(r"`([\w.]+)`", cell)


def told_within(schema):
    """Names of the members within a member that no table of their own describes."""
    if "$ref" in schema:
        return set() if schema["$ref"] in ELSEWHERE else told_within(target_of(schema))
    members = schema.get("properties", {})
    entries = [schema["items"]] if "items" in schema else []
    parts = (*members.values(), *schema.get("allOf", ()), *schema.get("anyOf", ()), *entries)
    return set(members).union(*map(told_within, parts))


def values_of(schema):
    """Texts that alone a member may be."""
    parts = list(parts_of(schema))
    values = [value for part in parts for value in (*part.get("enum", ()), part.get("const"))]
    return {value for value in values if isinstance(value, str)}


def types_of(schema):
    found = [part["type"] for part in parts_of(schema) if "type" in part]
    return {kind for types in found for kind in ([types] if isinstance(types, str) else types)}


@pytest.mark.parametrize(("table", "name"), zip(raw_tables("docs/json.md")[:-1], TABLES, strict=True))
def test_tables_of_the_record(table, name):
    members = members_of(DEFINITIONS[name])
    rows = {member: row for row in table for member in named(row[0])}
    assert set(rows) == set(members)
    for member, (_, kind, meaning) in rows.items():
        schema = members[member]
        assert ("null" not in types_of(schema)) or "null" in kind + meaning, member
        within = told_within(schema)
        assert within <= set(named(meaning)), member
        if within:
            assert set(named(meaning)) <= within | set(members) | {"null"}, member
        if values_of(schema):
            assert set(re.findall(r'`"([^"]+)"`', meaning)) == values_of(schema), member


def flattened(schema, path=""):
    """Members by dotted names; objects that must be there have no row of their own."""
    for name, member in members_of(schema).items():
        if not members_of(member) or "null" in types_of(member):
            yield path + name, member
        yield from flattened(member, f"{path}{name}.")


def type_text(schema):
    """As the table of requests tells it."""
    entries = "text" if types_of(entry_of(schema)) == {"string"} else "numbers"
    names = {"string": "text", "array": f"array of {entries}"}
    *others, last = [names.get(kind, kind) for kind in sorted(types_of(schema), key=TYPES.index)]
    return f"{', '.join(others)} or {last}" if others else last


def test_table_of_the_request():
    (table,) = raw_tables("docs/request.md")
    rows = {member: row for row in table for member in named(row[0])}
    members = dict(flattened(DEFINITIONS["request"]))
    assert set(rows) == set(members)
    for member, (_, kind, meaning) in rows.items():
        schema = members[member]
        assert kind == type_text(schema), member
        assert all(f'`"{value}"`' in meaning for value in values_of(schema)), member
        for part in parts_of(schema):
            if part.get("exclusiveMinimum"):
                assert "above 0" in meaning, member
            elif "minimum" in part:
                assert f"{part['minimum']} to {part['maximum']}" in meaning, member


def interfaces_of(source):
    """Members of the interfaces of TypeScript, with whether they may be absent and their types."""
    bare = re.sub(r"/\*.*?\*/|//[^\n]*", "", source, flags=re.DOTALL)
    heads = re.finditer(r"export interface (\w+)(?: extends (\w+))? \{", bare)
    interfaces = {}
    for head in heads:
        inherited = interfaces.get(head[2], {})
        body = bare[head.end() : bare.index("\n}", head.end())]
        interfaces[head[1]] = inherited | members_of_body(body)
    return interfaces


def members_of_body(body):
    """`name?: type;` each, where a type may be an object with members of its own."""
    found = {}
    for piece in re.findall(r"\w+\??:(?:\{[^{}]*\}|\{(?:[^{}]|\{[^{}]*\})*\}|[^;{}])*", body):
        name, _, kind = piece.partition(":")
        found[name.rstrip("?")] = (name.endswith("?"), kind.strip())
    return found


def uses_of(kind, schema, interfaces):
    """Interfaces and objects that a type is made of, each with what the schema has for it."""
    record = re.match(r"Record<Role, (.*)>", kind)
    if record:
        for member in members_of(schema).values():
            yield from uses_of(record[1], member, interfaces)
        return
    place = entry_of(schema) if "array" in types_of(schema) else schema
    inline = re.search(r"\{(.*)\}", kind, re.DOTALL)
    if inline:
        yield members_of_body(inline[1]), place
    for name in set(re.findall(r"\w+", kind[: inline.start()] if inline else kind)) & interfaces.keys():
        yield interfaces[name], place


def test_views_know_the_members_of_records():
    interfaces = interfaces_of((PROJECT / "web/views/record.ts").read_text(encoding="utf-8"))
    waiting = [(interfaces["ComparisonRecord"], DEFINITIONS["record"]), (interfaces["EvaluationRecord"], DEFINITIONS["dvh"])]
    seen = []
    while waiting:
        told, schema = waiting.pop()
        seen.append(told)
        members = members_of(schema)
        required = {name for part in parts_of(schema) for name in part.get("required", ())}
        assert told.keys() <= members.keys()
        assert {name for name, (is_optional, _) in told.items() if not is_optional} <= required
        for name, (_, kind) in told.items():
            waiting.extend(uses_of(kind, members[name], interfaces))
    assert [name for name, told in interfaces.items() if told not in seen] == ["GammaFigures"]  # extended


def test_views_parser_sees_what_is_nested():
    source = "export interface A {\n  a?: { b: number; c: { d: 1 } } | null; // x: y\n e: X[];\n}"
    (told,) = interfaces_of(source).values()
    assert told.keys() == {"a", "e"}
    assert told["a"][0] and not told["e"][0]
    assert members_of_body(re.search(r"\{(.*)\}", told["a"][1])[1]).keys() == {"b", "c"}
