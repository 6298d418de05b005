"""Every system call of a load fails once, with each error, or is where the agent is killed: the file
is the old or the new one, byte for byte, the answer is true, nothing is left beside it, and the next
load works. A disk that says it wrote and did not is found out."""

import contextlib
import os
import pathlib
import re
import signal
import subprocess
import sys
import tempfile
import unittest

sys.path.insert(0, str(pathlib.Path(__file__).resolve().parents[1]))
import sweep  # noqa: E402
from wire.agent_process import AgentProcess  # noqa: E402
from wire.load_parts import (BUSY, DAMAGED, FAILED, FULL, PART_BYTES, STORED, load)  # noqa: E402
from wire.peer import Gone  # noqa: E402

ERRORS = {"ENOSPC": FULL, "EIO": FAILED, "EINTR": None, "EDQUOT": FULL, "EFBIG": FULL,
          "EROFS": FAILED, "EAGAIN": BUSY}
OLD, NEW = b"old" * 1000, bytes(range(256)) * 20
# The calls that store a file; the conversation, whose descriptors are below 3, is none of it.
STORES = re.compile(r"^(flock|unlinkat|openat2|openat|fallocate|fsync|fadvise64|pread64|newfstatat|"
                    r"fstat|renameat|renameat2|close|write|sync_file_range)\((\d+)")
NEEDED = {"flock", "unlinkat", "openat2", "fallocate", "write", "fsync", "pread64", "renameat", "close"}
# Where an answer other than 0 may come with the new file: its name is there, but perhaps not synced, or taken by
# another file already.
BEHIND_THE_NAME = re.compile(r'fsync\(|newfstatat\(\d+, "loaded\.bin",')
# A folder in memory where the system has one: what is synced there costs nothing.
QUICK = "/dev/shm" if os.access("/dev/shm", os.W_OK) else None


def needs_tracing(test_class):
    """Skips by name where a process may not be traced (the runner fails skips where none may be)."""
    try:
        done = subprocess.run(["strace", "-qq", "-o", os.devnull, "true"], capture_output=True,
                              check=False)
        reason = "" if done.returncode == 0 else done.stderr.decode(errors="replace").strip()
    except FileNotFoundError:
        reason = "no strace"
    return unittest.skipIf(reason, "tracing: " + reason)(test_class)


def traced_environment():
    # The leak check needs the tracing for itself.
    return {**os.environ, "ASAN_OPTIONS": os.environ.get("ASAN_OPTIONS", "") + ":detect_leaks=0"}


