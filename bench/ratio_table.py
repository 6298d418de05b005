#!/usr/bin/python3
"""Puts the figures of the benches beside the goals: ratio_table.py FIGURES.json...

Each file is what a bench wrote with --benchmark_out. Medians of the repetitions are compared within one
run, so a busy machine moves both sides of a ratio. A row is held against its "limit", unless it names
another under "against"; a case without a goal only informs. Output is the table of docs/performance.md.
"""
import json
import os
import statistics
import sys

HERE = os.path.dirname(os.path.abspath(__file__))


def read_figures(paths):
    """(row, shape, who) to the median time in ns, and counters to theirs."""
    times, counters = {}, {}
    for path in paths:
        with open(path, encoding="utf-8") as file:
            document = json.load(file)
        for entry in document["benchmarks"]:
            if entry.get("run_type") != "iteration":
                continue
            if entry.get("error_occurred"):
                sys.exit("ratio_table: %s: %s" % (entry["name"], entry["error_message"]))
            key = tuple(entry["name"].split("/")[:3])
            scale = {"ns": 1, "us": 1e3, "ms": 1e6, "s": 1e9}[entry["time_unit"]]
            times.setdefault(key, []).append(entry["real_time"] * scale)
            for name in ("bytes", "lost"):
                if name in entry:
                    counters.setdefault(key + (name,), []).append(entry[name])
    return ({key: statistics.median(values) for key, values in times.items()},
            {key: statistics.median(values) for key, values in counters.items()})


def time_text(ns):
    for unit, scale in (("ns", 1), ("us", 1e3), ("ms", 1e6)):
        if ns < 1000 * scale:
            return "%.3g %s" % (ns / scale, unit)
    return "%.3g s" % (ns / 1e9)


def table_rows(goals, times, counters):
    for row in goals:
        for case in row["cases"]:
            key = (row["row"], case["shape"])
            figure = row.get("figure", "ratio")
            if figure == "bytes":
                value = counters.get(key + ("ours", "bytes"))
                if value is None:
                    continue
                yield (row["title"], case["name"], "%.1f MiB" % (value / 2**20), "", "",
                       "%.1f MiB" % (value / 2**20), "%g MiB" % (case["goal"] / 2**20),
                       verdict(value, case["goal"]))
                continue
            ours = times.get(key + ("ours",))
            if ours is None:
                continue
            if figure == "time":
                yield (row["title"], case["name"], time_text(ours), "", "", time_text(ours),
                       time_text(case["goal"]), verdict(ours, case["goal"]))
                continue
            limit = times[key + (row.get("against", "limit"),)]
            peer = times.get(key + ("peer",))
            goal = case.get("goal")
            yield (row["title"], case["name"], time_text(ours), time_text(limit),
                   "%.3g" % (peer / limit) if peer else "", "%.2f" % (ours / limit),
                   "%g" % goal if goal else "", verdict(ours / limit, goal) if goal else "")


def verdict(value, goal):
    return "met" if value <= goal else "%.2g times the goal" % (value / goal)


def main():
    with open(os.path.join(HERE, "goals.json"), encoding="utf-8") as file:
        goals = json.load(file)["rows"]
    times, counters = read_figures(sys.argv[1:])
    print("| Hot path | Case | Time here | Time of the limit | Peer, times the limit "
          "| Here, times the limit | Goal | |")
    print("|---|---|---|---|---|---|---|---|")
    last = None
    for cells in table_rows(goals, times, counters):
        title = cells[0] if cells[0] != last else ""
        last = cells[0]
        print("| " + " | ".join((title,) + cells[1:]) + " |")


if __name__ == "__main__":
    main()
