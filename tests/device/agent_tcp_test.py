"""The agent behind a TCP port: nothing is served, or said, to a connection without the token."""

import contextlib
import os
import pathlib
import resource
import shutil
import socket
import stat
import struct
import subprocess
import sys
import tempfile
import time
import unittest

sys.path.insert(0, str(pathlib.Path(__file__).resolve().parents[1]))
from wire import frames  # noqa: E402
from wire.agent_process import (AGENT, AgentProcess, SocketAgent, TcpAgent,  # noqa: E402
                                processor_ticks, token_bytes, wait_until)
from wire.frames import Head  # noqa: E402
from wire.peer import PATIENCE_S, Peer, hello_body  # noqa: E402

MEM_INFO, IND_START, IND_TICK = 0x1002, 0x1301, 0x1311
TOKEN = b"correct-horse-battery"
REFUSED = "kivagent: a TCP connection was refused: "
HELLO = frames.encode_frame(Head(frames.HELLO, tag=1, length=len(hello_body())), hello_body())


def become_nobody():
    os.setgroups([])
    os.setgid(65534)
    os.setuid(65534)


class TcpTest(unittest.TestCase):
    def setUp(self):
        self.folder = tempfile.TemporaryDirectory(prefix="kivagent-")
        self.addCleanup(self.folder.cleanup)
        self.root = pathlib.Path(self.folder.name)
        self.token_file = self.write_token(TOKEN + b"\n")

    def write_token(self, content, mode=0o600):
        path = self.root / "token"
        path.write_bytes(content)
        path.chmod(mode)
        return path

    def start(self, *arguments, **more):
        agent = TcpAgent(*arguments, token_file=self.token_file, data=self.root / "data", **more)
        self.addCleanup(agent.kill)
        self.assertIsNotNone(agent.place, agent.notice)
        return agent

    def connect(self, agent, first_bytes=token_bytes(TOKEN)):
        connection = agent.connect()
        self.addCleanup(connection.close)
        connection.sendall(first_bytes)
        return connection, Peer.over_socket(connection)

    def assert_serves(self, agent):
        connection, peer = self.connect(agent)
        self.assertEqual(peer.greet().head.result, 0)
        self.assertEqual(len(peer.ask(MEM_INFO).body), 28)
        connection.close()

    def assert_closed_unanswered(self, connection):
        try:
            self.assertEqual(connection.recv(100), b"")
        except ConnectionResetError:
            pass


