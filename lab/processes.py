"""Programs of the lab: their output line by line, and waits that end.

Every wait is for an event and has a bound; when the bound is reached the error
says what was awaited and what the program said until then.
"""

import contextlib
import os
import re
import selectors
import signal
import socket
import subprocess
import threading
import time

from lab import netns


class WaitFailed(Exception):
    pass


def wait_until(condition, what, seconds=10.0):
    """Waits until `condition()` gives something true, and returns that."""
    deadline = time.monotonic() + seconds
    while True:
        value = condition()
        if value:
            return value
        if time.monotonic() > deadline:
            raise WaitFailed(f"waited {seconds:g} s for {what}")
        time.sleep(0.005)  # between two looks; what is awaited is the condition


class Process:
    """A program running in a namespace, its output collected."""

    def __init__(self, argv, namespace=None, environment=None):
        self.name = os.path.basename(argv[0])
        self.lines = []
        self._news = threading.Condition()
        self._popen = subprocess.Popen(
            netns.command_in(namespace, argv),
            stdin=subprocess.DEVNULL,
            stdout=subprocess.PIPE,
            stderr=subprocess.STDOUT,
            text=True,
            errors="replace",
            env={**os.environ, **(environment or {})},
        )
        self._reader = threading.Thread(target=self._read, daemon=True)
        self._reader.start()

    @property
    def pid(self):
        return self._popen.pid

    def _read(self):
        with self._popen.stdout as output:
            for line in output:
                with self._news:
                    self.lines.append(line.rstrip("\n"))
                    self._news.notify_all()

    def output(self):
        return "\n".join(self.lines)

    def running(self):
        return self._popen.poll() is None

    def wait_line(self, pattern, seconds=10.0):
        """The first line, said already or yet to come, that matches."""
        deadline = time.monotonic() + seconds
        seen = 0
        with self._news:
            while True:
                for line in self.lines[seen:]:
                    if re.search(pattern, line):
                        return line
                seen = len(self.lines)
                left = deadline - time.monotonic()
                if left <= 0 or not self._reader.is_alive():
                    why = f"in {seconds:g} s" if left <= 0 else "before it ended"
                    raise WaitFailed(f"{self.name} did not say /{pattern}/ {why}; it said:\n"
                                     + self.output())
                self._news.wait(min(left, 0.2))

    def wait(self, seconds=10.0):
        """The exit status, once the program has ended and its output is in."""
        try:
            status = self._popen.wait(seconds)
        except subprocess.TimeoutExpired:
            raise WaitFailed(f"{self.name} did not end in {seconds:g} s; it said:\n"
                             + self.output()) from None
        self._reader.join(1.0)  # a child that it left may hold the pipe open
        return status

    def send(self, number):
        self._popen.send_signal(number)

    def stop(self, how=signal.SIGTERM, seconds=10.0):
        """Asks the program to end and waits for it; the exit status."""
        with contextlib.suppress(ProcessLookupError):
            self._popen.send_signal(how)
        try:
            return self.wait(seconds)
        except WaitFailed:
            self._popen.kill()
            self.wait(seconds)
            raise


@contextlib.contextmanager
def limited(process, what, number):
    """A running process with less than it may need: "nofile" or "data". Only its own user
    may limit it."""
    user = os.stat(f"/proc/{process.pid}").st_uid

    def prlimit(*words):
        return subprocess.run(["prlimit", "--pid", str(process.pid), *words], user=user, group=user,
                              extra_groups=[], check=True, capture_output=True, text=True).stdout

    before = prlimit(f"--{what}", "--raw", "--noheadings", "--output=SOFT").strip()
    prlimit(f"--{what}={number}:")
    try:
        yield
    finally:
        prlimit(f"--{what}={before}:")


class Notifications:
    """The socket on which a service says READY=1."""

    def __init__(self, path):
        self.path = path
        self._socket = socket.socket(socket.AF_UNIX, socket.SOCK_DGRAM | socket.SOCK_CLOEXEC)
        self._socket.bind(path)
        os.chmod(path, 0o666)  # a confined service is another user

    def wait_ready(self, process, seconds=10.0):
        deadline = time.monotonic() + seconds
        with selectors.DefaultSelector() as selector:
            selector.register(self._socket, selectors.EVENT_READ)
            while True:
                if selector.select(0.02):
                    if "READY=1" in self._socket.recv(4096).decode().split("\n"):
                        return
                elif not process.running():
                    raise WaitFailed(f"{process.name} ended with status {process.wait()} "
                                     f"before it was ready; it said:\n{process.output()}")
                if time.monotonic() > deadline:
                    raise WaitFailed(f"{process.name} was not ready in {seconds:g} s; it said:\n"
                                     + process.output())

    def said(self, what, seconds):
        """Whether the service says it within so many seconds; what it said before
        is forgotten."""
        with contextlib.suppress(BlockingIOError):
            while self._socket.recv(4096, socket.MSG_DONTWAIT):
                pass
        deadline = time.monotonic() + seconds
        with selectors.DefaultSelector() as selector:
            selector.register(self._socket, selectors.EVENT_READ)
            while (left := deadline - time.monotonic()) > 0:
                if selector.select(left) and what in self._socket.recv(4096).decode().split("\n"):
                    return True
        return False

    def close(self):
        self._socket.close()
        with contextlib.suppress(FileNotFoundError):
            os.unlink(self.path)
