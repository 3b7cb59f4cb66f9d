"""tpexporter as its clients see it: formats, compression, limits, files, its end. The argument is the
folder of the programs."""

import gzip
import http.client
import os
import pathlib
import shutil
import signal
import socket
import subprocess
import sys
import tempfile
import threading
import unittest

ROOT = pathlib.Path(__file__).resolve().parents[2]
PROGRAMS = pathlib.Path(sys.argv.pop(1)).resolve()
EXPORTER = PROGRAMS / "tpexporter"


class Running:
    """An exporter on a free port."""

    def __init__(self, *options):
        self.process = subprocess.Popen([EXPORTER, "--listen", "127.0.0.1:0", *map(str, options)],
                                        stderr=subprocess.PIPE, text=True)
        self.log = []
        while not self.log or "serving at" not in self.log[-1]:
            line = self.process.stderr.readline()
            if not line:
                raise RuntimeError(f"the exporter says {self.log} and ends")
            self.log.append(line)
        self.port = int(self.log[-1].rsplit(":", 1)[1].strip(" /\n"))

    def ask(self, path="/metrics", method="GET", body=None, **headers):
        connection = http.client.HTTPConnection("127.0.0.1", self.port, timeout=20)
        connection.request(method, path, body, {name.replace("_", "-"): value for name, value in headers.items()})
        answer = connection.getresponse()
        text = answer.read()
        connection.close()
        return answer, text

    def end(self, number=signal.SIGTERM):
        self.process.send_signal(number)
        self.log.append(self.process.communicate(timeout=20)[1])
        return self.process.returncode


