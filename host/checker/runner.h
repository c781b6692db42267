// runner.h - makes checks, each in a process of its own, and says what came of them.

#pragma once

#include <functional>
#include <string>
#include <vector>

#include "host/checker/check.h"

namespace checker {

enum class Verdict { kPassed, kFailed, kCrashed, kSkipped, kWarned };

// "passed", "failed" ...
const char* VerdictText(Verdict verdict);

// What came of one check.
struct Result {
    std::string group;
    const Check* check = nullptr;
    Verdict verdict = Verdict::kPassed;
    std::vector<Finding> findings;
    std::string reason;  // why it was skipped, or how it crashed
    std::string output;  // what the module printed in a check that failed or crashed
    double seconds = 0;

    bool IsBad() const { return verdict == Verdict::kFailed || verdict == Verdict::kCrashed; }
    std::string FullName() const { return group + "." + check->name; }
};

// Which checks to make, and how.
struct RunOptions {
    std::vector<std::string> only;  // names, groups or patterns with * and ?; all checks when empty
    unsigned seed = 1;              // of the random sequences
    double timeLimit = 30;          // seconds per check
};

// The checks that the options name. Throws HostError for a name that fits none.
std::vector<std::pair<std::string, const Check*>> SelectedChecks(const std::vector<std::string>& only);

// Makes the selected checks in order; tells of each when it is done.
std::vector<Result> RunChecks(const Subject& subject, const RunOptions& options,
                              const std::function<void(const Result&)>& tell = {});

}  // namespace checker
