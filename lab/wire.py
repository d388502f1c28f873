"""Raw frames in and out of a device.

The kernel keeps the outermost VLAN tag of a received frame beside it; it is put
back here, so a frame reads as it was on the wire.
"""

import contextlib
import selectors
import socket
import struct
import time

from lab import frames, netns
from lab.processes import WaitFailed

_SOL_PACKET = 263
_PACKET_STATISTICS = 6
_PACKET_AUXDATA = 8
_PACKET_IGNORE_OUTGOING = 23
_SO_RCVBUFFORCE = 33
_ETH_P_ALL = 0x0003

_AUXDATA = struct.Struct("=IIIHHHH")  # status, length, captured, mac, net, tci, tpid
_VLAN_VALID = 0x10
_VLAN_TYPE_VALID = 0x40

# The kernel charges about 1 KB for a small frame; thousands must fit, read or not.
_RECEIVE_BUFFER = 64 << 20


class Wire:
    """A packet socket on one device of one namespace.

    It hears what arrives at the device from the moment it is made; with
    `outgoing`, also what this machine sends there.
    """

    def __init__(self, device, namespace=None, outgoing=False):
        self.name = f"{namespace or 'node'}:{device}"
        self.heard = []  # (time, bytes) of every frame received
        self._drops = 0
        with netns.entered(namespace):
            # Protocol 0: nothing is heard until the device is bound.
            self._socket = socket.socket(socket.AF_PACKET, socket.SOCK_RAW | socket.SOCK_CLOEXEC, 0)
        self._socket.setsockopt(socket.SOL_SOCKET, _SO_RCVBUFFORCE, _RECEIVE_BUFFER)
        self._socket.setsockopt(_SOL_PACKET, _PACKET_AUXDATA, 1)
        self._socket.setsockopt(_SOL_PACKET, _PACKET_IGNORE_OUTGOING, 0 if outgoing else 1)
        try:
            self._socket.bind((device, _ETH_P_ALL))
        except OSError:
            self._socket.close()
            raise
        self._selector = selectors.DefaultSelector()
        self._selector.register(self._socket, selectors.EVENT_READ)

    def close(self):
        self._selector.close()
        self._socket.close()

    def __enter__(self):
        return self

    def __exit__(self, *_):
        self.close()

    def send(self, data):
        self._socket.send(data)

    def _receive(self):
        data, control, _, _ = self._socket.recvmsg(
            65536, socket.CMSG_SPACE(_AUXDATA.size), socket.MSG_DONTWAIT)
        for level, kind, value in control:
            if (level, kind) == (_SOL_PACKET, _PACKET_AUXDATA):
                status, _, _, _, _, tci, tpid = _AUXDATA.unpack(value[:_AUXDATA.size])
                if status & _VLAN_VALID:
                    kind = tpid if status & _VLAN_TYPE_VALID else 0x8100
                    data = data[:12] + struct.pack("!HH", kind, tci) + data[12:]
        self.heard.append((time.time(), data))
        return data

    def waiting(self):
        """What has arrived and not been taken yet, parsed, at once."""
        taken = []
        with contextlib.suppress(BlockingIOError):
            while True:
                taken.append(frames.parse(self._receive()))
        return taken

    def wait(self, wanted, what, seconds=5.0):
        """The first frame for which `wanted(frame)` holds, and those before it.

        Gives (frame, earlier frames).
        """
        earlier = []
        deadline = time.monotonic() + seconds
        while True:
            left = deadline - time.monotonic()
            if left <= 0 or not self._selector.select(left):
                raise WaitFailed(f"{self.name}: waited {seconds:g} s for {what}; "
                                 f"{len(earlier)} other frames came")
            frame = frames.parse(self._receive())
            if wanted(frame):
                return frame, earlier
            earlier.append(frame)

    def lost(self):
        """Frames that this socket itself had no room for."""
        raw = self._socket.getsockopt(_SOL_PACKET, _PACKET_STATISTICS, 8)
        self._drops += struct.unpack("=II", raw)[1]
        return self._drops

    def recorded(self):
        """The bytes of every frame heard, taken or not."""
        return [data for _, data in self.heard]

    def save(self, path):
        """Writes what was heard as a capture file."""
        with open(path, "wb") as capture:
            capture.write(struct.pack("=IHHiIII", 0xA1B2C3D4, 2, 4, 0, 0, 65536, 1))
            for when, data in self.heard:
                seconds = int(when)
                micros = int((when - seconds) * 1e6)
                capture.write(struct.pack("=IIII", seconds, micros, len(data), len(data)) + data)
        return path
