"""The test configurations that ship: compiled, given to a new user, sent to a device."""

import hashlib
import struct
import subprocess
import unittest

from bench import BUILD, KIV, SOURCE, BenchCase, DEADLINE_S
from scripted_device import ScriptedDevice
from tests.wire import frames

SHIPPED = BUILD / "share" / "kiv" / "cts"
ECHO = b"Every byte of this comes back."
# What is sent for each name and index.
PARAMETERS = {
    ("cts_echo", "0"): ECHO,
    ("cts_echo", "1"): bytes.fromhex("007D7E0A0D1B2564FFFE"),
    ("cts_memory", "0"): struct.pack("<II", 65536, 1),
    ("cts_memory", "1"): struct.pack("<II", 16777216, 4),
    ("cts_loop", "0"): struct.pack("<II", 10, 20),
    ("cts_loop", "1"): struct.pack("<II", 100, 10),
}


class ShippedCases(BenchCase):
    def offer(self):
        done = subprocess.run([SOURCE / "scripts" / "offer_cts.sh", SHIPPED], env=self.environment(),
                              capture_output=True, timeout=DEADLINE_S, check=False)
        self.assertEqual(done.returncode, 0, done.stderr)
        return done.stderr.decode()

    @property
    def ini(self):
        return self.folder / "data" / "C" / "Kestrax" / "kit_kiv_plc_cts.ini"

    @property
    def cases(self):
        return self.folder / "data" / "cts"

    def test_all_compiled_files_ship(self):
        self.assertEqual({file.name for file in SHIPPED.glob("*.pcfg")},
                         {f"{name}.pcfg" for name, _ in PARAMETERS})
        for (name, index), content in PARAMETERS.items():
            self.assertEqual((SHIPPED / "pbin" / f"{name}.pcfg.rt.{index}").read_bytes(), content)

    def test_a_new_user_gets_a_copy_that_is_configured(self):
        before = sorted(str(file) for file in SHIPPED.rglob("*"))
        self.assertEqual(self.offer(), f"offer_cts: test configurations are in {self.cases}: "
                                       "try cts cts_echo 0\n")

        def answer(device, head, body):
            device.confirm(head)
            device.send(frames.Head(frames.IND, id=0xA010), b"result: pass")

        device = ScriptedDevice(self.folder / "device", answer)
        self.stack.callback(device.close)
        lines = [part for name, index in PARAMETERS for part in ("-c", f"cts {name} {index}")]
        result = self.kiv(*lines, link=device.endpoint)
        self.assertEqual(result.status, 0, result)
        self.assertEqual([body for _, body in device.received],
                         [name.encode().ljust(72, b"\0") + struct.pack("<I", len(content)) + content
                          for (name, _), content in PARAMETERS.items()])
        self.assertEqual((self.cases / "cts_na.log").read_text().count("result: pass\n"),
                         len(PARAMETERS))
        self.assertEqual(sorted(str(file) for file in SHIPPED.rglob("*")), before)

    def test_the_agent_runs_each_of_them(self):
        self.offer()
        for name, index in PARAMETERS:
            with self.subTest(name=name, index=index):
                result = self.kiv("--wait", "50000", "-c", f"cts {name} {index}")
                self.assertEqual(result.status, 0, result)
                self.assertIn("\nSent to UE successfully\n", result.out)
                self.assertIn("\nresult: pass\n", result.out)
                if name == "cts_echo":
                    digest = hashlib.sha256(PARAMETERS[name, index]).hexdigest()
                    self.assertIn(digest, result.out.lower())

    def test_who_has_configured_a_folder_keeps_it(self):
        self.ini.parent.mkdir(parents=True)
        self.ini.write_text("[Config]\n Path = /mine\ntitle=x\n")
        self.assertEqual(self.offer(), "")
        self.assertEqual(self.ini.read_text(), "[Config]\n Path = /mine\ntitle=x\n")
        self.assertFalse(self.cases.exists())

    def test_a_relative_folder_is_the_callers_and_a_relative_shared_one_does_not_count(self):
        elsewhere = self.folder / "elsewhere"
        elsewhere.mkdir()
        home = self.folder / "home"
        rows = (({"KIV_DATA_DIR": "mine"}, elsewhere / "mine"),
                ({"KIV_DATA_DIR": "", "XDG_DATA_HOME": "shared"}, home / ".local" / "share" / "kiv"),
                ({"KIV_DATA_DIR": "", "XDG_DATA_HOME": str(home / "shared")}, home / "shared" / "kiv"))
        for variables, data in rows:
            with self.subTest(variables=variables):
                environment = self.environment(HOME=str(home), **variables)
                done = subprocess.run([SOURCE / "scripts" / "offer_cts.sh", SHIPPED], env=environment,
                                      cwd=elsewhere, capture_output=True, timeout=DEADLINE_S, check=False)
                self.assertEqual(done.returncode, 0, done.stderr)
                self.assertTrue((data / "cts" / "cts_echo.pcfg").exists(), done.stderr)
                process = self.start([KIV, "--link", self.child(), "-c", "ctscfg"], env=environment,
                                     cwd=elsewhere)
                out, _ = process.communicate(timeout=DEADLINE_S)
                self.assertTrue(out.decode().startswith(f"config path: {data}/cts\n"), out)
                self.assertEqual([file.name for file in elsewhere.iterdir()], ["mine"])

    def test_an_empty_choice_is_none_and_what_else_is_in_the_file_stays(self):
        self.ini.parent.mkdir(parents=True)
        self.ini.write_text("; mine\n[other]\npath=/a\n[config]\npath=\ntitle=run7")
        self.offer()
        self.assertEqual(self.ini.read_text(), "; mine\n[other]\npath=/a\n[config]\n"
                                               f"path={self.cases}\ntitle=run7\n")
        result = self.kiv("-c", "ctscfg")
        self.assertEqual(result.out, f"config path: {self.cases}\n"
                                     f"log file: {self.cases}\\cts_run7.log\n", result)

    def test_it_reads_the_file_as_the_module_does(self):
        self.ini.parent.mkdir(parents=True)
        empty = ('[config]\npath=""\n', "[config]\npath=''\r\n", "[config]\n;path=/a\n", "path=/a\n",
                 "[config]\npath=\npath=/a\n", "[config]\n[other]\npath=/a\n", "[config\npath=/a\n")
        for text in empty:
            with self.subTest(empty=text):
                self.ini.write_bytes(text.encode())
                self.assertIn("test configurations are in", self.offer())
                result = self.kiv("-c", "ctscfg")
                self.assertTrue(result.out.startswith(f"config path: {self.cases}\n"), result)
        mine = self.folder / "mine"
        mine.mkdir()
        for text in (f"\ufeff[config]\npath={mine}\n", f"\t[ CONFIG ] x\r\n PATH = \"{mine}\" \r\n",
                     f"[config]\n[a]\n[config]\npath='{mine}'", f"[config]\npath={mine}\npath=\n"):
            with self.subTest(configured=text):
                self.ini.write_bytes(text.encode())
                self.assertEqual(self.offer(), "")
                self.assertEqual(self.ini.read_bytes(), text.encode())
                result = self.kiv("-c", "ctscfg")
                self.assertTrue(result.out.startswith(f"config path: {mine}\n"), result)


if __name__ == "__main__":
    unittest.main()
