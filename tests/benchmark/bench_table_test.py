"""Tests the tables and plots of tools/bench: which times count, the ratios, the best library, and what is marked."""

import pathlib
import re
import sys
import unittest
import xml.etree.ElementTree

sys.path.insert(0, str(pathlib.Path(__file__).resolve().parents[2] / "tools"))
import bench_plot  # noqa: E402
import bench_table  # noqa: E402


def timing(name, time, unit="ms", family=0, **more):
    """Returns one entry of the benchmark library's JSON report."""
    return {"run_name": name, "real_time": time, "time_unit": unit, "family_index": family, "run_type": "iteration",
            **more}


def measured(times):
    """Returns results that consist of times."""
    return bench_table.Results(times)


class ResultsTest(unittest.TestCase):
    def test_takes_the_median_of_the_repetitions_in_nanoseconds_under_the_plain_name(self):
        run = {"benchmarks": [timing("12 MP/gamma/engine/real_time", 9), timing("12 MP/gamma/engine/real_time", 7),
                              timing("12 MP/gamma/engine/real_time", 20)]}
        self.assertEqual(bench_table.results(run).times, {"12 MP/gamma/engine": 9e6})

    def test_keeps_the_order_of_registration(self):
        run = {"benchmarks": [timing("b/b/b", 1, family=1), timing("a/a/a/iterations:20", 2, "us", family=0)]}
        self.assertEqual(list(bench_table.results(run).times.items()), [("a/a/a", 2e3), ("b/b/b", 1e6)])

    def test_ignores_aggregates_and_failures(self):
        run = {"benchmarks": [timing("a/a/a", 1, run_type="aggregate"), timing("a/a/a", 2, error_occurred=True),
                              timing("a/a/a", 3)]}
        self.assertEqual(bench_table.results(run).times, {"a/a/a": 3e6})

    def test_keeps_notes_and_the_largest_peak_of_memory(self):
        run = {"benchmarks": [timing("a/a/a", 1, label="as b", peak_bytes=7), timing("a/a/a", 1, peak_bytes=5)]}
        self.assertEqual(bench_table.results(run).notes, {"a/a/a": "as b"})
        self.assertEqual(bench_table.results(run).memory, {"a/a/a": 7})

    def test_reports_each_failure_once_with_its_reason(self):
        failed = timing("a/a/a/real_time", 2, error_occurred=True, error_message="differs")
        self.assertEqual(bench_table.failures({"benchmarks": [failed, failed, timing("b/b/b", 1)]}),
                         ["not timed: a/a/a: differs"])


class PageTest(unittest.TestCase):
    def test_replaces_one_block_of_code_and_nothing_else(self):
        page = "a\n```\nold\n```\nb\n```\n```\nc\n"
        self.assertEqual(bench_table.replaced_block(page, 0, ["x", "y"]), "a\n```\nx\ny\n```\nb\n```\n```\nc\n")
        self.assertEqual(bench_table.replaced_block(page, 1, ["x"]), "a\n```\nold\n```\nb\n```\nx\n```\nc\n")

    def test_replaces_one_section_and_nothing_else(self):
        page = "a\n<!-- growth begin -->\nold\n<!-- growth end -->\nb\n"
        self.assertEqual(bench_table.replaced_section(page, "growth", ["x", "y"]),
                         "a\n<!-- growth begin -->\nx\ny\n<!-- growth end -->\nb\n")


