"""Loads the rules and networks of generated states into the packet filters of this network
namespace, runs each listing command with its output thrown away, and prints time and peak memory
as ratios to tpcli's. Called by bench/peers, which makes the states and the namespace."""

import json
import os
import pathlib
import statistics
import subprocess
import sys
import time

ROUNDS = 5
LONG = 5.0  # seconds: what takes longer runs once
PATIENCE = 60.0  # seconds, then a listing is stopped


def rules_of(state):
    """The rules as (policy, rule name, source, destination, protocol, source ports, destination
    ports, counter), in their order."""
    config = json.loads((state / "config.json").read_text())
    status = json.loads((state / "status.json").read_text())
    counters = {}
    for direction in ("interfaceInput", "interfaceOutput"):
        for policy, reported in status[direction]["policyMapStatus"].items():
            counters[policy] = reported["classCounter"]
    for policy, entry in config["policyMapConfig"].items():
        for rule in entry["currCfg"]["rules"]:
            criteria = rule["match"]["ipv4"]["structuredFilter"]
            ((protocol, fields),) = criteria["protocols"].items()
            ports = fields["portFields"][0]
            yield (policy, rule["name"], criteria["sources"][0], criteria["destinations"][0],
                   {"6": "tcp", "17": "udp"}[protocol], ports["sport"], ports["dport"],
                   counters[policy][rule["name"]])


def nft_document(rules):
    chains = {}
    for policy, _, source, destination, protocol, sports, dports, counter in rules:
        ports = f"{{ {', '.join(map(str, dports))} }}" if len(dports) > 1 else dports[0]
        chains.setdefault(policy, []).append(
            f"ip saddr {source} ip daddr {destination} {protocol} sport {sports[0]} "
            f"{protocol} dport {ports} "
            f"counter packets {counter['packets']} bytes {counter['bytes']} drop")
    yield "table ip policies {"
    for policy, lines in chains.items():
        yield f"chain {policy} {{"
        yield from lines
        yield "}"
    yield "}"


def iptables_document(rules):
    rules = list(rules)
    yield "*filter"
    for policy in dict.fromkeys(rule[0] for rule in rules):
        yield f":{policy} - [0:0]"
    for policy, _, source, destination, protocol, sports, dports, counter in rules:
        sport = str(sports[0]).replace("-", ":")
        if len(dports) > 1:
            dport = f"-m multiport --dports {','.join(map(str, dports))}"
        else:
            dport = f"--dport {str(dports[0]).replace('-', ':')}"
        yield (f"[{counter['packets']}:{counter['bytes']}] -A {policy} -s {source} "
               f"-d {destination} -p {protocol} -m {protocol} --sport {sport} {dport} -j DROP")
    yield "COMMIT"


def ipset_document(state):
    config = json.loads((state / "config.json").read_text())
    ((name, entry),) = config["fieldSetConfig"]["fieldSetIpPrefix"].items()
    prefixes = entry["currCfg"]["prefixes"]
    yield f"create {name} hash:net maxelem {len(prefixes)}"
    for prefix in prefixes:
        yield f"add {name} {prefix}"


def load(command, lines):
    """Feeds the document to a loading command. Without kernel support, or without the memory that
    it asks for, says so and returns False: the listing is left out of the table."""
    document = "\n".join(map(str, lines)) + "\n"
    done = subprocess.run(command, input=document, text=True, capture_output=True)
    if done.returncode != 0:
        reason = done.stderr.strip().splitlines()
        print(f"left out: {' '.join(command)} failed: {reason[-1] if reason else done.returncode}")
    return done.returncode == 0


def in_child(work):
    """Calls work() in a process of its own and returns its result as text. What a process counts
    as the peak memory of a command that it starts includes its own at that moment, so the one that
    measures must stay small."""
    reader, writer = os.pipe()
    pid = os.fork()
    if pid == 0:
        os.close(reader)
        with os.fdopen(writer, "w") as out:
            out.write(str(work()))
        sys.stdout.flush()
        os._exit(0)
    os.close(writer)
    with os.fdopen(reader) as result:
        text = result.read()
    os.waitpid(pid, 0)
    return text


def run_once(command):
    """Seconds, peak memory in MB, and whether the command ended by itself."""
    begin = time.monotonic()
    child = subprocess.Popen(command, stdout=subprocess.DEVNULL)
    stopped = False
    while True:
        pid, status, usage = os.wait4(child.pid, os.WNOHANG)
        seconds = time.monotonic() - begin
        if pid != 0:
            break
        if seconds > PATIENCE and not stopped:
            child.kill()
            stopped = True
        time.sleep(0.0005)
    child.returncode = os.waitstatus_to_exitcode(status)
    if child.returncode != 0 and not stopped:
        sys.exit(f"{' '.join(command)} failed: {child.returncode}")
    return seconds, usage.ru_maxrss / 1024, not stopped


def measure(commands):
    """The median over rounds in which the commands take turns."""
    results = {name: [] for name in commands}
    for _ in range(ROUNDS):
        for name, command in commands.items():
            if not results[name] or results[name][0][0] < LONG:
                results[name].append(run_once(command))
    return {
        name: (statistics.median(run[0] for run in runs), max(run[1] for run in runs),
               all(run[2] for run in runs))
        for name, runs in results.items()
    }


def print_table(title, commands):
    results = measure(commands)
    ours = next(iter(results.values()))
    print(f"\n{title}: {ours[0]:.3f} s and {ours[1]:.0f} MB are 1")
    print(f"{'':40}{'time':>9}{'memory':>9}")
    for name, (seconds, memory, ended) in results.items():
        ratio = f"{'' if ended else '> '}{seconds / ours[0]:.2f}"
        print(f"{name:40}{ratio:>9}{memory / ours[1]:9.2f}")


def load_rules(state):
    rules = list(rules_of(state))
    loaded = []
    if load(["iptables-legacy-restore"], iptables_document(rules)):
        loaded.append("iptables")
    if load(["nft", "-f", "-"], nft_document(rules)):
        loaded.append("nft")
    return " ".join(loaded)


def load_networks(state):
    return "ipset" if load(["ipset", "restore"], ipset_document(state)) else ""


def main():
    tpcli, folder = sys.argv[1], pathlib.Path(sys.argv[2])
    rules_state, networks_state = folder / "rules", folder / "networks"

    words = ["--state", str(rules_state), "show", "traffic-policy", "interface", "detail"]
    commands = {"tpcli ... interface detail": [tpcli] + words}
    loaded = in_child(lambda: load_rules(rules_state))
    if "iptables" in loaded:
        commands["iptables-legacy-save -c"] = ["iptables-legacy-save", "-c"]
    if "nft" in loaded:
        commands["nft list ruleset"] = ["nft", "list", "ruleset"]
        commands["tpcli --json ... interface detail"] = [tpcli, "--json"] + words
        commands["nft -j list ruleset"] = ["nft", "-j", "list", "ruleset"]
    print_table("100,000 rules with counters, from cold start", commands)

    words = ["--state", str(networks_state), "show", "traffic-policy", "field-set", "ipv4",
             "prefix"]
    commands = {"tpcli ... field-set ipv4 prefix": [tpcli] + words}
    if in_child(lambda: load_networks(networks_state)):
        commands["ipset list"] = ["ipset", "list"]
        commands["ipset -sorted list"] = ["ipset", "-sorted", "list"]
    print_table("500,000 networks, from cold start", commands)


main()
