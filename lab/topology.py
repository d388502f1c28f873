"""The lab: two subscribers, a node with the engine, a BNG.

    sub1 [wan]----[sub1]--+
                          |  node
                         br0 ------[net0]----[net] bng
                          |  mng0
    sub2 [wan]----[sub2]--+

sub1, sub2 and bng are namespaces; the node is the namespace of the caller.
"""

import contextlib
import os
import signal
import socket
import time
from pathlib import Path

from lab import confined, frames, netns, node
from lab.processes import Notifications, Process, wait_until
from lab.wire import Wire

REPOSITORY = Path(__file__).resolve().parent.parent

SUBSCRIBERS = ("sub1", "sub2")
BNG = "bng"
ACCESS_CONCENTRATOR = "BNG-1"
SERVICE = "internet"
MNG = "mng0"
PROGRAM = 536870929  # the agent's, of remote calls

# The device inside each namespace, its address there, and the node's end.
PEERS = {
    "sub1": ("wan", "02:00:00:00:01:01", "sub1"),
    "sub2": ("wan", "02:00:00:00:02:01", "sub2"),
    BNG: ("net", "02:00:00:00:99:01", "net0"),
}
IDLE = 99  # the group of devices that nothing is connected to
MNG_MAC = "02:00:00:00:00:fe"


def mac_of(peer):
    return frames.mac(PEERS[peer][1])


def programs():
    """The folder of the programs under test: of the preset that was built."""
    preset = os.environ.get("PPPOEIA_PRESET", "dev")
    return Path(os.environ.get("PPPOEIA_PROGRAMS", REPOSITORY / "build" / preset / "programs"))


def tool(name):
    """One of lab/tools, of the same preset."""
    return programs().parent / "lab" / "tools" / name


def _sanitized():
    try:
        with open(programs() / "pppoeia-fe", "rb") as engine:
            return b"__asan_init" in engine.read()
    except FileNotFoundError:
        return False


SANITIZED = _sanitized()


