"""What the lab's tests need around unittest."""

import json
import os
import subprocess
import sys
import unittest

from lab import frames, isolation, node
from lab.agent import missing_programs
from lab.syslog import Syslog
from lab.topology import Lab, mac_of, tool
from lab.traffic import padi

SKIPPED = 77  # ctest's SKIP_RETURN_CODE
REQUIRE = "PPPOEIA_REQUIRE_ROOT_TESTS"


class LabTest(unittest.TestCase):
    """A test with a lab of its own, up before it and gone after it."""

    unconfined = ""  # why the services are to run as root
    bridge = node.BRIDGE

    def setUp(self):
        self.lab = self.enterContext(Lab(self.unconfined, self.bridge))

    def control(self, *words, status=0, seconds=5.0):
        """What `pppoeiactl` said, which has to end with `status`."""
        got, said = self.lab.control(*map(str, words), seconds=seconds)
        self.assertEqual(got, status, said)
        return said

    def config(self, what, status=0):
        """What the agent answers about its settings and their file."""
        call = subprocess.run([tool("config_call"), what], capture_output=True, text=True,
                              timeout=30, check=False)
        self.assertEqual(call.returncode, status, call.stdout + call.stderr)
        return call.stdout

    def status(self):
        """The agent's status of the settings: texts by name."""
        lines = (line.partition(" ") for line in self.config("status").splitlines())
        return {name: value for name, _, value in lines}

    def outcomes(self, port):
        """What became of the frames that came in at a port: numbers by word."""
        said = json.loads(self.control("stats", port, "--json"))
        return {row["outcome"]: row["frames"] for row in said["outcomes"]}

    def syslog(self):
        """What is logged from now on."""
        log = Syslog()
        self.addCleanup(log.close)
        return log

    def describe(self, text):
        """Writes a new description; who reads it, and when, is the test's matter."""
        path = self.lab.folder / "node.toml"
        path.write_text(text, encoding="utf-8")
        return path

    def change_description(self, text, seconds=10.0):
        """A new description, once the management process has dealt with it."""
        self.describe(text)
        self.lab.reload(seconds)

    def pass_padis(self, count):
        """PADIs of the first subscriber, each once the one before has arrived."""
        with self.lab.wire("sub1") as client, self.lab.wire("bng") as server:
            for number in range(count):
                client.send(padi(number))
                server.wait(lambda frame, number=number: frame.host_uniq == b"%08d" % number,
                            f"PADI {number}")

    def ids(self, peer="sub1", stack=(), seconds=5.0):
        """The Circuit ID and the Remote ID on a PADI of that subscriber, at the server."""
        with self.lab.wire(peer) as client, self.lab.wire("bng") as server:
            client.send(frames.discovery(frames.BROADCAST, mac_of(peer), frames.PADI,
                                         frames.tag(frames.SERVICE_NAME), stack))
            frame, _ = server.wait(
                lambda frame: frame.code == frames.PADI and frame.source == mac_of(peer),
                "the PADI", seconds)
        self.assertEqual(len(frame.marks), 1)
        return tuple(frame.marks[0].get(kind) for kind in (frames.CIRCUIT_ID, frames.REMOTE_ID))


def main(agent=True):
    """Runs the calling file's tests in a private world, or skips, saying why."""
    if isolation.inside():
        unittest.main(verbosity=2)
    lacking = isolation.missing()
    if agent:
        lacking += missing_programs()
    need(lacking)
    sys.exit(isolation.isolated(sys.argv))


def need(lacking):
    """Ends this process, as skipped or failed, when something is lacking."""
    if lacking:
        required = os.environ.get(REQUIRE) == "1"
        print(f"{'FAILED' if required else 'SKIPPED'}: needs {', '.join(lacking)}")
        sys.exit(1 if required else SKIPPED)
