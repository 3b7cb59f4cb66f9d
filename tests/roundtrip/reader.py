"""Reads rules from the JSON report back into the terms of the state documents, and brings the state
documents themselves into the same form: lists in the order of the report, ranges as pairs."""

import ipaddress

FLAGS = (  # in the order of the report
    (512, "initial-syn"), (256, "established"),
    (16, "ack"), (1, "fin"), (8, "psh"), (4, "rst"), (2, "syn"), (32, "urg"),
)  # fmt: skip
ACTIONS = (  # in the order of the report
    "drop", "gotoMatch", "redirectNexthop", "redirectNexthopGroup", "setAggGroup", "setVrf", "setDscp",
    "setTc", "stripHeaderBytes", "setIdentityTag", "police", "log", "count", "other",
)  # fmt: skip

# What is shown of an inner header.
INNER = ("sources", "srcPrefixSets", "destinations", "dstPrefixSets", "protocols", "otherCriteria")


# The report.


def read_range(range_):
    return (range_["low"], range_["high"])


def read_ranges(ranges):
    return [read_range(r) for r in ranges]


def read_sets(sets):
    """Pairs of name and counts, None for an undefined set."""
    return [
        (s["name"], None if s.get("undefined") else tuple(v for k, v in s.items() if k != "name")) for s in sets
    ]


def read_flags(groups):
    return [[(f["name"], f["value"]) for f in g["tcpFlags"]] for g in groups]


def read_fragment(fragment):
    return read_ranges(fragment["fragmentOffsets"]) if "fragmentOffsets" in fragment else "matchAll"


def read(report):
    """An object of criteria, with the keys of the state documents."""
    for key, sets in NAMES.items():
        if sets in report:
            assert report[key] == [s["name"] for s in report[sets]], (key, report)
    return {KEYS[key][0]: KEYS[key][1](value) for key, value in report.items() if key not in NAMES}


def read_each(reports):
    return [read(report) for report in reports]


READERS = (  # what reads a value, and the keys of the report with those of the state documents
    (read_ranges, {
        "dot1qVlans": "vlans", "srcPorts": "sport", "destPorts": "dport", "icmpCodes": "codes",
        "ipLengths": "length", "dscps": "dscp", "ecns": "ecn", "ttls": "ttl",
    }),
    (read_sets, {
        "dot1qVlanFieldSets": "vlanFieldSets",
        "srcExtPrefixSet": "srcPrefixSets", "srcLpmPrefixSet": "srcLpmPrefixSets",
        "destExtPrefixSet": "dstPrefixSets", "destLpmPrefixSet": "dstLpmPrefixSets",
        "srcExtL4PortFieldSet": "sportFieldSets", "destExtL4PortFieldSet": "dportFieldSets",
    }),
    (read_each, {"dot1qVlanTags": "vlanTags", "protocols": "protocols", "ports": "portFields", "icmps": "icmpTypes"}),
    (read_range, {"protocolRange": "range", "icmpTypes": "type"}),
    (read_flags, {"tcpFlagGroups": "tcpFlags"}),
    (read_fragment, {"fragment": "fragment"}),
    (read, {"innerMatch": "innerMatch"}),
    (lambda value: value["encapsulationType"], {"encapsulation": "encapType"}),
    (lambda value: value, {
        "srcPrefixes": "sources", "srcLpmPrefixes": "sourceLpms",
        "destPrefixes": "destinations", "destLpmPrefixes": "destinationLpms",
        "neighborProtocol": "neighborsProtocol", "matchL4Protocol": "l4Protocol",
        "matchIpOptions": "ipOptions", "matchTracked": "tracked", "addressFamily": "af",
        "otherCriteria": "otherCriteria",
    }),
)  # fmt: skip
KEYS = {key: (state, reader) for reader, keys in READERS for key, state in keys.items()}
NAMES = {  # the bare names beside sets
    "srcPrefixSets": "srcExtPrefixSet",
    "destPrefixSets": "destExtPrefixSet",
    "srcL4PortFieldSets": "srcExtL4PortFieldSet",
    "destL4PortFieldSets": "destExtL4PortFieldSet",
}


