"""The operator's settings: saved, shown, compared, taken back, described; files that do
not check."""

import json
from pathlib import Path

from lab import confined, frames, netns, node, testing
from lab.processes import wait_until
from lab.remote_calls import NODE_PROGRAM, TAKEN, Caller, packed
from lab.topology import mac_of

FOLDER = confined.STATE
FILE = FOLDER / "settings.toml"
NO_FILE = 2


def description(auto=False, **more):
    return node.description(**more) + (
        f'[settings]\nfile = "{FILE}"\nauto = {"true" if auto else "false"}\n')


class Settings(testing.LabTest):
    def setUp(self):
        super().setUp()
        self.lab.small_disk("size=64k")

    def restart_cleanly(self):
        self.lab.stop_engine()
        self.lab.restart_engine()
        self.lab.restart_management()

    def test_saved_and_applied_at_the_next_start(self):
        self.lab.start_engine(description())
        self.assertEqual(self.config("diff"), "")
        self.control("set", "remote-id", 1, 'of an "operator" \\')
        self.control("set", "vlan-cid-mode", 2, 100, "custom")
        self.control("set", "vlan", 200, "off")
        self.control("set", "shelf", "s\t9")
        expected = ('[agent]\nshelf = { hex = "730939" }\n\n'
                    '[[port]]\nid = 1\nremote_id = "of an \\"operator\\" \\\\"\n\n'
                    '[[vlan]]\nid = 200\nenabled = false\n\n'
                    '[[port_vlan]]\nport = 2\nvlan = 100\ncircuit_id_mode = "custom"\n')
        self.assertFalse(FILE.exists())
        self.assertEqual(self.status()["unsaved"], "1")
        self.config("save")
        self.assertEqual(FILE.read_text(), expected)
        self.assertEqual(self.status()["unsaved"], "0")
        running = self.config("show")
        # What is set and not saved is gone after a clean stop; the rest is not.
        self.control("set", "remote-id", 1, "not saved")
        self.assertEqual(self.config("diff"), '[[port]] id = 1\n'
                         '- remote_id = "of an \\"operator\\" \\\\"\n+ remote_id = "not saved"\n')
        self.restart_cleanly()
        self.assertEqual(self.config("show"), running)
        self.assertEqual(self.ids()[1], b'of an "operator" \\')

        self.config("clear")
        self.assertEqual(self.config("diff"), '[agent]\n- shelf = { hex = "730939" }\n'
                         '[[port]] id = 1\n- remote_id = "of an \\"operator\\" \\\\"\n'
                         '[[vlan]] id = 200\n- enabled = false\n'
                         '[[port_vlan]] port = 2 vlan = 100\n- circuit_id_mode = "custom"\n')
        self.assertEqual(self.ids()[1], b"line-0001")
        self.assertEqual(FILE.read_text(), expected, "only a save changes the file")

    def test_without_a_file(self):
        self.lab.start_engine(node.description())
        self.assertIn("[settings] file", self.config("save", NO_FILE))

    def test_a_file_that_does_not_check(self):
        bad = "[agent]\nshelf = 5\n[[port]]\nid = 1\nremote_id = \"by hand\"\nrol = \"client\"\n"
        FILE.write_text(bad)
        self.lab.start_engine(description(auto=True))
        self.assertIn(f"{FILE}:2: [agent] shelf is an integer, expected a text",
                      self.status()["problem"])
        self.assertEqual(self.ids()[1], b"by hand", "the lines that are right hold")
        self.control("set", "remote-id", 1, "new")
        self.config("save")
        self.assertEqual((FOLDER / "settings.toml.bad").read_text(), bad)
        self.assertEqual(FILE.read_text(), '[[port]]\nid = 1\nremote_id = "new"\n')

    def test_a_refused_format_leaves_nothing_behind(self):
        self.lab.start_engine(description())
        self.config("save")
        for what in ("vlan-cid-format", "vlan-rid-format"):
            self.assertIn("has 128 bytes, at most 127",
                          self.lab.control("set", what, "1", "100", "x" * 128)[1])
        self.assertEqual(self.config("diff"), "")
        self.control("set", "vlan-cid-format", 1, 100, "x" * 127)
        self.assertIn(127 * "x", self.config("diff"))

    def test_a_vlan_that_no_file_can_hold(self):
        self.lab.start_engine(description())
        line = packed(1, 5000)
        with Caller() as caller:
            for procedure in (6, 7):  # ours refuse it, the agent's own takes it
                self.assertEqual(caller.call(procedure, line + packed("f"), NODE_PROGRAM),
                                 (TAKEN, packed(2)))
            self.assertEqual(caller.call(7, packed(1, 100, "x" * 128), NODE_PROGRAM),
                             (TAKEN, packed(1)))
            self.assertEqual(caller.call(32, line + packed(2)), (TAKEN, packed(0)))
        self.control("set", "shelf", "kept")
        self.config("save")
        self.assertEqual(FILE.read_text(), '[agent]\nshelf = "kept"\n')
        self.assertIn("1 setting in force cannot be kept in a file", self.status()["problem"])
        self.restart_cleanly()
        self.assertEqual(self.status()["problem"], "")
        self.assertIn('shelf = "kept"', self.config("show"))

    def test_all_of_it_can_be_described(self):
        def described(line):
            return description(bridge={"circuit_id_format": "port $PORT", "log_level": 4},
                               ports={"sub1": {"circuit_id_mode": "custom"}}) + (
                '[[port_vlan]]\nport = 1\nvlan = 100\n' f'circuit_id_format = "{line}"\n')

        def circuit_id(*line):
            return json.loads(self.control("preview", *line, "--json"))["circuit_id"]["text"]

        self.lab.start_engine(described("line $VLAN"))
        self.assertEqual((circuit_id(1), circuit_id(1, 100)), ("port 0", "line 100"))
        self.assertIn("log_level = 4\n", self.config("show"))
        self.assertEqual((self.config("diff"), self.status()["unsaved"]), ("", "0"))
        # What an operator takes away stays away, and what he sets stays set.
        self.config("clear-line")
        self.control("set", "log-level", 5)
        taken_away = ('[agent]\n+ log_level = 5\n[[port_vlan]] port = 1 vlan = 100\n'
                      '+ circuit_id_mode = "not_set"\n+ circuit_id_format = ""\n')
        self.assertEqual(self.config("diff"), taken_away)
        self.lab.kill_engine()
        self.lab.restart_engine()
        wait_until(lambda: self.status()["restores"] == "1", "the settings")
        self.assertEqual(circuit_id(1, 100), "port 0")
        self.lab.kill_management()
        self.lab.restart_management()
        self.assertEqual((circuit_id(1, 100), self.config("diff")), ("port 0", taken_away))
        # A description read again is the newer word for what has changed in it.
        self.describe(described("new $VLAN"))
        self.assertIn("VLAN 100 of port 1 changes: circuit_id_format", self.control("reload"))
        self.assertEqual(circuit_id(1, 100), "new 100")
        self.assertIn("+ log_level = 5", self.config("diff"))
        # One setting, and one line, as described again.
        self.control("set", "vlan-rid-format", 1, 100, "mine")
        self.control("set", "remote-id", 1, "")
        self.control("set", "vlan-cid-mode", 2, 100, "custom")
        self.assertIn("5 (described: 4)", self.control("show"))
        self.assertIn("- (described: line-0001)", self.control("show", "port", 1))
        for words, said in ((["log-level"], "4"), (["remote-id", 1], "line-0001"),
                            (["vlan-rid-format", 1, 100], "-"),
                            (["vlan-cid-mode", 2, 100], "not_set")):
            self.assertEqual(self.control("unset", *words), f"as described: {said}")
        self.assertEqual(self.config("diff"), "")
        self.control("set", "vlan-cid-format", 1, 100, "")
        self.control("unset", "line", 1, 100)
        self.assertEqual(self.config("diff"), "")
        self.assertEqual(circuit_id(1, 100), "new 100")
        self.describe(described("new $VLAN") + "circuit_id_mode = 'atn'\n")
        self.assertIn("circuit_id_mode is \"atn\", expected \"default\"",
                      self.lab.control("reload")[1])

    def test_a_larger_mtu_is_followed(self):
        log = self.syslog()
        self.lab.start_engine(description(bridge={"max_pdu": 1600}))
        self.control("set", "remote-id", 1, "large")

        def mtu():
            try:
                return int(Path("/sys/class/net/br0_pppoe/mtu").read_text(encoding="ascii"))
            except OSError:  # the device goes, and comes anew
                return None

        # max_pdu without the Ethernet header, and the record: 1600 - 14 + 107.
        self.assertEqual(mtu(), 1693)
        for device, namespace in (("sub1", None), ("sub2", None), ("net0", None),
                                  ("wan", "sub1"), ("wan", "sub2"), ("net", "bng")):
            netns.run("ip", "link", "set", device, "mtu", 4000, namespace=namespace)
        netns.run("ip", "link", "set", "br0", "mtu", 4000)
        wait_until(lambda: mtu() == 4119, "the engine to take larger frames")
        wait_until(lambda: self.status()["restores"] == "1", "the settings")
        self.assertEqual(self.ids()[1], b"large")
        for restores in (1, 2):
            wait_until(lambda: self.status()["restores"] == str(restores), "the settings")
            self.pass_long_padi()
            if restores == 1:
                self.lab.kill_engine()
                self.lab.restart_engine()
        self.assertEqual([line for line in log.lines if "cannot set" in line], [])

    def pass_long_padi(self):
        """Longer than 1500 bytes, and with its tag not longer than 1600."""
        tags = frames.tag(frames.SERVICE_NAME) + frames.tag(0x0110, bytes(1500))
        with self.lab.wire("sub1") as client, self.lab.wire("bng") as server:
            client.send(frames.discovery(frames.BROADCAST, mac_of("sub1"), frames.PADI, tags))
            server.wait(lambda frame: frame.code == frames.PADI, "the long PADI")


if __name__ == "__main__":
    testing.main()
