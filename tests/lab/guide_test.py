"""The operator's guide: the commands under its three kinds of node, run on the example
that each names; what `preview` says is what a subscriber's PADI gets."""

import json
import re
import shlex
import tomllib

from lab import testing
from lab.topology import REPOSITORY

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
            said = self.control(*words, "--json")
            if words[0] == "preview":
                shown = json.loads(said)
                vlan = int(words[2])
                sent = self.ids(stack=[(0x8100, vlan)] if vlan else [])
                previews.append(shown["circuit_id"]["text"])
                self.assertEqual((previews[-1].encode(), shown["remote_id"]["text"].encode()), sent)
        self.assertEqual(previews, circuit_ids)


if __name__ == "__main__":
    testing.main()
