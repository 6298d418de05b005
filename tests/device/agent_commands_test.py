"""Each command of the board catalogue, asked of the running agent and compared with this machine."""

import os
import pathlib
import re
import resource
import struct
import sys
import tempfile
import time
import unittest

sys.path.insert(0, str(pathlib.Path(__file__).resolve().parents[1]))
from wire.agent_process import AgentProcess  # noqa: E402

SYS_INFO, MEM_INFO, CPU_LOAD = 0x1001, 0x1002, 0x1003
NET_STATS, DISK_USAGE, PROC_LIST, TIME_READ = 0x1004, 0x1005, 0x1006, 0x1007
ECHO_ALL, ECHO_NESTED, NOTE = 0x1101, 0x1102, 0x1103
NV_READ, NV_WRITE = 0x1201, 0x1202
STORAGE_FULL = 707
IND_START, IND_STOP, IND_TICK, IND_LOAD = 0x1301, 0x1302, 0x1311, 0x1312
LOG_LEVEL, LINK_FAULT = 0x1401, 0x1402
NONE, DELAY, SILENCE, RESULT, SHORT_BODY, BURST, STREAM = range(7)


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


def text_of(field):
    return field.split(b"\0")[0].decode()


class Lists(CommandTest):
    def listed(self, ident, element, start=0):
        """(number of all, the elements of one reply); what is not shown must be zeros."""
        body = self.ask(ident, struct.pack("<I", start))
        count, shown = struct.unpack_from("<II", body)
        size = struct.calcsize(element)
        self.assertEqual((len(body) - 8) % size, 0)
        self.assertEqual(body[8 + shown * size:], bytes(len(body) - 8 - shown * size))
        return count, list(struct.iter_unpack(element, body[8:8 + shown * size]))

    def test_net_stats_has_every_interface_and_counters_between_two_readings(self):
        def from_kernel():
            lines = pathlib.Path("/proc/net/dev").read_text().splitlines()[2:]
            table = {}
            for line in lines:
                name, figures = line.rsplit(":", 1)
                row = [int(figure) for figure in figures.split()]
                table[name.strip()] = row[0:4] + row[8:12]
            return table

        before = from_kernel()
        rows = []
        while True:
            count, part = self.listed(NET_STATS, "<16s8I", len(rows))
            rows += part
            if not part:
                break
        after = from_kernel()
        self.assertEqual(count, len(after))
        self.assertEqual([text_of(row[0]) for row in rows], list(after))
        for name, *counters in rows:
            low, high = before[text_of(name)], after[text_of(name)]
            for mine, least, most in zip(counters, low, high):
                self.assertLessEqual((mine - least) & 0xFFFFFFFF, most - least, text_of(name))

    def test_disk_usage_has_the_file_systems_that_the_kernel_lists(self):
        rows = []
        while True:
            count, part = self.listed(DISK_USAGE, "<64s16sIIIH", len(rows))
            rows += part
            if not part:
                break
        self.assertEqual(count, len(rows))
        mounts = [line.split()[:3] for line in pathlib.Path("/proc/self/mounts").open()]
        kinds = {point: kind for _, point, kind in mounts}  # of several the topmost
        points = [row[0] for row in rows if b" " not in row[0] and row[0][62] == 0]
        self.assertEqual(len(points), len(set(points)))
        for point, kind, total, free, available, permille in rows:
            point = text_of(point)
            if len(point) == 63 or " " in point:
                continue  # cut, or written with an escape there
            self.assertEqual(text_of(kind), kinds[point][:15])
            status = os.statvfs(point)
            self.assertEqual(total, min(status.f_blocks * status.f_frsize // 1024, 0xFFFFFFFF))
            self.assertLessEqual(available, max(free, available))
            self.assertAlmostEqual(free, min(status.f_bfree * status.f_frsize // 1024, 0xFFFFFFFF),
                                   delta=max(total // 5, 1))
            self.assertLessEqual(permille, 1000)
        sizes = {point for _, point, _ in mounts if os.access(point, os.X_OK)
                 and os.statvfs(point).f_blocks}
        if ("/" in sizes) and not kinds["/"].startswith(("nfs", "fuse", "9p")):
            self.assertIn("/", [text_of(row[0]) for row in rows])

    def test_proc_list_has_the_agent_and_its_parent(self):
        found = {}
        after = 0
        while True:
            count, part = self.listed(PROC_LIST, "<16s2s5I", after)
            self.assertGreater(count, 0)
            if not part:
                break
            pids = [row[2] for row in part]
            self.assertEqual(pids, sorted(pids))
            self.assertGreater(pids[0], after)
            after = pids[-1]
            found.update({row[2]: row for row in part})
        name, state, pid, parent, threads, resident_kib, cpu_ms = found[self.agent.process.pid]
        self.assertEqual((text_of(name), state, parent, threads),
                         ("kivagent", b"R\0", os.getpid(), 1))
        self.assertGreater(resident_kib, 100)
        self.assertLess(cpu_ms, 60_000)
        self.assertIn(os.getpid(), found)

    def test_time_read_is_the_time_now(self):
        before = time.time()
        utc, unix_s, ms, uptime_ms = struct.unpack("<24sIHI", self.ask(TIME_READ))
        after = time.time()
        self.assertLess(ms, 1000)
        self.assertTrue(int(before * 1000) <= unix_s * 1000 + ms <= int(after * 1000) + 1)
        self.assertEqual(text_of(utc), time.strftime("%Y-%m-%dT%H:%M:%SZ", time.gmtime(unix_s)))
        now_ms = int(time.clock_gettime(time.CLOCK_BOOTTIME) * 1000)
        self.assertLess((now_ms - uptime_ms) & 0xFFFFFFFF, 60_000)


class LogLevel(CommandTest):
    def level(self, action=0, level=0):
        return self.ask(LOG_LEVEL, bytes((action, level)))[0]

    def test_is_notice_at_first_and_what_was_set_from_then_on(self):
        self.assertEqual(self.level(), 2)
        self.assertEqual(self.level(1, 0), 0)
        self.assertEqual(self.level(0, 3), 0)  # asked only
        self.peer.greet()
        self.assertEqual(self.level(), 0)
        self.restart()
        self.assertEqual(self.level(), 2)

    def test_debug_tells_each_command_on_standard_error(self):
        self.assertEqual(self.level(1, 3), 3)
        tag = self.peer.request(0x9999)
        self.peer.confirmation(tag)
        self.level(1, 2)
        self.peer.ask(MEM_INFO)
        self.agent.close_input()
        self.assertEqual(self.agent.wait(), 0)
        lines = self.agent.process.stderr.read().decode().splitlines()
        self.assertEqual(lines, [f"kivagent: command 0x1401, tag {tag - 1}: result 0",
                                 f"kivagent: command 0x9999, tag {tag}: result 700"])

    def test_a_host_that_does_not_read_notices_cannot_hold_the_agent_up(self):
        self.level(1, 3)
        for _ in range(5000):  # more lines than the pipe holds
            self.peer.ask(MEM_INFO)

    def test_values_that_have_no_name_are_refused(self):
        self.assertEqual(self.result(LOG_LEVEL, b"\x01\x04"), 703)
        self.assertEqual(self.result(LOG_LEVEL, b"\x02\x00"), 703)
        self.assertEqual(self.level(), 2)


class LinkFaults(CommandTest):
    def fault(self, kind, amount=1000, commands=1):
        body = self.ask(LINK_FAULT, struct.pack("<BII", kind, amount, commands))
        return struct.unpack("<BII", body)

    def answer(self, ident=MEM_INFO, body=b""):
        message = self.peer.ask(ident, body)
        return message.head.result, len(message.body)

    def test_delay_confirms_later_and_lets_others_overtake(self):
        self.assertEqual(self.fault(DELAY, 200), (DELAY, 1, 0))
        begun = time.monotonic()
        late = self.peer.request(MEM_INFO)
        self.assertEqual(self.answer(), (0, 28))
        self.assertEqual([m for m in self.peer.received if m.head.tag == late], [])
        self.assertEqual(len(self.peer.confirmation(late).body), 28)
        self.assertGreaterEqual(time.monotonic() - begun, 0.2)

    def test_silence_runs_the_command_and_says_nothing(self):
        self.assertEqual(self.fault(SILENCE, 0, 2), (SILENCE, 2, 0))
        silent = [self.peer.request(NV_WRITE, nv_item(9, b"kept")), self.peer.request(MEM_INFO)]
        self.assertEqual(self.ask(NV_READ, struct.pack("<H", 9)), nv_item(9, b"kept"))
        self.assertEqual([m for m in self.peer.received if m.head.tag in silent], [])
        self.assertEqual(self.fault(NONE), (NONE, 0, 2))

    def test_a_result_comes_without_a_body(self):
        self.fault(RESULT, 3207, 2)
        self.assertEqual([self.answer() for _ in range(3)], [(3207, 0), (3207, 0), (0, 28)])

    def test_a_short_body_lacks_its_end(self):
        whole = struct.pack("<24sIHI", b"", 0, 0, 0)
        self.fault(SHORT_BODY, 3)
        self.assertEqual(self.answer(TIME_READ), (0, len(whole) - 3))
        self.fault(SHORT_BODY, 500)
        self.assertEqual(self.answer(TIME_READ), (0, 0))

    def test_a_link_fault_that_is_refused_meets_none_and_is_not_counted(self):
        self.fault(RESULT, 4243, 2)
        self.assertEqual(self.answer(LINK_FAULT, struct.pack("<BII", 9, 0, 0)), (703, 0))
        self.assertEqual(self.answer(LINK_FAULT, b"\1"), (701, 0))
        self.assertEqual(self.answer(LINK_FAULT, bytes(10)), (702, 0))
        routed = struct.pack("<I4xH2x24x", 7, LINK_FAULT) + struct.pack("<BII", 9, 0, 0)
        self.assertEqual(self.answer(0x7000, routed), (703, 36))
        self.assertEqual([self.answer() for _ in range(3)], [(4243, 0), (4243, 0), (0, 28)])
        self.assertEqual(self.fault(NONE), (NONE, 0, 2))

    def test_none_ends_what_was_asked_for(self):
        self.fault(SILENCE, 0, 1000)
        self.assertEqual(self.fault(NONE), (NONE, 0, 0))
        self.assertEqual(self.answer(), (0, 28))

    def test_a_new_session_ends_every_fault(self):
        self.fault(DELAY, 60_000, 1000)
        late = self.peer.request(MEM_INFO)
        self.peer.greet()
        self.assertEqual(self.answer(), (0, 28))
        self.assertEqual([m for m in self.peer.received if m.head.tag == late], [])

    def test_a_routed_command_meets_them_as_well(self):
        head = struct.pack("<I4xH2x24x", 41, MEM_INFO)
        set_one = struct.pack("<I4xH2x24x", 40, LINK_FAULT) + struct.pack("<BII", RESULT, 5, 1)
        self.assertEqual(self.peer.ask(0x7000, set_one).head.result, 0)
        self.assertEqual(self.answer(0x7000, head), (5, 0))
        self.assertEqual(self.answer(0x7000, head), (0, 36 + 28))

    def test_a_stream_loses_nothing_however_long_it_is(self):
        count = 20_000
        self.fault(STREAM, count)
        numbers = []
        for _ in range(count):
            message = self.peer.indication(IND_TICK)
            numbers.append(struct.unpack_from("<I", message.body)[0])
            self.assertEqual(message.head.word32, 0)
        self.assertEqual(numbers, list(range(1, count + 1)))
        self.assertEqual(self.peer.probe(), (0, 0, 0, 0, 0))
        self.assertEqual(self.peer.received, [])

    def test_a_burst_keeps_the_newest_and_counts_the_others(self):
        self.fault(BURST, 100_000)
        first = self.peer.indication(IND_TICK)
        self.assertEqual(struct.unpack_from("<I", first.body)[0], 100_000 - 255)
        self.assertEqual(first.head.word32, 100_000 - 256)
        for _ in range(255):
            last = self.peer.indication(IND_TICK)
        self.assertEqual(struct.unpack_from("<I", last.body)[0], 100_000)
        self.assertEqual(self.peer.probe(), (0, 0, 0, 0, 100_000 - 256))

    def test_values_out_of_range_are_refused(self):
        for kind, amount, commands in ((7, 1, 1), (DELAY, 0, 1), (DELAY, 60_001, 1),
                                       (SILENCE, 0, 1001), (RESULT, 0, 1), (BURST, 100_001, 1)):
            body = struct.pack("<BII", kind, amount, commands)
            self.assertEqual(self.result(LINK_FAULT, body), 703, (kind, amount, commands))
        self.assertEqual(self.answer(), (0, 28))


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

    def test_no_name_in_the_folder_leads_out_of_it(self):
        outside = pathlib.Path(self.folder.name) / "outside"
        outside.mkdir()
        (outside / "precious").write_text("kept")
        self.write(1, b"x")
        nv = self.data / "nv"
        for name in ("00000002.tmp", "00000002", "00010000.tmp", "00010000"):
            (nv / name).unlink(missing_ok=True)
            (nv / name).symlink_to(outside / "precious")
        self.write(2, b"inside")
        self.assertEqual(self.read(2), nv_item(2, b"inside"))
        self.ask(NOTE, text_body("inside"))
        (nv / "00000003").mkdir()
        self.assertEqual(self.result(NV_WRITE, nv_item(3, b"x")), 706)
        self.assertEqual(self.result(NV_READ, struct.pack("<H", 3)), 706)
        self.assertEqual([path.name for path in outside.iterdir()], ["precious"])
        self.assertEqual((outside / "precious").read_text(), "kept")

    def test_a_linked_folder_of_items_is_not_entered(self):
        outside = pathlib.Path(self.folder.name) / "outside"
        outside.mkdir()
        self.data.mkdir(parents=True)
        (self.data / "nv").symlink_to(outside)
        self.assertEqual(self.result(NV_WRITE, nv_item(1, b"x")), 706)
        self.assertEqual(self.result(NOTE, text_body("x")), 706)
        self.assertEqual(self.result(NV_READ, struct.pack("<H", 1)), 706)
        self.assertEqual(list(outside.iterdir()), [])
        (self.data / "nv").unlink()
        self.write(1, b"x")  # and it still serves
        self.assertEqual(self.read(1), nv_item(1, b"x"))

    def test_a_fifo_in_the_folder_holds_nothing_up(self):
        self.write(7, b"x")
        os.mkfifo(self.data / "nv" / "00000008")
        self.assertEqual(self.result(NV_READ, struct.pack("<H", 8)), 706)

    def test_a_file_beyond_the_limit_on_sizes_counts_as_no_room(self):
        self.agent.kill()
        self.agent = AgentProcess(data=self.data, preexec_fn=lambda: resource.setrlimit(
            resource.RLIMIT_FSIZE, (0, 0)))
        self.addCleanup(self.agent.kill)
        self.peer = self.agent.peer
        self.peer.greet()
        self.assertEqual(self.result(NV_WRITE, nv_item(1, b"x")), STORAGE_FULL)
        self.assertEqual(self.result(NOTE, text_body("x")), STORAGE_FULL)
        self.assertEqual(self.result(NV_READ, struct.pack("<H", 1)), 705)

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
