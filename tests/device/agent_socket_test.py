"""The agent behind a Unix socket: who may come in, and who has the session."""

import os
import pathlib
import shutil
import signal
import socket
import stat
import struct
import subprocess
import sys
import tempfile
import unittest

sys.path.insert(0, str(pathlib.Path(__file__).resolve().parents[1]))
from wire.agent_process import AGENT, AgentProcess, SocketAgent  # noqa: E402
from wire.peer import PATIENCE_S, Gone, Peer  # noqa: E402

MEM_INFO, IND_START, IND_TICK, NV_WRITE = 0x1002, 0x1301, 0x1311, 0x1202


class SocketTest(unittest.TestCase):
    def setUp(self):
        self.folder = tempfile.TemporaryDirectory(prefix="kivagent-")
        self.addCleanup(self.folder.cleanup)
        self.root = pathlib.Path(self.folder.name)
        self.path = self.root / "run" / "agent.sock"

    def start(self, *arguments, **more):
        agent = SocketAgent(self.path, *arguments, data=self.root / "data", **more)
        self.addCleanup(agent.kill)
        return agent

    def refused(self, path=None):
        """Starts an agent that must end with status 1; returns what it says."""
        agent = AgentProcess("--unix", str(path or self.path), data=self.root / "data")
        self.addCleanup(agent.kill)
        notice = agent.first_notice()
        self.assertEqual(agent.wait(), 1)
        return notice

    def connect(self, agent):
        connection = agent.connect()
        self.addCleanup(connection.close)
        return connection, Peer.over_socket(connection)


class TheSocket(SocketTest):
    def test_is_its_owners_alone_and_goes_with_the_agent(self):
        agent = self.start()
        self.assertEqual(agent.notice, f"kivagent: listening at {self.path}\n")
        self.assertEqual(stat.S_IMODE(self.path.parent.stat().st_mode), 0o700)
        self.assertEqual(stat.S_IMODE(self.path.stat().st_mode), 0o600)
        self.assertEqual(agent.terminate(), 0)
        self.assertFalse(self.path.exists())

    def test_is_not_made_in_a_folder_that_others_may_enter(self):
        self.path.parent.mkdir()
        self.path.parent.chmod(0o750)
        self.assertEqual(self.refused(),
                         "kivagent: others may enter the socket's folder (chmod 0700 it first): "
                         f"{self.path.parent}\n")

    def test_is_not_made_behind_a_link(self):
        (self.root / "real").mkdir(mode=0o700)
        self.path.parent.symlink_to(self.root / "real")
        self.assertEqual(self.refused(), f"kivagent: not a folder: {self.path.parent}\n")

    def test_replaces_one_that_a_killed_agent_left(self):
        self.start().kill()
        self.assertTrue(self.path.exists())
        agent = self.start()
        _, peer = self.connect(agent)
        self.assertEqual(peer.greet().head.result, 0)

    def test_does_not_replace_a_living_agent(self):
        agent = self.start()
        self.assertEqual(self.refused(), f"kivagent: another agent listens at {self.path}\n")
        _, peer = self.connect(agent)
        self.assertEqual(peer.greet().head.result, 0)

    def test_does_not_replace_a_file(self):
        self.path.parent.mkdir(mode=0o700)
        self.path.write_text("precious")
        self.assertEqual(self.refused(), f"kivagent: there is something else at {self.path}\n")
        self.assertEqual(self.path.read_text(), "precious")

    def test_does_not_take_a_path_that_is_too_long(self):
        path = self.root / ("x" * 120)
        self.assertEqual(self.refused(path), f"kivagent: path too long: {path}\n")


