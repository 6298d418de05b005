"""Loads that nobody waits for any longer: what their late answers, and their ends, are taken for."""

import hashlib
import os
import signal
import struct
import unittest

from bench import SHORT_WAIT_MS, wait_for
from load_test import CHUNK, LOAD, LOAD_INFO, RECEIVING, STORED, Flash, TerminalCase
from scripted_device import ScriptedDevice


class Holding(Flash):
    """Keeps the answers to the chunk `held` until they are let go."""

    def __init__(self, held):
        super().__init__(self.hold)
        self.held, self.waiting = held, []

    def hold(self, _, head, index):
        if index == self.held:
            self.waiting.append((head, index, self.chunks[-1][1]))
        return index == self.held

    def let_go(self, device):
        waiting, self.waiting = self.waiting, []
        for head, index, count in waiting:
            device.confirm(head, struct.pack("<HHB", index, count, STORED if index + 1 == count else RECEIVING))


class LateAnswers(TerminalCase):
    def test_to_a_stopped_load_move_no_new_one(self):
        flash = Holding(0)
        device = self.device(flash)
        small, other = self.file(700, "small"), self.file(1221, "other")
        self.open(device.endpoint)
        os.write(self.master, f"ldnv {small}\n".encode())
        wait_for(lambda: flash.waiting, "the first load waits for its answer")
        self.process.send_signal(signal.SIGINT)
        self.read_until(rf"kiv: the load was stopped behind 0 of 1 chunks; {small} may be stored, the answer to "
                        r"its last chunk is missing\r\n.*kiv> ")
        os.write(self.master, f"ldnv {other}\n".encode())
        self.read_until(rf"kiv: {other} waits for the answer to the load before it\r\n")
        self.assertEqual(len(flash.chunks), 1)

        def refuse(device, head, _):
            device.confirm(head, result=719)
            return True

        flash.spoil = refuse
        flash.let_go(device)
        text = self.read_until(rf"kiv: the device refused chunk 1 of 1; {other} is not stored\r\n.*kiv> ")
        self.assertNotIn("kiv: stored", text)
        tags = [head.tag for head, _ in device.received]
        self.assertEqual(tags, [1, 1])  # the numbers begin anew, which is why the answer had to be waited for

    def test_to_a_line_before_a_reload_answer_no_new_one(self):
        waiting = []

        def answer(device, head, _):
            waiting.append(head)
            if len(waiting) == 2:
                device.confirm(waiting[0])

        device = self.device(answer)
        self.open(device.endpoint)
        os.write(self.master, b"sys_info\n")
        wait_for(lambda: waiting, "the first line waits for its answer")
        self.process.send_signal(signal.SIGINT)
        self.read_until(r"\^C\r\n.*kiv> ")
        os.write(self.master, b":reload\nsys_info\n")
        self.read_until(r"kiv: what answered 'sys_info' may be the answer to a line before the reload\r\n")
        self.assertEqual(waiting[0].tag, waiting[1].tag)

    def test_that_come_after_the_time_to_wait_leave_it_open_what_is_stored(self):
        def answer(device, head, index):
            if len(flash.chunks) == 2:  # to the first load
                device.confirm(head, struct.pack("<HHB", index, 1, STORED))
            return True

        flash = Flash(answer)
        device = self.device(flash)
        small, other = self.file(700, "small"), self.file(1221, "other")
        done = self.kiv("-c", f"ldnv {small}", "-c", ":reload", "-c", f"ldnv {other}", link=device.endpoint,
                        wait=SHORT_WAIT_MS)
        self.assertEqual([head.tag for head, _ in device.received], [1, 1])
        self.assertIn(f"kiv: {other} waits for the answer to the load before it\n", done.err)
        self.assertIn(f"kiv: {other} may be stored, the answer may be to a load before it\n", done.err)
        self.assertNotIn("kiv: stored", done.err)
        self.assertEqual(done.status, 3, done)

    def test_that_may_be_another_loads_are_settled_by_what_verify_finds(self):
        small, other = self.file(700, "small"), self.file(1221, "other")
        sha256 = hashlib.sha256(other.read_bytes()).hexdigest()
        for case, held in (("has it", other.read_bytes()), ("has another", b"x"), ("does not say", None)):
            with self.subTest(case):
                def answer(device, head, _):
                    if len(flash.chunks) == 2:
                        device.confirm(head, struct.pack("<HHB", 0, 1, STORED))
                        flash.file = held
                    return True

                def device_answer(device, head, body):
                    return None if head.id == LOAD_INFO and held is None else flash(device, head, body)

                flash = Flash(answer)
                device = ScriptedDevice(self.folder / case, device_answer)
                self.stack.callback(device.close)
                done = self.kiv("--verify", "-c", f"ldnv {small}", "-c", ":reload", "-c", f"ldnv {other}",
                                link=device.endpoint, wait=SHORT_WAIT_MS)
                told = done.err[done.err.index(f"kiv: {other} waits for "):]
                open_end = f"kiv: {other} may be stored, the answer may be to a load before it\n"
                if held is None:
                    self.assertTrue(told.endswith(
                        open_end + f"kiv: {other} is not verified: load_info was not answered\n"), told)
                    continue
                self.assertNotIn(open_end, told)
                if held == other.read_bytes():
                    self.assertRegex(told, rf"kiv: stored: {other}, 1221 bytes in .*\nkiv: verified: {other}, "
                                           rf"SHA-256 {sha256}\n$")
                else:
                    self.assertTrue(told.endswith(
                        f"kiv: {other} is not verified: the device has 1 bytes, SHA-256 "
                        f"{hashlib.sha256(held).hexdigest()}; the file 1221, {sha256}\n"), told)
                    self.assertNotIn("kiv: stored", told)


