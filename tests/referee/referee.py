"""The kernel as referee: random policies are loaded into nftables in a network namespace of their
own, random packets are sent through it, and the kernel's counters must be what the capture command
counts, rule by rule. One packet of each policy is asked about by its fields as well: all of them,
and some of them, when what the kernel does must be among what is possible. nftables knows no longest
match, so that is told by a few lines of this script. Run again inside the namespace, with the word
"inside"."""

import ipaddress
import json
import os
import pathlib
import random
import socket
import struct
import subprocess
import sys
import tempfile
import time

POLICIES, PACKETS = 50, 100
TPCLI = os.environ["TPCLI_PATH"]
TCP, UDP, ICMP, ESP, ICMP6 = 6, 17, 1, 50, 58
FLAGS = ("fin", "syn", "rst", "psh", "ack", "urg")
rng = random.Random(20)


def run(*words, **options):
    done = subprocess.run(words, capture_output=True, text=True, **options)
    if done.returncode != 0:
        sys.exit(f"{words}: {done.stderr}")
    return done.stdout


# Values are drawn from few, so that rules and packets meet.
def prefix(v6, full=False):
    length = rng.choice((128, 126, 64) if v6 else (32, 30, 24)) if not full else (128 if v6 else 32)
    base = ipaddress.ip_address("2001:db8::" if v6 else "10.0.0.0")
    address = base + rng.randrange(12)
    return str(ipaddress.ip_network((address, length), strict=False))


def ranges(highest, values=8):
    drawn = []
    for _ in range(rng.randrange(1, 3)):
        low = rng.randrange(values)
        drawn.append((low, min(highest, low + rng.choice((0, 0, 2)))))
    merged = []
    for low, high in sorted(set(drawn)):
        if merged and low <= merged[-1][1]:
            merged[-1] = (merged[-1][0], max(high, merged[-1][1]))
        else:
            merged.append((low, high))
    return merged


def ours(drawn):
    return [low if low == high else f"{low}-{high}" for low, high in drawn]


def theirs(drawn):
    return "{ " + ", ".join(str(low) if low == high else f"{low}-{high}" for low, high in drawn) + " }"


class Rule:
    """One rule in both languages. What one criterion of ours offers as alternatives of several
    fields, theirs tells as rules of their own with one counter."""

    def __init__(self, name, v6, sets):
        self.name, self.drops = name, rng.random() < 0.4
        filter_, common, alternatives = {}, [], [[]]
        ip = "ip6" if v6 else "ip"
        for key, set_key, word in (("sources", "srcPrefixSets", "saddr"), ("destinations", "dstPrefixSets", "daddr")):
            kind = rng.randrange(5)
            if kind == 0:
                prefixes = sorted({prefix(v6) for _ in range(rng.randrange(1, 3))})
                prefixes = [str(p) for p in ipaddress.collapse_addresses(map(ipaddress.ip_network, prefixes))]
                filter_[key] = prefixes
                common.append(f"{ip} {word} {{ {', '.join(prefixes)} }}")
            elif kind == 1:
                name, (prefixes, exceptions) = rng.choice(list(sets.items()))
                filter_[set_key] = [name]
                common.append(f"{ip} {word} {{ {', '.join(prefixes)} }}")
                if exceptions:
                    common.append(f"{ip} {word} != {{ {', '.join(exceptions)} }}")
        if rng.random() < 0.7:
            protocols, alternatives = {}, []
            for number in rng.sample((TCP, UDP, ICMP6 if v6 else ICMP, ESP), rng.randrange(1, 3)):
                asked, told = self.layer4(number, v6)
                protocols[str(number)] = asked
                alternatives += told
            filter_["protocols"] = protocols
        for key, word, highest in (("ttl", "hoplimit" if v6 else "ttl", 255), ("dscp", "dscp", 63), ("ecn", "ecn", 3)):
            if rng.random() < 0.1:
                drawn = ranges(highest, 4)
                filter_[key] = ours(drawn)
                common.append(f"{ip} {word} {theirs(drawn)}")
        if rng.random() < 0.1:
            # The length that nftables sees of IPv6 leaves the header out.
            low = rng.randrange(40, 60)
            filter_["length"] = [f"{low}-{low + 10}"]
            common.append(f"ip6 length {low - 40}-{low - 30}" if v6 else f"ip length {low}-{low + 10}")
        if rng.random() < 0.15:
            drawn = [(low + 1, high + 1) for low, high in ranges(7, 4)]
            filter_["vlanTags"] = [{"vlans": ours(drawn)}]
            common.insert(0, f"vlan id {theirs(drawn)}")
        if not v6 and rng.random() < 0.1:
            filter_["fragment"] = {"type": "matchAll"}
            common.append("ip frag-off & 0x3fff != 0")
        elif not v6 and rng.random() < 0.1:
            filter_["fragment"] = {"type": "matchOffset", "offset": ["1-3"]}
            common.append("ip frag-off & 0x1fff 1-3")
        self.filter, self.theirs = filter_, [" ".join(common + one) for one in alternatives]

    @staticmethod
    def layer4(number, v6):
        word = {TCP: "tcp", UDP: "udp"}.get(number)
        base = [f"meta l4proto {number}"]
        # At this hook the kernel takes the bytes of any fragment for a layer-4 header.
        plain, base = base, base if v6 else base + ["ip frag-off & 0x1fff 0"]
        if word is None:
            if number == ESP or rng.random() < 0.5:
                return {}, [plain]
            types = (128, 129) if v6 else (8, 0, 3)
            kind, code = rng.choice(types), rng.randrange(3)
            name = "icmpv6" if v6 else "icmp"
            if rng.random() < 0.5:
                return {"icmpTypes": [{"type": kind}]}, [base + [f"{name} type {kind}"]]
            return ({"icmpTypes": [{"type": kind, "codes": [code]}]}, [base + [f"{name} type {kind}", f"{name} code {code}"]])
        asked, told = {}, [base]
        if number == TCP and rng.random() < 0.5:
            mask = rng.randrange(1, 64)
            value = rng.randrange(64) & mask
            asked["tcpFlags"] = [{"mask": mask, "flag": value}]
            told = [one + [f"tcp flags & {mask} == {value}"] for one in told]
        if rng.random() < 0.7:
            fields, ports = [], []
            for _ in range(rng.randrange(1, 3)):
                field, words = {}, []
                for key, side in rng.sample((("sport", "sport"), ("dport", "dport")), rng.randrange(1, 3)):
                    drawn = ranges(65535)
                    field[key] = ours(drawn)
                    words.append(f"{word} {side} {theirs(drawn)}")
                fields.append(field)
                ports.append(words)
            asked["portFields"] = fields
            told = [one + words for one in told for words in ports]
        return asked, told if asked else [plain]


