"""Somebody at a terminal: types keys into a console on a pseudo-terminal and looks at the screen.

The console is the leader of a session of its own whose terminal this is, so Ctrl-C and the like work as at a
desk.
"""

import fcntl
import os
import pty
import select
import struct
import subprocess
import termios
import time

from bench import DEADLINE_S, KIV, BenchCase
from scripted_device import ScriptedDevice
from screen_model import ScreenModel
from tests.wire import frames

PROMPT = "kiv> "
AT_ANSWER = 0xA011
END_MARK = b"\0end of the output\0"
# Twice the bench's: a whole conversation may stand behind one look.
LOOK_S = 2 * DEADLINE_S


def take_terminal():
    fcntl.ioctl(0, termios.TIOCSCTTY, 0)


class Typist(BenchCase):
    columns, height = 90, 24

    def open(self, *arguments, link=None, columns=None, program=None, stdout=None, reflows=True, **more):
        """Starts a console (or `program`, an argument list) and waits for nothing."""
        self.master, self.slave = pty.openpty()
        self.stack.callback(os.close, self.master)
        self.stack.callback(os.close, self.slave)
        self.screen = ScreenModel(columns or self.columns, self.height, reflows)
        self.raw = b""
        self.set_size()
        self.modes_before = termios.tcgetattr(self.slave)
        environment = {"TERM": "xterm", "INPUTRC": "/dev/null", **more}
        command = program or [KIV, "--link", link or self.child(), *arguments]
        self.process = subprocess.Popen(
            command, stdin=self.slave, stdout=stdout or self.slave, stderr=self.slave,
            env={key: value for key, value in self.environment(**environment).items() if value is not None},
            start_new_session=True, preexec_fn=take_terminal)
        self.stack.callback(self.end, self.process)

    def set_size(self):
        size = struct.pack("HHHH", self.height, self.screen.columns, 0, 0)
        fcntl.ioctl(self.master, termios.TIOCSWINSZ, size)

    def resize(self, columns):
        """Changes the width; `raw` then has what the console writes from now on."""
        self.raw = b""
        self.screen.resize(columns)
        self.set_size()

    def type(self, text):
        """Types all of it, and looks at what comes meanwhile: neither side may wait for the other."""
        data = text.encode() if isinstance(text, str) else text
        deadline = time.monotonic() + LOOK_S
        while data:
            self.assertLess(time.monotonic(), deadline, "keys are not taken")
            _, writable, _ = select.select([], [self.master], [], 0.05)
            if writable:
                data = data[os.write(self.master, data[:512]):]
            self.look(0)

    def look(self, timeout_s):
        """Shows what the console writes within `timeout_s`; False when there was nothing."""
        if not select.select([self.master], [], [], timeout_s)[0]:
            return False
        try:
            data = os.read(self.master, 65536)
        except OSError:
            return False
        self.show(data)
        return bool(data)

    def show(self, data):
        self.raw += data
        self.screen.feed(data)

    def wait(self, condition, what="the screen shows it", deadline_s=LOOK_S):
        """Looks until `condition` holds; a text: until the screen ends with it, cursor behind it."""
        wanted = condition if callable(condition) else lambda: self.ends_with(condition)
        deadline = time.monotonic() + deadline_s
        while not wanted():
            self.look(0.2)
            self.assertLess(time.monotonic(), deadline,
                            f"{what}: {condition!r}, {self.screen.cursor}\n" +
                            "\n".join(self.screen.rows()[-60:]))

    def ends_with(self, text):
        """Looks at no more rows than it must: there may be thousands, and each look would cost more."""
        above = min(text.count("\n"), self.screen.row)
        rows = self.screen.rows(self.screen.row - above)
        rows[above] = rows[above].ljust(self.screen.column)
        return "\n".join(rows[:above + 1]).endswith(text) and not any(rows[above + 1:])

    def wait_connected(self):
        """At the prompt, with the link up."""
        self.wait(lambda: "kiv: connected to" in self.screen.text() and self.ends_with("\n" + PROMPT))

    def mark(self):
        """From now on `since()` tells the rows shown behind the present cursor's row, and this row."""
        self.marked = self.screen.row

    def since(self):
        return "\n".join(self.screen.rows(self.marked)).rstrip("\n")

    def wait_since(self, text, row, column):
        """Until `since()` tells `text`, with the cursor so many rows below its first and at that column."""
        self.wait(lambda: self.since() == text and self.screen.cursor == (self.marked + row, column),
                  f"{text}\n at {row}, {column}")

    def wait_ended(self):
        """Looks until the console has ended; its status."""
        deadline = time.monotonic() + LOOK_S
        while self.process.poll() is None:
            self.look(0.05)
            self.assertLess(time.monotonic(), deadline, "does not end")
        # What it wrote last may still be on its way; what is written now comes behind it.
        os.write(self.slave, END_MARK)
        rest = b""
        while END_MARK not in rest:
            self.assertLess(time.monotonic(), deadline, "its last output does not come")
            if select.select([self.master], [], [], 0.05)[0]:
                rest += os.read(self.master, 65536)
        self.show(rest.replace(END_MARK, b""))
        return self.process.returncode

    def assert_terminal_restored(self):
        self.assertEqual(termios.tcgetattr(self.slave), self.modes_before)
        self.assertNotIn(2004, self.screen.modes)

    def open_with_device(self, *arguments, answer=lambda device, head, body: None, **more):
        """A console at its first prompt, linked to a device that does what `answer` says."""
        self.device = ScriptedDevice(self.folder / "device", answer)
        self.stack.callback(self.device.close)
        self.open(*arguments, link=self.device.endpoint, **more)
        self.wait_connected()
        self.mark()

    def arrive(self, *lines):
        self.device.send_many(frames.Head(frames.IND, id=AT_ANSWER),
                              [(line + "\r\n").encode() for line in lines])
