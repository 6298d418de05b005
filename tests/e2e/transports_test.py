"""The console and the agent over everything that can carry their bytes: the same text each time, a clear
line when it cannot, and back by itself."""

import os
import pathlib
import shlex
import signal
import subprocess
import sys
import time
import unittest

sys.path.insert(0, str(pathlib.Path(__file__).resolve().parents[1] / "support"))
import ssh_server  # noqa: E402
from bench import KIV, KIVAGENT, SHORT_WAIT_MS, WAIT_MS, BenchCase, wait_for  # noqa: E402
from link_loss_test import Reader, echo  # noqa: E402
from serial_cable import SerialCable  # noqa: E402

TOKEN = "correct-horse-battery"
BYTES = ",".join(str(n % 256) for n in range(32))
LINES = [
    "help", "sys_info", echo(7), "echo_nested {5,{6,{-7,8},{9,10}},{{11,12},{13,},{15,16}},"
    "{{17,18,19},{20,21,22}},[1,2,3]}", "note Grüße, \\x1b and ~}~", f"nv_write 9,32,[{BYTES}]",
    "nv_read 9", "nv_read 9 -r 00:11:22:33:44:55", "nonsense", "echo_all x", "nv_read 99999", "link_fault 3,0,0",
]

# What ssh does with its arguments, without a server: options, a host, and the rest joined for a shell
# that runs in a session of its own.
SSH_STAND_IN = """\
#!/bin/sh
while [ $# -gt 0 ]; do
  case "$1" in -T) shift ;; -*) shift 2 ;; *) break ;; esac
done
shift
exec setsid -w sh -c "$*"
"""


class TransportCase(BenchCase):
    """Starts an agent for each kind of link, all with the same name."""

    AGENT = ("--name", "bench")

    def data(self, kind):
        return str(self.folder / f"data-{kind}")

    def token_file(self, token=TOKEN, name="token"):
        path = self.folder / name
        path.write_text(token + "\n")
        path.chmod(0o600)
        return path

    def tcp_agent(self, place="0", **options):
        """(process, HOST:PORT); listens when it is back."""
        process = self.start([KIVAGENT, "--tcp", place, "--token-file", str(self.token_file(name="agent-token")),
                              "--data", self.data("tcp"), "--allow-root", *self.AGENT], **options)
        line = process.stderr.readline().decode()
        self.assertRegex(line, r"^kivagent: listening at [^ ]+:[0-9]+\n$")
        return process, line.split()[-1]

    def serial_agent(self, cable, baud):
        process = self.start([KIVAGENT, "--serial", f"{cable.board_path}?baud={baud}", "--data",
                              self.data("serial"), "--allow-root", *self.AGENT])
        wait_for(lambda: b"is open" in process.stderr.readline(), "the agent has its port")
        return process

    def cable(self):
        cable = SerialCable(self.folder)
        self.stack.callback(cable.unplug)
        return cable

    # A link of each kind.

    def exec_link(self):
        return shlex.join(["exec:" + KIVAGENT, "--stdio", "--data", self.data("exec"), *self.AGENT])

    def unix_link(self):
        _, link = self.agent("--data", self.data("unix"), *self.AGENT)
        return link

    def tcp_link(self):
        _, place = self.tcp_agent()
        return f"tcp:{place}?token-file={self.token_file()}"

    def serial_link(self):
        cable = self.cable()
        self.serial_agent(cable, 1234567)
        return f"serial:{cable.host_path}?baud=1234567"

    def remote(self):
        return [KIVAGENT, "--stdio", "--data", self.data("ssh"), *self.AGENT]

    def ssh_link(self):
        server = ssh_server.SshServer(self.folder)
        self.stack.callback(server.close)
        return "exec:" + shlex.join(server.command(*self.remote()))

    def stand_in_link(self):
        program = self.folder / "ssh"
        program.write_text(SSH_STAND_IN)
        program.chmod(0o755)
        return "exec:" + shlex.join([str(program), "-T", "-p", "22", "board", shlex.join(self.remote())])


