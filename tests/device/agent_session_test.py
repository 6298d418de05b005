"""The agent over pipes: what a host of the wire page sees of it."""

import pathlib
import select
import signal
import struct
import time
import sys
import tempfile
import unittest

sys.path.insert(0, str(pathlib.Path(__file__).resolve().parents[1]))
from wire import frames  # noqa: E402
from wire.agent_process import AgentProcess, memory_kib, wait_until  # noqa: E402
from wire.frames import Head  # noqa: E402
from wire.peer import PATIENCE_S, hello_body, parse_hello  # noqa: E402

ECHO_POINTLESS = 0x9999
MEM_INFO = 0x1002
IND_START = 0x1301
IND_STOP = 0x1302
IND_TICK = 0x1311
NV_READ = 0x1201


class AgentTest(unittest.TestCase):
    arguments = ()

    def setUp(self):
        self.folder = tempfile.TemporaryDirectory(prefix="kivagent-")
        self.addCleanup(self.folder.cleanup)
        self.agent = AgentProcess(*self.arguments, data=self.folder.name)
        self.addCleanup(self.agent.kill)
        self.peer = self.agent.peer


class Greeting(AgentTest):
    arguments = ("--name", "bench-7", "--variant", "246", "--product", "38")

    def test_says_who_it_is_and_repeats_the_tag(self):
        answer = self.peer.greet(name=b"host")
        hello = parse_hello(answer.body)
        self.assertEqual(answer.head.result, 0)
        self.assertEqual(answer.head.sequence, 0)
        self.assertEqual(len(hello.pop("fingerprint")), 8)
        self.assertEqual(hello, {"greeting": b"KIV-UNIT", "version": 1, "variant": 246,
                                 "product": 38, "abilities": 0x034F, "name": b"bench-7",
                                 "token": b""})

    def test_sends_nothing_before_it_was_greeted(self):
        self.peer.request(MEM_INFO)
        self.peer.send(Head(frames.KEEP_ALIVE, tag=5))
        self.peer.send(Head(frames.RAW, 1), b"test")
        self.peer.greet()
        self.assertEqual(self.peer.received, [])

    def test_refuses_protocol_version_0(self):
        answer = self.peer.greet(version=0)
        self.assertEqual(answer.head.result, 710)
        self.peer.request(MEM_INFO)
        self.assertEqual(self.peer.greet().head.result, 0)
        self.assertEqual(self.peer.received, [])

    def test_speaks_version_1_with_a_host_of_the_future(self):
        answer = self.peer.greet(version=9)
        self.assertEqual(answer.head.result, 0)
        self.assertEqual(parse_hello(answer.body)["version"], 1)

    def test_ignores_every_damaged_greeting(self):
        good = hello_body()
        bodies = [good[:n] for n in range(len(good))]
        bodies += [b"KIV-UNIT" + good[8:], good[:20] + b"\x21" + good[21:]]
        for body in bodies:
            self.peer.sequence = 0
            self.peer.send(Head(frames.HELLO), body)
        self.assertEqual(self.peer.greet().head.result, 0)
        self.assertEqual(self.peer.received, [])

    def test_ignores_what_stands_behind_the_token(self):
        self.peer.send(Head(frames.HELLO, tag=9), hello_body() + b"of the future")
        answer = self.peer.wait_for(lambda m: m.head.tag == 9)
        self.assertEqual((answer.head.kind, answer.head.result), (frames.HELLO, 0))

    def test_a_new_greeting_starts_numbers_and_counts_anew(self):
        self.peer.greet()
        self.peer.send_bytes(b"\x7e" + b"x" * 50 + b"\x7e")
        self.assertEqual(self.peer.probe()[0], 1)
        self.assertEqual(self.peer.greet().head.sequence, 0)
        self.assertEqual(self.peer.probe(), (0, 0, 0, 0, 0))
        self.assertEqual(self.peer.gaps, 0)

    def test_a_new_greeting_stops_indications(self):
        self.peer.greet()
        self.peer.ask(IND_START, struct.pack("<BII", 1, 1, 0))
        self.peer.indication(IND_TICK)
        self.peer.greet()
        self.peer.received.clear()
        stopped = self.peer.ask(IND_STOP, b"\x03")
        self.assertEqual(stopped.body, struct.pack("<BI", 0, 0))
        self.assertEqual(self.peer.received, [])


