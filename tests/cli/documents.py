"""Requests and records of the tests are held to their schema."""

import json
import sys
from pathlib import Path

import jsonschema

PROJECT = Path(__file__).resolve().parents[2]
SCHEMA = json.loads((PROJECT / "comparison/documents/zarngi.schema.json").read_text(encoding="utf-8"))
VALIDATOR = jsonschema.Draft202012Validator(SCHEMA)


def problem_of(document):
    """What the schema has against a request or a record; nothing: None."""
    worst = jsonschema.exceptions.best_match(VALIDATOR.iter_errors(document))
    return worst and f"{worst.json_path}: {worst.message}"


def target_of(schema):
    """What a schema refers to."""
    return SCHEMA["$defs"][schema["$ref"].rpartition("/")[2]]


def parts_of(schema):
    """What a schema consists of: itself, what it refers to, all of it and its alternatives."""
    targets = [target_of(schema)] if "$ref" in schema else []
    for part in (*targets, *schema.get("allOf", ()), *schema.get("anyOf", ())):
        yield from parts_of(part)
    yield schema


def members_of(schema):
    """The schemas of an object's members by their names."""
    return {name: member for part in parts_of(schema) for name, member in part.get("properties", {}).items()}


def entry_of(schema):
    """The schema of an array's entries."""
    return next((part["items"] for part in parts_of(schema) if "items" in part), {})


def strangers(value, schema, path="$"):
    """The paths of members that the schema does not tell, as it allows in records."""
    if isinstance(value, list):
        for i, entry in enumerate(value):
            yield from strangers(entry, entry_of(schema), f"{path}[{i}]")
    known = members_of(schema)
    if isinstance(value, dict) and known:
        yield from (f"{path}.{name}" for name in value if name not in known)
        for name in known.keys() & value.keys():
            yield from strangers(value[name], known[name], f"{path}.{name}")


def checked(document):
    """The document, which must be as the schema says and hold nothing that it does not tell."""
    problem = problem_of(document)
    assert problem is None, problem
    kind = {"zarngi-request": "request", "zarngi-dvh": "dvh"}.get(document["format"], "record")
    assert not [*strangers(document, SCHEMA["$defs"][kind])]
    return document


def read_document(path):
    return checked(json.loads(Path(path).read_text(encoding="utf-8")))


if __name__ == "__main__":
    for name in sys.argv[1:]:
        read_document(name)
