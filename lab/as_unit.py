"""Becomes a program the way its systemd unit would have it: `as_unit.py UNIT PROGRAM...`

What is taken from the unit: capabilities, no new privileges, the filters of
system calls and of address families, memory never both writable and executable,
the file system (read-only with its exceptions, no homes, a /tmp of its own), the
kernel's tunables and the umask. The user is a number of its own, without an entry in
any file. What systemd does with control groups (device and IP address lists) is not
done here.

It is started for every process of the lab: it imports little.
"""

import ctypes
import os
import sys

UNITS = os.path.join(os.path.dirname(os.path.abspath(__file__)), "../packaging/systemd")
USER = 64017
TTY_GROUP = 5  # Debian's "tty"
# The programs and libraries under test, where that user finds them.
STAGE = "/run/lab-programs"

READ_ONLY, REMOUNT, BIND, RECURSIVE, SLAVE = 0x1, 0x20, 0x1000, 0x4000, 0x80000
KEPT_OPTIONS = {"nosuid": 0x2, "nodev": 0x4, "noexec": 0x8, "noatime": 0x400, "nodiratime": 0x800,
                "relatime": 0x200000}
NEW_MOUNTS = 0x20000  # of unshare()
KEEP_CAPABILITIES, SET_SECCOMP, NO_NEW_PRIVILEGES = 8, 22, 38  # of prctl()

_libc = ctypes.CDLL(None, use_errno=True)


class Unit:
    """The settings of a unit's file; one given twice is a list of both."""

    def __init__(self, name):
        self.settings = {}
        with open(f"{UNITS}/{name}.service", encoding="utf-8") as lines:
            for line in lines:
                key, given, value = line.strip().partition("=")
                if given and key.isalpha():
                    self.settings.setdefault(key, []).append(value)

    def words(self, key):
        return [word for line in self.settings.get(key, []) for word in line.split()]

    def on(self, key):
        return self.words(key) == ["yes"]


def done(status, what):
    if status != 0:
        raise OSError(ctypes.get_errno(), f"{what}: {os.strerror(ctypes.get_errno())}")


def mount(source, target, kind="", flags=0, options=""):
    words = [str(word).encode() for word in (source, target, kind, options)]
    done(_libc.mount(*words[:3], ctypes.c_ulong(flags), words[3]), f"mount {target}")


def _file_system(unit):
    done(_libc.unshare(NEW_MOUNTS), "unshare")
    mount("none", "/", flags=RECURSIVE | SLAVE)
    if unit.on("PrivateTmp"):
        for path in ("/tmp", "/var/tmp"):
            mount("none", path, "tmpfs")
    if unit.words("ProtectSystem") == ["strict"]:
        # One with a "-" before it need not be there.
        writable = [path.removeprefix("-") for path in unit.words("ReadWritePaths")
                    if path[0] != "-" or os.path.exists(path[1:])]
        writable += [f"/var/lib/{name}" for name in unit.words("StateDirectory")]
        for path in writable:
            mount(path, path, flags=BIND)
        # The kernel's own trees are other settings' matter.
        _read_only(("/proc", "/sys", "/dev", "/tmp", "/var/tmp", *writable))
    if unit.on("ProtectHome"):
        for path in filter(os.path.isdir, ("/home", "/root", "/run/user")):
            mount("none", path, "tmpfs", READ_ONLY, "mode=0")
    if unit.on("ProtectKernelTunables"):
        for path in ("/proc/sys", "/sys"):
            mount(path, path, flags=BIND | RECURSIVE)
            mount("none", path, flags=REMOUNT | BIND | READ_ONLY)


def _read_only(but):
    """Every mount, `but` those and what is below them."""
    with open("/proc/self/mountinfo", encoding="utf-8") as lines:
        mounts = {line.split()[4]: line.split()[5] for line in lines}
    for point, options in mounts.items():
        if not point.startswith(but):
            kept = sum(KEPT_OPTIONS.get(option, 0) for option in options.split(","))
            mount("none", point, flags=REMOUNT | BIND | READ_ONLY | kept)


def _privileges(unit):
    """The user, and what the unit leaves him."""
    library = ctypes.CDLL("libcap.so.2", use_errno=True)

    def numbers(key):
        found = []
        for name in unit.words(key):
            found.append(ctypes.c_int())
            done(library.cap_from_name(name.lower().encode(), ctypes.byref(found[-1])), name)
        return [number.value for number in found]

    kept, bound = numbers("AmbientCapabilities"), numbers("CapabilityBoundingSet")
    for number in range(library.cap_max_bits()):
        if number not in bound and library.cap_get_bound(number) == 1:
            done(library.cap_drop_bound(number), "cap_drop_bound")
    done(_libc.prctl(KEEP_CAPABILITIES, 1, 0, 0, 0), "prctl")
    os.setgroups([TTY_GROUP] if "tty" in unit.words("SupplementaryGroups") else [])
    os.setresgid(USER, USER, USER)
    os.setresuid(USER, USER, USER)
    library.cap_from_text.restype = ctypes.c_void_p
    names = ",".join(unit.words("AmbientCapabilities")).lower()
    text = f"{names}=eip" if names else "="
    done(library.cap_set_proc(ctypes.c_void_p(library.cap_from_text(text.encode()))), text)
    for number in kept:
        done(library.cap_set_ambient(number, 1), "cap_set_ambient")
    if unit.on("NoNewPrivileges"):
        done(_libc.prctl(NO_NEW_PRIVILEGES, 1, 0, 0, 0), "prctl")


def _load_filter(program):
    class Program(ctypes.Structure):
        _fields_ = [("length", ctypes.c_ushort), ("filter", ctypes.c_char_p)]

    loaded = Program(len(program) // 8, program)
    done(_libc.prctl(SET_SECCOMP, 2, ctypes.byref(loaded), 0, 0), "seccomp")


def main():
    name, argv = sys.argv[1], sys.argv[2:]
    unit = Unit(name)
    with open(f"{STAGE}/{name}.filter", "rb") as file:
        program = file.read()
    os.environ["LD_LIBRARY_PATH"] = f"{STAGE}/library"
    os.umask(int(unit.words("UMask")[0], 8))
    os.chdir("/")
    _file_system(unit)
    _privileges(unit)
    _load_filter(program)
    os.execv(argv[0], argv)


if __name__ == "__main__":
    main()
