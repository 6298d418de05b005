"""The committed table of cells is what its script writes."""
import os
import pathlib
import subprocess
import sys
import unicodedata
import unittest

SOURCE = pathlib.Path(os.environ["KIV_SOURCE_DIR"])
TABLE = SOURCE / "hosts/bench/cell_table.inc"


class TheCellTable(unittest.TestCase):
    def test_is_what_the_script_writes(self):
        committed = TABLE.read_text("utf-8")
        version = committed.split("// ", 2)[2].split(". Do not")[0].strip()
        if version != unicodedata.unidata_version:
            self.skipTest(f"the table is of Unicode {version}")
        script = SOURCE / "scripts/generate_cell_table.py"
        written = subprocess.run(
            [sys.executable, "-B", str(script)], check=True, capture_output=True, text=True
        ).stdout
        self.assertEqual(committed, written)


if __name__ == "__main__":
    unittest.main()
