"""What the engine does not let through: too long, or marked by someone else."""

from pathlib import Path

from lab import frames, node, testing
from lab.agent import counters
from lab.topology import MNG_MAC, mac_of

MAX_PDU = 1500


def mac_of_device(device):
    return frames.mac(Path(f"/sys/class/net/{device}/address").read_text(encoding="ascii").strip())


def request(code, tags=b"", number=0, length=None, session=0):
    """A PADI or PADR of `length` bytes in all, filled up by a tag to pass over."""
    tags = frames.tag(frames.SERVICE_NAME) + frames.tag(frames.HOST_UNIQ, b"%04d" % number) + tags
    destination = frames.BROADCAST if code == frames.PADI else mac_of("bng")
    if length:
        filled = len(frames.discovery(destination, mac_of("sub1"), code, tags)) + 4
        tags += frames.tag(0x0110, bytes(length - filled))  # Relay-Session-Id
    return frames.discovery(destination, mac_of("sub1"), code, tags, session=session)


class Refusals(testing.LabTest):
    def start(self, **sub1):
        self.lab.start_engine(node.description(ports={"sub1": sub1}))
        self.client, self.server = self.lab.wire("sub1"), self.lab.wire("bng")

    def passes(self, number):
        """Sends an ordinary PADI; what reached the server, before it and it."""
        self.client.send(request(frames.PADI, number=number))
        frame, earlier = self.server.wait(
            lambda frame: frame.host_uniq == b"%04d" % number, f"PADI {number}")
        return frame, earlier

    def test_a_frame_that_would_outgrow_the_limit_is_answered(self):
        self.start()
        plain = request(frames.PADI, number=1)
        self.passes(1)
        growth = len(self.server.heard[-1][1]) - len(plain)
        for code, answer in ((frames.PADI, frames.PADO), (frames.PADR, frames.PADS)):
            with self.subTest(f"code {code:#x}"):
                self.client.send(request(code, length=MAX_PDU - growth))
                self.server.wait(lambda frame, code=code: frame.code == code, "the longest frame")
                self.assertEqual(len(self.server.heard[-1][1]), MAX_PDU)

                sent = request(code, length=MAX_PDU - growth + 1, session=0x1234)
                self.client.send(sent)
                reply, earlier = self.client.wait(lambda frame: True, "the error reply")
                self.assertEqual(earlier, [])
                self.assertEqual(reply.code, answer)
                self.assertEqual(reply.tags, [(frames.GENERIC_ERROR, b"")])
                self.assertEqual(reply.destination, mac_of("sub1"))
                self.assertEqual(reply.source, frames.mac(MNG_MAC))
                self.assertEqual(reply.session, 0x1234)
                self.assertEqual(len(self.client.heard[-1][1]), len(sent))
                self.assertEqual(set(reply.payload[6 + 4:]), {0xFF})

                _, earlier = self.passes(2)
                self.assertEqual(earlier, [], "reached the server")

    def test_another_management_device(self):
        """The engine hears of it from the management process alone; without it, it counts."""
        self.start()
        port = node.PORTS["sub1"]["id"]
        for device in ("none", "net0", "mng0"):
            self.change_description(
                node.description().replace("[node]", f'[node]\nmanagement = "{device}"'))
            self.client.send(request(frames.PADI, length=1484))
            if device == "none":
                self.passes(2)
                counted = self.outcomes(port)
                self.assertEqual(counted["no-local-mac"], 1, counted)
                continue
            reply, _ = self.client.wait(lambda frame: frame.code == frames.PADO, "the reply")
            self.assertEqual(reply.source, mac_of_device(device))

    def test_a_tag_from_an_untrusted_port_is_dropped(self):
        self.start(trust="untrusted")
        self.client.send(request(frames.PADI, frames.vendor_tag(), number=1))
        _, earlier = self.passes(2)
        self.assertEqual(earlier, [])
        for port in (None, node.PORTS["sub1"]["id"]):
            counted = counters(self.lab, port)
            self.assertEqual((counted["dropped"], counted["padi"]), (1, 1))

    def test_a_tag_from_a_trusted_port_is_replaced(self):
        self.start(trust="trusted")
        self.client.send(request(frames.PADI, frames.vendor_tag(), number=1))
        frame, _ = self.server.wait(lambda frame: frame.host_uniq == b"0001", "the PADI")
        self.assertEqual(frame.marks, [{
            frames.CIRCUIT_ID: node.circuit_id("sub1").encode(),
            frames.REMOTE_ID: node.PORTS["sub1"]["remote_id"].encode(),
        }])


if __name__ == "__main__":
    testing.main()
