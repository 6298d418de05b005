"""Tools beyond the limit on file sizes: an error of the file and a status, never a signal."""

import os
import pathlib
import resource
import subprocess
import tempfile
import unittest

ROOT = pathlib.Path(os.environ["KIV_SOURCE_DIR"])
BIN = pathlib.Path(os.environ["KIV_BUILD_DIR"]) / "bin"
PATIENCE_S = 120


def at_most(size_bytes):
    return lambda: resource.setrlimit(resource.RLIMIT_FSIZE, (size_bytes, size_bytes))


class FileLimit(unittest.TestCase):
    def setUp(self):
        folder = tempfile.TemporaryDirectory(prefix="kiv-limit-")
        self.addCleanup(folder.cleanup)
        self.root = pathlib.Path(folder.name)

    def run_tool(self, name, *arguments, limit_bytes=0, output=subprocess.PIPE):
        result = subprocess.run([str(BIN / name), *map(str, arguments)], stdout=output,
                                stderr=subprocess.PIPE, preexec_fn=at_most(limit_bytes),
                                timeout=PATIENCE_S, check=False)
        return result.returncode, result.stderr.decode()

    def test_a_catalogue_that_cannot_grow_is_told_and_nothing_is_left(self):
        out = self.root / "board.kcat"
        for limit_bytes in (0, 1, 4096):
            self.assertEqual(
                self.run_tool("kivcat", "build", ROOT / "catalogues" / "board.json", "-o", out,
                              limit_bytes=limit_bytes),
                (1, f"kivcat: {out}: File too large\n"))
            self.assertEqual(os.listdir(self.root), [])

    def test_a_test_configuration_that_cannot_grow_is_told(self):
        source = self.root / "a.pcfg"
        source.write_text("[0]\nu32 1\n")
        out = self.root / "out"
        path = out / "pbin" / "a.pcfg.rt.0"
        self.assertEqual(self.run_tool("kivcts", source, out),
                         (1, f"kivcts: {path}: File too large\n"))
        self.assertEqual(sorted(self.root.rglob("*")), sorted([source, out, path.parent]))

    def test_an_output_that_cannot_grow_ends_every_tool_with_1(self):
        for name in ("kivcat", "kivcts", "kivagent"):
            with (self.root / name).open("wb") as output:
                self.assertEqual(self.run_tool(name, "--help", output=output),
                                 (1, f"{name}: standard output cannot be written\n"))


if __name__ == "__main__":
    unittest.main()
