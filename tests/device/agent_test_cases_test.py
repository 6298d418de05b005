"""Test cases of the agent: the packet, the functions that it ships, and what a host can do wrong."""

import hashlib
import pathlib
import struct
import sys
import tempfile
import unittest

sys.path.insert(0, str(pathlib.Path(__file__).resolve().parents[1]))
from wire.agent_process import AgentProcess  # noqa: E402
from wire.peer import parse_hello  # noqa: E402

TEST = 0x500C
OUTPUT = 0xA010


def packet(name, parameters=b"", reserved=bytes(8)):
    return name.encode().ljust(64, b"\0") + reserved + struct.pack("<I", len(parameters)) + parameters


class TestCases(unittest.TestCase):
    arguments = ()

    def setUp(self):
        self.folder = tempfile.TemporaryDirectory(prefix="kivagent-")
        self.addCleanup(self.folder.cleanup)
        self.agent = AgentProcess(*self.arguments, data=self.folder.name)
        self.addCleanup(self.agent.kill)
        self.peer = self.agent.peer
        self.hello = parse_hello(self.peer.greet().body)

    def output(self):
        """The lines up to the result, the result too."""
        lines = []
        while not lines or not lines[-1].startswith("result: "):
            lines.append(self.peer.indication(OUTPUT).body.decode())
        return lines

    def run_test(self, name, parameters=b"", **words):
        confirmation = self.peer.ask(TEST, packet(name, parameters), **words)
        self.assertEqual((confirmation.head.id, confirmation.head.result, confirmation.body),
                         (TEST, 0, b""))
        return self.output()


class Functions(TestCases):
    def test_the_greeting_says_that_they_run(self):
        self.assertEqual(self.hello["abilities"] & 0x40, 0x40)

    def test_echo_shows_its_parameters_and_their_hash(self):
        self.assertEqual(self.run_test("cts_echo", b"\xde\xad\xbe\xef"),
                         ["parameters: 4 bytes", "de ad be ef",
                          "sha256: 5f78c33274e43fa9de5659265c1d917e25c03722dcb0b8d27db8d5feaa813953",
                          "result: pass"])

    def test_echo_of_every_length_around_the_blocks_of_the_hash(self):
        for length in [*range(0, 130), 1000]:
            parameters = bytes(i & 0xFF for i in range(length))
            rows = [parameters[at:at + 16].hex(" ") for at in range(0, length, 16)]
            self.assertEqual(self.run_test("cts_echo", parameters),
                             [f"parameters: {length} bytes", *rows,
                              "sha256: " + hashlib.sha256(parameters).hexdigest(), "result: pass"])

    def test_memory_writes_and_compares_all_patterns(self):
        self.assertEqual(self.run_test("cts_memory", struct.pack("<II", 2097160, 2)),
                         [f"pass {r} of 2, pattern {p}: 2097160 bytes good" for r in (1, 2)
                          for p in ("0x00", "0xff", "0x55", "0xaa", "address")] + ["result: pass"])

    def test_memory_says_what_its_parameters_are(self):
        two = "the parameters are two numbers of 4 bytes: size in bytes, passes"
        for parameters, line in (
                (b"", two), (bytes(7), two), (bytes(9), two),
                (struct.pack("<II", 0, 1), "a multiple of 8 up to 67108864 bytes, not 0"),
                (struct.pack("<II", 12, 1), "a multiple of 8 up to 67108864 bytes, not 12"),
                (struct.pack("<II", 67108872, 1),
                 "a multiple of 8 up to 67108864 bytes, not 67108872"),
                (struct.pack("<II", 8, 0), "1 to 100 passes, not 0"),
                (struct.pack("<II", 8, 2**32 - 1), "1 to 100 passes, not 4294967295")):
            self.assertEqual(self.run_test("cts_memory", parameters), [line, "result: fail"])

    def test_loop_tells_every_turn(self):
        lines = self.run_test("cts_loop", struct.pack("<II", 3, 5))
        self.assertEqual(lines[:3], ["turn 1 of 3", "turn 2 of 3", "turn 3 of 3"])
        self.assertRegex(lines[3], r"^longest pause: \d+ ms$")
        self.assertIn(lines[4:], (["result: pass"], ["result: fail"]))
        self.assertEqual(lines[4] == "result: pass", int(lines[3].split()[2]) <= 1005)

    def test_loop_says_what_its_parameters_are(self):
        two = "the parameters are two numbers of 4 bytes: turns, pause in ms"
        for parameters, line in (
                (b"", two), (bytes(9), two),
                (struct.pack("<II", 0, 1), "1 to 1000 turns, not 0"),
                (struct.pack("<II", 1001, 1), "1 to 1000 turns, not 1001"),
                (struct.pack("<II", 1, 0), "a pause of 1 to 10000 ms, not 0"),
                (struct.pack("<II", 1, 10001), "a pause of 1 to 10000 ms, not 10001")):
            self.assertEqual(self.run_test("cts_loop", parameters), [line, "result: fail"])

    def test_an_unknown_name_fails(self):
        for name in ("", "echo", "CTS_echo", "cts_echo ", "x" * 63):
            self.assertEqual(self.run_test(name),
                             [f"no test function is called '{name}'", "result: fail"])

    def test_a_test_runs_beside_commands(self):
        self.peer.request(TEST, packet("cts_loop", struct.pack("<II", 2, 10000)))
        self.assertEqual(self.peer.ask(0x1002).head.result, 0)
        self.assertEqual(self.peer.received[0].head.id, TEST)

    def test_tests_run_in_their_order_and_after_their_delay(self):
        self.peer.request(TEST, packet("cts_echo", b"a"), word32=100)
        self.peer.request(TEST, packet("cts_echo", b"b"))
        self.assertEqual([self.output()[1], self.output()[1]], ["61", "62"])
        self.assertEqual(self.peer.ask(TEST, packet("cts_echo"), word32=60001).head.result, 703)


