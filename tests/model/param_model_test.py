"""Tests of the model itself: every line here was worked out by hand, not by running the model."""

import io
import json
import os
import tempfile
import unittest
from contextlib import redirect_stdout

import generate
import param_model
from param_model import END, FLAT, Node, ParamReader, fill


def reader_of(line):
    reader = ParamReader()
    assert reader.set_line(line), reader.error
    return reader


def refusal(line):
    reader = ParamReader()
    assert not reader.set_line(line)
    return reader.error


def single(depth, width=1, value=0):
    return Node(depth, 0, width, width, value.to_bytes(width, "little"), None)


def array(depth, count, width=1, value=None):
    value = bytes(count * width) if value is None else value
    return Node(depth, 1, width, count * width, value, count * width)


def structure(depth, kind=24):
    return Node(depth, kind, 0, 0, b"", None)


def filled(line, nodes):
    status, text, _ = fill(nodes, reader_of(line))
    return status, text, [node.value.hex() for node in nodes if node.value]


DEPTH_TEXT = param_model.DEPTH_DIFFERS + "The index of current parameter is %d.\n"


class Numbers(unittest.TestCase):
    def check(self, text, value, good=True):
        reader = ParamReader()
        self.assertEqual(reader.number(text), (good, value), text)
        self.assertEqual(reader.error, "" if good else param_model.not_a_number(text))

    def test_the_prefix_chooses_the_base(self):
        for text, value in (("0x1F", 31), ("0X1f", 31), ("017", 15), ("31", 31), ("0", 0),
                            ("00", 0), ("0x0", 0)):
            self.check(text, value)

    def test_white_space_and_one_sign_may_lead(self):
        for text in (" 5", "\t5", "\r\n 5", "+5", " +5", "\u00a05", "\u3000\u2003 5"):
            self.check(text, 5)
        for text in ("--5", "+-5", "- 5", "\u200b5", "\ufeff5"):
            self.check(text, 0, good=False)

    def test_a_minus_negates_modulo_two_to_the_32nd(self):
        for text, value in (("-1", 4294967295), ("-4294967295", 1), ("-0", 0),
                            ("-0x10", 4294967280), ("-017", 4294967281)):
            self.check(text, value)

    def test_too_large_a_number_saturates_whatever_its_sign(self):
        for text in ("4294967295", "4294967296", "-4294967296", "0x100000000", "040000000000",
                     "99999999999999999999", "-99999999999999999999"):
            self.check(text, 4294967295)

    def test_what_is_left_over_fails_and_the_start_is_stored(self):
        for text, value in (("12abc", 12), ("08", 0), ("0x", 0), ("0xg", 0), ("0b11", 0),
                            ("5 ", 5), ("017x", 15), ("0x1Fg", 31), ("x", 0), (" ", 0), ("-", 0),
                            ("\u0661", 0)):
            self.check(text, value, good=False)

    def test_no_text_is_zero_and_no_string_fails(self):
        self.check("", 0)
        reader = ParamReader()
        self.assertEqual(reader.number(None), (False, 0))
        self.assertEqual(reader.error,
                         "Failed to translate string to wexUint32. valStr is nullptr.")


class Lines(unittest.TestCase):
    def test_an_empty_line_is_refused_and_blanks_are_a_flat_line(self):
        self.assertEqual(refusal(""), "The parameters line is empty.\n")
        for line in (" ", "\n", " \n "):
            reader = reader_of(line)
            self.assertEqual(reader.state(), [0, FLAT, 0])
            self.assertEqual(reader.next_value(), (True, 0, True))
            self.assertEqual(reader.state(), [END, FLAT, 1])

    def test_outer_braces_are_checked(self):
        self.assertEqual(refusal("{1,2"), "the last '}' is missing.\n")
        self.assertEqual(refusal("{"), "the last '}' is missing.\n")
        for line in ("1,{2}", "1,2}", "1{", "}"):
            self.assertEqual(refusal(line), "The outermost '{' or '}' is missing.\n")

    def test_clean_up_takes_blanks_at_the_ends_runs_and_commas(self):
        self.assertEqual(reader_of(" \n 1  ,\n 2 , 3   4 \n").line, "1,2,3 4")
        self.assertEqual(reader_of("{ 1 , , 2 }").line, "{ 1,,2 }")
        self.assertEqual(reader_of("\t1 ,\t2").line, "\t1,\t2")

    def test_leading_braces_are_entered_at_once(self):
        self.assertEqual(reader_of("{1}").state(), [1, 1, 0])
        self.assertEqual(reader_of("{{{1}}}").state(), [3, 3, 0])
        self.assertEqual(reader_of("{ { 1}}").state(), [3, 2, 0])
        self.assertEqual(reader_of("{1,{2}}").state(), [1, 1, 0])


