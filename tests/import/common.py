"""What the tests of tpimport share: running the programs, and collecting faults."""

import json
import os
import subprocess
import sys

faults = []


def expect(what, found, expected):
    if found != expected:
        faults.append(f"{what}:\n   found    {found}\n   expected {expected}")


def run(*arguments, status=0, **options):
    """Runs tpimport to its end and returns what it says."""
    done = subprocess.run([os.environ["TPIMPORT_PATH"], *arguments], capture_output=True, text=True, **options)
    expect(f"exit status of {arguments}: {done.stderr}", done.returncode, status)
    return done.stderr


def show(state, *words):
    command = [os.environ["TPCLI_PATH"], "--state", str(state), *words]
    done = subprocess.run(command, capture_output=True, text=True)
    expect(f"errors of {words}", done.stderr, "")
    return done.stdout


def policies(state, kind="interface"):
    return json.loads(show(state, "--json", "show", "traffic-policy", kind, "detail"))["trafficPolicies"]


def compare_golden(path, found):
    """The file's text; with WRITE_GOLDEN set it is written anew."""
    if os.environ.get("WRITE_GOLDEN"):
        path.write_text(found)
    expect(f"{path.name} (WRITE_GOLDEN=1 writes it anew)", found, path.read_text())


def end():
    for fault in faults[:20]:
        print(fault, file=sys.stderr)
    print(f"{len(faults)} faults")
    return 1 if faults else 0
