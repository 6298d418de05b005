"""Every example of every document is run, and shows what the document says."""

import configparser
import json
import os
import pathlib
import re
import subprocess
import sys
import unittest
import xml.etree.ElementTree

ROOT = pathlib.Path(__file__).resolve().parents[2]
sys.path.insert(0, str(ROOT / "tests" / "e2e"))

from bench import BUILD, DEADLINE_S, SOURCE, wait_for  # noqa: E402
from bench_folder import BenchFolder  # noqa: E402
from examples import PROMPT, SHELL, markdown, manual  # noqa: E402
from typist import Typist  # noqa: E402

PAGES = sorted([*SOURCE.glob("*.md"), *SOURCE.glob("docs/**/*.md")])
MANUALS = sorted(SOURCE.glob("docs/man/*.1"))

# Fenced blocks that others run, or that are none: who looks at them.
ELSEWHERE = {
    "line": "channels_page_test", "answer": "channels_page_test", "example": "wire_page_test",
    "stream": "wire_page_test", "token": "tcp_link_test", "text": "a drawing",
}
# Lines that are not run here, and why.
NOT_RUN = {
    r"apt-get .*": "wants root and a network, and changes the machine",
    r"(KIV_BENCH_CPU=1 )?(scripts/bench\.sh 15|make bench)": "takes minutes on an idle machine",
    r"python3 bench/ratio_table\.py .*": "wants what a bench has left",
}
# Lines that end with another status than 0; the page says so.
STATUSES = {r"kivcat diff .*": 1}
# What differs between machines and runs, in what is shown.
VARYING = [
    (r"^(\.(host_name|system|kernel|machine|boot_id|agent_version|cpu_count|page_size_bytes|\w+_kib|\w+_ms|"
     r"\w*permille\w*|seconds|nanoseconds|\w*uptime\w*|utc|unix_s|ms)\s*=).*", r"\1 *"),
    (r"connected to \S+ \(variant (\d+), product (\d+)\) over .*", r"connected to * (\1, \2)"),
    (r"^(round \d+), .*", r"\1, *"),
    (r"in [0-9.]+ s, [0-9.]+ [kMG]?B/s", "in * s"),
    (r"\b[0-9a-f]{16}\b", "*"),
]
# What a machine shows or not: as whom it runs, and how slow it is.
PASSING = re.compile(r"link: .*root.*|kiv: ldnv +\d+ %, .*")
# What an agent writes on its standard error comes on a way of its own, sooner or later than its answers.
APART = "link: "


def settled(lines):
    """Lines as they can be compared."""
    result = []
    for line in lines:
        line = line.rstrip()
        if PASSING.fullmatch(line):
            continue
        for pattern, replacement in VARYING:
            line = re.sub(pattern, replacement, line)
        result.append(line)
    while result and not result[-1]:
        result.pop()
    return result


def agrees(expected, actual):
    """Whether the lines are those of the page, where `...` stands for any lines."""
    def of_agent(lines):
        return sorted(line for line in lines if line.startswith(APART))

    def others(lines):
        return [line for line in lines if not line.startswith(APART)]

    if "..." not in expected and of_agent(expected) != of_agent(actual):
        return False
    return set(of_agent(expected)) <= set(actual) and in_order(others(expected), others(actual))


def in_order(expected, actual):
    if not expected:
        return not actual
    if expected[0] == "...":
        return any(in_order(expected[1:], actual[begin:]) for begin in range(len(actual) + 1))
    return bool(actual) and expected[0] == actual[0] and in_order(expected[1:], actual[1:])


def old_and_new_catalogue(home):
    """The two catalogues of the page that shows their difference."""
    new = json.loads((SOURCE / "catalogues" / "board.json").read_text("utf-8"))
    old = json.loads(json.dumps(new))
    old["commands"] = [command for command in old["commands"] if command["name"] != "net_stats"]
    fields = next(of_type for of_type in new["types"] if of_type["name"] == "sys_info_cnf")["fields"]
    next(field for field in fields if field["name"] == "memory_total_kib")["type"] = "u16"
    next(command for command in new["commands"] if command["name"] == "mem_info")["id"] = "0x1009"
    (home / "old.json").write_text(json.dumps(old))
    (home / "new.json").write_text(json.dumps(new))


