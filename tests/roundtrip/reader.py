"""Reads rules from the JSON report back into the terms of the state documents, and brings the state
documents themselves into the same form: lists in the order of the report, ranges as pairs."""

import ipaddress

FLAGS = (  # in the order of the report
    (512, "initial-syn"), (256, "established"),
    (16, "ack"), (1, "fin"), (8, "psh"), (4, "rst"), (2, "syn"), (32, "urg"),
)  # fmt: skip
ACTIONS = (  # in the order of the report
    "drop", "gotoMatch", "redirectNexthop", "redirectNexthopGroup", "setAggGroup", "setVrf", "setDscp",
    "setTc", "stripHeaderBytes", "setIdentityTag", "police", "log", "count",
)  # fmt: skip
RANGES = {"ipLengths": "length", "dscps": "dscp", "ecns": "ecn", "ttls": "ttl"}
PREFIXES = {
    "srcPrefixes": "sources",
    "srcLpmPrefixes": "sourceLpms",
    "destPrefixes": "destinations",
    "destLpmPrefixes": "destinationLpms",
}
PREFIX_SETS = {  # and the key of the bare names
    "srcExtPrefixSet": ("srcPrefixSets", "srcPrefixSets"),
    "srcLpmPrefixSet": ("srcLpmPrefixSets", None),
    "destExtPrefixSet": ("dstPrefixSets", "destPrefixSets"),
    "destLpmPrefixSet": ("dstLpmPrefixSets", None),
}
PORTS = {"srcPorts": "sport", "destPorts": "dport"}
PORT_SETS = {
    "srcExtL4PortFieldSet": ("sportFieldSets", "srcL4PortFieldSets"),
    "destExtL4PortFieldSet": ("dportFieldSets", "destL4PortFieldSets"),
}
KEYWORDS = {
    "neighborProtocol": "neighborsProtocol",
    "matchL4Protocol": "l4Protocol",
    "matchIpOptions": "ipOptions",
    "matchTracked": "tracked",
}


# The report.


def read_range(range_):
    return (range_["low"], range_["high"])


def read_ranges(ranges):
    return [read_range(r) for r in ranges]


def read_sets(report, key, names_key=None):
    """Pairs of name and counts, None for an undefined set."""
    sets = [
        (s["name"], None if s.get("undefined") else tuple(v for k, v in s.items() if k != "name"))
        for s in report[key]
    ]
    if names_key:
        assert report[names_key] == [name for name, _ in sets], (names_key, report)
    return sets


def read_vlan_tag(tag):
    if "dot1qVlanFieldSets" in tag:
        return {"vlanFieldSets": read_sets(tag, "dot1qVlanFieldSets")}
    return {"vlans": read_ranges(tag["dot1qVlans"])} if tag else {}


def read_port_field(field):
    read = {state: read_ranges(field[key]) for key, state in PORTS.items() if key in field}
    read |= {state: read_sets(field, key, names) for key, (state, names) in PORT_SETS.items() if key in field}
    return read


def read_protocol(entry):
    read = {}
    if "tcpFlagGroups" in entry:
        read["tcpFlags"] = [[(f["name"], f["value"]) for f in g["tcpFlags"]] for g in entry["tcpFlagGroups"]]
    if "ports" in entry:
        read["portFields"] = [read_port_field(f) for f in entry["ports"]]
    if "icmps" in entry:
        read["icmpTypes"] = [(read_range(i["icmpTypes"]), read_ranges(i["icmpCodes"])) for i in entry["icmps"]]
    return (read_range(entry["protocolRange"]), read)


def read_filter(matches):
    read = {}
    for key, value in matches.items():
        if key == "dot1qVlanTags":
            read["vlanTags"] = [read_vlan_tag(tag) for tag in value]
        elif key in RANGES:
            read[RANGES[key]] = read_ranges(value)
        elif key in PREFIXES:
            read[PREFIXES[key]] = value
        elif key in PREFIX_SETS:
            state, names = PREFIX_SETS[key]
            read[state] = read_sets(matches, key, names)
        elif key in KEYWORDS:
            read[KEYWORDS[key]] = value
        elif key == "protocols":
            read[key] = [read_protocol(entry) for entry in value]
        elif key == "fragment":
            read[key] = read_ranges(value["fragmentOffsets"]) if "fragmentOffsets" in value else "matchAll"
        elif key == "encapsulation":
            read["encapType"] = value["encapsulationType"]
        elif key == "innerMatch":
            inner = {k: v for k, v in value.items() if k != "addressFamily"}
            read["innerMatch"] = (value["addressFamily"], read_filter(inner))
    return read


