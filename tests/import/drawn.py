"""Rules drawn at random, the same in every run: what OpenConfig and SONiC say, what the reports have to
show of it, and which packets meet it. A rule knows both sides of each criterion, so nothing here repeats
how the importer comes to the one from the other."""

import ipaddress
import json
import os
import random
import subprocess

from common import expect, policies

FLAGS = {"fin": 1, "syn": 2, "rst": 4, "psh": 8, "ack": 16, "urg": 32, "ece": 64, "cwr": 128}
NAMES = {1: "IP_ICMP", 2: "IP_IGMP", 6: "IP_TCP", 17: "IP_UDP", 47: "IP_GRE"}
PROTOCOLS = {"ipv4": (1, 2, 6, 17, 47), "ipv6": (58, 6, 17, 47)}
PORTS = (22, 80, 443, 1024, 1100)
SIDES = {"source": ("src", "sport"), "destination": ("dest", "dport")}
ALL = ("ipv4", "ipv6", "mac", "mpls")


def range_(low, high=None):
    return {"low": low, "high": low if high is None else high}


class Rule:
    """What it says, as statements of the source; and what that comes to."""

    def __init__(self, number, families):
        self.number, self.families = number, families
        self.said = {}
        self.protocol, self.layer4, self.matches = None, {}, {}
        self.other, self.tests = [], []
        self.drop, self.log, self.action, self.redirect = False, False, "", None

    def asks(self, matches, test):
        self.matches |= matches
        self.tests.append(test)

    def of_protocol(self, protocol):
        self.protocol = protocol
        self.tests.append(lambda packet: packet["protocol"] == protocol)

    def ports(self, side, shown, test):
        self.layer4.setdefault("ports", [{}])[0].update(shown)
        self.tests.append(lambda packet: f"{side}-port" in packet and test(packet[f"{side}-port"]))

    def flags(self, groups):
        """Groups of a mask and a value, of which one has to hold."""
        names = sorted(name for name, bit in FLAGS.items() if bit < 64)
        self.layer4["tcpFlagGroups"] = [
            {"tcpFlags": [{"name": name, "value": bool(value & FLAGS[name])} for name in names if mask & FLAGS[name]]}
            for mask, value in sorted(groups)
        ]
        self.tests.append(lambda packet: "flags" in packet and any(packet["flags"] & mask == value for mask, value in groups))

    def icmp(self, type_, code):
        any_ = [range_(code)] if code is not None else []
        self.layer4["icmps"] = [{"icmpTypes": range_(0, 255) if type_ is None else range_(type_), "icmpCodes": any_}]
        self.tests.append(lambda packet: type_ in (None, packet.get("icmp-type", -1)) and "icmp-type" in packet
                          and code in (None, packet["icmp-code"]))  # fmt: skip

    def expected_matches(self):
        matches = dict(self.matches)
        if self.layer4 or self.protocol is not None:
            numbers = range_(0, 255) if self.protocol is None else range_(self.protocol)
            matches["protocols"] = [{"protocolRange": numbers, **self.layer4}]
        if self.other:
            matches["otherCriteria"] = sorted(self.other)
        return matches

    def result(self, packet):
        if not all(test(packet) for test in self.tests):
            return "noMatch"
        return "depends" if self.other else "match"

    def verdicts(self):
        if self.drop:
            return ("dropped",)
        return ("dropped", "forwarded") if self.action else ("forwarded",)