class Hosts(SocketTest):
    def test_the_last_one_that_greets_has_the_session(self):
        agent = self.start()
        _, first = self.connect(agent)
        first.greet()
        first.ask(IND_START, struct.pack("<BII", 1, 1, 0))
        first.indication(IND_TICK)
        _, second = self.connect(agent)
        self.assertEqual(first.ask(MEM_INFO).head.result, 0)  # a stranger changes nothing
        second.greet()
        first.wait_for_end()
        self.assertEqual(second.ask(MEM_INFO).head.result, 0)
        self.assertEqual(second.received, [])  # the first one's indications have stopped

    def test_strangers_cannot_keep_hosts_out(self):
        agent = self.start()
        _, host = self.connect(agent)
        host.greet()
        strangers = [self.connect(agent)[0] for _ in range(20)]
        for stranger in strangers:
            try:
                stranger.sendall(b"GET / HTTP/1.1\r\n\r\n")
            except (BrokenPipeError, ConnectionResetError):
                pass  # shown out already
        self.assertEqual(host.ask(MEM_INFO).head.result, 0)
        _, second = self.connect(agent)
        self.assertEqual(second.greet().head.result, 0)

    def test_come_and_go_without_end(self):
        agent = self.start()
        files = len(os.listdir(f"/proc/{agent.process.pid}/fd"))
        for _ in range(100):
            connection, peer = self.connect(agent)
            peer.greet()
            peer.request(MEM_INFO)
            connection.close()
        _, peer = self.connect(agent)
        peer.greet()
        peer.ask(NV_WRITE, struct.pack("<HH32s", 1, 1, b"x"))
        self.assertLessEqual(len(os.listdir(f"/proc/{agent.process.pid}/fd")), files + 2)

    def test_that_close_their_half_get_what_they_asked_for(self):
        agent = self.start()
        connection, peer = self.connect(agent)
        peer.greet()
        tags = [peer.request(MEM_INFO) for _ in range(50)]
        connection.shutdown(socket.SHUT_WR)
        for tag in tags:
            self.assertEqual(peer.confirmation(tag).head.result, 0)
        peer.wait_for_end()

    @unittest.skipUnless(os.geteuid() == 0, "only root can become another user")
    def test_of_another_user_are_closed_at_once(self):
        os.chmod(self.root, 0o711)
        agent = self.start()
        os.chmod(self.path.parent, 0o711)  # what the folder and the mode keep out, let in
        os.chmod(self.path, 0o666)
        script = ("import os, socket, sys\n"
                  "os.setgroups([]); os.setgid(65534); os.setuid(65534)\n"
                  "s = socket.socket(socket.AF_UNIX); s.settimeout(20); s.connect(sys.argv[1])\n"
                  "print(s.recv(1))\n")
        result = subprocess.run([sys.executable, "-c", script, str(self.path)], text=True,
                                stdout=subprocess.PIPE, check=True)
        self.assertEqual(result.stdout, "b''\n")
        self.assertEqual(agent.first_notice(),
                         "kivagent: a connection of another user was refused\n")
        _, peer = self.connect(agent)
        self.assertEqual(peer.greet().head.result, 0)

    def test_the_end_of_standard_input_does_not_end_it(self):
        agent = self.start()
        agent.close_input()
        _, peer = self.connect(agent)
        self.assertEqual(peer.greet().head.result, 0)
        self.assertEqual(peer.ask(MEM_INFO).head.result, 0)


@unittest.skipUnless(os.geteuid() == 0, "only root is refused")
class Root(SocketTest):
    def test_gets_no_socket(self):
        agent = AgentProcess("--unix", str(self.path), data=self.root, allow_root=False)
        self.addCleanup(agent.kill)
        self.assertEqual(agent.first_notice(),
                         "kivagent: as root no socket is opened without --allow-root\n")
        self.assertEqual(agent.wait(), 1)
        self.assertFalse(self.path.parent.exists())

    def test_is_warned_in_one_line_over_standard_input(self):
        agent = AgentProcess(data=self.root, allow_root=False)
        self.addCleanup(agent.kill)
        self.assertEqual(agent.peer.greet().head.result, 0)
        agent.close_input()
        self.assertEqual(agent.wait(), 0)
        self.assertEqual(agent.process.stderr.read(), b"kivagent: warning: running as root\n")

    def test_another_user_gets_a_socket_and_no_warning(self):
        def become_nobody():
            os.setgroups([])
            os.setgid(65534)
            os.setuid(65534)

        os.chmod(self.root, 0o777)
        # A copy, since the build folder may be closed to other users.
        agent = self.start(allow_root=False, preexec_fn=become_nobody,
                           program=shutil.copy(AGENT, self.root))
        self.assertEqual(agent.notice, f"kivagent: listening at {self.path}\n")
        self.assertEqual(agent.terminate(), 0)


