#!/usr/bin/env python3
"""The layout of the boundary and the exports of installed libraries are those of the snapshots.

Usage: abi_test.py BUILD_FOLDER BOUNDARY_LIBRARY [--update]

A change that is meant comes with new snapshots (--update) and a line in the changelog that says what authors of modules
and hosts have to do. The tools are those of libabigail.
"""

import pathlib
import re
import subprocess
import sys
import tempfile
import unittest

FOLDER = pathlib.Path(__file__).parent
UPDATES = "--update" in sys.argv
if UPDATES:
    sys.argv.remove("--update")
BOUNDARY = pathlib.Path(sys.argv.pop())
BUILD = pathlib.Path(sys.argv.pop())
WIDTH = {1: "i386", 2: "x86_64"}[BOUNDARY.read_bytes()[4]]
LAYOUT = FOLDER / f"boundary-{WIDTH}.abi"
# Names of members are source compatibility, which counts here, too.
COMPARE = ("abidiff", "--no-show-locs", "--harmless")
EXPORTS = FOLDER / f"exports-{WIDTH}.txt"


def run(*command):
    return subprocess.run(list(map(str, command)), stdout=subprocess.PIPE, stderr=subprocess.STDOUT, text=True)


def exports():
    """The names that installed libraries and modules export: "FILE NAME" each. C++ names are internal to this project,
    and so is what the Objective-C compiler adds to classes."""
    for path in sorted([*(BUILD / "lib").glob("lib*.so"), *(BUILD / "modules").glob("*.so")]):
        for name in run("nm", "--dynamic", "--defined-only", "--format=just-symbols", path).stdout.split():
            if not name.startswith(("_Z", ".objc_", "__objc_")):
                yield f"{path.relative_to(BUILD)} {name}"


def write_layout(library, path):
    done = run("abidw", "--no-show-locs", "--no-comp-dir-path", "--no-corpus-path", "--out-file", path, library)
    assert done.returncode == 0, done.stdout


def differences(library):
    """What abidiff says about a library and the snapshot; empty if they agree."""
    done = run(*COMPARE, LAYOUT, library)
    return done.stdout if done.returncode != 0 else ""


class AbiTest(unittest.TestCase):
    def test_the_layout_of_the_boundary_is_that_of_the_snapshot(self):
        self.assertEqual("", differences(BOUNDARY))

    def test_libraries_export_what_the_snapshot_names(self):
        expected = set(EXPORTS.read_text().splitlines())
        actual = set(exports())
        self.assertEqual((set(), set()), (expected - actual, actual - expected))

    def test_a_changed_layout_is_noticed(self):
        """A snapshot with one other size, offset or type differs from the library."""
        text = LAYOUT.read_text()
        changes = {
            "a size": (r"(name='ZEVAclassDefinition' size-in-bits=')(\d+)", lambda m: m[1] + str(int(m[2]) + 8)),
            "a value": (r"(<enumerator name='kZevaDone' value=')(\d+)", lambda m: m[1] + "77"),
            "a name": (r"(<var-decl name=')instanceDataSize", lambda m: m[1] + "dataSize"),
        }
        for what, (pattern, put) in changes.items():
            with self.subTest(what), tempfile.TemporaryDirectory() as folder:
                changed, count = re.subn(pattern, put, text, count=1)
                self.assertEqual(1, count)
                path = pathlib.Path(folder) / "changed.abi"
                path.write_text(changed)
                self.assertNotEqual(0, run(*COMPARE, path, BOUNDARY).returncode)


if __name__ == "__main__":
    if UPDATES:
        write_layout(BOUNDARY, LAYOUT)
        EXPORTS.write_text("\n".join(exports()) + "\n")
    else:
        unittest.main()
