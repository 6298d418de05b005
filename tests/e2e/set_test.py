"""`:set`: every setting written and read again, what is refused, and what settings do while the console runs."""

import re
import unittest

from bench import DEADLINE_S, KIV, SOURCE, WAIT_MS, BenchCase, Result, wait_for
from scripted_device import ScriptedDevice
from tests.wire import frames
from typist import Typist

TICK_ID = 0x1311


def table():
    """The rows of docs/console.md: what each setting takes, by its name."""
    page = (SOURCE / "docs" / "console.md").read_text(encoding="utf-8")
    page = page[page.index("<!-- settings: begin"):page.index("<!-- settings: end")]
    return dict(re.findall(r"^\| `([A-Z_.]+)` \| `[A-Z_.]+` \| (.*?) \|", page, re.M))


def other_value(name, takes, now):
    """A value that the setting takes, and does not have now."""
    if takes.startswith("0 or 1"):
        return "0" if now == "1" else "1"
    limits = re.match(r"a number from (\d+) to (\d+)", takes)
    if limits:
        return str(min(int(limits[2]), 700 + len(name)))
    if takes.startswith("#RRGGBB"):
        return f"#0{len(name):x}ab{len(name) % 10}f"[:7]
    if takes.startswith("a key"):
        return "CTRL+K" if name.endswith(".NAME") else "77"
    if takes.startswith("one character"):
        return "\u00bb"
    return f"\"{name.lower()} <&'\\\"> \\x1b\\u202e \u2603 \""


def untimed(text):
    """The lines without the time that DISPLAYTIMESTAMP puts in front of them."""
    return [re.sub(r"^\d\d:\d\d:\d\d\.\d{3} ", "", line) for line in text.splitlines()]


def listed(text):
    """The values of a `:set` without arguments."""
    return dict(re.match(r"  (\S+) +(.*)", line).groups() for line in untimed(text)
                if line.startswith("  "))


class SetCase(BenchCase):
    def setUp(self):
        super().setUp()
        self.config = self.folder / "mine"

    def run_here(self, *arguments, **more):
        return self.kiv("--config-dir", str(self.config), *arguments, **more)

    def notices(self, result):
        return [line for line in result.err.splitlines()
                if line.startswith("kiv: ") and "connected to" not in line]

    def console(self, link=None):
        return self.start([KIV, "--link", link or self.child(), "--config-dir", str(self.config)])

    @staticmethod
    def ask(console, line, rows=1):
        """Has a console that reads a pipe run a line, and answers the rows that it shows."""
        console.stdin.write((line + "\n").encode())
        console.stdin.flush()
        return [console.stdout.readline().decode() for _ in range(rows)]

    @staticmethod
    def finish(console):
        console.stdin.close()
        console.stdin = None
        return console.communicate(timeout=60)[0].decode()


