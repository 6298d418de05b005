"""Loads whose agent or link is killed on the way: the device has the file before or the whole new one."""

import contextlib
import os
import random
import signal
import socket
import threading
import time
import unittest

import sweep
import sweep_report
from bench import BenchCase, wait_for

FILE_BYTES = 1 << 20
GREETING_BYTES = 256  # at most, ahead of the first chunk: a console that was not greeted waits for that


class BreakableLink:
    """Stands between console and agent, and breaks the link at a byte that a test names.

    Threads: one that accepts, two a connection. A test plans while nothing is sent.
    """

    def __init__(self, path, agent_path):
        self.endpoint = f"unix:{path}"
        self._agent_path = str(agent_path)
        self.passed_bytes = 0  # to the device
        self._plan = None  # (bytes to the device that still pass, what is called then)
        self._broken = threading.Event()
        self._ends = []
        self._listener = socket.socket(socket.AF_UNIX)
        self._listener.bind(str(path))
        self._listener.listen()
        self._closing = False
        self._threads = [threading.Thread(target=self._serve)]
        self._threads[0].start()

    def break_after(self, count_bytes, how):
        """Lets so many bytes more pass to the device, then calls how()."""
        self._broken.clear()
        self._plan = (count_bytes, how)

    def was_broken(self):
        """Whether the last break came; forgets it otherwise."""
        plan, self._plan = self._plan, None
        if plan is None:
            self._broken.wait()
        return plan is None

    def cut(self):
        for end in self._ends:
            with contextlib.suppress(OSError):
                end.shutdown(socket.SHUT_RDWR)

    def close(self):
        self._closing = True
        with contextlib.suppress(OSError):
            self._listener.shutdown(socket.SHUT_RDWR)
        self.cut()
        for thread in self._threads:
            thread.join()
        self._listener.close()

    def _serve(self):
        while not self._closing:
            try:
                host, _ = self._listener.accept()
            except OSError:
                return
            device = self._connect()
            if device is None:
                host.close()
                return
            self._ends = [host, device]
            pumps = [threading.Thread(target=self._pump, args=ends)
                     for ends in ((host, device, True), (device, host, False))]
            for pump in pumps:
                pump.start()
            for pump in pumps:
                pump.join()
            self._ends = []
            host.close()
            device.close()

    def _connect(self):
        """To an agent that may not be back yet. The host is kept waiting: turned away it would wait longer."""
        while not self._closing:
            device = socket.socket(socket.AF_UNIX)
            try:
                device.connect(self._agent_path)
                return device
            except OSError:
                device.close()
                time.sleep(0.01)
        return None

    def _pump(self, source, target, is_to_device):
        with contextlib.suppress(OSError):
            while data := source.recv(65536):
                if is_to_device:
                    self._pass(target, data)
                else:
                    target.sendall(data)
        for end in (source, target):
            with contextlib.suppress(OSError):
                end.shutdown(socket.SHUT_RDWR)

    def _pass(self, target, data):
        self.passed_bytes += len(data)
        if self._plan is None:
            return target.sendall(data)
        left, how = self._plan
        if len(data) < left:
            self._plan = (left - len(data), how)
            return target.sendall(data)
        self._plan = None
        with contextlib.suppress(OSError):
            target.sendall(data[:left])
        how()
        self._broken.set()
        target.sendall(data[left:])


class KilledLoads(BenchCase):
    def setUp(self):
        super().setUp()
        self.loads = self.folder / "loads"
        self.loads.mkdir(mode=0o700)
        (self.folder / "sockets").mkdir(mode=0o700)
        self.agent_path = self.folder / "sockets" / "agent"
        self.start_agent()
        self.link = BreakableLink(self.folder / "sockets" / "link", self.agent_path)
        self.stack.callback(self.link.close)

    def start_agent(self):
        self.agent_path.unlink(missing_ok=True)
        self.agent_process = self.agent_at(self.agent_path, "--load", str(self.loads))

    def kill_agent(self):
        os.killpg(self.agent_process.pid, signal.SIGKILL)
        self.agent_process.wait()

    def names(self):
        return sorted(path.name for path in self.loads.iterdir())

    def stored(self):
        return (self.loads / "loaded.bin").read_bytes()

    def load(self, path):
        """Answers whether the console says that the file is stored."""
        done = self.kiv("-c", f"ldnv {path}", link=self.link.endpoint)
        self.assertIn(done.status, (0, 4), done)
        end = "stored: " if done.status == 0 else "the link was lost behind "
        self.assertIn(f"\nkiv: {end}", done.err, done)
        return done.status == 0

    def measure(self, path):
        """Loads the file, and answers how many bytes of the line that takes."""
        before = self.link.passed_bytes
        self.assertTrue(self.load(path))
        return self.link.passed_bytes - before

    def come_back(self):
        """Waits until nothing of a broken load is left."""
        if self.agent_process.poll() is not None:
            self.start_agent()
            self.assertNotIn("loaded.bin.tmp", self.names())
        wait_for(lambda: self.names() == ["loaded.bin"], "nothing is left of a broken load")

    def breaking(self, random_number, kill, path):
        """What breaks the link, and when: anywhere, and often at the end, where the file is put in place."""
        line_bytes = self.line_bytes[path]
        is_at_end = random_number.random() < 0.3
        # Before the rest of a piece goes on, or a moment behind it, while the agent works.
        pause_s = random_number.choice((0, random_number.random() * 0.01))

        def how():
            time.sleep(pause_s)
            kill()

        return line_bytes if is_at_end else random_number.randint(GREETING_BYTES, line_bytes), how

    def run_one(self, random_number, kill, before, path):
        content = path.read_bytes()
        self.link.break_after(*self.breaking(random_number, kill, path))
        is_stored = self.load(path)
        found = self.stored()
        if is_stored:
            self.assertEqual(found, content)
        else:
            self.assertIn(found, (before, content))
        if self.link.was_broken():
            self.come_back()
            found = self.stored()
            self.assertIn(found, (before, content))
            self.assertTrue(self.load(path))
        self.assertEqual(self.stored(), content)
        self.assertEqual(self.names(), ["loaded.bin"])
        return "told" if is_stored else "new" if found == content else "old"

    def test_leave_the_file_before_or_the_whole_new_one(self):
        random_number = random.Random(20611)
        paths = []
        for i in range(2):
            paths.append(self.folder / f"f{i}.bin")
            paths[i].write_bytes(random_number.randbytes(FILE_BYTES - i))
        self.line_bytes = {path: self.measure(path) for path in paths}
        begin, count = time.monotonic(), sweep.count(200)
        found = {"old": 0, "new": 0, "told": 0}
        for i in range(count):
            kill = (self.kill_agent, self.link.cut)[i // 2 % 2]
            with self.subTest(number=i, kill=kill.__name__):
                before = paths[1 - i % 2].read_bytes()
                found[self.run_one(random_number, kill, before, paths[i % 2])] += 1
        self.assertGreater(found["old"], count / 3)
        sweep_report.write("loads with a killed agent or link", count, time.monotonic() - begin,
                           f"the file before {found['old']} times, the new one untold {found['new']}, "
                           f"told {found['told']}")


if __name__ == "__main__":
    unittest.main()
