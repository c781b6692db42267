"""zeva recipe, and recipes in zeva apply: forms that agree, options, parameters, mistakes, and the shared recipes."""

import json
import pathlib
import re
import subprocess
import unittest

from zeva_program import ZEVA, ZevaTest, messages, png, png_size, read_png

ROOT = pathlib.Path(__file__).parent.parent.parent
RECIPES = sorted((ROOT / "share/recipes").glob("*.recipe"))
# The options of apply that are not about the look of a result.
NOT_IN_RECIPES = {
    "--help", "--output", "--format", "--in-place", "--save-recipe", "--no-clobber", "--recursive",
}


class RecipeTest(ZevaTest):
    def recipe(self, lines, name="a.recipe"):
        path = self.folder / name
        path.write_text("zeva-recipe 1\n" + lines)
        return name

    def written(self, *words):
        """The bytes that apply writes for the photo."""
        self.assert_works("apply", *words, self.photo, "-o", self.out)
        return self.out.read_bytes()

    def test_command_file_link_and_lua_write_the_same_bytes(self):
        picture = png(40, 30, lambda x, y: (x * 6, y * 8, 99))
        self.photo.write_bytes(picture)
        (self.folder / "mask.png").write_bytes(png(40, 30, lambda x, y: (y * 8, y * 8, y * 8)))
        cube = "LUT_3D_SIZE 2\n" + "".join(f"{1 - i % 2} {i // 2 % 2 * .7} {i // 4}\n" for i in range(8))
        (self.folder / "my cube.cube").write_text(cube)
        (self.folder / "raw.floats").write_bytes(b"\0\0\x80\x3f" * 32)
        for lines, slots in {
            "Gloom radius=3\n--resize 50% --depth 16": [],
            "ColorCube cubeData=\"my cube.cube\"\n--rect 1,2,9,8": ["inputCubeData=my cube.cube"],
            "ColorCube cubeData=@raw.floats\n--resize 16 --fill": ["inputCubeData=raw.floats"],
            "ColorCube cubeData=" + ",".join("1" * 32) + "\n--resize 16x9": ["inputCubeData=raw.floats"],
            "picture m = mask.png\nGloom -> $end\nBlendWithMask maskImage=$m backgroundImage=$input\n"
            "ColorMonochrome color=0.1,0.20,1,0.5\nTransform transform=\"rotate:30 translate:-0,1e-3\"\n"
            "Over background=$end\n--keep-size --strip --resize 20x20 --fit": ["m=mask.png"],
        }.items():
            self.recipe(lines)
            expected = self.written("a.recipe")
            link = self.assert_works("recipe", "a.recipe", "--link").strip()
            self.assertEqual(self.written(link, *slots), expected, lines)
            command = self.assert_works("recipe", "a.recipe", "--command").strip()
            done = subprocess.run(
                ["sh", "-c", f'zeva() {{ "{ZEVA}" "$@"; }}; {command} photo.png -o out.png --save-recipe b.recipe'],
                cwd=self.folder, capture_output=True, text=True,
            )
            self.assertEqual((done.returncode, messages(done.stderr)), (0, []))
            self.assertEqual(self.out.read_bytes(), expected, lines)
            self.assertEqual(self.written("b.recipe"), expected, lines)
            canonical = self.assert_works("recipe", "a.recipe")
            self.assertEqual(self.assert_works("recipe", "b.recipe"), canonical)
            self.assertEqual(self.assert_works("recipe", "-", input=canonical), canonical)
            (self.folder / "a.lua").write_text(self.assert_works("recipe", "a.recipe", "--lua"))
            self.assert_works("run", "a.lua", "photo.png", "out.png")
            self.assertEqual(self.out.read_bytes(), expected, lines)

    def test_a_generator_needs_no_picture(self):
        self.recipe("CheckerboardGenerator width=5\n--rect 0,0,20,10")
        self.assertEqual(len(self.render("a.recipe")), 10)
        before = self.out.read_bytes()
        (self.folder / "a.lua").write_text(self.assert_works("recipe", "a.recipe", "--lua"))
        self.assert_works("run", "a.lua", "out.png")
        self.assertEqual(self.out.read_bytes(), before)

    def test_every_option_about_the_look_may_stand_in_a_recipe(self):
        section = self.zeva("apply", "--help").stdout.split("Options:")[1].split("\n\n")[0]
        options = set(re.findall(r"--[a-z-]+", re.sub(r" {10,}.*", "", section))) - NOT_IN_RECIPES
        shared = set(re.findall(r"(?<=[ ,])--[a-z-]+", self.zeva("--help").stdout.split("Subcommands")[0]))
        table = (ROOT / "host/recipe/recipe_option_table.h").read_text()
        self.assertEqual(options - shared, set(re.findall(r'{"(--[a-z-]+)"', table)))

    def test_options_of_the_command_win(self):
        self.recipe("--resize 20x10 --fill")
        self.assertEqual(self.assert_works("apply", "a.recipe", self.photo, "-o", self.out), "")
        self.assertEqual(png_size(self.out), (20, 10))
        self.assert_works("apply", "a.recipe", self.photo, "-o", self.out, "--resize", "50%")
        self.assertEqual(png_size(self.out), (20, 15))
        self.recipe("--rect 0,0,8,8")
        self.assert_works("apply", "a.recipe", self.photo, "-o", self.out, "--keep-size")
        self.assertEqual(png_size(self.out), (40, 30))
        self.assertEqual(
            self.assert_works("recipe", "a.recipe", "--keep-size", "--quality", "7"),
            "zeva-recipe 1\n--keep-size\n--quality 7\n",
        )

    def test_a_profile_is_found_beside_the_recipe(self):
        (self.folder / "sub").mkdir()
        self.recipe("--color-space no.icc", "sub/a.recipe")
        (self.folder / "sub/no.icc").write_bytes(b"no profile")
        result = self.zeva("apply", "sub/a.recipe", self.photo, "-o", self.out)
        self.assertEqual(result.returncode, 2)
        self.assertIn("sub/no.icc", result.stderr)

    def test_a_saved_recipe_has_paths_relative_to_its_folder(self):
        (self.folder / "sub").mkdir()
        script = 'io.open("p3.icc", "wb"):write(CGColorSpaceQOR.Named("displayP3").Profile.Bytes)'
        self.assert_works("run", "-", input=script)
        (self.folder / "mask.png").write_bytes(png(40, 30, (99, 99, 99)))
        words = ("BlendWithMask", "maskImage=mask.png", f"backgroundImage={self.photo}", "--color-space", "p3.icc")
        expected = self.written(*words, "--save-recipe", "sub/a.recipe")
        self.assertEqual(
            (self.folder / "sub/a.recipe").read_text(),
            "zeva-recipe 1\nCIFilterBlendWithMaskQOR inputMaskImage=../mask.png "
            f"inputBackgroundImage={self.photo}\n--color-space ../p3.icc\n",
        )
        self.assertEqual(self.written("sub/a.recipe"), expected)
        result = self.zeva("recipe", "sub/a.recipe", "--link")
        self.assertEqual(
            (result.returncode, messages(result.stderr)),
            (2, ["zeva: --color-space sub/../p3.icc: a link carries no files, expected the name of a color space; no "
                 "link was made"]),
        )

    def test_the_saved_recipe_replaces_no_input(self):
        self.recipe("Gloom")
        self.assert_fails(
            2, "a.recipe: the recipe would overwrite it; nothing was written",
            *("apply", "a.recipe", self.photo, "-o", self.out, "--save-recipe", "a.recipe"),
        )
        self.assert_fails(
            2, f"{self.photo}: the recipe would overwrite it; nothing was written",
            *("apply", "Gloom", self.photo, "-o", self.out, "--save-recipe", self.photo),
        )
        self.assert_fails(
            2, "none/a.recipe: it cannot be written (no such file or directory)",
            *("apply", "Gloom", self.photo, "-o", self.out, "--save-recipe", "none/a.recipe"),
        )

    def test_a_batch_saves_its_recipe_and_checks_it_once(self):
        second = self.folder / "second.png"
        second.write_bytes(png(8, 8))
        self.zeva("apply", "Gloom", "radius=2", self.photo, second, "-o", "out", "--save-recipe", "b.recipe")
        self.assertEqual(
            (self.folder / "b.recipe").read_text(), "zeva-recipe 1\nCIFilterGloomQOR inputRadius=2\n"
        )
        self.recipe("Gloom radius=x")
        message = "a.recipe:2: radius=x: 'x' is not a number; nothing was run"
        self.assert_fails(2, message, "apply", "a.recipe", self.photo, second, "-o", "none")
        self.assertFalse((self.folder / "none").exists())

    def test_mistakes_in_recipes_and_their_files_have_status_2(self):
        for lines, message in {
            "Gausian": "2: filter Gausian: there is no such filter, did you mean GaussianBlur",
            "BlendWithMask maskImage=none.png":
                "2: maskImage=none.png: none.png: no such file or directory; no image was opened",
            "ColorCube cubeData=none.cube": "2: none.cube: cannot be read (no such file or directory)",
            "BlendWithMask": "2: filter BlendWithMask: it has no output image for these inputs (not set: "
                             "inputMaskImage, inputBackgroundImage)",
            "Gloom\nCheckerboardGenerator": "3: filter CheckerboardGenerator: it takes no image",
            "--quality": "2: --quality: expected a value after it",
            "--depth 8\n--quality 900": "3: --quality: got '900', expected a whole number from 0 to 100; nothing was "
                                        "written",
            "--resize x": "2: --resize: 'x' is not a size, expected 1024 (the longer side), 1024x768 or 50%",
            "--rect 1,2": "2: --rect: '1,2' is not a rectangle, expected X,Y,W,H",
        }.items():
            self.recipe(lines)
            message = f"a.recipe:{message}" + ("" if message.endswith("written") else "; nothing was run")
            others = () if "BlendWithMask:" in message else (("recipe", "a.recipe"),)
            for command in (("apply", "a.recipe", self.photo, "-o", self.out), *others):
                result = self.zeva(*command)
                self.assertEqual((result.returncode, messages(result.stderr)), (2, [f"zeva: {message}"]), command)
                self.assertFalse(self.out.exists())

    def test_wrong_uses_of_the_command_are_refused(self):
        self.recipe("Gloom")
        self.assert_fails(2, "RECIPE is required; --list lists those that come with the program", "recipe")
        self.assert_fails(
            2, "--json, --lua, --command and --link cannot be combined", "recipe", "a.recipe", "--json", "--link"
        )
        self.assert_fails(
            2, "photo.jpg: not a recipe, whose name ends in .recipe; nothing was printed", "recipe", "photo.jpg"
        )
        self.assert_fails(
            2, "none.recipe: no such file or directory; nothing was run",
            *("apply", "none.recipe", self.photo, "-o", self.out),
        )

    def test_unused_names_are_noted(self):
        self.recipe("a = 1\nGloom -> $g")
        result = self.zeva("recipe", "a.recipe")
        self.assertEqual(
            (result.returncode, messages(result.stderr)),
            (0, ["zeva: a.recipe:2: the parameter $a is never used", "zeva: a.recipe:3: the result $g is never used"]),
        )
        self.assertEqual(self.zeva("recipe", "a.recipe", "-q").stderr, "")

    def test_json_has_the_parts_of_the_recipe(self):
        self.recipe("r = 3.0\npicture m = \"a b.png\"\nGloom radius=$r -> $g\nCrop rectangle=0,0,$r,1\n--quality 5")
        (self.folder / "a b.png").write_bytes(png(1, 1))
        result = self.zeva("recipe", "a.recipe", "--json", "-q")
        self.assertEqual(json.loads(result.stdout), {
            "version": 1,
            "parameters": [{"name": "r", "value": "3"}],
            "pictures": [{"name": "m", "path": "a b.png"}],
            "steps": [
                {"name": "CIFilterGloomQOR", "settings": [{"key": "inputRadius", "value": "$r"}], "result": "g"},
                {"name": "CIFilterCropQOR", "settings": [{"key": "inputRectangle", "value": "0,0,$r,1"}],
                 "result": None},
            ],
            "options": [{"name": "--quality", "value": "5"}],
        })

    def test_completion_knows_recipes_and_their_parameters(self):
        def completed(*words):
            return self.zeva("complete", "--", *words).stdout.split()

        self.recipe("radius = 3\npicture mask = m.png\nGloom radius=$radius")
        self.assertEqual(completed("apply", "a.recipe", ""), ["radius=", "mask="])
        self.assertEqual(completed("apply", "a.recipe", "r"), ["radius="])
        self.assertEqual(completed("apply", "a.recipe", "mask="), [":files"])
        self.assertEqual(completed("recipe", "warm-"), ["warm-film.recipe"])
        self.assertEqual(completed("apply", "Gloom", "+", "Cov"), ["Covering"])
        self.assertEqual(completed("apply", "Covering", ""), ["other=", "inputImage=", "+"])
        self.assertIn("--lua", completed("recipe", "--"))


