"""Every JSON document that the commands print of the example states, and every expected one of the
tests, against the schemas; and documents that each schema has to refuse."""

import copy
import json
import os
import pathlib
import subprocess
import sys
import tempfile
import warnings

warnings.simplefilter("ignore")
from schemas import ROOT, faults_of, load  # noqa: E402
from validate_state import mutations  # noqa: E402

KINDS = {"interface": ("", "input", "output"), "cpu": ("",), "vlan": ("",)}
FIELD_SETS = {
    "ipv4 prefix": "fieldset-prefix",
    "ipv6 prefix": "fieldset-prefix",
    "l4-port": "fieldset-l4-port",
    "vlan": "fieldset-vlan",
    "mac": "fieldset-mac",
}
faults = []


def check(validator, document, where):
    faults.extend(f"{where}: {fault}" for fault in faults_of(validator, document))


def shown(state, words, revision=None):
    options = ["--revision", str(revision)] if revision is not None else []
    command = [os.environ["TPCLI_PATH"], "--state", state, "--json", *options, "show", "traffic-policy"]
    run = subprocess.run([*command, *words.split()], check=True, capture_output=True)
    return json.loads(run.stdout)


def policy_commands():
    """Words, revision (none: as it is without the option) and the name of the schema."""
    for kind, directions in KINDS.items():
        for direction in directions:
            for view in ("", "detail", "summary", "errors", "counters"):
                if (kind, view) == ("vlan", "counters"):
                    continue
                for revision in (None, 0, 1, 2, 3) if view == "detail" else (None, 1):
                    shape = "revision1" if revision in (0, 1) else "revision2"
                    schema = f"policy-{kind}-{view if view not in ('', 'detail') else shape}"
                    yield f"{kind} {direction} {view}", revision, schema


def states_of(example, folder):
    """The example as it is, whose counter store nobody has made, and with all its counters in the
    status document, with bytes and without."""
    yield "no store", example
    for title, bytes_supported in (("packets", False), ("bytes", True)):
        status = json.loads((example / "status.json").read_text())
        status["hwStatus"] = {"countersInReef": False, "byteCountersSupported": bytes_supported}
        state = folder / title
        state.mkdir()
        (state / "config.json").symlink_to((example / "config.json").resolve())
        (state / "status.json").write_text(json.dumps(status))
        yield title, state


def check_examples(validators):
    count = 0
    for example in sorted((ROOT / "examples").glob("*/")):
        with tempfile.TemporaryDirectory() as folder:
            for title, state in states_of(example, pathlib.Path(folder)):
                for words, revision, schema in policy_commands():
                    if title == "bytes" or revision is None:
                        count += 1
                        where = f"{example.name}, {title}: {words}, revision {revision}"
                        check(validators[schema], shown(state, words, revision), where)
        for kind, schema in FIELD_SETS.items():
            count += 1
            document = shown(example, f"field-set {kind}")
            check(validators[schema], document, f"{example.name}: field-set {kind}")
    return count


def check_golden(validators):
    count = 0
    for path in sorted((ROOT / "tests" / "golden").rglob("*.json")):
        document = json.loads(path.read_text())
        count += 1
        # The shapes exclude each other: what one of them accepts is a document of that shape.
        if not any(validator.is_valid(document) for validator in validators.values()):
            faults.append(f"{path.relative_to(ROOT)}: no schema accepts it")
    return count


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


def main():
    validators = load()
    examples = check_examples(validators)
    golden = check_golden(validators)
    refused = check_refusals(validators)
    for text in faults:
        print(text, file=sys.stderr)
    print(
        f"output: {examples} documents of the examples, {golden} expected ones, "
        f"{refused} to refuse, {len(faults)} faults"
    )
    return 1 if faults else 0


if __name__ == "__main__":
    sys.exit(main())
