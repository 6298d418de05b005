"""Lines that load a file: what the device gets, what the console says of it, and how it ends."""

import hashlib
import os
import pty
import re
import select
import signal
import struct
import threading
import time
import unittest

from bench import DEADLINE_S, KIV, SHORT_WAIT_MS, BenchCase, rows, wait_for
from scripted_device import ScriptedDevice

CHUNK = 2048
RECEIVING, STORED = 1, 2
LOAD, LOAD_INFO = 0x1203, 0x1204


class Flash:
    """The answers of a device that stores what it is sent; `spoil` may answer a chunk instead."""

    def __init__(self, spoil=None):
        self.spoil = spoil
        self.file = b""
        self.chunks = []  # (index, count, length) as they came

    def __call__(self, device, head, body):
        if head.id == LOAD_INFO:
            return device.confirm(head, struct.pack("<BI32sIHH", STORED, len(self.file),
                                                    hashlib.sha256(self.file).digest(), 0, 0, 0))
        if head.id != LOAD:
            return device.confirm(head)
        index, count = struct.unpack_from("<HH", body)
        length = struct.unpack_from("<H", body, 4 + CHUNK)[0]
        self.chunks.append((index, count, length))
        if self.spoil and self.spoil(device, head, index):
            return None
        self.file = (b"" if index == 0 else self.file) + body[4:4 + length]
        state = STORED if index + 1 == count else RECEIVING
        return device.confirm(head, struct.pack("<HHB", index, count, state))


def losing_one_answer():
    """The second chunk's first answer gets lost."""
    lost = []

    def lose(_, __, index):
        if index == 1 and not lost:
            lost.append(index)
            return True
        return False

    return lose


