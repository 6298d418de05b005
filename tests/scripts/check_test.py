"""What scripts/check.sh makes of stages and tests that fail: rows, second runs, last words, exit status.

It runs in a tree of its own, with the real ctest over tests that are lines of shell; only what builds is replaced.
"""

import json
import os
import pathlib
import shutil
import subprocess
import tempfile
import unittest

SOURCE = pathlib.Path(os.environ["KIV_SOURCE_DIR"])
PRESETS = ("gcc", "asan", "tsan")

# Fails when it runs for the first time, as a test does that something else put out of step.
ONCE = 'if [ -e "$0.ran" ]; then exit 0; fi; touch "$0.ran"; '
BUSY = ONCE + 'echo "FAIL: test_a_thing (x_test.Thing)"; echo "AssertionError: 3 != 4"; exit 1'
STAGES = "check.stages"


class Check(unittest.TestCase):
    maxDiff = None

    def setUp(self):
        folder = tempfile.TemporaryDirectory(prefix="kiv-")
        self.addCleanup(folder.cleanup)
        self.tree = pathlib.Path(folder.name)
        shutil.copytree(SOURCE / "scripts", self.tree / "scripts")
        shutil.copy(SOURCE / "tests/support/stages_ok.sh", self.tree)
        self.program("scripts/install-deps.sh", "exit 0")
        self.program("scripts/fuzz.sh", "exit 0")
        self.program("bin/cmake", 'echo "cmake $*" >>"$KIV_CALLS"; exit 0')
        presets = [{"name": name, "generator": "Ninja", "binaryDir": "${sourceDir}/build/${presetName}"}
                   for name in PRESETS]
        shown = {"outputOnFailure": True, "labelSummary": False}
        tests = [{"name": name, "configurePreset": name, "output": shown} for name in PRESETS]
        (self.tree / "CMakePresets.json").write_text(json.dumps(
            {"version": 6, "configurePresets": presets, "testPresets": tests}))
        for name in PRESETS:
            self.plan(name, ok="exit 0")

    def program(self, path, text):
        path = self.tree / path
        path.parent.mkdir(parents=True, exist_ok=True)
        path.write_text("#!/bin/bash\n" + text + "\n")
        path.chmod(0o755)
        return path

    def plan(self, preset, **tests):
        """The tests of a build: name to what a shell does; underscores are full stops."""
        lines = []
        for number, (name, text) in enumerate(tests.items()):
            script = self.program(f"build/{preset}/{number}.sh", text)
            name = f'[=[{name.replace("_", ".")}]=]'
            lines += [f'add_test({name} "{script}")', f"set_tests_properties({name} PROPERTIES LABELS service)"]
        if preset == "gcc":
            lines.append(f'add_test({STAGES} "{self.tree}/stages_ok.sh" "{self.tree}/build/log/stages")')
            lines.append(f"set_tests_properties({STAGES} PROPERTIES COST -1 RUN_SERIAL ON SKIP_RETURN_CODE 77)")
        (self.tree / "build" / preset / "CTestTestfile.cmake").write_text("\n".join(lines) + "\n")

    def check(self):
        """Runs it; answers the exit status and all that it printed."""
        environment = {"PATH": f"{self.tree}/bin:{os.environ['PATH']}", "KIV_CALLS": f"{self.tree}/calls"}
        done = subprocess.run([self.tree / "scripts/check.sh", "full"], stdout=subprocess.PIPE,
                              stderr=subprocess.STDOUT, stdin=subprocess.DEVNULL, env=environment, timeout=100,
                              check=False)
        return done.returncode, done.stdout.decode()

    def row(self, output, stage):
        """How the stage ended, by the table."""
        rows = output.split("check: stages:\n")[1].splitlines()
        return next(row.split(" s  ", 1)[1] for row in rows if row.strip().startswith(stage))

    def assert_last(self, output, *expected):
        """ctest's summary is the last thing printed, and says so much of the tests."""
        summary = output[output.rindex("% tests passed") - 3:]
        lines = [" ".join(line.split()) for line in summary.splitlines() if line and "Total Test time" not in line]
        self.assertEqual(lines[:len(expected)], list(expected))
        for line in lines[len(expected):]:
            self.assertIn(line, ("Errors while running CTest",))

    def test_all_that_passes_ends_with_0_and_one_summary_of_all(self):
        status, output = self.check()
        self.assertEqual(status, 0, output)
        for stage in ("clang build", "address, undefined: tests", "thread: tests", "libFuzzer"):
            self.assertEqual(self.row(output, stage), "ok")
        self.assert_last(output, "100% tests passed, 0 tests failed out of 2")
        self.assertIn("cmake --preset clang -DKIV_TESTS=ON -DKIV_TESTS=OFF\ncmake --build --preset clang\n",
                      (self.tree / "calls").read_text())

    def test_a_stages_test_that_passes_alone_is_named_in_its_row(self):
        self.plan("asan", e2e_ok="exit 0", **{"e2e_busy/1 (x+y)": BUSY})
        status, output = self.check()
        self.assertEqual(status, 0, output)
        self.assertEqual(self.row(output, "address, undefined: tests"), "ok, a second time alone: e2e.busy/1 (x+y)")
        first = (self.tree / "build/log/tests-asan-first.log").read_text()
        self.assertIn("AssertionError: 3 != 4", first)
        self.assertIn("out of 2", first)
        self.assertIn("100% tests passed, 0 tests failed out of 1\n",
                      (self.tree / "build/log/tests-asan.log").read_text())

    def test_a_stages_test_that_fails_twice_stands_in_the_last_words(self):
        noise = "".join(f"echo row {number};" for number in range(200))
        self.plan("asan", e2e_wrong='echo "FAIL: test_a_thing (x_test.Thing)"; '
                   f'echo "AssertionError: 3 != 4"; echo more; {noise} exit 1')
        status, output = self.check()
        self.assertEqual(status, 1)
        self.assertEqual(self.row(output, "address, undefined: tests"), "FAILED")
        self.assertEqual(self.row(output, "thread: tests"), "ok")
        self.assert_last(output, "50% tests passed, 1 tests failed out of 2", "The following tests FAILED:",
                         f"2 - {STAGES} (Failed)")
        last = output.splitlines()[-30:]
        for line in ("e2e.wrong (Failed)", "  FAIL: test_a_thing (x_test.Thing)", "  AssertionError: 3 != 4", "  more"):
            self.assertIn(line, last)

    def test_what_is_no_accident_gets_no_second_run(self):
        for what, text in {
                "signal": ONCE + "kill -SEGV $$",
                "program ended by a signal": ONCE + 'echo "AssertionError: -11 != 0 : kiv"; exit 1',
                "address": ONCE + 'echo "==1==ERROR: AddressSanitizer: heap-use-after-free"; exit 1',
                "undefined": ONCE + 'echo "x.cpp:1:2: runtime error: shift exponent 40"; exit 1',
                "report of a program that was not shown":
                    ONCE + 'for each in ${ASAN_OPTIONS//:/ }; do case $each in log_path=*) '
                    'echo "SUMMARY: AddressSanitizer: 8 byte(s) leaked" >"${each#*=}.1";; esac; done; exit 1',
        }.items():
            with self.subTest(what=what):
                for path in (self.tree / "build/asan").glob("*.ran"):
                    path.unlink()
                self.plan("asan", one=text)
                status, output = self.check()
                self.assertEqual(status, 1)
                self.assertEqual(self.row(output, "address, undefined: tests"), "FAILED")
                self.assertIn("no second run: ", output)
                self.assertNotIn("a second time", output)
                self.assertIn("one (", "\n".join(output.splitlines()[-30:]))

    def test_more_than_five_get_no_second_run_and_five_do(self):
        for count, row in ((5, "ok, a second time alone: t.0 t.1 t.2 t.3 t.4"), (6, "FAILED")):
            with self.subTest(count=count):
                shutil.rmtree(self.tree / "build/tsan")
                self.plan("tsan", **{f"t_{number}": BUSY for number in range(count)})
                status, output = self.check()
                self.assertEqual(self.row(output, "thread: tests"), row, output)
                self.assertEqual(status, 0 if count == 5 else 1)

    def test_the_last_tests_second_run_ends_with_its_own_summary(self):
        self.plan("gcc", e2e_ok="exit 0", e2e_busy=BUSY)
        status, output = self.check()
        self.assertEqual(status, 0, output)
        self.assertIn("check: == a second time, alone: e2e.busy\n", output)
        self.assert_last(output, "100% tests passed, 0 tests failed out of 1")

    def test_the_last_tests_that_fail_twice_are_shown_by_the_test_of_the_stages(self):
        self.plan("gcc", e2e_ok="exit 0", e2e_wrong='echo "AssertionError: 5 != 6"; exit 1')
        status, output = self.check()
        self.assertEqual(status, 1)
        self.assert_last(output, "0% tests passed, 1 tests failed out of 1", "The following tests FAILED:",
                         f"3 - {STAGES} (Failed)")
        last = "\n".join(output.splitlines()[-30:])
        self.assertRegex(last, r"gcc tests +\d+ s  FAILED\ne2e.wrong \(Failed\)\n  AssertionError: 5 != 6\n")

    def test_a_stage_that_failed_is_not_forgotten_over_a_second_run(self):
        self.plan("tsan", wrong="echo AssertionError: tsan; exit 1")
        self.plan("gcc", e2e_ok="exit 0", e2e_busy=BUSY)
        status, output = self.check()
        self.assertEqual(status, 1)
        self.assertIn("check: == a second time, alone: e2e.busy\n", output)
        self.assert_last(output, "0% tests passed, 1 tests failed out of 1", "The following tests FAILED:",
                         f"3 - {STAGES} (Failed)")
        self.assertIn("  AssertionError: tsan", output.splitlines()[-30:])

    def test_a_build_that_fails_is_shown_and_its_tests_are_left_out(self):
        self.program("bin/cmake", 'case "$*" in "--build --preset asan"*) echo "x.cpp:1: error: no";'
                     ' exit 1;; esac; exit 0')
        status, output = self.check()
        self.assertEqual(status, 1)
        self.assertEqual(self.row(output, "address, undefined: build"), "FAILED")
        self.assertNotIn("address, undefined: tests", output)
        self.assertIn("x.cpp:1: error: no", output.splitlines()[-30:])
        self.assert_last(output, "50% tests passed, 1 tests failed out of 2", "The following tests FAILED:",
                         f"2 - {STAGES} (Failed)")

    def test_a_build_without_tests_has_failed(self):
        (self.tree / "build/asan/CTestTestfile.cmake").write_text("")
        status, output = self.check()
        self.assertEqual(status, 1)
        self.assertEqual(self.row(output, "address, undefined: tests"), "FAILED")
        self.assertIn("No tests were found!!!", output.splitlines()[-30:])


if __name__ == "__main__":
    unittest.main()
