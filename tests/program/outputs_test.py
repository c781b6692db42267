"""zeva apply from file to file: sizes, patterns, folders, pipes, and results over their inputs."""

import os
import pathlib
import struct
import tempfile
import unittest
import zlib

from zeva_program import ZevaTest, png, png_size, read_png


class ResizeTest(ZevaTest):
    """The photo has 40 x 30 pixels."""

    def size(self, *options):
        self.assert_works("apply", self.photo, *options, "-o", self.out)
        return png_size(self.out)

    def test_each_form_has_its_size(self):
        for options, size in {
            ("20",): (20, 15),
            ("20", "--fit"): (20, 15),
            ("20", "--fill"): (20, 20),
            ("60x20",): (60, 20),
            ("60x20", "--fit"): (27, 20),
            ("60x20", "--fill"): (60, 20),
            ("50%",): (20, 15),
            ("12.5%",): (5, 4),
            ("0.1%",): (1, 1),
            ("200%",): (80, 60),
        }.items():
            with self.subTest(options):
                self.assertEqual(self.size("--resize", *options), size)

    def test_is_the_last_step(self):
        words = ("GaussianBlur", "radius=2", self.photo, "--rect", "0,0,20,10", "--resize", "200%")
        self.assertEqual(
            self.steps(*words, "-o", self.out)[2:],
            [
                "filter: CIFilterGaussianBlurQOR inputRadius=2, 52 x 42 at -6, -6",
                "filter: Resized width=40 height=20 mode=stretch, 40 x 20",
                f"write: {self.out}, 40 x 20",
            ],
        )

    def test_fill_cuts_off_both_sides_equally(self):
        self.photo.write_bytes(png(40, 20, lambda x, y: (255, 0, 0) if 10 <= x < 30 else (0, 0, 255)))
        pixels = self.render(self.photo, "--resize", "20x20", "--fill")
        self.assertEqual({pixel for row in pixels for pixel in row}, {(255, 0, 0, 255)})

    def test_stays_the_same_in_a_batch(self):
        self.assert_works("apply", "Bloom", self.photo, "--resize", "17", "-o", self.out)
        self.assert_works("apply", "Bloom", self.photo, self.photo, "--resize", "17", "-o", "{index}.png")
        self.assertEqual((self.folder / "2.png").read_bytes(), self.out.read_bytes())

    def test_wrong_values_are_refused_with_the_expected_forms(self):
        expected = "is not a size, expected 1024 (the longer side), 1024x768 or 50%"
        for text in "0 -5 x 10x x10 10x0 1x2x3 1.5 % 0% -1% nan% inf% 12a 1e9".split():
            with self.subTest(text):
                message = f"--resize: '{text}' {expected}"
                self.assert_fails(2, message, "apply", "Bloom", self.photo, f"--resize={text}", "-o", self.out)
        rest = ("apply", "Bloom", self.photo, "-o", self.out)
        self.assert_fails(2, "--fit: expected --resize with a size, such as 1024x768", *rest, "--fit")
        self.assert_fails(2, "--fill: expected --resize with a size, such as 1024x768", *rest, "--fill")
        self.assert_fails(
            2,
            "--fill: --resize 50% keeps proportions, expected a size in pixels",
            *(*rest, "--resize", "50%", "--fill"),
        )
        self.assert_fails(2, "--fit and --fill cannot be combined", *rest, "--resize", "5", "--fill", "--fit")

    def test_a_setting_needs_a_filter(self):
        words = ("apply", self.photo, "radius=5", "-o", self.out)
        self.assert_fails(2, "radius=5: there is no filter to set it of", *words)
        self.assert_fails(
            2, "+: expected a filter name before and after it", "apply", self.photo, "+", "Bloom", "-o", self.out
        )


