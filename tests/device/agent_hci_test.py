"""The agent's HCI channel, and controllers that this test plays."""

import os
import pathlib
import struct
import sys
import tempfile
import unittest

sys.path.insert(0, str(pathlib.Path(__file__).resolve().parents[1]))
from wire import frames  # noqa: E402
from wire.agent_process import AgentProcess  # noqa: E402
from wire.frames import Head  # noqa: E402
from wire.hardware import Listener, Terminal  # noqa: E402
from wire.peer import parse_hello  # noqa: E402

MEM_INFO = 0x1002
HCI = 0x7E0C
RESET = bytes.fromhex("01030c00")
RESET_DONE = bytes.fromhex("040e0401030c00")
# By how the problem's text begins.
RESULTS = {b"no by": 703, b"no he": 703, b"the f": 703, b"fewer": 701, b"more ": 702}


def hci_body(text):
    return struct.pack("<BBHH", 0x10, 0, len(text) + 9, 0) + text


def command(parameters):
    """A command with so many bytes of parameters."""
    return b"\x01\x01\xfc" + bytes([parameters]) + bytes(range(parameters))


class HciTest(unittest.TestCase):
    def setUp(self):
        self.folder = tempfile.TemporaryDirectory(prefix="kivagent-")
        self.addCleanup(self.folder.cleanup)
        self.root = pathlib.Path(self.folder.name)

    def start(self, *arguments, **more):
        self.agent = AgentProcess(*arguments, data=self.root / "data", **more)
        self.addCleanup(self.agent.kill)
        self.peer = self.agent.peer
        return self.agent

    def type(self, line):
        """Sends a line as hosts do: in pieces of 400 characters."""
        text = line.decode("utf-8", "surrogateescape")
        for first in range(0, max(len(text), 1), 400):
            piece = text[first:first + 400].encode("utf-8", "surrogateescape")
            self.peer.send(Head(frames.SDT, HCI), hci_body(piece))

    def answer(self, result=0):
        message = self.peer.indication(HCI)
        self.assertEqual(message.head.result, result, message.body)
        return message.body


