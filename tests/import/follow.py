"""A switch that is followed, with a real Redis server: changes, counts, a shell, losses, kills, a server that
tells of no changes, a disk that fills, and a second import."""

import contextlib
import json
import os
import pathlib
import random
import resource
import signal
import subprocess
import sys
import tempfile
import time

sys.path.insert(0, str(pathlib.Path(__file__).parent))
from common import end, expect, policies, run, show  # noqa: E402
from server import NUMBERS, Server, load, wait_for  # noqa: E402

NEW = "ACL_RULE|DATAACL|NEW|1"


class Follower:
    def __init__(self, server, state, errors, **options):
        self.errors = errors
        self.process = subprocess.Popen(
            [os.environ["TPIMPORT_PATH"], "sonic", "--redis", f"unix:{server.socket}", "-o", str(state), "--follow"],
            stderr=errors.open("a"), **options)  # fmt: skip

    def says(self, text):
        wait_for(f"{text!r} said", lambda: text in self.errors.read_text())

    def kill(self):
        self.process.kill()
        self.process.wait()

    def end(self, status=0):
        self.process.send_signal(signal.SIGTERM)
        expect("end of the follower", self.process.wait(20), status)


def rules(state, table="DATAACL"):
    shown = policies(state).get(table, {"rules": []})
    return {rule["ruleString"]: rule for rule in shown["rules"]}


def count(state, rule):
    return rules(state).get(rule, {}).get("actions", {}).get("inputCounter")


def heard(state):
    return json.loads(show(state, "--json", "show", "traffic-policy", "state"))["heard"]


def ask(shell):
    """A shell reads what has changed behind its commands."""
    shell.stdin.write("show traffic-policy packet interface Ethernet0 input source 10.9.1.1\n")
    shell.stdin.flush()
    return json.loads(shell.stdout.readline())["points"][0]["hardware"]["decidedBy"]


def changes(state, server, shell):
    expect("count", count(state, "WEB"), 880000)
    # A rule and its status, in two databases; a shell that is open sees it as well.
    server.send(4, ["HSET", NEW, "PRIORITY", "9999", "SRC_IP", "10.9.0.0/16", "PACKET_ACTION", "DROP"])
    server.send(6, ["HSET", "ACL_RULE_TABLE|DATAACL|NEW|1", "status", "Active"])
    wait_for("new rule", lambda: "NEW|1" in rules(state))
    wait_for("the shell's answer", lambda: ask(shell) == ["NEW|1"])
    server.send(6, ["HSET", "ACL_RULE_TABLE|DATAACL|NEW|1", "status", "Inactive"])
    wait_for("rule not taken", lambda: "NEW|1 ipv4: not taken" in show(state, "show", "traffic-policy", "problems"))
    server.send(6, ["DEL", "ACL_RULE_TABLE|DATAACL|NEW|1"])
    wait_for("rule not reported", lambda: "NEW|1 ipv4: not reported" in show(state, "show", "traffic-policy", "problems"))
    server.send(4, ["DEL", NEW])
    wait_for("rule gone", lambda: "NEW|1" not in (state / "config.json").read_text())


def counts(state, server):
    """They change in the store alone; what was cleared stays cleared."""
    generation = os.readlink(state / "current")
    before = heard(state)
    show(state, "clear", "traffic-policy", "counters")
    server.send(2, ["HSET", "COUNTERS:oid:0x9000000000001", "SAI_ACL_COUNTER_ATTR_PACKETS", "880007"])
    wait_for("new count", lambda: count(state, "WEB") == 7)
    expect("no document is written for counts", os.readlink(state / "current"), generation)
    wait_for("heard since", lambda: heard(state)["time"] > before["time"])
    # A rule that is made anew has another object.
    server.send(2, ["HSET", "COUNTERS:oid:0x90000000000ff", "SAI_ACL_COUNTER_ATTR_PACKETS", "3"],
                ["HSET", "ACL_COUNTER_RULE_MAP", "DATAACL:WEB", "oid:0x90000000000ff"])  # fmt: skip
    wait_for("counter made anew", lambda: count(state, "WEB") == 3)
    expect("the other one stays cleared", count(state, "NO_SCANS"), 0)


def losses(state, server, follower):
    """The server dies and comes back with less."""
    server.stop()
    follower.says("the state stays that of")
    expect("state while the server is away", count(state, "WEB"), 3)
    wait_for("loss shown", lambda: "redis.sock" in heard(state).get("lost", ""))
    server.start()
    server.fill(4, {"ACL_TABLE|LATE": {"type": "L3", "ports@": "Ethernet0"}})
    wait_for("state of the new server", lambda: "LATE" in policies(state))
    follower.says("up to date again")
    wait_for("return shown", lambda: "lost" not in heard(state))


