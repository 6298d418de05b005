"""The console against the agent: whole texts, statuses, and the same text each way."""

import fcntl
import json
import os
import platform
import pty
import select
import shutil
import signal
import socket
import struct
import subprocess
import sys
import termios
import time
import unittest

from bench import (CATALOGUE, KIV, SHORT_WAIT_MS, SOURCE, STARS, WAIT_MS, BenchCase, rows, shown,
                   wait_for)

# Behind the arrays' defaults: "[]" keeps what the catalogue gives.
ARRAYS = ",[],[],[],[],[],[],[]"


def echo_all(**changes):
    """The rendered rows of echo_all, whose defaults the catalogue source has."""
    values = dict(u8_value=8, i8_value=-8, u16_value=1600, i16_value=-1600, u32_value=3200000000,
                  i32_value=-320000, u64_value=4294967295, i64_value=0, letter=107, level=100,
                  u8_list=[1, 2, 3, 4], i8_list=[-1, 1], u16_list=[100, 200, 300],
                  i16_list=[-100, 100], u32_list=[70000, 80000], i32_list=[-70000, 70000],
                  text="hello")
    values.update(changes)
    named = []
    for name, value in values.items():
        if isinstance(value, list):
            named += [(f"{name}[{index}]", element) for index, element in enumerate(value)]
        else:
            named.append(("." + name, value))
    width = max(len(name) for name, _ in named)
    return rows(*(f"{name.ljust(width)} = {value}" for name, value in named))


class Answers(BenchCase):
    def test_sys_info_shows_what_this_machine_is(self):
        result = self.kiv("-c", "sys_info")
        self.assertEqual(result.status, 0, result)
        uname = platform.uname()
        with open("/proc/meminfo", encoding="ascii") as meminfo:
            total_kib = meminfo.readline().split()[1]
        with open("/proc/sys/kernel/random/boot_id", encoding="ascii") as boot_id:
            boot = boot_id.read().strip()
        with open(SOURCE / "VERSION", encoding="ascii") as version:
            agent_version = version.read().strip()
        values = [("host_name", socket.gethostname()), ("system", uname.system),
                  ("kernel", uname.release), ("machine", uname.machine), ("boot_id", boot),
                  ("agent_version", agent_version), ("cpu_count", os.sysconf("SC_NPROCESSORS_CONF")),
                  ("page_size_bytes", os.sysconf("SC_PAGE_SIZE")), ("memory_total_kib", total_kib)]
        expected = rows(*(f".{name}".ljust(17) + f" = {value}" for name, value in values))
        self.assertEqual(result.out, shown("", expected))

    def test_echo_all_shows_what_was_typed_and_what_came_back(self):
        line = ("echo_all 200,-5,65535,-32768,4294967295,-1,7,8,65,-100,[9,,0x10],[-128],[1,2,3],"
                "[-1,-2],[4294967295,0],[-2147483648,2147483647],[104,105,0]")
        result = self.kiv("-c", line)
        self.assertEqual(result.status, 0, result)
        expected = echo_all(u8_value=200, i8_value=-5, u16_value=65535, i16_value=-32768,
                            u32_value=4294967295, i32_value=-1, u64_value=7, i64_value=8, letter=65,
                            level=-100, u8_list=[9, 2, 16, 4], i8_list=[-128, 1],
                            u16_list=[1, 2, 3], i16_list=[-1, -2], u32_list=[4294967295, 0],
                            i32_list=[-2147483648, 2147483647], text="hi")
        self.assertEqual(result.out, shown(expected, expected))

    def test_echo_all_without_parameters_sends_the_defaults(self):
        result = self.kiv("-c", "echo_all")
        self.assertEqual((result.status, result.out), (0, shown(echo_all(), echo_all())), result)

    def test_echo_nested_takes_braces_three_deep(self):
        line = "echo_nested {5,{6,{-7,8},{9,10}},{{11,12},{13,},{15,16}},{{17,18,19},{20,21,22}},[1,2,3]}"
        result = self.kiv("-c", line)
        self.assertEqual(result.status, 0, result)
        names = [(".serial", 5), (".leg", ""), ("..number", 6), ("..from", ""), ("...x", -7),
                 ("...y", 8), ("..to", ""), ("...x", 9), ("...y", 10)]
        for index, (x, y) in enumerate([(11, 12), (13, -20), (15, 16)]):
            names += [(f"..marks[{index}]", ""), ("...x", x), ("...y", y)]
        for index, (channel, reading, flags) in enumerate([(17, 18, 19), (20, 21, 22)]):
            names += [(f"..samples[{index}]", ""), ("...channel", channel), ("...reading", reading),
                      ("...flags", flags)]
        names += [(f"tail[{index}]", index + 1) for index in range(3)]
        width = max(len(name) for name, _ in names)
        expected = rows(*(f"{name.ljust(width)} = {value}" for name, value in names))
        self.assertEqual(result.out, shown(expected, expected))

    def test_note_keeps_a_text_and_shows_it(self):
        result = self.kiv("-c", "note Grüße von der Bank", "-c", "note")
        self.assertEqual(result.status, 0, result)
        self.assertTrue(result.out.endswith("\nGrüße von der Bank  \n"), result)
        self.assertEqual(result.out.count("Grüße von der Bank  \n"), 2, result)

    def test_nv_items_survive_the_agent(self):
        written = self.kiv("-c", "nv_write 7,3,[1,2,255]")
        self.assertEqual(written.status, 0, written)
        read = self.kiv("-c", "nv_read 7")
        self.assertEqual(read.status, 0, read)
        data = [1, 2, 255] + [0] * 29
        names = [(".item", 7), (".length_bytes", 3)]
        names += [(f"data[{index}]", value) for index, value in enumerate(data)]
        width = max(len(name) for name, _ in names)
        expected = rows(*(f"{name.ljust(width)} = {value}" for name, value in names))
        self.assertEqual(read.out, shown(rows(".item = 7"), expected))

    def test_live_figures_have_their_form(self):
        result = self.kiv("-c", "mem_info", "-c", "cpu_load")
        self.assertEqual(result.status, 0, result)
        figures = [line.split(" = ")[0].strip() for line in result.out.splitlines() if " = " in line]
        self.assertEqual(figures[:7], [".total_kib", ".free_kib", ".available_kib", ".buffers_kib",
                                       ".cached_kib", ".swap_total_kib", ".swap_free_kib"])
        self.assertEqual(figures[7:9], [".cpu_count", ".total_permille"])
        self.assertEqual(figures[9:25], [f"cpu_permille[{index}]" for index in range(16)])
        for line in result.out.splitlines():
            if " = " in line:
                self.assertRegex(line, r"^\.?[a-z_0-9\[\]]+ *= \d+ $")


