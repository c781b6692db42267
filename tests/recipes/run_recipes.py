#!/usr/bin/env -S python3 -B
"""Performs the recipes of the README on a copy of the tree, as a person would, and tests the result: `make recipes`.

Usage: run_recipes.py         (after the 64-bit build)

The copy is build/recipes/tree, with a copy of build/x86_64 in it. A mount namespace mounts it over the tree itself,
where every path in the build folder is valid, so only what the recipes change is built. Nothing outside the namespace
sees this.
Where the machine allows no mounts, the copy is built from nothing, which takes several times as long.

The recipes' blocks are applied in order (recipe_text.py). Then the new filter renders, and all suites run but this one
and the one that compares the boundary with its snapshot, which must notice the new service. The exit status is 1 when
a recipe cannot be followed, a test fails or a pixel is wrong.
"""

import os
import pathlib
import shutil
import subprocess
import sys
import time

from recipe_text import RecipeError, apply_step, read_recipes

ROOT = pathlib.Path(__file__).resolve().parents[2]
PLACE = ROOT / "build" / "recipes"
TREE = PLACE / "tree"

sys.path.insert(0, str(ROOT / "tests" / "support"))
import picture

# Straight colors whose largest component is each of the three, a gray, and a transparent one.
COLORS = [(200, 100, 50, 255), (10, 250, 30, 255), (0, 64, 128, 255), (90, 90, 90, 255), (40, 80, 160, 128)]


def copy_tree(with_build):
    """Copies the working tree. Times of files are kept, so that the build folder fits the copy."""
    shutil.rmtree(TREE, ignore_errors=True)

    def left_out(folder, names):
        top = pathlib.Path(folder) == ROOT
        return [name for name in names if (top and name in (".git", "build")) or name == "__pycache__"]

    shutil.copytree(ROOT, TREE, symlinks=True, ignore=left_out)
    if with_build:
        shutil.copytree(ROOT / "build/x86_64", TREE / "build/x86_64", symlinks=True)


def namespace():
    """The command that runs a script of bash with the copy in place of the tree; None where mounts are not allowed."""
    inside = f'mount --bind "{TREE}" "{ROOT}" && cd "{ROOT}" && exec bash -euo pipefail -c "$1"'
    for unshare in (["unshare", "--mount"], ["unshare", "--user", "--map-root-user", "--mount"]):
        command = [*unshare, "bash", "-c", inside, "bash"]
        if shutil.which("unshare") and subprocess.run([*command, "true"], capture_output=True).returncode == 0:
            return command
    return None


class Copy:
    """The copy of the tree, and how to run something in it."""

    def __init__(self):
        TREE.mkdir(parents=True, exist_ok=True)
        self._command = namespace()
        copy_tree(with_build=self._command is not None)
        if self._command is None:
            print("recipes: this machine allows no mounts; the copy is built from nothing", flush=True)
            self._command = ["bash", "-euo", "pipefail", "-c"]
            self.run("cmake --preset x86_64 --log-level=WARNING")

    def run(self, script, output=None):
        return subprocess.run([*self._command, script], cwd=TREE, stdout=output, text=True)

    def printed(self, script):
        """What a recipe's script prints. Its status does not count: a test that fails may print what is wanted."""
        return self.run(script, subprocess.PIPE).stdout


def check_filter(copy):
    """Renders a picture with the filter of the recipe. Returns what is wrong, or None."""
    picture.write(TREE / "build/colors.png", [COLORS])
    zeva = "build/x86_64/bin/zeva"
    if copy.run(f"{zeva} apply MaximumComponent build/colors.png -o build/gray.png", subprocess.PIPE).returncode != 0:
        return "the new filter does not render"
    for color, gray in zip(COLORS, picture.read(TREE / "build/gray.png")[0], strict=True):
        wanted = (max(color[:3]),) * 3 + color[3:]
        if max(abs(a - b) for a, b in zip(gray, wanted, strict=True)) > 1:
            return f"the new filter makes {gray} of {color}, expected {wanted}"
    listed = copy.printed(f"{zeva} list").splitlines()
    if not any(line.startswith("MaximumComponent ") for line in listed):
        return "the new filter is not listed"
    return None


class Clock:
    """Prints how long each part took."""

    def __init__(self):
        self._begin = self._last = time.monotonic()

    def lap(self, name):
        now = time.monotonic()
        print(f"recipes: {name:<24} {now - self._last:6.1f} s", flush=True)
        self._last = now

    def total(self):
        return time.monotonic() - self._begin


def main():
    clock = Clock()
    copy = Copy()
    clock.lap("copy")
    for title, steps in read_recipes((ROOT / "README.md").read_text(encoding="utf-8")).items():
        for step in steps:
            apply_step(TREE, step, copy.printed)
        touched = {step.file for step in steps if step.form != "new"}
        clock.lap(title)
        print(f"         changed {len(touched)} files: {', '.join(sorted(touched))}", flush=True)
    if copy.run("cmake --build --preset x86_64 -- --quiet").returncode != 0:
        return "the copy does not build"
    clock.lap("build")
    suites = f"ctest --preset x86_64 --parallel {os.cpu_count()} --no-tests=error --exclude-regex '^(recipes|abi)'"
    quiet = "grep -vE '^ *Start +[0-9]+:| \\.+ +Passed '"
    if copy.run(f"{suites} | {quiet}").returncode != 0:
        return "tests fail on the copy"
    clock.lap("all other suites")
    if wrong := check_filter(copy):
        return wrong
    clock.lap("render")
    print(f"recipes: the README's recipes work; {clock.total():.0f} s")
    return None


if __name__ == "__main__":
    try:
        failure = main()
    except RecipeError as error:
        failure = str(error)
    if failure:
        print(f"recipes: {failure}", file=sys.stderr)
    sys.exit(failure is not None)
