"""Two builds give the same bytes: a source of each room that tells its own name is compiled in two
folders, and everything is linked again, from the objects of the build, in another folder than that.
Compiling all sources would find no more, as they have the same options. The argument is the build
folder."""

import json
import os
import pathlib
import re
import shlex
import shutil
import subprocess
import sys
import tempfile

ROOT = pathlib.Path(__file__).resolve().parents[2]
SOURCES = ["platform/orb/ActivityLock.cpp", "TrafficPolicy/views/ListLayout.cpp", "cli/Failures.cpp"]
PROGRAMS = ["tpcli", "counteragent", "TpcliLineEditor"]
# A compiler cache may hold what was compiled elsewhere.
UNCACHED = os.environ | {"CCACHE_DISABLE": "1"}


def result_of(words):
    return next(words[place + 1] for place, word in enumerate(words) if word in ("-o", "qc"))


def commands_of(build):
    """The sources, by their paths in the tree, and the commands that compile each alone."""
    for entry in json.loads((build / "compile_commands.json").read_text()):
        unit = entry["file"]
        together = re.findall(r'#include "(.*)"', pathlib.Path(unit).read_text()) if "/Unity/" in unit else [unit]
        # Alone and without precompiled headers, which are of the build's own folder.
        command = re.sub(r" -Winvalid-pch -include \S+", "", entry["command"])
        for source in together:
            yield source.removeprefix(f"{ROOT}/"), command.replace(unit, source)


def compiled(build, source, other):
    """The objects of SOURCES, from a copy of the sources and into a build folder elsewhere."""
    for room in ("platform", "TrafficPolicy", "state", "cli", "agent"):
        shutil.copytree(ROOT / room, source / room)
    for link in (build / "include").glob("*/*"):
        place = other / link.relative_to(build)
        place.parent.mkdir(parents=True)
        place.symlink_to(source / link.name)
    objects = {}
    for path, command in commands_of(build):
        if path in SOURCES:
            command = command.replace(f"{build}/", f"{other}/").replace(f"{ROOT}/", f"{source}/")
            made = other / result_of(shlex.split(command))
            made.parent.mkdir(parents=True, exist_ok=True)
            subprocess.run(command, shell=True, cwd=other, check=True, env=UNCACHED)
            objects[path] = made.read_bytes()
    return objects


def linked(build, other):
    """What the build links, linked again from the same objects; by its path in the build."""
    for path in build.glob("**/*.o"):
        place = other / path.relative_to(build)
        place.parent.mkdir(parents=True, exist_ok=True)
        place.symlink_to(path)
    commands = subprocess.run(["ninja", "-C", build, "-t", "commands", *PROGRAMS], capture_output=True, text=True,
                              check=True).stdout.splitlines()
    links = [command for command in commands if " -c " not in command]
    for command in links:
        subprocess.run(command, shell=True, cwd=other, check=True)
    made = [result_of(words) for words in map(shlex.split, links) if {"-o", "qc"} & set(words)]
    return {path: (other / path).read_bytes() for path in made}


def main(build):
    build = pathlib.Path(build).resolve()
    with tempfile.TemporaryDirectory() as name:
        folder = pathlib.Path(name)
        first = compiled(build, folder / "source", folder / "source/build")
        second = compiled(build, folder / "another/place", folder / "objects")
        links = linked(build, folder / "links")
    differing = [path for path in SOURCES if first.get(path) is None or first[path] != second[path]]
    differing += [path for path in links if links[path] != (build / path).read_bytes()]
    sys.stderr.writelines(f"{path} differs between builds\n" for path in differing)
    return 1 if differing or len(links) < 5 else 0


if __name__ == "__main__":
    sys.exit(main(*sys.argv[1:]))
