"""Named network namespaces of one lab, and work inside them."""

import contextlib
import ctypes
import os
import subprocess

_libc = ctypes.CDLL(None, use_errno=True)


class CommandFailed(Exception):
    pass


def run(*command, namespace=None, check=True):
    """Runs a command to its end; its output as text."""
    argv = [*_prefix(namespace), *map(str, command)]
    done = subprocess.run(argv, capture_output=True, text=True, check=False, timeout=30)
    if check and done.returncode != 0:
        raise CommandFailed(f"{' '.join(argv)}: status {done.returncode}: "
                            f"{(done.stderr or done.stdout).strip()}")
    return done.stdout


def _prefix(namespace):
    return ["ip", "netns", "exec", namespace] if namespace else []


def command_in(namespace, argv):
    """The command line that runs `argv` there; the process keeps its id."""
    return [*_prefix(namespace), *map(str, argv)]


@contextlib.contextmanager
def entered(namespace):
    """This thread inside a namespace: sockets made here belong to it."""
    if namespace is None:
        yield
        return
    home = os.open("/proc/thread-self/ns/net", os.O_RDONLY | os.O_CLOEXEC)
    there = os.open(f"/run/netns/{namespace}", os.O_RDONLY | os.O_CLOEXEC)
    try:
        _set_namespace(there)
        yield
    finally:
        _set_namespace(home)
        os.close(there)
        os.close(home)


def _set_namespace(descriptor):
    if _libc.setns(descriptor, 0) != 0:
        raise OSError(ctypes.get_errno(), "setns")


def quiet(namespace=None):
    """No IPv6 chatter: what the lab sees is what it sent."""
    for scope in ("all", "default"):
        path = f"/proc/sys/net/ipv6/conf/{scope}/disable_ipv6"
        with entered(namespace), contextlib.suppress(FileNotFoundError):
            with open(path, "w", encoding="ascii") as setting:
                setting.write("1")


def device_state(namespace=None):
    """Devices, their filters and queues: for a before and after."""
    links = run("ip", "-oneline", "link", "show", namespace=namespace)
    state = {}
    for line in links.splitlines():
        device = line.split(": ")[1].split("@")[0]
        filters = [
            run("tc", "filter", "show", "dev", device, direction, namespace=namespace, check=False)
            for direction in ("ingress", "egress")
        ]
        queue = run("tc", "qdisc", "show", "dev", device, namespace=namespace)
        state[device] = (line.split(": ", 1)[1], queue, *filters)
    return state
