#!/usr/bin/env python3
"""Runs the Python samples of pages, in their order, and compares what they print with what the page shows.

Usage: samples_test.py PAGE...

A sample shows its output in comments of the form "# -> text", one for each line. All samples of a page run in one
process, in a folder with a photo.jpg, so a sample can use the names of those before it. A block with the mark "raises"
on its last line (`# raises Name: message`) must end with that exception.
"""

import contextlib
import io
import os
import pathlib
import re
import shutil
import sys
import tempfile

from program import PHOTO

failures, count = 0, 0
for page in [pathlib.Path(each).resolve() for each in sys.argv[1:]]:
    text = page.read_text()
    names = {"__name__": "sample"}
    with tempfile.TemporaryDirectory() as folder:
        shutil.copy(PHOTO, pathlib.Path(folder) / "photo.jpg")
        os.chdir(folder)
        for sample in re.finditer(r"^```python\n(.*?)^```$", text, re.MULTILINE | re.DOTALL):
            count += 1
            code = sample.group(1)
            expected = re.findall(r"# -> (.*)$", code, re.MULTILINE)
            raises = re.search(r"# raises (.*)$", code, re.MULTILINE)
            printed, raised = io.StringIO(), None
            with contextlib.redirect_stdout(printed):
                try:
                    exec(compile(code, str(page), "exec"), names)
                except Exception as problem:
                    raised = f"{type(problem).__name__}: {problem}"
            if printed.getvalue().splitlines() != expected or raised != (raises and raises.group(1)):
                line = text[: sample.start()].count("\n") + 1
                print(f"{page}:{line}: expected {expected} {raises and raises.group(1)}, printed "
                      f"{printed.getvalue().splitlines()}, raised {raised}")
                failures += 1
        os.chdir("/")
print(f"{count} samples, {failures} failed")
sys.exit(1 if failures or not count else 0)