READ_ACTIONS = {  # all others read as they stand
    "drop": lambda v: ("drop", {}),
    "goto": lambda v: ("gotoMatch", {k: x for k, x in v.items() if k == "matchName"}),
    "redirectNexthop": lambda v: (
        "redirectNexthop",
        {k: x["nexthops"] if k == "resolvedNexthops" else x for k, x in v.items()},
    ),
    "redirectNexthopGroups": lambda v: ("redirectNexthopGroup", {"nexthopGroups": v}),
    "tapAggRedirect": lambda v: ("setAggGroup", v),
    "setVrf": lambda v: ("setVrf", {"vrfName": v}),
    "setDscp": lambda v: ("setDscp", {"dscp": v}),
    "setTc": lambda v: ("setTc", {"tc": v}),
    "stripHeaderBytes": lambda v: ("stripHeaderBytes", {"stripHeaderBytes": v}),
    "police": lambda v: ("police", {"rateUnit" if k == "unit" else k: x for k, x in v.items()}),
    "log": lambda v: ("log", {}),
    "other": lambda v: ("other", {"text": v}),
}


def read_actions(actions):
    """Pairs of type and parameters, in the order of the report."""
    return [READ_ACTIONS[key](value) if key in READ_ACTIONS else (key, value) for key, value in actions.items()]


# The state documents.


def bounds(range_):
    if isinstance(range_, int):
        return (range_, range_)
    low, _, high = range_.partition("-")
    return (int(low), int(high or low))


def all_bounds(ranges):
    return sorted(bounds(r) for r in ranges)


def ascending_addresses(texts):
    """IPv4 before IPv6, then by address, then by length."""
    networks = [ipaddress.ip_network(text) for text in texts]
    ordered = sorted(zip(networks, texts), key=lambda n: (n[0].version, n[0].network_address, n[0].prefixlen))
    return [text for _, text in ordered]


def counts_of(contents):
    """Of a field set; numbers that stand in several ranges count once."""
    for key in ("ports", "vlans"):
        if key in contents:
            count, covered = 0, -1
            for low, high in all_bounds(contents[key]):
                count += max(0, high - max(low, covered + 1) + 1)
                covered = max(covered, high)
            return (count,)
    return tuple(len(contents.get(key, ())) for key in ("prefixes", "exceptPrefixes"))