def reason_not_to_run(line):
    command = line.split("#")[0].strip()
    return next((why for pattern, why in NOT_RUN.items() if re.fullmatch(pattern, command)), None)


class Page(Typist):
    columns, height = 250, 60

    def setUp(self):
        super().setUp()
        self.has_console = False
        self.bench = BenchFolder(self.folder, BUILD, self.stack)
        old_and_new_catalogue(self.bench.home)

    def environment(self, **more):
        return {**super().environment(), **self.bench.environment, "TERM": "xterm", **more}

    def run_page(self, examples):
        for example in examples:
            label = example.label.split(" ")[0]
            if label in ELSEWHERE:
                continue
            with self.subTest(example.place):
                getattr(self, "run_" + (label or "steps"))(example)

    def run_steps(self, example):
        for number, step in enumerate(steps := example.steps()):
            expected = settled(step.shown)
            if step.where == PROMPT:
                if not self.has_console:
                    self.start_console("kiv", [])
                self.mark()
                self.type(step.line + "\r")
                self.wait_shown(step.line, expected)
                if not expected:
                    self.assertNotIn("is not exist", self.since())
            elif number + 1 < len(steps) and steps[number + 1].where == PROMPT:
                self.start_console(step.line, expected)
            elif not reason_not_to_run(step.line):
                self.run_shell(step.line, expected)

    def start_console(self, line, expected):
        if self.has_console:  # one console of a page at a time
            self.end(self.process)
        self.has_console = True
        self.open(program=["/bin/sh", "-c", f"cd {self.bench.home} && {self.bench.placed(line)}"])
        self.wait_connected()
        if expected:
            self.wait_shown(None, expected)

    def wait_shown(self, line, expected):
        """Looks until the prompt is back and what stands behind the typed line is what the page shows."""
        actual = []

        def shown():
            nonlocal actual
            begin = 0 if line is None else self.marked
            rows = self.screen.rows()[begin:self.screen.row]
            if line is not None:
                if not rows or rows[0] != (PROMPT + line).rstrip():
                    return False
                rows = rows[1:]
            actual = settled(self.bench.shown("\n".join(rows)).split("\n"))
            return self.ends_with("\n" + PROMPT) and (not expected or agrees(expected, actual))

        try:
            self.wait(shown)
        except AssertionError:
            self.fail("\n".join([f"typed: {line}", "--- the page shows", *expected, "--- seen", *actual]))

    def run_shell(self, line, expected):
        line = self.bench.placed(line)
        if line.startswith("make "):
            done = subprocess.run(["make", "-n", *line.split("#")[0].split()[1:2]], cwd=SOURCE,
                                  capture_output=True, text=True, check=False)
            self.assertEqual(done.returncode, 0, done.stderr)
            return
        if re.search(r"\bkivagent .*--(unix|tcp|serial) ", line) and not re.match("kiv ", line):
            self.start(["/bin/sh", "-c", "exec " + line], cwd=self.bench.home, stderr=subprocess.DEVNULL)
            self.wait_listening(line)
            return
        done = subprocess.run(["/bin/sh", "-c", line], cwd=self.bench.home, env=self.environment(),
                              stdin=subprocess.DEVNULL, stdout=subprocess.PIPE, stderr=subprocess.STDOUT,
                              timeout=2 * DEADLINE_S, check=False)
        text = done.stdout.decode()
        status = next((status for pattern, status in STATUSES.items() if re.fullmatch(pattern, line)), 0)
        self.assertEqual(done.returncode, status, f"{line}\n{text}")
        if expected:
            actual = settled(self.bench.shown(text).split("\n"))
            if not agrees(expected, actual):
                self.fail("\n".join([line, "--- the page shows", *expected, "--- seen", *actual]))


    def wait_listening(self, line):
        """A console that comes before its agent says so, which no page shows."""
        socket = re.search(r"--unix (\S+)", line)
        if socket:
            wait_for(lambda: (self.bench.home / socket[1]).exists(), "the agent listens")
        port = re.search(r"--tcp (?:\S*:)?(\d+)", line)
        if port:
            row = re.compile(rf":{int(port[1]):04X} \w+:0000 0A ")
            wait_for(lambda: any(row.search(pathlib.Path("/proc/net", table).read_text()) for table in
                                 ("tcp", "tcp6")), "the agent listens")

    def run_json(self, example):
        """Fields of a structure: a catalogue that has them is sound."""
        catalogue = json.loads((SOURCE / "catalogues" / "board.json").read_text("utf-8"))
        catalogue["types"].append({"name": "of_the_page", "fields": json.loads("[" + "\n".join(example.lines) + "]")})
        path = self.folder / "page.json"
        path.write_text(json.dumps(catalogue))
        self.assertEqual(self.kivcat("check", str(path)).status, 0)

    def run_c(self, example):
        """Parts of the header of the shipped catalogue, word for word."""
        header = self.kivcat("header", str(SOURCE / "catalogues" / "board.json")).out
        for part in "\n".join(example.lines).split("\n\n"):
            self.assertTrue(part in header, f"{example.place}: the header has no such part:\n{part}")

    def run_pcfg(self, example):
        (self.folder / "page.pcfg").write_text("\n".join(example.lines) + "\n")
        done = subprocess.run([BUILD / "bin" / "kivcts", self.folder / "page.pcfg", self.folder],
                              capture_output=True, text=True, check=False)
        self.assertEqual((done.returncode, done.stderr), (0, ""))

    def run_xml(self, example):
        xml.etree.ElementTree.fromstring("\n".join(example.lines))

    def run_ini(self, example):
        """A kiv.ini: kiv takes each value of it."""
        settings = configparser.ConfigParser()
        settings.read_string("\n".join(example.lines))
        self.assertEqual(settings.sections(), ["bench"])
        self.assertLessEqual(set(settings["bench"]), {"link", "catalogue", "variant", "product"})
        config = self.folder / "ini" / "kiv.ini"
        config.parent.mkdir()
        config.write_text("\n".join(example.lines) + "\n")
        self.run_shell(f"kiv --config-dir {config.parent} -c :link", [])


