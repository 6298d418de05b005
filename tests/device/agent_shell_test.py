"""The shell channel of the agent: lines in, output and its end out, limits, and nothing left."""

import os
import pathlib
import re
import shutil
import struct
import sys
import tempfile
import unittest

sys.path.insert(0, str(pathlib.Path(__file__).resolve().parents[1]))
from wire import frames  # noqa: E402
from wire.agent_process import AgentProcess, memory_kib, wait_until  # noqa: E402
from wire.frames import Head  # noqa: E402
from wire.peer import parse_hello  # noqa: E402

SHELL = 0x500E
ANSWER = 0xA012


def text(line):
    if isinstance(line, str):
        line = line.encode()
    return struct.pack("<I", len(line)) + line


def children(pid):
    """All processes below one."""
    found = []
    try:
        for task in os.listdir(f"/proc/{pid}/task"):
            for child in pathlib.Path(f"/proc/{pid}/task/{task}/children").read_text().split():
                found += [int(child), *children(int(child))]
    except (FileNotFoundError, ProcessLookupError):
        pass
    return found


def processes_with(word):
    """Ids of processes whose arguments hold a word."""
    found = []
    for entry in pathlib.Path("/proc").iterdir():
        if not entry.name.isdigit():
            continue
        try:
            if word.encode() in (entry / "cmdline").read_bytes():
                found.append(int(entry.name))
        except OSError:
            pass
    return found


class ShellTest(unittest.TestCase):
    arguments = ("--shell", "full")
    answer_id = ANSWER
    request_id = SHELL

    def setUp(self):
        self.folder = tempfile.TemporaryDirectory(prefix="kivagent-")
        self.addCleanup(self.folder.cleanup)
        self.start(*self.arguments)

    def start(self, *arguments, **more):
        self.agent = AgentProcess(*arguments, data=self.folder.name, **more)
        self.addCleanup(self.agent.kill)
        self.peer = self.agent.peer
        self.hello = parse_hello(self.peer.greet().body)

    def post(self, line, **words):
        return self.peer.request(self.request_id, text(line), **words)

    def answer(self, result=0):
        """The answers up to the empty one, each as it came; that one has the result."""
        pieces = []
        while True:
            message = self.peer.indication(self.answer_id)
            self.assertEqual(message.head.result, 0 if message.body else result)
            if not message.body:
                return pieces
            pieces.append(message.body)

    def run_line(self, line, result=0, **words):
        confirmation = self.peer.confirmation(self.post(line, **words))
        self.assertEqual((confirmation.head.id, confirmation.head.result, confirmation.body),
                         (self.request_id, 0, b""))
        return b"".join(self.answer(result))


class Off(ShellTest):
    arguments = ()

    def test_says_that_it_is_not_turned_on(self):
        self.assertEqual(self.hello["abilities"] & 0x10, 0)
        self.assertEqual(self.peer.ask(SHELL, text("echo hello")).head.result, 704)
        self.peer.send(Head(frames.RAW), b"echo hello\r\n")
        said = self.peer.wait_for(lambda m: m.head.kind == frames.RAW)
        self.assertEqual(said.body, b"kivagent: the shell is not turned on\r\n")