class Hosts(TestCases):
    def test_every_wrong_length_is_refused(self):
        whole = packet("cts_echo", b"abcd")
        for length in range(len(whole)):
            self.assertEqual(self.peer.ask(TEST, whole[:length]).head.result, 701, length)
        self.assertEqual(self.peer.ask(TEST, whole + b"e").head.result, 702)
        huge = whole[:72] + b"\xff\xff\xff\xff" + whole[76:]
        self.assertEqual(self.peer.ask(TEST, huge).head.result, 701)
        self.assertEqual(self.run_test("cts_echo", b"a")[1], "61")

    def test_a_head_that_is_none_is_refused(self):
        self.assertEqual(self.peer.ask(TEST, packet("x" * 64)).head.result, 703)
        self.assertEqual(self.peer.ask(TEST, packet("cts_echo\0hidden")).head.result, 703)
        self.assertEqual(self.peer.ask(TEST, packet("cts_echo", reserved=b"\0" * 7 + b"x")).head.result,
                         703)

    def test_parameters_are_bounded(self):
        self.assertEqual(self.peer.ask(TEST, packet("cts_echo", bytes(1024 * 1024 + 1))).head.result, 22)
        self.assertEqual(self.run_test("none", bytes(1024 * 1024))[-1], "result: fail")

    def test_what_may_wait_is_bounded(self):
        self.peer.request(TEST, packet("cts_loop", struct.pack("<II", 1, 10000)))
        tags = [self.peer.request(TEST, packet("cts_echo", bytes(1024 * 1024))) for _ in range(5)]
        self.assertEqual([self.peer.confirmation(tag).head.result for tag in tags],
                         [0, 0, 0, 709, 709])

    def test_long_output_waits_for_the_host_and_is_whole(self):
        parameters = bytes(range(256)) * 1024
        lines = self.run_test("cts_echo", parameters)
        self.assertEqual(len(lines), 3 + len(parameters) // 16)
        self.assertEqual(lines[-2:], ["sha256: " + hashlib.sha256(parameters).hexdigest(),
                                      "result: pass"])

    def test_a_new_session_ends_what_runs(self):
        self.peer.request(TEST, packet("cts_loop", struct.pack("<II", 1000, 1)))
        self.peer.request(TEST, packet("cts_memory", struct.pack("<II", 67108864, 100)))
        self.peer.indication(OUTPUT)
        self.peer.greet()
        self.peer.received.clear()
        self.assertEqual(self.run_test("cts_echo", b"a")[0], "parameters: 1 bytes")


class Variant249(TestCases):
    arguments = ("--variant", "249")

    def test_has_the_same_ids(self):
        self.assertEqual(self.run_test("cts_echo")[-1], "result: pass")
