"""Root's calls while a local user without privileges does all he can.

    hostile_user_test.py [--seconds N]    10 unless given
"""

import os
import re
import socket
import subprocess
import sys
import time
from pathlib import Path

from lab import testing
from lab.processes import wait_until
from lab.remote_calls import LOCAL, Caller, packed, port_of
from lab.topology import PROGRAM, REPOSITORY, SANITIZED, programs

NOBODY = 65534
SECONDS = "PPPOEIA_HOSTILE_SECONDS"  # for the process that runs the tests
LIMIT = 0.1  # seconds, at the 99th percentile
ROOM = 8 * 1024  # KiB that the process may grow by: as many connections as it takes


def as_user(argv, user=NOBODY, group=NOBODY, **options):
    return subprocess.run(argv, user=user, group=group, extra_groups=[], text=True,
                          capture_output=True, check=False, **options)


class HostileUser(testing.LabTest):
    def setUp(self):
        super().setUp()
        self.log = self.syslog()
        self.lab.start_engine()

    def size(self):
        """Descriptors and memory of the management process."""
        pid = self.lab.management.pid
        memory = re.search(r"VmRSS:\s+(\d+)", Path(f"/proc/{pid}/status").read_text("ascii"))
        return len(os.listdir(f"/proc/{pid}/fd")), int(memory[1])

    def test_root_is_answered_meanwhile(self):
        seconds = float(os.environ.get(SECONDS, "10"))
        self.control("set", "shelf", "before")
        root, half = self.enterContext(Caller()), self.enterContext(Caller())
        half.socket.send(bytes.fromhex("8000002800"))  # a length, and one byte of the call
        descriptors, memory = self.size()
        lines = len(self.log.lines)
        attack = subprocess.Popen([sys.executable, REPOSITORY / "lab" / "hostile.py", str(seconds)],
                                  stdout=subprocess.PIPE, stderr=subprocess.STDOUT, text=True)
        self.addCleanup(attack.stdout.close)
        times = []
        while attack.poll() is None:
            for procedure, arguments in ((10, b""), (1, packed(1))):
                begin = time.monotonic()
                self.assertEqual(root.call(procedure, arguments)[0], 0)
                times.append(time.monotonic() - begin)
            time.sleep(0.01)  # an operator's pace
        done = attack.stdout.read()
        self.assertEqual(attack.returncode, 0, done)
        times.sort()
        worst = times[-len(times) // 100]
        descriptors_now, memory_now = self.size()
        said = [line for line in self.log.lines[lines:] if "set state 1: done" not in line]
        print(f"{done.strip()}\n{len(times)} calls, median {times[len(times) // 2] * 1e3:.1f} ms, "
              f"p99 {worst * 1e3:.1f} ms, longest {times[-1] * 1e3:.1f} ms; descriptors "
              f"{descriptors} -> {descriptors_now}, {memory} -> {memory_now} KiB, "
              f"{len(said)} lines in the log", flush=True)
        self.assertTrue(self.lab.management.running() and self.lab.engine.running())
        self.assertLess(worst, LIMIT)
        self.assertLessEqual(descriptors_now, descriptors + 40,
                             "of one user at most 32 connections")
        if not SANITIZED:  # a sanitizer keeps what was given back
            self.assertLess(memory_now, memory + ROOM)
        self.assertLess(len(said), 10 + seconds, "\n".join(said[:20]))
        self.assertEqual(half.socket.recv(1), b"", "closed after 10 s")
        self.control("set", "shelf", "after")
        self.assertIn("after", self.control("show"))
        begin = time.monotonic()
        self.assertEqual(self.lab.stop_management(), 0)
        self.assertLess(time.monotonic() - begin, 3)

    def test_connections_of_all_users(self):
        """256 in all: the idlest go, and the next caller is served."""
        port = port_of(PROGRAM, "tcp")
        held = []
        for user in range(1000, 1009):
            os.seteuid(user)
            try:
                for _ in range(32):
                    held.append(socket.socket())
                    self.addCleanup(held[-1].close)
                    held[-1].connect(("127.0.0.1", port))
            finally:
                os.seteuid(0)

        def open_ones():
            kept = 0
            for one in held:
                try:
                    one.recv(1, socket.MSG_DONTWAIT)
                except BlockingIOError:
                    kept += 1
            return kept

        wait_until(lambda: open_ones() == 256, "32 to be closed")
        self.control("show")

    def test_who_may_call(self):
        """The group of the socket reads; others do not; only root changes anything."""
        tool = str(programs() / "pppoeiactl")
        group = self.lab.user  # the agent's own, as operators are made members of it
        for user_group, words, status, said in (
                (group, ["show"], 0, "shelf1"),
                (group, ["show", "ports"], 0, "1/1/1"),
                (group, ["set", "shelf", "mine"], 1, "needs root"),
                (NOBODY, ["show"], 3, "may not call the agent")):
            with self.subTest(words, group=user_group):
                ran = as_user([tool, *words], group=user_group)
                self.assertIn(said, ran.stdout + ran.stderr)
                self.assertEqual(ran.returncode, status, ran.stdout + ran.stderr)

    def test_nobody_else_is_taken_for_the_agent(self):
        self.lab.stop_management()
        other = socket.socket(socket.AF_UNIX, socket.SOCK_STREAM)
        self.addCleanup(other.close)
        other.bind(LOCAL)
        os.seteuid(NOBODY - 1)  # whoever listens is who serves
        try:
            other.listen()
        finally:
            os.seteuid(0)
        self.addCleanup(os.unlink, LOCAL)
        os.chown("/run/pppoeia", 0, 0)
        self.assertIn("is served by a user who is not the agent's", self.control("show", status=3))


if __name__ == "__main__":
    if "--seconds" in sys.argv:
        at = sys.argv.index("--seconds")
        os.environ[SECONDS] = sys.argv[at + 1]
        del sys.argv[at:at + 2]
    testing.main()
