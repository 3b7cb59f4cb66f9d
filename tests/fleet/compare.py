"""Randomly changed states against the changes made: what compare says must be those, all of them, and
nothing else. The argument is the folder of the programs."""

import copy
import json
import pathlib
import random
import subprocess
import sys
import tempfile
import unittest

ROOT = pathlib.Path(__file__).resolve().parents[2]
PROGRAMS = pathlib.Path(sys.argv.pop(1)).resolve()
ROUNDS = 40
rng = random.Random(7)


def write(folder, config, status):
    folder.mkdir(exist_ok=True)
    (folder / "config.json").write_text(json.dumps(shuffled(config)))
    (folder / "status.json").write_text(json.dumps(shuffled(status)))


def shuffled(value):
    """The same document with its keys and its sets in another order."""
    if isinstance(value, dict):
        entries = list(value.items())
        rng.shuffle(entries)
        return {key: item if key in ("portFields", "icmpTypes", "vlanTags") else shuffled(item) for key, item in entries}
    if isinstance(value, list):
        return rng.sample([shuffled(item) for item in value], len(value))
    return value


def longest_run(numbers):
    """The length of a longest ascending run, tried out."""
    best = []
    for i, number in enumerate(numbers):
        best.append(1 + max((best[j] for j in range(i) if numbers[j] < number), default=0))
    return max(best, default=0)


class State:
    """A state, and what is done to it."""

    def __init__(self):
        self.config = json.loads((ROOT / "examples/campus/config.json").read_text())
        self.status = json.loads((ROOT / "examples/campus/status.json").read_text())
        self.before = copy.deepcopy(self.config)
        self.rules = {}  # by policy and rule: what changed
        self.done = []

    def versions(self, rules=3):
        return [(name, policy["currCfg"]) for name, policy in sorted(self.config["policyMapConfig"].items())
                if name in self.before["policyMapConfig"] and len(policy.get("currCfg", {}).get("rules", [])) >= rules]

    def ordered(self, version):
        return sorted(version["rules"], key=lambda rule: rule["priority"])

    def renumber(self, rules):
        for place, rule in enumerate(rules):
            rule["priority"] = 7 * place + 3

    def move_rules(self):
        name, version = rng.choice(self.versions())
        rules = self.ordered(version)
        for _ in range(rng.randrange(1, 4)):
            rules.insert(rng.randrange(len(rules)), rules.pop(rng.randrange(len(rules))))
        self.renumber(rules)

    def add_rule(self):
        name, version = rng.choice(self.versions())
        rules = self.ordered(version)
        rules.insert(rng.randrange(len(rules) + 1), {"name": f"new {rng.random()}", "priority": 0, "match": {"ipv4": {}}})
        self.renumber(rules)
        version["rules"] = rules

    def remove_rule(self):
        name, version = rng.choice(self.versions())
        version["rules"].remove(rng.choice(version["rules"]))

    def change_rule(self):
        name, version = rng.choice(self.versions())
        rule = rng.choice(version["rules"])
        filters = [(family, match["structuredFilter"]) for family, match in rule.get("match", {}).items()
                   if match.get("structuredFilter") is not None]
        if not filters or rule["name"].startswith("new "):
            return
        family, criteria = rng.choice(filters)
        key, value = rng.choice((("dscp", [rng.randrange(64)]), ("ttl", [f"{rng.randrange(9)}-255"]), ("length", [64]),
                                 ("tracked", True), ("ecn", [1, 2])))
        old = criteria.get(key)
        if old == value or (name, rule["name"], family, key) in self.rules:
            return
        criteria[key] = value
        self.rules[name, rule["name"], family, key] = True

    def change_action(self):
        name, version = rng.choice(self.versions())
        rule = rng.choice(version["rules"])
        if rule["name"].startswith("new ") or (name, rule["name"], "action", "setTc") in self.rules:
            return
        rule.setdefault("action", {})
        if "setTc" in rule["action"]:
            rule["action"]["setTc"] = {"tc": (rule["action"]["setTc"]["tc"] + 1) % 8}
        else:
            rule["action"]["setTc"] = {"tc": 5}
        self.rules[name, rule["name"], "action", "setTc"] = True

    def change_prefixes(self):
        sets = self.config["fieldSetConfig"]["fieldSetIpPrefix"]
        version = sets[rng.choice(sorted(sets))].setdefault("currCfg", {})
        for key in ("prefixes", "exceptPrefixes"):
            prefixes = version.setdefault(key, [])
            for prefix in rng.sample(prefixes, min(len(prefixes), rng.randrange(3))):
                prefixes.remove(prefix)
            for _ in range(rng.randrange(3)):
                prefix = f"100.{rng.randrange(64, 128)}.{rng.randrange(256)}.0/24"
                if prefix not in prefixes:
                    prefixes.append(prefix)

    def change_attachment(self):
        points = self.config[rng.choice(("intfConfigInput", "intfConfigOutput"))]
        policies = sorted(self.config["policyMapConfig"])
        if rng.random() < 0.3 and points:
            del points[rng.choice(sorted(points))]
        else:
            points[f"Ethernet{rng.randrange(1, 60)}"] = rng.choice(policies)

    def change_policies(self):
        policies = self.config["policyMapConfig"]
        if rng.random() < 0.5:
            policies[f"NEW-{rng.randrange(1000)}"] = {"currCfg": {"rules": [{"name": "a", "priority": 1}]}}
        else:
            del policies[rng.choice(sorted(policies))]

    def change_something(self):
        rng.choice((self.move_rules, self.add_rule, self.remove_rule, self.change_rule, self.change_action,
                    self.change_prefixes, self.change_attachment, self.change_policies))()


