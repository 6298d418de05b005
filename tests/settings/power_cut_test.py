"""A power cut at any moment of a write leaves the old file or the new one.

The system calls of a write are recorded and played onto a model of a disk: what was written stays in
doubt until its file was synced, names stay in doubt until their directory was, and a cut keeps any of
it, in any order. The last test takes one sync away and must see the damage.
"""

import itertools
import pathlib
import re
import shutil

import settings_host
from settings_host import document, needs_tracing

CALLS = ("open,openat,creat,write,pwrite64,writev,pwritev,fsync,fdatasync,sync,rename,renameat,"
         "renameat2,link,linkat,unlink,unlinkat,close,ftruncate,truncate,copy_file_range,sendfile,"
         "dup,dup2,dup3,fcntl,mmap,access,faccessat,faccessat2")
UNMODELLED = {"creat", "writev", "pwritev", "pwrite64", "truncate", "copy_file_range", "sendfile",
              "dup", "dup2", "dup3", "sync", "open", "renameat2"}
TEXT = re.compile(r'"((?:[^"\\]|\\.)*)"')


def texts(line):
    """The quoted arguments of a call."""
    return [bytes.fromhex(text.replace("\\x", "")) for text in TEXT.findall(line)]


class File:
    def __init__(self, content=b""):
        self.content = content
        self.pending = []  # (offset, bytes); ("cut", length) for a change of the length

    def synced(self):
        return apply(self.content, self.pending)

    def outcomes(self):
        """Everything that a cut may leave of it: each half of each write there or not."""
        halves = []
        for offset, data in self.pending:
            if offset == "cut":
                halves.append((offset, data))
                continue
            middle = len(data) // 2
            halves += [(offset, data[:middle]), (offset + middle, data[middle:])]
        left = set()
        for chosen in itertools.product((False, True), repeat=len(halves)):
            left.add(apply(self.content, [half for half, is_kept in zip(halves, chosen) if is_kept]))
        return left


def apply(content, writes):
    content = bytearray(content)
    for offset, data in writes:
        if offset == "cut":
            content = content[:data].ljust(data, b"\0")
            continue
        content = content.ljust(offset, b"\0")
        content[offset:offset + len(data)] = data
    return bytes(content)


class Disk:
    """One directory: what is on the disk for certain, and what is still in doubt."""

    def __init__(self, folder):
        self.folder = str(folder)
        self.names = {path.name: File(path.read_bytes())
                      for path in folder.iterdir() if path.is_file()}
        self.seen = dict(self.names)  # what the running system sees
        self.doubtful = []            # changes of names: {name: file or None}
        self.open = {}                # descriptor: [file, offset], or None for the directory

    def name(self, text):
        path = pathlib.PurePath(text.decode())
        return path.name if str(path.parent) == self.folder else None

    def change(self, names):
        self.doubtful.append(names)
        for name, file in names.items():
            if file is None:
                self.seen.pop(name, None)
            else:
                self.seen[name] = file

    def play(self, line):
        call = line.split("(", 1)[0]
        result = int(re.search(r"\) += (-?\d+)", line).group(1))
        if result >= 0:
            getattr(self, "do_" + call, lambda *_: None)(line, result)

    def do_openat(self, line, result):
        path = texts(line)[0]
        if path.decode().rstrip("/") == self.folder:
            self.open[result] = None
            return
        name = self.name(path)
        if name is None:
            return
        if name not in self.seen:
            self.change({name: File()})
        file = self.seen[name]
        if "O_TRUNC" in line and file.synced():
            file.pending.append(("cut", 0))
        self.open[result] = [file, len(file.synced()) if "O_APPEND" in line else 0]

    def do_write(self, line, result):
        target = self.open.get(int(re.match(r"write\((\d+)", line).group(1)))
        if target:
            target[0].pending.append((target[1], texts(line)[0][:result]))
            target[1] += result

    def do_ftruncate(self, line, _result):
        descriptor, length = map(int, re.match(r"ftruncate\((\d+), (\d+)", line).groups())
        if self.open.get(descriptor):
            self.open[descriptor][0].pending.append(("cut", length))

    def do_fsync(self, line, _result):
        descriptor = int(re.match(r"\w+\((\d+)", line).group(1))
        if descriptor not in self.open:
            return
        target = self.open[descriptor]
        if target is None:
            self.names = dict(self.seen)
            self.doubtful = []
        else:
            target[0].content = target[0].synced()
            target[0].pending = []

    do_fdatasync = do_fsync

    def do_close(self, line, _result):
        self.open.pop(int(re.match(r"close\((\d+)", line).group(1)), None)

    def do_rename(self, line, _result):
        old, new = map(self.name, texts(line)[:2])
        self.change({old: None, new: self.seen[old]})

    do_renameat = do_rename

    def do_link(self, line, _result):
        old, new = map(self.name, texts(line)[:2])
        self.change({new: self.seen[old]})

    do_linkat = do_link

    def do_unlink(self, line, _result):
        name = self.name(texts(line)[0])
        if name is not None:
            self.change({name: None})

    do_unlinkat = do_unlink

    def names_after_cut(self):
        """Every {name: file} that a cut may leave."""
        for count in range(len(self.doubtful) + 1):
            for chosen in itertools.permutations(self.doubtful, count):
                names = dict(self.names)
                for change in chosen:
                    names.update(change)
                yield names

    def after_cut(self):
        """Every directory that a cut may leave: sorted (name, content) without temporaries."""
        left = set()
        for names in self.names_after_cut():
            kept = [(name, file.outcomes()) for name, file in sorted(names.items())
                    if file is not None and not name.endswith((".tmp", ".lock"))]
            for contents in itertools.product(*(outcomes for _, outcomes in kept)):
                left.add(tuple((name, content)
                               for (name, _), content in zip(kept, contents)))
        return left