class PatternTest(ZevaTest):
    def setUp(self):
        super().setUp()
        self.photos = [self.folder / name for name in ("a/one.png", "a/b/two.x.png", "three.png")]
        for number, photo in enumerate(self.photos):
            photo.parent.mkdir(parents=True, exist_ok=True)
            photo.write_bytes(png(10 + number, 6))

    def written(self, *words):
        """Runs apply in an empty folder and returns the files that are there then."""
        with tempfile.TemporaryDirectory() as new:
            self.assert_works("apply", *words, cwd=new)
            return sorted(str(file.relative_to(new)) for file in pathlib.Path(new).rglob("*") if file.is_file())

    def test_each_name_is_replaced(self):
        one, two, _ = self.photos
        for pattern, file in {
            "{name}.{ext}": "two.x.png",
            "{index}-{width}x{height}.png": "1-11x6.png",
            "{dir}/{name}.png": "two.x.png",
            "deep/{dir}/er/{name}.png": "deep/er/two.x.png",
            "{{name}-{{{name}.png": "{name}-{two.x.png",
            "new}{name}/": "new}two.x/two.x.png",
        }.items():
            with self.subTest(pattern):
                self.assertEqual(self.written("Bloom", two, "--rect", "0,0,11,6", "-o", pattern), [file])
        self.assertEqual(
            self.written("ColorInvert", one, two, "-o", "{index}/{width}/{name}.png"),
            ["1/10/one.png", "2/11/two.x.png"],
        )

    def test_sizes_are_those_of_the_results(self):
        self.assertEqual(
            self.written(*self.photos, "--resize", "300%", "-o", "{width}x{height}.png"),
            ["30x18.png", "33x18.png", "36x18.png"],
        )

    def test_an_unknown_name_is_refused(self):
        expected = "expected {name}, {ext}, {dir}, {width}, {height} or {index}, and {{ for a brace"
        for pattern, wrong in {
            "{nam}.png": "'{nam}' is not a name in a pattern, did you mean name",
            "x{}.png": "'{}' is not a name in a pattern",
            "x{name": "'{name' is not a name in a pattern, did you mean name",
        }.items():
            with self.subTest(pattern):
                message = f"--output: {wrong}; {expected}"
                self.assert_fails(2, message, "apply", "Bloom", self.photo, "-o", pattern)

    def test_equal_names_stop_before_the_first_picture(self):
        twin = self.folder / "b" / "one.png"
        twin.parent.mkdir()
        one = self.photos[0]
        for width, pattern in (
            (10, "new/{name}.png"),
            (10, "new/{name}-{width}.png"),
            (12, "new/./x.png/../{height}.png"),
        ):
            twin.write_bytes(png(width, 6))
            before = sorted(self.folder.rglob("*"))
            with self.subTest(pattern):
                result = self.zeva("apply", "ColorInvert", one, twin, "-o", pattern)
                self.assertEqual(result.returncode, 2)
                self.assertIn(f"the results of {one} and {twin} would both be written there; nothing", result.stderr)
                self.assertEqual(sorted(self.folder.rglob("*")), before)
        # Different sizes make different names.
        self.assertEqual(
            self.written("ColorInvert", one, twin, "-o", "{name}-{width}.png"), ["one-10.png", "one-12.png"]
        )

    def test_a_format_that_cannot_be_written_stops_before_the_first_picture(self):
        before = sorted(self.folder.rglob("*"))
        for pattern in ("new/{name}.xyz", "new/{name}-{width}-big"):
            with self.subTest(pattern):
                result = self.zeva("apply", "ColorInvert", *self.photos, "-o", pattern)
                self.assertEqual((result.returncode, len(result.stderr.splitlines())), (2, 1))
                self.assertTrue(result.stderr.startswith(f"zeva: {pattern}: "), result.stderr)
                self.assertEqual(sorted(self.folder.rglob("*")), before)

    def test_broken_pictures_do_not_stop_the_others(self):
        one, two, three = self.photos
        for photo in (two, three):
            photo.write_bytes(photo.read_bytes()[:60])
        result = self.zeva("apply", "ColorInvert", one, two, three, "-o", "out/{width}.png")
        self.assertEqual((result.returncode, len(result.stderr.splitlines())), (1, 2))
        self.assertEqual(os.listdir(self.folder / "out"), ["10.png"])

    def test_names_keep_their_bytes(self):
        name = b"caf\xe9 \x01.png"
        os.link(self.photo, os.fsencode(self.folder) + b"/" + name)
        self.assert_works("apply", "ColorInvert", name, "-o", b"out\xff/{name}-{ext}{width}.png")
        self.assertEqual(os.listdir(os.fsencode(self.folder) + b"/out\xff"), [b"caf\xe9 \x01-png40.png"])


