"""The shared libraries show what their headers export and nothing else."""
import os
import pathlib
import re
import subprocess
import unittest

BUILD = pathlib.Path(os.environ["KIV_BUILD_DIR"])

# What the compiler writes beside a class's own members.
BESIDE = r"(?:(?:vtable|typeinfo|typeinfo name|VTT|guard variable) for |.*thunk to )?"
MODULE_CLASSES = r"SvcKivSpace::(?:SvcKivMessage|SvcKiv|CSVCKIVConfig)(?![A-Za-z0-9_])"
MODULE = re.compile(BESIDE + MODULE_CLASSES)
# Instantiations of library templates that a library happens to contain, and its parts' inner spaces.
NOISE = re.compile(
    r"(?:[\w ]+ )?(?:std|__gnu_cxx|asio|nlohmann|pugi|__cxxabiv1|testing)::|asio_"
    r"|(?:[\w ]+ )?operator (?:new|delete)|.*\(anonymous namespace\)"
)


def exported(library):
    """Demangled names of the dynamic symbols that the library defines."""
    out = subprocess.run(
        ["nm", "-D", "--defined-only", "-C", str(BUILD / "lib" / library)],
        check=True, capture_output=True, text=True,
    ).stdout  # fmt: skip
    return [line.split(maxsplit=2)[2] for line in out.splitlines()]


class TheModule(unittest.TestCase):
    def test_exports_facade_message_object_and_configuration_only(self):
        symbols = exported("libsvckiv.so")
        self.assertEqual([], [name for name in symbols if not MODULE.match(name)])

    def test_exports_every_operation_of_the_facade(self):
        header = pathlib.Path(os.environ["KIV_SOURCE_DIR"], "include/svckiv/svc_kiv.h")
        body = re.search(r"class SVCKIV_API SvcKiv \{(.*?)\n\};", header.read_text("utf-8"), re.S)
        operations = re.findall(r"^  (?:static )?[\w:]+[\w:* ]* \*?(\w+)\(", body.group(1), re.M)
        self.assertGreater(len(operations), 8)
        symbols = exported("libsvckiv.so")
        missing = [
            operation for operation in operations
            if not any(name.startswith(f"SvcKivSpace::SvcKiv::{operation}(") for name in symbols)
        ]  # fmt: skip
        self.assertEqual([], missing)


class ThePlatform(unittest.TestCase):
    def test_exports_no_instantiation_of_library_templates(self):
        symbols = exported("libkivplatform.so")
        self.assertEqual([], [name for name in symbols if NOISE.match(name)])

    def test_exports_the_pool_that_hosts_release_payloads_with(self):
        names = [name.split("(")[0] for name in exported("libkivplatform.so")]
        self.assertIn("PoolFree", names)


class TheCheck(unittest.TestCase):
    def test_knows_a_stranger_from_the_modules_own(self):
        for name in (
            "SvcKivSpace::SvcKiv::Start()",
            "SvcKivSpace::SvcKivMessage::staticMetaObject",
            "vtable for SvcKivSpace::SvcKivMessage",
            "typeinfo name for SvcKivSpace::CSVCKIVConfig",
        ):
            self.assertTrue(MODULE.match(name), name)
        for name in (
            "SvcKivClass::CmdCtrl::Initial()",
            "SvcKivSpace::SvcKivApp::Instance()",
            "SvcKivSpace::MorviCmdList::Clear()",
            "std::vector<int>::push_back(int&&)",
            "vtable for SvcKivClass::CmdCtrl",
        ):
            self.assertFalse(MODULE.match(name), name)
        self.assertTrue(NOISE.match("void std::vector<int>::_M_realloc_insert<int>(int*, int&&)"))
        self.assertTrue(NOISE.match("typeinfo for asio::error::detail::misc_category"))
        self.assertFalse(NOISE.match("QCString::Find(int, std::basic_string_view<wchar_t>) const"))


if __name__ == "__main__":
    unittest.main()