class Exporter(unittest.TestCase):
    def setUp(self):
        self.folder = pathlib.Path(tempfile.mkdtemp())
        self.addCleanup(shutil.rmtree, self.folder)
        self.state = self.folder / "campus"
        shutil.copytree(ROOT / "examples/campus", self.state, ignore=shutil.ignore_patterns("*.reef"))
        subprocess.run([PROGRAMS / "counteragent", "--state", self.state, "--once"], check=True)

    def run_exporter(self, *options):
        running = Running(*options)
        self.addCleanup(running.process.kill)
        return running

    def test_formats_and_compression(self):
        running = self.run_exporter("--state", self.state)
        answer, text = running.ask()
        self.assertEqual(answer.headers["Content-Type"], "text/plain; version=0.0.4; charset=utf-8")
        self.assertIn(b'traffic_policy_rule_packets_total{policy="EDGE-IN",rule="', text)
        self.assertNotIn(b"# EOF", text)
        answer, zipped = running.ask(Accept="application/openmetrics-text", Accept_Encoding="gzip")
        self.assertEqual(answer.headers["Content-Encoding"], "gzip")
        self.assertIn("openmetrics-text; version=1.0.0", answer.headers["Content-Type"])
        self.assertTrue(gzip.decompress(zipped).endswith(b"# EOF\n"))
        self.assertEqual(running.ask("/healthz")[1], b"ok\n")
        self.assertIn(b"/metrics", running.ask("/")[1])
        self.assertEqual(running.ask("/nowhere")[0].status, 404)
        answer, _ = running.ask(method="POST")
        self.assertEqual((answer.status, answer.headers["Allow"]), (405, "GET, HEAD"))
        # One connection for many requests; none behind a body, which nobody reads, or a mere head.
        connection = http.client.HTTPConnection("127.0.0.1", running.port, timeout=20)
        connection.connect()
        first = connection.sock
        for method, body in (("GET", None), ("GET", None), ("GET", "body"), ("HEAD", None)):
            if method == "GET":
                self.assertIs(connection.sock, first)
            connection.request(method, "/metrics", body)
            answer = connection.getresponse()
            self.assertEqual((answer.status, answer.read() == b""), (200, method == "HEAD"))
            self.assertEqual(connection.sock is None, body is not None or method == "HEAD")
        self.assertEqual(running.end(), 0)

    def test_no_client_holds_up_another(self):
        running = self.run_exporter("--state", self.state)
        held = []
        for request in (b"GET /metrics HTTP/1.1\r\nHost: a\r\n", b"GET /metrics HTTP/1.1\r\nHost: a\r\n\r\n") * 5:
            client = socket.create_connection(("127.0.0.1", running.port))
            client.sendall(request)  # and nothing more, nor read
            held.append(client)
        answers = []
        threads = [threading.Thread(target=lambda: answers.append(running.ask()[0].status)) for _ in range(4)]
        for thread in threads:
            thread.start()
        for thread in threads:
            thread.join()
        self.assertEqual(answers, [200] * 4)
        # A head that is too long, and more connections than one client gets.
        try:
            self.assertGreaterEqual(running.ask(X_Long="x" * 100000)[0].status, 400)
        except OSError:
            pass
        for _ in range(40):
            try:
                held.append(socket.create_connection(("127.0.0.1", running.port)))
            except OSError:
                break
        for client in held:
            client.close()
        for _ in range(100):
            try:
                self.assertEqual(running.ask()[0].status, 200)
                break
            except OSError:
                continue
        else:
            self.fail("nobody is served any more")
        self.assertEqual(running.end(signal.SIGINT), 0)

    def test_a_damaged_store_and_a_bad_state(self):
        running = self.run_exporter("--state", f"leaf1={self.state}")
        store = self.state / "counters.reef"
        good = store.read_bytes()
        self.assertIn(b'traffic_policy_store_up{switch="leaf1"} 1\n', running.ask()[1])
        os.truncate(store, 4096 if len(good) > 4096 else 64)
        text = running.ask()[1]
        self.assertIn(b'traffic_policy_store_up{switch="leaf1"} 0\n', text)
        self.assertNotIn(b'packets_total{switch="leaf1",policy="EDGE-IN"', text)
        self.assertIn(b'kind="cpu"', text)
        (self.folder / "store").write_bytes(good)
        os.rename(self.folder / "store", store)
        self.assertIn(b'packets_total{switch="leaf1",policy="EDGE-IN"', running.ask()[1])
        (self.state / "status.json").write_text("[]")
        text = running.ask()[1]
        self.assertIn(b'traffic_policy_up{switch="leaf1"} 0\n', text)
        self.assertNotIn(b"policy=", text)
        running.end()
        log = running.log[-1]
        self.assertIn("switch leaf1: counter store ", log)
        self.assertIn("switch leaf1: the counter store is read again\n", log)
        self.assertIn("status.json", log.splitlines()[-1])

    def test_textfile(self):
        path = self.folder / "policy.prom"
        options = [EXPORTER, "--state", self.state, "--textfile", path]
        done = subprocess.run(options, capture_output=True, text=True)
        self.assertEqual((done.returncode, done.stderr), (0, ""))
        self.assertIn('traffic_policy_rules{policy="EDGE-IN"}', path.read_text())
        self.assertEqual(path.stat().st_mode & 0o777, 0o644)
        process = subprocess.Popen([*options, "--interval", "1"])
        self.addCleanup(process.kill)
        first = path.stat().st_ino
        while path.stat().st_ino == first:
            pass
        process.terminate()
        self.assertEqual(process.wait(20), 0)
        self.assertEqual(sorted(entry.name for entry in self.folder.iterdir()), ["campus"])
        done = subprocess.run([EXPORTER, "--state", self.state, "--textfile", self.folder / "no/x.prom"],
                              capture_output=True, text=True)
        self.assertEqual(done.returncode, 3)
        self.assertIn("No such file", done.stderr)

    def test_an_address_in_use(self):
        running = self.run_exporter("--state", self.state)
        done = subprocess.run([EXPORTER, "--state", self.state, "--listen", f"127.0.0.1:{running.port}"],
                              capture_output=True, text=True)
        self.assertEqual(done.returncode, 3)
        self.assertIn("Address already in use", done.stderr)
        running.end()


unittest.main()
