"""What the JSON report has to say of a policy, from the state documents alone: every criterion in the
order of the report, every action, every count."""

import ipaddress

FLAGS = (  # in the order of the report
    (512, "initial-syn"), (256, "established"),
    (16, "ack"), (1, "fin"), (8, "psh"), (4, "rst"), (2, "syn"), (32, "urg"),
)  # fmt: skip
ACTIONS = (  # in the order of the report
    "drop", "gotoMatch", "redirectNexthop", "redirectNexthopGroup", "setAggGroup", "setVrf", "setDscp",
    "setTc", "stripHeaderBytes", "setIdentityTag", "police", "log", "count",
)  # fmt: skip
# Keys of the state and those of the report.
RANGES = {"length": "ipLengths", "dscp": "dscps", "ecn": "ecns", "ttl": "ttls"}
PREFIXES = {
    "sources": "srcPrefixes",
    "sourceLpms": "srcLpmPrefixes",
    "destinations": "destPrefixes",
    "destinationLpms": "destLpmPrefixes",
}
PORTS = {"sport": "srcPorts", "dport": "destPorts"}
KEYWORDS = {
    "neighborsProtocol": "neighborProtocol",
    "l4Protocol": "matchL4Protocol",
    "ipOptions": "matchIpOptions",
    "tracked": "matchTracked",
}
SETS = {  # those of the sets and, where they stand beside them, of their bare names
    "srcPrefixSets": ("srcExtPrefixSet", "srcPrefixSets"),
    "srcLpmPrefixSets": ("srcLpmPrefixSet",),
    "dstPrefixSets": ("destExtPrefixSet", "destPrefixSets"),
    "dstLpmPrefixSets": ("destLpmPrefixSet",),
    "sportFieldSets": ("srcExtL4PortFieldSet", "srcL4PortFieldSets"),
    "dportFieldSets": ("destExtL4PortFieldSet", "destL4PortFieldSets"),
    "vlanFieldSets": ("dot1qVlanFieldSets",),
}
INNER = ("sources", "srcPrefixSets", "destinations", "dstPrefixSets", "protocols")  # and nothing else


def bounds(range_):
    if isinstance(range_, int):
        return (range_, range_)
    low, _, high = range_.partition("-")
    return (int(low), int(high or low))


def shown_range(range_):
    return dict(zip(("low", "high"), bounds(range_)))


def shown_ranges(ranges):
    return [shown_range(r) for r in sorted(ranges, key=bounds)]


def ascending_addresses(texts):
    """IPv4 before IPv6, then by address, then by length."""
    networks = [ipaddress.ip_network(text) for text in texts]
    ordered = sorted(zip(networks, texts), key=lambda n: (n[0].version, n[0].network_address, n[0].prefixlen))
    return [text for _, text in ordered]


def counts_of(contents):
    """The members of the report for a field set; numbers that stand in several ranges count once."""
    for key, shown in (("ports", "numPorts"), ("vlans", "numVlans")):
        if key in contents:
            return {shown: len({v for r in contents[key] for v in range(bounds(r)[0], bounds(r)[1] + 1)})}
    return {f"num{key[0].upper()}{key[1:]}": len(contents.get(key, ())) for key in ("prefixes", "exceptPrefixes")}


