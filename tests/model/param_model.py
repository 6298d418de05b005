"""A second, independent account of how typed parameters are read.

The C++ parser and fill are compared with this model line by line. Nothing here is taken from
them: when the two disagree, read the grammar below and decide which of them is wrong.

Grammar of a parameter line after clean-up (blanks are U+0020; every other character is kept):

    line      = flat | nested ;
    flat      = [ items ] ;                      (* no "{" or "}" anywhere: depth is not kept *)
    nested    = "{" , [ items ] , "}" ;          (* the last character must be "}" *)
    items     = item , { "," , item } ;
    item      = { "{" } , [ value ] , { "}" } ;  (* braces are counted, never matched *)
    value     = number | array ;
    array     = { any } , "[" , elements , "]" , { any } ;
    elements  = element , { "," , element } ;
    element   = [ number ] ;                     (* an empty one leaves the old bytes *)
    number    = { white } , [ "+" | "-" ] , digits ;     (* white: any Unicode white space *)
    digits    = "0" , ( "x" | "X" ) , hexdigit , { hexdigit }
              | "0" , { octdigit }
              | decdigit , { decdigit } ;
    binary    = "$(B<" , path , ")" ;            (* where an array is due, anywhere ahead *)

Clean-up, in order:

 1. Line feeds turn into blanks; blanks at both ends go away.
 2. "@path": what follows the first "@" names a command file; the file replaces the whole line.
    Of each of its lines the part before the first "#" is kept, with one blank behind it.
 3. "$(T<path)": replaced by a text file's lines, each with one blank behind it. Looked for again
    from the start until none is left, so a file may bring further references, and text from a
    file may complete a tag begun outside it. A reference that stands, however deep, in text of
    the path that it names counts as a file that cannot be opened (two spellings of a path are
    two paths); so does a line that grows beyond 64 Mi characters or takes more
    than 1 Mi references.
 4. Line feeds and the ends once more, then no two blanks stay adjacent, then no blank stays
    beside a comma. Blanks beside braces and brackets do stay.

The reader is a cursor over that text. It hands out one value or one array per request:

 * Cursor END (all ones): the text is used up. Single values then stay at their default, arrays
   fail.
 * Depth FLAT (all ones): braces are not counted. Otherwise the depth is a 32-bit counter of open
   braces around the cursor. It wraps, so one "}" too many at depth 0 makes the line flat.
 * A single value is the text up to the next comma. Its "}" all lower the depth, only what stands
   before the first of them is the number, and nothing at all means "default". The last value
   sets the cursor to END. The comma is passed only when the item was good.
 * Behind a passed comma, on a line that is not flat, all "{" before the next comma are counted
   and the cursor is set behind the last of them. The same happens once behind the first brace.
 * An array takes the first "[" and "]" ahead, no comma before them. Behind it the cursor stands on
   the "]", or behind the next comma if there is one; only then the "}" in between count.
 * Element bytes are the low bytes of the 32-bit number, little end first; an element wider than
   four bytes gets zeros above.
 * A number is at most 0xFFFFFFFF, whatever its sign: larger ones become 0xFFFFFFFF, a minus
   negates modulo 2**32. What was read is stored even when text is left over behind it.

The fill walks a tree in document order (a node, its children, its next sibling):

 * Every node except the root and those of kinds 17, 24, 25, 32 and 33 wants the reader's depth to
   be its own depth, unless the line is flat.
 * Kinds 0, 8 and 16 take a single value and cut it to their width; 1 and 9 take an array; all
   others take nothing.
"""

import os

END = 0xFFFFFFFF
FLAT = 0xFFFFFFFF
MASK32 = 0xFFFFFFFF
LINE_LIMIT_CHARS = 64 * 1024 * 1024
REFERENCE_LIMIT = 1024 * 1024

TEXT_TAG = "$(T<"
BINARY_TAG = "$(B<"

SINGLE_KINDS = (0, 8, 16)
ARRAY_KINDS = (1, 9)
UNCHECKED_KINDS = (17, 24, 25, 32, 33)

STATUS_FILL = 2
STATUS_NO_WIDTH = 4001

EMPTY_LINE = "The parameters line is empty.\n"
NO_LAST_BRACE = "the last '}' is missing.\n"
NO_OUTER_BRACE = "The outermost '{' or '}' is missing.\n"
NO_TEXT_END = "Cannot find the text file name finish tag ')'.\n"
NO_BINARY_END = "Cannot find the bin file name finish tag ')'.\n"
ARRAY_FOR_SINGLE = "Value type does not match, meeting the '[' for single value.\n"
LINE_END = "The parameters line is end"
BAD_BRACKETS = "The position of '[' or ']' is incorrect.\n"
TOO_MANY = "The number of array parameters is bigger than that of the default.\n"
NULL_NUMBER = "Failed to translate string to wexUint32. valStr is nullptr."
DEPTH_DIFFERS = (
    "The depth of the parameters line does not match that of the default parameters tree.\n")
# No number is shown here: the place marker is not one that is ever replaced.
PLAIN_INDEX = "The index of current parameter is %d.\n"


