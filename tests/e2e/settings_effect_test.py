"""Settings edited in the file change what the console shows, and no file keeps it from starting."""

import random
import re
import time
import unittest

import sweep
from bench import KIV, BenchCase, unnumbered, wait_for
from scripted_device import ScriptedDevice
from tests.wire import frames

TICK_ID = 0x1311


class SettingsCase(BenchCase):
    def setUp(self):
        super().setUp()
        self.config = self.folder / "mine"
        self.file = self.config / "kiv.xml"

    def run_here(self, *arguments, **more):
        return self.kiv("--config-dir", str(self.config), *arguments, **more)

    def put(self, **values):
        """Edits attributes of the settings, which a first run made."""
        if not self.file.exists():
            self.run_here("-c", "nonsense")
        text = self.file.read_text(encoding="utf-8")
        for attribute, value in values.items():
            text, count = re.subn(rf'\b{attribute}="[^"]*"', f'{attribute}="{value}"', text)
            self.assertEqual(1, count, attribute)
        self.file.write_text(text, encoding="utf-8")


class Replies(SettingsCase):
    def reply(self, **values):
        self.put(**values)
        result = self.run_here("-c", "echo_all")
        self.assertEqual(0, result.status, result)
        return result.out[result.out.rindex(".u8_value"):].splitlines()

    def test_show_the_types_when_the_settings_say_so(self):
        plain = self.reply(ACK_SHOW_TYPE=0)
        typed = self.reply(ACK_SHOW_TYPE=1)
        self.assertEqual(len(plain), len(typed))
        for without, with_type in zip(plain, typed):
            self.assertTrue(without.endswith(" "), without)
            self.assertTrue(with_type.startswith(without + " "), with_type)
        self.assertNotEqual(plain, [line[:-1] for line in typed])
        self.assertEqual(plain, self.reply(ACK_SHOW_TYPE=0))

    def test_show_arrays_on_one_line_when_the_settings_say_so(self):
        plain = self.reply(ACK_ARRAY_SHOW_ONELINE=0)
        one_line = self.reply(ACK_ARRAY_SHOW_ONELINE=1)
        self.assertEqual(4, len([line for line in plain if "u8_list" in line]))
        rows = [line for line in one_line if "u8_list" in line]
        self.assertEqual(1, len(rows))
        self.assertEqual(["1", "2", "3", "4"], re.findall(r"\d+", rows[0].split(" = ")[1]))


class Indications(SettingsCase):
    def device(self, name):
        device = ScriptedDevice(self.folder / name,
                                lambda device, head, body: device.confirm(head, body))
        self.stack.callback(device.close)
        return device

    def shown(self, enabled):
        """Whether an indication is shown that comes before any command was sent."""
        self.put(ENABLE_IND_CMD=enabled)
        first, second = self.device(f"first{enabled}"), self.device(f"second{enabled}")
        self.run_here("-c", "echo_all", link=first.endpoint)
        process = self.start([KIV, "--link", second.endpoint, "--config-dir", str(self.config)])
        wait_for(lambda: second.greetings, "the console is connected")
        second.send(frames.Head(frames.IND, id=TICK_ID), bytes(8))
        second.confirm(*first.received[0])
        text = b""
        while b".u8_value" not in text:
            line = process.stdout.readline()
            self.assertTrue(line, text)
            text += line
        process.stdin.close()
        process.stdin = None
        process.communicate(timeout=60)
        return b".uptime_ms" in text

    def test_are_shown_only_when_the_settings_say_so(self):
        self.assertTrue(self.shown(1))
        self.assertFalse(self.shown(0))


class BrokenFiles(SettingsCase):
    def test_never_keep_the_console_from_starting(self):
        self.run_here("-c", "sys_info", "-c", "mem_info")
        sound = self.file.read_bytes()
        seed = random.Random(5)
        for _ in range(sweep.count(60)):
            broken = bytearray(sound[:seed.randrange(len(sound))])
            for _ in range(seed.randrange(4)):
                if broken:
                    broken[seed.randrange(len(broken))] = seed.randrange(256)
            self.check(bytes(broken))

    def check(self, broken):
        for path in self.config.iterdir():
            if path.name.startswith("kiv.xml"):
                path.unlink()
        self.file.write_bytes(broken)
        begin = time.monotonic()
        result = self.run_here("-c", "nonsense", "--wait", "1", link="unix:/nonexistent/kiv")
        self.assertLess(time.monotonic() - begin, 45)
        aside = [path.read_bytes() for path in self.config.glob("kiv.xml.corrupt-*")]
        self.assertEqual([broken], aside)
        self.assertEqual(1, result.err.count(".corrupt-"), result)


class TwoConsoles(SettingsCase):
    def test_at_once_keep_the_lines_of_both(self):
        count = 25
        consoles = [self.start([KIV, "--link", self.child(), "--config-dir", str(self.config)])
                    for _ in range(2)]
        for console, name in zip(consoles, "ab"):
            console.stdin.write("".join(f"{name}{i}\n" for i in range(count)).encode())
            console.stdin.flush()
        for console in consoles:
            console.stdin.close()
            console.stdin = None
            console.communicate(timeout=60)
        listed = unnumbered(self.run_here("-c", ":history").out)
        for name in "ab":
            self.assertEqual([f"{name}{i}" for i in range(count)],
                             [line for line in listed if line.startswith(name)])


if __name__ == "__main__":
    unittest.main()
