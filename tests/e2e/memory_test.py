"""What the console keeps for the person who types: history, favourites, the lines of F1 to F10, and keys."""

import unittest

from bench import BenchCase
from typist import PROMPT, Typist

F2, F3, F5, F6, F7, F8 = "\x1bOQ", "\x1bOR", "\x1b[15~", "\x1b[17~", "\x1b[18~", "\x1b[19~"


def refused(line):
    return f"Command '{line.split()[0]}' is not exist\n"


class Keys(Typist):
    def set_keys(self, *lines):
        """At the prompt of a console that has run these lines; keys do what they are bound to by then."""
        self.open_with_device()
        self.type("".join(line + "\r" for line in lines) + ":history 0\r")
        self.wait(f"{PROMPT}:history 0\n{PROMPT}")
        self.mark()

    def again(self):
        """Ends the console and starts it anew, with the same settings and the same device."""
        self.type("\x15\x04")
        self.assertEqual(self.wait_ended(), 0)
        self.open(link=self.device.endpoint)
        self.wait_connected()
        self.type(":history 0\r")
        self.wait(f"{PROMPT}:history 0\n{PROMPT}")
        self.mark()

    def test_history_favourite_and_key_of_one_run_work_in_the_next(self):
        self.set_keys("zzzzzzzz 1", ":fav add", ":fav add ::yyyyyyyy 2", ":key 5 xxxxxxxx 3")
        self.again()
        self.type(":history\r:fav\r:fav run zzzzzzzz\r:fav run 2\r")
        ran = (f"{PROMPT}:history\n1  zzzzzzzz 1\n{PROMPT}:fav\n1  zzzzzzzz 1\n2  ::yyyyyyyy 2\n"
               f"{PROMPT}:fav run zzzzzzzz\n{PROMPT}zzzzzzzz 1\n{refused('zzzzzzzz')}"
               f"{PROMPT}:fav run 2\n{PROMPT}::yyyyyyyy 2\n{refused(':yyyyyyyy')}{PROMPT}")
        self.wait(ran)
        self.mark()
        self.type("half a li\x1b[D\x1b[D" + F5)
        self.wait(lambda: self.since() == f"{PROMPT}xxxxxxxx 3\n{refused('xxxxxxxx')}{PROMPT}half a li")
        self.assertEqual(self.screen.column, len(PROMPT) + 7)
        self.type("\x05\x15:history\r")
        self.wait(f"1  zzzzzzzz 1\n2  zzzzzzzz 1\n3  ::yyyyyyyy 2\n4  xxxxxxxx 3\n{PROMPT}")
        self.type("\x1b[A\x1b[A")
        self.wait(f"{PROMPT}xxxxxxxx 3")

    def test_the_bound_keys_work_beside_a_line_under_edit(self):
        self.set_keys("zzzzzzzz 1")
        self.type("half" + F3)
        self.wait(lambda: self.since() == f"{PROMPT}zzzzzzzz 1\n{refused('zzzzzzzz')}{PROMPT}half")
        self.mark()
        self.type(F2)
        self.wait(lambda: self.since() == f"1  zzzzzzzz 1\n2  zzzzzzzz 1\n{PROMPT}half")
        self.mark()
        self.type(F7)
        self.wait(lambda: self.since() == f"kiv: F7 is not set; :key 7 LINE sets it\n{PROMPT}half")
        self.type("\x1b")
        self.wait(lambda: self.ends_with("\n" + PROMPT))
        self.type("\x19")  # brings back what was given up
        self.wait(PROMPT + "half")
        self.type("\x1b[D\x1bf!")  # Esc in front of other keys is none by itself
        self.wait(PROMPT + "half!")
        self.type(" of it\x1b")  # behind others it is one, also when it comes together with them
        self.wait(lambda: self.ends_with("\n" + PROMPT))

    def test_keys_that_are_moved_work_at_once_and_a_line_goes_before_a_binding(self):
        self.set_keys("zzzzzzzz 1", ":set REPEAT_CMD Ctrl+T", ":set LIST_RECENT_CMD F6",
                      ":set SEND_CMD F8", ":key 2 yyyyyyyy 2")
        self.type("\x14")
        self.wait(lambda: self.since() == f"{PROMPT}zzzzzzzz 1\n{refused('zzzzzzzz')}{PROMPT.rstrip()}")
        self.mark()
        self.type(F6)
        self.wait(lambda: self.since() == f"1  zzzzzzzz 1\n2  zzzzzzzz 1\n{PROMPT.rstrip()}")
        self.mark()
        self.type(F2)
        self.wait(lambda: self.since() == f"{PROMPT}yyyyyyyy 2\n{refused('yyyyyyyy')}{PROMPT.rstrip()}")
        self.mark()
        self.type(F3)
        self.wait(lambda: self.since() == f"kiv: F3 is not set; :key 3 LINE sets it\n{PROMPT.rstrip()}")
        self.mark()
        self.type("xxxxxxxx 3" + F8)
        self.wait(lambda: self.since() == f"{PROMPT}xxxxxxxx 3\n{refused('xxxxxxxx')}{PROMPT.rstrip()}")
        self.type(":key rm 2\r" + F2)
        self.wait(f"4  xxxxxxxx 3\n{PROMPT}")

    def test_the_users_inputrc_keeps_its_key_until_a_line_is_set_for_it(self):
        inputrc = self.folder / "inputrc"
        inputrc.write_text('"\\e[18~": "from the inputrc"\n')
        self.open_with_device(INPUTRC=str(inputrc))
        self.type(":key 7 zzzzzzzz 1\r:key rm 7\r:history 0\r")
        self.wait(f"{PROMPT}:history 0\n{PROMPT}")
        self.type(F7)
        self.wait(PROMPT + "from the inputrc")


