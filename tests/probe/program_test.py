"""The program judge_host.lua from outside, the report's forms, and the page that lists the checks.

Usage: program_test.py ZEVA PROBE
"""

import json
import os
import pathlib
import re
import subprocess
import sys
import tempfile
import unittest

ROOT = pathlib.Path(__file__).resolve().parents[2]
PROBE, ZEVA = sys.argv.pop(), sys.argv.pop()
PROGRAM = ROOT / "probe/judge_host.lua"


def zeva(*arguments, **variables):
    return subprocess.run([ZEVA, "run", "--load", PROBE, *map(str, arguments)], capture_output=True, text=True,
                          timeout=60, env=os.environ | variables)


class ProgramTest(unittest.TestCase):
    def test_prints_the_report_and_ends_with_status_0_in_our_host(self):
        result = zeva(PROGRAM)
        # The exception of a finalizer, which nobody can catch.
        self.assertEqual("zeva: ProbeEndQOR: its finalizer raised a ProbeExceptionQOR; the exception is dropped\n",
                         result.stderr)
        self.assertEqual(0, result.returncode)
        lines = result.stdout.splitlines()
        self.assertEqual(["skipped  records.version-9: a host before 2012.0 reads method entries of 4 words",
                          "         this host reads record version 12"], lines[:2])
        self.assertEqual("host version 2013.03, record version 12", lines[-2])
        checks = len(re.findall(r"^CHECK\(", (ROOT / "probe/checks.def").read_text(), re.MULTILINE))
        self.assertEqual(f"{checks} checks: {checks - 3} passed, 0 failed, 3 skipped", lines[-1])

    def test_the_file_and_the_property_have_the_same_json(self):
        with tempfile.TemporaryDirectory() as folder:
            script, file = pathlib.Path(folder, "json.lua"), pathlib.Path(folder, "report.json")
            script.write_text("local report = ProbeReportQOR()\nio.write(report.Json)\n")
            result = zeva(script, ZEVA_PROBE_REPORT=str(file))
            self.assertEqual(file.read_text(), result.stdout)
        report = json.loads(result.stdout)
        self.assertEqual(("2013.03", 12), (f"{float(report['hostVersion']):g}", report["recordVersion"]))
        verdicts = [check["verdict"] for check in report["checks"]]
        for verdict in "passed", "failed", "skipped":
            self.assertEqual(report[verdict], verdicts.count(verdict))
        # The script has made none of the calls that judge_host.lua makes.
        reasons = {check["name"]: check["reason"] for check in report["checks"]}
        self.assertEqual("the program has not made this call", reasons["calls.shared"])
        self.assertEqual("it needs calls.constructor", reasons["calls.receiver"])

    def test_a_file_that_cannot_be_written_is_told(self):
        result = zeva(PROGRAM, ZEVA_PROBE_REPORT="/nowhere/report.json")
        self.assertIn("ZEVA_PROBE_REPORT: the file '/nowhere/report.json' could not be written\n", result.stdout)

    def test_the_page_lists_every_check(self):
        command = [sys.executable, "-B", ROOT / "tools/host_checks.py", "--check"]
        result = subprocess.run(command, capture_output=True, text=True)
        self.assertEqual((0, ""), (result.returncode, result.stderr))


if __name__ == "__main__":
    unittest.main()
