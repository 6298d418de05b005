"""Each command of the board catalogue, asked of the running agent and compared with this machine."""

import os
import pathlib
import re
import struct
import sys
import tempfile
import unittest

sys.path.insert(0, str(pathlib.Path(__file__).resolve().parents[1]))
from wire.agent_process import AgentProcess  # noqa: E402

SYS_INFO, MEM_INFO, CPU_LOAD = 0x1001, 0x1002, 0x1003
ECHO_ALL, ECHO_NESTED, NOTE = 0x1101, 0x1102, 0x1103
NV_READ, NV_WRITE = 0x1201, 0x1202
IND_START, IND_STOP, IND_TICK, IND_LOAD = 0x1301, 0x1302, 0x1311, 0x1312


def meminfo():
    text = pathlib.Path("/proc/meminfo").read_text()
    return {key: int(value) for key, value in re.findall(r"^(\w+):\s+(\d+)", text, re.M)}


def nv_item(item, data, length=None):
    return struct.pack("<HH32s", item, len(data) if length is None else length, data)


def text_body(text):
    data = text.encode() + b"\0"
    return data + bytes(-len(data) % 4)


class CommandTest(unittest.TestCase):
    def setUp(self):
        self.folder = tempfile.TemporaryDirectory(prefix="kivagent-")
        self.addCleanup(self.folder.cleanup)
        self.data = pathlib.Path(self.folder.name) / "deep" / "data"
        self.start()

    def start(self):
        self.agent = AgentProcess(data=self.data)
        self.addCleanup(self.agent.kill)
        self.peer = self.agent.peer
        self.peer.greet()

    def restart(self):
        self.agent.kill()
        self.start()

    def ask(self, ident, body=b""):
        """The body of a confirmation that must succeed."""
        answer = self.peer.ask(ident, body)
        self.assertEqual(answer.head.result, 0)
        self.assertEqual(answer.head.id, ident)
        return answer.body

    def result(self, ident, body=b""):
        answer = self.peer.ask(ident, body)
        self.assertEqual(answer.body, b"")
        return answer.head.result


