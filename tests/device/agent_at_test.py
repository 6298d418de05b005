"""The agent's AT channel: the built-in responder, and modems that this test plays."""

import os
import pathlib
import struct
import sys
import tempfile
import unittest

sys.path.insert(0, str(pathlib.Path(__file__).resolve().parents[1]))
from wire.agent_process import AgentProcess, processor_ticks  # noqa: E402
from wire.hardware import Listener, Terminal  # noqa: E402
from wire.peer import parse_hello  # noqa: E402

MEM_INFO = 0x1002
AT, AT_ANSWER = 0x500D, 0xA011
AT_F9, AT_ANSWER_F9 = 0x705, 0x4005


def at_body(text):
    return struct.pack("<I", len(text)) + text


class AtTest(unittest.TestCase):
    def setUp(self):
        self.folder = tempfile.TemporaryDirectory(prefix="kivagent-")
        self.addCleanup(self.folder.cleanup)
        self.root = pathlib.Path(self.folder.name)

    def start(self, *arguments, **more):
        self.agent = AgentProcess(*arguments, data=self.root / "data", **more)
        self.addCleanup(self.agent.kill)
        self.peer = self.agent.peer
        self.said = b""
        return self.agent

    def say(self, text, **words):
        """Sends AT text; returns the result that it is confirmed with."""
        return self.peer.ask(AT, at_body(text), **words).head.result

    def answer_until(self, end, ident=AT_ANSWER):
        """All text that comes, up to `end`."""
        while end not in self.said:
            self.said += self.peer.indication(ident).body
        at = self.said.index(end) + len(end)
        taken, self.said = self.said[:at], self.said[at:]
        return taken


class TheBuiltInResponder(AtTest):
    def test_answers_and_the_greeting_says_that_there_is_an_at_port(self):
        self.start()
        hello = parse_hello(self.peer.greet().body)
        self.assertEqual(hello["abilities"] & 0x08, 0x08)
        self.assertEqual(self.say(b"AT\r\n"), 0)
        self.assertEqual(self.answer_until(b"OK\r\n"), b"AT\r\r\nOK\r\n")
        self.say(b"ATE0+CSQ\r\n")
        self.assertEqual(self.answer_until(b"OK\r\n"), b"ATE0+CSQ\r\r\n+CSQ: 20,0\r\n\r\nOK\r\n")

    def test_uses_the_other_ids_on_variant_249(self):
        self.start("--variant", "249")
        self.peer.greet()
        self.assertEqual(self.peer.ask(AT_F9, at_body(b"AT\r\n")).head.result, 0)
        self.assertEqual(self.answer_until(b"OK\r\n", AT_ANSWER_F9), b"AT\r\r\nOK\r\n")

    def test_puts_a_long_line_together(self):
        self.start()
        self.peer.greet()
        line = b"AT" + b";".join([b"+CSQ"] * 150) + b"\r\n"
        self.say(b"ATE0\r\n")
        self.answer_until(b"OK\r\n")
        for first in range(0, len(line), 400):
            self.assertEqual(self.say(line[first:first + 400]), 0)
        self.assertEqual(self.answer_until(b"OK\r\n"), b"\r\n+CSQ: 20,0\r\n" * 150 + b"\r\nOK\r\n")

    def test_begins_anew_with_each_session(self):
        self.start()
        self.peer.greet()
        self.say(b"ATE0V0\r\n")
        self.answer_until(b"\r0\r")
        self.say(b"AT+CGMI")
        self.peer.greet()
        self.say(b"AT\r\n")
        self.assertEqual(self.answer_until(b"OK\r\n"), b"AT\r\r\nOK\r\n")

    def test_waits_for_the_delay_of_a_line(self):
        self.start()
        self.peer.greet()
        self.assertEqual(self.say(b"AT\r\n", word32=200), 0)
        self.assertEqual(self.answer_until(b"OK\r\n"), b"AT\r\r\nOK\r\n")
        self.assertEqual(self.say(b"AT\r\n", word32=60001), 703)

    def test_refuses_bodies_that_are_wrong(self):
        self.start()
        self.peer.greet()
        for body, result in ((b"", 701), (b"\x01\0\0", 701), (b"\x02\0\0\0A", 701),
                             (b"\x01\0\0\0AT", 702), (b"\xff\xff\xff\xffAT", 701),
                             (at_body(b"A" * 4097), 702)):
            self.assertEqual(self.peer.ask(AT, body).head.result, result, body[:8])
        self.say(b"AT\r\n")
        self.assertEqual(self.answer_until(b"OK\r\n"), b"AT\r\r\nOK\r\n")

    def test_loses_nothing_of_a_flood(self):
        self.start()
        self.peer.greet()
        self.say(b"ATE0\r\n")
        self.answer_until(b"OK\r\n")
        tags = [self.peer.request(AT, at_body(b"AT+CLAC\r\n")) for _ in range(1000)]
        taken = sum(self.peer.confirmation(tag).head.result == 0 for tag in tags)
        self.assertGreater(taken, 0)
        answer = b"".join(self.answer_until(b"OK\r\n") for _ in range(taken))
        self.assertEqual(answer.count(b"AT+CSQ"), taken)
        self.say(b"AT+CSQ\r\n")
        self.assertEqual(self.answer_until(b"OK\r\n"), b"\r\n+CSQ: 20,0\r\n\r\nOK\r\n")


