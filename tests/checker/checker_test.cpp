// checker_test.cpp - every check finds the fault that is named after it, and no other check finds it.
//
// A check without a fault in faulty_module.cpp fails here, because no check has findings for its name.

#include <gtest/gtest.h>

#include <algorithm>
#include <cctype>
#include <cstdlib>
#include <initializer_list>
#include <string>
#include <utility>
#include <vector>

#include "host/checker/report.h"
#include "host/runtime/services.h"

namespace checker {
namespace {

// Returns the faulty module. A missing entry point cannot be simulated at run time, so that fault has its own library.
CheckedModule ModuleFor(const std::string& fault) {
    const char* module = fault == "load.entry-point" ? ZEVA_PLAIN_LIBRARY : ZEVA_FAULTY_MODULE;
    return {.path = module, .siblings = {ZEVA_FAKE_MODULE}, .callScope = {}};
}

std::vector<CheckResult> CheckWithFault(const std::string& fault) {
    setenv("ZEVA_FAULT", fault.c_str(), /*overwrite=*/1);
    return RunChecks(ModuleFor(fault), {});
}

// Returns a line for each check whose verdict is not one of those given, with its verdict, reason and findings.
std::vector<std::string> ResultsExcept(const std::vector<CheckResult>& results,
                                       std::initializer_list<Verdict> verdicts) {
    std::vector<std::string> lines;
    for (const CheckResult& result : results) {
        if (std::find(verdicts.begin(), verdicts.end(), result.verdict) != verdicts.end()) continue;
        std::string line = result.FullName() + " " + VerdictText(result.verdict) + " " + result.reason;
        for (const Finding& finding : result.findings) {
            line += "; " + finding.subject + " expected " + finding.expected + ", got " + finding.got;
        }
        lines.push_back(line);
    }
    return lines;
}

TEST(CheckerTest, ModuleWithoutFaultsPassesEveryCheck) {
    EXPECT_EQ(ResultsExcept(CheckWithFault(""), {Verdict::kPassed}), std::vector<std::string>());
}

TEST(CheckerTest, ABadResultHasWhatTheModulePrinted) {
    const std::vector<CheckResult> results = CheckWithFault("load.returns");
    const auto bad = std::ranges::find(results, Verdict::kCrashed, &CheckResult::verdict);
    ASSERT_NE(bad, results.end());
    EXPECT_EQ(bad->FullName(), "load.returns");
    EXPECT_NE(bad->output.find("its last words"), std::string::npos) << bad->output;
}

TEST(CheckerTest, HasElevenGroupsAndUniqueCheckNames) {
    std::vector<std::string> names;
    for (const auto& [group, check] : SelectedChecks({})) names.push_back(group + "." + check->name);
    std::sort(names.begin(), names.end());
    EXPECT_EQ(std::adjacent_find(names.begin(), names.end()), names.end());
    EXPECT_EQ(Groups().size(), 11u);
    EXPECT_GE(names.size(), 50u);
}

TEST(CheckerTest, WatchesEveryServiceOfTheHost) {
    const Watch watch;
    for (const host::Service& service : host::Services()) {
        EXPECT_NE(Watch::ResolveForSibling(service.name), nullptr) << service.name;
    }
}

TEST(VerdictTest, RunEndsWithTheWorstVerdictOfItsChecks) {
    const auto verdictOf = [](std::initializer_list<Verdict> verdicts) {
        std::vector<CheckResult> results;
        for (const Verdict verdict : verdicts) results.emplace_back().verdict = verdict;
        return VerdictOfRun(results);
    };
    EXPECT_EQ(verdictOf({}), Verdict::kSkipped);
    EXPECT_EQ(verdictOf({Verdict::kSkipped, Verdict::kPassed}), Verdict::kPassed);
    EXPECT_EQ(verdictOf({Verdict::kPassed, Verdict::kWarned, Verdict::kSkipped}), Verdict::kWarned);
    EXPECT_EQ(verdictOf({Verdict::kWarned, Verdict::kFailed, Verdict::kPassed}), Verdict::kFailed);
    EXPECT_EQ(verdictOf({Verdict::kFailed, Verdict::kCrashed, Verdict::kWarned}), Verdict::kCrashed);
}

class FaultTest : public testing::TestWithParam<std::pair<std::string, const Check*>> {};

TEST_P(FaultTest, OnlyItsOwnCheckHasFindings) {
    const auto& [group, check] = GetParam();
    const std::vector<CheckResult> results = CheckWithFault(group + "." + check->name);
    const std::vector<std::string> others = ResultsExcept(results, {Verdict::kPassed, Verdict::kSkipped});
    ASSERT_EQ(others.size(), 1u) << testing::PrintToString(others);
    EXPECT_EQ(others[0].substr(0, others[0].find(' ')), group + "." + check->name);
    const bool warns = check->severity == Severity::kWarning;
    for (const CheckResult& result : results) {
        if (result.check == check) {
            EXPECT_EQ(result.verdict == Verdict::kWarned, warns);
        }
    }
}

std::string TestName(const testing::TestParamInfo<std::pair<std::string, const Check*>>& test) {
    std::string name = test.param.first + "_" + test.param.second->name;
    for (char& c : name) {
        if (std::isalnum(static_cast<unsigned char>(c)) == 0) c = '_';
    }
    return name;
}

INSTANTIATE_TEST_SUITE_P(Each, FaultTest, testing::ValuesIn(SelectedChecks({})), TestName);

}  // namespace
}  // namespace checker
