"""The agent at a serial port, which here is one end of a pseudo terminal: raw, any speed, unplugged and back."""

import fcntl
import os
import pathlib
import struct
import subprocess
import sys
import tempfile
import termios
import time
import unittest

sys.path.insert(0, str(pathlib.Path(__file__).resolve().parents[1]))
from wire.agent_process import AGENT, AgentProcess, processor_ticks, wait_until  # noqa: E402
from wire.peer import Peer  # noqa: E402

MEM_INFO, ECHO_NESTED, LINK_FAULT, IND_TICK = 0x1002, 0x1102, 0x1402, 0x1311
TCGETS2 = 0x802C542A  # struct termios2 of 44 bytes: four flags, line, 19 characters, two speeds


class Port:
    """A cable: plugged in, it is a link to a terminal under `path`; `peer` is the host's end."""

    def __init__(self, path):
        self.path = path
        self.host = None
        self.peer = None

    def plug_in(self):
        self.host, device = os.openpty()
        self.path.symlink_to(os.ttyname(device))
        os.close(device)
        self.peer = Peer(self.host, self.host)
        self.peer._write_some = lambda view: os.write(self.host, view[:256])

    def unplug(self):
        if self.host is not None:
            self.path.unlink()
            os.close(self.host)
            self.host = None

    def mode(self):
        """(the four flags, speed) that the agent has set."""
        fields = struct.unpack("<4IB19s2I", fcntl.ioctl(self.host, TCGETS2, bytes(44)))
        return fields[:4], fields[6:]


class SerialTest(unittest.TestCase):
    def setUp(self):
        self.folder = tempfile.TemporaryDirectory(prefix="kivagent-")
        self.addCleanup(self.folder.cleanup)
        self.root = pathlib.Path(self.folder.name)
        self.port = Port(self.root / "tty")
        self.addCleanup(self.port.unplug)

    def start(self, suffix="", **more):
        agent = AgentProcess("--serial", f"{self.port.path}{suffix}", data=self.root / "data", **more)
        self.addCleanup(agent.kill)
        return agent

    def opened(self, baud=115200):
        return f"kivagent: serial port {self.port.path} is open, {baud} baud\n"

    def start_plugged_in(self):
        """Nobody can write to a terminal whose other end is not open yet."""
        self.port.plug_in()
        agent = self.start()
        self.assertEqual(agent.first_notice(), self.opened())
        return agent

    def greet(self):
        self.assertEqual(self.port.peer.greet().head.result, 0)
        return self.port.peer