class LeftLoads(TerminalCase):
    """A load whose second chunk had no answer in time goes on when the answer comes."""

    def setUp(self):
        super().setUp()
        self.flash = Holding(1)
        self.scripted = self.device(self.flash)
        self.path = self.file(3 * CHUNK)
        self.open(self.scripted.endpoint, "--wait", SHORT_WAIT_MS)

    def leave(self):
        os.write(self.master, f"ldnv {self.path}\n".encode())
        self.read_until(r"kiv: no answer to chunk 2 of 3 within \d+ ms; the same line sends it again\r\n.*kiv> ")

    def test_name_their_file_however_they_end(self):
        self.leave()
        self.process.send_signal(signal.SIGINT)
        self.read_until(rf"kiv: the load was stopped behind 1 of 3 chunks; {self.path} is not stored\r\n.*kiv> ")
        self.flash.let_go(self.scripted)

        self.leave()
        os.write(self.master, b":reload\n")
        self.read_until(rf"kiv: the load was stopped behind 1 of 3 chunks; {self.path} is not stored\r\n")
        self.flash.let_go(self.scripted)

        self.leave()
        self.path.write_bytes(b"x" * 3 * CHUNK)
        self.flash.let_go(self.scripted)
        self.read_until(rf"kiv: the load ended behind 2 of 3 chunks; {self.path} is not stored\r\n")

        self.leave()
        self.path.write_bytes(b"y" * 3 * CHUNK)
        other = self.file(1, "other")
        os.write(self.master, f"ldnv {other}\n".encode())
        self.read_until(rf"kiv: the load ended behind 1 of 3 chunks; {self.path} is not stored\r\n"
                        rf"kiv: {other} is not sent\r\n")
        self.flash.let_go(self.scripted)

        self.leave()
        self.scripted.drop()
        # Whoever hears of it first, the console or the module, which ends the load then.
        self.read_until(rf"kiv: the (link was lost|load ended) behind 1 of 3 chunks; {self.path} is not stored\r\n"
                        r".*kiv: connected to")

        self.flash.waiting.clear()
        self.leave()
        os.write(self.master, b":quit\n")
        self.read_until(rf"kiv: the load was stopped behind 1 of 3 chunks; {self.path} is not stored\r\n")


if __name__ == "__main__":
    unittest.main()
