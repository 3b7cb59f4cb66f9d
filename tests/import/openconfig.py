"""OpenConfig data: the examples against golden reports, and drawn entries against what the views and the
packet questions say of them."""

import pathlib
import sys
import tempfile

sys.path.insert(0, str(pathlib.Path(__file__).parent))
import drawn  # noqa: E402
from common import compare_golden, end, policies, run, show  # noqa: E402

HERE = pathlib.Path(__file__).parent
EXAMPLES = HERE.parents[1] / "examples" / "openconfig"


def main():
    with tempfile.TemporaryDirectory() as folder:
        folder = pathlib.Path(folder)
        report = folder / "report"
        files = sorted(str(path.relative_to(HERE.parents[1])) for path in EXAMPLES.glob("*.json"))
        run("openconfig", *files, "-o", str(folder / "state"), "--report", str(report), status=6)
        shown = show(folder / "state", "show", "traffic-policy", "interface", "detail")
        problems = show(folder / "state", "show", "traffic-policy", "problems")
        compare_golden(HERE / "openconfig.txt", shown + problems + report.read_text())

        rules = drawn.Drawing(1).rules(60)
        (folder / "drawn.json").write_text(drawn.openconfig(rules))
        run("openconfig", str(folder / "drawn.json"), "-o", str(folder / "drawn"))
        drawn.compare(rules, policies(folder / "drawn"), folder / "drawn", lambda rule: str(rule["number"]))
    return end()


if __name__ == "__main__":
    sys.exit(main())
