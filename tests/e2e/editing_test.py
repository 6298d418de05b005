"""The line under edit on a terminal: what arrives, what is typed, resizing, pasting, and every way to end."""

import os
import signal
import termios
import unittest

from bench import DEADLINE_S, KIV
from screen_model import ScreenModel
from scripted_device import ScriptedDevice
from tests.wire import frames
from typist import AT_ANSWER, PROMPT, Typist


class Arriving(Typist):
    def test_a_text_stands_above_a_line_of_one_row_and_the_cursor_stays_in_it(self):
        self.open_with_device()
        self.type("nv_raed 7\x1b[D\x1b[D\x1b[D\x1b[D")
        self.wait_since(PROMPT + "nv_raed 7", 0, len(PROMPT) + 5)
        self.arrive("RING", "RING")
        self.wait_since(f"RING\nRING\n{PROMPT}nv_raed 7", 2, len(PROMPT) + 5)
        self.type("\x14\r")  # exchanges the two characters at the cursor
        self.wait(lambda: len(self.device.received) == 1 and PROMPT + "nv_read 7\n" in self.since())

    def test_a_text_stands_above_a_line_of_three_rows_with_wide_and_combining_characters(self):
        characters = ["漢", "字", "か", "な", "交", "じ", "り", "文", " ", "e\u0301", "l", "e\u0300", "v", "e", " "] * 8
        drawn = ScreenModel(self.columns, self.height)
        drawn.feed((PROMPT + "".join(characters[:-30])).encode())
        row, column = drawn.cursor
        drawn.feed("".join(characters[-30:]).encode())
        self.assertEqual((row, drawn.row), (1, 2))
        self.open_with_device()
        self.type("".join(characters) + "\x1b[D" * 30)
        self.wait_since(drawn.text(), row, column)
        above = ""
        for number in range(1, 6):
            self.arrive(f"+CREG: {number}")
            above += f"+CREG: {number}\n"
            self.wait_since(above + drawn.text(), row + number, column)

    def test_a_line_of_three_rows_is_erased_whole_also_from_its_last_row(self):
        self.open_with_device()
        line = PROMPT + "word " * 40
        rows = "\n".join(line[i:i + self.columns].rstrip() for i in range(0, len(line), self.columns))
        end = len(line) % self.columns
        self.type("word " * 40)
        self.wait_since(rows, 2, end)
        self.arrive("RING")
        self.wait_since("RING\n" + rows, 3, end)

    def test_many_texts_cost_few_drawings_of_the_line(self):
        texts = [f"+CREG: {number}" for number in range(2000)]
        self.open_with_device()
        self.type("half a line")
        self.wait(PROMPT + "half a line")
        self.raw = b""
        # As somebody does who looks at the screen: all of them are there when the terminal goes on.
        termios.tcflow(self.slave, termios.TCOOFF)
        self.arrive(*texts)
        self.device.wait_taken()
        termios.tcflow(self.slave, termios.TCOON)
        self.wait_since("\n".join([*texts, PROMPT + "half a line"]), len(texts), len(PROMPT + "half a line"))
        self.assertLess(self.raw.count(b"half a line"), 400)

    def test_keys_end_the_wait_for_the_rest_of_an_unfinished_text(self):
        self.open_with_device("--settle", "600000")
        self.type("ab")
        self.wait(PROMPT + "ab")
        self.device.send(frames.Head(frames.IND, id=AT_ANSWER), b"half")
        self.wait(lambda: self.since() == "half")
        self.type("c")
        self.wait_since(f"half\n{PROMPT}abc", 1, len(PROMPT) + 3)


