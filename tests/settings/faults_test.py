"""Every system call of a save, an export and the write of an ini value fails once, with each error,
or is where the process is killed: the file is the old or the new one, byte for byte, the answer is
true, the last good copy is a whole document in a file of its own, and the next try works."""

import re
import subprocess
import unittest

import settings_host
import sweep
from settings_host import between_marks, document, needs_tracing, run

ERRORS = ["ENOSPC", "EIO", "EINTR", "EACCES", "EMFILE", "ENOMEM"]
OLDER = document("older")
# What the host does for itself: its script and its answers.
OWN = re.compile(r"^(write\(1,|read\(0,)")


class Work:
    """One kind of write: the file, what is there before, and the lines of the host."""

    def __init__(self, folder, name, before, prepare, line, good):
        self.file = folder / name
        self.before = before
        self.line, self.good = line, good
        kept = folder / "kept"
        self.kept = kept
        self.lines = [*prepare, "mark", line, "mark", f"keep {self.file} {kept}", line]

    def first_answer(self, answers):
        return answers[-4]


class FaultCase(settings_host.FolderCase):
    # The break answers an address and never an error. A sanitizer ends itself when it gets no memory,
    # and reads its own maps in pieces that differ from run to run, which moves the count of reads.
    UNFAILING = {"brk"} | ({"mmap", "munmap", "mremap", "mprotect", "madvise", "read"}
                           if settings_host.SANITIZED else set())

    def work(self, kind):
        folder = self.folder
        start = [f"folder {folder}", "open"]
        if kind == "save":
            return Work(folder, "kiv.xml", document("old"), [*start, "title new"], "save", "0")
        if kind == "first save":
            return Work(folder, "kiv.xml", None, [*start, "title new"], "save", "0")
        if kind == "export":
            return Work(folder, "out.xml", b"old content\n", start, f"export {folder}/out.xml", "0")
        return Work(folder, "x.ini", b"; mine\n[s]\nk=old\n", [f"folder {folder}"],
                    f"ini {folder}/x.ini new", "1")

    def reset(self, work):
        for path in self.folder.iterdir():
            if path.is_file():
                path.unlink()
        if work.line.startswith("export"):
            (self.folder / "kiv.xml").write_bytes(document("mine"))
        if work.before is not None:
            work.file.write_bytes(work.before)
        if work.line == "save" and work.before is not None:
            self.copy.write_bytes(OLDER)

    @property
    def copy(self):
        return self.folder / "kiv.xml.bak"

    def check_copy(self, work, told):
        """Whoever then empties the file in place has a good copy, and the other way round."""
        if work.line != "save" or work.before is None:
            return
        self.assertFalse(self.copy.samefile(work.file), told)
        self.assertIn(self.content(self.copy), (OLDER, work.before), told)
        if self.content(work.file) == work.before:
            self.assertEqual(OLDER, self.content(self.copy), told)

    def content(self, path):
        return path.read_bytes() if path.exists() else None

    def calls(self, work):
        """(name, how often it was called up to here, the call) of each call of the work."""
        self.reset(work)
        lines = self.trace(work.lines)
        window, begin = between_marks(lines)
        seen, calls = {}, []
        for i, line in enumerate(lines):
            name = line.split("(", 1)[0]
            if not re.fullmatch(r"\w+", name):
                continue
            seen[name] = seen.get(name, 0) + 1
            if begin <= i < begin + len(window) and not OWN.match(line):
                calls.append((name, seen[name], line))
        return calls

    def inject(self, work, name, what, nth):
        self.reset(work)
        return run(work.lines, ["strace", "-f", "-qq", "-o", "/dev/null", "-e", f"trace={name}",
                                "-e", f"inject={name}:{what}:when={nth}"], traced=True)

    def new_content(self, work):
        self.reset(work)
        status, answers = run(work.lines)
        self.assertEqual((0, work.good), (status, work.first_answer(answers)), answers)
        new = self.content(work.file)
        self.assertNotEqual(work.before, new)
        return new

    def leftovers(self):
        return [path.name for path in self.folder.iterdir() if path.name.endswith(".tmp")]

    def check_error(self, work, new, call, error):
        name, nth, line = call
        told = f"{error} at {name} {nth}: {line}"
        status, answers = self.inject(work, name, f"error={error}", nth)
        self.check_copy(work, told)
        self.assertEqual((0, len(work.lines)), (status, len(answers)), told)
        kept = self.content(work.kept) if answers[-2] == "0" else None
        if work.first_answer(answers) == work.good:
            self.assertEqual(new, kept, told)
        elif kept != work.before:
            # Only the name of the new file is not known to be on the disk.
            self.assertEqual((name, new), ("fsync", kept), told)
        self.assertEqual(work.good, answers[-1], told)
        self.assertEqual(new, self.content(work.file), told)
        self.assertEqual([], self.leftovers(), told)

    def check_kill(self, work, new, call):
        name, nth, line = call
        told = f"killed at {name} {nth}: {line}"
        status, answers = self.inject(work, name, "signal=KILL", nth)
        self.assertLess(len(answers), len(work.lines), told)
        self.assertNotEqual(0, status, told)
        self.assertIn(self.content(work.file), (work.before, new), told)
        self.check_copy(work, told)
        status, answers = run(work.lines)
        self.assertEqual((0, work.good), (status, answers[-1]), told)
        self.assertEqual(new, self.content(work.file), told)

    def check_all(self, kind):
        work = self.work(kind)
        new = self.new_content(work)
        calls = self.calls(work)
        names = [name for name, _, _ in calls]
        for needed in ("write", "fsync", "rename"):
            self.assertIn(needed, [name.replace("renameat2", "rename").replace("renameat", "rename")
                                   for name in names])
        each = len(ERRORS) if sweep.count(10) >= 10 else 1
        for i, call in enumerate(calls):
            for k in range(0 if call[0] in self.UNFAILING else each):
                self.check_error(work, new, call, ERRORS[(i + k) % len(ERRORS)])
            if call[0] != "read" or "read" not in self.UNFAILING:
                self.check_kill(work, new, call)


