"""The packages on a booted Debian, under traffic; run by scripts/try-packages.

Installed, described, started, upgraded, stopped, released, removed and purged, by the
commands of README.Debian as they stand there. Two subscribers ask 500 times a second
all the while; the table says of each step how many requests reached the BNG unmarked.
"""

import re
import sys
import threading
import time

from lab import frames, isolation, netns
from lab.booted import Debian
from lab.processes import WaitFailed
from lab.node import BRIDGE
from lab.topology import REPOSITORY, Lab, programs
from lab.traffic import Traffic

README = (REPOSITORY / "debian/README.Debian").read_text(encoding="utf-8")
# The senders' own addresses: a real client beside one of them hears its own offers only.
SOURCES = {"sub1": frames.mac("02:00:00:00:01:99"), "sub2": frames.mac("02:00:00:00:02:99")}
REMOTE_IDS = {SOURCES["sub1"]: b"customer-1", SOURCES["sub2"]: b"customer-2"}
CUSTOM = b"access-1/1/2:0"  # of README's format, port 1/2, untagged
# As the system's own units for networks are ordered.
NETWORK_UNIT = f"""[Unit]
DefaultDependencies=no
After=local-fs.target network-pre.target
Before=network.target

[Service]
Type=oneshot
ExecStart=/bin/sh -c "echo 0x1003 >/sys/class/net/{BRIDGE}/flags"

[Install]
WantedBy=multi-user.target
"""
PAUSE = 0.004  # of each of two subscribers: 500 requests a second
COLUMNS = ("step", "seconds", "sent", "marked", "unmarked", "wrong", "client", "verdict")
WIDTHS = (46, 8, 7, 7, 9, 6, 7, 8)


class Wrong(Exception):
    pass


class DebianLab(Lab):
    """Subscribers and a BNG around the booted Debian, which has all else."""

    def start_port_mapper(self):
        """The Debian's own."""


def readme(section):
    """The commands of one section of README.Debian, in order; a person edits a file."""
    text = re.search(rf"^{section}\n-+\n(.*?)(?=^\S[^\n]*\n---|\Z)", README, re.M | re.S).group(1)
    commands = re.findall(r"^    (\S.*)$", text, re.M)
    return [command for command in commands if not command.startswith("editor ")]


class Arrivals:
    """What reached the BNG, counted by another thread."""

    def __init__(self, wire):
        self._wire = wire
        self._stop = threading.Event()
        self.counts = {"marked": 0, "unmarked": 0, "wrong": 0}
        self.last_unmarked = 0.0
        self.first_marked = None
        self.circuit_ids = {}
        self._thread = threading.Thread(target=self._run, daemon=True)
        self._thread.start()

    def _run(self):
        while not self._stop.wait(0.01):
            self.count()

    def count(self):
        self._wire.waiting()
        heard, self._wire.heard[:] = self._wire.heard[:], []
        for when, data in heard:
            frame = frames.parse(data)
            if frame.code == frames.PADI and frame.source in REMOTE_IDS:
                self._judge(when, frame)

    def _judge(self, when, frame):
        kind = "unmarked"
        if frame.marks:
            mark = frame.marks[0]
            own = (len(frame.marks) == 1
                   and mark.get(frames.REMOTE_ID, b"").startswith(REMOTE_IDS[frame.source]))
            kind = "marked" if own else "wrong"
            self.circuit_ids[frame.source] = mark.get(frames.CIRCUIT_ID)
            self.first_marked = self.first_marked or when
        else:
            self.last_unmarked = when
        self.counts[kind] += 1

    def stop(self):
        self._stop.set()
        self._thread.join()
        self.count()
        if self._wire.lost():
            raise Wrong("the BNG's own socket lost frames")


