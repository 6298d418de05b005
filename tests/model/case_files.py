"""Files that generated lines refer to. All are made inside one folder that the caller owns."""

import os

TEXTS = {
    "one.txt": b"1",
    "list.txt": b"1,2,3\n",
    "rows.txt": b"1,\n2,\n3",
    "dos.txt": b"4,\r\n5,\r\n6\r\n",
    "return.txt": b"4\r",
    "bom.txt": b"\xef\xbb\xbf7,8\n",
    "bom_only.txt": b"\xef\xbb\xbf",
    "empty.txt": b"",
    "line_end.txt": b"\n",
    "blank_rows.txt": b"\n\n  \n9\n\n",
    "braces.txt": b"{1,{2,3}}\n",
    "open.txt": b"{",
    "close.txt": b"}",
    "array.txt": b"[1,2]\n",
    "elements.txt": b"1,,3\n",
    "commas.txt": b" , ,\n, ,",
    "hash.txt": b"1,#2\n3\n",
    "hex.txt": b"0x1F,017,0xffffffff\n",
    "wide.txt": "\u00e9\u20ac\U0001f600\n".encode(),
    "bad_bytes.txt": b"1\xff2\n",
    "at_sign.txt": b"1,@one.txt\n",
    "binary_tag.txt": b"$(B<",
    "tag_half.txt": b"T<{D}/one.txt)",
    "paren.txt": b")",
    "unclosed.txt": b"5,$(T<x",
    "nested.txt": b"$(T<{D}/list.txt),$(T<{D}/one.txt)",
    "deep.txt": b"0,$(T<{D}/nested.txt)\n",
    "self.txt": b"1,$(T<{D}/self.txt)\n",
    "ping.txt": b"1,$(T<{D}/pong.txt)",
    "pong.txt": b"2,$(T<{D}/ping.txt)",
    "gone.txt": b"$(T<{D}/no.txt)",
    "two  blanks.txt": b"2\n",
    "comma, blank.txt": b"3\n",
    " lead.txt": b"4\n",
    "values.cmd": b"# three values\n1,2, # two\n3\n",
    "rows.cmd": b"1\n2#\n3,4\n",
    "nested.cmd": b"{1,\r\n{2,3} # inner\r\n}\r\n",
    "bom.cmd": b"\xef\xbb\xbf#all\n5,6",
    "comment.cmd": b"# nothing else",
    "empty.cmd": b"",
    "refers.cmd": b"$(T<{D}/list.txt),4 #$(T<{D}/no.txt)\n",
    "cut_tag.cmd": b"1,$(T<{D}/one.txt # )\n",
    "array.cmd": b"[1,2\n,3],\n4\n",
    "at_sign.cmd": b"1,@x\n",
    "self.cmd": b"$(T<{D}/self.cmd)",
}

BINARIES = {"b%d.bin" % length: bytes((37 * i + 200) % 256 for i in range(length))
            for length in (0, 1, 2, 3, 4, 6, 8, 16, 40)}

FOLDER = "folder.txt"
ABSENT = ["no.txt", "", "no/such/file.bin"]


def make_files(directory):
    """Writes all files; "{D}" in a text stands for the folder."""
    for name, data in {**TEXTS, **BINARIES}.items():
        with open(os.path.join(directory, name), "wb") as stream:
            stream.write(data.replace(b"{D}", directory.encode()))
    os.mkdir(os.path.join(directory, FOLDER))


def text_names():
    return [name for name in TEXTS if not name.endswith(".cmd")] + [FOLDER] + ABSENT


def command_names():
    return [name for name in TEXTS if name.endswith(".cmd")] * 3 + \
        ["dos.txt", "empty.txt", "hash.txt", FOLDER] + ABSENT


def binary_names():
    return list(BINARIES) * 3 + ["one.txt", "two  blanks.txt", "comma, blank.txt", FOLDER] + ABSENT
