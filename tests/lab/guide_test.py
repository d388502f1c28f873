"""The operator's guide: the commands under its three kinds of node, run on the example
that each names; what `preview` says is what a subscriber's PADI gets."""

import json
import re
import shlex
import tomllib

from lab import frames, testing
from lab.topology import REPOSITORY, mac_of

GUIDE = (REPOSITORY / "docs/operators-guide.md").read_text(encoding="utf-8")

# The examples' devices that somebody is connected to, as the lab has them.
CONNECTED = {"uplink0": "net0", "bond0": "net0", "gem1": "sub1", "gem2": "sub2",
             "pvc1": "sub1", "pvc2": "sub2"}

class Guide(testing.LabTest):
    def start(self, example):
        text = (REPOSITORY / example).read_text(encoding="utf-8")
        for described, device in CONNECTED.items():
            text = text.replace(f'device = "{described}"', f'device = "{device}"')
        idle = [interface["device"] for interface in tomllib.loads(text)["interface"]
                if interface["device"] not in ("net0", "sub1", "sub2")]
        self.lab.add_idle_devices(idle + ["spare"] * (len(idle) % 2))
        self.lab.start_engine(text)

    def sent_ids(self, vlan):
        """The Circuit ID and Remote ID of a PADI from the first subscriber."""
        stack = [(0x8100, vlan)] if vlan else []
        with self.lab.wire("sub1") as subscriber, self.lab.wire("bng") as bng:
            subscriber.send(frames.discovery(frames.BROADCAST, mac_of("sub1"), frames.PADI,
                                             frames.tag(frames.SERVICE_NAME), stack))
            padi, _ = bng.wait(lambda frame: frame.code == frames.PADI, "the PADI")
        return [padi.marks[0][kind].decode() for kind in (frames.CIRCUIT_ID, frames.REMOTE_ID)]

    def section(self, heading, circuit_ids):
        """`circuit_ids`: of the section's previews, worked out by hand."""
        section = re.search(rf"^## {heading}\n(.*?)^## ", GUIDE, re.M | re.S).group(1)
        self.start(re.search(r"`(packaging/examples/.*?)`", section).group(1))
        self.follow(re.findall(r"^    pppoeiactl (.*)$", section, re.M), circuit_ids)

    def test_ethernet(self):
        self.section("Plain Ethernet", ["KORVALEN:shelf-1 eth 1/1/2:100", "fiber 2 100"])

    def test_gpon(self):
        self.section("FTTH with GPON", ["shelf-1/A/1/1/1:100"])

    def test_dsl(self):
        self.section("DSL with PVCs", ["KORVALEN:shelf-1 atm 3/10:8.35"])

    def follow(self, commands, circuit_ids):
        previews = []
        for words in map(shlex.split, commands):
            status, said = self.lab.control(*words, "--json")
            self.assertEqual(status, 0, said)
            if words[0] == "preview":
                shown = json.loads(said)
                ids = [shown[which]["text"] for which in ("circuit_id", "remote_id")]
                self.assertEqual(ids, self.sent_ids(int(words[2])))
                previews.append(ids[0])
        self.assertEqual(previews, circuit_ids)


if __name__ == "__main__":
    testing.main()
