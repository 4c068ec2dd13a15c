"""The pages and the views of records tell the members that the schema has, and no others."""

import re

import pytest
from documents import SCHEMA  # tests/cli
from member_tables import BLOCK, PAGES, Table, entry_of, headings, members_of, parts_of, types_of, updated  # scripts
from pages import PROJECT, read_page

DEFINITIONS = SCHEMA["$defs"]


@pytest.mark.parametrize("page", PAGES)
def test_tables_are_made_from_the_schema(page):
    """What to do where they differ: run scripts/member_tables.py."""
    assert read_page(page).text == updated(page)


@pytest.mark.parametrize("name", headings())
def test_members_have_a_meaning_and_say_when_they_are_absent(name):
    table = Table("", headings())
    for part in parts_of(DEFINITIONS[name]):
        for member, schema in part.get("properties", {}).items():
            if member not in part.get("required", ()):
                assert "only" in table.meaning(schema), member
    assert all(meaning for _, _, meaning in table.rows(DEFINITIONS[name]))


def test_tables_are_of_all_documents():
    found = [block[2] for page in PAGES for block in BLOCK.finditer(read_page(page).text)]
    assert {"request", "record", "dvh"} <= set(found)
    assert len(found) == len(set(found))


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
