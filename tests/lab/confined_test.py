"""What the systemd units leave the services; that all works with it, every other lab shows."""

import os
import pty

from lab import confined, testing
from lab.topology import programs

CAPABILITIES = {"pppoeia-fe": {12, 13, 38, 39},  # net_admin, net_raw, perfmon, bpf
                "pppoeia-mgmt": set()}


def status(process):
    with open(f"/proc/{process.pid}/status", encoding="ascii") as lines:
        return dict(line.rstrip("\n").split(":\t", 1) for line in lines)


class Confined(testing.LabTest):
    def setUp(self):
        super().setUp()
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