class State:
    def __init__(self, config, status):
        self.policies = config["policyMapConfig"]
        self.config = config
        self.status = status

    def sets(self, key, names, family):
        prefix = "Ipv6Prefix" if family == "ipv6" else "IpPrefix"
        kind = "Vlan" if key.startswith("vlan") else "L4Port" if "port" in key else prefix
        known = self.config["fieldSetConfig"][f"fieldSet{kind}"]
        contents = [(name, known.get(name, {}).get("currCfg")) for name in sorted(names)]
        entries = [{"name": n, **({"undefined": True} if c is None else counts_of(c))} for n, c in contents]
        return dict(zip(SETS[key], (entries, sorted(names))))

    def vlan_tags(self, tags):
        """Those with ids first."""
        ids = sorted(sorted(map(bounds, t.get("vlans", ()))) for t in tags if "vlanFieldSets" not in t)
        names = sorted(sorted(t["vlanFieldSets"]) for t in tags if "vlanFieldSets" in t)
        shown = [{"dot1qVlans": [{"low": low, "high": high} for low, high in tag]} if tag else {} for tag in ids]
        return shown + [self.sets("vlanFieldSets", tag, None) for tag in names]

    def port_field(self, field):
        shown = {}
        for key, value in field.items():
            shown |= self.sets(key, value, None) if key in SETS else {PORTS[key]: shown_ranges(value)}
        return shown

    def protocol(self, range_, fields, inner):
        shown = {"protocolRange": shown_range(range_)}
        if "tcpFlags" in fields and bounds(range_) == (6, 6) and not inner:
            groups = sorted((g["mask"], g["flag"]) for g in fields["tcpFlags"])
            shown["tcpFlagGroups"] = [
                {"tcpFlags": [{"name": n, "value": bool(flag & bit)} for bit, n in FLAGS if mask & bit]}
                for mask, flag in groups
            ]
        if "portFields" in fields:
            shown["ports"] = [self.port_field(f) for f in fields["portFields"]]
        if "icmpTypes" in fields:
            types = sorted(fields["icmpTypes"], key=lambda t: bounds(t["type"]))
            shown["icmps"] = [
                {"icmpTypes": shown_range(t["type"]), "icmpCodes": shown_ranges(t.get("codes", ()))} for t in types
            ]
        return shown

    def filter(self, filter_, family, inner=False):
        shown = {}
        for key, value in filter_.items():
            if inner and key not in INNER:
                continue
            if key in PREFIXES:
                shown[PREFIXES[key]] = ascending_addresses(value)
            elif key in SETS:
                shown |= self.sets(key, value, family)
            elif key in RANGES:
                shown[RANGES[key]] = shown_ranges(value)
            elif key in KEYWORDS and value not in (False, "none"):
                shown[KEYWORDS[key]] = value
            elif key == "protocols":
                shown[key] = [self.protocol(r, value[r], inner) for r in sorted(value, key=bounds)]
            elif key == "vlanTags":
                shown["dot1qVlanTags"] = self.vlan_tags(value)
            elif key == "fragment" and value["type"] == "matchAll":
                shown[key] = {"matchAllFragments": True}
            elif key == "fragment" and "offset" in value:
                shown[key] = {"fragmentOffsets": shown_ranges(value["offset"])}
            elif key == "innerMatch":
                shown["encapsulation"] = {"encapsulationType": value["encapType"]}
                shown[key] = {"addressFamily": value["af"], **self.filter(value["structuredFilter"], value["af"], True)}
        return shown

    def counts(self, policy, rule, counter, targets):
        """The members of the report for a count; targets: that of input, that of output if any."""
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

    def redirect(self, action):
        shown = {"recursive": False, **action, "nexthops": ascending_addresses(action["nexthops"])}
        resolved = shown.pop("resolvedNexthops", ())
        if shown["recursive"]:
            shown["resolvedNexthops"] = {"nexthops": ascending_addresses(resolved)}
        return shown

    def actions(self, policy, rule, targets):
        shown = []
        for type_, action in sorted(rule["action"].items(), key=lambda a: ACTIONS.index(a[0])):
            if type_ == "count":
                shown += self.counts(policy, rule["name"], action.get("counterName"), targets)
            elif type_ == "gotoMatch":
                shown.append(("goto", action or {"nextMatch": True}))
            elif type_ == "redirectNexthop":
                shown.append((type_, self.redirect(action)))
            elif type_ == "redirectNexthopGroup":
                shown.append(("redirectNexthopGroups", sorted(action["nexthopGroups"])))
            elif type_ == "setAggGroup":
                tools = {key: sorted(action.get(key, ())) for key in ("groups", "interfaces")}
                shown.append(("tapAggRedirect", tools))
            elif type_ == "police":
                shown.append((type_, {"unit" if key == "rateUnit" else key: v for key, v in action.items()}))
            elif type_ == "setIdentityTag":
                shown.append((type_, action))
            else:  # one value or none
                shown.append((type_, next(iter(action.values()), True)))
        return shown

    def rules(self, policy, targets):
        """The rules that the platform took, by priority: each as it is configured and as it is shown."""
        statuses = [self.status[t]["policyMapStatus"].get(policy, {}).get("classMapStatus", {}) for t in targets]
        for rule in sorted(self.policies[policy]["currCfg"]["rules"], key=lambda r: r["priority"]):
            options = next((s[rule["name"]] for s in statuses if s.get(rule["name"])), None)
            if not options:
                continue
            shown = {"ruleString": rule["name"], "matchOption": options[0]}
            match = rule["match"].get(options[0], {})
            if "structuredFilter" in match:
                shown["matches"] = self.filter(match["structuredFilter"], options[0])
            if rule.get("action"):
                shown["actions"] = dict(self.actions(policy, rule, () if targets == ("vlan",) else targets))
            yield rule, shown

    def interfaces(self, policy, direction):
        configured = self.config[f"intfConfig{direction.capitalize()}"]
        shown = {"configuredIntfs": sorted(p for p, to in configured.items() if to == policy)}
        outcome = self.status[f"interface{direction.capitalize()}"]["policyMapStatus"].get(policy, {})
        for family in ("ipv4", "ipv6"):
            points = outcome.get("intfStatus", {}).items()
            applied = sorted(p for p, result in points if result[family]["state"] == "programmed")
            if applied:
                shown[f"{family}AppliedIntfs"] = applied
        return shown