class LoadCase(BenchCase):
    def device(self, answer):
        device = ScriptedDevice(self.folder / "device", answer)
        self.stack.callback(device.close)
        return device

    def file(self, size, name="f.bin"):
        path = self.folder / name
        path.write_bytes(bytes((i * 7 + i // 256) % 256 for i in range(size)))
        return path

    def load(self, device, path, *arguments, **options):
        return self.kiv(*arguments, "-c", f"ldnv {path}", link=device.endpoint, **options)


class Load(LoadCase):
    def test_the_device_gets_the_file_in_chunks_and_the_console_says_stored(self):
        for size, chunks in ((1, 1), (2047, 1), (2048, 1), (2049, 2), (10 * CHUNK + 5, 11)):
            with self.subTest(size=size):
                flash = Flash()
                device = ScriptedDevice(self.folder / f"device{size}", flash)
                self.stack.callback(device.close)
                path = self.file(size)
                done = self.load(device, path)
                self.assertEqual(done.status, 0, done)
                self.assertEqual(done.out, "")
                self.assertRegex(done.err, rf"\nkiv: stored: {path}, {size} bytes in \S+ s, \S+ \S+\n$")
                self.assertEqual(flash.file, path.read_bytes())
                self.assertEqual([chunk[:2] for chunk in flash.chunks],
                                 [(i, chunks) for i in range(chunks)])

    def test_an_empty_file_sends_nothing_and_the_console_says_so(self):
        flash = Flash()
        path = self.file(0)
        done = self.load(self.device(flash), path)
        self.assertEqual(done.status, 1, done)
        self.assertEqual(done.out, "")
        self.assertTrue(done.err.endswith(f"kiv: {path} is empty: nothing was sent\n"), done)
        self.assertEqual(flash.chunks, [])

    def test_a_file_whose_first_read_fails_is_not_called_empty(self):
        flash = Flash()
        done = self.load(self.device(flash), "/proc/self/mem")
        self.assertEqual((done.status, done.out), (1, ""), done)
        self.assertTrue(done.err.endswith("kiv: nothing could be read of /proc/self/mem: nothing was sent\n"), done)
        self.assertEqual(flash.chunks, [])

    def test_lines_that_open_nothing_fail_with_the_modules_own_words(self):
        device = self.device(Flash())
        for line, words in (("ldnv", "Enter a file path.\n"),
                            (f"ldnv {self.folder}/none", "Enter a valid file path.\n"),
                            (f"LDNV {self.folder}", "Failed to open file. Check the file.\n")):
            with self.subTest(line=line):
                done = self.kiv("-c", line, link=device.endpoint)
                self.assertEqual((done.status, done.out), (1, words), done)

    def test_only_verbose_shows_each_confirmation(self):
        device = self.device(Flash())
        done = self.load(device, self.file(2049), "--verbose")
        self.assertEqual(done.status, 0, done)
        self.assertEqual(done.out, "".join(
            "\n" + rows(f".chunk_index = {i}", ".chunk_count = 2", f".state       = {state}")
            for i, state in ((0, RECEIVING), (1, STORED))))

    def test_a_refused_chunk_is_told_and_gives_1(self):
        def refuse(device, head, index):
            if index == 1:
                device.confirm(head, struct.pack("<HHB", 1, 3, RECEIVING), result=4243)
            return index == 1

        flash = Flash(refuse)
        path = self.file(3 * CHUNK)
        done = self.load(self.device(flash), path)
        self.assertEqual(done.status, 1, done)
        self.assertEqual(done.out, "\n" + rows(".chunk_index = 1", ".chunk_count = 3", ".state       = 1"))
        self.assertTrue(done.err.endswith(
            f"kiv: the device refused chunk 2 of 3; {path} is not stored\n"), done)
        self.assertEqual(len(flash.chunks), 2)

    def test_a_chunk_without_an_answer_gives_3_and_the_same_line_sends_it_again(self):
        flash = Flash(losing_one_answer())
        path = self.file(3 * CHUNK)
        device = self.device(flash)
        done = self.kiv("--wait", SHORT_WAIT_MS, "-c", f"ldnv {path}", "-c", f"ldnv {path}",
                        link=device.endpoint)
        self.assertEqual(done.status, 3, done)
        self.assertIn("kiv: no answer to chunk 2 of 3 within 2500 ms; the same line sends it again\n",
                      done.err)
        self.assertRegex(done.err, rf"\nkiv: stored: {path}, 6144 bytes in \S+ s, \S+ \S+\n$")
        self.assertEqual([chunk[0] for chunk in flash.chunks], [0, 1, 1, 2])
        self.assertEqual(flash.file, path.read_bytes())

    def test_another_path_typed_while_a_load_waits_is_told_not_stored(self):
        flash = Flash(losing_one_answer())
        path, other = self.file(2 * CHUNK), self.file(1, "other.bin")
        device = self.device(flash)
        done = self.kiv("--wait", SHORT_WAIT_MS, "-c", f"ldnv {path}", "-c", f"ldnv {other}",
                        link=device.endpoint)
        self.assertEqual(done.status, 3, done)
        self.assertIn(f"kiv: {other} is not sent: the load of {path} waited for its answer and goes on\n"
                      f"kiv: stored: {path}, 4096 bytes in ", done.err)
        self.assertEqual(flash.file, path.read_bytes())
        self.assertEqual([chunk[0] for chunk in flash.chunks], [0, 1, 1])

    def test_lines_in_between_that_send_nothing_do_not_hide_the_open_load(self):
        flash = Flash(losing_one_answer())
        path, other = self.file(2 * CHUNK), self.file(1, "other.bin")
        device = self.device(flash)
        done = self.kiv("--wait", SHORT_WAIT_MS, "-c", f"ldnv {path}", "-c", "ldnv", "-c",
                        f"ldnv {self.folder}/none", "-c", f"ldnv {other}", link=device.endpoint)
        self.assertEqual(done.status, 3, done)
        self.assertIn(f"kiv: {other} is not sent: the load of {path} waited for its answer and goes on\n"
                      f"kiv: stored: {path}, 4096 bytes in ", done.err)
        self.assertEqual(flash.file, path.read_bytes())

    def test_a_load_whose_answer_comes_late_tells_its_end(self):
        late = []

        def delay(_, head, index):
            if index == 1 and not late:
                late.append(head)
                return True
            return False

        flash = Flash(delay)
        path = self.file(3 * CHUNK)

        def answer(device, head, body):
            if head.id == LOAD:
                flash(device, head, body)
                return
            flash.file += path.read_bytes()[CHUNK:2 * CHUNK]
            device.confirm(late[0], struct.pack("<HHB", 1, 3, RECEIVING))
            wait_for(lambda: len(flash.chunks) == 3, "the load goes on")
            device.confirm(head)

        def drive(device, head, body):  # the second line waits for the load on a thread of its own
            threading.Thread(target=answer, args=(device, head, body), daemon=True).start()

        device = self.device(drive)
        done = self.kiv("--wait", "2500", "-c", f"ldnv {path}", "-c", "sys_info", link=device.endpoint)
        self.assertEqual(done.status, 3, done)
        self.assertIn(f"kiv: the answer came late: {path} is stored\n", done.err)
        self.assertEqual(flash.file, path.read_bytes())

    def test_a_file_of_size_0_that_has_bytes_is_never_stored(self):
        def refuse(device, head, _):
            device.confirm(head, result=715)
            return True

        done = self.load(self.device(Flash(refuse)), "/proc/self/maps")
        self.assertEqual(done.status, 1, done)
        self.assertNotIn("stored:", done.err)

    def test_verify_sends_no_text_to_a_device_that_takes_texts(self):
        for option, value in (("--product", "38"), ("--variant", "246")):
            with self.subTest(option=option):
                device = ScriptedDevice(self.folder / f"device{value}", Flash())
                self.stack.callback(device.close)
                path = self.file(1)
                done = self.load(device, path, option, value, "--verify")
                self.assertEqual(done.status, 1, done)
                self.assertTrue(done.err.endswith(
                    f"kiv: {path} is not verified: this device takes every question as a text\n"), done)
                self.assertEqual([head.id for head, _ in device.received], [LOAD])

    def test_a_lost_link_is_told_and_gives_4(self):
        def drop(device, _, index):
            if index == 2:
                device.drop()
            return index == 2

        path = self.file(5 * CHUNK)
        done = self.load(self.device(Flash(drop)), path)
        self.assertEqual(done.status, 4, done)
        self.assertIn(f"kiv: the link was lost behind 2 of 5 chunks; {path} is not stored\n", done.err)

    def test_a_file_that_changes_meanwhile_ends_the_load_with_1(self):
        path = self.file(5 * CHUNK)

        def change(_, __, index):
            if index == 1:
                path.write_bytes(b"x" * 5 * CHUNK)
            return False

        flash = Flash(change)
        done = self.load(self.device(flash), path)
        self.assertEqual(done.status, 1, done)
        self.assertEqual(len(flash.chunks), 2)
        self.assertIn(f"kiv: the load ended behind 2 of 5 chunks; {path} is not stored\n", done.err)
        self.assertTrue(done.out.startswith("\n"), done)

    def test_verify_compares_what_the_device_says_it_has(self):
        path = self.file(3 * CHUNK + 1)
        device = self.device(Flash())
        done = self.load(device, path, "--verify")
        self.assertEqual((done.status, done.out), (0, ""), done)
        sha256 = hashlib.sha256(path.read_bytes()).hexdigest()
        self.assertTrue(done.err.endswith(f"\nkiv: verified: {path}, SHA-256 {sha256}\n"), done)

    def test_verify_finds_a_device_that_has_something_else(self):
        path = self.file(CHUNK)
        flash = Flash()

        def answer(device, head, body):
            if head.id == LOAD_INFO:
                flash.file = b"other"
            flash(device, head, body)

        done = self.load(self.device(answer), path, "--verify")
        self.assertEqual((done.status, done.out), (1, ""), done)
        ours = hashlib.sha256(path.read_bytes()).hexdigest()
        theirs = hashlib.sha256(b"other").hexdigest()
        self.assertTrue(done.err.endswith(
            f"kiv: {path} is not verified: the device has 5 bytes, SHA-256 {theirs}; "
            f"the file 2048, {ours}\n"), done)

    def test_verify_is_no_line_of_the_history(self):
        self.load(self.device(Flash()), self.file(1), "--verify")
        self.assertEqual(self.kiv("-c", ":history").out, f"1  ldnv {self.folder}/f.bin\n")

    def test_an_interrupt_stops_a_batchs_load_with_130(self):
        flash = Flash(lambda _, __, index: index == 3)  # which is never answered
        path = self.file(9 * CHUNK)
        device = self.device(flash)
        process = self.start([KIV, "--link", device.endpoint, "--wait", "50000", "-c", f"ldnv {path}"])
        wait_for(lambda: len(flash.chunks) == 4, "the load waits for its fourth chunk")
        process.send_signal(signal.SIGINT)
        out, err = process.communicate(timeout=DEADLINE_S)
        self.assertEqual((process.returncode, out), (130, b""), err)
        self.assertIn(f"kiv: the load was stopped behind 3 of 9 chunks; {path} is not stored\n",
                      err.decode())


    def test_an_output_that_is_gone_stops_it_and_what_became_of_it_is_said(self):
        flash = Flash(lambda _, __, index: index == 1)  # which is never answered
        path = self.file(2 * CHUNK)
        command = [KIV, "--link", self.device(flash).endpoint, "--wait", "50000", "--verbose", "-c", f"ldnv {path}"]
        process = self.start(["sh", "-c", 'exec "$@" >&-', "sh", *command])
        _, err = process.communicate(timeout=DEADLINE_S)
        self.assertEqual(process.returncode, 1, err)
        self.assertTrue(err.decode().endswith(
            f"kiv: the load was stopped behind 1 of 2 chunks; {path} may be stored, the answer to its last chunk is "
            "missing\nkiv: standard output cannot be written\n"), err)
        self.assertEqual([chunk[0] for chunk in flash.chunks], [0, 1])


class TerminalCase(LoadCase):
    """A console on a pseudo terminal."""

    def open(self, link, *arguments):
        self.master, slave = pty.openpty()
        self.stack.callback(os.close, self.master)
        self.seen = ""
        self.process = self.start([KIV, "--link", link, "--wait", "50000", *arguments], stdin=slave,
                                  stdout=slave, stderr=slave, env=self.environment(TERM="xterm"))
        os.close(slave)
        self.read_until("kiv: connected to")

    def read_until(self, pattern):
        deadline = time.monotonic() + DEADLINE_S
        while not re.search(pattern, self.seen, re.S):
            left = deadline - time.monotonic()
            self.assertGreater(left, 0, f"no {pattern!r} in ...{self.seen[-1000:]!r}")
            if select.select([self.master], [], [], left)[0]:
                self.seen += os.read(self.master, 65536).decode()
        text, self.seen = self.seen, ""
        return text


class LoadOnATerminal(TerminalCase):
    def test_ctrl_c_stops_the_load_and_the_next_one_begins_anew(self):
        stuck = []

        def hold_first(_, head, index):
            if index != 3 or stuck:
                return False
            stuck.append(head)
            return True

        flash = Flash(hold_first)
        path = self.file(9 * CHUNK)
        device = self.device(flash)
        self.open(device.endpoint)
        os.write(self.master, f"ldnv {path}\n".encode())
        row = self.read_until(r"\[######-+\] 33 %, 6144 of 18432 bytes")
        self.assertNotIn("chunk_index", row)
        self.process.send_signal(signal.SIGINT)
        self.read_until(r"kiv: the load was stopped behind 3 of 9 chunks; \S+ is not stored\r\n.*kiv> ")
        os.write(self.master, f"ldnv {path}\n".encode())
        self.read_until(r"kiv: \S+ waits for the answer to the load before it\r\n")
        device.confirm(stuck[0], struct.pack("<HHB", 3, 9, RECEIVING))
        text = self.read_until(r"kiv: stored: \S+, 18432 bytes in .*kiv> ")
        self.assertNotIn("chunk_index", text)
        self.assertEqual([chunk[0] for chunk in flash.chunks], [0, 1, 2, 3, *range(9)])
        self.assertEqual(flash.file, path.read_bytes())


if __name__ == "__main__":
    unittest.main()