class Drawing:
    def __init__(self, seed):
        self.random = random.Random(seed)
        self.sets = {family: {f"{family}-{i}": self.prefix_set(family) for i in range(3)} for family in PROTOCOLS}
        self.port_sets = {"WEB": ([(80, 80), (400, 500)], [(443, 450)]), "ANY": ([(0, 65535)], []), "NONE": ([], [])}

    def chance(self, probability):
        return self.random.random() < probability

    def choice(self, *values):
        return self.random.choice(values)

    def address(self, family):
        if family == "ipv4":
            return ipaddress.ip_address(0x0A000000 | self.random.getrandbits(32) & 0x00030303)
        return ipaddress.ip_address((0x20010DB8 << 96) | self.random.getrandbits(80) & 0x3000000000000000003)

    def prefix(self, family):
        return ipaddress.ip_network((int(self.address(family)), self.choice(*((8, 14, 24, 32) if family == "ipv4" else (32, 64, 127, 128)))), strict=False)

    def prefix_set(self, family):
        return tuple({self.prefix(family) for _ in range(count)} for count in (3, self.choice(0, 1)))

    def port_range(self):
        low = self.choice(*PORTS)
        return low, self.choice(low, low, low + 100)

    # What both sources can say. family: that of addresses and of ICMP.
    def layer4(self, rule, family, say):
        protocol = self.choice(None, *PROTOCOLS[family]) if family else None
        icmp = 1 if family == "ipv4" else 58
        if protocol is not None:
            rule.of_protocol(protocol)
        if protocol in (None, 6, 17):
            for side in SIDES:
                if self.chance(0.4):
                    say.ports(rule, side)
        has_ports = "ports" in rule.layer4
        if protocol == 6 and self.chance(0.5):
            say.flags(rule)
        elif protocol == icmp and self.chance(0.7):
            type_, code = self.choice(0, 3, 8, 128, None), self.choice(0, 1, 3, None)
            if (type_, code) != (None, None):
                rule.icmp(type_, code)
                say.icmp(rule, family, type_, code)
        # TCP flags and ICMP types speak of their protocol.
        is_implied = bool(rule.layer4) and not has_ports and protocol in (6, icmp)
        if protocol is not None and not (is_implied and self.chance(0.5)):
            say.protocol(rule, protocol)

    def packet(self, family):
        packet = {"family": family, "vlan": self.choice("none", 5, 7)}
        if family not in PROTOCOLS:
            return packet
        protocol = self.choice(*PROTOCOLS[family])
        packet |= {"source": self.address(family), "destination": self.address(family), "protocol": protocol,
                   "dscp": self.choice(0, 9, 10, 46), "ttl": self.choice(1, 64), "length": self.choice(100, 140),
                   "fragment": self.choice("no", "no", 0, 3, 9)}  # fmt: skip
        if packet["fragment"] not in ("no", 0):
            return packet
        if protocol in (6, 17):
            packet |= {"source-port": self.choice(*PORTS), "destination-port": self.choice(*PORTS)}
        if protocol == 6:
            packet["flags"] = self.random.getrandbits(6)
        if protocol in (1, 58):
            packet |= {"icmp-type": self.choice(0, 3, 8, 128), "icmp-code": self.choice(0, 1, 3)}
        return packet

    def table(self, number, type_, count, rule_of):
        rules = [self.finish(rule_of(self, place, type_)) for place in range(1, count + 1)]
        return {"name": f"T{number}", "type": type_, "rules": rules, "side": self.choice("input", "output"), "port": f"Ethernet{number}"}

    def finish(self, rule):
        rule.taken, rule.packets = self.chance(0.8), self.random.getrandbits(40)
        return rule


