"""What is written and what is read: every write error is said, and no output overwrites an input."""

import functools
import os
import pathlib
import resource
import shutil
import signal
import subprocess
import time
import unittest

from zeva_program import ZEVA, ZevaTest, messages, png, png_size, read_png

FULL = "no space left on device"
LOCALES = pathlib.Path("/usr/share/i18n/locales/de_DE")


class StreamsTest(ZevaTest):
    def setUp(self):
        super().setUp()
        (self.folder / "print.lua").write_text("for i = 1, 3 do print(i) end")
        (self.folder / "exit.lua").write_text("print(1) os.exit(0)")
        (self.folder / "long.lua").write_text('io.write(("x"):rep(200000))')

    def test_a_full_standard_output_is_an_error(self):
        for words in (
            ["list"],
            ["list", "--all", "--json"],
            ["describe", "Bloom", "--json"],
            ["completion"],
            ["check", "--list"],
            ["--help"],
            ["--version"],
            ["run", "print.lua"],
            ["run", "exit.lua"],
            ["run", "long.lua"],
            ["apply", "ColorInvert", self.photo, "print.lua", "-o", "out"],
        ):
            with self.subTest(words), open("/dev/full", "w") as full:
                result = self.zeva(*words, stdout=full)
                self.assertEqual(result.returncode, 3)
                message = f"zeva: standard output: {FULL}; the output is incomplete"
                self.assertEqual(messages(result.stderr)[-1:], [message])

    def test_a_full_standard_error_is_an_error(self):
        with open("/dev/full", "w") as full:
            result = self.zeva("apply", "ColorInvert", self.photo, "-o", self.out, stderr=full)
        self.assertEqual(result.returncode, 3)
        self.assertEqual(png_size(self.out), (40, 30))

    def test_a_closed_standard_output_does_not_become_the_output_file(self):
        words = f"'{ZEVA}' apply ColorInvert photo.png -o out.png --trace trace.json"
        for closed in (">&-", "<&- >&- 2>&-", "<&-"):
            subprocess.run(["bash", "-c", f"{words} {closed}"], cwd=self.folder, stderr=subprocess.PIPE, timeout=60)
            self.assertEqual(read_png(self.out)[0][0], (174, 240, 251, 255))
        result = self.zeva("list", preexec_fn=lambda: os.close(1))
        self.assertEqual(result.returncode, 3)
        self.assertEqual(result.stderr, "zeva: standard output: bad file descriptor; the output is incomplete\n")

    def test_a_trace_on_a_full_disk_is_an_error(self):
        message = f"zeva: trace /dev/full: {FULL}; the trace is incomplete"
        for words in (["list"], ["apply", "ColorInvert", self.photo, "-o", self.out], ["run", "exit.lua"]):
            result = self.zeva("--trace", "/dev/full", *words)
            self.assertEqual((result.returncode, messages(result.stderr)), (3, [message]))
        self.assertEqual(png_size(self.out), (40, 30))

    def test_reports_and_pages_on_a_full_disk_are_an_error(self):
        result = self.zeva("check", self.photo, "--only", "load.entry-point", "--junit", "/dev/full")
        self.assertEqual(result.returncode, 3)
        self.assertIn(f"/dev/full: it cannot be written ({FULL})", result.stderr)

    def test_a_signal_leaves_no_unfinished_picture_and_no_temporary_folder(self):
        temporary = self.folder / "tmp"
        temporary.mkdir()
        words = [ZEVA, "-q", "apply", "CheckerboardGenerator", "--rect", "0,0,60000,60000"]  # takes many seconds
        before = sorted(path.name for path in self.folder.iterdir())
        for output, started in (
            (["-o", self.out], lambda: (self.folder / ".out.png.zeva-part").exists()),
            (["-o", "-", "--format", "png"], lambda: list(temporary.glob("*/.picture.png.zeva-part"))),
        ):
            for number in (signal.SIGHUP, signal.SIGINT, signal.SIGTERM):
                with self.subTest(output=output[1], number=number):
                    process = subprocess.Popen(
                        words + output,
                        cwd=self.folder,
                        env=os.environ | {"TMPDIR": str(temporary)},
                        stdout=subprocess.PIPE,
                        preexec_fn=functools.partial(signal.signal, number, signal.SIG_DFL),
                    )
                    while not started():
                        self.assertIsNone(process.poll())
                        time.sleep(0.01)
                    process.send_signal(number)
                    process.communicate()
                    self.assertEqual(process.returncode, -number)
                    self.assertEqual(sorted(path.name for path in self.folder.iterdir()), before)
                    self.assertEqual(list(temporary.iterdir()), [])

    def test_a_signal_that_is_ignored_stays_ignored(self):
        process = subprocess.Popen(
            [ZEVA, "-q", "apply", "CheckerboardGenerator", "--rect", "0,0,6000,6000", "-o", self.out],
            preexec_fn=functools.partial(signal.signal, signal.SIGHUP, signal.SIG_IGN),
        )
        while process.poll() is None:
            process.send_signal(signal.SIGHUP)
            time.sleep(0.01)
        self.assertEqual((process.returncode, png_size(self.out)), (0, (6000, 6000)))

    def test_a_picture_on_a_full_disk_is_an_error(self):
        (self.folder / "full.png").symlink_to("/dev/full")
        self.assert_fails(
            3,
            f"full.png: {FULL}; nothing was written",
            *("apply", "ColorInvert", self.photo, "-o", "full.png"),
        )
        (self.folder / "folder").mkdir()
        (self.folder / "folder/photo.png").symlink_to("/dev/full")
        other = self.folder / "other.png"
        other.write_bytes(png(3, 3))
        result = self.zeva("apply", "ColorInvert", self.photo, other, "-o", "folder")
        self.assertEqual(result.returncode, 3)
        self.assertEqual(result.stderr, f"zeva: {self.photo}: folder/photo.png: {FULL}; nothing was written\n")
        self.assertEqual(png_size(self.folder / "folder/other.png"), (3, 3))

    def test_a_file_beyond_the_limit_of_its_size_leaves_nothing_behind(self):
        self.photo.write_bytes(png(40, 30, lambda x, y: (x * 67 % 256, y * 91 % 256, x * y % 256)))
        self.assert_fails(
            3,
            f"{self.out}: file too large; nothing was written",
            *("apply", "ColorInvert", self.photo, "-o", self.out),
            preexec_fn=lambda: resource.setrlimit(resource.RLIMIT_FSIZE, (1000, 1000)),
        )
        left = [path.name for path in self.folder.iterdir() if path.suffix != ".lua"]
        self.assertEqual(left, ["photo.png"])

    def test_steps_go_to_standard_error(self):
        result = self.zeva("apply", "ColorInvert", self.photo, "-o", self.out)
        self.assertEqual(result.stdout, "")
        self.assertEqual([line.split()[0] for line in result.stderr.splitlines()], ["load", "open", "filter", "write"])

    def test_numbers_do_not_depend_on_the_locale(self):
        if not LOCALES.exists():
            self.skipTest("the sources of the locales are not installed")
        subprocess.run(
            ["localedef", "-i", "de_DE", "-f", "UTF-8", self.folder / "de_DE.UTF-8"], check=True, capture_output=True
        )
        (self.folder / "numbers.lua").write_text(
            'print(os.setlocale("de_DE.UTF-8"))\n'
            'print(0.5, string.format("%.2f", 1.5), tonumber("2.5"), CIVectorQOR.FromNumbers("1.5, 2.25").Text)\n'
        )
        outputs = []
        for locale, known in (
            ({"LC_ALL": "C"}, "nil"),
            ({"LC_ALL": "de_DE.UTF-8", "LOCPATH": str(self.folder)}, "de_DE.UTF-8"),
        ):
            environment = os.environ | locale
            printed = self.assert_works("run", "numbers.lua", env=environment).splitlines()
            self.assertEqual(printed[0], known)
            self.assert_works("apply", "Bloom", "inputRadius=1.5", self.photo, "-o", self.out, env=environment)
            outputs.append(
                [
                    printed[1],
                    self.assert_works("describe", "Bloom", "DotScreen", env=environment),
                    self.assert_works("describe", "DotScreen", "--json", env=environment),
                    self.out.read_bytes(),
                ]
            )
        self.assertEqual(outputs[0][0], "0.5\t1.50\t2.5\t[1.5 2.25]")
        self.assertEqual(*outputs)