class Full(ShellTest):
    def test_runs_a_line_and_ends_its_output_with_an_empty_answer(self):
        self.assertEqual(self.hello["abilities"] & 0x10, 0x10)
        self.assertEqual(self.run_line("echo hello"), b"hello\n")
        self.assertEqual(self.run_line("true"), b"")
        self.assertEqual(self.run_line(""), b"")
        self.assertEqual(self.run_line("echo one; echo two >&2 | cat; exit 3"), b"one\ntwo\n")

    def test_runs_in_a_terminal_of_its_own_and_reads_nothing(self):
        self.assertEqual(self.run_line("test -t 1 && test ! -t 0 && cat && echo yes"), b"yes\n")

    def test_hands_the_command_no_descriptor_of_its_own(self):
        listed = self.run_line("ls /proc/self/fd").split()
        self.assertLessEqual(set(listed), {b"0", b"1", b"2", b"3"})

    def test_runs_lines_one_after_another(self):
        for number in range(20):
            self.post(f"echo {number}; echo {number}")
        for number in range(20):
            self.assertEqual(b"".join(self.answer()), f"{number}\n{number}\n".encode())

    def test_streams_output_as_it_comes(self):
        gate = pathlib.Path(self.folder.name) / "gate"
        os.mkfifo(gate)
        self.post(f"echo first; cat {gate}; echo second")
        self.assertEqual(self.peer.indication(ANSWER).body, b"first\n")
        gate.write_bytes(b"")  # opens when somebody reads
        self.assertEqual(b"".join(self.answer()), b"second\n")

    def test_passes_long_output_whole(self):
        expected = "".join(f"{i}\n" for i in range(20000)).encode()
        self.assertEqual(self.run_line("i=0; while [ $i -lt 20000 ]; do echo $i; i=$((i+1)); done"),
                         expected)

    def test_passes_4000_bytes_without_a_line_end(self):
        self.assertEqual(self.run_line("head -c 4000 /dev/zero | tr '\\0' x"), b"x" * 4000)

    def test_passes_control_characters_and_bytes_that_are_no_utf8(self):
        self.assertEqual(self.run_line(r"printf '\001\033[31m\r\n\377\200a\303'"),
                         b"\x01\x1b[31m\r\n\xff\x80a\xc3")

    def test_leaves_zero_bytes_out(self):
        self.assertEqual(self.run_line(r"printf 'a\0b'; printf '\0'; printf c"), b"abc")

    def test_cuts_no_character_in_two(self):
        self.post("i=0; while [ $i -lt 3000 ]; do printf 'x\u00e9\u20ac\U0001f600'; i=$((i+1));"
                  " done")
        pieces = self.answer()
        self.assertEqual(b"".join(pieces).decode(), "x\u00e9\u20ac\U0001f600" * 3000)
        for piece in pieces:
            piece.decode()

    def test_joins_a_line_that_came_in_pieces(self):
        for letter in "a\u00e9\U0001f600":
            line = "echo " + letter * 1200
            for at in range(0, len(line), 400):
                self.post(line[at:at + 400])
            self.assertEqual(b"".join(self.answer()).decode(), letter * 1200 + "\n")

    def test_takes_a_full_piece_alone_when_nothing_follows(self):
        self.assertEqual(self.run_line("echo " + "x" * 395), b"x" * 395 + b"\n")

    def test_refuses_a_line_beyond_its_limit(self):
        for _ in range(41):
            self.post("x" * 400)
        self.post("y")
        self.assertEqual(b"".join(self.answer(702)), b"kivagent: the line is too long\n")
        self.assertEqual(self.run_line("echo on"), b"on\n")

    def test_refuses_a_zero_byte(self):
        self.assertEqual(self.run_line(b"echo a\0; rm x", 703), b"kivagent: a zero byte in the line\n")

    def test_waits_as_long_as_it_was_told(self):
        self.post("echo late", word32=150)
        self.post("echo later")
        self.assertEqual([self.answer(), self.answer()], [[b"late\n"], [b"later\n"]])
        self.assertEqual(self.peer.ask(SHELL, text("echo"), word32=60001).head.result, 703)

    def test_takes_raw_text_too(self):
        self.peer.send(Head(frames.RAW), b"echo raw\r\n")
        self.assertEqual(self.answer(), [b"raw\n"])
        self.peer.send(Head(frames.RAW), b"\r\n")
        self.assertEqual(self.answer(), [])
        self.peer.send(Head(frames.RAW), b"x" * 5000)
        said = self.peer.wait_for(lambda m: m.head.kind == frames.RAW)
        self.assertEqual(said.body, b"kivagent: the line was not taken\r\n")

    def test_refuses_wrong_lengths(self):
        self.assertEqual(self.peer.ask(SHELL).head.result, 701)
        self.assertEqual(self.peer.ask(SHELL, b"\x05\0\0\0echo").head.result, 701)
        self.assertEqual(self.peer.ask(SHELL, b"\xff\xff\xff\xffecho").head.result, 701)
        self.assertEqual(self.peer.ask(SHELL, b"\x03\0\0\0echo").head.result, 702)
        self.assertEqual(self.peer.ask(SHELL, text("x" * 4097)).head.result, 702)
        self.assertEqual(self.run_line("echo on"), b"on\n")


# A program that ends by nothing but a signal, and carries a mark among its arguments.
ENDLESS = "tail -n 1000{0} -f /dev/null"


