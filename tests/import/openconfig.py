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

        drawing = drawn.Drawing(1)
        source = drawn.OpenConfig(drawing)
        tables = [drawing.table(number, type_, 60, source.rule) for number, type_ in enumerate(source.TYPES)]
        (folder / "drawn.json").write_text(source.document(tables))
        run("openconfig", str(folder / "drawn.json"), "-o", str(folder / "drawn"), status=6)
        drawn.compare(drawing, tables, folder / "drawn", lambda rule: str(rule.number), 60)
    return end()


if __name__ == "__main__":
    sys.exit(main())
