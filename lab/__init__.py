"""Real PPPoE peers around the agent, in network namespaces.

    isolation.py  a private world to work in, gone with its last process
    netns.py      namespaces, devices, work inside a namespace
    processes.py  programs with their output, and bounded waits
    frames.py     Ethernet and PPPoE Discovery bytes
    wire.py       raw frames in and out of a device, captures
    decode.py     tshark's reading of a capture
    agent.py      the agent's programs and counters
    node.py       the node description of the lab
    topology.py   the lab: two subscribers, the node, a BNG
    confined.py   the node's processes as their systemd units have them
    as_unit.py    becomes one of them
    testing.py    what the tests need around unittest
    rounds.py     losses under traffic, settings before and after
    fire_frames.py  frames of every kind and what has to become of each
    soak.py       millions of them, and the account; run by scripts/soak
    demo.py       one client through the agent, shown step by step

Python's standard library only.
"""