class Words(BenchCase):
    def kept(self, *lines, folder="mine"):
        arguments = [argument for line in lines for argument in ("-c", line)]
        return self.kiv("--config-dir", str(self.folder / folder), *arguments)

    def notices(self, result):
        return [line for line in result.err.splitlines()
                if line.startswith("kiv: ") and "connected to" not in line]

    def test_the_history_is_shown_in_parts_and_run_again(self):
        result = self.kept("zzzzzzzz 1", "zzzzzzzz 2", "yyyyyyyy 1", ":history 2", ":history 1 ZZZ",
                           ":history none", ":again 1", ":again", ":again 9", ":again x")
        self.assertEqual((result.status, result.out), (1,
            refused("zzzzzzzz") * 2 + refused("yyyyyyyy") + "2  zzzzzzzz 2\n3  yyyyyyyy 1\n"
            "1  zzzzzzzz 1\n" + refused("zzzzzzzz") * 2), result)
        self.assertEqual(self.notices(result), [
            "kiv: no line 9 in the history; :history lists them", "kiv: :again takes [N]"])
        self.assertEqual(self.kept(":history 2").out, "4  zzzzzzzz 1\n5  zzzzzzzz 1\n")

    def test_what_favourites_cannot_do_is_said(self):
        result = self.kept(":fav add", ":fav add nv_read 7", ":fav add nv_read 7", ":fav add nv_read 8",
                           ":fav run nv_read", ":fav run 3", ":fav rm nv_read 7", ":fav what",
                           ":fav add :fav run 2", ":fav run 2", ":fav add " + "w" * 81, ":fav add a\\nb", ":fav add a \\n")
        self.assertEqual(result.out, "1  nv_read 7\n2  nv_read 8\n2  :fav run 2\n3  a\\nb\n4  a \\n\n")
        self.assertEqual(self.notices(result), [
            "kiv: no line was typed yet",
            "kiv: that is favourite 1 already",
            "kiv: several favourites begin with 'nv_read': 1, 2; give the number",
            "kiv: no favourite '3'; :fav list shows them",
            "kiv: :fav takes add [LINE] | list | rm N | run N",
            "kiv: ':fav run 2' was not run: it runs itself",
            "kiv: not kept: a first word of more than 80 characters, or more than 16384 behind it",
            "kiv: \\n, %(% and %)% in it will be a line feed, < and > in the next run"])
        self.assertEqual(self.kept(":fav").out, "1  nv_read 8\n2  :fav run 2\n3  a\\nb\n4  a \\x0a\n")

    def test_keys_favourites_and_shortcuts_travel_between_settings_files(self):
        file = self.folder / "carried file.xml"
        result = self.kept("zzzzzzzz 1", ":fav add", ":key F10 yyyyyyyy 2", ":set REPEAT_CMD F4", f":export {file}")
        self.assertEqual(self.notices(result)[-1:], [f"kiv: exported to {file}"], result)
        result = self.kept(":fav add own", ":key 1 own", f":import favourites {file}", ":key 1",
                           f":import {file}", ":fav", ":key 1", ":key 10", ":key 4", folder="other")
        self.assertEqual((result.status, result.out), (0,
            "1  own\nF1  own\nF1   own\n1  own\n2  zzzzzzzz 1\n3  zzzzzzzz 1\nF1   (not set)\n"
            "F10  yyyyyyyy 2\nF4   (not set; repeats the last line)\n"), result)
        self.assertEqual(self.notices(result), [f"kiv: imported from {file}"] * 2)
        result = self.kept(":fav run 3", ":key run 10", folder="other")
        self.assertEqual(result.out, refused("zzzzzzzz") + refused("yyyyyyyy"), result)

    def test_an_import_or_export_that_cannot_be_done_says_why(self):
        self.kept(":fav add own")
        bare = self.folder / "bare.xml"
        bare.write_text('<SourceData><SESSION ID="1"><INSTANCE ID="1"><DEFAULT><FAVORATE_CMD/></DEFAULT>'
                        '</INSTANCE></SESSION></SourceData>', encoding="utf-8")
        own, nowhere = self.folder / "mine" / "kiv.xml", self.folder / "nowhere" / "x.xml"
        result = self.kept(":import", f":import {nowhere}", f":import {bare}", f":import favourites {bare}",
                           f":export {own}", f":export {nowhere}", ":fav")
        self.assertEqual((result.status, result.out), (1, "1  own\n"), result)
        self.assertEqual(self.notices(result), [
            "kiv: :import takes [keys] [favourites] [shortcuts] FILE",
            f"kiv: {nowhere}: it is no settings file that can be read, or has nothing for this session and instance",
            "kiv: No shortcut key info in the file.",
            f"kiv: {bare}: it lacks what was asked for; what stands before that was imported",
            f"kiv: imported from {bare}",
            f"kiv: {own}: it could not be written, or is the settings file itself or one that is kept beside it",
            f"kiv: {nowhere}: it could not be written, or is the settings file itself or one that is kept beside it"])


if __name__ == "__main__":
    unittest.main()