def policy(number):
    v6 = number % 4 == 3
    sets = {}
    for i in range(2):
        wide = str(ipaddress.ip_network("2001:db8::/120" if v6 else "10.0.0.0/28"))
        sets[f"S{i}"] = ([wide], sorted({prefix(v6, True) for _ in range(i * 3)}))
    return v6, sets, [Rule(f"r{i}", v6, sets) for i in range(rng.randrange(5, 25))]


def layer4_of(protocol, v6):
    """The bytes, and the words of a question about them."""
    source, destination = rng.randrange(10), rng.randrange(10)
    ports = struct.pack(">HH", source, destination)
    words = {"source-port": source, "destination-port": destination}
    if protocol == TCP:
        bits = rng.randrange(64)
        words["tcp-flags"] = ",".join(flag for i, flag in enumerate(FLAGS) if bits >> i & 1) or "none"
        return ports + struct.pack(">IIBBHHH", 0, 0, 0x50, bits, 0, 0, 0), words
    if protocol == UDP:
        return ports + struct.pack(">HH", 8, 0), words
    if protocol == ESP:
        return bytes(16), {}
    type_, code = rng.choice((128, 129) if v6 else (8, 0, 3)), rng.randrange(3)
    return struct.pack(">BBHHH", type_, code, 0, 0, 0), {"icmp-type": type_, "icmp-code": code}


def frame(v6):
    """A frame, and the words of a question about it."""
    source, destination = (ipaddress.ip_network(prefix(v6, True)).network_address for _ in range(2))
    protocol = rng.choice((TCP, TCP, UDP, ICMP6 if v6 else ICMP, ESP))
    layer4, words = layer4_of(protocol, v6)
    layer4 += bytes(rng.randrange(24))
    tos, ttl = rng.randrange(4) << 2 | rng.randrange(4), rng.randrange(1, 6)
    fragment = 0 if v6 else rng.choice((0, 0, 0, 0x2000, 1, 2, 0x2003, 9))
    length = len(layer4) + (40 if v6 else 20)
    if v6:
        header = struct.pack(">IHBB", 6 << 28 | tos << 20, len(layer4), protocol, ttl)
    else:
        header = struct.pack(">BBHHHBBH", 0x45, tos, length, 0, fragment, ttl, protocol, 0)
    tag = rng.randrange(1, 8) if rng.random() < 0.4 else None
    tagged = b"" if tag is None else struct.pack(">HH", 0x8100, rng.randrange(8) << 13 | tag)
    ether = bytes.fromhex("020000000002" "020000000001") + tagged + struct.pack(">H", 0x86DD if v6 else 0x0800)
    words = {} if fragment & 0x1FFF else words
    words |= {"protocol": protocol, "dscp": tos >> 2, "ecn": tos & 3, "ttl": ttl, "length": length, "ip-options": "no"}
    words |= {"vlan": "none" if tag is None else tag, "fragment": fragment & 0x1FFF if fragment else "no"}
    words |= {"source": source, "destination": destination}
    return ether + header + source.packed + destination.packed + layer4, words


