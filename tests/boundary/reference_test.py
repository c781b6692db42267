"""Checks docs/interface.md: it is what tools/interface_reference.py writes, and has every service and every header."""

import pathlib
import re
import shutil
import subprocess
import sys
import tempfile
import unittest

ROOT = pathlib.Path(__file__).resolve().parents[2]
PAGE = (ROOT / "docs/interface.md").read_text()


def check(root):
    command = [sys.executable, "-B", root / "tools/interface_reference.py", "--check"]
    return subprocess.run(command, capture_output=True, text=True)


class ReferenceTest(unittest.TestCase):
    def test_is_up_to_date(self):
        result = check(ROOT)
        self.assertEqual((result.returncode, result.stderr), (0, ""))

    def test_has_every_service_and_every_header(self):
        rows = re.findall(r"^SERVICE(?:_AT_LOAD)?\((\w+)", (ROOT / "interface/services.def").read_text(), re.MULTILINE)
        self.assertEqual(re.findall(r"\b(\w+)\(.*\);\n```\n\n[A-Z]", PAGE), rows)
        headers = {path.name for path in (ROOT / "interface").glob("*.h")} - {"services.h"}
        self.assertEqual(set(re.findall(r"^## `interface/(.*)`$", PAGE, re.MULTILINE)), headers)

    def test_a_change_of_the_interface_or_an_unknown_header_is_noticed(self):
        with tempfile.TemporaryDirectory() as folder:
            root = pathlib.Path(folder)
            shutil.copytree(ROOT / "interface", root / "interface")
            for name in "docs", "tools":
                (root / name).mkdir()
            shutil.copy(ROOT / "tools/interface_reference.py", root / "tools")
            shutil.copy(ROOT / "docs/interface.md", root / "docs")
            self.assertEqual(check(root).returncode, 0)
            word = root / "interface/word.h"
            word.write_text(word.read_text().replace("4 bytes", "8 bytes"))
            self.assertIn("docs/interface.md: not what interface/ says", check(root).stderr)
            (root / "interface/more.h").write_text("")
            self.assertIn("more: not in the list of headers", check(root).stderr)


if __name__ == "__main__":
    unittest.main()
