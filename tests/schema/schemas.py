"""What the validations share: validators by the names of their schemas, faults, and mutations."""

import json
import pathlib

import jsonschema

ROOT = pathlib.Path(__file__).resolve().parents[2]
FOLDER = ROOT / "docs" / "schema"
# What others refer to; no document has these shapes.
PARTS = ("policy-common", "policy-matches", "policy-actions")
faults = []

REFERENCE = jsonschema.Draft202012Validator.VALIDATORS["$ref"]
# References that an object fulfils, and meets again and again on its way through the schemas. Holds
# the objects, so that no other takes their identity.
fulfilled = {}


def reference_once(validator, reference, instance, schema):
    if not isinstance(instance, (dict, list)):
        yield from REFERENCE(validator, reference, instance, schema)
        return
    key = (validator.resolver.resolution_scope, reference, id(instance))
    if key not in fulfilled:
        errors = list(REFERENCE(validator, reference, instance, schema))
        if not errors:
            fulfilled[key] = instance
        yield from errors


Validator = jsonschema.validators.extend(jsonschema.Draft202012Validator, {"$ref": reference_once})
TYPES = {"object": dict, "array": list, "string": str}


def for_part(validator, schema):
    """As the class's own, but does not ask each part of a schema for a dialect: none names one."""
    other = object.__new__(type(validator))
    other.__dict__.update(validator.__dict__, schema=schema)
    return other


def is_type(validator, instance, name):
    """As the class's own, but knows the frequent types at once."""
    if name in TYPES:
        return isinstance(instance, TYPES[name])
    return validator.TYPE_CHECKER.is_type(instance, name)


Validator.evolve = for_part
Validator.is_type = is_type


def load(*kinds):
    schemas = {}
    for path in sorted(p for kind in kinds for p in FOLDER.glob(f"{kind}*.schema.json")):
        schemas[path.as_uri()] = json.loads(path.read_text())
        jsonschema.Draft202012Validator.check_schema(schemas[path.as_uri()])
    validators = {}
    for uri, schema in schemas.items():
        name = uri.rpartition("/")[2].removesuffix(".schema.json")
        if name not in PARTS:
            resolver = jsonschema.RefResolver(uri, schema, schemas)
            validators[name] = Validator(schema, resolver=resolver)
    return validators


def check(validator, document, where):
    """Enters what is wrong with the document."""
    fulfilled.clear()
    for error in validator.iter_errors(document):
        error = jsonschema.exceptions.best_match([error])
        faults.append(f"{where}: /{'/'.join(map(str, error.absolute_path))}: {error.message[:200]}")


def known_keys(schema):
    if isinstance(schema, dict):
        yield from schema.get("properties", {})
        schema = schema.values()
    if not isinstance(schema, (str, int, float)):
        for part in schema:
            yield from known_keys(part)


def used_keys(value):
    if isinstance(value, dict):
        yield from value
        value = value.values()
    if isinstance(value, (list, type({}.values()))):
        for part in value:
            yield from used_keys(part)


def mutations(value):
    """The value with each of its parts replaced by one that stands nowhere, and with each of its
    objects given one more member."""
    stranger = [[]]
    yield stranger
    if isinstance(value, dict):
        yield {**value, "unknown": stranger}
        for key, part in value.items():
            for mutation in mutations(part):
                yield {**value, key: mutation}
    elif isinstance(value, list):
        for i, part in enumerate(value):
            for mutation in mutations(part):
                yield value[:i] + [mutation] + value[i + 1 :]
