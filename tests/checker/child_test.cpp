// child_test.cpp - child processes that return a result, crash, hang and print.

#include "host/checker/child.h"

#include <gtest/gtest.h>
#include <unistd.h>

#include <chrono>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <string>
#include <vector>

#include "tests/checker/child_works.h"

namespace checker {

void CrashHere();

namespace {

constexpr std::chrono::duration<double> kLong(10);
constexpr std::chrono::duration<double> kShort(0.1);

std::string LongText() { return "a result\n" + std::string(200'000, 'x'); }

TEST(ChildTest, ReturnsTheTextOfItsWork) {
    const ChildResult child = RunInChild("return the argument", LongText(), kLong);
    EXPECT_TRUE(child.Succeeded());
    EXPECT_EQ(child.text, LongText());
}

TEST(ChildTest, CrashReportsSignalAndLastStep) {
    const ChildResult child = RunInChild("crash", "", kLong);
    EXPECT_FALSE(child.Succeeded());
    EXPECT_FALSE(child.hasReturned);
    EXPECT_EQ(FailureText(child), "SIGKILL while pouring");
}

TEST(ChildTest, CrashReportsTheStackAndTheLastCalls) {
    const ChildResult child = RunInChild("note calls and crash", "", kLong);
    EXPECT_EQ(FailureText(child), "SIGSEGV while pouring");
    ASSERT_GE(child.stack.size(), 2u);
    EXPECT_NE(child.stack[0].find("checker_test"), std::string::npos) << child.stack[0];
    if (std::system("llvm-symbolizer --version > /dev/null 2>&1") == 0) {
        EXPECT_EQ(child.stack[0].substr(0, 20), "checker::CrashHere()") << child.stack[0];
        EXPECT_NE(child.stack[0].find("child_test.cpp:"), std::string::npos) << child.stack[0];
    }
    ASSERT_EQ(child.calls.size(), 10u);
    EXPECT_EQ(child.calls.front(), "call 4");
    EXPECT_EQ(child.calls.back(), "pouring");
    EXPECT_EQ(RunInChild("wait", "", kShort).stack, std::vector<std::string>());
}

TEST(ChildTest, OutputIsLimitedHoweverMuchIsPrinted) {
    const ChildResult child = RunInChild("print much", "", kLong);
    EXPECT_TRUE(child.Succeeded());
    EXPECT_EQ(child.text, std::to_string(1 << 20));
    EXPECT_EQ(child.output, std::string(4000, 'x'));
}

TEST(ChildTest, AResultThatIsTooLongIsAFailureWithItsReason) {
    const ChildResult child = RunInChild("return 20 MB", "", kLong);
    EXPECT_FALSE(child.Succeeded());
    EXPECT_EQ(FailureText(child), "the findings have more than 16777216 bytes");
}

TEST(ChildTest, IsKilledAtTheTimeLimit) {
    const ChildResult child = RunInChild("wait", "", kShort);
    EXPECT_TRUE(child.timedOut);
    EXPECT_LT(child.seconds.count(), 5);
    EXPECT_EQ(FailureText(child).substr(0, 19), "still running after");
}

TEST(ChildTest, ItsOwnChildrenAreKilledWithIt) {
    int ends[2];
    ASSERT_EQ(pipe(ends), 0);
    EXPECT_TRUE(RunInChild("start a child that waits", "", std::chrono::duration<double>(1)).timedOut);
    close(ends[1]);
    char byte;
    EXPECT_EQ(read(ends[0], &byte, 1), 0);  // end of file: no process has the pipe open for writing
}

TEST(ChildTest, CapturesItsOutput) {
    EXPECT_EQ(RunInChild("print to both streams", "", kLong).output, "to standard error\nto standard output\n");
}

TEST(ChildTest, OnlyANormalExitRunsExitHandlers) {
    EXPECT_TRUE(RunInChild("exit with 7", "", kLong, ChildExit::kImmediate).Succeeded());
    const ChildResult child = RunInChild("exit with 7", "", kLong, ChildExit::kNormal);
    EXPECT_TRUE(child.hasReturned);
    EXPECT_EQ(FailureText(child), "the process exited with status 7");
}

TEST(ChildTest, AWorkThatDoesNotExistIsAFailure) {
    EXPECT_EQ(FailureText(RunInChild("no such work", "", kLong)), "the process exited with status 1");
}

}  // namespace

// Writes to an address without memory.
__attribute__((noinline)) void CrashHere() { *reinterpret_cast<volatile int*>(8) = 1; }

std::vector<ChildWork> TestWorks() {
    return {
        {"return the argument", [](const std::string& argument) { return argument; }},
        {"crash",
         [](const std::string&) {
             NoteStep("pouring");
             std::raise(SIGKILL);
             return std::string();
         }},
        {"note calls and crash",
         [](const std::string&) {
             for (int i = 1; i <= 12; ++i) NoteCall(("call " + std::to_string(i)).c_str());
             NoteStep("pouring");
             CrashHere();
             return std::string();
         }},
        SandboxWork(),
        {"print much",
         [](const std::string&) {
             const std::string line(1 << 16, 'x');
             std::size_t written = 0;
             for (int i = 0; i < 16'000; ++i) {
                 const ssize_t count = write(STDOUT_FILENO, line.data(), line.size());
                 if (count <= 0) break;
                 written += static_cast<std::size_t>(count);
             }
             return std::to_string(written);
         }},
        {"return 20 MB", [](const std::string&) { return std::string(std::size_t{20} << 20, 'x'); }},
        {"wait",
         [](const std::string&) {
             NoteStep("waiting");
             for (;;) pause();
             return std::string();
         }},
        {"start a child that waits",
         [](const std::string&) {
             RunInChild("wait", "", kLong);
             return std::string();
         }},
        {"print to both streams",
         [](const std::string&) {
             std::puts("to standard output");
             std::fputs("to standard error\n", stderr);
             return std::string();
         }},
        {"exit with 7",
         [](const std::string&) {
             std::atexit([] { _exit(7); });
             return std::string("done");
         }},
    };
}

}  // namespace checker