class Keys(Typist):
    def test_control_r_finds_a_line_of_the_run_before(self):
        self.open_with_device()
        self.type("nonsense one\rnonsense two\r")
        self.wait(lambda: self.screen.text().count("is not exist") == 2 and self.ends_with("\n" + PROMPT))
        self.type("\x04")
        self.assertEqual(self.wait_ended(), 0)
        self.open(link=self.device.endpoint)
        self.wait_connected()
        while PROMPT + "nonsense" not in self.screen.text():  # until the history is loaded
            self.type("\x10")
            self.look(0.2)
        self.type("\x1b>\x15")
        self.wait(lambda: self.ends_with("\n" + PROMPT))
        self.mark()
        self.type("\x12one")
        self.wait(lambda: "`one': nonsense one" in self.since())
        self.type("\r")
        self.wait(lambda: self.ends_with("is not exist\n" + PROMPT))
        self.assertIn(PROMPT + "nonsense one\n", self.since())
        self.type("\x1b[A\x1b[A\x1b[A")
        self.wait(PROMPT + "nonsense one")

    def test_lines_typed_before_the_history_is_loaded_stand_behind_it(self):
        self.open_with_device()
        self.type("nonsense\r")
        self.wait(lambda: self.ends_with("exist\n" + PROMPT))
        self.type("\x10")
        self.wait(PROMPT + "nonsense")

    def test_the_users_inputrc_holds(self):
        inputrc = self.folder / "inputrc"
        inputrc.write_text('$if kiv\n"\\C-t": "from the inputrc"\n$endif\n')
        self.open_with_device(INPUTRC=str(inputrc))
        self.type("\x14")
        self.wait(PROMPT + "from the inputrc")

    def test_control_c_drops_a_line_of_three_rows(self):
        self.open_with_device()
        self.type("word " * 40 + "\x01")
        self.wait(lambda: self.screen.cursor == (self.marked, len(PROMPT)) and len(self.since()) > 200)
        self.type("\x03")
        self.wait(lambda: self.ends_with("word ^C\n" + PROMPT))
        self.assertEqual(self.device.received, [])

    def test_control_c_ends_a_search_and_the_wait_for_an_answer_and_drops_what_was_typed_ahead(self):
        self.open_with_device("--wait", "600000")
        self.type("\x12zz\x03")
        self.wait("^C\n" + PROMPT)
        self.type("sys_info\r")
        self.wait(lambda: len(self.device.received) == 1)
        self.type("nonsense\rmore\r")
        self.type("\x03")
        self.wait("^C\n" + PROMPT)
        self.type("other\r")
        self.wait("Command 'other' is not exist\n" + PROMPT)
        self.assertNotIn("nonsense", self.screen.text())
        self.assertNotIn("more", self.screen.text())

    def test_control_d_deletes_in_a_line_and_ends_on_an_empty_one(self):
        self.open_with_device()
        self.type("ab\x01\x04")
        self.wait(lambda: self.since() == PROMPT + "b")
        self.type("\x0b\x04")
        self.assertEqual(self.wait_ended(), 0)
        self.assert_terminal_restored()
        self.assertEqual(self.screen.column, 0)

    def test_what_is_typed_while_a_line_runs_is_kept_unseen_until_its_turn(self):
        held = []
        self.open_with_device("--wait", "600000", answer=lambda device, head, body: held.append(head))
        self.type("nv_read 7\r")
        self.wait(lambda: len(held) == 1)
        self.type("first\rsecond\rthi")
        self.arrive("RING")
        self.wait(lambda: "RING" in self.since())
        self.assertNotIn("first", self.since())
        self.device.confirm(held[0], b"", 22)
        self.wait(lambda: self.ends_with(f"{PROMPT}first\nCommand 'first' is not exist\n"
                                         f"{PROMPT}second\nCommand 'second' is not exist\n{PROMPT}thi"))

    def test_more_keys_than_a_terminal_keeps_are_kept_and_control_c_is_seen(self):
        held = []
        self.open_with_device("--wait", "600000", answer=lambda device, head, body: held.append(head))
        self.type("nv_read 7\r")
        self.wait(lambda: len(held) == 1)
        self.type("x" * 20000)
        self.type("\x03")
        self.wait("^C\n" + PROMPT)
        self.assertNotIn("xxx", self.screen.text())


