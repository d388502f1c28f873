"""The engine ended under traffic, its filters taken away, and released."""

import signal
import time

from lab import frames, netns, testing
from lab.processes import wait_until
from lab.topology import mac_of
from lab.traffic import Traffic
from lab.wire import Wire


PORTS = ("sub1", "sub2", "net0")


class Holds(testing.LabTest):
    """The engine as its unit has it: however it ends, nothing of Discovery passes."""

    def setUp(self):
        super().setUp()
        self.before = netns.device_state()
        self.lab.start_engine()
        self.lab.start_server()

    def release(self):
        tool = self.lab.service("pppoeia-fe", "--release")
        return tool.wait(10), tool.output()

    def unmarked(self, wire):
        wire.waiting()
        return [f for f in map(frames.parse, wire.recorded())
                if f.ethertype == frames.DISCOVERY and not f.marks]

    def served(self, server):
        """Until another request has come, marked."""
        server.waiting()
        server.wait(lambda frame: frame.code == frames.PADI and frame.marks, "a marked PADI")

    def test_until_the_release(self):
        client, other, server = map(self.lab.wire, ("sub1", "sub2", "bng"))
        traffic = Traffic(client)
        for number in (signal.SIGTERM, signal.SIGKILL, signal.SIGTERM):
            with self.subTest(number.name):
                self.assertEqual(self.release()[0], 1, "while an engine runs")
                self.lab.stop_management()
                self.lab.engine.stop(number)
                sent = traffic.sent
                wait_until(lambda: traffic.sent > sent + 500, "traffic to go on")
                # Plain bridging goes on.
                client.send(frames.ethernet(frames.BROADCAST, mac_of("sub1"), frames.ARP, bytes(46)))
                server.wait(lambda frame: frame.ethertype == frames.ARP, "the ARP")
                begin = time.monotonic()
                self.lab.start_engine()
                self.served(server)
                self.assertLess(time.monotonic() - begin, 2.0)
        self.lab.stop_engine()
        traffic.stop()
        self.assertEqual(self.unmarked(server), [])
        self.assertEqual([f for f in other.waiting() if f.code == frames.PADI], [])
        self.assertNotEqual(self.lab.discover()[0], 0)

        status, said = self.release()
        self.assertEqual(status, 0, said)
        self.assertIn("sub1: filter removed", said)
        self.assertEqual(self.release(), (0, "nothing to release"))
        self.assertEqual(self.lab.discover()[0], 0, "through a plain bridge")
        self.assertNotEqual(self.unmarked(server), [])
        self.assertEqual(netns.device_state(), self.before)

    def test_filters_taken_from_all_ports(self):
        client, other, server = map(self.lab.wire, ("sub1", "sub2", "bng"))
        traffic = Traffic(client)
        for stopped in (False, True) * 5:
            for device in PORTS:
                wait_until(lambda device=device: "clsact" in netns.run(
                    "tc", "qdisc", "show", "dev", device), f"the filters of {device}")
            if stopped:
                self.lab.engine.send(signal.SIGSTOP)
            for device in PORTS:
                netns.run("tc", "qdisc", "del", "dev", device, "clsact")
            sent = traffic.sent
            wait_until(lambda: traffic.sent > sent + 100, "traffic to go on")
            if stopped:
                self.lab.engine.send(signal.SIGCONT)
            self.served(server)
        traffic.stop()
        self.assertEqual(self.unmarked(server), [])
        self.assertEqual([f for f in other.waiting() if f.code == frames.PADI], [])

    def test_both_ends_plugged_at_once(self):
        """Of devices that nobody described, on a machine with 2,000 others."""
        self.lab.add_idle_devices([f"idle{number}" for number in range(2000)])
        for name, peer in (("x1", "sub1"), ("x2", "bng")):
            netns.run("ip", "link", "add", name, "up", "type", "veth", "peer", "name", f"y{name}",
                      "netns", peer)
            netns.run("ip", "link", "set", f"y{name}", "up", namespace=peer)
        source, sink = (self.enterContext(Wire(*place)) for place in (("yx1", "sub1"),
                                                                      ("yx2", "bng")))
        traffic = Traffic(source)
        delays = []
        for number in range(20):
            if number % 2:
                self.lab.engine.send(signal.SIGSTOP)
            begin = time.monotonic()
            self.lab._batch(["link set x1 master br0", "link set x2 master br0"])
            if not number % 2:
                wait_until(lambda: "pppoeia_enter" in netns.run(
                    "tc", "filter", "show", "dev", "x2", "ingress"), "the filter")
                delays.append(time.monotonic() - begin)
            sent = traffic.sent
            wait_until(lambda: traffic.sent > sent + 50, "traffic to go on")
            self.lab._batch(["link set x1 nomaster", "link set x2 nomaster"])
            self.lab.engine.send(signal.SIGCONT)
            wait_until(lambda: "pppoeia" not in netns.run(
                "tc", "filter", "show", "dev", "x1", "ingress"), "the filter to go")
        traffic.stop()
        self.assertEqual([f for f in sink.waiting() if f.code == frames.PADI], [])
        print(f"  filter in place after {max(delays):.3f} s at most", flush=True)


if __name__ == "__main__":
    testing.main()
