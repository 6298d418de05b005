"""kivagent as a child process, for tests: started, talked to, ended, and nothing left behind."""

import os
import pathlib
import signal
import socket
import subprocess
import time

from wire.peer import PATIENCE_S, Peer

AGENT = pathlib.Path(os.environ.get("KIV_BUILD_DIR", "build/gcc")) / "bin" / "kivagent"


class AgentProcess:
    """An agent over pipes. Use as a context manager; `peer` talks to it."""

    def __init__(self, *arguments, data, allow_root=True, prefix=(), program=AGENT, **popen):
        """`prefix` is a program that starts the agent, with its arguments."""
        root = ["--allow-root"] if allow_root else []
        self.process = subprocess.Popen(
            [*prefix, str(program), "--data", str(data), *root, *arguments], stdin=subprocess.PIPE,
            stdout=subprocess.PIPE, stderr=subprocess.PIPE, bufsize=0, **popen)
        self.peer = Peer(self.process.stdout.fileno(), self.process.stdin.fileno())

    def __enter__(self):
        return self

    def __exit__(self, *_):
        self.kill()

    def kill(self):
        self.process.kill()
        self.process.wait()
        for pipe in (self.process.stdin, self.process.stdout, self.process.stderr):
            pipe.close()

    def close_input(self):
        self.process.stdin.close()

    def wait(self):
        """The exit status."""
        return self.process.wait(PATIENCE_S)

    def terminate(self):
        self.process.send_signal(signal.SIGTERM)
        return self.wait()

    def first_notice(self):
        """The first line of its standard error."""
        return self.process.stderr.readline().decode()


class SocketAgent(AgentProcess):
    """An agent that listens at `path`; ready when the constructor returns."""

    def __init__(self, path, *arguments, data, **more):
        super().__init__("--unix", str(path), *arguments, data=data, **more)
        self.path = path
        self.notice = self.first_notice()

    def connect(self):
        connection = socket.socket(socket.AF_UNIX)
        connection.connect(str(self.path))  # blocks while the agent's queue of new hosts is full
        return connection


def token_bytes(token):
    """What a TCP connection begins with."""
    return b"KIV-TOKN" + bytes([len(token)]) + token


class TcpAgent(AgentProcess):
    """An agent behind a TCP port of the loopback; ready when the constructor returns."""

    def __init__(self, *arguments, token_file, data, place="0", **more):
        super().__init__("--tcp", place, "--token-file", str(token_file), *arguments, data=data,
                         **more)
        self.notice = self.first_notice()
        self.address = self.notice.removeprefix("kivagent: listening at ").rstrip("\n")
        host, _, port = self.address.rpartition(":")
        self.place = (host.strip("[]"), int(port)) if port.isdigit() else None

    def connect(self):
        return socket.create_connection(self.place, timeout=PATIENCE_S)


def processor_ticks(pid):
    """Processor time that a process has taken, in ticks of the system's clock."""
    fields = pathlib.Path(f"/proc/{pid}/stat").read_text().rsplit(")", 1)[1].split()
    return int(fields[11]) + int(fields[12])


def memory_kib(pid):
    """Resident memory of a process."""
    for line in pathlib.Path(f"/proc/{pid}/status").read_text().splitlines():
        if line.startswith("VmRSS:"):
            return int(line.split()[1])
    return 0


def wait_until(condition):
    """Asks again and again, with patience, until the condition holds."""
    deadline = time.monotonic() + PATIENCE_S
    while not condition():
        if time.monotonic() > deadline:
            raise TimeoutError("the condition did not come true")
        time.sleep(0.005)
