"""Shared by the tests of the program: runs it, and writes and reads pictures.

Run a test file as: FILE ZEVA. Pictures are rows of (red, green, blue, alpha), top first.
"""

import faulthandler
import pathlib
import re
import struct
import subprocess
import sys
import tempfile
import unittest

sys.path.insert(0, str(pathlib.Path(__file__).parent.parent / "support"))
import picture
from catalogue import expected

ZEVA = sys.argv.pop(1)

# Sanitized programs need more memory.
IS_SANITIZED = b"__asan_init" in pathlib.Path(ZEVA).read_bytes()

# A program that takes longer has hung. On a crowded machine, or sanitized, most take many times as long as usual.
SECONDS = 600

# CTest ends a test after 900 seconds and does not know where it was.
faulthandler.dump_traceback_later(850)

# Classes that the two modules register: the filters and the companion's nine. The host itself has four more.
REGISTERED_CLASSES = expected("classes") + 9
HOST_CLASSES = 4

# A line for a step of apply, with the time that it took.
STEP = re.compile(r"(load|open|filter|write|skip) +[0-9.]+ ms  (.*)")

read_png = picture.read


def messages(text):
    """The lines of standard error that are not steps."""
    return [line for line in text.splitlines() if not STEP.match(line)]


def png(width, height, pixel=(200, 100, 50)):
    """The bytes of a PNG file, filled with one color or with the results of pixel(x, y), y down. RGB or RGBA."""
    at = pixel if callable(pixel) else lambda x, y: pixel
    return picture.encode([[at(x, y) for x in range(width)] for y in range(height)])


def png_size(path):
    return struct.unpack(">II", path.read_bytes()[16:24])


class ZevaTest(unittest.TestCase):
    """Gives each test its own folder, in which the program runs."""

    def setUp(self):
        folder = tempfile.TemporaryDirectory()
        self.addCleanup(folder.cleanup)
        self.folder = pathlib.Path(folder.name)
        self.photo = self.folder / "photo.png"
        self.photo.write_bytes(png(40, 30))
        self.out = self.folder / "out.png"

    def zeva(self, *arguments, **options):
        return subprocess.run(
            [ZEVA, *(word if isinstance(word, bytes) else str(word) for word in arguments)],
            **{"cwd": self.folder, "stdout": subprocess.PIPE, "stderr": subprocess.PIPE}
            | {"text": True, "timeout": SECONDS}
            | options,
        )

    def assert_works(self, *arguments, **options):
        """Asserts status 0 and that standard error has no line other than steps. Returns standard output."""
        result = self.zeva(*arguments, **options)
        self.assertEqual((result.returncode, messages(result.stderr)), (0, []))
        return result.stdout

    def assert_fails(self, status, message, *arguments, **options):
        """Asserts the status, the one message on standard error, and that there is no output file."""
        result = self.zeva(*arguments, **options)
        self.assertEqual(messages(result.stderr), [f"zeva: {message}"])
        self.assertEqual(result.returncode, status)
        self.assertFalse(self.out.exists())

    def steps(self, *arguments):
        """Runs apply with these words. Returns the steps that it prints on standard error: ["open: photo.png", ...]."""
        result = self.zeva("apply", *arguments)
        self.assertEqual((result.returncode, result.stdout), (0, ""))
        return [f"{step[1]}: {step[2]}" for step in map(STEP.match, result.stderr.splitlines()) if step]

    def render(self, *arguments):
        """Runs apply with these words. Returns the pixels of its output."""
        self.assert_works("apply", *arguments, "-o", self.out)
        return read_png(self.out)
