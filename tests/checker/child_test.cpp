// child_test.cpp - processes that answer, crash, hang and talk.

#include "host/checker/child.h"

#include <gtest/gtest.h>
#include <unistd.h>

#include <csignal>
#include <cstdlib>

namespace checker {
namespace {

constexpr std::chrono::duration<double> kLong(10);
constexpr std::chrono::duration<double> kShort(0.1);

TEST(ChildTest, AnswersWhatItsWorkReturns) {
    const std::string text = "an answer\n" + std::string(200'000, 'x');
    const Outcome outcome = RunInChild([&] { return text; }, kLong);
    EXPECT_TRUE(outcome.EndedWell());
    EXPECT_EQ(outcome.answer, text);
}

TEST(ChildTest, ACrashIsToldWithItsSignalAndItsLastStep) {
    const auto work = [] {
        NoteStep("pouring");
        std::raise(SIGKILL);
        return std::string();
    };
    const Outcome outcome = RunInChild(work, kLong);
    EXPECT_FALSE(outcome.EndedWell());
    EXPECT_FALSE(outcome.answered);
    EXPECT_EQ(EndingText(outcome), "SIGKILL while pouring");
}

TEST(ChildTest, WhatTakesTooLongIsEnded) {
    const auto work = [] {
        NoteStep("waiting");
        for (;;) pause();
        return std::string();
    };
    const Outcome outcome = RunInChild(work, kShort);
    EXPECT_TRUE(outcome.timedOut);
    EXPECT_LT(outcome.seconds.count(), 5);
    EXPECT_EQ(EndingText(outcome).substr(0, 12), "no end after");
}

TEST(ChildTest, ItsOwnChildrenEndWithIt) {
    int ends[2];
    ASSERT_EQ(pipe(ends), 0);
    const auto work = [&] {
        RunInChild([] { return sleep(100), std::string(); }, kLong);
        return std::string();
    };
    EXPECT_TRUE(RunInChild(work, kShort).timedOut);
    close(ends[1]);
    char byte;
    EXPECT_EQ(read(ends[0], &byte, 1), 0);  // nobody has the other end any more
}

TEST(ChildTest, WhatItPrintsIsKeptApart) {
    const auto work = [] {
        std::puts("to standard output");
        std::fputs("to standard error\n", stderr);
        return std::string();
    };
    EXPECT_EQ(RunInChild(work, kLong).output, "to standard error\nto standard output\n");
}

TEST(ChildTest, OnlyOneThatEndsAsProgramsDoRunsWhatIsLeftForExit) {
    const auto work = [] {
        std::atexit([] { _exit(7); });
        return std::string("done");
    };
    EXPECT_TRUE(RunInChild(work, kLong, Ending::kAtOnce).EndedWell());
    const Outcome outcome = RunInChild(work, kLong, Ending::kAsPrograms);
    EXPECT_TRUE(outcome.answered);
    EXPECT_EQ(EndingText(outcome), "the process ended with status 7");
}

}  // namespace
}  // namespace checker
