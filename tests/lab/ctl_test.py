"""The operator's tool: every command's JSON against its schema, exit statuses,
lines with settings of their own, completion in real shells."""

import importlib.util
import json
import os
import shutil
import subprocess
import unittest

from lab import frames, netns, node, testing
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
    (["show", "ports", "1/1/*", "--vlan", "100"], "show ports"),
    (["show", "port", "1/1/1"], "show port"),
    (["show", "vlans"], "show vlans"),
    (["show", "vlan", "100"], "show vlan"),
    (["show", "lines", "--state", "asking"], "show lines"),
    (["show", "sessions", "--port", "1"], "show sessions"),
    (["show", "servers"], "show servers"),
    (["status"], "status"),
    (["stats"], "stats"),
    (["stats", "1"], "stats"),
    (["stats", "--all"], "stats"),
    (["stats", "--all", "--watch", "--count", "1"], "stats --watch"),
    (["preview", "1", "100"], "preview"),
    (["preview", "--port", "1/1/2"], "preview"),
    (["preview", "1", "999", "--cvid", "7"], "preview"),
    (["reload", "--dry-run"], "reload"),
    (["reload"], "reload"),
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
    (["unset", "state"], "unset"),
    (["unset", "cid-mode", "1/1/*"], "unset"),
    (["config", "diff"], "config diff"),
    (["config", "save"], "config save"),
    (["status"], "status"),
    (["config", "show"], "config show"),
    (["set", "cid-mode", "1/1/*", "custom"], "set"),
    (["config", "clear", "--yes"], "config clear"),
    (["reset"], "reset"),
    (["reset", "1/1/1"], "reset"),
]

STATUSES = [
    (["status"], 0, "agent                  on"),
    (["preview", "1", "999"], 0, "VLAN 999 is not served"),
    (["preview", "10"], 0, "requests of clients are dropped there"),
    (["show", "ports", "--vlan", "999"], 0, "VLAN 999 is not served"),
    (["show", "ports"], 0, "VLANs served           0, 100, 200"),
    (["show", "port", "nowhere"], 1, "'pppoeiactl show ports' lists them"),
    (["preview", "9"], 1, "port 9"),
    (["unset", "line", "1", "4000"], 1, "not found"),
    (["trace", "--count", "1", "--pcap", "/nowhere/file"], 1, "/nowhere/file"),
    (["metrics", "--file", "/nowhere/file"], 1, "/nowhere/file: cannot be opened: No such file or directory"),
    (["set", "cid-mode", "2/*", "custom"], 1, "no port has a name like '2/*'"),
    (["set", "trust", "1/1/11", "trusted"], 1, "did you mean '1/1/1'?"),
    (["config", "clear"], 1, "say --yes"),
    (["-f", "/nowhere/commands"], 1, "/nowhere/commands: No such file or directory"),
    (["nonsense"], 2, "'nonsense' is not known here"),
    (["set", "role", "1", "boss"], 2, "disabled, client, server or both"),
    (["format", "check", "x", "--mac", "02:00"], 2, "not an address"),
    (["stats", "--count"], 2, "--count takes COUNT"),
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
        file = self.lab.state_folder() / "settings.toml"
        self.lab.start_engine(f'[settings]\nfile = "{file}"\n' + node.description())

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
        self.assertIn("pppoeia-mgmt is not running", said)
        self.assertEqual(json.loads(said[said.index("{"):])["error"]["status"], 3)

    def test_without_an_engine(self):
        self.lab.kill_engine()
        for words in (["stats"], ["stats", "--all", "--watch", "--count", "1"], ["preview", "1", "100"],
                      ["set", "shelf", "x"], ["set", "cid-mode", "1/1/*", "custom"], ["status"],
                      ["show", "ports", "--vlan", "100"], ["reset"]):
            with self.subTest(" ".join(words)):
                self.assertIn("pppoeia-fe", self.control(*words, status=3))
        self.assertIn("1/1/1", self.control("show", "ports"))

    def test_health(self):
        """What is wrong with the node is found, and the status tells how bad it is."""
        netns.run("ip", "link", "set", "sub2", "nomaster")
        said = self.control("status", status=1)
        self.assertIn("its device \"sub2\" is not in the bridge br0", said)
        self.assertIn("ip link set sub2 master br0", said)
        found = json.loads(self.control("status", "--json", status=1))["status"]
        self.assertEqual(found["health"], "warning")
        self.assertEqual([finding["code"] for finding in found["findings"]], ["port-not-in-bridge"])
        netns.run("ip", "link", "set", "sub2", "master", "br0")
        self.control("status")

    def test_reload(self):
        text = (self.lab.folder / "node.toml").read_text(encoding="utf-8")
        self.describe(text.replace('"line-0001"', '"line-9"'))
        self.assertIn("1 line would change", self.control("reload", "--dry-run"))
        remote_id = lambda: json.loads(self.control("show", "port", "1", "--json"))["port"]["remote_id"]
        self.assertEqual(remote_id(), "line-0001")
        self.assertIn("1 line changed", self.control("reload"))
        self.assertEqual(remote_id(), "line-9")
        description = self.describe(text.replace('"client"', '"clint"', 1))
        said = self.control("reload", status=1)
        self.assertIn("nothing is changed", said)
        self.assertIn(f"{description}:", said)
        self.assertEqual(remote_id(), "line-9")

    def test_a_batch(self):
        """A pattern and a file of commands; the server's side tells nothing new."""
        commands = self.lab.folder / "commands"
        commands.write_text("# two lines\n"
                            "set cid-mode '1/1/*' custom\n"
                            "set vlan-cid-format 1/1/1 100 'a \"b\" $VLAN'  # quoted\n"
                            "set role 9 client\n"
                            "set shelf after\n", encoding="ascii")
        modes = lambda: [port["circuit_id_mode"] for port in
                         json.loads(self.control("show", "ports", "--json"))["ports"]]
        said = self.control("-f", commands, status=1)
        self.assertIn(f"{commands}:4: port 9", said)
        self.assertIn("done for 2 ports", said)
        self.assertEqual(modes(), ["custom", "custom", "default"])
        self.assertIn('a "b" $VLAN', self.control("show", "port", "1"))
        self.assertIn("shelf                  shelf1", self.control("show"))
        self.control("-k", "-f", commands, status=1)
        self.assertIn("shelf                  after", self.control("show"))

    def test_a_line_of_its_own(self):
        """A first format keeps the port's mode; the tag at the server tells."""
        circuit_id = lambda: self.ids(stack=[(0x8100, 100)])[0]
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

    def test_preview_and_check_predict(self):
        """What they say of a line is what its client's PADI gets."""
        text = "$SHELF $INTF $SYSNAME $LOCATION $h2CLNT_MAC $VLAN/$CVID"
        line = ["--vlan", "100", "--cvid", "7", "--mac", "02:00:00:00:01:01"]
        self.control("set", "cvlan", "on")
        self.control("set", "cid-format", text)
        for mode in ("default", "custom"):
            self.control("set", "cid-mode", "1", mode)
            sent = self.ids(stack=[(0x8100, 100), (0x8100, 7)])[0]
            said = json.loads(self.control("preview", "1", *line[1:6], "--json"))["circuit_id"]
            self.assertEqual(bytes.fromhex(said["hex"]), sent)
        checked = json.loads(self.control("format", "check", text, "--json", "--port", "1/1/1", *line))
        self.assertEqual(bytes.fromhex(checked["format"]["id"]["hex"]), sent)

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


if __name__ == "__main__":
    testing.main()
