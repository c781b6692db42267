"""zeva apply: what it writes, what it prints, and the one line when something is wrong."""

import re
import unittest

from zeva_program import HOST_CLASSES, REGISTERED_CLASSES, ZevaTest, png, png_size, read_png


class ApplyTest(ZevaTest):
    def test_a_filter_is_applied_and_each_step_is_told(self):
        told = self.assert_works("apply", "GaussianBlur", "inputRadius=2", self.photo, "-o", self.out)
        steps = [re.sub(r" +[0-9.]+ ms  ", ": ", line) for line in told.splitlines()]
        self.assertEqual(
            steps,
            [
                f"load: 2 modules, {REGISTERED_CLASSES + HOST_CLASSES} classes, host version 2013.03",
                f"open: {self.photo}, 40 x 30",
                "filter: CIFilterGaussianBlurQOR inputRadius=2, 52 x 42 at -6, -6",
                f"write: {self.out}, 52 x 42 at -6, -6",
            ],
        )
        self.assertEqual(png_size(self.out), (52, 42))

    def test_keep_size_crops_to_the_input(self):
        self.assert_works("apply", "CIGaussianBlur", "inputRadius=2", self.photo, "--keep-size", "-o", self.out)
        self.assertEqual(png_size(self.out), (40, 30))

    def test_the_three_spellings_of_a_filter_and_all_host_versions_give_the_same_picture(self):
        pictures = set()
        for name in ("ColorControls", "CIColorControls", "CIFilterColorControlsQOR"):
            for version in ("2011", "2012", "2013", "2013.03"):
                self.assert_works(
                    "apply", name, "inputBrightness=-0.25", self.photo, "-o", self.out, "--host-version", version
                )
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

    def test_filters_in_a_chain_each_take_the_output_of_the_one_before(self):
        self.photo.write_bytes(png(2, 1, lambda x, y: (255, 0, 0) if x == 0 else (0, 255, 0)))
        pixels = self.render("ColorInvert", "+", "AffineTransform", "inputTransform=-1,0,0,1,0,0", self.photo)
        self.assertEqual(pixels, [[(255, 0, 255, 255), (0, 255, 255, 255)]])

    def test_a_dash_says_which_key_takes_the_picture(self):
        self.photo.write_bytes(png(1, 1, (255, 0, 0)))
        green = self.folder / "green.png"
        green.write_bytes(png(1, 1, (0, 255, 0)))
        key = "inputBackgroundImage"
        self.assertEqual(self.render("AdditionCompositing", f"{key}=-", f"inputImage={green}", self.photo)[0][0][:3], (255, 255, 0))
        self.assertEqual(self.render("DifferenceBlendMode", f"{key}=-", "inputImage=-", self.photo)[0][0][:3], (0, 0, 0))
        self.out.unlink()
        self.assert_fails(
            1,
            "filter ColorInvert: inputImage is set, so the picture that comes in is used by no key, KEY=- takes it",
            *("apply", "ColorInvert", f"inputImage={green}", self.photo, "-o", self.out),
        )
        self.assert_fails(1, "inputImage=-: no picture comes in here", "apply", "ColorInvert", "inputImage=-", "-o", self.out)

    def test_a_generator_takes_no_picture_and_needs_a_rectangle(self):
        pixels = self.render("ConstantColorGenerator", "inputColor=#ff8000", "--rect", "5,-3,2,1")
        self.assertEqual(pixels, [[(255, 128, 0, 255)] * 2])
        self.out.unlink()
        generator = ("apply", "ConstantColorGenerator", "-o", self.out)
        self.assert_fails(
            1, f"{self.out}: the result has no end, --rect X,Y,W,H says which part of it to write", *generator
        )
        self.assert_fails(1, "filter ConstantColorGenerator: it takes no image", *generator, self.photo)
        self.assert_fails(1, "--keep-size: there is no input picture", *generator, "--keep-size")
        self.assert_fails(1, "--rect: '1,2,3' is no rectangle, expected X,Y,W,H", *generator, "--rect", "1,2,3")
        self.assert_fails(1, "--rect: 'x' is not a number", *generator, "--rect", "1,2,x,4")

    def test_the_rectangle_is_in_the_coordinates_of_the_image_with_y_up(self):
        self.photo.write_bytes(png(2, 2, lambda x, y: (255 * x, 255 * y, 0)))
        pixels = self.render("AffineTransform", "inputTransform=1,0,0,1,10,20", self.photo, "--rect", "11,20,1,1")
        self.assertEqual(pixels, [[(255, 255, 0, 255)]])

    def test_a_filter_that_lacks_an_image_says_which(self):
        self.assert_fails(
            1,
            "filter ColorMap: it gives no image from these inputs (not set: inputGradientImage), "
            "nothing is written",
            *("apply", "ColorMap", self.photo, "-o", self.out),
        )
        self.assert_fails(
            1,
            "filter GaussianBlur: it gives no image from these inputs (not set: inputImage), nothing is written",
            *("apply", "GaussianBlur", "-o", self.out),
        )

    def test_a_plus_stands_between_filters(self):
        for words in (["+"], ["+", "Bloom"], ["Bloom", "+"], ["Bloom", "+", "+", "Bloom"]):
            self.assert_fails(
                1, "+: a filter's name was expected before and after it", "apply", *words, "-o", self.out
            )

    def test_wrong_usage_has_a_status_of_its_own(self):
        self.assert_fails(2, "no command is given, zeva --help lists them")
        self.assert_fails(2, "the following argument was not expected: aply", "aply")
        self.assert_fails(2, "FILTER is required", "apply")
        self.assert_fails(2, "--output is required", "apply", "GaussianBlur", self.photo)

    def test_help_goes_to_standard_output(self):
        for arguments in (["--help"], ["apply", "--help"]):
            self.assertIn("Usage: zeva", self.assert_works(*arguments))


if __name__ == "__main__":
    unittest.main()