class AModem:
    """Over both kinds of ports."""

    def setUp(self):
        super().setUp()
        self.modem = self.kind(self.root / "modem")
        self.addCleanup(self.modem.unplug)

    def plug_in(self):
        self.modem.plug_in()
        self.modem.wait_for_agent()

    def start_plugged_in(self):
        self.modem.plug_in()
        agent = self.start("--at", self.modem.word + str(self.modem.path))
        self.modem.wait_for_agent()
        self.assertEqual(agent.first_notice(), self.modem.opened())
        self.peer.greet()
        return agent

    def test_gets_the_text_and_its_answer_comes_back(self):
        self.start_plugged_in()
        self.assertEqual(self.say(b"AT+CGMI\r\n"), 0)
        self.assertEqual(self.modem.read_until(b"\n"), b"AT+CGMI\r\n")
        self.modem.write(b"\r\nWho")
        self.answer_until(b"Who")
        self.modem.write(b"ever\r\n\r\nOK\r\n")
        self.assertEqual(self.answer_until(b"OK\r\n"), b"ever\r\n\r\nOK\r\n")

    def test_is_heard_unasked(self):
        self.start_plugged_in()
        self.modem.write(b"\r\nRING\r\n")
        self.assertEqual(self.answer_until(b"G\r\n"), b"\r\nRING\r\n")

    def test_gets_every_byte_and_all_but_zeros_comes_back(self):
        self.start_plugged_in()
        every = bytes(range(256)) * 16
        self.say(every[:4096])
        self.say(b"end")
        self.assertEqual(self.modem.read_until(b"end"), every[:4096] + b"end")
        self.modem.write(every + b"end")
        self.assertEqual(self.answer_until(b"end"), every.replace(b"\0", b"") + b"end")

    def test_is_told_when_it_is_not_there_and_may_come_later(self):
        agent = self.start("--at", self.modem.word + str(self.modem.path))
        self.assertEqual(agent.first_notice(), self.modem.missing())
        self.peer.greet()
        self.assertEqual(self.say(b"AT\r\n"), 0)
        self.assertEqual(self.answer_until(b"ERROR\r\n"),
                         f"\r\n*** the modem at {self.modem.path} is not there\r\nERROR\r\n".encode())
        self.plug_in()
        self.assertEqual(agent.first_notice(), self.modem.opened())
        self.say(b"AT\r\n")
        self.assertEqual(self.modem.read_until(b"\n"), b"AT\r\n")

    def test_may_go_and_come_back(self):
        agent = self.start_plugged_in()
        for _ in range(3):
            self.say(b"AT+CGMI\r\n")
            self.modem.read_until(b"\n")
            self.modem.unplug()
            self.assertEqual(self.answer_until(b"CARRIER\r\n"),
                             f"\r\n*** the modem at {self.modem.path} is gone\r\nNO CARRIER\r\n"
                             .encode())
            self.assertEqual(agent.first_notice(), self.modem.gone())
            self.assertEqual(self.peer.ask(MEM_INFO).head.result, 0)
            self.plug_in()
            self.assertEqual(agent.first_notice(), self.modem.opened())
            self.modem.write(b"\r\nOK\r\n")
            self.assertEqual(self.answer_until(b"OK\r\n"), b"\r\nOK\r\n")
        self.assertEqual(agent.terminate(), 0)

    def test_that_does_not_read_holds_nobody_up(self):
        agent = self.start_plugged_in()
        line = b"A" * 3998 + b"\r\n"
        results = []
        while 709 not in results:
            results.append(self.say(line))
            self.assertLess(len(results), 1000)
        self.assertEqual(set(results), {0, 709})
        self.assertEqual(self.peer.ask(MEM_INFO).head.result, 0)
        before = processor_ticks(agent.process.pid)
        self.peer.probe()
        self.assertLess(processor_ticks(agent.process.pid) - before, 50)
        for _ in range(results.count(0)):  # nothing of what was taken is lost
            self.assertEqual(self.modem.read_until(b"\n"), line)
        self.say(b"AT\r\n")
        self.assertEqual(self.modem.read_until(b"\n"), b"AT\r\n")

    def test_that_floods_is_read_as_fast_as_the_host_reads(self):
        self.start_plugged_in()
        os.set_blocking(self.modem.file, False)
        sent = 0
        line = b"\r\n+CREG: 1\r\n" * 100
        try:
            while sent < 100_000_000:
                sent += os.write(self.modem.file, line)
        except BlockingIOError:
            pass
        self.assertLess(sent, 100_000_000)
        os.set_blocking(self.modem.file, True)
        got = 0
        while got < sent:
            got += len(self.peer.indication(AT_ANSWER).body)
        self.assertEqual(got, sent)
        self.assertEqual(self.peer.gaps, 0)

    def test_that_talks_to_nobody_is_still_read(self):
        self.modem.plug_in()
        self.start("--at", self.modem.word + str(self.modem.path))
        self.modem.wait_for_agent()
        self.agent.first_notice()
        self.modem.write(b"\r\nRING\r\n" * 100_000)  # returns when the agent has read it
        self.peer.greet()
        self.modem.write(b"end")
        self.assertTrue(self.answer_until(b"end").endswith(b"end"))


class AModemAtATerminal(AModem, AtTest):
    kind = Terminal


class AModemBehindASocket(AModem, AtTest):
    kind = Listener


class TheCommandLine(AtTest):
    def test_refuses_what_is_no_port(self):
        for place in ("", "unix:", "?baud=9600", "/dev/x?baud=0", "/dev/x?speed=1",
                      "unix:" + "x" * 200):
            agent = self.start("--at", place)
            self.assertEqual(agent.wait(), 2)
            self.assertEqual(agent.first_notice(), f"kivagent: no AT port '{place}' (see --help)\n")

    @unittest.skipUnless(os.geteuid() == 0, "only root is refused")
    def test_refuses_root(self):
        agent = self.start("--at", str(self.root / "modem"), allow_root=False)
        self.assertEqual(agent.first_notice(),
                         "kivagent: as root no port of a modem or controller is opened without "
                         "--allow-root\n")
        self.assertEqual(agent.wait(), 1)


if __name__ == "__main__":
    unittest.main()
