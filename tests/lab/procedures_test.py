"""Every remote procedure over both transports, byte by byte, against the node that the
lab describes: what it answers, what it changes, whom it refuses."""

from lab import node, testing
from lab.remote_calls import (DENIED, NO_SUCH_PROCEDURE, NOT_DECODED, TAKEN, Answer, Caller,
                              packed)

PADIS = 3
SUCCESS, FAILURE, NOT_FOUND, PROFILE_MODE = 0, 1, 2, 10
DISABLED, CLIENT, SERVER, BOTH = range(4)
TRUSTED, UNTRUSTED = 0, 1
DEFAULT, ATM, CUSTOM = range(3)
KEEP, REMOVE = 0, 1
SILENT, INFO, DEBUG = -1, 6, 7
NO_VLAN = 4095

# What a procedure answers: letters as Answer.values() takes them. A change answers with
# its result; the result ends the answers of the others, but for procedure 10.
PORT, VLAN, ENTRY, COUNTERS = "tnnnttn", "nn", "nnnff", "nnnnnnnn"
SHAPES = {0: "", 10: "nnnnntnnnff", 11: [(PORT,), "n"], 12: PORT + "n", 13: [(VLAN,), "n"],
          14: VLAN + "n", 19: COUNTERS + "n", 20: COUNTERS + "n", 25: "nn",
          28: [(ENTRY,), "n"], 29: ENTRY + "n", 30: "sn", 31: "sn"}

SETTINGS = [1, REMOVE, 1, 1, 1, "shelf1", INFO, SUCCESS, 0, "", "$PORT_REM_ID"]
PORT_1 = ["1/1/1", 8, CLIENT, UNTRUSTED, "line-0001", "KORVALEN:shelf1 eth 3/1/1/1:<vid>", DEFAULT]
PORT_2 = ["1/1/2", 8, CLIENT, UNTRUSTED, "line-0002", "KORVALEN:shelf1 eth 3/1/1/2:<vid>", DEFAULT]
PORT_10 = ["1/2/1", 0, SERVER, TRUSTED, "", "KORVALEN:shelf1 eth 3/1/2/1:<vid>", DEFAULT]
ENTRY_1_100 = [1, 100, CUSTOM, "", ""]
NOTHING_COUNTED = [0] * 8
PADIS_COUNTED = [PADIS, *NOTHING_COUNTED[1:]]

# Procedure, arguments, answer. Of a failed question only the result is looked at: a number.
DESCRIBED = [
    (0, (), []),
    (10, (), SETTINGS),
    (11, (), [[PORT_1, PORT_2, PORT_10], SUCCESS]),
    (12, (2,), [*PORT_2, SUCCESS]),
    (12, (10,), [*PORT_10, SUCCESS]),
    (12, (9,), FAILURE),
    (13, (), [[[0, 1], [100, 1], [200, 1]], SUCCESS]),
    (14, (200,), [200, 1, SUCCESS]),
    (14, (4000,), NOT_FOUND),
    (20, (2,), [*NOTHING_COUNTED, SUCCESS]),
    (20, (9,), FAILURE),
    (25, (9,), [DEFAULT, SUCCESS]),  # fixed, of no port too
    (28, (2,), [[], SUCCESS]),
    (29, (1, 200), FAILURE),
    (30, (1, NO_VLAN), ["KORVALEN:shelf1 eth 3/1/1/1:<vid>", SUCCESS]),
    (30, (9, NO_VLAN), ["", FAILURE]),
    (31, (1, NO_VLAN), ["line-0001", SUCCESS]),
    (31, (2, 200), ["line-0002", SUCCESS]),
    (31, (9, NO_VLAN), FAILURE),
]


def setting(position):
    return lambda ask: ask(10)[position]


def of_port(position, port=1):
    return lambda ask: ask(12, port)[position]


def answer_of(procedure, *arguments):
    return lambda ask: ask(procedure, *arguments)


def vlan(number):
    return lambda ask: ask(14, number)[1]


