"""Losses under traffic, and the settings before and after.

In every round the settings are the same before and after, no frame leaves
unmarked or with another line's ID, and a subscriber is served again within three
seconds of the return of what was lost. PPPOEIA_ROUNDS says how often each loss
comes; the times are printed.
"""

import os
import subprocess
import time

from lab import frames, node, testing
from lab.processes import wait_until
from lab.topology import mac_of, tool
from lab.traffic import Traffic

CONFIG_CALL = tool("config_call")
LINES = {"sub1": 1, "sub2": 2}
LIMIT = 3.0  # seconds until a subscriber is served again
AFTER = 100  # frames of each subscriber that are looked at beyond


class Rounds(testing.LabTest):
    usual_rounds = 2

    def setUp(self):
        super().setUp()
        # Hundreds of calls from ports that only root can use, of which there are
        # not many more: none of them lingers.
        with open("/proc/sys/net/ipv4/tcp_max_tw_buckets", "w", encoding="ascii") as limit:
            limit.write("0")
        self.start_all()
        self.lab.start_server()
        self.traffic = {}
        self.addCleanup(self.stop_traffic)

    def start_all(self):
        self.lab.start_engine(node.description())

    # --- settings ---------------------------------------------------------------------

    def settings(self):
        """All that are in force."""
        return self.config("show")

    def change_settings(self, generation):
        """Settings of every kind, others than before. Gives the IDs of each line."""
        odd = generation % 2
        for words in (
                ("shelf", f"shelf-{generation}"),
                ("cid-format", f"$PORT_REM_ID.{generation}"),
                ("rid-format", f"{generation}-$PORT_REM_ID"),
                ("vsa-mode", "keep" if odd else "remove"),
                ("cvlan", "on" if odd else "off"),
                ("log-level", 3 + odd),
                ("vlan", 200, "off" if odd else "on"),
                ("trust", 2, "trusted" if odd else "untrusted"),
                ("role", 2, "both" if odd else "client"),
                ("vlan-cid-mode", 1, 100, "default" if odd else "custom")):
            self.control("set", *words)
        ids = {}
        for peer, port in LINES.items():
            self.control("set", "cid-mode", port, "custom")
            self.control("set", "remote-id", port, f"line{port}-{generation}")
            line = b"line%d-%d" % (port, generation)
            ids[mac_of(peer)] = {frames.CIRCUIT_ID: line + b".%d" % generation,
                                 frames.REMOTE_ID: b"%d-" % generation + line}
        return ids

    # --- traffic ----------------------------------------------------------------------

    def start_traffic(self, *peers):
        for peer in peers:
            self.traffic[peer] = Traffic(self.lab.wire(peer), peer, pause=0.002)

    def stop_traffic(self):
        while self.traffic:
            self.traffic.popitem()[1].stop()

    def served(self, server, peer, since):
        """Seconds from `since` until a PADI of `peer` arrived, marked."""
        frame, _ = server.wait(lambda f: f.code == frames.PADI and f.source == mac_of(peer),
                               f"a PADI of {peer}", 5)
        return time.monotonic() - since, frame

    def check_marks(self, server, ids):
        """Every frame that arrived is marked with its own line's IDs."""
        server.waiting()
        self.assertEqual(server.lost(), 0)
        padis = [f for f in map(frames.parse, server.recorded()) if f.code == frames.PADI]
        wrong = [(f.source.hex(), f.marks) for f in padis if f.marks != [ids[f.source]]]
        self.assertEqual(wrong[:3], [], f"{len(wrong)} of {len(padis)} frames")
        times = [when for when, data in server.heard if frames.parse(data).code == frames.PADI]
        gaps = [after - before for before, after in zip(times, times[1:])]
        return len(padis), max(gaps, default=0.0)

    # --- the rounds ---------------------------------------------------------------------

    def rounds(self, lose, bring_back, at_least=0, peers=("sub1", "sub2")):
        """Loses something and brings it back, under traffic. `bring_back` gives
        the moment from which on subscribers are to be served again."""
        times = []
        for number in range(max(at_least, int(os.environ.get("PPPOEIA_ROUNDS", self.usual_rounds)))):
            ids = self.change_settings(number)
            before = self.settings()
            server = self.lab.wire("bng")
            self.start_traffic(*peers)
            for peer in peers:
                self.served(server, peer, 0)
            lose()
            returned = bring_back()
            server.waiting()
            seconds = [self.served(server, peer, returned)[0] for peer in peers]
            for peer in peers * AFTER:
                self.served(server, peer, returned)
            status, said = self.lab.open_session("sub1")
            self.stop_traffic()
            self.assertEqual(status, 0, said)
            wait_until(lambda: self.answers() and self.settings() == before,
                       "the settings of before", LIMIT)
            frames_seen, gap = self.check_marks(server, ids)
            self.assertLess(max(seconds), LIMIT)
            times.append(max(seconds))
            server.close()
            print(f"  round {number}: served after {max(seconds):.3f} s, longest gap {gap:.3f} s,"
                  f" {frames_seen} frames", flush=True)
        print(f"{self.id().split('.')[-1]}: {len(times)} rounds, worst {max(times):.3f} s",
              flush=True)

    def answers(self):
        return subprocess.run([CONFIG_CALL, "status"], capture_output=True, timeout=30,
                              check=False).returncode == 0