@needs_tracing
class EverySystemCall(unittest.TestCase):
    def setUp(self):
        folder = tempfile.TemporaryDirectory(prefix="kivagent-", dir=QUICK)
        self.addCleanup(folder.cleanup)
        self.root = pathlib.Path(folder.name)
        self.loads = self.root / "loads"
        self.loads.mkdir(mode=0o700)
        self.stored = self.loads / "loaded.bin"
        # Three parts, the last of them short.
        self.assertEqual(len(NEW) // PART_BYTES, 2)

    def agent(self, *options):
        prefix = ["strace", "-f", "-qq", *options] if options else []
        return AgentProcess("--load", str(self.loads), data=self.root / "data", prefix=prefix,
                            env=traced_environment())

    def reset(self):
        for path in self.loads.iterdir():
            path.unlink()
        self.stored.write_bytes(OLD)

    def calls(self):
        """(name, how often it was called up to here, the call) of each call of a load."""
        self.reset()
        out = self.root / "trace"
        with self.agent("-o", str(out)) as agent:
            agent.peer.greet()
            self.assertEqual(load(agent.peer, NEW), (0, STORED))
            agent.close_input()
            agent.wait()
        lines = [re.sub(r"^\d+ +", "", line) for line in out.read_text(errors="replace").splitlines()]
        locks = [i for i, line in enumerate(lines) if line.startswith("flock(")]
        # One pair of the start, which removes what was left, and one of the load.
        self.assertEqual(len(locks), 4, [lines[i] for i in locks])
        seen, calls = {}, []
        for i, line in enumerate(lines):
            name = line.split("(", 1)[0]
            seen[name] = seen.get(name, 0) + 1
            found = STORES.match(line)
            if locks[0] <= i and found and int(found[2]) > 2 and not locks[1] < i < locks[2]:
                calls.append((name, seen[name], line))
            if i == locks[3]:
                break
        return calls

    def inject(self, what, call):
        name, nth, _ = call
        self.reset()
        return self.agent("-o", os.devnull, "-e", f"trace={name}", "-e",
                          f"inject={name}:{what}:when={nth}")

    def check_next_load(self, peer, told):
        self.assertEqual(load(peer, NEW), (0, STORED), told)
        self.assertEqual(self.stored.read_bytes(), NEW, told)
        self.assertEqual([path.name for path in self.loads.iterdir()], ["loaded.bin"], told)

    def check_error(self, call, error):
        told = f"{error} at {call[0]} {call[1]}: {call[2]}"
        with self.inject(f"error={error}", call) as agent:
            agent.peer.greet()
            result, state = load(agent.peer, NEW)
            content = self.stored.read_bytes()
            if result == 0:
                self.assertEqual((state, content), (STORED, NEW), told)
            else:
                self.assertIn(result, (ERRORS[error], FAILED), told)
                self.assertTrue(content == OLD or (content == NEW and BEHIND_THE_NAME.match(call[2])), told)
                # No signal interrupts a question for a file's size.
                self.assertTrue(error != "EINTR" or call[0] in ("newfstatat", "fstat"), told)
            if call[0] != "unlinkat":  # what cannot be removed now is removed by the next load
                self.assertEqual([path.name for path in self.loads.iterdir()], ["loaded.bin"], told)
            self.check_next_load(agent.peer, told)
        return result

    def check_kill(self, call):
        told = f"killed at {call[0]} {call[1]}: {call[2]}"
        with self.inject("signal=KILL", call) as agent:
            with contextlib.suppress(Gone, BrokenPipeError):
                agent.peer.greet()
                load(agent.peer, NEW)
                agent.close_input()  # what is called behind the last answer comes then
            self.assertEqual(agent.wait(), -signal.SIGKILL, told)
        self.assertIn(self.stored.read_bytes(), (OLD, NEW), told)
        with self.agent() as agent:
            agent.peer.greet()
            self.assertEqual([path.name for path in self.loads.iterdir()], ["loaded.bin"], told)
            self.check_next_load(agent.peer, told)

    def test_may_fail(self):
        calls = self.calls()
        self.assertLessEqual(NEEDED - {"openat2"}, {name for name, _, _ in calls})
        errors = list(ERRORS)
        each = len(errors) if sweep.count(10) >= 10 else 2
        failed = 0
        for i, call in enumerate(calls):
            for k in range(each):
                failed += self.check_error(call, errors[(i + k) % len(errors)]) != 0
        self.assertGreater(failed, 5)

    def test_may_be_the_last_one(self):
        for call in self.calls():
            self.check_kill(call)

    def test_writes_that_a_disk_only_promises_are_found_out(self):
        writes = [call for call in self.calls() if call[0] == "write"]
        self.assertEqual(len(writes), 3)
        for call in writes:
            length = re.search(r", (\d+)\) += ", call[2])[1]
            for promised in (length, "7"):  # all of it, or a short write whose bytes are not there
                with self.inject(f"retval={promised}", call) as agent:
                    agent.peer.greet()
                    self.assertEqual(load(agent.peer, NEW), (DAMAGED, None), call)
                    self.assertEqual(self.stored.read_bytes(), OLD, call)
                    self.check_next_load(agent.peer, call)

    def test_reads_of_other_bytes_are_found_out(self):
        reads = [call for call in self.calls() if call[0] == "pread64"]
        self.assertGreaterEqual(len(reads), 2)
        for returned in ("0", "10", str(len(NEW)), str(len(NEW) + 1)):
            with self.inject(f"retval={returned}", reads[0]) as agent:
                agent.peer.greet()
                self.assertEqual(load(agent.peer, NEW), (DAMAGED, None), returned)
                self.assertEqual(self.stored.read_bytes(), OLD, returned)
                self.check_next_load(agent.peer, returned)

    def test_for_files_beneath_a_folder_may_be_missing(self):
        """Kernels without openat2, and containers that forbid it."""
        for error in ("ENOSYS", "EPERM"):
            self.reset()
            with self.agent("-o", os.devnull, "-e", "trace=openat2", "-e",
                            f"inject=openat2:error={error}") as agent:
                agent.peer.greet()
                self.check_next_load(agent.peer, error)


def may_mount():
    done = subprocess.run(["unshare", "-rm", "true"], capture_output=True, check=False)
    return done.returncode == 0


@unittest.skipUnless(may_mount(), "no file system of a test's own (user namespaces)")
class FullDisk(unittest.TestCase):
    """A disk of 16 pages of memory, on which the old file takes one."""

    def test_leaves_the_old_file_and_says_so(self):
        with tempfile.TemporaryDirectory(prefix="kivagent-", dir=QUICK) as name:
            folder = pathlib.Path(name) / "disk"
            folder.mkdir()
            mount = 'mount -t tmpfs -o size=64k,mode=700 kiv-test "$1" && shift && exec "$@"'
            with AgentProcess("--load", str(folder), data=pathlib.Path(name) / "data",
                              prefix=["unshare", "-rm", "sh", "-c", mount, "sh", str(folder)]) as agent:
                agent.peer.greet()
                self.assertEqual(load(agent.peer, OLD), (0, STORED))
                inside = pathlib.Path(f"/proc/{agent.process.pid}/root{folder}")
                for pages in range(10, 24):
                    content = bytes([pages]) * (pages * 4096)
                    before = (inside / "loaded.bin").read_bytes()
                    result, _ = load(agent.peer, content)
                    self.assertIn(result, (0, FULL))
                    self.assertEqual((inside / "loaded.bin").read_bytes(),
                                     content if result == 0 else before)
                    self.assertEqual([path.name for path in inside.iterdir()], ["loaded.bin"])
                self.assertEqual(result, FULL)
                self.assertEqual(load(agent.peer, b"small"), (0, STORED))


if __name__ == "__main__":
    unittest.main()
