#!/usr/bin/env python3
"""Writes the list of checks in docs/hosts.md from probe/checks.def.

Usage: host_checks.py [--check]       (--check only compares, exit status 1 if the page is not up to date)
"""

import pathlib
import re
import sys

ROOT = pathlib.Path(__file__).resolve().parents[1]
PAGE = ROOT / "docs" / "hosts.md"
ROW = re.compile(r'^CHECK\(\w+, "([^"]*)", "([^"]*)",\s+"([^"]*)",', re.MULTILINE)
# The list is the last section of the page.
HEADING = "## The checks\n"


def checks():
    """Name, rule and header of each check, in the order of the list."""
    return ROW.findall((ROOT / "probe" / "checks.def").read_text())


def section():
    lines, group = [], None
    for name, rule, header in checks():
        if lines and name.split(".")[0] != group:
            lines.append("")
        group = name.split(".")[0]
        lines.append(f"{name:28}{rule} ({header})")
    return f"{HEADING}\nIn brackets is the file of `interface/` that says so.\n\n```\n" + "\n".join(lines) + "\n```\n"


def main(arguments):
    if arguments not in ([], ["--check"]):
        sys.exit(__doc__.split("\n\n")[1])
    page = PAGE.read_text()
    text = page.partition(HEADING)[0] + section()
    if arguments and page != text:
        sys.exit("docs/hosts.md: not what probe/checks.def says; tools/host_checks.py writes it")
    if not arguments:
        PAGE.write_text(text)


if __name__ == "__main__":
    main(sys.argv[1:])
