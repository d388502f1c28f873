"""Runs a program the way its systemd unit would, without systemd.

What is taken from the unit: capabilities, no new privileges, the filters of
system calls and of address families, memory never both writable and executable,
the read-only file system with its exceptions, and the kernel's tunables. The
user is a number of its own, without an entry in any file. What systemd does with
control groups (device and IP address lists) is not done here.

    confined.command(unit, argv)    what to run instead of argv
"""

import configparser
import ctypes
import errno
import os
import subprocess
import sys
from pathlib import Path

REPOSITORY = Path(__file__).resolve().parent.parent
UNITS = REPOSITORY / "packaging" / "systemd"
USER = 64017
TTY_GROUP = 5  # Debian's "tty"
RUN = Path("/run/pppoeia")
# The programs and libraries under test, where that user finds them.
STAGE = Path("/run/lab-programs")

ALLOW = 0x7FFF0000
REFUSE = 0x00050000 | errno.EPERM
EQUAL, MASKED = 4, 7  # comparisons of libseccomp


class Unit:
    """The [Service] section; a setting given twice is a list of both."""

    def __init__(self, name):
        self.settings = {}
        parser = configparser.RawConfigParser(strict=False, dict_type=_Gather)
        parser.optionxform = str
        parser.read(UNITS / f"{name}.service", encoding="utf-8")
        for key, value in parser["Service"].items():
            self.settings[key] = value.split("\n")

    def words(self, key):
        return [word for line in self.settings.get(key, []) for word in line.split()]

    def on(self, key):
        return self.words(key) == ["yes"]


class _Gather(dict):
    """A dictionary in which a list set again grows: configparser's own parts."""

    def __setitem__(self, key, value):
        if isinstance(value, list) and key in self:
            self[key].extend(value)
        else:
            super().__setitem__(key, value)


def prepare(programs):
    """What the package and systemd-tmpfiles would have made; once for all labs of a world."""
    if STAGE.exists():
        return
    for folder in ("programs", "library"):
        (STAGE / folder).mkdir(parents=True)
        _mount("--bind", programs.parent / folder, STAGE / folder)
    _mount("-t", "tmpfs", "none", "/var/lib")  # of this lab's world only
    _open_tun_device()
    # Terminals as Debian mounts them: their group may write.
    _mount("-t", "devpts", "-o", f"newinstance,gid={TTY_GROUP},mode=620,ptmxmode=666", "none",
           "/dev/pts")
    RUN.mkdir(mode=0o750)
    os.chown(RUN, USER, USER)
    Path("/run/pppoeia_fe_main").symlink_to("pppoeia/fe_main")
    Path("/run/pppoeia_mgmt").symlink_to("pppoeia/mgmt")
    Path("/run/pppoeia_mgmt.settings").symlink_to("pppoeia/mgmt.settings")


def _open_tun_device():
    """For every user, as Debian's udev makes it; here there may be no udev."""
    device = STAGE / "tun"
    device.mkdir()
    _mount("-t", "tmpfs", "-o", "mode=0755", "none", device)
    os.mknod(device / "tun", 0o020666, os.makedev(10, 200))
    os.chmod(device / "tun", 0o666)
    _mount("--bind", device / "tun", "/dev/net/tun")


def command(unit, argv):
    return [sys.executable, "-B", __file__, unit, STAGE / "programs" / Path(argv[0]).name,
            *argv[1:]]


def _mount(*words):
    subprocess.run(["mount", *map(str, words)], check=True)


def _mounts(unit):
    libc = ctypes.CDLL(None, use_errno=True)
    if libc.unshare(0x00020000) != 0:  # CLONE_NEWNS
        raise OSError(ctypes.get_errno(), "unshare")
    _mount("--make-rslave", "/")
    if unit.words("ProtectSystem") == ["strict"]:
        # One with a "-" before it need not be there.
        writable = [path.removeprefix("-") for path in unit.words("ReadWritePaths")
                    if path[0] != "-" or Path(path[1:]).exists()]
        if unit.words("StateDirectory"):
            state = Path("/var/lib") / unit.words("StateDirectory")[0]
            state.mkdir(exist_ok=True)
            os.chown(state, USER, USER)
            writable.append(str(state))
        for path in writable:
            _mount("--bind", path, path)
        for point in _mount_points():
            # The kernel's own trees are other settings' matter.
            if not point.startswith(("/proc", "/sys", "/dev", *writable)):
                _mount("-o", "remount,bind,ro", point)
    if unit.on("ProtectKernelTunables"):
        for path in ("/proc/sys", "/sys"):
            _mount("--rbind", path, path)
            _mount("-o", "remount,bind,ro", path)


