"""zeva check shows where code for macOS crashed.

Usage: macos_crash_test.py ZEVA OBJECT BUNDLE
"""

import json
import shutil
import subprocess
import sys
import unittest

BUNDLE, OBJECT, ZEVA = sys.argv.pop(), sys.argv.pop(), sys.argv.pop()


def crashed_check(module):
    """The report of a check of the module, which crashed."""
    result = subprocess.run([ZEVA, "check", module, "--only", "properties.extremes", "--json"], capture_output=True,
                            text=True)
    (entry,) = json.loads(result.stdout)["checks"]
    return entry


class MacCrashTest(unittest.TestCase):
    def assert_crash_is_placed(self, module, file):
        entry = crashed_check(module)
        self.assertEqual(entry["verdict"], "crashed")
        self.assertIn(f"({file})", entry["stack"][0])
        if shutil.which("llvm-symbolizer"):
            self.assertRegex(entry["stack"][0], r"^\(anonymous namespace\)::SetValue\b")
        self.assertTrue(any("(zeva)" in frame for frame in entry["stack"]), entry["stack"])
        self.assertEqual(entry["calls"][-1], "writing double nan to Crashing.Value")

    def test_stack_of_an_object_begins_with_the_function_that_crashed(self):
        self.assert_crash_is_placed(OBJECT, "crashing.o")

    def test_stack_of_a_bundle_begins_with_the_function_that_crashed(self):
        self.assert_crash_is_placed(BUNDLE, "crashing")


if __name__ == "__main__":
    unittest.main()
