#!/usr/bin/env python3
"""Runs every script in examples/ on small pictures whose results can be computed by hand.

Usage: examples_test.py PATH_OF_ZEVA FOLDER_OF_EXAMPLES
"""

import math
import pathlib
import random
import re
import subprocess
import sys
import tempfile
import unittest

sys.path.insert(0, str(pathlib.Path(__file__).parent.parent / "support"))
import picture
from picture import byte, light, plain

EXAMPLES = pathlib.Path(sys.argv.pop(2))
ZEVA = sys.argv.pop(1)

BLACK, WHITE = (0, 0, 0), (255, 255, 255)


class ExamplesTest(unittest.TestCase):
    def setUp(self):
        folder = tempfile.TemporaryDirectory()
        self.addCleanup(folder.cleanup)
        self.folder = pathlib.Path(folder.name)

    def file(self, name, rows):
        picture.write(self.folder / name, rows)

    def zeva(self, example, *arguments, status=0, error=""):
        """Runs an example in the test's folder and returns what it prints."""
        result = subprocess.run(
            [ZEVA, "run", EXAMPLES / f"{example}.lua", *map(str, arguments)],
            cwd=self.folder,
            capture_output=True,
            text=True,
            timeout=60,
        )
        self.assertEqual(result.stderr, error)
        self.assertEqual(result.returncode, status)
        return result.stdout

    def picture(self, name):
        return picture.read(self.folder / name)

    def assert_size(self, rows, width, height):
        self.assertEqual((len(rows[0]), len(rows)), (width, height))

    def assert_near(self, pixel, color, tolerance=1):
        self.assertEqual(pixel[3], 255)
        for got, expected in zip(pixel, color):
            self.assertLessEqual(abs(got - expected), tolerance, f"{pixel} instead of {color}")

    def test_every_example_has_a_test(self):
        names = {path.stem for path in EXAMPLES.glob("*.lua")}
        self.assertEqual(names, {name[len("test_the_") :] for name in dir(self) if name.startswith("test_the_")})
        self.assertGreaterEqual(len(names), 10)

    def test_without_its_arguments_each_prints_the_usage_of_its_first_lines(self):
        for path in sorted(EXAMPLES.glob("*.lua")):
            usage = re.search(r"^--   (zeva run examples/.*?)(?: {3,}.*)?$", path.read_text(), re.M)[1]
            self.assertEqual(self.zeva(path.stem, status=2, error=f"usage: {usage}\n"), "")
            self.assertEqual(self.zeva(path.stem, "only-one", status=2, error=f"usage: {usage}\n"), "")

    def test_the_blur(self):
        self.file("in.png", [[BLACK] * 30 + [WHITE] * 30] * 20)
        self.zeva("blur", "in.png", "out.png", 3)
        rows = self.picture("out.png")
        self.assert_size(rows, 60, 20)
        # Beside the edge: a normal distribution with a deviation of 3 pixels, integrated up to half a pixel from its
        # center.
        share = 0.5 * (1 + math.erf(-0.5 / 3 / math.sqrt(2)))
        self.assert_near(rows[10][29], [byte(share)] * 3, 2)
        self.assert_near(rows[10][30], [byte(1 - share)] * 3, 2)
        self.assert_near(rows[10][15], BLACK)
        self.assert_near(rows[10][45], WHITE)

    def test_the_watermark(self):
        self.file("photo.png", plain(80, 40, (100, 60, 20)))
        self.file("mark.png", plain(10, 10, (255, 255, 255, 255)))
        self.zeva("watermark", "photo.png", "mark.png", "out.png")
        rows = self.picture("out.png")
        self.assert_size(rows, 80, 40)
        marked = [byte(0.5 + 0.5 * light(number)) for number in (100, 60, 20)]
        # 20 pixels wide and high, 4 from the right and from the bottom. Scaling it to twice its size softened its
        # edges.
        for y in range(40):
            for x in range(80):
                inside = min(x - 56, 75 - x, y - 16, 35 - y)
                if inside >= 1:
                    self.assert_near(rows[y][x], marked)
                elif inside < -1:
                    self.assert_near(rows[y][x], (100, 60, 20))

    def test_the_thumbnails(self):
        self.file("wide.png", [[(200, 0, 0)] * 160 + [(0, 0, 200)] * 160] * 200)
        self.file("small.png", plain(20, 30, (0, 150, 0)))
        (self.folder / "broken.png").write_bytes(b"no picture")
        (self.folder / "out").mkdir()
        error = (f"{EXAMPLES}/thumbnails.lua:20: RuntimeException: broken.png: "
                 "not a PNG, JPEG, WebP, TIFF, AVIF or HEIF file; no image was opened\n")
        self.zeva("thumbnails", "out", "wide.png", "broken.png", "small.png", status=1, error=error)
        self.assertEqual(sorted(path.name for path in (self.folder / "out").iterdir()), ["small.jpg", "wide.jpg"])
        # The script converts the JPEG files to PNG, which this test can read.
        script = "CIImageQOR.Open(arg[1]):Save(arg[2])"
        for name, width, height, left, right in (
            ("wide", 160, 100, (200, 0, 0), (0, 0, 200)),
            ("small", 20, 30, (0, 150, 0), (0, 150, 0)),
        ):
            command = [ZEVA, "run", "-", f"out/{name}.jpg", f"{name}-read.png"]
            subprocess.run(command, cwd=self.folder, input=script, text=True, check=True, timeout=60)
            rows = self.picture(f"{name}-read.png")
            self.assert_size(rows, width, height)
            self.assert_near(rows[height // 2][width // 8], left, 6)
            self.assert_near(rows[height // 2][width * 7 // 8], right, 6)

    def test_the_vintage(self):
        self.file("in.png", [[BLACK] * 40 + [(128, 128, 128)] * 40] * 60)
        self.zeva("vintage", "in.png", "out.png")
        rows = self.picture("out.png")
        self.assert_size(rows, 80, 60)
        black, gray, corner = rows[30][30], rows[30][50], rows[0][79]
        self.assertGreater(black[0], 20)
        for pixel in (gray, corner):
            self.assertTrue(pixel[0] > pixel[1] > pixel[2])
        self.assertLess(corner[1], 0.8 * gray[1])
        self.assertGreater(gray[1], 80)

    def test_the_transition(self):
        self.file("from.png", plain(20, 10, (255, 0, 0)))
        self.file("to.png", plain(40, 40, (0, 0, 255)))
        self.zeva("transition", "from.png", "to.png", ".", 5)
        for frame in range(5):
            rows = self.picture(f"frame-{frame:02}.png")
            self.assert_size(rows, 20, 10)
            self.assert_near(rows[5][10], (byte(1 - frame / 4), 0, byte(frame / 4)))
        self.assertFalse((self.folder / "frame-05.png").exists())
        (self.folder / "frame-00.png").unlink()
        self.zeva("transition", "from.png", "to.png", ".", 1)
        self.assert_near(self.picture("frame-00.png")[5][10], (255, 0, 0))
        for kind in ("bars", "flash", "copy"):
            self.zeva("transition", "from.png", "to.png", ".", 2, kind)
            for frame, color in ((0, (255, 0, 0)), (1, (0, 0, 255))):
                for y in (1, 8):
                    for x in (2, 17):
                        self.assert_near(self.picture(f"frame-{frame:02}.png")[y][x], color, 3)

    def test_the_histogram(self):
        # Red: all dark. Green: half dark, half bright. Blue: a quarter dark, three quarters bright.
        self.file("in.png", [[(0, 0, 0)] * 5 + [(0, 0, 255)] * 5 + [(0, 255, 255)] * 10] * 4)
        self.zeva("histogram", "in.png", "out.png")
        rows = self.picture("out.png")
        self.assert_size(rows, 256, 128)
        heights = {0: (128, 64, 32), 255: (0, 64, 96)}
        for bin in range(256):
            for channel in range(3):
                lit = sum(row[bin][channel] == 255 for row in rows)
                self.assertEqual(lit, heights.get(bin, (0, 0, 0))[channel], f"bin {bin}, channel {channel}")

    def test_the_contact_sheet(self):
        color = (120, 60, 30)
        self.file("in.png", plain(240, 160, color))
        self.zeva("contact_sheet", "in.png", "out.png")
        rows = self.picture("out.png")
        self.assert_size(rows, 8 + 5 * 128, 8 + 4 * 88)
        self.assert_near(rows[4][4], (32, 32, 32))

        def cell(column, row):
            return rows[len(rows) - (8 + row * 88 + 40)][8 + column * 128 + 60]

        for column, exposure in enumerate((-1, -0.5, 0, 0.5, 1)):
            expected = [byte(light(number) * 2**exposure) for number in color]
            self.assert_near(cell(column, 2), expected, 2)
            gray = cell(column, 0)
            self.assertTrue(max(gray[:3]) - min(gray[:3]) <= 1)
        self.assertGreater(cell(2, 3)[0] - cell(2, 3)[2], color[0] - color[2])

    def test_the_grade(self):
        # These colors are grid points of the cube, so nothing is interpolated.
        for color in ((51, 102, 153), (17, 17, 17), (238, 221, 204)):
            self.file("in.png", plain(4, 4, color))
            self.zeva("grade", "in.png", "out.png")
            red, green, blue = (number / 255 for number in color)
            push = 0.18 * (2 * (0.2126 * red + 0.7152 * green + 0.0722 * blue) - 1)
            expected = [round(255 * min(max(x, 0), 1)) for x in (red + push, green + 0.2 * push, blue - push)]
            self.assert_near(self.picture("out.png")[1][1], expected)

    def test_the_spotlight(self):
        self.file("in.png", plain(60, 40, (200, 100, 50)))
        self.zeva("spotlight", "in.png", "out.png", 20, 30, 15)
        rows = self.picture("out.png")
        self.assert_size(rows, 60, 40)
        self.assert_near(rows[9][20], (200, 100, 50), 4)
        for x, y in ((59, 39), (0, 39), (59, 0)):
            self.assertLessEqual(max(rows[y][x][:3]) - min(rows[y][x][:3]), 1)
            self.assertGreater(rows[y][x][0], 90)

    def test_the_palette(self):
        colors = [[(20 * (4 * row + column) + 10, 100, 200 - 30 * row) for column in range(4)] for row in range(3)]
        # The example measures from the bottom up, so the top row of the picture comes last.
        self.file("in.png", [[colors[2 - y // 16][x // 24] for x in range(96)] for y in range(48)])
        printed = self.zeva("palette", "in.png", "out.png").split()
        flat = [color for row in colors for color in row]
        self.assertEqual(printed, ["#%02x%02x%02x" % color for color in flat])
        rows = self.picture("out.png")
        self.assert_size(rows, 96, 54)
        for index, color in enumerate(flat):
            self.assert_near(rows[51][index * 8 + 4], color)
        self.assert_near(rows[4][4], colors[2][0])

    def test_the_kaleidoscope(self):
        self.file("in.png", [[(4 * x, 5 * y, 3 * (x + y) % 256) for x in range(60)] for y in range(50)])
        self.zeva("kaleidoscope", "in.png", "out.png", 60)
        rows = self.picture("out.png")
        self.assert_size(rows, 60, 60)
        # The pattern is symmetric about its vertical, horizontal and diagonal axes.
        colors = set()
        for y in range(60):
            for x in range(60):
                colors.add(rows[y][x])
                for mirrored in (rows[y][59 - x], rows[59 - y][x], rows[x][y]):
                    self.assert_near(mirrored, rows[y][x], 3)
        self.assertGreater(len(colors), 50)

    def test_the_tilt_shift(self):
        self.file("in.png", [[BLACK, WHITE] * 80] * 100)
        self.zeva("tilt_shift", "in.png", "out.png", 0.5)
        rows = self.picture("out.png")
        self.assert_size(rows, 160, 100)
        self.assert_near(rows[50][80], BLACK)
        self.assert_near(rows[50][81], WHITE)
        for y in (5, 95):
            for x in (80, 81):
                self.assert_near(rows[y][x], [byte(0.5)] * 3, 25)

    def test_the_wallpaper(self):
        self.file("motif.png", [[(255, 0, 0)] * 24 + [(0, 0, 255)] * 24] * 48)
        self.zeva("wallpaper", "motif.png", "out.png", 200, 150)
        rows = self.picture("out.png")
        self.assert_size(rows, 200, 150)
        angle = math.radians(15)
        chance, judged = random.Random(1), 0
        while judged < 200:
            x, y = chance.randrange(200), chance.randrange(150)
            across = (x + 0.5) * math.cos(angle) + (149.5 - y) * math.sin(angle)
            place = across % 96
            if min(place % 48, 48 - place % 48) < 3:
                continue  # colors mix at an edge
            self.assert_near(rows[y][x], (255, 0, 0) if place < 48 else (0, 0, 255))
            judged += 1

    def test_the_difference(self):
        self.file("one.png", plain(8, 8, (50, 0, 0)))
        self.file("two.png", [[BLACK] * 4 + [(50, 0, 0)] * 4] * 8)
        self.assertEqual(self.zeva("difference", "one.png", "two.png", "out.png", status=1), "50\n")
        rows = self.picture("out.png")
        self.assert_near(rows[4][1], (byte(8 * light(50)), 0, 0))
        self.assert_near(rows[4][6], BLACK)
        self.assertEqual(self.zeva("difference", "one.png", "one.png", "out.png"), "0\n")
        self.file("three.png", plain(8, 9, BLACK))
        error = "zeva: the pictures have different sizes\n"
        result = subprocess.run(
            [ZEVA, "run", EXAMPLES / "difference.lua", "one.png", "three.png", "out.png"],
            cwd=self.folder,
            capture_output=True,
            text=True,
            timeout=60,
        )
        self.assertEqual((result.returncode, result.stderr[: len(error)]), (1, error))

    def test_the_green_screen(self):
        self.file("actor.png", [[(0, 255, 0)] * 10 + [(200, 60, 50)] * 10] * 10)
        self.file("back.png", plain(40, 10, (10, 20, 230)))
        self.zeva("green_screen", "actor.png", "back.png", "out.png")
        rows = self.picture("out.png")
        self.assert_size(rows, 20, 10)
        self.assert_near(rows[5][4], (10, 20, 230))
        self.assert_near(rows[5][15], (200, 60, 50), 2)


if __name__ == "__main__":
    unittest.main()
