"""What an operator has set, over every kind of loss, under traffic.

Each test is one loss; lab/rounds.py says what holds in every round.
"""

import itertools
import signal
import time

from lab import netns, testing
from lab.processes import wait_until
from lab.rounds import Rounds
from lab.topology import PEERS


def timed(*returns):
    """Brings back one after the other, and gives the moment when that began."""
    def bring_back():
        begin = time.monotonic()
        for comes in returns:
            comes()
        return begin

    return bring_back


class Recovery(Rounds):
    def test_engine_killed(self):
        self.rounds(self.lab.kill_engine, timed(self.lab.restart_engine))

    def test_engine_killed_again_while_it_is_restored(self):
        # Some milliseconds into the restore, which takes some tens: another part each time.
        moments = itertools.cycle(milliseconds / 1000 for milliseconds in range(0, 42, 6))

        def kill():
            self.lab.kill_engine()
            for _ in range(3):
                self.lab.restart_engine()
                time.sleep(next(moments))
                self.lab.kill_engine()

        self.rounds(kill, timed(self.lab.restart_engine))

    def test_settings_stay_when_a_clear_fails(self):
        def kill_and_clear():
            self.lab.kill_engine()
            said = self.control("config", "clear", "--yes", status=1, seconds=30)
            self.assertIn("nothing is cleared", said)

        self.rounds(kill_and_clear, timed(self.lab.restart_engine))

    def test_management_killed(self):
        self.rounds(self.lab.kill_management, timed(self.lab.restart_management))

    def test_both_killed(self):
        def kill():
            self.lab.kill_management()
            self.lab.kill_engine()

        self.rounds(kill, timed(self.lab.restart_engine, self.lab.restart_management))

    def test_port_mapper_killed(self):
        self.rounds(lambda: self.lab.mapper.stop(signal.SIGKILL), timed(self.lab.start_port_mapper))

    def test_pseudo_device_deleted(self):
        self.rounds(lambda: netns.run("ip", "link", "del", "br0_pppoe"), time.monotonic)

    def test_port_device_deleted_and_made_again(self):
        device, mac, node_device = PEERS["sub2"]

        def remove():
            netns.run("ip", "link", "del", node_device)
            wait_until(lambda: "[[port]]\nid = 2\n" not in self.settings(), "port 2 to leave")

        def restore():
            self.lab.add_peer_device("sub2", device, mac, node_device)
            begin = time.monotonic()
            self.traffic.pop("sub2").stop()
            self.start_traffic("sub2")
            return begin

        self.rounds(remove, restore)


if __name__ == "__main__":
    testing.main()