# Procedure, arguments, result; what shows it, and how. Together they leave the node as
# it was described, with an entry more and its counters at 0.
CHANGES = [
    (1, (0,), SUCCESS, setting(0), 0),
    (1, (1,), SUCCESS, setting(0), 1),
    (2, (), SUCCESS, setting(5), ""),
    (3, ("shelf9",), SUCCESS, setting(5), "shelf9"),
    (3, ("shelf9",), SUCCESS, of_port(5), "KORVALEN:shelf9 eth 3/1/1/1:<vid>"),
    (3, ("shelf1",), SUCCESS, setting(5), "shelf1"),
    (4, (1,), SUCCESS, setting(4), 1),
    (4, (1,), SUCCESS, setting(6), DEBUG),  # debugging is the log level
    (4, (0,), SUCCESS, setting(6), SILENT),
    (5, (1, BOTH), SUCCESS, of_port(2), BOTH),
    (5, (1, CLIENT), SUCCESS, of_port(2), CLIENT),
    (5, (9, BOTH), FAILURE, None, None),
    (6, (1, 0), SUCCESS, of_port(3), TRUSTED),
    (6, (1, 5), SUCCESS, of_port(3), UNTRUSTED),  # as is any mode but 0
    (7, (1,), SUCCESS, of_port(4), ""),
    (8, (1, "another line"), SUCCESS, of_port(4), "another line"),
    (8, (1, "line-0001"), SUCCESS, of_port(4, 2), "line-0002"),
    (8, (1, "x" * 64), FAILURE, of_port(4), "line-0001"),
    (9, (0x10000 + 100, 0), SUCCESS, vlan(100), 0),  # cut to 16 bits
    (9, (0x10000 + 100, 0), SUCCESS, vlan(200), 1),
    (9, (100, 1), SUCCESS, vlan(100), 1),
    (9, (4000, 1), NOT_FOUND, None, None),
    (15, (SILENT,), SUCCESS, setting(4), 0),
    (15, (INFO,), SUCCESS, setting(6), INFO),
    (15, (INFO,), SUCCESS, setting(4), 1),
    (16, (KEEP,), SUCCESS, setting(1), KEEP),
    (16, (REMOVE,), SUCCESS, setting(1), REMOVE),
    (17, (0,), SUCCESS, setting(2), 0),
    (17, (256,), SUCCESS, setting(2), 1),
    (18, (0,), SUCCESS, setting(3), 0),
    (18, (-1,), SUCCESS, setting(3), 1),
    (22, (2,), SUCCESS, answer_of(20, 1), [*PADIS_COUNTED, SUCCESS]),  # of another port
    (22, (1,), SUCCESS, answer_of(20, 1), [*NOTHING_COUNTED, SUCCESS]),
    (22, (9,), FAILURE, None, None),
    (21, (), SUCCESS, answer_of(19), [*NOTHING_COUNTED, SUCCESS]),
    (23, (1,), SUCCESS, setting(8), 1),
    (23, (0,), SUCCESS, setting(8), 0),
    (24, (1, ATM), NOT_FOUND, of_port(6), DEFAULT),  # no ATM port
    (24, (1, CUSTOM), SUCCESS, of_port(6), CUSTOM),
    (24, (1, CUSTOM), SUCCESS, answer_of(25, 1), [DEFAULT, SUCCESS]),  # fixed
    (24, (1, DEFAULT), SUCCESS, of_port(6), DEFAULT),
    (27, ("other $VLAN",), SUCCESS, setting(10), "other $VLAN"),
    (27, ("",), SUCCESS, setting(10), ""),
    (27, ("$PORT_REM_ID",), SUCCESS, setting(10), "$PORT_REM_ID"),
    (26, ("x" * 129,), FAILURE, setting(9), ""),
    (26, ("$SHELF/$z4VLAN",), SUCCESS, setting(9), "$SHELF/$z4VLAN"),
    (32, (9, 100, CUSTOM), FAILURE, None, None),
    (32, (1, 100, CUSTOM), SUCCESS, answer_of(29, 1, 100), [*ENTRY_1_100, SUCCESS]),
    (32, (1, 100, CUSTOM), SUCCESS, answer_of(28, 1), [[ENTRY_1_100], SUCCESS]),
    (32, (1, 100, CUSTOM), SUCCESS, of_port(6), DEFAULT),  # the port's own
    (32, (1, 100, CUSTOM), SUCCESS, answer_of(30, 1, 100), ["shelf1/0100", SUCCESS]),
    (32, (1, 100, DEFAULT), SUCCESS, answer_of(28, 1), [[[1, 100, DEFAULT, "", ""]], SUCCESS]),
    (26, ("",), SUCCESS, setting(9), ""),
]