class NothingIsLeft(ShellTest):
    # One that stays in the group, one that leaves it, one that ignores signals.
    line = ENDLESS + " & setsid " + ENDLESS + " & (trap '' HUP TERM INT; echo up; " + ENDLESS + "); " + ENDLESS

    def setUp(self):
        super().setUp()
        self.mark = f"{os.getpid():07d}1"

    def start_line(self):
        self.post(self.line.format(self.mark))
        self.peer.wait_for(lambda m: m.head.id == ANSWER and m.body)
        wait_until(lambda: len(processes_with("1000" + self.mark)) >= 4)

    def assert_nothing_left(self):
        wait_until(lambda: not processes_with("1000" + self.mark))
        if self.agent.process.poll() is None:
            wait_until(lambda: not children(self.agent.process.pid))

    def test_behind_a_command_that_left_something_running(self):
        self.post((ENDLESS + " & setsid " + ENDLESS + " & echo done").format(self.mark))
        self.assertEqual(b"".join(self.answer()), b"done\n")
        self.assert_nothing_left()

    def test_when_a_new_session_begins(self):
        self.start_line()
        self.post("echo of the old session")
        self.peer.greet()
        self.assert_nothing_left()
        self.assertEqual(self.run_line("echo new"), b"new\n")
        self.assertFalse([m for m in self.peer.received if m.head.id == ANSWER])

    def test_when_the_host_goes(self):
        self.start_line()
        self.agent.close_input()
        self.assertEqual(self.agent.wait(), 0)
        self.assert_nothing_left()

    def test_when_the_agent_is_told_to_end(self):
        self.start_line()
        self.agent.terminate()
        self.assert_nothing_left()

    def test_when_the_agent_dies(self):
        self.post((ENDLESS + "; true").format(self.mark))
        wait_until(lambda: len(processes_with("1000" + self.mark)) >= 2)
        self.agent.process.kill()
        self.assert_nothing_left()


class Limits(ShellTest):
    arguments = ("--shell", "full", "--shell-limits", "1,5000,5")

    def test_time(self):
        self.assertEqual(self.run_line("echo on; tail -f /dev/null; echo never"),
                         b"on\n\nkivagent: ended after 1 s\n")
        self.assertEqual(self.run_line("echo on"), b"on\n")

    def test_output(self):
        self.assertEqual(self.run_line("head -c 5000 /dev/zero | tr '\\0' x"), b"x" * 5000)
        self.assertEqual(self.run_line("while :; do printf y; done"),
                         b"y" * 5000 + b"\nkivagent: ended after 5000 bytes of output\n")

    def test_processes(self):
        said = self.run_line("for i in 1 2 3 4 5 6 7 8; do tail -f /dev/null & done; wait")
        self.assertRegex(said, rb"(ended with more than 5 processes|[Cc]annot fork|can't fork)")
        self.assertEqual(children(self.agent.process.pid), [])

    def test_a_bomb_of_processes_ends(self):
        said = self.run_line("b() { b | b & }; b; tail -f /dev/null")
        self.assertTrue(said)
        self.assertEqual(self.run_line("echo on"), b"on\n")
        self.assertEqual(children(self.agent.process.pid), [])


class Floods(ShellTest):
    arguments = ("--shell", "full", "--shell-limits", "60,1073741824,64")

    def test_a_command_that_never_stops_waits_for_a_host_that_does_not_read(self):
        self.post("while :; do echo yyyyyyyyyyyyyyyyyyyyyyyyyyyyyyyyyyyyyyyyyyyyyyyyyyy; done")
        before = memory_kib(self.agent.process.pid)
        self.peer.indication(ANSWER)
        below = children(self.agent.process.pid)
        self.assertTrue(below)
        last = [None]

        def stands_still():
            now = pathlib.Path(f"/proc/{below[0]}/wchan").exists() and \
                pathlib.Path(f"/proc/{below[0]}/stat").read_text().rsplit(")", 1)[1].split()[11:13]
            same = now == last[0]
            last[0] = now
            return same
        wait_until(stands_still)
        self.assertLess(memory_kib(self.agent.process.pid) - before, 16 * 1024)
        self.peer.greet()
        self.peer.received.clear()
        self.assertEqual(self.run_line("echo on"), b"on\n")

    def test_lines_beyond_what_may_wait_are_refused(self):
        self.post("tail -f /dev/null")
        tags = [self.post("true") for _ in range(1100)]
        results = [self.peer.confirmation(tag).head.result for tag in tags]
        self.assertEqual(set(results), {0, 709})
        self.assertGreaterEqual(results.index(709), 1023)
        self.peer.greet()
        self.assertEqual(self.run_line("echo on"), b"on\n")