class ProtectionTest(ZevaTest):
    def setUp(self):
        super().setUp()
        self.before = self.photo.read_bytes()
        (self.folder / "link.png").symlink_to("photo.png")
        os.link(self.photo, self.folder / "hard.png")

    def tearDown(self):
        self.assertEqual(self.photo.read_bytes(), self.before)
        super().tearDown()

    def test_the_output_may_not_be_an_input(self):
        for output in (self.photo, "photo.png", "./photo.png", "link.png", "hard.png", self.folder):
            self.assert_fails(
                2,
                f"{self.photo}: a result would overwrite it; nothing was written",
                *("apply", "ColorInvert", self.photo, "-o", output),
            )

    def test_the_output_may_not_be_the_module(self):
        self.assert_fails(
            2,
            "photo.png: a result would overwrite it; nothing was written",
            *("apply", "CheckerboardGenerator", "--rect", "0,0,9,9", "--module", "photo.png", "-o", "hard.png"),
        )

    def test_the_output_may_not_be_a_file_of_a_setting(self):
        mask = ["BlendWithMask", "inputMaskImage=photo.png"]
        cube = ["ColorInvert", "+", "ColorCube", "inputCubeData=@photo.png"]
        for words in (mask, cube):
            self.assert_fails(
                2,
                "photo.png: a result would overwrite it; nothing was written",
                *("apply", *words, "other.png", "-o", "hard.png"),
            )

    def test_results_of_a_batch_may_not_overwrite_another_input_or_each_other(self):
        folder = self.folder / "folder"
        folder.mkdir()
        (folder / "a.png").symlink_to("../photo.png")
        for name in ("a.png", "b.png"):
            (self.folder / name).write_bytes(png(2, 2))
        self.assert_fails(
            2,
            f"{self.photo}: a result would overwrite it; nothing was written",
            *("apply", "ColorInvert", "a.png", self.photo, "-o", "folder"),
        )
        (folder / "a.png").unlink()
        (folder / "a.png").symlink_to("b.png")
        self.assert_fails(
            2,
            "folder/a.png: a result would overwrite it; nothing was written",
            *("apply", "ColorInvert", "a.png", "b.png", "-o", "folder"),
        )

    def test_a_trace_may_not_overwrite_what_the_command_reads_or_writes(self):
        script = self.folder / "script.lua"
        script.write_text("print(1)")
        module = shutil.copy(pathlib.Path(ZEVA).absolute().parent.parent / "modules" / "filters.so", self.folder)
        bundle = self.folder / "kettle.bundle"
        code = bundle / "Contents" / "MacOS" / "kettle"
        code.parent.mkdir(parents=True)
        code.write_bytes(b"")
        properties = "<key>CFBundleExecutable</key><string>kettle</string>"
        (bundle / "Contents" / "Info.plist").write_text(properties)
        (self.folder / "trace").symlink_to(script)
        apply = ["apply", "ColorInvert", "photo.png", "-o", "out.png"]
        for victim, trace, words in (
            ("photo.png", "photo.png", apply),
            ("photo.png", self.folder / "hard.png", apply),
            ("out.png", self.folder / "out.png", apply),
            ("photo.png", "photo.png", ["apply", "BlendWithMask", "inputMaskImage=photo.png", "-o", "out.png"]),
            ("script.lua", "trace", ["run", "script.lua"]),
            ("photo.png", "photo.png", ["run", "script.lua", "photo.png"]),
            (module, "filters.so", ["list", "--module", module]),
            (code, code, ["list", "--module", bundle]),
        ):
            self.assert_fails(2, f"{victim}: the trace would overwrite it; nothing was run", "--trace", trace, *words)
        self.assertEqual(script.read_text(), "print(1)")

    def test_a_report_may_not_overwrite_the_module(self):
        self.assert_fails(
            2,
            "photo.png: the report would overwrite it; nothing was checked",
            *("check", "photo.png", "--junit", "hard.png"),
        )


