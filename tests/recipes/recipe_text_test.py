"""How recipes are read and applied, and that those of the README can be: every file and every place in them exists."""

import pathlib
import shutil
import tempfile
import unittest

from recipe_text import RecipeError, apply_step, read_recipes

ROOT = pathlib.Path(__file__).resolve().parents[2]

README = """\
## Start

```sh
make run
```

## Recipes

### Add a thing

Some words.

1. A list begins.
   In `list.txt`, after
   the line containing `two`:

   ```text
   three
     indented
   ```
2. A new file, `new/thing.txt`:
   ```
   thing
   ```

### Add nothing

Words only.

## Tests

```sh
make test
```
"""


def no_script(script):
    raise AssertionError(f"unexpected script: {script}")


class ReadTest(unittest.TestCase):
    def test_blocks_of_recipes_become_steps(self):
        recipes = read_recipes(README)
        self.assertEqual(list(recipes), ["Add a thing"])
        after, new = recipes["Add a thing"]
        self.assertEqual(after, (17, "after", "list.txt", "two", "three\n  indented\n", False))
        self.assertEqual(new, (22, "new", "new/thing.txt", "", "thing\n", False))

    def test_every_form_is_understood(self):
        for sentence, form, text, printed in [
            ("In `a`, before the line containing `x y`:", "before", "x y", False),
            ("In `a`, replacing the line containing `x`:", "replace", "x", False),
            ("In `a`, replacing the lines that begin with `x`:", "replace all", "x", False),
            ("In `a`, replacing the last 3 lines:", "replace last", "3", False),
            ("In `a`, replacing the whole file, with what this prints:", "replace whole", "", True),
            ("Words. In `a`, after the line containing `x`, with what this prints:", "after", "x", True),
        ]:
            (step,) = read_recipes(f"## Recipes\n### Add\n{sentence}\n```\nz\n```\n")["Add"]
            self.assertEqual(step[1:], (form, "a", text, "z\n", printed))

    def test_block_without_a_place_is_refused(self):
        for sentence in ("Write this:", "In `a`, somewhere:", "In `a`, before the line containing `x`", ""):
            with self.assertRaisesRegex(RecipeError, r"^README.md:4: the text before this block does not say where"):
                read_recipes(f"## Recipes\n### Add\n{sentence}\n```\nz\n```\n")


class ApplyTest(unittest.TestCase):
    def setUp(self):
        folder = tempfile.TemporaryDirectory()
        self.addCleanup(folder.cleanup)
        self.folder = pathlib.Path(folder.name)
        (self.folder / "a").write_text("one\ntwo\ntwo more\nend\n")

    def apply(self, sentence, block="new\n", run=no_script):
        (step,) = read_recipes(f"## Recipes\n### Add\n{sentence}\n```\n{block}```\n")["Add"]
        apply_step(self.folder, step, run)
        return (self.folder / step.file).read_text()

    def test_text_is_inserted_or_replaces_lines(self):
        for sentence, text in [
            ("In `a`, after the line containing `one`:", "one\nnew\ntwo\ntwo more\nend\n"),
            ("In `a`, before the line containing `one`:", "new\none\ntwo\ntwo more\nend\n"),
            ("In `a`, replacing the line containing `more`:", "one\ntwo\nnew\nend\n"),
            ("In `a`, replacing the line that begins with `one`:", "new\ntwo\ntwo more\nend\n"),
            ("In `a`, replacing the lines that begin with `two`:", "one\nnew\nend\n"),
            ("In `a`, replacing the last 2 lines:", "one\ntwo\nnew\n"),
            ("In `a`, replacing the whole file:", "new\n"),
            ("A new file, `b/c`:", "new\n"),
        ]:
            with self.subTest(sentence):
                self.setUp()
                self.assertEqual(self.apply(sentence), text)

    def test_printed_text_comes_from_the_script(self):
        sentence = "In `a`, replacing the line containing `one`, with what this prints:"
        text = self.apply(sentence, "date\n", lambda script: f"printed by {script}")
        self.assertEqual(text, "printed by date\ntwo\ntwo more\nend\n")

    def test_place_that_is_missing_or_ambiguous_is_refused_and_the_file_stays(self):
        for sentence, reason in [
            ("In `a`, after the line containing `two`:", "'two' is in 2 lines of a, expected 1"),
            ("In `a`, after the line containing `six`:", "'six' is in 0 lines of a, expected 1"),
            (
                "In `a`, replacing the lines that begin with `six`:",
                "the lines of a that begin with 'six' are 0, not one group",
            ),
            ("In `b`, after the line containing `one`:", "the file b does not exist"),
            ("A new file, `a`:", "a exists already, expected a new file"),
        ]:
            with self.subTest(sentence), self.assertRaises(RecipeError) as refusal:
                self.apply(sentence)
            self.assertEqual(str(refusal.exception), f"README.md:4: {reason}")
            self.assertEqual((self.folder / "a").read_text(), "one\ntwo\ntwo more\nend\n")

    def test_script_that_prints_nothing_is_refused(self):
        with self.assertRaisesRegex(RecipeError, "README.md:4: the script printed nothing for a"):
            self.apply("In `a`, replacing the last 1 lines, with what this prints:", run=lambda script: "\n")


class ReadmeTest(unittest.TestCase):
    def test_every_place_in_the_readme_exists(self):
        """Applies the recipes to copies of the files that they name; `make recipes` builds and tests the result."""
        recipes = read_recipes((ROOT / "README.md").read_text(encoding="utf-8"))
        self.assertIn("Add a filter class", recipes)
        self.assertIn("Add a host service", recipes)
        with tempfile.TemporaryDirectory() as folder:
            for steps in recipes.values():
                for step in steps:
                    source, copy = ROOT / step.file, pathlib.Path(folder) / step.file
                    if source.is_file() and not copy.exists():
                        copy.parent.mkdir(parents=True, exist_ok=True)
                        shutil.copy(source, copy)
                    apply_step(folder, step, lambda script: "printed\n")

    def test_adding_a_filter_touches_at_most_five_files_besides_its_own(self):
        steps = read_recipes((ROOT / "README.md").read_text(encoding="utf-8"))["Add a filter class"]
        touched = {step.file for step in steps if step.form != "new"}
        self.assertLessEqual(len(touched), 5, sorted(touched))


if __name__ == "__main__":
    unittest.main()
