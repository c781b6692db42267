"""zeva apply on lists of pictures: shards, reports, resuming, signals, workers that die."""

import contextlib
import fcntl
import hashlib
import json
import os
import pathlib
import random
import re
import resource
import shutil
import signal
import subprocess
import time
import unittest

from zeva_program import ZEVA, ZevaTest, png, png_size

INVERT = ("apply", "ColorInvert")


def fnv_shard(name, count):
    """The shard of a name, computed as slowly and obviously as possible."""
    value = 14695981039346656037
    for byte in os.fsencode(name):
        value = (value ^ byte) * 1099511628211 % 2**64
    return (value ^ (value >> 32)) % count


def sha256(path):
    return hashlib.sha256(pathlib.Path(path).read_bytes()).hexdigest()


def lines_of(report):
    return [json.loads(line) for line in pathlib.Path(report).read_text().splitlines()]


class ListTest(ZevaTest):
    def setUp(self):
        super().setUp()
        self.report = self.folder / "report.jsonl"
        self.list = self.folder / "list"

    def listed(self, count, size=(8, 6)):
        """Writes pictures that all differ, and a list of them. Returns their names."""
        (self.folder / "in").mkdir(exist_ok=True)
        names = [f"in/{number}.png" for number in range(count)]
        for number, name in enumerate(names):
            (self.folder / name).write_bytes(png(*size, (number % 256, number // 256, 50)))
        self.list.write_text("".join(name + "\n" for name in names))
        return names

    def run_list(self, *words, status=0, out="out"):
        result = self.zeva(*INVERT, "--files-from", "list", "-o", out, *words)
        self.assertEqual(result.returncode, status, result.stderr)
        return result

    def outputs(self, out="out"):
        """The files below a folder of results and their bytes."""
        folder = self.folder / out
        return {str(path.relative_to(folder)): path.read_bytes() for path in folder.rglob("*") if path.is_file()}

    def done(self):
        return [line["input"] for line in lines_of(self.report) if line["outcome"] == "done"]

    def start(self, *words, report="report.jsonl", **options):
        """Starts the program in the background; killed at the end of the test."""
        process = subprocess.Popen(
            [ZEVA, *INVERT, "--files-from", "list", "-o", "out", "--report", report, *words],
            cwd=self.folder,
            stdout=subprocess.PIPE,
            stderr=subprocess.PIPE,
            text=True,
            **options,
        )
        self.addCleanup(process.wait)
        self.addCleanup(process.stdout.close)
        self.addCleanup(process.stderr.close)
        self.addCleanup(process.kill)
        return process

    def await_lines(self, count, process):
        """Waits until the report has so many lines."""
        while not self.report.exists() or self.report.read_bytes().count(b"\n") < count:
            self.assertIsNone(process.poll(), "the program ended too early")
            time.sleep(0.002)

    def workers_of(self, process):
        """The process ids of the workers of a program, which are its children."""
        try:
            children = pathlib.Path(f"/proc/{process.pid}/task/{process.pid}/children").read_text()
        except OSError:
            return []
        return [int(child) for child in children.split()]

    def await_state(self, state, identifier):
        """Waits until a process has a state, such as T for stopped and S for sleeping."""
        while (now := pathlib.Path(f"/proc/{identifier}/stat").read_text().rsplit(") ", 1)[1][0]) != state:
            self.assertNotEqual(now, "Z", "the process ended too early")
            time.sleep(0.002)

    def is_pending(self, number, process):
        """Whether the program has been sent a signal that it has not taken yet."""
        status = pathlib.Path(f"/proc/{process.pid}/status").read_text()
        pending = re.search(r"^ShdPnd:\s*(\w+)$", status, re.MULTILINE)[1]
        return bool(int(pending, 16) >> number - 1 & 1)

    def assert_consistent(self):
        """Asserts that each output has its line with its hash, and that no unfinished file is left."""
        names = {pathlib.Path(line["output"]).name: line for line in lines_of(self.report) if line["outcome"] == "done"}
        self.assertEqual([name for name in self.outputs() if name.endswith(".zeva-part")], [])
        for name, content in self.outputs().items():
            self.assertEqual(names[name]["outputHash"], hashlib.sha256(content).hexdigest())


class ManyTest(ListTest):
    def test_a_list_needs_no_filter(self):
        self.listed(3)
        self.assert_works("apply", "--files-from", "list", "--resize", "4", "-o", "out")
        self.assertEqual(sorted(self.outputs()), ["0.png", "1.png", "2.png"])
        self.assertEqual(png_size(self.folder / "out/0.png"), (4, 3))

    def test_names_in_a_list_are_separated_by_lines_or_by_zero_bytes(self):
        self.listed(3)
        self.run_list()
        odd = self.folder / "in" / "two\nlines \udcff.png"
        odd.write_bytes(self.photo.read_bytes())
        names = b"in/0.png\0" + os.fsencode(odd) + b"\0"
        result = self.zeva(*INVERT, "--files-from", "-", "-o", "zeros", input=names, text=False)
        self.assertEqual(result.returncode, 0, result.stderr)
        self.assertEqual(sorted(self.outputs()), ["0.png", "1.png", "2.png"])
        self.assertEqual(sorted(self.outputs("zeros")), sorted(["0.png", odd.name]))

    def test_a_list_with_one_picture_is_named_like_one_with_many(self):
        self.listed(1)
        self.run_list()
        self.assertEqual(list(self.outputs()), ["0.png"])

    def test_shards_divide_a_list_by_the_bytes_of_the_names(self):
        names = self.listed(40)
        for part in range(3):
            self.run_list("--shard", f"{part}/3", out=f"out{part}")
            expected = sorted(pathlib.Path(name).name for name in names if fnv_shard(name, 3) == part)
            self.assertEqual(sorted(self.outputs(f"out{part}")), expected)

    def test_a_shard_without_pictures_is_done(self):
        names = self.listed(1)
        other = 1 - fnv_shard(names[0], 2)
        result = self.run_list("--shard", f"{other}/2", "--report", "report.jsonl")
        self.assertRegex(result.stdout, r"^0 of 0 pictures written to out, 0 failed, ")
        self.assertEqual(self.report.read_text(), "")

    def test_two_results_with_one_name_are_refused_even_in_different_shards(self):
        for folder in ("a", "b", "c"):
            (self.folder / folder).mkdir()
            (self.folder / folder / "same.png").write_bytes(self.photo.read_bytes())
        names = ["a/same.png", "b/same.png", "c/same.png"]
        self.list.write_text("\n".join(names))
        for part in range(2):
            result = self.run_list("--shard", f"{part}/2", status=2)
            self.assertIn("would both be written there; nothing was written", result.stderr)
        self.list.write_text("a/same.png\n")
        result = self.run_list("--shard", f"{1 - fnv_shard('a/same.png', 2)}/2", status=2, out="a/")
        self.assertEqual(result.stderr, "zeva: a/same.png: a result would overwrite it; nothing was written\n")

    def test_wrong_options_are_refused_before_anything_is_created(self):
        self.listed(2)
        for message, words in {
            "--shard: '3/3' is not a part of a list, expected i/n with i from 0 to n - 1": ["--shard", "3/3"],
            "--resume: expected --report with the report": ["--resume"],
            "--resume: 'all' is not a way to resume, expected --resume or --resume=verify": [
                *("--resume=all", "--report", "report.jsonl")
            ],
            "list: the report would overwrite it; nothing was written": ["--report", "list"],
            "--instruction-set: 'mmx' is not what this processor and this engine have, which is": [
                *("--instruction-set", "mmx")
            ],
        }.items():
            result = self.run_list(*words, status=2)
            self.assertTrue(result.stderr.startswith("zeva: " + message), result.stderr)
            self.assertFalse((self.folder / "out").exists())
            self.assertFalse(self.report.exists())
        result = self.zeva(*INVERT, "in/0.png", "--in-place", "--resume", "--report", "report.jsonl")
        self.assertEqual(result.returncode, 2)
        self.assertIn("would be filtered twice", result.stderr)

    def test_the_report_has_a_line_with_sizes_and_hashes_for_each_picture(self):
        names = self.listed(3)
        (self.folder / names[1]).write_bytes(b"no picture")
        self.run_list("--report", "report.jsonl", "--instruction-set", "sse2", status=1)
        lines = {line["input"]: line for line in lines_of(self.report)}
        self.assertEqual(sorted(lines), names)
        self.assertEqual(len(lines_of(self.report)), 3)
        for name in (names[0], names[2]):
            line = lines[name]
            output = self.folder / "out" / pathlib.Path(name).name
            self.assertEqual(line["output"], f"out/{output.name}")
            self.assertEqual((line["outcome"], line["instructionSet"]), ("done", "sse2"))
            self.assertEqual(line["inputSize"], (self.folder / name).stat().st_size)
            self.assertEqual(line["inputTime"], (self.folder / name).stat().st_mtime_ns)
            self.assertEqual(line["inputHash"], sha256(self.folder / name))
            self.assertEqual((line["outputSize"], line["outputHash"]), (output.stat().st_size, sha256(output)))
            self.assertRegex(line["recipe"], r"^[0-9a-f]{64}$")
            self.assertRegex(line["build"], r"^\d+\.\d+\.\d+ [0-9a-f]{16} (i386|x86_64)$")
        self.assertEqual(lines[names[1]]["outcome"], "failed")
        self.assertIn(names[1] + ": ", lines[names[1]]["error"])

    def test_resume_does_what_is_not_done_and_nothing_else(self):
        names = self.listed(7)
        (self.folder / names[6]).write_bytes(b"no picture")
        self.run_list("--report", "report.jsonl", status=1)
        before = self.outputs()
        (self.folder / "out/0.png").unlink()
        (self.folder / "out/1.png").write_bytes(b"cut")
        (self.folder / names[2]).write_bytes(png(8, 6, (9, 9, 9)))
        os.utime(self.folder / names[3])  # the time alone does not count
        (self.folder / names[6]).write_bytes(png(8, 6, (3, 2, 1)))
        self.report.write_bytes(self.report.read_bytes() + b'{"input":"in/4.png","torn')
        result = self.run_list("--report", "report.jsonl", "--resume")
        self.assertIn("(3 were done)", result.stdout)
        self.assertEqual(sorted(self.done()[6:]), [names[0], names[1], names[2], names[6]])
        after = self.outputs()
        self.assertEqual({name: after[name] for name in before} | {"2.png": before["2.png"]}, before)
        self.assert_works(*INVERT, names[2], "-o", "alone.png")
        self.assertEqual(after["2.png"], (self.folder / "alone.png").read_bytes())

    def test_another_recipe_or_another_file_of_it_begins_anew(self):
        self.listed(2)
        mask = self.folder / "mask.png"
        mask.write_bytes(png(8, 6))
        chain = ("apply", "BlendWithMask", "inputMaskImage=mask.png", "--files-from", "list", "-o", "out")

        def done_after(*words):
            self.assert_works(*words, "--report", "report.jsonl", "--resume")
            return len(self.done())

        self.assertEqual(done_after(*chain), 2)
        self.assertEqual(done_after(*chain), 2)
        mask.write_bytes(png(8, 6, (1, 2, 3)))
        self.assertEqual(done_after(*chain), 4)
        self.assertEqual(done_after(*chain, "--compression", "small"), 6)
        self.assertEqual(done_after(*chain, "--compression", "small", "--jobs", "1", "--threads", "3"), 6)
        self.assertEqual(done_after(*chain, "--compression", "small", "--instruction-set", "sse2"), 8)

    def test_a_recipe_is_known_by_its_canonical_form_and_its_parameters(self):
        self.listed(2)

        def done_after(*words):
            words = (*words, "--files-from", "list", "-o", "out", "--report", "report.jsonl", "--resume")
            self.assert_works("apply", *words)
            return len(self.done())

        recipe = self.folder / "soft.recipe"
        recipe.write_text("zeva-recipe 1\nradius = 2\nGaussianBlur radius=$radius\n--keep-size\n")
        self.assertEqual(done_after("soft.recipe"), 2)
        recipe.write_text("zeva-recipe 1\n# the same\nradius = 2.0\ncigaussianblur inputRadius=$radius\n--keep-size\n")
        self.assertEqual(done_after("soft.recipe"), 2)
        self.assertEqual(done_after("soft.recipe", "radius=3"), 4)
        self.assertEqual(done_after("soft.recipe", "radius=3", "--quality", "70"), 6)

    def test_verifying_compares_hashes(self):
        self.listed(3)
        self.run_list("--report", "report.jsonl")
        before = self.outputs()
        damaged = self.folder / "out/1.png"
        status = damaged.stat()
        damaged.write_bytes(bytes(len(before["1.png"])))
        os.utime(damaged, ns=(status.st_atime_ns, status.st_mtime_ns))
        self.run_list("--report", "report.jsonl", "--resume")
        self.assertEqual(len(self.done()), 3)
        self.run_list("--report", "report.jsonl", "--resume=verify")
        self.assertEqual(self.done()[3:], ["in/1.png"])
        self.assertEqual(self.outputs(), before)

    def test_a_report_is_continued_only_on_demand_and_by_one_process(self):
        self.listed(2)
        self.run_list("--report", "report.jsonl")
        result = self.run_list("--report", "report.jsonl", status=2)
        self.assertEqual(
            result.stderr, "zeva: report.jsonl: the report exists, --resume continues it; nothing was done\n"
        )
        with self.report.open("rb") as held:
            fcntl.flock(held, fcntl.LOCK_EX)
            result = self.run_list("--report", "report.jsonl", "--resume", status=3)
        self.assertEqual(
            result.stderr, "zeva: report.jsonl: another process writes this report; nothing was done\n"
        )

    def test_what_is_not_a_report_is_refused_and_kept(self):
        self.listed(1)
        self.report.write_text("dear diary\n")
        result = self.run_list("--report", "report.jsonl", "--resume", status=2)
        self.assertIn("report.jsonl, line 1: not a line of a report", result.stderr)
        self.assertEqual(self.report.read_text(), "dear diary\n")

    def test_existing_results_that_are_left_alone_are_in_the_report(self):
        self.listed(2)
        (self.folder / "out").mkdir()
        (self.folder / "out/0.png").write_bytes(b"mine")
        self.run_list("--report", "report.jsonl", "--no-clobber")
        self.assertEqual({line["input"]: line["outcome"] for line in lines_of(self.report)},
                         {"in/0.png": "kept", "in/1.png": "done"})
        self.assertEqual((self.folder / "out/0.png").read_bytes(), b"mine")

    def test_fail_fast_begins_no_further_picture(self):
        names = self.listed(5)
        (self.folder / names[1]).write_bytes(b"no picture")
        self.run_list("--fail-fast", "--jobs", "1", "--report", "report.jsonl", status=1)
        self.assertEqual([line["outcome"] for line in lines_of(self.report)], ["done", "failed"])
        self.assertEqual(list(self.outputs()), ["0.png"])

    def test_pictures_are_tried_again_when_the_machine_failed(self):
        names = self.listed(2)
        noise = random.Random(1)
        (self.folder / names[0]).write_bytes(png(100, 100, lambda x, y: tuple(noise.randbytes(3))))
        limit = 16384  # more than the report, less than the large output

        def limited():
            resource.setrlimit(resource.RLIMIT_FSIZE, (limit, resource.RLIM_INFINITY))

        result = self.zeva(*INVERT, "--files-from", "list", "-o", "out", "--report", "report.jsonl", preexec_fn=limited)
        self.assertEqual(result.returncode, 3)
        self.assertEqual(result.stderr, f"zeva: {names[0]}: out/0.png: file too large; nothing was written\n")
        self.assertEqual(self.done(), [names[1]])
        process = self.start("--resume", "--jobs", "1", "--retry", "4000000000", preexec_fn=limited)
        while not self.workers_of(process):
            time.sleep(0.002)
        time.sleep(0.3)  # some attempts
        while process.poll() is None:
            for worker in self.workers_of(process):
                with contextlib.suppress(ProcessLookupError):
                    resource.prlimit(worker, resource.RLIMIT_FSIZE, (resource.RLIM_INFINITY,) * 2)
            time.sleep(0.01)
        self.assertEqual(process.returncode, 0)
        self.assertEqual(self.done(), [names[1], names[0]])

    def test_a_picture_that_cannot_be_read_is_not_tried_again(self):
        names = self.listed(2)
        (self.folder / names[0]).write_bytes(b"no picture")
        self.run_list("--report", "report.jsonl", "--retry", "4000000000", status=1)
        self.assertEqual(self.done(), [names[1]])

    def test_the_bytes_do_not_depend_on_jobs_threads_and_shards(self):
        self.listed(9, size=(61, 47))
        blur = ("apply", "GaussianBlur", "radius=4", "--keep-size", "--files-from", "list")
        self.assert_works(*blur, "-o", "one", "--jobs", "1", "--threads", "1")
        self.assert_works(*blur, "-o", "many", "--jobs", "4", "--threads", "3")
        for part in range(2):
            self.assert_works(*blur, "-o", "parts", "--shard", f"{part}/2")
        self.assertEqual(self.outputs("many"), self.outputs("one"))
        self.assertEqual(self.outputs("parts"), self.outputs("one"))
        self.assertEqual(len(self.outputs("one")), 9)

    def test_a_picture_that_needs_all_of_the_memory_gets_it(self):
        names = self.listed(6)
        upright = self.folder / "upright.jpg"
        self.assert_works("apply", "ConstantColorGenerator", "--rect", "0,0,3000,2000", "-o", upright)
        tiff = b"II*\0\x08\0\0\0\x01\0\x12\x01\x03\0\x01\0\0\0\x06\0\0\0\0\0\0\0"
        exif = b"Exif\0\0" + tiff
        jpeg = upright.read_bytes()
        turned = jpeg[:2] + b"\xff\xe1" + (len(exif) + 2).to_bytes(2, "big") + exif + jpeg[2:]
        (self.folder / "in/turned.jpg").write_bytes(turned)
        self.list.write_text("in/turned.jpg\n" + "\n".join(names))
        # Turned, the picture takes 23 MB; each of four workers has 10.
        self.run_list("--memory", "40M", "--jobs", "4", "--report", "report.jsonl")
        self.assertEqual(len(self.done()), 7)
        self.assertEqual(self.done()[-1], "in/turned.jpg")

    def test_pictures_at_a_time_are_as_many_as_the_memory_has_room_for(self):
        self.listed(100)
        process = self.start("--memory", "100M")
        self.await_lines(10, process)
        self.assertEqual(len(self.workers_of(process)), 1)
        process.communicate()
        self.assertEqual((process.returncode, len(self.done())), (0, 100))

    def test_an_input_that_is_removed_meanwhile_costs_one_picture(self):
        names = self.listed(300)
        process = self.start("--jobs", "1")
        self.await_lines(3, process)
        (self.folder / names[-1]).unlink()
        _, errors = process.communicate()
        self.assertEqual(process.returncode, 1)
        self.assertEqual(errors, f"zeva: {names[-1]}: no such file or directory; no image was opened\n")
        self.assertEqual(sorted(self.done()), sorted(names[:-1]))

    def test_a_signal_lets_the_pictures_in_work_finish(self):
        names = self.listed(400)
        for number in (signal.SIGTERM, signal.SIGINT):
            process = self.start("--resume")
            self.await_lines(len(self.done()) + 5 if self.report.exists() else 5, process)
            process.send_signal(number)
            process.communicate()
            self.assertEqual(process.returncode, 128 + number)
            self.assertLess(len(self.done()), len(names))
            self.assertEqual(len(self.outputs()), len(self.done()))
            self.assert_consistent()
        self.run_list("--report", "report.jsonl", "--resume")
        self.assertEqual(sorted(self.done()), sorted(names))
        self.assert_consistent()

    def test_a_second_signal_stops_at_once_and_leaves_nothing_unfinished(self):
        self.listed(400)
        process = self.start("--jobs", "2")
        self.await_lines(5, process)
        for worker in self.workers_of(process):
            os.kill(worker, signal.SIGSTOP)  # a picture that never ends
            self.await_state("T", worker)
        self.await_state("S", process.pid)  # it has handed out a picture to each worker
        process.send_signal(signal.SIGTERM)
        while self.is_pending(signal.SIGTERM, process):  # a signal that is sent twice before it is taken comes once
            time.sleep(0.01)
        self.assertIsNone(process.poll())
        process.send_signal(signal.SIGTERM)
        process.communicate(timeout=8)  # one signal alone would wait for ten seconds
        self.assertEqual(process.returncode, 128 + signal.SIGTERM)
        self.assertEqual([name for name in self.outputs() if name.endswith(".zeva-part")], [])

    def test_a_worker_that_is_killed_costs_one_picture(self):
        names = self.listed(300)
        process = self.start("--jobs", "2")
        self.await_lines(5, process)
        os.kill(self.workers_of(process)[0], signal.SIGKILL)
        _, errors = process.communicate()
        failed = [line for line in lines_of(self.report) if line["outcome"] == "failed"]
        self.assertEqual(len(failed), 1)
        self.assertEqual(failed[0]["error"], f"{failed[0]['input']}: its process was terminated: Killed")
        self.assertEqual(errors, f"zeva: {failed[0]['error']}\n")
        self.assertEqual(process.returncode, 3)
        self.assertEqual(len(set(self.done())), len(names) - 1)

    def test_workers_end_with_a_program_that_is_killed(self):
        self.listed(300)
        process = self.start("--jobs", "2")
        self.await_lines(5, process)
        workers = self.workers_of(process)
        self.assertEqual(len(workers), 2)
        process.kill()
        process.communicate()
        while any(pathlib.Path(f"/proc/{worker}/exe").exists() for worker in workers):
            time.sleep(0.002)

    def test_two_runs_with_one_output_folder_both_finish(self):
        names = self.listed(120)
        processes = [self.start(report=f"{number}.jsonl") for number in range(2)]
        for process in processes:
            output, _ = process.communicate()
            self.assertEqual((process.returncode, output[:28]), (0, "120 of 120 pictures written "))
        before = self.outputs()
        self.assertEqual(len(before), len(names))
        self.run_list(out="again")
        self.assertEqual(before, self.outputs("again"))

    def test_what_a_killed_run_left_is_taken_over_or_removed(self):
        names = self.listed(2)
        (self.folder / "out").mkdir()
        for name in ("0.png", "1.png"):
            (self.folder / f"out/.{name}.zeva-part").write_bytes(b"left")
        (self.folder / names[1]).unlink()
        self.run_list("--report", "report.jsonl", "--resume", status=1)
        self.assertEqual(list(self.outputs()), ["0.png"])

    def test_only_the_program_starts_workers(self):
        result = self.zeva("worker", "apply")
        self.assertEqual(result.returncode, 1)
        self.assertEqual(result.stderr, "zeva: worker: only the program itself starts workers\n")
        self.assertNotIn("worker", self.assert_works("--help"))


class ReportTest(ListTest):
    def merged(self, *words, status=0):
        result = self.zeva("report", *words)
        self.assertEqual(result.returncode, status, result.stderr)
        return [json.loads(line)["input"] for line in result.stdout.splitlines()], result.stderr.splitlines()

    def test_reports_of_all_shards_are_complete_together(self):
        names = self.listed(20)
        for part in range(3):
            self.run_list("--shard", f"{part}/3", "--report", f"{part}.jsonl")
        merged, notes = self.merged("0.jsonl", "1.jsonl", "2.jsonl", "--files-from", "list")
        self.assertEqual(merged, names)
        self.assertEqual(notes, ["20 pictures: 20 done, 0 failed, 0 missing, 0 not in the list, 0 done twice"])
        missing = [name for name in names if fnv_shard(name, 3) == 1]
        merged, notes = self.merged("0.jsonl", "2.jsonl", "--files-from", "list", status=1)
        self.assertEqual(merged, [name for name in names if name not in missing])
        self.assertEqual(notes[:-1], [f"zeva: {name}: missing from the reports" for name in missing])

    def test_failures_duplicates_strangers_and_contradictions_are_said(self):
        names = self.listed(3)
        (self.folder / names[2]).write_bytes(b"no picture")
        self.run_list("--report", "a.jsonl", status=1)
        self.zeva(*INVERT, names[0], "-o", "out/", "--report", "b.jsonl", "--compression", "small")
        self.zeva(*INVERT, self.photo, "-o", "out/", "--report", "c.jsonl")
        _, notes = self.merged("a.jsonl", "b.jsonl", "c.jsonl", "--files-from", "list", status=1)
        self.assertIn(f"zeva: {names[0]}: done twice, in several reports; THE OUTPUTS DIFFER", notes)
        self.assertTrue(any(note.startswith(f"zeva: {names[2]}: ") for note in notes), notes)
        self.assertIn(f"zeva: {self.photo}: in the reports, but not in the list", notes)
        self.assertTrue(any(note.startswith("zeva: the reports are of 2 different runs: ") for note in notes), notes)
        self.assertEqual(notes[-1], "3 pictures: 2 done, 1 failed, 0 missing, 1 not in the list, 1 done twice")

    def test_the_last_line_of_a_resumed_report_counts(self):
        names = self.listed(2)
        (self.folder / names[1]).write_bytes(b"no picture")
        self.run_list("--report", "report.jsonl", status=1)
        (self.folder / names[1]).write_bytes(png(8, 6))
        self.run_list("--report", "report.jsonl", "--resume")
        merged, notes = self.merged("report.jsonl", "--files-from", "list")
        self.assertEqual(merged, names)
        self.assertEqual(notes, ["2 pictures: 2 done, 0 failed, 0 missing, 0 not in the list, 0 done twice"])


class DocumentTest(ListTest):
    """The samples of docs/cluster.md and docs/scale.md. tests/cluster runs the job script."""

    DOCUMENTS = pathlib.Path(__file__).parent.parent.parent / "docs"
    PAGE = (DOCUMENTS / "cluster.md").read_text()

    def run_samples(self, page, section, report="report.jsonl"):
        """Runs the commands of a section of a page. Returns how many lines the report has."""
        (self.folder / "photos").mkdir()
        for number in range(5):
            (self.folder / f"photos/{number}.jpg").write_bytes(self.photo.read_bytes())
        programs = self.folder / "programs"
        programs.mkdir()
        (programs / "zeva").symlink_to(ZEVA)
        text = re.search(rf"^#+ {section}\n(.*?)(^#|\Z)", page, re.S | re.M)[1]
        sample = "\n".join(re.findall(r"```\n(.*?)```", text, re.S))
        result = subprocess.run(
            ["bash", "-ec", sample.replace("node1,node2,node3", ":")],
            cwd=self.folder,
            env=os.environ | {"PATH": f"{programs}:{os.environ['PATH']}"},
            capture_output=True,
            text=True,
        )
        self.assertEqual(result.returncode, 0, result.stderr)
        return len(lines_of(self.folder / report))

    def test_the_list_on_one_machine(self):
        self.assertEqual(self.run_samples(self.PAGE, "One machine"), 5)

    def test_the_list_with_gnu_parallel(self):
        if shutil.which("parallel") is None:
            self.skipTest("GNU parallel is not installed, tools/setup cluster installs it")
        self.listed(20)
        self.assertEqual(self.run_samples(self.PAGE, "GNU parallel"), 20)

    def test_the_figures_of_a_machine(self):
        names = self.listed(100)
        page = (self.DOCUMENTS / "scale.md").read_text()
        self.assertEqual(self.run_samples(page, "How to check it", "hundred.jsonl"), len(names))

    def test_the_page_names_every_member_of_a_report(self):
        self.listed(1)
        self.run_list("--report", "report.jsonl")
        table = self.PAGE.split("### The report")[1].split("###")[0]
        first_column = "".join(row.split("|")[1] for row in re.findall(r"^\|.*", table, re.M))
        named = set(re.findall(r"`([a-zA-Z0-9]+)`", first_column))
        self.assertEqual(named - {"input", "output"}, set(lines_of(self.report)[0]) - {"input", "output"})


if __name__ == "__main__":
    unittest.main()
