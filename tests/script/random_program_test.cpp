// random_program_test.cpp - random programs that use all classes of both modules neither crash nor leak, and a seed
// always gives the same outcome.
//
// ZEVA_SEED sets the first seed and ZEVA_PROGRAMS the number of programs. The running program is stored in the
// temporary folder and removed when all have passed, so a program that crashes is found there.

#include <gtest/gtest.h>
#include <unistd.h>

#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <string>

#include "host/script/script.h"
#include "tests/script/module_scripts.h"
#include "tests/script/random_program.h"

namespace {

std::uint32_t NumberFrom(const char* variable, std::uint32_t defaultNumber) {
    const char* text = std::getenv(variable);
    return text != nullptr ? static_cast<std::uint32_t>(std::strtoul(text, nullptr, 10)) : defaultNumber;
}

class RandomProgramTest : public testing::Test {
  protected:
    std::string Program(std::uint32_t seed) { return RandomProgram(host.Classes().All(), seed, kLines); }

    // Runs a program. Returns the characters for its lines, or any other error that it did not catch.
    std::string Outcome(const std::string& program) {
        host::script::Script script(host);
        try {
            script.RunText(program, "random");
        } catch (const host::script::ScriptError& error) {
            return error.what();
        }
        return "the program did not reach its end";
    }

    static constexpr int kLines = 300;

    host::Host& host = HostWithModules();
};

TEST_F(RandomProgramTest, NothingCrashesOrLeaks) {
    const std::uint32_t first = NumberFrom("ZEVA_SEED", 1);
    const auto file = std::filesystem::temp_directory_path() / ("random_program_" + std::to_string(getpid()) + ".lua");
    std::size_t done = 0, refused = 0;
    for (std::uint32_t seed = first; seed < first + NumberFrom("ZEVA_PROGRAMS", 10); ++seed) {
        const std::string program = Program(seed);
        std::ofstream(file) << "-- seed " << seed << "\n" << program;
        const std::string outcome = Outcome(program);
        ASSERT_EQ(outcome.size(), std::size_t{kLines}) << "seed " << seed << ": " << outcome;
        ASSERT_EQ(host.LiveObjects(), 0) << "seed " << seed;
        ASSERT_EQ(host.LiveStrings(), 0) << "seed " << seed;
        done += static_cast<std::size_t>(std::count(outcome.begin(), outcome.end(), '+'));
        refused += static_cast<std::size_t>(std::count(outcome.begin(), outcome.end(), '-'));
    }
    std::filesystem::remove(file);
    // The test is meaningful only if enough lines succeed and enough fail.
    EXPECT_GT(done, refused / 2);
    EXPECT_GT(refused, done / 20);
}

TEST_F(RandomProgramTest, TheSameSeedGivesTheSameProgramAndOutcome) {
    const std::uint32_t seed = NumberFrom("ZEVA_SEED", 1);
    EXPECT_EQ(Program(seed), Program(seed));
    EXPECT_NE(Program(seed), Program(seed + 1));
    EXPECT_EQ(Outcome(Program(seed)), Outcome(Program(seed)));
}

}  // namespace
