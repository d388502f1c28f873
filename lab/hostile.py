"""A local user without any privilege, who does to the node's remote calls what he can.

    hostile.py SECONDS    started by root, whom it stops being before it does anything

Ends with 0 after that time; each of the ways below goes on until then, whatever the
other side does.
"""

import contextlib
import os
import socket
import struct
import subprocess
import sys
import threading
import time

from lab.remote_calls import LAST_FRAGMENT, PORT_MAPPER, marked, packed, port_of, request

PROGRAM, NODE = 0x20000011, 0x20000012
NOBODY = 65534
READS = ((PROGRAM, 10), (PROGRAM, 11), (PROGRAM, 13), (NODE, 3), (NODE, 5), (NODE, 8))
CHANGES = ((PROGRAM, 1), (PROGRAM, 3), (PROGRAM, 21), (NODE, 12), (NODE, 13))
END = time.monotonic() + float(sys.argv[1])
TCP, UDP = "tcp", "udp"


def connection(program=PROGRAM):
    made = socket.socket(socket.AF_INET, socket.SOCK_STREAM)
    made.settimeout(1)
    made.connect(("127.0.0.1", PORTS[program, TCP]))
    made.setblocking(False)
    return made


def lying_marks():
    """A length, and then nothing, little, or a byte at a time in fragments of one."""
    held = []
    for mark in (65537, 131072, *(LAST_FRAGMENT | size for size in (65537, 131072, 131073)),
                 0xFFFFFFFF, 0, 1):
        held.append(connection())
        held[-1].send(packed(mark))
    for one in held:
        for _ in range(200):
            with contextlib.suppress(OSError):
                one.send(packed(1) + b"x")
    for one in held:
        one.close()


def idle():
    """More connections than a process may have descriptors."""
    held = []
    with contextlib.suppress(OSError):
        for _ in range(1010):
            held.append(connection())
    for one in held:
        one.close()


def refused():
    for number in range(200):
        program, procedure = CHANGES[number % len(CHANGES)]
        call = request(program, procedure, packed(1, 100, 0, 0))
        with socket.socket(socket.AF_INET, socket.SOCK_DGRAM) as caller:
            caller.sendto(call, ("127.0.0.1", PORTS[program, UDP]))
        with connection(program) as caller, contextlib.suppress(OSError):
            caller.send(marked(call))


def cut():
    """Datagrams cut at every byte."""
    call = request(PROGRAM, 8, packed(1, "another-line"))
    with socket.socket(socket.AF_INET, socket.SOCK_DGRAM) as caller:
        for end in range(len(call)):
            caller.sendto(call[:end], ("127.0.0.1", PORTS[PROGRAM, UDP]))


def gone():
    """Calls whose caller has gone when they are answered, or takes no reply."""
    for program, procedure in READS:
        for way in (None, socket.SHUT_RD, socket.SHUT_RDWR):
            with contextlib.suppress(OSError), connection(program) as caller:
                caller.send(marked(request(program, procedure)) * 20)
                if way is None:
                    caller.setsockopt(socket.SOL_SOCKET, socket.SO_LINGER, struct.pack("ii", 1, 0))
                else:
                    caller.shutdown(way)
    HELD.append(connection(NODE))
    with contextlib.suppress(OSError):
        HELD[-1].send(marked(request(NODE, 5)) * 1000)
    if len(HELD) > 20:
        HELD.pop(0).close()


def flood():
    """Questions that cost the most, as fast as they are taken."""
    for program, procedure in READS:
        with socket.socket(socket.AF_INET, socket.SOCK_DGRAM) as caller:
            for _ in range(50):
                caller.sendto(request(program, procedure), ("127.0.0.1", PORTS[program, UDP]))


def register():
    """The node's numbers for himself, and away with the node's own."""
    for words_ in (["-d", str(PROGRAM), "1"], ["-d", str(NODE), "1"]):
        subprocess.run(["rpcinfo", *words_], stdout=subprocess.DEVNULL,
                       stderr=subprocess.DEVNULL, check=False)
    for program in (PROGRAM, NODE):
        with socket.socket(socket.AF_UNIX, socket.SOCK_STREAM) as mapper:
            mapper.settimeout(1)
            mapper.connect("/run/rpcbind.sock")
            his = packed(program, 1, "tcp", "127.0.0.1.4.1", "\x1b[31mroot")
            mapper.send(marked(request(PORT_MAPPER, 1, his, version=3)))
            mapper.recv(100)


def names():
    """Abstract names that somebody may want, and the paths of the node's own sockets."""
    for name in ("pppoeia-kernel", "pppoeia-fe", "pppoeia-mgmt", "pppoeia", "mgmt.sock"):
        with contextlib.suppress(OSError):
            HELD_NAMES.append(socket.socket(socket.AF_UNIX, socket.SOCK_STREAM))
            HELD_NAMES[-1].bind("\0" + name)
            HELD_NAMES[-1].listen()
    for path in ("/run/pppoeia/mgmt.sock", "/run/pppoeia_mgmt", "/run/pppoeia_fe_main"):
        with contextlib.suppress(OSError), socket.socket(socket.AF_UNIX) as caller:
            caller.connect(path)
        with contextlib.suppress(OSError):
            os.unlink(path)
    time.sleep(0.1)  # once is enough; there is nothing to wait for


def forever(way):
    while time.monotonic() < END:
        with contextlib.suppress(OSError):
            way()
            COUNTS[way.__name__] += 1


HELD, HELD_NAMES = [], []
WAYS = (lying_marks, idle, refused, cut, gone, flood, register, names)
COUNTS = {way.__name__: 0 for way in WAYS}
if __name__ == "__main__":
    os.nice(19)  # his share of the processors is the machine's matter, not the node's
    os.setgroups([])
    os.setresgid(NOBODY, NOBODY, NOBODY)
    os.setresuid(NOBODY, NOBODY, NOBODY)
    PORTS = {(program, protocol): port_of(program, protocol)
             for program in (PROGRAM, NODE) for protocol in (TCP, UDP)}
    threads = [threading.Thread(target=forever, args=[way]) for way in WAYS]
    for thread in threads:
        thread.start()
    for thread in threads:
        thread.join()
    print(COUNTS, flush=True)
