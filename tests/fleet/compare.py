"""Randomly changed states against the changes made: what compare says must be those, all of them, and
nothing else. The argument is the folder of the programs."""

import collections
import copy
import json
import pathlib
import random
import re
import subprocess
import sys
import tempfile
import unittest

sys.dont_write_bytecode = True
from places import INTERFACES, Places  # noqa: E402

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


def prefix():
    return f"100.{rng.randrange(64, 128)}.{rng.randrange(256)}.0/24"


def prefix6():
    return f"2001:db8:{rng.randrange(1, 65536):x}::/48"


def span(most):
    def make():
        low = rng.randrange(1, most - 9)
        return rng.choice((low, f"{low}-{low + rng.randrange(1, 9)}"))
    return make


def mac():
    return f"00:00:5e:00:53:{rng.randrange(256):02x}"


# Of each kind of field set the keys of its entries, and what makes one.
KINDS = {"fieldSetIpPrefix": (("prefixes", "exceptPrefixes"), prefix),
         "fieldSetIpv6Prefix": (("prefixes", "exceptPrefixes"), prefix6),
         "fieldSetL4Port": (("ports",), span(65535)), "fieldSetVlan": (("vlans",), span(4094)), "mac": (("macAddrs",), mac)}
KIND_KEYS = {"fieldSetIpPrefix": "ipv4Prefix", "fieldSetIpv6Prefix": "ipv6Prefix", "fieldSetL4Port": "l4Port",
             "fieldSetVlan": "vlan", "mac": "mac"}


class State:
    """A state, and what is done to it."""

    def __init__(self):
        self.config = json.loads((ROOT / "examples/campus/config.json").read_text())
        self.status = json.loads((ROOT / "examples/campus/status.json").read_text())
        self.before = copy.deepcopy(self.config)
        self.status_before = copy.deepcopy(self.status)
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

    def change_entries(self):
        kind = rng.choice(sorted(KINDS))
        keys, make = KINDS[kind]
        if kind == "mac":
            sets = self.config["fieldSetMacAddr"][rng.choice(("cli", "controller", "nac"))]
        else:
            sets = self.config["fieldSetConfig"][kind]
        if rng.random() < 0.2:
            sets[f"NEW-{rng.randrange(1000)}"] = {"currCfg": {keys[0]: [make()]}}
            return
        if not sets:
            return
        name = rng.choice(sorted(sets))
        if rng.random() < 0.2:
            del sets[name]
            return
        version = sets[name].setdefault("currCfg", {})
        if kind != "mac" and rng.random() < 0.2:
            version["contentsSource"] = rng.choice(("static", "bgp"))
        for key in keys:
            entries = version.setdefault(key, [])
            for entry in rng.sample(entries, min(len(entries), rng.randrange(3))):
                entries.remove(entry)
            for _ in range(rng.randrange(3)):
                entry = make()
                if entry not in entries:
                    entries.append(entry)

    def change_attachment(self):
        policies = sorted(self.config["policyMapConfig"])
        if rng.random() < 0.3:
            points, name = self.config["vrfConfig"], rng.choice(("all", "default", "guest", "lab", "mgmt", "oob"))
        else:
            key = rng.choice(sorted(INTERFACES, key=str))
            points = self.config[INTERFACES[key][0]]
            name = ("Vlan" if key[0] == "vlan" else "Ethernet") + str(rng.randrange(1, 60))
        if rng.random() < 0.3 and points:
            del points[rng.choice(sorted(points))]
        else:
            points[name] = rng.choice(policies)

    def change_installation(self):
        key = rng.choice(("interfaceInput", "interfaceOutput", "cpu", "cpuSoftware", "vlan"))
        policies = self.status[key]["policyMapStatus"]
        reports = policies[rng.choice(sorted(policies))].setdefault("intfStatus", {})
        if not reports or rng.random() < 0.2:
            reports[rng.choice({"vlan": ("Vlan20", "Vlan59"), "cpu": ("Cpu0", "Cpu3"), "cpuSoftware": ("Cpu5", "Cpu1")}
                               .get(key, ("Ethernet1", "Ethernet59")))] = {"ipv4": {"state": "programmed"}}
            return
        name = rng.choice(sorted(reports))
        if rng.random() < 0.2:
            del reports[name]
            return
        entry = {"state": rng.choice(("programmed", "failed", "notReported", 3))}
        if entry["state"] != "programmed" and rng.random() < 0.5:
            entry["errorText"] = f"no room for {rng.randrange(9)}"
        reports[name][rng.choice(("ipv4", "ipv4", "ipv6", "mac"))] = entry

    def change_policies(self):
        policies = self.config["policyMapConfig"]
        if rng.random() < 0.5:
            policies[f"NEW-{rng.randrange(1000)}"] = {"currCfg": {"rules": [{"name": "a", "priority": 1}]}}
        else:
            del policies[rng.choice(sorted(policies))]

    def change_something(self):
        rng.choice((self.move_rules, self.add_rule, self.remove_rule, self.change_rule, self.change_action,
                    self.change_entries, self.change_entries, self.change_attachment, self.change_installation,
                    self.change_installation, self.change_policies))()


