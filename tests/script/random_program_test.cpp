// random_program_test.cpp - whatever programs do with all classes of both modules: no crash, nothing lost, and the same
// again for the same seed.
//
// ZEVA_SEED sets the first seed and ZEVA_PROGRAMS how many programs there are. The program that runs is kept in the
// folder for temporary files and removed when it has gone through; what crashes is found there.

#include <gtest/gtest.h>
#include <unistd.h>

#include <algorithm>
#include <cstdlib>
#include <filesystem>
#include <fstream>

#include "host/script/script.h"
#include "tests/script/module_scripts.h"
#include "tests/script/random_program.h"

namespace {

std::uint32_t NumberFrom(const char* variable, std::uint32_t usual) {
    const char* text = std::getenv(variable);
    return text != nullptr ? static_cast<std::uint32_t>(std::strtoul(text, nullptr, 10)) : usual;
}

class RandomProgramTest : public testing::Test {
  protected:
    std::string Program(std::uint32_t seed) { return RandomProgram(host.Classes().All(), seed, kLines); }

    // Runs a program; answers the letters of its lines, or whatever else it let out.
    std::string Outcome(const std::string& program) {
        host::script::Script script(host);
        try {
            script.RunText(program, "random");
        } catch (const host::script::ScriptError& error) {
            return error.what();
        }
        return "it ended before its end";
    }

    static constexpr int kLines = 300;

    host::Host& host = HostWithModules();
};

TEST_F(RandomProgramTest, NothingCrashesAndNothingIsLost) {
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
    // Programs that do nothing, or nothing wrong, would show nothing.
    EXPECT_GT(done, refused / 2);
    EXPECT_GT(refused, done / 20);
}

TEST_F(RandomProgramTest, TheSameSeedGivesTheSameProgramAndTheSameOutcome) {
    const std::uint32_t seed = NumberFrom("ZEVA_SEED", 1);
    EXPECT_EQ(Program(seed), Program(seed));
    EXPECT_NE(Program(seed), Program(seed + 1));
    EXPECT_EQ(Outcome(Program(seed)), Outcome(Program(seed)));
}

}  // namespace