class SingleValues(unittest.TestCase):
    def test_depth_follows_the_braces(self):
        reader = reader_of("{1,{2,3}}")
        self.assertEqual(reader.depth, 1)
        self.assertEqual(reader.next_value(), (True, 1, False))
        self.assertEqual(reader.state(), [4, 2, 1])
        self.assertEqual(reader.next_value(), (True, 2, False))
        self.assertEqual(reader.state(), [6, 2, 2])
        self.assertEqual(reader.next_value(), (True, 3, False))
        self.assertEqual(reader.state(), [END, 0, 3])

    def test_a_flat_line_runs_out_into_defaults(self):
        reader = reader_of("1,2,3")
        self.assertEqual([reader.next_value()[1] for _ in range(3)], [1, 2, 3])
        self.assertEqual(reader.next_value(), (True, 0, True))
        self.assertEqual(reader.state(), [END, FLAT, 4])

    def test_an_empty_item_is_a_default_and_enters_what_follows(self):
        reader = reader_of("1,,3")
        reader.next_value()
        self.assertEqual(reader.next_value(), (True, 0, True))
        self.assertEqual(reader.next_value(), (True, 3, False))
        reader = reader_of("{,{2,3},4}")
        self.assertEqual(reader.next_value(), (True, 0, True))
        self.assertEqual(reader.state(), [3, 2, 1])

    def test_blanks_inside_braces_lead_but_do_not_trail(self):
        reader = reader_of("{ 1,2 }")
        self.assertEqual(reader.next_value(), (True, 1, False))
        self.assertEqual(reader.next_value(), (False, 2, False))
        self.assertEqual(reader.error, "Failed to translate 2  to wexUint32.\n")
        self.assertEqual(reader.state(), [END, 0, 2])

    def test_a_bad_value_leaves_the_cursor_on_itself_but_keeps_its_braces_counted(self):
        reader = reader_of("{x},2}")
        self.assertEqual(reader.next_value(), (False, 0, False))
        self.assertEqual(reader.error, "Failed to translate x to wexUint32.\n")
        self.assertEqual(reader.state(), [1, 0, 1])

    def test_an_array_is_no_single_value(self):
        reader = reader_of("[1],2")
        self.assertEqual(reader.next_value(), (False, 0, False))
        self.assertEqual(reader.error, param_model.ARRAY_FOR_SINGLE)
        self.assertEqual(reader.state(), [0, FLAT, 1])
        reader = reader_of("{1[}")
        self.assertFalse(reader.next_value()[0])
        self.assertEqual(reader.state(), [END, 1, 1])

    def test_one_closing_brace_too_many_makes_the_line_flat(self):
        reader = reader_of("{5}},6,7}")
        self.assertEqual(reader.next_value(), (True, 5, False))
        self.assertEqual(reader.state(), [5, FLAT, 1])
        self.assertEqual(reader.next_value(), (True, 6, False))
        self.assertEqual(reader.next_value(), (False, 7, False))
        self.assertEqual(reader.error, "Failed to translate 7} to wexUint32.\n")
        reader = reader_of("{5}}}")
        reader.next_value()
        self.assertEqual(reader.state(), [END, 0xFFFFFFFE, 1])