class EverySetting(SetCase):
    def test_is_written_by_one_run_and_read_by_the_next(self):
        before = listed(self.run_here("-c", ":set").out)
        takes = table()
        self.assertEqual(list(takes), list(before))
        values = {name: other_value(name, takes[name], now) for name, now in before.items()}
        lines = "".join(f":set {name} {value}\n" for name, value in values.items())
        first = self.run_here(stdin=lines.encode())
        self.assertEqual((first.status, self.notices(first)), (0, []), first)
        self.assertEqual([line.split(None, 1) for line in untimed(first.out)],
                         [[name, value] for name, value in values.items()])
        second = self.run_here("-c", ":set")
        self.assertEqual(listed(second.out), values, second)

    def test_keeps_its_value_when_another_one_is_refused(self):
        refused = {
            "FONT_SIZE 0": "kiv: FONT_SIZE takes a number from 1 to 1000, not '0'",
            "word_wrap 2": "kiv: word_wrap takes 0 or 1, off or on, not '2'",
            "PROMPT ab": "kiv: PROMPT takes one character, or \"\" for none, not 'ab'",
            "GENERAL.TEXT red": "kiv: GENERAL.TEXT takes #RRGGBB, or 0x00BBGGRR as a number, not 'red'",
            "REPEAT_CMD HYPER+K": "kiv: REPEAT_CMD takes a key such as F2 or CTRL+R, not 'HYPER+K'",
            "TITLE \"a": "kiv: TITLE takes a text of at most 256 characters, not '\"a'",
            "POSTCMD_TIMEOUT 4294967296":
                "kiv: POSTCMD_TIMEOUT takes a number from 0 to 4294967295, not '4294967296'",
            "NAME F2": "kiv: 'NAME' may be PLUGIN.NAME, REPEAT_CMD.NAME, SEND_CMD.NAME, "
                       "LIST_HISTORY_CMD.NAME, LIST_RECENT_CMD.NAME or CANCEL.NAME",
            "nothing 1": "kiv: no setting 'nothing'; :set lists them",
            "nothing": "kiv: no setting 'nothing'; :set lists them",
        }
        before = listed(self.run_here("-c", ":set").out)
        lines = "".join(f":set {line}\n" for line in refused)
        result = self.run_here(stdin=(lines + ":set\n").encode())
        self.assertEqual(result.status, 1, result)
        self.assertEqual(self.notices(result), list(refused.values()), result)
        self.assertEqual(listed(result.out), before)
        nearest = self.run_here("-c", ":set promt")
        self.assertEqual(nearest.status, 1, nearest)
        self.assertEqual(self.notices(nearest),
                         ["kiv: no setting 'promt'; :set lists them", "kiv: did you mean PROMPT?"])

    def test_can_be_shown_alone_or_with_its_element(self):
        result = self.run_here("-c", ":set  prompt ", "-c", ":set save", "-c", ":set REPEAT_CMD")
        self.assertEqual((result.status, result.out), (0, """\
PROMPT                    >
  takes one character, or "" for none
  stands behind kiv in the prompt; without it there is no prompt
AUTO_SAVE                 0
APPEND_TIME               1
SAVE_PATH                 ""
REPEAT_CMD.NAME           F3
REPEAT_CMD.VALUE          16777266
"""), result)

    def test_is_not_there_without_a_settings_file(self):
        (self.config / "kiv.xml").mkdir(parents=True)
        result = self.run_here("-c", ":set TITLE x", "-c", ":set")
        self.assertEqual((result.status, result.out), (1, ""), result)
        self.assertEqual(self.notices(result).count("kiv: there are no settings: their file cannot be read"),
                         2, result)


    def test_that_cannot_be_saved_holds_and_is_told_each_time(self):
        self.run_here("-c", "nonsense")
        lines = [word for size in (7, 8, "") for word in ("-c", f":set FONT_SIZE {size}")]
        process = self.start(["/bin/sh", "-c", 'ulimit -f 0 && exec "$0" "$@"', KIV, "--link", self.child(),
                              "--config-dir", str(self.config), "--wait", WAIT_MS, *lines])
        out, err = process.communicate(timeout=DEADLINE_S)
        result = Result(process.returncode, out.decode(), err.decode())
        self.assertEqual(result.status, 1, result)
        self.assertEqual([line for line in result.out.splitlines() if line.startswith("FONT")],
                         [f"FONT_SIZE                 {size}" for size in (7, 8, 8)])
        told = "kiv: the settings, with the history, could not be saved"
        self.assertGreaterEqual(self.notices(result).count(told), 2, result)


class TwoConsoles(SetCase):
    def test_keep_what_either_sets(self):
        self.run_here("-c", ":set FONT_SIZE 20")
        one = self.console()
        self.assertEqual(self.ask(one, ":set TITLE one")[0].split(), ["TITLE", "one"])
        two = self.run_here("-c", ":set FONT_SIZE 30", "-c", ":set ACK_SHOW_TYPE on",
                            "-c", ":set HEXADECIMAL on", "-c", ":set TITLE two")
        self.assertEqual(two.status, 0, two)
        self.assertEqual(self.ask(one, ":set WORD_WRAP off")[0].split(), ["WORD_WRAP", "0"])
        # Its own view is as it was; what it writes is what it set.
        self.assertEqual(self.ask(one, ":set TITLE", 3)[0].split(), ["TITLE", "one"])
        self.finish(one)
        values = listed(self.run_here("-c", ":set").out)
        self.assertEqual({name: values[name] for name in
                          ("TITLE", "FONT_SIZE", "WORD_WRAP", "ACK_SHOW_TYPE", "HEXADECIMAL")},
                         {"TITLE": "two", "FONT_SIZE": "30", "WORD_WRAP": "0", "ACK_SHOW_TYPE": "1",
                          "HEXADECIMAL": "1"})


