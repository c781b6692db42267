// runner.cpp - the way of a check through its process, and of its findings back.

#include "host/checker/runner.h"

#include <fnmatch.h>

#include <nlohmann/json.hpp>

#include "host/checker/child.h"
#include "host/runtime/errors.h"
#include "host/runtime/suggestion.h"

namespace checker {

namespace {

using nlohmann::json;

// What a check answers from its process.
std::string MakeCheck(const Check& check, const Subject& subject, const RunOptions& options) {
    Examination examination(subject, options.seed, options.timeLimit);
    json answer;
    try {
        check.run(examination);
    } catch (const Skipped& skipped) {
        answer["skipped"] = skipped.reason;
    } catch (const host::HostError& error) {
        examination.Report("", "the modules can be loaded and used", error.what());
    }
    answer["findings"] = json::array();
    for (const Finding& finding : examination.Findings()) {
        answer["findings"].push_back({finding.subject, finding.expected, finding.got});
    }
    return answer.dump(-1, ' ', /*ensure_ascii=*/false, json::error_handler_t::replace);
}

Result Judge(const std::string& group, const Check& check, const Outcome& outcome) {
    Result result{.group = group, .check = &check, .findings = {}, .reason = {}, .output = {}};
    result.seconds = outcome.seconds.count();
    const json answer = outcome.answered ? json::parse(outcome.answer) : json::object();
    for (const json& finding : answer.value("findings", json::array())) {
        result.findings.push_back({finding[0], finding[1], finding[2]});
    }
    if (!outcome.EndedWell()) {
        result.verdict = Verdict::kCrashed;
        result.reason = EndingText(outcome);
    } else if (!result.findings.empty()) {
        result.verdict = check.weight == Weight::kWarning ? Verdict::kWarned : Verdict::kFailed;
    } else if (answer.contains("skipped")) {
        result.verdict = Verdict::kSkipped;
        result.reason = answer["skipped"];
    }
    if (result.IsBad()) result.output = outcome.output;
    return result;
}

bool IsNamed(const std::string& pattern, const std::string& group, const Check& check) {
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
                if (!IsNamed(only[i], group.name, check)) continue;
                isUsed[i] = isSelected = true;
            }
            if (isSelected) selected.emplace_back(group.name, &check);
        }
    }
    for (std::size_t i = 0; i < only.size(); ++i) {
        if (!isUsed[i]) {
            throw host::HostError("check " + only[i],
                                  "there is no such check or group" + host::Suggestion(only[i], names));
        }
    }
    return selected;
}

std::vector<Result> RunChecks(const Subject& subject, const RunOptions& options,
                              const std::function<void(const Result&)>& tell) {
    std::vector<Result> results;
    std::string missingBasis;
    for (const auto& [group, check] : SelectedChecks(options.only)) {
        if (missingBasis.empty()) {
            const auto work = [&, each = check] { return MakeCheck(*each, subject, options); };
            results.push_back(Judge(group, *check, RunInChild(work, std::chrono::duration<double>(options.timeLimit))));
        } else {
            results.push_back({.group = group,
                               .check = check,
                               .verdict = Verdict::kSkipped,
                               .findings = {},
                               .reason = missingBasis + " did not pass",
                               .output = {}});
        }
        const Result& result = results.back();
        if (result.IsBad() && check->weight == Weight::kBasis) missingBasis = result.FullName();
        if (tell) tell(result);
    }
    return results;
}

}  // namespace checker
