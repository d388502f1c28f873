"""The engine killed under traffic, started again, and stopped cleanly."""

import os
import time

from lab import frames, netns, testing
from lab.processes import wait_until
from lab.topology import mac_of
from lab.traffic import Traffic


def traces():
    """Devices, filters and files that an engine may make."""
    files = {os.path.join(folder, name) for top in ("/run", "/sys/fs/bpf", "/dev/shm")
             for folder, _, names in os.walk(top) for name in names}
    return netns.device_state(), files


class Restart(testing.LabTest):
    def passed_unmarked(self, wire):
        return [f for f in wire.waiting() if f.ethertype == frames.DISCOVERY and not f.marks]

    def test_killed_under_traffic(self):
        self.lab.start_engine()
        self.lab.start_server()
        client, other, server = map(self.lab.wire, ("sub1", "sub2", "bng"))
        traffic = Traffic(client)
        server.wait(lambda frame: frame.code == frames.PADI and frame.marks, "a marked PADI")
        self.lab.kill_engine()
        at_kill = traffic.sent
        wait_until(lambda: traffic.sent > at_kill + 200, "traffic to go on")
        traffic.stop()
        # Plain bridging goes on, and all that was sent before it has been handled.
        client.send(frames.ethernet(frames.BROADCAST, mac_of("sub1"), frames.ARP, bytes(46)))
        _, earlier = server.wait(lambda frame: frame.ethertype == frames.ARP, "the ARP")
        self.assertEqual([f for f in earlier if f.code == frames.PADI and not f.marks], [])
        self.assertEqual([f for f in other.waiting() if f.code == frames.PADI], [])

        begin = time.monotonic()
        self.lab.start_engine()
        status, said = self.lab.open_session()
        self.assertEqual(status, 0, said)
        self.assertLess(time.monotonic() - begin, 2.0)
        self.assertEqual(self.passed_unmarked(other), [])

    def test_clean_stop_leaves_nothing(self):
        for crashed_before in (False, True):
            with self.subTest(crashed_before=crashed_before):
                before = traces()
                self.lab.start_engine()
                if crashed_before:
                    self.lab.kill_engine()
                    self.lab.start_engine()
                status, seconds = self.lab.stop_engine()
                self.assertEqual(status, 0, self.lab.engine.output())
                self.assertLess(seconds, 5.0)  # two turns of the RPC loop, of a second each, are in it
                devices, files = traces()
                self.assertEqual(devices, before[0])
                self.assertEqual(files - before[1] - {str(self.lab.folder / "node.toml")}, set())


if __name__ == "__main__":
    testing.main()
