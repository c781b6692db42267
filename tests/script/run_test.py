#!/usr/bin/env python3
"""Tests zeva run from outside: scripts, their arguments, errors and exit status.

Usage: run_test.py PATH_OF_ZEVA
"""

import pathlib
import subprocess
import sys
import tempfile
import unittest

ZEVA = sys.argv.pop(1)
PHOTO = "/usr/share/matplotlib/mpl-data/sample_data/grace_hopper.jpg"


class RunTest(unittest.TestCase):
    def setUp(self):
        folder = tempfile.TemporaryDirectory()
        self.addCleanup(folder.cleanup)
        self.folder = pathlib.Path(folder.name)

    def run_script(self, text, *arguments, **options):
        (self.folder / "script.lua").write_text(text)
        return self.zeva("run", "script.lua", *arguments, **options)

    def zeva(self, *arguments, **options):
        return subprocess.run(
            [ZEVA, *map(str, arguments)], cwd=self.folder, capture_output=True, text=True, timeout=60, **options
        )

    def test_a_script_filters_a_photo(self):
        (self.folder / "photo.jpg").write_bytes(pathlib.Path(PHOTO).read_bytes())
        result = self.run_script(
            """
            local photo = CIImageQOR.Open("photo.jpg")
            local blur = CIFilterGaussianBlurQOR()
            blur.inputImage, blur.inputRadius = photo, 8
            blur.outputImage:Crop(photo.Extent):Save("out.png")
            """
        )
        self.assertEqual((result.returncode, result.stdout, result.stderr), (0, "", ""))
        header = (self.folder / "out.png").read_bytes()[:24]
        width, height = int.from_bytes(header[16:20]), int.from_bytes(header[20:24])
        self.assertEqual((header[1:4], width, height), (b"PNG", 512, 600))

    def test_words_after_the_script_are_its_arguments(self):
        result = self.run_script("print(arg[0], #arg, ...)", "--module", "run", "-x", "")
        self.assertEqual((result.stdout, result.stderr), ("script.lua\t4\t--module\trun\t-x\t\n", ""))

    def test_options_come_before_the_script(self):
        (self.folder / "script.lua").write_text("print(CIFilterBloomQOR)")
        result = self.zeva("run", "--host-version", "2007.01", "script.lua")
        self.assertEqual((result.stdout, result.stderr), ("nil\n", ""))

    def test_a_script_can_come_from_standard_input(self):
        result = self.zeva("run", "-", "a", input="print(CIColorQOR, ...)")
        self.assertEqual((result.stdout, result.stderr), ("class CIColorQOR\ta\n", ""))

    def test_require_finds_modules_beside_the_script_from_any_folder(self):
        (self.folder / "below").mkdir()
        (self.folder / "below" / "part.lua").write_text("return {word = 'found'}")
        (self.folder / "below" / "whole.lua").write_text("print(require('part').word)")
        result = self.zeva("run", "below/whole.lua")
        self.assertEqual((result.stdout, result.stderr), ("found\n", ""))

    def test_an_error_is_printed_with_its_traceback(self):
        result = self.run_script(
            "local function open(path)\n  return CIImageQOR.Open(path)\nend\nopen('none.png').x = 1")
        self.assertEqual(result.returncode, 1)
        self.assertEqual(
            result.stderr,
            "zeva: script.lua:2: RuntimeException: none.png: no such file or directory; no image was opened\n"
            "stack traceback:\n\t[C]: in field 'Open'\n"
            "\tscript.lua:2: in local 'open'\n\tscript.lua:4: in main chunk\n",
        )

    def test_refuses_a_missing_or_malformed_script(self):
        result = self.zeva("run", "none.lua")
        self.assertEqual(
            (result.returncode, result.stderr), (2, "zeva: none.lua: no such file or directory; nothing was run\n")
        )
        result = self.run_script("local = 1")
        self.assertEqual(
            (result.returncode, result.stderr), (1, "zeva: script.lua:1: <name> expected near '='\n")
        )
        result = self.zeva("run")
        self.assertEqual((result.returncode, result.stderr), (2, "zeva: SCRIPT is required\n"))

    def test_a_script_can_set_the_exit_status(self):
        for leaving in ("os.exit(7)", "os.exit(7, false)", "os.exit(7, true)"):
            result = self.run_script("kept = CIFilterBloomQOR() kept.inputRadius = 2 " + leaving)
            self.assertEqual((result.returncode, result.stderr), (7, ""))


if __name__ == "__main__":
    unittest.main()