class EngineReportTest(unittest.TestCase):
    def test_divides_times_by_the_copy_of_the_same_preset(self):
        wide = {"12 MP/copy/memory": 10e6, "12 MP/copy/memcpy": 9e6, "12 MP/gamma/engine": 25e6}
        narrow = {"12 MP/copy/memory": 20e6, "12 MP/gamma/engine": 60e6}
        self.assertEqual(bench_table.engine_report({"x86_64": measured(wide), "i386": measured(narrow)}), [
            "engine, 12 megapixels, two threads, multiples of a copy past the caches (10.0 ms x86_64, 20.0 ms i386; "
            "memcpy takes 0.90 x86_64)",
            "operation  x86_64  i386  behind",
            "gamma        2.50  3.00       -"])

    def test_compares_with_the_faster_of_the_best_library_and_halide(self):
        times = {"12 MP/copy/memory": 10e6, "12 MP/gamma/engine": 30e6, "12 MP/gamma/OpenCV": 50e6,
                 "12 MP/gamma/libvips": 40e6, "12 MP/gamma/Halide": 20e6,
                 "12 MP/box/engine": 30e6, "12 MP/box/OpenCV": 60e6, "12 MP/bump/engine": 10e6}
        found = bench_table.Results(times, notes={"12 MP/bump/engine": "as box"})
        self.assertEqual(bench_table.engine_report({"x86_64": found})[1:], [
            "operation  x86_64  best library  Halide  behind  ratio to best",
            "gamma        3.00  4.00 libvips    2.00   rival           1.50",
            "box          3.00   6.00 OpenCV       -       -           0.50",
            "bump         1.00        as box       -       -              -"])

    def test_marks_what_is_more_than_5_percent_slower_than_the_committed_page(self):
        times = {"12 MP/copy/memory": 10e6, "12 MP/gamma/engine": 21.2e6, "12 MP/box/engine": 20.9e6}
        page = "\n".join(["```", "engine, 12 megapixels, two threads, multiples of a copy past the caches (9 ms)",
                          "operation  x86_64  i386  behind", "gamma  2.00  -  -", "box  2.00  9.0  -", "```"])
        lines = bench_table.engine_report({"x86_64": measured(times)}, bench_table.committed(page))
        self.assertEqual(lines[2:], ["gamma        2.12    last", "box          2.09       -"])

    def test_shows_small_pictures_in_microseconds_with_and_without_making_the_filters(self):
        times = {"12 MP/copy/memory": 10e6, "64 x 64/gamma/engine": 12345,
                 "64 x 64, rendering alone/gamma/engine": 2345}
        self.assertEqual(bench_table.engine_report({"x86_64": measured(times)})[-7:], [
            "engine, 64 x 64, making the filters included, microseconds", "operation  x86_64  behind",
            "gamma        12.3       -", "",
            "engine, 64 x 64, rendering alone, microseconds", "operation  x86_64  behind",
            "gamma        2.35       -"])

    def test_shows_recipes_of_many_steps_in_milliseconds(self):
        times = {"12 MP/copy/memory": 10e6, "photo/bloom/engine": 12345678}
        self.assertEqual(bench_table.engine_report({"x86_64": measured(times)})[-3:], [
            "engine, 512 x 600, recipes of many steps, milliseconds", "operation  x86_64  behind",
            "bloom        12.3       -"])

    def test_shows_a_dash_for_an_operation_that_a_preset_lacks(self):
        wide = {"12 MP/copy/memory": 10e6, "12 MP/gamma/engine": 25e6}
        lines = bench_table.engine_report({"x86_64": measured(wide), "i386": measured({"12 MP/copy/memory": 20e6})})
        self.assertEqual(lines[-1], "gamma        2.50     -       -")


