"""What an operator has set, over faults of the machine, under traffic.

Each test is one fault; lab/rounds.py says what holds in every round. Either the
node heals by itself, or it says what has to be done. PPPOEIA_STOP_SECONDS says
for how long a process is stopped.
"""

import contextlib
import json
import os
import re
import signal
import struct
import subprocess
import time
import unittest
from pathlib import Path

from lab import confined, netns, testing
from lab.processes import limited, wait_until
from lab.rounds import Rounds
from lab.topology import PEERS, SANITIZED, tool

STOP_SECONDS = float(os.environ.get("PPPOEIA_STOP_SECONDS", "1.5"))
NO_MEMORY = "-2"  # of an entry that cannot be linked
HOUR = 3600


class Faults(Rounds):
    usual_rounds = 1

    def back(self):
        """A process that has died is started again, as the service manager would."""
        begin = time.monotonic()
        if not self.lab.engine.running():
            self.lab.restart_engine()
        if not self.lab.management.running():
            self.lab.restart_management()
        return begin

    def served_meanwhile(self):
        """Every subscriber is served while the fault lasts."""
        server = self.lab.wire("bng")
        for peer in self.traffic:
            self.served(server, peer, 0)
        server.close()

    # --- stopped processes ------------------------------------------------------------------

    def stopped(self, process):
        """For a while."""
        process.send(signal.SIGSTOP)
        try:
            end = time.monotonic() + STOP_SECONDS
            if process is self.lab.management:
                self.served_meanwhile()
            wait_until(lambda: time.monotonic() > end, "the time to be over", STOP_SECONDS + 1)
        finally:
            process.send(signal.SIGCONT)

    def test_engine_stopped(self):
        self.rounds(lambda: self.stopped(self.lab.engine), self.back)

    def test_management_stopped(self):
        self.rounds(lambda: self.stopped(self.lab.management), self.back)

    # --- descriptors and memory ---------------------------------------------------------------

    def out_of_descriptors(self, process):
        """A port goes and comes meanwhile, and nobody can look."""
        device, mac, node_device = PEERS["sub2"]
        with limited(process, "nofile", 3):
            self.served_meanwhile()
            netns.run("ip", "link", "del", node_device)
            self.lab.add_peer_device("sub2", device, mac, node_device)
            self.traffic.pop("sub2").stop()
            self.start_traffic("sub2")

    def test_engine_out_of_descriptors(self):
        self.rounds(lambda: self.out_of_descriptors(self.lab.engine), self.back)

    def test_management_out_of_descriptors(self):
        self.rounds(lambda: self.out_of_descriptors(self.lab.management), self.back)

    @staticmethod
    def data_size(process):
        with open(f"/proc/{process.pid}/status", encoding="ascii") as lines:
            fields = dict(line.split(":", 1) for line in lines)
        return int(fields["VmData"].split()[0]) * 1024

    @unittest.skipIf(SANITIZED, "the sanitizer's own memory is not limited so")
    def test_engine_out_of_memory(self):
        def call(*words):
            return subprocess.run([tool("engine_call"), *words], check=True, timeout=30,
                                  capture_output=True, text=True).stdout.split()

        def exhaust():
            with limited(self.lab.engine, "data", self.data_size(self.lab.engine)):
                entries, result = call("fill", "2")
                self.assertEqual(result, NO_MEMORY, f"after {entries} entries")
                self.served_meanwhile()
            call("clear", "2")

        self.rounds(exhaust, self.back)

    @unittest.skipIf(SANITIZED, "the sanitizer's own memory is not limited so")
    def test_management_out_of_memory(self):
        """The RPC library may not survive it."""
        def exhaust():
            size = self.data_size(self.lab.management)
            with limited(self.lab.management, "data", size):
                calls = [subprocess.Popen([tool("config_call"), "show"],
                                          stdout=subprocess.DEVNULL) for _ in range(50)]
                self.served_meanwhile()
                for one in calls:
                    one.wait(30)

        self.rounds(exhaust, self.back)

    # --- a full disk ------------------------------------------------------------------------

    def test_no_room_for_the_copy_of_the_settings(self):
        """What was set while there was no room survives a killed process."""
        netns.run("mount", "-o", "remount,size=2m", "/run")
        filler = Path("/run/filler")

        def lose():
            self.shelf = re.search('shelf = "(.*)"', self.settings())[1]
            with filler.open("wb", buffering=0) as file, contextlib.suppress(OSError):
                while True:
                    file.write(bytes(4096))
            # What cannot be kept is not answered 0.
            self.assertNotEqual(self.lab.control("set", "shelf", "without room")[0], 0)
            self.assertIn("No space left on device", self.status()["problem"])
            self.served_meanwhile()
            filler.unlink()
            wait_until(lambda: self.lab.control("set", "shelf", "with room")[0] == 0,
                       "the setting", 3)

        def back():
            self.lab.kill_management()
            begin = time.monotonic()
            self.lab.restart_management()
            self.assertIn('shelf = "with room"', self.settings())
            self.control("set", "shelf", self.shelf)
            return begin

        self.rounds(lose, back)

    # --- filters removed by hand ----------------------------------------------------------------

    def removed(self, device, *where):
        """By `where`: one hook, or all."""
        def back():
            begin = time.monotonic()
            for hook in where or ("ingress", "egress"):
                wait_until(lambda hook=hook: "pppoeia_" in netns.run(
                    "tc", "filter", "show", "dev", device, hook), f"the filter at {hook}", 3)
            return begin

        what = "filter" if where else "qdisc"
        self.rounds(lambda: netns.run("tc", what, "del", "dev", device, *(where or ("clsact",))),
                    back)

    def test_filter_at_a_port_removed(self):
        self.removed("sub1", "ingress")

    def test_guard_at_a_port_removed(self):
        self.removed("net0", "egress")

    def test_filter_at_the_pseudo_device_removed(self):
        self.removed("br0_pppoe", "egress")

    def test_all_filters_of_a_port_removed(self):
        for device in ("sub1", "net0"):
            with self.subTest(device):
                self.removed(device)


@unittest.skipIf(SANITIZED, "what is preloaded comes before the sanitizer")
class ClockJumps(Rounds):
    """The wall clock as both processes see it; the machine's own is everybody's."""

    usual_rounds = 1

    def start_all(self):
        self.clock = self.lab.folder / "clock"
        self.jump(HOUR)
        self.lab.state_folder()
        preloaded = confined.STAGE / "lab/tools/libclock_jump.so"
        os.environ.update(LD_PRELOAD=str(preloaded), LAB_CLOCK=str(self.clock))
        try:
            super().start_all()
        finally:
            del os.environ["LD_PRELOAD"], os.environ["LAB_CLOCK"]
        started = json.loads(self.control("status", "--json"))["status"]["started"]
        self.assertGreater(started, time.time() + HOUR - 60, "the clock did not jump")

    def jump(self, seconds):
        with open(self.clock, "r+b" if self.clock.exists() else "wb") as clock:
            clock.write(struct.pack("=q", seconds))

    def test_two_hours_back_and_a_day_ahead(self):
        def back():
            self.jump(24 * HOUR)
            return time.monotonic()

        self.rounds(lambda: self.jump(-HOUR), back)


if __name__ == "__main__":
    testing.main()
