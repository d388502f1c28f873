"""Every PADI arrives once and marked, whatever its VLAN tags."""

from lab import frames, node, testing
from lab.topology import mac_of

COUNT = 1000

# Tag stack, and the VLAN that the Circuit ID names.
STACKS = {
    "untagged": ([], 0),
    "0x8100": ([(0x8100, 100)], 100),
    "0x88A8 over 0x8100": ([(0x88A8, 200), (0x8100, 7)], 200),
    "0x8100 over 0x8100": ([(0x8100, 100), (0x8100, 7)], 100),
}


def padi(number, stack):
    tags = frames.tag(frames.SERVICE_NAME) + frames.tag(frames.HOST_UNIQ, b"%08d" % number)
    return frames.discovery(frames.BROADCAST, mac_of("sub1"), frames.PADI, tags, stack)


class TagStacks(testing.LabTest):
    bridge = "subscribers-lan"  # as long as a device name may be

    def setUp(self):
        super().setUp()
        self.lab.start_engine()
        self.client, self.other, self.server = map(self.lab.wire, ("sub1", "sub2", "bng"))

    def test_each_padi_once_and_marked(self):
        for name, (stack, vlan) in STACKS.items():
            with self.subTest(name):
                # All at once, as after a power cut. The last one is behind them: a
                # second copy of any would be here before it.
                for number in range(COUNT + 1):
                    self.client.send(padi(number, stack))
                last, earlier = self.server.wait(
                    lambda frame: frame.host_uniq == b"%08d" % COUNT, "the last PADI")
                arrived = [*earlier, last]
                self.assertEqual(self.server.lost(), 0, "lost by the test's own socket")
                self.assertEqual([frame.host_uniq for frame in arrived],
                                 [b"%08d" % number for number in range(COUNT + 1)])
                circuit_id = node.circuit_id("sub1", vlan).encode()
                for frame in arrived:
                    self.assertEqual((frame.code, frame.stack), (frames.PADI, stack))
                    self.assertEqual([mark[frames.CIRCUIT_ID] for mark in frame.marks],
                                     [circuit_id])
                self.assertEqual(self.other.waiting(), [], "heard by the other subscriber")


if __name__ == "__main__":
    testing.main()
