"""Devices that mean harm, and a view that does not read: the console neither ends nor hangs, its memory
stays bounded, what was lost is told, and the next command works."""

import os
import random
import re
import select
import struct
import threading
import time
import unittest

from bench import BUILD, KIV, BenchCase, wait_for
from scripted_device import ScriptedDevice
import sweep
import sweep_report
from tests.wire import frames

ECHO_ID = 0x1101
TICK_ID = 0x1311
UNKNOWN_ID = 0x7654321

SANITIZED = (BUILD / "CMakeCache.txt").exists() and re.search(
    r"^KIV_SANITIZE:[A-Z]+=.+$", (BUILD / "CMakeCache.txt").read_text(encoding="utf-8"), re.MULTILINE)
# What a console may take at its peak: a queue of 4 MiB to the view, one message of 64 MiB under way and what
# it grew out of. Sanitizers keep what was freed.
MEMORY_LIMIT_KIB = (1024 if SANITIZED else 256) * 1024


def echo(value):
    """A line that comes back with `value` in its first row."""
    return f"echo_all {value},,,,,,,,,,[],[],[],[],[],[],[]"


def tick(number):
    return struct.pack("<II", number, number * 10)


def answer_all(device, head, body):
    device.confirm(head, body)


class Collector:
    """Reads a stream in the background while it is allowed to, and keeps all of it."""

    def __init__(self, stream):
        self._file = os.dup(stream.fileno())  # lives on when the bench closes the stream
        self._chunks, self.size = [], 0
        self._may_read = threading.Event()
        self._may_read.set()
        self._wake_read, self._wake_write = os.pipe()
        threading.Thread(target=self._read, daemon=True).start()

    def _read(self):
        while True:
            self._may_read.wait()
            ready, _, _ = select.select([self._file, self._wake_read], [], [])
            if self._wake_read in ready:
                os.read(self._wake_read, 1)
                continue
            data = os.read(self._file, 1 << 20)
            if not data:
                break
            self._chunks.append(data)
            self.size += len(data)
        for file in (self._file, self._wake_read, self._wake_write):
            os.close(file)

    def pause(self):
        self._may_read.clear()
        os.write(self._wake_write, b"x")

    def go_on(self):
        self._may_read.set()

    def text(self):
        return b"".join(self._chunks).decode()

    def wait(self, pattern, count=1):
        seen = [-1]

        def there():
            if self.size == seen[0]:
                return False
            seen[0] = self.size
            return len(re.findall(pattern, self.text())) >= count
        wait_for(there, f"{count} times {pattern!r}")


class Console:
    """A console that waits for lines on a pipe."""

    def __init__(self, case, link):
        self.case = case
        self.begin = time.monotonic()
        self.process = case.start([KIV, "--link", link, "--wait", "60000"])
        self.out, self.err = Collector(self.process.stdout), Collector(self.process.stderr)
        self.lines = 0

    def connected(self):
        self.err.wait("kiv: connected to ")
        return self

    def type(self, line):
        self.process.stdin.write(line.encode() + b"\n")
        self.process.stdin.flush()

    def peak_kib(self):
        with open(f"/proc/{self.process.pid}/status", encoding="ascii") as status:
            return int(re.search(r"VmHWM:\s+(\d+)", status.read()).group(1))

    def processor_seconds(self):
        with open(f"/proc/{self.process.pid}/stat", encoding="ascii") as stat:
            fields = stat.read().rpartition(")")[2].split()
        return (int(fields[11]) + int(fields[12])) / os.sysconf("SC_CLK_TCK")

    def works(self):
        """The next command is answered."""
        self.lines += 1
        value = 100 + self.lines
        self.type(echo(value))
        self.out.wait(rf"u8_value += {value} ", 2)

    def ends_well(self, what, tried):
        """Ends with status 0 within bounds, and leaves a row of what was found."""
        self.works()
        peak = self.peak_kib()
        self.process.stdin.close()
        self.case.assertEqual(self.process.wait(timeout=60), 0, self.err.text()[-2000:])
        sweep_report.write("hostile device, " + what, tried, time.monotonic() - self.begin,
                           f"peak {peak // 1024} MiB, status 0")
        self.case.assertLess(peak, MEMORY_LIMIT_KIB)


