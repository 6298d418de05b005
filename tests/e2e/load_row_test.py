"""The row of a load that goes on while somebody types: the line under edit stays as it is."""

import struct
import unittest

from bench import SHORT_WAIT_MS, wait_for
from load_test import CHUNK, LOAD, RECEIVING, STORED
from typist import PROMPT, Typist

CHUNKS = 4


class LoadRow(Typist):
    def hold(self, device, head, body):
        if head.id == LOAD:
            self.waiting.append((head, struct.unpack_from("<H", body)[0]))
        else:
            device.confirm(head)

    def let_go(self):
        """The chunk that is out is confirmed; the next one, if there is one, is out then."""
        wait_for(lambda: self.waiting, "a chunk is out")
        head, index = self.waiting.pop()
        self.device.confirm(head, struct.pack("<HHB", index, CHUNKS, STORED if index + 1 == CHUNKS else RECEIVING))

    def bottom(self, count):
        return self.screen.text().rstrip("\n").split("\n")[-count:]

    def wait_row(self, percent, line, column, above=None):
        """The row once on the whole screen, directly above the line, which has the cursor at `column`."""
        def is_there():
            rows = self.bottom(3)
            drawn = [row for row in self.screen.text().split("\n") if row.startswith("ldnv [")]
            return (len(drawn) == 1 and rows[-2:] == [drawn[0], line] and f"] {percent} %" in drawn[0]
                    and self.screen.cursor == (self.screen.row, column) and above in (None, rows[0]))
        self.wait(is_there, f"{percent} % above {line}")

    def test_stands_above_the_line_under_edit_and_leaves_it_alone(self):
        self.waiting = []
        path = self.folder / "f.bin"
        path.write_bytes(bytes(CHUNKS * CHUNK))
        self.open_with_device("--wait", SHORT_WAIT_MS, answer=self.hold)
        self.type(f"ldnv {path}\n")
        self.wait(lambda: "the same line sends it again" in self.screen.text() and self.ends_with("\n" + PROMPT))
        self.type("time_re\x1b[D\x1b[D")
        at = len(PROMPT) + 5
        self.wait(lambda: self.screen.cursor[1] == at)
        self.let_go()
        self.wait_row(25, PROMPT + "time_re", at)
        self.type("x\x7f")
        self.arrive("one", "two")
        self.wait_row(25, PROMPT + "time_re", at, above="two")
        self.let_go()
        self.wait_row(50, PROMPT + "time_re", at, above="two")

        self.type("\x12ld")  # a search through the history goes on
        search = f"(reverse-i-search)`ld': ldnv {path}"
        self.wait(lambda: self.bottom(1) == [search])
        column = self.screen.cursor[1]
        self.let_go()
        self.wait_row(75, search, column, above="two")
        self.type("\x07\x05\x15nv_\t\t")  # what completion lists stands above the row
        self.wait(lambda: "nv_write" in self.screen.text())
        self.wait_row(75, PROMPT + "nv_", len(PROMPT) + 3)
        self.type("\x15:mute\n")  # a line that is done leaves no row behind
        self.wait(lambda: PROMPT + ":mute" in self.screen.text())
        self.wait_row(75, PROMPT.rstrip(), len(PROMPT))
        self.type("\x0cab")  # Ctrl-L
        self.wait_row(75, PROMPT + "ab", len(PROMPT) + 2)
        self.resize(40)
        self.wait_row(75, PROMPT + "ab", len(PROMPT) + 2)
        self.resize(80)
        self.wait_row(75, PROMPT + "ab", len(PROMPT) + 2)

        self.let_go()
        self.wait(lambda: "is stored\n" in self.screen.text() and self.ends_with("\n" + PROMPT + "ab"))
        self.assertNotIn("ldnv [", self.screen.text())
        self.type("\x15\x04")
        self.assertEqual(self.wait_ended(), 0)
        self.assert_terminal_restored()


if __name__ == "__main__":
    unittest.main()
