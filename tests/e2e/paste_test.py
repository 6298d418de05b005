"""Text that is pasted into a terminal: it runs line by line, in order, and none is lost."""

import unittest

import sweep
from typist import PROMPT, Typist

# Each line is in the settings file before it runs, which takes a loaded machine its time.
LONG_S = 150


class Pasting(Typist):
    COUNT = min(1000, sweep.count(1000))

    def check_order(self, answers, colon):
        """Every line was echoed at a prompt and answered before the next."""
        rows = [row for row in self.since().split("\n") if "line" in row]
        expected = []
        for number, answer in enumerate(answers, 1):
            expected += [f"{PROMPT}{colon}line{number}", answer]
        self.assertEqual(rows, expected)

    def test_a_bracketed_paste_of_many_lines_loses_none_and_runs_in_order(self):
        self.open_with_device()
        ends = ("\r", "\n", "\r\n")
        lines = "".join(f"line{number}" + ends[number % 3] for number in range(1, self.COUNT))
        self.type("\x1b[200~" + lines + f"line{self.COUNT}\x1b[201~")
        self.wait(lambda: self.ends_with(f"{PROMPT}line{self.COUNT}"), deadline_s=LONG_S)
        self.type("\r")
        self.wait(lambda: self.ends_with(f"'line{self.COUNT}' is not exist\n{PROMPT}"))
        self.check_order([f"Command 'line{number}' is not exist" for number in range(1, self.COUNT + 1)], "")

    def test_a_paste_without_marks_loses_none_and_runs_in_order(self):
        self.open_with_device()
        self.type("".join(f":line{number}\r" for number in range(1, self.COUNT + 1)))
        answers = [f"kiv: ':line{number}' is none of the console's own words; :help lists them"
                   for number in range(1, self.COUNT + 1)]
        self.wait(lambda: self.ends_with(f"{answers[-1]}\n{PROMPT}"), deadline_s=LONG_S)
        self.check_order(answers, ":")

    def test_keys_in_a_paste_are_text(self):
        self.open_with_device()
        self.type("\x1b[200~a\x01b\tc\x1b[Dd\x04\x1b[201~")
        self.wait(PROMPT + "a^Ab       c^[[Dd^D")

    def test_control_c_drops_what_is_left_of_a_paste(self):
        held = []
        self.open_with_device("--wait", "600000", answer=lambda device, head, body: held.append(head))
        self.type("\x1b[200~nv_read 7\rnonsense\rmore")
        self.wait(lambda: len(held) == 1)
        self.type("\x03")
        self.wait("^C\n" + PROMPT)
        self.type("\x1b[200~other\r\x1b[201~")
        self.wait("Command 'other' is not exist\n" + PROMPT)
        self.assertNotIn("nonsense", self.screen.text())


if __name__ == "__main__":
    unittest.main()
