"""The examples of a page: indented and fenced blocks of Markdown, display blocks of a manual page."""

import dataclasses
import re

PROMPT = "kiv> "
SHELL = "$ "


@dataclasses.dataclass
class Step:
    """A line that is typed, where, and the lines that the page shows behind it."""
    where: str  # PROMPT or SHELL
    line: str
    shown: list


@dataclasses.dataclass
class Example:
    page: str
    number: int  # of its first line in the page
    label: str   # of a fenced block; empty: an indented one
    lines: list
    is_fenced: bool = False

    @property
    def place(self):
        return f"{self.page}:{self.number}"

    def steps(self):
        """What is typed, in order, with what is shown."""
        if not any(line.startswith((SHELL, PROMPT)) for line in self.lines):
            return [Step(SHELL, line, []) for line in self.lines if line]
        steps = []
        for line in self.lines:
            for where in (SHELL, PROMPT):
                if line.startswith(where):
                    steps.append(Step(where, line[len(where):], []))
                    break
            else:
                if not steps:
                    raise ValueError(f"{self.place}: begins with what is shown")
                steps[-1].shown.append(line)
        return steps


def markdown(name, text):
    examples, lines = [], text.split("\n")
    index = 0
    while index < len(lines):
        line, begin = lines[index], index
        fence = re.match(r"```+", line)
        if fence:
            end = index + 1
            while end < len(lines) and not lines[end].startswith(fence[0]):
                end += 1
            examples.append(Example(name, begin + 1, line[len(fence[0]):].strip(), lines[begin + 1:end],
                                    is_fenced=True))
            index = end + 1
        elif line.startswith("    ") and (begin == 0 or not lines[begin - 1].strip()):
            while index < len(lines) and (lines[index].startswith("    ") or not lines[index].strip()):
                index += 1
            block = [row[4:] for row in lines[begin:index]]
            while block and not block[-1]:
                block.pop()
            examples.append(Example(name, begin + 1, "", block))
        else:
            index += 1
    return examples


def manual(name, text):
    """Display blocks (.Bd to .Ed) and lines of examples (.Dl) of an mdoc page."""
    examples, block, begin = [], None, 0
    for number, line in enumerate(text.split("\n"), 1):
        if line.startswith(".Bd"):
            block, begin = [], number + 1
        elif line.startswith(".Ed"):
            examples.append(Example(name, begin, "", block))
            block = None
        elif line.startswith(".Dl "):
            examples.append(Example(name, number, "", [plain(line[4:])]))
        elif block is not None:
            block.append(plain(line))
    return examples


def plain(line):
    """A line of roff as it is read: escapes of minus, backslash and a leading dot undone."""
    return line.removeprefix(r"\&").replace(r"\-", "-").replace(r"\e", "\\").replace(r"\(aq", "'")
