"""The lab without the agent leaves nothing, however it ends."""

import os
import sys
import time
import unittest.mock

from lab import netns, testing
from lab.processes import Process, wait_until
from lab.topology import PEERS, Lab

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