def names(policy):
    return [rule["name"] for rule in sorted(policy.get("currCfg", {}).get("rules", []), key=lambda rule: rule["priority"])]


def points(config):
    return {(key, point): policy if isinstance(policy, list) else [policy]
            for key in ("intfConfigInput", "intfConfigOutput") for point, policy in config.get(key, {}).items()}


def entries(config):
    return {name: {*field_set.get("currCfg", {}).get("prefixes", []),
                   *("except " + prefix for prefix in field_set.get("currCfg", {}).get("exceptPrefixes", []))}
            for name, field_set in config["fieldSetConfig"]["fieldSetIpPrefix"].items()}


class Compare(unittest.TestCase):
    def setUp(self):
        folder = tempfile.TemporaryDirectory()
        self.addCleanup(folder.cleanup)
        self.folder = pathlib.Path(folder.name)

    def run_compare(self, *words, form=("--json",)):
        return subprocess.run([PROGRAMS / "tpcli", *form, "compare", *map(str, words)], capture_output=True, text=True)

    def compare(self, state):
        write(self.folder / "before", state.before, state.status)
        write(self.folder / "after", state.config, state.status)
        done = self.run_compare(self.folder / "before", self.folder / "after", "detail")
        self.assertEqual(done.stderr, "")
        report = json.loads(done.stdout)
        self.assertEqual(done.returncode, 1 if report["isDifferent"] else 0)
        return report

    def test_changes(self):
        for _ in range(ROUNDS):
            state = State()
            for _ in range(rng.randrange(6)):
                state.change_something()
            report = self.compare(state)
            self.check_policies(state, report)
            self.check_field_sets(state, report)
            before, after = points(state.before), points(state.config)
            found = {("intfConfigInput" if row["direction"] == "input" else "intfConfigOutput", row["point"]):
                     (row["before"], row["after"]) for row in report["attachments"] if row["pointKind"] == "interface"}
            self.assertEqual(found, {key: (before.get(key, []), after.get(key, [])) for key in before.keys() | after.keys()
                                     if before.get(key) != after.get(key)})
            again = self.run_compare(self.folder / "after", self.folder / "after")
            self.assertEqual((again.returncode, json.loads(again.stdout)["isDifferent"]), (0, False))

    def check_policies(self, state, report):
        before, after = state.before["policyMapConfig"], state.config["policyMapConfig"]
        found = {row["policy"]: row for row in report["policies"]}
        self.assertEqual({name for name, row in found.items() if row["change"] == "added"}, after.keys() - before.keys())
        self.assertEqual({name for name, row in found.items() if row["change"] == "removed"}, before.keys() - after.keys())
        for name in before.keys() & after.keys():
            rules = found.get(name, {}).get("rules", [])
            old, new = names(before[name]), names(after[name])
            self.assertEqual({rule["rule"] for rule in rules if rule["change"] == "added"}, set(new) - set(old))
            self.assertEqual({rule["rule"] for rule in rules if rule["change"] == "removed"}, set(old) - set(new))
            both = [old.index(rule) for rule in new if rule in old]
            moved = {rule["rule"] for rule in rules if rule.get("moved")}
            self.assertEqual(len(moved), len(both) - longest_run(both))
            stay = [place for place in both if old[place] not in moved]
            self.assertEqual(stay, sorted(stay))
            changes = {(name, rule["rule"], change["family"], change["criterion"]) for rule in rules
                       for change in rule.get("criteria", [])}
            changes |= {(name, rule["rule"], "action", action) for rule in rules for action in rule.get("actions", [])}
            self.assertEqual(changes, {key for key in state.rules if key[0] == name and key[1] in new})

    def check_field_sets(self, state, report):
        before, after = entries(state.before), entries(state.config)
        expected = {name: (sorted(after[name] - before[name]), sorted(before[name] - after[name]))
                    for name in before if before[name] != after[name]}
        found = {row["name"]: (sorted(row["added"]), sorted(row["removed"])) for row in report["fieldSets"]}
        self.assertEqual(found, expected)

    def test_statuses(self):
        state = ROOT / "examples/maintenance"
        for words, status in (((state / "before", state / "after"), 1), ((state / "before", state / "before"), 0),
                              ((state / "before", state / "after", "COPP"), 0), ((state / "before",), 2),
                              ((state / "before", state / "after", "COPP", "detial"), 2),
                              ((state / "before", state / "nowhere"), 2)):
            done = self.run_compare(*words, form=())
            self.assertEqual(done.returncode, status, words)
            self.assertEqual(bool(done.stderr), status == 2, words)
        done = self.run_compare(state / "before", state / "after", "EGDE-IN", form=())
        self.assertIn("EDGE-IN", done.stderr)


unittest.main()
