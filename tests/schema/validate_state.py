"""The schemas of state documents against the example states, and against the corpus that the
reader is held against as well.

What the reader accepts the schemas accept. What it refuses they refuse, but for cases marked
"schemaCannotSay": those they must accept, or the mark is out of date.
"""

import json
import pathlib
import re
import sys

import jsonschema

ROOT = pathlib.Path(__file__).resolve().parents[2]
DOCUMENTS = ("config", "status", "snapshots")
faults = []


def fault(text):
    faults.append(text)


def load_schemas():
    validators = {}
    for document in DOCUMENTS:
        path = ROOT / "docs" / "schema" / f"state-{document}.schema.json"
        schema = json.loads(path.read_text())
        jsonschema.Draft202012Validator.check_schema(schema)
        validators[document] = jsonschema.Draft202012Validator(schema)
    return validators


def accepts(validator, text):
    try:
        value = json.loads(text)
    except json.JSONDecodeError:
        return False
    return validator.is_valid(value)


def cases(folder):
    for path in sorted((ROOT / "tests" / "state" / "corpus" / folder).glob("*.json")):
        content = json.loads(path.read_text())
        for case, text in zip(content["cases"], texts(path, content)):
            yield content["document"], case, text


def texts(path, content):
    """The documents of a corpus file. A key that stands twice in a value is kept: values are cut
    out of the file's text rather than written anew."""
    decoder = json.JSONDecoder()
    raw = path.read_text()
    at = raw.index('"cases"')
    for case in content["cases"]:
        if "text" in case:
            yield case["text"]
            continue
        at = raw.index('{"value": ', at) + len('{"value": ')
        end = decoder.raw_decode(raw, at)[1]
        yield content["within"].replace("@", raw[at:end], 1)


def check_corpus(validators):
    count = 0
    for document, case, text in cases("accept"):
        count += 1
        if not accepts(validators[document], text):
            fault(f"accepted by the reader, refused by the schema: {text}")
    for document, case, text in cases("refuse"):
        count += 1
        if accepts(validators[document], text) != case.get("schemaCannotSay", False):
            verdict = "refuses" if case.get("schemaCannotSay") else "accepts"
            fault(f"the schema {verdict}: {text}")
    return count


def examples():
    page = (ROOT / "docs" / "state.md").read_text()
    return [json.loads(text) for text in re.findall(r"```json\n(.*?)```", page, re.DOTALL)]


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


def check_examples(validators):
    count = 0
    for document, example in zip(DOCUMENTS, examples(), strict=True):
        validator = validators[document]
        for error in validator.iter_errors(example):
            fault(f"example of {document}: {list(error.absolute_path)}: {error.message}")
        unused = set(known_keys(validator.schema)) - set(used_keys(example))
        if unused:
            fault(f"the example of {document} does not show {sorted(unused)}")
        for mutation in mutations(example):
            count += 1
            if validator.is_valid(mutation):
                fault(f"the schema of {document} accepts {json.dumps(mutation)}")
    return count


def check_example_states(validators):
    for document in DOCUMENTS:
        for path in sorted((ROOT / "examples").glob(f"*/{document}.json")):
            for error in validators[document].iter_errors(json.loads(path.read_text())):
                fault(f"{path}: {list(error.absolute_path)}: {error.message}")


def main():
    validators = load_schemas()
    check_example_states(validators)
    corpus = check_corpus(validators)
    mutated = check_examples(validators)
    for text in faults:
        print(text, file=sys.stderr)
    print(f"state documents: {corpus} of the corpus, {mutated} faulty examples, {len(faults)} faults")
    return 1 if faults or corpus == 0 else 0


if __name__ == "__main__":
    sys.exit(main())
