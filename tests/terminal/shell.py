"""The interactive shell in a real terminal: keys in, screen out. TPCLI_PATH names the program."""
import json
import os
import pty
import re
import shutil
import signal
import stat
import subprocess
import sys
import tempfile
import unittest

sys.dont_write_bytecode = True
from screen import Screen  # noqa: E402

TPCLI = os.environ["TPCLI_PATH"]
SOURCES = os.path.dirname(os.path.dirname(os.path.dirname(os.path.abspath(__file__))))
PROMPT = r"^tpcli>"
IDLE = r"^tpcli>\Z"  # the last thing on the screen is an empty prompt


class Shell(unittest.TestCase):
    def setUp(self):
        folder = tempfile.TemporaryDirectory()
        self.addCleanup(folder.cleanup)
        self.folder = folder.name
        self.state = os.path.join(self.folder, "state")
        shutil.copytree(os.path.join(SOURCES, "examples", "campus"), self.state)

    def start(self, *options, **how):
        how.setdefault("environment", {})["HOME"] = self.folder
        screen = Screen(" ".join([TPCLI, "--state", self.state, *options]), **how)
        self.addCleanup(screen.__exit__)
        screen.wait(PROMPT)
        return screen

    def document(self, name, change):
        """Changes a document as a careful writer does: a new file takes its place."""
        path = os.path.join(self.state, name)
        with open(path, encoding="utf-8") as file:
            document = json.load(file)
        change(document)
        with open(path + ".new", "w", encoding="utf-8") as file:
            json.dump(document, file, ensure_ascii=False)
        os.rename(path + ".new", path)

    def add_policy(self, name):
        self.document("config.json", lambda config: config["policyMapConfig"].update({name: {}}))


