"""Files as a host sends them: in parts of 2,048 bytes, each confirmed before the next."""

import hashlib
import struct

LDNV, LOAD_INFO = 0x1203, 0x1204
PART_BYTES = 2048
NONE, RECEIVING, STORED = range(3)
(NOT_ENABLED, FAILED, FULL, BUSY, NO_LOAD, ORDER, COUNT, LENGTH, TOO_LARGE, REPEATED, DAMAGED) = (
    704, 706, 707, 709, 713, 714, 715, 716, 717, 718, 719)


def part_body(index, count, data, length=None):
    """A request's body; `length` is what it says of its data."""
    return struct.pack(f"<HH{PART_BYTES}sH", index, count, data,
                       len(data) if length is None else length)


def parts_of(content):
    """The bodies of all parts of a file."""
    pieces = [content[at:at + PART_BYTES] for at in range(0, len(content), PART_BYTES)]
    return [part_body(i, len(pieces), piece) for i, piece in enumerate(pieces)]


def send_part(peer, body):
    """(result, state); the state is None when the part was refused."""
    answer = peer.ask(LDNV, body)
    if answer.head.result != 0:
        assert answer.body == b"", answer
        return answer.head.result, None
    index, count, state = struct.unpack("<HHB", answer.body)
    assert (index, count) == struct.unpack_from("<HH", body), answer
    return 0, state


def load(peer, content):
    """Sends a whole file; answers (result, state) of the first part that was refused, else of the last."""
    for body in parts_of(content):
        result, state = send_part(peer, body)
        if result != 0:
            break
    return result, state


class Info:
    """What load_info says."""

    def __init__(self, peer):
        answer = peer.ask(LOAD_INFO)
        self.result = answer.head.result
        if self.result == 0:
            (self.state, self.size, self.sha256, self.age_s, self.received,
             self.count) = struct.unpack("<BI32sIHH", answer.body)

    def is_of(self, content):
        return (self.size, self.sha256) == (len(content), hashlib.sha256(content).digest())
