"""The JSON Schema of catalogue sources: it is a schema, the shipped catalogue is valid by it, and what
kivcat refuses for its shape, the schema refuses, too."""
import copy
import json
import os
import pathlib
import subprocess
import tempfile
import unittest

import jsonschema

ROOT = pathlib.Path(os.environ["KIV_SOURCE_DIR"])
KIVCAT = pathlib.Path(os.environ["KIV_BUILD_DIR"]) / "bin" / "kivcat"

SMALL = {
    "format": 1,
    "name": "small",
    "enumerations": [{"name": "e", "base": "u8", "values": [{"name": "a", "value": 1}]}],
    "types": [
        {"name": "t", "layout": "natural", "fields": [
            {"name": "x", "type": "u8", "default": 3},
            {"name": "y", "type": "e", "count": 2, "default": ["a", 2]},
            {"name": "s", "type": "char", "count": 4, "default": "hi"},
            {"name": "n", "type": "u8", "length_of": "s"}]},
    ],
    "commands": [
        {"id": "0x10", "name": "c", "request": "t", "combined": ["1"]},
        {"id": 7, "name": "d", "confirmation": "t", "combined": "none", "listed": False},
    ],
    "host_words": ["dir"],
}  # fmt: skip

# A path into SMALL and what is put there; None takes it away. Each makes a wrong source.
WRONG = [
    (["format"], 2),
    (["format"], None),
    (["name"], "1a"),
    (["name"], None),
    (["types"], None),
    (["commands"], {}),
    (["layout"], "loose"),
    (["more"], 1),
    (["text"], "a\0b"),
    (["host_words"], ["a b"]),
    (["host_words"], ["a", "a"]),
    (["enumerations", 0, "base"], "char"),
    (["enumerations", 0, "values", 0, "value"], "1"),
    (["enumerations", 0, "values", 0, "more"], 1),
    (["types", 0, "name"], None),
    (["types", 0, "layout"], 1),
    (["types", 0, "fields", 0, "name"], "struct"),
    (["types", 0, "fields", 0, "type"], 8),
    (["types", 0, "fields", 0, "type"], None),
    (["types", 0, "fields", 0, "count"], 0),
    (["types", 0, "fields", 0, "count"], 1.5),
    (["types", 0, "fields", 0, "default"], True),
    (["types", 0, "fields", 3, "length_of"], 2),
    (["types", 0, "fields", 3, "length_of"], "a b"),
    (["commands", 0, "id"], "0x100000000"),
    (["commands", 0, "id"], -1),
    (["commands", 0, "id"], None),
    (["commands", 0, "name"], "a b"),
    (["commands", 0, "name"], "a" * 81),
    (["commands", 0, "listed"], "no"),
    (["commands", 0, "combined"], "some"),
    (["commands", 0, "combined"], [1]),
    (["commands", 0, "request"], 1),
]


def changed(path, value):
    source = copy.deepcopy(SMALL)
    at = source
    for step in path[:-1]:
        at = at[step]
    if value is None:
        del at[path[-1]]
    else:
        at[path[-1]] = value
    return source


class CatalogueSchema(unittest.TestCase):
    @classmethod
    def setUpClass(cls):
        cls.schema = json.loads((ROOT / "catalogues" / "catalogue.schema.json").read_text())
        cls.validator = jsonschema.Draft7Validator(cls.schema)
        cls.folder = tempfile.TemporaryDirectory()
        cls.addClassCleanup(cls.folder.cleanup)

    def kivcat_takes(self, source):
        path = pathlib.Path(self.folder.name) / "source.json"
        path.write_text(json.dumps(source))
        return subprocess.run([KIVCAT, "check", path], capture_output=True).returncode == 0

    def test_it_is_a_schema(self):
        jsonschema.Draft7Validator.check_schema(self.schema)

    def test_shipped_catalogues_are_valid(self):
        sources = [
            path
            for path in (ROOT / "catalogues").glob("*.json")
            if not path.name.endswith(".schema.json")
        ]
        self.assertTrue(sources)
        for path in sources:
            source = json.loads(path.read_text())
            self.assertEqual([e.message for e in self.validator.iter_errors(source)], [], path)
            self.assertTrue(self.kivcat_takes(source), path)

    def test_small_source_is_valid_for_both(self):
        self.assertTrue(self.validator.is_valid(SMALL))
        self.assertTrue(self.kivcat_takes(SMALL))

    def test_wrong_shapes_are_refused_by_both(self):
        for path, value in WRONG:
            with self.subTest(path=path, value=value):
                source = changed(path, value)
                self.assertFalse(self.validator.is_valid(source))
                self.assertFalse(self.kivcat_takes(source))


if __name__ == "__main__":
    unittest.main()