def follow(folder, server):
    state = folder / "followed"
    follower = Follower(server, state, folder / "errors")
    shell = subprocess.Popen([os.environ["TPCLI_PATH"], "--state", str(state), "--json"], stdin=subprocess.PIPE, stdout=subprocess.PIPE,
                             stderr=subprocess.DEVNULL, text=True)  # fmt: skip
    try:
        wait_for("first state", lambda: (state / "heard.json").exists())
        said = run("sonic", "--redis", f"unix:{server.socket}", "-o", str(state), "--follow", status=3)
        expect(f"a second import is refused: {said}", "another import is writing it" in said, True)
        changes(state, server, shell)
        counts(state, server)
        losses(state, server, follower)
    finally:
        shell.communicate("")
        follower.end()
    expect("ended", heard(state)["lost"], "tpimport was ended")
    # What is imported once is of the time of its import.
    run("sonic", "--redis", f"unix:{server.socket}", "-o", str(state))
    expect("heard.json of one import", (state / "heard.json").exists(), False)


def kills(folder, server, draw):
    """Whenever it dies, there is a whole state, and the next one goes on."""
    state = folder / "killed"
    server.fill(4, {"ACL_TABLE|DATAACL": {"type": "L3", "ports@": "Ethernet0"}})
    for number in range(8):
        server.send(4, ["HSET", f"ACL_RULE|DATAACL|R{number}", "PRIORITY", "5"], ["HSET", "ACL_RULE|DATAACL|LAST", "PRIORITY", "4", "SRC_IP", f"10.0.0.{number}"])
        follower = Follower(server, state, folder / "killed-errors")
        wait_for("state", lambda: (state / "current").exists() and f"10.0.0.{number}" in (state / "config.json").read_text())
        server.send(4, ["HSET", "ACL_RULE|DATAACL|LAST", "SRC_IP", f"10.0.1.{number}"])
        time.sleep(draw.uniform(0, 0.12))
        follower.kill()
        shown = show(state, "show", "traffic-policy", "packet", "policy", "DATAACL", "source", f"10.0.1.{number}")
        expect(f"rules after kill {number}: {shown}", "match R0: yes" in shown, True)
        expect("documents", [(state / name).exists() for name in ("config.json", "status.json")], [True, True])
    last = Follower(server, state, folder / "last-errors")
    last.says(" rules, ")
    wait_for("the last rule", lambda: "10.0.1.7" in (state / "config.json").read_text())
    wait_for("what the dead left is gone", lambda: len([p for p in state.iterdir() if "generation" in p.name]) <= 2)
    last.end()


def full_disk(folder, server):
    """A limit of the size of files stands for a disk that is full."""
    state = folder / "full"
    limit = 60_000
    follower = Follower(server, state, folder / "full-errors", preexec_fn=lambda: resource.setrlimit(resource.RLIMIT_FSIZE, (limit, limit)))
    try:
        wait_for("first state", lambda: (state / "heard.json").exists())
        server.fill(4, {f"ACL_RULE|DATAACL|MANY{n}": {"PRIORITY": "7", "SRC_IP": f"10.1.{n >> 8}.{n & 255}"} for n in range(600)})
        follower.says("config.json: cannot write: File too large; the state stays that of")
        # A part of them may have come first.
        expect("the state before", (state / "config.json").read_text().count('"name": "MANY') < 600, True)
        show(state, "show", "traffic-policy", "interface")
        expect("said to who asks", "File too large" in heard(state)["lost"], True)
        server.send(4, *(["DEL", f"ACL_RULE|DATAACL|MANY{n}"] for n in range(1, 600)))
        wait_for("room again", lambda: "MANY0" in (state / "config.json").read_text())
        follower.says("up to date again")
    finally:
        follower.end()


@contextlib.contextmanager
def polling(folder, server):
    """Begun before the others, and looked at when 5 seconds are over anyway."""
    state = folder / "polled"
    server.fill(4, {"ACL_TABLE|A": {"type": "L3"}})
    follower = Follower(server, state, folder / "polled-errors")
    try:
        follower.says("does not tell of changes")
        server.fill(4, {"ACL_TABLE|B": {"type": "L3"}})
        yield
        wait_for("change without notification", lambda: '"B"' in (state / "config.json").read_text())
    finally:
        follower.end()


def main():
    with tempfile.TemporaryDirectory() as folder:
        folder = pathlib.Path(folder)
        (folder / "silent").mkdir()
        servers = [Server(folder), Server(folder / "silent", "--rename-command", "CONFIG", "")]
        try:
            for name, number in NUMBERS.items():
                servers[0].fill(number, load(name))
            with polling(folder, servers[1]):
                follow(folder, servers[0])
                kills(folder, servers[0], random.Random(5))
                full_disk(folder, servers[0])
        finally:
            for server in servers:
                server.stop()
    return end()


if __name__ == "__main__":
    sys.exit(main())
