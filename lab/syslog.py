"""The log of the lab's programs."""

import os
import re
import socket
import subprocess
import threading

from lab.processes import WaitFailed

REAL = "/run/dev"  # where the machine's /dev is once there is a log


class Syslog:
    """Listens at /dev/log, in the lab's world only, until closed.

    To be made before the programs, which open the log once.
    """

    def __init__(self):
        self.lines = []
        self._news = threading.Condition()
        self._private_dev()
        self._socket = socket.socket(socket.AF_UNIX, socket.SOCK_DGRAM | socket.SOCK_CLOEXEC)
        self._socket.bind("/dev/log")
        os.chmod("/dev/log", 0o666)  # every user's, as on any machine
        threading.Thread(target=self._read, daemon=True).start()

    @staticmethod
    def _private_dev():
        """A /dev of links to the real one, so that a new name in it stays here."""
        if os.path.isdir(REAL):
            return
        os.mkdir(REAL)
        subprocess.run(["mount", "--rbind", "/dev", REAL], check=True)
        subprocess.run(["mount", "-t", "tmpfs", "-o", "mode=755", "lab", "/dev"], check=True)
        for name in os.listdir(REAL):
            if name != "log":
                os.symlink(f"{REAL}/{name}", f"/dev/{name}")

    def _read(self):
        while record := self._socket.recv(65536):
            with self._news:
                self.lines.append(record.decode(errors="replace").rstrip("\0\n"))
                self._news.notify_all()

    def wait(self, pattern, seconds=10.0):
        """The number of the first line, said already or yet to come, that matches."""
        def found():
            return next((at for at, line in enumerate(self.lines) if re.search(pattern, line)),
                        None)

        with self._news:
            if not self._news.wait_for(lambda: found() is not None, seconds):
                raise WaitFailed(f"waited {seconds:g} s for /{pattern}/ in the log; it said:\n"
                                 + "\n".join(self.lines[-20:]))
            return found()

    def close(self):
        self._socket.shutdown(socket.SHUT_RDWR)
        self._socket.close()
        os.unlink("/dev/log")
