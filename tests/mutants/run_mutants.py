#!/usr/bin/env python3
"""Applies each fault of mutants.toml to the modules' sources, one at a time; the tests of the boundary, the companion
or the exception frames must catch it.

Usage: run_mutants.py PRESET...

Works on a copy of the sources in build/mutants and leaves the originals alone. Prints a table of the changes and the
first test that failed for each. Exits with status 1 when a fault was not caught, or could not be applied or built: a
fault that does not build proves nothing.
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
TARGETS = ["zeva_boundary_test"]
# What tests the files of other folders than the filter module's.
SUITES = {
    "companion/": ["zeva_companion_fault_test", "zeva_companion_test"],
    "platform/ExceptionFrames/": ["zeva_exception_frames_test", "zeva_boundary_test"],
}
TIMEOUT = 120  # seconds per test run; a passing run takes a few seconds


def run(*command, timeout=None):
    """Runs a command; returns its exit status and its output. A run that exceeds the timeout counts as failed."""
    try:
        done = subprocess.run(command, cwd=SOURCE, capture_output=True, text=True, errors="replace", timeout=timeout)
        return done.returncode, done.stdout + done.stderr
    except subprocess.TimeoutExpired:
        return 1, "[  FAILED  ] (timeout)"


def copy_sources():
    """Updates the copy from the tracked files. Unchanged files keep their time stamps, so they are not rebuilt."""
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


def suites_for(file):
    """The test programs, as targets, that must catch a fault in the file."""
    return next((targets for folder, targets in SUITES.items() if file.startswith(folder)), TARGETS)


class Preset:
    """A CMake preset: configures, builds and tests the copy in a build folder of its own."""

    def __init__(self, name):
        self.name = name
        self.folder = WORK / name

    def configure(self):
        return run("cmake", "--preset", self.name, "-B", self.folder)

    def build(self, targets):
        return run("cmake", "--build", self.folder, "--target", *targets)

    def first_failure(self, targets):
        """Returns the name of the first failed test, a note about a crash, or None when all tests pass."""
        for target in targets:
            program = self.folder / "bin" / target.removeprefix("zeva_")
            status, output = run(program, "--gtest_color=no", timeout=TIMEOUT)
            if status != 0:
                failed = re.search(r"\[  FAILED  \] ([^\s,]+)", output)
                running = re.findall(r"\[ RUN      \] (\S+)", output)
                return failed[1] if failed else f"crash in {running[-1] if running else 'start'}"
        return None


def catch(mutant, preset):
    """Applies a mutant, runs the tests, and restores the source.

    Returns the test that caught it (or the reason why nothing ran), and whether it was caught.
    """
    path = SOURCE / mutant["file"]
    text = path.read_text()
    if text.count(mutant["find"]) != 1:
        return f"not applied: its text occurs {text.count(mutant['find'])} times in the file, expected 1", False
    path.write_text(text.replace(mutant["find"], mutant["put"]))
    targets = suites_for(mutant["file"])
    try:
        status, output = preset.build(targets)
        if status != 0:
            error = re.search(r"error: .*", output)
            return f"not built: {error[0] if error else output[-200:]}", False
        caught = preset.first_failure(targets)
        return (caught, True) if caught else ("NOT CAUGHT", False)
    finally:
        path.write_text(text)


def shown(text):
    """Shortens a change to one line of the table."""
    line = " ".join(text.split()) or "(nothing)"
    return line if len(line) <= 58 else line[:55] + "..."


def main(names):
    mutants = tomllib.loads((pathlib.Path(__file__).parent / "mutants.toml").read_text())["mutant"]
    copy_sources()
    presets = [Preset(name) for name in names]
    for preset in presets:
        targets = {target for mutant in mutants if mutant.get("width", preset.name) == preset.name
                   for target in suites_for(mutant["file"])}
        for step in (preset.configure, lambda: preset.build(targets)):
            status, output = step()
            if status != 0:
                print(output[-2000:], file=sys.stderr)
                return 1
        if (failure := preset.first_failure(targets)) is not None:
            print(f"{preset.name}: the tests fail without a fault: {failure}", file=sys.stderr)
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
    print(f"{len(mutants)} mutants: {caught} caught, {missed} not caught")
    return 1 if missed else 0


if __name__ == "__main__":
    sys.exit(main(sys.argv[1:]))
