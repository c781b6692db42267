"""--trace and zeva trace: record every call across the boundary as JSON for viewers, and print it as text."""

import json
import re
import unittest

from zeva_program import REGISTERED_CLASSES, ZevaTest


class TraceTest(ZevaTest):
    def trace(self):
        self.file = self.folder / "trace.json"
        self.assert_works(
            *("apply", "GaussianBlur", "inputRadius=2", self.photo, "-o", self.out, "--trace", self.file)
        )
        return json.loads(self.file.read_text())

    def test_calls_are_nested(self):
        depth, before = 0, 0
        for event in self.trace():
            self.assertGreaterEqual(event["ts"], before)
            before = event["ts"]
            depth += {"B": 1, "E": -1}[event["ph"]]
            self.assertGreaterEqual(depth, 0)
        self.assertEqual(depth, 0)

    def test_records_calls_in_both_directions(self):
        begun = [(event["cat"], event["name"]) for event in self.trace() if event["ph"] == "B"]
        self.assertEqual(begun.count(("to host", "PluginRegisterClass")), REGISTERED_CLASSES)
        self.assertEqual(begun.count(("to module", "set CIFilterGaussianBlurQOR.inputRadius")), 1)
        self.assertEqual(begun.count(("to module", "CIImageQOR.Open")), 1)
        self.assertEqual(begun.count(("to module", "get CIFilterGaussianBlurQOR.outputImage")), 1)
        opened = begun.index(("to module", "CIImageQOR.Open"))
        self.assertIn(("to host", "PluginNewInstance"), begun[opened:])

    def test_a_run_without_trace_writes_no_trace_file(self):
        self.assert_works("apply", "GaussianBlur", self.photo, "-o", self.out)
        self.assertEqual(sorted(path.name for path in self.folder.iterdir()), ["out.png", "photo.png"])

    def test_records_the_calls_of_scripts(self):
        (self.folder / "script.lua").write_text('CIVectorQOR.FromNumbers("1,2")')
        self.assert_works("--trace", "trace.json", "run", "script.lua")
        self.assertIn("CIVectorQOR.FromNumbers", (self.folder / "trace.json").read_text())

    def test_prints_one_indented_line_per_call(self):
        self.trace()
        lines = self.assert_works("trace", self.file).splitlines()
        number = r"\s+[0-9]+\.[0-9]{3} ms"
        for line in lines:
            self.assertRegex(line, rf"^{number}{number}  ")
        calls = [re.sub(rf"^{number}{number}  ", "", line) for line in lines]
        calls = [re.sub(r" 0x[0-9a-f]+", "", call) for call in calls]
        self.assertIn("  < ZEVAGetZVVersion() = 2013.03", calls)
        self.assertIn("set CIFilterGaussianBlurQOR.inputRadius(2.0) of CIFilterGaussianBlurQOR", calls)
        self.assertIn('get CIFilterGaussianBlurQOR.outputImage of CIFilterGaussianBlurQOR = "CIImageQOR"', calls)

    def test_prints_the_incomplete_trace_of_a_crashed_process(self):
        self.trace()
        cut = self.file.read_text().split(",\n")[:3]
        self.file.write_text(",\n".join(cut))
        lines = self.assert_works("trace", self.file).splitlines()
        self.assertEqual(["never ended" in line for line in lines], [True, False])

    def test_a_file_that_is_not_a_trace_is_refused(self):
        self.assert_fails(2, "none.json: cannot be read", "trace", "none.json")
        self.assert_fails(2, f"{self.photo}: not a list of trace events", "trace", self.photo)

    def test_a_trace_file_that_cannot_be_created_is_refused(self):
        self.assert_fails(
            2,
            "trace none/t.json: no such file or directory; nothing is run",
            *("apply", "Bloom", self.photo, "-o", self.out, "--trace", "none/t.json"),
        )

    def test_a_trace_of_several_pictures_is_refused(self):
        self.assert_fails(
            2,
            "--trace: one picture at a time can be traced, got 2 pictures",
            *("apply", "Bloom", self.photo, self.photo, "-o", "out", "--trace", "t.json"),
        )


if __name__ == "__main__":
    unittest.main()
