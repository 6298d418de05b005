"""Files loaded from the console into the real agent: what is on its disk afterwards, over each kind of link."""

import hashlib
import os
import re
import shlex
import signal
import subprocess
import unittest

import load_test
from bench import DEADLINE_S, KIV, KIVAGENT, SHORT_WAIT_MS, wait_for
from link_loss_test import Reader
from load_test import CHUNK

MAXIMUM = 3000  # of the settings, where a test sets it
COUNTABLE = 65535 * CHUNK
TOO_LARGE = "The file size exceeds the maximum value. Select another file to load.\n"
DELAY, SILENCE = 1, 2


class AgentLoadCase(load_test.TerminalCase):
    def setUp(self):
        super().setUp()
        self.loads = self.folder / "loads"
        self.loads.mkdir(mode=0o700)

    def child_with(self, *arguments):
        return shlex.join(["exec:" + KIVAGENT, "--stdio", "--data", str(self.folder / "agent"), *arguments])

    def child(self):
        return self.child_with("--allow-root", "--load", str(self.loads))

    def unix_link(self):
        return self.agent("--load", str(self.loads))[1]

    def tcp_link(self):
        token = self.folder / "token"
        token.write_text("correct-horse-battery\n")
        token.chmod(0o600)
        process = self.start([KIVAGENT, "--tcp", "0", "--token-file", str(token), "--data",
                              str(self.folder / "agent"), "--allow-root", "--load", str(self.loads)])
        line = process.stderr.readline().decode()
        self.assertRegex(line, r"^kivagent: listening at [^ ]+:[0-9]+\n$")
        return f"tcp:{line.split()[-1]}?token-file={token}"

    def set_maximum(self, size):
        """Edits the settings, which a first run made."""
        settings = self.folder / "config" / "kiv.xml"
        if not settings.exists():
            self.kiv("-c", "nonsense")
        text, count = re.subn(r'\bNV_LOAD_FILE_MAX_SIZE="\d+"', f'NV_LOAD_FILE_MAX_SIZE="{size}"',
                              settings.read_text(encoding="utf-8"))
        self.assertEqual(count, 1)
        settings.write_text(text, encoding="utf-8")

    def other_file(self, size, name="g.bin"):
        path = self.folder / name
        path.write_bytes(bytes((i * 11 + i // 256 + 1) % 256 for i in range(size)))
        return path

    def stored(self):
        path = self.loads / "loaded.bin"
        return path.read_bytes() if path.exists() else None

    def names(self):
        return sorted(path.name for path in self.loads.iterdir())

    def assert_verified(self, done, path):
        sha256 = hashlib.sha256(path.read_bytes()).hexdigest()
        self.assertEqual(done.status, 0, done)
        self.assertRegex(done.err, rf"\nkiv: stored: {path}, {path.stat().st_size} bytes in \S+ s, ")
        self.assertTrue(done.err.endswith(f"\nkiv: verified: {path}, SHA-256 {sha256}\n"), done)
        self.assertEqual(self.stored(), path.read_bytes())
        self.assertEqual(self.names(), ["loaded.bin"])


class Files(AgentLoadCase):
    def load_each_size(self, link):
        self.set_maximum(MAXIMUM)
        for size in (1, 2047, 2048, 2049, MAXIMUM):
            with self.subTest(size=size):
                path = self.file(size)
                done = self.kiv("--verify", "-c", f"ldnv {path}", link=link)
                self.assertEqual(done.out, "")
                self.assert_verified(done, path)
        before = self.stored()
        refused = ((0, "", f"kiv: {self.folder}/f.bin is empty: nothing was sent\n"),
                   (MAXIMUM + 1, TOO_LARGE, ""))
        for size, out, err in refused:
            with self.subTest(size=size):
                done = self.kiv("--verify", "-c", f"ldnv {self.file(size)}", link=link)
                self.assertEqual((done.status, done.out), (1, out), done)
                self.assertTrue(done.err.endswith(err), done)
                self.assertEqual((self.stored(), self.names()), (before, ["loaded.bin"]))

    def test_of_each_size_arrive_over_a_child(self):
        self.load_each_size(self.child())

    def test_of_each_size_arrive_over_a_unix_socket(self):
        self.load_each_size(self.unix_link())

    def test_of_each_size_arrive_over_tcp(self):
        self.load_each_size(self.tcp_link())

    def test_that_count_to_the_end_are_refused_by_the_device_and_longer_ones_here(self):
        self.set_maximum(2**31 - 1)
        path = self.folder / "sparse"
        for size, out, err in (
                (COUNTABLE + 1, TOO_LARGE, ""),
                (2**32 + 1, TOO_LARGE, ""),
                (COUNTABLE, None, f"kiv: the device refused chunk 1 of 65535; {path} is not stored\n")):
            with self.subTest(size=size):
                with open(path, "wb") as file:
                    file.truncate(size)
                done = self.kiv("-c", f"ldnv {path}")
                self.assertEqual(done.status, 1, done)
                if out is not None:
                    self.assertEqual(done.out, out)
                self.assertTrue(done.err.endswith(err), done)
                self.assertEqual(self.names(), [])

    def test_are_what_sha256sum_says_of_both_ends(self):
        path = self.file(1 << 20)
        command = [KIV, "--link", f"exec:kivagent --stdio --allow-root --load {self.loads}", "--verify", "-c",
                   f"ldnv {path}"]
        process = self.start(command)
        out, err = process.communicate(timeout=DEADLINE_S)
        self.assertEqual((process.returncode, out), (0, b""), err)
        sums = subprocess.run(["sha256sum", str(path), str(self.loads / "loaded.bin")], check=True,
                              capture_output=True, text=True).stdout.split()[::2]
        self.assertEqual(sums[0], sums[1])
        self.assertIn(f"kiv: verified: {path}, SHA-256 {sums[0]}\n", err.decode())


class Agents(AgentLoadCase):
    def test_without_a_folder_refuse_the_first_part(self):
        path = self.file(2 * CHUNK)
        done = self.kiv("--verify", "-c", f"ldnv {path}", link=self.child_with("--allow-root"))
        self.assertEqual((done.status, done.out), (1, "\nnot turned on at the device\n"), done)
        self.assertTrue(done.err.endswith(f"kiv: the device refused chunk 1 of 2; {path} is not stored\n"),
                        done)

    def test_of_root_take_files_only_when_root_was_allowed(self):
        path = self.file(CHUNK)
        link = self.child_with("--load", str(self.loads))
        done = self.kiv("--verify", "-c", f"ldnv {path}", link=link,
                        wait="50000" if os.geteuid() else SHORT_WAIT_MS)
        if os.geteuid() != 0:
            return self.assert_verified(done, path)
        self.assertEqual((done.status, done.out), (4, ""), done)
        self.assertIn("link: kivagent: as root no --load without --allow-root\n", done.err)
        self.assertEqual(self.names(), [])

    def test_that_share_a_folder_let_one_receive_at_a_time(self):
        first = self.agent("--load", str(self.loads))[1]
        second = self.agent("--load", str(self.loads))[1]
        path, other = self.file(200 * CHUNK), self.other_file(CHUNK)
        console = self.start([KIV, "--link", first, "--wait", "50000", "-c", f"link_fault {DELAY},200,1000",
                              "-c", f"ldnv {path}"])
        wait_for(lambda: "loaded.bin.tmp" in self.names(), "the first agent receives")
        done = self.kiv("-c", f"ldnv {other}", link=second)
        self.assertEqual(done.status, 1, done)
        self.assertIn("kiv: the device refused chunk 1 of 1; ", done.err)
        console.send_signal(signal.SIGINT)
        console.communicate(timeout=DEADLINE_S)
        self.assertEqual(console.returncode, 130)
        wait_for(lambda: self.names() == [], "the first agent forgets its part")
        self.assert_verified(self.kiv("--verify", "-c", f"ldnv {other}", link=second), other)

    def test_forget_the_load_of_a_console_that_is_killed(self):
        path, other = self.file(200 * CHUNK), self.other_file(3 * CHUNK + 1)
        for link in (self.child(), self.unix_link()):
            with self.subTest(link=link.split(":")[0]):
                self.assert_verified(self.kiv("--verify", "-c", f"ldnv {other}", link=link), other)
                console = self.start([KIV, "--link", link, "--wait", "50000", "-c", f"link_fault {DELAY},200,1000",
                                      "-c", f"ldnv {path}"])
                wait_for(lambda: "loaded.bin.tmp" in self.names(), "the agent receives")
                console.kill()
                wait_for(lambda: self.names() == ["loaded.bin"], "the agent forgets its part")
                self.assertEqual(self.stored(), other.read_bytes())

    def test_take_the_load_of_the_console_that_came_last(self):
        path, other = self.file(200 * CHUNK), self.other_file(3 * CHUNK + 1)
        link = self.unix_link()
        self.assert_verified(self.kiv("--verify", "-c", f"ldnv {other}", link=link), other)
        console = self.start([KIV, "--link", link, "--wait", "50000", "-c", f"link_fault {DELAY},100,1000",
                              "-c", f"ldnv {path}"], stdout=subprocess.DEVNULL)
        err = Reader(console.stderr)
        err.wait(r"kiv: ldnv \d+ %, ")
        # It would come back at once and take the session for itself again.
        console.send_signal(signal.SIGSTOP)
        self.assertEqual(self.stored(), other.read_bytes())
        last = self.other_file(5 * CHUNK, "last.bin")
        self.assert_verified(self.kiv("--verify", "-c", f"ldnv {last}", link=link), last)
        console.send_signal(signal.SIGCONT)
        self.assertEqual(console.wait(timeout=DEADLINE_S), 4)
        err.wait(rf"kiv: the link was lost behind \d+ of 200 chunks; {path} is not stored\n")
        self.assertEqual(self.stored(), last.read_bytes())


class Lines(AgentLoadCase):
    """Lines that come while a load is open."""

    def test_that_name_another_file_go_on_with_the_open_load_and_say_so(self):
        path, other = self.file(3 * CHUNK), self.other_file(3 * CHUNK)
        done = self.kiv("--verify", "-c", f"link_fault {SILENCE},0,1", "-c", f"ldnv {path}", "-c",
                        f"ldnv {other}", wait=SHORT_WAIT_MS)
        self.assertIn("kiv: no answer to chunk 1 of 3 within 2500 ms; the same line sends it again\n", done.err)
        self.assertEqual(self.stored(), path.read_bytes())
        self.assertIn(f"kiv: {other} is not sent: the load of {path} waited for its answer and goes on\n", done.err)
        self.assertIn(f"kiv: verified: {path}, SHA-256 {hashlib.sha256(path.read_bytes()).hexdigest()}\n", done.err)
        self.assertNotIn(f"kiv: verified: {other}", done.err)
        self.assertEqual(done.status, 3)

    def test_that_read_the_catalogue_again_end_the_open_load(self):
        path, other = self.file(3 * CHUNK), self.other_file(3 * CHUNK)
        done = self.kiv("--verify", "-c", f"link_fault {SILENCE},0,1", "-c", f"ldnv {path}", "-c", ":reload",
                        "-c", f"ldnv {other}", wait=SHORT_WAIT_MS)
        self.assertEqual(done.status, 3, done)
        self.assertIn("kiv: no answer to chunk 1 of 3 within 2500 ms", done.err)
        self.assertIn(f"kiv: verified: {other}, SHA-256 ", done.err)
        self.assertEqual(self.stored(), other.read_bytes())

    def test_that_are_typed_during_a_load_wait_for_its_end(self):
        path, other = self.file(100 * CHUNK), self.other_file(2 * CHUNK)
        self.open(self.child(), "--verify")
        os.write(self.master, f"link_fault {DELAY},20,1000\n".encode())
        self.read_until(r"\.met .*kiv> ")
        os.write(self.master, f"ldnv {path}\n".encode())
        self.read_until(r"ldnv \[[#-]+\] \d+ %, \d+ of 204800 bytes")
        os.write(self.master, f":reload\nldnv {other}\n".encode())
        text = self.read_until(rf"kiv: verified: {other}, SHA-256 ")
        self.assertNotIn("not stored", text)
        self.assertNotIn("chunk_index", text)
        self.assertLess(text.index(f"kiv: verified: {path}, SHA-256 "),
                        text.index(f"kiv: stored: {other}, 4096 bytes"))
        self.assertEqual(self.stored(), other.read_bytes())

    def test_that_stop_a_load_leave_the_file_before_and_the_next_one_arrives(self):
        path, other = self.file(200 * CHUNK), self.other_file(2 * CHUNK)
        self.assert_verified(self.kiv("--verify", "-c", f"ldnv {other}"), other)
        self.open(self.child(), "--verify")
        os.write(self.master, f"link_fault {DELAY},100,1000\n".encode())
        self.read_until(r"\.met .*kiv> ")
        os.write(self.master, f"ldnv {path}\n".encode())
        self.read_until(r"ldnv \[[#-]+\] \d+ %, \d+ of 409600 bytes")
        self.process.send_signal(signal.SIGINT)
        # Up to the prompt: what is typed before it is thrown away with the interrupted line.
        self.read_until(rf"kiv: the load was stopped behind \d+ of 200 chunks; {path} is not stored\r\n.*kiv> ")
        self.assertEqual(self.stored(), other.read_bytes())
        os.write(self.master, f"link_fault 0,0,0\nldnv {path}\n".encode())
        self.read_until(rf"kiv: verified: {path}, SHA-256 ")
        self.assertEqual(self.stored(), path.read_bytes())
        self.assertEqual(self.names(), ["loaded.bin"])


if __name__ == "__main__":
    unittest.main()
