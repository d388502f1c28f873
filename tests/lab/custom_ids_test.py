"""Custom IDs on a real client's PADI, text and binary; tshark reads them."""

from lab import decode, frames, node, testing

# Shelf "shelf1", location port 7, VLAN 0, the client's address with "-" between.
TEXT_FORMAT = "$SHELF/$z4PORT.$VLAN $d-CLNT_MAC"
TEXT = b"shelf1/0007.0 02-00-00-00-01-01"
# "L", chassis 99 (0x63), the client's address: 8 bytes.
BINARY_FORMAT = "L$hCHASSIS$hCLNT_MAC"
BINARY = bytes.fromhex("4c63020000000101")


class CustomIds(testing.LabTest):
    def setUp(self):
        super().setUp()
        self.lab.start_engine(node.description(ports={"sub1": {"port": 7}}))
        self.lab.start_server()
        self.server = self.lab.wire("bng")
        self.control("set", "cid-mode", "1", "custom")
        self.control("set", "cid-format", TEXT_FORMAT)

    def control(self, *words):
        status, said = self.lab.control(*words)
        self.assertEqual(status, 0, said)

    def marked_padi(self):
        """The PADI of one discovery, as the server received it."""
        status, said = self.lab.discover()
        self.assertEqual(status, 0, said)
        self.server.waiting()
        padis = [frame for frame in map(frames.parse, self.server.recorded())
                 if frame.code == frames.PADI]
        self.assertEqual(len(padis[-1].marks), 1)
        return padis[-1].marks[0]

    def test_text_and_binary(self):
        self.control("set", "rid-format", BINARY_FORMAT)
        mark = self.marked_padi()
        self.assertEqual(mark[frames.CIRCUIT_ID], TEXT)
        self.assertEqual(mark[frames.REMOTE_ID], BINARY)
        rows = decode.fields(self.server.save(self.lab.folder / "server.pcap"),
                             ["pppoe.code", "pppoed.tags.circuit_id", "pppoed.tags.remote_id"])
        padi = [row for row in rows if int(row["pppoe.code"], 16) == frames.PADI][-1]
        self.assertEqual(padi["pppoed.tags.circuit_id"], TEXT.decode())
        self.assertTrue(padi["pppoed.tags.remote_id"].startswith("Lc"))


if __name__ == "__main__":
    testing.main()