class Resizing(Typist):
    LINE = "word " * 40

    def laid_out(self, columns):
        """Changes the width and waits until the line stands there as it is to be, its cursor at its end."""
        text = PROMPT + self.LINE
        rows = [text[i:i + columns].rstrip() for i in range(0, len(text), columns)]
        changes = columns != self.screen.columns
        if changes:
            self.resize(columns)
        # The terminal itself may have laid it out so already: the console has, when it has erased it before.
        self.wait(lambda: (not changes or b"\x1b[J" in self.raw) and self.screen.column == len(text) % columns and
                  self.screen.rows()[self.screen.row - len(rows) + 1:self.screen.row + 1] == rows,
                  f"laid out for {columns}")

    def test_a_line_is_laid_out_anew_and_stands_there_once(self):
        self.open_with_device()
        self.arrive("RING")
        self.wait("RING\n" + PROMPT)
        self.type(self.LINE)
        for columns in (90, 60, 100, 33, 120, 79):
            self.laid_out(columns)
            text = PROMPT + self.LINE
            once = "\n".join(text[i:i + columns] for i in range(0, len(text), columns)).count("word word")
            self.assertEqual(self.screen.text().count("word word"), once)
            self.assertEqual(self.screen.text().count("RING"), 1)

    def test_on_a_terminal_that_cuts_rows_no_text_above_is_lost(self):
        self.open_with_device(reflows=False, XTERM_VERSION="XTerm(379)")
        self.arrive("RING")
        self.wait("RING\n" + PROMPT)
        self.type(self.LINE)
        for columns in (90, 100, 60, 120):
            self.laid_out(columns)
            self.assertEqual(self.screen.text().count("RING"), 1)

    def test_a_change_while_a_line_runs_is_seen_at_the_next_prompt(self):
        held = []
        self.open_with_device("--wait", "600000", answer=lambda device, head, body: held.append(head))
        self.type("nv_read 7\r")
        self.wait(lambda: len(held) == 1)
        self.resize(40)
        self.device.confirm(held[0], b"", 22)
        self.wait("\n" + PROMPT)
        self.mark()
        self.type("x" * 60)
        self.wait(lambda: self.since() == PROMPT + "x" * 35 + "\n" + "x" * 25)


class Ending(Typist):
    def test_a_signal_restores_the_terminal(self):
        ends = {signal.SIGTERM: 130, signal.SIGHUP: 130, signal.SIGQUIT: 130,
                signal.SIGUSR1: -signal.SIGUSR1, signal.SIGSTKFLT: -signal.SIGSTKFLT,
                signal.SIGRTMIN: -signal.SIGRTMIN, signal.SIGRTMAX: -signal.SIGRTMAX}
        device = ScriptedDevice(self.folder / "device", lambda device, head, body: None)
        self.stack.callback(device.close)
        for number, status in ends.items():
            self.open(link=device.endpoint)
            self.wait_connected()
            self.type("half a line")
            self.wait(PROMPT + "half a line")
            self.assertNotEqual(termios.tcgetattr(self.slave), self.modes_before)
            os.kill(self.process.pid, number)
            self.assertEqual(self.wait_ended(), status, number)
            self.assert_terminal_restored()

    def test_control_z_gives_the_terminal_back_and_fg_the_line(self):
        self.device = ScriptedDevice(self.folder / "device", lambda device, head, body: None)
        self.stack.callback(self.device.close)
        modes = self.folder / "modes"
        script = f'"$@"; stty -g >> {modes}; echo stopped; read -r key; fg; stty -g >> {modes}'
        self.open(program=["/bin/sh", "-c", "stty -g > " + str(modes) + "; set -m; " + script, "sh", KIV,
                           "--link", self.device.endpoint])
        self.wait_connected()
        self.type("half a li")
        self.wait(PROMPT + "half a li")
        self.type("\x1a")
        self.wait(lambda: self.ends_with("stopped\n"))
        self.assertNotIn(2004, self.screen.modes)
        self.type("\r")
        self.wait(PROMPT + "half a li")
        self.assertIn(2004, self.screen.modes)
        self.type("ne\r")
        self.wait("Command 'half' is not exist\n" + PROMPT)
        self.type("\x04")
        self.assertEqual(self.wait_ended(), 0)
        first, stopped, last = modes.read_text().split()
        self.assertEqual((stopped, last), (first, first))

    def test_a_terminal_that_is_gone_ends_the_console_also_before_the_signal_says_so(self):
        device = ScriptedDevice(self.folder / "device", lambda device, head, body: None)
        self.stack.callback(device.close)
        for blocked, term in (([], "xterm"), ([signal.SIGHUP], "xterm"), ([signal.SIGHUP], "dumb")):
            with self.subTest(blocked=blocked, term=term):
                before = signal.pthread_sigmask(signal.SIG_BLOCK, blocked)  # a child inherits it
                try:
                    self.open(link=device.endpoint, TERM=term)
                finally:
                    signal.pthread_sigmask(signal.SIG_SETMASK, before)
                self.wait_connected()
                self.type("half a line")
                self.wait(PROMPT + "half a line")
                with open("/dev/null", "rb") as nothing:
                    os.dup2(nothing.fileno(), self.slave)
                    os.dup2(nothing.fileno(), self.master)
                self.assertEqual(self.process.wait(timeout=DEADLINE_S), 130)


