"""Where the pages' lines run: a home of its own, and stand-ins for what a page takes for granted.

Paths of the system become paths below the folder, ports free ones; serial ports are ends of a cable, `ssh HOST
LINE` runs the line here, and behind /dev/ttyUSB2 sits a modem that answers.
"""

import os
import re
import select
import socket
import threading
import tty

from serial_cable import SerialCable

MODEM_ANSWER = b"\r\n+CSQ: 20,99\r\n\r\nOK\r\n"
SSH = '#!/bin/sh\nwhile [ "${1#-}" != "$1" ]; do shift; done\nshift\nexec "$@"\n'


def free_port():
    with socket.socket() as probe:
        probe.bind(("127.0.0.1", 0))
        return str(probe.getsockname()[1])


class Modem:
    """Threads: one of its own, until its port is closed."""

    def __init__(self, path):
        self._master, self._held = os.openpty()
        tty.setraw(self._held)
        path.symlink_to(os.ttyname(self._held))
        self._stop = os.pipe()
        self._thread = threading.Thread(target=self._answer)
        self._thread.start()

    def _answer(self):
        while True:
            ready = select.select([self._master, self._stop[0]], [], [])[0]
            if self._stop[0] in ready:
                return
            if b"\r" in os.read(self._master, 4096):
                os.write(self._master, MODEM_ANSWER)

    def close(self):
        os.write(self._stop[1], b"x")
        self._thread.join()
        for end in (self._master, self._held, *self._stop):
            os.close(end)


class BenchFolder:
    def __init__(self, folder, build, stack):
        self.home = folder / "home"
        self.folder = folder
        for name in ("home/.config/kiv", "bin", "dev", "srv/images", "srv/kiv", "run/bench", "run/user/1000/kiv"):
            (folder / name).mkdir(parents=True)
        for name in ("run/bench", "run/user/1000/kiv"):
            (folder / name).chmod(0o700)
        self._write(folder / "bin" / "ssh", SSH, 0o755)
        (self.home / "image.bin").write_bytes(bytes(1 << 20))
        (self.home / "lines.txt").write_text("sys_info\nmem_info\n")
        (self.home / "board.kcat").symlink_to(build / "share" / "kiv" / "board.kcat")
        self.cable = SerialCable(folder / "dev")
        stack.callback(self.cable.unplug)
        self.modem = Modem(folder / "dev" / "ttyUSB2")
        stack.callback(self.modem.close)
        self.ports = {}
        self.environment = {"HOME": str(self.home), "PATH": f"{folder}/bin:{build}/bin:/usr/bin:/bin",
                            "NO_COLOR": "1", "INPUTRC": "/dev/null"}

    @staticmethod
    def _write(path, text, mode):
        path.write_text(text)
        path.chmod(mode)

    def placed(self, line):
        """The line with everything where it is here."""
        here = str(self.folder)
        line = re.sub(r"(?<![\w.])/(srv|run)/", rf"{here}/\1/", line)
        line = line.replace("/dev/ttyUSB2", f"{here}/dev/ttyUSB2")
        board = line.lstrip().startswith("kivagent")
        line = re.sub(r"/dev/tty(S|USB|AMA)[013]\b", f"{here}/dev/{'board' if board else 'host'}-tty", line)
        line = re.sub(r"\b(4711|5555)\b", lambda port: self.ports.setdefault(port[0], free_port()), line)
        if os.geteuid() == 0:
            line = re.sub(r"\bkivagent (?=--)", "kivagent --allow-root ", line)
        return re.sub(r"^((\w+=\S+ )*|.*\| )kiv(?= |$)(?!.*--wait)", r"\1kiv --wait 50000", line)

    def shown(self, text):
        """What was shown, as the page would have it."""
        text = text.replace(f"{self.folder}/", "/").replace(" --allow-root", "")
        for written, used in self.ports.items():
            text = text.replace(used, written)
        return text
