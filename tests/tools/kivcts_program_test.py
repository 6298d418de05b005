"""The compiler of test configurations: what it leaves in the folder, and what it refuses."""

import os
import pathlib
import subprocess
import tempfile
import unittest

KIVCTS = pathlib.Path(os.environ["KIV_BUILD_DIR"]) / "bin" / "kivcts"
DEADLINE_S = 60


class Kivcts(unittest.TestCase):
    def setUp(self):
        folder = tempfile.TemporaryDirectory(prefix="kivcts-")
        self.addCleanup(folder.cleanup)
        self.folder = pathlib.Path(folder.name)

    def compile(self, name, text=None):
        source = self.folder / name
        if text is not None:
            source.write_text(text)
        done = subprocess.run([KIVCTS, source, self.folder / "out"], capture_output=True,
                              timeout=DEADLINE_S, check=False)
        return done.returncode, done.stderr.decode()

    def written(self):
        out = self.folder / "out"
        return {str(file.relative_to(out)): file.read_bytes() for file in out.rglob("*") if file.is_file()}

    def test_writes_a_file_for_each_index_and_removes_those_of_indexes_that_are_gone(self):
        two, one = "[0]\nu8 1\n[old]\nu8 2\n", "[0]\nu8 3\n"
        self.assertEqual(self.compile("a.pcfg", two), (0, ""))
        self.assertEqual(self.compile("a.pcfg.pcfg", two), (0, ""))
        (self.folder / "out" / "pbin" / "a.pcfg.rt.old.bak").write_bytes(b"mine")
        self.assertEqual(self.compile("a.pcfg", one), (0, ""))
        self.assertEqual(self.written(), {
            "a.pcfg": one.encode(), "pbin/a.pcfg.rt.0": b"\3", "pbin/a.pcfg.rt.old.bak": b"mine",
            "a.pcfg.pcfg": two.encode(), "pbin/a.pcfg.pcfg.rt.0": b"\1",
            "pbin/a.pcfg.pcfg.rt.old": b"\2"})

    def test_a_mistake_changes_nothing(self):
        self.compile("a.pcfg", "[0]\nu8 1\n[old]\nu8 2\n")
        before = self.written()
        self.assertEqual(self.compile("a.pcfg", "[0]\nu8 256\n")[0], 1)
        self.assertEqual(self.written(), before)

    def test_a_source_that_is_no_regular_file_is_refused_and_not_waited_for(self):
        os.mkfifo(self.folder / "pipe.pcfg")
        status, problem = self.compile("pipe.pcfg")
        self.assertEqual(status, 1)
        self.assertEqual(problem, f"kivcts: {self.folder}/pipe.pcfg: Invalid argument\n")
        self.assertFalse((self.folder / "out").exists())

    def test_a_name_that_no_line_reaches_is_refused(self):
        for name, problem in (("a b", "a cts line cannot name it: there is a blank, a line end or a "
                                      "backslash in its name"),
                              ("", "a cts line cannot name it: its name is empty"),
                              ("n" * 80, "a device gets 63 bytes of a name, and this one has 80")):
            path = self.folder / f"{name}.pcfg"
            self.assertEqual(self.compile(path.name, "[0]\n"), (1, f"kivcts: {path}: {problem}\n"))
        self.assertFalse((self.folder / "out").exists())


if __name__ == "__main__":
    unittest.main()
