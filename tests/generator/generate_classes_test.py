"""The generator of classes: what it writes for a valid catalogue, and how it refuses invalid input."""

import contextlib
import io
import pathlib
import subprocess
import sys
import tempfile
import unittest

ROOT = pathlib.Path(__file__).resolve().parents[2]
GENERATOR = ROOT / "tools" / "generate_classes.py"
CATALOGUE = ROOT / "filters" / "catalogue.txt"
DESCRIPTIONS = ROOT / "filters" / "descriptions.json"

sys.dont_write_bytecode = True
sys.path[:0] = [str(ROOT / "tests" / "support"), str(GENERATOR.parent)]
import generate_classes
from catalogue import expected

HEAD = """\
kind filter pixels
prefix CIFilter
suffix QOR
superclass CIFilterQOR
constructor ConstructFilter CI
include filters/filter_class.h
entries CLASS_PROPERTY FILTER_ATTRIBUTE
type CIImageQOR CIImage ZEVAobjectStruct*
type double NSNumber double pixels 1/pixels angle none
type CIVectorQOR CIVector ZEVAobjectStruct* pixels position rectangle none
type NSAffineTransformQOR NSAffineTransform ZEVAobjectStruct* transform
"""

# What stands behind the head, from line 12.
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

# A catalogue of plain C++.
PLAIN = """\
kind part
include bridge.h values.h
type double Number double
keys double Value
part Dial Value
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

    def run_generator(self, *arguments):
        """Runs the generator in this process, because starting one takes longer than all it does."""
        output, error = io.StringIO(), io.StringIO()
        with contextlib.redirect_stdout(output), contextlib.redirect_stderr(error):
            status = generate_classes.main(list(map(str, arguments)))
        return subprocess.CompletedProcess(arguments, status, output.getvalue(), error.getvalue())

    def generate(self, text=GOOD, descriptions=GOOD_DESCRIPTIONS, head=HEAD):
        source, texts = self.folder / "catalogue.txt", self.folder / "descriptions.json"
        source.write_text(head + text)
        texts.write_text(descriptions)
        return self.run_generator(source, self.folder / "out/catalogue.mm", texts)

    def generate_plain(self, text=PLAIN):
        """Generates C++ without descriptions, and returns what the run wrote by file."""
        source = self.folder / "catalogue.txt"
        source.write_text(text)
        run = self.run_generator(source, self.folder / "out/catalogue.cpp")
        self.assertEqual((run.returncode, run.stderr), (0, ""))
        return {path.name: path.read_text() for path in (self.folder / "out").iterdir()}

    def assert_refused(self, run, file, line, message):
        """Checks that the run failed with exactly this line number and message, and that it wrote nothing."""
        self.assertEqual(run.returncode, 1)
        self.assertEqual(run.stderr, f"{self.folder}/{file}:{line}: {message}\n")
        self.assertFalse((self.folder / "out").exists())

    def refused(self, text, line, message, head=HEAD):
        self.assert_refused(self.generate(text, head=head), "catalogue.txt", line, message)

    def refused_setting(self, good, bad, line, message):
        """Replaces part of the head and checks how it is refused."""
        self.assertEqual(HEAD.count(good), 1, good)
        self.refused(GOOD, line, message, HEAD.replace(good, bad))

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
        entries = [line.strip() for line in unit.splitlines() if line.startswith("    ") and line.endswith("),")]
        self.assertEqual(
            entries,
            [
                f"{macro}({key}),"
                for key in ("inputRadius", "outputImage", "inputImage")
                for macro in ("CLASS_PROPERTY", "FILTER_ATTRIBUTE")
            ],
        )
        self.assertIn("    CLASS_CONSTRUCTOR,\n};\n", unit)
        self.assertIn('ConstructFilter(self, @"CIBloom")', unit)

    def test_record_of_a_class_has_the_names_that_the_head_gives(self):
        self.generate()
        self.assertEqual(
            (self.folder / "out/CIFilterBloom.mm").read_text().split("ZEVAclassDefinition ")[1],
            """CIFilterBloomClass = CLASS_RECORD(CIFilterBloom,
    .className = "CIFilterBloomQOR",
    .superclassName = "CIFilterQOR");
""",
        )

    def test_list_of_keys_has_the_bridge_and_the_value_of_each_type(self):
        self.generate()
        self.assertEqual(
            (self.folder / "out/keys.def").read_text().splitlines()[2:],
            [
                'KEY(inputAngle, "double", NSNumber, double)',
                'KEY(inputImage, "CIImageQOR", CIImage, ZEVAobjectStruct*)',
                'KEY(inputRadius, "double", NSNumber, double)',
                'KEY(outputImage, "CIImageQOR", CIImage, ZEVAobjectStruct*)',
            ],
        )

    def test_plain_catalogue_gives_classes_without_what_it_does_not_set(self):
        files = self.generate_plain()
        self.assertEqual(set(files), {"Dial.cpp", "catalogue.cpp", "keys.def"})
        made_by = "// Generated by generate_classes.py from catalogue.txt; edit that instead.\n"
        self.assertEqual(
            files["Dial.cpp"],
            made_by
            + """// Dial as a host class.

