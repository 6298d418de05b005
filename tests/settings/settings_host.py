"""Drives settings_host, and the tools that break into it."""

import os
import pathlib
import re
import shutil
import subprocess
import tempfile
import unittest

BUILD = pathlib.Path(os.environ["KIV_BUILD_DIR"])
HOST = str(BUILD / "tests" / "bin" / "settings_host")
SANITIZED = (BUILD / "CMakeCache.txt").exists() and bool(re.search(
    r"^KIV_SANITIZE:[A-Z]+=.+$", (BUILD / "CMakeCache.txt").read_text(encoding="utf-8"),
    re.MULTILINE))
MARK = "settings-host-mark"
DEADLINE_S = 250
# A folder in memory where the system has one: what is synced there costs nothing.
QUICK = "/dev/shm" if os.access("/dev/shm", os.W_OK) else None


def document(title, groups=""):
    return (f'<?xml version="1.0" encoding="UTF-8"?>\n<SourceData><SESSION ID="1"><INSTANCE ID="1">'
            f'<DEFAULT><POPULAR TITLE="{title}"/>{groups}</DEFAULT></INSTANCE></SESSION>'
            f'</SourceData>\n').encode()


def environment(traced=False):
    kept = {key: value for key, value in os.environ.items()
            if key.endswith("SAN_OPTIONS") or key in ("PATH", "TMPDIR")}
    if traced:  # the leak check needs the tracing for itself
        kept["ASAN_OPTIONS"] = kept.get("ASAN_OPTIONS", "") + ":detect_leaks=0"
    return kept


class Host:
    """A running host, told line by line."""

    def __init__(self, command=(HOST,)):
        self.process = subprocess.Popen(list(command), stdin=subprocess.PIPE,
                                        stdout=subprocess.PIPE, text=True, env=environment())

    def tell(self, line):
        self.process.stdin.write(line + "\n")
        self.process.stdin.flush()

    def answer(self):
        return self.process.stdout.readline().rstrip("\n")

    def ask(self, line):
        self.tell(line)
        return self.answer()

    def end(self):
        self.process.stdin.close()
        self.process.stdout.close()
        if self.process.wait(DEADLINE_S) != 0:
            raise AssertionError(f"the host ended with {self.process.returncode}")


def run(lines, wrapper=(), traced=False):
    """Runs a script to its end, or to the host's; answers (status, answers)."""
    done = subprocess.run([*wrapper, HOST], input="\n".join(lines) + "\n", text=True,
                          capture_output=True, timeout=DEADLINE_S, check=False,
                          env=environment(traced))
    return done.returncode, done.stdout.splitlines()


class FolderCase(unittest.TestCase):
    """A test with a folder of its own."""

    maxDiff = None

    def setUp(self):
        self.folder = pathlib.Path(tempfile.mkdtemp(prefix="kiv-", dir=QUICK))
        self.addCleanup(shutil.rmtree, self.folder, ignore_errors=True)

    def trace(self, lines, *options):
        """The system calls between the first two marks of a script, as strace shows them."""
        out = self.folder / "trace"
        status, answers = run(lines, ["strace", "-f", "-qq", "-o", str(out), *options], traced=True)
        self.assertEqual(0, status, answers)
        text = out.read_text(errors="replace")
        out.unlink()
        return [re.sub(r"^\d+ +", "", line) for line in text.splitlines()]


def between_marks(calls):
    marks = [i for i, call in enumerate(calls) if MARK in call]
    return calls[marks[0] + 1:marks[1]], marks[0] + 1


def needs_tracing(test_class):
    """Skips by name where a process may not be traced (the runner fails skips where none may be)."""
    try:
        done = subprocess.run(["strace", "-qq", "-o", os.devnull, "true"], capture_output=True,
                              check=False)
        reason = "" if done.returncode == 0 else done.stderr.decode(errors="replace").strip()
    except FileNotFoundError:
        reason = "no strace"
    return unittest.skipIf(reason, "tracing: " + reason)(test_class)
