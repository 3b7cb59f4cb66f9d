"""An import that dies at each system call: the former state is in force, or the new one, whole; and the
next import works."""

import json
import pathlib
import re
import subprocess
import sys
import tempfile
import os

sys.path.insert(0, str(pathlib.Path(__file__).parent))
from common import end, expect, run, show  # noqa: E402

CALLS = "openat,read,write,fsync,mkdir,rename,renameat,symlink,unlink,readlink,flock,getdents64,close"


def acl(count):
    entries = [{"sequence-id": i, "ipv4": {"config": {"protocol": i}}} for i in range(1, count + 1)]
    sets = [{"name": f"A{count}", "type": "ACL_IPV4", "acl-entries": {"acl-entry": entries}}]
    return json.dumps({"acl": {"acl-sets": {"acl-set": sets}}})


def documents(state):
    return (state / "config.json").read_text(), re.sub('"(time|source)": ".*"', "", (state / "status.json").read_text())


def main():
    with tempfile.TemporaryDirectory() as folder:
        folder = pathlib.Path(folder)
        inputs = [folder / "1.json", folder / "2.json"]
        for count, path in enumerate(inputs, 1):
            path.write_text(acl(count))
        whole = []
        for index, path in enumerate(inputs):
            run("openconfig", str(path), "-o", str(folder / f"whole{index}"))
            whole.append(documents(folder / f"whole{index}"))
        state = folder / "state"
        found = [0, 0]
        run("openconfig", str(inputs[0]), "-o", str(state))
        for call in range(1, 1000):
            done = subprocess.run(
                ["strace", "-f", "-qq", "-o", "/dev/null", "-e", f"trace={CALLS}",
                 "-e", f"inject={CALLS}:signal=SIGKILL:when={call}",
                 os.environ["TPIMPORT_PATH"], "openconfig", str(inputs[1]), "-o", str(state)],
                capture_output=True,
            )  # fmt: skip
            if done.returncode == 0:
                break
            expect(f"killed at {call}: {done.stderr}", done.returncode in (-9, 137), True)
            which = whole.index(documents(state)) if documents(state) in whole else None
            if which is None:
                expect(f"state after a kill at {call}", documents(state), whole)
                break
            found[which] += 1
            if which == 1:
                run("openconfig", str(inputs[0]), "-o", str(state))
            if call % 10 == 0:
                expect("shown", f"A{which + 1}" in show(state, "show", "traffic-policy", "problems"), True)
        expect(f"kills before and after the new state was in force {found}", found[0] > 20 and found[1] > 2, True)
        run("openconfig", str(inputs[0]), "-o", str(state))
        expect("what is left", len([p for p in state.iterdir() if "generation" in p.name]) <= 2, True)
    return end()


if __name__ == "__main__":
    sys.exit(main())
