"""The words that look at a device over time: what changed, what a line took, a line again and again."""

import re
import signal
import struct
import unittest

from bench import CATALOGUE, DEADLINE_S, KIV, BenchCase, rows
from scripted_device import ScriptedDevice
from typist import PROMPT, Typist

NV_READ = 0x1201


class Counting(BenchCase):
    """A device whose answer to nv_read counts the questions."""

    def setUp(self):
        super().setUp()
        self.asked = 0
        self.device = ScriptedDevice(self.folder / "device", self.answer)
        self.stack.callback(self.device.close)

    def answer(self, device, head, body):
        if head.id != NV_READ:
            device.confirm(head, result=704)
            return
        self.asked += 1
        device.confirm(head, body + struct.pack("<HB", 1, self.asked) + bytes(31))

    def lines(self, *lines):
        arguments = [part for line in lines for part in ("-c", line)]
        return self.kiv(*arguments, link=self.device.endpoint)


class Changes(Counting):
    def told(self, result):
        return [line for line in result.err.splitlines() if "the last" in line]

    def test_changed_fields_are_told_behind_the_reply_and_leave_it_as_it_is(self):
        plain = self.lines("nv_read 7", "nv_read 0x7")
        self.assertEqual((plain.status, self.told(plain)), (0, []))
        self.asked = 0
        result = self.lines(":diff on", "nv_read 7", "nv_read 0x7")
        self.assertEqual((result.status, result.out), (0, plain.out), result)
        self.assertEqual(self.told(result), ["kiv: changed since the last nv_read: data[0] 1 -> 2"])

    def test_one_line_is_compared_with_the_last_of_the_same_parameters(self):
        result = self.lines("nv_read 7", "nv_read 8", "nv_read 7", ":diff nv_read 8", ":diff nv_read 9",
                            ":diff", ":diff on", ":diff")
        self.assertEqual(self.told(result), ["kiv: changed since the last nv_read: data[0] 2 -> 4"])
        self.assertTrue(result.out.endswith("changed fields are not shown\nchanged fields are shown\n"), result)

    def test_a_reload_forgets_and_a_refused_line_changes_nothing(self):
        result = self.lines(":diff on", "nv_read 7", ":reload", "nv_read 7", "sys_info", "nv_read 7")
        self.assertEqual(result.status, 1, result)
        self.assertEqual(self.told(result), ["kiv: changed since the last nv_read: data[0] 2 -> 3"])


class Timing(Counting):
    def test_each_answered_line_is_shown_with_its_steps(self):
        result = self.lines("nv_read 7", "help", "sys_info", ":timing", ":timing 1", ":timing x")
        self.assertEqual(result.err.count("kiv: 'x' is no number from 1 to 1000\n"), 1, result)
        table = result.out[result.out.index("line  "):].splitlines()
        self.assertEqual([row.split("  ")[0].split(" of")[0] for row in table],
                         ["line", "nv_read 7", "sys_info", "p50", "p99", "line", "sys_info", "p50", "p99"])
        for row in table:
            if not row.startswith("line"):
                self.assertRegex(row, r"^\S.{23}( +[0-9.]+ (ns|us|ms|s)){5}$")
        self.assertTrue(re.search(r"^p50 of 2 ", table[3]), table)

    def test_nothing_is_to_be_shown_before_the_first_answer(self):
        result = self.lines(":timing")
        self.assertEqual((result.status, result.out), (0, ""), result)
        self.assertIn("kiv: no line was answered yet\n", result.err)


class Status(Counting):
    def test_rows_tell_the_device_and_both_catalogues(self):
        device = ScriptedDevice(self.folder / "other", self.answer, name=b"bo\x1b[2Jard", fingerprint=bytes(range(1, 9)),
                                versions=(249, 38))
        self.stack.callback(device.close)
        result = self.kiv("--variant", "246", "-c", ":status", link=device.endpoint)
        self.assertEqual(result.status, 0, result)
        facts = dict(re.split("  +", line, maxsplit=1) for line in result.out.splitlines())
        self.assertLessEqual({
            "link": device.endpoint, "state": "connected", "losses": "0", "device": "bo\\x1b[2Jard",
            "variant": "246, the device says 249", "product": "38", "catalogue": CATALOGUE,
            "device_fingerprint": "0102030405060708, another", "connects": "1", "disconnects": "0",
            "settings": str(self.folder / "config" / "kiv.xml"),
            "settings_place": "session 1, instance 1"}.items(), facts.items(), result)
        self.assertNotIn("last_loss", facts)


def without_times(text):
    return re.sub(r"(?m)^(round \d+), [0-9:. -]+(, \d+ skipped)?$", r"\1", text)