class Effects(SetCase):
    def test_on_replies_come_at_once_and_stay(self):
        lines = ["echo_all", ":set HEXADECIMAL on", "echo_all", ":set ack_array_show_oneline on", "echo_all",
                 ":set ACK_SHOW_TYPE on", "echo_all"]
        result = self.run_here(stdin="\n".join(lines).encode())
        self.assertEqual(result.status, 0, result)
        replies = [part[part.rindex(".u8_value"):].splitlines()
                   for part in re.split(r"^(?:HEX|ACK).*\n", result.out, flags=re.M)]
        plain, hexadecimal, one_line, typed = replies
        self.assertTrue(plain[0].endswith(" = 8 "), plain)
        self.assertTrue(hexadecimal[0].endswith(" = 0x08 "), hexadecimal)
        self.assertEqual([len([row for row in reply if "u8_list" in row]) for reply in replies], [4, 4, 1, 1])
        for without, with_type in zip(one_line, typed):
            self.assertTrue(with_type.startswith(without) and len(with_type) > len(without), with_type)
        again = self.run_here("-c", "echo_all").out
        self.assertEqual(again[again.rindex(".u8_value"):].splitlines(), typed)

    def test_on_waiting_come_at_once(self):
        self.run_here("-c", ":set POSTCMD_TIMEOUT 50000")
        device = ScriptedDevice(self.folder / "device", lambda device, head, body: None)
        self.stack.callback(device.close)
        result = self.run_here("-c", ":set POSTCMD_TIMEOUT 40", "-c", "echo_all", link=device.endpoint,
                               wait=None)
        self.assertEqual((result.status, self.notices(result)),
                         (3, ["kiv: no answer to 'echo_all' within 40 ms"]), result)

    def test_on_the_history_come_at_once(self):
        self.run_here("-c", "nv_read 1", "-c", ":set STORECMDPARA off")
        self.run_here("-c", "nv_read 2", "-c", ":set HISTORY_CMD off", "-c", "nv_read 3")
        self.assertEqual(self.run_here("-c", ":history").out, "1  nv_read 1\n2  nv_read\n")

    def test_on_indications_come_at_once(self):
        device = ScriptedDevice(self.folder / "device",
                                lambda device, head, body: device.confirm(head, body))
        self.stack.callback(device.close)
        console = self.console(device.endpoint)
        wait_for(lambda: device.greetings, "the console is connected")

        def shown(command):
            """What comes of an indication, and of a confirmation behind it, after `command`."""
            if command:
                self.ask(console, command, 0)
                self.read_texts(console, 2)  # the parameters, and the reply
            device.send(frames.Head(frames.IND, id=TICK_ID), bytes(8))
            device.confirm(*device.received[0])
            return self.read_texts(console, 1)

        self.assertIn(".uptime_ms", shown("echo_all"))
        self.ask(console, ":set INSTANT_IND_TIME 2000000000")
        self.ask(console, ":set ENABLE_IND_CMD off")
        self.assertIn(".uptime_ms", shown("echo_all"))
        self.ask(console, ":set ENABLE_INSTANT_IND_CMD off")
        self.assertNotIn(".uptime_ms", shown(None))
        self.ask(console, ":set ENABLE_IND_CMD on")
        self.assertIn(".uptime_ms", shown(None))
        self.finish(console)

    @staticmethod
    def read_texts(console, count):
        """What is shown up to the end of the `count`-th text that has the fields of echo_all."""
        text = ""
        while len(re.findall(r"^\.text .*\n", text, re.M)) < count:
            row = console.stdout.readline().decode()
            if not row:
                raise AssertionError(text)
            text += row
        return text


class OnATerminal(Typist):
    def set(self, line, ending):
        self.type(f":set {line}\r")
        self.wait(ending)

    def test_prompt_title_and_clearing_follow_their_settings(self):
        self.open()
        self.wait_connected()
        self.assertIsNone(self.screen.title)
        self.set("PROMPT $", "\nPROMPT                    $\nkiv$ ")
        self.set('PROMPT "\\x1b"', '\nPROMPT                    "\\x1b"\nkiv\\x1b ')
        self.set('PROMPT ""', '\nPROMPT                    ""\n')
        self.set("PROMPT \u2603", "\nPROMPT                    \u2603\nkiv\u2603 ")
        self.type(':set TITLE "my\\x07 bench"\r')
        self.wait(lambda: self.screen.title == "my\\x07 bench")
        self.set("CLEAR_SCREEN on", "\nCLEAR_SCREEN              1\nkiv\u2603 ")
        self.type(":set FONT_SIZE\r")
        self.wait(lambda: self.screen.rows()[self.screen.top:] ==
                  ["kiv\u2603 :set FONT_SIZE", "FONT_SIZE                 10", "  takes a number from 1 to 1000",
                   "  desktop only: this console has no use for it", "kiv\u2603"] +
                  [""] * (len(self.screen.rows()) - self.screen.top - 5))
        self.type("\x04")
        self.assertEqual(self.wait_ended(), 0)
        self.assertIsNone(self.screen.title)
        self.assert_terminal_restored()
        self.open()
        self.wait(lambda: "kiv: connected to" in self.screen.text() and self.ends_with("\nkiv\u2603 "))
        self.assertEqual(self.screen.title, "my\\x07 bench")
        self.type(":set TITLE Kiv\r")
        self.wait(lambda: self.screen.title is None)


if __name__ == "__main__":
    unittest.main()
