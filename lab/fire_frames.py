"""The frames of the soak, each with the bytes that have to come out, and why
those that do not come out do not.

The bytes are worked out here from the rules, without the engine. Every frame has
an address of its own, by which it is known again.
"""

import struct
from dataclasses import dataclass, field

from lab import frames, node
from lab.frames import BROADCAST, PADI, PADO, PADR, PADS, PADT, tag
from lab.topology import MNG_MAC

SUB1, SUB2, SUB3, STRAY, BNG, BRIDGE, PSEUDO = range(7)
PEERS = [("sub1", "wan"), ("sub2", "wan"), ("sub2", "wan3"), ("sub2", "wan4"), ("bng", "net"),
         ("-", node.BRIDGE), ("-", f"{node.BRIDGE}_pppoe")]
MUTE = (BRIDGE, PSEUDO)
MORE_DEVICES = [("wan3", "02:00:00:00:03:01", "sub3"), ("wan4", "02:00:00:00:04:01", "stray0")]
# Of each peer: its port and the device.
PORT_OF = {SUB1: (1, "sub1"), SUB2: (2, "sub2"), SUB3: (3, "sub3"), BNG: (10, "net0")}
PORTS = [port for port, _ in PORT_OF.values()]
SUBSCRIBERS = (SUB1, SUB2, SUB3)
LONGEST = 1500  # max_pdu

S, C, OLD = 0x88A8, 0x8100, 0x9100  # types of VLAN tags

REASONS = (
    "forwarded", "forwarded unchanged: VLAN not enabled", "forwarded unchanged: port disabled",
    "forwarded by the bridge: not Discovery", "sent to all subscribers",
    "answered: would outgrow the limit", "dropped: code not of this port's role",
    "dropped: tag of an untrusted port", "dropped: truncated",
    "refused: a tag that the engine does not read", "refused: too many tags",
    "held: port not described", "held: not from the engine", "held: no record")


def description():
    text = node.description(ports={"sub2": {"role": "both", "trust": "trusted"}})
    return text + """[[interface]]
device = "sub3"
id = 3
name = "1/1/3"
type = "access"
role = "disabled"
"""


@dataclass
class Frame:
    name: str
    peer: int
    data: bytes
    reason: str
    counter: str = None
    port: int = None
    kernel: dict = field(default_factory=dict)
    outs: list = field(default_factory=list)  # pairs of peer and bytes


def mark(device, vlan):
    """The tag of a port's line in the default forms."""
    return frames.vendor_tag(node.circuit_id(device, vlan).encode(),
                             node.PORTS[device]["remote_id"].encode())


def address(number):
    return struct.pack("!IH", 0x02FE0000, number)


class Table:
    """Gathers frames; each method adds one kind."""

    def __init__(self):
        self.frames = []
        self.client = {}  # (peer, stack): address of one that lives there

    def source(self):
        return address(len(self.frames))

    def add(self, name, peer, data, reason, counter=None, kernel=(), outs=()):
        self.frames.append(Frame(name, peer, data, reason, counter,
                                 PORT_OF.get(peer, (None,))[0], dict.fromkeys(kernel, 1),
                                 list(outs)))

    def forwarded(self, name, peer, code, before, after, counter, *, stack=(), to=BROADCAST,
                  out=BNG, reason="forwarded"):
        """`before` and `after`: the tags as they come and as they leave."""
        source = self.source()
        self.client.setdefault((peer, stack), source)
        self.add(name, peer, frames.discovery(to, source, code, before, stack), reason, counter,
                  ("handed", "sent"), [(out, frames.discovery(to, source, code, after, stack))])

    def marked(self, name, code, before="", after="", *, peer=SUB1, stack=(), vlan=0):
        """A subscriber's request; the mark goes between `before` and `after`."""
        before, after = before or tag(frames.SERVICE_NAME), after or b""
        line = mark(PORT_OF[peer][1], vlan)
        self.forwarded(name, peer, code, before + after, before + line + after,
                       "padi" if code == PADI else "padr", stack=stack)

    def to_client(self, name, code, before, after, counter, *, peer=SUB1, stack=()):
        self.forwarded(name, BNG, code, before, after, counter, stack=stack,
                       to=self.client[peer, stack], out=peer)

    def lost(self, name, peer, data, reason, counter=None, kernel=("handed",)):
        """What comes out nowhere."""
        self.add(name, peer, data, reason, counter, kernel)

    def request(self, code, tags, stack=()):
        return frames.discovery(BROADCAST, self.source(), code, tags, stack)

    def unchanged(self, name, peer, data, reason, counter=None):
        self.add(name, peer, data, reason, counter, ("handed", "sent"), [(BNG, data)])