def is_file_sync(lines, i):
    """Whether the i-th line syncs a file; a directory else. None for other calls."""
    match = re.match(r"f(?:data)?sync\((\d+)\)", lines[i])
    if not match:
        return None
    for line in reversed(lines[:i]):
        if re.search(rf"^openat\(.*\) += {match.group(1)}$", line):
            return "O_DIRECTORY" not in line
    raise AssertionError("a sync of what was not opened: " + lines[i])


class PowerCutCase(settings_host.FolderCase):
    def record(self, lines):
        """The calls of the line between the marks, and the directory as it was before."""
        self.before = self.folder / "before"
        shutil.rmtree(self.before, ignore_errors=True)
        self.work = self.folder / "work"
        shutil.copytree(self.work, self.before)
        calls = self.trace(lines, "-xx", "-s", "1000000", "-e", "trace=" + CALLS)
        marks = [i for i, call in enumerate(calls)
                 if settings_host.MARK.encode() in b"".join(texts(call))]
        return calls[marks[0] + 1:marks[1]]

    def cuts(self, calls):
        """(directory after a cut, whether the write had already answered) of every cut."""
        disk = Disk(self.before)
        disk.folder = str(self.work)
        left = {(state, False) for state in disk.after_cut()}
        for call in calls:
            name = call.split("(", 1)[0]
            self.assertFalse(name in UNMODELLED and ") = -1" not in call and
                             str(self.work) in b"".join(texts(call)).decode(errors="replace"), call)
            disk.play(call)
            left |= {(state, False) for state in disk.after_cut()}
        return left | {(state, True) for state in disk.after_cut()}

    def damage(self, calls, name, old, new):
        """The cuts that leave neither the old file nor the new one, or the old one after the answer."""
        bad = []
        for state, has_answered in self.cuts(calls):
            allowed = (new,) if has_answered else (old, new)
            if dict(state).get(name) not in allowed:
                bad.append((dict(state).get(name), has_answered))
        return bad

    def expect_sound(self, calls, name, old, new):
        self.assertNotEqual(old, new)
        self.assertEqual([], self.damage(calls, name, old, new)[:3])

    def expect_each_sync_needed(self, calls, name, old, new):
        """Without either kind of sync there is damage: the model sees what it is there for."""
        for kind in (True, False):
            less = [call for i, call in enumerate(calls) if is_file_sync(calls, i) is not kind]
            self.assertLess(len(less), len(calls))
            self.assertNotEqual([], self.damage(less, name, old, new))


