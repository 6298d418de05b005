"""One row of the table that a sweep leaves: what was tried, how often, and what was found.

The row goes to standard output, and where KIV_REPORT_DIR names a folder into a file of its own there.
"""
import os
import pathlib
import re


def write(what, tried, seconds, found):
    row = f"{what}\t{tried}\t{seconds:.1f}\t{found}\n"
    print(row, end="", flush=True)
    folder = os.environ.get("KIV_REPORT_DIR")
    if folder:
        name = re.sub("[ ,/]", "_", what) + ".row"
        pathlib.Path(folder, name).write_text(row, encoding="utf-8")
