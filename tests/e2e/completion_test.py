"""TAB and refused lines: what is inserted, listed and said, on a terminal; the catalogue's words in a batch."""

import json
import unittest

from bench import BenchCase
from scripted_device import ScriptedDevice
from tests.wire import frames
from typist import AT_ANSWER, PROMPT, Typist

WHICH = "which: indication_set, default 3 (all), 1 tick, 2 load, 3 all"


class Completing(Typist):
    columns = 130

    def press(self, keys, shown):
        """Types on an empty line until `shown` stands there, its last row being the line; empties it again."""
        self.type("\x15")
        self.wait(lambda: self.ends_with("\n" + PROMPT))
        self.mark()
        self.type(keys)
        self.wait(lambda: self.since() == shown, shown)

    def test_names_are_written_out_and_listed(self):
        self.open_with_device()
        self.press("sys_i\t", PROMPT + "sys_info")
        self.assertEqual(self.screen.column, len(PROMPT + "sys_info "))
        self.press("nv_\t\t", f"nv_read   Reads a stored item\nnv_write  Stores an item of up to 32 bytes\n{PROMPT}nv_")
        self.press("SYS\t", PROMPT + "sys_info")
        self.press(":des\t", PROMPT + ":describe")
        self.press(":describe sys_i\t", PROMPT + ":describe sys_info")
        self.press("ldnv " + str(self.folder)[:-1] + "\t", PROMPT + f"ldnv {self.folder}/")

    def test_a_field_is_said_above_the_line_and_its_value_is_written(self):
        self.open_with_device()
        self.press("ind_start \t", f'{WHICH}; begins with "{{", or without; then ",", 2 more fields\n'
                                   f"{PROMPT}ind_start")
        self.press("ind_start lo\t\t", f'{WHICH}; then ",", 2 more fields\n' * 2 + PROMPT + "ind_start 2,")
        self.press("nv_write 1,2,\t", 'data: u8[32], default all 0, 0 to 255; begins with "["; then "," or "]", '
                                      f"31 more elements\n{PROMPT}nv_write 1,2,[")
        self.type("3]\r")
        self.wait(lambda: len(self.device.received) == 1)

    def test_a_line_of_three_rows_stays_as_it_is_below_what_is_said(self):
        self.open_with_device()
        line = "note " + "漢字かな交じり文 e\u0301le\u0300ve " * 11
        self.type(line)
        for _ in range(30):
            self.type("\x1b[D")
        self.wait(lambda: self.screen.row == self.marked + 1)
        self.wait(lambda: not self.look(0.3), "all is drawn")
        before, (row, column) = self.since(), self.screen.cursor
        self.assertEqual(before.count("\n"), 2, before)
        self.type("\t")
        self.wait(lambda: self.since() == "takes its text as it is typed\n" + before)
        self.assertEqual(self.screen.cursor, (row + 1, column))
        self.arrive("RING")
        self.wait(lambda: self.since() == "takes its text as it is typed\nRING\n" + before)
        self.assertEqual(self.screen.cursor, (row + 2, column))

    def test_the_users_inputrc_holds_and_pasted_tabs_are_text(self):
        inputrc = self.folder / "inputrc"
        inputrc.write_text('set show-all-if-ambiguous on\nset bell-style none\n"\\C-t": menu-complete\n')
        self.open_with_device(INPUTRC=str(inputrc))
        self.press("ind_st\t", "ind_start  Starts indications by timer\nind_stop   Stops indications\n"
                               f"{PROMPT}ind_st")
        self.press("nv_\x14", "nv_read   Reads a stored item\nnv_write  Stores an item of up to 32 bytes\n"
                              f"{PROMPT}nv_read")
        self.press("\x1b[200~sys_i\t\tx\x1b[201~", f"{PROMPT}sys_i{' ' * 14}x")
        self.press("sys_info \t\t", f"takes no parameters\n{PROMPT}sys_info")
        self.assertEqual(self.screen.bells, 0)

    def test_texts_of_a_catalogue_are_shown_escaped_and_many_names_are_counted(self):
        source = {"format": 1, "name": "many", "layout": "packed",
                  "types": [{"name": "pair", "fields": [{"name": "x", "type": "u8", "text": "a\x1b[2J\x9b\u202eb"}]}],
                  "commands": [{"id": f"0x{0x100 + n:x}", "name": name, "text": "c\x1b]0;t\x07\x85d", "group": "g",
                                "request": "pair", "confirmation": "pair"}
                               for n, name in enumerate(["evil_a", "evil_b", *(f"name_{i}" for i in range(400))])]}
        (self.folder / "many.json").write_text(json.dumps(source))
        catalogue = str(self.folder / "many.kcat")
        built = self.kivcat("build", str(self.folder / "many.json"), "-o", catalogue)
        self.assertEqual(built.status, 0, built)
        self.open_with_device("--catalogue", catalogue)
        shown = "c\\x1b]0;t\\x07\\x85d"
        self.press("evil_\t\t", f"evil_a  {shown}\nevil_b  {shown}\n{PROMPT}evil_")
        self.press("evil_a \t", "x: u8, default 0, 0 to 255 (a\\x1b[2J\\x9b\\u202eb); "
                                f'begins with "{{", or without; then "}}"\n{PROMPT}evil_a')
        self.type("\x15name_\t\t")
        self.wait(lambda: " more\n" in self.since() and self.ends_with("\n" + PROMPT + "name_"))
        rows = self.since().split("\n")
        names = sum(row.count("name_") for row in rows[:-1])
        self.assertLessEqual(len(rows), self.height)
        self.assertIn(f"and {400 - names} more", rows)
        self.assertGreater(names, 100)

    def test_nothing_is_offered_where_every_line_is_a_text(self):
        self.device = ScriptedDevice(self.folder / "device", lambda device, head, body: None, versions=(246, 0))
        self.stack.callback(self.device.close)
        self.open(link=self.device.endpoint)
        self.wait_connected()
        self.mark()
        self.press("sys_i\tx", PROMPT + "sys_ix")
        self.press("ind_start \tx", PROMPT + "ind_start x")
        self.press(":his\t", PROMPT + ":history")

    def test_a_refused_line_is_marked_within_the_terminals_width(self):
        self.open_with_device(columns=40)
        self.type("ind_start 1,1000,0000000000000000000000000000000000x,5\r")
        self.wait(lambda: self.ends_with("\nkiv: ...00000000000000000000000x,5\n"
                                         "kiv:                           ^ count\n" + PROMPT))
        self.type("sys_inof\r")
        self.wait("Command 'sys_inof' is not exist\nkiv: did you mean sys_info?\n" + PROMPT)


