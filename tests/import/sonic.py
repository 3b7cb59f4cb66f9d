"""A SONiC switch: exported databases against golden reports, drawn rules, and a real Redis server that is
read, followed while rules, statuses and counters change, killed and restarted."""

import json
import pathlib
import signal
import subprocess
import sys
import tempfile
import time
import os

sys.path.insert(0, str(pathlib.Path(__file__).parent))
import drawn  # noqa: E402
from common import compare_golden, end, expect, policies, run, show  # noqa: E402

HERE = pathlib.Path(__file__).parent
EXAMPLES = HERE.parents[1] / "examples" / "sonic"
NUMBERS = {"config_db": 4, "state_db": 6, "counters_db": 2}


class Server:
    """redis-server on a socket in a folder."""

    def __init__(self, folder):
        self.socket = folder / "redis.sock"
        self.folder = folder
        self.start()

    def start(self):
        self.process = subprocess.Popen(
            ["redis-server", "--port", "0", "--unixsocket", str(self.socket), "--save", "", "--appendonly", "no",
             "--dir", str(self.folder)],
            stdout=subprocess.DEVNULL,
        )  # fmt: skip
        wait_for("redis", lambda: subprocess.run(
            ["redis-cli", "-s", str(self.socket), "ping"], capture_output=True).stdout == b"PONG\n")  # fmt: skip

    def stop(self):
        self.process.kill()
        self.process.wait()

    def send(self, number, *commands):
        lines = "".join(" ".join(json.dumps(word) for word in command) + "\n" for command in commands)
        done = subprocess.run(["redis-cli", "-s", str(self.socket), "-n", str(number)], input=lines,
                              capture_output=True, text=True)  # fmt: skip
        expect(f"redis-cli {done.stdout}", "ERR" in done.stdout, False)

    def fill(self, number, database):
        hashes = {key: hash_.get("value", hash_) for key, hash_ in database.items()}
        self.send(number, *(["HSET", key, *(w for pair in hash_.items() for w in pair)] for key, hash_ in hashes.items() if hash_))


def wait_for(what, is_so, seconds=20):
    until = time.monotonic() + seconds
    while not is_so():
        if time.monotonic() > until:
            expect(what, "not so in time", "so")
            return
        time.sleep(0.02)


def documents(state):
    status = json.loads((state / "status.json").read_text())
    return json.loads((state / "config.json").read_text()), {k: v for k, v in status.items() if k not in ("time", "source")}


def load(name):
    return json.loads((EXAMPLES / f"{name}.json").read_text())


def import_files(folder):
    report = folder / "report"
    options = {"config": "config_db", "state": "state_db", "counters": "counters_db"}
    files = [word for option, name in options.items() for word in (f"--{option}", f"examples/sonic/{name}.json")]
    run("sonic", *files, "-o", str(folder / "files"), "--report", str(report), status=6)
    state = folder / "files"
    shown = [show(state, "show", "traffic-policy", *words) for words in (("interface", "detail"), ("cpu",), ("problems",))]
    compare_golden(HERE / "sonic.txt", "".join(shown) + report.read_text())


def import_server(folder, server):
    for name, number in NUMBERS.items():
        server.fill(number, load(name))
    # Keys that are no hashes, and a field that no name can be.
    server.send(4, ["SET", "ACL_RULE|DATAACL|TEXT", "x"], ["RPUSH", "ACL_TABLE|LIST", "x"])
    report = folder / "report"
    run("sonic", "--redis", f"unix:{server.socket}", "-o", str(folder / "server"), "--report", str(report), status=6)
    expect("the same by files and by server", documents(folder / "server"), documents(folder / "files"))
    expect("keys of other types", report.read_text().count("WRONGTYPE"), 2)
    server.send(4, ["DEL", "ACL_RULE|DATAACL|TEXT", "ACL_TABLE|LIST"])


def rules(state, table):
    shown = policies(state).get(table, {"rules": []})
    return {rule["ruleString"]: rule for rule in shown["rules"]}


