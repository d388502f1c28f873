"""What managing a large node costs: reading, configuring, showing it, and memory.

    python3 -m bench.management     rows for scripts/bench; needs root and a lab

The interfaces are ONUs behind one OLT port: they need no devices of their own.
Times are of the wall, the lowest, the median and the highest of five.
"""

import os
import statistics
import subprocess
import sys
import time

from lab import isolation, node
from lab.agent import missing_programs
from lab.topology import Lab, programs

REPETITIONS = 5
FIRST = 100


def description(interfaces):
    text = node.description({"ports": FIRST + interfaces + 1})
    text += f'[[interface]]\nid = {FIRST - 1}\nname = "1/9"\ndevice = "olt9"\ntype = "olt"\n'
    for port in range(FIRST, FIRST + interfaces):
        text += (f'[[interface]]\nid = {port}\nname = "1/9/{port}"\ndevice = "onu{port}"\ntype = "onu"\n'
                 f'parent = {FIRST - 1}\nonu = {port}\nremote_id = "line-{port}"\n')
    return text


def row(what, unit, values, target=None):
    middle = statistics.median(values)
    met = "-\t-" if target is None else f"<= {target:g}\t{'met' if middle <= target else 'NOT MET'}"
    print(f"{what}\t{unit}\t{middle:.3g}\t{min(values):.3g}\t{max(values):.3g}\t{met}", flush=True)


def timed(action):
    start = time.monotonic()
    action()
    return time.monotonic() - start


def resident(process):
    """Bytes of memory that the process alone has."""
    with open(f"/proc/{process.pid}/smaps_rollup", encoding="ascii") as lines:
        return sum(int(line.split()[1]) * 1024 for line in lines if line.startswith("Private_"))


def wakeups(process, seconds=2.0):
    """Voluntary switches a second of the thread that switches most."""
    def switches():
        counts = {}
        for thread in os.listdir(f"/proc/{process.pid}/task"):
            with open(f"/proc/{process.pid}/task/{thread}/status", encoding="ascii") as lines:
                counts[thread] = int(next(line for line in lines
                                          if line.startswith("voluntary")).split()[1])
        return counts
    before = switches()
    time.sleep(seconds)  # what is measured is a rate
    return max(after - before.get(thread, 0) for thread, after in switches().items()) / seconds


def measure_size(interfaces, act):
    """Runs `act` on a lab whose node has that many interfaces."""
    with Lab() as lab:
        lab.start_engine(description(interfaces), seconds=60)
        return act(lab)


def show(lab):
    tool = [programs() / "pppoeiactl", "show", "ports"]
    version = [programs() / "pppoeiactl", "--version"]
    times = []
    for _ in range(REPETITIONS):
        start = timed(lambda: subprocess.run(version, capture_output=True, check=False))
        whole = timed(lambda: subprocess.run(tool, capture_output=True, check=True))
        times.append(1000 * (whole - start))
    return times


def start_management(lab):
    lab.management.stop()
    lab.engine.stop()
    return timed(lambda: lab.start_engine(description(4000), seconds=60))


def main():
    row("show of 1,000 ports, call to printed", "ms", measure_size(1000, show), 20)
    row("4,000 interfaces read, checked, applied", "s",
        [measure_size(4000, start_management) for _ in range(REPETITIONS)], 2)
    few, many = (measure_size(count, lambda lab: resident(lab.engine)) for count in (100, 4000))
    row("the engine's memory for a port", "bytes", [(many - few) / 3900])
    row("wakes of an idle bridge's worker", "1/s",
        [measure_size(1, lambda lab: wakeups(lab.engine))], 100)


if __name__ == "__main__":
    if not isolation.inside():
        lacking = isolation.missing() + missing_programs()
        if lacking:
            print(f"management\tskipped: needs {', '.join(lacking)}\t-\t-\t-\t-\t-")
            sys.exit(0)
        sys.exit(isolation.isolated(["-m", "bench.management"]))
    main()
