"""Frames of the link, written from docs/wire-format.md alone.

The tests' own small peer: it shares nothing with the agent's core and nothing with the platform, so
that a mistake would have to be made twice to stay unseen. `encode_frame` and `Deframer` are chapters 1
and 2 of the page, `Head` is its table of 32 bytes.
"""

import struct
import zlib
from dataclasses import dataclass, replace

FLAG = 0x7E
ESCAPE = 0x7D
MAX_FRAME = 65536
MAX_PAYLOAD = 65500
MAX_BODY = 64 * 1024 * 1024

HELLO, REQUEST, CNF, IND, SDT, RAW, KEEP_ALIVE = range(1, 8)
MORE_FOLLOWS = 0x01

_HEAD = struct.Struct("<BBBBIHHIIIII")


@dataclass
class Head:
    kind: int
    id: int = 0
    tag: int = 0
    word16: int = 0
    word32: int = 0
    result: int = 0
    sequence: int = 0
    length: int = 0
    offset: int = 0
    flags: int = 0
    version: int = 1

    def pack(self):
        return _HEAD.pack(self.version, self.kind, self.flags, 0, self.id, self.tag, self.word16,
                          self.word32, self.result, self.sequence, self.length, self.offset)

    @staticmethod
    def unpack(content):
        version, kind, flags, _, ident, tag, word16, word32, result, sequence, length, offset = \
            _HEAD.unpack_from(content)
        return Head(kind, ident, tag, word16, word32, result, sequence, length, offset, flags,
                    version)


def escape(content):
    return content.replace(b"\x7d", b"\x7d\x5d").replace(b"\x7e", b"\x7d\x5e")


def encode_content(content):
    """Content to bytes on the line: FCS behind it, escaped, between two flags."""
    with_fcs = content + struct.pack("<I", zlib.crc32(content))
    return b"\x7e" + escape(with_fcs) + b"\x7e"


def encode_frame(head, payload=b""):
    return encode_content(head.pack() + payload)


def encode_message(head, body, first_sequence, payload_bytes=MAX_PAYLOAD):
    """Returns (bytes on the line, number of frames) of one message."""
    frames = []
    offset = 0
    while True:
        part = body[offset:offset + payload_bytes]
        more = offset + len(part) < len(body)
        frames.append(encode_frame(
            replace(head, sequence=(first_sequence + len(frames)) & 0xFFFFFFFF, length=len(body),
                    offset=offset, flags=MORE_FOLLOWS if more else 0), part))
        offset += len(part)
        if not more:
            return b"".join(frames), len(frames)


class Deframer:
    """Bytes in any pieces to (head, payload) pairs; what is no frame is counted and dropped."""

    def __init__(self):
        self.damaged = 0
        self.stray = 0
        self._pending = None  # None until the first flag

    def feed(self, data):
        pieces = data.split(b"\x7e")
        out = []
        if self._pending is None:
            if len(pieces) == 1:
                return out
            pieces.pop(0)
            self._pending = [b""]
        self._pending.append(pieces[0])
        for piece in pieces[1:]:
            frame = self._candidate(b"".join(self._pending))
            if frame is not None:
                out.append(frame)
            self._pending = [piece]
        return out

    def _candidate(self, raw):
        if not raw:
            return None
        if (len(raw) - len(raw.rstrip(b"\x7d"))) % 2 == 1:  # an escape with nothing to escape
            self.damaged += 1
            return None
        content = unescape(raw)
        if len(content) < 36:
            self.stray += 1
            return None
        if len(content) > MAX_FRAME or \
                zlib.crc32(content[:-4]) != struct.unpack("<I", content[-4:])[0]:
            self.damaged += 1
            return None
        return Head.unpack(content), content[32:-4]


def unescape(raw):
    first, *rest = raw.split(b"\x7d")
    out = bytearray(first)
    position = 0
    while position < len(rest):
        piece = rest[position]
        if piece:
            out.append(piece[0] ^ 0x20)
            out += piece[1:]
        else:  # an escaped 0x7D byte: 7D 7D gives 5D
            out.append(0x7D ^ 0x20)
            position += 1
            if position < len(rest):
                out += rest[position]
        position += 1
    return bytes(out)
