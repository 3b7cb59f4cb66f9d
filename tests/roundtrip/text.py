"""Takes the text report apart: criteria as (column, label, item), whatever line an item stands on, and
says what of the JSON report has to stand there."""

import re
import unicodedata

LABELS = (
    "802.1Q VLAN", "Source prefix", "Source prefix (longest prefix match)", "Destination prefix",
    "Destination prefix (longest prefix match)", "Protocol", "TCP flags", "Source port", "Destination port",
    "ICMP type", "ICMP code", "IP length", "Fragment: offset", "DSCP", "ECN", "TTL",
    "Other",
)  # fmt: skip
LABELLED = re.compile(f"({'|'.join(map(re.escape, sorted(LABELS, key=len, reverse=True)))}): (.*)")
LISTS = {  # and where their names stand in the report
    "Configured on CPU for VRFs": (None, "configuredVrfs"),
    "Configured on VLANs": ("vacl", "configuredVlans"),
    **{f"Configured on {d} of interfaces": (d, "configuredIntfs") for d in ("input", "output")},
}
for family, ip in (("ipv4", "IPv4"), ("ipv6", "IPv6")):
    for direction in ("input", "output"):
        LISTS[f"Applied on {direction} of interfaces for {ip} traffic"] = (direction, f"{family}AppliedIntfs")
    LISTS[f"Applied on CPU for {ip} traffic in VRFs (hardware)"] = (None, f"{family}AppliedVrfs")
    LISTS[f"Applied on CPU for {ip} traffic in VRFs (software)"] = (None, f"{family}AppliedVrfsSoftware")
    LISTS[f"Applied on VLANs for {ip} traffic"] = ("vacl", f"{family}AppliedVlans")
COUNTS = {"numPrefixes": "Prefixes", "numExceptPrefixes": "Except prefixes", "numPorts": "Ports", "numVlans": "VLANs"}
# The IANA registries of protocol numbers and of differentiated services field codepoints.
PROTOCOLS = {
    2: "igmp", 4: "ipencap", 6: "tcp", 17: "udp", 41: "ipv6", 46: "rsvp", 47: "gre", 50: "esp", 51: "ah",
    88: "eigrp", 89: "ospf", 103: "pim", 112: "vrrp", 115: "l2tp", 132: "sctp", 136: "udplite",
}  # fmt: skip
PROTOCOLS = {"ipv4": {1: "icmp", **PROTOCOLS}, "ipv6": {58: "ipv6-icmp", **PROTOCOLS}}
DSCPS = {8 * i: f"cs{i}" for i in range(8)} | {8 * i + 2 * j: f"af{i}{j}" for i in range(1, 5) for j in range(1, 4)}
DSCPS |= {46: "ef", 44: "voice-admit", 1: "le"}
KEYWORDS = {
    "neighborProtocol": "protocol neighbors bgp",
    "matchL4Protocol": "protocol bgp",
    "matchIpOptions": "IP options: all",
    "matchTracked": "Tracked: true",
}


class Policy:
    def __init__(self):
        self.lists = {}
        self.rule_count = None
        self.counters = []
        self.rules = []  # (name and match option, criteria, action lines)


def columns(text):
    """How many columns of a terminal it takes."""
    wide = {"W": 2, "F": 2}
    return sum(0 if unicodedata.combining(c) else wide.get(unicodedata.east_asian_width(c), 1) for c in text)


def read(lines):
    policies = {}
    policy = None
    for line in lines:
        column = len(line) - len(line.lstrip(" "))
        stripped = line[column:]
        if column == 0:
            if stripped.startswith("Traffic policy "):
                policy = policies[stripped.removeprefix("Traffic policy ")] = Policy()
        elif column == 3:
            label, _, names = stripped.partition(": ")
            if label == "Total number of rules configured":
                policy.rule_count = int(names)
            else:
                policy.lists[LISTS[label]] = names.split(", ") if names else []
        elif column == 6 and stripped.startswith("match "):
            policy.rules.append((stripped.removeprefix("match "), [], []))
            labels = {}
        elif column == 6:
            policy.counters.append(stripped)
        elif policy.rules[-1][2] or stripped == "Actions: ":
            policy.rules[-1][2].append(line[9:])
        else:
            policy.rules[-1][1].append(read_item(column, stripped, labels))
    return policies


def read_item(column, stripped, labels):
    """An item without a label belongs to the label whose first item stands in its column."""
    found = LABELLED.fullmatch(stripped)
    if found:
        labels[column + len(found[1]) + 2] = (column, found[1])
        return (column, found[1], found[2])
    if column in labels:
        return (*labels[column], stripped)
    return (column, stripped, None)


# What has to be there, from the JSON report.


def number(range_, names=None):
    low, high = range_["low"], range_["high"]
    return f"{low}-{high}" if low != high else (names or {}).get(low, str(low))


def field_set(set_):
    name = set_["name"]
    if "undefined" in set_:
        return f"field-set {name} (field-set '{name}' has not been defined)"
    counts = ", ".join(f"{COUNTS[key]}: {count}" for key, count in set_.items() if key != "name")
    return f"field-set {name} ({counts})"


def port_items(column, ports):
    for side, label in (("src", "Source port"), ("dest", "Destination port")):
        yield from ((column, label, number(r)) for r in ports.get(f"{side}Ports", ()))
        yield from ((column, label, field_set(s)) for s in ports.get(f"{side}ExtL4PortFieldSet", ()))


