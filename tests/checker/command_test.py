"""The command zeva check: its text, JSON and JUnit reports, and its exit status.

Usage: command_test.py ZEVA FAULTY_MODULE SIBLING MANUAL
"""

import itertools
import json
import os
import pathlib
import re
import shutil
import subprocess
import sys
import tempfile
import unittest
import unittest.mock
import xml.etree.ElementTree as tree

MANUAL = pathlib.Path(sys.argv.pop())
SIBLING, MODULE, ZEVA = sys.argv.pop(), sys.argv.pop(), sys.argv.pop()


def zeva(*arguments, fault=""):
    command = [ZEVA, "check", *map(str, arguments)]
    environment = {**os.environ, "ZEVA_FAULT": fault}
    return subprocess.run(command, env=environment, capture_output=True, text=True, timeout=120)


def check(*arguments, fault=""):
    return zeva(MODULE, "--with", SIBLING, *arguments, fault=fault)


def collapsed(listed):
    """The list as the manual prints it: the checks that exist for each host service are one line about SERVICE."""
    listed = re.sub(r"^(faults\.(?:without|failing)-)(\S+)( .*)\b\2\b", r"\1SERVICE\3SERVICE", listed, flags=re.M)
    listed = re.sub(" {2,}", "  ", listed)
    return "".join(line for line, _ in itertools.groupby(listed.splitlines(keepends=True)))


