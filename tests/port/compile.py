"""Compiles the library against a platform that offers exactly what platform/README.md declares: each
of its code blocks is a header, and hive/ is taken as it stands. Prints what does not compile.
The argument is the compiler."""

import concurrent.futures
import os
import pathlib
import re
import shutil
import subprocess
import sys
import tempfile

ROOT = pathlib.Path(__file__).resolve().parents[2]
LIBRARY = ROOT / "TrafficPolicy"
TOGETHER = 20
STANDARD = ("algorithm", "array", "functional", "map", "optional", "set", "span", "string", "vector")


def headers_of_page(folder):
    page = (ROOT / "platform" / "README.md").read_text()
    blocks = re.findall(r"^```cpp\n(// (\S+\.h)\n.*?)^```$", page, re.DOTALL | re.MULTILINE)
    for block, name in blocks:
        path = folder / name
        path.parent.mkdir(parents=True, exist_ok=True)
        path.write_text("#pragma once\n" + block)
    (folder / "hive").mkdir()
    for header in (ROOT / "platform" / "hive").glob("*.h"):
        shutil.copy(header, folder / "hive")


def units_of(sources, folder):
    """Many sources are compiled together, which takes half as long."""
    for begin in range(0, len(sources), TOGETHER):
        unit = folder / f"unit{begin}.cpp"
        unit.write_text("".join(f'#include "{source}"\n' for source in sources[begin:begin + TOGETHER]))
        yield unit


def main(compiler):
    sources = sorted(LIBRARY.rglob("*.cpp"))
    with tempfile.TemporaryDirectory() as name:
        folder = pathlib.Path(name)
        headers_of_page(folder)
        headers = [f'"{path.relative_to(folder)}"' for path in sorted(folder.rglob("*.h"))]
        common = folder / "common.h"
        common.write_text("".join(f"#include {h}\n" for h in [f"<{s}>" for s in STANDARD] + headers))
        options = [compiler, "-std=c++20", "-w", f"-I{folder}", f"-I{LIBRARY}", f"-I{LIBRARY}/include"]

        def errors(*arguments):
            done = subprocess.run([*options, *arguments], capture_output=True, text=True, cwd=ROOT)
            return done.stderr if done.returncode else ""

        failed = [errors("-x", "c++-header", str(common), "-o", f"{common}.gch")]
        if failed == [""]:
            with concurrent.futures.ThreadPoolExecutor(os.cpu_count()) as pool:
                failed = list(pool.map(lambda unit: errors("-fsyntax-only", "-include", str(common), str(unit)),
                                       units_of(sources, folder)))
    failed = [text for text in failed if text]
    sys.stderr.writelines(failed)
    print(f"{len(sources)} sources against {len(headers)} headers, {len(failed)} do not compile")
    return 1 if failed or not sources else 0


if __name__ == "__main__":
    sys.exit(main(sys.argv[1]))
