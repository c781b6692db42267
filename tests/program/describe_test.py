"""zeva list, describe and completion: what they print about the modules' classes."""

import json
import pathlib
import random
import re
import shlex
import subprocess
import unittest

from zeva_program import ZEVA, ZevaTest, expected, png


class DescribeTest(ZevaTest):
    def test_lists_every_filter_with_category_and_title(self):
        lines = self.assert_works("list").splitlines()
        self.assertEqual(len(lines), expected("classes"))
        self.assertIn(["GaussianBlur", "Blur", "Gaussian Blur"], [line.split(maxsplit=2) for line in lines])

    def test_lists_one_category(self):
        names = [line.split()[0] for line in self.assert_works("list", "--category", "Blur").splitlines()]
        self.assertEqual(names, ["BoxBlur", "DiscBlur", "GaussianBlur"])
        self.assert_fails(2, "--category: no filter has the category 'Bluur'", "list", "--category", "Bluur")

    def test_the_list_equals_the_list_of_the_loaded_modules(self):
        module = pathlib.Path(ZEVA).absolute().parent.parent / "modules" / "filters.so"
        for format in ([], ["--json"]):
            self.assertEqual(self.assert_works("list", *format), self.assert_works("list", *format, "--module", module))

    def test_lists_the_other_classes_on_demand(self):
        self.assertNotIn("CIImageQOR", self.assert_works("list").split())
        self.assertIn("CIImageQOR", self.assert_works("list", "--all").split())

    def test_lists_as_json(self):
        rows = json.loads(self.assert_works("list", "--json"))
        self.assertEqual(len(rows), expected("classes"))
        self.assertIn(
            {
                "class": "CIFilterBoxBlurQOR",
                "filter": "BoxBlur",
                "displayName": "Box Blur",
                "category": "Blur",
            },
            rows,
        )

    def test_describes_a_filter_with_defaults_and_ranges(self):
        self.assertEqual(
            self.assert_works("describe", "BoxBlur"),
            """CIFilterBoxBlurQOR, a CIFilterQOR: Box Blur
Blurs with a square: every pixel becomes the average of the pixels around it.

  inputRadius  double, pixels, default 10, at least 1, mostly 1 to 100
               The width of the square, in pixels; an even width counts as the next smaller odd one.

  outputImage  CIImageQOR
               The result. Nothing is computed until the image is saved or drawn.

  inputImage   CIImageQOR
               The image to filter.

  Constructor()
""",
        )

    def test_spellings_of_a_filter_do_not_change_its_description(self):
        texts = {self.assert_works("describe", name) for name in ("Bloom", "CIBloom", "CIFilterBloomQOR")}
        self.assertEqual(len(texts), 1)

    def test_every_key_of_every_filter_has_a_description(self):
        filters = [row["filter"] for row in json.loads(self.assert_works("list", "--json"))]
        for described in json.loads(self.assert_works("describe", "--json", *filters)):
            self.assertTrue(described["description"].endswith("."), described["filter"])
            for key in described["properties"]:
                self.assertTrue(key["description"].endswith("."), (described["filter"], key["name"]))

    def test_every_key_of_a_scalable_type_has_a_unit_as_json(self):
        units = {}
        filters = [row["filter"] for row in json.loads(self.assert_works("list", "--json"))]
        for described in json.loads(self.assert_works("describe", "--json", *filters)):
            for key in described["properties"]:
                has_unit = key["type"] in ("double", "CIVectorQOR", "NSAffineTransformQOR")
                self.assertEqual("unit" in key, has_unit, (described["filter"], key["name"]))
                units[described["filter"], key["name"]] = key.get("unit")
        self.assertEqual(units["GaussianBlur", "inputRadius"], "pixels")
        self.assertEqual(units["BumpDistortion", "inputScale"], "none")
        self.assertEqual(units["DisplacementDistortion", "inputScale"], "pixels")
        self.assertEqual(units["BumpDistortion", "inputCenter"], "position")
        self.assertEqual(units["CopyMachineTransition", "inputExtent"], "rectangle")
        self.assertEqual(units["AffineTile", "inputTransform"], "transform")
        self.assertEqual(units["DotScreen", "inputAngle"], "angle")

    def test_says_which_filters_change_nothing_until_a_key_is_set(self):
        filters = [row["filter"] for row in json.loads(self.assert_works("list", "--json"))]
        described = json.loads(self.assert_works("describe", "--json", *filters))
        said = {row["filter"] for row in described if row["changesNothingByDefault"]}
        # Measured a second time, with another picture and the program itself.
        noise = random.Random(7)
        photo = self.folder / "noise.png"
        photo.write_bytes(png(310, 305, lambda x, y: tuple(noise.randrange(256) for _ in range(3))))
        same = self.folder / "same.png"
        self.assert_works("run", "-", photo, same, input="CIImageQOR.Open(arg[1]):Save(arg[2])")
        for row in described:
            name, keys = row["filter"], [key["name"] for key in row["properties"]]
            changes = True
            if "inputImage" in keys and self.zeva("apply", name, photo, "-o", self.out).returncode == 0:
                changes = self.out.read_bytes() != same.read_bytes()
            self.assertEqual(name in said, not changes, name)
        self.assertEqual(len(said), 23)
        sentence = "Changes nothing until a key besides the image is set.\n"
        self.assertIn(sentence, self.assert_works("describe", "ExposureAdjust"))
        self.assertNotIn(sentence, self.assert_works("describe", "Bloom"))

    def test_says_each_range_once(self):
        filters = [row["filter"] for row in json.loads(self.assert_works("list", "--json"))]
        for line in self.assert_works("describe", *filters).splitlines():
            ranges = re.findall(r"[-0-9.e]+ to [-0-9.e]+", line)
            self.assertEqual(len(ranges), len(set(ranges)), line)
        # Its minimum and maximum are those of its slider.
        self.assertIn("inputSharpness  double, default 0.7, 0 to 1\n", self.assert_works("describe", "DotScreen"))

    def test_values_of_every_kind_as_json(self):
        keys = {}
        names = ("ColorCube", "AffineTransform", "FalseColor", "BumpDistortion")
        for described in json.loads(self.assert_works("describe", *names, "--json")):
            keys.update({key["name"]: key for key in described["properties"]})
        self.assertEqual(keys["inputCubeDimension"]["default"], 2)
        self.assertEqual(keys["inputCubeData"]["default"], {"bytes": 128})
        self.assertEqual(keys["inputTransform"]["default"], [1, 0, 0, 1, 0, 0])
        self.assertEqual(keys["inputCenter"]["default"], [150, 150])
        self.assertEqual(len(keys["inputColor0"]["default"]), 4)
        self.assertEqual(keys["inputRadius"]["type"], "double")

    def test_describes_any_class_from_its_record(self):
        described = json.loads(self.assert_works("describe", "CIImageQOR", "--json"))
        self.assertIn("Crop(rectangle as CIVectorQOR) as CIImageQOR", described["methods"])
        self.assertIn("Open(path as string) as CIImageQOR", described["sharedMethods"])
        self.assertIn(
            {"name": "Extent", "type": "CIVectorQOR", "readOnly": True},
            [{key: entry[key] for key in ("name", "type", "readOnly")} for entry in described["properties"]],
        )
        self.assertIn("  CIImageQOR.Open(path as string) as CIImageQOR", self.assert_works("describe", "CIImageQOR"))

    def test_an_unknown_class_is_refused_with_a_suggestion(self):
        self.assert_fails(2, "class Bloomm: there is no such class, did you mean Bloom", "describe", "Bloomm")


