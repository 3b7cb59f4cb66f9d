"""A terminal with a screen: tmux on a socket of its own. Tests type keys and wait for what the screen
shows; nothing waits for a time."""
import os
import re
import shlex
import subprocess
import tempfile
import time

PATIENCE = float(os.environ.get("PATIENCE", 60))  # seconds until a screen that does not show something is a failure


class Screen:
    def __init__(self, command, columns=80, lines=24, environment=None, folder=None):
        self._folder = tempfile.TemporaryDirectory()
        self._socket = os.path.join(self._folder.name, "socket")
        env = {"PATH": os.environ["PATH"], "HOME": self._folder.name, "LANG": "C.UTF-8",
               "TERM": "screen-256color", "SHELL": "/bin/sh", **(environment or {})}
        self.home = env["HOME"]
        self._env = env
        assigned = ["%s=%s" % pair for pair in env.items()]
        self._tmux("new-session", "-d", "-x", str(columns), "-y", str(lines), "-c",
                   folder or self._folder.name,
                   "exec env -i " + " ".join(map(shlex.quote, assigned)) + " " + command)
        self._tmux("set-option", "-g", "remain-on-exit", "on")

    def __enter__(self):
        return self

    def __exit__(self, *_):
        # What runs in the terminal is told that it is gone, and may write a last line.
        session = "/proc/%d/stat" % self.process()
        subprocess.run(self._arguments("kill-server"), check=False, capture_output=True)
        try:
            while open(session, encoding="utf-8").read().rsplit(")", 1)[1].split()[0] != "Z":
                time.sleep(0.02)
        except OSError:
            pass
        self._folder.cleanup()

    def _arguments(self, *words):
        return ["tmux", "-u", "-f", "/dev/null", "-S", self._socket, *words]

    def _tmux(self, *words):
        return subprocess.run(self._arguments(*words), check=True, capture_output=True,
                              env=self._env).stdout.decode()

    def type(self, *keys):
        """Keys by their names ("Tab", "C-c", "Enter"), anything else letter by letter."""
        for key in keys:
            named = re.fullmatch(r"Tab|Enter|Escape|Up|Down|Left|Right|Home|C-.|BSpace|Space", key)
            self._tmux("send-keys", *([] if named else ["-l"]), "--", key)

    def line(self, text):
        self.type(text, "Enter")

    def text(self, escapes=False, history=True):
        """What the screen shows, without blanks at the ends of lines."""
        shown = self._tmux("capture-pane", "-p", *(["-S", "-5000"] if history else []),
                           *(["-e"] if escapes else []))
        return "\n".join(line.rstrip() for line in shown.rstrip().split("\n"))

    def wait(self, wanted, **how):
        """Waits until the screen shows what the expression matches; gives the whole screen."""
        deadline = time.monotonic() + PATIENCE
        while True:
            shown = self.text(**how)
            if re.search(wanted, shown, re.MULTILINE):
                return shown
            if time.monotonic() > deadline:
                raise AssertionError("the screen never shows %r:\n%s" % (wanted, shown))
            time.sleep(0.02)

    def wait_typing(self, key, wanted, **how):
        """The same with a key that is typed now and then: who handles a signal may drop keys."""
        deadline = time.monotonic() + PATIENCE
        while time.monotonic() < deadline:
            self.type(key)
            for _ in range(25):
                if re.search(wanted, self.text(**how), re.MULTILINE):
                    return
                time.sleep(0.02)
        raise AssertionError("the screen never shows %r:\n%s" % (wanted, self.text(**how)))

    def resize(self, columns, lines):
        self._tmux("resize-window", "-x", str(columns), "-y", str(lines))

    def clear(self):
        """Forgets what has scrolled away, and what the screen shows."""
        self._tmux("send-keys", "-R")
        self._tmux("clear-history")

    def process(self):
        return int(self._tmux("display-message", "-p", "#{pane_pid}"))

    def exit_status(self):
        """Waits until the program has ended. tmux may miss that; the system then still knows."""
        stat = "/proc/%d/stat" % self.process()
        deadline = time.monotonic() + PATIENCE
        while time.monotonic() < deadline:
            status = self._tmux("display-message", "-p", "#{pane_dead_status}").strip()
            if status:
                return status
            try:
                fields = open(stat, encoding="utf-8").read().rsplit(")", 1)[1].split()
                if fields[0] == "Z":
                    return str(os.waitstatus_to_exitcode(int(fields[-1])))
            except OSError:
                pass  # ended, and tmux is about to say so
            time.sleep(0.02)
        raise AssertionError("the program does not end:\n" + self.text())
