"""Makes the Debian packages of the build, has lintian read them, and installs them into an empty
root that holds nothing but the packages they depend on: there the programs do their work. The
argument is the build folder."""

import os
import pathlib
import re
import shutil
import subprocess
import sys
import tempfile

from install import check_programs, faults, run, told

STATUS = pathlib.Path("/var/lib/dpkg/status")
INFO = pathlib.Path("/var/lib/dpkg/info")
CANNOT_TELL = 77


def installed_packages():
    """The paragraphs of what is installed here, by the names of packages and of what they provide."""
    packages, provided = {}, {}
    for paragraph in STATUS.read_text().strip().split("\n\n"):
        fields = dict(re.findall(r"^(\S+): *(.*)$", paragraph, re.MULTILINE))
        if fields["Status"].endswith(" installed"):
            packages[fields["Package"]] = fields | {"paragraph": paragraph}
            for name in re.findall(r"([^\s,(]+)(?: \([^)]*\))?", fields.get("Provides", "")):
                provided.setdefault(name, fields["Package"])
    return packages, provided


def dependencies(fields):
    """The names in each group of alternatives."""
    groups = ", ".join(filter(None, (fields.get("Pre-Depends"), fields.get("Depends")))).split(",")
    return [[re.split(r"[ (:]", name.strip())[0] for name in group.split("|")] for group in groups if group.strip()]


def with_dependencies(names, packages, provided):
    found, wanted = {}, list(names)
    while wanted:
        name = wanted.pop()
        if name in found:
            continue
        found[name] = packages[name]
        for group in dependencies(packages[name]):
            known = [name if name in packages else provided.get(name) for name in group]
            wanted += [name for name in known if name][:1]
    return found


def make_root(root, packages):
    """A root of the files of these packages, with what dpkg knows of them."""
    for folder in ("bin", "sbin", "lib", "lib64"):
        (root / "usr" / folder).mkdir(parents=True)
        (root / folder).symlink_to(f"usr/{folder}")
    database = root / "var/lib/dpkg"
    for folder in ("info", "updates", "triggers"):
        (database / folder).mkdir(parents=True)
    (root / "tmp").mkdir()
    # Where programs see what they are, in place of the kernel's.
    (root / "proc/self").mkdir(parents=True)
    (root / "proc/self/exe").symlink_to("/usr/bin/tpcli")
    (database / "status").write_text("".join(f"{fields['paragraph']}\n\n" for fields in packages.values()))
    for name, fields in packages.items():
        listed = next(path for path in (INFO / f"{name}.list", INFO / f"{name}:{fields['Architecture']}.list")
                      if path.exists())
        shutil.copy(listed, database / "info")
        for line in listed.read_text().splitlines():
            source, target = pathlib.Path(line), root / line.lstrip("/")
            if source.is_dir() or not source.exists() or line.startswith(("/usr/share/doc/", "/usr/share/locale/")):
                continue
            target.parent.mkdir(parents=True, exist_ok=True)
            shutil.copy2(source, target, follow_symlinks=False)


def check_root(root, debs):
    fields = [dict(re.findall(r"^(\S+): *(.*)$", run("dpkg-deb", "-f", deb), re.MULTILINE)) for deb in debs]
    own = {package["Package"] for package in fields}
    needed = {names[0] for package in fields for names in dependencies(package)} - own
    # Packages need a shell and ldconfig to be installed, and the line editor the terminals that every system has.
    packages = with_dependencies({*needed, "dash", "libc-bin", "ncurses-base"}, *installed_packages())
    make_root(root, packages)
    # dpkg itself checks that all dependencies are there.
    run("dpkg", f"--root={root}", "--force-bad-path", "--install", *debs, PATH="/usr/sbin:/usr/bin:/sbin:/bin")
    check_programs(pathlib.Path("/usr"), "/usr/sbin/chroot", root)


def main(build):
    if os.geteuid() != 0:
        print("only root may install packages into a root of their own")
        return CANNOT_TELL
    with tempfile.TemporaryDirectory() as name:
        folder = pathlib.Path(name)
        run("cpack", "--config", pathlib.Path(build) / "CPackConfig.cmake", "-B", folder / "packages")
        debs = sorted((folder / "packages").glob("*.deb"))
        if len(debs) != 3:
            faults.append(f"these packages are made: {debs}")
        reading = subprocess.Popen(["lintian", "--allow-root", "--fail-on", "error", *debs], text=True,
                                   stdout=subprocess.PIPE, stderr=subprocess.STDOUT)
        check_root(folder / "root", debs)
        complaints, _ = reading.communicate(timeout=120)
        if reading.returncode:
            faults.append(f"lintian says\n{complaints}")
    return told()


if __name__ == "__main__":
    sys.exit(main(*sys.argv[1:]))