class OpenConfig:
    """An entry: leaves by container."""

    TYPES = {"ACL_IPV4": ("ipv4",), "ACL_IPV6": ("ipv6",), "ACL_MPLS": ("mpls",), "ACL_L2": ALL, "ACL_MIXED": ALL}

    def __init__(self, drawing):
        self.draw = drawing

    def tell(self, rule, container, **leaves):
        where = rule.said.setdefault(container, {})
        where |= {leaf.replace("_", "-"): value for leaf, value in leaves.items()}

    def carry(self, rule, container, leaf, value):
        rule.said.setdefault(container, {})[leaf] = value
        rule.other.append(f"{leaf} {value}")

    def rule(self, drawing, number, type_):
        families = drawing.random.choice([(f,) for f in self.TYPES[type_] if f != "mac"])
        rule = Rule(number, families)
        family = families[0] if families[0] in PROTOCOLS else None
        if family:
            self.ip(rule, family)
        elif type_ == "ACL_MPLS":
            for leaf, value in (("start-label-value", 16), ("end-label-value", "IPV4_EXPLICIT_NULL"), ("traffic-class", 3), ("ttl-value", 9)):
                if drawing.chance(0.3):
                    self.carry(rule, "mpls", leaf, value)
        else:
            # All families that the rest has not ruled out.
            rule.families = ALL
            if drawing.chance(0.4):
                self.carry(rule, "l2", drawing.choice("source-mac", "destination-mac"), "00:00:5e:00:00:99")
            if drawing.chance(0.3):
                rule.families = ("ipv4", "ipv6")
                drawing.layer4(rule, None, self)
                if not rule.said.get("transport"):
                    rule.families = ALL
            elif drawing.chance(0.6):
                number, name, of = drawing.choice((0x800, "IPV4", "ipv4"), (0x86DD, "IPV6", "ipv6"), (0x8847, "MPLS", "mpls"), (0x88CC, "LLDP", "mac"))
                value = drawing.choice(number, f"openconfig-packet-match-types:ETHERTYPE_{name}")
                self.tell(rule, "l2", ethertype=value)
                rule.families = (of,)
                if of == "mac":
                    rule.other.append(f"ethertype {str(value).split(':')[-1]}")
        self.actions(rule)
        return rule

    def actions(self, rule):
        action = self.draw.choice("ACCEPT", "DROP", "REJECT")
        rule.drop, rule.action = action != "ACCEPT", "reject" if action == "REJECT" else ""
        rule.log = self.draw.chance(0.2)
        self.tell(rule, "actions", forwarding_action=f"openconfig-acl:{action}", log_action="LOG_SYSLOG" if rule.log else "LOG_NONE")

    def ip(self, rule, family):
        draw = self.draw
        for side, (short, _) in SIDES.items():
            kind = draw.choice("none", "prefix", "set", "both")
            if kind in ("prefix", "both"):
                prefix = draw.prefix(family)
                self.tell(rule, family, **{f"{side}_address": str(prefix)})
                rule.asks({f"{short}Prefixes": [str(prefix)]}, lambda packet, side=side, prefix=prefix: packet[side] in prefix)
            name = draw.choice(*draw.sets[family])
            if kind == "both":
                self.carry(rule, family, f"{side}-address-prefix-set", name)
            elif kind == "set":
                prefixes, excluded = draw.sets[family][name]
                self.tell(rule, family, **{f"{side}_address_prefix_set": name})
                shown = {"name": name, "numPrefixes": len(prefixes), "numExceptPrefixes": len(excluded)}
                rule.asks({f"{short}ExtPrefixSet": [shown], f"{short}PrefixSets": [name]},
                          lambda packet, side=side, sets=(prefixes, excluded): [any(packet[side] in p for p in s) for s in sets] == [True, False])  # fmt: skip
        draw.layer4(rule, family, self)
        if draw.chance(0.2):
            values = sorted(draw.random.sample((0, 9, 10, 46), draw.choice(1, 2)))
            leaves = {"dscp_set": values} if len(values) > 1 or draw.chance(0.5) else {"dscp": values[0]}
            self.tell(rule, family, **leaves)
            rule.asks({"dscps": [range_(value) for value in values]}, lambda packet: packet["dscp"] in values)
        # Something has to say the family where the type does not.
        if draw.chance(0.1) or family not in rule.said:
            self.tell(rule, family, hop_limit=64)
            rule.asks({"ttls": [range_(64)]}, lambda packet: packet["ttl"] == 64)
        if draw.chance(0.1):
            # Of IPv6 the payload's.
            self.tell(rule, family, length=140 if family == "ipv4" else 100)
            rule.asks({"ipLengths": [range_(140)]}, lambda packet: packet["length"] == 140)
        self.fragments(rule, family)
        if family == "ipv6" and draw.chance(0.1):
            self.carry(rule, family, "source-flow-label", 7)
        if draw.chance(0.1):
            rule.said["input-interface"] = {"interface": "Ethernet9"}
            rule.other.append("input-interface interface Ethernet9")

    def fragments(self, rule, family):
        kind = self.draw.choice("none", "none", "none", "offsets", "any", "all")
        if kind == "offsets" and family == "ipv4":
            self.tell(rule, family, fragment_offsets=[0, "3..5"])
            rule.asks({"fragment": {"fragmentOffsets": [range_(0), range_(3, 5)]}}, lambda packet: packet["fragment"] in ("no", 0, 3))
        elif kind == "any" and family == "ipv4":
            self.tell(rule, family, fragment_offsets=["ANY"])
            rule.other.append("fragment-offsets ANY")
        elif kind == "all" and "detail-mode" not in rule.said.get("transport", {}):
            self.tell(rule, "transport", detail_mode="BUILTIN", builtin_detail="FRAGMENT")
            rule.asks({"fragment": {"matchAllFragments": True}}, lambda packet: packet["fragment"] != "no")

    def protocol(self, rule, protocol):
        name = NAMES.get(protocol)
        said = protocol if name is None or self.draw.chance(0.5) else f"openconfig-packet-match-types:{name}"
        self.tell(rule, rule.families[0], protocol=said)

    def ports(self, rule, side):
        short, _ = SIDES[side]
        kind = self.draw.choice("number", "set", "any", "both")
        low, high = self.draw.port_range()
        if kind == "any":
            self.tell(rule, "transport", **{f"{side}_port": "ANY"})
        if kind in ("number", "both"):
            said = low if low == high else f"{low:05}..{high}"
            self.tell(rule, "transport", **{f"{side}_port": said})
            rule.ports(side, {f"{short}Ports": [range_(low, high)]}, lambda port: low <= port <= high)
        name = self.draw.choice(*self.draw.port_sets)
        if kind == "both":
            self.carry(rule, "transport", f"{side}-port-set", name)
        elif kind == "set":
            ranges, excluded = self.draw.port_sets[name]
            ports = [port for port in range(65536) if in_ranges(port, ranges) and not in_ranges(port, excluded)]
            self.tell(rule, "transport", **{f"{side}_port_set": name})
            shown = {"name": name, "numPorts": len(ports)}
            rule.ports(side, {f"{short}ExtL4PortFieldSet": [shown], f"{short}L4PortFieldSets": [name]}, lambda port: port in ports)

    def flags(self, rule):
        builtin = self.draw.choice(None, None, "TCP_ESTABLISHED", "TCP_INITIAL")
        if builtin:
            name, holds = {"TCP_ESTABLISHED": ("established", lambda flags: flags & 20 != 0), "TCP_INITIAL": ("initial-syn", lambda flags: flags & 18 == 2)}[builtin]
            self.tell(rule, "transport", detail_mode="BUILTIN", builtin_detail=builtin)
            rule.layer4["tcpFlagGroups"] = [{"tcpFlags": [{"name": name, "value": True}]}]
            rule.tests.append(lambda packet: "flags" in packet and holds(packet["flags"]))
            return
        names = self.draw.random.sample(sorted(FLAGS), self.draw.random.randint(1, 3))
        mode = self.draw.choice("ALL", "ANY")
        self.tell(rule, "transport", detail_mode="EXPLICIT", explicit_detail_match_mode=mode,
                  explicit_tcp_flags=[f"openconfig-packet-match-types:TCP_{name.upper()}" for name in names])  # fmt: skip
        bits = [FLAGS[name] for name in names]
        if max(bits) >= 64:
            rule.other.append("explicit-tcp-flags " + ", ".join(f"TCP_{name.upper()}" for name in names))
        else:
            rule.flags([(sum(bits),) * 2] if mode == "ALL" else [(bit, bit) for bit in bits])

    def icmp(self, rule, family, type_, code):
        container = "icmpv4" if family == "ipv4" else "icmpv6"
        rule.said[container] = {leaf: value for leaf, value in (("type", type_), ("code", code)) if value is not None}

    def entry(self, rule):
        sequence = {"sequence-id": rule.number}
        counts = {"matched-packets": str(rule.packets), "matched-octets": str(64 * rule.packets)}
        entry = sequence | {"config": sequence} | ({"state": sequence | counts} if rule.taken else {})
        for container, leaves in rule.said.items():
            # What is applied counts, also where something else is intended.
            held = {"state": leaves, "config": {leaf: leaves[leaf] for leaf in list(leaves)[:1]}} if self.draw.chance(0.3) else {"config": leaves}
            if container.startswith("icmpv"):
                entry.setdefault(f"ip{container[4:]}", {})[container] = held
            elif container == "input-interface":
                entry[container] = {"interface-ref": held}
            else:
                entry.setdefault(container, {}).update(held)
        return entry

    def document(self, tables):
        sets, interfaces = [], []
        for table in tables:
            key = {"name": table["name"], "type": f"openconfig-acl:{table['type']}"}
            entries = [self.entry(rule) for rule in self.draw.random.sample(table["rules"], len(table["rules"]))]
            sets.append(key | {"config": key, "acl-entries": {"acl-entry": entries}})
            word = "ingress" if table["side"] == "input" else "egress"
            attached = {"set-name": table["name"], "type": key["type"]}
            interfaces.append({"id": table["port"], f"{word}-acl-sets": {f"{word}-acl-set": [attached | {"config": attached, "state": attached}]}})
        defined = {f"{family}-prefix-sets": {f"{family}-prefix-set": [
            {"name": name, "config": {"name": name, "prefix": [str(p) for p in prefixes], "exclude-prefix": [str(p) for p in excluded]}}
            for name, (prefixes, excluded) in self.draw.sets[family].items()]} for family in PROTOCOLS}  # fmt: skip
        ports = [{"name": name, "config": {"port": [port_text(r, "..") for r in ranges], "exclude-port": [port_text(r, "..") for r in excluded]}}
                 for name, (ranges, excluded) in self.draw.port_sets.items()]  # fmt: skip
        return json.dumps({
            "openconfig-acl:acl": {"acl-sets": {"acl-set": sets}, "interfaces": {"interface": interfaces}},
            "openconfig-defined-sets:defined-sets": defined | {"port-sets": {"port-set": ports}},
        })  # fmt: skip