class Keys(Shell):
    def test_tab_completes_keywords_and_names_of_the_state(self):
        for columns in 80, 200:
            screen = self.start(columns=columns)
            screen.line("show traffic-policy vlan summary")  # waits for the state
            screen.wait("VLAN-PRINTERS")
            for typed, wanted in [
                    ("sh", "show"), ("show t", "show traffic-policy"),
                    ("show traffic-policy COPP-M", "COPP-MGMT"),
                    ("show traffic-policy COPP", "COPP-"),
                    ("show traffic-policy field-set ipv4 prefix BLO", "prefix BLOCKLIST"),
                    ("show traffic-policy field-set mac CAM", "mac CAMERAS"),
                    ("show traffic-policy cpu | inc", r"\| include"),
                    ("term", "terminal")]:
                screen.type("C-u", typed, "Tab")
                screen.wait(wanted + r"\Z")
            screen.type("C-u", "show traffic-policy COPP-", "Tab")
            self.assertNotIn("EDGE-IN", screen.wait("COPP-RESEARCH(.|\n)*COPP-\\Z"))
            screen.type("C-u", "C-l", "show traffic-policy ", "Tab")  # as many as fit on a line
            row = re.search("^ACCESS-IN.*", screen.wait("SERVER-FARM"), re.MULTILINE).group()
            self.assertEqual(len(row.split()) > 4, columns == 200)

    def test_question_mark_answers_at_once_and_leaves_the_line(self):
        screen = self.start()
        screen.type("show traffic-policy cpu ", "?")
        shown = screen.wait(r"<Enter>.*\n(.*\n)*tpcli> show traffic-policy cpu$")
        for line in [r"^  summary   *without ", r"^  errors   *where policies failed", r"^  <Enter>",
                     r"^  \|   *filter"]:
            self.assertRegex(shown, re.compile(line, re.MULTILINE))
        screen.type("summary | no-more", "Enter")
        screen.wait("^Traffic policy COPP-DEFAULT(.|\n)*" + IDLE)
        screen.type("show traffic-policy cpu | count | ", "?")
        self.assertNotIn("  include", screen.wait("^  save"))
        screen.type("C-u", 'show traffic-policy vlan | count | include "a', "?")
        screen.wait(r'include "a\?$')
        screen.type("C-u", "show nonsense ", "?")
        screen.wait('^"nonsense" cannot stand here, expected traffic-policy or marks$')

    def test_names_outside_ascii_and_with_blanks(self):
        self.add_policy("Büro 東京")
        screen = self.start()
        screen.line("show traffic-policy vlan | count")
        screen.wait("lines")
        screen.type("show traffic-policy Bü", "?", "C-u", 'show traffic-policy "Bü', "Tab")
        screen.wait('show traffic-policy "Büro 東京"')
        screen.type("vlan sumary", "Enter")
        # The caret stands under the word, counted in columns.
        shown = screen.wait(r"\^~+ expected").split("\n")
        caret = [i for i, line in enumerate(shown) if "^~" in line][0]
        wide = shown[caret - 1].replace("東京", "東_京_")
        self.assertEqual(wide.index("sumary"), shown[caret].index("^"))

    def test_history_lasts_and_is_searched(self):
        screen = self.start()
        screen.line("show traffic-policy vlan | count")
        screen.wait("lines")
        screen.line("exit")
        self.assertEqual(screen.exit_status(), "0")
        path = os.path.join(self.folder, ".local", "state", "tpcli", "history")
        self.assertEqual(stat.S_IMODE(os.stat(path).st_mode), 0o600)
        screen = self.start()
        screen.line("history | include vlan")
        screen.wait(r"^ *1  show traffic-policy vlan \| count$")
        screen.type("C-r", "cy vlan", "Enter")
        screen.wait(r"^tpcli> show traffic-policy vlan \| count\n\d+ lines")
        screen.type("Up", "Up")
        screen.wait("^tpcli> history")
        # Elsewhere, where the environment says so.
        screen = self.start(environment={"XDG_STATE_HOME": os.path.join(self.folder, "xdg")})
        screen.line("show x")
        screen.wait("expected traffic-policy")
        self.assertTrue(os.path.exists(os.path.join(self.folder, "xdg", "tpcli", "history")))

    def test_history_of_others_is_left_alone(self):
        path = os.path.join(self.folder, ".local", "state", "tpcli", "history")
        os.makedirs(os.path.dirname(path))
        other = os.path.join(self.folder, "other")
        with open(other, "w", encoding="utf-8") as file:
            size = file.write("show \033]0;x\007title\n")
        for make in (os.symlink, lambda _, name: os.mkfifo(name), os.link):
            make(other, path)
            screen = self.start()
            screen.line("show nonsense")
            shown = screen.wait("cannot stand here(.|\n)*" + IDLE)
            self.assertEqual("the history is not kept" in shown, make != os.link)
            screen.line("history")
            screen.wait(r"^ *\d  show nonsense$")
            if make == os.link:  # a file of this user; its control characters are shown, not sent
                self.assertIn(r"show \x1b]0;x\x07title", screen.text())
            else:
                self.assertEqual(os.path.getsize(other), size)
            screen.line("exit")
            screen.exit_status()
            os.unlink(path)


