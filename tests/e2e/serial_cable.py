"""A serial cable between two programs: two pairs of pseudo-terminals and what carries bytes between them.

Each program opens the path of its end, as it would a port's; unplug() takes both away while they are
open, plug_in() puts new ones at the same paths.
"""

import contextlib
import os
import selectors
import threading
import tty

CHUNK = 4096


class SerialCable:
    """Threads: one of its own while it is plugged in."""

    def __init__(self, folder):
        self.host_path = folder / "host-tty"
        self.board_path = folder / "board-tty"
        self._ends = []
        self._held = []
        self._stop = None
        self._thread = None
        self.plug_in()

    def plug_in(self):
        for path in (self.host_path, self.board_path):
            master, held = os.openpty()
            tty.setraw(held)
            os.set_blocking(master, False)
            self._ends.append(master)
            # Held open, so that a program that closes its port does not hang up the cable.
            self._held.append(held)
            path.symlink_to(os.ttyname(held))
        self._stop = os.pipe()
        self._thread = threading.Thread(target=self._carry, args=(self._ends, self._stop[0]))
        self._thread.start()

    def unplug(self):
        if self._thread is None:
            return
        os.write(self._stop[1], b"x")
        self._thread.join()
        self._thread = None
        for path in (self.host_path, self.board_path):
            path.unlink()
        for end in (*self._ends, *self._held, *self._stop):
            os.close(end)
        self._ends, self._held, self._stop = [], [], None

    @staticmethod
    def _carry(ends, stop):
        waiting = {ends[0]: b"", ends[1]: b""}  # for the end that it is to be written to
        other = {ends[0]: ends[1], ends[1]: ends[0]}
        with selectors.DefaultSelector() as selector:
            selector.register(stop, selectors.EVENT_READ)
            for end in ends:
                selector.register(end, selectors.EVENT_READ)
            while True:
                for end in ends:
                    # An end is read while the other has room.
                    events = selectors.EVENT_READ if len(waiting[other[end]]) < CHUNK else 0
                    events |= selectors.EVENT_WRITE if waiting[end] else 0
                    if events:
                        selector.modify(end, events)
                for key, events in selector.select():
                    end = key.fd
                    if end == stop:
                        return
                    with contextlib.suppress(BlockingIOError):
                        if events & selectors.EVENT_READ:
                            waiting[other[end]] += os.read(end, CHUNK)
                        if events & selectors.EVENT_WRITE:
                            waiting[end] = waiting[end][os.write(end, waiting[end]):]