class Sonic:
    """The fields of a hash."""

    TYPES = {"L3": ("ipv4",), "L3V6": ("ipv6",), "L3V4V6": ("ipv4", "ipv6"), "L2": ALL, "MIRROR": ("ipv4", "ipv6"), "OWN": ALL}
    ETHER_TYPES = {"2048": ("ipv4",), "0x86dd": ("ipv6",), "0x8847": ("mpls",), "0x88cc": ("mac",)}
    IP_TYPES = {"ANY": ALL, "IP": ("ipv4", "ipv6"), "NON_IP": ("mac", "mpls"), "IPV4ANY": ("ipv4",), "NON_IPV4": ("ipv6", "mac", "mpls"),
                "IPV6ANY": ("ipv6",), "NON_IPV6": ("ipv4", "mac", "mpls"), "ARP": ("mac",), "ARP_REPLY": ("mac",)}  # fmt: skip

    def __init__(self, drawing):
        self.draw = drawing

    def carry(self, rule, field, text):
        rule.said[field] = text
        rule.other.append(f"{field} {text}")

    def rule(self, drawing, number, type_):
        families = self.TYPES[type_]
        family = drawing.choice(*families, None)
        rule = Rule(number, families if type_ != "MIRROR" else ("ipv4",))
        if family in PROTOCOLS:
            self.ip(rule, family)
        elif type_ in ("L2", "OWN") and drawing.chance(0.7):
            field, types = drawing.choice(("ETHER_TYPE", self.ETHER_TYPES), ("IP_TYPE", self.IP_TYPES))
            rule.said[field], rule.families = drawing.choice(*types.items())
            if rule.families == ("mac",):
                rule.other.append(f"{field} {rule.said[field]}")
        elif type_ in ("L3V4V6", "L2", "OWN") and drawing.chance(0.5):
            drawing.layer4(rule, None, self)
            rule.families = ("ipv4", "ipv6") if rule.said else rule.families
        if drawing.chance(0.2):
            vlan = drawing.choice(5, 7)
            rule.said["VLAN_ID"] = str(vlan)
            rule.asks({"dot1qVlanTags": [{"dot1qVlans": [range_(vlan)]}]}, lambda packet: packet["vlan"] == vlan)
        for field, text in (("IN_PORTS", "Ethernet0,Ethernet4"), ("SRC_MAC", "00:00:5e:00:00:99"), ("INNER_SRC_IP", "10.0.0.0/8"), ("TC", "3")):
            if drawing.chance(0.05):
                self.carry(rule, field, text)
        self.actions(rule)
        return rule

    def actions(self, rule):
        kind = self.draw.choice("FORWARD", "accept", "DROP", "Drop", "REDIRECT", "port", "mirror")
        if kind == "REDIRECT":
            rule.redirect = "192.0.2.1" if "ipv4" in rule.families else "2001:db8::1"
            rule.said["PACKET_ACTION"] = f"REDIRECT:{rule.redirect}"
        elif kind == "port":
            rule.said["REDIRECT_ACTION"] = "Ethernet8"
            rule.action = "REDIRECT_ACTION Ethernet8"
        elif kind == "mirror":
            rule.said["MIRROR_EGRESS_ACTION"] = "session 1"
            rule.action = "mirror egress session 1"
        else:
            rule.said["PACKET_ACTION"] = kind
            rule.drop = kind.upper() == "DROP"

    def ip(self, rule, family):
        draw = self.draw
        suffix = "" if family == "ipv4" else "V6"
        for side, (short, _) in SIDES.items():
            if draw.chance(0.5):
                prefix = draw.prefix(family)
                is_host = prefix.num_addresses == 1 and draw.chance(0.5)
                rule.said[f"{'SRC' if side == 'source' else 'DST'}_IP{suffix}"] = str(prefix[0] if is_host else prefix)
                rule.asks({f"{short}Prefixes": [str(prefix)]}, lambda packet, side=side, prefix=prefix: packet[side] in prefix)
        before = len(rule.said)
        draw.layer4(rule, family, self)
        if draw.chance(0.2):
            value, mask = draw.choice((9, None), (9, 9), (8, 56), (0, 0))
            rule.said["DSCP"] = str(value) if mask is None else draw.choice(f"{value}/{mask}", f"0x{value:x}/0x{mask:x}")
            held = [dscp for dscp in range(64) if dscp & (63 if mask is None else mask) == value]
            rule.asks({"dscps": ranges_of(held)}, lambda packet: packet["dscp"] in held)
        # Addresses, ICMP and next headers are of one family; the rest is of the table's.
        own = {field for field in rule.said if "IP" in field and field != "IP_PROTOCOL" or "ICMP" in field or field == "NEXT_HEADER"}
        if own:
            rule.families = (family,)
        elif before < len(rule.said):
            rule.families = tuple(f for f in rule.families if f in PROTOCOLS)

    def protocol(self, rule, protocol):
        is_ipv6 = rule.families == ("ipv6",) and self.draw.chance(0.5)
        rule.said["NEXT_HEADER" if is_ipv6 else "IP_PROTOCOL"] = self.draw.choice(str(protocol), f"0x{protocol:x}")

    def ports(self, rule, side):
        low, high = self.draw.port_range()
        field = f"L4_{'SRC' if side == 'source' else 'DST'}_PORT"
        if low == high:
            rule.said[field] = str(low)
        else:
            rule.said[f"{field}_RANGE"] = f"{low}-{high}"
        rule.ports(side, {f"{SIDES[side][0]}Ports": [range_(low, high)]}, lambda port: low <= port <= high)

    def flags(self, rule):
        mask = self.draw.choice(0x02, 0x12, 0x3F, 0x52)
        value = self.draw.random.getrandbits(8) & mask
        has_mask = self.draw.chance(0.8)
        rule.said["TCP_FLAGS"] = f"0x{value:x}/0x{mask:x}" if has_mask else f"0x{value:02x}"
        mask = mask if has_mask else 0xFF
        if mask >= 64:
            rule.other.append(f"TCP_FLAGS {rule.said['TCP_FLAGS']}")
        rule.flags([(mask & 63, value & 63)])

    def icmp(self, rule, family, type_, code):
        begin = "ICMP" if family == "ipv4" else "ICMPV6"
        rule.said |= {f"{begin}_{field}": str(value) for field, value in (("TYPE", type_), ("CODE", code)) if value is not None}

    def databases(self, tables):
        config, state, counters = {"ACL_TABLE_TYPE|OWN": {"MATCHES": "SRC_MAC"}}, {}, {"ACL_COUNTER_RULE_MAP": {}}
        for place, table in enumerate(tables):
            stage = {"input": ("ingress", "INGRESS"), "output": ("egress", "EGRESS")}[table["side"]]
            config[f"ACL_TABLE|{table['name']}"] = {"type": table["type"], "ports@": table["port"], "stage": self.draw.choice(*stage)}
            state[f"ACL_TABLE_TABLE|{table['name']}"] = {"status": "Active"}
            for rule in table["rules"]:
                name = f"{table['name']}|R:{rule.number}"
                config[f"ACL_RULE|{name}"] = rule.said | {"PRIORITY": str(1000 - rule.number)}
                state[f"ACL_RULE_TABLE|{name}"] = {"status": "Active" if rule.taken else "Inactive"}
                if rule.taken:
                    oid = f"oid:0x9000{place:04x}{rule.number:04x}"
                    counters["ACL_COUNTER_RULE_MAP"][name.replace("|", ":", 1)] = oid
                    counters[f"COUNTERS:{oid}"] = {"SAI_ACL_COUNTER_ATTR_PACKETS": str(rule.packets), "SAI_ACL_COUNTER_ATTR_BYTES": str(64 * rule.packets)}
        return config, state, counters


