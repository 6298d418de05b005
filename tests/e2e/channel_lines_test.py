"""AT, shell, HCI and test-case lines through the console: the bytes that reach a device, and what it says
of itself that decides about them."""

import pathlib
import socket
import struct
import time
import unittest

from bench import DEADLINE_S, SHORT_WAIT_MS, BenchCase, wait_for
from scripted_device import ScriptedDevice
from tests.wire import frames

AT_REQUEST, AT_ANSWER = 0x500D, 0xA011
SHELL_REQUEST, SHELL_ANSWER = 0x500E, 0xA012
AT_REQUEST_249, AT_ANSWER_249, SHELL_REQUEST_249, SHELL_ANSWER_249 = 0x705, 0x4005, 0x805, 0x4105
HCI, TEST_REQUEST, TEST_TEXT = 0x7E0C, 0x500C, 0xA010


def counted(text):
    return struct.pack("<I", len(text)) + text


class LeavingDevice(ScriptedDevice):
    """A device that can go away and never comes back."""

    def close_for_good(self):
        self._closing = True
        self._listener.close()
        self.drop()


class ChannelLines(BenchCase):
    def device(self, answers=(), **options):
        """A device that sends each of `answers`, (id, text), as indication and then confirms."""

        def answer(device, head, body):
            for ident, text in answers:
                device.send(frames.Head(frames.IND, id=ident), text)
            if head.kind == frames.REQUEST:
                device.confirm(head)

        device = ScriptedDevice(self.folder / "device", answer, **options)
        self.stack.callback(device.close)
        return device

    def run_on(self, device, *arguments, stdin=b""):
        """What the device got, as (kind, id, body), and the console's result."""
        result = self.kiv(*arguments, stdin=stdin, link=device.endpoint)
        # The console does not wait until the device has read its last post.
        wait_for(device.is_idle, "the device has read all")
        return [(head.kind, head.id, body) for head, body in device.received], result

    def test_an_at_line_goes_out_as_text_and_its_answer_is_shown(self):
        device = self.device([(AT_ANSWER, b"\r\n+CSQ: 20,99\r\n\r\nOK\r\n")])
        got, result = self.run_on(device, "-c", "AT+CSQ")
        self.assertEqual(got, [(frames.REQUEST, AT_REQUEST, counted(b"AT+CSQ\r\n"))], result)
        self.assertIn("+CSQ: 20,99", result.out)
        self.assertEqual(result.status, 0, result)

    def test_a_shell_line_goes_out_without_its_word(self):
        device = self.device([(SHELL_ANSWER, b"hello\n"), (SHELL_ANSWER, b"")])
        got, result = self.run_on(device, "-c", "sh echo hello")
        self.assertEqual(got, [(frames.REQUEST, SHELL_REQUEST, counted(b"echo hello"))], result)
        self.assertIn("hello\n", result.out)

    def test_controller_lines_of_400_characters_reach_the_controller_one_by_one(self):
        port = self.folder / "controller"
        listener = socket.socket(socket.AF_UNIX)
        self.stack.callback(listener.close)
        listener.bind(str(port))
        listener.listen()
        packet = bytes((0x01, 0x01, 0xFC, 0x80)) + b"\x11" * 128
        line = "hcix " + packet.hex(" ")
        self.assertEqual(len(line), 400)
        result = self.kiv("-c", line, "-c", "hci 01 03 0c 00",
                          link=f"exec:kivagent --stdio --variant 246 --allow-root --hci unix:{port}")
        self.assertEqual(result.status, 0, result)
        connection, _ = listener.accept()
        self.stack.callback(connection.close)
        connection.settimeout(DEADLINE_S)
        got = b""
        while piece := connection.recv(4096):
            got += piece
        self.assertEqual(got, packet + bytes((0x01, 0x03, 0x0C, 0x00)))

    def test_the_delay_travels_in_the_last_word(self):
        device = self.device([(SHELL_ANSWER, b"")])
        _, result = self.run_on(device, "-c", "sh cat Big.txt -d 50")
        self.assertEqual([head.word32 for head, _ in device.received], [50], result)

    def test_variant_249_of_the_device_has_ids_of_its_own(self):
        device = self.device([(AT_ANSWER_249, b"OK\r\n"), (SHELL_ANSWER_249, b"files\n"),
                              (SHELL_ANSWER_249, b"")], versions=(249, 0))
        got, result = self.run_on(device, "-c", "AT", "-c", "sh ls")
        self.assertEqual(got, [(frames.REQUEST, AT_REQUEST_249, counted(b"AT\r\n")),
                               (frames.REQUEST, SHELL_REQUEST_249, counted(b"ls"))], result)
        self.assertIn("OK", result.out)
        self.assertIn("files\n", result.out)

    def test_on_variant_246_of_the_device_every_line_is_the_controllers(self):
        device = self.device(versions=(246, 0))
        got, result = self.run_on(device, "-c", "hci 01 03 0c 00", "-c", "help", "-c", "sys_info")
        self.assertEqual(got, [
            (frames.SDT, HCI, b"\x10\0" + struct.pack("<H", len(text) + 9) + b"\0\0" + text)
            for text in (b"hci 01 03 0c 00", b"help", b"sys_info")], result)
        self.assertEqual(result.out, "")

    def test_on_product_38_of_the_device_every_line_is_its_shells(self):
        device = self.device(versions=(248, 38))
        got, result = self.run_on(device, "-c", "ps -e", "-c", "help", "-c", "sys_info")
        self.assertEqual(got, [(frames.RAW, 0, text)
                               for text in (b"ps -e\r\n", b"help\r\n", b"sys_info\r\n")], result)
        self.assertEqual(result.out, "")

    def test_options_hold_whatever_the_device_says(self):
        device = self.device([(SHELL_ANSWER_249, b"")], versions=(246, 38))
        got, result = self.run_on(device, "--variant", "249", "--product", "0", "-c", "sh ls",
                                  "-c", "help")
        self.assertEqual(got, [(frames.REQUEST, SHELL_REQUEST_249, counted(b"ls"))], result)
        self.assertIn("help  Querying All Commands\n", result.out)

    def test_the_configuration_stands_behind_the_device(self):
        (self.folder / "config").mkdir()
        (self.folder / "config" / "kiv.ini").write_text("[bench]\nvariant=249\nproduct=38\n")
        device = self.device([(SHELL_ANSWER, b"")], versions=(248, 0))
        got, result = self.run_on(device, "-c", "sh ls")
        self.assertEqual(got, [(frames.REQUEST, SHELL_REQUEST, counted(b"ls"))], result)

    def test_the_agent_says_the_codes_it_was_started_with(self):
        result = self.kiv("-c", "help", link=f"{self.child()} --variant 246 --product 38")
        self.assertRegex(result.err, r"\(variant 246, product 38\)")
        self.assertNotIn("Querying", result.out)

    def test_a_long_line_comes_in_pieces(self):
        device = self.device([(SHELL_ANSWER, b"")])
        got, result = self.run_on(device, "-c", "sh " + "x" * 1000)
        self.assertEqual([body for _, _, body in got],
                         [counted(b"x" * 400), counted(b"x" * 400), counted(b"x" * 200)], result)

    def test_what_would_act_on_a_terminal_is_shown_escaped(self):
        device = self.device([(AT_ANSWER, b"\x1b]0;mine\x07 \xff\xfe\x01\r\nOK\r\n")])
        _, result = self.run_on(device, "-c", "AT")
        self.assertIn("\\x1b]0;mine\\x07 \ufffd\ufffd\\x01", result.out)
        self.assertNotIn("\x1b", result.out)

    def test_line_ends_of_modems_are_shown_as_plain_ones(self):
        device = self.device([(AT_ANSWER, b"AT\r\r\n+X: a\rb\r\n\r\nOK\r\n")])
        _, result = self.run_on(device, "-c", "AT")
        self.assertEqual(result.out, "AT\n+X: a\\x0db\n\nOK\n")

    def test_a_modem_that_answers_in_numbers_ends_each_line_with_one(self):
        begin = time.monotonic()
        # Without echo; the last line is no command of the modem.
        result = self.kiv("--wait", "50000", "-c", "AT+CMEE=0;E0V0", "-c", "AT+CSQ")
        self.assertEqual(result.status, 0, result)
        self.assertTrue(result.out.endswith("\n0\n"), result)
        result = self.kiv("--wait", "50000", "-c", "AT+CMEE=0;E0V0", "-c", "AT+NOTHING")
        self.assertEqual(result.status, 1, result)
        self.assertTrue(result.out.endswith("\n4\n"), result)
        self.assertLess(time.monotonic() - begin, 45)

    def test_a_text_of_one_digit_is_no_result_code_however_it_is_cut(self):
        device = self.slow_device([(AT_ANSWER, b"\r\n4\r"), (AT_ANSWER, b"\n\r\nOK\r\n")])
        _, result = self.run_on(device, "--settle", "20000", "-c", "AT")
        self.assertEqual((result.status, result.out), (0, "\n4\n\nOK\n"), result)

    def slow_device(self, pieces, **options):
        """A device that confirms first and then sends each of `pieces`, (id, text), a while apart."""

        def answer(device, head, body):
            if head.kind == frames.REQUEST:
                device.confirm(head)
            for ident, text in pieces:
                time.sleep(0.05)
                device.send(frames.Head(frames.IND, id=ident), text)

        device = ScriptedDevice(self.folder / "device", answer, **options)
        self.stack.callback(device.close)
        return device

    def test_an_at_line_is_done_at_its_final_result_code(self):
        for code, status in ((b"OK", 0), (b"CONNECT 9600", 0), (b"ERROR", 1), (b"+CME ERROR: 3", 1),
                             (b"+CMS ERROR: 500", 1), (b"NO CARRIER", 1), (b"BUSY", 1)):
            with self.subTest(code=code):
                device = self.slow_device([(AT_ANSWER, b"\r\n+CREG: 1\r\n"), (AT_ANSWER, b"\r\n" + code[:1]),
                                           (AT_ANSWER, code[1:] + b"\r"), (AT_ANSWER, b"\n")])
                _, result = self.run_on(device, "-c", "AT+CREG?")
                self.assertEqual(result.status, status, result)
                self.assertIn("+CREG: 1", result.out)
                device.close()
                (self.folder / "device").unlink()

    def test_a_batch_prints_the_whole_answer_of_each_line_before_the_next(self):
        device = self.slow_device([(SHELL_ANSWER, b"one\n"), (SHELL_ANSWER, b"two\n"), (SHELL_ANSWER, b"")])
        _, result = self.run_on(device, "-c", "sh a", "-c", ":link", "-c", "sh b")
        lines = [line for line in result.out.splitlines() if line]
        self.assertEqual([line for line in lines if not line.startswith("kiv: connected")],
                         ["one", "two", "one", "two"], result)
        self.assertTrue(lines[2].startswith("kiv: connected"), result)
        self.assertEqual(result.status, 0, result)

    def test_an_answer_without_its_end_is_no_answer(self):
        device = self.device([(AT_ANSWER, b"\r\n+CSQ: 20\r\n"), (SHELL_ANSWER, b"half\n")])
        for line, text in (("AT+CSQ", "+CSQ: 20"), ("sh x", "half")):
            with self.subTest(line=line):
                result = self.kiv("--wait", SHORT_WAIT_MS, "-c", line, link=device.endpoint)
                self.assertEqual(result.status, 3, result)
                self.assertIn(text, result.out)
                self.assertIn(f"kiv: no answer to '{line}' within 2500 ms\n", result.err)

    def test_pieces_of_an_answer_are_put_together_as_they_were(self):
        text = "\r\n+X: \u00fc\u20ac\r\r\n\r\nOK\r\n".encode()
        device = self.device([(AT_ANSWER, text[i:i + 1]) for i in range(len(text))]
                             + [(SHELL_ANSWER, b"12"), (SHELL_ANSWER, b"34\n5\r"),
                                (SHELL_ANSWER, b"\n6"), (SHELL_ANSWER, b"")])
        _, result = self.run_on(device, "-c", "AT")
        self.assertEqual(result.out, "\n+X: \u00fc\u20ac\n\nOK\n1234\n5\n6\n", result)

    def test_a_line_feed_is_added_where_another_text_follows_or_the_answer_ends(self):
        device = self.slow_device([(SHELL_ANSWER, b"a"), (AT_ANSWER, b"RI"), (AT_ANSWER, b"NG"),
                                   (SHELL_ANSWER, b"b"), (SHELL_ANSWER, b"c"), (SHELL_ANSWER, b"")])
        _, result = self.run_on(device, "-c", "sh x", "-c", ":help")
        self.assertTrue(result.out.startswith("a\nRING\nbc\n:"), result)

    def test_text_behind_the_last_line_is_ended_too(self):
        device = self.device([(SHELL_ANSWER, b"half")])
        _, result = self.run_on(device, "--wait", SHORT_WAIT_MS, "-c", "sh x")
        self.assertEqual((result.out, result.status), ("half\n", 3), result)

    def test_a_shell_and_a_controller_are_told_apart(self):
        device = self.device([(HCI, b"04 0e"), (HCI, b"04 0f"), (SHELL_ANSWER, b"12"),
                              (SHELL_ANSWER, b"34"), (SHELL_ANSWER, b"")], versions=(246, 0))
        _, result = self.run_on(device, "--settle", "2500", "-c", "sh x")
        self.assertEqual(result.out, "04 0e\n04 0f\n1234\n" * 2, result)

    def test_an_empty_line_goes_to_the_module(self):
        for product, stdin in ((38, b""), (38, b"\n"), (0, b"\n")):
            with self.subTest(product=product, stdin=stdin):
                device = self.device(versions=(246, product))
                lines = () if stdin else ("-c", "")
                got, result = self.run_on(device, *lines, stdin=stdin)
                raw = [(frames.RAW, 0, b"\r\n")] if product == 38 else []
                self.assertEqual([one for one in got if one[0] == frames.RAW], raw, result)
                self.assertEqual((result.out, result.status), ("", 0), result)
                device.close()
                (self.folder / "device").unlink()

    def test_an_empty_line_is_nothing_where_no_channel_takes_it(self):
        device = self.device()
        got, result = self.run_on(device, "-c", "", "-c", "")
        self.assertEqual((got, result.out, result.status), ([], "", 0), result)

    def test_a_controllers_answer_ends_with_silence(self):
        device = self.slow_device([(HCI, b"04 0e 04 01"), (HCI, b"04 0f 04 00")], versions=(246, 0))
        _, result = self.run_on(device, "--settle", "2500", "-c", "hci 01 03 0c 00", "-c", "hci 2")
        self.assertEqual(result.out, "04 0e 04 01\n04 0f 04 00\n" * 2)
        self.assertEqual(result.status, 0, result)

    def test_a_controller_that_is_not_there_fails_the_line(self):
        def refuse(device, head, body):
            device.send(frames.Head(frames.CNF, id=head.id, tag=head.tag, result=704))

        device = ScriptedDevice(self.folder / "device", refuse, versions=(246, 0))
        self.stack.callback(device.close)
        _, result = self.run_on(device, "--settle", "2500", "-c", "hci 01 03 0c 00")
        self.assertEqual(result.status, 1, result)

    def test_a_raw_shells_answer_ends_with_silence(self):
        device = self.slow_device([(SHELL_ANSWER, b"one\n"), (SHELL_ANSWER, b"two\n")], versions=(248, 38))
        _, result = self.run_on(device, "--settle", "2500", "-c", "ps")
        self.assertEqual(result.out, "one\ntwo\n", result)
        self.assertEqual(result.status, 0, result)

    def test_a_line_that_a_device_refuses_fails_without_a_wait_for_its_end(self):
        def refuse(device, head, body):
            device.confirm(head, result=704)

        device = ScriptedDevice(self.folder / "device", refuse)
        self.stack.callback(device.close)
        for line in ("AT", "sh ls"):
            _, result = self.run_on(device, "-c", line)
            self.assertEqual(result.status, 1, result)
            self.assertRegex(result.err, f"kiv: the device refused '{line}': .+\n")
            self.assertNotIn("no answer", result.err)

    def test_a_line_that_a_device_refuses_behind_its_confirmation_fails(self):
        allowed = self.folder / "allowed"
        allowed.write_text("echo\n")
        allowed.chmod(0o600)
        agent = f"{self.child()} --shell list:{allowed}"
        for line, out, status in (("sh ls", "kivagent: this line is not among the commands that are "
                                            "allowed\n", 1), ("sh echo a", "a\n", 0)):
            result = self.kiv("-c", line, link=agent)
            self.assertEqual((result.out, result.status), (out, status), result)

        def refuse(device, head, body):
            device.send(frames.Head(frames.IND, id=HCI, result=703), b"*** no packet\n")

        device = ScriptedDevice(self.folder / "device", refuse, versions=(246, 0))
        self.stack.callback(device.close)
        _, result = self.run_on(device, "-c", "hci 01")
        self.assertEqual((result.out, result.status), ("*** no packet\n", 1), result)

    def test_the_filter_hides_an_answer_but_not_its_end(self):
        device = self.device([(AT_ANSWER, b"\r\nERROR\r\n"), (SHELL_ANSWER, b"")])
        _, result = self.run_on(device, "-c", "ctsftl 1", "-c", "sh ls", "-c", "AT")
        self.assertEqual(result.out, "Filter out other messages.\n", result)
        self.assertEqual(result.status, 1, result)
        self.assertNotIn("no answer", result.err)

    def test_a_line_without_a_device_is_told_by_the_console(self):
        def leave(device, head, body):
            device.close_for_good()

        device = LeavingDevice(self.folder / "device", leave)
        self.stack.callback(device.close)
        _, result = self.run_on(device, "-c", "sh go", "-c", "AT", "-c", "sh ls", "-c", "ctsftl",
                                "-c", "cts a 0")
        self.assertEqual(result.status, 4, result)
        self.assertIn("kiv: the link was lost before 'sh go' was answered\n", result.err)
        self.assertIn("kiv: not connected; 'AT' was not sent\n", result.err)
        self.assertIn("kiv: not connected; 'sh ls' was not sent\n", result.err)
        self.assertNotIn("'cts", result.err)
        self.assertEqual(result.out, "Do not filter out other messages.\n"
                         "*** Failed to execute cts command. No UE is connected.\n")

    def test_a_line_that_has_nothing_to_send_fails(self):
        device = self.device()
        got, result = self.run_on(device, "-c", "sh")
        self.assertEqual(got, [])
        self.assertEqual(result.status, 1, result)
        self.assertIn("kiv: nothing was sent for 'sh'\n", result.err)

    def test_a_first_word_beyond_eighty_characters_is_told_to_go_alone(self):
        word = "/opt/" + "w" * 76
        notice = (f"kiv: the first word of '{word} --dry-run now' has more than 80 characters; what stands "
                  "behind it was not sent\n")
        for versions, sent in (((248, 38), (frames.RAW, 0, word.encode() + b"\r\n")),
                               ((246, 0), (frames.SDT, HCI, b"\x10\0\x5a\0\0\0" + word.encode()))):
            with self.subTest(versions=versions):
                device = self.device(versions=versions)
                got, result = self.run_on(device, "-c", f"{word} --dry-run now")
                self.assertEqual(got, [sent], result)
                self.assertEqual(result.status, 1, result)
                self.assertEqual(result.err.count(notice), 1, result)
                device.received.clear()
                for whole in (word, "/opt/" + "w" * 75 + " --dry-run", "at" + "w" * 90 + " --dry-run"):
                    _, result = self.run_on(device, "-c", whole)
                    self.assertEqual(result.status, 0, result)
                    self.assertNotIn("first word", result.err)
                device.close()
                (self.folder / "device").unlink()

    def test_a_test_case_is_done_at_its_result(self):
        cases = self.cases()
        for last, status in ((b"result: pass", 0), (b"result: fail", 1)):
            with self.subTest(last=last):
                device = self.slow_device([(TEST_TEXT, b"pattern 0x55"), (TEST_TEXT, last)])
                _, result = self.run_on(device, "-c", f"ctscfg {cases}", "-c", "cts echo 0")
                self.assertEqual(result.status, status, result)
                self.assertIn(f"pattern 0x55\n{last.decode()}\n", result.out)
                device.close()
                (self.folder / "device").unlink()

    def test_a_test_case_that_is_never_confirmed_has_no_answer(self):
        def pass_only(device, head, body):
            device.send(frames.Head(frames.IND, id=TEST_TEXT), b"result: pass")

        device = ScriptedDevice(self.folder / "device", pass_only)
        self.stack.callback(device.close)
        _, result = self.run_on(device, "--wait", SHORT_WAIT_MS, "-c", f"ctscfg {self.cases()}", "-c",
                                "cts echo 0")
        self.assertIn("result: pass\n", result.out)
        self.assertIn("kiv: no answer to 'cts echo 0' within 2500 ms\n", result.err)
        self.assertEqual(result.status, 3, result)

    def test_a_test_case_that_is_not_sent_fails(self):
        device = self.device()
        got, result = self.run_on(device, "-c", f"ctscfg {self.cases()}", "-c", "cts other 0")
        self.assertEqual(got, [])
        self.assertIn("***error: failed to find parameter config file: ", result.out)
        self.assertEqual(result.status, 1, result)

    def test_the_agents_own_responder_answers_at_lines(self):
        for line, last, status in (("AT", "OK", 0), ("AT+CSQ", "OK", 0), ("AT+NOPE", "ERROR", 1)):
            with self.subTest(line=line):
                result = self.kiv("-c", line)
                self.assertEqual(result.status, status, result)
                self.assertTrue(result.out.endswith(f"\n{last}\n"), result)

    def test_the_agents_shell_answers_and_ends(self):
        child = f"{self.child()} --shell full --allow-root"
        result = self.kiv("-c", "sh echo hello", "-c", "sh echo again", link=child)
        self.assertEqual((result.out, result.status), ("hello\nagain\n", 0), result)

    def test_the_agents_shell_is_off_and_the_console_says_so(self):
        result = self.kiv("-c", "sh echo hello")
        self.assertEqual((result.out, result.status), ("", 1), result)
        self.assertIn("kiv: the device refused 'sh echo hello': ", result.err)

    def cases(self, content=b"\xde\xad\xbe\xef"):
        """A folder with the test case "echo", index 0."""
        folder = self.folder / "cases"
        (folder / "pbin").mkdir(parents=True)
        (folder / "echo.pcfg").touch()
        (folder / "pbin" / "echo.pcfg.rt.0").write_bytes(content)
        return folder

    def test_a_test_case_is_configured_once_and_sent_by_the_next_run(self):
        cases = self.cases()
        device = self.device([(TEST_TEXT, b"result: pass")])
        _, result = self.run_on(device, "-c", f"ctscfg {cases} run1")
        self.assertIn(f"config path: {cases}\nlog file: {cases}\\cts_run1.log\n", result.out)
        got, result = self.run_on(device, "-c", "cts echo 0")
        self.assertEqual(got, [(frames.REQUEST, TEST_REQUEST,
                                b"echo".ljust(72, b"\0") + counted(b"\xde\xad\xbe\xef"))], result)
        for text in ("test parameter length : 80B\n", "result: pass\n", "\nSent to UE successfully\n"):
            self.assertIn(text, result.out)
        log = pathlib.Path(cases / "cts_run1.log").read_text()
        self.assertTrue(log.startswith("Config Init complete.\n"), log)
        self.assertIn("cts echo 0 \n", log)
        self.assertIn("result: pass\n", log)

    def test_the_filter_hides_the_reply_of_a_diagnostic_command(self):
        result = self.kiv("-c", "ctsftl 1", "-c", "sys_info", "-c", "ctsftl 0", "-c", "sys_info")
        self.assertEqual(result.out.count(".host_name"), 1, result)
        self.assertTrue(result.out.startswith("Filter out other messages.\n"), result)


if __name__ == "__main__":
    unittest.main()
