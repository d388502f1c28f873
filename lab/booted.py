"""A Debian with systemd as its first process.

It has PID, mount, IPC, UTS and control group namespaces of its own and the network
namespace of the caller, so a lab's devices are its devices. The root is an overlay on
a folder that debootstrap made: what is installed or written in it is gone after it.

    with Debian(root) as debian:
        status, said = debian.run("systemctl", "is-system-running")
"""

import contextlib
import os
import signal
import subprocess
import sys
from pathlib import Path

from lab.processes import Process, wait_until

SCRATCH = Path("/run/lab-booted")  # of this lab's world, in memory
# A process joins the control group before its namespace begins there.
JOIN = 'echo $$ >"$1/cgroup.procs"; shift; exec "$@"'
NAMESPACES = ["unshare", "--pid", "--mount", "--uts", "--ipc", "--cgroup", "--fork", "--kill-child"]
ENVIRONMENT = {"PATH": "/usr/sbin:/usr/bin:/sbin:/bin", "LC_ALL": "C.UTF-8",
               "DEBIAN_FRONTEND": "noninteractive", "TERM": "dumb", "SYSTEMD_COLORS": "0"}
NODES = {"null": (1, 3), "zero": (1, 5), "full": (1, 7), "random": (1, 8), "urandom": (1, 9),
         "tty": (5, 0), "net/tun": (10, 200)}
TTY_GROUP = 5


class Debian:
    """Booted by `with`."""

    def __init__(self, base):
        self._base = Path(base)
        self._group = None
        self._outer = None
        self._init = None

    def __enter__(self):
        SCRATCH.mkdir()
        (SCRATCH / "cgroup").mkdir()
        _mount("-t", "cgroup2", "cgroup2", SCRATCH / "cgroup")
        for folder in ("changes", "work", "root"):
            (SCRATCH / folder).mkdir()
        self.switch_on()
        return self

    def __exit__(self, *_):
        self.switch_off()

    def switch_on(self):
        """Boots it, with the files that it had."""
        self._group = _control_group()
        self._outer = Process(["sh", "-c", JOIN, "sh", self._group, *NAMESPACES, sys.executable,
                               "-B", "-m", "lab.booted", self._base])
        self._init = wait_until(self._first_process, "the first process of the Debian", 30)
        wait_until(lambda: self.state() in ("running", "degraded") or not self._outer.running(),
                   "systemd to have started all", 90)
        if not self._outer.running():
            raise RuntimeError(f"systemd did not boot:\n{self._outer.output()}")

    def switch_off(self):
        """Every process ends at once."""
        # unshare itself does not listen, and ends after its child.
        if first := self._child():
            os.kill(int(first), signal.SIGKILL)
        self._outer.wait()
        wait_until(lambda: "populated 0" in (self._group / "cgroup.events").read_text("ascii"),
                   "the control group to be empty")
        for folder, _, _ in os.walk(self._group, topdown=False):
            with contextlib.suppress(OSError):
                os.rmdir(folder)

    def _child(self):
        """The process id of the first process inside; None when there is none."""
        with contextlib.suppress(OSError):
            path = f"/proc/{self._outer.pid}/task/{self._outer.pid}/children"
            with open(path, encoding="ascii") as children:
                return (children.read().split() or [None])[0]
        return None

    def _first_process(self):
        """systemd, once it has the root for its own; None before."""
        if not self._outer.running():
            raise RuntimeError(f"no Debian to boot:\n{self._outer.output()}")
        first = self._child()
        with contextlib.suppress(OSError):
            if first and os.readlink(f"/proc/{first}/exe").endswith("/systemd"):
                return first
        return None

    def command(self, *argv):
        """The command line that runs `argv` inside."""
        return ["nsenter", "--target", self._init, "--all", "--root", "env", "-i",
                "--chdir=/", *(f"{name}={value}" for name, value in ENVIRONMENT.items()), *map(str, argv)]

    def start(self, *argv):
        """A process inside."""
        return Process(self.command(*argv))

    def run(self, *argv, seconds=30.0):
        """Its status and what it said."""
        process = self.start(*argv)
        return process.wait(seconds), process.output()

    def state(self):
        return self.run("systemctl", "is-system-running")[1]

    def path(self, inside):
        """A file of the Debian, as the caller sees it."""
        return Path(f"/proc/{self._init}/root") / inside.lstrip("/")


def _control_group():
    """An empty group of the second hierarchy for the Debian to be the root of."""
    group = SCRATCH / "cgroup" / f"booted.{os.getpid()}.{os.urandom(4).hex()}"
    group.mkdir()
    return group


def _mount(*words):
    subprocess.run(["mount", *map(str, words)], check=True)


def _make_root(base):
    """The overlay with the kernel's file systems in it."""
    root = SCRATCH / "root"
    _mount("--make-rprivate", "/")
    _mount("-t", "overlay", "overlay", "-o",
           f"lowerdir={base},upperdir={SCRATCH}/changes,workdir={SCRATCH}/work", root)
    _mount("-t", "proc", "proc", root / "proc")
    _mount("-t", "sysfs", "sysfs", root / "sys")
    _mount("-t", "cgroup2", "cgroup2", root / "sys/fs/cgroup")
    for folder in ("run", "dev"):
        _mount("-t", "tmpfs", "-o", "mode=755", "tmpfs", root / folder)
    for folder in ("net", "pts", "shm"):
        (root / "dev" / folder).mkdir()
    for name, device in NODES.items():
        os.mknod(root / "dev" / name, 0o020666, os.makedev(*device))
        os.chmod(root / "dev" / name, 0o666)
    _mount("-t", "devpts", "-o", f"newinstance,gid={TTY_GROUP},mode=620,ptmxmode=666", "devpts",
           root / "dev/pts")
    _mount("-t", "tmpfs", "-o", "mode=1777", "tmpfs", root / "dev/shm")
    os.symlink("pts/ptmx", root / "dev/ptmx")
    os.symlink("/proc/self/fd", root / "dev/fd")
    return root


def main():
    root = _make_root(sys.argv[1])
    os.chdir(root)
    old = root / "mnt"
    subprocess.run(["pivot_root", ".", old.relative_to(root)], check=True)
    os.chroot(".")
    os.chdir("/")
    subprocess.run(["/bin/umount", "--lazy", "/mnt"], check=True)
    os.execve("/sbin/init", ["/sbin/init", "--log-target=console"],
              {"container": "lab", "PATH": ENVIRONMENT["PATH"]})


if __name__ == "__main__":
    main()