class Words(BenchCase):
    def test_help_lists_itself_and_every_command_with_its_id(self):
        with open(SOURCE / "catalogues" / "board.json", encoding="utf-8") as source:
            commands = json.load(source)["commands"]
        listed = sorted((int(command["id"], 0), command["name"]) for command in commands
                        if command.get("listed", True))
        expected = "help  Querying All Commands\n?  Querying All Commands\n"
        expected += "".join(f"{name}  (0x{number:x}) \n\n" for number, name in listed)
        for word in ("help", "?"):
            result = self.kiv("-c", word)
            self.assertEqual((result.status, result.out), (0, expected), result)

    def test_an_unknown_word_is_told_and_fails(self):
        result = self.kiv("-c", "nonsense")
        self.assertEqual((result.status, result.out), (1, "Command 'nonsense' is not exist\n"), result)
        self.assertNotIn("did you mean", result.err)

    def test_words_are_case_sensitive(self):
        result = self.kiv("-c", "HELP")
        self.assertEqual((result.status, result.out), (1, "Command 'HELP' is not exist\n"), result)
        self.assertTrue(result.err.endswith("\nkiv: did you mean help?\n"), result)

    def test_a_parameter_error_is_told_and_fails(self):
        result = self.kiv("-c", "nv_read x")
        self.assertEqual((result.status, result.out), (1,
            "*** Failed to parse the diag command parameters (2).\n"
            "Failed to translate x to wexUint32.\nThe index of current parameter is %d.\n"), result)
        self.assertTrue(result.err.endswith("\nkiv: nv_read x\nkiv:         ^ item\n"), result)
        result = self.kiv("-c", "nv_read {7")
        self.assertEqual((result.status, result.out), (1,
            "*** Failed to parse the diag command parameters (1).the last '}' is missing.\n"), result)
        self.assertTrue(result.err.endswith("\nkiv: nv_read {7\nkiv:           ^\n"), result)

    def test_a_bad_mac_path_is_told_and_fails(self):
        result = self.kiv("-c", "nv_read 7 -r 00:11:22:33:44:5")
        self.assertEqual((result.status, result.out), (1,
            f"Input Parameters:\n{STARS}.item = 7 \n\n{STARS}\n"
            "*** Failed to execute diag command. Check MAC path.\n"), result)

    def test_a_routed_command_is_answered_through_the_route(self):
        result = self.kiv("-c", "echo_all -r 00:11:22:33:44:55->AA-BB-CC-DD-EE-FF")
        self.assertEqual((result.status, result.out), (0, shown(echo_all(), echo_all())), result)

    def test_a_line_of_the_console_itself_does_not_reach_the_module(self):
        result = self.kiv("-c", ":nothing")
        self.assertEqual((result.status, result.out), (1, ""), result)
        self.assertIn("kiv: ':nothing' is none of the console's own words; :help lists them\n",
                      result.err)
        result = self.kiv("-c", "::nothing")
        self.assertEqual(result.out, "Command ':nothing' is not exist\n", result)
        result = self.kiv("-c", ":help")
        self.assertEqual(result.status, 0, result)
        words = [line.split()[0] for line in result.out.splitlines()]
        self.assertEqual(words, sorted(set(words[:-1])) + ["::x"])
        self.assertLessEqual({":describe", ":diff", ":find", ":help", ":link", ":quit"}, set(words))