class FolderTest(ZevaTest):
    def setUp(self):
        super().setUp()
        self.tree = self.folder / "tree"
        for name in ("one.txt", "sub/two.png", "sub/deep/two.jpg"):
            (self.tree / name).parent.mkdir(parents=True, exist_ok=True)
            (self.tree / name).write_bytes(png(8, 6))
        (self.tree / "notes.png").write_text("these are notes, not a picture")
        (self.tree / "sub/loop").symlink_to(self.tree)
        (self.tree / "sub/one.png").symlink_to("../one.txt")

    def results(self, folder="out"):
        out = self.folder / folder
        return sorted(str(path.relative_to(out)) for path in out.rglob("*") if path.is_file())

    def test_takes_pictures_by_content_and_follows_no_folder_links(self):
        for tree in ("tree", "tree/", "./tree/"):
            self.assert_works("apply", "ColorInvert", "--recursive", tree, "-o", "out/{dir}/{name}-{index}.png")
            self.assertEqual(
                self.results(), ["one-1.png", "sub/deep/two-2.png", "sub/one-3.png", "sub/two-4.png"]
            )

    def test_results_in_a_folder_keep_the_folders_of_their_inputs(self):
        (self.tree / "one.txt").rename(self.tree / "one.png")
        self.assert_works("apply", "ColorInvert", "--recursive", "tree", self.photo, "-o", "out")
        self.assertEqual(self.results(), ["one.png", "photo.png", "sub/deep/two.jpg", "sub/two.png"])

    def test_the_output_folder_is_left_out(self):
        (self.tree / "one.txt").unlink()
        for _ in range(2):
            self.assert_works("apply", "ColorInvert", "--recursive", "tree", "-o", "tree/out/")
        self.assertEqual(self.results("tree/out"), ["sub/deep/two.jpg", "sub/two.png"])

    def test_the_folder_of_a_pattern_is_left_out(self):
        (self.tree / "one.txt").unlink()
        for _ in range(2):
            self.assert_works("apply", "ColorInvert", "--recursive", "tree", "-o", "tree/out/{dir}/{{{name}.png")
        self.assertEqual(self.results("tree/out"), ["sub/deep/{two.png", "sub/{two.png"])

    def test_one_picture_in_a_folder_is_named_like_many(self):
        words = ("apply", "ColorInvert", "--recursive")
        self.assert_works(*words, "tree/sub/deep", "-o", "out")
        self.assertEqual(self.results(), ["two.jpg"])
        message = "out.png: the inputs of a list or a folder need an output folder"
        self.assert_fails(2, message, *words, "tree/sub/deep", "-o", "out.png")
        self.assert_works(*words, "tree/sub/two.png", "-o", "out.png")  # a file is no folder

    def test_what_cannot_be_read_is_named_and_fails(self):
        (self.tree / "one.txt").rename(self.tree / "one.png")
        (self.tree / "sub/two.png").chmod(0)
        for folder, mode in (("sub/deep", 0), ("listed", 0o644)):
            (self.tree / folder).mkdir(exist_ok=True)
            (self.tree / folder).chmod(mode)
            self.addCleanup((self.tree / folder).chmod, 0o755)
        options = {}
        if os.geteuid() == 0:
            # Only an ordinary user is refused; this one needs a way to the program and a place for the results.
            options = {"user": 65534, "group": 65534, "extra_groups": []}
            self.folder.chmod(0o777)
        if not self.can_run(options):
            self.skipTest("an ordinary user has no access to the program")
        result = self.zeva("apply", "ColorInvert", "--recursive", "tree", "-o", "out", **options)
        closed = ("tree/listed", "tree/sub/deep", "tree/sub/two.png")
        self.assertEqual(
            sorted(result.stderr.splitlines()),  # they are opened at the same time
            [f"zeva: {path}: permission denied; no image was opened" for path in closed],
        )
        self.assertRegex(result.stdout, "^1 of 4 pictures written to out, 3 failed, ")
        self.assertEqual((result.returncode, self.results()), (1, ["one.png"]))

    def can_run(self, options):
        try:
            return self.zeva("--version", **options).returncode == 0
        except PermissionError:
            return False

    def test_a_folder_without_pictures_is_a_failure(self):
        (self.folder / "empty").mkdir()
        message = "empty: the folder contains no pictures; nothing was written"
        self.assert_fails(1, message, "apply", "ColorInvert", "--recursive", "empty", "-o", "out")
        self.assertFalse((self.folder / "out").exists())

    def test_no_clobber_leaves_results_alone_that_exist(self):
        (self.tree / "one.txt").unlink()
        out = self.folder / "out/sub"
        out.mkdir(parents=True)
        (out / "two.png").write_text("kept")
        words = ("apply", "ColorInvert", "--recursive", "--no-clobber", "tree", "-o", "out")
        self.assertRegex(self.assert_works(*words), r"^1 of 1 pictures written to out \(1 existed\), 0 failed, ")
        self.assertEqual((out / "two.png").read_text(), "kept")
        self.assertRegex(self.assert_works(*words), r"^0 of 0 pictures written to out \(2 existed\), 0 failed")

    def test_no_clobber_leaves_one_result_alone(self):
        self.out.write_text("kept")
        (self.folder / "photo-40.png").write_text("kept")
        for output in (self.out, "{name}-40.png", "photo-{width}.png"):
            steps = self.steps("ColorInvert", self.photo, "--no-clobber", "-o", output)
            self.assertRegex(steps[-1], "^skip: .*, which exists$")
        self.assertEqual(self.out.read_text(), "kept")
        self.assertEqual(read_png(self.photo)[0][0], (200, 100, 50, 255))


