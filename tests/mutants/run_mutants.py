#!/usr/bin/env python3
"""Applies each small fault of mutants.toml to the module's sources, alone, and has the boundary tests find it.

Usage: run_mutants.py PRESET...

Works on a copy of the sources in build/mutants, so nothing here is touched. Prints a table: what was changed, and the first test
that saw it. Exit status 1 when a fault was not caught, or could not be applied or built: such a fault proves nothing.
"""

import os
import pathlib
import re
import shutil
import subprocess
import sys
import tomllib

ROOT = pathlib.Path(__file__).resolve().parents[2]
WORK = ROOT / "build" / "mutants"
SOURCE = WORK / "source"
TARGETS = ["zeva_filters", "zeva_probe", "zeva_boundary_test"]
TIMEOUT = 120  # seconds for a test run; a healthy one takes a few


def run(*command, timeout=None):
    """The exit status and the output of a command; a run that takes too long counts as failed."""
    try:
        done = subprocess.run(command, cwd=SOURCE, capture_output=True, text=True, errors="replace", timeout=timeout)
        return done.returncode, done.stdout + done.stderr
    except subprocess.TimeoutExpired:
        return 1, "[  FAILED  ] (no end)"


def copy_sources():
    """Brings the copy up to date with the tracked files; a file that did not change keeps its time."""
    names = subprocess.run(["git", "ls-files", "-z"], cwd=ROOT, check=True, capture_output=True, text=True).stdout
    for name in filter(None, names.split("\0")):
        original, copy = ROOT / name, SOURCE / name
        if not original.exists():
            continue
        if not copy.exists() or copy.read_bytes() != original.read_bytes():
            copy.parent.mkdir(parents=True, exist_ok=True)
            shutil.copy(original, copy)
    link = SOURCE / "build" / "sysroot-i386"
    link.parent.mkdir(exist_ok=True)
    if not link.exists():
        link.symlink_to(ROOT / "build" / "sysroot-i386")


class Preset:
    """One width: its build folder, and how to build and test there."""

    def __init__(self, name):
        self.name = name
        self.folder = WORK / name

    def configure(self):
        return run("cmake", "--preset", self.name, "-B", self.folder)

    def build(self):
        return run("cmake", "--build", self.folder, "--target", *TARGETS)

    def first_failure(self):
        """The name of the first test that fails, what a crash says, or None when all pass."""
        status, output = run(self.folder / "bin" / "boundary_test", "--gtest_color=no", timeout=TIMEOUT)
        if status == 0:
            return None
        failed = re.search(r"\[  FAILED  \] ([^\s,]+)", output)
        running = re.findall(r"\[ RUN      \] (\S+)", output)
        return failed[1] if failed else f"crash in {running[-1] if running else 'start'}"


def catch(mutant, preset):
    """Applies the mutant, tests, and puts the source back; answers who caught it, and whether anybody did."""
    path = SOURCE / mutant["file"]
    text = path.read_text()
    if text.count(mutant["find"]) != 1:
        return f"not applied: its text stands {text.count(mutant['find'])} times in the file", False
    path.write_text(text.replace(mutant["find"], mutant["put"]))
    try:
        status, output = preset.build()
        if status != 0:
            error = re.search(r"error: .*", output)
            return f"not built: {error[0] if error else output[-200:]}", False
        caught = preset.first_failure()
        return (caught, True) if caught else ("NOBODY", False)
    finally:
        path.write_text(text)


def shown(text):
    """A change as it stands in the table: one line, not too long."""
    line = " ".join(text.split()) or "(nothing)"
    return line if len(line) <= 58 else line[:55] + "..."


def main(names):
    mutants = tomllib.loads((pathlib.Path(__file__).parent / "mutants.toml").read_text())["mutant"]
    copy_sources()
    presets = [Preset(name) for name in names]
    for preset in presets:
        for step in (preset.configure, preset.build):
            status, output = step()
            if status != 0:
                print(output[-2000:], file=sys.stderr)
                return 1
        if (failure := preset.first_failure()) is not None:
            print(f"{preset.name}: the tests fail without any fault: {failure}", file=sys.stderr)
            return 1
    missed = caught = 0
    for number, mutant in enumerate(mutants, 1):
        print(f"{number:3} {mutant['file']}: {shown(mutant['find'])}\n    -> {shown(mutant['put'])}", flush=True)
        for preset in presets:
            if mutant.get("width", preset.name) != preset.name:
                continue
            by, is_caught = catch(mutant, preset)
            caught, missed = caught + is_caught, missed + (not is_caught)
            print(f"    {preset.name:7} {by}", flush=True)
    print(f"{len(mutants)} mutants: {caught} times caught, {missed} times not")
    return 1 if missed else 0


if __name__ == "__main__":
    sys.exit(main(sys.argv[1:]))
