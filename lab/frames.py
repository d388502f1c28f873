"""Ethernet and PPPoE Discovery bytes, written and read without the engine."""

import struct
from dataclasses import dataclass, field

BROADCAST = bytes.fromhex("ffffffffffff")

DISCOVERY = 0x8863
SESSION = 0x8864
ARP = 0x0806
IPV4 = 0x0800
VLAN_TYPES = (0x8100, 0x88A8)

PADI, PADO, PADR, PADS, PADT = 0x09, 0x07, 0x19, 0x65, 0xA7

END_OF_LIST = 0x0000
SERVICE_NAME = 0x0101
AC_NAME = 0x0102
HOST_UNIQ = 0x0103
VENDOR_SPECIFIC = 0x0105
GENERIC_ERROR = 0x0203

VENDOR = struct.pack("!I", 3561)
CIRCUIT_ID, REMOTE_ID = 1, 2


def mac(text):
    return bytes.fromhex(text.replace(":", ""))


def tag(kind, value=b""):
    return struct.pack("!HH", kind, len(value)) + value


def vendor_tag(circuit_id=b"someone", remote_id=b"else"):
    """A Vendor-Specific tag as another agent would have put it."""
    value = VENDOR
    for kind, text in ((CIRCUIT_ID, circuit_id), (REMOTE_ID, remote_id)):
        value += bytes([kind, len(text)]) + text
    return tag(VENDOR_SPECIFIC, value)


def vlan_tags(stack):
    """`stack`: pairs of EtherType and VLAN id, the outermost first."""
    return b"".join(struct.pack("!HH", kind, vlan) for kind, vlan in stack)


def ethernet(destination, source, ethertype, payload=b"", stack=()):
    return destination + source + vlan_tags(stack) + struct.pack("!H", ethertype) + payload


def discovery(destination, source, code, tags, stack=(), session=0):
    header = struct.pack("!BBHH", 0x11, code, session, len(tags))
    return ethernet(destination, source, DISCOVERY, header + tags, stack)


@dataclass
class Frame:
    """What a frame holds. `code` and `tags` are those of Discovery frames."""

    destination: bytes
    source: bytes
    stack: list
    ethertype: int
    payload: bytes
    code: int = None
    session: int = None
    tags: list = field(default_factory=list)  # pairs of kind and value

    def values(self, kind):
        return [value for k, value in self.tags if k == kind]

    @property
    def host_uniq(self):
        values = self.values(HOST_UNIQ)
        return values[0] if values else None

    @property
    def marks(self):
        """The Vendor-Specific tags, each as {sub-option: bytes}."""
        return [_sub_options(value) for value in self.values(VENDOR_SPECIFIC)]


def parse(data):
    """A frame's bytes as a Frame; ValueError when it does not add up."""
    stack, at = [], 12
    ethertype, = struct.unpack_from("!H", data, at)
    while ethertype in VLAN_TYPES:
        control, following = struct.unpack_from("!HH", data, at + 2)
        stack.append((ethertype, control & 0x0FFF))
        ethertype, at = following, at + 4
    frame = Frame(data[0:6], data[6:12], stack, ethertype, data[at + 2:])
    if ethertype == DISCOVERY:
        _, frame.code, frame.session, length = struct.unpack_from("!BBHH", frame.payload)
        if 6 + length > len(frame.payload):
            raise ValueError(f"payload length {length} in a frame of {len(data)} bytes")
        frame.tags = _tags(frame.payload[6:6 + length])
    return frame


def _tags(payload):
    tags, at = [], 0
    while at < len(payload):
        kind, length = struct.unpack_from("!HH", payload, at)
        if at + 4 + length > len(payload):
            raise ValueError(f"tag 0x{kind:04x} of {length} bytes runs past the payload")
        tags.append((kind, payload[at + 4:at + 4 + length]))
        at += 4 + length
    return tags


def _sub_options(value):
    if value[:4] != VENDOR:
        raise ValueError(f"vendor {value[:4].hex()}")
    options, at = {}, 4
    while at < len(value):
        kind, length = value[at], value[at + 1]
        options[kind] = value[at + 2:at + 2 + length]
        at += 2 + length
    if at != len(value):
        raise ValueError("sub-option runs past its tag")
    return options
