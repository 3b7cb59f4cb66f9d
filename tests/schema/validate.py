"""Runs every validate_*.py beside it; fails when one of them does."""

import pathlib
import subprocess
import sys


def main():
    scripts = sorted(pathlib.Path(__file__).resolve().parent.glob("validate_*.py"))
    failed = [s.name for s in scripts if subprocess.run([sys.executable, s], check=False).returncode]
    print(f"{len(scripts)} validations, {len(failed)} failed {' '.join(failed)}".rstrip())
    return 1 if failed or not scripts else 0


if __name__ == "__main__":
    sys.exit(main())