def array_index_line(index):
    return "The index of current parameter is " + str(index) + ".\n"


def missing(path):
    return path + " does not exist.\n"


def cannot_open(path):
    return "Failed to open " + path + "\n"


def not_a_number(text):
    return "Failed to translate " + text + " to wexUint32.\n"


# Unicode's White_Space property. Blanks in the sense of the clean-up are U+0020 alone.
WHITE_SPACE = frozenset(
    "\t\n\v\f\r \x85\xa0\u1680\u2000\u2001\u2002\u2003\u2004\u2005\u2006\u2007\u2008\u2009\u200a"
    "\u2028\u2029\u202f\u205f\u3000")


class LineError(Exception):
    """Clean-up failed; the argument is the whole error text."""


def scan_number(text):
    """Returns (value, whole): the 32-bit value and whether all of the text belonged to it."""
    at = 0
    while at < len(text) and text[at] in WHITE_SPACE:
        at += 1
    negative = text[at:at + 1] == "-"
    if text[at:at + 1] in ("-", "+"):
        at += 1
    base, digits = 10, "0123456789"
    if text[at:at + 1] == "0":
        base, digits = 8, "01234567"
        hexdigits = "0123456789abcdefABCDEF"
        if text[at + 1:at + 2] in ("x", "X") and text[at + 2:at + 3] != "" and \
                text[at + 2] in hexdigits:
            base, digits, at = 16, hexdigits, at + 2
    first = at
    while at < len(text) and text[at] in digits:
        at += 1
    if at == first:
        return 0, text == ""
    magnitude = int(text[first:at], base)
    if magnitude > MASK32:
        value = MASK32
    else:
        value = -magnitude & MASK32 if negative else magnitude
    return value, at == len(text)


def file_lines(path):
    """The lines of a text or command file, without their ends."""
    if not os.path.exists(path):
        raise LineError(missing(path))
    try:
        with open(path, "rb") as stream:
            data = stream.read()
    except OSError:
        raise LineError(cannot_open(path)) from None
    text = data.decode("utf-8", errors="replace")
    if text.startswith("\ufeff"):
        text = text[1:]
    if text == "":
        return []
    lines = text.split("\n")
    if lines[-1] == "":
        lines.pop()
        ended = len(lines)
    else:
        ended = len(lines) - 1
    return [line[:-1] if number < ended and line.endswith("\r") else line
            for number, line in enumerate(lines)]


def command_file(path):
    return "".join(line.split("#", 1)[0] + " " for line in file_lines(path))


def text_file(path):
    return "".join(line + " " for line in file_lines(path))


def expand_text_files(line):
    """Replaces text-file references until none is left.

    Beside the text runs a list with one set per character: the paths it came out of. The set of
    the "$" decides whether a reference stands in text of the path that it names.
    """
    origins = [frozenset()] * len(line)
    references = 0
    while True:
        begin = line.find(TEXT_TAG)
        if begin < 0:
            return line
        end = line.find(")", begin + len(TEXT_TAG))
        if end < 0:
            raise LineError(NO_TEXT_END)
        path = line[begin + len(TEXT_TAG):end]
        inside = origins[begin]
        if path in inside:
            raise LineError(cannot_open(path))
        text = text_file(path)
        line = line[:begin] + text + line[end + 1:]
        references += 1
        if len(line) > LINE_LIMIT_CHARS or references > REFERENCE_LIMIT:
            raise LineError(cannot_open(path))
        now = inside | {path}
        origins[begin:end + 1] = [now] * len(text)


def clean_up(raw):
    line = raw.replace("\n", " ").strip(" ")
    at = line.find("@")
    if at >= 0:
        line = command_file(line[at + 1:])
    line = expand_text_files(line)
    line = line.replace("\n", " ").strip(" ")
    while "  " in line:
        line = line.replace("  ", " ")
    return line.replace(" ,", ",").replace(", ", ",")


