"""A device that does what a test tells it: greets, records what it receives, answers by a function."""

import contextlib
import fcntl
import socket
import struct
import termios
import threading

from bench import wait_for
from tests.wire import frames

def greeting_body(name=b"scripted", fingerprint=b"", versions=(248, 0)):
    head = struct.pack("<8sHHHHI", b"KIV-UNIT", 1, *versions, 0, 0x0107)
    return (head + bytes([len(fingerprint)]) + fingerprint + bytes([len(name)]) + name + b"\0")


class ScriptedDevice:
    """Listens on a Unix socket; `answer(device, head, body)` is called for each whole request.

    Threads: one of its own a device; a test may send from its own beside it. The recorded messages may be
    read when a test knows they are in.
    """

    def __init__(self, path, answer, name=b"scripted", fingerprint=b"", greet=True,
                 versions=(248, 0), greets_and_closes=False):
        self.endpoint = f"unix:{path}"
        self.received = []  # (head, body) of every request
        self.greetings = 0
        self.probes = 0  # of the host, whether the device is still there
        self._answer, self._name, self._fingerprint, self._greet = answer, name, fingerprint, greet
        self._versions = versions  # variant and product
        self._greets_and_closes = greets_and_closes
        self._listener = socket.socket(socket.AF_UNIX)
        self._listener.bind(str(path))
        self._listener.listen()
        self._connection = None
        self._accepted = self._ended = 0  # connections
        self._sequence = 0
        self._closing = False
        self._writing = threading.RLock()  # one whole message at a time
        self._thread = threading.Thread(target=self._serve, daemon=True)
        self._thread.start()

    def close(self):
        self._closing = True
        with contextlib.suppress(OSError):
            self._listener.shutdown(socket.SHUT_RDWR)
        self.drop()
        self._listener.close()
        self._thread.join()

    def drop(self):
        """Cuts the connection as it is."""
        if self._connection:
            with contextlib.suppress(OSError):
                self._connection.shutdown(socket.SHUT_RDWR)

    def is_idle(self):
        """Whether a host came, and all that hosts sent before they went has been read."""
        return 0 < self._accepted == self._ended

    def send(self, head, body=b""):
        with self._writing:
            line, count = frames.encode_message(head, body, self._sequence)
            self._sequence += count
            self._connection.sendall(line)

    def send_many(self, head, bodies):
        """One message a body, written in one piece."""
        with self._writing:
            lines = []
            for body in bodies:
                line, count = frames.encode_message(head, body, self._sequence)
                self._sequence += count
                lines.append(line)
            self._connection.sendall(b"".join(lines))

    def send_raw(self, line, frames_in_it=0):
        """Bytes as they are; `frames_in_it` numbers are used up."""
        with self._writing:
            self._sequence += frames_in_it
            self._connection.sendall(line)

    def wait_taken(self):
        """Until the host has done all there was to do with what was sent: it probes when it has nothing else."""
        wait_for(lambda: struct.unpack("i", fcntl.ioctl(self._connection, termios.TIOCOUTQ, bytes(4)))[0] == 0,
                 "the host reads what was sent")
        probes = self.probes
        # One may have been on its way already.
        wait_for(lambda: self.probes >= probes + 2, "the host probes")

    def next_sequence(self):
        return self._sequence

    def confirm(self, head, body=b"", result=0):
        self.send(frames.Head(frames.CNF, id=head.id, tag=head.tag, word16=head.word16,
                              word32=head.word32, result=result), body)

    def _serve(self):
        while not self._closing:
            try:
                self._connection, _ = self._listener.accept()
            except OSError:
                return
            self._accepted += 1
            with contextlib.suppress(OSError):
                self._talk()
            self._connection.close()
            self._ended += 1

    def _talk(self):
        deframer = frames.Deframer()
        body = b""
        while True:
            data = self._connection.recv(65536)
            if not data:
                return
            for head, payload in deframer.feed(data):
                if head.kind == frames.HELLO:
                    self.greetings += 1
                    if self._greet:
                        self._sequence = 0
                        self.send(frames.Head(frames.HELLO, tag=head.tag),
                                  greeting_body(self._name, self._fingerprint, self._versions))
                    if self._greets_and_closes:
                        return
                elif head.kind == frames.KEEP_ALIVE:
                    self.probes += 1
                    self.send(frames.Head(frames.KEEP_ALIVE, tag=head.tag), bytes(20))
                else:
                    body = payload if head.offset == 0 else body + payload
                    if not head.flags & frames.MORE_FOLLOWS:
                        self.received.append((head, body))
                        self._answer(self, head, body)