class TheSameTranscript(TransportCase):
    def compare(self, kinds):
        arguments = [part for line in LINES for part in ("-c", line)]
        seen = {}
        for kind in kinds:
            link = getattr(self, kind + "_link")()
            result = self.kiv(*arguments, link=link)
            self.assertIn(f" over {link}\n", result.err, result)
            # What a child says of itself reaches the console; what a listening agent says does not.
            told = [line for line in result.err.replace(link, "LINK").splitlines()
                    if not line.startswith("link: kivagent: ")]
            seen[kind] = (result.status, result.out, told)
        first = seen[kinds[0]]
        self.assertEqual(first[0], 1)
        self.assertIn(".host_name ", first[1])
        self.assertIn("data[31]      = 31 \n", first[1])
        for kind, transcript in seen.items():
            self.assertEqual(transcript, first, kind)

    def test_comes_over_child_socket_tcp_and_a_serial_cable(self):
        self.compare(["exec", "unix", "tcp", "serial"])

    def test_comes_over_ssh(self):
        reason = ssh_server.missing()
        if reason:
            self.skipTest(reason)
        self.compare(["exec", "ssh"])

    def test_comes_over_what_runs_its_words_in_a_shell_as_ssh_does(self):
        self.compare(["exec", "stand_in"])


class Consoles(TransportCase):
    """A console that stays while its device goes and comes."""

    def console(self, link):
        process = self.start([KIV, "--link", link, "--wait", WAIT_MS])
        return process, Reader(process.stdout), Reader(process.stderr)

    def type(self, process, line):
        process.stdin.write(line.encode() + b"\n")
        process.stdin.flush()

    def ends_well(self, process):
        process.stdin.close()
        self.assertEqual(process.wait(timeout=60), 0)

    @staticmethod
    def processor_s(process):
        fields = pathlib.Path(f"/proc/{process.pid}/stat").read_text().rsplit(")", 1)[1].split()
        return (int(fields[11]) + int(fields[12])) / os.sysconf("SC_CLK_TCK")


class Serial(Consoles):
    def test_a_cable_that_is_unplugged_and_back_is_found_again_and_costs_no_processor_time(self):
        cable = self.cable()
        agent = self.serial_agent(cable, 250000)
        link = f"serial:{cable.host_path}?baud=250000"
        process, out, err = self.console(link)
        for turn in range(1, 4):
            err.wait("kiv: connected to bench ", turn)
            self.type(process, echo(turn))
            out.wait(rf"u8_value += {turn} ", 2)
            cable.unplug()
            err.wait(f'kiv: not connected: "{cable.host_path}" was unplugged or hung up\n', turn)
            if turn == 1:
                err.wait(f'kiv: not connected: cannot open "serial:{cable.host_path}\\?baud=250000": '
                         "No such file or directory\n")
                before = self.processor_s(process), self.processor_s(agent)
                until = time.monotonic() + 2
                wait_for(lambda: time.monotonic() > until, "two seconds pass")
                self.assertLess(self.processor_s(process) - before[0], 0.4)
                self.assertLess(self.processor_s(agent) - before[1], 0.4)
            cable.plug_in()
        err.wait("kiv: connected to bench ", 4)
        self.ends_well(process)

    def test_a_port_belongs_to_one_console(self):
        cable = self.cable()
        self.serial_agent(cable, 115200)
        link = f"serial:{cable.host_path}"
        process, _, err = self.console(link)
        err.wait("kiv: connected to ")
        second = self.kiv("--wait", SHORT_WAIT_MS, "-c", "help", link=link)
        self.assertEqual((second.status, second.out, second.err),
                         (4, "", f'kiv: no device at {link} within 2500 ms: cannot open "{link}": another '
                                 "program uses it; no line was run\n"))
        self.ends_well(process)
        after = self.kiv("-c", echo(3), link=link)
        self.assertEqual(after.status, 0, after)


