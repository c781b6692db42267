#!/usr/bin/env python3
"""mypy --strict accepts the examples, and refuses programs that the package would refuse, by the installed stubs.

Usage: stubs_test.py EXAMPLES
"""

import json
import pathlib
import subprocess
import sys
import tempfile
import unittest

EXAMPLES = pathlib.Path(sys.argv.pop())


def check(folder, code):
    """What mypy says of a program."""
    path = pathlib.Path(folder, "program.py")
    path.write_text(code)
    done = subprocess.run(["/usr/bin/mypy", "--strict", "--no-error-summary", "--cache-dir",
                           pathlib.Path(folder, "cache"), "--python-executable", sys.executable, path],
                          capture_output=True, text=True, timeout=600)
    return done.stdout.replace(str(path), "program.py")


class StubsTest(unittest.TestCase):
    @classmethod
    def setUpClass(cls):
        # One folder, because mypy needs most of its time to fill its cache.
        cls.folder = cls.enterClassContext(tempfile.TemporaryDirectory())

    def test_the_examples_are_strictly_typed(self):
        notebooks = sorted(EXAMPLES.glob("*.ipynb"))
        self.assertGreater(len(notebooks), 1)
        code = ""
        for number, notebook in enumerate(notebooks):
            cells = [cell for cell in json.loads(notebook.read_text())["cells"] if cell["cell_type"] == "code"]
            body = "\n".join("".join(cell["source"]) for cell in cells)
            # Imports stay outside; each notebook has names of its own.
            lines = body.splitlines()
            code += "\n".join(line for line in lines if line.startswith("import "))
            code += f"\ndef notebook{number}() -> None:\n"
            code += "\n".join("    " + line for line in lines if not line.startswith("import ")) + "\n"
        self.assertEqual("", check(self.folder, code))

    def test_wrong_programs_are_refused(self):
        printed = check(self.folder, """import zeva
photo = zeva.open("photo.jpg")
photo.gaussian_blur(radus=3)
zeva.filters.Bloom().radius = "wide"
photo.extent = photo.extent
photo.crop()
tinted: zeva.CIColorQOR = photo.extent
zeva.filters.ColorMonochrome(color="orange", intensity=0.5).color = (1, 0.5, 0)
""")
        expected = ['program.py:3: error: Unexpected keyword argument "radus"',
                    "program.py:4: error: Incompatible types",
                    'program.py:5: error: Property "extent"', 'program.py:6: error: Missing positional argument',
                    "program.py:7: error: Incompatible types"]
        errors = [line for line in printed.splitlines() if ": error: " in line]
        self.assertEqual(len(expected), len(errors), printed)
        for start, line in zip(expected, errors):
            self.assertTrue(line.startswith(start), line)

    def test_every_stub_names_what_the_package_has(self):
        import ast

        import zeva

        stub = ast.parse((pathlib.Path(zeva.__file__).parent / "__init__.pyi").read_text())
        classes = [node for node in stub.body if isinstance(node, ast.ClassDef) and not node.name.startswith("_")]
        self.assertGreater(len(classes), 80)
        photo, count = zeva.CIImageQOR.from_color("orange").crop((0, 0, 1, 1)), 0
        for each in classes:
            made = getattr(zeva, each.name)
            for node in each.body:
                name = node.target.id if isinstance(node, ast.AnnAssign) else getattr(node, "name", "__init__")
                count += 1
                self.assertTrue(hasattr(photo if each.name == "CIImageQOR" else made, name), f"{each.name}.{name}")
        self.assertGreater(count, 700)


if __name__ == "__main__":
    unittest.main()
