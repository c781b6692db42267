// report.h - the three reports of a run: text for people, JSON for programs, JUnit XML for test collectors.
//
// Failure: none; a report is built from results that already exist.
// Threads: any, one report at a time.

#pragma once

#include <cstdio>
#include <string>
#include <vector>

#include "host/checker/runner.h"

namespace checker {

// Prints results while the run goes on: one line per group, then the findings of each check that failed, crashed or
// warned.
class TextReport {
  public:
    // Uses color when the file is a terminal. A verbose report has a line for every check.
    TextReport(std::FILE* file, bool isVerbose);

    // Adds the result of the next check. A group is printed when the next group begins.
    void Add(const CheckResult& result);

    // Prints the last group and the summary.
    void End(const std::vector<CheckResult>& results, double seconds);

  private:
    void EndGroup();
    [[nodiscard]] std::string Colored(Verdict verdict, const std::string& text) const;

    std::FILE* file_;
    bool isVerbose_;
    bool hasColor_;
    std::string group_;
    std::vector<CheckResult> inGroup_;
};

// Returns "131 checks: 118 passed, 0 failed, 0 crashed, 1 warned, 12 skipped".
[[nodiscard]] std::string SummaryText(const std::vector<CheckResult>& results);

// Returns a JSON object with the module, the number of checks per verdict, and one object per check. docs/checker.md
// documents its fields.
[[nodiscard]] std::string JsonReport(const std::string& module, const std::vector<CheckResult>& results);

// Returns JUnit XML with one test suite per group.
[[nodiscard]] std::string JunitReport(const std::string& module, const std::vector<CheckResult>& results);

// Returns the list of checks that `only` selects, one per line, with an empty line between groups. Throws HostError
// like SelectedChecks.
[[nodiscard]] std::string ListOfChecks(const std::vector<std::string>& only);

}  // namespace checker