class Reports(Shell):
    def test_pipes(self):
        screen = self.start()
        screen.line("terminal length 0")
        for line, wanted in [
                ("sh tr ACCESS-IN int | inc Drop$ | c", r"^\d lines$"),
                ("show traffic-policy vlan | no-more", "^WARNING: "),
                ("show traffic-policy cpu summary | section rest | count", r"^\d+ lines"),
                ("show traffic-policy cpu | exclude e", "^Traffic policy|^ "),
                ("show traffic-policy interface errors | begin VLAN|TAP", "^Traffic policy TAP-IN"),
                ("show traffic-policy vlan errors | json", r'^\{"trafficPolicies"'),
                ("show traffic-policy vlan | save %s/saved" % self.folder, PROMPT),
                ("show traffic-policy vlan | include (", r"\^ expected one of POSIX")]:
            screen.type("C-l", line, "Enter")
            screen.wait(re.escape(line) + r"\n(.*\n)*" + IDLE)
            self.assertRegex(screen.text(history=False), re.compile(wanted, re.MULTILINE))
        with open(os.path.join(self.folder, "saved"), encoding="utf-8") as file:
            self.assertIn("Traffic policy VLAN-PRINTERS", file.read())

    def test_pager_begins_where_the_screen_ends(self):
        screen = self.start()
        screen.line("show traffic-policy interface")
        screen.wait(r"^:$")
        screen.type("q")  # left early
        screen.wait(IDLE)
        screen.line("show traffic-policy vlan errors")
        screen.wait("^WARNING: (.|\n)*" + IDLE)
        screen.line("terminal length 0")
        screen.line("show traffic-policy LAB-IN interface")
        screen.wait(r"rules configured: 0\n(tpcli: .*\n)?" + IDLE)
        screen.line("terminal length 3")
        screen.line("show traffic-policy vlan errors")
        screen.wait(IDLE)  # less -F itself looks at the screen
        screen.line("terminal length many")
        screen.wait("expected lines of the screen")
        for pager, complaint in [("false", "ended with status 1: false"), ("/nowhere/more", "cannot be run: /nowhere")]:
            screen = self.start(environment={"PAGER": pager})
            screen.line("show traffic-policy interface")
            screen.wait("the pager " + complaint)

    def test_colours_on_terminals_only(self):
        for options, colour in ([], True), (["--color", "never"], False), (["--color=always"], True):
            screen = self.start(*options)
            screen.line("show traffic-policy vlan errors | no-more")
            screen.wait("^WARNING: ")
            self.assertEqual("\033[31m" in screen.text(escapes=True), colour)
        screen = self.start(environment={"NO_COLOR": "1"})
        screen.line("show traffic-policy vlan errors | save %s/plain" % self.folder)
        screen.line("show traffic-policy vlan errors")
        screen.wait("^WARNING: ")
        self.assertNotIn("\033[31m", screen.text(escapes=True))
        plain = subprocess.run([TPCLI, "--state", self.state, "show", "traffic-policy", "vlan",
                                "errors"], check=True, capture_output=True).stdout
        with open(os.path.join(self.folder, "plain"), "rb") as file:
            self.assertEqual(file.read(), plain)


class LiveState(Shell):
    def test_a_change_is_told_once_and_shown(self):
        screen = self.start()
        screen.line("show traffic-policy vlan | count")
        screen.wait("lines")
        screen.type("show traffic-policy NEW")  # a line that is being typed stays
        self.add_policy("NEWCOMER")
        screen.wait(r"^\d\d:\d\d:\d\d config.json changed; the new state is in force\n"
                    r"tpcli> show traffic-policy NEW$")
        screen.type("Tab", "vlan", "Enter")
        shown = screen.wait(r"^tpcli> show traffic-policy NEWCOMER vlan\n(.|\n)*" + PROMPT + "$")
        self.assertEqual(shown.count("changed; the new state"), 1)

    def test_a_mistake_is_refused_at_every_command(self):
        screen = self.start()
        screen.line("show traffic-policy vlan | count")
        screen.wait("lines")
        path = os.path.join(self.state, "status.json")
        shutil.copy(path, path + ".good")
        with open(path, "w", encoding="utf-8") as file:
            file.write('{"hwstatus": {}}')
        screen.wait("is refused: ")
        for _ in range(2):
            screen.clear()
            screen.line("show traffic-policy vlan | count")
            shown = screen.wait(r"^\d+ lines")
            self.assertIn("stays in force", shown)
            self.assertIn('status.json: at ""', shown.replace("\n", ""))
        os.rename(path + ".good", path)
        screen.wait("the new state is in force")
        screen.clear()
        screen.line("show traffic-policy vlan | count")
        self.assertNotIn("stays in force", screen.wait(r"^\d+ lines"))

    def test_a_running_show_ends_on_the_state_it_began_with(self):
        screen = self.start()
        screen.line("show traffic-policy interface | include ^Traffic | count")
        count = re.search(r"^(\d+) lines", screen.wait("lines"), re.MULTILINE).group(1)
        screen.line("show traffic-policy interface")
        screen.wait("^:$")
        self.document("config.json", lambda config: (
            config["policyMapConfig"].update({"ZZZ-NEW": {}}),
            config["intfConfigInput"].update({"Ethernet99": "ZZZ-NEW"})))
        screen.type("G")
        self.assertNotIn("ZZZ-NEW", screen.wait(r"\(END\)|WARNING"))
        screen.type("q")
        screen.wait("the new state is in force")
        screen.line("show traffic-policy interface | include ^Traffic | count")
        screen.wait("^%d lines" % (int(count) + 1))


