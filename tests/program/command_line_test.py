"""The words of a command line: names in every spelling, suggestions, help, --quiet, the errors of the parser."""

import unittest

from zeva_program import ZevaTest, png_size


class CommandLineTest(ZevaTest):
    def assert_refused(self, message, *arguments):
        self.assert_fails(2, message, *arguments)

    def apply_refused(self, message, *words):
        self.assert_refused(message, "-q", "apply", *words, self.photo, "-o", self.out)

    def test_names_of_filters_and_keys_in_any_case_and_short_keys_give_the_same_picture(self):
        pictures = set()
        for words in (
            ("GaussianBlur", "inputRadius=2"),
            ("gaussianblur", "INPUTRADIUS=2"),
            ("cigaussianBLUR", "radius=2"),
            ("cifiltergaussianblurqor", "Radius=2"),
        ):
            result = self.zeva("apply", *words, self.photo, "-o", self.out)
            self.assertEqual(result.returncode, 0, result.stderr)
            self.assertIn("CIFilterGaussianBlurQOR inputRadius=2, ", result.stderr + result.stdout)
            pictures.add(self.out.read_bytes())
        self.assertEqual(len(pictures), 1)
        self.assertEqual(png_size(self.out), (52, 42))

    def test_a_wrong_filter_gets_a_suggestion(self):
        problem = "there is no such filter"
        self.apply_refused("filter '': expected the name of a filter", "")
        self.apply_refused(f"filter blur: {problem}, did you mean BoxBlur, DiscBlur or GaussianBlur", "blur")
        self.apply_refused(f"filter cigausianblur: {problem}, did you mean GaussianBlur", "cigausianblur")
        self.apply_refused(f"filter QOR: {problem}", "QOR")

    def test_a_folder_that_looks_like_a_filter_is_named(self):
        (self.folder / "photos").mkdir()
        message = "filter photos: there is no such filter; a picture or folder is ./photos"
        self.assert_refused(message, "-q", "apply", "photos", "--recursive", "--resize", "50%", "-o", self.out)

    def test_a_wrong_key_gets_a_suggestion(self):
        keys = "it takes inputRadius, inputImage"
        for key, suggestion in (("radus", "inputRadius"), ("inputRadus", "inputRadius"), ("imag", "inputImage")):
            problem = f"CIFilterGaussianBlurQOR has no key {key}, did you mean {suggestion}; {keys}"
            self.apply_refused(f"{key}=1: {problem}", "GaussianBlur", f"{key}=1")
        # Two keys have this beginning, so it means neither.
        result = self.zeva("-q", "apply", "FalseColor", "color=red", self.photo, "-o", self.out)
        self.assertEqual(result.returncode, 2)
        self.assertIn("CIFilterFalseColorQOR has no key color", result.stderr)

    def test_a_wrong_command_or_option_gets_a_suggestion(self):
        rest = "; zeva help lists the commands"
        self.assert_refused(f"aply: there is no such command, did you mean apply{rest}", "aply", "Gloom")
        self.assert_refused(f"xyzzy: there is no such command{rest}", "xyzzy")
        self.assert_refused(f"lst: there is no such command, did you mean list{rest}", "help", "lst")
        self.assert_refused("--quite: there is no such option, did you mean --quiet", "list", "--quite")
        self.apply_refused("--rekt: there is no such option, did you mean --rect", "Gloom", "--rekt")
        self.assert_refused("'b': the command takes no further word", "trace", "a", "b")
        self.assert_refused("no command given, zeva help lists them")

    def test_the_parsers_errors_are_plain(self):
        whole = "a whole number from 0 to 4294967295"
        self.assert_refused("--time-limit must be above 0, got '0'", "check", "x.so", "--time-limit", "0")
        self.assert_refused("--time-limit must be a number, got 'soon'", "check", "x.so", "--time-limit", "soon")
        self.assert_refused(f"--seed must be {whole}, got '-1'", "check", "x.so", "--seed", "-1")
        self.assert_refused("--host-version must be a number, got 'new'", "list", "--host-version", "new")
        self.assert_refused("--output: expected a value after it", "apply", "Gloom", "-o")
        for option in ("--resize", "--rect", "--files-from", "--report", "--shard", "--format", "--trace", "--module"):
            self.apply_refused(f"{option} must not be empty", "Gloom", option, "")
        self.apply_refused("--load must not be empty", "Gloom", "--load", "")
        self.assert_refused("--output: it may be given only once", "apply", "Gloom", "-o", "a", "-o", "b")
        self.apply_refused("--strip: it may be given only once", "Gloom", "--strip", "--strip=gps")
        self.apply_refused("--rect and --keep-size cannot be combined", "Gloom", "--keep-size", "--rect", "0,0,1,1")

    def test_help_is_a_command(self):
        for words, options in ((["help"], ["--help"]), (["help", "apply"], ["apply", "--help"])):
            self.assertEqual(self.zeva(*words).stdout, self.zeva(*options).stdout)
        self.assertIn("Usage: zeva apply FILTER", self.zeva("help", "apply").stdout)
        self.assertIn("  help ", self.zeva("help").stdout)

    def test_quiet_prints_results_and_failures_only(self):
        other = self.folder / "other.png"
        other.write_bytes(self.photo.read_bytes())
        for words in ([self.photo, "-o", self.out], [self.photo, other, "-o", "folder"]):
            for option in ("-q", "--quiet"):
                result = self.zeva("apply", "ColorInvert", *words, option)
                self.assertEqual((result.returncode, result.stdout, result.stderr), (0, "", ""))
        self.assertIn("GaussianBlur", self.zeva("list", "--quiet").stdout)
        other.write_bytes(b"no picture")
        result = self.zeva("apply", "ColorInvert", self.photo, other, "-o", "folder", "-q")
        self.assertEqual((result.returncode, result.stdout), (1, ""))
        reason = "not a PNG, JPEG, WebP, TIFF, AVIF or HEIF file; no image was opened"
        self.assertEqual(result.stderr, f"zeva: {other}: {reason}\n")


if __name__ == "__main__":
    unittest.main()