class Kinds(Typist):
    def test_a_terminal_without_a_kind_or_of_an_unknown_one_gets_no_escape_sequence(self):
        device = ScriptedDevice(self.folder / "device", lambda device, head, body: None)
        self.stack.callback(device.close)
        for term in (None, "dumb", "no-such-kind"):
            with self.subTest(term=term):
                self.open(link=device.endpoint, TERM=term)
                self.wait_connected()
                self.type("nonsense\n")
                self.wait("Command 'nonsense' is not exist\n" + PROMPT)
                if term != "no-such-kind":
                    self.assertNotIn(b"\x1b", self.raw)
                self.type("\x04")
                self.assertEqual(self.wait_ended(), 0)
                self.assert_terminal_restored()

    def test_an_output_that_is_no_terminal_gets_the_texts_alone(self):
        with open(self.folder / "out", "wb") as out:
            self.open("--settle", "1", stdout=out)
            self.wait(lambda: "connected to" in self.screen.text())
            self.type("nonsense\n")
            self.wait(lambda: b"exist\n" in (self.folder / "out").read_bytes())
            self.type("\x04")
            self.assertEqual(self.wait_ended(), 0)
        text = (self.folder / "out").read_text().replace(PROMPT, "")
        self.assertEqual(text.strip("\n"), "Command 'nonsense' is not exist")


class Hostile(Typist):
    def test_no_byte_of_a_device_acts_on_the_terminal(self):
        self.open_with_device(columns=200)
        self.type("half a line")
        self.wait(PROMPT + "half a line")
        bytes_of_text = b"".join(bytes([b]) for b in range(1, 32) if b not in (9, 10, 13))
        marks = "".join(map(chr, [*range(0x7F, 0xA0), 0x061C, 0x200E, 0x200F, *range(0x202A, 0x202F),
                                  *range(0x2066, 0x206A)]))
        shown = "".join(f"\\x{b:02x}" for b in bytes_of_text)
        shown += "".join(f"\\x{ord(c):02x}" if ord(c) < 0x100 else f"\\u{ord(c):04x}" for c in marks)
        body = bytes_of_text + marks.encode()
        for number in range(3):
            self.device.send(frames.Head(frames.IND, id=AT_ANSWER), body + f"end{number}\r\n".encode())
            self.wait(lambda: f"end{number}" in self.since() and self.ends_with(PROMPT + "half a line"))
        # The model of the screen refuses every sequence it does not know.
        self.assertEqual(self.since().replace("\n", ""),
                         "".join(f"{shown}end{number}" for number in range(3)) + PROMPT + "half a line")
        self.assertEqual((self.screen.bells, self.screen.modes), (0, {2004}))

    def test_a_line_of_a_megabyte_freezes_nothing(self):
        self.open_with_device()
        self.type("half")
        self.wait(PROMPT + "half")
        for _ in range(16):
            self.device.send(frames.Head(frames.IND, id=AT_ANSWER), b"x" * 65000)
        self.type(" a line")
        self.wait(lambda: self.ends_with(PROMPT + "half a line"))
        self.device.send(frames.Head(frames.IND, id=AT_ANSWER), b"\r\nend\r\n")
        self.wait("\nend\n" + PROMPT + "half a line")
        self.assertEqual(self.since().count("x"), 16 * 65000)


class SameOnTerminalAndPipe(Typist):
    CORPUS = ["help", "echo_all 1", "echo_nested {2,{3,{4,5}},}", "nonsense", "nv_read {7", "nv_read x", "note Grüße",
              "note", ":help", "::x", ":nothing", "nv_read 7 -r 00:11:22:33:44:5", "", "?", "nv_write 7,3,[1,2,3]",
              "nv_read 7", "nv_read 60000", "echo_all -r 00:11:22:33:44:55"]

    def test_a_corpus_prints_the_same_on_a_terminal_a_pipe_and_from_a_file(self):
        typed = "".join(line + "\n" for line in self.CORPUS)
        script = self.folder / "lines"
        script.write_text(typed)
        piped = self.kiv(stdin=typed.encode())
        self.assertEqual(self.kiv("-f", str(script)).out, piped.out)
        self.open(columns=2000)
        self.wait_connected()
        self.mark()
        for line in self.CORPUS:
            self.type(line + "\r")
        self.type("\x04")
        self.assertEqual(self.wait_ended(), 0)
        shown = [row for row in self.since().split("\n")
                 if not row.startswith((PROMPT, "kiv: ")) and row != PROMPT.rstrip()]
        self.assertEqual("\n".join(shown).rstrip("\n"),
                         "\n".join(row.rstrip() for row in piped.out.split("\n")).rstrip("\n"))


if __name__ == "__main__":
    unittest.main()