def in_ranges(port, ranges):
    return any(low <= port <= high for low, high in ranges)


def port_text(ports, dots):
    return ports[0] if ports[0] == ports[1] else f"{ports[0]}{dots}{ports[1]}"


def ranges_of(numbers):
    ranges = []
    for number in numbers:
        if ranges and ranges[-1]["high"] == number - 1:
            ranges[-1]["high"] = number
        else:
            ranges.append(range_(number))
    return ranges


def expected_actions(rule, side, name, is_of_several):
    actions = {key: True for key, is_there in (("drop", rule.drop), ("log", rule.log)) if is_there}
    if rule.action:
        actions["other"] = rule.action
    if rule.redirect:
        actions["redirectNexthop"] = {"recursive": False, "nexthops": [rule.redirect]}
    if is_of_several:
        actions[f"{side}NamedCounters"] = {name: {"packetCount": rule.packets, "byteCount": 64 * rule.packets}}
    else:
        actions[f"{side}Counter"] = rule.packets
    return actions


def compare_table(table, shown, name_of):
    expected = []
    for rule in table["rules"]:
        for family in sorted(rule.families, key=ALL.index) if rule.taken else ():
            is_of_several = len(rule.families) > 1
            name = name_of(rule)
            expected.append((name + (f" {family}" if is_of_several else ""), family, rule.expected_matches(), expected_actions(rule, table["side"], name, is_of_several)))
    found = []
    for report, wanted in zip(shown["rules"], expected):
        actions = {key: report["actions"].get(key) for key in wanted[3] | {key: 0 for key in ("drop", "log", "other", "redirectNexthop") if key in report["actions"]}}
        found.append((report["ruleString"], report["matchOption"], report["matches"], actions))
    expect(f"{table['name']}: number of rules", len(shown["rules"]), len(expected))
    for one, other in zip(found, expected):
        expect(f"{table['name']} {table['type']}", one, other)