class ExitStatusTest(ZevaTest):
    def status(self, *words):
        return self.zeva(*words).returncode

    def test_1_an_input_picture_or_a_script_failed(self):
        (self.folder / "fails.lua").write_text("error('no')")
        (self.folder / "cut.png").write_bytes(self.photo.read_bytes()[:50])
        self.assertEqual(self.status("apply", "Bloom", "none.png", "-o", "out.png"), 1)
        self.assertEqual(self.status("apply", "Bloom", "cut.png", "-o", "out.png"), 1)
        self.assertEqual(self.status("apply", "Bloom", "cut.png", self.photo, "-o", "out"), 1)
        self.assertEqual(self.status("run", "fails.lua"), 1)

    def test_2_wrong_arguments_and_files_of_settings_before_anything_is_created(self):
        photo = self.photo
        for words in (
            ["apply", "Xyzzy", photo, "-o", "new/"],
            ["apply", "Bloom", "inputRadius=x", photo, "-o", "new/"],
            ["apply", "ColorCube", "inputCubeData=none.cube", photo, "-o", "new/"],
            ["apply", "ColorCube", "inputCubeData=@/", photo, "-o", "new/"],
            ["apply", "BlendWithMask", "inputMaskImage=none.png", photo, "-o", "new/"],
            ["apply", "BlendWithMask", "inputMaskImage=none.png", photo, "other.png", "-o", "new"],
            ["apply", "ColorMap", photo, "-o", "new/"],
            ["apply", "Bloom", photo, "-o", "new/out.png"],
            ["apply", "Bloom", photo, "-o", "out.gif"],
            ["apply", "Bloom", photo, "-o", photo / "out.png"],
            ["apply", "Bloom", photo, "--rect", "0,0,0,5", "-o", "out.png"],
            ["apply", "Bloom", photo, "--module", "none.so", "-o", "new/"],
            ["apply", "Bloom", photo, "--trace", "none/t.json", "-o", "new/"],
            ["list", "--category", "Bluur"],
            ["describe", "Xyzzy"],
            ["trace", "none.json"],
        ):
            self.assertEqual(self.status(*words), 2, words)
            self.assertEqual([path.name for path in self.folder.iterdir()], ["photo.png"], words)

    def test_3_the_machine_failed(self):
        result = self.zeva("apply", "CheckerboardGenerator", "--rect", "0,0,300000,300000", "-o", self.out)
        self.assertEqual(result.returncode, 3)
        self.assertEqual(
            messages(result.stderr),
            [
                f"zeva: {self.out}: the image cannot be rendered, 300000 x 300000 pixels need 360 GB of memory, which "
                "is not available; nothing was written"
            ],
        )

    def test_128_and_the_number_of_the_signal(self):
        (self.folder / "loop.lua").write_text("while true do print(1) end")
        script = f"(timeout -s KILL 60 '{ZEVA}' run loop.lua; echo $? >status) | head -1"
        subprocess.run(["bash", "-c", script], cwd=self.folder, capture_output=True, restore_signals=True)
        self.assertEqual((self.folder / "status").read_text(), "141\n")


if __name__ == "__main__":
    unittest.main()
