#!/usr/bin/python3
"""The tables of members in the pages, made from the schema of requests and records.

    scripts/member_tables.py    rewrites them

A table stands between "<!-- members: NAME -->" and "<!-- members: end -->", where NAME is a definition of the schema.
Types, ranges and values are the schema's, what a member means is its `description`. A definition with a table is linked
to by the heading above that; members of others have rows of their own, by dotted names.
"""

import json
import re
from pathlib import Path

PROJECT = Path(__file__).resolve().parents[1]
PAGES = ("docs/json.md", "docs/request.md")
SCHEMA = json.loads((PROJECT / "comparison/documents/zarngi.schema.json").read_text(encoding="utf-8"))
DEFINITIONS = SCHEMA["$defs"]
BLOCK = re.compile(r"(<!-- members: (?!end)([\w ]+) -->\n).*?(?=<!-- members: end -->)", re.DOTALL)
HEADING = re.compile(r"^#+ (.+)$", re.MULTILINE)
#: A meaning that goes on from a number.
UNIT = re.compile(r"(%|mm)(?!\w)")
#: What the types of the schema are called, in the order in which a table tells several.
TYPES = {
    "number": "number",
    "string": "text",
    "array": "array",
    "object": "object",
    "integer": "integer",
    "boolean": "boolean",
    "null": "null",
}


def target_of(schema):
    """What a schema refers to."""
    return DEFINITIONS[definition_of(schema)]


def definition_of(schema):
    """The name of what a schema refers to."""
    return schema["$ref"].rpartition("/")[2]


def parts_of(schema, apart=()):
    """What a schema consists of, itself last: what it refers to (but for definitions set apart), all and any of it."""
    targets = [target_of(schema)] if "$ref" in schema and definition_of(schema) not in apart else []
    for part in (*targets, *schema.get("allOf", ()), *schema.get("anyOf", ())):
        yield from parts_of(part, apart)
    yield schema


def members_of(schema, apart=()):
    """The schemas of an object's members by their names."""
    return {name: member for part in parts_of(schema, apart) for name, member in part.get("properties", {}).items()}


def entry_of(schema):
    """The schema of an array's entries."""
    return next((part["items"] for part in parts_of(schema) if "items" in part), {})


def types_of(schema):
    found = [part["type"] for part in parts_of(schema) if "type" in part]
    return {kind for types in found for kind in ([types] if isinstance(types, str) else types)}


def listed(texts):
    *others, last = texts
    return f"{', '.join(others)} or {last}" if others else last


def headings():
    """The page and the heading of each definition that has a table."""
    found = {}
    for page in PAGES:
        text = (PROJECT / page).read_text(encoding="utf-8")
        for block in BLOCK.finditer(text):
            found[block[2]] = (page, HEADING.findall(text, 0, block.start())[-1])
    return found


class Table:
    def __init__(self, page, tables):
        self.page = page
        self.tables = tables

    def table_of(self, schema):
        """A link to the table that tells what a schema is, if there is one."""
        names = [definition_of(part) for part in parts_of(schema, self.tables) if "$ref" in part]
        name = next((name for name in names if name in self.tables), None)
        if name is None:
            return None
        page, heading = self.tables[name]
        place = "" if page == self.page else page.rpartition("/")[2]
        return f"[{heading}]({place}#{heading.lower().replace(' ', '-')})"

    def array_text(self, schema, name="array"):
        entry = entry_of(schema)
        many = {kind: f"{word}s" for kind, word in TYPES.items()}
        if "array" in types_of(entry):
            many["array"] = self.array_text(entry, "arrays")
        entries = self.table_of(entry) or " and ".join(many[kind] for kind in TYPES if kind in types_of(entry))
        counts = [part["maxItems"] for part in parts_of(schema) if part.get("maxItems", -1) == part.get("minItems")]
        times = " times" if entries[:1].isdigit() else ""
        return f"{f'{counts[0]}{times}' if counts else f'{name} of'} {entries}"

    def type_text(self, schema):
        kinds = [kind for kind in TYPES if kind in types_of(schema)]
        link = self.table_of(schema)
        words = TYPES | {"array": self.array_text(schema)} | ({"object": link, "string": link} if link else {})
        return listed([words[kind] for kind in kinds])

    def values_of(self, schema):
        """What alone a member, or an entry of it, may be."""
        told = []
        for part in (*parts_of(schema, self.tables), *parts_of(entry_of(schema), self.tables)):
            values = part.get("enum", [part["const"]] if "const" in part else [])
            note = f" ({part['description']})" if is_value(part) and "description" in part else ""
            told += [f"`{json.dumps(value)}`{note}" for value in values if value is not None]
        return told

    def rows(self, schema, path=""):
        """Name, type and meaning of each member."""
        for name, member in members_of(schema, self.tables).items():
            nested = members_of(member, self.tables)
            if not nested or "null" in types_of(member) or "description" in member:
                yield path + name, self.type_text(member), self.meaning(member)
            yield from self.rows(member, f"{path}{name}.")
            yield from self.rows(entry_of(member), f"{path}{name}[].")

    def meaning(self, schema):
        """What is accepted, then what it says."""
        parts = list(parts_of(schema, self.tables))
        told = [part["description"] for part in reversed(parts) if "description" in part and not is_value(part)][:1]
        values = self.values_of(schema)
        limits = range_of(parts)
        if limits and told and UNIT.match(told[0]):
            return f"{limits} {told[0]}"
        accepted = [*filter(None, [limits]), *([listed(values)] if values else [])]
        return (", " if limits else ": ").join([*([" or ".join(accepted)] if accepted else []), *told])

    def text(self, name):
        schema = DEFINITIONS[name]
        if not members_of(schema):
            rows = [(f"`{part['const']}`", part["description"]) for part in schema["anyOf"]]
            return lines_of(("name", "meaning"), rows)
        merged = {}
        for member, kind, meaning in self.rows(schema):
            merged.setdefault((kind, meaning), []).append(f"`{member}`")
        rows = [(", ".join(names), kind, meaning) for (kind, meaning), names in merged.items()]
        also = self.table_of(schema)
        begin = f"All members of {also}, and:\n\n" if also else ""
        return begin + lines_of(("member", "type", "meaning"), rows)


def is_value(schema):
    """Whether it is one of the values that a member may have."""
    return "const" in schema and "type" not in schema


def range_of(parts):
    """Of numbers; the least number above 0 that is accepted counts as 0."""
    for part in parts:
        if "exclusiveMinimum" in part:
            return "above 0"
        if "minimum" in part and "maximum" in part:
            return f"{part['minimum']} to {part['maximum']}"
    return None


def lines_of(columns, rows):
    return "".join(f"| {' | '.join(cells)} |\n" for cells in (columns, ["---"] * len(columns), *rows))


def updated(page):
    """The page with its tables as the schema has them."""
    table = Table(page, headings())
    text = (PROJECT / page).read_text(encoding="utf-8")
    return BLOCK.sub(lambda block: f"{block[1]}\n{table.text(block[2])}\n", text)


if __name__ == "__main__":
    for name in PAGES:
        (PROJECT / name).write_text(updated(name), encoding="utf-8")
