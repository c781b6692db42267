#!/usr/bin/env python3
"""Counts the tests of several reports: a column per preset, and one for tests that ran the module's code for macOS.

Usage: count_tests.py BUILD_FOLDER...       (each with its tests.xml)

The last line is "N passed, N failed, N skipped". The exit status is 1 if a test failed. A missing report is one
failure.
"""

import pathlib
import re
import sys
import xml.etree.ElementTree as tree

RESULTS = "passed", "failed", "skipped"


def result_of(case):
    if case.find("failure") is not None:
        return "failed"
    return "passed" if case.find("skipped") is None and case.get("status") == "run" else "skipped"


def main(folders):
    columns = {}  # name -> result -> count
    for folder in map(pathlib.Path, folders):
        preset = columns.setdefault(folder.name, dict.fromkeys(RESULTS, 0))
        try:
            cases = tree.parse(folder / "tests.xml").getroot().iter("testcase")
        except (OSError, tree.ParseError):
            preset["failed"] += 1
            continue
        for case in cases:
            # The prefix of a test that ran this code ends in "_macos": "boundary_macos.Number...".
            on_macos_code = re.match(r"\w+_macos\.", case.get("name"))
            name = f"macos-{folder.name}" if on_macos_code else folder.name
            columns.setdefault(name, dict.fromkeys(RESULTS, 0))[result_of(case)] += 1
    totals = [sum(counts[result] for counts in columns.values()) for result in RESULTS]
    print(" " * 7, *columns, sep="  ")
    for result in RESULTS:
        print(f"{result:7}", *(f"{counts[result]:{len(name)}}" for name, counts in columns.items()), sep="  ")
    print(", ".join(f"{total} {result}" for total, result in zip(totals, RESULTS)))
    return 1 if totals[1] else 0


if __name__ == "__main__":
    sys.exit(main(sys.argv[1:]))
