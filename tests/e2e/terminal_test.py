"""The console on a terminal: prompt, typed lines, texts that arrive, Ctrl-C and Ctrl-D."""

import os
import pty
import re
import select
import signal
import struct
import time
import unittest

from bench import DEADLINE_S, KIV, BenchCase, wait_for
from scripted_device import ScriptedDevice
from tests.wire import frames

PROMPT = "kiv> "
AT_ANSWER = 0xA011
IND_TICK = 0x1311


class Terminal(BenchCase):
    def open(self, *arguments, term="xterm"):
        self.master, slave = pty.openpty()
        self.stack.callback(os.close, self.master)
        self.seen = ""
        self.process = self.start([KIV, "--color", "never", "--link", self.child(), *arguments], stdin=slave, stdout=slave,
                                  stderr=slave, env=self.environment(TERM=term))
        os.close(slave)

    def device(self, **how):
        """One that answers nothing."""
        device = ScriptedDevice(self.folder / "device", lambda device, head, body: None, **how)
        self.stack.callback(device.close)
        return device

    def read_until(self, pattern):
        deadline = time.monotonic() + DEADLINE_S
        while not re.search(pattern, self.seen, re.S):
            left = deadline - time.monotonic()
            self.assertGreater(left, 0, f"no {pattern!r} in {self.seen!r}")
            if select.select([self.master], [], [], left)[0]:
                try:
                    data = os.read(self.master, 65536)
                except OSError:
                    data = b""
                self.assertTrue(data, f"ended without {pattern!r}: {self.seen!r}")
                self.seen += data.decode().replace("\r\n", "\n")
        text, self.seen = self.seen, ""
        return text

    def type(self, text):
        os.write(self.master, text.encode())

    def wait_connected(self):
        """Asks until the link is up: the greeting may come before or behind the first prompt."""
        text = ""
        while "kiv: connected to" not in text:
            self.type(":link\n")
            text = self.read_until(r":link\n.*\n" + PROMPT + "$")

    def test_a_prompt_comes_back_behind_each_answer(self):
        self.open()
        self.read_until(PROMPT + "$")
        self.wait_connected()
        self.type("nonsense\n")
        text = self.read_until(PROMPT + "$")
        self.assertIn("Command 'nonsense' is not exist\n" + PROMPT, text)
        self.type("nv_read 9\n")
        self.assertIn("*" * 20 + "\n", self.read_until(PROMPT + "$"))

    def test_end_of_input_ends_it_with_0(self):
        self.open()
        self.read_until(PROMPT + "$")
        self.type("\x04")
        self.assertEqual(self.process.wait(timeout=DEADLINE_S), 0)

    def test_the_word_quit_ends_it_with_0(self):
        self.open()
        self.read_until(PROMPT + "$")
        self.type(":quit\n")
        self.assertEqual(self.process.wait(timeout=DEADLINE_S), 0)

    def test_an_interrupt_at_the_prompt_gives_a_new_prompt(self):
        self.open()
        self.read_until(PROMPT + "$")
        self.wait_connected()
        os.kill(self.process.pid, signal.SIGINT)
        self.read_until("\n" + PROMPT + "$")
        self.type("nonsense\n")
        self.assertIn("Command 'nonsense' is not exist\n", self.read_until("exist\n" + PROMPT + "$"))

    def test_a_text_that_arrives_takes_the_prompts_place(self):
        device = self.device()
        self.open("--link", device.endpoint)
        self.read_until(PROMPT + "$")
        self.wait_connected()
        device.send(frames.Head(frames.IND, id=IND_TICK), struct.pack("<II", 2, 1000))
        text = self.read_until(r"number += 2 .*" + PROMPT + "$")
        self.assertTrue(text.startswith("\r\x1b[K\r\n.number "), text)

    def test_a_dumb_terminal_gets_no_escape_sequence(self):
        self.open(term="dumb")
        self.read_until(PROMPT + "$")
        self.wait_connected()
        self.type("ind_start 1,1000,2\n")
        self.assertNotIn("\x1b", self.read_until(r"number += 2 .*" + PROMPT + "$"))

    def test_an_interrupt_gives_up_waiting_for_an_answer(self):
        device = self.device()
        self.open("--link", device.endpoint, "--wait", "600000")
        self.read_until(PROMPT + "$")
        self.wait_connected()
        self.type("sys_info\n")
        self.read_until(r"\*{20}\n$")
        os.kill(self.process.pid, signal.SIGINT)
        self.read_until(PROMPT + "$")
        self.type("nonsense\n")
        self.assertIn("Command 'nonsense' is not exist\n", self.read_until("exist\n" + PROMPT + "$"))

    def test_a_line_that_arrives_in_pieces_takes_the_prompts_place_once(self):
        device = self.device()
        self.open("--link", device.endpoint, "--settle", "600000")
        self.read_until(PROMPT + "$")
        self.wait_connected()
        for piece in (b"R", b"I", b"NG\r", b"\n"):
            device.send(frames.Head(frames.IND, id=AT_ANSWER), piece)
            if piece == b"I":
                self.read_until("I$")
        self.assertEqual(self.read_until(PROMPT + "$"), "NG\n" + PROMPT)

    def test_a_text_without_an_end_gets_one_when_no_more_has_come_for_a_while(self):
        device = self.device()
        self.open("--link", device.endpoint, "--settle", "1")
        self.read_until(PROMPT + "$")
        self.wait_connected()
        device.send(frames.Head(frames.IND, id=AT_ANSWER), b"half")
        self.assertEqual(self.read_until("half\n" + PROMPT + "$"), "\r\x1b[K\rhalf\n" + PROMPT)

    def test_an_empty_line_goes_to_a_device_that_takes_every_line(self):
        device = self.device(versions=(248, 38))
        self.open("--link", device.endpoint)
        self.read_until(PROMPT + "$")
        self.wait_connected()
        self.type("\n")
        self.read_until(PROMPT + "$")
        wait_for(lambda: device.received, "the line comes")
        self.assertEqual([body for _, body in device.received], [b"\r\n"])


if __name__ == "__main__":
    unittest.main()