def tiff(*subfile_types):
    """The bytes of a TIFF file with a gray pixel for each of these types of pictures."""
    content = b"II*\0\x08\0\0\0"
    for i, kind in enumerate(subfile_types):
        fields = {254: kind, 256: 1, 257: 1, 258: 8, 259: 1, 262: 1, 273: 0, 277: 1, 278: 1, 279: 1}
        end = len(content) + 2 + 12 * len(fields) + 4
        fields[273] = end
        content += struct.pack("<H", len(fields))
        content += b"".join(struct.pack("<HHII", tag, 4, 1, value) for tag, value in fields.items())
        content += struct.pack("<I", end + 2 if i + 1 < len(subfile_types) else 0) + b"\x80\0"
    return content


class InPlaceTest(ZevaTest):
    def test_a_file_of_several_pictures_is_not_replaced_by_one(self):
        frames = struct.pack(">I", 8) + b"acTL" + struct.pack(">II", 3, 0)
        frames += struct.pack(">I", zlib.crc32(frames[4:]))
        photo = self.photo.read_bytes()
        for name, content, count in (
            ("frames.png", photo[:33] + frames + photo[33:], 3),
            ("pages.tif", tiff(0, 2), 2),
        ):
            file = self.folder / name
            file.write_bytes(content)
            link = self.folder / f"link-{name}"
            link.symlink_to(file)
            message = f"the file has {count} pictures, and only the first would be left; nothing was written"
            for path in (file, link):
                self.assert_fails(2, f"{path}: {message}", "apply", "ColorInvert", path, "--in-place")
            self.assertEqual(file.read_bytes(), content)
            self.assert_works("apply", "ColorInvert", file, "-o", self.folder / f"other-{name}")
        single = self.folder / "preview.tif"
        single.write_bytes(tiff(0, 1, 4))  # a smaller version of the first picture, and a mask
        self.assert_works("apply", "ColorInvert", single, "--in-place")

    def test_writes_over_one_picture_and_over_many(self):
        inverted = self.render("ColorInvert", self.photo)
        self.assert_works("apply", "ColorInvert", self.photo, "--in-place")
        self.assertEqual(read_png(self.photo), inverted)
        other = self.folder / "other.png"
        other.write_bytes(png(40, 30))
        printed = self.assert_works("apply", "ColorInvert", other, self.photo, "--in-place")
        self.assertRegex(printed, r"^2 of 2 pictures written in place, 0 failed, ")
        self.assertEqual(read_png(other), inverted)

    def test_a_failure_leaves_the_picture_as_it_is(self):
        broken = self.photo.read_bytes()[:80]
        self.photo.write_bytes(broken)
        message = f"{self.photo}: the file is truncated; no image was opened"
        self.assert_fails(1, message, "apply", "ColorInvert", self.photo, "--in-place")
        self.assertEqual(self.photo.read_bytes(), broken)
        self.assertEqual(os.listdir(self.folder), ["photo.png"])

    def test_what_contradicts_it_is_refused(self):
        self.assert_fails(
            2, "--output and --in-place cannot be combined", "apply", "Bloom", self.photo, "-o", self.out, "--in-place"
        )
        self.assert_fails(2, "--in-place: there is no input picture", "apply", "CheckerboardGenerator", "--in-place")
        self.assert_fails(
            2,
            f"{self.photo}: the results of {self.photo} and {self.photo} would both be written there; "
            "nothing was written",
            *("apply", "ColorInvert", self.photo, self.photo, "--in-place"),
        )
        link = self.folder / "link.png"
        link.symlink_to(self.photo)
        self.assert_fails(
            2,
            f"{self.photo}: a result would overwrite it; nothing was written",
            *("apply", "ColorInvert", self.photo, link, "--in-place"),
        )
        mask = f"inputMaskImage={self.photo}"
        self.assert_fails(
            2,
            f"{self.photo}: a result would overwrite it; nothing was written",
            *("apply", "BlendWithMask", mask, self.photo, "--in-place"),
        )


