"""Loads with catalogues whose ldnv is not quite that of the shipped one, and of files that are not what they say."""

import json
import struct
import unittest

from bench import SOURCE
from load_test import CHUNK, LOAD, RECEIVING, STORED, Flash, LoadCase


class Catalogues(LoadCase):
    def catalogue(self, change):
        """The shipped one, its load request's fields changed; answers the option that chooses it."""
        source = json.loads((SOURCE / "catalogues" / "board.json").read_text(encoding="utf-8"))
        fields = next(one for one in source["types"] if one["name"] == "ldnv_req")["fields"]
        change(fields)
        written, compiled = self.folder / "other.json", self.folder / "other.kcat"
        written.write_text(json.dumps(source), encoding="utf-8")
        done = self.kivcat("build", str(written), "-o", str(compiled))
        self.assertEqual(done.status, 0, done)
        return "--catalogue", str(compiled)

    def load_with(self, change, size, answer):
        device = self.device(answer)
        path = self.file(size)
        done = self.load(device, path, *self.catalogue(change))
        return done, path, device

    def test_whose_count_is_too_narrow_for_a_file_send_none_of_it(self):
        def narrow(fields):
            fields[0]["type"] = fields[1]["type"] = "u8"

        done, path, device = self.load_with(narrow, 489 * CHUNK, Flash())
        self.assertEqual((done.status, done.out), (1, ""), done)
        self.assertTrue(done.err.endswith(
            f"kiv: {path} is not sent: it has 489 chunks, and ldnv of this catalogue counts to 255\n"), done)
        self.assertEqual(device.received, [])

    def test_without_a_length_have_files_padded(self):
        def answer(device, head, body):
            index, count = struct.unpack_from("<HH", body)
            device.confirm(head, struct.pack("<HHB", index, count, STORED if index + 1 == count else RECEIVING))

        done, path, device = self.load_with(lambda fields: fields.pop(), 5000, answer)
        self.assertEqual((done.status, done.out), (0, ""), done)
        self.assertRegex(done.err, rf"\nkiv: stored, padded to 6144 bytes: {path}, 5000 bytes in \S+ s, \S+ \S+\n$")
        self.assertEqual([len(body) for _, body in device.received], [4 + CHUNK] * 3)

    def test_whose_data_have_no_room_for_a_chunk_send_nothing(self):
        def shorten(fields):
            fields[2]["count"] = 1000
            fields[3]["default"] = 1000

        done, path, device = self.load_with(shorten, 5000, Flash())
        self.assertEqual((done.status, done.out), (1, ""), done)
        self.assertTrue(done.err.endswith(
            f"kiv: {path} is not sent: ldnv of this catalogue does not begin with an index, a count and 2048 bytes\n"),
            done)
        self.assertEqual(device.received, [])


class OddFiles(LoadCase):
    def test_shorter_than_their_size_are_told_from_empty_ones(self):
        device = self.device(Flash())
        # Its size is that of a page, or 0, whatever is in it.
        path = "/proc/self/comm"
        done = self.load(device, path)
        self.assertEqual((done.status, done.out), (1, ""), done)
        self.assertRegex(done.err, rf"\nkiv: {path} has 4 bytes where its size says 0: nothing was sent\n$")
        self.assertEqual(device.received, [])


class Answers(LoadCase):
    def test_that_name_another_state_than_stored_are_believed(self):
        def answer(device, head, body):
            self.assertEqual(head.id, LOAD)
            index, count = struct.unpack_from("<HH", body)
            device.confirm(head, struct.pack("<HHB", index, count, RECEIVING))

        path = self.file(2 * CHUNK)
        done = self.load(self.device(answer), path, "--verify")
        self.assertEqual((done.status, done.out), (1, ""), done)
        self.assertTrue(done.err.endswith(
            f"kiv: the device took all 2 chunks of {path}, but does not say that it is stored\n"), done)


if __name__ == "__main__":
    unittest.main()
