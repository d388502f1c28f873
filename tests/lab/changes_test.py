"""A port or the whole node is configured anew while a subscriber floods.

The second subscriber sends requests with a forged tag as fast as it can, and its
own between them; the first one only its own. Whatever is changed meanwhile, the
server hears no request without a mark, none with a forged one, and none with the
mark of the other line.
"""

import contextlib
import os
import re
import subprocess

from lab import fire_frames, frames, netns, node, testing
from lab.agent import counters
from lab.processes import wait_until
from lab.topology import mac_of, tool
from lab.traffic import Traffic, padi

ROUNDS = int(os.environ.get("PPPOEIA_ROUNDS", "3"))
RATES = (5_000, 150_000)  # frames a second
SECONDS = "3"
FORGED = frames.discovery(frames.BROADCAST, mac_of("sub2"), frames.PADI,
                          frames.tag(frames.SERVICE_NAME) + frames.vendor_tag())


class Flood(Traffic):
    """Its own PADIs as fast as it can, sixteen with a forged tag before each."""

    def _run(self):
        while not self._stop.is_set():
            with contextlib.suppress(OSError):  # the device may be away
                for _ in range(16):
                    self._wire.send(FORGED)
                self._wire.send(padi(self.sent, self._peer))
                self.sent += 17


class Changes(testing.LabTest):
    def setUp(self):
        super().setUp()
        self.lab.start_engine()
        self.server = self.lab.wire("bng")
        self.flood = Flood(self.lab.wire("sub2"), "sub2")
        self.addCleanup(self.flood.stop)
        honest = Traffic(self.lab.wire("sub1"))
        self.addCleanup(honest.stop)
        self.heard = {mac_of("sub1"): 0, mac_of("sub2"): 0}
        self.wrong = []

    def look(self):
        """What the server has heard since the last look."""
        lines = {mac_of(line): {frames.CIRCUIT_ID: node.circuit_id(line).encode(),
                                frames.REMOTE_ID: node.PORTS[line]["remote_id"].encode()}
                 for line in ("sub1", "sub2")}
        for frame in self.server.waiting():
            if frame.source not in lines:
                continue
            self.heard[frame.source] += 1
            if frame.marks != [lines[frame.source]]:
                self.wrong.append(frame.marks)
        return dict(self.heard)

    def served(self):
        """Until requests of both lines have come once more."""
        before = self.look()
        wait_until(lambda: all(now > before[mac] for mac, now in self.look().items()),
                   "requests of both lines", 20)

    def rounds(self, *changes):
        self.served()
        for _ in range(ROUNDS):
            for change in changes:
                change()
                self.look()
            self.served()
        self.assertEqual(self.wrong, [], f"of {self.heard}, {self.flood.sent} sent")

    def rename(self, device, name):
        netns.run("ip", "link", "set", device, "down")
        netns.run("ip", "link", "set", device, "name", name, "up")

    def test_renamed_port(self):
        self.rounds(lambda: self.rename("sub2", "away"), lambda: self.rename("away", "sub2"))

    def test_settings_cleared(self):
        self.rounds(lambda: self.control("config", "clear", "--yes", seconds=30))


class ExchangedIds(testing.LabTest):
    """The numbers of two lines are exchanged in the description, by one reload; every
    frame that comes out has the IDs of its own line, compared byte by byte."""

    def plan(self):
        lines = ["peer sub1 wan", "peer sub2 wan", "peer bng net"]
        name = frames.tag(frames.SERVICE_NAME)
        for number in range(64):
            line = number % 2
            marked = name + fire_frames.mark(f"sub{line + 1}", 0)
            for what, peer, tags in (("frame", line, name), ("out", 2, marked)):
                frame = frames.discovery(frames.BROADCAST, fire_frames.address(number),
                                         frames.PADI, tags)
                lines.append(f"{what} {peer} {frame.hex()}")
        path = self.lab.folder / "plan"
        path.write_text("\n".join(lines), encoding="ascii")
        return path

    def exchange(self, rate):
        exchanged = node.description(ports={"sub1": {"id": 2}, "sub2": {"id": 1}})
        with subprocess.Popen([tool("frame_fire"), self.plan(), "seconds", SECONDS, str(rate)],
                              stdout=subprocess.PIPE, text=True) as fire:
            wait_until(lambda: counters(self.lab)["padi"] > rate / 10, "the frames")
            for text in (exchanged, node.description()) * ROUNDS:
                before = self.control("show", "ports")
                self.change_description(text, 30)
                self.assertNotEqual(self.control("show", "ports"), before)
            self.assertIsNone(fire.poll(), "the frames ended before the last exchange")
            said = fire.communicate(timeout=60)[0]
        self.assertEqual((fire.returncode, re.findall("^wrong.*", said, re.M)), (0, []))
        sent, came = (list(map(int, re.findall(rf"^{what}.* (\d+)$", said, re.M)))
                      for what in ("sent", "out"))
        self.assertGreater(min(came), 0)
        seconds = float(re.search("^seconds (.*)$", said, re.M)[1])
        print(f"  {sum(sent) / seconds:.0f} a second: {sum(came)} of {sum(sent)} frames came out, "
              f"{2 * ROUNDS} exchanges, none with the other line's IDs", flush=True)

    def test_under_traffic(self):
        self.lab.start_engine()
        for rate in RATES:
            with self.subTest(rate):
                self.control("reset")
                self.exchange(rate)


if __name__ == "__main__":
    testing.main()