def protocol_items(column, entries, family):
    for entry in entries:
        yield (column, "Protocol", number(entry["protocolRange"], PROTOCOLS[family]))
        for group in entry.get("tcpFlagGroups", ()):
            for flag in group["tcpFlags"]:
                keyword = flag["name"] in ("initial-syn", "established")
                yield (column + 3, "TCP flags", flag["name"] + ("" if keyword else f":{int(flag['value'])}"))
        for ports in entry.get("ports", ()):
            yield from port_items(column + 3, ports)
        for icmp in entry.get("icmps", ()):
            yield (column + 3, "ICMP type", number(icmp["icmpTypes"]))
            yield from ((column + 3, "ICMP code", number(r)) for r in icmp["icmpCodes"])
            if not icmp["icmpCodes"]:
                yield (column + 3, "ICMP code", "all")


def items(matches, family, column=9):
    def ranges(label, found, names=None):
        return ((column, label, number(r, names)) for r in found)

    for tag in matches.get("dot1qVlanTags", ()):
        yield from ranges("802.1Q VLAN", tag.get("dot1qVlans", ()))
        yield from ((column, "802.1Q VLAN", field_set(s)) for s in tag.get("dot1qVlanFieldSets", ()))
    for side, label in (("src", "Source prefix"), ("dest", "Destination prefix")):
        longest = f"{label} (longest prefix match)"
        yield from ((column, label, p) for p in matches.get(f"{side}Prefixes", ()))
        yield from ((column, label, field_set(s)) for s in matches.get(f"{side}ExtPrefixSet", ()))
        yield from ((column, longest, p) for p in matches.get(f"{side}LpmPrefixes", ()))
        yield from ((column, longest, field_set(s)) for s in matches.get(f"{side}LpmPrefixSet", ()))
    yield from protocol_items(column, matches.get("protocols", ()), family)
    yield from ranges("IP length", matches.get("ipLengths", ()))
    fragment = matches.get("fragment", {})
    yield from ranges("Fragment: offset", fragment.get("fragmentOffsets", ()))
    if "matchAllFragments" in fragment:
        yield (column, "Fragment: all", None)
    yield from ranges("DSCP", matches.get("dscps", ()), DSCPS)
    yield from ranges("ECN", matches.get("ecns", ()))
    yield from ranges("TTL", matches.get("ttls", ()))
    yield from ((column, line, None) for key, line in KEYWORDS.items() if key in matches)
    yield from ((column, "Other", text) for text in matches.get("otherCriteria", ()))
    if "innerMatch" in matches:
        inner = matches["innerMatch"]["addressFamily"]
        yield (column, f"Encapsulation GTPv1 inner header {inner.replace('ip', 'IP')}", None)
        yield from items(matches["innerMatch"], inner, column + 2)


def redirect_lines(redirect):
    vrf = f" vrf {redirect['vrfName']}" if "vrfName" in redirect else ""
    yield f"Redirect next hop {'recursive ' * redirect['recursive']}{', '.join(redirect['nexthops'])}{vrf}"
    if "resolvedNexthops" in redirect:
        yield "Active routing action:"
        for nexthop in redirect["resolvedNexthops"]["nexthops"]:
            yield f"   Route via next hop {nexthop}"
        if not redirect["resolvedNexthops"]["nexthops"]:
            yield "   No resolved next hop"


ONE_LINE = {
    "drop": "Drop",
    "setVrf": "Set VRF {0}",
    "setDscp": "Set DSCP {0}",
    "setTc": "Set Traffic Class {0}",
    "stripHeaderBytes": "Remove 802.1Q outer tag {0}",
    "log": "Log",
}


def action_lines(actions):
    """Of all actions but count, and what stands behind it."""
    yield "Actions: "
    for key, value in actions.items():
        if key in ONE_LINE:
            yield ONE_LINE[key].format(value)
        elif key == "goto":
            yield f"Goto match {value['matchName']}" if "matchName" in value else "Goto next"
        elif key == "redirectNexthop":
            yield from redirect_lines(value)
        elif key == "redirectNexthopGroups":
            yield f"Redirect Next-hop Group {','.join(value)}"
        elif key == "tapAggRedirect":
            for list_, label in (("groups", "Aggregation Group"), ("interfaces", "Tool Interface")):
                if value[list_]:
                    yield f"Redirect {label} {', '.join(value[list_])}"
        elif key == "setIdentityTag":
            inner = f" inner identity tag {value['innerIdTag']}" if value["innerIdTag"] else ""
            yield f"Set Dot1Q identity tag {value['idTag']}{inner}"
        elif key == "police":
            yield "Police rate {rate} {unit} burst-size {burstSize} {burstUnit}".format(**value)


def count_lines(actions, kind, action):
    """The lines of a count, without the blanks of the second one; action: that of the state."""
    if action is None or kind == "vlan":
        return
    name = action.get("counterName")
    head = f"Count: {name}: " if name else "Count: "
    if any("undefined" in v.get(name, {}) for k, v in actions.items() if k == "countNamed"):
        yield f"Count: {name} (counter '{name}' is inactive because it has not been declared)"
        return
    for direction in ("input", "output")[: 2 if kind == "interface" else 1]:
        suffix = f" ({direction})" if kind == "interface" else ""
        figures = actions.get(f"{direction}NamedCounters", {}).get(name, {})
        packets = figures.get("packetCount") if name else actions.get(f"{direction}Counter")
        line = "N/A" if packets is None else f"{packets} packets"
        line += f" {figures['byteCount']} bytes" if "byteCount" in figures else ""
        yield (head if direction == "input" else " " * columns(head)) + line + suffix


def other_lines(actions):
    if "other" in actions:
        yield f"Other: {actions['other']}"
