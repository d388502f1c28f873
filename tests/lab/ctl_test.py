"""The operator's tool: every command's JSON against its schema, exit statuses,
lines with settings of their own, completion in real shells, metrics."""

import importlib.util
import json
import os
import shutil
import subprocess
import unittest

from lab import frames, node, testing
from lab.processes import Process
from lab.topology import REPOSITORY, mac_of, programs

SCHEMA = json.loads((REPOSITORY / "packaging/pppoeiactl.schema.json").read_text())
TOOL = str(programs() / "pppoeiactl")
ON_PATH = {**os.environ, "PATH": f"{programs()}:{os.environ['PATH']}", "TERM": "dumb"}
HAVE_SCHEMA = importlib.util.find_spec("jsonschema") is not None

FORMAT = ["format", "check", "$SHELF/$z4PORT $hVLAN $TCONT"]
LINE = ["--port", "1", "--vlan", "100", "--cvid", "7", "--mac", "02:00:00:00:01:01"]

# Commands, and the shape each must have; the last words of a path may be missing.
ANSWERS = [
    (["show"], "show"),
    (["show", "settings"], "show settings"),
    (["show", "bridge"], "show bridge"),
    (["show", "ports"], "show ports"),
    (["show", "port", "1/1/1"], "show port"),
    (["show", "vlans"], "show vlans"),
    (["show", "vlan", "100"], "show vlan"),
    (["status"], "status"),
    (["stats"], "stats"),
    (["stats", "1"], "stats"),
    (["stats", "--all"], "stats"),
    (["stats", "--all", "--watch", "--count", "1"], "stats --watch"),
    (["preview", "1", "100"], "preview"),
    (["preview", "--port", "1/1/2"], "preview"),
    (FORMAT, "format check"),
    (FORMAT + LINE, "format check"),
    (["format", "macros"], "format macros"),
    (["metrics"], "metrics"),
    (["metrics", "--file", "/run/lab/metrics.prom"], "metrics --file"),
    (["completion", "zsh"], "completion"),
    (["set", "cid-format", "$SHELF $PORT"], "set"),
    (["set", "role", "1/1/2", "both"], "set"),
    (["set", "vlan-cid-format", "1", "100", "line $VLAN"], "set"),
    (["set", "vlan-rid-format", "1", "100", "\xff$VLAN"], "set"),
    (["show", "port", "1"], "show port"),
    (["show", "ports"], "show ports"),
    (["unset", "line", "1", "100"], "unset"),
    (["unset", "cid-format"], "unset"),
    (["config", "diff"], "config diff"),
    (["config", "save"], "config save"),
    (["status"], "status"),
    (["config", "show"], "config show"),
    (["config", "clear"], "config clear"),
    (["reset"], "reset"),
    (["reset", "1/1/1"], "reset"),
]

STATUSES = [
    (["status"], 0, "version"),
    (["show", "port", "nowhere"], 1, "'pppoeiactl show ports' lists them"),
    (["preview", "9"], 1, "port 9"),
    (["unset", "line", "1", "4000"], 1, "not found"),
    (["trace", "--count", "1", "--pcap", "/nowhere/file"], 1, "/nowhere/file"),
    (["metrics", "--file", "/nowhere/file"], 1, "/nowhere/file: No such file or directory"),
    (["nonsense"], 2, "'nonsense' is not known here"),
    (["set", "role", "1", "boss"], 2, "disabled,client,server,both"),
    (["set", "vlan", "4096", "on"], 2, "4095"),
    (["format", "check", "x", "--mac", "02:00"], 2, "not an address"),
    (["stats", "--count"], 2, "--count"),
]

# What is typed, and candidates that must be among those offered.
COMPLETIONS = [
    ("pppoeiactl st", ["stats", "status"]),
    ("pppoeiactl set r", ["remote-id", "rid-format", "role"]),
    ("pppoeiactl set role 1/1/", ["1/1/1", "1/1/2"]),
    ("pppoeiactl set role 1 ", ["both", "client", "disabled", "server"]),
    ("pppoeiactl stats --", ["--all", "--count", "--json", "--port", "--watch"]),
    ("pppoeiactl format check x --port 1/2", ["1/2/1"]),
]

BASH = """
source <("$1" completion bash)
read -ra COMP_WORDS <<< "$2"
[[ $2 == *" " ]] && COMP_WORDS+=("")
COMP_CWORD=$((${#COMP_WORDS[@]} - 1))
_pppoeiactl
printf '%s\\n' "${COMPREPLY[@]}"
"""
# zsh completes only where somebody types: in a terminal of its own.
ZSH = """
zmodload zsh/zpty
zpty z zsh -f -i
zpty -w z 'autoload -U compinit; compinit -u -D; PS1=READY; LISTMAX=1000'
zpty -w z 'bindkey "^I" complete-word; zstyle ":completion:*" list-grouped false'
zpty -w z 'source <("'$1'" completion zsh); print LOADED'
zpty -r -m z line '*LOADED*LOADED*'
zpty -w -n z "$2"$'\\t'$'\\t'
zpty -r -m z line "*$3*" && print -r -- "$line"
zpty -d z
"""


