"""Saving what an operator has set, under traffic, when the disk is full and when
the process is killed in the middle."""

import contextlib
import itertools
import signal
import time
from collections import Counter
from pathlib import Path

from lab import confined, node, testing
from lab.processes import Process
from lab.rounds import Rounds

FOLDER = confined.STATE
FILE = FOLDER / "settings.toml"
RPC_THREAD = "BLLManager_mng\n"


class Saving(Rounds):
    def start_all(self):
        # A disk of its own, with room for some pages and some files.
        self.lab.small_disk("size=64k,nr_inodes=16")
        self.lab.start_engine(node.description() + f'[settings]\nfile = "{FILE}"\n')
        self.control("config", "save")

    def saved_whole(self, old):
        """A save that succeeds: the file that an earlier one left was whole."""
        found = FILE.read_text(encoding="ascii")
        self.control("config", "save")
        new = FILE.read_text(encoding="ascii")
        self.assertNotEqual(new, old)
        self.assertIn(found, (old, new))
        self.assertEqual([path.name for path in FOLDER.iterdir()], [FILE.name])
        return found == new

    # --- a full disk ------------------------------------------------------------------

    @staticmethod
    def use_all_pages():
        with open(FOLDER / "filler", "wb", buffering=0) as filler:
            while True:
                filler.write(bytes(4096))

    @staticmethod
    def use_all_files():
        for number in itertools.count():
            (FOLDER / f"filler-{number}").touch()

    def test_disk_full(self):
        fillers = itertools.cycle([(self.use_all_pages, "written"), (self.use_all_files, "opened")])
        old = ""

        def fail_to_save():
            nonlocal old
            old = FILE.read_text(encoding="ascii")
            fill, not_done = next(fillers)
            with self.assertRaisesRegex(OSError, "No space left"):
                fill()
            self.assertEqual(self.control("config", "save", status=1), (
                f"pppoeiactl: {FILE}: cannot be {not_done}: No space left on device"))
            self.assertEqual(FILE.read_text(encoding="ascii"), old)
            self.assertEqual(list(FOLDER.glob(".*")), [])
            self.assertIn("No space left on device", self.status()["problem"])
            # What could not be saved is in force still, whoever goes.
            self.lab.kill_management()

        def make_room():
            for filler in FOLDER.glob("filler*"):
                filler.unlink()
            begin = time.monotonic()
            self.lab.restart_management()
            self.assertFalse(self.saved_whole(old))
            self.assertEqual(self.status()["problem"], "")
            return begin

        self.rounds(fail_to_save, make_room)

    # --- killed at each step ------------------------------------------------------------

    @contextlib.contextmanager
    def tracing(self, *options):
        """strace at the thread that saves."""
        tasks = Path(f"/proc/{self.lab.management.pid}/task")
        thread = next(task.name for task in tasks.iterdir()
                      if (task / "comm").read_text() == RPC_THREAD)
        trace = Process(["strace", "-p", thread, *options])
        self.addCleanup(lambda: trace.running() and trace.stop())
        trace.wait_line("attached")
        yield trace
        trace.stop(signal.SIGINT)

    def steps_of_a_save(self):
        """Each of its system calls from the folder's opening until that is on the disk, as
        a name and which call of that name it is."""
        self.control("set", "shelf", "anew")
        with self.tracing("-e", "trace=openat,write,fsync,close,renameat") as trace:
            self.control("config", "save")
        seen = Counter()
        begun = False
        for line in trace.lines:
            name = line.split("(")[0]
            seen[name] += 1
            begun = begun or str(FOLDER) in line
            if begun:
                yield name, seen[name]
            if name == "fsync" and seen["renameat"]:
                return

    def test_killed_at_each_step(self):
        steps = list(self.steps_of_a_save())
        for name in ("openat", "write", "fsync", "close", "renameat"):
            self.assertIn(name, [step[0] for step in steps])
        coming = itertools.cycle(steps)
        old, replaced = "", {}
        step = None

        def die_saving():
            nonlocal old, step
            old, step = FILE.read_text(encoding="ascii"), next(coming)
            name, nth = step
            with self.tracing("-e", f"inject={name}:signal=KILL:when={nth}"):
                said = self.control("config", "save", status=3)
            self.assertRegex(said, "^pppoeiactl: the agent did not answer: ")
            self.assertEqual(self.lab.management.wait(), -signal.SIGKILL)

        def restart():
            begin = time.monotonic()
            self.lab.restart_management()
            replaced[step] = self.saved_whole(old)
            print(f"  before {step[0]} {step[1]}: the {'new' if replaced[step] else 'old'} file")
            return begin

        self.rounds(die_saving, restart, at_least=len(steps))
        # Old until the one step that replaces it, new from then on.
        at = steps.index(("renameat", 1))
        self.assertEqual([replaced[step] for step in steps],
                         [number > at for number in range(len(steps))])


if __name__ == "__main__":
    testing.main()