def read_actions(actions):
    """Pairs of type and parameters, in the order of the report; counts are read as they stand."""
    readers = {
        "drop": lambda v: ("drop", {}),
        "goto": lambda v: ("gotoMatch", {"matchName": v["matchName"]} if "matchName" in v else {}),
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
        "setIdentityTag": lambda v: ("setIdentityTag", v),
        "police": lambda v: ("police", {"rateUnit" if k == "unit" else k: x for k, x in v.items()}),
        "log": lambda v: ("log", {}),
    }
    return [readers.get(key, lambda v, key=key: (key, v))(value) for key, value in actions.items()]


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


class State:
    def __init__(self, config, status):
        self.policies = config["policyMapConfig"]
        self.status = status
        sets = config["fieldSetConfig"]
        self.prefix_sets = {"ipv4": sets["fieldSetIpPrefix"], "ipv6": sets["fieldSetIpv6Prefix"]}
        self.port_sets = sets["fieldSetL4Port"]
        self.vlan_sets = sets["fieldSetVlan"]

    @staticmethod
    def sets(names, known, count):
        """Pairs of name and counts, None without a current version."""
        contents = [(name, known.get(name, {}).get("currCfg")) for name in sorted(names)]
        return [(name, None if c is None else count(c)) for name, c in contents]

    def prefix_counts(self, names, family):
        known = self.prefix_sets["ipv6" if family == "ipv6" else "ipv4"]
        return self.sets(names, known, lambda c: (len(c.get("prefixes", ())), len(c.get("exceptPrefixes", ()))))

    def value_counts(self, names, known, key):
        """Of sets of numbers; those that stand in several ranges count once."""
        return self.sets(
            names, known, lambda c: (len({v for low, high in all_bounds(c[key]) for v in range(low, high + 1)}),)
        )

    def vlan_tag(self, tag):
        if "vlanFieldSets" in tag:
            return {"vlanFieldSets": self.value_counts(tag["vlanFieldSets"], self.vlan_sets, "vlans")}
        return {"vlans": all_bounds(tag["vlans"])} if tag else {}

    def port_field(self, field):
        return {
            key: self.value_counts(value, self.port_sets, "ports") if "Sets" in key else all_bounds(value)
            for key, value in field.items()
        }

    def protocol(self, range_, fields, inner):
        shown = {}
        if "tcpFlags" in fields and range_ == (6, 6) and not inner:
            groups = sorted((g["mask"], g["flag"]) for g in fields["tcpFlags"])
            shown["tcpFlags"] = [[(n, bool(flag & bit)) for bit, n in FLAGS if mask & bit] for mask, flag in groups]
        if "portFields" in fields:
            shown["portFields"] = [self.port_field(f) for f in fields["portFields"]]
        if "icmpTypes" in fields:
            types = [(bounds(t["type"]), all_bounds(t.get("codes", ()))) for t in fields["icmpTypes"]]
            shown["icmpTypes"] = sorted(types)
        return (range_, shown)

    def filter(self, filter_, family, inner=False):
        shown = {}
        for key, value in filter_.items():
            if inner and key not in ("sources", "srcPrefixSets", "destinations", "dstPrefixSets", "protocols"):
                continue  # an inner header shows nothing else
            if key in PREFIXES.values():
                shown[key] = ascending_addresses(value)
            elif key.endswith("PrefixSets"):
                shown[key] = self.prefix_counts(value, family)
            elif key == "protocols":
                fields = {bounds(range_): fields for range_, fields in value.items()}
                shown[key] = [self.protocol(range_, fields[range_], inner) for range_ in sorted(fields)]
            elif key == "vlanTags":
                # Those with ids first.
                tags = [self.vlan_tag(tag) for tag in value]
                by_ids = sorted((t for t in tags if "vlanFieldSets" not in t), key=lambda t: t.get("vlans", []))
                by_names = [t for t in tags if "vlanFieldSets" in t]
                shown[key] = by_ids + sorted(by_names, key=lambda t: [name for name, _ in t["vlanFieldSets"]])
            elif key in RANGES.values():
                shown[key] = all_bounds(value)
            elif key == "fragment" and (value["type"] == "matchAll" or "offset" in value):
                shown[key] = all_bounds(value["offset"]) if "offset" in value else "matchAll"
            elif key in KEYWORDS.values() and value not in (False, "none"):
                shown[key] = value
            elif key == "innerMatch":
                shown["encapType"] = value["encapType"]
                shown[key] = (value["af"], self.filter(value["structuredFilter"], value["af"], True))
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
