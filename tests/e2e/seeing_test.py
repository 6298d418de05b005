"""Colours, times, filters and the log: the same text for everybody, however it is shown."""

import os
import pathlib
import re
import subprocess
import unittest

from bench import CATALOGUE, KIV, KIVCAT, BenchCase
from scripted_device import ScriptedDevice
from tests.wire import frames
from typist import AT_ANSWER, PROMPT, Typist

COLOURS = re.compile(r"\x1b\[[0-9;]*m|\x1b\[K")
# Lines of every kind that answer the same each time.
CORPUS = ["nv_write 7,3,[1,2,3]", "nv_read 7", "nonsense", "nv_write 7,{", "::x", ":ind", ":mute", ":unmute",
          ":grep [a-z", ":nonsense", "echo_all", "nv_read 99", "ctscfg", ""]


class OneText(Typist):
    columns, height = 250, 60

    def settings_of_their_own(self, name):
        return dict(KIV_CONFIG_DIR=str(self.folder / name), XDG_DATA_HOME=str(self.folder / name))

    def test_a_terminal_a_pipe_and_a_file_get_the_same_text_of_every_line(self):
        script = self.folder / "lines"
        script.write_text("".join(line + "\n" for line in CORPUS))
        environment = self.environment(**self.settings_of_their_own("a"))
        on_pipe = subprocess.run([KIV, "--link", self.child(), "-f", str(script)], env=environment,
                                 capture_output=True, timeout=300).stdout
        with open(self.folder / "out", "wb") as out:
            subprocess.run([KIV, "--link", self.child(), "-f", str(script)], stdout=out,
                           stderr=subprocess.DEVNULL, timeout=300,
                           env=self.environment(**self.settings_of_their_own("b")))
        self.assertEqual((self.folder / "out").read_bytes(), on_pipe)
        self.assertNotIn(b"\x1b", on_pipe)
        self.open(TERM="xterm-256color", COLORTERM="truecolor", **self.settings_of_their_own("c"))
        self.wait_connected()
        self.raw = b""
        for line in CORPUS:
            self.mark()
            self.type(line + "\r")
            self.wait(lambda: self.screen.row > self.marked and self.ends_with("\n" + PROMPT))
        shown = [row for row in self.screen.rows() if not row.startswith(("kiv: ", "link: ", PROMPT.strip()))]
        # The screen has no blanks at the ends of its rows.
        expected = [row.rstrip() for row in on_pipe.decode().split("\n")]
        self.assertEqual("\n".join(shown).rstrip(), "\n".join(expected).rstrip())
        self.assertIn(b"\x1b[38;2;200;230;190;48;2;30;30;30m", self.raw)  # a confirmation
        self.assertIn(b"\x1b[1;38;2;130;200;255;48;2;30;30;30m", self.raw)  # what it was sent with

    def test_no_byte_of_the_device_acts_on_a_coloured_terminal(self):
        hostile = [bytes([code]) for code in [*range(1, 32), 127] if code not in (10, 13)]
        hostile += [chr(code).encode() for code in range(0x80, 0xA0)]
        hostile += [chr(code).encode() for code in (0x202A, 0x202E, 0x2066, 0x2069, 0x200F)]
        self.open_with_device(TERM="xterm-256color", COLORTERM="truecolor")
        self.type("half a line")
        self.wait(PROMPT + "half a line")
        modes = set(self.screen.modes)
        for number, each in enumerate(hostile):
            self.device.send(frames.Head(frames.IND, id=AT_ANSWER),
                             b"<%d " % number + each + b"[31m" + each + b"]0;t\x07>\r\n")
        self.wait(lambda: f"<{len(hostile) - 1} " in self.since() and self.ends_with(PROMPT + "half a line"))
        self.assertEqual(self.screen.modes, modes)
        self.assertEqual(self.screen.bells, 0)
        self.assertEqual(self.since().count("\n"), len(hostile) + 0)
        for row in self.since().split("\n")[:-1]:
            self.assertRegex(row, r"^<\d+ \\[xu][0-9a-f]+\[31m\\[xu][0-9a-f]+\]0;t\\x07>$|^<\d+ \t?.*\\x07>$")

    def test_a_line_of_a_megabyte_freezes_nothing(self):
        self.open_with_device(TERM="xterm-256color")
        self.type(":grep zz$\r")
        self.wait(lambda: self.ends_with("\n" + PROMPT) and self.screen.row > self.marked)
        self.mark()
        for _ in range(1024):
            self.device.send(frames.Head(frames.IND, id=AT_ANSWER), b"z" * 1023 + b"a")
        self.device.send(frames.Head(frames.IND, id=AT_ANSWER), b"\r\nzz\r\n")
        self.type("key")
        self.wait(lambda: self.since().endswith("zz\n" + PROMPT + "key"))


