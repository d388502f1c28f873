"""The node's processes as their systemd units have them, without systemd: what there has
to be before lab/as_unit.py becomes one of them.

    confined.folders(user)          the agent's folders, empty, of that user
    confined.command(unit, argv)    what to run instead of argv
"""

import ctypes
import errno
import os
import shutil
import socket
import subprocess
import sys
from pathlib import Path

from lab import as_unit
from lab.as_unit import BIND, TTY_GROUP, USER, Unit, done, mount

RUN = Path("/run/pppoeia")
STATE = Path("/var/lib/pppoeia")
METRICS = Path("/var/lib/prometheus/node-exporter")
STAGE = Path(as_unit.STAGE)

ALLOW = 0x7FFF0000
REFUSE = 0x00050000 | errno.EPERM
EQUAL, MASKED = 4, 7  # comparisons of libseccomp


# --- in the lab ---------------------------------------------------------------------------------

def prepare(programs):
    """What the machine and the packages would have; once for all labs of a world."""
    if STAGE.exists():
        return
    for folder in ("programs", "library", "lab/tools"):
        if (programs.parent / folder).is_dir():  # not all of it may have been built
            (STAGE / folder).mkdir(parents=True)
            mount(programs.parent / folder, STAGE / folder, flags=BIND)
    mount("none", "/var/lib", "tmpfs")  # of this lab's world only
    _open_tun_device()
    # Terminals as Debian mounts them: their group may write.
    mount("none", "/dev/pts", "devpts", options=f"newinstance,gid={TTY_GROUP},mode=620,ptmxmode=666")
    for unit in ("pppoeia-fe", "pppoeia-mgmt"):
        _export_filter(Unit(unit), STAGE / f"{unit}.filter")


def folders(user):
    """The agent's folders, empty and its user's; and the links that lead there."""
    for folder, mode in ((RUN, 0o750), (STATE, 0o750), (METRICS, 0o755)):
        shutil.rmtree(folder, ignore_errors=True)
        folder.mkdir(mode=mode, parents=True)
        os.chown(folder, user, user)
    for link, name in (("pppoeia_fe_main", "fe_main"), ("pppoeia_mgmt", "mgmt"),
                       ("pppoeia_mgmt.settings", "mgmt.settings")):
        Path("/run", link).unlink(missing_ok=True)
        Path("/run", link).symlink_to(f"pppoeia/{name}")


def _open_tun_device():
    """For every user, as Debian's udev makes it; here there may be no udev."""
    device = STAGE / "tun"
    device.mkdir()
    mount("none", device, "tmpfs", options="mode=0755")
    os.mknod(device / "tun", 0o020666, os.makedev(10, 200))
    os.chmod(device / "tun", 0o666)
    mount(device / "tun", "/dev/net/tun", flags=BIND)


def command(unit, argv):
    return [sys.executable, "-I", "-S", "-B", as_unit.__file__, unit,
            STAGE / "programs" / Path(argv[0]).name, *argv[1:]]


# --- system calls -------------------------------------------------------------------------------

def _groups():
    """Names by group (@name) of system calls."""
    groups, calls = {}, []
    for line in subprocess.run(["systemd-analyze", "--no-pager", "syscall-filter"], check=True,
                               capture_output=True, text=True).stdout.splitlines():
        word = line.strip()
        if word and line[0] == "@":
            calls = groups.setdefault(word, [])
        elif word and word[0] != "#":
            calls.append(word)
    return groups


def _allowed(unit):
    groups = _groups()

    def calls(names):
        return {call for name in names
                for call in (calls(groups[name]) if name[0] == "@" else [name])}

    allowed = calls(["@default"])
    for line in unit.settings.get("SystemCallFilter", []):
        if line.startswith("~"):
            allowed -= calls(line[1:].split())
        else:
            allowed |= calls(line.split())
    return allowed | calls(["@default"])


def _export_filter(unit, path):
    """The filter of a unit, as the kernel takes it."""
    library = ctypes.CDLL("libseccomp.so.2")
    library.seccomp_init.restype = ctypes.c_void_p
    context = ctypes.c_void_p(library.seccomp_init(REFUSE))

    class Compare(ctypes.Structure):
        _fields_ = [("arg", ctypes.c_uint), ("op", ctypes.c_int),
                    ("a", ctypes.c_uint64), ("b", ctypes.c_uint64)]

    def rule(name, *compared):
        number = library.seccomp_syscall_resolve_name(name.encode())
        if number < 0:
            return  # of another architecture
        array = (Compare * len(compared))(*compared)
        done(library.seccomp_rule_add_array(context, ALLOW, number, len(compared), array), name)

    for name in sorted(_allowed(unit)):
        if name == "socket":
            for family in unit.words("RestrictAddressFamilies"):
                rule(name, Compare(0, EQUAL, getattr(socket, family), 0))
        elif name in ("mmap", "mprotect") and unit.on("MemoryDenyWriteExecute"):
            for protection in (0, 2, 4):  # never writable (2) and executable (4) together
                rule(name, Compare(2, MASKED, 6, protection))
        else:
            rule(name)
    with open(path, "wb") as file:
        done(library.seccomp_export_bpf(context, file.fileno()), "seccomp_export_bpf")
