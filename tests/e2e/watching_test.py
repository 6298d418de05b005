"""The words that look at a device over time: what changed, what a line took."""

import re
import struct
import unittest

from bench import CATALOGUE, BenchCase
from scripted_device import ScriptedDevice

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
        rows = result.out[result.out.index("line  "):].splitlines()
        self.assertEqual([row.split("  ")[0].split(" of")[0] for row in rows],
                         ["line", "nv_read 7", "sys_info", "p50", "p99", "line", "sys_info", "p50", "p99"])
        for row in rows:
            if not row.startswith("line"):
                self.assertRegex(row, r"^\S.{23}( +[0-9.]+ (ns|us|ms|s)){5}$")
        self.assertTrue(re.search(r"^p50 of 2 ", rows[3]), rows)

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
        rows = dict(re.split("  +", line, maxsplit=1) for line in result.out.splitlines())
        self.assertLessEqual({
            "link": device.endpoint, "state": "connected", "losses": "0", "device": "bo\\x1b[2Jard",
            "variant": "246, the device says 249", "product": "38", "catalogue": CATALOGUE,
            "device_fingerprint": "0102030405060708, another", "connects": "1", "disconnects": "0",
            "settings": str(self.folder / "config" / "kiv.xml"),
            "settings_place": "session 1, instance 1"}.items(), rows.items(), result)
        self.assertNotIn("last_loss", rows)


if __name__ == "__main__":
    unittest.main()
