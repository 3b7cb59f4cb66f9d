"""Every expected JSON document of the tests against the schemas, and documents that each schema has
to refuse."""

import copy
import json

from schemas import ROOT, check, faults, load, mutations


def check_golden(validators):
    """The shapes exclude each other: what one of them accepts is a document of that shape."""
    shown = set()
    for path in sorted((ROOT / "tests" / "golden").rglob("*.json")):
        document = json.loads(path.read_text())
        accepting = [name for name, validator in validators.items() if validator.is_valid(document)]
        if not accepting:
            faults.append(f"{path.relative_to(ROOT)}: no schema accepts it")
        shown.update(accepting)
    # Those of policies the round trip shows.
    missing = {name for name in validators if name.startswith(("fieldset-", "diagnosis-", "state-"))} - shown
    faults.extend(f"no expected document has the shape {name}" for name in missing)


def edited(document, edit):
    """The document with the part at a JSON pointer set, or removed when no value is given."""
    document = copy.deepcopy(document)
    *path, last = edit["at"].split("/")[1:]
    part = document
    for key in path:
        part = part[int(key)] if isinstance(part, list) else part[key]
    last = int(last) if isinstance(part, list) else last
    if "value" in edit:
        part[last] = edit["value"]
    else:
        del part[last]
    return document


def check_refusals(validators):
    """A listed document is right; with each of its edits it is wrong, and so it is with any part
    replaced by one that stands nowhere, and any object with one more member."""
    count = 0
    covered = set()
    for path in sorted((ROOT / "tests" / "schema" / "refuse").glob("*.json")):
        for case in json.loads(path.read_text()):
            schema, document = case["schema"], case["document"]
            covered.add(schema)
            check(validators[schema], document, schema)
            wrong = [(edit["why"], edited(document, edit)) for edit in case["refuse"]]
            wrong += [("mutation", mutation) for mutation in mutations(document)]
            count += len(wrong)
            for why, document in wrong:
                if validators[schema].is_valid(document):
                    faults.append(f"{schema} accepts: {why}: {json.dumps(document)}")
    faults.extend(f"tests/schema/refuse has nothing for {name}" for name in validators.keys() - covered)
    return count


def run():
    validators = load("policy", "fieldset", "diagnosis", "counter", "state-report", "state-check")
    check_golden(validators)
    return f"output: {check_refusals(validators)} documents to refuse"
