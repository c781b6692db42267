// child_test.cpp - child processes that return a result, crash, hang and print.

#include "host/checker/child.h"

#include <gtest/gtest.h>
#include <unistd.h>

#include <chrono>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <string>

namespace checker {
namespace {

constexpr std::chrono::duration<double> kLong(10);
constexpr std::chrono::duration<double> kShort(0.1);

TEST(ChildTest, ReturnsTheTextOfItsWork) {
    const std::string text = "a result\n" + std::string(200'000, 'x');
    const ChildResult child = RunInChild([&] { return text; }, kLong);
    EXPECT_TRUE(child.Succeeded());
    EXPECT_EQ(child.text, text);
}

TEST(ChildTest, CrashReportsSignalAndLastStep) {
    const auto work = [] {
        NoteStep("pouring");
        std::raise(SIGKILL);
        return std::string();
    };
    const ChildResult child = RunInChild(work, kLong);
    EXPECT_FALSE(child.Succeeded());
    EXPECT_FALSE(child.hasReturned);
    EXPECT_EQ(FailureText(child), "SIGKILL while pouring");
}

TEST(ChildTest, OutputIsLimitedHoweverMuchIsPrinted) {
    const auto work = [] {
        const std::string line(1 << 16, 'x');
        std::size_t written = 0;
        for (int i = 0; i < 16'000; ++i) {
            const ssize_t count = write(STDOUT_FILENO, line.data(), line.size());
            if (count <= 0) break;
            written += static_cast<std::size_t>(count);
        }
        return std::to_string(written);
    };
    const ChildResult child = RunInChild(work, kLong);
    EXPECT_TRUE(child.Succeeded());
    EXPECT_EQ(child.text, std::to_string(1 << 20));
    EXPECT_EQ(child.output, std::string(4000, 'x'));
}

TEST(ChildTest, AResultThatIsTooLongIsAFailureWithItsReason) {
    const ChildResult child = RunInChild([] { return std::string(std::size_t{20} << 20, 'x'); }, kLong);
    EXPECT_FALSE(child.Succeeded());
    EXPECT_EQ(FailureText(child), "the findings have more than 16777216 bytes");
}

TEST(ChildTest, IsKilledAtTheTimeLimit) {
    const auto work = [] {
        NoteStep("waiting");
        for (;;) pause();
        return std::string();
    };
    const ChildResult child = RunInChild(work, kShort);
    EXPECT_TRUE(child.timedOut);
    EXPECT_LT(child.seconds.count(), 5);
    EXPECT_EQ(FailureText(child).substr(0, 19), "still running after");
}

TEST(ChildTest, ItsOwnChildrenAreKilledWithIt) {
    int ends[2];
    ASSERT_EQ(pipe(ends), 0);
    const auto work = [&] {
        RunInChild([] { return sleep(100), std::string(); }, kLong);
        return std::string();
    };
    EXPECT_TRUE(RunInChild(work, kShort).timedOut);
    close(ends[1]);
    char byte;
    EXPECT_EQ(read(ends[0], &byte, 1), 0);  // end of file: no process has the pipe open for writing
}

TEST(ChildTest, CapturesItsOutput) {
    const auto work = [] {
        std::puts("to standard output");
        std::fputs("to standard error\n", stderr);
        return std::string();
    };
    EXPECT_EQ(RunInChild(work, kLong).output, "to standard error\nto standard output\n");
}

TEST(ChildTest, OnlyANormalExitRunsExitHandlers) {
    const auto work = [] {
        std::atexit([] { _exit(7); });
        return std::string("done");
    };
    EXPECT_TRUE(RunInChild(work, kLong, ChildExit::kImmediate).Succeeded());
    const ChildResult child = RunInChild(work, kLong, ChildExit::kNormal);
    EXPECT_TRUE(child.hasReturned);
    EXPECT_EQ(FailureText(child), "the process exited with status 7");
}

}  // namespace
}  // namespace checker
