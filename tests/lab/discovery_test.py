"""Packaged clients and server through the engine; tshark judges the tags."""

import json

from lab import decode, frames, node, testing
from lab.topology import ACCESS_CONCENTRATOR, PEERS, mac_of

TAG_FIELDS = ["pppoe.code", "pppoed.tags.vendor_id", "pppoed.tags.circuit_id",
              "pppoed.tags.remote_id"]
VENDOR = "3561"


# Shelf "shelf1", location port 7, VLAN 0, the client's address with "-" between.
TEXT_FORMAT, TEXT_ID = "$SHELF/$z4PORT.$VLAN $d-CLNT_MAC", b"shelf1/0007.0 02-00-00-00-01-01"
# "L", chassis 99 (0x63), the client's address: 8 bytes.
BINARY_FORMAT, BINARY_ID = "L$hCHASSIS$hCLNT_MAC", bytes.fromhex("4c63020000000101")


class Discovery(testing.LabTest):
    bridge = "subscribers-lan"  # as long as a device name may be

    def read(self, wire):
        """tshark's rows for what a wire heard: lists of the four fields."""
        wire.waiting()
        rows = decode.fields(wire.save(self.lab.folder / f"{wire.name}.pcap"), TAG_FIELDS)
        return [[int(row["pppoe.code"], 16), *list(row.values())[1:]] for row in rows]

    def mark(self, device):
        return [VENDOR, node.circuit_id(device), node.PORTS[device]["remote_id"]]

    def test_discovery(self):
        self.lab.start_engine()
        self.lab.start_server()
        for device in ("sub1", "sub2"):
            with self.subTest(device):
                at_client, at_server = self.lab.wire(device, outgoing=True), self.lab.wire("bng")
                status, said = self.lab.discover(device)
                self.assertEqual(status, 0, said)
                self.assertIn(f"Access-Concentrator: {ACCESS_CONCENTRATOR}", said)
                self.assertEqual(self.read(at_server), [[frames.PADI, *self.mark(device)]])
                self.assertEqual(self.read(at_client), [[frames.PADI, "", "", ""],
                                                        [frames.PADO, "", "", ""]])

    def test_request(self):
        self.lab.start_engine()
        self.lab.start_server()
        at_client, at_server = self.lab.wire("sub1", outgoing=True), self.lab.wire("bng")
        status, said = self.lab.open_session()
        self.assertEqual(status, 0, said)
        self.assertRegex(said, f"^[0-9]+:{PEERS['bng'][1]}$")
        self.assertEqual(self.read(at_server)[:2], [[frames.PADI, *self.mark("sub1")],
                                                    [frames.PADR, *self.mark("sub1")]])
        codes = [row[0] for row in self.read(at_client)]
        self.assertEqual(codes[:4], [frames.PADI, frames.PADO, frames.PADR, frames.PADS])
        self.assertNotIn(VENDOR, [row[1] for row in self.read(at_client)])
        sent = json.loads(self.control("stats", "1", "--json"))["sent"]
        self.assertEqual((sent["pado"], sent["pads"], sent["padi"]), (1, 1, 0), sent)

    def test_custom_ids(self):
        self.lab.start_engine(node.description({"device": self.bridge}, {"sub1": {"port": 7}}))
        self.lab.start_server()
        self.control("set", "cid-mode", "1", "custom")
        self.control("set", "cid-format", TEXT_FORMAT)
        self.control("set", "rid-format", BINARY_FORMAT)
        at_server = self.lab.wire("bng")
        status, said = self.lab.discover()
        self.assertEqual(status, 0, said)
        (_, vendor, circuit_id, remote_id), = self.read(at_server)
        self.assertEqual((vendor, circuit_id), (VENDOR, TEXT_ID.decode()))
        self.assertTrue(remote_id.startswith("Lc"), remote_id)
        padi = frames.parse(at_server.recorded()[0])
        self.assertEqual(padi.marks, [{frames.CIRCUIT_ID: TEXT_ID, frames.REMOTE_ID: BINARY_ID}])



if __name__ == "__main__":
    testing.main()
