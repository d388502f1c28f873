"""`python3 -m lab [COMMAND...]`: runs a command, or a shell, in the lab's node.

The peers are reached by `ip netns exec sub1|sub2|bng COMMAND`. The agent runs
when it has been built, the server always.
"""

import os
import subprocess
import sys

from lab import isolation
from lab.agent import missing_programs
from lab.topology import Lab


def main():
    if not isolation.inside():
        lacking = isolation.missing()
        if lacking:
            sys.exit(f"lab: needs {', '.join(lacking)}")
        sys.exit(isolation.isolated(["-m", "lab", *sys.argv[1:]]))
    with Lab() as lab:
        lab.start_server()
        if not missing_programs():
            lab.start_engine()
        if len(sys.argv) == 1:
            print("lab: a shell on the access node; `exit` takes everything down", file=sys.stderr)
        command = sys.argv[1:] or [os.environ.get("SHELL", "/bin/sh")]
        status = subprocess.run(command, check=False).returncode
    sys.exit(status)


if __name__ == "__main__":
    main()
