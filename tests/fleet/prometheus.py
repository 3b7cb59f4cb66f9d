"""A real Prometheus scrapes three exporters beside agents that count, and then knows what tpcli shows.
Its own tool checks the figures, the shipped configuration and the alerts. The argument is the folder
of the programs."""

import json
import pathlib
import shutil
import socket
import subprocess
import sys
import tempfile
import time
import unittest
import urllib.error
import urllib.parse
import urllib.request

ROOT = pathlib.Path(__file__).resolve().parents[2]
EXAMPLES = ROOT / "examples/prometheus"
PROGRAMS = pathlib.Path(sys.argv.pop(1)).resolve()
SWITCHES = ("leaf1", "leaf2", "leaf3")
RATE = 200  # packets a second, of every counter
# A named counter is what it is.
LINTED = [f"traffic_policy_counter_{unit}_total metric name should not include type 'counter'"
          for unit in ("bytes", "packets")]


def promtool(*words, **options):
    return subprocess.run(["promtool", *map(str, words)], capture_output=True, text=True, **options)


def wait_for(what, condition):
    end = time.monotonic() + 30
    while time.monotonic() < end:
        found = condition()
        if found:
            return found
        time.sleep(0.05)
    raise AssertionError(f"waited for {what} in vain")


class Tool(unittest.TestCase):
    def test_examples(self):
        for words in (("check", "config", EXAMPLES / "prometheus.yml"),
                      ("check", "rules", EXAMPLES / "recording.yml", EXAMPLES / "alerts.yml"),
                      ("test", "rules", EXAMPLES / "alerts-test.yml")):
            done = promtool(*words)
            self.assertEqual(done.returncode, 0, done.stdout + done.stderr)

    def test_the_dashboard_asks_for_what_there_is(self):
        known = {line.split()[2] for line in self.figures(ROOT / "examples/campus").splitlines() if line.startswith("# TYPE")}
        known |= {line.split()[2] for line in (EXAMPLES / "recording.yml").read_text().splitlines() if "- record:" in line}
        dashboard = json.loads((EXAMPLES / "dashboard.json").read_text())
        queries = [target["expr"] for panel in dashboard["panels"] for target in panel.get("targets", [])]
        self.assertGreater(len(queries), 6)
        for query in queries:
            self.assertTrue(any(name in query for name in known), query)

    def test_metrics(self):
        for grain in ("--per-rule", "--per-policy"):
            done = promtool("check", "metrics", input=self.figures(ROOT / "examples/campus", grain))
            self.assertEqual(sorted(done.stderr.splitlines()), LINTED)

    def figures(self, state, *options):
        with tempfile.TemporaryDirectory() as folder:
            path = pathlib.Path(folder) / "x.prom"
            subprocess.run([PROGRAMS / "tpexporter", "--state", state, "--textfile", path, *options], check=True,
                           stderr=subprocess.DEVNULL)
            return path.read_text()


