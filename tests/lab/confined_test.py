"""The services as their systemd units run them: little is allowed, all works."""

import os
import pty
import signal

from lab import confined, node, testing
from lab.processes import wait_until
from lab.topology import programs

CAPABILITIES = {"pppoeia-fe": {12, 13, 38, 39},  # net_admin, net_raw, perfmon, bpf
                "pppoeia-mgmt": set()}


def status(process):
    with open(f"/proc/{process.pid}/status", encoding="ascii") as lines:
        return dict(line.rstrip("\n").split(":\t", 1) for line in lines)


class Confined(testing.LabTest):
    def setUp(self):
        super().setUp()
        self.lab.start_server()
        self.lab.start_engine()

    def test_privileges(self):
        for process in (self.lab.engine, self.lab.management):
            said = status(process)
            name = said["Name"]
            with self.subTest(name):
                allowed = sum(1 << number for number in CAPABILITIES[name])
                for kind in ("CapInh", "CapPrm", "CapEff", "CapBnd", "CapAmb"):
                    self.assertEqual(int(said[kind], 16), allowed, kind)
                self.assertEqual(set(said["Uid"].split()), {str(confined.USER)})
                self.assertEqual((said["NoNewPrivs"], said["Seccomp"]), ("1", "2"))

    def test_discovery_settings_and_reload(self):
        self.assertEqual(self.lab.open_session()[0], 0)
        self.assertEqual(self.lab.control("set", "cid-format", "line $PORT_NUMBER")[0], 0)
        self.assertEqual(self.lab.discover()[0], 0)
        (self.lab.folder / "node.toml").write_text(
            node.description(ports={"sub1": {"trust": "trusted"}}), encoding="utf-8")
        self.lab.management.send(signal.SIGHUP)
        wait_until(lambda: "trusted" in self.lab.control("show", "port", "1")[1].split(),
                   "the port's new trust")

    def test_killed_engine_comes_back(self):
        self.lab.kill_engine()
        self.lab.start_engine()
        wait_until(lambda: self.lab.discover()[0] == 0, "discovery through the new engine")

    def test_report_on_the_operators_terminal(self):
        pid, terminal = pty.fork()
        if pid == 0:
            tool = str(programs() / "pppoeiactl")
            os.execv(tool, [tool, "diag", "dump"])
        said = b""
        while b"Global data" not in said:
            said += os.read(terminal, 4096)
        os.close(terminal)
        os.waitpid(pid, 0)


if __name__ == "__main__":
    testing.main()
