"""The lab without the agent: what it carries, and that it leaves nothing."""

import os
import sys
import time
import unittest.mock

from lab import frames, netns, testing
from lab.processes import Process, wait_until
from lab.topology import ACCESS_CONCENTRATOR, PEERS, Lab, mac_of

TAG_STACKS = {
    "untagged": [],
    "0x8100": [(0x8100, 100)],
    "0x88A8 over 0x8100": [(0x88A8, 100), (0x8100, 7)],
    "0x8100 over 0x8100": [(0x8100, 100), (0x8100, 7)],
}


class PlainBridge(testing.LabTest):
    def test_frames_arrive_as_sent(self):
        here, there = self.lab.wire("sub1"), self.lab.wire("bng")
        for name, stack in TAG_STACKS.items():
            with self.subTest(name):
                sent = frames.discovery(frames.BROADCAST, mac_of("sub1"), frames.PADI,
                                        frames.tag(frames.SERVICE_NAME), stack)
                here.send(sent)
                there.wait(lambda frame: frame.code == frames.PADI, "the PADI")
                self.assertEqual(there.heard[-1][1], sent)

    def test_peers_find_each_other(self):
        self.lab.start_server()
        for status, said, wanted in (
            (*self.lab.discover(), f"Access-Concentrator: {ACCESS_CONCENTRATOR}"),
            (*self.lab.open_session("sub2"), r":02:00:00:00:99:01"),
        ):
            self.assertEqual(status, 0, said)
            self.assertIn(wanted, said)


class Tidiness(testing.LabTest):
    def setUp(self):
        pass  # brings its labs up itself

    @staticmethod
    def _traces():
        # A zombie has ended; its first process, this one, just need not look.
        listed = [line.split(None, 2) for line in netns.run("ps", "-eo", "pid=,stat=,args=")
                  .splitlines()]
        processes = [(pid, args) for pid, state, args in listed
                     if not state.startswith("Z") and not args.startswith("ps ")]
        namespaces = os.listdir("/run/netns") if os.path.isdir("/run/netns") else []
        return processes, netns.device_state(), namespaces, os.path.exists("/run/lab")

    def test_nothing_is_left_after_a_lab(self):
        before = self._traces()
        with Lab() as lab:
            lab.start_server()
            lab.open_session()
        self.assertEqual(self._traces(), before)

    def test_nothing_is_left_after_a_failed_start(self):
        before = self._traces()
        half_way = {**PEERS, "bng": ("net", "not an address", "net0")}
        with unittest.mock.patch("lab.topology.PEERS", half_way):
            with self.assertRaises(netns.CommandFailed):
                with Lab():
                    self.fail("came up")
        self.assertEqual(self._traces(), before)

    def test_nothing_is_left_after_a_kill(self):
        before = self._traces()
        outer = Process([sys.executable, "-B", __file__, "--hold"])
        outer.wait_line("^up$")
        outer.stop(9)
        wait_until(lambda: self._traces() == before, "its world to be gone")


def hold():
    """For the test above: a lab that stays up until it is killed."""
    from lab import isolation

    if not isolation.inside():
        sys.exit(isolation.isolated(sys.argv))
    with Lab() as lab:
        lab.start_server()
        print("up", flush=True)
        while True:
            time.sleep(1)


if __name__ == "__main__":
    if "--hold" in sys.argv:
        hold()
    testing.main(agent=False)