class CompletionTest(ZevaTest):
    def complete(self, *words, breaks=" \t\n\"'><=;|&(:"):
        """The candidates that bash offers for the last of these words, where words end at these breaks."""
        line = " ".join(("zeva", *words))
        current = re.split(f"[{re.escape(breaks)}]", line)[-1]
        script = f"""
            before=$COMP_WORDBREAKS
            eval "$({ZEVA} completion)"
            [ "$before" = "$COMP_WORDBREAKS" ] || echo changed
            COMP_LINE={shlex.quote(line)} COMP_POINT={len(line)}
            _zeva {ZEVA} {shlex.quote(current)} zeva
            printf '%s\\n' "${{COMPREPLY[@]}}"
        """
        completed = subprocess.run(["bash", "-c", script], cwd=self.folder, capture_output=True, text=True, timeout=60)
        self.assertEqual(completed.stderr, "")
        return completed.stdout.split()

    def test_completes_values_where_words_end_at_equal_signs_or_not(self):
        (self.folder / "mask.png").write_bytes(b"")
        (self.folder / "marks").mkdir()
        for word, values in {
            "inputColor=rebecca": ["rebeccapurple"],
            "color=dodg": ["dodgerblue"],
            "inputImage=ma": ["marks", "mask.png"],
        }.items():
            words = ("apply", "ColorMonochrome", word)
            key = word.split("=")[0]
            self.assertEqual(sorted(self.complete(*words)), values)
            self.assertEqual(sorted(self.complete(*words, breaks=" ")), [f"{key}={value}" for value in values])
        spaces = self.complete("apply", "ColorCubeWithColorSpace", "inputColorSpace=")
        self.assertIn("displayP3", spaces)
        self.assertEqual(self.complete("apply", "colorcubewithcolorspace", "inputCubeData=mas"), ["mask.png"])

    def test_every_color_space_of_the_platform_is_completed_and_known(self):
        header = pathlib.Path(__file__).parents[2] / "platform/CoreGraphics/CGColorSpace.h"
        names = re.findall(r"CFStringRef kCGColorSpace(\w+);", header.read_text())
        spaces = self.complete("apply", "ColorCubeWithColorSpace", "inputColorSpace=")
        self.assertEqual([name.lower() for name in spaces], [name.lower() for name in names])
        script = "for _, name in ipairs { ... } do print(CGColorSpaceQOR.Named(name).Name) end"
        known = self.assert_works("run", "-", *spaces, input=script).split()
        self.assertEqual(known, [f"kCGColorSpace{name}" for name in names])

    def test_completes_categories_classes_and_topics(self):
        self.assertEqual(self.complete("list", "--category", "Bl"), ["Blur"])
        self.assertEqual(self.complete("describe", "CIIm"), ["CIImageQOR"])
        self.assertEqual(self.complete("help", "des"), ["describe"])

    def test_completes_in_any_case_and_keys_without_input(self):
        self.assertEqual(self.complete("apply", "gaussianb"), ["GaussianBlur"])
        self.assertEqual(self.complete("apply", "gloom", "rad"), ["inputRadius="])

    def test_completes_commands(self):
        self.assertEqual(self.complete("de"), ["describe"])

    def test_completes_filters(self):
        self.assertEqual(self.complete("apply", "Gaussian"), ["GaussianBlur", "GaussianGradient"])
        self.assertEqual(self.complete("apply", "Bloom", "+", "EdgeW"), ["EdgeWork"])
        self.assertEqual(self.complete("describe", "Edges"), ["Edges"])

    def test_completes_the_keys_of_the_last_filter(self):
        self.assertEqual(
            sorted(self.complete("apply", "Bloom", "input")), ["inputImage=", "inputIntensity=", "inputRadius="]
        )
        self.assertEqual(self.complete("apply", "Bloom", "+", "ExposureAdjust", "inputE"), ["inputEV="])

    def test_completes_options(self):
        self.assertEqual(self.complete("apply", "--keep"), ["--keep-size"])
        self.assertEqual(self.complete("list", "--mod"), ["--module"])

    def test_offers_nothing_where_a_file_is_expected(self):
        self.assertEqual(self.complete("apply", "Bloom", "pho"), [])


if __name__ == "__main__":
    unittest.main()
