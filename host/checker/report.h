// report.h - results for people, for programs, and for whatever collects test results.

#pragma once

#include <cstdio>
#include <string>
#include <vector>

#include "host/checker/runner.h"

namespace checker {

// Prints results as they come: a line per group, and what a person must read of each check that did not pass.
class TextReport {
  public:
    // With color when the file is a terminal. Verbose: a line per check.
    TextReport(std::FILE* file, bool isVerbose);

    void Tell(const Result& result);

    // The rest of the last group, and the summary.
    void End(const std::vector<Result>& results, double seconds);

  private:
    void EndGroup();
    std::string Colored(Verdict verdict, const std::string& text) const;

    std::FILE* file_;
    bool isVerbose_;
    bool hasColor_;
    std::string group_;
    std::vector<Result> inGroup_;
};

// "131 checks: 118 passed, 0 failed, 0 crashed, 1 warned, 12 skipped".
std::string SummaryText(const std::vector<Result>& results);

// An object with the module, the summary and one object per check.
std::string JsonReport(const std::string& module, const std::vector<Result>& results);

// A test suite per group.
std::string JunitReport(const std::string& module, const std::vector<Result>& results);

// The list of checks, a line each, with a gap between groups.
std::string ListOfChecks(const std::vector<std::string>& only);

}  // namespace checker
