"""Files loaded into the running agent: every refusal, and what is on the disk after it."""

import fcntl
import os
import pathlib
import resource
import shutil
import socket
import sys
import tempfile
import time
import unittest

sys.path.insert(0, str(pathlib.Path(__file__).resolve().parents[1]))
from wire.agent_process import AGENT, AgentProcess, SocketAgent, wait_until  # noqa: E402
from wire.load_parts import (BUSY, COUNT, FAILED, FULL, LDNV, LENGTH, NO_LOAD,  # noqa: E402
                             NONE, NOT_ENABLED, ORDER, PART_BYTES, RECEIVING, REPEATED,
                             STORED, TOO_LARGE, Info, load, part_body, parts_of, send_part)
from wire.peer import Peer  # noqa: E402

LOADS_ABILITY = 0x80
LINK_FAULT, SILENCE = 0x1402, 2


def content_of(size, seed=1):
    return bytes((i * 7 + i // 251 + seed) & 0xFF for i in range(size))


class LoadTest(unittest.TestCase):
    arguments = ()

    def setUp(self):
        folder = tempfile.TemporaryDirectory(prefix="kivagent-")
        self.addCleanup(folder.cleanup)
        self.root = pathlib.Path(folder.name)
        self.loads = self.root / "loads"
        self.loads.mkdir(mode=0o755)
        self.stored = self.loads / "loaded.bin"
        self.temporary = self.loads / "loaded.bin.tmp"
        self.agent = self.start()
        self.peer = self.agent.peer

    def start(self, *arguments):
        agent = AgentProcess("--load", str(self.loads), *self.arguments, *arguments,
                             data=self.root / "data")
        self.addCleanup(agent.kill)
        agent.peer.greet()
        return agent

    def content(self):
        return self.stored.read_bytes() if self.stored.exists() else None

    def names(self):
        return sorted(path.name for path in self.loads.iterdir())

    def send(self, *part, **more):
        return send_part(self.peer, part_body(*part, **more))


class Files(LoadTest):
    def test_of_every_length_around_a_part_are_stored_whole(self):
        for size in (1, 2047, 2048, 2049, 4095, 4096, 4097, 100000):
            content = content_of(size, size)
            self.assertEqual(load(self.peer, content), (0, STORED), size)
            self.assertEqual(self.content(), content)
            self.assertEqual(self.names(), ["loaded.bin"])
            info = Info(self.peer)
            self.assertTrue(info.is_of(content), size)
            self.assertEqual((info.state, info.received, info.count), (STORED, 0, 0))
            self.assertLess(info.age_s, 60)

    def test_are_whole_beyond_the_first_mebibyte(self):
        content = content_of(3 * 1024 * 1024 + 5)
        self.assertEqual(load(self.peer, content), (0, STORED))
        self.assertEqual(self.content(), content)

    def test_are_told_about_while_they_come(self):
        info = Info(self.peer)
        self.assertEqual((info.state, info.size, info.sha256, info.received, info.count),
                         (NONE, 0, bytes(32), 0, 0))
        old = content_of(10)
        self.assertEqual(load(self.peer, old), (0, STORED))
        for i, body in enumerate(parts_of(content_of(5000))[:2]):
            self.assertEqual(send_part(self.peer, body), (0, RECEIVING))
            info = Info(self.peer)
            self.assertEqual((info.state, info.received, info.count), (RECEIVING, i + 1, 3))
            self.assertTrue(info.is_of(old))
        self.assertEqual(self.content(), old)

    def test_outlive_the_agent_and_their_hash_is_read_anew(self):
        content = content_of(3000)
        self.assertEqual(load(self.peer, content), (0, STORED))
        self.agent.kill()
        self.peer = self.start().peer
        self.assertTrue(Info(self.peer).is_of(content))
        changed = content_of(3000, 9)
        self.stored.write_bytes(changed)
        self.assertTrue(Info(self.peer).is_of(changed))
        self.stored.unlink()
        self.assertEqual(Info(self.peer).state, NONE)

    def test_have_an_age(self):
        self.assertEqual(load(self.peer, content_of(10)), (0, STORED))
        os.utime(self.stored, (time.time() - 5000,) * 2)
        self.assertAlmostEqual(Info(self.peer).age_s, 5000, delta=60)
        os.utime(self.stored, (time.time() + 5000,) * 2)
        self.assertEqual(Info(self.peer).age_s, 0)

    def test_that_are_no_files_are_not_read(self):
        os.mkfifo(self.stored)
        self.assertEqual(Info(self.peer).result, FAILED)
        self.stored.unlink()
        self.stored.symlink_to("/etc/passwd")
        self.assertEqual(Info(self.peer).result, FAILED)
        # The name is what a load replaces, not what a link points to.
        self.assertEqual(load(self.peer, b"new"), (0, STORED))
        self.assertFalse(self.stored.is_symlink())
        self.assertEqual(self.content(), b"new")


class Parts(LoadTest):
    def setUp(self):
        super().setUp()
        self.old = content_of(100)
        self.assertEqual(load(self.peer, self.old), (0, STORED))
        self.new = content_of(3 * PART_BYTES + 7, 5)
        self.parts = parts_of(self.new)

    def finish(self, first):
        """The rest of the load, which must stand where it stood."""
        self.assertEqual(self.content(), self.old)
        for body in self.parts[first:-1]:
            self.assertEqual(send_part(self.peer, body), (0, RECEIVING))
        self.assertEqual(send_part(self.peer, self.parts[-1]), (0, STORED))
        self.assertEqual(self.content(), self.new)

    def begin(self):
        for body in self.parts[:2]:
            self.assertEqual(send_part(self.peer, body), (0, RECEIVING))

    def test_that_are_missing_or_out_of_turn_leave_the_load(self):
        self.begin()
        self.assertEqual(send_part(self.peer, self.parts[3]), (ORDER, None))
        self.finish(2)

    def test_from_before_the_last_one_are_out_of_turn(self):
        for body in self.parts[:3]:
            self.assertEqual(send_part(self.peer, body), (0, RECEIVING))
        self.assertEqual(send_part(self.peer, self.parts[1]), (ORDER, None))
        self.finish(3)

    def test_that_come_twice_are_answered_twice_and_applied_once(self):
        self.begin()
        for _ in range(3):
            self.assertEqual(send_part(self.peer, self.parts[1]), (0, RECEIVING))
        self.finish(2)
        for _ in range(3):  # the answer of the last one may be lost, too
            before = self.stored.stat().st_ino
            self.assertEqual(send_part(self.peer, self.parts[-1]), (0, STORED))
            self.assertEqual(self.stored.stat().st_ino, before)

    def test_that_come_twice_with_other_bytes_are_refused(self):
        self.begin()
        other = bytearray(self.parts[1])
        other[4 + 1000] ^= 1
        self.assertEqual(send_part(self.peer, bytes(other)), (REPEATED, None))
        self.finish(2)
        self.assertEqual(self.send(3, 4, self.new[-7:-1]), (REPEATED, None))
        self.assertEqual(self.content(), self.new)

    def test_that_come_twice_when_the_file_was_changed_are_not_called_stored(self):
        self.begin()
        self.finish(2)
        self.stored.write_bytes(b"by somebody else")
        self.assertEqual(send_part(self.peer, self.parts[-1]), (NO_LOAD, None))
        self.stored.unlink()
        self.assertEqual(send_part(self.peer, self.parts[-1]), (NO_LOAD, None))

    def test_of_another_count_leave_the_load(self):
        self.begin()
        data = self.new[2 * PART_BYTES:3 * PART_BYTES]
        for index, count in ((2, 5), (2, 3), (1, 5), (2, 2), (2, 0), (0, 0), (65535, 65535)):
            self.assertEqual(self.send(index, count, data), (COUNT, None), (index, count))
        self.finish(2)

    def test_of_a_wrong_length_leave_the_load(self):
        self.begin()
        data = self.new[2 * PART_BYTES:3 * PART_BYTES]
        for length in (0, 1, 2047, 2049, 65535):
            self.assertEqual(self.send(2, 4, data, length=length), (LENGTH, None), length)
        for length in (0, 2049):
            self.assertEqual(self.send(3, 4, data, length=length), (LENGTH, None), length)
            self.assertEqual(self.send(0, 1, data, length=length), (LENGTH, None), length)
        self.finish(2)

    def test_whose_bodies_are_short_or_long_leave_the_load(self):
        self.begin()
        self.assertEqual(send_part(self.peer, self.parts[2][:-1]), (701, None))
        self.assertEqual(send_part(self.peer, self.parts[2] + b"x"), (702, None))
        self.finish(2)

    def test_without_a_beginning_are_refused(self):
        for index in (1, 2, 3):
            self.assertEqual(send_part(self.peer, self.parts[index]), (NO_LOAD, None))
        self.assertEqual(self.names(), ["loaded.bin"])

    def test_0_begins_anew_whatever_was_before(self):
        self.begin()
        other = content_of(2 * PART_BYTES, 77)
        self.assertEqual(load(self.peer, other), (0, STORED))
        self.assertEqual(self.content(), other)
        self.old = other
        self.begin()
        self.assertEqual(send_part(self.peer, self.parts[0]), (0, RECEIVING))
        self.finish(1)

    def test_come_through_a_route_too(self):
        routed = self.parts[0]
        head = bytes(8) + LDNV.to_bytes(2, "little") + bytes(26)
        answer = self.peer.ask(0x7000, head + routed)
        self.assertEqual((answer.head.result, len(answer.body)), (0, 36 + 5))
        self.finish(1)

    def test_whose_answer_is_lost_are_sent_again(self):
        self.begin()
        self.assertEqual(self.peer.ask(LINK_FAULT, bytes([SILENCE, 0, 0, 0, 0, 1, 0, 0, 0])).head.result,
                         0)
        self.peer.request(LDNV, self.parts[2])
        self.assertEqual(send_part(self.peer, self.parts[2]), (0, RECEIVING))
        self.finish(3)


class Folders(LoadTest):
    """DIR itself becomes another, or somebody else's, while a file comes into it."""

    def setUp(self):
        super().setUp()
        self.old, self.new = content_of(100), content_of(5000, 3)
        self.assertEqual(load(self.peer, self.old), (0, STORED))
        self.parts = parts_of(self.new)

    def begin(self):
        for body in self.parts[:-1]:
            self.assertEqual(send_part(self.peer, body), (0, RECEIVING))

    def check_refused(self, folder):
        self.assertEqual(send_part(self.peer, self.parts[-1]), (FAILED, None))
        self.assertEqual([path.name for path in folder.iterdir()], ["loaded.bin"])
        self.assertEqual((folder / "loaded.bin").read_bytes(), self.old)
        self.assertEqual(send_part(self.peer, self.parts[-1]), (NO_LOAD, None))

    def test_that_are_renamed_get_no_file_under_another_name(self):
        moved = self.root / "moved"
        for is_made_anew in (False, True):
            self.begin()
            self.loads.rename(moved)
            if is_made_anew:
                self.loads.mkdir(mode=0o755)
            self.check_refused(moved)
            self.assertEqual(self.loads.exists() and self.names(), [] if is_made_anew else False)
            if not is_made_anew:
                moved.rename(self.loads)
        self.assertEqual(load(self.peer, self.new), (0, STORED))
        self.assertEqual(self.content(), self.new)
        self.assertEqual((moved / "loaded.bin").read_bytes(), self.old)

    def test_that_are_renamed_behind_the_last_part_have_it_no_more(self):
        self.assertEqual(load(self.peer, self.new), (0, STORED))
        moved = self.loads.rename(self.root / "moved")
        self.assertEqual(send_part(self.peer, self.parts[-1]), (NO_LOAD, None))
        moved.rename(self.loads)
        self.assertEqual(send_part(self.peer, self.parts[-1]), (0, STORED))

    def test_that_others_may_write_to_get_no_file(self):
        for mode in (0o777, 0o775, 0o757):
            self.begin()
            self.loads.chmod(mode)
            self.check_refused(self.loads)
            self.assertEqual(send_part(self.peer, self.parts[0]), (FAILED, None))
            self.loads.chmod(0o755)
        self.begin()
        self.loads.chmod(0o1777)
        self.assertEqual(send_part(self.peer, self.parts[-1]), (0, STORED))
        self.assertEqual(self.content(), self.new)

    @unittest.skipUnless(os.geteuid() == 0, "only root gives a folder away")
    def test_that_get_another_owner_get_no_file(self):
        self.begin()
        os.chown(self.loads, 65534, -1)
        self.check_refused(self.loads)
        self.assertEqual(load(self.peer, self.new), (0, STORED))
        self.assertEqual(self.content(), self.new)


class Limits(LoadTest):
    arguments = ("--load-limit", "5000")

    def test_are_met_to_the_byte(self):
        self.assertEqual(load(self.peer, content_of(5000)), (0, STORED))
        self.assertEqual(load(self.peer, content_of(5001)), (TOO_LARGE, None))
        self.assertEqual(self.content(), content_of(5000))
        self.assertEqual(self.names(), ["loaded.bin"])

    def test_are_told_at_the_first_part_where_the_count_says_so(self):
        self.assertEqual(self.send(0, 4, bytes(PART_BYTES)), (TOO_LARGE, None))
        self.assertEqual(self.send(0, 65535, bytes(PART_BYTES)), (TOO_LARGE, None))
        # The last part is what is too long here, and the load is over with it.
        parts = parts_of(content_of(5001))
        self.assertEqual([send_part(self.peer, body)[0] for body in parts], [0, 0, TOO_LARGE])
        self.assertEqual(send_part(self.peer, parts[2]), (NO_LOAD, None))
        self.assertEqual(self.names(), [])

    def test_hold_for_a_file_that_is_there(self):
        self.stored.write_bytes(bytes(5001))
        self.assertEqual(Info(self.peer).result, TOO_LARGE)
        self.stored.write_bytes(bytes(5000))
        self.assertTrue(Info(self.peer).is_of(bytes(5000)))


class SizesOfTheSystem(LoadTest):
    def test_beyond_its_limit_count_as_no_room(self):
        self.assertEqual(load(self.peer, content_of(100)), (0, STORED))
        resource.prlimit(self.agent.process.pid, resource.RLIMIT_FSIZE, (5000, 5000))
        self.assertEqual(load(self.peer, content_of(5001)), (FULL, None))
        self.assertEqual((self.content(), self.names()), (content_of(100), ["loaded.bin"]))


class Forgotten(LoadTest):
    """What ends a load before its time."""

    def setUp(self):
        super().setUp()
        self.old = content_of(100)
        self.assertEqual(load(self.peer, self.old), (0, STORED))
        self.parts = parts_of(content_of(5000, 3))
        self.assertEqual(send_part(self.peer, self.parts[0]), (0, RECEIVING))
        self.assertTrue(self.temporary.exists())

    def check(self):
        self.assertEqual(self.names(), ["loaded.bin"])
        self.assertEqual(self.content(), self.old)

    def test_by_a_new_session(self):
        self.peer.greet()
        self.check()
        self.assertEqual(send_part(self.peer, self.parts[1]), (NO_LOAD, None))

    def test_by_the_end_of_the_input(self):
        self.agent.close_input()
        self.assertEqual(self.agent.wait(), 0)
        self.check()

    def test_by_a_signal(self):
        self.assertEqual(self.agent.terminate(), 0)
        self.check()

    def test_by_ten_seconds_without_a_part(self):
        begun = time.monotonic()
        wait_until(lambda: not self.temporary.exists())
        self.assertGreater(time.monotonic() - begun, 5)
        self.check()
        self.assertEqual(send_part(self.peer, self.parts[1]), (NO_LOAD, None))
        self.assertEqual(Info(self.peer).state, STORED)

    def test_by_the_next_start_of_an_agent_that_was_killed(self):
        self.agent.kill()
        self.assertEqual(self.names(), ["loaded.bin", "loaded.bin.tmp"])
        self.start()
        self.check()


class TwoAgents(LoadTest):
    def test_do_not_write_at_once(self):
        other = self.start().peer
        first = parts_of(content_of(5000, 1))
        second = parts_of(content_of(5000, 2))
        self.assertEqual(send_part(self.peer, first[0]), (0, RECEIVING))
        self.assertEqual(send_part(other, second[0]), (BUSY, None))
        self.start()  # leaves the temporary file of the one at work
        self.assertEqual(send_part(self.peer, first[1]), (0, RECEIVING))
        self.assertEqual(send_part(self.peer, first[2]), (0, STORED))
        self.assertEqual(self.content(), content_of(5000, 1))
        self.assertEqual(load(other, content_of(5000, 2)), (0, STORED))
        self.assertEqual(self.content(), content_of(5000, 2))
        self.assertTrue(Info(self.peer).is_of(content_of(5000, 2)))

    def test_free_the_folder_with_the_load(self):
        other = self.start().peer
        self.assertEqual(send_part(self.peer, parts_of(content_of(5000))[0]), (0, RECEIVING))
        self.peer.greet()
        self.assertEqual(load(other, b"other"), (0, STORED))

    def test_are_kept_apart_from_other_programs_too(self):
        folder = os.open(self.loads, os.O_RDONLY)
        self.addCleanup(os.close, folder)
        fcntl.flock(folder, fcntl.LOCK_EX)
        self.assertEqual(load(self.peer, b"x"), (BUSY, None))
        fcntl.flock(folder, fcntl.LOCK_UN)
        self.assertEqual(load(self.peer, b"x"), (0, STORED))


class Hosts(unittest.TestCase):
    def test_the_load_of_a_host_that_goes_is_forgotten(self):
        with tempfile.TemporaryDirectory(prefix="kivagent-") as name:
            root = pathlib.Path(name)
            (root / "loads").mkdir(mode=0o755)
            with SocketAgent(root / "run" / "s", "--load", str(root / "loads"),
                             data=root / "data") as agent:
                with agent.connect() as line:
                    peer = Peer.over_socket(line)
                    peer.greet()
                    self.assertEqual(send_part(peer, parts_of(bytes(5000))[0]), (0, RECEIVING))
                    line.shutdown(socket.SHUT_RDWR)
                wait_until(lambda: not list((root / "loads").iterdir()))


class CommandLine(unittest.TestCase):
    def setUp(self):
        folder = tempfile.TemporaryDirectory(prefix="kivagent-")
        self.addCleanup(folder.cleanup)
        self.root = pathlib.Path(folder.name)

    def agent(self, *arguments, **more):
        agent = AgentProcess(*arguments, data=self.root / "data", **more)
        self.addCleanup(agent.kill)
        return agent

    def end_of(self, *arguments, **more):
        agent = self.agent(*arguments, **more)
        status = agent.wait()
        return status, agent.first_notice()

    def test_loads_are_off_and_say_so(self):
        peer = self.agent().peer
        peer.greet()
        self.assertEqual(load(peer, b"x"), (NOT_ENABLED, None))
        self.assertEqual(Info(peer).result, NOT_ENABLED)

    def test_the_greeting_says_whether_they_are_on(self):
        for arguments, ability in (((), 0), (("--load", str(self.root)), LOADS_ABILITY)):
            hello = self.agent(*arguments).peer.greet()
            self.assertEqual(int.from_bytes(hello.body[16:20], "little") & LOADS_ABILITY, ability)

    def test_wrong_usage_ends_with_2(self):
        folder = ["--load", str(self.root)]
        for arguments, problem in (
                (["--load"], "unknown or incomplete option '--load'"),
                (["--load", ""], "nothing for '--load'"),
                (["--load-limit", "5"], "a --load is needed for '--load-limit'"),
                *(([*folder, "--load-limit", value], f"no limit from 1 to 134215680 '{value}'")
                  for value in ("0", "134215681", "-1", "", "5x", " 5", "99999999999999999999999"))):
            self.assertEqual(self.end_of(*arguments), (2, f"kivagent: {problem} (see --help)\n"))

    def test_a_folder_that_cannot_be_had_ends_it(self):
        (self.root / "file").write_bytes(b"")
        for name, reason in (("missing", "No such file or directory"), ("file", "Not a directory")):
            self.assertEqual(self.end_of("--load", str(self.root / name)),
                             (1, f"kivagent: --load {self.root / name}: {reason}\n"))

    def test_a_folder_that_others_may_write_to_is_refused(self):
        shared = self.root / "shared"
        shared.mkdir()
        for mode in (0o777, 0o775, 0o757, 0o722):
            shared.chmod(mode)
            self.assertEqual(self.end_of("--load", str(shared)),
                             (1, f"kivagent: --load {shared}: others may write to it, so a file "
                                 "could be exchanged\n"))
        for mode in (0o755, 0o700, 0o1777):  # in the last one nobody takes what is another's
            shared.chmod(mode)
            peer = self.agent("--load", str(shared)).peer
            peer.greet()
            self.assertEqual(load(peer, b"x"), (0, STORED))

    @unittest.skipUnless(os.geteuid() == 0, "only root is refused")
    def test_as_root_it_wants_to_be_allowed(self):
        self.assertEqual(self.end_of("--load", str(self.root), allow_root=False),
                         (1, "kivagent: as root no --load without --allow-root\n"))

    @unittest.skipUnless(os.geteuid() == 0, "only root can become another user")
    def test_a_folder_of_somebody_else_is_told_at_the_first_part(self):
        def become_nobody():
            os.setgroups([])
            os.setgid(65534)
            os.setuid(65534)

        self.root.chmod(0o755)
        (self.root / "loads").mkdir(mode=0o755)
        peer = self.agent("--load", str(self.root / "loads"), allow_root=False,
                          program=shutil.copy(AGENT, self.root), preexec_fn=become_nobody).peer
        peer.greet()
        self.assertEqual(load(peer, b"x"), (FAILED, None))


if __name__ == "__main__":
    unittest.main()
