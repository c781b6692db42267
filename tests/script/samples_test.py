#!/usr/bin/env python3
"""Runs each Lua sample of a page and compares its output with the output that the page shows.

Usage: samples_test.py PATH_OF_ZEVA PAGE...

A sample shows its output in comments of the form "--> text", one for each line. A sample without such comments must
print nothing. Each sample runs under the name "sample" in its own folder, which contains photo.jpg.
"""

import pathlib
import re
import shutil
import subprocess
import sys
import tempfile

PHOTO = "/usr/share/matplotlib/mpl-data/sample_data/grace_hopper.jpg"

zeva, pages = sys.argv[1], [pathlib.Path(page) for page in sys.argv[2:]]
failures, count = 0, 0
for page in pages:
    text = page.read_text()
    for sample in re.finditer(r"^```lua\n(.*?)^```$", text, re.MULTILINE | re.DOTALL):
        count += 1
        code = sample.group(1)
        expected = re.findall(r"--> (.*)$", code, re.MULTILINE)
        with tempfile.TemporaryDirectory() as folder:
            shutil.copy(PHOTO, pathlib.Path(folder) / "photo.jpg")
            pathlib.Path(folder, "sample").write_text(code)
            result = subprocess.run([zeva, "run", "sample"], cwd=folder, capture_output=True, text=True, timeout=60)
        if result.returncode != 0 or result.stdout.splitlines() != expected:
            line = text[: sample.start()].count("\n") + 1
            print(f"{page}:{line}: expected {expected}, printed {result.stdout.splitlines()} {result.stderr}")
            failures += 1
print(f"{count} samples, {failures} failed")
sys.exit(1 if failures or not count else 0)
