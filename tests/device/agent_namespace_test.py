"""The agent's TCP port seen from another network namespace, which stands for another machine: the
cable between the two carries traffic, and no way over it leads to the port."""

import os
import pathlib
import subprocess
import sys
import tempfile
import unittest

sys.path.insert(0, str(pathlib.Path(__file__).resolve().parents[1]))
from wire import frames  # noqa: E402
from wire.agent_process import TcpAgent, token_bytes, wait_until  # noqa: E402
from wire.peer import PATIENCE_S, hello_body  # noqa: E402

TOKEN = b"correct-horse-battery"
HELLO = frames.encode_frame(frames.Head(frames.HELLO, tag=1, length=len(hello_body())), hello_body())
BOARD, OTHER = "10.231.7.1", "10.231.7.2"

# Connects, shows the token, and prints what came of it.
CONNECT = """
import socket, sys
try:
    connection = socket.create_connection((sys.argv[1], int(sys.argv[2])), float(sys.argv[3]))
    connection.sendall(bytes.fromhex(sys.argv[4]))
    connection.settimeout(20)
    print("answered", connection.recv(100).hex())
except ConnectionRefusedError:
    print("refused")
except TimeoutError:
    print("no answer")
except OSError as error:
    print("unreachable", error.errno)
"""

# Greets whoever connects, at every address.
ANSWER = """
import socket
listener = socket.create_server(("0.0.0.0", 0))
print(listener.getsockname()[1], flush=True)
while True:
    connection, _ = listener.accept()
    connection.sendall(b"hi")
    connection.close()
"""


def network_of(pid):
    return os.readlink(f"/proc/{pid}/ns/net")


class Machine:
    """A network namespace, which a sleeping process holds."""

    def __init__(self):
        self.holder = subprocess.Popen(["unshare", "-n", "--", "sleep", "1000"],
                                       stderr=subprocess.DEVNULL)
        self.inside = ("nsenter", "-t", str(self.holder.pid), "-n", "--")

    def is_up(self):
        return network_of(self.holder.pid) != network_of("self")

    def run(self, *command):
        return subprocess.run([*self.inside, *command], text=True, capture_output=True,
                              timeout=3 * PATIENCE_S, check=True).stdout

    def end(self):
        self.holder.kill()
        self.holder.wait()


def missing():
    """Why there can be no second network here; empty when there can."""
    for command in (["unshare", "-n", "--", "ip", "link", "add", "kiv0", "type", "veth", "peer",
                     "name", "kiv1"],
                    ["unshare", "-n", "--", "nsenter", "--version"]):
        try:
            done = subprocess.run(command, capture_output=True, text=True, check=False)
        except FileNotFoundError as error:
            return f"no {error.filename}"
        if done.returncode:
            return done.stderr.strip() or "no network namespaces"
    return ""


class FromAnotherMachine(unittest.TestCase):
    def setUp(self):
        reason = missing()
        if reason:
            self.skipTest("no second network namespace: " + reason)
        self.folder = tempfile.TemporaryDirectory(prefix="kivagent-")
        self.addCleanup(self.folder.cleanup)
        self.root = pathlib.Path(self.folder.name)
        self.board, self.other = self.machine(), self.machine()
        self.lay_cable()

    def machine(self):
        machine = Machine()
        self.addCleanup(machine.end)
        wait_until(machine.is_up)
        return machine

    def lay_cable(self):
        self.board.run("ip", "link", "add", "kiv0", "type", "veth", "peer", "name", "kiv1")
        self.board.run("ip", "link", "set", "kiv1", "netns", str(self.other.holder.pid))
        for machine, device, address in ((self.board, "kiv0", BOARD), (self.other, "kiv1", OTHER)):
            machine.run("ip", "address", "add", address + "/24", "dev", device)
            machine.run("ip", "link", "set", device, "up")
        self.board.run("ip", "link", "set", "lo", "up")

    def start_agent(self):
        token_file = self.root / "token"
        token_file.write_bytes(TOKEN)
        token_file.chmod(0o600)
        agent = TcpAgent(token_file=token_file, data=self.root / "data", prefix=self.board.inside)
        self.addCleanup(agent.kill)
        self.assertIsNotNone(agent.place, agent.notice)
        return agent.place[1]

    def start_server(self):
        server = subprocess.Popen([*self.board.inside, sys.executable, "-c", ANSWER],
                                  stdout=subprocess.PIPE, text=True)
        self.addCleanup(server.stdout.close)
        self.addCleanup(server.wait)
        self.addCleanup(server.kill)
        return int(server.stdout.readline())

    @staticmethod
    def connect(machine, address, port, patience_s=PATIENCE_S):
        return machine.run(sys.executable, "-c", CONNECT, address, str(port), str(patience_s),
                           (token_bytes(TOKEN) + HELLO).hex()).strip()

    def test_the_port_cannot_be_reached(self):
        port = self.start_agent()
        self.assertEqual(self.connect(self.other, BOARD, self.start_server()), "answered 6869")
        self.assertEqual(self.connect(self.other, BOARD, port), "refused")
        # A neighbour may send packets for the loopback over the cable; they must not arrive.
        self.other.run("sh", "-c", "echo 1 > /proc/sys/net/ipv4/conf/all/route_localnet")
        self.other.run("ip", "route", "add", "127.0.0.1/32", "via", BOARD, "dev", "kiv1")
        self.assertEqual(self.connect(self.other, "127.0.0.1", port, patience_s=1.5), "no answer")
        self.assertTrue(self.connect(self.board, "127.0.0.1", port).startswith("answered 7e01"))
        # That way is a real one: on a board whose guard is switched off it leads to the port.
        self.board.run("sh", "-c", "echo 1 > /proc/sys/net/ipv4/conf/all/route_localnet")
        self.assertTrue(self.connect(self.other, "127.0.0.1", port).startswith("answered 7e01"))


if __name__ == "__main__":
    unittest.main()