def all_frames():
    table = Table()
    add_requests(table)
    add_stacks(table)
    add_broken_tags(table)
    add_subscribers_others(table)
    add_answers(table)
    add_refused(table)
    add_held(table)
    return table.frames


NAME = tag(frames.SERVICE_NAME)
UNIQ = tag(frames.HOST_UNIQ, b"\x00\x01\x02\x03")
COOKIE = tag(0x0104, bytes(range(16)))
RELAY = tag(0x0110, b"relay")
PAYLOAD = tag(0x0120, b"\x05\xd4")
END = tag(frames.END_OF_LIST)


def add_requests(table):
    table.marked("PADI", PADI)
    table.marked("PADR", PADR)
    table.marked("PADI with all its tags", PADI, NAME + UNIQ + RELAY + PAYLOAD)
    table.marked("PADR with all its tags", PADR, NAME + UNIQ + COOKIE + RELAY + PAYLOAD)
    table.marked("PADI ended by a list's end", PADI, NAME + UNIQ, END)
    table.marked("PADI with bytes behind the list's end", PADI, NAME, END + b"rubbish behind")
    table.forwarded("PADI without tags", SUB1, PADI, b"", mark("sub1", 0), "padi")
    table.forwarded("PADI of nothing but the list's end", SUB1, PADI, END, mark("sub1", 0) + END,
                    "padi")
    table.forwarded("PADT of a client", SUB1, PADT, UNIQ, UNIQ, "padt")
    filler = tag(0x0110, bytes(700))
    table.marked("long PADI", PADI, NAME + filler)
    table.marked("PADI of the second subscriber", PADI, peer=SUB2)
    own = frames.vendor_tag(b"a tag of its own", b"that is replaced")
    table.forwarded("PADI with a tag, trusted", SUB2, PADI, NAME + own + UNIQ,
                    NAME + mark("sub2", 0) + UNIQ, "padi")
    table.forwarded("PADR with a tag, trusted", SUB2, PADR, own, mark("sub2", 0), "padr")


def add_stacks(table):
    for stack, vlan in ((((C, 100),), 100), (((S, 100),), 100), (((S, 200), (C, 7)), 200),
                        (((C, 100), (C, 7)), 100), (((S, 100), (C, 7), (C, 8)), 100)):
        name = " ".join(f"{kind:04x}:{number}" for kind, number in stack)
        table.marked(f"PADI behind {name}", PADI, stack=stack, vlan=vlan)
    table.unchanged("PADI of another VLAN", SUB1, table.request(PADI, NAME, ((C, 300),)),
                    "forwarded unchanged: VLAN not enabled")
    for stack in (((OLD, 100),), ((S, 100), (S, 7))):
        table.lost(f"PADI behind {stack[0][0]:04x}, which the engine does not read", SUB1,
                   table.request(PADI, NAME, stack),
                   "refused: a tag that the engine does not read", kernel=("foreign tag",))
    four = ((S, 100), (C, 1), (C, 2), (C, 3))
    table.lost("PADI behind four tags", SUB1, table.request(PADI, NAME, four),
               "refused: too many tags", kernel=("too many tags",))


def add_broken_tags(table):
    """Tags that run past the payload, and what is shorter than it says."""
    broken = struct.pack("!HH", frames.HOST_UNIQ, 100) + b"four"
    table.forwarded("PADI whose last tag is cut off", SUB1, PADI, NAME + broken,
                    NAME + mark("sub1", 0) + broken, "padi")
    table.forwarded("PADI whose only tag is cut off", SUB1, PADI, broken,
                    mark("sub1", 0) + broken, "padi")
    for name, cut in (("one byte short", 1), ("without its payload", len(NAME + UNIQ)),
                      ("cut off in its header", len(NAME + UNIQ) + 3)):
        table.lost(f"PADI {name}", SUB1, table.request(PADI, NAME + UNIQ)[:-cut],
                   "dropped: truncated", "truncated")
    source = table.source()
    tags = NAME + tag(0x0110, bytes(1440))
    plain = frames.discovery(BROADCAST, source, PADI, tags)
    # One tag of no length is left of it, and bytes of ones.
    payload = struct.pack("!BBHH", 0x11, PADO, 0, 4) + tag(frames.GENERIC_ERROR)
    answer = frames.ethernet(source, frames.mac(MNG_MAC), frames.DISCOVERY, payload)
    answer += b"\xff" * (len(plain) - len(answer))
    table.add("PADI that would outgrow the limit", SUB1, plain,
               "answered: would outgrow the limit", "padi", ("handed", "sent"),
               [(SUB1, answer)])


