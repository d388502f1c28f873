"""Many lines discover at once, and addresses that nobody has.

Half of the lines share one port, each in a customer VLAN of its own; the others
are spread over more ports. While they discover, an operator changes formats and
reads statistics. PPPOEIA_LINES says how many lines there are. The latency that
the node adds to the bare bridge's is printed.
"""

import itertools
import json
import os
import random
import subprocess
import threading

from lab import frames, node, testing
from lab.processes import wait_until
from lab.topology import mac_of, tool

LINES = int(os.environ.get("PPPOEIA_LINES", "200"))
MORE_PORTS = 16
LIMITED = {"line_rate": 20, "port_rate": 1000}  # the usual ones: honest lines do not meet them
FORMATS = {"A": "A $PORT_REM_ID $VLAN.$CVID $CLNT_MAC",
           "B": "B $d-CLNT_MAC $CVID/$VLAN $PORT_REM_ID"}
MADE_UP = 80_000  # more addresses than the table of those learnt has room for


def more_ports():
    """(device in the namespace, device of the node, id) of each."""
    return [(f"c{number}", f"s{number}", 10 + number) for number in range(1, MORE_PORTS + 1)]


def description():
    text = node.description(bridge={"ports": 64, **LIMITED})
    for _, device, number in more_ports():
        values = {"device": device, "id": number, "name": f"2/1/{number}", "type": "access",
                  "role": "client", "trust": "untrusted", "remote_id": f"line-{number:04}"}
        text += "[[interface]]\n" + "".join(f"{key} = {json.dumps(value)}\n"
                                            for key, value in values.items())
    return text


