"""The management of the node: its RPC programs, its log, changed descriptions."""

import re
import signal
import time

from lab import frames, netns, node, testing
from lab.remote_calls import Caller, packed
from lab.topology import PROGRAM
from lab.traffic import Traffic, padi


class Programs(testing.LabTest):
    def test_registration(self):
        self.lab.start_engine()
        listed = netns.run("rpcinfo", "-p", "127.0.0.1")
        for program in (PROGRAM, PROGRAM + 1):
            found = sorted(line.split()[2] for line in listed.splitlines()
                           if line.split()[:2] == [str(program), "1"])
            self.assertEqual(found, ["tcp", "udp"], "known before it is ready")

    def test_changes_are_written_down_and_refusals_named(self):
        log = self.syslog()
        self.lab.start_engine()
        for words, status, said, logged in (
                (["shelf", "a\x1b[2Jb"], 0, "", r'shelf "a\\x1B\[2Jb": done'),
                (["role", "99999", "client"], 1, "port 99999: 1 to 31 on br0",
                 "port 99999, role 1: refused with 1: port 99999: 1 to 31 on br0"),
                (["role", "9", "client"], 1, "port 9 is not described", "refused with 1: port 9"),
                (["cid-mode", "1", "atm"], 1, "port 1 is no ATM port", "refused with 2"),
                (["vlan", "4000", "on"], 1, "VLAN 4000 is not described on br0", "refused with 2")):
            with self.subTest(words):
                self.assertIn(said, self.control("set", *words, status=status))
                log.wait(rf"pppoeia-mgmt.*uid 0 \(process \d+\): set .*{logged}")
        # Who sends what pppoeiactl would not.
        with Caller("tcp") as caller:
            caller.call(26, packed("x" * 129))
            caller.call(8, packed(1, "x" * 64))
        for said in ("format has 129 bytes, at most 128", "remote ID has 64 bytes, at most 63"):
            log.wait(rf"uid 0 from port \d+ \(TCP\): set .*{said}")

    def test_port_mapper_comes_later(self):
        log = self.syslog()
        self.lab.mapper.stop(signal.SIGKILL)
        self.lab.start_engine()
        log.wait("other programs fail until rpcbind runs")
        self.assertIn("1/1/1", self.control("show", "ports"), "without a port mapper")
        self.pass_padis(1)
        self.lab.start_port_mapper()
        log.wait("the port mapper knows the RPC programs of this node again")
        listed = netns.run("rpcinfo", "-p", "127.0.0.1")
        self.assertIn(str(PROGRAM), listed)
        self.lab.stop_management()
        listed = netns.run("rpcinfo", "-p", "127.0.0.1")
        self.assertNotIn(str(PROGRAM), listed, "entries stay after a clean stop")


class WithoutAnEngine(testing.LabTest):
    def test_status_answers_until_one_comes(self):
        self.describe(node.description())
        self.lab.restart_management()
        self.assertIn("pppoeia-fe does not answer", self.control("status", status=3))
        self.control("set", "shelf", "late", status=3)
        self.lab.start_engine()
        self.assertIn("health                 good", self.control("status"))
        self.control("set", "shelf", "now")


