// batch_test.cpp - jobs that succeed, fail and crash; jobs that are tried again; batches that stop.

#include "host/batch/batch.h"

#include <gtest/gtest.h>
#include <unistd.h>

#include <cerrno>
#include <csignal>
#include <map>
#include <string>
#include <vector>

#include "host/batch/error_text.h"
#include "tests/batch/roles.h"

namespace {

// Runs jobs on some workers. Returns the result of each, as text.
std::map<std::size_t, std::string> Results(const std::vector<std::string>& jobs, std::size_t workers,
                                           AfterJob afterFailure = AfterJob::kGoOn) {
    std::map<std::size_t, std::string> results;
    const auto request = [&](std::size_t i) { return jobs[i]; };
    const int signal = RunBatch({.role = "job", .setup = "set up", .workers = workers}, jobs.size(), request,
                                [&](const BatchResult& result) {
                                    std::string& text = results[result.number];
                                    text += result.failure.empty() ? result.text : "failed: " + result.failure;
                                    return result.failure.empty() ? AfterJob::kGoOn : afterFailure;
                                });
    EXPECT_EQ(signal, 0);
    return results;
}

using Expected = std::map<std::size_t, std::string>;

TEST(BatchTest, EveryJobHasOneResult) {
    for (const std::size_t workers : {1, 2, 5}) {
        EXPECT_EQ(Results({"a", "b", "c"}, workers), (Expected{{0, "set up, a"}, {1, "set up, b"}, {2, "set up, c"}}));
    }
    EXPECT_EQ(Results({}, 2), Expected());
}

TEST(BatchTest, AFailureAndACrashCostOneJob) {
    EXPECT_EQ(Results({"a", "throw", "crash", "exit", "b"}, 1),
              (Expected{{0, "set up, a"},
                        {1, "failed: thrown"},
                        {2, "failed: its process was terminated: Aborted"},
                        {3, "failed: its process ended with status 4"},
                        {4, "set up, b"}}));
}

TEST(BatchTest, EveryJobThatCrashesCostsItself) {
    EXPECT_EQ(Results({"crash", "crash", "crash", "a"}, 2).at(3), "set up, a");
}

TEST(BatchTest, ErrorNumbersAndSignalsReachTheReport) {
    std::map<std::string, std::pair<int, int>> numbers;
    const std::vector<std::string> jobs = {"throw", "crash", "a"};
    const auto request = [&](std::size_t i) { return jobs[i]; };
    EXPECT_EQ(RunBatch({.role = "job", .workers = 1}, jobs.size(), request,
                       [&](const BatchResult& result) {
                           numbers[jobs[result.number]] = {result.errorNumber, result.signal};
                           return AfterJob::kGoOn;
                       }),
              0);
    EXPECT_EQ(numbers, (decltype(numbers){{"throw", {ENOSPC, 0}}, {"crash", {0, SIGABRT}}, {"a", {0, 0}}}));
}

TEST(BatchTest, AJobIsTriedAgainAfterTheOthers) {
    std::vector<std::size_t> order;
    const std::vector<std::string> jobs = {"throw", "a", "b"};
    const auto request = [&](std::size_t i) { return jobs[i]; };
    EXPECT_EQ(RunBatch({.role = "job", .workers = 1}, jobs.size(), request,
                       [&](const BatchResult& result) {
                           order.push_back(result.number);
                           return order.size() < 6 && result.number == 0 ? AfterJob::kTryAgain : AfterJob::kGoOn;
                       }),
              0);
    EXPECT_EQ(order, (std::vector<std::size_t>{0, 1, 2, 0, 0, 0}));
}

TEST(BatchTest, NoJobBeginsAfterOneThatStopsTheBatch) {
    EXPECT_EQ(Results({"a", "throw", "b"}, 1, AfterJob::kStop), (Expected{{0, "set up, a"}, {1, "failed: thrown"}}));
}

}  // namespace

worker::Role JobRole() {
    return BatchRole("job", [](const std::string& setup) -> BatchJob {
        return [setup](const std::string& request) {
            if (request == "throw") throw NumberedError("thrown", ENOSPC);
            if (request == "crash") std::raise(SIGABRT);
            if (request == "exit") _exit(4);
            return setup + ", " + request;
        };
    });
}