class SystemFigures(CommandTest):
    def test_sys_info_is_what_this_machine_says_and_does_not_change(self):
        body = self.ask(SYS_INFO)
        self.assertEqual(len(body), 260)
        texts = [field.split(b"\0")[0].decode()
                 for field in struct.unpack_from("64s32s64s32s40s16s", body)]
        system = os.uname()
        version = (pathlib.Path(os.environ["KIV_SOURCE_DIR"]) / "VERSION").read_text().strip()
        boot_id = pathlib.Path("/proc/sys/kernel/random/boot_id").read_text().strip()
        self.assertEqual(texts, [system.nodename, system.sysname, system.release, system.machine,
                                 boot_id, version])
        self.assertEqual(struct.unpack_from("<III", body, 248),
                         (os.sysconf("SC_NPROCESSORS_CONF"), os.sysconf("SC_PAGESIZE"),
                          meminfo()["MemTotal"]))
        self.assertEqual(self.ask(SYS_INFO), body)

    def test_mem_info_is_near_what_the_kernel_says(self):
        total, free, available, buffers, cached, swap_total, swap_free = struct.unpack(
            "<7I", self.ask(MEM_INFO))
        now = meminfo()
        self.assertEqual((total, swap_total), (now["MemTotal"], now["SwapTotal"]))
        for mine, key in ((free, "MemFree"), (available, "MemAvailable"), (buffers, "Buffers"),
                          (cached, "Cached"), (swap_free, "SwapFree")):
            self.assertAlmostEqual(mine, now[key], delta=total // 5, msg=key)

    def test_cpu_load_counts_processors_and_stays_within_a_thousand(self):
        body = self.ask(CPU_LOAD)
        self.assertEqual(len(body), 50)
        count, total, *loads = struct.unpack("<IH16H3I", body)
        self.assertEqual(count, os.sysconf("SC_NPROCESSORS_ONLN"))
        self.assertGreater(total, 0)
        self.assertTrue(all(load <= 1000 for load in [total, *loads[:16]]), loads)
        self.assertEqual(loads[min(count, 16):16], [0] * (16 - min(count, 16)))
        # The kernel takes this figure anew every five seconds.
        average = float(pathlib.Path("/proc/loadavg").read_text().split()[2])
        self.assertAlmostEqual(loads[18] / 100, average, delta=1)


class Echoes(CommandTest):
    def test_echo_all_comes_back_as_sent(self):
        body = bytes(os.urandom(31 + 1 + 4 + 2 + 6 + 4 + 8 + 8 + 16 + 1))
        self.assertEqual(self.ask(ECHO_ALL, body), body)
        self.assertEqual(self.result(ECHO_ALL, body[:-1]), 701)
        self.assertEqual(self.result(ECHO_ALL, body + b"\0"), 702)

    def test_echo_nested_comes_back_as_sent(self):
        body = bytes(os.urandom(4 + 9 + 12 + 24 + 3))
        self.assertEqual(self.ask(ECHO_NESTED, body), body)
        self.assertEqual(self.result(ECHO_NESTED, body[:-1]), 701)


class Notes(CommandTest):
    def note(self, text):
        body = self.ask(NOTE, text_body(text))
        self.assertEqual(len(body), 256)
        return body.rstrip(b"\0").decode()

    def test_a_note_is_kept_and_shown(self):
        self.assertEqual(self.note(""), "")
        self.assertEqual(self.note("first"), "first")
        self.assertEqual(self.note("second, with ä and \x07"), "second, with ä and \x07")
        self.assertEqual(self.note(""), "second, with ä and \x07")
        self.restart()
        self.assertEqual(self.note(""), "second, with ä and \x07")

    def test_the_longest_note_has_255_bytes(self):
        self.assertEqual(self.note("n" * 255), "n" * 255)
        self.assertEqual(self.note(""), "n" * 255)
        self.assertEqual(self.result(NOTE, b"m" * 256), 702)
        self.assertEqual(self.result(NOTE, b"m" * 260), 702)
        self.assertEqual(self.result(NOTE, b""), 701)
        self.assertEqual(self.note(""), "n" * 255)


class StoredItems(CommandTest):
    def read(self, item):
        return self.ask(NV_READ, struct.pack("<H", item))

    def write(self, item, data):
        return self.ask(NV_WRITE, nv_item(item, data))

    def test_an_item_that_was_never_written_is_not_there(self):
        self.assertEqual(self.result(NV_READ, struct.pack("<H", 1)), 705)

    def test_items_outlive_the_agent(self):
        self.assertEqual(self.write(1, b"one"), bytes(4))
        self.write(65535, bytes(range(32)))
        self.write(2, b"")
        self.write(1, b"uno")
        for _ in range(2):
            self.assertEqual(self.read(1), nv_item(1, b"uno"))
            self.assertEqual(self.read(65535), nv_item(65535, bytes(range(32))))
            self.assertEqual(self.read(2), nv_item(2, b""))
            self.restart()

    def test_a_length_above_32_is_refused_and_changes_nothing(self):
        self.write(3, b"kept")
        self.assertEqual(self.result(NV_WRITE, nv_item(3, b"lost", length=33)), 703)
        self.assertEqual(self.read(3), nv_item(3, b"kept"))

    def test_nothing_but_the_items_is_left_in_the_folder(self):
        self.write(1, b"a")
        self.write(1, b"b")
        self.assertEqual([p.name for p in (self.data / "nv").iterdir()], ["00000001"])
        self.assertEqual((self.data / "nv").stat().st_mode & 0o777, 0o700)
        self.assertEqual((self.data / "nv" / "00000001").stat().st_mode & 0o777, 0o600)

    def test_a_damaged_item_is_told_from_a_value(self):
        self.write(4, b"good")
        file = self.data / "nv" / "00000004"
        sound = file.read_bytes()
        for damaged in (b"", b"abc", sound[:-1], b"G" + sound[1:], sound + b"\0" * 5000):
            file.write_bytes(damaged)
            self.assertEqual(self.result(NV_READ, struct.pack("<H", 4)), 706, damaged[:9])
        self.write(4, b"new")
        self.assertEqual(self.read(4), nv_item(4, b"new"))

    def test_a_link_in_the_folder_is_not_followed(self):
        self.write(5, b"x")
        outside = pathlib.Path(self.folder.name) / "outside"
        outside.write_bytes((self.data / "nv" / "00000005").read_bytes())
        (self.data / "nv" / "00000006").symlink_to(outside)
        self.assertEqual(self.result(NV_READ, struct.pack("<H", 6)), 706)
        before = outside.read_bytes()
        self.write(6, b"inside")
        self.assertEqual(outside.read_bytes(), before)
        self.assertEqual(self.read(6), nv_item(6, b"inside"))

    def test_a_fifo_in_the_folder_holds_nothing_up(self):
        self.write(7, b"x")
        os.mkfifo(self.data / "nv" / "00000008")
        self.assertEqual(self.result(NV_READ, struct.pack("<H", 8)), 706)

    def test_a_folder_that_cannot_be_made_is_told(self):
        self.data.parent.mkdir()
        self.data.write_text("a file stands here")
        self.assertEqual(self.result(NV_WRITE, nv_item(1, b"x")), 706)
        self.assertEqual(self.result(NV_READ, struct.pack("<H", 1)), 706)


class Indications(CommandTest):
    def start_indications(self, which, period_ms, count):
        return self.ask(IND_START, struct.pack("<BII", which, period_ms, count))

    def test_come_by_timer_as_often_as_asked(self):
        self.assertEqual(self.start_indications(3, 5, 4), struct.pack("<BI", 3, 5))
        ticks = [self.peer.indication(IND_TICK) for _ in range(4)]
        loads = [self.peer.indication(IND_LOAD) for _ in range(4)]
        for message in ticks + loads:
            head = message.head
            self.assertEqual((head.tag, head.word16, head.word32, head.result), (0, 0, 0, 0))
        self.assertEqual([struct.unpack("<II", m.body)[0] for m in ticks], [1, 2, 3, 4])
        times_ms = [struct.unpack("<II", m.body)[1] for m in ticks]
        steps_ms = [(b - a) & 0xFFFFFFFF for a, b in zip(times_ms, times_ms[1:])]
        self.assertTrue(all(step_ms >= 1 for step_ms in steps_ms), times_ms)
        self.assertEqual([struct.unpack("<IHI", m.body)[0] for m in loads], [1, 2, 3, 4])
        for message in loads:
            _, permille, available_kib = struct.unpack("<IHI", message.body)
            self.assertLessEqual(permille, 1000)
            self.assertGreater(available_kib, 0)
        self.assertEqual(self.ask(IND_STOP, b"\x03"), struct.pack("<BI", 0, 8))
        self.assertEqual(self.peer.received, [])

    def test_stop_one_leaves_the_other_running(self):
        self.start_indications(3, 2, 0)
        self.peer.indication(IND_TICK)
        running, sent = struct.unpack("<BI", self.ask(IND_STOP, b"\x01"))
        self.assertEqual(running, 2)
        self.assertGreaterEqual(sent, 1)
        self.peer.received.clear()
        for _ in range(3):
            self.peer.indication(IND_LOAD)
        self.assertEqual([m for m in self.peer.received if m.head.id == IND_TICK], [])

    def test_a_second_start_begins_with_number_1_again(self):
        self.start_indications(1, 2, 0)
        for _ in range(3):
            self.peer.indication(IND_TICK)
        self.start_indications(1, 2, 1)
        self.peer.received.clear()
        self.assertEqual(struct.unpack("<II", self.peer.indication(IND_TICK).body)[0], 1)

    def test_values_out_of_range_are_refused(self):
        for which, period_ms in ((0, 100), (4, 100), (255, 100), (1, 0), (1, 86_400_001)):
            body = struct.pack("<BII", which, period_ms, 0)
            self.assertEqual(self.result(IND_START, body), 703, (which, period_ms))
        self.assertEqual(self.result(IND_STOP, b"\x00"), 703)
        self.assertEqual(self.result(IND_STOP, b"\x08"), 703)
        self.assertEqual(self.ask(IND_STOP, b"\x03"), struct.pack("<BI", 0, 0))
