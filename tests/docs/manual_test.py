"""The manual pages say what the programs say of themselves."""

import os
import pathlib
import re
import shutil
import subprocess
import sys

BUILD = pathlib.Path(os.environ["KIV_BUILD_DIR"])
SOURCE = pathlib.Path(os.environ["KIV_SOURCE_DIR"])
sys.path.insert(0, str(SOURCE / "tests" / "e2e"))

from bench import BenchCase  # noqa: E402

PAGES = SOURCE / "docs" / "man"
PROGRAMS = ("kiv", "kivagent", "kivcat", "kivcts")


def page(program):
    return (PAGES / f"{program}.1").read_text("utf-8")


def help_of(program):
    done = subprocess.run([BUILD / "bin" / program, "--help"], capture_output=True, text=True, check=True)
    return done.stdout


def options_of_page(program):
    """`--name` and `-n` of the rows of the page's lists."""
    options = set()
    for row in re.findall(r"^\.It (Fl .*)$", page(program), re.M):
        options.update("-" + name for name in re.findall(r"\bFl (-?[\w-]+)", row))
    return options


def options_of_help(program):
    return set(re.findall(r"(?<![\w-])-{1,2}[a-z][a-z-]*", help_of(program).replace("sh -c", "")))


class Manual(BenchCase):
    def test_each_program_has_a_page_and_each_page_a_program(self):
        self.assertEqual(sorted(path.name for path in PAGES.iterdir()), sorted(f"{name}.1" for name in PROGRAMS))

    def test_each_option_has_a_row_and_each_row_an_option(self):
        for program in PROGRAMS:
            with self.subTest(program=program):
                own = {"--version", "--help", "-h"}  # that a help need not list
                self.assertEqual(options_of_page(program) - own, options_of_help(program) - own)

    def test_each_word_of_the_console_has_a_row_in_the_order_of_its_help(self):
        shown = self.kiv("-c", ":help")
        self.assertEqual(shown.status, 0)
        words = re.findall(r"^(:\w+)", shown.out, re.M)
        self.assertIn(":quit", words)
        self.assertEqual(re.findall(r"^\.It Ic (:\w+)", page("kiv"), re.M), words)

    def test_the_tools_find_nothing_to_complain_of(self):
        lint = shutil.which("mandoc")
        if lint is None:
            self.skipTest("mandoc is not installed")
        for program in PROGRAMS:
            with self.subTest(program=program):
                done = subprocess.run([lint, "-T", "lint", "-W", "warning", PAGES / f"{program}.1"],
                                      capture_output=True, text=True, check=False)
                self.assertEqual((done.returncode, done.stdout), (0, ""))

    def test_each_status_of_the_console_has_a_row_with_the_page_of_the_console(self):
        section = re.search(r"## Exit status\n(.*?)\n## ", (SOURCE / "docs" / "console.md").read_text("utf-8"), re.S)[1]
        table = re.findall(r"^\| (\d+) \|", section, re.M)
        section = re.search(r"\.Sh EXIT STATUS\n(.*?)\.El", page("kiv"), re.S)[1]
        self.assertEqual(re.findall(r"^\.It (\d+)$", section, re.M), table)