class Hosts(TcpTest):
    def test_with_the_token_are_served_at_every_address_of_the_loopback(self):
        places = ["0", "localhost:0", "127.0.0.1:0", "127.9.8.7:0"]
        if pathlib.Path("/proc/sys/net/ipv6/conf/lo/disable_ipv6").exists() and \
                "0" in pathlib.Path("/proc/sys/net/ipv6/conf/lo/disable_ipv6").read_text():
            places.append("[::1]:0")
        for place in places:
            agent = self.start(place=place)
            host = place.rpartition(":")[0]
            host = "127.0.0.1" if host in ("", "localhost") else host
            self.assertRegex(agent.notice, r"^kivagent: listening at [^ ]+:\d+\n$")
            self.assertEqual(agent.address.rpartition(":")[0], host)
            self.assert_serves(agent)
            self.assertEqual(agent.terminate(), 0)
            self.assertEqual(agent.process.stderr.read(), b"")

    def test_may_send_token_and_greeting_in_one_piece_or_byte_by_byte(self):
        agent = self.start()
        whole = token_bytes(TOKEN) + HELLO
        for pieces in ([whole], [bytes([byte]) for byte in whole]):
            connection = agent.connect()
            self.addCleanup(connection.close)
            connection.setsockopt(socket.IPPROTO_TCP, socket.TCP_NODELAY, 1)
            for piece in pieces:
                connection.sendall(piece)
            peer = Peer.over_socket(connection)
            answer = peer.wait_for(lambda m: m.head.kind == frames.HELLO)
            self.assertEqual((answer.head.result, answer.head.tag), (0, 1))

    def test_the_last_one_that_greets_has_the_session(self):
        agent = self.start()
        _, first = self.connect(agent)
        first.greet()
        _, second = self.connect(agent)
        self.assertEqual(first.ask(MEM_INFO).head.result, 0)  # the token alone changes nothing
        second.greet()
        first.wait_for_end()
        self.assertEqual(second.ask(MEM_INFO).head.result, 0)

    def test_have_five_seconds_for_their_hello(self):
        agent = self.start()
        _, host = self.connect(agent)
        host.greet()
        begun = time.monotonic()
        silent, _ = self.connect(agent)
        silent.settimeout(5 + PATIENCE_S)
        self.assertEqual(silent.recv(1), b"")
        self.assertGreaterEqual(time.monotonic() - begun, 4.9)
        self.assertEqual(host.ask(MEM_INFO).head.result, 0)  # one that greeted stays

    def test_whose_hello_is_refused_have_no_more_time_than_others(self):
        agent = self.start()
        _, host = self.connect(agent)
        host.greet()
        begun = time.monotonic()
        _, refused = self.connect(agent)
        self.assertEqual(refused.greet(version=0).head.result, 710)
        refused.wait_for_end()
        self.assertGreaterEqual(time.monotonic() - begun, 4.9)
        self.assertEqual(host.ask(MEM_INFO).head.result, 0)

    def test_that_lose_their_session_by_a_refused_hello_have_five_seconds_again(self):
        agent = self.start()
        _, host = self.connect(agent)
        _, lasting = self.connect(agent)
        lasting.greet()
        host.greet()
        lasting.wait_for_end()
        begun = time.monotonic()
        self.assertEqual(host.greet(version=0).head.result, 710)
        host.wait_for_end()
        self.assertGreaterEqual(time.monotonic() - begun, 4.9)
        self.assert_serves(agent)

    def test_may_greet_again_after_a_refused_hello(self):
        agent = self.start()
        _, host = self.connect(agent)
        self.assertEqual(host.greet(version=0).head.result, 710)
        self.assertEqual(host.greet().head.result, 0)
        silent, _ = self.connect(agent)
        silent.settimeout(5 + PATIENCE_S)
        self.assertEqual(silent.recv(1), b"")  # its time is over, and so would be the host's
        self.assertEqual(host.ask(MEM_INFO).head.result, 0)

    def test_come_and_go_without_end(self):
        agent = self.start()
        files = len(os.listdir(f"/proc/{agent.process.pid}/fd"))
        for number in range(100):
            connection, peer = self.connect(agent)
            if number % 3 == 0:
                peer.greet()
                peer.request(MEM_INFO)
            connection.close()
        self.assert_serves(agent)
        self.assertLessEqual(len(os.listdir(f"/proc/{agent.process.pid}/fd")), files + 5)

    def test_a_second_agent_cannot_have_the_same_port(self):
        agent = self.start()
        second = TcpAgent(token_file=self.token_file, data=self.root, place=agent.address)
        self.addCleanup(second.kill)
        self.assertEqual(second.notice,
                         f"kivagent: cannot bind {agent.address}: Address already in use\n")
        self.assertEqual(second.wait(), 1)
        self.assert_serves(agent)


