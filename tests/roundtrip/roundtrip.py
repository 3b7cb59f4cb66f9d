"""Policies drawn at random, shown as JSON and as text: the JSON has to say what the state documents
say, criterion by criterion and action by action, and the text every value of the JSON. The argument
is the kind of policies: interface, cpu or vlan."""

import json
import os
import pathlib
import subprocess
import sys
import tempfile
import warnings

warnings.simplefilter("ignore")
sys.path.insert(0, str(pathlib.Path(__file__).resolve().parents[1] / "schema"))
import schemas  # noqa: E402
import text  # noqa: E402
from generate import Generator, points_of  # noqa: E402
from reader import State, read, read_actions  # noqa: E402

POLICIES = 1000
# Per kind the status objects that say which rules there are, that of input first.
KINDS = {"interface": ("interfaceInput", "interfaceOutput"), "cpu": ("cpu",), "vlan": ("vlan",)}
faults = schemas.faults


def expect(where, what, found, expected):
    if found != expected:
        faults.append(f"{where}: {what}\n   found    {found}\n   expected {expected}")


def show(folder, kind, view, *options):
    command = [os.environ["TPCLI_PATH"], "--state", folder, *options, "show", "traffic-policy", kind, view]
    return subprocess.run(command, check=True, capture_output=True).stdout.decode()


def compare_rule(where, state, policy, found, rule, option, kind):
    expect(where, "match option", found["matchOption"], option)
    match = rule["match"].get(option, {})
    expect(where, "matches are there", "matches" in found, "structuredFilter" in match)
    criteria = read(found.get("matches", {}))
    expected = state.filter(match.get("structuredFilter", {}), option)
    for criterion in sorted(criteria.keys() | expected.keys()):
        expect(where, criterion, criteria.get(criterion), expected.get(criterion))
    expect(where, "actions are there", "actions" in found, bool(rule.get("action")))
    actions = state.actions(policy, rule, () if kind == "vlan" else KINDS[kind])
    expect(where, "actions", read_actions(found.get("actions", {})), actions)


def compare_text(where, policy, found, rules, kind):
    places = {place: policy if place is None else policy.get(place, {}) for place in (None, "input", "output", "vacl")}
    lists = {path: places[path[0]].get(path[1]) for path in text.LISTS.values()}
    expect(where, "lists", found.lists, {path: names for path, names in lists.items() if names is not None})
    expect(where, "number of rules", found.rule_count, len(policy["rules"]))
    declared = policy.get("namedCounters")
    expect(where, "counters", found.counters, [" ".join(["counter", *declared])] if declared else [])
    headers = [f"{r['ruleString']} {r['matchOption']}" for r in policy["rules"]]
    expect(where, "rules in text", [header for header, _, _ in found.rules], headers)
    for report, (_, criteria, actions), (rule, _) in zip(policy["rules"], found.rules, rules):
        place = f"{where}, rule {rule['name']}, text"
        expect(place, "criteria", criteria, list(text.items(report.get("matches", {}), report["matchOption"])))
        expected = []
        if "actions" in report:
            count = rule["action"].get("count")
            counted = text.count_lines(report["actions"], kind, count)
            expected = [*text.action_lines(report["actions"]), *counted, *text.other_lines(report["actions"])]
        expect(place, "actions", actions, expected)


def compare_lists(where, config, state, policy, found):
    for direction, target in zip(("input", "output"), KINDS["interface"]):
        configured = config[f"intfConfig{direction.capitalize()}"]
        expected = {"configuredIntfs": sorted(points_of(configured, policy))}
        outcome = state.status[target]["policyMapStatus"].get(policy, {}).get("intfStatus", {})
        for family in ("ipv4", "ipv6"):
            applied = sorted(p for p, result in outcome.items() if result[family]["state"] == "programmed")
            if applied:
                expected[f"{family}AppliedIntfs"] = applied
        expect(where, direction, found[direction], expected)


def all_keys():
    parts = [schemas.FOLDER / f"policy-{name}.schema.json" for name in ("matches", "actions")]
    return {key for part in parts for key in schemas.known_keys(json.loads(part.read_text()))}


def at_revision_1(report):
    """The report with the first group of TCP flags and the first port field alone, as they were then."""
    if isinstance(report, list):
        return [at_revision_1(part) for part in report]
    if not isinstance(report, dict):
        return report
    report = {key: at_revision_1(part) for key, part in report.items()}
    if "tcpFlagGroups" in report:
        report["tcpFlags"] = report.pop("tcpFlagGroups")[0]["tcpFlags"]
    if "ports" in report:
        report |= report.pop("ports")[0]
    return report


def reported(folder, validators, kind, view, revision=2):
    report = json.loads(show(folder, kind, view, "--json", "--revision", str(revision)))
    if revision in (1, 2):  # what others report is compared with these
        schema = f"policy-{kind}-{f'revision{revision}' if view == 'detail' else view}"
        schemas.check(validators[schema], report, schema)
    return report["trafficPolicies"]


def compare(folder, config, state, validators, kind):
    for view in ("summary", "errors", "counters")[: 2 if kind == "vlan" else 3]:
        reported(folder, validators, kind, view)
    policies = reported(folder, validators, kind, "detail")
    for revision, right in ((0, at_revision_1(policies)), (1, at_revision_1(policies)), (3, policies)):
        found = reported(folder, validators, kind, "detail", revision)
        expect(kind, f"revision {revision} follows from 2", found == right, True)
    texts = text.read(show(folder, kind, "detail").split("\n")[:-1])
    expect(kind, "policies in text", list(texts), list(policies))
    count = 0
    for name, policy in policies.items():
        where = f"{kind}: {name}"
        rules = list(state.rules(name, KINDS[kind]))
        expect(where, "rules", [r["ruleString"] for r in policy["rules"]], [r["name"] for r, _ in rules])
        for found, (rule, option) in zip(policy["rules"], rules):
            count += 1
            compare_rule(f"{where}, rule {rule['name']}", state, name, found, rule, option, kind)
        if kind == "interface":
            compare_lists(where, config, state, name, policy)
        compare_text(where, policy, texts[name], rules, kind)
    return count, set(schemas.used_keys(policies))


def compare_rewritten(folder, kind):
    """What is read and written again gives the same report."""
    with tempfile.TemporaryDirectory() as rewritten:
        subprocess.run([os.environ["REWRITE_PATH"], folder, rewritten], check=True)
        for options in ((), ("--json",)):
            found = show(rewritten, kind, "detail", *options) == show(folder, kind, "detail", *options)
            expect(kind, f"report of the state written again {options}", found, True)


def main(kind):
    generator = Generator(20240611)
    config = generator.config(POLICIES)
    status = generator.status(config)
    state = State(config, status)
    with tempfile.TemporaryDirectory() as folder:
        for name, document in (("config", config), ("status", status)):
            (pathlib.Path(folder) / f"{name}.json").write_text(json.dumps(document))
        count, keys = compare(folder, config, state, schemas.load("policy"), kind)
        compare_rewritten(folder, kind)
    if kind == "interface":
        expect(kind, "keys that no policy has shown", sorted(all_keys() - keys), [])
    for fault in faults[:20]:
        print(fault, file=sys.stderr)
    print(f"round trip: {count} rules of {kind}, {len(faults)} faults")
    return 1 if faults or count == 0 else 0


if __name__ == "__main__":
    sys.exit(main(sys.argv[1]))
