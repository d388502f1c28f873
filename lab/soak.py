"""Frames of every kind, millions of them, at the rate at which they come out.

`python3 -m lab.soak [--frames N | --seconds S]` sends them from all sides of the
node, compares every byte that comes out, and draws up the account: what went
in came out, or was dropped or held for a reason that is counted; every counter
is the same at the engine, over remote calls and in the metrics; memory and
descriptors are after the last frame what they were after the first part (the
first million, or the first tenth). Ends with 1 and the differences by name.
"""

import argparse
import json
import os
import re
import subprocess
import sys
from collections import Counter
from contextlib import suppress

from lab import fire_frames, isolation, netns, testing
from lab.agent import missing_programs
from lab.processes import WaitFailed, wait_until
from lab.topology import Lab, tool

KINDS = ("padi", "padr", "pado", "pads", "padt", "dropped", "unknown", "truncated", "bypassed")
FIRST = 1_000_000
# Of memory: what the questions themselves may leave behind. Over the other nine
# million frames a byte in 140 frames is more.
SLACK_KIB = 64
# What the kernel's side counts, in its order.
KERNEL = ("handed", "sent", "spread", "no port", "held", "too many tags", "foreign tag", "too long",
          "at home", "no room", "bad record", "stale", "no output", "unmarked")


def start(lab):
    """The node, with a port that is disabled and one that nobody described."""
    for device, mac, node_device in fire_frames.MORE_DEVICES:
        lab.add_peer_device("sub2", device, mac, node_device)
    lab.start_engine(fire_frames.description())


class Account:
    """What a number of each frame has to have become."""

    def __init__(self, frames):
        self.frames = frames
        self.sent = Counter()
        self.out = Counter()
        self.problems = []
        self.seconds = 0.0

    def add(self, report):
        """What frame_fire said."""
        for line in report.splitlines():
            word, _, rest = line.partition(" ")
            if word == "wrong":
                self.problems.append(rest)
            elif word == "seconds":
                self.seconds += float(rest)
            elif word in ("sent", "out"):
                *key, count = map(int, rest.split())
                (self.sent if word == "sent" else self.out)[tuple(key)] += count

    def total(self, of):
        return sum(of(frame) * self.sent[number,] for number, frame in enumerate(self.frames))

    def kernel(self):
        return {name: self.total(lambda frame, name=name: frame.kernel.get(name, 0))
                for name in KERNEL}

    def counters(self, port=None):
        """The agent's, of the bridge or of a port; as counted, they wrap."""
        return {kind: self.total(lambda frame, kind=kind: frame.counter == kind and
                                 port in (None, frame.port)) % (1 << 32) for kind in KINDS}

    def expect_out(self):
        """Every frame came out where it should, as often as it was sent."""
        for number, frame in enumerate(self.frames):
            for peer, _ in frame.outs:
                self.expect(f"{frame.name}: out at {fire_frames.PEERS[peer][1]}",
                            self.out[number, peer], self.sent[number,])

    def expect(self, what, found, wanted):
        if found != wanted:
            self.problems.append(f"{what}: {found}, not {wanted}")


# --- what the node says ------------------------------------------------------------------------

def counted_by_kernel(engine):
    """Discovery frames by what became of them, of the maps that this engine holds."""
    folder = f"/proc/{engine}/fdinfo"
    maps = set()
    for name in os.listdir(folder):
        # A connection's may be closed meanwhile; the maps' are not.
        with suppress(FileNotFoundError), open(f"{folder}/{name}", encoding="ascii") as info:
            maps.update(re.findall(r"^map_id:\s+(\d+)$", info.read(), re.M))
    for number in maps:
        if json.loads(netns.run("bpftool", "-j", "map", "show", "id", number))["name"] != "outcomes":
            continue
        rows = json.loads(netns.run("bpftool", "-j", "map", "dump", "id", number))
        return {name: sum(_number(one["value"]) for one in row["values"])
                for name, row in zip(KERNEL, rows)}
    raise netns.CommandFailed("the engine holds no map of outcomes")


def _number(little_endian):
    return int.from_bytes(bytes(int(byte, 16) for byte in little_endian), "little")


def counted_by_engine(ports):
    """{port: counters}, 0 the bridge; asked of the engine itself."""
    said = subprocess.run([tool("engine_call"), "stats", "0", *map(str, ports)],
                          check=True, capture_output=True, text=True, timeout=30).stdout
    rows = [list(map(int, line.split())) for line in said.splitlines()]
    return {row[0]: dict(zip(KINDS, row[1:])) for row in rows}


def counted_over_calls(lab):
    status, said = lab.control("stats", "--all", "--json")
    if status != 0:
        raise netns.CommandFailed(said)
    return {row["port"] or 0: {kind: row[kind] for kind in KINDS}
            for row in json.loads(said)["counters"]}


def counted_in_metrics(lab):
    status, said = lab.control("metrics")
    if status != 0:
        raise netns.CommandFailed(said)
    counted = {}
    for scope, labels, count in re.findall(r"^pppoeia_(bridge|port)_frames_total{(.*)} (\d+)$",
                                           said, re.M):
        of = dict(re.findall(r'(\w+)="([^"]*)"', labels))
        counted.setdefault(int(of["port"]) if scope == "port" else 0, {})[of["kind"]] = int(count)
    return counted


