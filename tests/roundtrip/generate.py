"""State documents of policies drawn at random, the same in every run: every criterion, every action,
references to field sets and counters that are not there."""

import ipaddress
import random

FAMILIES = ("ipv4", "ipv6", "mac", "mpls")
ODD_NAMES = ("two words", 'quo"ted', "back\\slash", "größe", "名前", "a:b", "WARNING", "Protocol: 6")
LARGE = (0, 1, 2**53 + 1, 2**64 - 1)


def points_of(attached, policy):
    """The points that have the policy, alone or among others."""
    return [p for p, policies in attached.items() if policy in ([policies] if isinstance(policies, str) else policies)]


class Generator:
    def __init__(self, seed):
        self.random = random.Random(seed)

    def chance(self, probability):
        return self.random.random() < probability

    def some(self, draw, most=4):
        """One to most values, each once, in any order."""
        values = {}
        for _ in range(self.random.randint(1, most)):
            value = draw()
            values.setdefault(str(value), value)
        return list(values.values())

    def name(self, prefix):
        suffix = self.random.choice(ODD_NAMES) if self.chance(0.1) else self.random.randint(1, 12)
        return f"{prefix}{suffix}"

    def names(self, prefix):
        return self.some(lambda: self.name(prefix))

    def bounds(self, lowest, highest):
        low = self.random.randint(lowest, highest)
        return (low, low if self.chance(0.4) else self.random.randint(low, highest))

    def ranges(self, lowest, highest):
        return [self.written(*b) for b in self.some(lambda: self.bounds(lowest, highest))]

    def written(self, low, high):
        if low != high:
            return f"{low}-{high}"
        return self.random.choice((low, str(low)))

    def address(self, version):
        bits = 32 if version == 4 else 128
        # Runs of zeros, so that IPv6 addresses are shortened in all places.
        number = self.random.getrandbits(bits)
        for _ in range(self.random.randint(0, 3)):
            number &= ~(0xFFFF << 16 * self.random.randrange(bits // 16))
        return str(ipaddress.ip_address(number.to_bytes(bits // 8, "big")))

    def prefix(self, family):
        version = {"ipv4": 4, "ipv6": 6}.get(family) or self.random.choice((4, 6))
        length = self.random.randint(0, 32 if version == 4 else 128)
        return str(ipaddress.ip_network((self.address(version), length), strict=False))

    def end_point(self, filter_, keys, family):
        prefixes, sets, lpms, lpm_sets = keys
        key = self.random.choice((*keys, None, None))
        if key in (prefixes, lpms):
            filter_[key] = self.some(lambda: self.prefix(family))
        elif key in (sets, lpm_sets):
            filter_[key] = self.names("F")

    def drawn(self, *members):
        """An object of some of the members: key, probability, and what draws the value."""
        return {key: draw() for key, probability, draw in members if self.chance(probability)}

    def vlan_tag(self):
        if self.chance(0.5):
            return {"vlans": self.ranges(1, 4094)}
        return self.drawn(("vlanFieldSets", 0.9, lambda: self.names("V")))

    def port_field(self):
        sides = [(side, 0.6, lambda: self.ranges(0, 65535)) for side in ("sport", "dport")]
        return self.drawn(*sides, *((f"{side}FieldSets", 0.2, lambda: self.names("L")) for side in ("sport", "dport")))

    def tcp_flags(self):
        if self.chance(0.3):
            mask = self.random.choice((256, 512))
            return {"mask": mask, "flag": mask}
        mask = self.random.randint(1, 63)
        return {"mask": mask, "flag": mask & self.random.getrandbits(6)}

    def icmp_types(self):
        types = {self.bounds(0, 255): self.drawn(("codes", 0.7, lambda: self.ranges(0, 255))) for _ in range(3)}
        return [{"type": self.written(*type_), **codes} for type_, codes in types.items()]

    def protocol(self):
        return self.drawn(
            ("portFields", 0.5, lambda: self.some(self.port_field, 3)),
            ("tcpFlags", 0.5, lambda: self.some(self.tcp_flags)),
            ("icmpTypes", 0.3, self.icmp_types),
        )

    def protocols(self):
        numbers = {(6, 6)} if self.chance(0.5) else set()
        for _ in range(self.random.randint(1, 3)):
            known = self.random.choice((1, 2, 4, 6, 17, 41, 46, 47, 50, 51, 58, 88, 89, 103, 112, 115, 132, 136))
            numbers.add((known, known) if self.chance(0.7) else self.bounds(0, 255))
        return {str(self.written(*n)): self.protocol() for n in numbers}

    def fragment(self):
        offsets = self.drawn(("offset", 0.6, lambda: self.ranges(0, 8191)))
        return {"type": "matchOffset", **offsets} if self.chance(0.6) else {"type": "matchAll"}

    def inner_match(self):
        af = self.random.choice(("ipv4", "ipv6"))
        return {"af": af, "encapType": "gtpv1", "structuredFilter": self.filter(af, True)}

    def filter(self, family, inner=False):
        numbers = (("length", 65535), ("dscp", 63), ("ecn", 3), ("ttl", 255))
        keyword = lambda: self.random.choice(("bgp", "bgp", "none"))  # noqa: E731
        filter_ = self.drawn(
            ("vlanTags", 0.3, lambda: self.some(self.vlan_tag, 3)),
            ("protocols", 0.6 if family in ("ipv4", "ipv6") else 0, self.protocols),
            *((key, 0.2, lambda highest=highest: self.ranges(0, highest)) for key, highest in numbers),
            ("fragment", 0.2, self.fragment),
            *((key, 0.15, keyword) for key in ("neighborsProtocol", "l4Protocol")),
            *((key, 0.15, lambda: self.chance(0.7)) for key in ("ipOptions", "tracked")),
            ("otherCriteria", 0.2, lambda: self.names("ethertype ")),
            ("innerMatch", 0 if inner else 0.2, self.inner_match),
        )
        self.end_point(filter_, ("sources", "srcPrefixSets", "sourceLpms", "srcLpmPrefixSets"), family)
        self.end_point(filter_, ("destinations", "dstPrefixSets", "destinationLpms", "dstLpmPrefixSets"), family)
        return filter_

    def addresses(self):
        return self.some(lambda: self.address(self.random.choice((4, 6))), 5)

    def redirect_nexthop(self):
        return {"nexthops": self.addresses()} | self.drawn(
            ("vrfName", 0.5, lambda: self.name("vrf")),
            ("recursive", 0.5, lambda: True),
            ("resolvedNexthops", 0.5, self.addresses),
        )

    def tools(self):
        return self.drawn(*((key, 0.7, lambda: self.names("t")) for key in ("groups", "interfaces")))

    def actions(self, counters):
        pick = self.random.choice
        draw = {
            "drop": dict,
            "gotoMatch": lambda: self.drawn(("matchName", 0.6, lambda: self.name("r"))),
            "redirectNexthop": self.redirect_nexthop,
            "redirectNexthopGroup": lambda: {"nexthopGroups": self.names("G")},
            "setAggGroup": self.tools,
            "setVrf": lambda: {"vrfName": self.name("vrf")},
            "setDscp": lambda: {"dscp": self.random.randint(0, 63)},
            "setTc": lambda: {"tc": self.random.randint(0, 7)},
            "stripHeaderBytes": lambda: {"stripHeaderBytes": pick(("1", "1 2", "12"))},
            "setIdentityTag": lambda: {"idTag": self.random.randint(1, 4094), "innerIdTag": pick((0, 1, 4094))},
            "police": lambda: {
                "rate": pick(LARGE), "rateUnit": pick(("bps", "kbps", "mbps", "gbps", "pps")),
                "burstSize": pick(LARGE), "burstUnit": pick(("bytes", "kbytes", "mbytes", "packets")),
            },
            "log": dict,
            "other": lambda: {"text": self.name("mirror ")},
            "count": lambda: pick(({}, {"counterName": self.name("c")}, {"counterName": pick(counters)})),
        }
        chosen = self.drawn(*((key, 0.2, value) for key, value in draw.items()))
        if self.chance(0.5):
            chosen.setdefault("count", draw["count"]())
        return chosen

    def rule(self, name, priority, counters):
        families = self.random.sample(FAMILIES, k=self.random.choice((1, 1, 2)), counts=(4, 4, 1, 1))
        rule = {
            "name": name,
            "priority": priority,
            "match": {f: {"structuredFilter": self.filter(f)} if self.chance(0.95) else {} for f in families},
        }
        if self.chance(0.9):
            rule["action"] = self.actions(counters)
        return rule

    def policy(self):
        counters = self.names("c")
        rules = [
            self.rule(name, priority, counters)
            for name, priority in zip(self.some(lambda: self.name("r"), 8), self.random.sample(range(2**32), 8))
        ]
        return {"currCfg": {"namedCounter": counters, "rules": rules}}

    def field_sets(self, prefix, contents):
        """Some of the names that rules refer to; a few of them have no current version."""
        return {
            f"{prefix}{i}": {"currCfg": contents()} if self.chance(0.9) else {}
            for i in (*range(1, 13), *ODD_NAMES)
            if self.chance(0.7)
        }

    def prefix_set(self, family):
        draw = lambda: self.some(lambda: self.prefix(family), 9)  # noqa: E731
        return self.drawn(("prefixes", 0.8, draw), ("exceptPrefixes", 0.8, draw))

    def policies_at(self, names):
        """The policy of a point, or several."""
        return self.random.choice(names) if self.chance(0.8) else self.some(lambda: self.random.choice(names), 3)

    def config(self, policies):
        names = [f"P{i:04}" for i in range(policies)]
        return {
            "policyMapConfig": {name: self.policy() for name in names},
            "fieldSetConfig": {
                "fieldSetIpPrefix": self.field_sets("F", lambda: self.prefix_set("ipv4")),
                "fieldSetIpv6Prefix": self.field_sets("F", lambda: self.prefix_set("ipv6")),
                "fieldSetL4Port": self.field_sets("L", lambda: {"ports": self.ranges(0, 65535)}),
                "fieldSetVlan": self.field_sets("V", lambda: {"vlans": self.ranges(1, 4094)}),
            },
            "intfConfigInput": {f"Ethernet{i}": self.policies_at(names) for i in range(2 * policies)},
            "intfConfigOutput": {f"Ethernet{i}": self.policies_at(names) for i in range(policies)},
            "intfConfigBridged": {f"Vlan{i}": self.policies_at(names) for i in range(1, 1000)},
            "vrfConfig": {f"vrf{i}": self.policies_at(names) for i in range(policies)},
            "l3IntfStatusDir": {f"Cpu{i}": {"vrf": f"vrf{i}"} for i in range(policies)},
        }

    def counter(self):
        return {"uniqueId": 1, "packets": self.random.choice(LARGE), "bytes": self.random.choice(LARGE)}

    def counters(self, names):
        return {name: self.counter() for name in names if self.chance(0.7)}

    def policy_status(self, config, taken, points):
        rules = [r["name"] for r in config["rules"] if self.chance(0.7)]
        states = ("programmed", "failed", 7)
        return {
            "classMapStatus": {name: taken[name] for name in rules if name in taken},
            "intfStatus": {
                point: {f: {"state": self.random.choice(states)} for f in ("ipv4", "ipv6")} for point in points
            },
            "classCounter": self.counters(rules),
            "namedCounter": self.counters(config["namedCounter"]),
        }

    def taken(self, config):
        """Under which match option the platform took a rule: one that it has, or another one, or none."""
        taken = {}
        for rule in config["rules"]:
            options = list(rule["match"]) if self.chance(0.95) else FAMILIES
            if self.chance(0.97):
                taken[rule["name"]] = [self.random.choice(options)] if self.chance(0.97) else []
        return taken

    def status(self, config):
        policies = {name: policy["currCfg"] for name, policy in config["policyMapConfig"].items()}
        taken = {name: self.taken(policy) for name, policy in policies.items()}
        vrfs = {f"Cpu{vrf[3:]}": policy for vrf, policy in config["vrfConfig"].items()}
        attached = {
            "interfaceInput": (config["intfConfigInput"], 1),
            "interfaceOutput": (config["intfConfigOutput"], 0.5),
            "cpu": (vrfs, 0.3),
            "cpuSoftware": (vrfs, 0.3),
            "vlan": (config["intfConfigBridged"], 0.3),
        }
        status = {"hwStatus": {"countersInReef": False, "byteCountersSupported": True}}
        for target, (points, probability) in attached.items():
            status[target] = {
                "policyMapStatus": {
                    name: self.policy_status(policy, taken[name], points_of(points, name))
                    for name, policy in policies.items()
                    if self.chance(probability)
                }
            }
        return status
