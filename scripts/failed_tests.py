#!/usr/bin/python3
"""What a run of ctest says of the tests that failed in it.

    failed_tests.py names LOG             their names, one a line
    failed_tests.py again LOG [REPORTS]   the same when they may run a second time; when they may not, the reason
                                          on standard error and status 1
    failed_tests.py show LOG [REPORTS]    a few lines for each: its name, the case, and what was wrong

LOG is what `ctest --output-on-failure` printed, REPORTS the folder into which sanitizers wrote their reports.

A second run is for a test that a busy machine put out of step, and must hide nothing else: a crash and a
sanitizer's report are faults however seldom they come, and many failures at once are no accident.
"""

import pathlib
import re
import sys

MOST_TESTS = 5
SHOWN_LINES = 20  # in all: little more than that is read of the end of a long log
LONGEST_LINE = 160
BEHIND = 5  # lines shown behind the one that says what was wrong

RESULT = re.compile(r"^ *\d+/\d+ Test +#\d+: (.*?) \.{2,}")
START = re.compile(r"^ +Start +\d+: ")
SUMMARY = re.compile(r"^\d+% tests passed")
FAILED = re.compile(r"^\s+\d+ - (.*) \(([^()]*)\)$")
# The other ways to end are signals, and programs that could not be started.
MAY_PASS_ALONE = ("Failed", "Timeout")

REPORT = re.compile(r"(Address|Leak|Thread|Memory|UndefinedBehavior)Sanitizer|runtime error: ")
# Of a program that a Python test runs, too: there a signal is but a status that was not expected.
CRASH = re.compile(r"SIG(SEGV|ABRT|BUS|ILL|FPE|SYS)\b|core dumped|Segmentation fault|terminate called|"
                   r"stack smashing|free\(\): |corrupted size|(AssertionError: |!= |status |returncode )"
                   r"(-(4|6|7|8|11|31)|13[24569])\b")

# What was wrong, as unittest, GoogleTest and sanitizers put it, and which case it was.
WRONG = re.compile(r"^[\w.]*(Error|Exception|Expired)\b|: Failure$|ERROR: \w+Sanitizer|runtime error: |"
                   r"^terminate called")
CASE = re.compile(r'^(FAIL|ERROR): |^\[  FAILED  \] \S+\.|^SUMMARY: |^  File ".*_test\.py", line ')
RULE = re.compile(r"^[-=]{10,}$")


class Log:
    """One run: `failed` has (name, how it ended), `outputs` what each test printed."""

    def __init__(self, text):
        self.failed, self.outputs = [], {}
        lines, is_list = None, False
        for line in text.splitlines():
            result = RESULT.match(line)
            if result:
                lines = self.outputs.setdefault(result.group(1), [])
            elif START.match(line) or SUMMARY.match(line):
                lines = None
            elif lines is not None:
                lines.append(line)
            elif line.startswith("The following tests"):
                is_list = line.endswith("FAILED:")
            elif is_list and FAILED.match(line):
                self.failed.append(FAILED.match(line).groups())

    def output(self, name):
        return self.outputs.get(name, [])


def reports(folder):
    """The texts of the reports that say of a fault; a warning alone is none."""
    if folder is None:
        return []
    texts = [path.read_text(errors="replace") for path in sorted(pathlib.Path(folder).glob("*"))]
    return [text for text in texts if re.search(r"SUMMARY: |ERROR: |runtime error: ", text)]


def reason_against(log, folder):
    """Why the tests may not run a second time; empty when they may."""
    if not log.failed:
        return "no test is known to have failed"
    if len(log.failed) > MOST_TESTS:
        return f"{len(log.failed)} tests failed"
    if reports(folder):
        return "a sanitizer had something to report"
    for name, how in log.failed:
        if how not in MAY_PASS_ALONE:
            return f"{name}: {how}"
        for line in log.output(name):
            if REPORT.search(line):
                return f"{name}: a sanitizer had something to report"
            if CRASH.search(line):
                return f"{name}: a program crashed"
    return ""


def essence(lines, most):
    """The lines that say what was wrong; the last ones where none does."""
    shown = set()
    for number, line in enumerate(lines):
        if CASE.search(line):
            shown.add(number)
        if WRONG.search(line):
            for behind in range(number, min(number + BEHIND + 1, len(lines))):
                if RULE.match(lines[behind]):
                    break
                shown.add(behind)
    filled = [lines[number] for number in sorted(shown) if lines[number].strip()]
    if not filled:
        return [line for line in lines if line.strip()][-most:]
    return filled[:most]


def show(log, folder):
    found = [(f"{name} ({how})", log.output(name)) for name, how in log.failed]
    found += [("a sanitizer's report", text.splitlines()) for text in reports(folder)]
    shown = found[:SHOWN_LINES // 2]
    most = SHOWN_LINES // max(len(shown), 1) - 1
    lines = []
    for name, output in shown:
        lines += [name, *("  " + line[:LONGEST_LINE] for line in essence(output, most))]
    if len(shown) < len(found):
        lines.append(f"and {len(found) - len(shown)} more")
    return lines


def main():
    log = Log(pathlib.Path(sys.argv[2]).read_text(errors="replace"))
    folder = sys.argv[3] if len(sys.argv) > 3 else None
    if sys.argv[1] == "show":
        print("\n".join(show(log, folder)))
        return 0
    reason = reason_against(log, folder) if sys.argv[1] == "again" else ""
    if reason:
        print(f"no second run: {reason}", file=sys.stderr)
        return 1
    print("\n".join(name for name, _ in log.failed))
    return 0


if __name__ == "__main__":
    sys.exit(main())
