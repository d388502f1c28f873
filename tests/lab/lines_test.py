"""What the engine knows of lines, sessions and servers, after real peers have met."""

import json

from lab import frames, node, testing
from lab.topology import mac_of


def address(peer):
    return ":".join(f"{byte:02x}" for byte in mac_of(peer))


class Lines(testing.LabTest):
    def shown(self, *words):
        status, said = self.lab.control("show", *words, "--json")
        self.assertEqual(status, 0, said)
        return json.loads(said)

    def test_a_line_from_its_first_request_on(self):
        self.lab.start_engine(node.description())
        with self.lab.wire("sub1") as subscriber, self.lab.wire("bng") as server:
            subscriber.send(frames.discovery(frames.BROADCAST, mac_of("sub1"), frames.PADI,
                                             frames.tag(frames.SERVICE_NAME)))
            server.wait(lambda frame: frame.code == frames.PADI, "the PADI")
        port = node.PORTS["sub1"]["id"]
        line, = self.shown("lines", "--state", "asking")["lines"]
        self.assertEqual((line["port"], line["vlan"], line["client"], line["requests"]),
                         (port, 0, address("sub1"), 1))

        self.lab.start_server()
        self.lab.open_session("sub1")  # which the server ends at once
        server, = self.shown("servers")["servers"]
        self.assertEqual((server["server"], server["offers"], server["sessions"],
                          server["ended"], server["refusals"]), (address("bng"), 1, 1, 1, 0))
        self.assertTrue(server["ac_name"])
        self.assertEqual(sum(server["answer_times"]), 2)
        self.assertEqual(self.shown("sessions")["sessions"], [])

        with self.lab.wire("sub1") as subscriber, self.lab.wire("bng") as server:
            server.send(frames.discovery(mac_of("sub1"), mac_of("bng"), frames.PADS,
                                         frames.tag(frames.SERVICE_NAME), session=0x1234))
            subscriber.wait(lambda frame: frame.session == 0x1234, "the PADS")
        session, = self.shown("sessions")["sessions"]
        self.assertEqual((session["port"], session["session"], session["client"],
                          session["server"]), (port, 0x1234, address("sub1"), address("bng")))
        line, = self.shown("lines", "--state", "online")["lines"]
        self.assertEqual(line["requests"], 0)
        self.assertEqual(self.shown("lines", "--port", "1/1/2")["lines"], [])


if __name__ == "__main__":
    testing.main()