class Prometheus(unittest.TestCase):
    def setUp(self):
        self.folder = pathlib.Path(tempfile.mkdtemp())
        self.addCleanup(shutil.rmtree, self.folder)
        self.agents = {}
        targets = []
        for name in SWITCHES:
            state = self.folder / name
            shutil.copytree(ROOT / "examples/campus", state, ignore=shutil.ignore_patterns("*.reef", "snapshots.json"))
            status = json.loads((state / "status.json").read_text())
            forget_counts(status)
            (state / "status.json").write_text(json.dumps(status))
            self.start_agent(name)
            targets.append({"targets": [f"127.0.0.1:{self.start_exporter(name)}"], "labels": {"site": name}})
        (self.folder / "targets").mkdir()
        (self.folder / "targets/switches.yml").write_text(json.dumps(targets))
        for name in ("recording.yml", "alerts.yml"):
            shutil.copy(EXAMPLES / name, self.folder)
        config = (EXAMPLES / "prometheus.yml").read_text()
        (self.folder / "prometheus.yml").write_text(
            config.replace("_interval: 30s", "_interval: 300ms").replace("regex: traffic_policy_.*_created", "regex: none"))
        self.start_prometheus()

    def start(self, *words, **options):
        process = subprocess.Popen(list(map(str, words)), text=True, **options)
        self.addCleanup(end, process)
        return process

    def start_agent(self, name, *options):
        agent = self.start(PROGRAMS / "counteragent", "--state", self.folder / name, "--rate", RATE, *options,
                           stdout=subprocess.PIPE)
        self.assertIn("records", agent.stdout.readline())
        self.agents[name] = agent

    def start_exporter(self, name):
        exporter = self.start(PROGRAMS / "tpexporter", "--state", f"{name}={self.folder / name}", "--listen",
                              "127.0.0.1:0", stderr=subprocess.PIPE)
        line = exporter.stderr.readline()
        self.assertIn("serving at", line)
        return int(line.rsplit(":", 1)[1].strip(" /\n"))

    def start_prometheus(self):
        with socket.create_server(("127.0.0.1", 0)) as probe:
            port = probe.getsockname()[1]
        self.url = f"http://127.0.0.1:{port}"
        self.start("prometheus", f"--config.file={self.folder}/prometheus.yml", f"--storage.tsdb.path={self.folder}/data",
                   f"--web.listen-address=127.0.0.1:{port}", stderr=subprocess.DEVNULL)
        wait_for("Prometheus", lambda: len(self.ask("up == 1")) == len(SWITCHES))

    def ask(self, query):
        url = f"{self.url}/api/v1/query?" + urllib.parse.urlencode({"query": query})
        try:
            with urllib.request.urlopen(url, timeout=20) as answer:
                return json.load(answer)["data"]["result"]
        except (urllib.error.URLError, ConnectionError):
            return []

    def shown(self, name):
        """What tpcli shows: packets by direction, policy, and rule or counter."""
        counts = {}
        for direction in ("input", "output"):
            report = json.loads(subprocess.run(
                [PROGRAMS / "tpcli", "--state", self.folder / name, "--json", "show", "traffic-policy", "interface",
                 direction, "counters"], check=True, capture_output=True).stdout)
            for policy, record in report["trafficPolicies" if direction == "input" else "egressTrafficPolicies"].items():
                for kind in ("namedCounters", "unnamedCounters"):
                    for counter, values in record.get(kind, {}).items():
                        if "packetTotal" in values.get("totals", {}):
                            counts[direction, policy, kind, counter] = values["totals"]["packetTotal"]
        return counts

    def known(self, name):
        """The same as Prometheus knows it."""
        counts = {}
        for metric, kind, label in (("rule", "unnamedCounters", "rule"), ("counter", "namedCounters", "counter")):
            for series in self.ask(f'traffic_policy_{metric}_packets_total{{switch="{name}",kind="interface"}}'):
                labels = series["metric"]
                counts[labels["direction"], labels["policy"], kind, labels[label]] = int(float(series["value"][1]))
        return counts

    def test_it_knows_what_tpcli_shows(self):
        wait_for("rates", lambda: len(self.ask("rate(traffic_policy_rule_packets_total[2s]) > 0")) > 50)
        began = {series["metric"]["switch"]: series["value"][1]
                 for series in self.ask("max by (switch) (traffic_policy_rule_packets_created{kind=\"interface\"})")}

        for agent in self.agents.values():
            end(agent)
        for name in SWITCHES:
            shown = self.shown(name)
            self.assertGreater(len(shown), 50)
            self.assertTrue(any(shown.values()))
            wait_for(f"the counts of {name}",
                     lambda: {key: count for key, count in self.known(name).items() if key in shown} == shown)

        # Counters that begin anew, at nothing, give no spike.
        self.start_agent("leaf1", "--recreate")
        wait_for("new counters", lambda: float(self.ask(
            "max(traffic_policy_rule_packets_created{switch=\"leaf1\"})")[0]["value"][1]) > float(began["leaf1"]))
        wait_for("rates again", lambda: self.ask(
            "rate(traffic_policy_rule_packets_total{switch=\"leaf1\",policy=\"EDGE-IN\",rule=\"rest\"}[2s]) > 100"))
        fastest = self.ask("max(max_over_time(rate(traffic_policy_rule_packets_total[2s])[30s:300ms]))")
        self.assertLess(float(fastest[0]["value"][1]), 3 * RATE)
        self.assertEqual({series["value"][1] for series in self.ask("traffic_policy_up")}, {"1"})


def forget_counts(status):
    if isinstance(status, dict):
        for key in ("packets", "bytes"):
            if isinstance(status.get(key), int):
                status[key] = 0
        for value in status.values():
            forget_counts(value)
    elif isinstance(status, list):
        for value in status:
            forget_counts(value)


def end(process):
    if process.poll() is None:
        process.terminate()
        process.wait(20)
    for stream in (process.stdout, process.stderr):
        if stream and not stream.closed:
            stream.close()


unittest.main()
