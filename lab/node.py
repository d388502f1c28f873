"""The node description of the lab, as the engine reads it."""

import json

BRIDGE = "br0"
NODE = {
    "board": 3,
    "shelf": "shelf1",
    "name": "lab-node",
    "contact": "lab@example.net",
    "location": "two bridges down the hall",
}
# The VLANs in which subscribers are marked; 0 is untagged.
VLANS = (0, 100, 200)
# A test sends more than an honest line, unless it is about the limits.
UNLIMITED = {"line_rate": 0, "port_rate": 0}
PORTS = {
    "sub1": {"id": 1, "name": "1/1/1", "type": "access", "role": "client", "trust": "untrusted",
             "remote_id": "line-0001", "description": "first subscriber"},
    "sub2": {"id": 2, "name": "1/1/2", "type": "access", "role": "client", "trust": "untrusted",
             "remote_id": "line-0002", "description": "second subscriber"},
    "net0": {"id": 10, "name": "1/2/1", "type": "eth", "role": "server", "trust": "trusted",
             "description": "towards the BNG"},
}


def description(bridge=None, ports=None):
    """The description as text. `bridge` and `ports` (by device) say what is
    different: {"vsa_mode": "keep"}, {"sub1": {"trust": "trusted"}}."""
    ports = ports or {}
    text = _table("[node]", NODE)
    text += _table("[[bridge]]", {"name": BRIDGE, "ports": 32, **UNLIMITED, **(bridge or {})})
    for device, port in PORTS.items():
        text += _table("[[interface]]", {"device": device, **port, **ports.get(device, {})})
    for vlan in VLANS:
        text += _table("[[vlan]]", {"id": vlan, "name": f"vlan{vlan}"})
    return text


def circuit_id(device, vlan=0):
    """The Circuit ID of a port in its default form."""
    return f"KORVALEN:{NODE['shelf']} eth {NODE['board']}/{PORTS[device]['name']}:{vlan}"


def _table(header, values):
    # JSON's texts, numbers and truths are also TOML's.
    return "\n".join([header, *(f"{key} = {json.dumps(v)}" for key, v in values.items()), "", ""])
