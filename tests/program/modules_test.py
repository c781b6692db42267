"""Added modules (--load, ZEVA_MODULES), and the modules that "zeva new-module" writes.

Run this file as: FILE ZEVA MODULE GENERATED, the modules that the templates compile to.
"""

import json
import os
import pathlib
import resource
import shutil
import sys
import unittest

from zeva_program import IS_SANITIZED, ZEVA, ZevaTest

ROOT = pathlib.Path(__file__).resolve().parents[2]
TEMPLATE = ROOT / "host/program/module_template"
CATALOGUE_TEMPLATE = ROOT / "host/program/catalogue_template"
MODULE = pathlib.Path(sys.argv.pop(1)).absolute()
GENERATED = pathlib.Path(sys.argv.pop(1)).absolute()
LOAD = ("--load", MODULE)


class AddedModulesTest(ZevaTest):
    def in_environment(self, *modules):
        return {"env": os.environ | {"ZEVA_MODULES": ":".join(map(str, modules))}}

    def test_every_command_has_their_classes(self):
        listed = self.assert_works("list", *LOAD).splitlines()
        self.assertEqual(listed[:2], ["Counter", "CounterTools"])
        self.assertEqual(listed[2:], self.assert_works("list").splitlines())
        self.assertIn("Add(step as double) as double", self.assert_works("describe", "Counter", *LOAD))
        self.assertIn("Counter", self.assert_works("complete", *LOAD, "--", "describe", "Cou").splitlines())
        self.assertEqual(self.assert_works("run", *LOAD, TEMPLATE / "test.lua"), "counter: 7 and 0.0\n")
        self.assert_works("apply", *LOAD, "ColorInvert", self.photo, "-o", self.out)
        self.assertTrue(self.out.exists())

    def test_a_category_lists_its_filters_only(self):
        listed = self.assert_works("list", "--category", "Blur", *LOAD)
        self.assertEqual(listed, self.assert_works("list", "--category", "Blur"))

    def test_the_environment_adds_them_to_every_command(self):
        copy = shutil.copy(MODULE, self.folder / "other.so")
        for modules in ([MODULE], [MODULE, ""], ["", MODULE, MODULE]):
            listed = self.assert_works("list", **self.in_environment(*modules))
            self.assertEqual(listed.splitlines()[:2], ["Counter", "CounterTools"])
        # The same classes again: the host reports and refuses them.
        result = self.zeva("list", **self.in_environment(MODULE, copy))
        self.assertIn("Counter", result.stderr)

    def test_a_file_is_loaded_once_however_it_is_named(self):
        (self.folder / "link.so").symlink_to(MODULE)
        variables = self.in_environment(MODULE)
        listed = self.assert_works("list", *LOAD, "--load", "link.so", *LOAD, **variables)
        self.assertEqual(listed.splitlines()[:2], ["Counter", "CounterTools"])

    def test_an_option_takes_one_word_each_time(self):
        self.assertEqual(self.assert_works("--load", MODULE, "describe", "Counter").splitlines()[0], "Counter")
        self.assertEqual(self.assert_works("describe", "--load", MODULE, "Counter").splitlines()[0], "Counter")

    def test_one_that_cannot_be_loaded_is_named(self):
        self.assert_fails(2, "module none.so: no such file; nothing is loaded", "list", "--load", "none.so")
        (self.folder / "text.so").write_text("no module")
        result = self.zeva("list", **self.in_environment("text.so"))
        self.assertEqual(result.returncode, 2)
        self.assertIn("module text.so: it cannot be loaded", result.stderr)

    def test_no_output_overwrites_one(self):
        copy = shutil.copy(MODULE, self.folder / "copy.png")
        message = f"{copy}: the trace would overwrite it; nothing was run"
        self.assert_fails(2, message, "list", "--load", copy, "--trace", "copy.png")
        message = f"{copy}: a result would overwrite it; nothing was written"
        self.assert_fails(2, message, "apply", "ColorInvert", self.photo, "-o", "copy.png", "--load", copy)
        self.assertEqual(copy.read_bytes(), MODULE.read_bytes())

    def test_a_check_loads_them_beside_the_checked_module(self):
        companion = pathlib.Path(ZEVA).resolve().parent.parent / "modules/companion.so"
        other = shutil.copy(MODULE, self.folder / "other.so")

        def siblings(*words):
            check = ("check", "--no-sandbox", MODULE, "--only", "load.file")
            line = self.assert_works(*check, *words).splitlines()[0]
            return line.removesuffix(", host version 2013.03").split(" with ")[1:]

        self.assertEqual(siblings(), [str(companion)])
        self.assertEqual(siblings("--load", other, *LOAD), [str(companion), str(other)])
        self.assertEqual(siblings("--with", other, "--load", companion), [str(other), str(companion)])
        self.assertEqual(siblings("--load", other, "--alone"), [])

    def test_the_gallery_has_a_page_of_a_class_without_pictures(self):
        self.assert_works("-q", "gallery", self.photo, "-o", "pages", *LOAD)
        page = (self.folder / "pages/class.Counter.html").read_text()
        self.assertIn("<code>Value</code>", page)
        self.assertIn("<code>Add(step as double) as double</code>", page)
        tools = (self.folder / "pages/class.CounterTools.html").read_text()
        self.assertIn("<code>CounterTools.Copy(original as Counter) as Counter</code>", tools)
        self.assertNotIn("<table>", tools)
        index = (self.folder / "pages/index.html").read_text()
        for name in "Counter", "CounterTools":
            self.assertEqual(index.count(f'href="class.{name}.html"'), 1)
        self.assertNotIn("class.CIImageQOR.html", index)