def resources(lab):
    """{process: {resource: number}}: memory of its own in KiB, open descriptors."""
    used = {}
    for process in (lab.engine, lab.management):
        with open(f"/proc/{process.pid}/status", encoding="ascii") as lines:
            fields = dict(line.split(":", 1) for line in lines)
        used[process.name] = {"KiB resident": int(fields["VmRSS"].split()[0]),
                              "KiB of its own": int(fields["RssAnon"].split()[0]),
                              "descriptors": len(os.listdir(f"/proc/{process.pid}/fd"))}
    return used


# --- the account --------------------------------------------------------------------------------

def check(lab, account, before, kernel_before):
    """Compares all that the node counted with what has to be."""
    account.expect_out()
    ports = fire_frames.PORTS
    wanted = {port: {kind: before[port][kind] + count for kind, count in counted.items()}
              for port, counted in ((port, account.counters(*([port] if port else [])))
                                    for port in before)}
    # What is dropped leaves no trace by which to wait for it.
    try:
        wait_until(lambda: counted_by_engine(ports) == wanted, "the engine's counters", 3)
    except WaitFailed:
        pass
    for source, counted in (("engine", counted_by_engine(ports)),
                            ("remote calls", counted_over_calls(lab)),
                            ("metrics", counted_in_metrics(lab))):
        for port, counters in wanted.items():
            for kind in KINDS:
                account.expect(f"{source}: {kind} of {f'port {port}' if port else 'the bridge'}",
                               counted.get(port, {}).get(kind), counters[kind])
    kernel = counted_by_kernel(lab.engine.pid)
    for name, count in account.kernel().items():
        account.expect(f"kernel: {name}", kernel[name] - kernel_before[name], count)


def print_account(account):
    sent = account.total(lambda frame: 1)
    print(f"{sent} frames in {account.seconds:.1f} s, {sent / account.seconds:.0f} a second")
    for reason in fire_frames.REASONS:
        count = account.total(lambda frame, reason=reason: frame.reason == reason)
        print(f"  {count:10} {reason}")
    came = sum(account.out.values())
    print(f"  {came:10} frames came out, every byte as expected" if not account.problems else
          f"  {came:10} frames came out")


def compare_resources(account, first, last, memory):
    for process, used in last.items():
        for what, number in used.items():
            before = first[process][what]
            print(f"  {process}: {number} {what}, {before} at first")
            slack = SLACK_KIB if what.startswith("KiB") else 0
            if slack and not memory:
                continue
            if abs(number - before) > slack:
                account.problems.append(f"{process}: {number} {what}, {before} at first")


def fire(lab, account, unit, number):
    plan = lab.folder / "plan"
    plan.write_text(fire_frames.plan(account.frames), encoding="ascii")
    done = subprocess.run([tool("frame_fire"), plan, unit, str(number)], check=False,
                          capture_output=True, text=True)
    account.add(done.stdout)
    if done.returncode != 0 and not account.problems:
        account.problems.append(f"frame_fire: {done.stderr.strip()}")


def teach(lab, account):
    """Each frame once, unchecked: an answer finds its line once the line's request has
    passed the engine, and here both are sent at once."""
    plan = lab.folder / "plan"
    plan.write_text(fire_frames.plan(account.frames), encoding="ascii")
    subprocess.run([tool("frame_fire"), plan, "frames", str(len(account.frames))],
                   check=False, capture_output=True)
    counted = [counted_by_kernel(lab.engine.pid)]

    def settled():
        counted.append(counted_by_kernel(lab.engine.pid))
        return counted[-1] == counted[-2]

    wait_until(settled, "the frames that are dropped")


def soak(unit, number, memory=True):
    """The status to end with. Without `memory` it may grow, as a sanitizer lets it."""
    with Lab() as lab:
        start(lab)
        account = Account(fire_frames.all_frames())
        teach(lab, account)
        before = counted_by_engine(fire_frames.PORTS)
        kernel_before = counted_by_kernel(lab.engine.pid)
        part = min(FIRST, number // 2) if unit == "frames" else max(1, number // 10)
        fire(lab, account, unit, part)
        check(lab, account, before, kernel_before)
        first = resources(lab)
        if not account.problems:
            fire(lab, account, unit, number - part)
            check(lab, account, before, kernel_before)
        print_account(account)
        compare_resources(account, first, resources(lab), memory)
    for problem in account.problems[:20]:
        print(f"WRONG: {problem}")
    return 1 if account.problems else 0


def main():
    parser = argparse.ArgumentParser(prog="scripts/soak", description="millions of frames")
    amount = parser.add_mutually_exclusive_group()
    amount.add_argument("--frames", type=int, default=10_000_000)
    amount.add_argument("--seconds", type=int)
    parser.add_argument("--sanitized", action="store_true", help="memory may grow")
    asked = parser.parse_args()
    if not isolation.inside():
        testing.need(isolation.missing(("bpftool",)) + missing_programs())
        sys.exit(isolation.isolated(["-m", "lab.soak", *sys.argv[1:]]))
    amount = ("seconds", asked.seconds) if asked.seconds else ("frames", asked.frames)
    sys.exit(soak(*amount, memory=not asked.sanitized))


if __name__ == "__main__":
    main()
