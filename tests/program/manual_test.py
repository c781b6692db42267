"""Runs every command line of the README and of the manual page, and checks that the page documents every option."""

import pathlib
import re
import shutil
import subprocess
import unittest

from zeva_program import ZEVA, ZevaTest, messages, png

ROOT = pathlib.Path(__file__).parent.parent.parent
PHOTO = "/usr/share/matplotlib/mpl-data/sample_data/grace_hopper.jpg"


def manual_examples():
    """The examples of the manual page, several lines each."""
    return re.findall(r"^\.EX\n(.*?)^\.EE$", (ROOT / "docs/zeva.1").read_text(), re.MULTILINE | re.DOTALL)


def readme_commands():
    """The lines of the README's shell blocks that use the program."""
    blocks = re.findall(r"^```sh\n(.*?)^```$", (ROOT / "README.md").read_text(), re.MULTILINE | re.DOTALL)
    lines = [line for block in blocks for line in block.splitlines() if "bin/zeva" in line]
    return [re.sub(r"build/\w+/bin/zeva", "zeva", line) for line in lines]


class ManualTest(ZevaTest):
    def setUp(self):
        super().setUp()
        (self.folder / "photos").mkdir()
        for name in ("photo.jpg", "other.jpg", "photos/1.jpg", "photos/2.jpg"):
            shutil.copy(PHOTO, self.folder / name)
        (self.folder / "mask.png").write_bytes(png(512, 600, lambda x, y: (x // 2, x // 2, x // 2)))
        (self.folder / "warm.cube").write_text("LUT_3D_SIZE 2\n" + "1 0.9 0.8\n" * 8)

    def run_example(self, text):
        """Runs command lines. They must succeed, print something, and write every file that they name with -o."""
        # A pattern names any file that fits.
        named = [re.sub(r"{\w+}", "*", name.strip("'")) for name in re.findall(r" -o ('.*?'|[^-]\S*)", text)]
        for output in named:
            for file in filter(pathlib.Path.is_file, self.folder.glob(output)):
                file.unlink()
        script = f'set -e\nzeva() {{ "{ZEVA}" "$@"; }}\n{text}'
        result = subprocess.run(
            ["bash", "-c", script], cwd=self.folder, capture_output=True, text=True, timeout=120
        )
        self.assertEqual((result.returncode, messages(result.stderr)), (0, []), text)
        self.assertTrue(result.stdout + result.stderr, text)
        self.assertEqual([output for output in named if not any(self.folder.glob(output))], [])

    def test_every_example_of_the_manual_page_works(self):
        examples = manual_examples()
        self.assertGreaterEqual(len(examples), 8)
        for example in examples:
            with self.subTest(example):
                self.run_example(example)

    def test_every_command_of_the_readme_works(self):
        commands = readme_commands()
        self.assertGreaterEqual(len(commands), 2)
        for command in commands:
            with self.subTest(command):
                self.run_example(command)

    def test_the_page_documents_every_command_and_option(self):
        page = (ROOT / "docs/zeva.1").read_text().replace("\\-", "-")
        commands = re.findall(r"^  ([a-z]+) {3,}", self.assert_works("--help").split("Subcommands:")[1], re.MULTILINE)
        self.assertIn("apply", commands)
        for command in commands:
            self.assertIn(f".SS {command}\n", page)
            section = page.split(f".SS {command}\n")[1].split("\n.S")[0] + page.split(".SH OPTIONS")[1]
            for option in re.findall(r"--[a-z][a-z-]+", self.assert_works(command, "--help").split("Exit status")[0]):
                self.assertIn(option, section, command)

    def test_the_limits_of_the_page_are_those_of_the_sources(self):
        def constant(path, pattern):
            return int(re.search(pattern, (ROOT / path).read_text()).group(1))

        limits = (ROOT / "docs/zeva.1").read_text().split(".SH LIMITS\n")[1].split(".SH")[0]
        bits = constant("platform/ImageIO/decode.cpp", r"kDefaultPixelLimit = std::size_t\{1\} << (\d+);")
        self.assertEqual(
            re.findall(r"\d[\d ]*", " ".join(limits.split()).replace(" million", "000000").replace("U+", "")),
            [
                f"{2**bits // 10**6}000000 ",
                f"{constant('platform/ImageIO/formats.h', r'kJPEGSide = (.+);')} ",
                "4 ",
                f"{constant('host/recipe/cube_file.h', r'kLargestCubeSize = (.+);')} ",
                f"{constant('host/recipe/cube_file.h', r'kLongestCubeLine = (.+);')} ",
                f"{2**constant('host/recipe/recipe_syntax.h', r'kLargestRecipe = std::size_t.1. << (.+);') // 2**20} ",
                f"{constant('host/recipe/recipe_link.h', r'kLongestLink = std::size_t.(.+). << 10;')} ",
            ],
        )

    def test_the_page_is_formatted_without_a_warning(self):
        result = subprocess.run(
            ["groff", "-man", "-ww", "-Tutf8", "-z", ROOT / "docs/zeva.1"], capture_output=True, text=True
        )
        self.assertEqual(result.stderr, "")


if __name__ == "__main__":
    unittest.main()