class SameTextEachWay(BenchCase):
    LINES = ["help", "echo_all 1", "echo_all 1,,,,,,,,," + ARRAYS, "nonsense", "echo_nested {2,{3,{4,5}},}", "", "note x", "nv_read 9"]

    def transcripts(self, link):
        script = self.folder / "lines.txt"
        script.write_text("\n".join(self.LINES) + "\n", encoding="utf-8")
        typed = "".join(line + "\n" for line in self.LINES).encode()
        arguments = [part for line in self.LINES for part in ("-c", line)]
        yield "-c", self.kiv(*arguments, link=link)
        yield "-f", self.kiv("-f", str(script), link=link)
        yield "pipe", self.kiv(link=link, stdin=typed)
        yield "pipe with CR LF", self.kiv(link=link, stdin=typed.replace(b"\n", b"\r\n"))
        yield "pipe without last end", self.kiv(link=link, stdin=typed[:-1])

    def test_lines_print_the_same_from_options_file_and_pipe_over_child_and_socket(self):
        _, socket_link = self.agent()
        seen = {}
        for link in (self.child(), socket_link):
            for way, result in self.transcripts(link):
                seen[f"{way} over {link.split(':')[0]}"] = (result.status, result.out)
        first = seen["-c over exec"]
        self.assertEqual(first[0], 1)
        self.assertIn("Command 'nonsense' is not exist\n", first[1])
        for way, transcript in seen.items():
            self.assertEqual(transcript, first, way)

    def test_one_command_prints_the_same_from_a_pipe_and_from_an_option(self):
        self.assertEqual(self.kiv(stdin=b"sys_info\n").out, self.kiv("-c", "sys_info").out)

    def test_a_bare_environment_changes_nothing(self):
        bare = self.kiv("-c", "echo_all", "-c", "note ä", "--config-dir", str(self.folder / "c"),
                        env={"PATH": "/usr/bin:/bin"})
        usual = self.kiv("-c", "echo_all", "-c", "note ä")
        self.assertEqual((bare.status, bare.out), (0, usual.out), bare)