def capture(path, frames):
    with open(path, "wb") as file:
        file.write(struct.pack("<IHHiIII", 0xA1B2C3D4, 2, 4, 0, 0, 65535, 1))
        for one in frames:
            file.write(struct.pack("<IIII", 0, 0, len(one), len(one)) + one)


def kernel_counts(rules, frames, sender):
    lines = ["table netdev referee {"]
    lines += [f"counter {rule.name} {{}}" for rule in rules] + ["counter every {}"]
    lines += ["chain input { type filter hook ingress device tp1 priority 0; policy accept; counter name every;"]
    for rule in rules:
        lines += [f"{words} counter name {rule.name} {'drop' if rule.drops else 'accept'};" for words in rule.theirs]
    subprocess.run(("nft", "-f", "-"), input="\n".join(lines + ["}", "}"]), text=True, check=True)
    for one in frames:
        sender.send(one)
    for _ in range(500):
        listed = json.loads(run("nft", "-j", "list", "counters"))["nftables"]
        counts = {item["counter"]["name"]: item["counter"]["packets"] for item in listed if "counter" in item}
        if counts["every"] >= len(frames):
            break
        time.sleep(0.01)
    run("nft", "delete", "table", "netdev", "referee")
    assert counts.pop("every") == len(frames), "packets were lost, or others were seen"
    return counts


def asked(folder, words):
    """What the answer lists: pairs of verdict and rule."""
    typed = [str(word) for pair in words.items() for word in pair]
    command = (TPCLI, "--state", folder, "--json", "show", "traffic-policy", "packet", "policy", "P", *typed)
    answer = json.loads(run(*command))["points"][0]["configured"]
    endings = answer.get("possible", [answer])
    return [(ending["verdict"], *ending["decidedBy"]) for ending in endings]


def question_faults(folder, rules, counts, words, family):
    """Of one packet, which the kernel counted alone: by all that is known of it, and by less."""
    taken = [rule for rule in rules if counts[rule.name]]
    met = ("dropped" if taken and taken[0].drops else "forwarded", *(rule.name for rule in taken))
    some = {key: word for key, word in words.items() if rng.random() < 0.5}
    answers = (asked(folder, words), asked(folder, {"family": family} | some))
    if answers[0] == [met] and met in answers[1]:
        return 0
    print(f"the kernel: {met}, asked about {words}: {answers[0]}, about {some}: {answers[1]}")
    return 1


def longest_match():
    """Rules that ask for the longest match on both sides, against the definition."""
    faults = taken = 0
    with tempfile.TemporaryDirectory() as folder:
        state = pathlib.Path(folder)
        (state / "status.json").write_text("{}")
        for _ in range(20):
            sets = {f"S{i}": ([prefix(False) for _ in range(3)], [prefix(False, True)]) for i in range(2)}
            sets = {name: (sorted(set(p)), e) for name, (p, e) in sets.items()}
            rules = []
            for i in range(12):
                rule = {"name": f"r{i}", "sides": {}, "filter": {}}
                for side, key, set_key in (("source", "sourceLpms", "srcLpmPrefixSets"), ("destination", "destinationLpms", "dstLpmPrefixSets")):
                    kind = rng.randrange(4)
                    if kind == 0:
                        name = rng.choice(list(sets))
                        rule["filter"][set_key], rule["sides"][side] = [name], sets[name]
                    elif kind < 3:
                        prefixes = sorted({prefix(False) for _ in range(2)})
                        rule["filter"][key], rule["sides"][side] = prefixes, (prefixes, [])
                rules.append(rule)
            config = {
                "policyMapConfig": {"P": {"currCfg": {"rules": [
                    {"name": r["name"], "priority": i, "match": {"ipv4": {"structuredFilter": r["filter"]}}} for i, r in enumerate(rules)]}}},
                "fieldSetConfig": {"fieldSetIpPrefix": {n: {"currCfg": {"prefixes": p, "exceptPrefixes": e}} for n, (p, e) in sets.items()}},
            }
            (state / "config.json").write_text(json.dumps(config))
            frames = [frame(False) for _ in range(100)]
            expected = dict.fromkeys((r["name"] for r in rules), 0)
            for _, words in frames:
                rule = next((r for r in rules if all(is_longest(rules, side, r, words[side]) for side in r["sides"])), None)
                if rule:
                    expected[rule["name"]] += 1
                    taken += 1
            counted = captured(folder, [one for one, _ in frames])
            faults += counted != expected
            if counted != expected:
                print(f"longest match: counted {counted}, expected {expected}: {json.dumps(config)}")
    print(f"longest match: {taken} packets taken by a rule, {faults} policies differ")
    return faults or taken < 500