class Requests(AgentTest):
    def setUp(self):
        super().setUp()
        self.peer.greet()

    def test_an_unknown_id_is_confirmed_with_700(self):
        answer = self.peer.ask(ECHO_POINTLESS, b"abc", word16=7, word32=9)
        head = answer.head
        self.assertEqual((head.id, head.word16, head.word32, head.result, answer.body),
                         (ECHO_POINTLESS, 7, 9, 700, b""))

    def test_a_short_and_a_long_body_are_told_apart(self):
        self.assertEqual(self.peer.ask(NV_READ, b"\x01").head.result, 701)
        self.assertEqual(self.peer.ask(NV_READ, b"\x01\x00\x00").head.result, 702)
        self.assertEqual(self.peer.ask(MEM_INFO, b"\x01").head.result, 702)

    def test_ports_that_are_not_there_say_so(self):
        for ident in (0x500E, 0x7E0C):
            self.assertEqual(self.peer.ask(ident, b"AT").head.result, 704, hex(ident))
        self.assertEqual(self.peer.ask(0x705).head.result, 700)

    def test_an_sdt_frame_without_a_port_is_refused(self):
        self.peer.send(Head(frames.SDT, 0x7E0C, tag=3), bytes.fromhex("01030c00"))
        answer = self.peer.confirmation(3)
        self.assertEqual((answer.head.id, answer.head.result, answer.body), (0x7E0C, 704, b""))
        self.assertEqual(self.peer.indication(0x7E0C).body,
                         b"*** HCI: the device has no controller (kivagent --hci PORT)\n")

    def test_console_text_is_answered_that_there_is_no_shell(self):
        self.peer.send(Head(frames.RAW), b"ls\r\n")
        answer = self.peer.wait_for(lambda m: m.head.kind == frames.RAW)
        self.assertEqual((answer.head.id, answer.body),
                         (0, b"kivagent: the shell is not turned on\r\n"))

    def test_other_raw_text_is_ignored(self):
        self.peer.send(Head(frames.RAW, 2), b"what")
        self.assertEqual(self.peer.probe(), (0, 0, 0, 0, 0))
        self.assertEqual(self.peer.received, [])

    def test_every_request_of_a_long_row_is_confirmed_once(self):
        tags = [self.peer.request(MEM_INFO) for _ in range(2000)]
        confirmed = [self.peer.wait_for(lambda m: True).head.tag for _ in tags]
        self.assertEqual(confirmed, tags)
        self.assertEqual(self.peer.gaps, 0)


