"""What the service manager's watchdog hears, and does not."""

import ctypes
import os

from lab import testing

PULSE = 0.2
LIMIT = {"WATCHDOG_USEC": str(int(2 * PULSE * 1e6))}
CALL_LIMIT = 5  # seconds after which a call is given up
PING = "WATCHDOG=1"
_SEIZE, _INTERRUPT, _DETACH = 0x4206, 0x4207, 17

_libc = ctypes.CDLL(None, use_errno=True)


def trace(request, thread):
    if _libc.ptrace(request, thread, None, None) != 0:
        raise OSError(ctypes.get_errno(), "ptrace")


class Watchdog(testing.LabTest):
    def silent_without(self, news, thread, seconds):
        """While that thread stands; and afterwards it is heard again."""
        trace(_SEIZE, thread)
        trace(_INTERRUPT, thread)
        os.waitpid(thread, 0x40000000)  # __WALL: not a child
        # One that was under way may still come.
        news.said(PING, PULSE)
        self.assertFalse(news.said(PING, seconds))
        trace(_DETACH, thread)
        self.assertTrue(news.said(PING, CALL_LIMIT + 1))

    def test_the_engine_whose_requests_hang_says_nothing(self):
        news = self.lab.start_engine_alone(LIMIT)
        self.assertTrue(news.said(PING, 5))
        # Without a bridge it is the youngest of four.
        threads = sorted(map(int, os.listdir(f"/proc/{self.lab.engine.pid}/task")))
        self.assertEqual(len(threads), 4)
        self.silent_without(news, threads[-1], CALL_LIMIT + 1)

    def test_the_management_process_whose_main_loop_hangs_says_nothing(self):
        self.lab.start_engine()
        self.lab.stop_management()
        news = self.lab.restart_management(environment=LIMIT)
        self.assertTrue(news.said(PING, 5))
        self.silent_without(news, self.lab.management.pid, 1)


if __name__ == "__main__":
    testing.main()
