"""What the generator refuses, and what it makes of a catalogue that it accepts."""

import pathlib
import subprocess
import sys
import tempfile
import unittest

ROOT = pathlib.Path(__file__).resolve().parents[2]
GENERATOR = ROOT / "tools" / "generate_filters.py"
CATALOGUE = ROOT / "filters" / "catalogue.txt"

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


class GeneratorTest(unittest.TestCase):
    def setUp(self):
        folder = tempfile.TemporaryDirectory()
        self.addCleanup(folder.cleanup)
        self.folder = pathlib.Path(folder.name)

    def generate(self, text):
        source = self.folder / "catalogue.txt"
        source.write_text(text)
        command = [sys.executable, GENERATOR, source, self.folder / "out"]
        return subprocess.run(command, capture_output=True, text=True)

    def refused(self, text, line, message):
        """Checks that the text is refused with exactly this line number and message, and that nothing is written."""
        run = self.generate(text)
        self.assertEqual(run.returncode, 1)
        self.assertEqual(run.stderr, f"{self.folder}/catalogue.txt:{line}: {message}\n")
        self.assertFalse((self.folder / "out").exists())

    def test_accepted_catalogue_gives_a_unit_per_filter_in_its_own_property_order(self):
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

    def test_unit_of_a_filter_that_left_the_catalogue_is_removed(self):
        self.generate(GOOD)
        (self.folder / "out" / "CIFilterGone.mm").write_text("old")
        self.generate(GOOD)
        self.assertFalse((self.folder / "out" / "CIFilterGone.mm").exists())

    def test_the_module_s_own_catalogue_is_accepted_with_73_units(self):
        self.assertEqual(self.generate(CATALOGUE.read_text()).returncode, 0)
        self.assertEqual(len(list((self.folder / "out").glob("CIFilter*.mm"))), 73)

    def test_unknown_type_word_is_refused(self):
        known = "CIImageQOR, double, CIVectorQOR, CIColorQOR, NSAffineTransformQOR, memoryblock, CGColorSpaceQOR"
        self.refused(GOOD.replace("double", "single"), 2, f"unknown type word 'single': {known} are known")
        self.refused(GOOD.replace("double", "MemoryBlock"), 2, f"unknown type word 'MemoryBlock': {known} are known")

    def test_key_with_two_types_is_refused(self):
        text = GOOD.replace("inputAngle\nfilter", "inputAngle inputImage\nfilter")
        self.refused(text, 2, "key 'inputImage' has two types, CIImageQOR and double; first listed in line 1")

    def test_key_listed_twice_is_refused(self):
        text = GOOD.replace("outputImage\nkeys", "outputImage inputImage\nkeys")
        self.refused(text, 1, "key 'inputImage' is listed twice; first listed in line 1")

    def test_unknown_key_is_refused(self):
        text = GOOD.replace("Droste inputAngle", "Droste inputAngel")
        self.refused(text, 6, "filter 'Droste' has the unknown key 'inputAngel': no 'keys' line before lists it")

    def test_key_twice_in_one_filter_is_refused(self):
        text = GOOD.replace("Droste inputAngle", "Droste inputAngle inputAngle")
        self.refused(text, 6, "filter 'Droste' has the key 'inputAngle' twice")

    def test_filter_listed_twice_is_refused(self):
        text = GOOD.replace("filter Droste", "filter Bloom")
        self.refused(text, 6, "filter 'Bloom' is listed twice; first in line 4")

    def test_filter_out_of_order_is_refused(self):
        text = GOOD.replace("filter Droste", "filter Area")
        self.refused(text, 6, "filter 'Area' stands after 'Bloom': the order is alphabetical, case ignored")

    def test_order_ignores_case(self):
        text = GOOD.replace("filter Bloom", "filter EDge").replace("filter Droste", "filter Edges")
        self.assertEqual(self.generate(text).returncode, 0)

    def test_unused_key_is_refused(self):
        text = GOOD.replace("Droste inputAngle", "Droste inputRadius")
        self.refused(text, 2, "key 'inputAngle' is used by no filter")

    def test_wrong_count_is_refused(self):
        for right, wrong, line, came_to in [
            ("2 classes", "3 classes", 7, 2),
            ("4 keys", "5 keys", 8, 4),
            ("5 properties", "4 properties", 9, 5),
            ("12 methods", "13 methods", 10, 12),
        ]:
            with self.subTest(wrong):
                message = f"{wrong} are expected, but the catalogue comes to {came_to}"
                self.refused(GOOD.replace(right, wrong), line, message)

    def test_missing_count_is_refused(self):
        self.refused(GOOD.replace("expect 12 methods\n", ""), 9, "no line says how many methods to expect")

    def test_unknown_or_doubled_count_is_refused(self):
        self.refused(GOOD + "expect 1 wonders\n", 11, "unknown count 'wonders': classes, keys, properties, methods are known")
        self.refused(GOOD + "expect 2 classes\n", 11, "'classes' is expected twice; first in line 7")
        self.refused(GOOD.replace("4 keys", "four keys"), 8, "'four' is no count")

    def test_unknown_statement_is_refused(self):
        self.refused("class Bloom x\n" + GOOD, 1, "unknown statement 'class': keys, filter, expect are known")

    def test_statement_with_too_few_words_is_refused(self):
        self.refused("keys double\n" + GOOD, 1, "'keys' needs at least two words after it")

    def test_continuation_of_nothing_is_refused(self):
        self.refused("   inputImage\n" + GOOD, 1, "a continuation line with nothing to continue")

    def test_names_that_are_no_identifiers_are_refused(self):
        text = GOOD.replace("inputAngle\nfilter", "input-Angle\nfilter")
        self.refused(text, 2, "'input-Angle' cannot be a key: it is no identifier")
        self.refused(GOOD.replace("filter Droste", "filter D-roste"), 6, "'D-roste' cannot be a filter: it is no identifier")

    def test_wrong_use_shows_the_manual(self):
        run = subprocess.run([sys.executable, GENERATOR], capture_output=True, text=True)
        self.assertEqual(run.returncode, 2)
        self.assertIn("Usage: generate_filters.py CATALOGUE OUTPUT_FOLDER", run.stderr)


if __name__ == "__main__":
    unittest.main()