class ThePort(SerialTest):
    def test_is_raw_and_lets_every_byte_through(self):
        self.start_plugged_in()
        (inputs, outputs, controls, locals_), speeds = self.port.mode()
        self.assertEqual((inputs, outputs, locals_), (termios.IGNBRK, 0, 0))
        self.assertEqual(controls & (termios.CSIZE | termios.PARENB | termios.CSTOPB | termios.CREAD |
                                     termios.CLOCAL | termios.CRTSCTS),
                         termios.CS8 | termios.CREAD | termios.CLOCAL)
        self.assertEqual(speeds, (115200, 115200))
        peer = self.greet()
        for first in range(0, 256, 52):  # control characters, line ends, flow control, all of them
            body = bytes((first + n) % 256 for n in range(52))
            self.assertEqual(peer.ask(ECHO_NESTED, body).body, body)
        self.assertEqual(peer.probe(), (0, 0, 0, 0, 0))

    def test_has_any_speed(self):
        for baud in (1, 9600, 12345, 250000, 3000000, 20000000):
            self.port.plug_in()
            agent = self.start(f"?baud={baud}")
            self.assertEqual(agent.first_notice(), self.opened(baud))
            self.assertEqual(self.port.mode()[1], (baud, baud))
            self.greet()
            self.assertEqual(agent.terminate(), 0)
            self.port.unplug()

    def test_may_be_plugged_in_later(self):
        agent = self.start()
        self.assertEqual(agent.first_notice(),
                         f"kivagent: cannot open the serial port {self.port.path}, trying again and "
                         "again: No such file or directory\n")
        self.port.plug_in()
        self.assertEqual(agent.first_notice(), self.opened())
        self.greet()

    def test_is_a_terminal(self):
        self.port.path.write_text("a file stands here")
        agent = self.start()
        self.assertEqual(agent.first_notice(),
                         f"kivagent: cannot open the serial port {self.port.path}, trying again and "
                         "again: Inappropriate ioctl for device\n")
        self.port.path.unlink()
        self.port.plug_in()
        self.assertEqual(agent.first_notice(), self.opened())
        self.greet()
        self.assertEqual(agent.terminate(), 0)

    def test_comes_back_after_it_was_unplugged(self):
        agent = None
        for plugged in range(4):
            self.port.plug_in()
            agent = agent or self.start()
            self.assertEqual(agent.first_notice(), self.opened())
            peer = self.greet()
            tag = peer.request(MEM_INFO)
            self.assertEqual(peer.confirmation(tag).head.result, 0)
            # In the midst of what the agent sends, from the second time on.
            if plugged:
                peer.ask(LINK_FAULT, struct.pack("<BII", 6, 100_000, 1))
                peer.indication(IND_TICK)
            self.port.unplug()
            self.assertEqual(agent.first_notice(),
                             f"kivagent: serial port {self.port.path} is gone, trying again and again\n")
        self.assertEqual(agent.terminate(), 0)

    def test_that_is_gone_costs_no_processor_time(self):
        agent = self.start_plugged_in()
        self.greet()
        self.port.unplug()
        ticks = processor_ticks(agent.process.pid)
        begun = time.monotonic()
        wait_until(lambda: time.monotonic() - begun > 2)
        used_s = (processor_ticks(agent.process.pid) - ticks) / os.sysconf("SC_CLK_TCK")
        self.assertLess(used_s, 0.15)

    def test_that_nobody_reads_costs_no_processor_time_and_keeps_confirmations(self):
        agent = self.start_plugged_in()
        peer = self.greet()
        peer.ask(LINK_FAULT, struct.pack("<BII", 6, 1_000_000, 1))
        ticks = processor_ticks(agent.process.pid)
        begun = time.monotonic()
        wait_until(lambda: time.monotonic() - begun > 2)
        used_s = (processor_ticks(agent.process.pid) - ticks) / os.sysconf("SC_CLK_TCK")
        self.assertLess(used_s, 0.15)
        self.assertEqual(peer.ask(LINK_FAULT, struct.pack("<BII", 0, 0, 0)).head.result, 0)
        self.assertEqual(peer.ask(MEM_INFO).head.result, 0)
        self.assertEqual(peer.gaps, 0)

    def test_takes_noise_for_what_it_is(self):
        self.start_plugged_in()
        peer = self.port.peer
        peer.send_bytes(b"login: \r\n\x03\x1a\x04\x11\x13" + bytes(range(256)).replace(b"\x7e", b""))
        peer = self.greet()
        peer.send_bytes(b"\x00\xff login: \r\n")
        self.assertEqual(peer.ask(MEM_INFO).head.result, 0)
        self.assertEqual(peer.probe(), (1, 0, 0, 0, 0))


class CommandLine(SerialTest):
    def test_names_a_port_and_a_speed(self):
        for text in ("", "?baud=9600", "/dev/x?", "/dev/x?baud=", "/dev/x?baud=0", "/dev/x?baud=-1",
                     "/dev/x?baud=20000001", "/dev/x?baud=9600x", "/dev/x?baud=999999999",
                     "/dev/x?parity=odd", "/dev/x?baud=9600&baud=1", "/dev/x?baud=09600"):
            result = subprocess.run([str(AGENT), "--serial", text], stdin=subprocess.DEVNULL,
                                    text=True, capture_output=True, check=False)
            self.assertEqual((result.returncode, result.stdout, result.stderr),
                             (2, "", f"kivagent: no serial port '{text}' (see --help)\n"))

    @unittest.skipUnless(os.geteuid() == 0, "only root is refused")
    def test_is_refused_to_root(self):
        agent = self.start(allow_root=False)
        self.assertEqual(agent.first_notice(),
                         "kivagent: as root no serial port is opened without --allow-root\n")
        self.assertEqual(agent.wait(), 1)


if __name__ == "__main__":
    unittest.main()
