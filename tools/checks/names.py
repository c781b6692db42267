#!/usr/bin/env python3
"""Checks the casing of names: functions and methods PascalCase, enumerators kPascalCase, files snake_case.

Usage: names.py [ROOT]

Reads definitions and declarations with Universal Ctags, so it needs no build. Names that the platform, the boundary or
the language fixes are listed below. Exit status 1 when a name is cased otherwise.
"""

import json
import pathlib
import re
import subprocess
import sys

PASCAL = re.compile(r"[A-Z]\w*$")
ENUMERATOR = re.compile(r"k[A-Z0-9]\w*$")
FILE = re.compile(r"[a-z0-9_]+(?:-inl)?$")
# Function names that are not ours to choose.
GIVEN = re.compile(
    r"""operator\b|~|main$|offsetof$
    |(?:get|set)value[A-Z]|getattribute$|zvData$|originalZEVA|newMemoryBlock$|memoryBlockGet  # the boundary's own
    |(?:macos_)?objc_|macos_|_?setjmp$|longjmp$|_Unwind_|__                 # the Objective-C runtime and its frames
    |(?:calloc|malloc|free|realloc|pthread_self)$                    # replaced in tests
    |(?:begin|end|size|data|empty|what|back|push_back)$              # what the standard library looks for
    |make_usage$                                                     # overrides of the argument parser
    """,
    re.VERBOSE)
# Classes of the platform and the files that declare them keep their names; so do the headers of macOS.
GIVEN_FILES = re.compile(r"^platform/macos/|/(?:C[A-Z]|Core[A-Z]|ImageIO|NS)\w*\.(?:h|mm|cpp)$")
# Written for another compiler, in its names.
OTHER_SOURCES = re.compile(r"^platform/macos/")


def definitions(root, files):
    """The functions and enumerators of the files, as ctags reports them."""
    result = subprocess.run(
        ["ctags", "-L", "-", "--language-force=C++", "--kinds-C++=fpe", "--fields=+KSn", "--output-format=json", "-f", "-"],
        cwd=root, input="\n".join(files), check=True, capture_output=True, text=True)
    for line in result.stdout.splitlines():
        tag = json.loads(line)
        if tag.get("_type") == "tag":
            yield tag


def problems(root, files):
    """Yields a line for each name that is cased otherwise."""
    for file in files:
        if not FILE.match(pathlib.PurePosixPath(file).stem) and not GIVEN_FILES.search(file):
            yield f"{file}: the file's name is not snake_case"
    sources = [file for file in files if not OTHER_SOURCES.match(file)]
    for tag in definitions(root, sources):
        name, place = tag["name"], f"{tag['path']}:{tag['line']}"
        if tag["kind"] == "enumerator":
            if not ENUMERATOR.match(name):
                yield f"{place}: the enumerator '{name}' is not kPascalCase"
        elif not PASCAL.match(name) and not GIVEN.match(name):
            yield f"{place}: the function '{name}' is not PascalCase"


def main(arguments):
    root = pathlib.Path(arguments[0] if arguments else ".")
    listed = subprocess.run(["git", "-C", root, "ls-files", "*.h", "*.cpp", "*.mm"],
                            check=True, capture_output=True, text=True).stdout.split()
    found = list(problems(root, [file for file in listed if (root / file).is_file()]))
    print("\n".join(found), end="\n" if found else "")
    sys.exit(1 if found else 0)


if __name__ == "__main__":
    main(sys.argv[1:])