class FilterTableTest(unittest.TestCase):
    def rows(self, wide, narrow):
        """Returns the cells of one filter's row by column, for times in milliseconds; a copy takes 10 and 20."""
        columns = {}
        for preset, copy, times in (("x86_64", 10e6, wide), ("i386", 20e6, narrow)):
            kinds = dict(zip((bench_table.DEFAULT, bench_table.DEMANDING, bench_table.PREVIEW), times))
            columns[preset] = measured({bench_table.COPY: copy} |
                                       {f"{kind}/Bloom/engine": time * 1e6 for kind, time in kinds.items()})
        columns["x86_64"].notes["12 MP at default/Bloom/engine"] = "as bloom"
        return [re.split("  +", line) for line in bench_table.filter_table(columns)]

    def test_shows_copies_and_milliseconds_of_both_widths(self):
        self.assertEqual(self.rows((80, 160, 10), (120, 240, 14)), [
            ["filter", "default x86_64", "default i386", "demanding x86_64", "demanding i386", "preview x86_64",
             "preview i386", "i386 by x86_64", "too much", "compared as"],
            ["Bloom", "8.00", "6.00", "16.0", "12.0", "10.0", "14.0", "1.50", "-", "as bloom"]])

    def test_marks_what_exceeds_a_limit(self):
        self.assertEqual(self.rows((81, 100, 1), (81, 100, 1))[1][8], "default")
        self.assertEqual(self.rows((10, 161, 1), (10, 161, 1))[1][8], "demanding")
        self.assertEqual(self.rows((10, 10, 9), (10, 10, 14.1))[1][8], "preview")
        self.assertEqual(self.rows((10, 10, 1), (10, 15.1, 1))[1][8], "i386")


class GrowthTest(unittest.TestCase):
    columns = {"x86_64": bench_table.Results(
        {"growth/blur/0.25/engine": 1e6, "growth/blur/1/engine": 2e6, "growth/blur/12/engine": 30e6,
         "chain/blur/1/engine": 3e6, "chain/blur/4/engine": 8e6, "threads/blur/1/engine": 9e6,
         "threads/blur/2/engine": 5e6}, memory={"growth/blur/12/engine": 4.5e6})}

    def test_shows_the_time_of_a_pixel_and_of_a_step_and_the_speed_up(self):
        self.assertEqual(bench_table.growth_report(self.columns), [
            "", "time of a pixel, nanoseconds, by megapixels",
            "operation     0.25     1    12  most by least from 1",
            "blur, x86_64  4.00  2.00  2.50                  1.25",
            "", "peak memory beyond picture and result, MB, by megapixels",
            "operation     0.25  1    12",
            "blur, x86_64     -  -  4.50",
            "", "time of a step in a chain, 1 megapixel, milliseconds, by steps",
            "operation        1     4",
            "blur, x86_64  3.00  2.00",
            "", "peak memory of a chain, 1 megapixel, MB, by steps",
            "operation     1  4",
            "blur, x86_64  -  -",
            "", "one thread and two, 12 megapixels, milliseconds",
            "operation      one   two  speed-up",
            "blur, x86_64  9.00  5.00      1.80"])

    def test_a_plot_has_a_line_for_each_operation_within_its_borders(self):
        lines = {"a < b, x86_64": {1: 10, 100: 20}, "a < b, i386": {1: 5, 100: None}}
        drawn = xml.etree.ElementTree.fromstring(bench_plot.plot("time", "size", "ms", lines))
        points = [line.get("points") for line in drawn.iter("{http://www.w3.org/2000/svg}polyline")]
        self.assertEqual(points, ["56.0,156.0 510.0,36.0", "56.0,216.0"])

    def test_an_axis_ends_at_a_round_number_not_below_the_largest_value(self):
        self.assertEqual([bench_plot.most_of_axis(value) for value in (0, 0.3, 1, 12, 20, 51)],
                         [1, 0.5, 1, 20, 20, 100])


class BoundaryReportTest(unittest.TestCase):
    def test_divides_module_times_by_direct_times(self):
        times = {"module/get": 60, "direct/get": 40, "register/all": 7000}
        sizes = {"x86_64": {".text": 1, ".rodata": 2, ".data": 3, ".bss": 4}}
        self.assertEqual(bench_table.boundary_report({"x86_64": measured(times)}, sizes)[:4], [
            "module, nanoseconds  x86_64  direct  ratio",
            "all                    7000",
            "get                      60      40   1.50",
            ".text, bytes              1"])


if __name__ == "__main__":
    unittest.main()