def count(state, rule):
    return rules(state, "DATAACL").get(rule, {}).get("actions", {}).get("inputCounter")


def follow(folder, server):
    state = folder / "followed"
    errors = folder / "errors"
    follower = subprocess.Popen(
        [os.environ["TPIMPORT_PATH"], "sonic", "--redis", f"unix:{server.socket}", "-o", str(state), "--follow"],
        stderr=errors.open("w"),
    )
    try:
        wait_for("first state", lambda: (state / "counters.reef").exists())
        expect("count", count(state, "WEB"), 880000)
        # A rule and its status, in two databases.
        server.send(4, ["HSET", "ACL_RULE|DATAACL|NEW|1", "PRIORITY", "9999", "SRC_IP", "10.9.0.0/16", "PACKET_ACTION", "DROP"])
        server.send(6, ["HSET", "ACL_RULE_TABLE|DATAACL|NEW|1", "status", "Active"])
        wait_for("new rule", lambda: "NEW|1" in rules(state, "DATAACL"))
        server.send(6, ["HSET", "ACL_RULE_TABLE|DATAACL|NEW|1", "status", "Inactive"])
        wait_for("rule not taken", lambda: "NEW|1" not in rules(state, "DATAACL"))
        server.send(4, ["DEL", "ACL_RULE|DATAACL|NEW|1"])
        wait_for("rule gone", lambda: "NEW|1" not in (state / "config.json").read_text())
        # Counts change in the store alone; what was cleared stays cleared.
        generation = os.readlink(state / "current")
        show(state, "clear", "traffic-policy", "counters")
        server.send(2, ["HSET", "COUNTERS:oid:0x9000000000001", "SAI_ACL_COUNTER_ATTR_PACKETS", "880007"])
        wait_for("new count", lambda: count(state, "WEB") == 7)
        expect("no document is written for counts", os.readlink(state / "current"), generation)
        # A rule that is made anew has another object.
        server.send(2, ["HSET", "COUNTERS:oid:0x90000000000ff", "SAI_ACL_COUNTER_ATTR_PACKETS", "3"],
                    ["HSET", "ACL_COUNTER_RULE_MAP", "DATAACL:WEB", "oid:0x90000000000ff"])  # fmt: skip
        wait_for("counter made anew", lambda: count(state, "WEB") == 3)
        expect("the other one stays cleared", count(state, "NO_SCANS"), 0)
        # The server dies and comes back with less.
        server.stop()
        wait_for("loss told", lambda: "the state stays that of" in errors.read_text())
        expect("state while the server is away", count(state, "WEB"), 3)
        server.start()
        server.fill(4, {"ACL_TABLE|LATE": {"type": "L3", "ports@": "Ethernet0"}})
        wait_for("state of the new server", lambda: "LATE" in policies(state))
        wait_for("return told", lambda: "connected again" in errors.read_text())
    finally:
        follower.send_signal(signal.SIGTERM)
        expect("end of the follower", follower.wait(20), 0)


def main():
    with tempfile.TemporaryDirectory() as folder:
        folder = pathlib.Path(folder)
        import_files(folder)
        drawing = drawn.Drawing(4)
        source = drawn.Sonic(drawing)
        tables = [drawing.table(number, type_, 60, source.rule) for number, type_ in enumerate(source.TYPES)]
        for name, database in zip(NUMBERS, source.databases(tables)):
            (folder / f"{name}.json").write_text(json.dumps(database))
        run("sonic", "--config", str(folder / "config_db.json"), "--state", str(folder / "state_db.json"),
            "--counters", str(folder / "counters_db.json"), "-o", str(folder / "drawn"), status=6)  # fmt: skip
        drawn.compare(drawing, tables, folder / "drawn", lambda rule: f"R:{rule.number}", 60)
        server = Server(folder)
        try:
            import_server(folder, server)
            follow(folder, server)
        finally:
            server.stop()
    return end()


if __name__ == "__main__":
    sys.exit(main())
