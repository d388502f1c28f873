"""Remote calls as their bytes, written and read without the generated stubs."""

import itertools
import socket
import struct

from lab.topology import PROGRAM

NODE_PROGRAM = 0x20000012  # what this node has beyond the agent's own
LOCAL = "/run/pppoeia/mgmt.sock"
LAST_FRAGMENT = 0x80000000
PORT_MAPPER, GET_PORT = 100000, 3
PROTOCOLS = {"tcp": 6, "udp": 17}
# Outcomes of a call.
TAKEN, NO_SUCH_PROCEDURE, NOT_DECODED, DENIED = 0, 3, 4, "denied"
FORMAT_SIZE, SUBOPTION_SIZE = 129, 256  # characters, of four bytes each


def packed(*values):
    """Numbers as words; texts with their length, filled up to whole words."""
    data = b""
    for value in values:
        if isinstance(value, int):
            data += struct.pack(">I", value & 0xFFFFFFFF)
        else:
            text = value.encode()
            data += struct.pack(">I", len(text)) + text + bytes(-len(text) % 4)
    return data


def request(program, procedure, arguments=b"", version=1):
    return packed(7, 0, 2, program, version, procedure, 0, 0, 0, 0) + arguments


def marked(call):
    """As one record of a stream."""
    return packed(LAST_FRAGMENT | len(call)) + call


def port_of(program, transport):
    """What the port mapper says."""
    with socket.socket(socket.AF_INET, socket.SOCK_DGRAM) as caller:
        caller.settimeout(2)
        caller.sendto(request(PORT_MAPPER, GET_PORT,
                              packed(program, 1, PROTOCOLS[transport], 0), version=2),
                      ("127.0.0.1", 111))
        return struct.unpack(">I", caller.recv(100)[-4:])[0]


class Answer:
    """The values of a reply, in their order."""

    def __init__(self, data):
        self._data, self._at = data, 0

    def _take(self, size):
        taken = self._data[self._at:self._at + size]
        if len(taken) != size:
            raise ValueError(f"the answer ends after {len(self._data)} bytes")
        self._at += size
        return taken

    def number(self):
        return struct.unpack(">i", self._take(4))[0]

    def text(self):
        size = self.number()
        return self._take(size + -size % 4)[:size].decode()

    def characters(self, count):
        return self._take(4 * count)[3::4].split(b"\0")[0].decode()

    def values(self, shape):
        """A letter each: a number, a text, a format, a sub-option; (shape,) is a list."""
        found = []
        for kind in shape:
            if isinstance(kind, tuple):
                found.append([self.values(*kind) for _ in range(self.number())])
            elif kind in "nt":
                found.append(self.number() if kind == "n" else self.text())
            else:
                found.append(self.characters(FORMAT_SIZE if kind == "f" else SUBOPTION_SIZE))
        return found

    def ended(self):
        return self._at == len(self._data)


class Caller:
    """Over the local socket, or over `transport` from a port that only root may use."""

    def __init__(self, transport="local", root=True):
        self.stream = transport != "udp"
        self.socket = socket.socket(
            socket.AF_UNIX if transport == "local" else socket.AF_INET,
            socket.SOCK_STREAM if self.stream else socket.SOCK_DGRAM)
        self.socket.settimeout(5)
        if transport == "local":
            self.socket.connect(LOCAL)
            return
        if root:
            self._bind_low_port()
        self.socket.connect(("127.0.0.1", port_of(PROGRAM, transport)))

    def __enter__(self):
        return self

    def __exit__(self, *_):
        self.socket.close()

    def _bind_low_port(self):
        for port in itertools.count(600):
            try:
                return self.socket.bind(("127.0.0.1", port))
            except OSError:
                if port == 1023:
                    raise

    def _reply(self):
        if not self.stream:
            return self.socket.recv(65536)
        size, = struct.unpack(">I", self._receive(4))
        return self._receive(size & ~LAST_FRAGMENT)

    def _receive(self, size):
        got = b""
        while len(got) < size:
            more = self.socket.recv(size - len(got))
            if not more:
                raise ConnectionError("closed by the node")
            got += more
        return got

    def call(self, procedure, arguments=b"", program=PROGRAM):
        """The outcome, and the bytes of the answer."""
        call = request(program, procedure, arguments)
        self.socket.send(marked(call) if self.stream else call)
        reply = self._reply()
        if struct.unpack_from(">I", reply, 8) != (0,):
            return DENIED, b""
        return struct.unpack_from(">I", reply, 20)[0], reply[24:]
