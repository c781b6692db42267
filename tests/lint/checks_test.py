#!/usr/bin/env python3
"""The checks of "make lint" notice what they are for, on small trees made here, and accept this tree's table of includes."""

import pathlib
import sys
import tempfile
import unittest

ROOT = pathlib.Path(__file__).resolve().parents[2]
CHECKS = ROOT / "tools" / "checks"
sys.path.insert(0, str(CHECKS))

import include_directions  # noqa: E402
import names  # noqa: E402
import text  # noqa: E402


class Tree:
    """A folder with the given files, {name: text}."""

    def __init__(self, files):
        self.folder = tempfile.TemporaryDirectory()
        self.root = pathlib.Path(self.folder.name)
        for name, content in files.items():
            path = self.root / name
            path.parent.mkdir(parents=True, exist_ok=True)
            path.write_text(content)
        self.files = list(files)

    def __enter__(self):
        return self

    def __exit__(self, *_):
        self.folder.cleanup()


class IncludeDirectionsTest(unittest.TestCase):
    TABLE = {"ground": set(), "roof": {"ground"}}

    def found(self, files):
        """The problems, without the one that is due as long as nothing in the roof includes the ground."""
        with Tree(files) as tree:
            found = include_directions.problems(tree.root, tree.files, self.TABLE)
            return [problem for problem in found if not problem.endswith("remove the arrow")]

    def test_an_include_that_points_down_is_allowed(self):
        self.assertEqual(self.found({"ground/g.h": "", "roof/r.cpp": '#include "ground/g.h"\n'}), [])

    def test_an_include_that_points_up_is_a_problem(self):
        self.assertEqual(self.found({"ground/g.h": '\n#include "roof/r.h"\n', "roof/r.h": ""}),
                         ["ground/g.h:2: ground must not include roof (roof/r.h)"])

    def test_an_import_counts_as_an_include(self):
        self.assertEqual(len(self.found({"ground/g.mm": '#import "roof/r.h"\n', "roof/r.h": ""})), 1)

    def test_an_include_of_a_folder_outside_the_table_is_a_problem(self):
        found = self.found({"ground/g.h": '#include "tests/t.h"\n', "roof/r.h": "", "tests/t.h": ""})
        self.assertEqual(found, ["ground/g.h:1: ground must not include what stands outside the table (tests/t.h)"])

    def test_a_folder_outside_the_table_may_include_everything(self):
        self.assertEqual(self.found({"ground/g.h": "", "roof/r.h": "", "tests/t.cpp": '#include "roof/r.h"\n'}), [])

    def test_an_include_of_a_missing_file_is_a_problem(self):
        self.assertEqual(self.found({"ground/g.h": '#include "ground/gone.h"\n', "roof/r.h": ""}),
                         ["ground/g.h:1: includes a file that is not in this tree"])

    def test_an_arrow_that_nothing_uses_is_a_problem(self):
        with Tree({"ground/g.h": "", "roof/r.h": ""}) as tree:
            self.assertEqual(list(include_directions.problems(tree.root, tree.files, self.TABLE)),
                             ["include_directions.txt: 'roof' may include 'ground', but nothing there does; "
                              "remove the arrow"])

    def test_a_listed_folder_that_does_not_exist_is_a_problem(self):
        self.assertIn("'roof' does not exist", self.found({"ground/g.h": ""})[0])

    def test_the_longest_listed_folder_of_a_file_counts(self):
        table = {"host": set(), "host/runtime": set()}
        self.assertEqual(include_directions.folder_of("host/runtime/object.h", table), "host/runtime")
        self.assertEqual(include_directions.folder_of("host/main.cpp", table), "host")

    def test_a_table_cannot_name_a_folder_before_its_line(self):
        with self.assertRaisesRegex(ValueError, "line 1: 'low' may include 'high', which has no line before it"):
            include_directions.read_table("low: high\nhigh: low\n")

    def test_a_folder_has_one_line(self):
        with self.assertRaisesRegex(ValueError, "line 2: 'a' has a line already"):
            include_directions.read_table("a:\na:\n")

    def test_every_source_folder_of_this_tree_has_a_line(self):
        table = include_directions.read_table(include_directions.TABLE.read_text())
        sources = (path.relative_to(ROOT) for path in ROOT.rglob("*") if path.suffix in (".h", ".cpp", ".mm"))
        listed = [path.as_posix() for path in sources if path.parts[0] != "build"]
        without = [file for file in listed
                   if not file.startswith("tests/") and include_directions.folder_of(file, table) is None]
        self.assertEqual(without, [])


class TextTest(unittest.TestCase):
    WORDS = text.read_words("# A comment.\n\ncolour\tcolor\n")

    def found(self, content, file="a.cpp"):
        return list(text.problems(file, content, self.WORDS))

    def test_a_word_of_the_table_is_a_problem_with_its_advice(self):
        self.assertEqual(self.found("x\nthe colour\n"), ["a.cpp:2: 'colour'; write color"])

    def test_a_line_of_120_columns_is_allowed_and_one_of_121_is_not(self):
        self.assertEqual(self.found("x" * 120 + "\n"), [])
        self.assertEqual(self.found("x" * 121 + "\n"), ["a.cpp:1: 121 columns, at most 120 are allowed"])

    def test_lines_of_documents_may_be_long(self):
        self.assertEqual(self.found("x" * 121 + "\n", "a.md"), [])

    def test_white_space_at_the_end_of_a_line_is_a_problem(self):
        self.assertEqual(self.found("x \n"), ["a.cpp:1: white space at the end of the line"])

    def test_a_last_line_without_its_end_is_a_problem(self):
        self.assertEqual(self.found("x"), ["a.cpp:1: no line end at the end of the file"])

    def test_a_path_of_one_machine_is_a_problem(self):
        self.assertEqual(len(self.found("open('/home/me/x')\n")), 1)
        self.assertEqual(self.found("usr/home/me, host/root/x\n"), [])

    def test_the_host_of_a_package_registry_is_a_problem(self):
        self.assertEqual(len(self.found("deb http://deb.debian." + "org/ x\n")), 1)

    def test_a_word_without_advice_is_refused_with_its_line(self):
        with self.assertRaisesRegex(ValueError, "line 2: expected a pattern"):
            text.read_words("a\tb\nonly\n")


class NamesTest(unittest.TestCase):
    def found(self, files):
        with Tree(files) as tree:
            return list(names.problems(tree.root, tree.files))

    def test_functions_are_pascal_case(self):
        self.assertEqual(self.found({"a.cpp": "void RunIt() {}\nvoid runIt() {}\n"}),
                         ["a.cpp:2: the function 'runIt' is not PascalCase"])

    def test_methods_are_pascal_case(self):
        self.assertEqual(self.found({"a.h": "class C {\n    void Run();\n    int run() const;\n};\n"}),
                         ["a.h:3: the function 'run' is not PascalCase"])

    def test_enumerators_begin_with_k(self):
        self.assertEqual(self.found({"a.h": "enum class E { kOne, two };\n"}),
                         ["a.h:1: the enumerator 'two' is not kPascalCase"])

    def test_names_that_the_boundary_gives_are_allowed(self):
        self.assertEqual(self.found({"a.cpp": "double getvalueNSNumber(int);\nint main() {}\n"}), [])

    def test_files_are_snake_case(self):
        self.assertEqual(self.found({"BadName.cpp": "", "good_name.cpp": "", "fast-inl.h": ""}),
                         ["BadName.cpp: the file's name is not snake_case"])


if __name__ == "__main__":
    unittest.main()
