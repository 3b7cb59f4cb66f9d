"""Validators of the documents that tpcli prints, by the names of their schemas."""

import json
import pathlib

import jsonschema

ROOT = pathlib.Path(__file__).resolve().parents[2]
FOLDER = ROOT / "docs" / "schema"
# What others refer to; no document has these shapes.
PARTS = ("policy-common", "policy-matches", "policy-actions")


def load():
    schemas = {}
    for path in sorted([*FOLDER.glob("policy-*.schema.json"), *FOLDER.glob("fieldset-*.schema.json")]):
        schemas[path.as_uri()] = json.loads(path.read_text())
        jsonschema.Draft202012Validator.check_schema(schemas[path.as_uri()])
    validators = {}
    for uri, schema in schemas.items():
        name = uri.rpartition("/")[2].removesuffix(".schema.json")
        if name not in PARTS:
            resolver = jsonschema.RefResolver(uri, schema, schemas)
            validators[name] = jsonschema.Draft202012Validator(schema, resolver=resolver)
    return validators


def faults_of(validator, document):
    """What is wrong with the document, one line for each fault, none when it is right."""
    for error in validator.iter_errors(document):
        error = jsonschema.exceptions.best_match([error])
        yield f"/{'/'.join(map(str, error.absolute_path))}: {error.message[:200]}"