def words(packet):
    for field, value in packet.items():
        if field == "flags":
            field, value = "tcp-flags", ",".join(name for name, bit in FLAGS.items() if value & bit) or "none"
        yield f"{field} {value}"


def expected_answer(rules, packet, name_of):
    """The results of the rules as far as they are asked, and the outcomes."""
    results, outcomes = [], set()
    for rule in rules:
        if packet["family"] not in rule.families:
            continue
        name = name_of(rule) + (f" {packet['family']}" if len(rule.families) > 1 else "")
        result = rule.result(packet)
        results.append((name, result))
        if result != "noMatch":
            outcomes |= {(verdict, (name,)) for verdict in rule.verdicts()}
        if result == "match":
            return results, outcomes
    return results, outcomes | {("forwarded", ())}


def compare_answer(what, found, expected):
    results, outcomes = expected
    expect(f"{what}: results", [(rule["rule"], rule["result"]) for rule in found["rules"]], results)
    possible = found.get("possible", [found])
    expect(f"{what}: outcomes", {(each["verdict"], tuple(each["decidedBy"])) for each in possible}, outcomes)


def compare(drawing, tables, state, name_of, packets):
    """packets: how many are asked of each table."""
    shown = policies(state)
    asked = []
    for table in tables:
        compare_table(table, shown[table["name"]], name_of)
        families = sorted({family for rule in table["rules"] for family in rule.families})
        asked += [(table, drawing.packet(drawing.choice(*families))) for _ in range(packets)]
    commands = [f"show traffic-policy packet interface {table['port']} {table['side']} {' '.join(words(packet))}\n" for table, packet in asked]
    done = subprocess.run([os.environ["TPCLI_PATH"], "--state", str(state), "--json"], input="".join(commands), capture_output=True, text=True)
    expect("errors of packet questions", done.stderr, "")
    answers = done.stdout.splitlines()
    expect("answers", len(answers), len(asked))
    for (table, packet), answer in zip(asked, answers):
        point = json.loads(answer)["points"][0]
        compare_answer(f"{packet}, configured", point["configured"], expected_answer(table["rules"], packet, name_of))
        taken = [rule for rule in table["rules"] if rule.taken]
        compare_answer(f"{packet}, hardware", point["hardware"], expected_answer(taken, packet, name_of))
