"""The generator of the filter classes: what it writes for a valid catalogue, and how it refuses invalid input."""

import pathlib
import subprocess
import sys
import tempfile
import unittest

ROOT = pathlib.Path(__file__).resolve().parents[2]
GENERATOR = ROOT / "tools" / "generate_filters.py"
CATALOGUE = ROOT / "filters" / "catalogue.txt"
DESCRIPTIONS = ROOT / "filters" / "descriptions.json"

sys.path.insert(0, str(ROOT / "tests" / "support"))
from catalogue import expected

GOOD = """\
keys CIImageQOR inputImage outputImage
keys double inputRadius
    inputAngle
filter Bloom inputRadius outputImage
    inputImage
filter Droste inputAngle outputImage
expect 2 classes
expect 4 keys
expect 5 properties
expect 12 methods
"""

GOOD_DESCRIPTIONS = """\
{
 "keys": {
  "inputImage": {"description": "The image."},
  "outputImage": {"description": "The result."},
  "inputRadius": {"unit": "pixels", "description": "The radius."}
 },
 "filters": {
  "Bloom": {"description": "Glows."},
  "Droste": {
   "description": "Turns.",
   "keys": {
    "inputAngle": {"unit": "angle", "description": "The angle."}
   }
  }
 }
}
"""