class Strangers(TcpTest):
    def test_with_another_token_or_none_get_no_byte(self):
        agent = self.start()
        wrong_last = TOKEN[:-1] + b"Y"
        rows = [token_bytes(wrong_last), token_bytes(b"X" + TOKEN[1:]), token_bytes(TOKEN.upper()),
                token_bytes(TOKEN[:16]), token_bytes(TOKEN + b"!"), token_bytes(TOKEN * 3),
                token_bytes(b"\0" * len(TOKEN)), token_bytes(TOKEN[:-1] + b"\0"),
                b"KIV-TOKN\x00", b"KIV-TOKN\x0f" + TOKEN[:15], b"KIV-TOKN\x41" + b"t" * 65,
                b"KIV-TOKN\xff" + b"t" * 255, b"KIV-TOKX", b"X", b"\x7e", HELLO, TOKEN + b"\n",
                b"GET / HTTP/1.1\r\nHost: localhost\r\n\r\n",
                b"POST / HTTP/1.1\r\nContent-Length: 30\r\n\r\n" + token_bytes(TOKEN),
                b"\x16\x03\x01\x02\x00\x01\x00\x01\xfc\x03\x03", b"SSH-2.0-probe\r\n", b"\0" * 1000]
        for number, row in enumerate(rows, 1):
            connection, _ = self.connect(agent, row)
            self.assert_closed_unanswered(connection)
            if number & (number - 1) == 0:
                self.assertEqual(agent.first_notice(),
                                 f"{REFUSED}no token, or a wrong one ({number} so far)\n", row)
        self.assert_serves(agent)

    def test_that_close_before_the_token_is_whole_are_forgotten(self):
        agent = self.start()
        whole = token_bytes(TOKEN)
        for length in range(len(whole)):
            self.connect(agent, whole[:length])[0].close()
        self.assertEqual(agent.first_notice(), f"{REFUSED}it ended without a token (1 so far)\n")
        self.assert_serves(agent)

    def test_that_show_the_token_byte_by_byte_have_five_seconds(self):
        agent = self.start()
        _, host = self.connect(agent)
        host.greet()
        begun = time.monotonic()
        slow = agent.connect()
        self.addCleanup(slow.close)
        silent = agent.connect()
        self.addCleanup(silent.close)
        slow.settimeout(1)
        for byte in token_bytes(TOKEN + b"-and-more"):
            try:
                slow.send(bytes([byte]))
                if slow.recv(1) == b"":
                    break
            except TimeoutError:
                self.assertEqual(host.ask(MEM_INFO).head.result, 0)  # others do not wait
            except (BrokenPipeError, ConnectionResetError):
                break
        else:
            self.fail("the agent waits for ever")
        lasted = time.monotonic() - begun
        self.assertTrue(4.9 <= lasted <= 5 + PATIENCE_S, lasted)
        self.assert_closed_unanswered(silent)
        self.assertEqual(agent.first_notice(), f"{REFUSED}no token in 5 seconds (1 so far)\n")
        self.assert_serves(agent)

    def test_beyond_sixteen_are_closed_at_once_and_disturb_nobody(self):
        agent = self.start()
        _, host = self.connect(agent)
        host.greet()
        host.ask(IND_START, struct.pack("<BII", 1, 1, 0))
        waiting = [self.connect(agent, b"KIV-")[0] for _ in range(16)]
        late, _ = self.connect(agent, b"")
        self.assert_closed_unanswered(late)
        self.assertEqual(agent.first_notice(), f"{REFUSED}too many show no token (1 so far)\n")
        for _ in range(20):
            host.indication(IND_TICK)
        self.assertEqual(host.ask(MEM_INFO).head.result, 0)
        for connection in waiting[:8]:
            connection.close()
        for connection in waiting[8:]:
            connection.sendall(b"X")
            self.assert_closed_unanswered(connection)
        self.assert_serves(agent)

    def test_read_on_nothing_behind_a_wrong_token(self):
        agent = self.start()
        connection, _ = self.connect(agent, token_bytes(TOKEN[:-1] + b"!") + token_bytes(TOKEN) + HELLO)
        self.assert_closed_unanswered(connection)
        self.assert_serves(agent)


class WithoutDescriptors(TcpTest):
    """An agent that may open few files: who cannot be taken waits, and costs nothing meanwhile."""

    def setUp(self):
        super().setUp()
        # So that the limit stays above what one poll may look at.
        self.inherited = [os.open(os.devnull, os.O_RDONLY) for _ in range(40)]
        for descriptor in self.inherited:
            self.addCleanup(os.close, descriptor)

    @staticmethod
    def leave_room_for(agent, count):
        files = len(os.listdir(f"/proc/{agent.process.pid}/fd"))
        highest = max(map(int, os.listdir(f"/proc/{agent.process.pid}/fd")))
        limit = highest + 1 + count
        resource.prlimit(agent.process.pid, resource.RLIMIT_NOFILE, (limit, limit))
        return files + count

    def assert_rests_and_recovers(self, agent, connect, room):
        # More than it has descriptors for, each of which it would keep for five seconds at least.
        waiting = [connect(agent) for _ in range(20)]
        wait_until(lambda: len(os.listdir(f"/proc/{agent.process.pid}/fd")) >= room)
        ticks = processor_ticks(agent.process.pid)
        begun = time.monotonic()
        wait_until(lambda: time.monotonic() - begun > 1)
        used_s = (processor_ticks(agent.process.pid) - ticks) / os.sysconf("SC_CLK_TCK")
        self.assertLess(used_s, 0.15)
        for connection in waiting:
            connection.close()

    def test_it_waits_behind_a_port(self):
        agent = self.start(pass_fds=self.inherited)
        self.assert_rests_and_recovers(agent, TcpAgent.connect, self.leave_room_for(agent, 3))
        self.assert_serves(agent)

    def test_it_waits_behind_a_unix_socket(self):
        agent = SocketAgent(self.root / "run" / "agent", data=self.root / "data",
                            pass_fds=self.inherited)
        self.addCleanup(agent.kill)

        def connect(to):
            connection = socket.socket(socket.AF_UNIX)
            self.addCleanup(connection.close)
            connection.setblocking(False)
            with contextlib.suppress(BlockingIOError):  # the queue of new hosts is full
                connection.connect(str(to.path))
            return connection

        self.assert_rests_and_recovers(agent, connect, self.leave_room_for(agent, 2))
        connection = agent.connect()
        self.addCleanup(connection.close)
        self.assertEqual(Peer.over_socket(connection).greet().head.result, 0)


