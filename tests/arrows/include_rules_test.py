"""The tree's includes follow its arrows, and the check finds each way of breaking them."""
import os
import pathlib
import tempfile
import unittest

import include_rules

ROOT = pathlib.Path(os.environ["KIV_SOURCE_DIR"])


def findings(path, line):
    return include_rules.check_file(None, path, line + "\n")


class TheTree(unittest.TestCase):
    maxDiff = None

    def test_follows_its_arrows(self):
        self.assertEqual([], include_rules.check_tree(ROOT))

    def test_has_no_cycle_of_folders(self):
        self.assertEqual([], include_rules.cycles(include_rules.folder_edges(ROOT)))

    def test_is_seen_by_the_check(self):
        seen = list(include_rules.sources(ROOT))
        self.assertIn("include/svckiv/svc_kiv.h", seen)
        self.assertIn("platform/text/qc_string.h", seen)


class TheCheck(unittest.TestCase):
    FORBIDDEN = [
        ("platform/base/a.cpp", '#include "service/svc_kiv_app.h"'),
        ("platform/base/a.h", '#include "svckiv/svc_kiv.h"'),
        ("platform/base/a.h", "#include <QString>"),
        ("params/a.h", '#include "link/lirn_kiv_client.h"'),
        ("params/a.h", '#include "link/render/render.h"'),
        ("link/a.cpp", '#include "command/cmd_ctrl.h"'),
        ("link/a.cpp", '#include "command/packet/mac_tools.h"'),
        ("link/a.cpp", '#include "service/svc_kiv_app.h"'),
        ("link/render/a.cpp", '#include "link/lirn_kiv_client.h"'),
        ("link/render/a.cpp", '#include "service/message/live_switches.h"'),
        ("command/a.cpp", '#include "service/svc_kiv_app.h"'),
        ("command/packet/a.cpp", '#include "command/cmd_ctrl.h"'),
        ("command/packet/a.cpp", '#include "link/lirn_kiv_client.h"'),
        ("service/message/a.cpp", '#include "service/svc_kiv_app.h"'),
        ("service/a.cpp", '#include "channels/at_channel.h"'),
        ("channels/a.cpp", '#include "link/lirn_kiv_client.h"'),
        ("settings/a.cpp", '#include "channels/at_channel.h"'),
        ("hosts/terminal/a.cpp", '#include "command/cmd_ctrl.h"'),
        ("hosts/terminal/a.cpp", '#include "service/message/live_switches.h"'),
        ("hosts/terminal/a.cpp", '#include "tools/kivcat/compiler.h"'),
        ("tools/kivcat/a.cpp", '#include "hosts/bench/lines.h"'),
        ("tools/kivcat/a.cpp", "#include <sqlite3.h>"),
        ("hosts/terminal/a.cpp", "#include <unistd.h>"),
        ("link/a.cpp", "#include <sys/socket.h>"),
        ("device/linux/a.c", '#include "platform/text/qc_string.h"'),
        ("device/core/a.c", '#include "device/linux/agent.h"'),
        ("device/core/a.c", "#include <stdlib.h>"),
        ("device/linux/a.cpp", "#include <QString>"),
        ("include/svckiv/a.h", '#include "platform/devlink/link_client.h"'),
        ("params/a.h", '#include "board_catalogue.h"'),
        ("params/a.h", '#include "param_line_parser.h"'),
        ("params/a.h", '#include "tests/support/sweep.h"'),
        ("link/a.cpp", "#ifdef _WIN32"),
        ("link/a.cpp", "#if defined(__linux__) && 1"),
    ]
    ALLOWED = [
        ("platform/base/a.cpp", '#include "platform/text/qc_string.h"'),
        ("platform/text/qt_text.h", "#include <QString>"),
        ("platform/devlink/a.cpp", "#include <asio.hpp>"),
        ("platform/os/a.cpp", "#ifdef _WIN32"),
        ("include/svckiv/svckiv_export.h", "#if defined(_WIN32)"),
        ("include/svckiv/a.h", '#include "platform/text/qc_string.h"'),
        ("link/a.cpp", '#include "service/message/live_switches.h"'),
        ("link/a.cpp", '#include "link/render/render.h"'),
        ("link/a.cpp", '#include "params/param_line_parser.h"'),
        ("command/a.cpp", '#include "command/packet/mac_tools.h"'),
        ("command/a.cpp", '#include "channels/channel_service_table.h"'),
        ("command/a.cpp", '#include "link/render/render.h"'),
        ("command/packet/a.cpp", '#include "link/render/render.h"'),
        ("service/a.cpp", '#include "command/cmd_ctrl.h"'),
        ("service/a.cpp", '#include "svckiv/svc_kiv.h"'),
        ("hosts/terminal/a.cpp", '#include "hosts/bench/lines.h"'),
        ("hosts/terminal/a.cpp", '#include "link/render/render.h"'),
        ("hosts/terminal/a.cpp", '#include "kiv_version.h"'),
        ("tools/kivcat/a.cpp", "#include <nlohmann/json.hpp>"),
        ("device/core/a.c", '#include "board_catalogue.h"'),
        ("device/linux/a.c", '#include "device/core/agent.h"'),
        ("device/linux/a.c", "#include <unistd.h>"),
        ("tests/service/a.cpp", '#include "service/svc_kiv_app.h"'),
        ("tests/os/a.cpp", "#include <unistd.h>"),
    ]

    def test_finds_each_planted_include(self):
        for path, line in self.FORBIDDEN:
            with self.subTest(path=path, line=line):
                found = findings(path, line)
                self.assertEqual(1, len(found), found)
                self.assertTrue(found[0].startswith(path + ":1: "), found)

    def test_leaves_what_the_arrows_allow(self):
        for path, line in self.ALLOWED:
            with self.subTest(path=path, line=line):
                self.assertEqual([], findings(path, line))

    def test_finds_a_planted_file_in_a_tree(self):
        with tempfile.TemporaryDirectory() as folder:
            root = pathlib.Path(folder)
            (root / "params").mkdir()
            (root / "link").mkdir()
            (root / "link" / "client.h").write_text("")
            (root / "params" / "bad.cpp").write_text(
                '// head\n  # include "link/client.h"\n#include "params/gone.h"\n'
            )
            self.assertEqual(
                [
                    "params/bad.cpp:2: link/client.h breaks an arrow: "
                    "params may not include it",
                    "params/bad.cpp:3: params/gone.h does not exist",
                ],
                include_rules.check_tree(root),
            )

    def test_finds_a_cycle_of_folders(self):
        edges = {("a", "b"): "a/x", ("b", "c"): "b/x", ("c", "a"): "c/x", ("d", "a"): "d/x"}
        self.assertEqual([["a/x", "b/x", "c/x"]], include_rules.cycles(edges))
        del edges[("c", "a")]
        self.assertEqual([], include_rules.cycles(edges))


if __name__ == "__main__":
    unittest.main()
