"""What programs show of every code point: raw, or escaped when it shows nothing of itself.

The reference is derived here from Unicode's own data, the way Unicode derives
Default_Ignorable_Code_Point: format controls and variation selectors, and a few of its own.
"""

import os
import pathlib
import subprocess
import unicodedata
import unittest

KIVCAT = pathlib.Path(os.environ["KIV_BUILD_DIR"]) / "bin" / "kivcat"
BEFORE, BEHIND = 'kivcat: there is no command "', '"\n'
BLOCK = 16384  # 4 bytes each are less than an argument may have
TABLE_VERSION = "14.0.0"

OTHER_IGNORABLE = [
    (0x034F, 0x034F), (0x115F, 0x1160), (0x17B4, 0x17B5), (0x2065, 0x2065), (0x3164, 0x3164),
    (0xFFA0, 0xFFA0), (0xFFF0, 0xFFF8), (0xE0000, 0xE0000), (0xE0002, 0xE001F),
    (0xE0080, 0xE00FF), (0xE01F0, 0xE0FFF)]
SELECTORS = [(0x180B, 0x180D), (0x180F, 0x180F), (0xFE00, 0xFE0F), (0xE0100, 0xE01EF)]
LATER_FORMAT_CONTROLS = [(0x13430, 0x1343F)]  # of Unicode 15
WITHOUT_CATEGORY = {code for first, last in OTHER_IGNORABLE + SELECTORS + LATER_FORMAT_CONTROLS
                    for code in range(first, last + 1)}


def shown(code):
    if code not in WITHOUT_CATEGORY and \
            unicodedata.category(chr(code)) not in ("Cc", "Cf", "Zl", "Zp"):
        return chr(code)
    if code < 0x100:
        return f"\\x{code:02x}"
    return f"\\u{code:04x}" if code < 0x10000 else f"\\U{code:08x}"


class EveryCodePoint(unittest.TestCase):
    @unittest.skipUnless(unicodedata.unidata_version == TABLE_VERSION, "another Unicode version")
    def test_is_shown_raw_only_when_it_can_be_seen(self):
        codes = [code for code in range(1, 0x110000) if not 0xD800 <= code < 0xE000]
        for at in range(0, len(codes), BLOCK):
            block = codes[at:at + BLOCK]
            # What comes back has no blank at the ends of a word's quotes.
            word = "x" + "".join(map(chr, block)) + "x"
            result = subprocess.run([str(KIVCAT), word.encode()], capture_output=True, check=False)
            self.assertEqual((result.returncode, result.stdout), (2, b""))
            text = result.stderr.decode()
            self.assertTrue(text.startswith(BEFORE))
            expected = "x" + "".join(map(shown, block)) + "x"
            found = text[len(BEFORE):len(BEFORE) + len(expected)]
            self.assertEqual(found == expected, True, f"block at U+{block[0]:04X}")
            self.assertTrue(text[len(BEFORE) + len(expected):].startswith(BEHIND))


if __name__ == "__main__":
    unittest.main()
