"""A software modem (iaxmodem) and a virtual controller (btvirt), unpacked by scripts/install-deps.sh.

The first reads its configuration under /etc/iaxmodem and the second makes its sockets in /tmp, so each
runs with its own view of these folders, and without a network: many run at once and leave nothing.
"""

import pathlib
import shutil
import subprocess

ROOT = pathlib.Path(__file__).resolve().parents[2]

MODEM = """device {folder}/modem
owner root:root
mode 660
port 45700
refresh 0
server 127.0.0.1
peername kiv
secret none
cidname kiv
cidnumber 1
codec slinear
"""

# $1 is the test's folder, $2 the program.
MODEM_SCRIPT = """set -e
for file in passwd group nsswitch.conf ld.so.cache; do
  if [ -e /etc/$file ]; then cp /etc/$file "$1"; fi
done
mount -t tmpfs none /etc
cp "$1"/* /etc/
mkdir /etc/iaxmodem
mv /etc/modem.conf /etc/iaxmodem/modem
exec "$2" modem
"""
CONTROLLER_SCRIPT = 'mount --bind "$1" /tmp && exec "$2" -s'


def program(package, name):
    unpacked = ROOT / "build" / "peers" / package / "usr" / "bin" / name
    return str(unpacked) if unpacked.exists() else shutil.which(name)


def missing(package, name):
    """Why the peer cannot be run; None when it can."""
    if program(package, name) is None:
        return f"{name} is not there (scripts/install-deps.sh check)"
    probe = subprocess.run(["unshare", "-rnm", "mount", "-t", "tmpfs", "none", "/mnt"],
                           capture_output=True, check=False)
    return None if probe.returncode == 0 else f"no mounts of its own for {name}: {probe.stderr}"


class HardwarePeer:
    """A peer that runs; `path` appears when it is ready."""

    def __init__(self, script, folder, path, run):
        self.path = path
        self.log = open(folder / "peer.log", "wb")
        self.process = subprocess.Popen(
            ["unshare", "-rnm", "sh", "-c", script, "sh", str(folder), run],
            stdin=subprocess.DEVNULL, stdout=self.log, stderr=subprocess.STDOUT)

    def close(self):
        self.process.kill()
        self.process.wait()
        self.log.close()


def modem(folder):
    folder = pathlib.Path(folder)
    (folder / "modem.conf").write_text(MODEM.format(folder=folder))
    return HardwarePeer(MODEM_SCRIPT, folder, folder / "modem", program("iaxmodem", "iaxmodem"))


def controller(folder):
    folder = pathlib.Path(folder)
    return HardwarePeer(CONTROLLER_SCRIPT, folder, folder / "bt-server-bredr",
                        program("bluez-test-tools", "btvirt"))