class RoutedRequests(AgentTest):
    ROUTE = bytes.fromhex("001122334455aabbccddeeff000000000000")

    def setUp(self):
        super().setUp()
        self.peer.greet()

    def head_of(self, inner, sequence=41, junk=b""):
        filler = junk or bytes(4)
        return (struct.pack("<I", sequence) + filler + struct.pack("<H", inner) + filler[:2] +
                self.ROUTE + bytes(6))

    def test_the_confirmation_is_wrapped_like_the_request(self):
        plain = self.peer.ask(0x1102, bytes(range(52))).body
        self.assertEqual(plain, bytes(range(52)))
        answer = self.peer.ask(0x7000, self.head_of(0x1102) + bytes(range(52)))
        self.assertEqual((answer.head.id, answer.head.result), (0x7000, 0))
        self.assertEqual(answer.body, self.head_of(0x1102) + plain)

    def test_reserved_bytes_come_back_as_zero(self):
        answer = self.peer.ask(0x7000, self.head_of(MEM_INFO, junk=b"\xff\xff\xff\xff"))
        self.assertEqual(answer.body[:36], self.head_of(MEM_INFO))
        self.assertEqual(len(answer.body), 36 + 28)

    def test_a_failing_inner_command_brings_its_result_and_the_head_alone(self):
        answer = self.peer.ask(0x7000, self.head_of(NV_READ) + b"\x09\x00")
        self.assertEqual((answer.head.result, answer.body), (705, self.head_of(NV_READ)))

    def test_a_wrapped_wrapping_is_an_unknown_command(self):
        answer = self.peer.ask(0x7000, self.head_of(0x7000) + self.head_of(MEM_INFO))
        self.assertEqual((answer.head.result, answer.body), (700, self.head_of(0x7000)))

    def test_every_shorter_body_is_too_short(self):
        whole = self.head_of(MEM_INFO)
        for length in range(36):
            answer = self.peer.ask(0x7000, whole[:length])
            self.assertEqual((answer.head.id, answer.head.result, answer.body),
                             (0x7000, 701, b""), length)


class BadLines(AgentTest):
    def setUp(self):
        super().setUp()
        self.peer.greet()

    def test_a_wrong_check_sequence_is_dropped_and_counted(self):
        line = bytearray(frames.encode_frame(Head(frames.REQUEST, MEM_INFO, 7, sequence=1)))
        line[-3] ^= 0x01
        self.peer.send_bytes(bytes(line))
        self.assertEqual(self.peer.probe(), (1, 0, 0, 0, 0))
        self.assertEqual(self.peer.received, [])

    def test_text_between_frames_does_no_harm(self):
        for noise in (b"ok\r\n", b"[  12.3] usb 1-1: new high-speed device, number 9\n" * 40):
            self.peer.send_bytes(noise)
            self.assertEqual(self.peer.ask(MEM_INFO).head.result, 0)
        self.assertEqual(self.peer.probe(), (2, 0, 0, 0, 0))

    def test_an_endless_frame_is_one_damaged_one(self):
        before_kib = memory_kib(self.agent.process.pid)
        self.peer.send_bytes(b"\x7e" + b"y" * 5_000_000 + b"\x7e")
        self.assertEqual(self.peer.probe(), (1, 0, 0, 0, 0))
        self.assertLess(memory_kib(self.agent.process.pid), before_kib + 2000)

    def test_a_gap_is_counted_and_the_session_goes_on(self):
        self.peer.sequence += 5
        self.assertEqual(self.peer.ask(MEM_INFO).head.result, 0)
        self.assertEqual(self.peer.probe(), (0, 5, 0, 0, 0))

    def test_a_repeated_frame_is_not_applied_twice(self):
        tag = self.peer.request(MEM_INFO)
        line = frames.encode_frame(Head(frames.REQUEST, MEM_INFO, tag,
                                        sequence=self.peer.sequence - 1))
        self.peer.send_bytes(line * 3)
        self.assertEqual(self.peer.probe(), (0, 0, 3, 0, 0))
        self.peer.confirmation(tag)
        self.assertEqual(self.peer.received, [])

    def test_a_promised_length_of_4_gib_costs_nothing(self):
        head = Head(frames.REQUEST, MEM_INFO, 7, sequence=1, length=0xFFFFFFFF, flags=1)
        self.peer.send_bytes(frames.encode_frame(head, b"x" * 100))
        self.peer.sequence += 1
        self.assertEqual(self.peer.probe(), (1, 0, 0, 0, 0))

    def test_a_message_that_is_broken_off_is_counted(self):
        line = frames.encode_frame(Head(frames.RAW, 1, 7, sequence=1, length=100, flags=1), b"x")
        self.peer.send_bytes(line)
        self.peer.sequence += 1
        self.assertEqual(self.peer.ask(MEM_INFO).head.result, 0)
        self.assertEqual(self.peer.probe(), (0, 0, 0, 1, 0))


