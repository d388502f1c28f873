"""One client through the agent, step by step. Run by scripts/demo."""

import shlex
import sys
import time

from lab import decode, frames, isolation, netns, node
from lab.agent import counters, missing_programs
from lab.processes import WaitFailed
from lab.topology import ACCESS_CONCENTRATOR, Lab

PICTURE = """
  sub1 ----+                            sub1, sub2: subscribers
           +---- br0 (node) ---- bng    br0: the node's bridge, with the agent
  sub2 ----+                            bng: pppoe-server
"""


class Wrong(Exception):
    pass


def expect(holds, what):
    if not holds:
        raise Wrong(what)


def section(title):
    print(f"\n== {title} " + "=" * (70 - len(title)), flush=True)


def say(text, indent=2):
    for line in text.strip("\n").splitlines():
        print((" " * indent + line).rstrip(), flush=True)


def show(title, lab, wire, code):
    """Prints tshark's reading of the one frame with this code; the frame."""
    wire.waiting()
    found = [frame for frame in map(frames.parse, wire.recorded()) if frame.code == code]
    expect(len(found) == 1, f"{title}: {len(found)} frames, not one")
    capture = wire.save(lab.folder / f"{wire.name}.pcap")
    section(title)
    for lines in decode.discovery(capture, f"pppoe.code == {code}"):
        say("\n".join(lines))
    return found[0]


# Shelf and line, the VLAN in four digits, and the client's address with its bytes apart.
CUSTOM_FORMAT = "$SHELF $INTF:$z4VLAN $d-CLNT_MAC"
CUSTOM_ID = b"shelf1 1/1/1:0000 02-00-00-00-01-01"


def control(lab, *words):
    """Runs pppoeiactl and shows what it says; it must succeed."""
    say("$ pppoeiactl " + " ".join(shlex.quote(word) for word in words))
    status, said = lab.control(*words)
    say(said)
    expect(status == 0, f"pppoeiactl {' '.join(words)} ended with status {status}")


def show_last_mark(wire):
    """The Circuit ID of the newest PADI at the server."""
    wire.waiting()
    padis = [frame for frame in map(frames.parse, wire.recorded()) if frame.code == frames.PADI]
    circuit_id = padis[-1].marks[0][frames.CIRCUIT_ID]
    say(f"Circuit ID: {circuit_id.decode()}")
    expect(circuit_id == CUSTOM_ID, f"the Circuit ID is not {CUSTOM_ID.decode()}")


def demonstrate(lab):
    section("The lab")
    say(PICTURE, 0)
    lab.start_server()

    section("The node's two processes")
    begin = time.monotonic()
    lab.start_engine()
    say(f"pppoeia-fe (process {lab.engine.pid}) and pppoeia-mgmt (process {lab.management.pid}) "
        f"ready after {time.monotonic() - begin:.2f} s")
    control(lab, "show", "ports")

    section("The client looks for a concentrator")
    client, server = lab.wire("sub1", outgoing=True), lab.wire("bng", outgoing=True)
    say("$ pppoe-discovery -I wan")
    status, said = lab.discover("sub1")
    say(said)
    expect(status == 0 and ACCESS_CONCENTRATOR in said, "the client found no concentrator")

    sent = show("PADI, as the client sent it", lab, client, frames.PADI)
    expect(not sent.marks, "the client's own PADI holds a Vendor-Specific tag")
    received = show("PADI, as the server received it", lab, server, frames.PADI)
    expect([mark.get(frames.CIRCUIT_ID) for mark in received.marks]
           == [node.circuit_id("sub1").encode()], "the PADI was not marked with its Circuit ID")
    expect(received.marks[0].get(frames.REMOTE_ID) == node.PORTS["sub1"]["remote_id"].encode(),
           "the PADI was not marked with its Remote ID")

    show("PADO, as the server sent it", lab, server, frames.PADO)
    offer = show("PADO, as the client received it", lab, client, frames.PADO)
    expect(not offer.marks, "the PADO still holds a Vendor-Specific tag")

    section("Another Circuit ID, while the client goes on")
    control(lab, "set", "cid-format", CUSTOM_FORMAT)
    control(lab, "set", "cid-mode", "1", "custom")
    status, _ = lab.discover("sub1")
    expect(status == 0, "the client found no concentrator")
    show_last_mark(server)

    section("Counters")
    control(lab, "stats")
    counted = counters(lab)
    expect(min(counted["padi"], counted["pado"]) >= 2, "both discoveries were not counted")

    section("Both stop")
    status, seconds = lab.stop_engine()
    say(f"status {status} after {seconds:.2f} s")
    expect(status == 0, f"the engine ended with status {status}:\n{lab.engine.output()}")


def main():
    if not isolation.inside():
        lacking = isolation.missing() + missing_programs()
        if lacking:
            sys.exit(f"demo: failed: needs {', '.join(lacking)}")
        sys.exit(isolation.isolated(["-m", "lab.demo"]))
    before = netns.device_state()
    try:
        with Lab() as lab:
            demonstrate(lab)
        expect(netns.device_state() == before, "devices or filters were left behind")
    except (Wrong, WaitFailed, netns.CommandFailed) as failure:
        print()
        sys.exit(f"demo: failed: {failure}")
    print("\ndemo: passed")


if __name__ == "__main__":
    main()