class Statuses(BenchCase):
    def test_without_a_device_nothing_is_run_and_the_status_is_4(self):
        before = time.monotonic()
        result = self.kiv("--wait", SHORT_WAIT_MS, "-c", "sys_info", link="unix:/nonexistent/agent")
        self.assertLess(time.monotonic() - before, 30)
        self.assertEqual((result.status, result.out), (4, ""), result)
        self.assertRegex(result.err, r"kiv: no device at unix:/nonexistent/agent within 2500 ms: .+; "
                                     r"no line was run\n$")

    def test_a_program_that_is_missing_is_told(self):
        result = self.kiv("--wait", SHORT_WAIT_MS, "-c", "help", link="exec:no-such-agent-anywhere")
        self.assertEqual((result.status, result.out), (4, ""), result)
        self.assertIn("no-such-agent-anywhere", result.err)

    def test_a_link_that_is_no_endpoint_ends_at_once_with_status_2_and_one_line(self):
        links = {
            "carrier-pigeon:home": " is of no known kind: use exec:PROGRAM ARG..., unix:PATH, "
                                   "tcp:HOST:PORT or serial:PATH?baud=N",
            "tcp:board": ": it names no port",
            "tcp:::1:5": ": an IPv6 address stands in brackets: tcp:[ADDRESS]:PORT",
            "serial:/dev/ttyS0?baud=fast": ": baud is no number from 1 to 4294967295",
            "exec:'kivagent": ": a ' is not closed",
        }
        for link, problem in links.items():
            before = time.monotonic()
            result = self.kiv("--wait", "60000", "-c", "help", link=link)
            self.assertLess(time.monotonic() - before, 30)
            self.assertEqual((result.status, result.out, result.err),
                             (2, "", f'kiv: link "{link}"{problem}\n'))

    def test_a_link_that_is_no_endpoint_is_refused_wherever_it_was_set(self):
        problem = 'kiv: link "tcp:x": it names no port\n'
        config = self.folder / "config"
        config.mkdir()
        (config / "kiv.ini").write_text("[bench]\nlink = tcp:x\n")
        for environment in (self.environment(), self.environment(KIV_LINK="tcp:x")):
            process = self.start([KIV, "-c", "help"], env=environment)
            out, err = process.communicate(b"", timeout=60)
            self.assertEqual((process.returncode, out, err.decode()), (2, b"", problem))

    def test_a_refused_link_shows_its_control_characters_escaped(self):
        result = self.kiv("-c", "help", link="tcp:\x1b[2J")
        self.assertEqual((result.status, result.out, result.err),
                         (2, "", 'kiv: link "tcp:\\x1b[2J": it names no port\n'))

    def test_wrong_usage_has_status_2(self):
        for arguments in (["--lnik"], ["sys_info"], ["--wait", "soon"]):
            result = self.kiv(*arguments)
            self.assertEqual((result.status, result.out), (2, ""), result)
            self.assertTrue(result.err.startswith("kiv: "), result)

    def test_a_catalogue_that_gives_no_commands_is_told(self):
        for path, reason in ((str(self.folder / "none.kcat"), "file not found"),
                             ("/etc/passwd", "the catalogue file is damaged")):
            result = self.kiv("--catalogue", path, "-c", "sys_info")
            self.assertEqual((result.status, result.out), (1, "Command 'sys_info' is not exist\n"), result)
            self.assertIn(f"kiv: warning: no commands from the catalogue {path}: {reason}\n", result.err)

    def test_a_parameter_file_that_would_keep_its_reader_waiting_is_refused(self):
        fifo = self.folder / "fifo"
        os.mkfifo(fifo)
        for line in (f"nv_read @{fifo}", f"nv_read $(T<{fifo})"):
            result = self.kiv("-c", line)
            self.assertEqual((result.status, result.out), (1,
                "*** Failed to parse the diag command parameters (1)."
                f"Failed to open {fifo}\n"), result)

    def test_a_file_that_cannot_be_read_has_status_2(self):
        result = self.kiv("-f", str(self.folder / "missing.txt"))
        self.assertEqual((result.status, result.out), (2, ""), result)
        self.assertEqual(result.err.splitlines()[-1],
                         f"kiv: cannot read {self.folder}/missing.txt: No such file or directory")

    def test_a_result_other_than_0_has_status_1_and_the_first_bad_status_counts(self):
        result = self.kiv("-c", "nv_read 60000", "-c", "sys_info")
        self.assertEqual(result.status, 1, result)
        self.assertIn(".kernel", result.out)

    def test_version_and_help_end_with_0(self):
        version = (SOURCE / "VERSION").read_text(encoding="ascii").strip()
        self.assertEqual(self.kiv("--version").out, f"kiv {version}\n")
        result = self.kiv("--help")
        self.assertEqual(result.status, 0, result)
        self.assertIn("--link", result.out)

    def test_the_user_is_told_what_the_console_is_connected_to(self):
        result = self.kiv("-c", "help")
        self.assertRegex(result.err, r"(?m)^kiv: connected to .+ \(variant 248, product 0\) over "
                                     r"exec:kivagent --stdio --data ")


