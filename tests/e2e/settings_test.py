"""What the console keeps in its settings file from one run to the next."""

import fcntl
import os
import re
import subprocess
import unittest

from bench import KIV, BenchCase, unnumbered


class Settings(BenchCase):
    def setUp(self):
        super().setUp()
        self.config = self.folder / "mine"
        self.file = self.config / "kiv.xml"

    def run_here(self, *arguments, **more):
        return self.kiv("--config-dir", str(self.config), *arguments, **more)

    def put(self, attribute, value):
        """Another value of one attribute of the saved settings."""
        text = self.file.read_text(encoding="utf-8")
        text, count = re.subn(attribute + '="[^"]*"', f'{attribute}="{value}"', text, count=1)
        self.assertEqual(count, 1)
        self.file.write_text(text, encoding="utf-8")

    def test_the_history_of_one_run_is_there_in_the_next(self):
        first = self.run_here("-c", "nonsense  <a> \u2603", "-c", "mem_info")
        self.assertEqual(first.status, 1, first)
        second = self.run_here("-c", "sys_info")
        self.assertEqual(second.status, 0, second)
        third = self.run_here("-c", ":history")
        self.assertEqual((third.status, third.out, third.err.count("kiv: ")),
                         (0, "1  nonsense  <a> \u2603\n2  mem_info\n3  sys_info\n", 1), third)

    def test_a_save_that_never_gets_its_turn_is_told(self):
        self.run_here("-c", "first")
        with open(self.config / "kiv.xml.lock", "r+b") as lock:
            fcntl.lockf(lock, fcntl.LOCK_EX)
            held = self.run_here("-c", "second")
        self.assertTrue(held.err.endswith("kiv: the settings, with the history, could not be saved\n"), held)
        self.assertEqual(self.run_here("-c", ":history").out, "1  first\n")

    def test_the_history_is_kept_whatever_the_file_lacks(self):
        session = '<SourceData><SESSION ID="1">{}</SESSION></SourceData>'
        self.config.mkdir()
        for text in ("<SourceData/>", session.format(""), session.format('<INSTANCE ID="2"/>'),
                     session.format('<INSTANCE ID="1"/>'),
                     session.format('<INSTANCE ID="1"><DEFAULT><POPULAR/></DEFAULT></INSTANCE>')):
            self.file.write_text(text, encoding="utf-8")
            self.run_here("-c", "one 1")
            listed = self.run_here("-c", ":history")
            self.assertEqual((listed.status, listed.out), (0, "1  one 1\n"), (text, listed))

    def test_a_directory_that_is_not_utf8_is_refused(self):
        for variable in ("KIV_CONFIG_DIR", "KIV_DATA_DIR", "XDG_CONFIG_HOME", "XDG_DATA_HOME", "HOME"):
            folder = os.fsencode(self.folder) + b"/m\xe4"
            environment = {"PATH": os.environ["PATH"].encode(), variable: folder}
            done = subprocess.run([KIV, "-c", ":history"], env=environment, capture_output=True,
                                  timeout=60, check=False)
            self.assertEqual((done.returncode, done.stdout, done.stderr.decode()),
                             (2, b"", f"kiv: {variable} is not UTF-8\nkiv: try 'kiv --help'\n"))
        self.assertEqual([name for name in os.listdir(os.fsencode(self.folder)) if b"m" == name[:1]],
                         [])

    def test_lines_of_a_pipe_and_of_the_run_itself_are_listed(self):
        result = self.run_here(stdin=b"nv_read 7\n:link\n:history\n")
        self.assertEqual(result.out.splitlines()[-1], "1  nv_read 7", result)

    def test_a_failed_wait_says_the_time_of_the_settings(self):
        self.run_here("-c", "sys_info")
        self.put("POSTCMD_TIMEOUT", "40")
        result = self.run_here("-c", "sys_info", link="unix:" + str(self.folder / "nobody"),
                               wait=None)
        self.assertEqual(result.status, 4, result)
        self.assertIn(" within 40 ms", result.err)
        result = self.run_here("-c", "sys_info", "--wait", "30",
                               link="unix:" + str(self.folder / "nobody"))
        self.assertIn(" within 30 ms", result.err)

    def test_a_broken_file_is_kept_aside_and_told_once_on_standard_error(self):
        self.config.mkdir()
        self.file.write_text("<SourceData><SESSION", encoding="utf-8")
        result = self.run_here("-c", "nonsense")
        self.assertEqual(result.out, "Command 'nonsense' is not exist\n", result)
        told = [line for line in result.err.splitlines() if "corrupt" in line]
        self.assertEqual(len(told), 1, result)
        self.assertTrue(told[0].startswith("kiv: "), told)
        aside = list(self.config.glob("kiv.xml.corrupt-*"))
        self.assertEqual([path.read_text(encoding="utf-8") for path in aside],
                         ["<SourceData><SESSION"])
        self.assertNotIn("corrupt", self.run_here("-c", "nonsense").err)

    def limited(self, limit, *arguments):
        """The console with a limit of the shell's."""
        return subprocess.run(["sh", "-c", f'ulimit {limit} && exec "$0" "$@"', str(KIV),
                               "--config-dir", str(self.config), *arguments],
                              stdin=subprocess.DEVNULL, capture_output=True, text=True, check=False,
                              env=self.environment(), timeout=60)

    def test_a_limit_on_file_sizes_is_told_like_a_full_disk(self):
        self.config.mkdir()
        done = self.limited("-f 0", "-c", "sys_info")
        self.assertEqual(done.returncode, 0, done)
        self.assertIn("kiv: the settings, with the history, could not be saved\n", done.stderr)

    def test_too_few_descriptors_are_told_in_one_line(self):
        for count in (6, 7, 8, 10):
            done = self.limited(f"-n {count}", "-c", "sys_info")
            self.assertEqual((done.returncode, done.stdout, done.stderr),
                             (4, "", "kiv: cannot start: too many open files\n"), count)

    def test_settings_that_cannot_be_saved_are_told_and_change_no_status(self):
        self.config.write_text("no directory", encoding="utf-8")
        result = self.run_here("-c", "sys_info")
        self.assertEqual(result.status, 0, result)
        notices = [line for line in result.err.splitlines() if "settings" in line]
        self.assertEqual(len(notices), 1, result)

    def test_two_consoles_lose_neither_s_lines(self):
        self.run_here("-c", "sys_info")
        one = self.start([KIV, "--link", self.child(), "--config-dir",
                          str(self.config)])
        one.stdin.write(b"from_one\n:history\n")
        one.stdin.flush()
        self.assertEqual(one.stdout.readline(), b"Command 'from_one' is not exist\n")
        self.run_here("-c", "from_two")
        one.stdin.close()
        one.stdin = None
        one.communicate(timeout=60)
        self.assertEqual(sorted(unnumbered(self.run_here("-c", ":history").out)),
                         ["from_one", "from_two", "sys_info"])


if __name__ == "__main__":
    unittest.main()
