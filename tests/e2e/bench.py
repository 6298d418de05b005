"""A bench of the built programs in a folder of its own: console, agent, catalogue tool.

Every program gets a bare environment, so nothing of the person who runs the tests leaks in, and every
process is gone when the bench is closed.
"""

import contextlib
import os
import pathlib
import shutil
import signal
import subprocess
import tempfile
import time
import unittest

BUILD = pathlib.Path(os.environ["KIV_BUILD_DIR"])
SOURCE = pathlib.Path(os.environ["KIV_SOURCE_DIR"])
KIV = str(BUILD / "bin" / "kiv")
KIVAGENT = str(BUILD / "bin" / "kivagent")
KIVCAT = str(BUILD / "bin" / "kivcat")
CATALOGUE = str(BUILD / "share" / "kiv" / "board.kcat")

# Ample: a loaded machine and sanitizers are slow; nothing waits that long when all is well.
DEADLINE_S = 60
# How long a console waits for its link and for answers that must come.
WAIT_MS = "50000"
# The same where the link cannot come up, or an answer cannot come, but its reason must have come.
SHORT_WAIT_MS = "2500"


def wait_for(condition, what):
    """Waits until condition() answers something true, and answers that."""
    deadline = time.monotonic() + DEADLINE_S
    while time.monotonic() < deadline:
        value = condition()
        if value:
            return value
        time.sleep(0.01)
    raise AssertionError("did not happen: " + what)


def sanitizer_environment():
    return {key: value for key, value in os.environ.items()
            if key.endswith("SAN_OPTIONS") or key == "PATH"}


class Result:
    def __init__(self, status, out, err):
        self.status, self.out, self.err = status, out, err

    def __repr__(self):
        return f"status {self.status}\n--- out\n{self.out}\n--- err\n{self.err}"


class BenchCase(unittest.TestCase):
    """A test with a bench: self.kiv(...) runs the console, self.agent() starts an agent on a socket."""

    maxDiff = None

    def setUp(self):
        self.stack = contextlib.ExitStack()
        self.addCleanup(self.stack.close)
        self.folder = pathlib.Path(tempfile.mkdtemp(prefix="kiv-"))
        self.stack.callback(shutil.rmtree, self.folder, ignore_errors=True)
        self.agents = 0

    def environment(self, **more):
        environment = sanitizer_environment()
        environment.update(KIV_CONFIG_DIR=str(self.folder / "config"),
                           KIV_DATA_DIR=str(self.folder / "data"))
        environment.update(more)
        return environment

    def child(self):
        """The endpoint of an agent as child process, with its data in the bench's folder."""
        return f"exec:kivagent --stdio --data {self.folder}/agent"

    def start(self, arguments, **options):
        process = subprocess.Popen(arguments, stdin=options.pop("stdin", subprocess.PIPE),
                                   stdout=options.pop("stdout", subprocess.PIPE),
                                   stderr=options.pop("stderr", subprocess.PIPE),
                                   env=options.pop("env", self.environment()),
                                   start_new_session=True, **options)
        self.stack.callback(self.end, process)
        return process

    @staticmethod
    def end(process):
        if process.poll() is None:
            with contextlib.suppress(ProcessLookupError):
                os.killpg(process.pid, signal.SIGKILL)
            process.wait()
        for stream in (process.stdin, process.stdout, process.stderr):
            if stream:
                stream.close()

    def kiv(self, *arguments, link=None, stdin=b"", env=None, wait=WAIT_MS):
        """Runs the console to its end. A --wait among the arguments holds instead of `wait`; None leaves
        it to the settings."""
        if wait is not None:
            arguments = ("--wait", wait, *arguments)
        command = [KIV, "--link", link or self.child(), *arguments]
        process = self.start(command, env=env or self.environment())
        out, err = process.communicate(stdin, timeout=DEADLINE_S)
        return Result(process.returncode, out.decode(), err.decode())

    def agent(self, *arguments):
        """Starts an agent on a Unix socket; answers (process, endpoint)."""
        self.agents += 1
        folder = self.folder / f"socket{self.agents}"
        folder.mkdir(mode=0o700)
        path = folder / "agent"
        return self.agent_at(path, *arguments), f"unix:{path}"

    def agent_at(self, path, *arguments):
        process = self.start([KIVAGENT, "--unix", str(path), "--data", str(self.folder / "agent"),
                              "--allow-root", *arguments], stderr=subprocess.DEVNULL)
        wait_for(path.exists, "the agent listens")
        return process

    def kivcat(self, *arguments):
        done = subprocess.run([KIVCAT, *arguments], env=self.environment(), capture_output=True,
                              timeout=DEADLINE_S, check=False)
        return Result(done.returncode, done.stdout.decode(), done.stderr.decode())


def rows(*lines):
    """Rendered rows: each ends with a blank and a line feed."""
    return "".join(line + " \n" for line in lines)


def unnumbered(listed):
    """The lines that :history lists, without the numbers in front of them."""
    return [line.lstrip().split("  ", 1)[1] for line in listed.splitlines()]


STARS = "*" * 20


def shown(request, reply):
    """What a console shows for a command: its input parameters, then the confirmation."""
    return f"Input Parameters:\n{STARS}{request}\n{STARS}\n\n{reply}"