class PipeTest(ZevaTest):
    def piped(self, *words, **options):
        """Runs apply with the photo on standard input."""
        options = {"input": self.photo.read_bytes(), "text": False} | options
        return self.zeva("apply", *words, **options)

    def test_reads_and_writes_the_standard_streams(self):
        self.assert_works("apply", "ColorInvert", self.photo, "--resize", "20", "-o", self.out)
        result = self.piped("ColorInvert", "-", "--resize", "20", "-o", "-", "--format", "png")
        self.assertEqual((result.returncode, result.stdout), (0, self.out.read_bytes()))
        jpeg = self.piped("-", "-o", "-", "--format", "jpeg")
        self.assertEqual((jpeg.returncode, jpeg.stdout[:3]), (0, b"\xff\xd8\xff"))
        words = ("apply", "CheckerboardGenerator", "--rect", "0,0,5,5", "-o", "-", "--format", "png")
        board = self.zeva(*words, text=False)
        self.assertEqual((board.returncode, board.stdout[:4]), (0, b"\x89PNG"))

    def test_standard_input_has_no_name(self):
        self.assertEqual(self.piped("-", "-o", "x{name}{width}{ext}.png").returncode, 0)
        self.assertTrue((self.folder / "x-40.png").exists())

    def test_a_stream_that_is_not_a_picture_is_refused(self):
        for content, reason in (
            (b"text that is not a picture", "not a PNG, JPEG, WebP, TIFF, AVIF or HEIF file"),
            (b"", "the data is empty"),
            (png(40, 30)[:80], "the file is truncated"),
        ):
            result = self.piped("ColorInvert", "-", "-o", self.out, "-q", input=content)
            expected = f"zeva: standard input: {reason}; no image was created\n".encode()
            self.assertEqual((result.returncode, result.stderr), (1, expected))

    def test_a_full_standard_output_is_an_error(self):
        with open("/dev/full", "wb") as full:
            result = self.zeva("apply", "ColorInvert", self.photo, "-q", "-o", "-", "--format", "png", stdout=full)
        self.assertEqual(result.returncode, 3)
        self.assertEqual(
            result.stderr, "zeva: standard output: no space left on device; the output is incomplete\n"
        )

    def test_a_failure_writes_nothing_and_leaves_no_file(self):
        scratch = self.folder / "scratch"
        scratch.mkdir()
        environment = os.environ | {"TMPDIR": str(scratch)}
        for words, status in (
            (("ColorInvert", "-", "-o", "-", "--format", "xyz"), 2),
            (("Gloom", self.folder / "none.png", "-o", "-", "--format", "png"), 1),
            (("Gloom", "-", "-o", "-", "--format", "png"), 0),
        ):
            result = self.piped(*words, env=environment)
            self.assertEqual((result.returncode, bool(result.stdout)), (status, status == 0))
            self.assertEqual(os.listdir(scratch), [])

    def test_wrong_arguments_are_refused(self):
        rest = ("apply", "ColorInvert", self.photo, "-o")
        self.assert_fails(2, "--output -: expected --format with the format of the picture, such as png", *rest, "-")
        self.assert_fails(
            2, "--format: it is for --output -; the suffix of a file is its format", *rest, self.out, "--format", "png"
        )
        self.assert_fails(2, "--output -: expected one picture, got 2", *rest, "-", "--format", "png", self.photo)
        self.assert_fails(2, "-: standard input can only be the only picture", *rest, "out", "-")
        self.assert_fails(
            2,
            "--format: got 'xyz', expected the name of a format, such as png; nothing was written",
            *(*rest, "-", "--format", "xyz"),
        )

    def test_a_file_may_be_called_like_a_stream(self):
        self.photo.rename(self.folder / "-")
        self.assert_works("apply", "ColorInvert", "./-", "-o", self.out)
        self.assertEqual(png_size(self.out), (40, 30))


if __name__ == "__main__":
    unittest.main()
