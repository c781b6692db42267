"""zeva apply: the pictures that it writes, the steps that it prints, and its one line for each error."""

import unittest

from zeva_program import HOST_CLASSES, REGISTERED_CLASSES, ZevaTest, png, png_size, read_png


class ApplyTest(ZevaTest):
    def test_applies_a_filter_and_prints_each_step(self):
        self.assertEqual(
            self.steps("GaussianBlur", "inputRadius=2", self.photo, "-o", self.out),
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

    def test_spellings_of_a_filter_and_host_versions_do_not_change_the_picture(self):
        pictures = set()
        for name in ("ColorControls", "CIColorControls", "CIFilterColorControlsQOR"):
            for version in ("2011", "2012", "2013", "2013.03"):
                self.assert_works(
                    "apply", name, "inputBrightness=-0.25", self.photo, "-o", self.out, "--host-version", version
                )
                pictures.add(self.out.read_bytes())
        self.assertEqual(len(pictures), 1)

    def test_missing_and_truncated_pictures_are_refused(self):
        missing = self.photo.with_name("none.png")
        self.assert_fails(
            1, f"{missing}: no such file or directory; no image was opened", "apply", "Gloom", missing, "-o", self.out
        )
        self.photo.write_bytes(png(40, 30)[:50])
        self.assert_fails(
            1,
            f"{self.photo}: the file is truncated; no image was opened",
            *("apply", "GaussianBlur", self.photo, "-o", self.out),
        )

    def test_an_unknown_filter_is_refused_with_a_suggestion(self):
        rest = (self.photo, "-o", self.out)
        self.assert_fails(
            2, "filter Gausian: there is no such filter, did you mean GaussianBlur", "apply", "Gausian", *rest
        )
        self.assert_fails(2, "filter Xyzzy: there is no such filter", "apply", "Xyzzy", *rest)
        self.assert_fails(
            2,
            "filter GaussianBlur: for host version 2007.01 the module registers no filters",
            *("apply", "GaussianBlur", *rest, "--host-version", "2007.010"),
        )

    def test_an_output_in_a_missing_folder_is_refused(self):
        folder = self.photo.with_name("none")
        target = folder / "out.png"
        self.assert_fails(
            2,
            f"{target}: there is no folder {folder}; nothing was written",
            *("apply", "GaussianBlur", self.photo, "-o", target),
        )

    def test_a_failing_filter_keeps_the_existing_output(self):
        self.out.write_bytes(b"before")
        result = self.zeva("apply", "GaussianBlur", "inputRadius=1e12", self.photo, "-o", self.out)
        self.assertEqual(result.returncode, 3)
        self.assertEqual(self.out.read_bytes(), b"before")

    def test_each_filter_of_a_chain_takes_the_output_of_the_previous_one(self):
        self.photo.write_bytes(png(2, 1, lambda x, y: (255, 0, 0) if x == 0 else (0, 255, 0)))
        pixels = self.render("ColorInvert", "+", "AffineTransform", "inputTransform=-1,0,0,1,0,0", self.photo)
        self.assertEqual(pixels, [[(255, 0, 255, 255), (0, 255, 255, 255)]])

    def test_a_dash_passes_the_incoming_picture_to_a_key(self):
        self.photo.write_bytes(png(1, 1, (255, 0, 0)))
        green = self.folder / "green.png"
        green.write_bytes(png(1, 1, (0, 255, 0)))
        key = "inputBackgroundImage"
        sum_picture = self.render("AdditionCompositing", f"{key}=-", f"inputImage={green}", self.photo)
        self.assertEqual(sum_picture[0][0][:3], (255, 255, 0))
        difference = self.render("DifferenceBlendMode", f"{key}=-", "inputImage=-", self.photo)
        self.assertEqual(difference[0][0][:3], (0, 0, 0))
        self.out.unlink()
        self.assert_fails(
            2,
            "filter ColorInvert: inputImage is set, so no key takes the incoming picture; KEY=- passes it to a key",
            *("apply", "ColorInvert", f"inputImage={green}", self.photo, "-o", self.out),
        )
        self.assert_fails(
            2,
            "inputImage=-: there is no incoming picture",
            *("apply", "ColorInvert", "inputImage=-", "-o", self.out),
        )

    def test_a_generator_takes_no_picture_and_needs_a_rectangle(self):
        pixels = self.render("ConstantColorGenerator", "inputColor=#ff8000", "--rect", "5,-3,2,1")
        self.assertEqual(pixels, [[(255, 128, 0, 255)] * 2])
        self.out.unlink()
        generator = ("apply", "ConstantColorGenerator", "-o", self.out)
        self.assert_fails(
            2, f"{self.out}: the result is infinite, --rect X,Y,W,H selects the part to write", *generator
        )
        self.assert_fails(2, "filter ConstantColorGenerator: it takes no image", *generator, self.photo)
        self.assert_fails(2, "--keep-size: there is no input picture", *generator, "--keep-size")
        self.assert_fails(2, "--rect: '1,2,3' is not a rectangle, expected X,Y,W,H", *generator, "--rect", "1,2,3")
        self.assert_fails(2, "--rect: 'x' is not a number", *generator, "--rect", "1,2,x,4")

    def test_the_working_space_decides_which_numbers_filters_see(self):
        self.photo.write_bytes(png(1, 1, lambda x, y: (100, 30, 0)))
        invert = ("ColorInvert", self.photo)
        linear = self.render(*invert)
        self.assertEqual(self.render(*invert, "--working-space", "linear"), linear)
        self.assertEqual(self.render(*invert, "--working-space", "none"), [[(155, 225, 255, 255)]])
        profile, script = self.photo.with_name("space.icc"), self.photo.with_name("space.lua")
        script.write_text(f'io.open("{profile}", "wb"):write(CGColorSpaceQOR.Named("sRGB").Profile.Bytes):close()')
        self.assert_works("run", script)
        self.assertEqual(self.render(*invert, "--working-space", profile), [[(155, 225, 255, 255)]])
        self.out.unlink()
        apply = ("apply", *invert, "-o", self.out, "--working-space")
        self.assert_fails(
            2,
            "--working-space: got 'absent.icc', expected linear, none or an RGB profile of curves and a matrix; "
            "nothing was written",
            *apply,
            "absent.icc",
        )
        # A copyright that is called a table.
        profile.write_bytes(profile.read_bytes().replace(b"cprt", b"A2B0"))
        reason = f"--working-space: got '{profile}', expected linear, none or an RGB profile of curves and a matrix"
        self.assert_fails(2, f"{reason}; nothing was written", *apply, profile)
        # The settings are checked before the picture is, and before the folder of many results is created.
        results = self.photo.with_name("results")
        missing = self.photo.with_name("missing.png")
        single = ("apply", "ColorInvert", missing, "-o", self.out, "--working-space", profile)
        self.assert_fails(2, f"{reason}; nothing was written", *single)
        batch = ("apply", "ColorInvert", self.photo, missing, "-o", results, "--working-space", profile)
        self.assert_fails(2, f"{reason}; nothing was written", *batch)
        self.assertFalse(results.exists())

    def test_a_rectangle_outside_the_result_is_refused(self):
        for rectangle in ("40,0,5,5", "0,30,5,5", "-9,-9,9,9"):
            message = f"--rect: '{rectangle}' lies outside the result, which is 40 x 30; nothing was written"
            self.assert_fails(2, message, "apply", "ColorInvert", self.photo, "--rect", rectangle, "-o", self.out)

    def test_the_rectangle_is_in_the_coordinates_of_the_image_with_y_up(self):
        self.photo.write_bytes(png(2, 2, lambda x, y: (255 * x, 255 * y, 0)))
        pixels = self.render("AffineTransform", "inputTransform=1,0,0,1,10,20", self.photo, "--rect", "11,20,1,1")
        self.assertEqual(pixels, [[(255, 255, 0, 255)]])

    def test_the_error_for_a_missing_output_image_names_the_unset_keys(self):
        self.assert_fails(
            2,
            "filter ColorMap: it has no output image for these inputs (not set: inputGradientImage); "
            "nothing was written",
            *("apply", "ColorMap", self.photo, "-o", self.out),
        )
        self.assert_fails(
            2,
            "filter GaussianBlur: it has no output image for these inputs (not set: inputImage); nothing was written",
            *("apply", "GaussianBlur", "-o", self.out),
        )

    def test_a_plus_needs_a_filter_on_both_sides(self):
        for words in (["+"], ["+", "Bloom"], ["Bloom", "+"], ["Bloom", "+", "+", "Bloom"]):
            self.assert_fails(
                2, "+: expected a filter name before and after it", "apply", *words, "-o", self.out
            )

    def test_an_empty_word_is_not_a_picture(self):
        self.assert_fails(2, "'': expected the name of a picture", "apply", "Bloom", "", "-o", self.out)
        self.assert_fails(2, "--output is required", "apply", "Bloom", self.photo, "-o", "")

    def test_a_name_that_is_too_long_is_refused(self):
        for name in ("n" * 252 + ".png", "n" * 252 + ".png/"):
            result = self.zeva("apply", "Bloom", self.photo, "-o", name)
            self.assertEqual(result.returncode, 2)
            self.assertRegex(result.stderr, r"file name too long\)?; nothing was written\n$")

    def test_a_folder_that_cannot_be_created_is_refused(self):
        self.assert_fails(
            2,
            "photo.png/new: results cannot be written to this folder (not a directory); nothing was written",
            *("apply", "Bloom", self.photo, "-o", "photo.png/new/"),
        )

    def test_wrong_arguments_have_their_own_exit_status(self):
        self.assert_fails(2, "no command given, zeva help lists them")
        self.assert_fails(
            2, "aply: there is no such command, did you mean apply; zeva help lists the commands", "aply"
        )
        self.assert_fails(2, "FILTER is required", "apply")
        self.assert_fails(2, "--output is required", "apply", "GaussianBlur", self.photo)

    def test_help_goes_to_standard_output(self):
        for arguments in (["--help"], ["apply", "--help"]):
            self.assertIn("Usage: zeva", self.assert_works(*arguments))

    def test_the_version_names_program_host_abi_and_instruction_set(self):
        self.assertRegex(
            self.assert_works("--version"),
            r"^zeva \d+\.\d+\.\d+\nhost version 2013\.03\nABI (i386|x86_64)\ninstruction set (sse\w+|avx\w+)\n$",
        )
        self.assertIn("\nhost version 2012\n", self.assert_works("--version", "--host-version", "2012"))

    def test_opens_a_picture_in_a_file_larger_than_2_gb(self):
        with self.photo.open("ab") as file:
            file.truncate(2_300_000_000)  # a hole after the picture, which takes no space on disk
        self.assert_works("apply", "ColorInvert", self.photo, "-o", self.out)
        self.assertEqual(png_size(self.out), (40, 30))


if __name__ == "__main__":
    unittest.main()
