#!/usr/bin/env python3
"""Applies each fault of mutants.toml to the sources, one at a time; the tests of its folder must catch it.

Usage: run_mutants.py [--only FOLDER] PRESET...

A fault that concerns one width is tried at that width, any other at the first of the presets. FOLDER is a folder or
the beginning of a path, such as host/recipe or platform/CoreImage/blur.

Works on a copy of the sources in build/mutants and leaves the originals alone. Prints a table of the changes, the first
test that failed for each, and the counts of each folder. A run that is interrupted goes on where it was when it is
started again: build/mutants/results.json has what was caught, as long as the source, the fault and the tests are the
same, until a run with all of it ends. Exits with status 1 when a fault was not caught, or could not be applied or
built: a fault that does not build proves nothing.
"""

import argparse
import collections
import functools
import hashlib
import json
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
RESULTS = WORK / "results.json"
TARGETS = ["zeva_boundary_test"]
# What tests the files of other folders than the filter module's; the first row that fits counts.
SUITES = {
    "companion/": ["zeva_companion_fault_test", "zeva_companion_test"],
    "platform/ExceptionFrames/": ["zeva_exception_frames_test", "zeva_boundary_test"],
    "platform/CoreImage/core/bitmap_store.cpp": ["zeva_platform_test"],
    "platform/CoreImage/": ["zeva_engine_test"],
    "platform/ImageIO/deflate_runs.cpp": ["zeva_deflate_test"],
    "platform/ImageIO/tiff_tables.cpp": ["zeva_tiff_test"],
    "platform/ImageIO/": ["zeva_platform_test"],
    "host/runtime/": ["zeva_host_test"],
    "host/macho/": ["zeva_macos_test"],
    "host/worker/": ["zeva_checker_test"],
    "host/checker/": ["zeva_checker_test"],
    "host/recipe/": ["zeva_recipe_test"],
}
TIMEOUT = 300  # seconds per test run; a passing run takes a minute at most


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
        # A fault compiles its source anew, not those that would be joined with it.
        return run("cmake", "--preset", self.name, "-B", self.folder, "-DCMAKE_UNITY_BUILD=OFF")

    def build(self, targets):
        return run("cmake", "--build", self.folder, "--target", *targets)

    def first_failure(self, targets):
        """Returns the name of the first failed test, a note about a crash, or None when all tests pass."""
        for target in targets:
            program = self.folder / "bin" / target.removeprefix("zeva_")
            status, output = run(program, "--gtest_color=no", "--gtest_fail_fast", timeout=TIMEOUT)
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


def folder_of(file):
    """The folder that the table counts a file under: its first three levels."""
    return "/".join(file.split("/")[:-1][:3])


@functools.cache
def digest_of_tests():
    digest = hashlib.sha256()
    for name in subprocess.run(["git", "ls-files", "tests"], cwd=ROOT, check=True, capture_output=True,
                               text=True).stdout.split():
        if (ROOT / name).is_file() and not name.startswith("tests/mutants/"):
            digest.update((ROOT / name).read_bytes())
    return digest.hexdigest()


def key_of(mutant, preset):
    """What the outcome of a mutant depends on."""
    digest = hashlib.sha256(json.dumps([mutant, preset, digest_of_tests()], sort_keys=True).encode())
    digest.update((ROOT / mutant["file"]).read_bytes())
    return digest.hexdigest()


def main():
    parser = argparse.ArgumentParser()
    parser.add_argument("--only", default="")
    parser.add_argument("presets", nargs="+")
    arguments = parser.parse_args()
    every = tomllib.loads((pathlib.Path(__file__).parent / "mutants.toml").read_text())["mutant"]
    # The width at which each is tried; those of a width that is not asked for are left out.
    tried = [(mutant, mutant.get("width", arguments.presets[0])) for mutant in every
             if mutant["file"].startswith(arguments.only)]
    tried = [(mutant, width) for mutant, width in tried if width in arguments.presets]
    if not tried:
        sys.exit(f"mutants: no fault is in '{arguments.only}'; nothing was tried")
    WORK.mkdir(parents=True, exist_ok=True)
    copy_sources()
    results = json.loads(RESULTS.read_text()) if RESULTS.exists() else {}
    keys = [key_of(mutant, width) for mutant, width in tried]
    left = [(mutant, width) for (mutant, width), key in zip(tried, keys) if key not in results]
    presets = {name: Preset(name) for name in arguments.presets}
    for name, preset in presets.items():
        targets = {target for mutant, width in left if width == name for target in suites_for(mutant["file"])}
        if not targets:
            continue
        for step in (preset.configure, lambda: preset.build(targets)):
            status, output = step()
            if status != 0:
                print(output[-2000:], file=sys.stderr)
                return 1
        if (failure := preset.first_failure(targets)) is not None:
            print(f"{preset.name}: the tests fail without a fault: {failure}", file=sys.stderr)
            return 1
    counts = collections.defaultdict(lambda: [0, 0])
    for number, ((mutant, width), key) in enumerate(zip(tried, keys), 1):
        print(f"{number:3} {mutant['file']}: {shown(mutant['find'])}\n    -> {shown(mutant['put'])}", flush=True)
        by, is_caught = (results[key], True) if key in results else catch(mutant, presets[width])
        if is_caught and key not in results:
            results[key] = by
            RESULTS.write_text(json.dumps(results))
        counts[folder_of(mutant["file"])][not is_caught] += 1
        print(f"    {width:7} {by}", flush=True)
    for folder, (caught, missed) in sorted(counts.items()):
        print(f"{folder:32} {caught:4} caught {missed:4} not caught")
    missed = sum(row[1] for row in counts.values())
    print(f"{len(tried)} mutants: {len(tried) - missed} caught, {missed} not caught")
    RESULTS.write_text(json.dumps({key: by for key, by in results.items() if key not in keys}))
    return 1 if missed else 0


if __name__ == "__main__":
    sys.exit(main())