class TheAddress(TcpTest):
    def refused(self, place):
        agent = AgentProcess("--tcp", place, "--token-file", str(self.token_file), data=self.root)
        self.addCleanup(agent.kill)
        notice = agent.first_notice()
        self.assertEqual(agent.wait(), 1)
        return notice

    def test_is_one_of_the_loopback_or_refused_with_a_hint(self):
        for place in ("0.0.0.0:0", "192.168.1.1:0", "10.0.0.1:4000", "128.0.0.1:0", "126.255.255.255:1",
                      "[::]:0", "[fe80::1]:0", "*:0", ":0", "example.org:0", "127.1:0", "0127.0.0.1:0",
                      "2130706433:0", "::1:0", "LOCALHOST:0", "localhost.:0", "127.0.0.1 :0"):
            host = place.rpartition(":")[0]
            self.assertEqual(self.refused(place),
                             "kivagent: --tcp listens at this machine's loopback only, not at "
                             f"'{host}'; from another machine use ssh: "
                             "kiv --link 'exec:ssh -T HOST kivagent --stdio'\n")

    def test_has_a_port(self):
        for place in ("localhost", "localhost:", "65536", "-1", "127.0.0.1:http", "1 ", "[::1]",
                      "000080", "+80"):
            self.assertEqual(self.refused(place), f"kivagent: no port for --tcp: '{place}'\n")
        place = "a" * 64 + ":1"
        self.assertEqual(self.refused(place), f"kivagent: no address for --tcp: '{place}'\n")

    @unittest.skipUnless(os.geteuid() == 0, "only root is refused")
    def test_is_not_opened_for_root(self):
        agent = AgentProcess("--tcp", "0", "--token-file", str(self.token_file), data=self.root,
                             allow_root=False)
        self.addCleanup(agent.kill)
        self.assertEqual(agent.first_notice(),
                         "kivagent: as root no socket is opened without --allow-root\n")
        self.assertEqual(agent.wait(), 1)

    def test_goes_with_a_token_file(self):
        for arguments, problem in (
                (["--tcp", "0"], "a --token-file is needed for --tcp '0'"),
                (["--tcp", ""], "nothing for '--tcp'"),
                (["--tcp", "0", "--token-file", ""], "nothing for '--token-file'"),
                (["--token-file", "x"], "only --tcp takes a --token-file, not 'x'"),
                (["--tcp", "0", "--unix", "u"],
                 "only one of --stdio, --unix, --tcp and --serial, not also 'u'"),
                (["--serial", "/dev/ttyS0", "--stdio"],
                 "only one of --stdio, --unix, --tcp and --serial, not also '--stdio'")):
            result = subprocess.run([str(AGENT), *arguments], stdin=subprocess.DEVNULL, text=True,
                                    capture_output=True, check=False)
            self.assertEqual((result.returncode, result.stdout, result.stderr),
                             (2, "", f"kivagent: {problem} (see --help)\n"))