class NewModuleTest(ZevaTest):
    def written(self, template, *words):
        """The names of the files that are written, whose texts are checked against the template."""
        printed = self.assert_works("new-module", "tea_pot", *words)
        self.assertEqual(printed, "tea_pot: written; its README.md says how to build and test it\n")
        written = {path.name: path.read_text() for path in (self.folder / "tea_pot").iterdir()}
        expected = {
            path.name.replace("counter", "tea_pot"): path.read_text()
            .replace("counter", "tea_pot")
            .replace("Counter", "TeaPot")
            for path in template.iterdir()
        }
        self.assertEqual(written, expected)
        return set(written)

    def test_writes_the_template_under_the_name(self):
        self.assertEqual(self.written(TEMPLATE), {"CMakeLists.txt", "README.md", "tea_pot.cpp", "test.lua"})

    def test_writes_the_template_with_a_catalogue(self):
        files = {"CMakeLists.txt", "README.md", "catalogue.txt", "tea_pot_bridge.h", "test.lua"}
        self.assertEqual(self.written(CATALOGUE_TEMPLATE, "--catalogue"), files)

    @unittest.skipIf(IS_SANITIZED, "some checks let a process exit with live objects, which are leaks")
    def test_the_templates_pass_every_check(self):
        # The guide for authors of modules, which the package tests follow, runs all checks of the second one.
        for module, only in (MODULE, []), (GENERATED, ["--only", "ownership", "--only", "binary-data"]):
            with self.subTest(module.name):
                report = json.loads(self.assert_works("check", module, *only, "--json", timeout=300))
                verdicts = {check["verdict"] for check in report["checks"]}
                self.assertEqual(verdicts, {"passed", "skipped"})

    def test_every_command_has_the_classes_of_a_catalogue(self):
        load = ("--load", GENERATED)
        self.assertEqual(self.assert_works("list", *load).splitlines()[:2], ["CounterDial", "CounterLog"])
        described = self.assert_works("describe", "CounterLog", *load).split()
        self.assertEqual(described, ["CounterLog", "Value", "double", "Samples", "memoryblock"])
        self.assertEqual(self.assert_works("run", *load, CATALOGUE_TEMPLATE / "test.lua"), "counter: 3 samples\n")

    def test_refuses_names_that_a_build_could_not_use(self):
        rule = "is not a name of small letters, digits and underscores that begins with a letter; nothing was written"
        for name in ("", "Kettle", "2cups", "tea-pot", "../kettle", "tea pot", "kännchen"):
            self.assert_fails(2, f"NAME: '{name}' {rule}", "new-module", name)
        self.assert_fails(2, "NAME: every build has a target 'test'; nothing was written", "new-module", "test")
        self.assertEqual([path.name for path in self.folder.iterdir()], ["photo.png"])

    def test_leaves_what_exists_alone(self):
        (self.folder / "kettle").write_text("tea")
        self.assert_fails(2, "kettle: it exists already; nothing was written", "new-module", "kettle")
        self.assertEqual((self.folder / "kettle").read_text(), "tea")

    def test_leaves_nothing_behind_when_a_file_cannot_be_written(self):
        # The files before the source are shorter than the limit.
        self.assert_fails(
            3,
            "kettle/kettle.cpp: it cannot be written (file too large); nothing was written",
            *("new-module", "kettle"),
            preexec_fn=lambda: resource.setrlimit(resource.RLIMIT_FSIZE, (1500, 1500)),
        )
        self.assertFalse((self.folder / "kettle").exists())


if __name__ == "__main__":
    unittest.main()