class GeneratorTest(unittest.TestCase):
    def setUp(self):
        folder = tempfile.TemporaryDirectory()
        self.addCleanup(folder.cleanup)
        self.folder = pathlib.Path(folder.name)

    def generate(self, text=GOOD, descriptions=GOOD_DESCRIPTIONS):
        source, texts = self.folder / "catalogue.txt", self.folder / "descriptions.json"
        source.write_text(text)
        texts.write_text(descriptions)
        command = [sys.executable, "-B", GENERATOR, source, texts, self.folder / "out"]
        return subprocess.run(command, capture_output=True, text=True)

    def assert_refused(self, run, file, line, message):
        """Checks that the run failed with exactly this line number and message, and that it wrote nothing."""
        self.assertEqual(run.returncode, 1)
        self.assertEqual(run.stderr, f"{self.folder}/{file}:{line}: {message}\n")
        self.assertFalse((self.folder / "out").exists())

    def refused(self, text, line, message):
        self.assert_refused(self.generate(text), "catalogue.txt", line, message)

    def refused_descriptions(self, good, bad, line, message):
        """Replaces part of the valid descriptions and checks how they are refused."""
        self.assertEqual(GOOD_DESCRIPTIONS.count(good), 1, good)
        run = self.generate(descriptions=GOOD_DESCRIPTIONS.replace(good, bad))
        self.assert_refused(run, "descriptions.json", line, message)

    def test_valid_catalogue_gives_one_unit_per_filter_with_its_properties_in_order(self):
        run = self.generate(GOOD)
        self.assertEqual((run.returncode, run.stderr), (0, ""))
        names = sorted(path.name for path in (self.folder / "out").iterdir())
        self.assertEqual(names, ["CIFilterBloom.mm", "CIFilterDroste.mm", "catalogue.mm", "keys.def"])
        unit = (self.folder / "out" / "CIFilterBloom.mm").read_text()
        properties = [line.strip() for line in unit.splitlines() if "FILTER_" in line and line.startswith("    ")]
        self.assertEqual(
            properties,
            [
                "FILTER_PROPERTY(inputRadius),",
                "FILTER_PROPERTY(outputImage),",
                "FILTER_PROPERTY(inputImage),",
                "FILTER_CONSTRUCTOR,",
            ],
        )
        self.assertIn('ConstructFilter(self, @"CIBloom")', unit)

    def test_unit_of_a_removed_filter_is_deleted(self):
        self.generate(GOOD)
        (self.folder / "out" / "CIFilterGone.mm").write_text("old")
        self.generate(GOOD)
        self.assertFalse((self.folder / "out" / "CIFilterGone.mm").exists())

    def test_own_catalogue_and_descriptions_are_valid(self):
        run = self.generate(CATALOGUE.read_text(), DESCRIPTIONS.read_text())
        self.assertEqual((run.returncode, run.stderr), (0, ""))
        self.assertEqual(len(list((self.folder / "out").glob("CIFilter*.mm"))), expected("classes"))

    def test_unknown_type_word_is_refused(self):
        known = "CIImageQOR, double, CIVectorQOR, CIColorQOR, NSAffineTransformQOR, memoryblock, CGColorSpaceQOR"
        for word in ("single", "MemoryBlock"):
            self.refused(GOOD.replace("double", word), 2, f"unknown type word '{word}', expected one of {known}")

    def test_key_with_two_types_is_refused(self):
        text = GOOD.replace("inputAngle\nfilter", "inputAngle inputImage\nfilter")
        self.refused(text, 2, "key 'inputImage' has two types, CIImageQOR and double; it is first listed in line 1")

    def test_key_listed_twice_is_refused(self):
        text = GOOD.replace("outputImage\nkeys", "outputImage inputImage\nkeys")
        self.refused(text, 1, "key 'inputImage' is listed twice; it is first listed in line 1")

    def test_unknown_key_is_refused(self):
        text = GOOD.replace("Droste inputAngle", "Droste inputAngel")
        self.refused(text, 6, "filter 'Droste' has the unknown key 'inputAngel'; no 'keys' line above lists it")

    def test_key_twice_in_one_filter_is_refused(self):
        text = GOOD.replace("Droste inputAngle", "Droste inputAngle inputAngle")
        self.refused(text, 6, "filter 'Droste' has the key 'inputAngle' twice")

    def test_filter_listed_twice_is_refused(self):
        text = GOOD.replace("filter Droste", "filter Bloom")
        self.refused(text, 6, "filter 'Bloom' is listed twice; it is first listed in line 4")

    def test_filter_out_of_order_is_refused(self):
        text = GOOD.replace("filter Droste", "filter Area")
        self.refused(text, 6, "filter 'Area' is listed after 'Bloom', expected alphabetical order without case")

    def test_order_ignores_case(self):
        text = GOOD.replace("filter Bloom", "filter EDge").replace("filter Droste", "filter Edges")
        descriptions = GOOD_DESCRIPTIONS.replace("Bloom", "EDge").replace("Droste", "Edges")
        self.assertEqual(self.generate(text, descriptions).returncode, 0)

    def test_unused_key_is_refused(self):
        text = GOOD.replace("Droste inputAngle", "Droste inputRadius")
        self.refused(text, 2, "key 'inputAngle' is not used by any filter")

    def test_wrong_count_is_refused(self):
        for right, wrong, line, found in [
            ("2 classes", "3 classes", 7, 2),
            ("4 keys", "5 keys", 8, 4),
            ("5 properties", "4 properties", 9, 5),
            ("12 methods", "13 methods", 10, 12),
        ]:
            with self.subTest(wrong):
                message = f"{wrong} are expected, but the catalogue has {found}"
                self.refused(GOOD.replace(right, wrong), line, message)

    def test_counts_option_prints_the_expect_lines_even_when_they_are_wrong_or_missing(self):
        source = self.folder / "catalogue.txt"
        right = "".join(line + "\n" for line in GOOD.splitlines() if line.startswith("expect"))
        for text in (GOOD, GOOD.replace("2 classes", "7 classes"), GOOD.replace(right, "")):
            source.write_text(text)
            run = subprocess.run([sys.executable, "-B", GENERATOR, "--counts", source], capture_output=True, text=True)
            self.assertEqual((run.returncode, run.stdout, run.stderr), (0, right, ""))

    def test_missing_count_is_refused(self):
        self.refused(GOOD.replace("expect 12 methods\n", ""), 9, "no line gives the expected number of methods")

    def test_unknown_or_repeated_count_is_refused(self):
        known = "classes, keys, properties, methods"
        self.refused(GOOD + "expect 1 wonders\n", 11, f"unknown count 'wonders', expected one of {known}")
        self.refused(GOOD + "expect 2 classes\n", 11, "'classes' is expected twice; it is first expected in line 7")
        self.refused(GOOD.replace("4 keys", "four keys"), 8, "'four' is not a count")

    def test_unknown_statement_is_refused(self):
        self.refused("class Bloom x\n" + GOOD, 1, "unknown statement 'class', expected one of keys, filter, expect")

    def test_statement_with_too_few_words_is_refused(self):
        self.refused("keys double\n" + GOOD, 1, "'keys' needs at least two words after it")

    def test_continuation_line_without_a_statement_is_refused(self):
        self.refused("   inputImage\n" + GOOD, 1, "this line continues a statement, but there is none before it")

    def test_names_that_are_not_identifiers_are_refused(self):
        text = GOOD.replace("inputAngle\nfilter", "input-Angle\nfilter")
        self.refused(text, 2, "key 'input-Angle' is not an identifier")
        self.refused(GOOD.replace("filter Droste", "filter D-roste"), 6, "filter 'D-roste' is not an identifier")

    def test_wrong_arguments_show_the_usage(self):
        run = subprocess.run([sys.executable, "-B", GENERATOR], capture_output=True, text=True)
        self.assertEqual(run.returncode, 2)
        self.assertIn("Usage: generate_filters.py CATALOGUE DESCRIPTIONS OUTPUT_FOLDER", run.stderr)

    def test_missing_description_is_refused_at_the_line_of_the_filter(self):
        for good, line, message in [
            ('  "Bloom": {"description": "Glows."},\n', 4, "filter 'Bloom' has no entry in descriptions.json"),
            (
                '  "outputImage": {"description": "The result."},\n',
                4,
                "filter 'Bloom': key 'outputImage' has no description in descriptions.json",
            ),
            (
                ', "description": "The angle."',
                6,
                "filter 'Droste': key 'inputAngle' has no description in descriptions.json",
            ),
        ]:
            with self.subTest(message):
                run = self.generate(descriptions=GOOD_DESCRIPTIONS.replace(good, ""))
                self.assert_refused(run, "catalogue.txt", line, message)

    def test_filter_entry_without_a_description_is_refused(self):
        self.refused_descriptions('{"description": "Glows."}', "{}", 8, "filter 'Bloom' has no description")

    def test_description_without_a_period_is_refused(self):
        message = "is not a sentence, expected a period at its end"
        self.refused_descriptions("Glows.", "Glows", 8, f"the description of filter 'Bloom' {message}")
        self.refused_descriptions("The angle.", "", 12, f"the description of key 'inputAngle' {message}")

    def test_missing_unit_is_refused_for_each_type_that_has_units(self):
        for type_word in ("double", "CIVectorQOR", "NSAffineTransformQOR"):
            with self.subTest(type_word):
                text = GOOD.replace("double", type_word)
                descriptions = GOOD_DESCRIPTIONS.replace('"unit": "pixels", ', "").replace('"unit": "angle", ', "")
                message = "filter 'Bloom': key 'inputRadius' has no unit in descriptions.json"
                self.assert_refused(self.generate(text, descriptions), "catalogue.txt", 4, message)

    def test_unit_that_the_type_cannot_have_is_refused(self):
        self.refused_descriptions(
            '"pixels"', '"meters"', 5, "key 'inputRadius' has the unit 'meters', expected pixels, 1/pixels, angle, none"
        )
        self.refused_descriptions(
            '"inputImage": {',
            '"inputImage": {"unit": "none", ',
            3,
            "key 'inputImage' has the unit 'none', expected no unit",
        )
        for type_word, units in [
            ("CIVectorQOR", "pixels, position, rectangle, none"),
            ("NSAffineTransformQOR", "transform"),
        ]:
            run = self.generate(
                GOOD.replace("double", type_word), GOOD_DESCRIPTIONS.replace('"pixels"', '"1/pixels"')
            )
            message = f"key 'inputRadius' has the unit '1/pixels', expected {units}"
            self.assert_refused(run, "descriptions.json", 5, message)

    def test_a_filter_can_only_have_pixels_as_its_unit(self):
        for unit, is_valid in (("angle", False), ("pixels", True)):
            own = f'"description": "Glows.", "unit": "{unit}"'
            run = self.generate(descriptions=GOOD_DESCRIPTIONS.replace('"description": "Glows."', own))
            if is_valid:
                self.assertEqual(run.returncode, 0)
            else:
                message = "filter 'Bloom' has the unit 'angle', expected pixels or no unit"
                self.assert_refused(run, "descriptions.json", 8, message)

    def test_entry_of_a_filter_wins_over_the_general_one(self):
        own = '"description": "Glows.", "keys": {"inputRadius": {"unit": "none", "description": "The size."}}'
        descriptions = GOOD_DESCRIPTIONS.replace('"description": "Glows."', own).replace('"unit": "pixels", ', "")
        self.assertEqual(self.generate(descriptions=descriptions).returncode, 0)

    def test_description_of_something_that_does_not_exist_is_refused(self):
        self.refused_descriptions('"inputRadius"', '"inputSize"', 5, "key 'inputSize' is not in the catalogue")
        self.refused_descriptions('"Bloom"', '"Blooom"', 8, "filter 'Blooom' is not in the catalogue")
        self.refused_descriptions('"inputAngle"', '"inputRadiu"', 12, "filter 'Droste' has no key 'inputRadiu'")
        self.refused_descriptions(
            '"unit": "pixels"',
            '"Unit": "pixels"',
            5,
            "key 'inputRadius' has the unknown field 'Unit', expected one of description, unit",
        )

    def test_repeated_entry_is_refused_with_both_lines(self):
        self.refused_descriptions(
            '"outputImage"', '"inputImage"', 4, "'inputImage' is listed twice; it is first listed in line 3"
        )
        self.refused_descriptions('"Droste"', '"Bloom"', 9, "'Bloom' is listed twice; it is first listed in line 8")

    def test_descriptions_that_are_not_objects_of_strings_are_refused(self):
        self.refused_descriptions('"Glows."', "7", 8, "expected a string or an object")
        message = "filter 'Bloom' needs an object, found a string"
        self.refused_descriptions('{"description": "Glows."}', '"Glows."', 8, message)
        self.refused_descriptions('"Glows."', "{}", 8, "'description' of filter 'Bloom' needs a string")
        self.refused_descriptions('"Turns.",', '"Turns."', 11, "expected ',' or '}'")
        self.refused_descriptions('"Glows."', '"Glows.', 8, "Invalid control character at")


if __name__ == "__main__":
    unittest.main()
