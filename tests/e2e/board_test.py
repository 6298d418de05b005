"""The board's own commands through the console: whole texts where they can be pinned, else compared with
what the kernel says."""

import os
import pathlib
import re
import unittest

from bench import BenchCase, rows, shown

REMOTE = ("nfs", "nfs4", "cifs", "smb3", "ceph", "afs", "9p", "autofs", "ncpfs")


def values(text, name):
    """The values of all rows of that name, at any depth."""
    return [value.strip() for value in re.findall(rf"^\.+{name}\s+= (.*)$", text, re.M)]


def one_command(kind, amount):
    return rows(f".kind     = {kind}", f".amount   = {amount}", ".commands = 1")


class Lists(BenchCase):
    def test_net_stats_shows_each_interface_with_its_name(self):
        result = self.kiv("-c", "net_stats")
        self.assertEqual((result.status, result.err.count("error")), (0, 0), result)
        names = [line.rsplit(":", 1)[0].strip()
                 for line in pathlib.Path("/proc/net/dev").read_text().splitlines()[2:]]
        self.assertEqual(values(result.out, "interface_count"), [str(len(names))])
        self.assertEqual([name for name in values(result.out, "name") if name], names[:8])
        self.assertEqual(len(values(result.out, "rx_bytes")), 8)
        self.assertTrue(result.out.startswith(shown("\n" + rows(".first  = 0"), "")[:17]), result)

    def test_disk_usage_shows_the_local_file_systems(self):
        result = self.kiv("-c", "disk_usage")
        self.assertEqual(result.status, 0, result)
        mounts = [line.split()[1:3]
                  for line in pathlib.Path("/proc/self/mounts").read_text().splitlines()]
        points = [point for point, _ in mounts]
        expected = []
        for index, (point, kind) in enumerate(mounts):
            if point in points[index + 1:]:
                continue  # of several at one place the last is what a path leads to
            point = re.sub(r"\\([0-3][0-7][0-7])", lambda m: chr(int(m[1], 8)), point)
            if kind in REMOTE or kind.startswith("fuse"):
                continue
            try:
                if os.statvfs(point).f_blocks:
                    expected.append(point[:63])
            except OSError:
                continue
        self.assertEqual(values(result.out, "disk_count"), [str(len(expected))])
        self.assertEqual([point for point in values(result.out, "mount_point") if point],
                         expected[:8])

    def test_proc_list_goes_on_behind_a_number(self):
        result = self.kiv("-c", f"proc_list {os.getpid() - 1}")
        self.assertEqual(result.status, 0, result)
        self.assertEqual(values(result.out, "pid")[0], str(os.getpid()))
        name = pathlib.Path("/proc/self/comm").read_text().strip()
        self.assertEqual(values(result.out, "name")[0], name)
        self.assertEqual(values(result.out, "parent_pid")[0], str(os.getppid()))

    def test_time_read_shows_the_same_second_twice(self):
        result = self.kiv("-c", "time_read")
        self.assertEqual(result.status, 0, result)
        utc, = values(result.out, "utc")
        unix_s, = values(result.out, "unix_s")
        ms, = values(result.out, "ms")
        uptime_ms, = values(result.out, "uptime_ms")
        self.assertEqual(result.out, shown("", rows(
            f".utc       = {utc}", f".unix_s    = {unix_s}", f".ms        = {ms}",
            f".uptime_ms = {uptime_ms}")))
        self.assertRegex(utc, r"^\d{4}-\d\d-\d\dT\d\d:\d\d:\d\dZ$")


class Agent(BenchCase):
    def test_log_level_is_shown_and_set(self):
        result = self.kiv("-c", "log_level", "-c", "log_level 1,1", "-c", "log_level")
        self.assertEqual(result.status, 0, result)
        asked = rows(".action = 0", ".level  = 2")
        self.assertEqual(result.out, shown(asked, rows(".level = 2")) +
                         shown(rows(".action = 1", ".level  = 1"), rows(".level = 1")) +
                         shown(asked, rows(".level = 1")))

    def test_link_fault_makes_the_next_command_fail(self):
        result = self.kiv("-c", "link_fault 3,705", "-c", "log_level", "-c", "log_level")
        self.assertEqual(result.status, 1, result)
        armed = rows(".kind     = 3", ".commands = 1", ".met      = 0")
        asked = rows(".action = 0", ".level  = 2")
        self.assertEqual(result.out, shown(one_command(3, 705), armed) +
                         shown(asked, "no such item\n") + shown(asked, rows(".level = 2")))

    def test_link_fault_makes_the_next_command_late_or_silent(self):
        late = self.kiv("-c", "link_fault 1,300", "-c", "log_level")
        self.assertEqual(late.status, 0, late)
        self.assertTrue(late.out.endswith(rows(".level = 2")), late)
        silent = self.kiv("-c", "link_fault 2", "-c", "log_level", "--wait", "5000")
        self.assertEqual(silent.status, 3, silent)

    def test_link_fault_sends_a_stream_of_which_nothing_is_lost(self):
        # The board's clock stands in the indications, so only the counters are compared.
        result = self.kiv("-c", "link_fault 6,5000", "-c", "link_fault 2,0,1", "-c", "log_level",
                          "--wait", "5000")
        self.assertEqual(result.status, 3, result)
        self.assertEqual(values(result.out, "number"), [str(n) for n in range(1, 5001)])


if __name__ == "__main__":
    unittest.main()