class Lab:
    """Brought up by `with`; what it started or made is gone after it.

    The services run as their systemd units have it. `unconfined` says, in words, why they
    are to run as root instead."""

    def __init__(self, unconfined="", bridge=node.BRIDGE):
        self.bridge = bridge
        self.unconfined = unconfined or (
            "a sanitizer does what the units forbid" if SANITIZED else "")
        self.user = 0 if self.unconfined else confined.USER
        self.folder = Path("/run/lab")
        self._prepared = False
        self._undo = []  # what to call, last first
        self._starts = 0
        self._management_news = None
        self.engine = None
        self.management = None
        self.server = None
        self.mapper = None

    def __enter__(self):
        try:
            self._up()
        except BaseException:
            self.__exit__()
            raise
        return self

    def __exit__(self, *_):
        failure = None
        while self._undo:
            try:
                self._undo.pop()()
            except Exception as error:  # go on: the rest has to go too
                failure = failure or error
        if failure:
            raise failure

    def _up(self):
        self.folder.mkdir()
        self._undo.append(self._remove_folder)
        netns.quiet()
        self._device(["add", self.bridge, "type", "bridge", "forward_delay", 0,
                      "mcast_snooping", 0], self.bridge)
        # A management interface of its own: any real device with an address does.
        self._device(["add", MNG, "address", MNG_MAC, "type", "bridge"], MNG)
        netns.run("ip", "address", "add", "192.0.2.1/24", "dev", MNG)
        for device in (self.bridge, MNG):
            netns.run("ip", "link", "set", device, "up")
        for peer, (device, mac, node_device) in PEERS.items():
            netns.run("ip", "netns", "add", peer)
            self._undo.append(lambda name=peer: self._remove_namespace(name))
            netns.quiet(peer)
            self.add_peer_device(peer, device, mac, node_device)
            self._undo.append(lambda name=node_device: netns.run("ip", "link", "del", name))
        self.start_port_mapper()
        wait_until(lambda: "state UP" in netns.run("ip", "link", "show", "dev", self.bridge),
                   f"{self.bridge} to be up")

    def add_peer_device(self, peer, device, mac, node_device):
        """A peer's device, the other end in the bridge."""
        netns.run("ip", "link", "add", node_device, "type", "veth", "peer", "name", device,
                  "address", mac, "netns", peer)
        netns.run("ip", "link", "set", node_device, "master", self.bridge, "up")
        netns.run("ip", "link", "set", device, "up", namespace=peer)
        self._wait_forwarding(node_device)

    def add_idle_devices(self, names):
        """Devices that nothing is connected to, an even number."""
        pairs = list(zip(names[::2], names[1::2]))
        if not pairs:
            return
        self._batch(f"link add {one} group {IDLE} type veth peer name {two}" for one, two in pairs)
        # One by one they would take the kernel half a minute.
        self._undo.append(lambda: netns.run("ip", "link", "del", "group", IDLE))

    def _batch(self, commands):
        batch = self.folder / "batch"
        batch.write_text("\n".join(commands), encoding="ascii")
        netns.run("ip", "-batch", batch)

    @staticmethod
    def _wait_forwarding(device):
        wait_until(lambda: "state forwarding" in netns.run("bridge", "link", "show", "dev", device),
                   f"{device} to forward")

    def _device(self, words, name):
        netns.run("ip", "link", *words)
        self._undo.append(lambda: netns.run("ip", "link", "del", name))

    @staticmethod
    def _remove_namespace(name):
        def emptied():
            """Kills what a server left behind; true when nothing was."""
            pids = netns.run("ip", "netns", "pids", name).split()
            for pid in pids:
                with contextlib.suppress(ProcessLookupError):
                    os.kill(int(pid), signal.SIGKILL)
            return not pids

        wait_until(emptied, f"the processes in {name} to be gone")
        netns.run("ip", "netns", "del", name)

    def _remove_folder(self):
        for path in self.folder.iterdir():
            path.unlink()
        self.folder.rmdir()

    def wire(self, peer, outgoing=False):
        """A raw socket at a peer, closed with the lab."""
        wire = Wire(PEERS[peer][0], peer, outgoing)
        self._undo.append(wire.close)
        return wire

    def start_server(self):
        """The BNG's PPPoE server, once it listens."""
        device = PEERS[BNG][0]
        self.server = self._process(
            ["pppoe-server", "-F", "-I", device, "-C", ACCESS_CONCENTRATOR, "-S", SERVICE,
             "-L", "198.51.100.1", "-R", "198.51.100.10"], BNG)
        wait_until(lambda: self._listens(BNG, frames.DISCOVERY) or not self.server.running(),
                   "pppoe-server to listen")
        if not self.server.running():
            raise netns.CommandFailed(f"pppoe-server: {self.server.output()}")
        return self.server

    @staticmethod
    def _listens(namespace, ethertype):
        sockets = netns.run("cat", "/proc/net/packet", namespace=namespace)
        return any(line.split()[3] == f"{ethertype:04x}" for line in sockets.splitlines()[1:])

    def start_engine_alone(self, environment):
        """The engine as described in the lab, and the socket on which it gives news."""
        description = self.folder / "node.toml"
        description.write_text(node.description(), encoding="utf-8")
        self.engine, news = self._service("pppoeia-fe", description, 10, environment)
        self._undo.append(news.close)
        return news

    def start_engine(self, text=None, seconds=10.0):
        """The engine, configured by the management process with the description
        `text`. A management process that runs already configures it anew."""
        description = self.folder / "node.toml"
        description.write_text(text or node.description({"device": self.bridge}), encoding="utf-8")
        self.engine, news = self._service("pppoeia-fe", description, seconds)
        news.close()
        if self.management and self.management.running():
            self._management_news.wait_ready(self.management, seconds)
        else:
            self.management, self._management_news = self._service(
                "pppoeia-mgmt", description, seconds)
            self._undo.append(self._management_news.close)
        return self.engine

    def state_folder(self):
        """Where the management process may write: its settings, for one."""
        if not self._prepared:
            self._prepared = True
            confined.prepare(programs())
            confined.folders(self.user)
            if self.unconfined:
                print(f"  lab: the services run as root: {self.unconfined}", flush=True)
        return confined.STATE

    def small_disk(self, options):
        """The state folder on a disk of its own, which can be full."""
        folder = self.state_folder()
        netns.run("mount", "-t", "tmpfs", "-o", f"{options},uid={self.user},gid={self.user}",
                  "state", folder)
        self._undo.append(lambda: netns.run("umount", folder))
        return folder

    def service(self, program, *words, environment=None):
        """One of the two, as its unit runs it or as root."""
        self.state_folder()
        argv = [programs() / program, *words]
        process = self._process(argv if self.unconfined else confined.command(program, argv),
                                None, environment)
        process.name = program
        return process

    def _service(self, program, description, seconds, environment=None):
        """A service that is ready, and the socket on which it says so."""
        self._starts += 1
        news = Notifications(str(self.folder / f"notify-{self._starts}"))
        # Of the programs built with a sanitizer, services always look for leaks.
        process = self.service(program, "--node", description, environment={
            "NOTIFY_SOCKET": news.path, "ASAN_OPTIONS": "", **(environment or {})})
        news.wait_ready(process, seconds)
        return process, news

    def control(self, *words, seconds=5.0):
        """`pppoeiactl`: its status and what it said."""
        tool = self._process([programs() / "pppoeiactl", *words])
        return tool.wait(seconds), tool.output()

    def start_port_mapper(self):
        """rpcbind, once it answers."""
        self.mapper = self._process(["rpcbind", "-f"])
        wait_until(lambda: self._answers("/run/rpcbind.sock") or not self.mapper.running(),
                   "rpcbind to listen")
        if not self.mapper.running():
            raise netns.CommandFailed(f"rpcbind: {self.mapper.output()}")

    @staticmethod
    def _answers(path):
        """Whether somebody serves a local stream socket."""
        with socket.socket(socket.AF_UNIX, socket.SOCK_STREAM) as caller:
            return caller.connect_ex(path) == 0

    def _process(self, argv, namespace=None, environment=None):
        process = Process(argv, namespace, environment)
        self._undo.append(lambda: process.running() and process.stop())
        return process

    def discover(self, peer="sub1", seconds=5.0):
        """`pppoe-discovery` at a subscriber: one PADI, and the offers it got."""
        client = self._process(["pppoe-discovery", "-I", PEERS[peer][0], "-a", 3, "-t", 1], peer)
        return client.wait(seconds), client.output()

    def open_session(self, peer="sub1", seconds=5.0):
        """`pppoe -d` at a subscriber: PADI to PADS, without a session after it."""
        client = self._process(["pppoe", "-I", PEERS[peer][0], "-d", "-t", 1], peer)
        status, said = client.wait(seconds), client.output()
        # It ends with 0 even when nobody has answered.
        return status or int(PEERS[BNG][1] not in said), said

    def kill_engine(self):
        """Ends the engine as a crash would."""
        self.engine.stop(signal.SIGKILL)

    def kill_management(self):
        self._management_news.close()
        self.management.stop(signal.SIGKILL)

    def restart_engine(self, seconds=10.0):
        """The engine again, as it was described."""
        self.engine, news = self._service("pppoeia-fe", self.folder / "node.toml", seconds)
        news.close()

    def restart_management(self, seconds=10.0, environment=None):
        """The management process again, and the socket on which it gives news."""
        self.management, self._management_news = self._service(
            "pppoeia-mgmt", self.folder / "node.toml", seconds, environment)
        self._undo.append(self._management_news.close)
        return self._management_news

    def stop_engine(self):
        """Asks both processes to end; the engine's status and the seconds it took."""
        begin = time.monotonic()
        self.stop_management()
        status = self.engine.stop(signal.SIGTERM)
        return status, time.monotonic() - begin

    def reload(self, seconds=10.0):
        """The management process reads its description again, and is done."""
        self.management.send(signal.SIGHUP)
        self._management_news.wait_ready(self.management, seconds)

    def stop_management(self):
        """Asks the management process to end; its status."""
        self._management_news.close()
        return self.management.stop(signal.SIGTERM)