class Tcp(Consoles):
    def kiv_fails(self, link, reason, *arguments, **options):
        result = self.kiv("--wait", SHORT_WAIT_MS, "-c", "help", *arguments, link=link, **options)
        self.assertEqual((result.status, result.out, result.err),
                         (4, "", f"kiv: no device at {link} within 2500 ms: {reason}; no line was run\n"))

    def test_a_wrong_token_and_none_are_told(self):
        _, place = self.tcp_agent()
        closed = "the device closed the link before the greeting was answered"
        self.kiv_fails(f"tcp:{place}", closed + " (it may want a token: ?token-file=FILE)")
        for token in ("wrong-wrong-wrong", TOKEN[:-1], TOKEN + "y", TOKEN.upper()):
            self.kiv_fails(f"tcp:{place}?token-file={self.token_file(token, 'other')}",
                           closed + " (is it the right token?)")
        right = self.kiv("-c", echo(1), link=f"tcp:{place}?token-file={self.token_file()}")
        self.assertEqual(right.status, 0, right)

    def test_a_port_where_nobody_listens_is_told(self):
        agent, place = self.tcp_agent()
        self.end(agent)
        self.kiv_fails(f"tcp:{place}", f'cannot connect to "tcp:{place}": Connection refused')

    def test_the_console_comes_back_to_an_agent_that_was_killed_and_started_again(self):
        agent, place = self.tcp_agent()
        process, out, err = self.console(f"tcp:{place}?token-file={self.token_file()}")
        self.type(process, echo(1))
        out.wait(r"u8_value += 1 ", 2)
        os.killpg(agent.pid, signal.SIGKILL)
        agent.wait()
        err.wait("kiv: not connected: the device closed the link\n")
        self.tcp_agent(place)
        err.wait("kiv: connected to bench ", 2)
        self.type(process, echo(2))
        out.wait(r"u8_value += 2 ", 2)
        self.ends_well(process)


# Runs in a network of its own, where the name service is this port and the system hands out one port
# number alone; `name_service` says what the port does.
NETWORK = """\
set -e
mount --make-rprivate /
ip link set lo up
printf 'nameserver 127.0.0.1\\noptions timeout:20 attempts:1\\n' > "$1/resolv.conf"
printf 'hosts: files dns\\n' > "$1/nsswitch.conf"
mount --bind "$1/resolv.conf" /etc/resolv.conf
mount --bind "$1/nsswitch.conf" /etc/nsswitch.conf
echo '45454 45454' > /proc/sys/net/ipv4/ip_local_port_range
shift
exec "$@"
"""
SILENT_NAME_SERVICE = """\
import os, socket, sys
port = socket.socket(socket.AF_INET, socket.SOCK_DGRAM)
port.bind(("127.0.0.1", 53))
child = os.posix_spawn(sys.argv[1], sys.argv[1:], os.environ)
os._exit(os.waitstatus_to_exitcode(os.waitpid(child, 0)[1]))
"""