class WatchOnAPipe(Counting):
    def test_the_first_round_is_whole_and_the_others_tell_what_changed(self):
        result = self.lines(":watch nv_read 7 every 100ms 3 times", ":history")
        self.assertEqual(result.status, 0, result)
        item = "\n" + rows(".item         = 7", ".length_bytes = 1", "data[0]       = 1",
                           *(f"data[{i}]".ljust(13) + " = 0" for i in range(1, 32)))
        self.assertEqual(without_times(result.out),
                         "round 1\n" + item + "round 2\ndata[0]  1 -> 2\nround 3\ndata[0]  2 -> 3\n")
        self.assertEqual(self.asked, 3)

    def test_a_round_that_fails_shows_its_text_and_the_status_is_the_last_ones(self):
        result = self.lines(":watch sys_info every 100ms 2 times", ":watch nv_read 7 1 times")
        self.assertEqual(result.status, 1, result)
        out = without_times(result.out)
        text = out[len("round 1\n"):out.index("round 2\n")]
        self.assertTrue(text.strip(), result)
        self.assertTrue(out.startswith(f"round 1\n{text}round 2\n{text}round 1\n"), result)

    def test_a_lost_link_ends_it(self):
        def answer(device, head, body):
            self.answer(device, head, body) if self.asked == 0 else device.drop()

        device = ScriptedDevice(self.folder / "fragile", answer)
        self.stack.callback(device.close)
        result = self.kiv("-c", ":watch nv_read 7 every 100ms", link=device.endpoint)
        self.assertEqual(result.status, 4, result)
        self.assertIn("kiv: the link was lost before 'nv_read 7' was answered\n", result.err)
        self.assertIn("kiv: watching ended after 2 rounds: not connected\n", result.err)

    def test_a_signal_ends_it(self):
        process = self.start([KIV, "--link", self.device.endpoint, "-c", ":watch nv_read 7 every 100ms"])
        while b"round 3" not in (line := process.stdout.readline()):
            self.assertTrue(line, "ended by itself")
        process.send_signal(signal.SIGINT)
        process.communicate(timeout=DEADLINE_S)
        self.assertEqual(process.returncode, 130)

    def test_what_cannot_be_watched_is_refused(self):
        result = self.lines(":watch", ":watch :help", ":watch LDNV x", ":watch sys_info every 1")
        self.assertEqual((result.status, result.out, self.device.received), (1, "", []), result)
        self.assertEqual(re.findall(r"times\]: (.*)", result.err),
                         ["no line to watch", "a line of the module only", "no load",
                          "'1' is no time from 100ms to 24h in ms, s or m"])


class WatchOnATerminal(Typist):
    height = 12

    def setUp(self):
        super().setUp()
        self.asked, self.answered = [], 0
        self.open_with_device("--wait", "600000", answer=lambda device, head, body: self.asked.append((head, body)))

    def round(self, number):
        """Answers the round with its own number, when it has begun."""
        self.wait(lambda: len(self.asked) == number, f"round {number} begins")
        self.answer_all()

    def answer_all(self):
        for number in range(self.answered, len(self.asked)):
            head, body = self.asked[number]
            self.answered = number + 1
            self.device.confirm(head, body + struct.pack("<HB", 1, number + 1) + bytes(31))

    def wait_ended_watch(self):
        """Rounds that begin before the console has seen the key are answered, too."""
        def ended():
            self.answer_all()
            return self.ends_with("\n" + PROMPT)
        self.wait(ended)

    def block(self):
        """The rows of the block, each without blanks at its end."""
        shown = [row.rstrip() for row in self.since().split("\n")]
        heads = [index for index, row in enumerate(shown) if row.startswith("every 100ms: nv_read 7; q ends; ")]
        self.assertLessEqual(len(heads), 1, "\n".join(shown))
        return shown[heads[0]:] if heads else []

    def test_rounds_stand_in_one_place_below_what_arrives(self):
        self.type(":watch nv_read 7 every 100ms\r")
        self.round(1)
        self.wait(lambda: len(self.block()) == self.height - 1)
        self.assertRegex(self.block()[0], r"; round 1, [0-9-]+ [0-9:.]+$")
        self.assertEqual(self.block()[1:5], ["  .item         = 7", "  .length_bytes = 1", "  data[0]       = 1",
                                             "  data[1]       = 0"])
        self.assertEqual(self.block()[-1], f"... {1 + 34 - (self.height - 2)} more rows")
        self.wait(lambda: len(self.asked) == 2)
        self.arrive("RING", "RING")
        self.wait(lambda: "RING\nRING\nevery" in self.since() and len(self.block()) == self.height - 1)
        self.round(2)
        self.wait(lambda: "* data[0]       = 2" in self.block())
        self.round(3)
        self.wait(lambda: "* data[0]       = 3" in self.block())
        self.assertEqual(self.since().count("data[0]"), 1)
        self.wait(lambda: len(self.asked) == 4)
        self.type("q")  # ends it though the fourth round is not answered
        self.wait("\n" + PROMPT)
        self.assertIn("* data[0]       = 3\n", self.since())
        # The last round stays, whole, and is there once.
        self.assertEqual(self.since().count("data["), 32)
        self.assertEqual(self.since().count("RING"), 2)
        self.type("::x\r")
        self.wait("Command ':x' is not exist\n" + PROMPT)
        self.assertEqual(len(self.asked), 4)

    def test_a_key_ends_it_before_anything_was_answered(self):
        self.type(":watch nv_read 7 every 100ms\r")
        self.wait(lambda: len(self.asked) == 1 and self.block() == ["every 100ms: nv_read 7; q ends; no answer yet"])
        self.type("q")
        self.wait(":watch nv_read 7 every 100ms\n" + PROMPT)

    def test_a_narrower_terminal_has_one_block_as_before(self):
        self.type(":watch nv_read 7 every 100ms\r")
        self.round(1)
        self.wait(lambda: len(self.block()) == self.height - 1)
        self.resize(45)
        self.wait(lambda: len(self.asked) == 2)
        self.round(2)
        self.wait(lambda: "* data[0]       = 2" in self.block() and len(self.block()) == self.height - 1)
        self.assertEqual(self.since().count("data[0]"), 1)
        self.wait(lambda: len(self.asked) == 3)
        self.type("\x03")
        self.wait(lambda: self.ends_with("^C\n" + PROMPT))
        self.assertIn("* data[0]       = 2", self.since())

    def test_a_line_that_is_typed_ends_it_and_runs(self):
        self.type(":watch nv_read 7 every 100ms\r::x\r")
        self.round(1)
        self.wait_ended_watch()
        self.assertIn(PROMPT + "::x\nCommand ':x' is not exist\n", self.since())


if __name__ == "__main__":
    unittest.main()
