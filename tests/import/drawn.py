"""Rules drawn at random, the same in every run; how OpenConfig and SONiC say them; and what the reports
have to say of them."""

import ipaddress
import json
import os
import random
import subprocess

from common import expect

FLAGS = {"fin": 1, "syn": 2, "rst": 4, "psh": 8, "ack": 16, "urg": 32}
PROTOCOLS = {1: "IP_ICMP", 6: "IP_TCP", 17: "IP_UDP", 47: 47, 2: "IP_IGMP"}


class Drawing:
    def __init__(self, seed):
        self.random = random.Random(seed)

    def chance(self, probability):
        return self.random.random() < probability

    def prefix(self):
        return str(ipaddress.ip_network((self.random.getrandbits(32) & 0x0A0F0303, self.random.choice((8, 14, 24, 32))), strict=False))

    def ports(self):
        low = self.random.choice((22, 80, 443, 1024))
        return (low, self.random.choice((low, low, low + 100)))

    def rules(self, count):
        return [self.rule(number) for number in range(1, count + 1)]

    def rule(self, number):
        rule = {"number": number, "drop": self.chance(0.5), "packets": self.random.getrandbits(40), "taken": self.chance(0.8)}
        if self.chance(0.6):
            rule["source"] = self.prefix()
        if self.chance(0.6):
            rule["destination"] = self.prefix()
        rule["protocol"] = self.random.choice(sorted(PROTOCOLS))
        if rule["protocol"] in (6, 17):
            for side in ("sport", "dport"):
                if self.chance(0.4):
                    rule[side] = self.ports()
        if rule["protocol"] == 6 and self.chance(0.4):
            rule["flags"] = self.random.sample(sorted(FLAGS), self.random.randint(1, 3))
        if rule["protocol"] == 1 and self.chance(0.6):
            rule["icmp"] = self.random.choice((0, 3, 8, 11))
            if self.chance(0.4):
                rule["code"] = self.random.choice((0, 1, 3))
        if self.chance(0.2):
            rule["dscp"] = self.random.choice((0, 10, 46))
        return rule

    def packet(self):
        protocol = self.random.choice(sorted(PROTOCOLS))
        packet = {"source": str(ipaddress.ip_address(self.random.getrandbits(32) & 0x0A0F0303 | 0x0A000000)),
                  "destination": str(ipaddress.ip_address(self.random.getrandbits(32) & 0x0A0F0303 | 0x0A000000)),
                  "protocol": protocol, "dscp": self.random.choice((0, 10, 46)), "fragment": "no"}  # fmt: skip
        if protocol in (6, 17):
            packet |= {"source-port": self.random.choice((22, 80, 443, 1024, 1100)), "destination-port": self.random.choice((22, 80, 443, 1024, 1100))}
        if protocol == 6:
            packet["tcp-flags"] = {name: self.chance(0.6) for name in FLAGS}
        if protocol == 1:
            packet |= {"icmp-type": self.random.choice((0, 3, 8, 11)), "icmp-code": self.random.choice((0, 1, 3))}
        return packet


def port_text(ports, dots):
    return ports[0] if ports[0] == ports[1] else f"{ports[0]}{dots}{ports[1]}"


def openconfig(rules):
    def entry(rule):
        ip, transport = {"protocol": PROTOCOLS[rule["protocol"]]}, {}
        for key in ("source", "destination"):
            if key in rule:
                ip[f"{key}-address"] = rule[key]
        if "dscp" in rule:
            ip["dscp"] = rule["dscp"]
        for key, leaf in (("sport", "source-port"), ("dport", "destination-port")):
            if key in rule:
                transport[leaf] = port_text(rule[key], "..")
        if "flags" in rule:
            transport |= {"detail-mode": "EXPLICIT", "explicit-detail-match-mode": "ALL",
                          "explicit-tcp-flags": [f"openconfig-packet-match-types:TCP_{f.upper()}" for f in rule["flags"]]}  # fmt: skip
        icmp = {leaf: rule[key] for key, leaf in (("icmp", "type"), ("code", "code")) if key in rule}
        sequence = {"sequence-id": rule["number"]}
        counts = {"matched-packets": str(rule["packets"]), "matched-octets": str(64 * rule["packets"])}
        return sequence | {
            "config": sequence, "ipv4": {"config": ip, "icmpv4": {"config": icmp}},
            "transport": {"config": transport},
            "actions": {"config": {"forwarding-action": "DROP" if rule["drop"] else "ACCEPT"}},
        } | ({"state": sequence | counts} if rule["taken"] else {})  # fmt: skip

    key = {"name": "T", "type": "ACL_IPV4"}
    entries = [entry(rule) for rule in random.Random(2).sample(rules, len(rules))]
    attached = {"set-name": "T", "type": "ACL_IPV4"}
    interface = {"id": "Ethernet1", "ingress-acl-sets": {"ingress-acl-set": [attached | {"config": attached, "state": attached}]}}
    return json.dumps({"openconfig-acl:acl": {
        "acl-sets": {"acl-set": [key | {"config": key, "acl-entries": {"acl-entry": entries}}]},
        "interfaces": {"interface": [interface]},
    }})  # fmt: skip


