// runner.h - runs checks, each in its own process, and turns what each process did into a verdict.
//
// Failure: RunChecks throws std::system_error when the system cannot start a process.
// Threads: any; a thread waits for its checks.

#pragma once

#include <functional>
#include <string>
#include <utility>
#include <vector>

#include "host/checker/check.h"
#include "host/checker/waiver.h"

namespace checker {

enum class Verdict {
    kPassed,   // no findings
    kFailed,   // findings
    kCrashed,  // the process of the check crashed, hung or ended early
    kSkipped,  // the rule has no subject in this module, or a prerequisite did not pass
    kWarned,   // findings of a check whose severity is kWarning
    kWaived,   // a failure or a crash that a waiver names (waiver.h)
};

// Returns "passed", "failed" ...
[[nodiscard]] const char* VerdictText(Verdict verdict);

// Whether the module must be changed.
[[nodiscard]] inline bool IsBad(Verdict verdict) { return verdict == Verdict::kFailed || verdict == Verdict::kCrashed; }

// One check of a run, with its verdict and findings.
struct CheckResult {
    std::string group;
    const Check* check = nullptr;
    Verdict verdict = Verdict::kPassed;
    std::vector<Finding> findings;
    std::string reason;              // why the check was skipped, or how it crashed
    std::string output;              // what the module printed in a check that failed or crashed
    std::vector<std::string> stack;  // of a crash: a line for each frame
    std::vector<std::string> calls;  // the last calls across the boundary before it
    double seconds = 0;

    [[nodiscard]] std::string FullName() const { return group + "." + check->name; }
};

// The verdict of a whole run: the worst of its checks, in the order crashed, failed, waived, warned, passed, skipped.
[[nodiscard]] Verdict VerdictOfRun(const std::vector<CheckResult>& results);

struct RunOptions {
    std::vector<std::string> only;  // names, groups or patterns with * and ?; all checks when empty
    unsigned seed = 1;              // of the random sequences
    double timeLimit = 30;          // seconds per check
    std::vector<Waiver> waivers;    // the known failures
};

// Returns the checks that `only` selects, with their groups. Throws HostError for an entry that selects no check.
std::vector<std::pair<std::string, const Check*>> SelectedChecks(const std::vector<std::string>& only);

// Whether a name, a group or a pattern selects a check.
[[nodiscard]] bool IsSelectedBy(const std::string& pattern, const std::string& group, const Check& check);

// Runs the selected checks in order. Calls onResult after each one.
[[nodiscard]] std::vector<CheckResult> RunChecks(const CheckedModule& module, const RunOptions& options,
                                                 const std::function<void(const CheckResult&)>& onResult = {});

}  // namespace checker
