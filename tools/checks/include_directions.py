#!/usr/bin/env python3
"""Checks that includes only point down: every arrow between two folders must be in include_directions.txt.

Usage: include_directions.py [ROOT]

A folder of that table is the longest listed prefix of a file's path. Includes of the standard library and of installed
libraries are not looked at. Exit status 1 when an include goes where the table has no arrow, when the table has a cycle,
a folder that does not exist or an arrow that nothing uses, and when an include in quotes names no file.
"""

import pathlib
import re
import subprocess
import sys

TABLE = pathlib.Path(__file__).with_name("include_directions.txt")
INCLUDE = re.compile(r'^[ \t]*#[ \t]*(?:include|import)[ \t]+(?:"([^"]+)"|<([^>]+)>)', re.MULTILINE)
# Where an include is looked for after the file's own folder, as in the build.
INCLUDE_PATHS = ("", "platform/CoreImage", "platform", "tests/engine", "tests/golden", "tests/support")


def read_table(text):
    """The table as {folder: set of folders that it may include}. Raises ValueError with the line number."""
    table = {}
    for number, line in enumerate(text.splitlines(), 1):
        line = line.split("#")[0].strip()
        if not line:
            continue
        folder, colon, below = line.partition(":")
        if not colon:
            raise ValueError(f"line {number}: expected 'folder: folders', got '{line}'")
        if folder in table:
            raise ValueError(f"line {number}: '{folder}' has a line already")
        # Why in order: a folder can only name folders above its line, so the table cannot have a cycle.
        unknown = [each for each in below.split() if each not in table]
        if unknown:
            raise ValueError(f"line {number}: '{folder}' may include '{unknown[0]}', which has no line before it")
        table[folder] = set(below.split())
    return table


def folder_of(path, table):
    """The longest folder of the table that holds the file; None for a file outside all of them."""
    matches = [folder for folder in table if path.startswith(folder + "/")]
    return max(matches, key=len, default=None)


def resolve(root, file, name):
    """The included file as a path below the root; None when it is not a file of the tree."""
    for base in (str(pathlib.PurePosixPath(file).parent),) + INCLUDE_PATHS:
        candidate = pathlib.PurePosixPath(base, name)
        if (root / candidate).is_file():
            return str(candidate)
    return None


def arrows(root, files, table):
    """Yields each include from one folder to another: file, line, folder, included folder or None, included file or None."""
    for file in files:
        source = folder_of(file, table)
        if source is None:
            continue
        text = (root / file).read_text()
        for match in INCLUDE.finditer(text):
            quoted, angled = match.groups()
            target = resolve(root, file, quoted or angled)
            line = text.count("\n", 0, match.start()) + 1
            if target is not None and folder_of(target, table) != source:
                yield file, line, source, folder_of(target, table), target
            if target is None and quoted and pathlib.PurePosixPath(quoted).name not in GENERATED:
                yield file, line, source, None, None


def problems(root, files, table):
    """Yields a line for each problem of the table and of the files' includes."""
    for folder in table:
        if not (root / folder).is_dir():
            yield f"{TABLE.name}: the folder '{folder}' does not exist"
    unused = {(folder, below) for folder in table for below in table[folder]}
    for file, line, source, below, target in arrows(root, files, table):
        unused.discard((source, below))
        if target is None:
            yield f"{file}:{line}: includes a file that is not in this tree"
        elif below not in table[source]:
            yield f"{file}:{line}: {source} must not include {below or 'what stands outside the table'} ({target})"
    for folder, below in sorted(unused):
        yield f"{TABLE.name}: '{folder}' may include '{below}', but nothing there does; remove the arrow"


# Made in the build folder.
GENERATED = {"keys.def", "lua.hpp"}


def main(arguments):
    root = pathlib.Path(arguments[0] if arguments else ".")
    listed = subprocess.run(["git", "-C", root, "ls-files", "*.h", "*.cpp", "*.mm", "*.inc"],
                            check=True, capture_output=True, text=True).stdout.split()
    try:
        table = read_table(TABLE.read_text())
    except ValueError as error:
        sys.exit(f"{TABLE.name}: {error}")
    found = list(problems(root, [file for file in listed if (root / file).is_file()], table))
    print("\n".join(found), end="\n" if found else "")
    sys.exit(1 if found else 0)


if __name__ == "__main__":
    main(sys.argv[1:])