class Control(testing.LabTest):
    def setUp(self):
        super().setUp()
        file = self.lab.folder / "settings.toml"
        self.lab.start_engine(f'[settings]\nfile = "{file}"\n' + node.description())

    def control(self, *words, status=0):
        got, said = self.lab.control(*words)
        self.assertEqual(got, status, said)
        return said

    @unittest.skipUnless(HAVE_SCHEMA, "needs python3-jsonschema")
    def test_answers(self):
        import jsonschema
        used = set()
        for words, command in ANSWERS:
            with self.subTest(" ".join(words)):
                used.add(command)
                answer = json.loads(self.control(*words, "--json"))
                shape = SCHEMA["commands"][command]
                jsonschema.validate(answer, {**SCHEMA, "$ref": f"#/$defs/{shape}"})
        untried = set(SCHEMA["commands"]) - used - {"trace", "diag"}
        self.assertEqual(untried, set(), "commands without a row here")

    def test_statuses(self):
        for words, status, expected in STATUSES:
            with self.subTest(" ".join(words)):
                self.assertIn(expected, self.control(*words, status=status))
        self.lab.stop_management()
        said = self.control("status", "--json", status=3)
        self.assertIn("are rpcbind and pppoeia-mgmt running?", said)
        self.assertEqual(json.loads(said[said.index("{"):])["error"]["status"], 3)

    def test_only_root_changes(self):
        tool = Process(["setpriv", "--reuid=65534", "--clear-groups", TOOL, "set", "vlan-cid-format",
                        "1", "100", "x"])
        self.assertEqual(tool.wait(), 1)
        self.assertIn("needs root", tool.output())

    def test_a_line_of_its_own(self):
        """A first format keeps the port's mode; the tag at the server tells."""
        client, server = self.lab.wire("sub1"), self.lab.wire("bng")

        def circuit_id():
            client.send(frames.discovery(frames.BROADCAST, mac_of("sub1"), frames.PADI,
                                         frames.tag(frames.SERVICE_NAME), [(0x8100, 100)]))
            frame, _ = server.wait(lambda frame: frame.code == frames.PADI, "the PADI")
            return frame.marks[0][frames.CIRCUIT_ID]

        default = circuit_id()
        self.control("set", "vlan-cid-format", "1/1/1", "100", "line $VLAN")
        self.assertEqual(circuit_id(), default)
        self.control("set", "vlan-cid-mode", "1/1/1", "100", "custom")
        self.assertEqual(circuit_id(), b"line 100")
        said = json.loads(self.control("preview", "1/1/1", "100", "--json"))["circuit_id"]
        self.assertEqual((said["text"], said["mode_from"], said["format_from"]),
                         ("line 100", "port and VLAN", "port and VLAN"))
        self.control("unset", "line", "1", "100")
        self.assertEqual(circuit_id(), default)

    def test_check_predicts(self):
        """What `format check` says of a line is what its client's PADI gets."""
        text = "$SHELF $INTF $SYSNAME $LOCATION $h2CLNT_MAC"
        self.control("set", "cid-format", text)
        self.control("set", "cid-mode", "1", "custom")
        client, server = self.lab.wire("sub1"), self.lab.wire("bng")
        client.send(frames.discovery(frames.BROADCAST, mac_of("sub1"), frames.PADI,
                                     frames.tag(frames.SERVICE_NAME)))
        frame, _ = server.wait(lambda frame: frame.code == frames.PADI, "the PADI")
        said = json.loads(self.control("format", "check", text, "--json", "--port", "1/1/1",
                                       "--vlan", "0", "--mac", "02:00:00:00:01:01"))
        self.assertEqual(bytes.fromhex(said["format"]["id"]["hex"]),
                         frame.marks[0][frames.CIRCUIT_ID])

    def test_completion(self):
        for typed, expected in COMPLETIONS:
            with self.subTest(typed):
                offered = subprocess.run(["bash", "-c", BASH, "bash", TOOL, typed], check=True,
                                         capture_output=True, text=True, env=ON_PATH).stdout.split()
                self.assertEqual(offered, expected)

    @unittest.skipUnless(shutil.which("zsh"), "needs zsh")
    def test_completion_in_zsh(self):
        for typed, expected in COMPLETIONS[1:3]:
            with self.subTest(typed):
                seen = subprocess.run(["zsh", "-f", "-c", ZSH, "zsh", TOOL, typed, expected[-1]],
                                      check=False, capture_output=True, text=True, env=ON_PATH,
                                      timeout=30)
                for candidate in expected:
                    self.assertIn(candidate, seen.stdout, seen.stderr)

    @unittest.skipUnless(shutil.which("promtool"), "needs promtool (prometheus)")
    def test_metrics(self):
        self.lab.start_server()
        self.lab.discover("sub1")
        text = self.control("metrics")
        judged = subprocess.run(["promtool", "check", "metrics"], input=text + "\n", text=True,
                                capture_output=True, check=False)
        self.assertEqual((judged.returncode, judged.stderr), (0, ""), judged.stdout)
        for sample in ('pppoeia_up 1',
                       'pppoeia_port_frames_total{bridge="br0",port="1",name="1/1/1",kind="padi"} 1',
                       'pppoeia_bridge_frames_total{bridge="br0",kind="pado"} 1'):
            self.assertIn(sample, text.splitlines())
        self.lab.kill_engine()
        down = self.control("metrics")
        self.assertIn("pppoeia_up 0", down)
        self.assertNotIn("frames_total", down)


if __name__ == "__main__":
    testing.main()