#include "bridge.h"
#include "values.h"
#include "plugin/class_template.h"

namespace Dial {

static ZEVAmethod Methods[] = {
    CLASS_PROPERTY(Value),
};

}  // namespace Dial

ZEVAclassDefinition DialClass = CLASS_RECORD(Dial,
    .className = "Dial");
""",
        )
        self.assertEqual(
            files["catalogue.cpp"],
            made_by
            + """// The part classes in registration order.

#include "Dial.cpp"

#include "plugin/plugin_main.h"

static ZEVAclassDefinition* const kPartClasses[] = {
    &DialClass,
};

std::span<ZEVAclassDefinition* const> ModuleClasses() { return kPartClasses; }
""",
        )

    def test_data_and_its_functions_become_fields_of_the_record(self):
        settings = "finalize tea::Drop\ndata TeaData\ninitialize Fill\n"
        self.assertEqual(
            self.generate_plain(settings + PLAIN)["Dial.cpp"].split("CLASS_RECORD")[1],
            """(Dial,
    .className = "Dial",
    .instanceDataSize = sizeof(TeaData),
    .initialize = Fill,
    .finalize = tea::Drop);
""",
        )

    def test_constructor_gets_the_name_of_the_class_as_a_string_of_the_language(self):
        unit = self.generate_plain("constructor Fill\n" + PLAIN)["Dial.cpp"]
        self.assertIn('static void Constructor(ZEVAobjectStruct* self) { Fill(self, "Dial"); }\n', unit)
        self.assertIn("    CLASS_PROPERTY(Value),\n    CLASS_CONSTRUCTOR,\n};\n", unit)

    def test_counts_need_not_be_given(self):
        self.assertEqual(self.generate(GOOD.split("expect")[0]).returncode, 0)

    def test_methods_count_the_entries_and_the_constructor_that_classes_have(self):
        for settings, methods in (("", 1), ("entries A B C\n", 3), ("constructor Fill\n", 2)):
            source = self.folder / "catalogue.txt"
            source.write_text(settings + PLAIN)
            counts = self.run_generator("--counts", source).stdout
            self.assertEqual(counts.splitlines()[-1], f"expect {methods} methods", settings)

    def test_unit_of_a_removed_class_is_deleted_and_other_files_stay(self):
        self.generate_plain(PLAIN + "part Log Value\n")
        (self.folder / "out/own.cpp").write_text("// by hand")
        self.assertEqual(set(self.generate_plain()), {"Dial.cpp", "catalogue.cpp", "keys.def", "own.cpp"})

    def test_own_catalogue_and_descriptions_are_valid(self):
        run = self.generate(CATALOGUE.read_text(), DESCRIPTIONS.read_text(), head="")
        self.assertEqual((run.returncode, run.stderr), (0, ""))
        self.assertEqual(len(list((self.folder / "out").glob("CIFilter*.mm"))), expected("classes"))

    def test_unknown_type_word_is_refused(self):
        known = "CIImageQOR, double, CIVectorQOR, NSAffineTransformQOR"
        for word in ("single", "MemoryBlock"):
            self.refused(GOOD.replace("double", word), 13, f"unknown type word '{word}', expected one of {known}")

    def test_key_with_two_types_is_refused(self):
        text = GOOD.replace("inputAngle\nfilter", "inputAngle inputImage\nfilter")
        self.refused(text, 13, "key 'inputImage' has two types, CIImageQOR and double; it is first listed in line 12")

    def test_key_listed_twice_is_refused(self):
        text = GOOD.replace("outputImage\nkeys", "outputImage inputImage\nkeys")
        self.refused(text, 12, "key 'inputImage' is listed twice; it is first listed in line 12")

    def test_unknown_key_is_refused(self):
        text = GOOD.replace("Droste inputAngle", "Droste inputAngel")
        self.refused(text, 17, "filter 'Droste' has the unknown key 'inputAngel'; no 'keys' line above lists it")

    def test_key_twice_in_one_filter_is_refused(self):
        text = GOOD.replace("Droste inputAngle", "Droste inputAngle inputAngle")
        self.refused(text, 17, "filter 'Droste' has the key 'inputAngle' twice")

    def test_filter_listed_twice_is_refused(self):
        text = GOOD.replace("filter Droste", "filter Bloom")
        self.refused(text, 17, "filter 'Bloom' is listed twice; it is first listed in line 15")

    def test_filter_out_of_order_is_refused(self):
        text = GOOD.replace("filter Droste", "filter Area")
        self.refused(text, 17, "filter 'Area' is listed after 'Bloom', expected alphabetical order without case")

    def test_order_ignores_case(self):
        text = GOOD.replace("filter Bloom", "filter EDge").replace("filter Droste", "filter Edges")
        descriptions = GOOD_DESCRIPTIONS.replace("Bloom", "EDge").replace("Droste", "Edges")
        self.assertEqual(self.generate(text, descriptions).returncode, 0)

    def test_unused_key_is_refused(self):
        text = GOOD.replace("Droste inputAngle", "Droste inputRadius")
        self.refused(text, 13, "key 'inputAngle' is not used by any filter")

    def test_wrong_count_is_refused(self):
        for right, wrong, line, found in [
            ("2 classes", "3 classes", 18, 2),
            ("4 keys", "5 keys", 19, 4),
            ("5 properties", "4 properties", 20, 5),
            ("12 methods", "13 methods", 21, 12),
        ]:
            with self.subTest(wrong):
                message = f"{wrong} are expected, but the catalogue has {found}"
                self.refused(GOOD.replace(right, wrong), line, message)

    def test_counts_option_prints_the_expect_lines_even_when_they_are_wrong_or_missing(self):
        source = self.folder / "catalogue.txt"
        right = "".join(line + "\n" for line in GOOD.splitlines() if line.startswith("expect"))
        for text in (GOOD, GOOD.replace("2 classes", "7 classes"), GOOD.replace(right, "")):
            source.write_text(HEAD + text)
            run = self.run_generator("--counts", source)
            self.assertEqual((run.returncode, run.stdout, run.stderr), (0, right, ""))

    def test_missing_count_is_refused(self):
        self.refused(GOOD.replace("expect 12 methods\n", ""), 20, "no line gives the expected number of methods")

    def test_unknown_or_repeated_count_is_refused(self):
        known = "classes, keys, properties, methods"
        self.refused(GOOD + "expect 1 wonders\n", 22, f"unknown count 'wonders', expected one of {known}")
        self.refused(GOOD + "expect 2 classes\n", 22, "count 'classes' is listed twice; it is first listed in line 18")
        self.refused(GOOD.replace("4 keys", "four keys"), 19, "'four' is not a count")

    def test_unknown_statement_is_refused(self):
        known = (
            "kind, prefix, suffix, superclass, data, initialize, finalize, constructor, include, entries, type, keys, "
            "expect, filter"
        )
        self.refused("class Bloom x\n" + GOOD, 12, f"unknown statement 'class', expected one of {known}")
        # The word for a class is unknown until it is set.
        known = known.removesuffix(", filter")
        self.refused_setting("kind filter pixels\n", "", 14, f"unknown statement 'filter', expected one of {known}")

    def test_statement_with_a_wrong_number_of_words_is_refused(self):
        for statement, needed in [
            ("keys double", "at least two words"),
            ("filter Edges", "at least two words"),
            ("expect 3", "two words"),
            ("expect 3 keys more", "two words"),
            ("type color Color", "at least three words"),
            ("data", "one word"),
            ("data A B", "one word"),
        ]:
            message = f"'{statement.split()[0]}' needs {needed} after it"
            self.refused(statement + "\n" + GOOD, 12, message)
        self.refused_setting(" pixels\nprefix CIFilter", " pixels\nprefix", 2, "'prefix' needs one word after it")
        for good, line, needed in [
            ("kind filter pixels", 1, "at least one word"),
            ("suffix QOR", 3, "one word"),
            ("superclass CIFilterQOR", 4, "one word"),
            ("constructor ConstructFilter CI", 5, "one or two words"),
            ("include filters/filter_class.h", 6, "at least one word"),
            ("entries CLASS_PROPERTY FILTER_ATTRIBUTE", 7, "at least one word"),
        ]:
            setting = good.split()[0]
            self.refused_setting(good, setting, line, f"'{setting}' needs {needed} after it")
        self.refused_setting(" CI\n", " CI CI\n", 5, "'constructor' needs one or two words after it")
        for setting in ("initialize", "finalize"):
            self.refused(f"{setting} A B\n{GOOD}", 12, f"'{setting}' needs one word after it")

    def test_setting_given_twice_is_refused(self):
        message = "setting 'suffix' is listed twice; it is first listed in line 3"
        self.refused("suffix QOR\n" + GOOD, 12, message)

    def test_setting_behind_the_keys_is_refused(self):
        message = "setting 'data' stands after the first keys, expected before them"
        self.refused(GOOD.replace("filter Bloom", "data Data\nfilter Bloom"), 15, message)

    def test_setting_that_is_missing_is_refused(self):
        self.refused_setting("include filters/filter_class.h\n", "", 20, "no line gives the 'include'")
        self.refused("prefix CIFilter\n", 1, "no line gives the 'kind'", head="")

    def test_catalogue_without_classes_is_refused(self):
        self.refused("", 11, "no line lists a filter")

    def test_setting_that_is_not_a_name_is_refused(self):
        for good, bad, line, message in [
            ("kind filter", "kind fil-ter", 1, "'fil-ter' of 'kind' is not a name"),
            ("prefix CIFilter", "prefix CI.", 2, "'CI.' of 'prefix' is not a name"),
            ("suffix QOR", "suffix Q-R", 3, "'Q-R' of 'suffix' is not a name"),
            ("superclass CIFilterQOR", "superclass 2", 4, "'2' of 'superclass' is not a name"),
            ("ConstructFilter CI", "a::Construct() CI", 5, "'a::Construct()' of 'constructor' is not a name"),
            ("ConstructFilter CI", "a::Construct C-I", 5, "'C-I' of 'constructor' is not a name"),
            ("FILTER_ATTRIBUTE", "FILTER(x)", 7, "'FILTER(x)' of 'entries' is not a name"),
        ]:
            with self.subTest(bad):
                self.refused_setting(good, bad, line, message)
        for setting in ("data", "initialize", "finalize"):
            self.refused(f"{setting} a:b\n{GOOD}", 12, f"'a:b' of '{setting}' is not a name")

    def test_kind_that_is_another_word_of_the_language_is_refused(self):
        for kind in ("keys", "key", "expect", "setting", "count"):
            self.refused_setting("kind filter", f"kind {kind}", 1, f"kind '{kind}' has another meaning in a catalogue")

    def test_type_listed_twice_or_with_a_wrong_name_is_refused(self):
        message = "type 'double' is listed twice; it is first listed in line 9"
        self.refused("type double Number double\n" + GOOD, 12, message)
        self.refused("type a-b Color int\n" + GOOD, 12, "'a-b' of type 'a-b' is not an identifier")
        self.refused("type color a::Color int\n" + GOOD, 12, "'a::Color' of type 'color' is not an identifier")

    def test_class_with_the_name_of_the_list_is_refused(self):
        message = "part 'list' has the name of the file that lists all classes"
        source = self.folder / "catalogue.txt"
        source.write_text(PLAIN.replace("Dial", "list"))
        run = self.run_generator(source, self.folder / "out/list.cpp")
        self.assert_refused(run, "catalogue.txt", 5, message)

    def test_continuation_line_without_a_statement_is_refused(self):
        message = "this line continues a statement, but there is none before it"
        self.refused("   inputImage\n" + GOOD, 1, message, head="")

    def test_names_that_are_not_identifiers_are_refused(self):
        text = GOOD.replace("inputAngle\nfilter", "input-Angle\nfilter")
        self.refused(text, 13, "key 'input-Angle' is not an identifier")
        self.refused(GOOD.replace("filter Droste", "filter D-roste"), 17, "filter 'D-roste' is not an identifier")

    def test_wrong_arguments_show_the_usage(self):
        for arguments in ([], ["catalogue.txt"], ["catalogue.txt", "out.c"], ["a.txt", "b.cpp", "c.json", "d"]):
            command = [sys.executable, "-B", GENERATOR, *arguments]
            run = subprocess.run(command, capture_output=True, text=True)
            self.assertEqual(run.returncode, 2)
            self.assertIn("Usage: generate_classes.py CATALOGUE OUTPUT [DESCRIPTIONS]", run.stderr)

    def test_missing_description_is_refused_at_the_line_of_the_filter(self):
        for good, line, message in [
            ('  "Bloom": {"description": "Glows."},\n', 15, "filter 'Bloom' has no entry in descriptions.json"),
            (
                '  "outputImage": {"description": "The result."},\n',
                15,
                "filter 'Bloom': key 'outputImage' has no description in descriptions.json",
            ),
            (
                ', "description": "The angle."',
                17,
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
                self.assert_refused(self.generate(text, descriptions), "catalogue.txt", 15, message)

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
                message = "filter 'Bloom' has the unit 'angle', expected pixels"
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

    def test_descriptions_call_classes_what_the_catalogue_calls_them(self):
        for kind, kinds in (("part", "parts"), ("class", "classes")):
            text = PLAIN.replace("part", kind)
            descriptions = '{"keys": {"Value": {"description": "It."}}, "%s": {"Dial": {"description": "It."}}}'
            self.assertEqual(self.generate(text, descriptions % kinds, head="").returncode, 0)
            run = self.generate(text, descriptions % "filters", head="")
            message = f"the file has the unknown field 'filters', expected one of keys, {kinds}"
            self.assertEqual(run.stderr, f"{self.folder}/descriptions.json:1: {message}\n")

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