@needs_tracing
class PowerCutTest(PowerCutCase):
    def setUp(self):
        super().setUp()
        (self.folder / "work").mkdir()

    def written(self, name):
        return (self.folder / "work" / name).read_bytes()

    def save(self, old):
        work = self.folder / "work"
        if old is not None:
            (work / "kiv.xml").write_bytes(old)
            (work / "kiv.xml.bak").write_bytes(document("older"))
        return self.record([f"folder {work}", "open", "title new", "mark", "save", "mark"])

    def test_leaves_the_old_or_the_new_document(self):
        old = document("old", "<HISTORY_CMD><CMD NAME=\"h\"/></HISTORY_CMD>")
        calls = self.save(old)
        self.expect_sound(calls, "kiv.xml", old, self.written("kiv.xml"))
        self.expect_each_sync_needed(calls, "kiv.xml", old, self.written("kiv.xml"))

    def test_leaves_no_or_the_new_document_the_first_time(self):
        calls = self.save(None)
        self.expect_sound(calls, "kiv.xml", None, self.written("kiv.xml"))

    def one_file_twice(self, calls):
        """After which calls, kill or cut, the file and its good copy are one file or not there."""
        disk = Disk(self.before)
        disk.folder = str(self.work)
        bad = []
        for call in calls:
            disk.play(call)
            for names in [disk.seen, *disk.names_after_cut()]:
                if names["kiv.xml"] is names.get("kiv.xml.bak"):
                    bad.append(call)
        return bad

    def test_leaves_the_good_copy_in_a_file_of_its_own(self):
        old = document("old")
        calls = self.save(old)
        self.assertEqual([], self.one_file_twice(calls)[:3])
        self.assertEqual(old, self.written("kiv.xml.bak"))
        # The model sees what the sync between the two renames is there for.
        less = [call for i, call in enumerate(calls) if is_file_sync(calls, i) is not False]
        self.assertNotEqual([], self.one_file_twice(less))
        for content in (b"", old[:100]):  # an editor that was killed
            (self.work / "kiv.xml").write_bytes(content)
            _, answers = settings_host.run([f"folder {self.work}", "check"])
            self.assertEqual("0 [old] 0 1", answers[1])

    def test_leaves_a_folder_that_loads(self):
        calls = self.save(document("old"))
        answers = {False: {"0 [old] 0 0", "0 [new] 0 0"}, True: {"0 [new] 0 0"}}
        host = settings_host.Host()
        for i, (state, has_answered) in enumerate(sorted(self.cuts(calls))):
            folder = self.folder / f"cut{i}"
            folder.mkdir()
            for name, content in state:
                (folder / name).write_bytes(content)
            host.ask(f"folder {folder}")
            self.assertIn(host.ask("check"), answers[has_answered])
            self.assertEqual([], [p.name for p in folder.iterdir() if "corrupt" in p.name])
            shutil.rmtree(folder)
        host.end()

    def test_leaves_the_old_or_the_new_export(self):
        work = self.folder / "work"
        (work / "kiv.xml").write_bytes(document("mine"))
        (work / "out.xml").write_bytes(b"old")
        calls = self.record([f"folder {work}", "open", "mark", f"export {work}/out.xml", "mark"])
        self.expect_sound(calls, "out.xml", b"old", self.written("out.xml"))
        self.expect_each_sync_needed(calls, "out.xml", b"old", self.written("out.xml"))

    def test_leaves_the_old_or_the_new_ini_file(self):
        work = self.folder / "work"
        (work / "x.ini").write_bytes(b"[s]\nk=old\n")
        calls = self.record([f"folder {work}", "mark", f"ini {work}/x.ini new", "mark"])
        self.expect_sound(calls, "x.ini", b"[s]\nk=old\n", self.written("x.ini"))
        self.expect_each_sync_needed(calls, "x.ini", b"[s]\nk=old\n", self.written("x.ini"))