class AnotherNetwork(Consoles):
    def setUp(self):
        super().setUp()
        probe = subprocess.run(["unshare", *self.unshare(), "sh", "-c", NETWORK, "sh", str(self.folder), "true"],
                               capture_output=True, text=True, check=False)
        if probe.returncode != 0:
            self.skipTest("no network of one's own: " + probe.stderr.strip())

    @staticmethod
    def unshare():
        return ["-nm"] if os.getuid() == 0 else ["-rnm"]

    def inside(self, *command):
        return ["unshare", *self.unshare(), "sh", "-c", NETWORK, "sh", str(self.folder), *command]

    def run_inside(self, *command):
        process = self.start(self.inside(*command))
        out, err = process.communicate(b"", timeout=60)
        return process.returncode, out.decode(), err.decode()

    def test_a_name_service_that_is_away_is_told(self):
        link = "tcp:board.invalid:5555"
        status, out, err = self.run_inside(KIV, "--wait", SHORT_WAIT_MS, "--link", link, "-c", "help")
        self.assertEqual((status, out, err),
                         (4, "", f'kiv: no device at {link} within 2500 ms: cannot find the host '
                                 '"board.invalid": Temporary failure in name resolution; no line was run\n'))

    def test_a_name_service_that_says_nothing_keeps_nobody_waiting(self):
        link = "tcp:board.invalid:5555"
        before = time.monotonic()
        status, out, err = self.run_inside(sys.executable, "-c", SILENT_NAME_SERVICE, KIV, "--wait", "500",
                                           "--link", link, "-c", "help")
        self.assertEqual((status, out, err), (4, "", f"kiv: no device at {link} within 500 ms; no line was run\n"))
        self.assertLess(time.monotonic() - before, 45)

    def test_a_port_without_a_listener_is_not_connected_with_itself(self):
        link = "tcp:127.0.0.1:45454"
        status, out, err = self.run_inside(KIV, "--wait", SHORT_WAIT_MS, "--link", link, "-c", "help")
        # The number of a connection that was closed is not free again for a while.
        self.assertEqual((status, out), (4, ""))
        self.assertRegex(err, rf'^kiv: no device at {link} within 2500 ms: cannot connect to "{link}": '
                              r"(nothing listens there|Cannot assign requested address); no line was run\n$")


class Ssh(Consoles):
    def setUp(self):
        super().setUp()
        reason = ssh_server.missing()
        if reason:
            self.skipTest(reason)
        self.server = ssh_server.SshServer(self.folder)
        self.stack.callback(self.server.close)

    def link(self, *remote):
        return "exec:" + shlex.join(self.server.command(*remote))

    def test_a_long_message_goes_both_ways(self):
        lines = [part for n in range(20) for part in ("-c", echo(n))]
        over_ssh = self.kiv(*lines, link=self.link(*self.remote()))
        self.assertEqual((over_ssh.status, over_ssh.out),
                         (0, self.kiv(*lines, link=self.exec_link()).out))

    def test_what_the_other_side_writes_to_its_standard_error_is_a_notice(self):
        result = self.kiv("-c", echo(1), link=self.link("echo from afar >&2; exec " + shlex.join(self.remote())))
        self.assertEqual(result.status, 0, result)
        self.assertIn("link: from afar\n", result.err)

    def test_a_key_that_the_server_does_not_know_is_told_and_nobody_is_asked(self):
        (self.folder / "client_key.pub").write_text("")
        result = self.kiv("--wait", "8000", "-c", "help", link=self.link(*self.remote()))
        self.assertEqual((result.status, result.out), (4, ""), result)
        self.assertRegex(result.err, r'link: .*Permission denied \(')
        self.assertIn('"ssh" ended with status 255 before the greeting was answered', result.err)

    def test_a_program_that_the_board_does_not_have_is_told(self):
        result = self.kiv("--wait", "8000", "-c", "help", link=self.link("no-such-agent --stdio"))
        self.assertEqual((result.status, result.out), (4, ""), result)
        self.assertRegex(result.err, r"link: .*no-such-agent.* not found\n")
        self.assertIn('"ssh" ended with status 127 before the greeting was answered', result.err)

    def test_a_connection_that_breaks_comes_back(self):
        process, out, err = self.console(self.link("echo pid $$ >&2; exec " + shlex.join(self.remote())))
        err.wait("kiv: connected to bench ")
        self.type(process, echo(1))
        out.wait(r"u8_value += 1 ", 2)
        pid = int(err.text.split("link: pid ")[1].split()[0])
        os.kill(pid, signal.SIGKILL)
        err.wait("kiv: connected to bench ", 2)
        self.type(process, echo(2))
        out.wait(r"u8_value += 2 ", 2)
        self.ends_well(process)




if __name__ == "__main__":
    unittest.main()
