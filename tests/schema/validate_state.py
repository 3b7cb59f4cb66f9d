"""The schemas of state documents against the example states, and against the corpus that the
reader is held against as well.

What the reader accepts the schemas accept. What it refuses they refuse, but for cases marked
"schemaCannotSay": those they must accept, or the mark is out of date.
"""

import json
import re

from schemas import ROOT, check, faults, known_keys, load, mutations, used_keys


def accepts(validator, text):
    try:
        value = json.loads(text)
    except json.JSONDecodeError:
        return False
    return validator.is_valid(value)


def cases(folder):
    for path in sorted((ROOT / "tests" / "state" / "corpus" / folder).glob("*.json")):
        content = json.loads(path.read_text())
        for case in content["cases"]:
            text = case["text"] if "text" in case else content["within"].replace("@", json.dumps(case["value"]), 1)
            yield content["document"], case, text


def check_corpus(validators):
    count = 0
    for folder in ("accept", "refuse"):
        for document, case, text in cases(folder):
            count += 1
            expected = folder == "accept" or case.get("schemaCannotSay", False)
            if accepts(validators[f"state-{document}"], text) != expected:
                faults.append(f"the schema {'refuses' if expected else 'accepts'}: {text}")
    return count


def check_examples(validators):
    """Those of the documentation, which show every member, and those of the example states."""
    count = 0
    page = (ROOT / "docs" / "state.md").read_text()
    examples = [json.loads(text) for text in re.findall(r"```json\n(.*?)```", page, re.DOTALL)]
    for name, example in zip(("config", "status", "snapshots"), examples, strict=True):
        validator = validators[f"state-{name}"]
        check(validator, example, f"example of {name}")
        unused = set(known_keys(validator.schema)) - set(used_keys(example))
        if unused:
            faults.append(f"the example of {name} does not show {sorted(unused)}")
        for mutation in mutations(example):
            count += 1
            if validator.is_valid(mutation):
                faults.append(f"the schema of {name} accepts {json.dumps(mutation)}")
        for path in sorted((ROOT / "examples").glob(f"*/{name}.json")):
            check(validator, json.loads(path.read_text()), path)
    return count


def run():
    validators = load("state")
    corpus = check_corpus(validators)
    if corpus == 0:
        faults.append("there is no corpus")
    return f"state documents: {corpus} of the corpus, {check_examples(validators)} faulty examples"
