"""The agent in the lab: its programs, and what it counted."""

import json

from lab import netns
from lab.topology import programs

PROGRAMS = ("pppoeia-fe", "pppoeia-mgmt", "pppoeiactl")


def missing_programs():
    """Those that have not been built, by their paths."""
    return [str(programs() / name) for name in PROGRAMS if not (programs() / name).exists()]


def counters(lab, port=None):
    """What `pppoeiactl stats` says, of the bridge or of one port: {name: number}."""
    status, said = lab.control("stats", *([port] if port else []), "--json")
    if status != 0:
        raise netns.CommandFailed(f"pppoeiactl stats: status {status}: {said}")
    return json.loads(said)["counters"][0]
