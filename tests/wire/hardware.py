"""A piece of hardware beside the agent, such as a modem: plugged in, unplugged, and its bytes.

`Terminal` is at a pseudo terminal, `Listener` at a Unix socket; both do the same.
"""

import os
import select
import socket
import time
import tty

from wire.peer import PATIENCE_S


class Hardware:
    """`file` is what the hardware reads and writes; None while it is unplugged."""

    def __init__(self, path):
        self.path = path
        self.file = None
        self.got = b""

    def write(self, data):
        while data:
            data = data[os.write(self.file, data):]

    def read_until(self, end):
        """Takes what the agent has written up to `end`, with it."""
        deadline = time.monotonic() + PATIENCE_S
        while end not in self.got:
            left = deadline - time.monotonic()
            if left <= 0 or not select.select([self.file], [], [], left)[0]:
                raise TimeoutError(f"not written: {end}; there is {self.got[-200:]}")
            self.got += os.read(self.file, 65536)
        at = self.got.index(end) + len(end)
        taken, self.got = self.got[:at], self.got[at:]
        return taken

    def is_silent(self):
        """Whether nothing waits to be read."""
        return not self.got and not select.select([self.file], [], [], 0)[0]


class Terminal(Hardware):
    word = ""

    def plug_in(self):
        self.file, device = os.openpty()
        tty.setraw(device)
        self.path.symlink_to(os.ttyname(device))
        # Kept open, since a terminal that nobody has open is one that is gone.
        self.device = device

    def opened(self):
        return f"kivagent: serial port {self.path} is open, 115200 baud\n"

    def gone(self):
        return f"kivagent: serial port {self.path} is gone, trying again and again\n"

    def missing(self):
        return (f"kivagent: cannot open the serial port {self.path}, trying again and again: "
                "No such file or directory\n")

    def wait_for_agent(self):
        pass

    def unplug(self):
        if self.file is not None:
            self.path.unlink()
            os.close(self.device)
            os.close(self.file)
            self.file = None
            self.got = b""


class Listener(Hardware):
    word = "unix:"

    def __init__(self, path):
        super().__init__(path)
        self.listener = None
        self.connection = None

    def plug_in(self):
        self.listener = socket.socket(socket.AF_UNIX)
        self.listener.bind(str(self.path))
        self.listener.listen()

    def wait_for_agent(self):
        self.listener.settimeout(PATIENCE_S)
        self.connection, _ = self.listener.accept()
        self.file = self.connection.fileno()

    def opened(self):
        return f"kivagent: connected to {self.path}\n"

    def gone(self):
        return f"kivagent: {self.path} is gone, trying again and again\n"

    def missing(self):
        return (f"kivagent: cannot connect to {self.path}, trying again and again: "
                "No such file or directory\n")

    def unplug(self):
        if self.listener is not None:
            self.path.unlink()
            self.listener.close()
            self.listener = None
        if self.connection is not None:
            self.connection.close()
            self.connection = None
        self.file = None
        self.got = b""