class Less(Typist):
    def test_filters_hide_what_the_device_says_and_count_it(self):
        self.open_with_device()
        self.type(":mute at\r")
        self.wait(lambda: self.since().endswith(":mute at\n" + PROMPT.strip()))
        self.arrive("RING", "RING")
        self.type(":mute\r")
        self.wait(lambda: "lines hidden so far: at 2\n" in self.asked(":mute"))
        self.type(":unmute\r:grep cre.\r")
        self.wait(lambda: self.since().endswith(":grep cre.\n" + PROMPT.strip()))
        self.arrive("RING", "+CREG: 1")
        self.wait(lambda: self.since().endswith(":grep cre.\n+CREG: 1\n" + PROMPT.strip()))
        self.wait(lambda: "only lines with cre.\nlines hidden so far: 1\n" in self.asked(":grep"))
        self.type(":grep off\r")
        self.wait(lambda: self.since().endswith(":grep off\n" + PROMPT.strip()))
        self.arrive("RING")
        self.wait(lambda: self.since().endswith("RING\n" + PROMPT.strip()))

    def asked(self, word):
        """What the word answers, asked once more: what has arrived may not be shown yet."""
        self.mark()
        self.type(word + "\r")
        self.wait(lambda: self.screen.row > self.marked and self.ends_with("\n" + PROMPT))
        return self.since()


class Log(Typist):
    columns = 250

    def test_the_log_has_what_was_shown_and_what_was_hidden(self):
        log = self.folder / "kept.txt"
        settings = self.environment()
        prepared = subprocess.run(
            [KIV, "--link", self.child(), "-c", f":set SAVE_PATH {log}", "-c", ":set APPEND_TIME 0",
             "-c", ":set AUTO_SAVE 1"], env=settings, capture_output=True, timeout=300)
        self.assertEqual(prepared.returncode, 0, prepared.stderr)
        log.unlink(missing_ok=True)
        self.open_with_device()
        self.type("nonsense\r:mute at\r")
        self.wait(lambda: self.since().endswith(":mute at\n" + PROMPT.strip()))
        self.arrive("RING")
        self.type(":mute\r")
        self.wait(lambda: "lines hidden so far: at 1\n" in self.since() or self.again(":mute"))
        self.type("\x04")
        self.assertEqual(self.wait_ended(), 0)
        kept = log.read_text()
        self.assertNotIn("\x1b", kept)
        # All that the screen has (without its last prompt), in its order, and the hidden line.
        self.assertEqual([row for row in kept.rstrip("\n").split("\n") if row != "RING"],
                         self.screen.text().rstrip("\n").split("\n")[:-1])
        self.assertEqual(kept.split("\n").count("RING"), 1)
        self.assertEqual(log.stat().st_mode & 0o777, 0o600)

    def again(self, word):
        """Asks once more, and says that it is not seen yet."""
        if self.ends_with("\n" + PROMPT):
            self.type(word + "\r")
        return False


if __name__ == "__main__":
    unittest.main()
