"""tshark's reading of a capture: a judge that knows nothing of this project."""

import re

from lab import netns

TSHARK = ["tshark", "-n", "-Q", "-r"]


def fields(capture, names, only="pppoed"):
    """One row a frame; a row is {field name: text, "" when absent}."""
    asked = [word for name in names for word in ("-e", name)]
    text = netns.run(*TSHARK, capture, "-Y", only, "-T", "fields", "-E", "separator=\x1f", *asked)
    return [dict(zip(names, line.split("\x1f"))) for line in text.splitlines()]


def discovery(capture, only="pppoed"):
    """The Discovery section of each frame, as indented lines."""
    text = netns.run(*TSHARK, capture, "-Y", only, "-O", "pppoed")
    sections, current = [], None
    for line in text.splitlines():
        if line.startswith("Ethernet II"):
            current = [re.sub(r"^Ethernet II, ", "", line)]
            sections.append(current)
        elif current is not None and line.startswith((" ", "PPP-over", "802.1Q", "IEEE")):
            current.append(line)
    return sections
