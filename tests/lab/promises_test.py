"""An answer of 0 is a promise: what was answered so is in force afterwards, in the
engine, in what is shown and in what is saved, whoever is killed.

    PPPOEIA_ROUNDS=40 ctest -R lab_promises      kills right after an answer
    PPPOEIA_KILLS=200 PPPOEIA_SETTINGS=100000    the long run; PPPOEIA_SEED repeats one
"""

import os
import random
import re
import signal
import subprocess
import threading
import time
from pathlib import Path

from lab import confined, netns, node, testing
from lab.processes import WaitFailed, wait_until
from lab.topology import tool

CALLER = tool("promise_caller")
FILE = confined.STATE / "settings.toml"
LINES = {"sub1": 1, "sub2": 2}


def setting(name, usual):
    return int(os.environ.get(name, usual))


class Caller:
    """An operator's program that sets one port's Remote ID without end."""

    def __init__(self, port, begin, count):
        self.port, self.kept, self.tried = port, begin - 1, begin - 1
        self.answers = 0
        self._process = subprocess.Popen([CALLER, str(port), str(begin), str(count)], text=True,
                                         stdout=subprocess.PIPE)
        self._thread = threading.Thread(target=self._read, daemon=True)
        self._thread.start()

    def _read(self):
        for line in self._process.stdout:
            word, number = line.split()
            if word == "kept":
                self.kept = int(number)
                self.answers += 1
            else:
                self.tried = int(number)

    def running(self):
        return self._process.poll() is None

    def stop(self):
        self._process.kill()
        self._process.wait()
        self._thread.join()
        self._process.stdout.close()


class Promises(testing.LabTest):
    def setUp(self):
        super().setUp()
        # Calls from ports that only root can use: none of them lingers.
        Path("/proc/sys/net/ipv4/tcp_max_tw_buckets").write_text("0", encoding="ascii")
        self.lab.start_engine(node.description() + f'[settings]\nfile = "{FILE}"\n')

    def on_the_wire(self, peer):
        """The Remote ID of a PADI once one has passed."""
        def served():
            try:
                return self.ids(peer, seconds=0.5)
            except (WaitFailed, OSError):
                return None

        return wait_until(served, f"{peer} to be served")[1].decode()

    def shown(self, port):
        found = re.search(rf'\[\[port\]\]\nid = {port}\n(?:\w.*\n)*?remote_id = "(.*)"',
                          self.config("show"))
        self.assertIsNotNone(found, f"port {port} is not shown")
        return found[1]

    def number(self, port, text):
        found = re.fullmatch(rf"line-{port}-(\d+)", text)
        self.assertIsNotNone(found, f"port {port} has {text!r}")
        return int(found[1])

    # --- killed right after the answer ----------------------------------------------

    def test_killed_right_after_its_answer(self):
        rounds, lost = setting("PPPOEIA_ROUNDS", 10), []
        for number in range(1, rounds + 1):
            said = subprocess.run([CALLER, "1", str(number), "1", str(self.lab.management.pid)],
                                  capture_output=True, text=True, timeout=30, check=True).stdout
            self.assertIn(f"kept {number}\n", said)
            self.assertEqual(self.lab.management.wait(), -signal.SIGKILL)
            self.lab.kill_management()
            self.lab.restart_management()
            if self.shown(1) != f"line-1-{number}":
                lost.append((number, self.shown(1)))
        print(f"  {len(lost)} of {rounds} lost")
        self.assertEqual(lost, [])

    # --- two callers, and everything that may be lost ---------------------------------

    def kill_engine(self):
        self.lab.kill_engine()
        time.sleep(random.uniform(0, 0.05))
        self.lab.restart_engine()

    def kill_management(self):
        self.lab.kill_management()
        self.lab.restart_management()

    def kill_both(self):
        self.lab.kill_management()
        self.lab.kill_engine()
        self.lab.restart_engine()
        self.lab.restart_management()

    @staticmethod
    def delete_pseudo_device():
        subprocess.run(["ip", "link", "del", "br0_pppoe"], capture_output=True, check=False)

    @staticmethod
    def change_mtu():
        netns.run("ip", "link", "set", "br0", "mtu", str(random.choice((1400, 1450, 1500))))

    def stop_engine_a_while(self):
        self.lab.engine.send(signal.SIGSTOP)
        time.sleep(random.uniform(0, 0.3))
        self.lab.engine.send(signal.SIGCONT)

    def test_two_callers_over_every_loss(self):
        kills, settings = setting("PPPOEIA_KILLS", 6), setting("PPPOEIA_SETTINGS", 1500)
        seed = setting("PPPOEIA_SEED", time.time_ns() % 100000)
        print(f"  seed {seed}")
        random.seed(seed)
        callers = [Caller(port, 1, 10 ** 8) for port in LINES.values()]
        for caller in callers:
            self.addCleanup(caller.stop)
        done = 0
        deadline = time.monotonic() + max(60, settings / 100)
        while done < kills or sum(caller.answers for caller in callers) < settings:
            self.assertLess(time.monotonic(), deadline,
                            f"{[caller.answers for caller in callers]} answers, {done} kills")
            if done < kills:
                lose = random.choice((self.kill_engine, self.kill_management, self.kill_both))
                lose()
                done += 1
            random.choice((self.delete_pseudo_device, self.change_mtu, self.stop_engine_a_while))()
            time.sleep(random.uniform(0, 0.2))
        for caller in callers:
            caller.stop()
        netns.run("ip", "link", "set", "br0", "mtu", "1500")
        self.check_equal(callers)
        print(f"  {sum(caller.answers for caller in callers)} answered 0, {done} kills, none lost")

    def check_equal(self, callers):
        """Engine, mirror and file agree, on what was answered last or tried after it."""
        for peer, port in LINES.items():
            caller = next(caller for caller in callers if caller.port == port)
            wire = self.on_the_wire(peer)
            number = self.number(port, wire)
            self.assertGreaterEqual(number, caller.kept, f"port {port}: answered 0 and lost")
            self.assertLessEqual(number, caller.tried)
            self.assertEqual(self.shown(port), wire, "the views deny what the wire has")
        before = self.config("show")
        self.config("save")
        self.assertEqual(self.config("diff"), "")
        for port in LINES.values():
            self.assertIn(f'remote_id = "{self.shown(port)}"', FILE.read_text(encoding="ascii"))
        self.lab.stop_engine()
        self.lab.restart_engine()
        self.lab.restart_management()
        self.assertEqual(self.config("show"), before, "the file does not say all that was in force")


class OnlyOne(testing.LabTest):
    def test_a_second_one_ends_and_disturbs_nobody(self):
        self.lab.start_engine()
        before = netns.run("rpcinfo", "-p", "127.0.0.1")
        second = self.lab.service("pppoeia-mgmt", "--node", self.lab.folder / "node.toml")
        self.assertEqual(second.wait(), 1)
        self.assertEqual(second.output(), "another pppoeia-mgmt runs on this machine (process "
                         f"{self.lab.management.pid}): it goes on, this one ends")
        self.assertEqual(netns.run("rpcinfo", "-p", "127.0.0.1"), before)
        self.control("set", "shelf", "still")
        self.assertEqual(self.status()["restores"], "0", "the engine was configured anew")


if __name__ == "__main__":
    testing.main()