def sonic(rules):
    """CONFIG_DB, STATE_DB and COUNTERS_DB."""
    config = {"ACL_TABLE|T": {"type": "L3", "ports@": "Ethernet1"}}
    state = {"ACL_TABLE_TABLE|T": {"status": "Active"}}
    counters = {"ACL_COUNTER_RULE_MAP": {}}
    for rule in rules:
        name = f"R:{rule['number']}"
        fields = {"PRIORITY": str(1000 - rule["number"]), "PACKET_ACTION": "DROP" if rule["drop"] else "FORWARD",
                  "IP_PROTOCOL": str(rule["protocol"])}  # fmt: skip
        for key, field in (("source", "SRC_IP"), ("destination", "DST_IP"), ("icmp", "ICMP_TYPE"), ("code", "ICMP_CODE"), ("dscp", "DSCP")):
            if key in rule:
                fields[field] = str(rule[key])
        for key, field in (("sport", "L4_SRC_PORT"), ("dport", "L4_DST_PORT")):
            if key in rule:
                fields[field + ("" if rule[key][0] == rule[key][1] else "_RANGE")] = str(port_text(rule[key], "-"))
        if "flags" in rule:
            bits = sum(FLAGS[flag] for flag in rule["flags"])
            fields["TCP_FLAGS"] = f"0x{bits:x}/0x{bits:x}"
        config[f"ACL_RULE|T|{name}"] = fields
        state[f"ACL_RULE_TABLE|T|{name}"] = {"status": "Active" if rule["taken"] else "Inactive"}
        if rule["taken"]:
            oid = f"oid:0x900000000{rule['number']:04x}"
            counters["ACL_COUNTER_RULE_MAP"][f"T:{name}"] = oid
            counters[f"COUNTERS:{oid}"] = {"SAI_ACL_COUNTER_ATTR_PACKETS": str(rule["packets"]), "SAI_ACL_COUNTER_ATTR_BYTES": str(64 * rule["packets"])}
    return config, state, counters


def expected_matches(rule):
    def range_(low, high):
        return {"low": low, "high": high}

    protocol = {"protocolRange": range_(rule["protocol"], rule["protocol"])}
    if "flags" in rule:
        order = ("ack", "fin", "psh", "rst", "syn", "urg")
        protocol["tcpFlagGroups"] = [{"tcpFlags": [{"name": f, "value": True} for f in order if f in rule["flags"]]}]
    ports = {key: [range_(*rule[side])] for side, key in (("sport", "srcPorts"), ("dport", "destPorts")) if side in rule}
    if ports:
        protocol["ports"] = [ports]
    if "icmp" in rule:
        codes = [range_(rule["code"], rule["code"])] if "code" in rule else []
        protocol["icmps"] = [{"icmpTypes": range_(rule["icmp"], rule["icmp"]), "icmpCodes": codes}]
    matches = {"protocols": [protocol]}
    for key, name in (("source", "srcPrefixes"), ("destination", "destPrefixes")):
        if key in rule:
            matches[name] = [rule[key]]
    if "dscp" in rule:
        matches["dscps"] = [range_(rule["dscp"], rule["dscp"])]
    return matches


def meets(packet, rule):
    def within(ports, port):
        return ports[0] <= port <= ports[1]

    address = ipaddress.ip_address
    return (
        packet["protocol"] == rule["protocol"]
        and all(address(packet[key]) in ipaddress.ip_network(rule[key]) for key in ("source", "destination") if key in rule)
        and ("dscp" not in rule or rule["dscp"] == packet["dscp"])
        and ("sport" not in rule or within(rule["sport"], packet["source-port"]))
        and ("dport" not in rule or within(rule["dport"], packet["destination-port"]))
        and all(packet["tcp-flags"][flag] for flag in rule.get("flags", ()))
        and ("icmp" not in rule or rule["icmp"] == packet["icmp-type"])
        and ("code" not in rule or rule["code"] == packet["icmp-code"])
    )


def words(packet):
    for field, value in packet.items():
        if field == "tcp-flags":
            value = ",".join(name for name, is_set in value.items() if is_set) or "none"
        yield from (field, str(value))


def compare(rules, shown, state, name_of):
    taken = [rule for rule in rules if rule["taken"]]
    reported = shown["T"]["rules"]
    expect("rules", [rule["ruleString"] for rule in reported], [name_of(rule) for rule in taken])
    for rule, report in zip(taken, reported):
        expect(f"criteria of {rule}", report["matches"], expected_matches(rule))
        expect(f"drop of {rule}", "drop" in report["actions"], rule["drop"])
        expect(f"count of {rule}", report["actions"].get("inputCounter"), rule["packets"])
    drawing = Drawing(3)
    for _ in range(40):
        packet = drawing.packet()
        command = [os.environ["TPCLI_PATH"], "--state", str(state), "--json", "show", "traffic-policy", "packet",
                   "interface", "Ethernet1", "input", *words(packet)]  # fmt: skip
        done = subprocess.run(command, capture_output=True, text=True)
        answer = json.loads(done.stdout)["points"][0] if done.returncode == 0 else done.stderr
        for truth, asked in (("configured", rules), ("hardware", taken)):
            first = next((rule for rule in asked if meets(packet, rule)), None)
            expected = [name_of(first)] if first else []
            found = answer[truth] if isinstance(answer, dict) else {"decidedBy": answer}
            expect(f"{truth}: {packet}", found.get("decidedBy"), expected)
            dropped = "dropped" if first and first["drop"] else "forwarded"
            expect(f"{truth}: verdict on {packet}", found.get("verdict"), dropped)