class Line:
    def __init__(self, number):
        if number % 2 == 0:  # on the port of many; the customer VLAN tells them apart
            self.device, remote = "wan", "line-0001"
            vlan, customer = 100, number // 2 % 4094 + 1
        else:
            self.device, _, port = more_ports()[number // 2 % MORE_PORTS]
            remote, vlan, customer = f"line-{port:04}", 200, 7
        self.vlans = ((0x88A8, vlan), (0x8100, customer))
        # The first two of the port of many have the same address.
        self.mac = (0x02AA00000000 + (0 if number == 2 else number)).to_bytes(6, "big")
        mac = self.mac.hex(":").upper()
        self.ids = [frames.vendor_tag(circuit_id.encode(), remote.encode()) for circuit_id in (
            f"A {remote} {vlan}.{customer} {mac}",
            f"B {mac.replace(':', '-')} {customer}/{vlan} {remote}")]

    def plan(self):
        tags = " ".join(f"{kind:04x}{vlan:04x}" for kind, vlan in self.vlans)
        return f"line {self.device} {self.mac.hex()} {tags}"


class Operator:
    """Changes the format and reads counters, ten times a second, until stopped."""

    def __init__(self, test):
        self.test, self.changes, self.failures = test, 0, []
        self._stop = threading.Event()
        self._thread = threading.Thread(target=self._run, daemon=True)
        self._thread.start()

    def _run(self):
        for form in itertools.cycle(FORMATS.values()):
            if self._stop.is_set():
                return
            for words in (("set", "cid-format", form), ("stats", "--all")):
                status, said = self.test.lab.control(*words)
                if status != 0:
                    self.failures.append(said)
            self.changes += 1
            self._stop.wait(0.1)

    def stop(self):
        self._stop.set()
        self._thread.join()


class Storm(testing.LabTest):
    def storm(self, lines):
        """What storm_lines said: single numbers by name, and the IDs of each line."""
        plan = self.lab.folder / "plan"
        plan.write_text("\n".join(["server bng net", "clients sub1", *(x.plan() for x in lines)]),
                        encoding="ascii")
        done = subprocess.run([tool("storm_lines"), plan], check=False, capture_output=True,
                              text=True, timeout=60)
        self.assertEqual(done.returncode, 0, done.stderr)
        numbers, ids = {}, {}
        for line in done.stdout.splitlines():
            word, *rest = line.split()
            if word == "ids":
                tags = bytes.fromhex(rest[2]) if len(rest) > 2 else b""
                ids.setdefault(int(rest[0]), []).append(tags)
            else:
                numbers.setdefault(word, []).extend(map(float, rest))
        return numbers, ids

    def test_all_lines_at_once(self):
        for number, (device, node_device, port) in enumerate(more_ports()):
            self.lab.add_peer_device("sub1", device, f"02:00:00:01:00:{number:02x}", node_device)
        lines = [Line(number) for number in range(LINES)]
        bare, _ = self.storm(lines)
        self.lab.start_engine(description())
        self.control("set", "cid-format", FORMATS["A"])
        for port in (1, *(port for _, _, port in more_ports())):
            self.control("set", "cid-mode", port, "custom")
        # As many calls as an operator makes in a year, from ports that only root can
        # use: none of them lingers.
        with open("/proc/sys/net/ipv4/tcp_max_tw_buckets", "w", encoding="ascii") as limit:
            limit.write("0")
        operator = Operator(self)
        said, ids = self.storm(lines)
        operator.stop()

        self.assertEqual(operator.failures, [])
        self.assertGreaterEqual(operator.changes, len(FORMATS))
        wrong = {number: tags for number, seen in ids.items() for tags in seen
                 if tags not in lines[number].ids}
        self.assertEqual(list(wrong.items())[:3], [], f"{len(wrong)} lines with a wrong ID")
        for form, name in enumerate(FORMATS):
            self.assertTrue(any(lines[n].ids[form] in seen for n, seen in ids.items()),
                            f"no line had format {name} of {operator.changes} changes: {said}")
        self.assertEqual(said["kept"], [0])
        self.assertEqual(said["served"], [LINES])
        self.assertEqual(said["answered"], said["rounds"])
        print(f"{LINES} lines, {said['answered'][0]:.0f} discoveries answered, "
              f"{operator.changes} changes of format; answers also at other lines' devices: "
              f"{said['elsewhere'][0]:.0f}")
        for at, how in ((0, "all at once"), (3, "one by one")):
            for name, latency in (("bare bridge", bare["latency"]), ("node", said["latency"])):
                half, most, worst = latency[at:at + 3]
                print(f"  {how}, {name}: p50 {half} us, p99 {most} us, longest {worst} us")
            added = said["latency"][at + 1] - bare["latency"][at + 1]
            print(f"  {how}: the node adds {added:.1f} us at p99", flush=True)

    def test_made_up_addresses_push_no_line_out(self):
        self.lab.start_engine(node.description())
        server = self.lab.wire("bng")
        subscribers = {peer: self.lab.wire(peer) for peer in ("sub1", "sub2")}
        known = {"sub1": mac_of("sub1"), "sub2": mac_of("sub2")}

        def padi(peer, mac, number=0):
            subscribers[peer].send(frames.discovery(
                frames.BROADCAST, mac, frames.PADI,
                frames.tag(frames.HOST_UNIQ, number.to_bytes(4, "big"))))

        def offer(peer, number):
            """Sends one to a line; it must come to its own device alone."""
            mark = number.to_bytes(4, "big")
            server.send(frames.discovery(known[peer], mac_of("bng"), frames.PADO,
                                         frames.tag(frames.HOST_UNIQ, mark)))
            subscribers[peer].wait(lambda f: f.host_uniq == mark, f"offer {number} at {peer}")
            strange = [f for other, wire in subscribers.items() if other != peer
                       for f in wire.waiting() if f.code == frames.PADO]
            self.assertEqual(strange, [], f"offer {number} for {peer} came elsewhere")

        for peer, mac in known.items():
            padi(peer, mac)
            server.wait(lambda f, mac=mac: f.source == mac, f"the PADI of {peer}")
        chance = random.Random(1)
        for number in range(MADE_UP):
            # The storm is on the port of sub2, whose own line goes on as well.
            padi("sub2", b"\x02\xbb" + chance.randbytes(4), number)
            if number % 1000 == 999:
                mark = number.to_bytes(4, "big")
                server.wait(lambda f, mark=mark: f.host_uniq == mark, f"PADI {number}", 10)
                server.heard.clear()
            if number % 10_000 == 9_999:
                for peer in known:
                    offer(peer, number)
        # A new line on the stormy port is learnt when its turn comes.
        known["sub2"] = frames.mac("02:00:00:00:02:99")

        def learnt():
            padi("sub2", known["sub2"])
            try:
                offer("sub2", MADE_UP)
                return True
            except AssertionError:
                return False

        wait_until(learnt, "the new line to be learnt", 5)


if __name__ == "__main__":
    testing.main()