class InABatch(BenchCase):
    def test_a_command_is_described_whole(self):
        result = self.kiv("-c", ":describe ind_start")
        self.assertEqual((result.status, result.out), (0, (
            "ind_start (0x1301), indications\n"
            "  Starts indications by timer\n"
            "ind_start_req:\n"
            "  which      indication_set  3 (all)  0 to 255\n"
            "             1 tick: ind_tick\n"
            "             2 load: ind_load\n"
            "             3 all: both\n"
            "  period_ms  u32             1000     0 to 4294967295\n"
            "  count      u32             0        0 to 4294967295  how many of each; 0: until they are stopped\n"
            "ind_start {3,1000,0}\n")), result)
        result = self.kiv("-c", ":describe sys_inof", "-c", ":describe nothing_like_it")
        self.assertEqual((result.status, result.out), (1, ""), result)
        self.assertTrue(result.err.endswith("\nkiv: no command 'sys_inof' in the catalogue\n"
                                            "kiv: did you mean sys_info?\n"
                                            "kiv: no command 'nothing_like_it' in the catalogue\n"), result)

    def test_commands_are_found_by_words_of_their_names_and_descriptions(self):
        result = self.kiv("-c", ":find MEMORY", "-c", ":find memory load", "-c", ":find zzz")
        self.assertEqual((result.status, result.out), (1, (
            "ind_load   Comes by timer: load and memory\n"
            "mem_info   Memory and swap space, in KiB\n"
            "proc_list  Processes with memory and processor time\n"
            "sys_info   Host name, kernel, processors, memory\n"
            "ind_load  Comes by timer: load and memory\n")), result)
        self.assertTrue(result.err.endswith("\nkiv: no command has 'zzz' in name or description\n"), result)


if __name__ == "__main__":
    unittest.main()
