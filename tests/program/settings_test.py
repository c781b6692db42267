"""KEY=VALUE of zeva apply: the text forms of each type, and the error for each wrong value."""

import struct
import unittest

from zeva_program import ZevaTest, png

INVERTING_CUBE = "# inverts\nTITLE \"inverse\"\nLUT_3D_SIZE 2\nDOMAIN_MIN 0 0 0\nDOMAIN_MAX 1.0 1.0 1.0\n" + "".join(
    f"{1 - r} {1 - g} {1 - b}\n" for b in (0, 1) for g in (0, 1) for r in (0, 1)
)


class SettingsTest(ZevaTest):
    def extent_after(self, transform):
        """The extent that apply prints for the photo, 40 x 30, after a transform."""
        setting = f"inputTransform={transform}"
        return self.steps("AffineTransform", setting, self.photo, "-o", self.out)[-1].split(", ", 1)[1]

    def assert_refused(self, filter_name, setting, message):
        self.assert_fails(2, message, "apply", filter_name, setting, self.photo, "-o", self.out)

    def test_a_vector_is_a_list_of_numbers_with_commas(self):
        picture = self.render("Crop", "inputRectangle=1,2,3,4", self.photo)
        self.assertEqual((len(picture[0]), len(picture)), (3, 4))
        self.out.unlink()
        for text in ("1,2,,4", "1,2,3,", "1 2", "a"):
            wrong = next(part for part in text.split(",") if not part.isdigit())
            self.assert_refused("Crop", f"inputRectangle={text}", f"inputRectangle={text}: '{wrong}' is not a number")

    def test_a_color_is_hexadecimal_or_a_list_of_components(self):
        for text, pixel in {
            "#ff8000": (255, 128, 0, 255),
            "#FF800080": (255, 128, 0, 128),
            "#f80": (255, 136, 0, 255),
            "#FF08": (255, 255, 0, 136),
            "orange": (255, 165, 0, 255),
            "RebeccaPurple": (102, 51, 153, 255),
            "transparent": (0, 0, 0, 0),
            "DarkSlateGr\u0065y": (47, 79, 79, 255),
            "green": (0, 128, 0, 255),
            "1,0.6,0": (255, 153, 0, 255),
            "0,0,1,1": (0, 0, 255, 255),
        }.items():
            picture = self.render("ConstantColorGenerator", f"inputColor={text}", "--rect", "0,0,1,1")
            self.assertEqual(picture, [[pixel]], text)

    def test_wrong_colors_are_refused(self):
        expected = "expected a name, #rgb, #rrggbb or #rrggbbaa"
        for text, problem in {
            "#ff800": f"'#ff800' is not a color; {expected}",
            "#ff80zz": f"'#ff80zz' is not a color; {expected}",
            "#": f"'#' is not a color; {expected}",
            "1,2": "a color has 3 or 4 components, got 2",
            "ornage": f"'ornage' is not a color, did you mean orange; {expected}",
        }.items():
            self.assert_refused("ColorMonochrome", f"inputColor={text}", f"inputColor={text}: {problem}")

    def test_a_transform_is_six_numbers_or_steps_applied_in_order(self):
        self.assertEqual(self.extent_after("1,0,0,1,5,-6"), "40 x 30 at 5, -6")
        self.assertEqual(self.extent_after("translate:10,0"), "40 x 30 at 10, 0")
        self.assertEqual(self.extent_after("translate:10,0 scale:2"), "80 x 60 at 20, 0")
        self.assertEqual(self.extent_after("scale:2 translate:10,0"), "80 x 60 at 10, 0")
        self.assertEqual(self.extent_after("scale:2,3"), "80 x 90")
        self.assertEqual(self.extent_after("scale:2,1 rotate:180 translate:80,30"), "80 x 30")

    def test_wrong_transforms_are_refused(self):
        expected = "expected rotate:DEGREES, scale:S, scale:SX,SY or translate:X,Y, or six numbers and no steps"
        for text, problem in {
            "1,0,0,1": "a transform has 6 numbers, got 4",
            "rotate:1,2": f"'rotate:1,2' is not a transform step, {expected}",
            "scale:2 turn:3": f"'turn:3' is not a transform step, {expected}",
            "rotate:x": "'x' is not a number",
        }.items():
            self.assert_refused("AffineTransform", f"inputTransform={text}", f"inputTransform={text}: {problem}")

    def test_an_image_is_a_path(self):
        self.photo.write_bytes(png(1, 1, (255, 255, 0)))
        (self.folder / "mask=.png").write_bytes(png(1, 1, (255, 0, 0)))
        picture = self.render("DifferenceBlendMode", "inputBackgroundImage=mask=.png", self.photo)
        self.assertEqual(picture, [[(0, 255, 0, 255)]])
        self.out.unlink()
        self.assert_refused(
            "DifferenceBlendMode",
            "inputBackgroundImage=none.png",
            "none.png: no such file or directory; no image was opened",
        )

    def test_a_color_cube_comes_from_a_cube_file_from_raw_floats_or_as_numbers(self):
        self.photo.write_bytes(png(1, 1, (255, 0, 0)))
        (self.folder / "inverse.cube").write_text(INVERTING_CUBE)
        numbers = [v for b in (0, 1) for g in (0, 1) for r in (0, 1) for v in (1 - r, 1 - g, 1 - b, 1)]
        (self.folder / "inverse.raw").write_bytes(struct.pack("=32f", *numbers))
        for text in ("inverse.cube", "@inverse.raw", ",".join(map(str, numbers))):
            self.assertEqual(self.render("ColorCube", f"inputCubeData={text}", self.photo), [[(0, 255, 255, 255)]])

    def test_a_cube_sets_its_dimension(self):
        self.photo.write_bytes(png(1, 1, (255, 0, 0)))
        (self.folder / "three.cube").write_text("LUT_3D_SIZE 3\n" + "0 0 1\n" * 27)
        self.assertEqual(self.render("ColorCube", "inputCubeData=three.cube", self.photo), [[(0, 0, 255, 255)]])

    def test_wrong_cubes_are_refused(self):
        cube = self.folder / "x.cube"
        for text, problem in {
            INVERTING_CUBE + "0 0 0\n": ":14: more than the 8 colors of the table",
            INVERTING_CUBE[:-6]: ":12: the table ends after 7 of 8 colors",
            "LUT_3D_SIZE 2\n0 0\n": ':2: "0 0": expected three numbers',
            "0 0 0\n": ":1: LUT_3D_SIZE must stand before the colors",
            "LUT_3D_SIZE 2\nLUT_3D_SIZE 3\n": ":2: LUT_3D_SIZE stands in the file twice",
            f"LUT_3D_SIZE 2\n#{'x' * 1000}\n": ":2: the line has more than 1000 bytes, this is not a .cube file",
            f"LUT_3D_SIZE 2\n0 {'ü' * 100}\n": f':2: "0 {"ü" * 29}...": expected three numbers',
            "LUT_3D_SIZE 2\n0 \x1b[31m\n": r':2: "0 \x1b[31m": expected three numbers',
            "LUT_3D_SIZE 2\n0 0 0 0\n": ':2: "0 0 0 0": expected three numbers',
            "LUT_3D_SIZE 1\n": ':1: "LUT_3D_SIZE 1": expected a size from 2 to 128',
            "LUT_1D_SIZE 2\n": ":1: a one-dimensional table is not a cube",
            "DOMAIN_MAX 1 1 2\n": ':1: "DOMAIN_MAX 1 1 2": only the domain 0...1 is supported',
            "\n": ":1: LUT_3D_SIZE is missing",
        }.items():
            cube.write_text(text)
            self.assert_refused("ColorCube", "inputCubeData=x.cube", f"x.cube{problem}")
        cube.unlink()
        self.assert_refused("ColorCube", "inputCubeData=x.cube", "x.cube: cannot be read (no such file or directory)")
        self.assert_refused(
            "ColorCube",
            "inputCubeData=1,2",
            "inputCubeData=1,2: a cube of n x n x n colors has 4 n^3 numbers, at least 32, got 2",
        )
        (self.folder / "x.raw").write_bytes(b"12345")
        self.assert_refused(
            "ColorCube",
            "inputCubeData=@x.raw",
            "inputCubeData=@x.raw: x.raw has 5 bytes, 32-bit floats take a multiple of 4",
        )

    def test_a_cube_file_may_begin_with_a_byte_order_mark_and_have_long_lines(self):
        self.photo.write_bytes(png(1, 1, (255, 0, 0)))
        text = "\ufeff" + INVERTING_CUBE.replace("\n", "\r\n") + "#" + "x" * 999
        (self.folder / "inverse.cube").write_text(text, encoding="utf-8")
        self.assertEqual(self.render("ColorCube", "inputCubeData=inverse.cube", self.photo), [[(0, 255, 255, 255)]])

    def test_a_cube_file_that_is_one_long_line_is_refused_without_being_read(self):
        with (self.folder / "long.cube").open("wb") as file:
            file.truncate(1 << 40)  # no memory would hold this line
        self.assert_refused(
            "ColorCube",
            "inputCubeData=long.cube",
            "long.cube:1: the line has more than 1000 bytes, this is not a .cube file",
        )
        (self.folder / "long.raw").symlink_to("long.cube")
        self.assert_refused(
            "ColorCube",
            "inputCubeData=@long.raw",
            "inputCubeData=@long.raw: long.raw has more than the 33554432 bytes of the largest cube",
        )

    def test_a_cube_has_as_many_numbers_as_its_dimension_says(self):
        numbers = "inputCubeData=" + ",".join("0" * 32)
        self.render("ColorCube", numbers, "inputCubeDimension=2", self.photo)
        self.out.unlink()
        for words in ([numbers, "inputCubeDimension=3"], ["inputCubeDimension=3", numbers]):
            self.assert_fails(
                2,
                "filter ColorCube: a cube of the dimension 3 has 108 numbers, got 32",
                *("apply", "ColorCube", *words, self.photo, "-o", self.out),
            )

    def test_a_vector_has_as_many_numbers_as_its_default(self):
        for filter_name, setting, expected, got in (
            ("Convolution3X3", "inputWeights=1,2,3", 9, 3),
            ("Convolution9Vertical", "inputWeights=" + ",".join("1" * 10), 9, 10),
            ("Convolution7X7", "inputWeights=" + ",".join("1" * 48), 49, 48),
            ("BumpDistortion", "inputCenter=1", 2, 1),
            ("Crop", "inputRectangle=1,2,3", 4, 3),
            ("ColorMatrix", "inputRVector=1,0,0", 4, 3),
        ):
            self.assert_refused(filter_name, setting, f"{setting}: expected {expected} numbers, got {got}")
        self.render("Convolution3X3", "inputWeights=0,0,0,0,1,0,0,0,0", self.photo)

    def test_negative_sizes_are_refused(self):
        for filter_name, setting in (
            ("GaussianBlur", "inputRadius=-1"),
            ("CMYKHalftone", "inputWidth=-0.5"),
            ("DepthOfField", "inputUnsharpMaskRadius=-1e-9"),
        ):
            self.assert_refused(filter_name, setting, f"{setting}: expected a number of at least 0")
        for rectangle in ("0,0,-5,5", "0,0,5,-5"):
            setting = f"inputRectangle={rectangle}"
            self.assert_refused("Crop", setting, f"{setting}: expected a width and a height of at least 0")
        self.render("GaussianBlur", "inputRadius=0", self.photo)
        self.render("BumpDistortion", "inputCenter=-20,-20", "inputScale=-1", self.photo)

    def test_a_color_space_is_a_name(self):
        self.photo.write_bytes(png(1, 1, (188, 188, 188)))
        cube = "inputCubeData=" + ",".join(
            str(v) for b in (0, 1) for g in (0, 1) for r in (0, 1) for v in (r * r, g, b, 1)
        )
        pictures = {
            space: self.render("ColorCubeWithColorSpace", cube, f"inputColorSpace={space}", self.photo)
            for space in ("sRGB", "linearSRGB")
        }
        self.assertEqual(pictures["sRGB"], pictures["linearSRGB"])
        self.out.unlink()
        self.assert_refused(
            "ColorCubeWithColorSpace",
            "inputColorSpace=mauve",
            'CGColorSpaceQOR.Named: no color space is called "mauve"',
        )

    def test_wrong_numbers_and_unknown_keys_are_refused(self):
        for setting, problem in {
            "inputSigma=3": "CIFilterGaussianBlurQOR has no key inputSigma, it takes inputRadius, inputImage",
            "inputRadius=3px": "'3px' is not a number",
            "inputRadius=": "'' is not a number",
            "inputRadius=inf": "'inf' is not a number",
        }.items():
            self.assert_refused("GaussianBlur", setting, f"{setting}: {problem}")


if __name__ == "__main__":
    unittest.main()