class LongMessages(AgentTest):
    def line_test(self, body, payload_bytes=frames.MAX_PAYLOAD):
        tag = 77
        self.peer.send(Head(frames.RAW, 1, tag), body, payload_bytes)
        answer = self.peer.wait_for(lambda m: m.head.kind == frames.RAW)
        self.assertEqual((answer.head.id, answer.head.tag), (1, tag))
        self.assertTrue(answer.body == body, "the body came back changed")

    def test_come_back_whole_whatever_their_length(self):
        self.peer.greet()
        pattern = bytes(range(256)) * 40_000
        for length in (0, 1, 65499, 65500, 65501, 65535, 65536, 65537, 131000, 10_000_000):
            self.line_test(pattern[:length])
        self.assertEqual(self.peer.probe(), (0, 0, 0, 0, 0))
        self.assertEqual(self.peer.gaps, 0)

    def test_come_back_whole_when_every_byte_is_escaped(self):
        self.peer.greet()
        self.line_test(b"\x7e\x7d" * 100_000)

    def test_may_be_cut_anywhere(self):
        self.peer.greet()
        self.line_test(bytes(range(256)), 1)
        self.line_test(bytes(range(256)) * 5, 7)

    def test_are_answered_probes_in_between(self):
        self.peer.greet()
        line, count = frames.encode_message(Head(frames.RAW, 1, 7), b"abcdef", 1, 3)
        self.assertEqual(count, 2)
        first, last = line.split(b"\x7e\x7e")
        self.peer.send_bytes(first + b"\x7e")
        self.peer.sequence += 1
        self.peer.probe()
        self.peer.send(Head(frames.RAW, 1, 7, flags=0), b"")  # something else: breaks it off
        self.peer.send_bytes(b"\x7e" + last)
        self.assertEqual(self.peer.wait_for(lambda m: m.head.kind == frames.RAW).body, b"")
        self.assertEqual(self.peer.received, [])

    def test_of_64_mib_are_taken_and_longer_ones_are_not(self):
        self.peer.greet()
        self.line_test(bytes(frames.MAX_BODY))
        self.peer.send_bytes(frames.encode_frame(
            Head(frames.RAW, 1, 7, sequence=self.peer.sequence, length=frames.MAX_BODY + 1,
                 flags=1), b"x"))
        self.peer.sequence += 1
        self.assertEqual(self.peer.probe(), (1, 0, 0, 0, 0))


