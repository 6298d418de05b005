"""The made-up catalogue of 100,000 commands: the same each time, and usable by every program."""

import hashlib
import io
import json
import os
import pathlib
import resource
import subprocess
import sys
import tempfile
import unittest

sys.path.insert(0, str(pathlib.Path(__file__).resolve().parents[1] / "support"))
import large_catalogue  # noqa: E402

BUILD = pathlib.Path(os.environ["KIV_BUILD_DIR"])
LARGE = BUILD / "generated" / "large.kcat"
# Of processor time, since others may have the processor meanwhile. Far above what it takes; a look-up that goes over
# all commands once for each would not end in it.
CEILING_S = 60
# A hang.
PATIENCE_S = 300
PINNED = "6fe65c7c717cec9c7236b5db92b94dfb7044d28422c610ef0c419de79fc931f6"


def text_of(*arguments):
    out = io.StringIO()
    large_catalogue.write(out, *arguments)
    return out.getvalue()


def processor_s():
    used = resource.getrusage(resource.RUSAGE_CHILDREN)
    return used.ru_utime + used.ru_stime


def run(*arguments, **more):
    """What became of a program, and the processor time that it took."""
    before = processor_s()
    done = subprocess.run([str(argument) for argument in arguments], capture_output=True, text=True,
                          timeout=PATIENCE_S, check=False, **more)
    return done, processor_s() - before


class TheSource(unittest.TestCase):
    def test_depends_on_count_and_seed_alone(self):
        self.assertEqual(text_of(50), text_of(50))
        self.assertNotEqual(text_of(50), text_of(50, 2))
        self.assertEqual(hashlib.sha256(text_of(50).encode()).hexdigest(), PINNED)

    def test_has_as_many_commands_as_asked_with_names_and_ids_of_their_own(self):
        source = json.loads(text_of(3000))
        commands = source["commands"]
        self.assertEqual(len(commands), 3000)
        self.assertEqual(len({command["name"] for command in commands}), 3000)
        self.assertEqual(len({command["id"] for command in commands}), 3000)
        fields = [field for one in source["types"] for field in one["fields"]]
        kinds = {field["type"] for field in fields}
        self.assertTrue({"u8", "u16", "u32", "i8", "i16", "i32", "char"} < kinds)
        names = {one["name"] for one in source["types"]}
        self.assertTrue(any(field["type"] in names and "count" in field for field in fields))
        self.assertTrue(any(one.get("layout") == "natural" for one in source["types"]))


class TheCompiledOne(unittest.TestCase):
    def test_is_shown_whole(self):
        done, took_s = run(BUILD / "bin" / "kivcat", "show", LARGE)
        self.assertEqual((done.returncode, done.stderr), (0, ""))
        self.assertEqual(len(done.stdout.splitlines()), 100_000 + 4)
        self.assertLess(took_s, CEILING_S)

    def test_has_nothing_that_check_warns_of(self):
        done, took_s = run(BUILD / "bin" / "kivcat", "check", LARGE.with_suffix(".json"))
        self.assertEqual((done.returncode, done.stdout, done.stderr), (0, "", ""))
        self.assertLess(took_s, CEILING_S)

    def test_is_used_by_the_console(self):
        commands = json.loads(LARGE.with_suffix(".json").read_text())["commands"]
        sent = [one for one in commands if "request" not in one and "confirmation" in one
                and "listed" not in one]
        names = [sent[0]["name"], sent[-1]["name"]]
        folder = tempfile.TemporaryDirectory(prefix="kiv-")
        self.addCleanup(folder.cleanup)
        done, took_s = run(BUILD / "bin" / "kiv", "--catalogue", LARGE, "-c", names[0], "-c", names[1],
                           env={**os.environ, "KIV_CONFIG_DIR": folder.name,
                                "KIV_DATA_DIR": folder.name})
        self.assertEqual(done.returncode, 1, done)
        stars = "*" * 20
        # The agent does not know what was made up.
        self.assertEqual(done.stdout,
                         f"Input Parameters:\n{stars}\n{stars}\n\nunknown command\n" * 2)
        self.assertLess(took_s, CEILING_S)



if __name__ == "__main__":
    unittest.main()
