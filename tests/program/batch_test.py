"""zeva apply on many pictures: one failure does not stop the others, and no input is overwritten."""

import os
import pathlib
import sys
import unittest

from zeva_program import ZEVA, ZevaTest, png, png_size, read_png

CRASHING_MODULE = sys.argv.pop(1)


class BatchTest(ZevaTest):
    def photos(self, count):
        paths = [self.folder / f"{number}.png" for number in range(count)]
        for number, path in enumerate(paths):
            path.write_bytes(png(8 + number, 6, (number * 9, 100, 50)))
        return paths

    def test_writes_each_result_to_the_folder_under_the_name_of_its_input(self):
        photos = self.photos(20)
        printed = self.assert_works("apply", "ColorInvert", *photos, "-o", "out/deep")
        self.assertRegex(printed, r"^20 of 20 pictures written to out/deep, 0 failed, [0-9.]+ s\n$")
        written = sorted((self.folder / "out/deep").iterdir())
        self.assertEqual([path.name for path in written], sorted(path.name for path in photos))
        for path in written:
            self.assertEqual(png_size(path), (8 + int(path.stem), 6))

    def test_results_equal_those_of_single_runs(self):
        photos = self.photos(3)
        self.assert_works("apply", "BoxBlur", "inputRadius=3", "+", "ColorInvert", *photos, "-o", "out")
        for photo in photos:
            alone = self.render("BoxBlur", "inputRadius=3", "+", "ColorInvert", photo)
            self.assertEqual(read_png(self.folder / "out" / photo.name), alone)

    def test_a_broken_input_does_not_stop_the_others(self):
        photos = self.photos(5)
        photos[1].write_bytes(photos[1].read_bytes()[:60])
        photos[3].unlink()
        result = self.zeva("apply", "ColorInvert", *photos, "-o", "out")
        self.assertEqual(result.returncode, 1)
        self.assertRegex(result.stdout, r"^3 of 5 pictures written to out, 2 failed, ")
        self.assertEqual(
            sorted(result.stderr.splitlines()),
            [
                f"zeva: {photos[1]}: the file is truncated; no image was opened",
                f"zeva: {photos[3]}: no such file or directory; no image was opened",
            ],
        )
        self.assertEqual(sorted(path.name for path in (self.folder / "out").iterdir()), ["0.png", "2.png", "4.png"])

    def test_wrong_settings_are_said_once_before_anything_is_created(self):
        (self.folder / "mask.png").write_bytes(self.photo.read_bytes()[:50])
        for message, words in {
            "filter Xyzzy: there is no such filter": ["Xyzzy"],
            "inputRadius=big: 'big' is not a number": ["Bloom", "+", "Bloom", "inputRadius=big"],
            "mask.png: the file is truncated; no image was opened": ["BlendWithMask", "inputMaskImage=mask.png"],
            "filter ColorMap: it has no output image for these inputs (not set: inputGradientImage); nothing was "
            "written": ["ColorMap"],
        }.items():
            self.assert_fails(2, message, "apply", *words, *self.photos(3), "-o", "out")
            self.assertFalse((self.folder / "out").exists(), message)

    def test_two_inputs_with_the_same_name_are_refused(self):
        (self.folder / "a").mkdir()
        other = self.folder / "a" / "photo.png"
        other.write_bytes(png(3, 3))
        self.assert_fails(
            2,
            f"{self.folder}/out/photo.png: the results of {self.photo} and {other} would both be written there; "
            "nothing was written",
            *("apply", "ColorInvert", self.photo, other, "-o", f"{self.folder}/out"),
        )
        self.assertFalse((self.folder / "out").exists())

    def test_an_input_is_not_overwritten_by_its_result(self):
        before = self.photo.read_bytes()
        photos = self.photos(2)
        self.assert_fails(
            2,
            f"{photos[0]}: a result would overwrite it; nothing was written",
            *("apply", "ColorInvert", *photos, self.photo, "-o", self.folder),
        )
        self.assertEqual(self.photo.read_bytes(), before)

    def test_several_inputs_need_an_output_folder(self):
        self.assert_fails(
            2,
            f"{self.out}: 2 inputs need an output folder",
            *("apply", "ColorInvert", *self.photos(2), "-o", self.out),
        )

    def test_a_single_picture_can_be_written_to_a_folder(self):
        self.assert_works("apply", "ColorInvert", self.photo, "-o", "out/")
        self.assertEqual(png_size(self.folder / "out/photo.png"), (40, 30))

    def test_a_crash_fails_one_picture_only(self):
        (self.folder / "fuse").touch()
        filters = pathlib.Path(ZEVA).absolute().parent.parent / "modules" / "filters.so"
        result = self.zeva(
            *("apply", "ColorInvert", *self.photos(6), "-o", "out", "--module", CRASHING_MODULE),
            env=os.environ | {"ZEVA_CRASH_FUSE": str(self.folder / "fuse"), "ZEVA_CRASH_MODULE": str(filters)},
        )
        self.assertEqual(result.returncode, 1)
        self.assertRegex(result.stdout, r"^5 of 6 pictures written to out, 1 failed, ")
        self.assertRegex(result.stderr, r"^zeva: \S+/\d\.png: its process was terminated: Aborted\n$")

    def test_a_crash_while_the_settings_are_checked_is_said_once(self):
        (self.folder / "fuse.lit").touch()
        self.assert_fails(
            2,
            "its process was terminated: Aborted",
            *("apply", "ColorInvert", *self.photos(3), "-o", "out", "--module", CRASHING_MODULE),
            env=os.environ | {"ZEVA_CRASH_FUSE": str(self.folder / "fuse"), "ZEVA_CRASH_MODULE": "none"},
        )
        self.assertFalse((self.folder / "out").exists())


if __name__ == "__main__":
    unittest.main()
