// checker_test.cpp - every check of the checker notices its fault, and no other check does.
//
// A check without a fault in faulty_module.cpp fails here: nothing is noticed under its name.

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdlib>

#include "host/checker/report.h"
#include "host/runtime/services.h"

namespace checker {
namespace {

// The module of faults, or, for the one fault that cannot be made at run time, a library without an entry point.
Subject SubjectFor(const std::string& fault) {
    const char* module = fault == "load.entry-point" ? ZEVA_PLAIN_LIBRARY : ZEVA_FAULTY_MODULE;
    return {.module = module, .siblings = {ZEVA_FAKE_MODULE}, .callScope = {}};
}

std::vector<Result> CheckWithFault(const std::string& fault) {
    setenv("ZEVA_FAULT", fault.c_str(), /*overwrite=*/1);
    return RunChecks(SubjectFor(fault), {});
}

// "properties.extremes crashed while ...", one line for each check with another verdict than the given ones.
std::vector<std::string> Others(const std::vector<Result>& results, std::initializer_list<Verdict> good) {
    std::vector<std::string> lines;
    for (const Result& result : results) {
        if (std::find(good.begin(), good.end(), result.verdict) != good.end()) continue;
        std::string line = result.FullName() + " " + VerdictText(result.verdict) + " " + result.reason;
        for (const Finding& finding : result.findings) {
            line += "; " + finding.subject + " expected " + finding.expected + ", got " + finding.got;
        }
        lines.push_back(line);
    }
    return lines;
}

TEST(CheckerTest, AFaultlessModulePassesEveryCheck) {
    EXPECT_EQ(Others(CheckWithFault(""), {Verdict::kPassed}), std::vector<std::string>());
}

TEST(CheckerTest, HasChecksInElevenGroupsUnderDifferentNames) {
    std::vector<std::string> names;
    for (const auto& [group, check] : SelectedChecks({})) names.push_back(group + "." + check->name);
    std::sort(names.begin(), names.end());
    EXPECT_EQ(std::adjacent_find(names.begin(), names.end()), names.end());
    EXPECT_EQ(Groups().size(), 11u);
    EXPECT_GE(names.size(), 50u);
}

TEST(CheckerTest, EveryServiceOfTheHostIsWatched) {
    const Watch watch;
    for (const host::Service& service : host::Services()) {
        EXPECT_NE(Watch::ResolveForSibling(service.name), nullptr) << service.name;
    }
}

class FaultTest : public testing::TestWithParam<std::pair<std::string, const Check*>> {};

TEST_P(FaultTest, IsNoticedByItsCheckAlone) {
    const auto& [group, check] = GetParam();
    const std::vector<Result> results = CheckWithFault(group + "." + check->name);
    const std::vector<std::string> noticed = Others(results, {Verdict::kPassed, Verdict::kSkipped});
    ASSERT_EQ(noticed.size(), 1u) << testing::PrintToString(noticed);
    EXPECT_EQ(noticed[0].substr(0, noticed[0].find(' ')), group + "." + check->name);
    const bool warns = check->weight == Weight::kWarning;
    for (const Result& result : results) {
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
