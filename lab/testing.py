"""What the lab's tests need around unittest."""

import os
import sys
import unittest

from lab import isolation, node
from lab.agent import missing_programs
from lab.topology import Lab

SKIPPED = 77  # ctest's SKIP_RETURN_CODE
REQUIRE = "PPPOEIA_REQUIRE_ROOT_TESTS"


class LabTest(unittest.TestCase):
    """A test with a lab of its own, up before it and gone after it."""

    unconfined = ""  # why the services are to run as root
    bridge = node.BRIDGE

    def setUp(self):
        self.lab = self.enterContext(Lab(self.unconfined, self.bridge))


def main(agent=True):
    """Runs the calling file's tests in a private world, or skips, saying why."""
    if isolation.inside():
        unittest.main(verbosity=2)
    lacking = isolation.missing()
    if agent:
        lacking += missing_programs()
    need(lacking)
    sys.exit(isolation.isolated(sys.argv))


def need(lacking):
    """Ends this process, as skipped or failed, when something is lacking."""
    if lacking:
        required = os.environ.get(REQUIRE) == "1"
        print(f"{'FAILED' if required else 'SKIPPED'}: needs {', '.join(lacking)}")
        sys.exit(1 if required else SKIPPED)