class ParamReader:
    """The cursor over one parameter line."""

    def __init__(self):
        self.line = ""
        self.position = 0
        self.depth = 0
        self.index = 0
        self.error = ""

    def state(self):
        return [self.position, self.depth, self.index]

    def _fail(self, text):
        self.error = text
        return False

    def _rest(self):
        return "" if self.position == END else self.line[self.position:]

    def set_line(self, raw):
        if raw == "":
            return self._fail(EMPTY_LINE)
        try:
            self.line = clean_up(raw)
        except LineError as failure:
            return self._fail(str(failure))
        if self.line.startswith("{"):
            if not self.line.endswith("}"):
                return self._fail(NO_LAST_BRACE)
            self.position, self.depth = 1, 1
            self._enter_braces()
            return True
        if "{" in self.line or "}" in self.line:
            return self._fail(NO_OUTER_BRACE)
        self.depth = FLAT
        return True

    def _enter_braces(self):
        piece = self._rest().split(",", 1)[0]
        last = piece.rfind("{")
        if last >= 0:
            self.depth = (self.depth + piece.count("{")) & MASK32
            self.position += last + 1

    def number(self, text):
        """Returns (good, value); the value is the one read even when not good."""
        if text is None:
            return self._fail(NULL_NUMBER), 0
        value, whole = scan_number(text)
        if not whole:
            self._fail(not_a_number(text))
        return whole, value

    def next_value(self):
        """Returns (good, value, left at default)."""
        self.index = (self.index + 1) & MASK32
        if self.position == END:
            return True, 0, True
        piece, comma, _ = self._rest().partition(",")
        behind = self.position + len(piece) + 1
        if not comma:
            self.position = END
        if "[" in piece:
            return self._fail(ARRAY_FOR_SINGLE), 0, False
        if self.depth != FLAT:
            self.depth = (self.depth - piece.count("}")) & MASK32
            piece = piece.split("}", 1)[0]
        if piece == "":
            good, value, at_default = True, 0, True
        else:
            good, value = self.number(piece)
            at_default = False
        if good and comma:
            self.position = behind
            if self.depth != FLAT:
                self._enter_braces()
        return good, value, at_default

    def next_array(self, buffer, width, size):
        """Fills a bytearray of `size` bytes; None stands for no buffer. Returns good."""
        self.index = (self.index + 1) & MASK32
        if buffer is None:
            return False
        if self.position == END or self.position >= len(self.line):
            return self._fail(LINE_END)
        rest = self._rest()
        if BINARY_TAG in rest:
            return self._read_binary(rest, buffer, size)
        comma, opening, closing = rest.find(","), rest.find("["), rest.find("]")
        if opening < 0 or closing < opening or 0 <= comma < opening:
            return self._fail(BAD_BRACKETS)
        if not self._split_elements(rest[opening + 1:closing], buffer, width, size):
            return False
        self._pass_array(self.position + closing)
        return True

    def _pass_array(self, closing):
        self.position = closing
        comma = self.line.find(",", closing)
        if comma < 0:
            return
        self.position = comma + 1
        if self.depth != FLAT:
            self.depth = (self.depth - self.line.count("}", closing, comma)) & MASK32
            self._enter_braces()

    def _split_elements(self, text, buffer, width, size):
        if width == 0:
            return False
        capacity = size // width
        for taken, element in enumerate(text.split(",")):
            if taken == capacity:
                return self._fail(TOO_MANY)
            if element == "":
                continue
            good, value = self.number(element)
            if not good:
                return False
            bytes_of = value.to_bytes(max(width, 4), "little")[:width]
            buffer[taken * width:(taken + 1) * width] = bytes_of
        return True

    def _read_binary(self, rest, buffer, size):
        begin = rest.find(BINARY_TAG) + len(BINARY_TAG)
        end = rest.find(")", begin)
        if end < 0:
            return self._fail(NO_BINARY_END)
        path = rest[begin:end]
        if not os.path.exists(path):
            return self._fail(missing(path))
        try:
            with open(path, "rb") as stream:
                data = stream.read(size)
        except OSError:
            return self._fail(cannot_open(path))
        buffer[:len(data)] = data
        return len(data) == size


class Node:
    """One node of a default-parameter tree, in document order with its depth.

    `value` holds the bytes of a single value or of an array. `buffer_bytes` is the length of the
    buffer that the node shows, or None when it shows none and takes arrays through a copy.
    """

    def __init__(self, depth, kind, width, size, value, buffer_bytes):
        self.depth = depth
        self.kind = kind
        self.width = width
        self.size = size
        self.value = bytearray(value)
        self.buffer_bytes = buffer_bytes


def fill_node(node, reader):
    """Returns (status, fill error text or None when the old one stays)."""
    checked = node.kind not in UNCHECKED_KINDS and node.depth != 0
    if checked and reader.depth not in (FLAT, node.depth):
        return STATUS_FILL, DEPTH_DIFFERS + PLAIN_INDEX
    if node.kind in SINGLE_KINDS:
        good, value, at_default = reader.next_value()
        if not good:
            return STATUS_FILL, reader.error + PLAIN_INDEX
        if not at_default:
            node.value[:] = value.to_bytes(max(node.width, 4), "little")[:node.width]
        return 0, None
    if node.kind in ARRAY_KINDS:
        return fill_array(node, reader)
    return 0, None


def fill_array(node, reader):
    if node.width == 0:
        return STATUS_NO_WIDTH, None
    if node.size == 0:
        return 0, None
    if node.buffer_bytes is not None:
        if node.buffer_bytes != node.size:
            return STATUS_FILL, None
        target = node.value
    else:
        target = bytearray(node.size)
    if not reader.next_array(target, node.width, node.size):
        return STATUS_FILL, reader.error + array_index_line(reader.index)
    node.value = target
    return 0, None


def fill(nodes, reader):
    """Walks the tree. Returns (status, fill error text, [[status, position, depth, index]...])."""
    steps = []
    for node in nodes:
        status, text = fill_node(node, reader)
        steps.append([status] + reader.state())
        if status != 0:
            return status, text or "", steps
    return 0, "", steps
