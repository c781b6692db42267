#!/usr/bin/env python3
"""Removes the name of the source folder from installed binaries.

Usage: forget_source_folder.py FOLDER FILE...

The Objective-C compiler stores the path of each source file for debuggers, and no option makes that path relative. The
folder's name is overwritten with slashes of the same length, so nothing in the file moves.
"""

import os
import pathlib
import sys


def main(folder, files):
    name = os.fsencode(folder)
    for path in map(pathlib.Path, files):
        data = path.read_bytes()
        if name in data:
            path.write_bytes(data.replace(name, b"/" * len(name)))


if __name__ == "__main__":
    main(sys.argv[1], sys.argv[2:])