class CommandLine(unittest.TestCase):
    def run_agent(self, *arguments, **more):
        result = subprocess.run([str(AGENT), *arguments], stdin=subprocess.DEVNULL, text=True,
                                stdout=subprocess.PIPE, stderr=subprocess.PIPE, check=False, **more)
        return result.returncode, result.stdout, result.stderr

    def test_version_and_help(self):
        version = (pathlib.Path(os.environ["KIV_SOURCE_DIR"]) / "VERSION").read_text().strip()
        self.assertEqual(self.run_agent("--version"), (0, f"kivagent {version}\n", ""))
        status, text, errors = self.run_agent("--help")
        self.assertEqual((status, errors), (0, ""))
        for option in ("--stdio", "--unix PATH", "--tcp PORT", "--serial DEV", "--data DIR", "--name NAME", "--variant N",
                       "--product N", "--allow-root", "--version", "--help"):
            self.assertIn(f"\n  {option} ", text)
        self.assertIn("\n  --token-file FILE\n", text)

    def test_what_cannot_be_printed_ends_with_1(self):
        for option in ("--version", "--help"):
            with open("/dev/full", "wb") as full:
                result = subprocess.run([str(AGENT), option], stdout=full, stderr=subprocess.PIPE,
                                        timeout=PATIENCE_S, check=False)
            self.assertEqual((result.returncode, result.stderr),
                             (1, b"kivagent: standard output cannot be written\n"), option)

    def test_wrong_usage_ends_with_2_and_names_the_word(self):
        def code_of(option, value):
            return f"{option} wants a number from 0 to 65535, not '{value}'"

        for arguments, problem in (
                (["--frob"], "unknown or incomplete option '--frob'"),
                (["--unix"], "unknown or incomplete option '--unix'"),
                (["--unix", ""], "no path for '--unix'"),
                (["--variant", "65536"], code_of("--variant", "65536")),
                (["--variant", "70000"], code_of("--variant", "70000")),
                (["--variant", "-1"], code_of("--variant", "-1")),
                (["--variant", ""], code_of("--variant", "")),
                (["--product", "3x"], code_of("--product", "3x")),
                (["--product", "18446744073709551616"],
                 code_of("--product", "18446744073709551616")),
                (["--name", "n" * 65], "name longer than 64 bytes '" + "n" * 65 + "'"),
                (["stray"], "unexpected argument 'stray'")):
            self.assertEqual(self.run_agent(*arguments),
                             (2, "", f"kivagent: {problem} (see --help)\n"), arguments)

    def test_it_runs_in_an_empty_environment(self):
        status, text, _ = self.run_agent("--allow-root", env={})
        self.assertEqual((status, text), (0, ""))

    def test_it_ends_when_it_is_started_without_descriptors(self):
        for closing in ("<&-", ">&-", "2>&-", "<&- >&- 2>&-"):
            script = f'exec "$0" --allow-root {closing}'
            result = subprocess.run(["/bin/sh", "-c", script, str(AGENT)], check=False,
                                    stdin=subprocess.DEVNULL, timeout=PATIENCE_S)
            self.assertEqual(result.returncode, 0, closing)

    def test_the_first_absolute_folder_of_the_environment_counts(self):
        with tempfile.TemporaryDirectory(prefix="kivagent-") as folder:
            for environment, place in (
                    ({"KIV_DATA_DIR": f"{folder}/k", "XDG_DATA_HOME": f"{folder}/x"}, "k/kivagent"),
                    ({"KIV_DATA_DIR": "relative", "XDG_DATA_HOME": f"{folder}/x"}, "x/kivagent"),
                    ({"KIV_DATA_DIR": "", "XDG_DATA_HOME": "", "HOME": f"{folder}/h"},
                     "h/.local/share/kivagent")):
                with AgentProcess(data=f"{folder}/d", env=environment) as agent:
                    agent.peer.greet()
                    agent.peer.ask(NV_WRITE, struct.pack("<HH32s", 9, 1, b"x"))
                self.assertTrue(pathlib.Path(folder, "d/nv/00000009").is_file())  # --data first
                with subprocess.Popen([str(AGENT), "--allow-root"], stdin=subprocess.PIPE,
                                      stdout=subprocess.PIPE, bufsize=0, env=environment,
                                      cwd=folder) as process:
                    peer = Peer(process.stdout.fileno(), process.stdin.fileno())
                    peer.greet()
                    peer.ask(NV_WRITE, struct.pack("<HH32s", 8, 1, b"x"))
                self.assertTrue(pathlib.Path(folder, place, "nv/00000008").is_file(), place)
                self.assertFalse(pathlib.Path(folder, "relative").exists())

    def test_stored_items_go_where_the_environment_says(self):
        with tempfile.TemporaryDirectory(prefix="kivagent-") as folder:
            for name, place in (("KIV_DATA_DIR", "kivagent"), ("XDG_DATA_HOME", "kivagent"),
                                ("HOME", ".local/share/kivagent")):
                with subprocess.Popen([str(AGENT), "--allow-root"], stdin=subprocess.PIPE,
                                      stdout=subprocess.PIPE, bufsize=0,
                                      env={name: f"{folder}/{name}"}) as process:
                    peer = Peer(process.stdout.fileno(), process.stdin.fileno())
                    peer.greet()
                    body = struct.pack("<HH32s", 7, 1, b"x")
                    self.assertEqual(peer.ask(NV_WRITE, body).head.result, 0)
                self.assertTrue(pathlib.Path(folder, name, place, "nv", "00000007").is_file())


class Signals(SocketTest):
    def test_each_that_ends_programs_ends_it_in_order(self):
        for number in (signal.SIGTERM, signal.SIGINT, signal.SIGHUP):
            agent = self.start()
            _, peer = self.connect(agent)
            peer.greet()
            agent.process.send_signal(number)
            self.assertEqual(agent.wait(), 0)
            with self.assertRaises(Gone):
                peer.probe()
            self.assertFalse(self.path.exists())
