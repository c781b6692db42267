#!/usr/bin/env python3
"""Runs the code cells of each example notebook, in a folder with a photo.jpg, and compares what the notebook shows.

Usage: notebooks_test.py FOLDER        (--write: stores the outputs in the notebooks instead)

A cell shows what it prints, and the value of its last line: as PNG if it is a picture, as text otherwise. Texts must be
the same; a stored picture may differ from the new one by 2 of 255 levels.
"""

import ast
import base64
import contextlib
import io
import json
import os
import pathlib
import shutil
import sys
import tempfile

import numpy as np
from PIL import Image
from program import PHOTO


def run_cell(source, names):
    """Runs a cell and returns its outputs as a notebook stores them."""
    tree = ast.parse(source)
    last = tree.body.pop() if tree.body and isinstance(tree.body[-1], ast.Expr) else None
    printed, outputs = io.StringIO(), []
    with contextlib.redirect_stdout(printed):
        exec(compile(tree, "cell", "exec"), names)
        value = eval(compile(ast.Expression(last.value), "cell", "eval"), names) if last is not None else None
    if printed.getvalue():
        lines = printed.getvalue().splitlines(keepends=True)
        outputs.append({"name": "stdout", "output_type": "stream", "text": lines})
    if value is not None:
        data = {"text/plain": [repr(value)]}
        png = value._repr_png_() if hasattr(value, "_repr_png_") else None
        if png is not None:
            data["image/png"] = base64.b64encode(smaller(png)).decode()
        outputs.append({"data": data, "execution_count": None, "metadata": {}, "output_type": "execute_result"})
    return outputs


def smaller(png):
    """The same picture in less space, for the repository."""
    file = io.BytesIO()
    Image.open(io.BytesIO(png)).save(file, "PNG", optimize=True)
    return file.getvalue()


def pixels(data):
    return np.asarray(Image.open(io.BytesIO(base64.b64decode(data))).convert("RGBA")).astype(int)


def problem_with(stored, made):
    if len(stored) != len(made):
        return f"it has {len(made)} outputs, the notebook {len(stored)}"
    for old, new in zip(stored, made):
        if old.get("text") != new.get("text"):
            return f"it prints {new.get('text')}, the notebook shows {old.get('text')}"
        old, new = dict(old.get("data", {})), dict(new.get("data", {}))
        old_picture, new_picture = old.pop("image/png", None), new.pop("image/png", None)
        if old != new or (old_picture is None) != (new_picture is None):
            return f"its value is {new}, the notebook shows {old}"
        if old_picture is not None:
            before, after = pixels(old_picture), pixels(new_picture)
            if before.shape != after.shape or np.abs(before - after).max() > 2:
                return "its picture differs"
    return None


def main(arguments):
    writes = "--write" in arguments
    folder = pathlib.Path([each for each in arguments if each != "--write"][0]).resolve()
    failures, cells, pictures = 0, 0, 0
    for path in sorted(folder.glob("*.ipynb")):
        notebook = json.loads(path.read_text())
        names = {"__name__": "__main__"}
        with tempfile.TemporaryDirectory() as work:
            shutil.copy(PHOTO, pathlib.Path(work, "photo.jpg"))
            os.chdir(work)
            for cell in notebook["cells"]:
                if cell["cell_type"] != "code":
                    continue
                cells += 1
                made = run_cell("".join(cell["source"]), names)
                pictures += sum("image/png" in each.get("data", {}) for each in made)
                if writes:
                    cell["outputs"] = made
                elif problem := problem_with(cell["outputs"], made):
                    print(f"{path.name}: cell {''.join(cell['source'])!r}: {problem}")
                    failures += 1
            os.chdir("/")
        if writes:
            path.write_text(json.dumps(notebook, indent=1) + "\n")
    print(f"{cells} cells, {pictures} pictures, {failures} failed")
    return 1 if failures or not cells or not pictures else 0


if __name__ == "__main__":
    sys.exit(main(sys.argv[1:]))