@needs_tracing
class EverySystemCallTest(FaultCase):
    def test_of_a_save_may_fail(self):
        self.check_all("save")

    def test_of_the_first_save_may_fail(self):
        self.check_all("first save")

    def test_of_an_export_may_fail(self):
        self.check_all("export")

    def test_of_an_ini_write_may_fail(self):
        self.check_all("ini")


@needs_tracing
class RecoveryTest(FaultCase):
    """Killed at any system call of setting a broken file aside: the next start has the last good copy
    and tells the user, with hard links and without."""

    NO_LINKS = ["-e", "inject=?link,?linkat:error=EPERM"]

    def lines(self):
        return [f"folder {self.folder}", "mark", "open", "mark", "notices"]

    def start_over(self):
        for path in self.folder.iterdir():
            path.unlink()
        (self.folder / "kiv.xml").write_bytes(b"<SourceData><broken")
        self.copy.write_bytes(document("good"))

    def calls_of_recovery(self, options):
        self.start_over()
        lines = self.trace(self.lines(), *options)
        window, begin = between_marks(lines)
        self.assertEqual(bool(options), any("link" in line and "INJECTED" in line for line in window))
        seen, calls = {}, []
        for i, line in enumerate(lines):
            name = line.split("(", 1)[0]
            seen[name] = seen.get(name, 0) + 1
            if re.fullmatch(r"\w+", name) and begin <= i < begin + len(window):
                calls.append((name, seen[name], line))
        return [call for call in calls if not OWN.match(call[2])]

    def check_kills(self, options):
        calls = self.calls_of_recovery(options)
        self.assertIn("rename", [name.replace("renameat2", "rename").replace("renameat", "rename")
                                 for name, _, _ in calls])
        for name, nth, line in calls:
            if name in self.UNFAILING or (options and name.startswith("link")):
                continue
            told = f"killed at {name} {nth}: {line}"
            self.start_over()
            status, _ = run(self.lines(), ["strace", "-f", "-qq", "-o", "/dev/null", *options, "-e",
                                           f"inject={name}:signal=KILL:when={nth}"], traced=True)
            self.assertNotEqual(0, status, told)
            _, answers = run([f"folder {self.folder}", "check", "check"])
            self.assertEqual(["0", "0 [good] 0 1", "0 [good] 0 0"], answers, told)
            aside = [p for p in self.folder.iterdir() if ".corrupt-" in p.name]
            self.assertEqual([b"<SourceData><broken"], [p.read_bytes() for p in aside], told)

    def test_is_finished_and_told_by_the_next_start(self):
        self.check_kills([])

    def test_is_finished_and_told_without_links(self):
        self.check_kills(self.NO_LINKS)