def names(policy):
    return [rule["name"] for rule in sorted(policy.get("currCfg", {}).get("rules", []), key=lambda rule: rule["priority"])]


FieldSet = collections.namedtuple("FieldSet", "entries source has_version")


def field_sets(config):
    found = {}
    for kind, (keys, _) in KINDS.items():
        by_source = config["fieldSetMacAddr"] if kind == "mac" else {None: config["fieldSetConfig"][kind]}
        for source, sets in by_source.items():
            for name, field_set in sets.items():
                version = field_set.get("currCfg", {})
                entries = {("except " if key.startswith("except") else "") + str(entry)
                           for key in keys for entry in version.get(key, [])}
                origin = tuple(version.get(key) or default for key, default in
                               (("contentsSource", "static"), ("urlPath", ""), ("urlVrf", "")))
                found[KIND_KEYS[kind], source, name] = FieldSet(entries, origin, "currCfg" in field_set)
    return found


def changed_nodes(value, path=()):
    """Of every node below a value its path, and documents in which it alone is missing, or is another."""
    for key, item in list(value.items() if isinstance(value, dict) else enumerate(value)):
        del value[key]
        yield path + (key,)
        if isinstance(value, dict):
            value[key] = item
        else:
            value.insert(key, item)
        if isinstance(item, (dict, list)):
            yield from changed_nodes(item, path + (key,))
            continue
        value[key] = (not item if isinstance(item, bool) else item + 1 if isinstance(item, int)
                      else item[:-1] + chr(ord(item[-1]) ^ 1))
        yield path + (key,)
        value[key] = item


class Compare(unittest.TestCase):
    def setUp(self):
        folder = tempfile.TemporaryDirectory()
        self.addCleanup(folder.cleanup)
        self.folder = pathlib.Path(folder.name)

    def run_compare(self, *words, form=("--json",)):
        return subprocess.run([PROGRAMS / "tpcli", *form, "compare", *map(str, words)], capture_output=True, text=True)

    def compare(self, state):
        write(self.folder / "before", state.before, state.status_before)
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
            self.check_places(state, report)
            again = self.run_compare(self.folder / "after", self.folder / "after")
            self.assertEqual((again.returncode, json.loads(again.stdout)["isDifferent"]), (0, False))

    def test_every_attribute(self):
        """The documented state has every attribute: whichever of a rule changes, its criterion or action is named."""
        config = json.loads(re.search(r"```json\n(\{\n *\"policyMapConfig\".*?)```", (ROOT / "docs/state.md").read_text(),
                                      re.DOTALL).group(1))
        state = State()
        state.before, state.status_before, state.status = copy.deepcopy(config), {}, {}
        write(self.folder / "before", state.before, {})
        seen = 0
        for rule in (rule for policy in config["policyMapConfig"].values()
                     for rule in policy.get("currCfg", {}).get("rules", [])):
            for path in changed_nodes({key: rule[key] for key in ("match", "action") if key in rule}):
                if len(path) < (4 if path[0] == "match" else 2):
                    continue
                write(self.folder / "after", config, {})
                done = self.run_compare(self.folder / "before", self.folder / "after")
                if done.returncode == 2:  # no document any more
                    continue
                seen += 1
                rules = [change for policy in json.loads(done.stdout)["policies"] for change in policy["rules"]]
                named = [(row["family"], row["criterion"]) for change in rules for row in change.get("criteria", [])]
                named += [("action", action) for change in rules for action in change.get("actions", [])]
                self.assertEqual(named, [(path[1], path[3]) if path[0] == "match" else path[:2]], path)
        self.assertGreater(seen, 120)

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
        before, after = field_sets(state.before), field_sets(state.config)
        expected = {}
        none = FieldSet(set(), None, False)
        for key in before.keys() | after.keys():
            old, new = before.get(key, none), after.get(key, none)
            change = "added" if key not in before else "removed" if key not in after else "changed"
            moved = old.has_version and new.has_version and old.source != new.source
            if change != "changed" or moved or old.entries != new.entries:
                expected[key] = (change, len(old.entries), len(new.entries), sorted(new.entries - old.entries),
                                 sorted(old.entries - new.entries), moved)
        found = {(row["kind"], row.get("source"), row["name"]):
                 (row["change"], row["entriesBefore"], row["entriesAfter"], sorted(row["added"]), sorted(row["removed"]),
                  row["contentsSourceChanged"]) for row in report["fieldSets"]}
        self.assertEqual(found, expected)

    def check_places(self, state, report):
        before, after = Places(state.before, state.status_before), Places(state.config, state.status)

        def changes(old, new, none):
            return {key: (old.get(key, none), new.get(key, none)) for key in old.keys() | new.keys()
                    if old.get(key, none) != new.get(key, none)}

        def place(row):
            return (row["pointKind"], row.get("direction"))

        found = {(place(row), row["point"]): (row["before"], row["after"]) for row in report["attachments"]}
        self.assertEqual(found, changes(before.configured, after.configured, []))
        found = {(place(row), row["point"], row["policy"], row["family"], row["installedIn"]):
                 tuple((row[when]["installation"], row[when].get("installationError")) for when in ("before", "after"))
                 for row in report["installations"]}
        self.assertEqual(found, changes(before.installations(), after.installations(), ("notAsked", None)))

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
