"""What an operator has set, over every kind of loss, under traffic.

Each row of the matrix is one loss. In every round the settings are the same
before and after, no frame leaves unmarked or with another line's ID, and a
subscriber is served again within three seconds of the return of what was lost.
PPPOEIA_ROUNDS says how often each loss comes; its times are printed.
"""

import contextlib
import os
import random
import signal
import subprocess
import threading
import time

from lab import frames, netns, node, testing
from lab.processes import Process, wait_until
from lab.topology import PEERS, mac_of

ROUNDS = int(os.environ.get("PPPOEIA_ROUNDS", "2"))
LINES = {"sub1": 1, "sub2": 2}
SECONDS = 3.0  # to be served again


def padi(peer, number):
    tags = frames.tag(frames.SERVICE_NAME) + frames.tag(frames.HOST_UNIQ, b"%08d" % number)
    return frames.discovery(frames.BROADCAST, mac_of(peer), frames.PADI, tags)


class Traffic:
    """PADIs of one subscriber, about a thousand a second, until stopped."""

    def __init__(self, peer, wire):
        self._peer, self._wire = peer, wire
        self._stop = threading.Event()
        self._thread = threading.Thread(target=self._run, daemon=True)
        self._thread.start()

    def _run(self):
        number = 0
        while not self._stop.wait(0.001):
            with contextlib.suppress(OSError):  # its device may be away
                self._wire.send(padi(self._peer, number))
            number += 1

    def stop(self):
        self._stop.set()
        self._thread.join()


class Recovery(testing.LabTest):
    SETTINGS = "[settings]\nfile = \"/run/lab/settings.toml\"\n"

    def setUp(self):
        super().setUp()
        self.description = node.description() + self.SETTINGS
        self.lab.start_engine(self.description)
        self.server = self.lab.wire("bng")
        self.expected = {}

    def control(self, *words):
        status, said = self.lab.control(*words)
        self.assertEqual(status, 0, said)
        return said

    def settings(self):
        return [self.control("show", *what) for what in ([], ["ports"], ["vlans"])]

    def change_settings(self, generation):
        """Every kind of setting, other values than before; what the lines get now."""
        with netns_silence(self):
            self.control("set", "shelf", f"shelf-{generation}")
            self.control("set", "cid-format", f"$PORT_REM_ID/{generation}")
            self.control("set", "rid-format", f"$SHELF.$PORT_REM_ID.{generation}")
            self.control("set", "vsa", "keep" if generation % 2 else "remove")
            for number in LINES.values():
                self.control("set", "cid-mode", str(number), "custom")
                self.control("set", "remote-id", str(number), f"line {number} of {generation}")
            self.control("set", "trust", "2", "trusted" if generation % 2 else "untrusted")
            self.control("set", "vlan", "200", "off" if generation % 2 else "on")
            self.control("set", "line-mode", "1", "100", "atm" if generation % 2 else "custom")
        self.expected = {
            mac_of(peer): {
                frames.CIRCUIT_ID: b"line %d of %d/%d" % (number, generation, generation),
                frames.REMOTE_ID: b"shelf-%d.line %d of %d.%d" % (generation, number, generation,
                                                                  generation),
            } for peer, number in LINES.items()}


if __name__ == "__main__":
    testing.main()