class Interrupting(BenchCase):
    def test_an_interrupt_ends_a_batch_with_130(self):
        process = self.start([KIV, "--link", self.child(), "--wait", WAIT_MS])
        process.stdin.write(b"help\n")
        process.stdin.flush()
        process.stdout.readline()
        os.kill(process.pid, signal.SIGINT)
        self.assertEqual(process.wait(timeout=60), 130)

    def test_a_signal_that_asks_for_the_end_keeps_the_history_of_a_batch(self):
        for number in (signal.SIGTERM, signal.SIGHUP, signal.SIGQUIT, signal.SIGINT):
            process = self.start([KIV, "--link", self.child()], stderr=subprocess.DEVNULL)
            process.stdin.write(f"help {number}\n".encode())
            process.stdin.flush()
            process.stdout.readline()
            os.kill(process.pid, number)
            self.assertEqual(process.wait(timeout=60), 130, number)
            self.assertIn(f"help {number}\n", self.kiv("-c", ":history").out, number)

    def test_a_request_to_end_is_followed_while_the_link_is_not_up(self):
        process = self.start([KIV, "--wait", "600000", "--link", "unix:/nonexistent/x", "-c", "help"])
        wait_for(lambda: len(os.listdir(f"/proc/{process.pid}/task")) > 2, "its threads run")
        os.kill(process.pid, signal.SIGTERM)
        self.assertEqual(process.wait(timeout=60), 130)

    def test_a_signal_ends_a_console_whose_output_nobody_reads(self):
        for number in (signal.SIGINT, signal.SIGTERM, signal.SIGHUP):
            process = self.start([KIV, "--wait", "60000", "--link", self.child(), "-c",
                                  "link_fault 6,1000000", "-c", "link_fault 2,0,5", "-c", "time_read"],
                                 stdin=subprocess.DEVNULL, stderr=subprocess.DEVNULL)
            self.wait_until_full(process.stdout)
            os.kill(process.pid, number)
            # Nobody reads meanwhile.
            self.assertEqual(process.wait(timeout=60), 130, number)

    def test_a_signal_while_the_output_is_full_is_130_also_when_the_reader_comes_back(self):
        process = self.start([KIV, "--wait", "60000", "--link", self.child(), "-c",
                              "link_fault 6,1000000", "-c", "link_fault 2,0,5", "-c", "time_read"],
                             stdin=subprocess.DEVNULL, stderr=subprocess.DEVNULL)
        self.wait_until_full(process.stdout)
        os.kill(process.pid, signal.SIGTERM)
        while process.stdout.read1(65536):
            pass
        self.assertEqual(process.wait(timeout=60), 130)

    def noisy_child(self):
        """A device's program that writes to its standard error without end and greets nobody."""
        program = self.folder / "noisy"
        program.write_text("#!/bin/sh\nwhile echo '" + "n" * 100 + "' >&2; do :; done\n")
        program.chmod(0o755)
        return f"exec:{program}"

    def test_notices_that_nobody_reads_do_not_hold_a_batch(self):
        process = self.start([KIV, "--wait", "1500", "--link", self.noisy_child(), "-c", "help"],
                             stdin=subprocess.DEVNULL)
        self.assertEqual(process.wait(timeout=60), 4)
        self.wait_until_full(process.stderr)  # and it stayed so

    def test_a_signal_ends_a_console_whose_notices_nobody_reads(self):
        process = self.start([KIV, "--wait", "600000", "--link", self.noisy_child(), "-c", "help"],
                             stdin=subprocess.DEVNULL)
        self.wait_until_full(process.stderr)
        os.kill(process.pid, signal.SIGTERM)
        self.assertEqual(process.wait(timeout=60), 130)

    def test_a_signal_ends_a_console_whose_terminal_nobody_reads(self):
        for _ in range(5):
            master, slave = pty.openpty()
            try:
                process = self.start([KIV, "--link", self.child(), "--wait", WAIT_MS, *["-c", "help"] * 400],
                                     stdin=subprocess.DEVNULL, stdout=slave)
                wait_for(lambda: select.select([master], [], [], 0)[0], "it writes")
                process.terminate()
                self.assertEqual(process.wait(timeout=60), 130)
            finally:
                os.close(slave)
                os.close(master)

    @staticmethod
    def wait_until_full(pipe):
        """Until a write would not be taken any more; the pipe keeps what it has."""
        size = fcntl.fcntl(pipe, fcntl.F_GETPIPE_SZ)

        def is_full():
            waiting = fcntl.ioctl(pipe, termios.FIONREAD, b"\0" * 4)
            return int.from_bytes(waiting, sys.byteorder) > size - 3 * 4096
        wait_for(is_full, "the pipe is full")

    def test_a_reader_that_goes_away_ends_the_console(self):
        process = self.start([KIV, "--link", self.child(), "--wait", WAIT_MS])
        process.stdout.close()
        with process.stdin as stdin:
            stdin.write(b"help\nhelp\nhelp\n")
        self.assertEqual(process.wait(timeout=60), 1)

    def test_a_closed_standard_input_cannot_be_read(self):
        done = subprocess.run(["/bin/sh", "-c", 'exec "$@" <&-', "sh", KIV, "--link", self.child()],
                              env=self.environment(), capture_output=True, timeout=60, check=False)
        self.assertEqual((done.returncode, done.stdout), (2, b""))
        self.assertTrue(done.stderr.endswith(
            b"kiv: cannot read standard input: Bad file descriptor\n"), done)
        done = subprocess.run(["/bin/sh", "-c", 'exec "$@" <&-', "sh", KIV, "--link", self.child(), "-c", "help"],
                              env=self.environment(), capture_output=True, timeout=60, check=False)
        self.assertEqual(done.returncode, 0, done)

    def test_an_output_that_cannot_be_written_is_told(self):
        for lines in (["-c", "sys_info"], ["-c", "help", "-c", "sys_info"], ["-c", ":link"]):
            with open("/dev/full", "wb") as full:
                done = subprocess.run([KIV, "--link", self.child(), *lines], env=self.environment(),
                                      stdout=full, stderr=subprocess.PIPE, timeout=60, check=False)
            self.assertEqual(done.returncode, 1)
            self.assertTrue(done.stderr.endswith(b"kiv: standard output cannot be written\n"), done)

    def test_a_help_that_cannot_be_written_is_told(self):
        for option in ("--help", "--version"):
            with open("/dev/full", "wb") as full:
                done = subprocess.run([KIV, option], env=self.environment(), stdout=full,
                                      stderr=subprocess.PIPE, timeout=60, check=False)
            self.assertEqual((done.returncode, done.stderr),
                             (1, b"kiv: standard output cannot be written\n"))

    def test_a_standard_input_that_cannot_be_read_is_told(self):
        with open(self.folder / "write-only", "wb") as unreadable:
            done = subprocess.run([KIV, "--link", self.child()], env=self.environment(),
                                  stdin=unreadable, capture_output=True, timeout=60, check=False)
        self.assertEqual((done.returncode, done.stdout), (2, b""))
        self.assertTrue(done.stderr.endswith(
            b"kiv: cannot read standard input: Bad file descriptor\n"), done)

    def test_a_reload_that_finds_no_commands_is_told_also_as_the_last_line(self):
        copy = self.folder / "mine.kcat"
        shutil.copy(CATALOGUE, copy)
        process = self.start([KIV, "--link", self.child(), "--wait", WAIT_MS, "--catalogue",
                              str(copy)])
        process.stdin.write(b"nv_read 9\n")
        process.stdin.flush()
        process.stdout.readline()
        copy.unlink()
        _, err = process.communicate(b":reload\n", timeout=60)
        self.assertEqual(process.returncode, 1)
        self.assertTrue(err.decode().endswith(
            f"kiv: warning: no commands from the catalogue {copy}: file not found\n"), err)

    def test_the_word_quit_ends_a_batch_with_the_status_so_far(self):
        self.assertEqual(self.kiv("-c", ":quit", "-c", "nonsense").status, 0)
        self.assertEqual(self.kiv(stdin=b"nonsense\n:quit\nhelp\n").status, 1)

    def test_the_child_ends_with_the_console(self):
        process = self.start([KIV, "--link", self.child(), "--wait", WAIT_MS])
        process.stdin.write(b"help\n")
        process.stdin.flush()
        process.stdout.readline()
        children = subprocess.run(["pgrep", "-P", str(process.pid)], capture_output=True, check=False,
                                  text=True).stdout.split()
        self.assertEqual(len(children), 1)
        process.stdin.close()
        self.assertEqual(process.wait(timeout=60), 0)
        wait_for(lambda: not os.path.exists(f"/proc/{children[0]}"), "the agent ended")


