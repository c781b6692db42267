// waiver_test.cpp - which files of waivers are read, and what a waiver does to the result of its check.

#include "host/checker/waiver.h"

#include <gtest/gtest.h>
#include <unistd.h>

#include <filesystem>
#include <fstream>
#include <string>
#include <vector>

#include "host/checker/runner.h"
#include "host/runtime/errors.h"

namespace checker {
namespace {

// A file of waivers that disappears with the test.
class WaiverTest : public testing::Test {
  protected:
    ~WaiverTest() override { std::filesystem::remove(path); }

    std::vector<Waiver> Read(const std::string& text) {
        std::ofstream(path) << text;
        return ReadWaivers(path);
    }

    // The message about a file, without its path.
    std::string Problem(const std::string& text) {
        try {
            static_cast<void>(Read(text));
        } catch (const host::HostError& error) {
            return std::string(error.what()).substr(path.native().size());
        }
        return "";
    }

    // The result of a check with this verdict, after the waivers were applied on a day.
    CheckResult Apply(const std::vector<Waiver>& waivers, const std::string& today, Verdict verdict) {
        const auto [group, check] = SelectedChecks({"ownership.reads"}).at(0);
        CheckResult result{
            .group = group, .check = check, .findings = {}, .reason = {}, .output = {}, .stack = {}, .calls = {}};
        result.verdict = verdict;
        ApplyWaivers(waivers, today, result);
        return result;
    }

    std::filesystem::path path = std::filesystem::temp_directory_path() / ("waivers-" + std::to_string(getpid()));
};

TEST_F(WaiverTest, ReadsNamesDatesAndReasons) {
    const std::vector<Waiver> waivers =
        Read("# known\n\nownership.reads 2027-03-31  a font's name\r\n  faults.* 2026-02-28 x\n");
    ASSERT_EQ(waivers.size(), 2u);
    EXPECT_EQ(waivers[0].check, "ownership.reads");
    EXPECT_EQ(waivers[0].until, "2027-03-31");
    EXPECT_EQ(waivers[0].reason, "a font's name");
    EXPECT_EQ(waivers[1].check, "faults.*");
}

TEST_F(WaiverTest, RefusesLinesThatAreNotWaiversByTheirNumber) {
    EXPECT_EQ(
        Problem("#\nownership.reads soon because\n"),
        ":2: 'soon' is not a date, expected a check, a date such as 2027-03-31 and a reason; nothing was checked");
    EXPECT_EQ(Problem("ownership.reads 2027-02-30 because\n").substr(0, 22), ":1: '2027-02-30' is no");
    EXPECT_EQ(Problem("ownership.reads 2027-03-31\n"), ":1: it gives no reason; nothing was checked");
    EXPECT_EQ(Problem("ownership.read 2027-03-31 because\n"),
              ":1: check ownership.read: not a check or group, did you mean ownership.reads; nothing was checked");
}

TEST_F(WaiverTest, WaivesFailuresAndCrashesThroughItsLastDay) {
    const std::vector<Waiver> waivers = Read("ownership.reads 2027-03-31 because\n");
    for (const Verdict verdict : {Verdict::kFailed, Verdict::kCrashed}) {
        EXPECT_EQ(Apply(waivers, "2027-03-31", verdict).verdict, Verdict::kWaived);
    }
    EXPECT_EQ(Apply(waivers, "2027-03-31", Verdict::kFailed).reason, "until 2027-03-31: because");
    EXPECT_EQ(Apply(waivers, "2027-03-31", Verdict::kPassed).verdict, Verdict::kPassed);
    EXPECT_EQ(Apply(waivers, "2027-03-31", Verdict::kWarned).verdict, Verdict::kWarned);
    EXPECT_EQ(Apply(Read("faults 2027-03-31 because\n"), "2027-01-01", Verdict::kFailed).verdict, Verdict::kFailed);
}

TEST_F(WaiverTest, FailsItsChecksFromTheNextDayOn) {
    const std::vector<Waiver> waivers = Read("ownership.* 2027-03-31 because\n");
    for (const Verdict verdict : {Verdict::kFailed, Verdict::kPassed, Verdict::kWarned}) {
        const CheckResult result = Apply(waivers, "2027-04-01", verdict);
        EXPECT_EQ(result.verdict, Verdict::kFailed);
        ASSERT_EQ(result.findings.size(), 1u);
        EXPECT_EQ(result.findings[0].got, "one until 2027-03-31: because");
    }
    EXPECT_EQ(Apply(waivers, "2027-04-01", Verdict::kCrashed).verdict, Verdict::kCrashed);
    EXPECT_EQ(Apply(waivers, "2027-04-01", Verdict::kSkipped).verdict, Verdict::kSkipped);
}

}  // namespace
}  // namespace checker
