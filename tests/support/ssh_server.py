"""An SSH server on loopback for one test, from the unpacked package or the system's own.

It runs in a mount namespace of its own when it runs as root: there it sees a user file with the user
that it wants for its unprivileged part, and a /run of its own, so nothing of the machine changes.
"""

import os
import pathlib
import shutil
import socket
import subprocess
import time

ROOT = pathlib.Path(__file__).resolve().parents[2]
PATIENCE_S = 30
CONFIG = """\
ListenAddress 127.0.0.1
Port {port}
HostKey {folder}/host_key
AuthorizedKeysFile {folder}/client_key.pub
PidFile none
UsePAM no
StrictModes no
PermitRootLogin yes
PasswordAuthentication no
"""
# As root: a private view of the file system, in which what the server asks for is there.
AS_ROOT = """\
set -e
mount --make-rprivate /
cp /etc/passwd "$1/passwd"
echo 'sshd:x:65533:65534::/run/sshd:/usr/sbin/nologin' >> "$1/passwd"
mount --bind "$1/passwd" /etc/passwd
mount -t tmpfs tmpfs /run
mkdir -m 0755 /run/sshd
exec "$2" -D -e -f "$1/sshd_config"
"""


def find_server():
    """The server's program as an absolute path, or None."""
    unpacked = ROOT / "build" / "peers" / "openssh-server" / "usr" / "sbin" / "sshd"
    if unpacked.exists():
        return str(unpacked)
    return shutil.which("sshd", path="/usr/sbin:/usr/bin")


def missing():
    """What keeps this machine from running the server, or None."""
    if find_server() is None:
        return "no ssh server"
    if shutil.which("ssh") is None:
        return "no ssh client"
    if os.getuid() == 0:
        probe = subprocess.run(["unshare", "-m", "true"], capture_output=True, check=False)
        if probe.returncode != 0:
            return "no mount namespaces: " + probe.stderr.decode(errors="replace").strip()
    return None


class SshServer:
    """Runs from construction to close(); `folder` is an existing temporary folder."""

    def __init__(self, folder):
        self.folder = pathlib.Path(folder)
        for name in ("host_key", "client_key"):
            subprocess.run(
                ["ssh-keygen", "-q", "-t", "ed25519", "-N", "", "-f", str(self.folder / name)],
                check=True, stdin=subprocess.DEVNULL, stdout=subprocess.DEVNULL,
            )  # fmt: skip
        with socket.socket() as probe:
            probe.bind(("127.0.0.1", 0))
            self.port = probe.getsockname()[1]
        config = self.folder / "sshd_config"
        config.write_text(CONFIG.format(port=self.port, folder=self.folder))
        command = [find_server(), "-D", "-e", "-f", str(config)]
        if os.getuid() == 0:
            command = ["unshare", "-m", "sh", "-c", AS_ROOT, "sh", str(self.folder), command[0]]
        self.log = open(self.folder / "sshd.log", "wb")
        self.process = subprocess.Popen(
            command, stdin=subprocess.DEVNULL, stdout=self.log, stderr=self.log)
        try:
            self._wait_until_it_listens()
        except Exception:
            self.close()
            raise

    def _wait_until_it_listens(self):
        deadline = time.monotonic() + PATIENCE_S
        while True:
            try:
                socket.create_connection(("127.0.0.1", self.port), 1).close()
                return
            except OSError:
                if self.process.poll() is not None or time.monotonic() > deadline:
                    text = (self.folder / "sshd.log").read_text(errors="replace")
                    raise RuntimeError("the ssh server did not start: " + text) from None
                time.sleep(0.02)

    def command(self, *remote):
        """The argument vector that runs `remote` on the server without asking anything."""
        return [
            "ssh", "-F", "none", "-T", "-p", str(self.port), "-i", str(self.folder / "client_key"),
            "-o", "BatchMode=yes", "-o", "StrictHostKeyChecking=no", "-o", "LogLevel=ERROR",
            "-o", "UserKnownHostsFile=/dev/null", "-o", "IdentitiesOnly=yes",
            "127.0.0.1", *remote,
        ]  # fmt: skip

    def close(self):
        self.process.terminate()
        self.process.wait(PATIENCE_S)
        self.log.close()