class HostileDevice(BenchCase):
    def device(self, answer=answer_all, **options):
        device = ScriptedDevice(self.folder / "device", answer, **options)
        self.stack.callback(device.close)
        return device

    def pair(self, answer=answer_all):
        device = self.device(answer)
        return device, Console(self, device.endpoint).connected()

    def test_noise_is_dropped_counted_and_told(self):
        device, console = self.pair()
        noise = random.Random(1)
        mebibytes = sweep.count(64)
        for _ in range(mebibytes):
            device.send_raw(noise.randbytes(1 << 20))
        device.send_raw(b"\x7e")
        console.err.wait("link: .*damaged frames from the device dropped")
        console.ends_well("MiB of noise", mebibytes)

    def test_a_frame_without_end_is_not_stored(self):
        device, console = self.pair()
        mebibytes = sweep.count(200)
        device.send_raw(b"\x7e")
        for _ in range(mebibytes):
            device.send_raw(b"x" * (1 << 20))
        device.send_raw(b"\x7e")
        console.err.wait("link: 1 damaged frames from the device dropped")
        console.ends_well("MiB of one frame", mebibytes)

    def test_claimed_lengths_cost_nothing(self):
        device, console = self.pair()
        count = sweep.count(10000)
        for number in range(count):
            length = (0xFFFFFFFF, 0x80000000, 64 * 1024 * 1024 + 1)[number % 3]
            device.send_raw(frames.encode_frame(
                frames.Head(frames.CNF, id=ECHO_ID, sequence=device.next_sequence(), length=length,
                            flags=frames.MORE_FOLLOWS), b"x" * 100), 1)
        console.err.wait("link: .*malformed frames from the device dropped")
        console.ends_well("claims of 4 GiB", count)

    def test_messages_that_are_never_finished_are_given_up(self):
        device, console = self.pair()
        count = sweep.count(2000)
        for number in range(count):
            device.send_raw(frames.encode_frame(
                frames.Head(frames.CNF, id=number, sequence=device.next_sequence(),
                            length=64 * 1024 * 1024, flags=frames.MORE_FOLLOWS), b"x" * 60000), 1)
        console.works()
        console.err.wait("link: .*unfinished messages from the device dropped")
        console.ends_well("unfinished messages of 64 MiB", count)

    def test_the_largest_messages_are_taken_and_given_back(self):
        device, console = self.pair()
        count = sweep.count(10)
        for _ in range(count):
            device.send(frames.Head(frames.CNF, id=UNKNOWN_ID), bytes(64 * 1024 * 1024))
        console.out.wait(r"\[ack\(0x7654321\)\]", count)
        console.ends_well("messages of 64 MiB", count)

    def test_unknown_ids_are_shown_and_do_no_harm(self):
        device, console = self.pair()
        count = sweep.count(20000)
        for kind in (frames.CNF, frames.IND, frames.SDT):
            device.send_many(frames.Head(kind, id=UNKNOWN_ID), [b"12345678"] * count)
        console.works()
        console.out.wait(r"\[ack\(0x7654321\)\]", count)
        console.ends_well("messages of unknown ids", 3 * count)

    def test_replies_that_nobody_asked_for_answer_no_line(self):
        count = sweep.count(5000)

        def answer(device, head, body):
            other_tags = frames.Head(frames.CNF, id=head.id, tag=(head.tag + 1) & 0xFFFF, result=709)
            device.send_many(other_tags, [b""] * count)
            other_ids = frames.Head(frames.CNF, id=head.id + 1, tag=head.tag, result=709)
            device.send_many(other_ids, [b""] * count)
            device.send_many(frames.Head(frames.IND, id=head.id, tag=head.tag, result=709), [b""] * count)
            device.confirm(head, body)
            device.confirm(head, body, 709)

        device = self.device(answer)
        lines = [word for number in range(5) for word in ("-c", echo(number))]
        result = self.kiv(*lines, link=device.endpoint)
        self.assertEqual(result.status, 0, result.err)
        self.assertEqual(len(device.received), 5)
        console = Console(self, device.endpoint).connected()
        console.ends_well("replies never asked for", 5 * 3 * count)

    def test_a_greeting_that_is_never_finished_is_no_device_and_costs_nothing(self):
        stop = threading.Event()

        def dribble(device):
            hello = frames.encode_frame(frames.Head(frames.HELLO, tag=1, length=100), bytes(64))
            while not stop.is_set():
                device.send_raw(hello[:40] if random.random() < 0.5 else b"\x01")
                stop.wait(0.01)

        device = self.device(greet=False)
        process = self.start([KIV, "--link", device.endpoint, "--wait", "1500", "-c", "help"])
        wait_for(lambda: device.greetings, "the host greets")
        thread = threading.Thread(target=lambda: self.ignoring_ends(dribble, device))
        thread.start()
        _, err = process.communicate(timeout=60)
        stop.set()
        thread.join()
        self.assertEqual(process.returncode, 4, err)
        self.assertIn(b"no line was run", err)

    @staticmethod
    def ignoring_ends(function, *arguments):
        try:
            function(*arguments)
        except OSError:
            pass

    def test_indications_as_fast_as_they_go_are_all_shown_and_every_line_is_answered(self):
        device, console = self.pair()
        count = sweep.count(100000)
        lines = 20
        before = console.peak_kib()

        def flood():
            for begin in range(0, count, 1000):
                device.send_many(frames.Head(frames.IND, id=TICK_ID),
                                 [tick(number) for number in range(begin, begin + 1000)])
        flooding = threading.Thread(target=flood)
        flooding.start()
        for number in range(lines):
            console.type(echo(number))
        flooding.join()
        console.out.wait(r"\.uptime_ms = ", count)
        for number in range(lines):
            console.out.wait(rf"u8_value += {number} ", 2)
        numbers = re.findall(r"\.number    = (\d+) ", console.out.text())
        self.assertEqual(numbers, [str(number) for number in range(count)])
        self.assertNotIn("lost", console.err.text())
        grown = console.peak_kib() - before
        console.ends_well(f"indications, memory grew by {grown // 1024} MiB", count)
        if not SANITIZED:
            self.assertLess(grown, 48 * 1024)

    # How long a view stands still: where all is tried longer than a silent device is borne.
    STANDSTILL_S = 10 if os.environ.get("KIV_SWEEP") in ("full", "torture") else 0

    def wait_for_standstill(self, progress, what):
        """Waits until `progress()` no longer changes: everything between device and view is full. So many looks
        without a change, since on a machine that is busy with others half a second may be nobody's turn."""
        state = [progress(), time.monotonic(), 0]

        def stands():
            now = progress()
            if now != state[0]:
                state[:] = [now, time.monotonic(), 0]
            state[2] += 1
            return time.monotonic() - state[1] > 0.5 and state[2] > 40
        wait_for(stands, what)

    def test_a_view_that_stops_reading_holds_the_device_up_and_loses_nothing(self):
        device, console = self.pair()
        count = 150000  # more than pipe, queue and socket hold
        sent = [0]

        def flood():
            for begin in range(0, count, 1000):
                device.send_many(frames.Head(frames.IND, id=TICK_ID),
                                 [tick(number) for number in range(begin, begin + 1000)])
                sent[0] = begin + 1000

        console.works()
        console.out.pause()
        flooding = threading.Thread(target=flood)
        flooding.start()
        self.wait_for_standstill(lambda: sent[0], "the device is held up")
        self.assertLess(sent[0], count)
        cpu = console.processor_seconds()
        console.type(echo(99))
        stop_at = time.monotonic() + self.STANDSTILL_S
        wait_for(lambda: time.monotonic() >= stop_at, "the view stood still")
        self.assertLess(console.processor_seconds() - cpu, 0.2 + 0.05 * self.STANDSTILL_S)
        console.out.go_on()
        flooding.join()
        console.out.wait(r"u8_value += 99 ", 2)
        console.out.wait(r"\.uptime_ms = ", count)
        numbers = re.findall(r"\.number    = (\d+) ", console.out.text())
        self.assertEqual(numbers, [str(number) for number in range(count)])
        self.assertNotIn("not connected", console.err.text())
        console.ends_well("a view that stops reading", count)

    def test_an_agent_drops_and_counts_what_a_standing_view_does_not_take_and_keeps_confirmations(self):
        console = Console(self, self.child()).connected()
        console.works()
        console.out.pause()
        amount = 100000
        console.type(f"link_fault 5,{amount}")
        for _ in range(3):
            console.type(f"link_fault 5,{amount}")
        console.type(echo(98))
        self.wait_for_standstill(console.processor_seconds, "all is full")
        stop_at = time.monotonic() + self.STANDSTILL_S
        wait_for(lambda: time.monotonic() >= stop_at, "the view stood still")
        console.out.go_on()
        console.out.wait(r"u8_value += 98 ", 2)

        def told():
            return sum(int(number) for number in re.findall(r"(\d+) indications dropped by the device",
                                                            console.err.text()))
        wait_for(lambda: len(re.findall(r"\.uptime_ms = ", console.out.text())) + told() >= 4 * amount,
                 "each indication is shown or told as dropped")
        console.works()
        self.assertEqual(len(re.findall(r"\.uptime_ms = ", console.out.text())) + told(), 4 * amount)
        self.assertGreater(told(), 0)
        console.ends_well("an agent's indications, dropped and told", 4 * amount)


if __name__ == "__main__":
    unittest.main()