class Arrays(unittest.TestCase):
    def take(self, line, width, before):
        reader = reader_of(line)
        buffer = bytearray(before)
        return reader, reader.next_array(buffer, width, len(before)), buffer.hex()

    def test_empty_elements_keep_their_bytes(self):
        _, good, after = self.take("[1,,3]", 2, b"\xaa" * 6)
        self.assertTrue(good)
        self.assertEqual(after, "0100aaaa0300")
        _, good, after = self.take("[1,2,]", 1, b"\xaa" * 3)
        self.assertTrue(good)
        self.assertEqual(after, "0102aa")
        _, good, after = self.take("[]", 1, b"\xaa")
        self.assertEqual((good, after), (True, "aa"))

    def test_more_than_fit_fails_and_keeps_what_was_written(self):
        for line, width, before, wanted in (("[1,2,3,4]", 1, b"\xaa" * 3, "010203"),
                                            ("[1,2,3,]", 1, b"\xaa" * 3, "010203"),
                                            ("[1]", 2, b"\xaa", "aa"), ("[]", 1, b"", "")):
            reader, good, after = self.take(line, width, before)
            self.assertEqual((good, after, reader.error), (False, wanted, param_model.TOO_MANY))
            self.assertEqual(reader.state(), [0, FLAT, 1])

    def test_elements_are_cut_or_widened_to_their_width(self):
        self.assertEqual(self.take("[300]", 1, b"\xaa")[2], "2c")
        self.assertEqual(self.take("[-1]", 8, b"\xaa" * 8)[2], "ffffffff00000000")
        self.assertEqual(self.take("[0x01020304]", 3, b"\xaa" * 3)[2], "040302")
        self.assertFalse(self.take("[1]", 0, b"\xaa")[1])

    def test_brackets_must_be_well_placed(self):
        for line in ("1", "1,[2]", "]1[", "[1", "1]", ",[1]"):
            reader, good, _ = self.take(line, 1, b"\xaa" * 3)
            self.assertEqual((good, reader.error), (False, param_model.BAD_BRACKETS), line)

    def test_the_last_array_keeps_the_cursor_on_its_bracket(self):
        reader, good, _ = self.take("{[1]}", 1, b"\xaa")
        self.assertTrue(good)
        self.assertEqual(reader.state(), [3, 1, 1])
        self.assertEqual(reader.next_value(), (False, 0, False))
        self.assertEqual(reader.error, "Failed to translate ] to wexUint32.\n")

    def test_braces_behind_an_array_count_only_before_a_comma(self):
        reader, _, _ = self.take("{{[1]},{2}}", 1, b"\xaa")
        self.assertEqual(reader.state(), [8, 2, 1])

    def test_the_line_runs_out_for_arrays(self):
        reader, good, _ = self.take("{[1],}", 1, b"\xaa")
        self.assertTrue(good)
        self.assertEqual(reader.next_value(), (True, 0, True))
        self.assertFalse(reader.next_array(bytearray(1), 1, 1))
        self.assertEqual(reader.error, "The parameters line is end")
        reader = reader_of("1,")
        reader.next_value()
        self.assertEqual(reader.state(), [2, FLAT, 1])
        self.assertFalse(reader.next_array(bytearray(1), 1, 1))
        self.assertEqual(reader.error, "The parameters line is end")

    def test_no_buffer_fails_without_a_text(self):
        reader = reader_of("[1]")
        self.assertFalse(reader.next_array(None, 1, 1))
        self.assertEqual((reader.error, reader.state()), ("", [0, FLAT, 1]))