# In a node that service profiles configure.
PROFILE = [
    (1, (0,), PROFILE_MODE, setting(0), 1),
    (5, (1, BOTH), PROFILE_MODE, of_port(2), CLIENT),
    (5, (10, BOTH), SUCCESS, of_port(2, 10), BOTH),  # an uplink
    (5, (10, SERVER), SUCCESS, of_port(2, 10), SERVER),
    (9, (100, 0), PROFILE_MODE, vlan(100), 1),
    (32, (1, 100, CUSTOM), PROFILE_MODE, answer_of(28, 1), [[], SUCCESS]),
    (8, (1, "other"), SUCCESS, of_port(4), "other"),  # as all others
    (8, (1, "line-0001"), SUCCESS, of_port(4), "line-0001"),
]

# Whether root calls, the procedure, the bytes of its arguments; what becomes of the call.
REFUSED = [
    ("no such procedure", True, 33, b"", NO_SUCH_PROCEDURE),
    ("a text that does not follow", True, 3, packed(-1), NOT_DECODED),
    ("no port", True, 12, b"", NOT_DECODED),
    ("a port, and nothing of the other two", True, 32, packed(1), NOT_DECODED),
    ("a change by somebody else", False, 1, packed(0), DENIED),
    ("a reset by somebody else", False, 21, b"", DENIED),
]


class Procedures(testing.LabTest):
    def over_both(self, look, **options):
        for transport in ("tcp", "udp"):
            with self.subTest(transport), Caller(transport, **options) as self.caller:
                look()

    def ask(self, procedure, *arguments):
        outcome, data = self.caller.call(procedure, packed(*arguments))
        self.assertEqual(outcome, TAKEN)
        answer = Answer(data)
        values = answer.values(SHAPES.get(procedure, "n"))
        self.assertTrue(answer.ended(), f"{len(data)} bytes")
        return values

    def compare_described(self):
        for procedure, arguments, expected in DESCRIBED:
            with self.subTest(procedure=procedure, arguments=arguments):
                answer = self.ask(procedure, *arguments)
                self.assertEqual(answer[-1] if isinstance(expected, int) else answer, expected)

    def make(self, changes):
        for procedure, arguments, result, shown, expected in changes:
            with self.subTest(procedure=procedure, arguments=arguments):
                self.assertEqual(self.ask(procedure, *arguments), [result])
                if shown:
                    self.assertEqual(shown(self.ask), expected)

    def test_all(self):
        self.lab.start_engine()
        asked = {row[0] for row in DESCRIBED + CHANGES} | {19, 28, 29}
        self.assertEqual(asked, set(range(33)))

        def look():
            self.pass_padis(PADIS)
            self.assertEqual(self.ask(19), [*PADIS_COUNTED, SUCCESS])
            self.assertEqual(self.ask(20, 1), [*PADIS_COUNTED, SUCCESS])
            self.compare_described()
            self.make(CHANGES)
            self.compare_described()

        self.over_both(look)

    def test_profile_mode(self):
        self.lab.start_engine("[node]\nprofile_mode = true\n"
                              + node.description().removeprefix("[node]\n"))
        self.over_both(lambda: self.make(PROFILE))

    def test_refused(self):
        self.lab.start_engine()
        for name, root, *call, outcome in REFUSED:
            with self.subTest(name):
                self.over_both(
                    lambda: self.assertEqual(self.caller.call(*call)[0], outcome), root=root)
        self.over_both(self.compare_described, root=False)


if __name__ == "__main__":
    testing.main()
