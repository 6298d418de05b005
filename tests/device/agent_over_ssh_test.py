"""The agent behind an SSH server: how a board on a network is reached."""

import pathlib
import subprocess
import sys
import tempfile
import unittest

sys.path.insert(0, str(pathlib.Path(__file__).resolve().parents[1]))
import ssh_server  # noqa: E402
from wire.agent_process import AGENT  # noqa: E402
from wire.peer import PATIENCE_S, Peer, parse_hello  # noqa: E402

UNKNOWN = 0x9999
MEM_INFO = 0x1002


class AgentOverSsh(unittest.TestCase):
    def setUp(self):
        reason = ssh_server.missing()
        if reason:
            self.skipTest(reason)
        folder = tempfile.TemporaryDirectory(prefix="kivssh-")
        self.addCleanup(folder.cleanup)
        self.server = ssh_server.SshServer(folder.name)
        self.addCleanup(self.server.close)
        self.client = subprocess.Popen(
            self.server.command(str(AGENT), "--stdio", "--name", "far", "--data", folder.name),
            stdin=subprocess.PIPE, stdout=subprocess.PIPE, stderr=subprocess.PIPE, bufsize=0)
        self.addCleanup(self.end_client)
        self.peer = Peer(self.client.stdout.fileno(), self.client.stdin.fileno())

    def end_client(self):
        self.client.kill()
        self.client.wait()
        for pipe in (self.client.stdin, self.client.stdout, self.client.stderr):
            pipe.close()

    def test_greets_answers_and_ends_with_its_input(self):
        hello = parse_hello(self.peer.greet().body)
        self.assertEqual((hello["greeting"], hello["name"]), (b"KIV-UNIT", b"far"))
        answer = self.peer.ask(MEM_INFO)
        self.assertEqual(answer.head.result, 0)
        self.assertGreater(len(answer.body), 0)
        self.client.stdin.close()
        self.assertEqual(self.client.wait(PATIENCE_S), 0)

    def test_carries_a_long_message_unchanged(self):
        self.peer.greet()
        # Longer than a frame and than SSH's own window steps; every byte value is in it.
        answer = self.peer.ask(UNKNOWN, bytes(range(256)) * 1024)
        self.assertNotEqual(answer.head.result, 0)
        self.assertEqual(self.peer.ask(MEM_INFO).head.result, 0)


if __name__ == "__main__":
    unittest.main()