def add_subscribers_others(table):
    """What subscribers send beside their requests."""
    for code, name in ((PADO, "PADO"), (PADS, "PADS"), (0xD3, "PADM")):
        table.lost(f"{name} of a client", SUB1, table.request(code, NAME),
                   "dropped: code not of this port's role", "dropped")
    table.lost("PADI with a tag, untrusted", SUB1,
               table.request(PADI, NAME + frames.vendor_tag()),
               "dropped: tag of an untrusted port", "dropped")
    table.lost("PADT with a tag, untrusted", SUB1,
               table.request(PADT, tag(frames.VENDOR_SPECIFIC, b"anything")),
               "dropped: tag of an untrusted port", "dropped")
    table.forwarded("PADO of a port that may", SUB2, PADO, NAME, NAME, "pado")
    table.forwarded("PADN of a port that may", SUB2, 0xD4, NAME, NAME, "unknown")
    table.unchanged("PADI of a disabled port", SUB3, table.request(PADI, NAME),
                    "forwarded unchanged: port disabled", "bypassed")
    arp = frames.ethernet(BROADCAST, table.source(), frames.ARP, bytes(46))
    table.add("ARP", SUB1, arp, "forwarded by the bridge: not Discovery",
               outs=[(peer, arp) for peer in (SUB2, SUB3, STRAY, BNG)])


def add_answers(table):
    """From the concentrator."""
    offer = NAME + tag(frames.AC_NAME, b"BNG-1") + COOKIE
    one = ((C, 100),)
    two = ((S, 200), (C, 7))
    line = mark("sub1", 0)
    table.to_client("PADO", PADO, offer, offer, "pado")
    table.to_client("PADS", PADS, NAME + UNIQ, NAME + UNIQ, "pads")
    table.to_client("PADO with a mark", PADO, offer + line + UNIQ, offer + UNIQ, "pado")
    table.to_client("PADS with a mark, the last", PADS, NAME + line, NAME, "pads")
    table.to_client("PADO behind one tag", PADO, offer + line, offer, "pado", stack=one)
    table.to_client("PADO behind two tags", PADO, line + offer, offer, "pado", stack=two)
    table.to_client("PADS of the second subscriber", PADS, NAME, NAME, "pads", peer=SUB2)
    table.to_client("PADT of the concentrator", PADT, b"", b"", "padt")
    source = table.source()
    told = frames.discovery(address(0xFFFE), source, PADT, UNIQ)
    table.add("PADT to somebody unknown", BNG, told, "sent to all subscribers", "padt",
               ("handed", "spread"), [(peer, told) for peer in SUBSCRIBERS])


def add_refused(table):
    for code, name in ((PADI, "PADI"), (PADR, "PADR"), (0x0A, "PADG")):
        table.lost(f"{name} of the concentrator", BNG,
                   frames.discovery(table.client[SUB1, ()], table.source(), code, NAME),
                   "dropped: code not of this port's role", "dropped")
    table.lost("PADO one byte short", BNG,
               frames.discovery(table.client[SUB1, ()], table.source(), PADO, NAME)[:-1],
               "dropped: truncated", "truncated")


def add_held(table):
    table.lost("PADI of a port that is not described", STRAY, table.request(PADI, NAME),
               "held: port not described", kernel=("no port",))
    table.lost("PADI of the node itself", BRIDGE, table.request(PADI, NAME),
               "held: not from the engine", kernel=())  # by the rules in front of the ports
    table.lost("PADI on the pseudo device", PSEUDO, table.request(PADI, NAME),
               "held: no record", kernel=("bad record",))


def plan(all_of_them):
    """As frame_fire reads it."""
    lines = [f"{'mute' if number in MUTE else 'peer'} {space} {device}"
             for number, (space, device) in enumerate(PEERS)]
    for frame in all_of_them:
        lines.append(f"frame {frame.peer} {frame.data.hex()}")
        lines += [f"out {peer} {data.hex()}" for peer, data in frame.outs]
    return "\n".join(lines) + "\n"