class Variants(ShellTest):
    def test_the_same_ids_but_on_249(self):
        for variant in ("0", "246", "248"):
            self.start("--shell", "full", "--variant", variant)
            self.assertEqual(self.run_line("echo hello"), b"hello\n")
            self.assertEqual(self.peer.ask(0x805, text("ls")).head.result, 700)
        self.start("--shell", "full", "--variant", "249")
        self.assertEqual(self.peer.ask(SHELL, text("ls")).head.result, 700)
        self.request_id, self.answer_id = 0x805, 0x4105
        self.assertEqual(self.run_line("echo hello"), b"hello\n")


class Listed(ShellTest):
    def setUp(self):
        self.folder = tempfile.TemporaryDirectory(prefix="kivagent-")
        self.addCleanup(self.folder.cleanup)
        self.list = pathlib.Path(self.folder.name) / "allowed"
        self.list.write_text("# what hosts may run\n\necho\n  uname -s  \ncat /etc/hostname\nno_such\n")
        self.list.chmod(0o600)
        self.start("--shell", f"list:{self.list}", allow_root=False)

    def test_runs_what_is_listed_without_a_shell(self):
        self.assertEqual(self.run_line("echo  a   b"), b"a b\n")
        self.assertEqual(self.run_line("uname -s"), b"Linux\n")
        self.assertEqual(self.run_line("no_such"),
                         b"kivagent: cannot run no_such: No such file or directory\n")

    def test_refuses_everything_else(self):
        refused = b"kivagent: this line is not among the commands that are allowed\n"
        for line in ("ls", "uname", "uname -a", "uname -s -a", "cat", "echoes", "/bin/echo a", "",
                     "#", "# what hosts may run", "echo a; ls", "echo `ls`", "echo $HOME",
                     "echo a | cat", "echo a > b", "echo *", "echo 'a'", "echo a\nls"):
            self.assertEqual(self.run_line(line, 704), refused, line)

    def test_the_list_must_be_safe(self):
        def problem(path):
            agent = AgentProcess("--shell", f"list:{path}", data=self.folder.name)
            self.addCleanup(agent.kill)
            self.assertEqual(agent.wait(), 1)
            return agent.first_notice()
        self.assertEqual(problem("/nowhere"),
                         "kivagent: list of commands /nowhere: cannot be opened\n")
        self.assertEqual(problem("/dev/null"),
                         "kivagent: list of commands /dev/null: not a file\n")
        self.list.chmod(0o620)
        self.assertEqual(problem(self.list),
                         f"kivagent: list of commands {self.list}: others may write to it\n")


class CommandLine(unittest.TestCase):
    def end_of(self, *arguments, allow_root=True):
        with tempfile.TemporaryDirectory(prefix="kivagent-") as folder:
            with AgentProcess(*arguments, data=folder, allow_root=allow_root) as agent:
                status = agent.wait()
                return status, agent.first_notice()

    def test_wrong_values_are_refused(self):
        for value in ("", "on", "list:", "FULL", "full "):
            self.assertEqual(self.end_of("--shell", value),
                             (2, f"kivagent: no --shell '{value}' (see --help)\n"))
        for value in ("", "1", "1,2", "1,2,", "0,1,1", "1,0,1", "1,1,0", "1,1,1,", "86401,1,1",
                      "1,1073741825,1", "1,1,10001", "-1,1,1", " 1,1,1", "99999999999999999999,1,1"):
            self.assertEqual(self.end_of("--shell-limits", value),
                             (2, f"kivagent: no limits '{value}' (see --help)\n"))

    @unittest.skipUnless(os.geteuid() == 0, "only root is refused")
    def test_as_root_full_wants_to_be_allowed(self):
        self.assertEqual(self.end_of("--shell", "full", allow_root=False),
                         (1, "kivagent: as root no --shell full without --allow-root\n"))


BUSYBOX = shutil.which("busybox")


@unittest.skipUnless(BUSYBOX or os.environ.get("KIV_CI") == "1", "no busybox on this machine")
class Busybox(ShellTest):
    arguments = ("--shell", "full", "--shell-program", BUSYBOX or "/bin/busybox")

    def test_is_the_shell(self):
        self.assertRegex(self.run_line("busybox | head -n 1; exe=$(readlink /proc/$$/exe); echo $exe"),
                         re.compile(rb"^BusyBox .*\n/.*busybox\n$"))
        self.assertEqual(self.run_line("for i in 1 2 3; do echo line $i; done"),
                         b"line 1\nline 2\nline 3\n")
        self.assertEqual(self.run_line("no_such_command"), b"sh: no_such_command: not found\n")
