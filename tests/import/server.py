"""A real Redis server with databases in the form of SONiC."""

import json
import pathlib
import subprocess
import time

from common import expect

EXAMPLES = pathlib.Path(__file__).parents[2] / "examples" / "sonic"
NUMBERS = {"config_db": 4, "state_db": 6, "counters_db": 2}


def load(name):
    return json.loads((EXAMPLES / f"{name}.json").read_text())


def wait_for(what, is_so, seconds=20):
    until = time.monotonic() + seconds
    while not is_so():
        if time.monotonic() > until:
            expect(what, "not so in time", "so")
            return
        time.sleep(0.02)


class Server:
    """redis-server on a socket in a folder."""

    def __init__(self, folder, *options):
        self.socket = folder / "redis.sock"
        self.folder = folder
        self.options = options
        self.start()

    def start(self):
        self.process = subprocess.Popen(
            ["redis-server", "--port", "0", "--unixsocket", str(self.socket), "--save", "", "--appendonly", "no",
             "--dir", str(self.folder), *self.options],
            stdout=subprocess.DEVNULL,
        )  # fmt: skip
        wait_for("redis", lambda: subprocess.run(
            ["redis-cli", "-s", str(self.socket), "ping"], capture_output=True).stdout == b"PONG\n")  # fmt: skip

    def stop(self):
        self.process.kill()
        self.process.wait()

    def send(self, number, *commands):
        lines = "".join(" ".join(json.dumps(word) for word in command) + "\n" for command in commands)
        done = subprocess.run(["redis-cli", "-s", str(self.socket), "-n", str(number)], input=lines,
                              capture_output=True, text=True)  # fmt: skip
        expect(f"redis-cli {done.stdout}", "ERR" in done.stdout, False)

    def fill(self, number, database):
        hashes = {key: hash_.get("value", hash_) for key, hash_ in database.items()}
        self.send(number, *(["HSET", key, *(w for pair in hash_.items() for w in pair)] for key, hash_ in hashes.items() if hash_))
