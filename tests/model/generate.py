#!/usr/bin/env python3
"""Writes comparison cases, one JSON object a line: generate.py SEED COUNT [DIRECTORY]

The same SEED, COUNT and DIRECTORY give the same cases. DIRECTORY must be empty: the files that
lines refer to are made there; without it no line refers to a file.

A case is one of these ("ok" is 0 or 1, bytes are hexadecimal, STATE is position, depth, index):

    {"t": "number", "text": TEXT or null, "ok", "value", "err"}
    {"t": "requests", "line", "ok", "err", "state": STATE, "steps": [STEP...]}
        STEP: ["v", ok, value, left at default, err, position, depth, index]
            | ["a", width, size, BYTES before or null, ok, BYTES after or null, err, position, ...]
    {"t": "fill", "line", "ok", "err", "state": STATE, "nodes": [NODE...],
     "status", "fill_err", "walk": [[status, position, depth, index]...], "bytes": [BYTES...]}
        NODE: [depth, kind, width, size, BYTES default, length of the shown buffer or null]

"err" is the reader's error text at that moment. A case whose line is refused has no steps and no
walk. "bytes" are the values of the nodes afterwards, in document order.
"""

import json
import random
import sys

import case_files
import param_model
from case_lines import BROKEN_NUMBERS, NUMBERS, LineMaker
from param_model import Node, ParamReader

WIDTHS = (1, 2, 4, 8)
OTHER_KINDS = (17, 24, 25, 32, 33, 24, 24, 17, 2, 5, 40, -1)


def random_bytes(source, count):
    return bytes(source.getrandbits(8) for _ in range(count))


def make_leaf(source, depth):
    if source.random() < 0.7:
        width = source.choice(WIDTHS)
        return Node(depth, source.choice((0, 0, 8, 16)), width, width,
                    random_bytes(source, width), None)
    width = source.choice((1, 1, 2, 4, 4, 8))
    size = width * source.choice((1, 1, 2, 3, 3, 4, 8))
    shown = size
    rare = source.random()
    if rare < 0.02:
        width = 0
    elif rare < 0.04:
        size = shown = 0
    elif rare < 0.06:
        shown = size + source.choice((-1, 1))
    elif rare < 0.15:
        shown = None
    return Node(depth, source.choice((1, 1, 9)), width, size,
                random_bytes(source, size), shown)


def make_nodes(source):
    """A tree as document order with depths: the root is a structure, sometimes a lone leaf."""
    if source.random() < 0.02:
        return [make_leaf(source, 0)]
    nodes = [Node(0, 24, 0, 0, b"", None)]

    def children(depth):
        for _ in range(source.choice((1, 1, 2, 2, 3, 4))):
            if len(nodes) > 24:
                return
            if depth < 5 and source.random() < 0.3:
                nodes.append(Node(depth, source.choice(OTHER_KINDS), 0, 0, b"", None))
                children(depth + 1)
            else:
                nodes.append(make_leaf(source, depth))

    children(1)
    return nodes


def number_case(source, maker):
    share = source.random()
    if share < 0.01:
        text = None
    elif share < 0.4:
        text = source.choice(NUMBERS + BROKEN_NUMBERS + [""])
    elif share < 0.7:
        text = maker.mutate(maker.number())
    else:
        text = maker.number()
    reader = ParamReader()
    good, value = reader.number(text)
    return {"t": "number", "text": text, "ok": int(good), "value": value, "err": reader.error}


def request_steps(source, reader):
    steps = []
    for _ in range(source.randrange(1, 9)):
        if source.random() < 0.65:
            good, value, at_default = reader.next_value()
            step = ["v", int(good), value, int(at_default)]
        else:
            width = source.choice((0, 1, 1, 2, 2, 4, 4, 8, 3, 16))
            size = source.randrange(0, 5) * (width or 1) + source.choice((0, 0, 0, 1))
            before = bytearray(random_bytes(source, size)) if source.random() < 0.97 else None
            after = None if before is None else bytearray(before)
            good = reader.next_array(after, width, size)
            step = ["a", width, size, None if before is None else before.hex(), int(good),
                    None if after is None else after.hex()]
        steps.append(step + [reader.error] + reader.state())
    return steps


def opened(line):
    reader = ParamReader()
    good = reader.set_line(line)
    return reader, {"line": line, "ok": int(good), "err": reader.error, "state": reader.state()}


def requests_case(source, maker):
    reader, case = opened(maker.line(make_nodes(source)))
    case.update(t="requests", steps=request_steps(source, reader) if case["ok"] else [])
    return case


def fill_case(source, maker):
    nodes = make_nodes(source)
    reader, case = opened(maker.line(nodes))
    case["nodes"] = [[n.depth, n.kind, n.width, n.size, n.value.hex(), n.buffer_bytes]
                     for n in nodes]
    status, text, walk = param_model.fill(nodes, reader) if case["ok"] else (0, "", [])
    case.update(t="fill", status=status, fill_err=text, walk=walk,
                bytes=[node.value.hex() for node in nodes])
    return case


def cases(seed, count, directory):
    source = random.Random(seed)
    maker = LineMaker(source, directory)
    for _ in range(count):
        kind = source.random()
        make = number_case if kind < 0.08 else requests_case if kind < 0.45 else fill_case
        yield make(source, maker)


def main(arguments):
    if len(arguments) not in (2, 3):
        sys.exit("usage: generate.py SEED COUNT [DIRECTORY]")
    directory = arguments[2] if len(arguments) == 3 else None
    if directory:
        case_files.make_files(directory)
    for case in cases(int(arguments[0]), int(arguments[1]), directory):
        sys.stdout.write(json.dumps(case) + "\n")


if __name__ == "__main__":
    main(sys.argv[1:])