class Pages(unittest.TestCase):
    def test_every_fenced_block_says_what_it_is(self):
        known = {*ELSEWHERE, *(name[4:] for name in dir(Page) if name.startswith("run_"))} - {"page", "steps", "shell"}
        for page in PAGES:
            for example in markdown(page.name, page.read_text("utf-8")):
                if example.is_fenced:
                    self.assertIn(example.label.split(" ")[0], known, example.place)

    def test_a_drawing_hides_no_line_to_type(self):
        for page in PAGES:
            for example in markdown(page.name, page.read_text("utf-8")):
                if example.label == "text":
                    for line in example.lines:
                        self.assertNotRegex(line, r"^(\$ |kiv> |kiv |kivagent |kivcat |kivcts |make )", example.place)

    def test_each_reason_not_to_run_a_line_is_still_needed(self):
        lines = [step.line.split("#")[0].strip() for page in PAGES
                 for example in markdown(page.name, page.read_text("utf-8")) if not example.label
                 for step in example.steps()]
        for pattern in NOT_RUN:
            self.assertTrue(any(re.fullmatch(pattern, line) for line in lines), pattern)


def add_page(path, examples):
    def test(self):
        self.run_page(examples)
    stem = re.sub(r"\W", "_", str(path.relative_to(SOURCE)).removesuffix(".md")).lower()
    setattr(Page, f"test_the_examples_of_{stem}_show_what_it_says", test)


for page in PAGES:
    found = markdown(str(page.relative_to(SOURCE)), page.read_text("utf-8"))
    if any(example.label.split(" ")[0] not in ELSEWHERE for example in found):
        add_page(page, found)
for page in MANUALS:
    found = manual(str(page.relative_to(SOURCE)), page.read_text("utf-8"))
    if found:
        add_page(page, found)
