"""Installs the build into an empty folder, as a maker of switches would: nothing in it names the
places where it was built, the programs run where the folder is moved to, and the example host
builds against it by CMake and by pkg-config. The arguments are the build folder and two compilers."""

import json
import os
import pathlib
import pty
import re
import subprocess
import sys
import tempfile

ROOT = pathlib.Path(__file__).resolve().parents[2]
BARE = {"PATH": "/usr/bin:/bin", "LC_ALL": "C.UTF-8"}
faults = []


def run(*command, **environment):
    done = subprocess.run([str(c) for c in command], capture_output=True, text=True, env=BARE | environment)
    if done.returncode:
        faults.append(f"{' '.join(map(str, command))}: exit status {done.returncode}\n{done.stdout}{done.stderr}")
    return done.stdout


def check_no_build_paths(prefix, build):
    for path in prefix.rglob("*"):
        for place in (str(ROOT), str(build)):
            if path.is_file() and place.encode() in path.read_bytes():
                faults.append(f"{path.relative_to(prefix)} names {place}")


def check_programs(prefix, *chroot):
    state = prefix / "share/traffic-policy/examples/campus"
    report = run(*chroot, prefix / "bin/tpcli", "--state", state, "show", "traffic-policy", "vlan")
    if report != (ROOT / "tests/golden/vlan.txt").read_text():
        faults.append(f"tpcli shows {report!r}")
    # The line editor, which is loaded when the shell is on a terminal.
    shell = pty.openpty()
    typed = subprocess.Popen([*chroot, prefix / "bin/tpcli", "--state", state], stdin=shell[1], stdout=shell[1],
                             stderr=subprocess.PIPE, env=BARE | {"TERM": "dumb", "HOME": "/tmp"})
    os.write(shell[0], b"exit\n")
    os.close(shell[1])
    _, complaint = typed.communicate(timeout=60)
    if typed.returncode or complaint:
        faults.append(f"the shell ends with {typed.returncode} and says {complaint!r}")
    version = (ROOT / "platform/base/Version.h").read_text().split('version = "')[1].split('"')[0]
    for program in ("tpcli", "counteragent", "tpexporter"):
        found = run(*chroot, prefix / "bin" / program, "--version")
        if found != f"{program} {version}\n":
            faults.append(f"{program} --version says {found!r}")


def check_manual(prefix):
    """The pages say every word of the help, and every key of the documents."""
    schemas = prefix / "share/traffic-policy/schema"
    keys = keys_of([json.loads((schemas / f"state-{document}.schema.json").read_text())
                    for document in ("config", "status", "snapshots")])
    headings = {"Usage:", "Commands:", "Environment:", "Exit", "status:", "Examples:"}
    for page in (prefix / "share/man").glob("man*/*"):
        name, section = page.name.split(".")
        complaints = run("mandoc", "-T", "lint", "-W", "warning", page)
        text = re.sub(".\b", "", run("mandoc", "-T", "utf8", "-O", "width=1000", page))
        wanted = set(run(prefix / "bin" / name, "--help").split()) if section == "1" else keys
        missing = wanted - set(text.split()) - set(re.split(r"[\s,():;]+|\.\s", text)) - headings
        if complaints or missing:
            faults.append(f"{page.name}: {complaints}lacks {sorted(missing)}")


def keys_of(schema):
    if isinstance(schema, list):
        return {key for part in schema for key in keys_of(part)}
    if not isinstance(schema, dict):
        return set()
    return set(schema.get("properties", {})) | keys_of(list(schema.values()))


def check_embed(program, **environment):
    report = run(program, **environment)
    if "Protocol: udp" not in report or '{"trafficPolicies":{"EXAMPLE":' not in report:
        faults.append(f"{program} shows {report!r}")


def check_reader(program, prefix, **environment):
    """It shows the example's VLANs as tpcli does, and refuses a folder without documents."""
    report = run(program, prefix / "share/traffic-policy/examples/campus", **environment)
    if not (ROOT / "tests/golden/vlan.txt").read_text().startswith(report) or not report:
        faults.append(f"{program} shows {report!r}")
    if "config.json" not in (complaint := run(program, prefix, **environment)):
        faults.append(f"{program} says {complaint!r} of no state directory")


def built_by_cmake(source, folder, compiler, prefix):
    run("cmake", "-S", source, "-B", folder, f"-DCMAKE_CXX_COMPILER={compiler}", f"-DCMAKE_PREFIX_PATH={prefix}")
    run("cmake", "--build", folder)
    return folder / source.name


def built_by_pkg_config(source, program, compiler, package, libraries):
    flags = run("pkg-config", "--cflags", "--libs", package, PKG_CONFIG_PATH=str(libraries / "pkgconfig")).split()
    run(compiler, source, *flags, "-o", program)
    return program


def main(build, one, other):
    build = pathlib.Path(build).resolve()
    with tempfile.TemporaryDirectory() as name:
        folder = pathlib.Path(name)
        run("cmake", "--install", build, "--prefix", folder / "first")
        prefix = (folder / "first").rename(folder / "moved")
        check_no_build_paths(prefix, build)
        check_programs(prefix)
        check_manual(prefix)
        embed, reader = prefix / "share/traffic-policy/examples/embed", ROOT / "tests/install/reader"
        libraries = next(prefix.glob("lib/**/pkgconfig")).parent
        found = {"LD_LIBRARY_PATH": str(libraries)}
        # Each host, each way and each compiler meets both of the others.
        check_embed(built_by_cmake(embed, folder / "embed0", one, prefix))
        check_embed(built_by_pkg_config(embed / "embed.cpp", folder / "embed", other, "traffic-policy-cli",
                                        libraries), **found)
        check_reader(built_by_cmake(reader, folder / "reader0", other, prefix), prefix)
        check_reader(built_by_pkg_config(reader / "reader.cpp", folder / "reader", one,
                                         "traffic-policy-state", libraries), prefix, **found)
    return told()


def told():
    """Prints the faults; the exit status of the program."""
    sys.stderr.writelines(f"{fault}\n" for fault in faults)
    return 1 if faults else 0


if __name__ == "__main__":
    sys.exit(main(*sys.argv[1:]))