class Tour:
    def __init__(self, lab, debian):
        self.lab, self.debian = lab, debian
        self.failed = 0
        self.traffic = [Traffic(lab.wire(peer), peer, PAUSE, SOURCES[peer]) for peer in ("sub1", "sub2")]

    def inside(self, command, seconds=180.0):
        status, said = self.debian.run("sh", "-c", command, seconds=seconds)
        if status != 0:
            raise Wrong(f"{command}: status {status}\n{said}\n{self.journal()}")
        return said

    def journal(self):
        return self.debian.run("sh", "-c", "journalctl --no-pager -u 'pppoeia*' | tail -n 20")[1]

    def shows(self, condition, what, seconds=20.0):
        deadline = time.monotonic() + seconds
        while not condition():
            if time.monotonic() > deadline:
                raise Wrong(f"waited {seconds:g} s for {what}\n{self.journal()}")
            time.sleep(0.05)

    def active(self):
        return self.debian.run("systemctl", "is-active", "pppoeia-fe", "pppoeia-mgmt")[1].split()

    def step(self, name, work, expect, client=None):
        """`expect`: of requests that arrive: "plain" all unmarked; "begins" unmarked, then
        marked; "marked"; "none" at the end; "ends" no mark at the end, `client`: whether a
        real client is to get its PADO after it."""
        wire = self.lab.wire("bng")
        arrivals = Arrivals(wire)
        before = sum(traffic.sent for traffic in self.traffic)
        begin = time.time()
        why = ""
        got = None
        try:
            work()
            if client is not None:
                got = self.client()
            self.pass_time(0.5)
        except (Wrong, WaitFailed, netns.CommandFailed, OSError) as failure:
            why = str(failure)
        took = time.time() - begin
        tail = self.tail(arrivals)
        arrivals.stop()
        wire.close()
        counts = arrivals.counts
        after_first = arrivals.first_marked and arrivals.last_unmarked > arrivals.first_marked
        holds = {
            "plain": counts["marked"] == 0 and tail["unmarked"] > 0,
            "begins": not after_first and tail["marked"] > 0,
            "marked": counts["unmarked"] == 0 and tail["marked"] > 0,
            "held": counts["unmarked"] == 0 and not any(tail.values()),
            "released": tail["unmarked"] > 0 and tail["marked"] == 0,
        }[expect]
        good = holds and not why and counts["wrong"] == 0 and got == client
        self.failed += not good
        row(name, f"{took:.1f}", sum(traffic.sent for traffic in self.traffic) - before,
            counts["marked"], counts["unmarked"], counts["wrong"],
            {None: "", True: "PADO", False: "none"}[got], "good" if good else f"not {expect}")
        if why:
            print(why, flush=True)
        return arrivals

    def client(self):
        """Whether a real client gets from PADI to PADS."""
        try:
            return self.lab.open_session("sub1", seconds=10)[0] == 0
        except WaitFailed:
            return False

    @staticmethod
    def pass_time(seconds):
        """Traffic goes on meanwhile; what is awaited is its frames."""
        threading.Event().wait(seconds)

    def tail(self, arrivals):
        """What arrives in half a second after the step."""
        before = dict(arrivals.counts)
        self.pass_time(0.5)
        return {kind: arrivals.counts[kind] - before[kind] for kind in before}

    # --- the steps --------------------------------------------------------------------

    def apt(self, words):
        return lambda: self.inside(f"apt-get -y {words}")

    def commands(self, section, *only):
        chosen = [line for line in readme(section) if not only or line.startswith(only)]
        return lambda: [self.inside(command) for command in chosen]

    def describe(self):
        copy, check, put = readme("1. Describe the node")
        self.inside(copy)
        draft = self.debian.path("/etc/pppoeia/node.draft")
        # What the operator's editor does: the uplink's own device, and lines that may send as
        # much as these do.
        draft.write_text(draft.read_text().replace('"uplink0"', '"net0"').replace(
            'name = "br0"', 'name = "br0"\nline_rate = 0\nport_rate = 0'))
        self.inside(check)
        self.inside(put)
        self.up()

    def up(self):
        self.shows(lambda: self.active() == ["active", "active"], "both services to be active")

    def edit_and_apply(self):
        for word, apply in (("customer-2a", self.commands("4. Change the description")),
                            ("customer-2b", lambda: self.inside("systemctl reload pppoeia-mgmt")),
                            ("customer-2c", lambda: self.inside("systemctl reload pppoeia-fe"))):
            described = self.debian.path("/etc/pppoeia/node.toml")
            described.write_text(re.sub("customer-2[a-c]?", word, described.read_text()))
            apply()
            if word not in self.inside("pppoeiactl show ports"):
                raise Wrong(f"{word} is not in force")

    def refused(self):
        described = self.debian.path("/etc/pppoeia/node.toml")
        text = described.read_text()
        described.write_text(text.replace("remote_id", "remoteid"))
        status, said = self.debian.run("systemctl", "reload", "pppoeia-fe")
        described.write_text(text)
        if status == 0 or "customer-2c" not in self.inside("pppoeiactl show ports"):
            raise Wrong(f"a description with a mistake was taken: {said}")

    def boot(self):
        """The machine is switched off and on; its network is set up by a unit."""
        self.debian.path("/etc/systemd/system/lab-network.service").write_text(NETWORK_UNIT)
        self.inside("systemctl enable lab-network")
        self.debian.switch_off()
        netns.run("ip", "link", "set", BRIDGE, "down")
        netns.run(programs() / "pppoeia-fe", "--release")
        self.debian.switch_on()
        self.up()

    def kill(self):
        self.inside("systemctl kill -s KILL pppoeia-fe pppoeia-mgmt")
        self.pass_time(0.3)
        self.up()

    def upgrade(self):
        self.inside("pppoeiactl set vlan-cid-mode 1/3 100 custom; "
                    "pppoeiactl set vlan-cid-format 1/3 100 'fiber $PORT $VLAN'")
        settings = self.inside("pppoeiactl config show")
        self.apt("install /packages/two/*.deb")()
        self.up()
        version = self.inside("dpkg-query -W -f '${Version}' pppoeia")
        if version != "0.1.1":
            raise Wrong(f"version {version}")
        self.shows(lambda: self.debian.run("pppoeiactl", "config", "show")[1] == settings,
                   f"the settings of before:\n{settings}")
        if "fiber $PORT $VLAN" not in settings:
            raise Wrong(f"a line's format is not among the settings:\n{settings}")

    def install_again(self):
        self.apt("install /packages/two/*.deb")()
        self.up()

    def left_behind(self):
        said = self.inside("ls -d /etc/pppoeia /var/lib/pppoeia /run/pppoeia* 2>/dev/null; "
                           "find /usr /lib /etc /var/lib /run -path /var/lib/dpkg -prune -o "
                           "-path /run/systemd -prune -o -name '*pppoeia*' -print; true")
        if said.strip():
            raise Wrong(f"left behind: {said}")

    def go(self):
        stop = readme("6. Stop, and be a plain bridge again")
        row(*COLUMNS)
        self.step("before", lambda: None, "plain", True)
        self.step("apt install", self.apt("install /packages/one/*.deb"), "plain", True)
        self.step("description put in place: both start", self.describe, "begins", True)
        self.step("look: status, show, stats", self.commands("2. Look"), "marked", True)
        self.step("set a custom Circuit ID", self.commands("3. Set"), "marked", True)
        self.step("edit the description: reload of three kinds", self.edit_and_apply, "marked")
        self.step("reload of a wrong description", self.refused, "marked")
        self.step("systemctl restart pppoeia-fe",
                  lambda: (self.inside("systemctl restart pppoeia-fe"), self.up()), "marked", True)
        self.step("systemctl restart pppoeia-mgmt",
                  lambda: (self.inside("systemctl restart pppoeia-mgmt"), self.up()), "marked",
                  True)
        self.step("kill -9 of both", self.kill, "marked", True)
        arrivals = self.step("apt install of the next version", self.upgrade, "marked", True)
        self.same_ids(arrivals)
        self.step(stop[0], lambda: self.inside(stop[0]), "held", False)
        self.step("systemctl start", lambda: (self.inside(stop[2]), self.up()), "marked", True)
        self.step("stopped, " + stop[1],
                  lambda: (self.inside(stop[0]), self.inside(stop[1])), "released", True)
        arrivals = self.step("systemctl start", lambda: (self.inside(stop[2]), self.up()), "begins",
                             True)
        self.same_ids(arrivals)
        arrivals = self.step("machine off and on, its network comes late", self.boot, "marked", True)
        self.same_ids(arrivals)
        self.step("apt remove", self.apt("remove pppoeia"), "released", True)
        self.step("apt install again", self.install_again, "begins", True)
        self.step("apt purge",
                  self.apt("purge pppoeia libpppoeia0 libpppoeia-dev"), "released", True)
        self.step("nothing is left", self.left_behind, "plain", True)
        for traffic in self.traffic:
            traffic.stop()
        return self.failed

    def same_ids(self, arrivals):
        seen = arrivals.circuit_ids.get(SOURCES["sub1"])
        if seen != CUSTOM:
            self.failed += 1
            print(f"the Circuit ID that was set is gone: {seen}", flush=True)


def row(*cells):
    print("  ".join(str(cell).ljust(width) if index == 0 else str(cell).rjust(width)
                    for index, (cell, width) in enumerate(zip(cells, WIDTHS))), flush=True)


def main():
    if not isolation.inside():
        lacking = isolation.missing()
        if lacking:
            sys.exit(f"packages: needs {', '.join(lacking)}")
        sys.exit(isolation.isolated(["-m", "lab.packages", *sys.argv[1:]]))
    with DebianLab() as lab:
        lab.start_server()
        with Debian(sys.argv[1]) as debian:
            failed = Tour(lab, debian).go()
    print(f"packages: {'passed' if failed == 0 else f'{failed} steps FAILED'}")
    sys.exit(failed != 0)


if __name__ == "__main__":
    main()
