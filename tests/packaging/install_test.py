"""An installed tree is whole: programs find their libraries and files, foreign hosts compile."""

import os
import pathlib
import re
import subprocess
import tempfile
import unittest

BUILD = pathlib.Path(os.environ["KIV_BUILD_DIR"])
VERSION = pathlib.Path(os.environ["KIV_SOURCE_DIR"], "VERSION").read_text("utf-8").strip()
FOREIGN_HOST = """\
#include <cstdio>
#include <QCoreApplication>
#include "svckiv/svc_kiv.h"
int main(int argc, char** argv) {
  QCoreApplication application(argc, argv);
  QObject* sender = SvcKivSpace::SvcKiv::GetMsgSender();
  std::puts(sender->metaObject()->className());
  return SvcKivSpace::SvcKiv::GetMorviCmdList() == nullptr ? 0 : 1;
}
"""


def run(*command, **options):
    return subprocess.run(
        [str(part) for part in command], stdin=subprocess.DEVNULL, capture_output=True, text=True,
        check=False, **options)


def qt_flags():
    """Include options of Qt as the build itself uses them."""
    commands = (BUILD / "compile_commands.json").read_text("utf-8")
    folders = sorted(set(re.findall(r"-isystem (\S*qt5\S*)", commands)))
    return [flag for folder in folders for flag in ("-isystem", folder)]


class InstalledTree(unittest.TestCase):
    maxDiff = None

    @classmethod
    def setUpClass(cls):
        cls.folder = tempfile.TemporaryDirectory(prefix="kivinst-")
        cls.addClassCleanup(cls.folder.cleanup)
        cls.prefix = pathlib.Path(cls.folder.name, "usr")
        done = run("cmake", "--install", BUILD, "--prefix", cls.prefix)
        if done.returncode != 0:
            raise AssertionError(done.stdout + done.stderr)
        # Nothing of the caller's environment helps the programs to find their files.
        cls.bare = {"PATH": "/usr/bin:/bin", "HOME": cls.folder.name}

    def program(self, name, *arguments):
        return run(self.prefix / "bin" / name, *arguments, env=self.bare, cwd="/")

    def test_programs_start_and_tell_the_version(self):
        for name in ("kiv", "kivcat", "kivagent"):
            with self.subTest(program=name):
                done = self.program(name, "--version")
                self.assertEqual((done.returncode, done.stderr), (0, ""))
                self.assertIn(VERSION, done.stdout)

    def test_console_runs_a_line_against_its_own_agent(self):
        done = self.program("kiv", "-c", "note installed")
        self.assertEqual(done.returncode, 0, done.stdout + done.stderr)
        self.assertIn("installed", done.stdout)

    def test_shipped_files_are_there(self):
        share = self.prefix / "share" / "kiv"
        self.assertEqual(
            ["board.kcat", "platform.ini"],
            sorted(file.name for file in share.iterdir() if file.suffix in (".kcat", ".ini")))

    def test_manual_pages_and_completion_are_there_for_each_program(self):
        for program in ("kiv", "kivagent", "kivcat", "kivcts"):
            with self.subTest(program=program):
                self.assertTrue((self.prefix / "share" / "man" / "man1" / f"{program}.1").is_file())
                completion = self.prefix / "share" / "bash-completion" / "completions" / program
                self.assertEqual(run("bash", "-n", completion).returncode, 0)

    def test_each_header_compiles_alone(self):
        include = self.prefix / "include" / "kiv"
        headers = sorted(str(file.relative_to(include)) for file in include.rglob("*.h"))
        self.assertIn("svckiv/svc_kiv.h", headers)
        source = pathlib.Path(self.folder.name, "alone.cpp")
        failures = []
        for header in headers:
            source.write_text(f'#include "{header}"\n#include "{header}"\n')
            done = run("g++", "-std=c++20", "-fPIC", "-fsyntax-only", "-Wall", "-Wextra", "-Werror",
                       "-I", include, *qt_flags(), source)
            if done.returncode != 0:
                failures.append(header + ": " + done.stderr.splitlines()[0])
        self.assertEqual([], failures)

    def test_a_foreign_host_compiles_links_and_runs(self):
        source = pathlib.Path(self.folder.name, "host.cpp")
        program = pathlib.Path(self.folder.name, "host")
        source.write_text(FOREIGN_HOST)
        libraries = self.prefix / "lib"
        done = run("g++", "-std=c++20", "-fPIC", "-I", self.prefix / "include" / "kiv",
                   *qt_flags(), source, "-o", program, "-L", libraries, "-lsvckiv", "-lkivplatform",
                   "-lQt5Core", f"-Wl,-rpath,{libraries}")
        self.assertEqual(done.returncode, 0, done.stderr)
        done = run(program, env=self.bare)
        self.assertEqual(
            (done.returncode, done.stdout), (0, "SvcKivSpace::SvcKivMessage\n"), done.stderr)


if __name__ == "__main__":
    unittest.main()
