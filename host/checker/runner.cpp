// runner.cpp - runs a check in a child process, sends its findings back as text, and derives the verdict.

#include "host/checker/runner.h"

#include <fnmatch.h>

#include <charconv>
#include <chrono>
#include <string_view>

#include "host/checker/child.h"
#include "host/runtime/errors.h"
#include "host/runtime/suggestion.h"

namespace checker {

namespace {

// A child replies with a list of texts: why it skipped the check, which is empty when it did not, then three texts per
// finding. Each is written as its length, a colon and its bytes.
void AppendText(std::string& reply, std::string_view text) {
    reply += std::to_string(text.size()) + ':';
    reply += text;
}

// Returns an empty list for what is not such a reply: the module under check could write to any descriptor.
std::vector<std::string> TextsOf(std::string_view reply) {
    std::vector<std::string> texts;
    while (!reply.empty()) {
        const char* end = reply.data() + reply.size();
        std::size_t length = 0;
        const char* colon = std::from_chars(reply.data(), end, length).ptr;
        if (colon == end || *colon != ':' || length >= static_cast<std::size_t>(end - colon)) return {};
        texts.emplace_back(colon + 1, length);
        reply.remove_prefix(static_cast<std::size_t>(colon + 1 - reply.data()) + length);
    }
    if (texts.size() % 3 != 1) texts.clear();
    return texts;
}

// Runs a check in this process. Returns the reply.
std::string RunCheck(const Check& check, const CheckedModule& module, const RunOptions& options) {
    CheckContext context(module, options.seed, options.timeLimit);
    std::string skipReason;
    try {
        check.run(context);
    } catch (const SkipCheck& skipped) {
        skipReason = skipped.reason;
    } catch (const host::HostError& error) {
        context.AddFinding("", "modules that can be loaded and used", error.what());
    }
    std::string reply;
    AppendText(reply, skipReason);
    for (const Finding& finding : context.Findings()) {
        for (const std::string& text : {finding.subject, finding.expected, finding.got}) AppendText(reply, text);
    }
    return reply;
}

CheckResult ResultFromChild(const std::string& group, const Check& check, const ChildResult& child) {
    CheckResult result{.group = group, .check = &check, .findings = {}, .reason = {}, .output = {}};
    result.seconds = child.seconds.count();
    const std::vector<std::string> texts = TextsOf(child.hasReturned ? std::string_view(child.text) : "0:");
    for (std::size_t i = 1; i < texts.size(); i += 3) result.findings.push_back({texts[i], texts[i + 1], texts[i + 2]});
    if (!child.Succeeded() || texts.empty()) {
        result.verdict = Verdict::kCrashed;
        result.reason = child.Succeeded() ? "its reply cannot be read" : FailureText(child);
    } else if (!result.findings.empty()) {
        result.verdict = check.severity == Severity::kWarning ? Verdict::kWarned : Verdict::kFailed;
    } else if (!texts.front().empty()) {
        result.verdict = Verdict::kSkipped;
        result.reason = texts.front();
    }
    if (IsBad(result.verdict)) result.output = child.output;
    return result;
}

// Whether the user's pattern selects a check.
bool IsSelectedBy(const std::string& pattern, const std::string& group, const Check& check) {
    return pattern == group || pattern == check.name ||
           fnmatch(pattern.c_str(), (group + "." + check.name).c_str(), 0) == 0;
}

}  // namespace

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
    }
    return "";
}

Verdict VerdictOfRun(const std::vector<CheckResult>& results) {
    for (const Verdict verdict : {Verdict::kCrashed, Verdict::kFailed, Verdict::kWarned, Verdict::kPassed}) {
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
    for (const auto& [group, check] : SelectedChecks(options.only)) {
        if (failedPrerequisite.empty()) {
            const auto work = [&, each = check] { return RunCheck(*each, module, options); };
            results.push_back(
                ResultFromChild(group, *check, RunInChild(work, std::chrono::duration<double>(options.timeLimit))));
        } else {
            results.push_back({.group = group,
                               .check = check,
                               .verdict = Verdict::kSkipped,
                               .findings = {},
                               .reason = failedPrerequisite + " did not pass",
                               .output = {}});
        }
        const CheckResult& result = results.back();
        if (IsBad(result.verdict) && check->severity == Severity::kPrerequisite) failedPrerequisite = result.FullName();
        if (onResult) onResult(result);
    }
    return results;
}

}  // namespace checker
