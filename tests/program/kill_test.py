#!/usr/bin/python3 -B
"""A batch that is killed at random moments and resumed each time gives the bytes of one run, and leaves nothing behind.

Usage: kill_test.py ZEVA [PICTURES KILLS]. The moments are random with a fixed seed; ZEVA_SEED sets another one.
"""

import hashlib
import json
import os
import pathlib
import random
import signal
import subprocess
import sys
import tempfile
import time
import unittest

PICTURES, KILLS = map(int, sys.argv[2:4] if len(sys.argv) > 2 else (300, 6))
del sys.argv[2:]

sys.argv[1] = os.path.abspath(sys.argv[1])

from zeva_program import ZEVA, ZevaTest, png

CHAIN = ("apply", "ColorControls", "saturation=0.4", "+", "GaussianBlur", "radius=1", "--keep-size")
SEED = int(os.environ.get("ZEVA_SEED", "1"))


class Disk:
    """A small file system in memory, which root can mount."""

    def __init__(self, folder, size):
        folder.mkdir()
        self.folder = folder
        subprocess.run(["mount", "-t", "tmpfs", "-o", f"size={size}", "none", folder], check=True)

    def remount(self, options):
        subprocess.run(["mount", "-o", f"remount,{options}", self.folder], check=True)

    def remove(self):
        subprocess.run(["umount", "-l", self.folder], check=True)


class KillTest(ZevaTest):
    def setUp(self):
        super().setUp()
        (self.folder / "in").mkdir()
        self.names = [f"in/{number:04}.png" for number in range(PICTURES)]
        for number, name in enumerate(self.names):
            (self.folder / name).write_bytes(png(6, 5, (number % 256, number // 256, 90)))
        (self.folder / "list").write_text("\n".join(self.names))

    def report(self, out):
        return self.folder / (out.replace("/", "-") + ".jsonl")

    def words(self, out, *words):
        return [*CHAIN, "--files-from", "list", "-o", out, "--report", self.report(out), *words]

    def files(self, out):
        return {path.name: path.read_bytes() for path in (self.folder / out).iterdir()}

    def lines(self, out):
        content = self.report(out).read_bytes()
        return [json.loads(line) for line in content[: content.rfind(b"\n") + 1].splitlines()]

    def disk(self, size):
        if os.geteuid() != 0:
            self.skipTest("only root can mount a small file system")
        try:
            disk = Disk(self.folder / "disk", size)
        except subprocess.CalledProcessError:
            self.skipTest("this system does not permit mounting a small file system")
        self.addCleanup(disk.remove)
        return disk

    def test_a_job_that_is_killed_and_resumed_gives_the_bytes_of_one_run(self):
        self.assert_works(*self.words("one"), timeout=600)
        moments = random.Random(SEED)
        print(f"seed {SEED}", file=sys.stderr)
        # Each kill comes after a random number of further pictures, and then at a random moment within the next ones.
        step = PICTURES // (KILLS + 1)
        for kill in range(KILLS):
            process = subprocess.Popen([ZEVA, *self.words("killed", "--resume", "-q")], cwd=self.folder)
            wanted = kill * step + moments.randint(1, step)
            report = self.report("killed")
            while process.poll() is None and (not report.exists() or report.read_bytes().count(b"\n") < wanted):
                time.sleep(0.001)
            time.sleep(moments.random() * 0.02)
            process.send_signal(signal.SIGKILL)
            self.assertEqual(process.wait(), -signal.SIGKILL, "all pictures were done before the last kill")
        before = len(self.lines("killed"))
        self.assertLess(before, PICTURES)
        self.assert_works(*self.words("killed", "--resume"), timeout=600)
        self.assertEqual(self.files("killed"), self.files("one"))
        lines = self.lines("killed")
        # Nothing that a report knows to be done is done again.
        self.assertEqual(sorted(line["input"] for line in lines), self.names)
        for line in lines:
            output = (self.folder / line["output"]).read_bytes()
            self.assertEqual(line["outputHash"], hashlib.sha256(output).hexdigest())

    def test_a_disk_that_is_full_in_the_middle_loses_nothing(self):
        disk = self.disk("256k")  # some of the pictures fit: each file takes a page
        result = self.zeva(*self.words("disk/out"), timeout=600)
        self.assertEqual(result.returncode, 3)
        self.assertIn("no space left on device", result.stderr)
        done = [line for line in self.lines("disk/out") if line["outcome"] == "done"]
        self.assertTrue(0 < len(done) < PICTURES)
        self.assertEqual(sorted(self.files("disk/out")), sorted(pathlib.Path(line["output"]).name for line in done))
        disk.remount("size=64m")
        self.assert_works(*self.words("disk/out", "--resume"), timeout=600)
        self.assert_works(*self.words("one"), timeout=600)
        self.assertEqual(self.files("disk/out"), self.files("one"))

    def test_an_output_that_becomes_read_only_is_the_failure_of_the_machine(self):
        disk = self.disk("64m")
        process = subprocess.Popen(
            [ZEVA, *self.words("disk/out"), "--jobs", "1"],
            cwd=self.folder,
            stderr=subprocess.PIPE,
            stdout=subprocess.PIPE,
            text=True,
        )
        out = self.folder / "disk/out"
        while process.poll() is None and (not out.exists() or len(list(out.iterdir())) < 5):
            time.sleep(0.002)
        while True:  # busy while a picture is being written
            try:
                disk.remount("ro")
                break
            except subprocess.CalledProcessError:
                self.assertIsNone(process.poll(), "all pictures were done too early")
        _, errors = process.communicate()
        self.assertEqual(process.returncode, 3)
        self.assertIn("read-only file system", errors)
        disk.remount("rw")
        self.assert_works(*self.words("disk/out", "--resume"), timeout=600)
        self.assertEqual(sorted(self.files("disk/out")), [pathlib.Path(name).name for name in self.names])

    def test_a_report_that_cannot_be_written_stops_the_job(self):
        disk = self.disk("64k")
        words = [*self.words("out")[:-1], disk.folder / "report.jsonl"]
        result = self.zeva(*words, timeout=600)
        self.assertEqual(result.returncode, 3)
        self.assertEqual(result.stderr, f"zeva: {disk.folder}/report.jsonl: no space left on device\n")
        disk.remount("size=64m")
        self.assert_works(*words, "--resume", timeout=600)
        self.assertEqual(len((disk.folder / "report.jsonl").read_text().splitlines()), PICTURES)


if __name__ == "__main__":
    unittest.main()
