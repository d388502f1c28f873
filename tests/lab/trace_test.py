"""`pppoeiactl trace` against tshark's own captures at both ends, frame by frame."""

import json
import signal
import struct

from lab import frames, netns, testing
from lab.processes import Process, wait_until
from lab.topology import PEERS, REPOSITORY, mac_of, programs

PROBE = 0x88B5  # an EtherType for experiments
LAST = frames.mac("02:00:00:00:0f:0f")  # the client of the last frame


def padi(source, tags=b"", stack=()):
    return frames.discovery(frames.BROADCAST, source, frames.PADI,
                            frames.tag(frames.SERVICE_NAME) + tags, stack)


def packets(path):
    """The frames of a classic capture file."""
    data = path.read_bytes()
    at, found = 24, []
    while at < len(data):
        _, _, kept, _ = struct.unpack_from("=IIII", data, at)
        found.append(data[at + 16:at + 16 + kept])
        at += 16 + kept
    return found


class Trace(testing.LabTest):
    def setUp(self):
        super().setUp()
        self.lab.start_engine()
        self.lab.start_server()

    def capture(self, peer):
        """tshark at a peer, listening."""
        path = self.lab.folder / f"{peer}.pcap"
        tshark = Process(["tshark", "-n", "-l", "-i", PEERS[peer][0], "-F", "pcap", "-w", path,
                          "-P"], peer)
        self.addCleanup(lambda: tshark.running() and tshark.stop())
        # It says that it captures a little before it does: a frame that is not
        # PPPoE shows when it hears.
        wire = self.lab.wire(peer)
        probe = frames.ethernet(frames.BROADCAST, mac_of(peer), PROBE, bytes(46))

        def hears():
            wire.send(probe)
            return any(f"{PROBE:#06x}" in line for line in tshark.lines)

        wait_until(hears, "tshark to hear a frame")
        return tshark, path

    def heard(self, capture, peer):
        """Its Discovery frames: those that the peer sent, and those it received."""
        tshark, path = capture
        tshark.wait_line("02:00:00:00:0f:0f")
        tshark.stop(signal.SIGINT)
        own = {LAST, mac_of("sub1")} if peer == "sub1" else {mac_of("bng")}
        found = [frame for frame in packets(path)
                 if frames.parse(frame).ethertype == frames.DISCOVERY]
        return ([frame for frame in found if frame[6:12] in own],
                [frame for frame in found if frame[6:12] not in own])

    def side(self, path, which):
        """The frames of one interface of a trace file, as tshark reads it."""
        out = self.lab.folder / f"{which}.pcap"
        netns.run("tshark", "-n", "-Q", "-r", path, "-Y", f'frame.interface_name == "{which}"',
                  "-F", "pcap", "-w", out)
        return packets(out)

    def traffic(self):
        client = self.lab.wire("sub1")
        self.assertEqual(self.lab.discover("sub1")[0], 0)
        self.lab.open_session("sub1")
        for frame in (
                padi(mac_of("sub1"), stack=[(0x8100, 100)]),
                padi(mac_of("sub1"), stack=[(0x8100, 200), (0x8100, 7)]),
                padi(mac_of("sub1"), stack=[(0x8100, 999)]),                  # passes unmarked
                padi(mac_of("sub1"), frames.vendor_tag()),                    # dropped: untrusted
                frames.discovery(mac_of("bng"), mac_of("sub1"), frames.PADO,  # dropped: its role
                                 frames.tag(frames.SERVICE_NAME)),
                padi(LAST)):
            client.send(frame)

    def test_frame_by_frame(self):
        file = self.lab.folder / "trace.pcapng"
        tracer = Process([programs() / "pppoeiactl", "trace", "--json", "--pcap", file])
        tracer.wait_line("watching")
        at_client, at_server = self.capture("sub1"), self.capture("bng")
        self.traffic()
        tracer.wait_line('"source":"02:00:00:00:0f:0f"')
        sent_up, got_down = self.heard(at_client, "sub1")
        sent_down, got_up = self.heard(at_server, "bng")
        # The server's answer to the last PADI may come or not before the end.
        self.assertEqual(tracer.stop(signal.SIGINT), 0)
        lines = [json.loads(line) for line in tracer.lines if line.startswith("{")]

        came, left = self.side(file, "came"), self.side(file, "left")
        up = [line["direction"] == "up" for line in lines]
        self.assertEqual([frame for frame, is_up in zip(came, up) if is_up], sent_up)
        forwarded_up = [line["direction"] == "up" for line in lines if line["verdict"] == "forwarded"]
        self.assertEqual([frame for frame, is_up in zip(left, forwarded_up) if is_up], got_up)
        self.assertStartsWith([f for f, is_up in zip(came, up) if not is_up], sent_down)
        self.assertStartsWith([f for f, is_up in zip(left, forwarded_up) if not is_up], got_down)
        self.assert_described(lines, came)

    def assertStartsWith(self, one, other):
        common = min(len(one), len(other))
        self.assertGreater(common, 2)
        self.assertEqual(one[:common], other[:common])

    def assert_described(self, lines, came):
        """Each line has its shape and says what its frame is; the refused ones say why."""
        import jsonschema
        self.assertEqual(len(lines), len(came))
        schema = json.loads((REPOSITORY / "packaging/pppoeiactl.schema.json").read_text())
        jsonschema.validate(lines, {**schema, "type": "array", "items": {"$ref": "#/$defs/frame"}})
        for line, frame in zip(lines, map(frames.parse, came)):
            self.assertEqual(line["came"]["vlans"], [vlan for _, vlan in frame.stack])
            self.assertEqual(frames.mac(line["came"]["source"]), frame.source)
            self.assertEqual(len(line["came"]["tags"]), len(frame.tags))
        reasons = [line["reason"] for line in lines if line["reason"]]
        self.assertEqual(reasons, ["the VLAN is not enabled", "a tag from an untrusted port",
                                   "the port's role"])

    def test_what_a_port_sends_and_gets(self):
        """Its own requests, and the answers to it, with the texts in them."""
        for peer in ("sub1", "sub2"):
            self.lab.discover(peer)
        tracer = Process([programs() / "pppoeiactl", "trace", "--port", "1/1/1", "--count", "3"])
        tracer.wait_line("watching")
        refusal = frames.tag(frames.SERVICE_NAME) + frames.tag(0x0203, b"line \x1b[31mbarred")
        for session, peer in ((0, "sub2"), (7, "sub1")):  # the first is of another port
            self.lab.wire("bng").send(frames.discovery(mac_of(peer), mac_of("bng"), frames.PADS,
                                                       refusal, session=session))
        self.lab.wire("sub2").send(padi(mac_of("sub2")))
        self.lab.wire("sub1").send(padi(mac_of("sub1"), stack=[(0x8100, 100)]))
        self.assertEqual(tracer.wait(), 0, tracer.output())
        pads, request, pado = tracer.lines[-3:]
        self.assertIn(" 1/2/1 down PADS session 7 vlan - ", pads)
        self.assertIn("Generic-Error='line \\x1b[31mbarred': forwarded to 1/1/1", pads)
        self.assertRegex(request, (
            r"^\d\d:\d\d:\d\d\.\d{6} 1/1/1 up PADI vlan 100 02:00:00:00:01:01 > ff:ff:ff:ff:ff:ff "
            r"tags Service-Name: forwarded to 1/2/1 cid 'KORVALEN:shelf1 eth 3/1/1/1:100' rid 'line-0001'$"))
        self.assertIn("AC-Name='BNG-1'", pado)
        self.assertIn("forwarded to 1/1/1", pado)


if __name__ == "__main__":
    testing.main()