class SharedRecipesTest(ZevaTest):
    def test_each_has_a_title_parameters_that_are_used_and_an_effect(self):
        self.photo.write_bytes(png(48, 36, lambda x, y: (x * 5, y * 7, (x * y) % 256)))
        self.assertEqual(len(RECIPES), 10)
        for recipe in RECIPES:
            with self.subTest(recipe.name):
                self.assertRegex(recipe.read_text(), r"^zeva-recipe 1\n# [A-Z].*: .*\n")
                self.assert_works("recipe", recipe.name)  # also no note
                pixels = self.render(recipe.name, self.photo)
                self.assertNotEqual(pixels, read_png(self.photo))
                self.assertEqual((len(pixels[0]), len(pixels)), (48, 36))
                self.assertTrue(all(pixel[3] == 255 for row in pixels for pixel in row))

    def test_a_file_of_the_name_in_the_current_folder_wins(self):
        (self.folder / "noir.recipe").write_text("zeva-recipe 1\n--rect 0,0,1,1\n")
        self.assertEqual(len(self.render("noir.recipe", self.photo)), 1)


class DocumentTest(ZevaTest):
    def test_every_sample_of_the_page_works(self):
        (self.folder / "photos").mkdir()
        for name in ("photo.jpg", "photos/1.jpg", "photos/2.jpg"):
            self.assert_works("apply", self.photo, "-o", name)
        for name in ("mask.png", "other.png"):
            (self.folder / name).write_bytes(png(40, 30, lambda x, y: (x * 6, x * 6, x * 6)))
        page = (ROOT / "docs/recipes.md").read_text()
        for name, text in re.findall(r"`([a-z]+\.recipe)`[^\n]*:\n\n```\n(.*?)```", page, re.DOTALL):
            (self.folder / name).write_text(text)
        self.assertEqual(len(list(self.folder.glob("*.recipe"))), 4)
        blocks = re.findall(r"```sh\n(.*?)```", page, re.DOTALL)
        self.assertGreaterEqual(len(blocks), 8)
        for block in blocks:
            commands = "".join(line for line in block.splitlines(True) if not line.startswith("#>"))
            expected = [line[3:] for line in block.splitlines() if line.startswith("#>")]
            script = f'set -e\nzeva() {{ "{ZEVA}" "$@"; }}\n{commands}'
            result = subprocess.run(
                ["bash", "-c", script], cwd=self.folder, stdout=subprocess.PIPE, stderr=subprocess.STDOUT, text=True
            )
            self.assertEqual(result.returncode, 0, block + result.stdout)
            if expected:
                shown = [line for line in messages(result.stdout) if line in expected]
                self.assertEqual(shown, expected, result.stdout)
        self.assertFalse((self.folder / "never.jpg").exists())


if __name__ == "__main__":
    unittest.main()
