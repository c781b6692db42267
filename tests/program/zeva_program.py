"""What the tests of the program share: running it, and pictures to feed it and to look into.

A test file is run as: FILE ZEVA. Pictures are 8-bit PNG files, written and read here so that no codec of the program judges
itself.
"""

import pathlib
import struct
import subprocess
import sys
import tempfile
import unittest
import zlib

ZEVA = sys.argv.pop(1)


def png(width, height, pixel=(200, 100, 50)):
    """The bytes of a picture: of one colour, or of what the function pixel(x, y) gives, y down. RGB or RGBA."""
    at = pixel if callable(pixel) else lambda x, y: pixel
    rows = [[bytes(at(x, y)) for x in range(width)] for y in range(height)]
    colour_type = {3: 2, 4: 6}[len(rows[0][0])]

    def chunk(kind, data):
        return struct.pack(">I", len(data)) + kind + data + struct.pack(">I", zlib.crc32(kind + data))

    header = struct.pack(">IIBBBBB", width, height, 8, colour_type, 0, 0, 0)
    data = b"".join(b"\0" + b"".join(row) for row in rows)
    return b"\x89PNG\r\n\x1a\n" + chunk(b"IHDR", header) + chunk(b"IDAT", zlib.compress(data)) + chunk(b"IEND", b"")


def png_size(path):
    return struct.unpack(">II", path.read_bytes()[16:24])


def _paeth(a, b, c):
    estimate = a + b - c
    return min((a, b, c), key=lambda value: abs(estimate - value))


def read_png(path):
    """The rows of a picture, top first; each a list of pixels as tuples."""
    data = path.read_bytes()
    width, height, depth, colour_type = struct.unpack(">IIBB", data[16:26])
    channels = {0: 1, 2: 3, 4: 2, 6: 4}[colour_type]
    assert depth == 8, depth
    packed, position = b"", 8
    while position < len(data):
        (length,) = struct.unpack(">I", data[position : position + 4])
        if data[position + 4 : position + 8] == b"IDAT":
            packed += data[position + 8 : position + 8 + length]
        position += length + 12
    packed, stride, above, rows = zlib.decompress(packed), width * channels, None, []
    above = bytearray(stride)
    for y in range(height):
        kind, *line = packed[y * (stride + 1) : (y + 1) * (stride + 1)]
        for i in range(stride):
            left = line[i - channels] if i >= channels else 0
            corner = above[i - channels] if i >= channels else 0
            predicted = (0, left, above[i], (left + above[i]) // 2, _paeth(left, above[i], corner))[kind]
            line[i] = (line[i] + predicted) & 255
        rows.append([tuple(line[i : i + channels]) for i in range(0, stride, channels)])
        above = line
    return rows


class ZevaTest(unittest.TestCase):
    """Each test has a folder of its own, in which the program runs."""

    def setUp(self):
        folder = tempfile.TemporaryDirectory()
        self.addCleanup(folder.cleanup)
        self.folder = pathlib.Path(folder.name)
        self.photo = self.folder / "photo.png"
        self.photo.write_bytes(png(40, 30))
        self.out = self.folder / "out.png"

    def zeva(self, *arguments, **options):
        return subprocess.run(
            [ZEVA, *map(str, arguments)], cwd=self.folder, capture_output=True, text=True, timeout=60, **options
        )

    def assert_works(self, *arguments, **options):
        """Status 0 and not a word on standard error. Answers standard output."""
        result = self.zeva(*arguments, **options)
        self.assertEqual((result.returncode, result.stderr), (0, ""))
        return result.stdout

    def assert_fails(self, status, message, *arguments):
        """One line on standard error, the status, and no output file."""
        result = self.zeva(*arguments)
        self.assertEqual(result.stderr, f"zeva: {message}\n")
        self.assertEqual(result.returncode, status)
        self.assertFalse(self.out.exists())

    def render(self, *arguments):
        """The pixels of what apply writes for these words."""
        self.assert_works("apply", *arguments, "-o", self.out)
        return read_png(self.out)