class Indications(BenchCase):
    def test_indications_are_shown_as_they_come(self):
        process = self.start([KIV, "--link", self.child(), "--wait", WAIT_MS])
        process.stdin.write(b"ind_start 1,20,3\n")
        process.stdin.flush()
        text = b""
        while text.count(b".uptime_ms") < 3:
            line = process.stdout.readline()
            self.assertTrue(line, text)
            text += line
        process.stdin.close()
        self.assertEqual(process.wait(timeout=60), 0)
        numbers = [line.split(b" = ")[1].strip() for line in text.splitlines()
                   if line.startswith(b".number")]
        self.assertEqual(numbers, [b"1", b"2", b"3"])

    def test_an_ini_that_says_no_indications_silences_them(self):
        config = self.folder / "config"
        config.mkdir()
        (config / "platform.ini").write_text("[plc]\nVER=0\n", encoding="ascii")
        result = self.kiv("-c", "ind_start 1,1,5", *["-c", "echo_all"] * 20)
        self.assertEqual(result.status, 0, result)
        self.assertNotIn(".uptime_ms", result.out)


class Bytes(BenchCase):
    def test_kivcat_encode_writes_the_body_that_the_device_receives(self):
        from scripted_device import ScriptedDevice
        device = ScriptedDevice(self.folder / "device", lambda d, head, body: d.confirm(head, body))
        self.stack.callback(device.close)
        lines = [("echo_all", "1,-2,,,,,,,," + ARRAYS), ("echo_all", ""), ("nv_read", "77"),
                 ("echo_nested", "{5,{6,{-7,8},{9,10}},{{11,12},{13,},{15,16}},{{17,18,19},{20,21,22}},[1]}"),
                 ("note", "abcde")]
        arguments = [part for name, rest in lines for part in ("-c", f"{name} {rest}")]
        self.kiv(*arguments, link=device.endpoint)
        self.assertEqual(len(device.received), len(lines))
        for (name, rest), (head, body) in zip(lines, device.received):
            encoded = self.kivcat("encode", CATALOGUE, name, rest)
            self.assertEqual(encoded.status, 0, encoded)
            self.assertEqual(bytes.fromhex("".join(encoded.out.split())), body, name)
        self.assertEqual([head.tag for head, _ in device.received], [1, 2, 3, 4, 5])
        self.assertEqual(device.received[-1][1], b"abcde\0\0\0")

    def test_a_routed_post_has_its_36_byte_head(self):
        from scripted_device import ScriptedDevice
        device = ScriptedDevice(self.folder / "device", lambda d, head, body: d.confirm(head, body))
        self.stack.callback(device.close)
        self.kiv("-c", "nv_read 5 -rf 00:11:22:33:44:55", "-c", "nv_read 6 -r 0a:0b:0c:0d:0e:0f",
                 "-c", "nv_read 7 -d 300", link=device.endpoint)
        (first, body1), (second, body2), (third, body3) = device.received
        header = bytes.fromhex("FFFFFFFFFFFF001122334455") + bytes(6)
        with open(SOURCE / "catalogues" / "board.json", encoding="utf-8") as source:
            number = next(int(command["id"], 0) for command in json.load(source)["commands"]
                          if command["name"] == "nv_read")
        self.assertEqual((first.id, first.tag, first.word16, first.word32), (0x7000, 1, 0, 0))
        self.assertEqual(body1, struct.pack("<IIHH", 0, 0, number, 0) + header + bytes(6) + b"\5\0")
        self.assertEqual((second.id, second.tag), (0x7000, 2))
        self.assertEqual(body2, struct.pack("<IIHH", 1, 0, number, 0) + bytes.fromhex("0A0B0C0D0E0F") +
                         bytes(12) + bytes(6) + b"\6\0")
        self.assertEqual((third.id, third.tag, third.word32, body3), (number, 3, 300, b"\7\0"))

    def test_control_characters_from_a_device_are_shown_escaped(self):
        from scripted_device import ScriptedDevice
        text = b"\x1b]0;mine\x07 ok".ljust(256, b"\0")
        device = ScriptedDevice(self.folder / "device", lambda d, head, body: d.confirm(head, text))
        self.stack.callback(device.close)
        result = self.kiv("-c", "note x", link=device.endpoint)
        self.assertTrue(result.out.endswith("\n\\x1b]0;mine\\x07 ok  \n"), result)


if __name__ == "__main__":
    unittest.main()