def _mount_points():
    with open("/proc/self/mountinfo", encoding="utf-8") as lines:
        return list(dict.fromkeys(line.split()[4] for line in lines))


def _privileges(unit):
    """The words of setpriv that leave what the unit leaves."""
    kept = [name.removeprefix("CAP_").lower() for name in unit.words("AmbientCapabilities")]
    bound = [name.removeprefix("CAP_").lower() for name in unit.words("CapabilityBoundingSet")]

    def listed(names):
        return ",".join(["-all", *(f"+{name}" for name in names)])

    groups = [f"--groups={TTY_GROUP}"] if "tty" in unit.words("SupplementaryGroups") else [
        "--clear-groups"]
    return ["setpriv", f"--reuid={USER}", f"--regid={USER}", *groups,
            f"--inh-caps={listed(kept)}", f"--ambient-caps={listed(kept)}",
            f"--bounding-set={listed(bound)}",
            *(["--no-new-privs"] if unit.on("NoNewPrivileges") else [])]


def _system_calls(names):
    """The calls of a unit's list, groups (@name) taken apart."""
    calls = set()
    for name in names:
        if not name.startswith("@"):
            calls.add(name)
            continue
        said = subprocess.run(["systemd-analyze", "--no-pager", "syscall-filter", name],
                              check=True, capture_output=True, text=True).stdout
        words = [line.strip() for line in said.splitlines()[1:]]
        calls |= _system_calls([word for word in words if word and not word.startswith("#")])
    return calls


def _allowed(unit):
    lines = [line.split() for line in unit.settings.get("SystemCallFilter", [])]
    allowed = set()
    for line in lines:
        if line[0].startswith("~"):
            allowed -= _system_calls([line[0][1:], *line[1:]])
        else:
            allowed |= _system_calls(line)
    # What systemd itself always leaves.
    return allowed | {"execve", "exit", "exit_group", "rt_sigreturn", "sigreturn", "brk", "mmap",
                      "mmap2", "getrlimit", "time", "get_thread_area", "set_thread_area",
                      "arch_prctl", "sched_yield", "nanosleep", "clock_nanosleep"}


def _filter_calls(allowed, families, no_write_execute):
    """Loads the filter for this process and what it becomes."""
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
        if library.seccomp_rule_add_array(context, ALLOW, number, len(compared), array) != 0:
            raise RuntimeError(f"seccomp: {name}")

    for name in sorted(allowed):
        if name == "socket":
            for family in families:
                rule(name, Compare(0, EQUAL, family, 0))
        elif name in ("mmap", "mprotect") and no_write_execute:
            for protection in (0, 2, 4):  # never writable (2) and executable (4) together
                rule(name, Compare(2, MASKED, 6, protection))
        else:
            rule(name)
    if library.seccomp_load(context) != 0:
        raise RuntimeError("seccomp: the filter was not loaded")


def main():
    unit, argv = Unit(sys.argv[1]), sys.argv[2:]
    _mounts(unit)
    import socket
    families = [int(getattr(socket, name)) for name in unit.words("RestrictAddressFamilies")]
    # What runs after the privileges are gone: it reads no file of the repository.
    with open(__file__, encoding="utf-8") as source:
        text = source.read().rsplit("\nif __name__", 1)[0]
    last = (f"{text}\n_filter_calls({sorted(_allowed(unit))!r}, {families!r}, "
            f"{unit.on('MemoryDenyWriteExecute')!r})\nos.execv({argv[0]!r}, {argv!r})")
    os.environ["LD_LIBRARY_PATH"] = str(STAGE / "library")
    os.chdir("/")
    words = [*_privileges(unit), "/usr/bin/python3", "-c", f"__file__ = '/'\n{last}"]
    os.execvp(words[0], words)


if __name__ == "__main__":
    main()