class TheTokenFile(TcpTest):
    def problem(self, path=None, **more):
        path = path or self.token_file
        agent = AgentProcess("--tcp", "0", "--token-file", str(path), data=self.root, **more)
        self.addCleanup(agent.kill)
        notice = agent.first_notice()
        self.assertEqual(agent.wait(), 1)
        return notice.removeprefix(f"kivagent: the token file {path} ")

    def test_has_the_mode_of_a_secret_and_no_other(self):
        for mode in (0o640, 0o604, 0o644, 0o666, 0o700, 0o602, 0o620, 0o601, 0o4600, 0o2600,
                     0o1600, 0o4400, 0o7600, 0o500):
            self.token_file.chmod(mode)
            self.assertEqual(self.problem(), "must have mode 0600 or 0400 (chmod 0600 it)\n",
                             oct(mode))

    def test_is_a_regular_file_that_is_there(self):
        folder = self.root / "folder"
        folder.mkdir(mode=0o700)
        self.assertEqual(self.problem(folder), "is not a regular file\n")
        fifo = self.root / "fifo"
        os.mkfifo(fifo, 0o600)
        self.assertEqual(self.problem(fifo), "is not a regular file\n")
        self.assertEqual(self.problem("/dev/zero"), "is not a regular file\n")
        self.assertEqual(self.problem(self.root / "none"),
                         "cannot be read: No such file or directory\n")

    def test_has_a_first_line_of_16_to_64_visible_characters(self):
        length = "must have a first line of 16 to 64 characters\n"
        character = "has a character other than visible ASCII without '~'\n"
        rows = [(b"", length), (b"\n" + TOKEN, length), (b"t" * 15, length), (b"t" * 65, length),
                (b"t" * 15 + b"\r\n", length), (b"t" * 4000, length), (b"t" * 15 + b" t", character),
                (b"t" * 20 + b"~", character), (b"t" * 20 + b"\0\n", character),
                (("ü" * 10).encode(), character),
                (TOKEN + b"\r\r\n", character), (TOKEN + b"\r", character),
                (b"\xef\xbb\xbf" + TOKEN, character),
                (TOKEN + b"\n" + b"x" * 4096, "is longer than 4096 bytes\n")]
        for content, problem in rows:
            self.write_token(content)
            self.assertEqual(self.problem(), problem, content[:30])

    def test_may_have_other_line_ends_more_lines_and_less_rights(self):
        for content, mode in ((TOKEN, 0o600), (TOKEN + b"\r\n", 0o600), (TOKEN + b"\nmore\n", 0o400)):
            self.token_file.unlink(missing_ok=True)
            self.write_token(content, mode)
            agent = self.start()
            self.assert_serves(agent)
            agent.terminate()

    @unittest.skipUnless(os.geteuid() == 0, "only root can become another user")
    def test_is_its_owners(self):
        os.chown(self.token_file, 65534, 65534)
        self.assertEqual(self.problem(), "belongs to another user\n")
        os.chown(self.token_file, 0, 0)
        os.chmod(self.root, 0o711)
        # Opens what it may open; the token is not in it.
        result = subprocess.run(["cat", str(self.token_file)], preexec_fn=become_nobody,
                                capture_output=True, check=False)
        self.assertEqual((result.returncode, result.stdout), (1, b""))
        # A copy, since the build folder may be closed to other users.
        program = shutil.copy(AGENT, self.root)
        self.assertEqual(
            self.problem(program=program, preexec_fn=become_nobody, allow_root=False),
            "cannot be read: Permission denied\n")
        agent = self.start()
        self.assertEqual(stat.S_IMODE(self.token_file.stat().st_mode), 0o600)
        script = ("import encodings.idna, os, socket, sys\n"  # all that an address needs
                  "os.setgroups([]); os.setgid(65534); os.setuid(65534)\n"
                  "s = socket.create_connection((sys.argv[1], int(sys.argv[2])), 20)\n"
                  "s.sendall(b'KIV-TOKN\\x15' + b'?' * 21)\n"
                  "try:\n    print(s.recv(1))\nexcept ConnectionResetError:\n    print(b'')\n")
        result = subprocess.run([sys.executable, "-c", script, *map(str, agent.place)], text=True,
                                capture_output=True, check=True)
        self.assertEqual(result.stdout, "b''\n")
        self.assert_serves(agent)


if __name__ == "__main__":
    unittest.main()