class ChangedDescription(testing.LabTest):
    PORTS = 500
    CHANGED = range(100, 600, 50)  # ten ports

    def description(self, remote_id):
        """The lab's ports and 500 more, whose devices wait to join the bridge."""
        text = node.description({"ports": 1000})
        for port in range(100, 100 + self.PORTS):
            text += (f'[[interface]]\nid = {port}\nname = "2/{port}"\ndevice = "line{port}"\n'
                     f'type = "access"\nrole = "client"\nremote_id = "{remote_id(port)}"\n')
        return text

    def remote_ids(self):
        """Remote ID by port number, of the 500."""
        return {int(port): text for port, text in
                re.findall(r"^2/([0-9]+) .* (\S+)$", self.control("show", "ports"), re.M)}

    def changed(self, port):
        return ("second-" if port in self.CHANGED else "first-") + str(port)

    def start(self):
        self.lab.add_idle_devices([f"line{port}" for port in range(100, 100 + self.PORTS)])
        self.lab.start_engine(self.description("first-{}".format), seconds=60)
        self.client, self.server = self.lab.wire("sub1"), self.lab.wire("bng")
        self.traffic = Traffic(self.client)
        self.addCleanup(self.traffic.stop)
        self.arrived(0)

    def arrived(self, number):
        self.server.wait(lambda frame: frame.host_uniq == b"%08d" % number, f"PADI {number}")

    def assert_none_lost(self):
        self.traffic.stop()
        self.arrived(self.traffic.sent - 1)
        heard = [frame for frame in map(frames.parse, self.server.recorded())
                 if frame.code == frames.PADI]
        self.assertEqual(self.server.lost(), 0)
        self.assertEqual([int(frame.host_uniq) for frame in heard], list(range(self.traffic.sent)))
        self.assertEqual([frame for frame in heard if not frame.marks], [])

    def test_exactly_what_differs_is_applied(self):
        log = self.syslog()
        self.start()
        self.control("set", "remote-id", "10", "operator")
        self.control("set", "log-level", "7")
        self.control("set", "shelf", "begin")
        sent = self.traffic.sent
        self.change_description(self.description(self.changed))
        self.assertGreater(self.traffic.sent, sent, "nothing was sent meanwhile")
        self.control("set", "shelf", "end")
        self.assertEqual(self.remote_ids(), {port: self.changed(port)
                                             for port in range(100, 100 + self.PORTS)})
        self.assertIn("operator", self.control("show", "port", "10"))
        self.assert_none_lost()
        begin, end = (log.wait(rf"pppoeia-fe.*shelf_id_set\(br0, {mark}\)")
                      for mark in ("begin", "end"))
        calls = re.findall(r"pppoeia-fe.* ((?!br_)\w+\(br0, .+\))$", "\n".join(log.lines[begin + 1:end]),
                           re.M)
        self.assertEqual(calls, [f"cache_pppoeia_port_remote_id_set(br0, {port})"
                                 for port in self.CHANGED], "the engine is told of nothing else")

    def test_a_new_port_needs_one_signal(self):
        text = node.description()
        second = text[text.index('[[interface]]\ndevice = "sub2"'):text.index(
            '[[interface]]\ndevice = "net0"')]
        self.lab.start_engine(text.replace(second, ""))
        self.lab.start_server()
        self.assertNotEqual(self.lab.discover("sub2")[0], 0, "a port that nobody described")
        begin, server = time.monotonic(), self.lab.wire("bng")
        self.change_description(text)
        self.lab.wire("sub2").send(padi(7, "sub2"))
        server.wait(lambda frame: frame.host_uniq == b"%08d" % 7 and frame.marks, "the PADI")
        self.assertLess(time.monotonic() - begin, 1.0)
        status, said = self.lab.discover("sub2")
        self.assertEqual(status, 0, said)
        self.change_description(text.replace(second, ""))
        self.assertNotEqual(self.lab.discover("sub2")[0], 0, "a port that has left")

    def test_findings_of_a_reload_and_of_the_machine(self):
        def found():
            return [line.split(":")[0] for line in self.config("health").splitlines()]

        self.lab.start_engine()
        self.describe(node.description(ports={"sub2": {"remote_id": "other", "device": "sbu2"}}))
        before, dry = self.config("show"), self.config("dry-run")
        self.assertEqual(dry, "port 2 (1/1/2, sbu2) changes: device, remote_id\n")
        self.assertEqual(self.config("show"), before, "a dry run changes something")
        self.assertEqual(self.config("reload"), dry)
        here = self.describe(node.description().replace("id = 10", "di = 10"))
        self.assertTrue(self.config("reload", 1).startswith(f"{here}:"))
        # The refused one is not in force; the one before it is, and has a wrong device.
        self.assertEqual(found(), ["1 device-missing", "1 member-not-described",
                                   "1 reload-refused"])
        self.assertIn('the description may mean "sub2"', self.config("health"))
        self.describe(node.description())
        self.config("reload")
        self.assertEqual(found(), [])
        netns.run("ip", "link", "set", "sub1", "nomaster")
        netns.run("ip", "link", "set", "mng0", "name", "mng9")
        self.addCleanup(netns.run, "ip", "link", "set", "mng9", "name", "mng0")
        self.lab.kill_engine()
        self.assertEqual(found(), ["2 engine-away", "1 port-not-in-bridge",
                                   "1 management-device-missing"])


if __name__ == "__main__":
    testing.main()