class SlowHosts(AgentTest):
    def write_unread(self, data):
        view = memoryview(data)
        while view:
            select.select([], [self.agent.process.stdin], [], PATIENCE_S)
            view = view[self.agent.process.stdin.write(view[:4096]):]

    def send_without_reading(self, ident, body, tag):
        line = frames.encode_frame(
            Head(frames.REQUEST, ident, tag, sequence=self.peer.sequence, length=len(body)), body)
        self.peer.sequence += 1
        self.write_unread(line)

    def timer_is_set(self):
        """False when it is off and the agent sleeps, so that it is not just being set."""
        process = pathlib.Path(f"/proc/{self.agent.process.pid}")
        for file in (process / "fdinfo").iterdir():
            text = file.read_text()
            if "it_value" in text:
                off = "it_value: (0, 0)" in text and "ticks: 0" in text
                return not off or "State:\tS" not in (process / "status").read_text()
        raise AssertionError("the agent has no timer")

    def timer_stays_off(self):
        """For longer than a loaded machine keeps the agent from setting it again."""
        for _ in range(50):
            if self.timer_is_set():
                return False
            time.sleep(0.01)
        return True

    def test_lose_the_oldest_indications_and_no_confirmation(self):
        self.peer.greet()
        tags = range(1000, 4000)
        for tag in tags:  # more than the pipe holds
            self.send_without_reading(MEM_INFO, b"", tag)
        self.send_without_reading(IND_START, struct.pack("<BII", 1, 1, 600), 5000)
        wait_until(self.timer_is_set)
        wait_until(self.timer_stays_off)
        for tag in tags:
            self.assertEqual(self.peer.confirmation(tag).head.result, 0)
        self.assertEqual(self.peer.confirmation(5000).head.result, 0)
        told = [self.peer.indication(IND_TICK) for _ in range(256)]
        self.assertEqual([struct.unpack_from("<I", m.body)[0] for m in told],
                         list(range(345, 601)))
        self.assertEqual({m.head.word32 for m in told}, {344})
        self.assertEqual(self.peer.probe(), (0, 0, 0, 0, 344))
        self.assertEqual((self.peer.gaps, self.peer.received), (0, []))

    def test_get_probes_answered_in_the_midst_of_a_long_message(self):
        self.peer.greet()
        body = bytes(1_000_000)
        line, count = frames.encode_message(Head(frames.RAW, 1, 7), body, 1)
        self.peer.sequence += count
        probe = frames.encode_frame(Head(frames.KEEP_ALIVE, tag=8, sequence=self.peer.sequence))
        self.write_unread(line + probe)
        first = self.peer.wait_for(lambda m: True)
        self.assertEqual((first.head.kind, first.head.tag), (frames.KEEP_ALIVE, 8))
        self.assertEqual(self.peer.wait_for(lambda m: True).body, body)

    def test_cannot_make_it_keep_more_than_it_says(self):
        self.peer.greet()
        body = bytes(16_000_000)
        for tag in range(9):  # the ninth stands beyond 128 MiB
            line, count = frames.encode_message(Head(frames.RAW, 1, tag), body, self.peer.sequence)
            self.peer.sequence += count
            self.write_unread(line)
        self.send_without_reading(MEM_INFO, b"", 700)
        tags = [self.peer.wait_for(lambda m: m.head.kind == frames.RAW).head.tag for _ in range(9)]
        self.assertEqual(tags, list(range(9)))
        self.assertEqual(self.peer.confirmation(700).head.result, 709)
        self.assertEqual(self.peer.ask(MEM_INFO).head.result, 0)


class Ending(AgentTest):
    def takes_signals_in_order(self):
        status = pathlib.Path(f"/proc/{self.agent.process.pid}/status").read_text()
        blocked = int(status.split("SigBlk:")[1].split()[0], 16)
        return bool(blocked >> (signal.SIGTERM - 1) & 1)

    def test_the_end_of_its_input_ends_it_with_0(self):
        self.peer.greet()
        self.agent.close_input()
        self.peer.wait_for_end()
        self.assertEqual(self.agent.wait(), 0)

    def test_what_was_asked_before_the_end_is_still_answered(self):
        self.peer.greet()
        tags = [self.peer.request(MEM_INFO) for _ in range(500)]
        self.agent.close_input()
        for tag in tags:
            self.assertEqual(self.peer.confirmation(tag).head.result, 0)
        self.assertEqual(self.agent.wait(), 0)

    def test_a_host_that_does_not_read_cannot_keep_it(self):
        self.peer.greet()
        self.peer.send_bytes(frames.encode_message(Head(frames.RAW, 1), bytes(4_000_000), 1)[0])
        self.agent.close_input()
        self.assertEqual(self.agent.wait(), 0)

    def test_a_host_that_has_gone_ends_it(self):
        self.peer.greet()
        self.agent.process.stdout.close()
        line, _ = frames.encode_message(Head(frames.REQUEST, MEM_INFO, 1), b"", 1)
        self.agent.process.stdin.write(line)
        self.assertEqual(self.agent.wait(), 0)

    def test_sigterm_ends_it_with_0(self):
        self.peer.greet()
        self.assertEqual(self.agent.terminate(), 0)

    def test_sigterm_ends_it_before_a_greeting(self):
        wait_until(self.takes_signals_in_order)
        self.assertEqual(self.agent.terminate(), 0)
