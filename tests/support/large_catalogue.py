#!/usr/bin/env python3
"""Writes the source of a catalogue of many commands, for tests and benches: large_catalogue.py OUT [COUNT [SEED]].

The same count and seed give the same bytes on every machine and Python. Names are those that people give:
a subsystem, a thing, an action (modem_cell_power_read_0017); types are mixed: empty and large, flat and
nested, packed and natural, texts, enumerations, arrays of structures, defaults. Ids are spread, not in a row.
"""

import json
import sys

COUNT = 100_000
SEED = 20_261

SUBSYSTEMS = ("audio", "battery", "baseband", "bus", "camera", "cell", "clock", "codec", "display", "fuse",
              "gnss", "gpio", "i2c", "led", "mem", "modem", "nfc", "nv", "phy", "pmic", "power", "radio",
              "rtc", "sensor", "sim", "spi", "thermal", "timer", "touch", "uart", "usb", "wlan")
THINGS = ("antenna", "band", "buffer", "cal", "channel", "config", "counter", "current", "delay", "event",
          "filter", "frame", "freq", "gain", "irq", "level", "limit", "lock", "log", "mask", "mode", "offset",
          "path", "phase", "queue", "range", "rate", "register", "sample", "slot", "state", "table", "temp",
          "threshold", "token", "trace", "version", "voltage", "window", "zone")
ACTIONS = ("clear", "dump", "get", "list", "query", "read", "reset", "run", "set", "start", "stop", "test",
           "verify", "write")
UNITS = ("", "_ms", "_mv", "_khz", "_permille", "_bytes", "_count", "_dbm", "_kib", "_raw")
SCALARS = ("u8", "u16", "u32", "i8", "i16", "i32", "u32", "u16")
WIDTH_BITS = {"u8": 8, "i8": 8, "u16": 16, "i16": 16, "u32": 32, "i32": 32}
TYPE_COUNT = 2_000
ENUMERATION_COUNT = 40


class Chance:
    """Numbers that only the seed decides: a linear congruence modulo 2 to the 64th, its upper half used."""

    def __init__(self, seed):
        self.state = seed

    def below(self, limit):
        self.state = (self.state * 6364136223846793005 + 1442695040888963407) & (2**64 - 1)
        return (self.state >> 33) % limit

    def one_of(self, choices):
        return choices[self.below(len(choices))]

    def happens(self, percent):
        return self.below(100) < percent


def enumeration(chance, number):
    base = chance.one_of(("u8", "u16", "u8"))
    names = [f"{chance.one_of(THINGS)}_{n}" for n in range(2 + chance.below(9))]
    return {"name": f"choice_{number:03}", "base": base,
            "values": [{"name": name, "value": n * (1 + number % 3)} for n, name in enumerate(names)]}


def default_of(chance, scalar):
    bits = WIDTH_BITS[scalar]
    value = chance.below(2**min(bits - 1, 31))
    return -value if scalar[0] == "i" and chance.happens(40) else value


def field(chance, number, types, enumerations):
    made = {"name": f"{chance.one_of(THINGS)}{chance.one_of(UNITS)}_{number}"}
    kind = chance.below(100)
    if kind < 62 or not types:
        made["type"] = chance.one_of(SCALARS)
        if chance.happens(25):
            made["default"] = default_of(chance, made["type"])
    elif kind < 74:
        made["type"] = chance.one_of(SCALARS)
        made["count"] = 1 + chance.below(32)
    elif kind < 82:
        made["type"] = "char"
        made["count"] = 8 * (1 + chance.below(8))
    elif kind < 90:
        made["type"] = chance.one_of(enumerations)["name"]
    else:
        made["type"] = chance.one_of(types)["name"]
        if chance.happens(30):
            made["count"] = 1 + chance.below(4)
    if chance.happens(20):
        made["text"] = f"{chance.one_of(THINGS)} of the {chance.one_of(SUBSYSTEMS)}"
    return made


def structure(chance, number, flat, enumerations):
    """Only flat structures are nested, so that sizes stay those of real packets."""
    nests = number >= TYPE_COUNT // 4
    made = {"name": f"{chance.one_of(SUBSYSTEMS)}_{chance.one_of(THINGS)}_{number:04}"}
    if chance.happens(20):
        made["layout"] = "natural"
    count = 1 + chance.below(8) if chance.happens(85) else 16 + chance.below(48)
    made["fields"] = [field(chance, n, flat if nests else [], enumerations) for n in range(count)]
    return made


def command(chance, number, types):
    words = (chance.one_of(SUBSYSTEMS), chance.one_of(THINGS), chance.one_of(ACTIONS))
    made = {"id": f"0x{0x10000 + number * 7 + chance.below(7):x}",
            "name": "_".join(words) + f"_{number:05}",
            "text": f"{words[2].capitalize()}s the {words[1]} of the {words[0]}", "group": words[0]}
    kind = chance.below(100)
    if kind < 70:
        made["request"] = chance.one_of(types)["name"]
    if kind < 92:
        made["confirmation"] = chance.one_of(types)["name"]
    else:
        made["indication"] = chance.one_of(types)["name"]
    if chance.happens(3):
        made["listed"] = False
    if chance.happens(3):
        made["combined"] = "none"
    return made


def write(out, count=COUNT, seed=SEED):
    """One entry a line, so that the file can be read and searched."""
    chance = Chance(seed)
    enumerations = [enumeration(chance, n) for n in range(ENUMERATION_COUNT)]
    types = []
    for number in range(TYPE_COUNT):
        types.append(structure(chance, number, types[:TYPE_COUNT // 4], enumerations))

    def listed(name, entries, last=False):
        out.write(f'  "{name}": [\n')
        out.write(",\n".join("    " + json.dumps(entry) for entry in entries))
        out.write("\n  ]" + ("\n" if last else ",\n"))

    out.write('{\n  "format": 1,\n  "name": "large",\n  "layout": "packed",\n')
    out.write(f'  "text": "{count} commands made by chance, seed {seed}.",\n')
    listed("enumerations", enumerations)
    listed("types", types)
    listed("commands", (command(chance, n, types) for n in range(count)), last=True)
    out.write("}\n")


def main(arguments):
    if not 1 <= len(arguments) <= 3:
        print("usage: large_catalogue.py OUT [COUNT [SEED]]", file=sys.stderr)
        return 2
    with open(arguments[0], "w", encoding="utf-8") as out:
        write(out, *(int(argument) for argument in arguments[1:]))
    return 0


if __name__ == "__main__":
    sys.exit(main(sys.argv[1:]))