class Terminal(Shell):
    def test_interrupts_end_the_command_and_not_the_shell(self):
        prefixes = ["10.%d.%d.%d/32" % (i >> 16, i >> 8 & 255, i & 255) for i in range(300000)]
        self.document("config.json", lambda config: config["fieldSetConfig"]["fieldSetIpPrefix"]
                      .update({"LARGE": {"currCfg": {"prefixes": prefixes}}}))
        screen = self.start()
        for line in ["", " | no-more", " | include 10 | no-more"]:
            screen.clear()
            screen.line("show traffic-policy field-set ipv4 prefix LARGE" + line)
            if line:
                screen.wait(r"^10\.\d+.*\n10\.", history=False)
                screen.type("C-c")
                screen.wait("exiting interrupted", history=False)
            else:
                screen.wait("^:$", history=False)
                screen.type("C-c")
                screen.wait_typing("q", PROMPT, history=False)
                screen.type("C-u")
            screen.wait(IDLE, history=False)
        screen.clear()
        screen.type("show tra")  # read before the signal, at which the terminal drops what is typed
        screen.wait("show tra$")
        screen.type("C-c")
        screen.wait(r"show tra\^C\ntpcli>$")
        screen.type("C-d")
        self.assertEqual(screen.exit_status(), "0")

    def test_suspended_resumed_and_resized(self):
        screen = Screen("env PS1=sh: bash --norc --noprofile -i", environment={"HOME": self.folder})
        self.addCleanup(screen.__exit__)
        screen.wait("^sh:")
        screen.line("%s --state %s" % (TPCLI, self.state))
        screen.wait(PROMPT)
        screen.type("show tra")
        screen.wait("show tra$")
        screen.type("C-z")
        screen.wait(r"Stopped(.|\n)*^sh:$")
        screen.line("stty -a | grep -o ' echo '; fg")
        screen.wait(r"^ echo(.|\n)*^tpcli> show tra$")
        screen.resize(120, 30)
        screen.type("ffic-policy vlan errors", "Enter")
        screen.wait("^WARNING: (.|\n)*" + PROMPT)
        screen.line("exit")
        screen.wait(r"exit\nsh:$")

    def test_bash_completes_words_and_names(self):
        path = os.path.dirname(TPCLI) + ":" + os.environ["PATH"]
        screen = Screen("env PS1=sh: bash --norc --noprofile -i",
                        environment={"HOME": self.folder, "PATH": path, "TPCLI_STATE": self.state})
        self.addCleanup(screen.__exit__)
        screen.wait("^sh:")
        screen.line("source %s/cli/completion.bash" % SOURCES)
        for typed, wanted in [("tpcli --js", "--json"), ("tpcli show traffic-policy EDGE-O", "EDGE-OUT"),
                              ("tpcli --state=/nowhere sh", "nowhere show")]:
            screen.type("C-u", typed, "Tab")
            screen.wait(wanted + r"\Z")

    def test_a_lost_terminal_ends_the_shell(self):
        screen = self.start()
        screen.line("show traffic-policy vlan | count")
        screen.wait("lines")
        os.kill(screen.process(), signal.SIGHUP)
        self.assertEqual(screen.exit_status(), "129")


