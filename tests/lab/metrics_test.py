"""The metrics file: what it says, for whom, from when and until when; and a disk
that does not answer."""

import re
import signal
import stat
import subprocess
import time

from lab import confined, node, testing
from lab.processes import Process, wait_until

FOLDER = confined.METRICS
FILE = FOLDER / "pppoeia.prom"


def description(file=FILE):
    return node.description() + f'[metrics]\ntextfile = "{file}"\ninterval = 1\n'


class MetricsFile(testing.LabTest):
    def wait_sample(self, sample, file=FILE):
        def said():
            text = file.read_text() if file.exists() else ""
            return text if sample in text.splitlines() else None

        return wait_until(said, f"{sample} in {file}")

    def check(self, text):
        judged = subprocess.run(["promtool", "check", "metrics"], input=text, text=True,
                                capture_output=True, check=False)
        self.assertEqual((judged.returncode, judged.stderr), (0, ""), judged.stdout)

    def test_follows_the_node_until_the_end(self):
        self.lab.start_engine(description())
        self.ids()
        text = self.wait_sample(
            'pppoeia_port_frames_total{bridge="br0",port="1",name="1/1/1",kind="padi"} 1')
        self.assertIn('pppoeia_port_outcomes_total{bridge="br0",port="1",name="1/1/1",outcome="sent"} 1',
                      text.splitlines())
        self.assertIn('pppoeia_port_sent_total{bridge="br0",port="10",name="1/2/1",code="padi"} 1',
                      text.splitlines())
        self.check(text)
        def untimed(said):
            return re.sub(r"^pppoeia_metrics_time_seconds .*$", "", said.rstrip("\n"), flags=re.M)

        written = int(re.search(r"^pppoeia_metrics_time_seconds (\d+)$", text, re.M)[1])
        self.assertLess(abs(time.time() - written), 60)
        self.assertIn("\npppoeia_findings 0\n", text)
        wait_until(lambda: untimed(FILE.read_text()) == untimed(self.control("metrics")),
                   "the file to say what the agent says")  # one may have been made amid the frame
        self.assertEqual(stat.S_IMODE(FILE.stat().st_mode), 0o644, "a collector is another user")

        self.lab.kill_engine()
        down = self.wait_sample("pppoeia_up 0")
        self.check(down)
        self.assertIn('pppoeia_finding{severity="critical",code="engine-away",subject="engine"} 1',
                      down)
        self.assertNotIn("frames_total", down)
        failures = [line for line in down.splitlines()
                    if line.startswith("pppoeia_ippc_failures_total")]
        self.assertNotIn(failures, ([], ["pppoeia_ippc_failures_total 0"]))
        self.lab.restart_engine()
        self.wait_sample("pppoeia_engine_restarts_total 1")
        self.check(self.wait_sample("pppoeia_up 1"))

        # Another place, and none.
        moved = FOLDER / "moved.prom"
        self.change_description(description(moved))
        self.wait_sample("pppoeia_up 1", moved)
        wait_until(lambda: not FILE.exists(), "the file at the old place to go")
        self.change_description(node.description())
        wait_until(lambda: not moved.exists(), "the file to go")
        self.change_description(description())
        self.assertIn("\npppoeia_engine_restarts_total 1\n", self.wait_sample("pppoeia_up 1"))
        self.lab.stop_management()
        self.assertEqual(list(FOLDER.iterdir()), [], "nothing is left by a clean stop")

    def test_a_disk_that_does_not_answer(self):
        self.lab.start_engine(description())
        wait_until(FILE.is_file, "the first file")
        disk = Process(["strace", "-f", "-p", str(self.lab.management.pid), "-e", "trace=fchmod",
                        "-e", "inject=fchmod:delay_enter=3600s"])
        self.addCleanup(lambda: disk.running() and disk.stop())
        disk.wait_line("attached")
        wait_until(lambda: any(FOLDER.glob(".*.new")), "the writer to be stuck")
        self.control("set", "remote-id", "1", "meanwhile")
        self.assertEqual(self.ids()[1], b"meanwhile")
        self.lab.kill_engine()
        self.lab.start_engine(description())
        self.assertEqual(self.ids()[1], b"meanwhile")
        FILE.unlink()
        disk.stop(signal.SIGINT)
        wait_until(FILE.is_file, "a file once the disk answers")


if __name__ == "__main__":
    testing.main()