def may_mount():
    done = subprocess.run(["unshare", "-rm", "true"], capture_output=True, check=False)
    return done.returncode == 0


@unittest.skipUnless(may_mount(), "no file system of a test's own (user namespaces)")
class FullDiskTest(settings_host.FolderCase):
    SIZES = range(0, 16384, 54)

    def test_of_any_size_leaves_the_old_or_the_new_document(self):
        self.assertGreaterEqual(len(self.SIZES), 300)
        mount = ("mount -t tmpfs -o size=64k kiv-test \"$1\" && exec \"$2\"")
        host = settings_host.Host(["unshare", "-rm", "sh", "-c", mount, "sh", str(self.folder),
                                   settings_host.HOST])
        self.addCleanup(host.process.kill)
        self.assertEqual("0", host.ask(f"folder {self.folder}"))
        inside = settings_host.pathlib.Path(f"/proc/{host.process.pid}/root{self.folder}")
        failures = 0
        for i, size in enumerate(self.SIZES):
            failures += self.check_size(host, inside, size, free_pages=i % 12)
        # Both ends of the range must have been met.
        self.assertGreater(failures, 50)
        self.assertLess(failures, len(self.SIZES) - 20)
        host.end()

    def check_size(self, host, inside, size, free_pages):
        for path in inside.iterdir():
            path.unlink()
        old = document("old")
        (inside / "kiv.xml").write_bytes(old)
        self.assertEqual("0 [old] 0", host.ask("open"))
        filler = inside / "filler"
        self.fill(filler, free_pages)
        host.ask(f"parameter {size}")
        code = host.ask("save")
        kept = (inside / "kiv.xml").read_bytes()
        if code != "0":
            self.assertEqual(("3018", old), (code, kept), size)
        self.assertEqual([], [p.name for p in inside.iterdir() if p.name.endswith(".tmp")], size)
        filler.unlink()
        self.assertEqual("0", host.ask("save"), size)
        new = (inside / "kiv.xml").read_bytes()
        self.assertIn(b'"' + b"p" * size + b'"', new)
        self.assertTrue(code != "0" or kept == new, size)
        self.assertEqual("0", host.ask("close"))
        self.assertEqual("0 [old] 0 0", host.ask("check"))
        return code != "0"

    @staticmethod
    def fill(filler, free_pages):
        """Takes all pages of the disk but so many."""
        pages = 0
        with open(filler, "wb", buffering=0) as stream:
            try:
                while True:
                    stream.write(b"x" * 4096)
                    pages += 1
            except OSError:
                pass
            stream.truncate(max(0, pages - free_pages) * 4096)


class KillTest(settings_host.FolderCase):
    def test_at_any_time_leaves_a_whole_document(self):
        (self.folder / "kiv.xml").write_bytes(document("first"))
        _, answers = run([f"folder {self.folder}", f"kills {sweep.count(2000)} 7 even odd", "check"])
        self.assertEqual("0", answers[1])
        self.assertRegex(answers[2], r"^0 \[(even|odd)\] 0 0$")


if __name__ == "__main__":
    unittest.main()