class Watching(Shell):
    COMMAND = "show traffic-policy COPP-OTHERS cpu counters"

    def count(self, packets):
        def change(status):
            status["cpu"]["policyMapStatus"]["COPP-OTHERS"]["classCounter"]["nd"]["packets"] = packets
        self.document("status.json", change)

    def test_what_changed_is_marked_and_the_screen_comes_back(self):
        for options, mark in [("--color always", "\x1b\\[7m"), ("--color never", r"^\* *match rule: nd")]:
            screen = self.start(options)
            screen.line("watch 1 " + self.COMMAND)
            screen.wait(r"^Every 1 s, 20.*Z: %s$(.|\n)*match rule: nd: " % self.COMMAND)
            self.assertNotRegex(screen.text(escapes=True, history=False), re.compile(mark, re.MULTILINE))
            self.count(10 ** 9)
            screen.wait(mark, escapes=True, history=False)
            screen.resize(60, 4)
            screen.wait(r"^\.\.\. \d more lines", history=False)
            screen.resize(80, 24)
            screen.type("C-c")
            self.assertNotIn("Every", screen.wait(IDLE, history=False))
            screen.line("exit")
            self.assertEqual(screen.exit_status(), "0")
            self.count(10 ** 8)

    def test_a_stopped_watch_leaves_the_screen(self):
        for watch, end in [("%s --state %s --watch 0.5 " % (TPCLI, self.state), r"^sh:\Z"),
                           ("watch 0.5 ", IDLE)]:
            screen = Screen("env PS1=sh: bash --norc --noprofile -i", environment={"HOME": self.folder})
            self.addCleanup(screen.__exit__)
            screen.wait("^sh:")
            if end == IDLE:
                screen.line("%s --state %s" % (TPCLI, self.state))
                screen.wait(PROMPT)
            screen.line(watch + self.COMMAND)
            for resume, wanted in [("fg", "^Every 0.5 s"), ("bg", r"&\nsh:\Z"), ("fg", "^Every 0.5 s")]:
                screen.wait("^Every 0.5 s", history=False)
                screen.type("C-z")
                self.assertNotIn("Every", screen.wait(r"Stopped(.|\n)*^sh:\Z", history=False))
                screen.line(resume)
                screen.wait(wanted, history=False)
                if resume == "bg":  # nothing is drawn behind the back of who is typing
                    screen.line("sleep 0.6; fg")
            screen.type("C-c")
            self.assertNotIn("Every", screen.wait(end, history=False))

    def test_whatever_ends_a_watch_gives_the_terminal_back(self):
        for signals in [[signal.SIGINT], [signal.SIGTERM], [signal.SIGHUP], [signal.SIGQUIT],
                        # The second comes before the first is noticed.
                        [signal.SIGSTOP, signal.SIGINT, signal.SIGTERM, signal.SIGCONT]]:
            terminal, theirs = pty.openpty()
            process = subprocess.Popen([TPCLI, "--state", self.state, "--watch", "0.1", *self.COMMAND.split()],
                                       stdin=theirs, stdout=theirs, start_new_session=True)
            os.close(theirs)
            shown = os.read(terminal, 4096)
            for number in signals:
                process.send_signal(number)
            try:
                while piece := os.read(terminal, 4096):
                    shown += piece
            except OSError:  # the last who had it open is gone
                os.close(terminal)
            self.assertEqual(process.wait(), 130 if signals == [signal.SIGINT] else
                             -(signal.SIGINT if signal.SIGSTOP in signals else signals[0]))
            self.assertEqual(shown.count(b"\x1b[?1049h"), shown.count(b"\x1b[?1049l"))
            self.assertRegex(shown, rb"\x1b\[\?25h\x1b\[\?1049l(exiting interrupted\r\n)?$")

    def test_without_a_terminal_reports_follow_each_other(self):
        process = subprocess.Popen([TPCLI, "--state", self.state, "--json", "--watch", "0.1", *self.COMMAND.split()],
                                   stdout=subprocess.PIPE, text=True)
        documents = [json.loads(process.stdout.readline()) for _ in range(2)]
        self.count(10 ** 9)
        while documents[-1]["report"] == documents[0]["report"]:
            documents.append(json.loads(process.stdout.readline()))
        process.send_signal(signal.SIGINT)
        process.stdout.close()
        self.assertIn(process.wait(), (130, 141))
        self.assertRegex(documents[0]["time"], "^20.*Z$")


if __name__ == "__main__":
    unittest.main()
