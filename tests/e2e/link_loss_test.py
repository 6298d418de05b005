"""Devices that are silent, cut off, replaced or strange: a clear line, and the console goes on."""

import os
import pathlib
import re
import signal
import unittest

from bench import KIV, SHORT_WAIT_MS, WAIT_MS, BenchCase, wait_for
from scripted_device import ScriptedDevice


def echo(value):
    """A line that comes back with `value` in its first row."""
    return f"echo_all {value},,,,,,,,,,[],[],[],[],[],[],[]"


class Reader:
    """Collects a stream in the background, so that a test can wait for a text in it."""

    def __init__(self, stream):
        import threading
        self.text = ""
        self._stream = stream
        threading.Thread(target=self._read, daemon=True).start()

    def _read(self):
        for line in self._stream:
            self.text += line.decode()

    def wait(self, pattern, count=1):
        wait_for(lambda: len(re.findall(pattern, self.text)) >= count, f"{count} times {pattern!r}")


class LinkLoss(BenchCase):
    def console(self, link, *arguments):
        process = self.start([KIV, "--link", link, "--wait", WAIT_MS, *arguments])
        return process, Reader(process.stdout), Reader(process.stderr)

    def type(self, process, line):
        process.stdin.write(line.encode() + b"\n")
        process.stdin.flush()

    def device(self, answer, **options):
        device = ScriptedDevice(self.folder / "device", answer, **options)
        self.stack.callback(device.close)
        return device

    def test_a_device_that_does_not_answer_gives_status_3(self):
        device = self.device(lambda d, head, body: None)
        result = self.kiv("--wait", SHORT_WAIT_MS, "-c", "sys_info", "-c", "help",
                          link=device.endpoint)
        self.assertEqual(result.status, 3, result)
        self.assertIn("kiv: no answer to 'sys_info' within 2500 ms\n", result.err)
        self.assertIn("help  Querying All Commands\n", result.out)

    def test_a_peer_that_does_not_greet_is_no_device(self):
        device = self.device(lambda d, head, body: None, greet=False)
        result = self.kiv("--wait", "300", "-c", "sys_info", link=device.endpoint)
        self.assertEqual((result.status, result.out), (4, ""), result)

    def test_a_line_that_is_refused_because_the_link_is_down_always_gives_status_4(self):
        device = self.device(lambda d, head, body: None, greets_and_closes=True)
        for _ in range(12):
            result = self.kiv("--wait", "3000", "-c", "sys_info", link=device.endpoint)
            self.assertEqual(result.status, 4, result)

    def test_a_confirmation_with_a_result_and_no_body_shows_its_text_and_fails(self):
        device = self.device(lambda d, head, body: d.confirm(head, b"", 700))
        result = self.kiv("-c", "nv_read 5", link=device.endpoint)
        self.assertEqual(result.status, 1, result)
        last = result.out.splitlines()[-1]
        self.assertNotIn("*", last)
        self.assertNotEqual(last, "")

    def test_a_body_that_does_not_fit_shows_the_acknowledgement_line(self):
        device = self.device(lambda d, head, body: d.confirm(head, b"\1\2\3"))
        result = self.kiv("-c", "mem_info", link=device.endpoint)
        self.assertEqual(result.status, 0, result)
        self.assertRegex(result.out, r"\n\n[^\n]+ \[ack\(0x1002\)\]\n$")

    def test_a_late_confirmation_of_an_earlier_line_is_no_answer_to_the_next(self):
        held = []

        def answer(device, head, body):
            held.append(head)
            if len(held) == 2:
                device.confirm(held[0], b"", 700)
                device.confirm(held[1], b"", 0)

        device = self.device(answer)
        result = self.kiv("--wait", SHORT_WAIT_MS, "-c", "nv_read 1", "-c", "nv_write 1", "-c", "help",
                          link=device.endpoint)
        self.assertEqual(result.status, 3, result)
        self.assertEqual(result.err.count("kiv: no answer to"), 1, result)

    def test_a_link_that_is_cut_before_the_answer_gives_status_4(self):
        device = self.device(lambda d, head, body: d.drop())
        result = self.kiv("-c", "sys_info", link=device.endpoint)
        self.assertEqual(result.status, 4, result)
        self.assertIn("kiv: the link was lost before 'sys_info' was answered\n", result.err)

    def test_a_link_that_is_cut_in_mid_frame_gives_status_4_and_no_wrong_text(self):
        def answer(device, head, body):
            device.send_raw(b"\x7e\x01\x03\x00\x00" + bytes(20))
            device.drop()

        device = self.device(answer)
        result = self.kiv("-c", "sys_info", link=device.endpoint)
        self.assertEqual(result.status, 4, result)
        self.assertTrue(result.out.endswith("*" * 20 + "\n"), result)

    def test_the_console_comes_back_to_an_agent_that_was_killed_and_replaced(self):
        agent, link = self.agent()
        path = pathlib.Path(link.removeprefix("unix:"))
        process, out, err = self.console(link)
        self.type(process, echo(1))
        out.wait(r"u8_value += 1 ", 2)
        os.killpg(agent.pid, signal.SIGKILL)
        agent.wait()
        err.wait("kiv: not connected: ")
        path.unlink(missing_ok=True)
        self.agent_at(path)
        err.wait("kiv: connected to ", 2)
        self.type(process, echo(2))
        out.wait(r"u8_value += 2 ", 2)
        process.stdin.close()
        self.assertEqual(process.wait(timeout=60), 0)

    def test_a_child_that_was_killed_is_started_again(self):
        import subprocess
        process, out, err = self.console(self.child())
        self.type(process, echo(1))
        out.wait(r"u8_value += 1 ", 2)
        children = subprocess.run(["pgrep", "-P", str(process.pid)], capture_output=True, check=False,
                                  text=True).stdout.split()
        os.kill(int(children[0]), signal.SIGKILL)
        err.wait("kiv: connected to ", 2)
        self.type(process, echo(3))
        out.wait(r"u8_value += 3 ", 2)
        process.stdin.close()
        self.assertEqual(process.wait(timeout=60), 0)

    def test_a_loss_between_two_lines_of_a_pipe_is_told(self):
        device = self.device(lambda d, head, body: d.confirm(head, body))
        process, _, err = self.console(device.endpoint)
        err.wait("kiv: connected to ")
        device.drop()
        err.wait("kiv: not connected: ")
        err.wait("kiv: connected to ", 2)
        process.stdin.close()
        self.assertEqual(process.wait(timeout=60), 0)

    def test_a_device_that_is_away_costs_no_processor_time(self):
        process, _, err = self.console("unix:" + str(self.folder / "nobody"), "--wait", "1500", "-c", "help")
        self.assertEqual(process.wait(timeout=60), 4)
        wait_for(lambda: "no line was run" in err.text, "the reason")
        usage = os.times()
        self.assertLess(usage.children_user + usage.children_system, 20)

    def test_a_device_with_another_catalogue_is_used_with_a_warning(self):
        device = self.device(lambda d, head, body: d.confirm(head, body), fingerprint=b"\1" * 8)
        result = self.kiv("-c", "nv_read 5", link=device.endpoint)
        self.assertIn("link: the device works with another catalogue; commands that differ may fail\n", result.err)
        self.assertEqual(len(device.received), 1)

    def test_the_agent_of_this_tree_gives_no_warning(self):
        result = self.kiv("-c", "sys_info")
        self.assertNotIn("another catalogue", result.err)


if __name__ == "__main__":
    unittest.main()
