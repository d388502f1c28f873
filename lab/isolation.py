"""A private world for one lab.

The lab runs in network, mount and PID namespaces of its own, with its own /run.
None of them has a name, so labs do not meet; and when the lab's first process
ends, however it ends, the kernel ends the rest and takes the devices, mounts
and files along. Nothing has to be cleaned by hand.
"""

import os
import shutil
import signal
import subprocess
import sys

INSIDE = "PPPOEIA_LAB_INSIDE"

# Programs of a lab and the Debian package of each.
PROGRAMS = {
    "ip": "iproute2",
    "tc": "iproute2",
    "unshare": "util-linux",
    "setpriv": "util-linux",
    "mount": "mount",
    "pppoe-server": "pppoe",
    "pppoe": "pppoe",
    "pppoe-discovery": "ppp",
    "rpcbind": "rpcbind",
    "tshark": "tshark",
    "systemd-analyze": "systemd",
    "strace": "strace",
}
# What some tests need beside them.
MORE_PROGRAMS = {"bpftool": "bpftool"}

NAMESPACES = ["unshare", "--net", "--mount", "--pid", "--fork", "--kill-child", "--mount-proc"]


def missing(more=()):
    """What this machine lacks for a lab and `more` programs, as a list of short texts."""
    lacking = [] if os.geteuid() == 0 else ["root"]
    for program, package in [*PROGRAMS.items(), *((name, MORE_PROGRAMS[name]) for name in more)]:
        if not shutil.which(program):
            lacking.append(f"{program} (Debian package {package})")
    if lacking:
        return lacking
    for feature, command in {
        "network namespaces": ["true"],
        "the kernel's bridge": ["ip", "link", "add", "type", "bridge"],
        "the kernel's veth": ["ip", "link", "add", "type", "veth"],
        "the kernel's TAP (/dev/net/tun)": ["ip", "tuntap", "add", "mode", "tap"],
        "the kernel's clsact": ["tc", "qdisc", "add", "dev", "lo", "clsact"],
    }.items():
        probe = subprocess.run(["unshare", "--net", *command], capture_output=True, check=False)
        if probe.returncode != 0:
            lacking.append(feature)
    return lacking


def isolated(argv):
    """Runs the Python program `argv` in a world of its own; its exit status.

    A signal that ends this process ends that world first.
    """
    environment = dict(os.environ, PYTHONDONTWRITEBYTECODE="1")
    environment[INSIDE] = "1"
    child = subprocess.Popen(
        # If this process is killed outright, the world still goes with it.
        ["setpriv", "--pdeathsig", "KILL", *NAMESPACES, sys.executable, *argv],
        env=environment,
    )

    ended_by = []

    def end(number, _frame):
        ended_by.append(number)
        _end_world(child)

    for number in (signal.SIGTERM, signal.SIGHUP, signal.SIGINT):
        signal.signal(number, end)
    status = child.wait()
    if ended_by:
        print(f"ended by {signal.Signals(ended_by[0]).name}", file=sys.stderr)
        return 128 + ended_by[0]
    return status if status >= 0 else 128 - status


def _end_world(child):
    """Ends the first process of the world that `unshare` holds. unshare ends after
    it, and it after all others, so when `child` is gone, all are."""
    with open(f"/proc/{child.pid}/task/{child.pid}/children", encoding="ascii") as children:
        first = children.read().split()
    if first:
        os.kill(int(first[0]), signal.SIGKILL)
    else:
        child.kill()


def inside():
    """True in the process that isolated() started; prepares its world once."""
    if os.environ.pop(INSIDE, None) is None:
        return False
    # The terminal's Ctrl-C comes here too; the process outside ends this world.
    signal.signal(signal.SIGINT, lambda *_: None)
    for command in (
        ["mount", "-t", "tmpfs", "-o", "mode=755", "lab", "/run"],
        # Made anew in the new network namespace, so that it shows its devices.
        ["mount", "-t", "sysfs", "lab", "/sys"],
        ["ip", "link", "set", "lo", "up"],
    ):
        subprocess.run(command, check=True)
    if os.path.realpath("/var/run") != "/run":
        subprocess.run(["mount", "--bind", "/run", "/var/run"], check=True)
    return True
