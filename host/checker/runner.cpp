// runner.cpp - selects the checks, runs each in its process, and derives the verdict.

#include "host/checker/runner.h"

#include <fnmatch.h>

#include <algorithm>
#include <optional>

#include "host/checker/check_process.h"
#include "host/runtime/errors.h"
#include "host/runtime/suggestion.h"

namespace checker {

namespace {

CheckResult ResultFromChild(const std::string& group, const Check& check, const ChildResult& child) {
    CheckResult result{
        .group = group, .check = &check, .findings = {}, .reason = {}, .output = {}, .stack = {}, .calls = {}};
    result.seconds = child.seconds.count();
    const std::optional<CheckReply> reply = child.hasReturned ? ReplyIn(child.text) : std::nullopt;
    if (reply) {
        result.findings = reply->findings;
        result.stack = reply->stack;
        result.calls = reply->calls;
    }
    if (child.signal != 0) {
        result.stack = child.stack;
        result.calls = child.calls;
    }
    for (const Try& refused : child.tries) result.findings.push_back(FindingOf(refused));
    if (!child.Succeeded() || !reply) {
        result.verdict = Verdict::kCrashed;
        result.reason = child.Succeeded() ? "its reply cannot be read" : FailureText(child);
    } else if (!result.findings.empty()) {
        const bool leftSandbox =
            std::ranges::any_of(result.findings, [](const Finding& each) { return each.expected == kSandboxRule; });
        result.verdict = check.severity == Severity::kWarning && !leftSandbox ? Verdict::kWarned : Verdict::kFailed;
    } else if (!reply->skipReason.empty()) {
        result.verdict = Verdict::kSkipped;
        result.reason = reply->skipReason;
    }
    if (IsBad(result.verdict)) result.output = child.output;
    return result;
}

}  // namespace

bool IsSelectedBy(const std::string& pattern, const std::string& group, const Check& check) {
    return pattern == group || pattern == check.name ||
           fnmatch(pattern.c_str(), (group + "." + check.name).c_str(), 0) == 0;
}

const char* VerdictText(Verdict verdict) {
    switch (verdict) {
        case Verdict::kPassed:
            return "passed";
        case Verdict::kFailed:
            return "failed";
        case Verdict::kCrashed:
            return "crashed";
        case Verdict::kSkipped:
            return "skipped";
        case Verdict::kWarned:
            return "warned";
        case Verdict::kWaived:
            return "waived";
    }
    return "";
}

Verdict VerdictOfRun(const std::vector<CheckResult>& results) {
    for (const Verdict verdict :
         {Verdict::kCrashed, Verdict::kFailed, Verdict::kWaived, Verdict::kWarned, Verdict::kPassed}) {
        for (const CheckResult& result : results) {
            if (result.verdict == verdict) return verdict;
        }
    }
    return Verdict::kSkipped;
}

std::vector<std::pair<std::string, const Check*>> SelectedChecks(const std::vector<std::string>& only) {
    std::vector<std::pair<std::string, const Check*>> selected;
    std::vector<bool> isUsed(only.size());
    std::vector<std::string> names;
    for (const Group& group : Groups()) {
        names.push_back(group.name);
        for (const Check& check : group.checks) {
            names.push_back(group.name + "." + check.name);
            bool isSelected = only.empty();
            for (std::size_t i = 0; i < only.size(); ++i) {
                if (!IsSelectedBy(only[i], group.name, check)) continue;
                isUsed[i] = isSelected = true;
            }
            if (isSelected) selected.emplace_back(group.name, &check);
        }
    }
    for (std::size_t i = 0; i < only.size(); ++i) {
        if (!isUsed[i]) {
            throw host::HostError("check " + only[i], "not a check or group" + host::Suggestion(only[i], names));
        }
    }
    return selected;
}

std::vector<CheckResult> RunChecks(const CheckedModule& module, const RunOptions& options,
                                   const std::function<void(const CheckResult&)>& onResult) {
    std::vector<CheckResult> results;
    std::string failedPrerequisite;
    const std::string today = Today();
    for (const auto& [group, check] : SelectedChecks(options.only)) {
        if (failedPrerequisite.empty()) {
            const CheckCall call = {group + "." + check->name, module, options.seed, options.timeLimit};
            results.push_back(ResultFromChild(group, *check, RunCheckInChild(call)));
        } else {
            results.push_back({.group = group,
                               .check = check,
                               .verdict = Verdict::kSkipped,
                               .findings = {},
                               .reason = failedPrerequisite + " did not pass",
                               .output = {},
                               .stack = {},
                               .calls = {}});
        }
        CheckResult& result = results.back();
        ApplyWaivers(options.waivers, today, result);
        if (IsBad(result.verdict) && check->severity == Severity::kPrerequisite) failedPrerequisite = result.FullName();
        if (onResult) onResult(result);
    }
    return results;
}

}  // namespace checker
