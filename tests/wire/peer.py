"""A host of the wire page, for tests: greets an agent over any pair of descriptors and talks to it.

Everything waits on the descriptor with a deadline; nothing sleeps. What the agent sends is kept in
`received` in order, so that a test can look at all of it.
"""

import os
import select
import socket
import struct
import time

from wire import frames
from wire.frames import Head

PATIENCE_S = float(os.environ.get("KIV_PATIENCE_S", "60"))


class Gone(Exception):
    """The agent closed its end."""


def hello_body(greeting=b"KIV-HOST", version=1, variant=0, product=0, abilities=0, fingerprint=b"",
               name=b"peer", token=b""):
    counted = b"".join(bytes([len(field)]) + field for field in (fingerprint, name, token))
    return greeting + struct.pack("<HHHHI", version, variant, product, 0, abilities) + counted


def parse_hello(body):
    """Fields of a greeting as a dictionary; None when it is not one."""
    if len(body) < 20:
        return None
    version, variant, product, _, abilities = struct.unpack_from("<HHHHI", body, 8)
    fields = []
    at = 20
    for limit in (32, 64, 64):
        if at >= len(body) or body[at] > limit or at + 1 + body[at] > len(body):
            return None
        fields.append(body[at + 1:at + 1 + body[at]])
        at += 1 + body[at]
    return {"greeting": body[:8], "version": version, "variant": variant, "product": product,
            "abilities": abilities, "fingerprint": fields[0], "name": fields[1],
            "token": fields[2]}


class Message:
    """A whole message: its head (of the first frame) and body."""

    def __init__(self, head, body):
        self.head = head
        self.body = body

    def __repr__(self):
        return f"{self.head} {self.body[:64].hex()}"


class Peer:
    """A host. `read_fd` and `write_fd` are borrowed."""

    def __init__(self, read_fd, write_fd):
        self.read_fd = read_fd
        self.write_fd = write_fd
        self.deframer = frames.Deframer()
        self.sequence = 0
        self.expected = None
        self.gaps = 0
        self.received = []
        self._parts = []
        self._tag = 100

    @staticmethod
    def over_socket(connection):
        return Peer(connection.fileno(), connection.fileno())

    # Sending

    def send_bytes(self, data):
        """Writes all while reading what comes, so that no pipe can fill up on both sides."""
        view = memoryview(data)
        deadline = time.monotonic() + PATIENCE_S
        while view:
            readable, writable, _ = select.select([self.read_fd], [self.write_fd], [], 1)
            if readable:
                self._read_once()
            if writable:
                view = view[self._write_some(view):]
            if time.monotonic() > deadline:
                raise TimeoutError("the agent does not take what is sent")

    def _write_some(self, view):
        try:
            if self.read_fd == self.write_fd:
                with socket.socket(fileno=os.dup(self.write_fd)) as connection:
                    return connection.send(view, socket.MSG_DONTWAIT)
            return os.write(self.write_fd, view[:4096])
        except BlockingIOError:
            return 0

    def send(self, head, body=b"", payload_bytes=frames.MAX_PAYLOAD):
        line, count = frames.encode_message(head, body, self.sequence, payload_bytes)
        self.sequence = (self.sequence + count) & 0xFFFFFFFF
        self.send_bytes(line)

    def request(self, ident, body=b"", tag=None, **words):
        """Posts a request; returns its tag."""
        if tag is None:
            self._tag = tag = self._tag % 0xFFFF + 1
        self.send(Head(frames.REQUEST, ident, tag, **words), body)
        return tag

    # Receiving

    def _read_once(self):
        try:
            data = os.read(self.read_fd, 65536)
        except ConnectionResetError as error:
            raise Gone() from error
        if not data:
            raise Gone()
        for head, payload in self.deframer.feed(data):
            self._take(head, payload)

    def _take(self, head, payload):
        if head.kind == frames.HELLO:
            self.expected = head.sequence
        if self.expected is not None:
            self.gaps += (head.sequence - self.expected) & 0xFFFFFFFF
            self.expected = (head.sequence + 1) & 0xFFFFFFFF
        if head.kind == frames.KEEP_ALIVE or (head.offset == 0 and not head.flags):
            self.received.append(Message(head, payload))
            return
        if head.offset == 0:
            self._parts = [(head, b"")]
        assert self._parts[0][0].id == head.id and self._parts[0][0].tag == head.tag
        assert sum(len(part) for _, part in self._parts) == head.offset, "parts out of order"
        self._parts.append((head, payload))
        if not head.flags:
            body = b"".join(part for _, part in self._parts)
            assert len(body) == head.length
            self.received.append(Message(self._parts[0][0], body))

    def wait_for(self, wanted, patience_s=None):
        """Takes the first received message for which `wanted` is true out of `received`."""
        deadline = time.monotonic() + (PATIENCE_S if patience_s is None else patience_s)
        while True:
            for index, message in enumerate(self.received):
                if wanted(message):
                    return self.received.pop(index)
            left = deadline - time.monotonic()
            if left <= 0 or not select.select([self.read_fd], [], [], left)[0]:
                raise TimeoutError(f"no such message; waiting: {self.received[:5]}")
            self._read_once()

    def wait_for_end(self):
        """Until the agent closes its end."""
        deadline = time.monotonic() + PATIENCE_S
        try:
            while select.select([self.read_fd], [], [], max(0, deadline - time.monotonic()))[0]:
                self._read_once()
        except Gone:
            return
        raise TimeoutError("the agent goes on")

    def confirmation(self, tag):
        return self.wait_for(lambda m: m.head.kind == frames.CNF and m.head.tag == tag)

    def indication(self, ident):
        return self.wait_for(lambda m: m.head.kind == frames.IND and m.head.id == ident)

    # Conversations

    def greet(self, **fields):
        """Opens a session; returns the agent's hello message."""
        self.sequence = 0
        self._tag = self._tag % 0xFFFF + 1
        tag = self._tag
        self.send(Head(frames.HELLO, tag=tag), hello_body(**fields))
        return self.wait_for(lambda m: m.head.kind == frames.HELLO and m.head.tag == tag)

    def ask(self, ident, body=b"", **words):
        """Posts a request and returns its confirmation."""
        return self.confirmation(self.request(ident, body, **words))

    def probe(self):
        """Returns the agent's five counts: bad frames, lost, repeated, abandoned, dropped."""
        self._tag = tag = self._tag % 0xFFFF + 1
        self.send(Head(frames.KEEP_ALIVE, tag=tag))
        answer = self.wait_for(lambda m: m.head.kind == frames.KEEP_ALIVE and m.head.tag == tag)
        return struct.unpack("<IIIII", answer.body[:20])
