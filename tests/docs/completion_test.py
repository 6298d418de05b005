"""Completion in bash: what is offered behind each beginning of a command line."""

import os
import pathlib
import subprocess
import tempfile
import unittest

BUILD = pathlib.Path(os.environ["KIV_BUILD_DIR"])
SOURCE = pathlib.Path(os.environ["KIV_SOURCE_DIR"])
ASK = """
source "$1"; shift
COMP_WORDS=("$@"); COMP_CWORD=$(($# - 1))
"_$1"
printf '%s\\n' "${COMPREPLY[@]}"
"""


class Completion(unittest.TestCase):
    def setUp(self):
        folder = tempfile.TemporaryDirectory(prefix="kiv-")
        self.addCleanup(folder.cleanup)
        self.folder = pathlib.Path(folder.name)
        (self.folder / "images").mkdir()
        (self.folder / "lines.txt").touch()

    def offered(self, *words):
        """For the last of the words, which may be empty."""
        done = subprocess.run(["/bin/bash", "--norc", "-c", ASK, "bash", SOURCE / "packaging" / "completion.bash", *words],
                              cwd=self.folder, env={"PATH": f"{BUILD}/bin:/usr/bin:/bin"},
                              capture_output=True, text=True, check=True)
        self.assertEqual(done.stderr, "")
        return done.stdout.split()

    def test_options_of_each_program_are_offered(self):
        self.assertEqual(self.offered("kiv", "--ve"), ["--verbose", "--verify", "--version"])
        self.assertEqual(self.offered("kivagent", "--load"), ["--load", "--load-limit"])
        self.assertEqual(self.offered("kivcat", "decode", "--h"), ["--hex"])

    def test_a_line_begins_with_a_command_of_the_shipped_catalogue(self):
        self.assertEqual(self.offered("kiv", "-c", "ind_s"), ["ind_start", "ind_stop"])
        self.assertEqual(self.offered("kiv", "--command", "sys"), ["sys_info"])

    def test_commands_come_from_the_catalogue_that_the_line_names(self):
        board = str(BUILD / "share" / "kiv" / "board.kcat")
        self.assertEqual(self.offered("kiv", "--catalogue", board, "-c", "nv_"), ["nv_read", "nv_write"])
        self.assertEqual(self.offered("kiv", "--catalogue", "/nonexistent", "-c", "nv_"), [])
        self.assertEqual(self.offered("kivcat", "encode", board, "nv_"), ["nv_read", "nv_write"])
        self.assertEqual(self.offered("kivcat", "decode", board, "ind_tick", ""), ["cnf", "ind", "req"])

    def test_endpoints_files_folders_and_verbs_are_offered_where_they_stand(self):
        self.assertEqual(self.offered("kiv", "--link", "s"), ["serial:"])
        self.assertEqual(self.offered("kiv", "--link", "unix", ":", "im"), ["images"])
        self.assertEqual(self.offered("kiv", "-f", "li"), ["lines.txt"])
        self.assertEqual(self.offered("kivagent", "--load", ""), ["images"])
        self.assertEqual(self.offered("kivagent", "--shell", "f"), ["full"])
        self.assertEqual(self.offered("kivcat", "d"), ["diff", "decode"])
        self.assertEqual(self.offered("kivcts", "lines.txt", "im"), ["images"])

    def test_nothing_is_offered_for_a_number(self):
        self.assertEqual(self.offered("kiv", "--wait", ""), [])
        self.assertEqual(self.offered("kivagent", "--tcp", ""), [])
