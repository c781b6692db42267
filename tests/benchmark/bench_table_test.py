"""Tests the tables of tools/bench: which times count, the ratios, and the best library."""

import pathlib
import sys
import unittest

sys.path.insert(0, str(pathlib.Path(__file__).resolve().parents[2] / "tools"))
import bench_table  # noqa: E402


def timing(name, time, unit="ms", family=0, **more):
    """Returns one entry of the benchmark library's JSON report."""
    return {"run_name": name, "real_time": time, "time_unit": unit, "family_index": family, "run_type": "iteration",
            **more}


class FastestTest(unittest.TestCase):
    def test_keeps_the_shortest_repetition_in_nanoseconds_under_the_plain_name(self):
        run = {"benchmarks": [timing("12 MP/gamma/engine/real_time", 9), timing("12 MP/gamma/engine/real_time", 7),
                              timing("12 MP/gamma/engine/real_time", 8)]}
        self.assertEqual(bench_table.fastest(run), {"12 MP/gamma/engine": 7e6})

    def test_keeps_the_order_of_registration(self):
        run = {"benchmarks": [timing("b/b/b", 1, family=1), timing("a/a/a/iterations:20", 2, "us", family=0)]}
        self.assertEqual(list(bench_table.fastest(run).items()), [("a/a/a", 2e3), ("b/b/b", 1e6)])

    def test_ignores_aggregates_and_failures(self):
        run = {"benchmarks": [timing("a/a/a", 1, run_type="aggregate"), timing("a/a/a", 2, error_occurred=True),
                              timing("a/a/a", 3)]}
        self.assertEqual(bench_table.fastest(run), {"a/a/a": 3e6})

    def test_reports_each_failure_once_with_its_reason(self):
        failed = timing("a/a/a/real_time", 2, error_occurred=True, error_message="differs")
        self.assertEqual(bench_table.failures({"benchmarks": [failed, failed, timing("b/b/b", 1)]}),
                         ["not timed: a/a/a: differs"])


class PageTest(unittest.TestCase):
    def test_replaces_one_block_of_code_and_nothing_else(self):
        page = "a\n```\nold\n```\nb\n```\n```\nc\n"
        self.assertEqual(bench_table.replaced_block(page, 0, ["x", "y"]), "a\n```\nx\ny\n```\nb\n```\n```\nc\n")
        self.assertEqual(bench_table.replaced_block(page, 1, ["x"]), "a\n```\nold\n```\nb\n```\nx\n```\nc\n")


class EngineReportTest(unittest.TestCase):
    def test_divides_times_by_the_copy_of_the_same_preset(self):
        wide = {"12 MP/copy/memory": 10e6, "12 MP/gamma/engine": 25e6}
        narrow = {"12 MP/copy/memory": 20e6, "12 MP/gamma/engine": 60e6}
        self.assertEqual(bench_table.engine_report({"x86_64": wide, "i386": narrow}), [
            "engine, 12 megapixels, two threads, multiples of a plain copy (10.0 ms x86_64, 20.0 ms i386)",
            "operation  x86_64  i386",
            "gamma        2.50  3.00"])

    def test_compares_with_the_faster_of_the_best_library_and_halide(self):
        times = {"12 MP/copy/memory": 10e6, "12 MP/gamma/engine": 30e6, "12 MP/gamma/OpenCV": 50e6,
                 "12 MP/gamma/libvips": 40e6, "12 MP/gamma/Halide": 20e6,
                 "12 MP/box/engine": 30e6, "12 MP/box/OpenCV": 60e6, "12 MP/bump/engine": 10e6}
        self.assertEqual(bench_table.engine_report({"x86_64": times})[1:], [
            "operation  x86_64  best library  Halide  ratio to best",
            "gamma        3.00  4.00 libvips    2.00           1.50",
            "box          3.00   6.00 OpenCV       -           0.50",
            "bump         1.00             -       -              -"])

    def test_shows_small_pictures_in_microseconds(self):
        times = {"12 MP/copy/memory": 10e6, "64 x 64/gamma/engine": 12345}
        self.assertEqual(bench_table.engine_report({"x86_64": times})[-2:], ["operation  x86_64", "gamma        12.3"])

    def test_shows_recipes_of_many_steps_in_milliseconds(self):
        times = {"12 MP/copy/memory": 10e6, "photo/bloom/engine": 12345678, "64 x 64/gamma/engine": 12345}
        self.assertEqual(bench_table.engine_report({"x86_64": times})[-7:-4], [
            "engine, 512 x 600, recipes of many steps, milliseconds", "operation  x86_64", "bloom        12.3"])

    def test_shows_a_dash_for_an_operation_that_a_preset_lacks(self):
        wide = {"12 MP/copy/memory": 10e6, "12 MP/gamma/engine": 25e6}
        lines = bench_table.engine_report({"x86_64": wide, "i386": {"12 MP/copy/memory": 20e6}})
        self.assertEqual(lines[-1], "gamma        2.50     -")


class BoundaryReportTest(unittest.TestCase):
    def test_divides_module_times_by_direct_times(self):
        times = {"module/get": 60, "direct/get": 40, "register/all": 7000}
        sizes = {"x86_64": {".text": 1, ".rodata": 2, ".data": 3, ".bss": 4}}
        self.assertEqual(bench_table.boundary_report({"x86_64": times}, sizes)[:4], [
            "module, nanoseconds  x86_64  direct  ratio",
            "all                    7000",
            "get                      60      40   1.50",
            ".text, bytes              1"])


if __name__ == "__main__":
    unittest.main()
