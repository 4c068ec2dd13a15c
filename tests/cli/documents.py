"""Requests and records of the tests are held to their schema."""

import json
import sys
from pathlib import Path

import jsonschema

sys.path.append(str(Path(__file__).resolve().parents[2] / "scripts"))
from member_tables import SCHEMA, entry_of, members_of

VALIDATOR = jsonschema.Draft202012Validator(SCHEMA)


def problem_of(document):
    """What the schema has against a request or a record; nothing: None."""
    worst = jsonschema.exceptions.best_match(VALIDATOR.iter_errors(document))
    return worst and f"{worst.json_path}: {worst.message}"


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


def verdict(path):
    """On the document of a file, in a line."""
    try:
        read_document(path)
    except (AssertionError, OSError, ValueError) as error:
        return repr(error)
    return "right"


if __name__ == "__main__":
    for line in sys.stdin:
        print(verdict(line.rstrip("\n")), flush=True)