class CommandTest(unittest.TestCase):
    def test_passed_group_is_one_line(self):
        result = check("--only", "binary-data")
        self.assertEqual((result.returncode, result.stderr), (0, ""))
        lines = result.stdout.splitlines()
        self.assertEqual(lines[0], f"{MODULE} with {SIBLING}, host version 2013.03")
        self.assertEqual(lines[2], "binary-data   8 passed")
        self.assertRegex(lines[3], r"^8 checks: 8 passed, 0 failed, 0 crashed, 0 warned, 0 skipped, in [0-9.]+ s$")

    def test_finding_has_subject_expected_value_and_likely_cause(self):
        result = check("--only", "data-size", fault="registration.data-size")
        self.assertEqual((result.returncode, result.stderr), (1, ""))
        self.assertEqual(
            result.stdout.splitlines()[2:6],
            [
                "registration  1 failed",
                "  failed    registration.data-size: the instance data size is a multiple of 16 bytes",
                "            Faulty: expected a multiple of 16 as instance data size, got 20",
                "            likely cause: word 3 was not rounded up",
            ],
        )

    def test_crash_names_the_last_step(self):
        result = check("--only", "properties.extremes", fault="properties.extremes")
        self.assertEqual(result.returncode, 1)
        self.assertRegex(result.stdout, "crashed: .* while writing double nan to Jug.Number")

    def test_crash_shows_the_stack_and_the_last_calls(self):
        report = json.loads(check("--only", "properties.extremes", "--json", fault="properties.extremes").stdout)
        (entry,) = report["checks"]
        self.assertTrue(any("faulty_module.so" in frame for frame in entry["stack"]), entry["stack"])
        if shutil.which("llvm-symbolizer"):
            self.assertTrue(any(frame.startswith("(anonymous namespace)::SetNumber") for frame in entry["stack"]),
                            entry["stack"])
        self.assertEqual(entry["calls"][-1], "writing double nan to Jug.Number")
        text = check("--only", "properties.extremes", fault="properties.extremes").stdout
        self.assertIn("            stack: ", text)
        self.assertIn("writing double nan to Jug.Number\n            likely cause", text)

    def test_names_of_a_stack_come_from_no_server(self):
        with tempfile.TemporaryDirectory() as folder:
            symbolizer = pathlib.Path(folder) / "llvm-symbolizer"
            symbolizer.write_text('#!/bin/sh\nwhile read -r line; do echo "asked <$DEBUGINFOD_URLS> at ??:0"; done\n')
            symbolizer.chmod(0o755)
            variables = {"PATH": f"{folder}:{os.environ['PATH']}", "DEBUGINFOD_URLS": "https://server.invalid"}
            with unittest.mock.patch.dict(os.environ, variables):
                report = check("--only", "properties.extremes", "--json", fault="properties.extremes")
        (entry,) = json.loads(report.stdout)["checks"]
        self.assertTrue(any(frame.startswith("asked <> (") for frame in entry["stack"]), entry["stack"])

    def test_what_the_sandbox_refuses_is_a_finding_of_its_step(self):
        for fault, tried in {"sandbox.file": 'opening "/var/tmp/faulty"', "sandbox.program": "starting a process",
                             "sandbox.socket": "opening a socket"}.items():
            with self.subTest(fault):
                result = check("--only", "properties.numbers-arrive", fault=fault)
                self.assertEqual(result.returncode, 1)
                self.assertRegex(result.stdout, f"writing double .* to Jug.Number: expected no use .*, got {tried}")
        allowed = check("--only", "properties.numbers-arrive", "--no-sandbox", fault="sandbox.socket")
        self.assertEqual(allowed.returncode, 0)

    def test_a_part_of_a_check_is_in_the_sandbox_too(self):
        result = check("--only", "sequences.replay", fault="sandbox.socket")
        self.assertIn("got opening a socket", result.stdout)
        self.assertIn("0 passed, 1 failed, 0 crashed, 0 warned", result.stdout)  # although the check only warns

    def test_waivers_pass_until_they_expire(self):
        with tempfile.TemporaryDirectory() as folder:
            waivers = pathlib.Path(folder) / "waivers"
            arguments = ("--only", "data-size", "--waivers", waivers)
            waivers.write_text("# known\nregistration.data-size 2999-12-31 the size is that of another compiler\n")
            result = check(*arguments, fault="registration.data-size")
            self.assertEqual(result.returncode, 0)
            self.assertIn("waived: until 2999-12-31: the size is that of another compiler", result.stdout)
            self.assertIn("0 skipped, 1 waived, in", result.stdout)
            waivers.write_text("registration.data-size 2020-01-01 old\n")
            for fault in "registration.data-size", "":
                result = check(*arguments, fault=fault)
                self.assertEqual(result.returncode, 1)
                self.assertIn("expected no waiver that has expired, got one until 2020-01-01: old", result.stdout)
            waivers.write_text("registration.data-size\n")
            result = check(*arguments)
            self.assertEqual((result.returncode, result.stdout), (2, ""))
            self.assertIn(f"{waivers}:1: '' is not a date", result.stderr)

    def test_warning_does_not_change_the_exit_status(self):
        result = check("--only", "spare-words", fault="registration.spare-words")
        self.assertEqual(result.returncode, 0)
        self.assertIn("Faulty, word 14: expected 0, got 7", result.stdout)

    def test_only_takes_names_groups_and_patterns(self):
        services = len(re.findall(r"^faults\.without-", zeva("--list").stdout, re.M))
        self.assertGreaterEqual(services, 15)
        for only, count in {"reads": 1, "exit": 4, "faults.without-*": services, "sequences.random": 1}.items():
            self.assertIn(f"\n{count} check", check("--only", only).stdout, only)
        result = check("--only", "propertys")
        self.assertEqual((result.returncode, result.stdout), (2, ""))
        self.assertEqual(
            result.stderr, "zeva: check propertys: not a check or group, did you mean properties\n"
        )

    def test_host_version_and_seed_reach_the_checks(self):
        result = check("--only", "record-version", "--host-version", "2012.5", fault="registration.record-version")
        self.assertIn("expected record version 10, as announced, got 11", result.stdout)
        self.assertEqual(check("--only", "sequences", "--seed", "4711").returncode, 0)

    def test_crash_while_loading_is_in_the_report(self):
        report = json.loads(check("--only", "load.returns", "--json", fault="load.returns").stdout)
        self.assertEqual(report["summary"]["crashed"], 1)
        self.assertEqual(report["checks"][0]["name"], "load.returns")
        self.assertRegex(report["checks"][0]["reason"], "while loading .*faulty_module.so")

    def test_json_lists_every_check_with_its_findings(self):
        report = json.loads(check("--json", fault="ownership.results").stdout)
        names = [entry["name"] for entry in report["checks"]]
        self.assertEqual(len(names), len(set(names)))
        self.assertEqual(report["summary"]["failed"], 1)
        self.assertEqual(report["summary"]["passed"], len(names) - 1)
        failed = next(entry for entry in report["checks"] if entry["verdict"] == "failed")
        self.assertEqual(failed["name"], "ownership.results")
        self.assertEqual(failed["findings"][0]["subject"], "reading Jug.Itself")

    def test_manual_documents_every_json_field(self):
        fields = set()
        for fault in ("load.file", "ownership.results"):
            report = json.loads(check("--json", fault=fault).stdout)
            fields.update(report)
            for entry in report["checks"]:
                fields.update(entry)
                for finding in entry.get("findings", []):
                    fields.update(finding)
        self.assertLessEqual({"reason", "findings", "likelyCause", "subject"}, fields)
        documented = re.findall(r"`(?:checks\[\])?\.?(\w+)`", MANUAL.read_text())
        self.assertLessEqual(fields, set(documented))

    def test_junit_has_the_counts_of_the_text_report(self):
        with tempfile.TemporaryDirectory() as folder:
            path = pathlib.Path(folder) / "results.xml"
            result = zeva(MODULE, "--alone", "--junit", path, fault="properties.extremes")
            self.assertEqual(result.returncode, 1)
            suites = tree.parse(path).getroot().findall("testsuite")
            self.assertEqual(len(suites), 11)
            keys = ("tests", "failures", "errors", "skipped")
            counts = {key: sum(int(suite.get(key)) for suite in suites) for key in keys}
            summary = result.stdout.splitlines()[-1]
            for word, key in {"failed": "failures", "crashed": "errors", "skipped": "skipped"}.items():
                self.assertIn(f" {counts[key]} {word}", summary)
            cases = [case for suite in suites for case in suite]
            self.assertEqual(len(cases), counts["tests"])

    def test_missing_sibling_is_a_missing_superclass(self):
        result = zeva(MODULE, "--alone", "--only", "superclasses")
        self.assertIn("Pitcher: expected a registered superclass, got Vessel", result.stdout)

    def test_missing_file_is_one_line_and_status_2(self):
        for options in ([], ["--alone"], ["--json"]):
            result = zeva("/nowhere.so", *options)
            self.assertEqual((result.returncode, result.stdout), (2, ""))
            self.assertEqual(result.stderr, "zeva: /nowhere.so: no such file; nothing was checked\n")

    def test_library_that_is_no_module_has_no_entry_point(self):
        (library,) = pathlib.Path(SIBLING).parent.glob("*plain_library.so")
        result = zeva(library, "--alone")
        self.assertEqual(result.returncode, 1)
        self.assertIn("it has no entry point ZEVAPluginMain, so it is not a module", result.stdout)
        self.assertRegex(result.stdout.splitlines()[-1], r": 1 passed, 1 failed, 0 crashed, 0 warned, \d+ skipped")

    def test_wrong_usage_exits_with_status_2(self):
        self.assertEqual((zeva().returncode, zeva().stderr), (2, "zeva: MODULE is required\n"))
        self.assertEqual(check("--time-limit", "0").returncode, 2)

    def test_help_documents_the_exit_status(self):
        self.assertIn("Exit status: 0 when no check failed", zeva("--help").stdout)

    def test_manual_contains_the_list_of_checks(self):
        listed = zeva("--list").stdout
        self.assertGreater(len(re.findall(r"^\S+\.\S+ ", listed, re.M)), 50)
        self.assertIn(f"```\n{collapsed(listed)}```\n", re.sub(" {2,}", "  ", MANUAL.read_text()))


if __name__ == "__main__":
    unittest.main()
