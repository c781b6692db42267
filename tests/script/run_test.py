#!/usr/bin/env python3
"""Tests zeva run from outside: scripts, their arguments, errors and exit status.

Usage: run_test.py PATH_OF_ZEVA
"""

import pathlib
import resource
import signal
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

    def test_a_restricted_script_opens_and_saves_only_its_arguments(self):
        (self.folder / "photo.jpg").write_bytes(pathlib.Path(PHOTO).read_bytes())
        (self.folder / "script.lua").write_text(
            """
            local input, output = ...
            local photo = CIImageQOR.Open(input):Crop(CIVectorQOR.Rectangle(0, 0, 9, 9))
            photo:Save(output)
            local save = { photo.Save, photo.SaveWithQuality, photo.SaveInSpace }
            local rest = { {}, { 1 }, { 1, CGColorSpaceQOR.Named("sRGB") } }
            for i = 1, 3 do print(pcall(save[i], photo, "other.png", table.unpack(rest[i]))) end
            print(pcall(CIImageQOR.Open, "./photo.jpg"))
            """
        )
        result = self.zeva("run", "--restricted", "script.lua", "photo.jpg", "out.png")
        self.assertEqual((result.returncode, result.stderr), (0, ""))
        names = ("CIImageQOR.Save", "CIImageQOR.SaveWithQuality", "CIImageQOR.SaveInSpace", "CIImageQOR.Open")
        paths = ("other.png", "other.png", "other.png", "./photo.jpg")
        refusal = "a restricted script may only use the paths among its arguments, got string"
        self.assertEqual(
            result.stdout,
            "".join(f'false\t{name}: {refusal} "{path}"\n' for name, path in zip(names, paths)),
        )
        self.assertEqual(
            sorted(path.name for path in self.folder.iterdir()), ["out.png", "photo.jpg", "script.lua"]
        )

    def test_a_restricted_script_has_limits_by_default_and_options_set_others(self):
        loop = "while true do end"
        result = self.zeva("run", "--restricted", "--lua-steps", "50000", "-", input=loop)
        self.assertEqual((result.returncode, result.stderr.splitlines()[0]),
                         (1, "zeva: stdin:1: the limit of 50000 steps is reached"))
        result = self.zeva("run", "--lua-steps", "50000", "-", input=loop)
        self.assertEqual(result.stderr.splitlines()[0], "zeva: stdin:1: the limit of 50000 steps is reached")
        result = self.zeva("run", "--restricted", "-", input="for i = 1, 9e7 do end")
        self.assertEqual((result.returncode, result.stderr), (0, ""))
        large = "local text = ('x'):rep(%d << 20)"
        for arguments, megabytes, limit in (
            (["--restricted"], 300, 256),
            (["--restricted", "--lua-memory", "20"], 30, 20),
            (["--lua-memory", "20"], 30, 20),
        ):
            result = self.zeva("run", *arguments, "-", input=large % megabytes)
            self.assertEqual((result.returncode, result.stderr.splitlines()[0]),
                             (1, f"zeva: not enough memory, the limit of the script is {limit} MB"))
        result = self.zeva("run", "-", input=large % 300)
        self.assertEqual((result.returncode, result.stderr), (0, ""))

    @unittest.skipIf(b"__asan_init" in pathlib.Path(ZEVA).read_bytes(), "sanitizers reserve more addresses")
    def test_a_script_out_of_memory_gets_an_error_with_the_reason_and_never_nil(self):
        makers = {
            "MemoryBlock.FromBytes(('x'):rep(10000000))": "MemoryBlock.FromBytes: out of memory for 10000000 bytes",
            "CIVectorQOR.Point(1, 2)": "memory",
            "RuntimeException()": "memory",
            "image:Values(image.Extent)": "memory|MemoryBlock of 16000000 bytes",
        }
        limit = 120 << 20
        for maker, reason in makers.items():
            script = f"""
                local bytes = MemoryBlock.FromBytes(("x"):rep(4000000))
                local image, all = CIImageQOR.FromPixels(bytes, 1000, 1000), {{}}
                local done, failure = pcall(function()
                    for i = 1, 1e9 do all[i] = {maker} or error("nil") end
                end)
                local count = #all
                all = nil
                collectgarbage()
                print(count > 0, failure)
            """
            result = self.run_script(
                script, preexec_fn=lambda: resource.setrlimit(resource.RLIMIT_AS, (limit, limit))
            )
            if maker.startswith("CI") and result.returncode == -signal.SIGABRT:
                # Rarely, the Objective-C runtime itself is the one that finds no memory: it ends the process.
                self.assertEqual(result.stdout, "", maker)
                continue
            self.assertEqual(result.returncode, 0, maker)
            # The module's guard may log one line for the platform's own exception.
            self.assertLessEqual(len(result.stderr.splitlines()), 1, result.stderr)
            self.assertRegex(result.stdout, f"^true\t.*({reason})", maker)

    def test_a_trace_may_stand_behind_the_script(self):
        for words in (["--trace", "trace.json"], ["--trace=trace.json"]):
            result = self.run_script("print(...)", "a", *words, "b")
            self.assertEqual((result.returncode, result.stdout, result.stderr), (0, "a\tb\n", ""))
            trace = self.folder / "trace.json"
            self.assertIn("PluginRegisterClass", trace.read_text())
            trace.unlink()
        result = self.run_script("print(...)", "--", "--trace", "x")
        self.assertEqual((result.stdout, result.stderr), ("--\t--trace\tx\n", ""))
        result = self.run_script("print(...)", "--trace")
        self.assertEqual((result.returncode, result.stderr), (2, "zeva: --trace: expected a file after it\n"))

    def test_a_script_can_set_the_exit_status(self):
        for leaving in ("os.exit(7)", "os.exit(7, false)", "os.exit(7, true)"):
            result = self.run_script("kept = CIFilterBloomQOR() kept.inputRadius = 2 " + leaving)
            self.assertEqual((result.returncode, result.stderr), (7, ""))


if __name__ == "__main__":
    unittest.main()
