"""Runs one file of unit tests: run_unittest.py FILE [TEST...]

Beside what unittest.main does: a file without tests fails, and where KIV_CI is set a skipped test
fails too, so that a missing tool is seen by somebody. KIV_SOURCE_DIR and KIV_BUILD_DIR get their
defaults (the checkout and build/gcc) when a person runs it by hand.
"""
import importlib.util
import os
import pathlib
import sys
import unittest

ROOT = pathlib.Path(__file__).resolve().parents[2]


def load(path):
    sys.path[:0] = [str(path.parent), str(ROOT / "tests" / "support"), str(ROOT)]
    spec = importlib.util.spec_from_file_location(path.stem, path)
    module = importlib.util.module_from_spec(spec)
    sys.modules[path.stem] = module
    spec.loader.exec_module(module)
    return module


def main():
    os.environ.setdefault("KIV_SOURCE_DIR", str(ROOT))
    os.environ.setdefault("KIV_BUILD_DIR", str(ROOT / "build" / "gcc"))
    module = load(pathlib.Path(sys.argv[1]).resolve())
    loader = unittest.defaultTestLoader
    if len(sys.argv) > 2:
        suite = loader.loadTestsFromNames(sys.argv[2:], module)
    else:
        suite = loader.loadTestsFromModule(module)
    if suite.countTestCases() == 0:
        print("no tests in " + sys.argv[1], file=sys.stderr)
        return 1
    result = unittest.TextTestRunner(verbosity=2).run(suite)
    if result.skipped and os.environ.get("KIV_CI"):
        print("skipped where nothing may be skipped", file=sys.stderr)
        return 1
    return 0 if result.wasSuccessful() else 1


if __name__ == "__main__":
    sys.exit(main())
