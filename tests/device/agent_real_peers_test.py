"""The agent's ports against a modem and a controller that others have written."""

import pathlib
import struct
import sys
import tempfile
import unittest

sys.path[:0] = [str(pathlib.Path(__file__).resolve().parents[1]),
                str(pathlib.Path(__file__).resolve().parents[1] / "support")]
import hardware_peers  # noqa: E402
from wire import frames  # noqa: E402
from wire.agent_process import AgentProcess, wait_until  # noqa: E402
from wire.frames import Head  # noqa: E402

AT, AT_ANSWER, HCI = 0x500D, 0xA011, 0x7E0C


class PeerTest(unittest.TestCase):
    package, program = None, None

    def setUp(self):
        reason = hardware_peers.missing(self.package, self.program)
        if reason:
            self.skipTest(reason)
        folder = tempfile.TemporaryDirectory(prefix="kivpeer-")
        self.addCleanup(folder.cleanup)
        self.data = tempfile.TemporaryDirectory(prefix="kivagent-")
        self.addCleanup(self.data.cleanup)
        self.hardware = self.start_hardware(folder.name)
        self.addCleanup(self.hardware.close)
        wait_until(self.hardware.path.exists)

    def start(self, *arguments):
        agent = AgentProcess(*arguments, data=self.data.name)
        self.addCleanup(agent.kill)
        agent.peer.greet()
        return agent.peer


class Iaxmodem(PeerTest):
    package, program = "iaxmodem", "iaxmodem"
    start_hardware = staticmethod(hardware_peers.modem)

    def say(self, peer, text, end):
        """Sends a line; all that comes back up to `end`."""
        self.assertEqual(peer.ask(AT, struct.pack("<I", len(text)) + text).head.result, 0)
        said = b""
        while not said.endswith(end):
            said += peer.indication(AT_ANSWER).body
        return said

    def test_echoes_answers_and_refuses(self):
        peer = self.start("--at", str(self.hardware.path))
        self.assertRegex(self.say(peer, b"AT\r\n", b"OK\r\n"), rb"\AAT\r\n?\r\nOK\r\n\Z")
        self.say(peer, b"ATE0\r\n", b"OK\r\n")
        self.assertEqual(self.say(peer, b"AT\r\n", b"OK\r\n"), b"\r\nOK\r\n")
        self.assertEqual(self.say(peer, b"AT+CGMI\r\n", b"ERROR\r\n"), b"\r\nERROR\r\n")
        self.assertEqual(self.say(peer, b"ATS7=42\r\n", b"OK\r\n"), b"\r\nOK\r\n")
        self.assertIn(b"042", self.say(peer, b"ATS7?\r\n", b"OK\r\n"))


class Btvirt(PeerTest):
    package, program = "bluez-test-tools", "btvirt"
    start_hardware = staticmethod(hardware_peers.controller)

    def ask(self, peer, line):
        peer.send(Head(frames.SDT, HCI), struct.pack("<BBHH", 0x10, 0, len(line) + 9, 0) + line)
        return peer.indication(HCI).body

    def test_is_reset_and_says_its_version(self):
        peer = self.start("--hci", f"unix:{self.hardware.path}")
        self.assertEqual(self.ask(peer, b"hci 01 03 0c 00"), b"04 0e 04 01 03 0c 00\n")
        version = bytes.fromhex(self.ask(peer, b"hci_version 01 01 10 00").decode())
        self.assertEqual((version[:2], version[4:7]), (b"\x04\x0e", b"\x01\x10\x00"))
        self.assertEqual(len(version), 3 + version[2])
        self.assertEqual(self.ask(peer, b"01 03 0c 01"),
                         b"*** HCI: fewer bytes than the packet's header says\n")
        self.assertEqual(self.ask(peer, b"hci 01 03 0c 00"), b"04 0e 04 01 03 0c 00\n")


if __name__ == "__main__":
    unittest.main()
