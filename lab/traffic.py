"""PADIs of one subscriber, one after the other."""

import contextlib
import threading

from lab import frames
from lab.topology import mac_of


def padi(number, peer="sub1", source=None):
    """With its number as the Host-Uniq, in eight digits; from the peer's address, or another."""
    tags = frames.tag(frames.SERVICE_NAME) + frames.tag(frames.HOST_UNIQ, b"%08d" % number)
    return frames.discovery(frames.BROADCAST, source or mac_of(peer), frames.PADI, tags)


class Traffic:
    """PADIs numbered from 0 through a wire of the subscriber's, until stopped."""

    def __init__(self, wire, peer="sub1", pause=0.0005, source=None):
        self.sent = 0
        self._wire, self._peer, self._pause, self._source = wire, peer, pause, source
        self._stop = threading.Event()
        self._thread = threading.Thread(target=self._run, daemon=True)
        self._thread.start()

    def _run(self):
        while not self._stop.wait(self._pause):
            with contextlib.suppress(OSError):  # the device may be away
                self._wire.send(padi(self.sent, self._peer, self._source))
                self.sent += 1

    def stop(self):
        self._stop.set()
        self._thread.join()
