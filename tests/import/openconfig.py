"""OpenConfig data: the examples against golden reports, and drawn entries against what the views and the
packet questions say of them."""

import os
import pathlib
import resource
import sys
import tempfile

sys.path.insert(0, str(pathlib.Path(__file__).parent))
import drawn  # noqa: E402
from common import compare_golden, end, expect, run, show  # noqa: E402

HERE = pathlib.Path(__file__).parent
EXAMPLES = HERE.parents[1] / "examples" / "openconfig"


def foreign(folder):
    """Files that are no such data, and places that cannot be written: nothing is changed."""
    os.mkfifo(folder / "fifo")
    (folder / "link").symlink_to(folder / "nowhere")
    texts = {"empty": b"", "binary": bytes(range(256)), "cut": b'{"acl": {', "deep": b"[" * 3000, "text": b'"acl"', "list": b"[1, null]",
             "null": b'{"acl": null}', "other": b'{"openconfig-interfaces:interfaces": {}}', "utf8": b'{"acl": {"\xff": 1}}'}  # fmt: skip
    for name, text in texts.items():
        (folder / name).write_bytes(text)
    state = folder / "foreign"
    for name in ("nowhere", "fifo", "link", ".", *texts):
        for source in (["openconfig", str(folder / name)], ["sonic", "--config", str(folder / name)]):
            said = run(*source, "-o", str(state), status=2)
            expect(f"one line about {name}: {said}", said.count("\n"), 1)
    expect("no directory is made", state.exists(), False)
    good = str(EXAMPLES / "acl.json")
    run("openconfig", good, "-o", str(folder / "empty"), status=3)
    run("openconfig", good, "-o", str(folder / "reported"), "--report", str(folder), status=3)
    run("openconfig", good, "-o", str(folder / "limited"), status=3, preexec_fn=lambda: resource.setrlimit(resource.RLIMIT_FSIZE, (500, 500)))
    expect("what a full disk leaves", sorted(path.name for path in (folder / "limited").iterdir()), ["import.lock"])


def main():
    with tempfile.TemporaryDirectory() as folder:
        folder = pathlib.Path(folder)
        report = folder / "report"
        files = sorted(str(path.relative_to(HERE.parents[1])) for path in EXAMPLES.glob("*.json"))
        run("openconfig", *files, "-o", str(folder / "state"), "--report", str(report), status=6)
        shown = show(folder / "state", "show", "traffic-policy", "interface", "detail")
        problems = show(folder / "state", "show", "traffic-policy", "problems")
        compare_golden(HERE / "openconfig.txt", shown + problems + report.read_text())

        foreign(folder)
        drawing = drawn.Drawing(1)
        source = drawn.OpenConfig(drawing)
        tables = [drawing.table(number, type_, 60, source.rule) for number, type_ in enumerate(source.TYPES)]
        (folder / "drawn.json").write_text(source.document(tables))
        run("openconfig", str(folder / "drawn.json"), "-o", str(folder / "drawn"), status=6)
        drawn.compare(drawing, tables, folder / "drawn", lambda rule: str(rule.number), 60)
    return end()


if __name__ == "__main__":
    sys.exit(main())
