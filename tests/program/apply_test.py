"""The program zeva as a person uses it: what it writes, what it prints, and the one line when something is wrong.

Usage: zeva_test.py ZEVA
"""

import pathlib
import re
import struct
import subprocess
import sys
import tempfile
import unittest
import zlib

ZEVA = sys.argv.pop(1)


def png(width, height, pixel=(200, 100, 50)):
    """A picture of one colour."""

    def chunk(kind, data):
        return struct.pack(">I", len(data)) + kind + data + struct.pack(">I", zlib.crc32(kind + data))

    header = struct.pack(">IIBBBBB", width, height, 8, 2, 0, 0, 0)
    rows = (b"\0" + bytes(pixel) * width) * height
    return b"\x89PNG\r\n\x1a\n" + chunk(b"IHDR", header) + chunk(b"IDAT", zlib.compress(rows)) + chunk(b"IEND", b"")


def png_size(path):
    return struct.unpack(">II", path.read_bytes()[16:24])


class ZevaTest(unittest.TestCase):
    def setUp(self):
        folder = tempfile.TemporaryDirectory()
        self.addCleanup(folder.cleanup)
        self.photo = pathlib.Path(folder.name) / "photo.png"
        self.photo.write_bytes(png(40, 30))
        self.out = pathlib.Path(folder.name) / "out.png"

    def zeva(self, *arguments):
        return subprocess.run([ZEVA, *map(str, arguments)], capture_output=True, text=True, timeout=60)

    def assert_fails(self, status, message, *arguments):
        """One line on standard error, the status, and no output file."""
        result = self.zeva(*arguments)
        self.assertEqual(result.stderr, f"zeva: {message}\n")
        self.assertEqual(result.returncode, status)
        self.assertFalse(self.out.exists())

    def test_a_filter_is_applied_and_each_step_is_told(self):
        result = self.zeva("apply", "GaussianBlur", "inputRadius=2", self.photo, "-o", self.out)
        self.assertEqual((result.returncode, result.stderr), (0, ""))
        steps = [re.sub(r" +[0-9.]+ ms  ", ": ", line) for line in result.stdout.splitlines()]
        self.assertEqual(
            steps,
            [
                "load: 2 modules, 86 classes, host version 2013.03",
                f"open: {self.photo}, 40 x 30",
                "filter: CIFilterGaussianBlurQOR inputRadius=2, 52 x 42 at -6, -6",
                f"write: {self.out}, 52 x 42 at -6, -6",
            ],
        )
        self.assertEqual(png_size(self.out), (52, 42))

    def test_keep_size_crops_to_the_input(self):
        result = self.zeva("apply", "CIGaussianBlur", "inputRadius=2", self.photo, "--keep-size", "-o", self.out)
        self.assertEqual((result.returncode, result.stderr), (0, ""))
        self.assertEqual(png_size(self.out), (40, 30))

    def test_the_three_spellings_of_a_filter_and_all_host_versions_give_the_same_picture(self):
        pictures = set()
        for name in ("ColorControls", "CIColorControls", "CIFilterColorControlsQOR"):
            for version in ("2011", "2012", "2013", "2013.03"):
                result = self.zeva(
                    "apply", name, "inputBrightness=-0.25", self.photo, "-o", self.out, "--host-version", version
                )
                self.assertEqual((result.returncode, result.stderr), (0, ""))
                pictures.add(self.out.read_bytes())
        self.assertEqual(len(pictures), 1)

    def test_a_photo_that_is_missing_or_broken(self):
        missing = self.photo.with_name("none.png")
        self.assert_fails(
            1, f"{missing}: no such file or directory, no image is opened", "apply", "Gloom", missing, "-o", self.out
        )
        self.photo.write_bytes(png(40, 30)[:50])
        self.assert_fails(
            1,
            f"{self.photo}: the file ends before the picture does, no image is opened",
            *("apply", "GaussianBlur", self.photo, "-o", self.out),
        )

    def test_a_filter_that_does_not_exist(self):
        rest = (self.photo, "-o", self.out)
        self.assert_fails(
            1, "filter Gausian: there is no such filter, did you mean GaussianBlur", "apply", "Gausian", *rest
        )
        self.assert_fails(1, "filter Xyzzy: there is no such filter", "apply", "Xyzzy", *rest)
        self.assert_fails(
            1,
            "filter GaussianBlur: for host version 2007.01 the module registers no filters",
            *("apply", "GaussianBlur", *rest, "--host-version", "2007.010"),
        )

    def test_a_setting_that_cannot_be(self):
        for setting, problem in {
            "inputSigma=3": "CIFilterGaussianBlurQOR has no key inputSigma, it takes inputRadius",
            "inputRadius=3px": "'3px' is not a number",
            "inputRadius=": "'' is not a number",
            "inputRadius=inf": "'inf' is not a number",
            "inputImage=3": "inputImage is a CIImageQOR, only numbers can be given here",
            "12": "expected KEY=VALUE",
        }.items():
            self.assert_fails(
                1, f"{setting}: {problem}", "apply", "GaussianBlur", setting, self.photo, "-o", self.out
            )

    def test_an_output_that_cannot_be_written(self):
        folder = self.photo.with_name("none")
        target = folder / "out.png"
        self.assert_fails(
            1,
            f"{target}: there is no folder {folder}, nothing is written",
            *("apply", "GaussianBlur", self.photo, "-o", target),
        )

    def test_an_output_that_was_there_stays_when_the_filter_fails(self):
        self.out.write_bytes(b"before")
        result = self.zeva("apply", "GaussianBlur", "inputRadius=1e12", self.photo, "-o", self.out)
        self.assertEqual(result.returncode, 1)
        self.assertEqual(self.out.read_bytes(), b"before")

    def test_wrong_usage_has_a_status_of_its_own(self):
        self.assert_fails(2, "no command is given, zeva --help lists them")
        self.assert_fails(2, "the following argument was not expected: aply", "aply")
        self.assert_fails(2, "FILTER is required", "apply")
        self.assert_fails(2, "IN is required", "apply", "GaussianBlur", "-o", self.out)
        self.assert_fails(2, "--output is required", "apply", "GaussianBlur", self.photo)

    def test_help_goes_to_standard_output(self):
        for arguments in (["--help"], ["apply", "--help"]):
            result = self.zeva(*arguments)
            self.assertEqual((result.returncode, result.stderr), (0, ""))
            self.assertIn("Usage: zeva", result.stdout)


if __name__ == "__main__":
    unittest.main()
