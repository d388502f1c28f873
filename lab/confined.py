"""Runs a program the way its systemd unit would, without systemd.

What is taken from the unit: capabilities, no new privileges, the filters of
system calls and of address families, memory never both writable and executable,
the file system (read-only with its exceptions, no homes, a /tmp of its own, which
processes are seen), the kernel's tunables and the umask. The user is a number of its
own, without an entry in any file. What systemd does with control groups (device and IP
address lists) is not done here.

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

UNITS = Path(__file__).resolve().parent.parent / "packaging" / "systemd"
USER = 64017
TTY_GROUP = 5  # Debian's "tty"
RUN = Path("/run/pppoeia")
STATE = Path("/var/lib/pppoeia")
METRICS = Path("/var/lib/prometheus/node-exporter")
# The programs and libraries under test, where that user finds them.
STAGE = Path("/run/lab-programs")

ALLOW = 0x7FFF0000
REFUSE = 0x00050000 | errno.EPERM
EQUAL, MASKED = 4, 7  # comparisons of libseccomp
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
        with open(UNITS / f"{name}.service", encoding="utf-8") as lines:
            for line in lines:
                key, given, value = line.strip().partition("=")
                if given and key.isalpha():
                    self.settings.setdefault(key, []).append(value)

    def words(self, key):
        return [word for line in self.settings.get(key, []) for word in line.split()]

    def on(self, key):
        return self.words(key) == ["yes"]


# --- in the lab ---------------------------------------------------------------------------------

def prepare(programs):
    """What the machine and the packages would have; once for all labs of a world."""
    if STAGE.exists():
        return
    for folder in ("programs", "library", "lab/tools"):
        (STAGE / folder).mkdir(parents=True)
        _mount(programs.parent / folder, STAGE / folder, flags=BIND)
    _mount("none", "/var/lib", "tmpfs")  # of this lab's world only
    _open_tun_device()
    # Terminals as Debian mounts them: their group may write.
    _mount("none", "/dev/pts", "devpts", options=f"newinstance,gid={TTY_GROUP},mode=620,ptmxmode=666")
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
    _mount("none", device, "tmpfs", options="mode=0755")
    os.mknod(device / "tun", 0o020666, os.makedev(10, 200))
    os.chmod(device / "tun", 0o666)
    _mount(device / "tun", "/dev/net/tun", flags=BIND)


def command(unit, argv):
    return [sys.executable, "-I", "-S", "-B", __file__, unit,
            STAGE / "programs" / Path(argv[0]).name, *argv[1:]]


def _done(status, what):
    if status != 0:
        raise OSError(ctypes.get_errno(), f"{what}: {os.strerror(ctypes.get_errno())}")


def _mount(source, target, kind="", flags=0, options=""):
    words = [str(word).encode() for word in (source, target, kind, options)]
    _done(_libc.mount(*words[:3], ctypes.c_ulong(flags), words[3]), f"mount {target}")


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
        _done(library.seccomp_rule_add_array(context, ALLOW, number, len(compared), array), name)

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
        _done(library.seccomp_export_bpf(context, file.fileno()), "seccomp_export_bpf")


def _load_filter(program):
    class Program(ctypes.Structure):
        _fields_ = [("length", ctypes.c_ushort), ("filter", ctypes.c_char_p)]

    loaded = Program(len(program) // 8, program)
    _done(_libc.prctl(SET_SECCOMP, 2, ctypes.byref(loaded), 0, 0), "seccomp")


# --- in the process that becomes the program ----------------------------------------------------

def _file_system(unit):
    _done(_libc.unshare(NEW_MOUNTS), "unshare")
    _mount("none", "/", flags=RECURSIVE | SLAVE)
    if unit.on("PrivateTmp"):
        for path in ("/tmp", "/var/tmp"):
            _mount("none", path, "tmpfs")
    if unit.words("ProtectSystem") == ["strict"]:
        # One with a "-" before it need not be there.
        writable = [path.removeprefix("-") for path in unit.words("ReadWritePaths")
                    if path[0] != "-" or Path(path[1:]).exists()]
        writable += [f"/var/lib/{name}" for name in unit.words("StateDirectory")]
        for path in writable:
            _mount(path, path, flags=BIND)
        # The kernel's own trees are other settings' matter.
        _read_only(("/proc", "/sys", "/dev", "/tmp", "/var/tmp", *writable))
    if unit.on("ProtectHome"):
        for path in filter(os.path.isdir, ("/home", "/root", "/run/user")):
            _mount("none", path, "tmpfs", READ_ONLY, "mode=0")
    if unit.on("ProtectKernelTunables"):
        for path in ("/proc/sys", "/sys"):
            _mount(path, path, flags=BIND | RECURSIVE)
            _mount("none", path, flags=REMOUNT | BIND | READ_ONLY)


def _read_only(but):
    """Every mount, `but` those and what is below them."""
    with open("/proc/self/mountinfo", encoding="utf-8") as lines:
        mounts = {line.split()[4]: line.split()[5] for line in lines}
    for point, options in mounts.items():
        if not point.startswith(but):
            kept = sum(KEPT_OPTIONS.get(option, 0) for option in options.split(","))
            _mount("none", point, flags=REMOUNT | BIND | READ_ONLY | kept)


def _privileges(unit):
    """The user, and what the unit leaves him."""
    library = ctypes.CDLL("libcap.so.2", use_errno=True)

    def numbers(key):
        found = []
        for name in unit.words(key):
            found.append(ctypes.c_int())
            _done(library.cap_from_name(name.lower().encode(), ctypes.byref(found[-1])), name)
        return [number.value for number in found]

    kept, bound = numbers("AmbientCapabilities"), numbers("CapabilityBoundingSet")
    for number in range(library.cap_max_bits()):
        if number not in bound and library.cap_get_bound(number) == 1:
            _done(library.cap_drop_bound(number), "cap_drop_bound")
    _done(_libc.prctl(KEEP_CAPABILITIES, 1, 0, 0, 0), "prctl")
    os.setgroups([TTY_GROUP] if "tty" in unit.words("SupplementaryGroups") else [])
    os.setresgid(USER, USER, USER)
    os.setresuid(USER, USER, USER)
    library.cap_from_text.restype = ctypes.c_void_p
    names = ",".join(unit.words("AmbientCapabilities")).lower()
    text = f"{names}=eip" if names else "="
    _done(library.cap_set_proc(ctypes.c_void_p(library.cap_from_text(text.encode()))), text)
    for number in kept:
        _done(library.cap_set_ambient(number, 1), "cap_set_ambient")
    if unit.on("NoNewPrivileges"):
        _done(_libc.prctl(NO_NEW_PRIVILEGES, 1, 0, 0, 0), "prctl")


def main():
    name, argv = sys.argv[1], sys.argv[2:]
    unit = Unit(name)
    program = (STAGE / f"{name}.filter").read_bytes()
    os.environ["LD_LIBRARY_PATH"] = str(STAGE / "library")
    os.umask(int(unit.words("UMask")[0], 8))
    os.chdir("/")
    _file_system(unit)
    _privileges(unit)
    _load_filter(program)
    os.execv(argv[0], argv)


if __name__ == "__main__":
    main()