def longest(rule, side, address):
    """The length of the rule's longest prefix that holds the address; -1: none."""
    prefixes, exceptions = rule["sides"].get(side, ([], []))
    if any(address in ipaddress.ip_network(e) for e in exceptions):
        return -1
    return max((n.prefixlen for n in map(ipaddress.ip_network, prefixes) if address in n), default=-1)


def is_longest(rules, side, rule, address):
    mine = longest(rule, side, address)
    return mine >= 0 and mine == max(longest(other, side, address) for other in rules)


def captured(folder, frames):
    path = f"{folder}/all.pcap"
    capture(path, frames)
    report = json.loads(run(TPCLI, "--state", folder, "--json", "show", "traffic-policy", "capture", path, "policy", "P"))
    assert report["capture"]["packets"] == len(frames), report["capture"]
    return {rule["rule"]: rule["packets"] for rule in report["points"][0]["configured"]["rules"]}


def inside():
    for side in ("tp0", "tp1"):
        path = pathlib.Path(f"/proc/sys/net/ipv6/conf/{side}/disable_ipv6")
        if side == "tp0":
            pathlib.Path("/proc/sys/net/ipv6/conf/default/disable_ipv6").write_text("1")
            run("ip", "link", "add", "tp0", "type", "veth", "peer", "name", "tp1")
        path.write_text("1")
        run("ip", "link", "set", side, "up", "arp", "off")
    sender = socket.socket(socket.AF_PACKET, socket.SOCK_RAW)
    sender.bind(("tp0", 0))
    faults = checked = taken = questions = 0
    with tempfile.TemporaryDirectory() as folder:
        state = pathlib.Path(folder)
        (state / "status.json").write_text("{}")
        for number in range(POLICIES):
            v6, sets, rules = policy(number)
            drawn = [frame(v6) for _ in range(PACKETS)]
            frames = [one for one, _ in drawn]
            kind, family = ("fieldSetIpv6Prefix", "ipv6") if v6 else ("fieldSetIpPrefix", "ipv4")
            config = {
                "policyMapConfig": {"P": {"currCfg": {"rules": [
                    {"name": rule.name, "priority": i, "match": {family: {"structuredFilter": rule.filter}},
                     "action": {"drop": {}} if rule.drops else {"count": {}}}
                    for i, rule in enumerate(rules)]}}},
                "fieldSetConfig": {kind: {name: {"currCfg": {"prefixes": p, "exceptPrefixes": e}} for name, (p, e) in sets.items()}},
            }
            (state / "config.json").write_text(json.dumps(config))
            counted = captured(folder, frames)
            expected = kernel_counts(rules, frames, sender)
            alone = kernel_counts(rules, frames[:1], sender)
            questions += question_faults(folder, rules, alone, drawn[0][1], family)
            checked += len(frames)
            taken += sum(expected.values())
            if counted != expected:
                faults += 1
                for rule in rules:
                    if counted[rule.name] != expected[rule.name]:
                        print(f"policy {number}, {rule.name}: counted {counted[rule.name]}, the kernel {expected[rule.name]}")
                        print("   ", json.dumps(rule.filter), "|", rule.theirs)
    print(f"{checked} packets over {POLICIES} policies, {taken} taken by a rule, {faults} policies differ")
    print(f"{POLICIES} packets asked about by their fields, {questions} differ")
    sys.exit(1 if faults or questions or taken < checked // 4 else 0)


if __name__ == "__main__":
    if sys.argv[1:] == ["inside"]:
        inside()
    if longest_match():
        sys.exit(1)
    may = subprocess.run(("unshare", "--net", "nft", "add", "table", "netdev", "probe"), capture_output=True, text=True)
    if may.returncode != 0:
        print("SKIPPED: the kernel could not be asked, as network namespaces with nftables are not permitted here:")
        print(may.stderr)
        sys.exit(77)
    sys.exit(subprocess.run(("unshare", "--net", sys.executable, __file__, "inside")).returncode)