class AController:
    """Over both kinds of ports."""

    def setUp(self):
        super().setUp()
        self.controller = self.kind(self.root / "hci")
        self.addCleanup(self.controller.unplug)

    def start_plugged_in(self):
        self.controller.plug_in()
        agent = self.start("--hci", self.controller.word + str(self.controller.path))
        self.controller.wait_for_agent()
        self.assertEqual(agent.first_notice(), self.controller.opened())
        hello = parse_hello(self.peer.greet().body)
        self.assertEqual(hello["abilities"] & 0x20, 0x20)
        return agent

    def test_gets_the_packet_and_its_events_come_back_as_text(self):
        self.start_plugged_in()
        self.type(b"hci 01 03 0c 00")
        self.assertEqual(self.controller.read_until(RESET), RESET)
        self.controller.write(RESET_DONE)
        self.assertEqual(self.answer(), b"04 0e 04 01 03 0c 00\n")
        self.controller.write(RESET_DONE[:2])
        self.controller.write(RESET_DONE[2:] + RESET_DONE)  # one in pieces, and one behind it
        self.assertEqual(self.answer(), b"04 0e 04 01 03 0c 00\n")
        self.assertEqual(self.answer(), b"04 0e 04 01 03 0c 00\n")

    def test_gets_a_packet_whose_text_came_in_pieces(self):
        self.start_plugged_in()
        for parameters in (129, 130, 131, 132, 133, 134, 200, 255):
            packet = command(parameters)
            for text in (packet.hex(), packet.hex(" ")):
                self.type(text.encode())
                self.assertEqual(self.controller.read_until(packet), packet)
        packet = b"\x02\x01\x00\x64\x05" + bytes(range(230)) * 6
        self.type(b"hci " + packet.hex(" ").encode())
        self.assertEqual(self.controller.read_until(packet), packet)

    def test_gets_nothing_of_a_line_that_is_no_packet(self):
        self.start_plugged_in()
        rows = ((b"", b"no bytes, a line looks like 01 03 0c 00"),
                (b"hci", b"no bytes, a line looks like 01 03 0c 00"),
                (b"AT+CSQ", b"no bytes, a line looks like 01 03 0c 00"),
                (b"01 03 0c 0g", b"no hexadecimal bytes, a line looks like 01 03 0c 00"),
                (b"x" * 400 + b"y" * 400, b"no bytes, a line looks like 01 03 0c 00"),
                (b"\xff\xfe\x00 \x1b[2J", b"no hexadecimal bytes, a line looks like 01 03 0c 00"),
                (b"09 03 0c 00", b"the first byte is the packet's type, 01 to 05"),
                (b"01 03 0c 01", b"fewer bytes than the packet's header says"),
                (b"02 01 00 ff ff 00", b"more bytes than the packet's header says, or more than 2048"),
                (b"01 03 0c 00 00", b"more bytes than the packet's header says, or more than 2048"))
        for line, problem in rows:
            self.type(line)
            self.assertEqual(self.answer(RESULTS[problem[:5]]), b"*** HCI: " + problem + b"\n", line)
        self.type(b"01 03 0c 00")
        self.assertEqual(self.controller.read_until(RESET), RESET)  # the first that it gets

    def test_gets_nothing_of_a_line_that_is_wrong_behind_its_first_piece(self):
        self.start_plugged_in()
        whole = b"hci 01 01 fc 80 " + b"11 " * 128  # 400 characters, a packet
        rows = ((whole + b"ff 01 03 0c 00", b"more bytes than the packet's header says, or more than 2048"),
                (whole + b"01 03 0c 00", b"more bytes than the packet's header says, or more than 2048"),
                (whole + b"g", b"no hexadecimal bytes, a line looks like 01 03 0c 00"),
                # The first piece has more bytes than characters; behind it stands a packet.
                ("ü".encode() + b"0" * 399 + b"01 03 0c 00",
                 b"fewer bytes than the packet's header says"),
                (b"0" * 400 * 30 + b"01 03 0c 00",
                 b"more bytes than the packet's header says, or more than 2048"))
        for line, problem in rows:
            self.type(line)
            self.assertEqual(self.answer(RESULTS[problem[:5]]), b"*** HCI: " + problem + b"\n", line)
        self.type(b"01 03 0c 00")
        self.assertEqual(self.controller.read_until(RESET), RESET)  # the first that it gets

    def test_gets_a_line_of_exactly_one_piece_when_none_follows(self):
        self.start_plugged_in()
        packet = bytes.fromhex("0101fc80") + b"\x11" * 128
        self.type(b"hci 01 01 fc 80 " + b"11 " * 128)
        self.assertEqual(self.controller.read_until(packet), packet)
        self.type(b"01 03 0c 00")
        self.assertEqual(self.controller.read_until(RESET), RESET)

    def test_gives_up_a_piece_that_is_not_continued(self):
        self.start_plugged_in()
        self.type(command(255).hex(" ").encode()[:400])
        self.assertEqual(self.answer(703), b"*** HCI: no hexadecimal bytes, a line looks like 01 03 0c "
                                           b"00\n")
        self.type(b"01 03 0c 00")
        self.assertEqual(self.controller.read_until(RESET), RESET)

    def test_a_frame_with_another_head_is_refused(self):
        self.start_plugged_in()
        good = hci_body(b"01 03 0c 00")
        for tag, (body, result) in enumerate(((b"", 701), (good[:5], 701), (b"\x11" + good[1:], 703),
                                              (good + b" ", 703), (good[:-1], 703),
                                              (hci_body(b" " * 4097), 702)), 1):
            self.peer.send(Head(frames.SDT, HCI, tag), body)
            self.assertEqual(self.peer.confirmation(tag).head.result, result, body)
        self.peer.send(Head(frames.SDT, HCI), good)
        self.assertEqual(self.controller.read_until(RESET), RESET)

    def test_that_sends_what_begins_no_packet_is_told_once(self):
        self.start_plugged_in()
        told = f"*** HCI: the controller at {self.controller.path} sent what begins no packet\n"
        for _ in range(2):
            self.controller.write(b"\xff" * 100 + RESET_DONE)
            self.assertEqual(self.answer(), told.encode())
            self.assertEqual(self.answer(), b"04 0e 04 01 03 0c 00\n")

    def test_may_go_and_come_back(self):
        agent = self.start_plugged_in()
        path = self.controller.path
        for _ in range(3):
            self.controller.write(RESET_DONE + RESET_DONE[:4])  # a piece that never becomes whole
            self.answer()
            self.controller.unplug()
            self.assertEqual(self.answer(), f"*** HCI: the controller at {path} is gone\n".encode())
            self.assertEqual(agent.first_notice(), self.controller.gone())
            self.controller.plug_in()
            self.controller.wait_for_agent()
            self.assertEqual(agent.first_notice(), self.controller.opened())
            self.controller.write(RESET_DONE)
            self.assertEqual(self.answer(), b"04 0e 04 01 03 0c 00\n")
        self.assertEqual(agent.terminate(), 0)

    def test_is_told_when_it_is_not_there(self):
        agent = self.start("--hci", self.controller.word + str(self.controller.path))
        self.assertEqual(agent.first_notice(), self.controller.missing())
        self.peer.greet()
        self.type(b"01 03 0c 00")
        self.assertEqual(self.answer(712),
                         f"*** HCI: the controller at {self.controller.path} is not there\n".encode())

    def test_that_floods_loses_nothing(self):
        self.start_plugged_in()
        os.set_blocking(self.controller.file, False)
        sent = b""
        try:
            while len(sent) < 50_000_000:
                part = RESET_DONE * 500
                sent += part[:os.write(self.controller.file, part)]
                if len(sent) % len(RESET_DONE):  # cut within a packet: the port is full
                    break
        except BlockingIOError:
            pass
        self.assertLess(len(sent), 50_000_000)
        for _ in range(len(sent) // len(RESET_DONE)):
            self.assertEqual(self.answer(), b"04 0e 04 01 03 0c 00\n")
        self.assertEqual(self.peer.gaps, 0)
        self.assertEqual(self.peer.ask(MEM_INFO).head.result, 0)

    def test_that_does_not_read_holds_nobody_up(self):
        self.start_plugged_in()
        packet = command(255)
        line = packet.hex().encode()
        accepted = 0
        for tag in range(1, 5000):
            for first in range(0, len(line), 400):
                self.peer.send(Head(frames.SDT, HCI, tag), hci_body(line[first:first + 400]))
            accepted += 1
            self.peer.probe()
            if any(m.head.kind == frames.CNF for m in self.peer.received):
                break
        self.assertEqual([m.head.result for m in self.peer.received if m.head.kind == frames.CNF][0],
                         709)
        self.assertEqual(self.peer.ask(MEM_INFO).head.result, 0)
        for _ in range(accepted - 1):
            self.assertEqual(self.controller.read_until(packet), packet)


class AControllerAtATerminal(AController, HciTest):
    kind = Terminal


class AControllerBehindASocket(AController, HciTest):
    kind = Listener


class TheCommandLine(HciTest):
    def test_refuses_what_is_no_port(self):
        for place in ("", "unix:", "/dev/x?baud=0"):
            agent = self.start("--hci", place)
            self.assertEqual(agent.wait(), 2)
            self.assertEqual(agent.first_notice(), f"kivagent: no HCI port '{place}' (see --help)\n")

    @unittest.skipUnless(os.geteuid() == 0, "only root is refused")
    def test_refuses_root(self):
        agent = self.start("--hci", str(self.root / "hci"), allow_root=False)
        self.assertEqual(agent.first_notice(),
                         "kivagent: as root no port of a modem or controller is opened without "
                         "--allow-root\n")
        self.assertEqual(agent.wait(), 1)


if __name__ == "__main__":
    unittest.main()
