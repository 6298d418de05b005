"""Makes parameter lines: good ones for a tree, good ones gone wrong, and plain noise."""

import case_files

NUMBERS = [
    "0", "1", "7", "44", "127", "128", "255", "256", "300", "32767", "32768", "65535", "65536",
    "2147483647", "2147483648", "4294967295", "4294967296", "99999999999999999999",
    "18446744073709551615", "18446744073709551616", "-0", "-1", "-5", "-128", "-129", "-32769",
    "-2147483648", "-4294967295", "-4294967296", "-99999999999999999999", "+1", "+0x10", "-0x10",
    "0x0", "0x1F", "0X1f", "0xFFFFFFFF", "0x100000000", "0xffffffffffffffffff", "00", "017",
    "-017", "0377", "037777777777", "040000000000", " 5", "\t6", "\x0d7",
    "\u00a05", "\u20035", "\u3000-6", "\u00857", "\u20288", "0000000000000000000012",
]
BROKEN_NUMBERS = [
    "08", "0x", "0X", "0xg", "0b11", "-", "+", "--1", "+-1", "- 1", "1 2", "12abc", "abc", "x",
    "1.5", "1e3", "0x1F ", "5 ", " ", "1\t", "\u0661", "1\u00a0", "\U0001f600",
    "\u200b5", "\ufeff5", "-\u00a05", "5\u2003", "'1'", "\"a\"",
    "0x-1", "1_000", "%d", "%1", "]", "1]", "(", ")", "@", "#",
]
HOT = list("{}[],,, -+0189xXaF@#$()<TB\n\t\r%") + [
    "$(T<", "$(B<", "},", ",{", "[]", "{}", " ,", ", ", "  ", "}},{", "}}},{{", "}},{{",
]


class LineMaker:
    """Draws lines from one random source. `directory` is where the files are, or None."""

    def __init__(self, random, directory):
        self.random = random
        self.directory = directory

    def chance(self, share):
        return self.random.random() < share

    def path(self, names):
        name = self.random.choice(names)
        return name if name == "" else self.directory + "/" + name

    def number(self):
        r = self.random
        if self.chance(0.02):
            return r.choice(BROKEN_NUMBERS)
        if self.chance(0.5):
            return r.choice(NUMBERS)
        value = r.getrandbits(r.choice((3, 8, 16, 31, 32, 33, 64)))
        text = r.choice(("%d", "%d", "%d", "0x%x", "0X%X", "0%o")) % value
        return r.choice(("", "", "", "-", "+")) + text

    def item(self, empty_share=0.1):
        if self.chance(empty_share):
            return ""
        if self.directory and self.chance(0.01):
            return "$(T<" + self.path(case_files.text_names()) + ")"
        return self.number()

    def array(self, count):
        if self.directory and self.chance(0.04):
            return "$(B<" + self.path(case_files.binary_names()) + ")"
        if self.directory and self.chance(0.03):
            return "[$(T<" + self.path(case_files.text_names()) + ")]"
        used = count
        if self.chance(0.2):
            used = self.random.randrange(0, count + 3)
        text = "[" + ",".join(self.item() for _ in range(used)) + "]"
        return " " + text if self.chance(0.05) else text

    def for_tree(self, nodes):
        """A line that fits the nodes (document order), flat or with one brace a level."""
        flat = self.chance(0.3)
        parts, depth = [], 0
        opened = ""
        for node in nodes:
            leaf = node.kind in (0, 8, 16, 1, 9)
            if not leaf:
                continue
            text = self.array(node.size // node.width if node.width else 1) \
                if node.kind in (1, 9) else self.item()
            if not flat and node.depth > 0:
                while depth > node.depth:
                    parts[-1] += "}"
                    depth -= 1
                while depth < node.depth:
                    opened += "{"
                    depth += 1
                if node.depth > 1 and parts and self.chance(0.1) and not opened:
                    parts[-1] += "}"
                    opened = "{"
            parts.append(opened + text)
            opened = ""
        line = (",\n" if self.chance(0.05) else ", " if self.chance(0.05) else ",").join(parts)
        line += "}" * depth
        if self.chance(0.15):
            line = line[:self.random.randrange(0, len(line) + 1)]
            if line.startswith("{") and self.chance(0.8):
                line += "}" * self.random.randrange(1, 3)
        return line

    def mutate(self, line):
        r = self.random
        for _ in range(r.choice((1, 1, 1, 2, 4))):
            at = r.randrange(0, len(line) + 1)
            kind = r.randrange(6)
            if kind == 0:
                line = line[:at] + r.choice(HOT) + line[at:]
            elif kind == 1:
                line = line[:at] + line[at + 1:]
            elif kind == 2:
                line = line[:at] + r.choice(HOT) + line[at + 1:]
            elif kind == 3:
                end = r.randrange(at, min(len(line), at + 6) + 1)
                line = line[:end] + line[at:end] + line[end:]
            elif kind == 4 and "," in line:
                line = line.replace(",", r.choice(("}},{", "}},", "},{", "}}},{{")), 1)
            else:
                line = line[:at] + self.number() + line[at:]
        return line

    def noise(self):
        r = self.random
        pieces = []
        for _ in range(r.randrange(0, 14)):
            pieces.append(self.number() if self.chance(0.3) else r.choice(HOT))
        line = "".join(pieces)
        return "{" + line + "}" if self.chance(0.6) else line

    def with_file(self, line):
        """Puts a file reference somewhere into the line."""
        r = self.random
        kind = r.randrange(4)
        at = r.randrange(0, len(line) + 1)
        if kind == 0:
            return line[:at] + "@" + self.path(case_files.command_names())
        names = case_files.binary_names() if kind == 1 else case_files.text_names()
        tag = "$(B<" if kind == 1 else "$(T<"
        text = tag + self.path(names) + ("" if self.chance(0.05) else ")")
        if kind == 3:
            text = r.choice(("$(", "$")) + "$(T<" + self.directory + "/tag_half.txt)"
        return line[:at] + text + line[at:]

    def line(self, nodes):
        share = self.random.random()
        line = self.noise() if share < 0.25 else self.for_tree(nodes)
        if 0.25 <= share < 0.55:
            line = self.mutate(line)
        if self.directory and self.chance(0.12):
            line = self.with_file(line)
        return line