class FileReferences(unittest.TestCase):
    def setUp(self):
        self.folder = tempfile.TemporaryDirectory()
        self.addCleanup(self.folder.cleanup)

    def file(self, name, data):
        path = os.path.join(self.folder.name, name)
        with open(path, "wb") as stream:
            stream.write(data)
        return path

    def path(self, name):
        return os.path.join(self.folder.name, name)

    def test_a_command_file_replaces_the_line(self):
        path = self.file("c", b"1,2 # one and two\r\n# nothing\n,3")
        self.assertEqual(reader_of("abc @" + path).line, "1,2,3")

    def test_the_rest_of_the_line_is_the_path(self):
        self.assertEqual(refusal("@ /no/file"), " /no/file does not exist.\n")
        self.assertEqual(refusal("@/no/file @x"), "/no/file @x does not exist.\n")
        self.assertEqual(refusal("@"), " does not exist.\n")
        self.assertEqual(refusal("@" + self.folder.name),
                         "Failed to open " + self.folder.name + "\n")

    def test_a_text_file_replaces_its_reference(self):
        path = self.file("t", b"\xef\xbb\xbf2,#\r\n3")
        self.assertEqual(reader_of("1,$(T<" + path + "),4").line, "1,2,# 3,4")
        self.assertEqual(refusal("1,$(T<" + path),
                         "Cannot find the text file name finish tag ')'.\n")
        self.assertEqual(refusal("$(T<x)"), "x does not exist.\n")

    def test_files_may_refer_to_files_but_not_to_themselves(self):
        inner = self.file("inner", b"1")
        outer = self.file("outer", b"$(T<" + inner.encode() + b")")
        self.assertEqual(reader_of("$(T<%s),$(T<%s)" % (outer, outer)).line, "1,1")
        own = self.file("own", b"$(T<" + self.path("own").encode() + b")")
        self.assertEqual(refusal("$(T<" + own + ")"), "Failed to open " + own + "\n")
        ping = self.file("ping", b"$(T<" + self.path("pong").encode() + b")")
        self.file("pong", b"$(T<" + ping.encode() + b")")
        self.assertEqual(refusal("$(T<" + ping + ")"), "Failed to open " + ping + "\n")

    def test_inserted_text_may_complete_a_tag(self):
        inner = self.file("inner", b"7")
        half = self.file("half", b"T<" + inner.encode() + b")")
        self.assertEqual(reader_of("$($(T<" + half + ")").line, "7")

    def test_bad_bytes_become_replacement_characters(self):
        path = self.file("t", b"\xff\n")
        self.assertEqual(reader_of("$(T<" + path + ")").line, "\ufffd")

    def test_a_binary_file_fills_the_buffer(self):
        path = self.file("b", b"\x01\x02\x03\x04")
        reader = reader_of("[9],$(B<" + path + "),5")
        for _ in range(2):
            buffer = bytearray(3)
            self.assertTrue(reader.next_array(buffer, 1, 3))
            self.assertEqual(buffer.hex(), "010203")
        self.assertEqual(reader.state(), [0, FLAT, 2])
        self.assertFalse(reader.next_array(bytearray(5), 1, 5))
        self.assertEqual(reader.error, "")

    def test_binary_references_fail_with_their_texts(self):
        for line, text in (("$(B<x", "Cannot find the bin file name finish tag ')'.\n"),
                           ("$(B<x)", "x does not exist.\n"),
                           ("$(B<" + self.folder.name + ")",
                            "Failed to open " + self.folder.name + "\n")):
            reader = reader_of(line)
            self.assertFalse(reader.next_array(bytearray(1), 1, 1))
            self.assertEqual(reader.error, text)


