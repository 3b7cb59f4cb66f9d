"""A SONiC switch: exported databases against golden reports, drawn rules, and a real Redis server."""

import json
import pathlib
import sys
import tempfile

sys.path.insert(0, str(pathlib.Path(__file__).parent))
import drawn  # noqa: E402
from common import compare_golden, end, expect, run, show  # noqa: E402
from server import EXAMPLES, NUMBERS, Server, load  # noqa: E402

HERE = pathlib.Path(__file__).parent


def documents(state):
    status = json.loads((state / "status.json").read_text())
    return json.loads((state / "config.json").read_text()), {k: v for k, v in status.items() if k not in ("time", "source")}


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
        finally:
            server.stop()
    return end()


if __name__ == "__main__":
    sys.exit(main())