class State:
    def __init__(self, config, status):
        self.policies = config["policyMapConfig"]
        self.status = status
        self.field_sets = config["fieldSetConfig"]

    def sets(self, names, kind):
        """Pairs of name and counts, None without a current version."""
        known = self.field_sets[f"fieldSet{kind}"]
        contents = [(name, known.get(name, {}).get("currCfg")) for name in sorted(names)]
        return [(name, None if c is None else counts_of(c)) for name, c in contents]

    def fields(self, fields, kind):
        """Of a port field or a VLAN tag."""
        return {key: self.sets(v, kind) if "Sets" in key else all_bounds(v) for key, v in fields.items()}

    def protocol(self, range_, fields, inner):
        shown = {"range": bounds(range_)}
        if "tcpFlags" in fields and shown["range"] == (6, 6) and not inner:
            groups = sorted((g["mask"], g["flag"]) for g in fields["tcpFlags"])
            shown["tcpFlags"] = [[(n, bool(flag & bit)) for bit, n in FLAGS if mask & bit] for mask, flag in groups]
        if "portFields" in fields:
            shown["portFields"] = [self.fields(f, "L4Port") for f in fields["portFields"]]
        if "icmpTypes" in fields:
            types = sorted((bounds(t["type"]), all_bounds(t.get("codes", ()))) for t in fields["icmpTypes"])
            shown["icmpTypes"] = [{"type": type_, "codes": codes} for type_, codes in types]
        return shown

    def vlan_tags(self, tags):
        """Those with ids first."""
        tags = [self.fields(tag, "Vlan") for tag in tags]
        by_ids = sorted((t for t in tags if "vlanFieldSets" not in t), key=lambda t: t.get("vlans", []))
        by_names = [t for t in tags if "vlanFieldSets" in t]
        return by_ids + sorted(by_names, key=lambda t: [name for name, _ in t["vlanFieldSets"]])

    def filter(self, filter_, family, inner=False):
        shown = {}
        for key, value in filter_.items():
            if inner and key not in INNER:
                continue
            if key in ("sources", "sourceLpms", "destinations", "destinationLpms"):
                shown[key] = ascending_addresses(value)
            elif key.endswith("PrefixSets"):
                shown[key] = self.sets(value, "Ipv6Prefix" if family == "ipv6" else "IpPrefix")
            elif key == "protocols":
                shown[key] = [self.protocol(r, value[r], inner) for r in sorted(value, key=bounds)]
            elif key == "otherCriteria":
                shown[key] = sorted(value)
            elif key == "vlanTags":
                shown[key] = self.vlan_tags(value)
            elif key == "fragment":
                if value["type"] == "matchAll" or "offset" in value:
                    shown[key] = all_bounds(value["offset"]) if "offset" in value else "matchAll"
            elif key == "innerMatch":
                shown["encapType"] = value["encapType"]
                shown[key] = {"af": value["af"], **self.filter(value["structuredFilter"], value["af"], True)}
            elif isinstance(value, list):
                shown[key] = all_bounds(value)
            elif value not in (False, "none"):
                shown[key] = value
        return shown

    def rules(self, policy, targets):
        """The rules that the platform took, by priority, each with its match option."""
        statuses = [self.status[t]["policyMapStatus"].get(policy, {}).get("classMapStatus", {}) for t in targets]
        for rule in sorted(self.policies[policy]["currCfg"]["rules"], key=lambda r: r["priority"]):
            options = next((s[rule["name"]] for s in statuses if s.get(rule["name"])), None)
            if options:
                yield rule, options[0]

    def counts(self, policy, rule, action, targets):
        """The members of the report for a count; targets: that of input, that of output if any."""
        counter = action.get("counterName")
        keys = (("countNamed", "inputNamedCounters"), ("outputNamedCounters",))
        if not counter:
            keys = (("count", "inputCounter"), ("outputCounter",))
        undeclared = counter and counter not in self.policies[policy]["currCfg"]["namedCounter"]
        for target, keys_of_target in zip(targets, keys):
            status = self.status[target]["policyMapStatus"].get(policy, {})
            found = status.get("namedCounter" if counter else "classCounter", {}).get(counter or rule)
            # A direction that did not take the rule does not count it either.
            if not counter and rule not in status.get("classMapStatus", {}):
                found = None
            for key in keys_of_target:
                if undeclared:
                    yield key, {counter: {"undefined": True}}
                elif found and counter:
                    yield key, {counter: {"packetCount": found["packets"], "byteCount": found["bytes"]}}
                elif found:
                    yield key, found["packets"]

    def actions(self, policy, rule, targets):
        actions = rule.get("action", {})
        shown = []
        for type_ in sorted(actions, key=ACTIONS.index):
            action = dict(actions[type_])
            for key in ("nexthopGroups", "groups", "interfaces"):
                if key in action:
                    action[key] = sorted(action[key])
            if type_ == "redirectNexthop":
                action = {"recursive": False, **action}
                resolved = action.pop("resolvedNexthops", [])
                action["nexthops"] = ascending_addresses(action["nexthops"])
                if action["recursive"]:
                    action["resolvedNexthops"] = ascending_addresses(resolved)
            elif type_ == "setAggGroup":
                action = {"groups": [], "interfaces": [], **action}
            if type_ == "count":
                shown += self.counts(policy, rule["name"], action, targets)
            else:
                shown.append((type_, action))
        return shown
