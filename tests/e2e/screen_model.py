"""What a terminal shows for the bytes it got: cells, cursor, modes. Enough of a VT100 for line editors.

An unknown control sequence is an error, so nothing that acts on a terminal slips through unseen.
"""

import re
import unicodedata

SEQUENCE = re.compile(r"\x1b(?:\[([?>]?)([0-9;]*)([@-~])|([()][0AB])|([=>78M])|\]2;([^\x00-\x1f]*)\x07)", re.S)
PLAIN = re.compile(r"[ -~]+")
UNFINISHED = re.compile(r"\x1b(?:\[[?>]?[0-9;]*|[()]|\](?:2(?:;[^\x00-\x1f]*)?)?)?$")


def width(character):
    if unicodedata.combining(character) or unicodedata.category(character) in ("Mn", "Me", "Cf"):
        return 0
    return 2 if unicodedata.east_asian_width(character) in "WF" else 1


class ScreenModel:
    """`feed` takes bytes; `rows()` answers the texts shown, `cursor` (row, column) where keys would appear.

    With `reflows` a change of the width lays wrapped rows out anew, as most terminals do; else rows are cut.
    """

    def __init__(self, columns=80, height=24, reflows=True):
        self.columns, self.height, self.reflows = columns, height, reflows
        self.cells = [[]]  # all rows ever, so nothing scrolls away; a cell is a text, "" behind a wide one
        self.wrapped = [False]  # the row goes on in the next
        self.row = self.column = 0
        self.pending_wrap = False
        self.modes = set()
        self.bells = 0
        self.title, self._titles = None, []  # of the window; None: as it was before
        self._bytes, self._text = b"", ""

    # What is seen.

    def rows(self, first=0):
        return ["".join(row).rstrip() for row in self.cells[first:]]

    def text(self):
        """All rows, without the empty ones at the end."""
        return "\n".join(self.rows()).rstrip("\n")

    @property
    def cursor(self):
        return self.row, self.column

    @property
    def top(self):
        return max(0, len(self.cells) - self.height)

    # What comes.

    def feed(self, data):
        self._bytes += data
        text = self._bytes.decode("utf-8", "ignore") if self._is_cut() else self._bytes.decode()
        self._bytes = self._bytes[len(text.encode()):]
        text, at = self._text + text, 0
        self._text = ""
        while at < len(text):
            plain = PLAIN.match(text, at)
            if plain:
                self._print_plain(plain.group())
                at = plain.end()
            elif text[at] == "\x1b":
                match = SEQUENCE.match(text, at)
                if not match:
                    self._text = text[at:]
                    if UNFINISHED.match(self._text):
                        return
                    raise AssertionError(f"unknown sequence {self._text[:20]!r}")
                at = match.end()
                self._sequence(match)
            else:
                self._character(text[at])
                at += 1

    def _is_cut(self):
        try:
            self._bytes.decode()
        except UnicodeDecodeError as error:
            assert error.reason == "unexpected end of data", error
            return True
        return False

    def _character(self, character):
        if character == "\r":
            self.column, self.pending_wrap = 0, False
        elif character == "\n":
            self.pending_wrap = False
            self.wrapped[self.row] = False
            self._down()
        elif character == "\b":
            self.column, self.pending_wrap = max(0, self.column - 1), False
        elif character == "\t":
            self.column = min(self.columns - 1, self.column // 8 * 8 + 8)
        elif character == "\a":
            self.bells += 1
        elif unicodedata.category(character) == "Cc":
            raise AssertionError(f"control character {character!r}")
        else:
            self._print(character)

    def _print_plain(self, text):
        """Characters of one cell each, a row at a time."""
        while text:
            self._wrap_before(1)
            piece = text[:self.columns - self.column]
            row = self._padded(self.row, self.column + len(piece))
            row[self.column:self.column + len(piece)] = piece
            self._advance(len(piece))
            text = text[len(piece):]

    def _print(self, character):
        wide = width(character)
        if wide == 0:
            row, column = self.row, self.column if self.pending_wrap else self.column - 1
            while column > 0 and self._cell(row, column) == "":
                column -= 1
            self.cells[row][column] += character
            return
        self._wrap_before(wide)
        row = self._padded(self.row, self.column + wide)
        row[self.column:self.column + wide] = [character] + [""] * (wide - 1)
        self._advance(wide)

    def _wrap_before(self, wide):
        if self.pending_wrap or self.column + wide > self.columns:
            self.wrapped[self.row] = True
            self._down()
            self.column, self.pending_wrap = 0, False

    def _advance(self, wide):
        self.column += wide
        if self.column >= self.columns:
            self.column, self.pending_wrap = self.columns - 1, True

    def _cell(self, row, column):
        return self._padded(row, column + 1)[column]

    def _padded(self, row, columns):
        cells = self.cells[row]
        cells.extend([" "] * (columns - len(cells)))
        return cells

    def _down(self):
        self.row += 1
        if self.row == len(self.cells):
            self.cells.append([])
            self.wrapped.append(False)

    def _sequence(self, match):
        private, numbers, final, _, single, title = match.groups()
        if title is not None:
            self.title = title
            return
        if final is None:
            assert single in (None, "=", ">"), single
            return
        values = [int(number or 0) for number in numbers.split(";")]
        first = values[0]
        if final == "m" and not private:
            return  # nothing moves, and a full row stays full
        self.pending_wrap = False
        if private:
            assert private == "?" and final in "hl", match.group()
            (self.modes.add if final == "h" else self.modes.discard)(first)
        elif final == "t":
            assert values in ([22, 2], [23, 2]), match.group()
            if first == 22:
                self._titles.append(self.title)
            else:
                self.title = self._titles.pop()
        elif final == "A":
            self.row = max(self.top, self.row - max(first, 1))
        elif final == "B":
            self.row = min(len(self.cells) - 1, self.row + max(first, 1))
        elif final == "C":
            self.column = min(self.columns - 1, self.column + max(first, 1))
        elif final == "D":
            self.column = max(0, self.column - max(first, 1))
        elif final == "G":
            self.column = max(first, 1) - 1
        elif final == "H":
            self.row, self.column = self.top + max(first, 1) - 1, (values + [1])[1] - 1
            while self.row >= len(self.cells):
                self.cells.append([])
                self.wrapped.append(False)
        elif final == "K":
            self._erase_line(first)
        elif final == "J":
            self._erase_display(first)
        elif final == "@":
            row = self._padded(self.row, self.column)
            row[self.column:self.column] = [" "] * max(first, 1)
            del row[self.columns:]
        elif final == "P":
            del self._padded(self.row, self.column)[self.column:self.column + max(first, 1)]
        else:
            raise AssertionError(f"unknown sequence {match.group()!r}")

    def _erase_line(self, kind):
        assert kind == 0, kind
        del self._padded(self.row, self.column)[self.column:]
        self.wrapped[self.row] = False

    def _erase_display(self, kind):
        if kind == 3:
            return
        if kind == 2:
            for row in range(self.top, len(self.cells)):
                self.cells[row] = []
            return
        self._erase_line(kind)
        for row in range(self.row + 1, len(self.cells)):
            self.cells[row], self.wrapped[row] = [], False

    # What the user does to the window.

    def resize(self, columns):
        """Only the width; rows that were wrapped are joined and cut anew, or stay as they are."""
        if not self.reflows:
            self.cells = [row[:columns] for row in self.cells]
            self.column = min(self.column, columns - 1)
            self.columns, self.pending_wrap = columns, False
            return
        if self.pending_wrap:
            self.column += 1
        rows, cursor = [], None
        start = 0
        while start < len(self.cells):
            end = start
            while self.wrapped[end]:
                end += 1
            whole, at = [], None
            for row in range(start, end + 1):
                if row == self.row:
                    at = len(whole) + self.column
                whole += self._padded(row, self.columns if row < end else 0)
            if at is not None:
                cursor = (len(rows) + at // columns, at % columns)
            pieces = [whole[i:i + columns] for i in range(0, len(whole), columns)] or [[]]
            rows += [(piece, index + 1 < len(pieces)) for index, piece in enumerate(pieces)]
            start = end + 1
        while cursor[0] >= len(rows):
            rows.append(([], False))
        self.cells, self.wrapped = [list(row) for row, _ in rows], [flag for _, flag in rows]
        self.row, self.column = cursor
        self.columns, self.pending_wrap = columns, False
