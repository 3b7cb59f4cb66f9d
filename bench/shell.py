"""How quick the shell is on a large state: bench/shell.py TPCLI BENCHMARKS STATE, the built programs
and a state of build/generate-state with 100,000 rules. Prints the least of several runs."""

import os
import pty
import re
import shutil
import subprocess
import sys
import time

RUNS = 11


class Terminal:
    """A shell on a terminal."""

    def __init__(self, tpcli, state):
        self.began = time.monotonic()
        process, self.fd = pty.fork()
        if process == 0:
            os.environ.update(TERM="xterm", XDG_STATE_HOME=state, PAGER="")
            os.execv(tpcli, [tpcli, "--state", state])
        self.process = process

    def wait(self, wanted):
        """The seconds until the screen shows it."""
        began, shown = time.monotonic(), b""
        while not re.search(wanted, shown):
            shown += os.read(self.fd, 1 << 16)
        return time.monotonic() - began

    def type(self, keys):
        os.write(self.fd, keys)

    def close(self):
        os.close(self.fd)
        os.waitpid(self.process, 0)


def least_ms(measure):
    """Of several runs, so that others who use the machine do not count."""
    return 1000 * min(measure() for _ in range(RUNS))


def prompt(tpcli, state):
    terminal = Terminal(tpcli, state)
    terminal.wait(rb"tpcli> ")
    took = time.monotonic() - terminal.began
    terminal.close()
    return took


def tab(terminal, typed, wanted):
    terminal.type(typed)
    terminal.wait(re.escape(typed))
    terminal.type(b"\t")
    took = terminal.wait(wanted)
    terminal.type(b"\x15\r")
    terminal.wait(rb"tpcli> $")
    return took


def seconds(*command):
    began = time.monotonic()
    subprocess.run(command, check=True, stdout=subprocess.DEVNULL)
    return time.monotonic() - began


def changed(state):
    """The status as if it were new."""
    path = os.path.join(state, "status.json")
    shutil.copy(path, path + ".new")
    os.rename(path + ".new", path)


def reload(terminal, state):
    began = time.monotonic()
    changed(state)
    terminal.wait(rb"is in force")
    return time.monotonic() - began


def longest_shows(tpcli, state, change):
    """The longest of many short shows, again and again; each time the documents may change."""
    shell = subprocess.Popen([tpcli, "--state", state], stdin=subprocess.PIPE, stdout=subprocess.PIPE, bufsize=0)

    def show():
        began = time.monotonic()
        shell.stdin.write(b"show traffic-policy field-set vlan | count\n")
        shell.stdout.readline()
        return time.monotonic() - began

    show()  # waits for the state

    def longest():
        if change:
            changed(state)
        began, most = time.monotonic(), 0
        while time.monotonic() < began + 1:
            most = max(most, show())
        return most

    most = least_ms(longest)
    shell.stdin.close()
    shell.wait()
    return most


def processor_seconds(*command):
    process = subprocess.Popen(command, stdout=subprocess.DEVNULL)
    usage = os.wait4(process.pid, 0)[2]
    return usage.ru_utime + usage.ru_stime


def main(tpcli, benchmarks, state):
    tpcli = os.path.abspath(tpcli)
    show = [tpcli, "--state", state, "-c"]
    print(f"prompt visible          {least_ms(lambda: prompt(tpcli, state)):6.1f} ms")
    terminal = Terminal(tpcli, state)
    terminal.wait(rb"tpcli> ")
    terminal.type(b"show traffic-policy vlan\r")
    terminal.wait(rb"tpcli> $")
    all_names = least_ms(lambda: tab(terminal, b"show traffic-policy ", rb"\d+ more"))
    some_names = least_ms(lambda: tab(terminal, b"show traffic-policy CORE-12", rb"CORE-12\d-"))
    print(f"Tab, of 1,000 names     {all_names:6.1f} ms\nTab, of ten names       {some_names:6.1f} ms")
    cold = least_ms(lambda: seconds(*show, "show traffic-policy vlan"))
    again = least_ms(lambda: reload(terminal, state))
    terminal.close()
    print(f"cold load               {cold:6.1f} ms\nreload                  {again:6.1f} ms, {again / cold:.2f} of it")
    print(f"longest short show      {longest_shows(tpcli, state, False):6.1f} ms")
    print(f"the same while reading  {longest_shows(tpcli, state, True):6.1f} ms")
    # In time of the processor, as the benchmark's figure below.
    many = 20
    summary = "show traffic-policy interface summary"
    loaded = least_ms(lambda: (processor_seconds(*show, *[summary] * (many + 1)) -
                               processor_seconds(*show, summary)) / many)
    rows = subprocess.run([benchmarks, "--benchmark_filter=show/summary_text/100000/", "--benchmark_format=csv",
                           f"--benchmark_repetitions={RUNS}"], stdout=subprocess.PIPE, stderr=subprocess.DEVNULL,
                          text=True, check=True).stdout.splitlines()
    times = [float(row.split(",")[3]) for row in rows if row.startswith('"show/') and "_time\"," in row]
    print(f"summary, state loaded   {loaded:6.1f} ms, {loaded / min(times):.2f} of the benchmark")


if __name__ == "__main__":
    main(*sys.argv[1:])
