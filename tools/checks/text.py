#!/usr/bin/env python3
"""Checks the text of every file of the tree: line lengths, white space, machine paths, and the words of words.txt.

Usage: text.py [ROOT]

Prints a line for each problem, "file:line: what is wrong; what to write instead", and exits with status 1 when there is
one.
"""

import pathlib
import re
import subprocess
import sys

WORDS = pathlib.Path(__file__).with_name("words.txt")
LONGEST_LINE = 120
# Files whose lines are as long as their content wants.
LONG_LINES = re.compile(r"\.(md|json|ipynb|txt|toml|tbd|abi|1|css|js|html|svg)$")
BINARY = re.compile(r"\.(jpg|jpeg|png|webp|icc)$")
# Paths that exist on one machine only, and hosts that packages come from.
MACHINE_PATH = re.compile(r"(?<![\w.])/(?:home|root|work|Users)/\w")
REGISTRY = re.compile(r"\b(?:[\w-]+\.)*(?:debian\.(?:org|net)|npmjs\.(?:org|com)|pypi\.org|pythonhosted\.org)\b")


def read_words(text):
    """The table of words as (pattern, advice) pairs. Raises ValueError with the line number."""
    words = []
    for number, line in enumerate(text.splitlines(), 1):
        if not line.strip() or line.startswith("#"):
            continue
        pattern, tab, advice = line.partition("\t")
        if not tab:
            raise ValueError(f"line {number}: expected a pattern, a tab and what to write instead")
        words.append((re.compile(pattern), advice.strip()))
    return words


def problems(file, text, words):
    """Yields the problems of one file's text."""
    if text and not text.endswith("\n"):
        yield f"{file}:{text.count(chr(10)) + 1}: no line end at the end of the file"
    for number, line in enumerate(text.split("\n"), 1):
        place = f"{file}:{number}"
        if line != line.rstrip():
            yield f"{place}: white space at the end of the line"
        if len(line) > LONGEST_LINE and not LONG_LINES.search(file):
            yield f"{place}: {len(line)} columns, at most {LONGEST_LINE} are allowed"
        for pattern in (MACHINE_PATH, REGISTRY):
            if match := pattern.search(line):
                yield f"{place}: '{match.group()}' belongs to one machine"
        for pattern, advice in words:
            if match := pattern.search(line):
                yield f"{place}: '{match.group()}'; write {advice}"


def main(arguments):
    root = pathlib.Path(arguments[0] if arguments else ".")
    try:
        words = read_words(WORDS.read_text())
    except ValueError as error:
        sys.exit(f"{WORDS.name}: {error}")
    listed = subprocess.run(["git", "-C", root, "ls-files", "-z"], check=True, capture_output=True, text=True).stdout
    found = []
    for file in filter(None, listed.split("\0")):
        path = root / file
        # The table and its test hold the words themselves.
        if BINARY.search(file) or not path.is_file() or file.startswith(("tools/checks/", "tests/lint/")):
            continue
        found += problems(file, path.read_text(), words)
    print("\n".join(found), end="\n" if found else "")
    sys.exit(1 if found else 0)


if __name__ == "__main__":
    main(sys.argv[1:])
