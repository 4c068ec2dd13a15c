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


def checked(document):
    """The document, which must be as the schema says."""
    problem = problem_of(document)
    assert problem is None, problem
    return document


def read_document(path):
    return checked(json.loads(Path(path).read_text(encoding="utf-8")))


if __name__ == "__main__":
    for name in sys.argv[1:]:
        read_document(name)