class Filling(unittest.TestCase):
    def deep(self):
        return [structure(0), structure(1), single(2), single(2)]

    def test_depths_must_agree_unless_the_line_is_flat(self):
        self.assertEqual(filled("5,6", self.deep()), (0, "", ["05", "06"]))
        self.assertEqual(filled("{{5,6}}", self.deep()), (0, "", ["05", "06"]))
        self.assertEqual(filled("{5,6}", self.deep()), (2, DEPTH_TEXT, ["00", "00"]))

    def test_values_not_given_keep_their_defaults(self):
        nodes = [structure(0), single(1, value=7), single(1, value=8), single(1, value=9)]
        self.assertEqual(filled("1", nodes), (0, "", ["01", "08", "09"]))

    def test_a_braced_line_that_ends_early_does_not_fit(self):
        nodes = [structure(0), single(1), single(1), single(1)]
        self.assertEqual(filled("{5}", nodes)[:2], (2, DEPTH_TEXT))
        self.assertEqual(filled("{}", nodes)[:2], (2, DEPTH_TEXT))
        self.assertEqual(filled("{5,,}", nodes)[2], ["05", "00", "00"])

    def test_values_are_cut_to_the_width(self):
        nodes = [structure(0), single(1), single(1), single(1, 8, 2 ** 64 - 1)]
        self.assertEqual(filled("-1,300,-1", nodes)[2], ["ff", "2c", "ffffffff00000000"])

    def test_wrapped_depth_reads_as_flat(self):
        def three():
            return [structure(0), single(1), single(1), single(1)]

        self.assertEqual(filled("{5}},6,7}", three()),
                         (2, "Failed to translate 7} to wexUint32.\n"
                             "The index of current parameter is %d.\n", ["05", "06", "00"]))
        self.assertEqual(filled("{5}}", three()), (0, "", ["05", "00", "00"]))
        self.assertEqual(filled("{5}},6,7,}", three()), (0, "", ["05", "06", "07"]))

    def test_only_some_kinds_escape_the_depth_check(self):
        for kind in (17, 24, 25, 32, 33):
            nodes = [structure(0), structure(1, kind), single(2)]
            self.assertEqual(filled("{{5}}", nodes), (0, "", ["05"]))
        for kind in (2, 40, -1):
            nodes = [structure(0), structure(1, kind), single(2)]
            self.assertEqual(filled("{{5}}", nodes), (2, DEPTH_TEXT, ["00"]))

    def test_arrays_name_the_index_with_a_number(self):
        nodes = [structure(0), single(1), array(1, 3)]
        self.assertEqual(filled("1", nodes)[:2],
                         (2, "The parameters line is endThe index of current parameter is 2.\n"))

    def test_arrays_without_width_size_or_matching_buffer(self):
        self.assertEqual(filled("1", [structure(0), Node(1, 1, 0, 4, b"", 4)])[:2], (4001, ""))
        self.assertEqual(filled("1", [structure(0), Node(1, 1, 1, 0, b"", 0)])[:2], (0, ""))
        self.assertEqual(filled("[1]", [structure(0), Node(1, 1, 1, 4, bytes(3), 3)])[:2], (2, ""))

    def test_a_copy_starts_from_zero_and_a_shown_buffer_from_its_bytes(self):
        shown = [structure(0), array(1, 3, 1, b"\x07\x08\x09")]
        self.assertEqual(filled("[1]", shown)[2], ["010809"])
        copied = [structure(0), Node(1, 1, 1, 3, b"\x07\x08\x09", None)]
        self.assertEqual(filled("[1]", copied)[2], ["010000"])

    def test_values_left_over_are_ignored(self):
        self.assertEqual(filled("1,2,3", [structure(0), single(1)]), (0, "", ["01"]))


class Generated(unittest.TestCase):
    def generated(self, seed, directory):
        with redirect_stdout(io.StringIO()) as out:
            generate.main([str(seed), "300", directory])
        return out.getvalue()

    def test_the_same_seed_gives_the_same_cases(self):
        with tempfile.TemporaryDirectory() as directory:
            names = [os.path.join(directory, "same")] * 2
            texts = []
            for name in names:
                os.mkdir(name)
                texts.append(self.generated(5, name))
                for entry in os.scandir(name):
                    os.rmdir(entry) if entry.is_dir() else os.remove(entry)
                os.rmdir(name)
            self.assertEqual(texts[0], texts[1])

    def test_every_kind_of_case_and_outcome_occurs(self):
        with tempfile.TemporaryDirectory() as directory:
            cases = [json.loads(line) for line in self.generated(6, directory).splitlines()]
        self.assertEqual(len(cases), 300)
        self.assertEqual({case["t"] for case in cases}, {"number", "requests", "fill"})
        self.assertTrue({0, 2} <= {case["status"] for case in cases if case["t"] == "fill"})


if __name__ == "__main__":
    unittest.main()
