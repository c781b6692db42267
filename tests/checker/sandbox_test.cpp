// sandbox_test.cpp - what a process in the sandbox can do, what it is refused, and that each try is noted.

#include "host/checker/sandbox.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <spawn.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <functional>
#include <map>
#include <string>
#include <system_error>
#include <thread>
#include <vector>

#include "tests/checker/child_works.h"

namespace checker {
namespace {

namespace fs = std::filesystem;

// Returns a name for what a call returned, so that the parent can compare it.
std::string Outcome(long result) { return result >= 0 ? "done" : strerrorname_np(errno); }

std::string OutcomeOfOpening(const std::string& path, int flags) {
    const int file = open(path.c_str(), flags, 0600);
    const std::string outcome = Outcome(file);
    if (file >= 0) close(file);
    return outcome;
}

// What the child can try, by name. The argument is the private folder.
const std::map<std::string, std::function<std::string(const std::string&)>>& Attempts() {
    static const std::map<std::string, std::function<std::string(const std::string&)>> attempts = {
        {"write inside", [](const std::string& f) { return OutcomeOfOpening(f + "/new", O_CREAT | O_WRONLY); }},
        {"write outside", [](const std::string& f) { return OutcomeOfOpening(f + "-other", O_CREAT | O_WRONLY); }},
        {"read outside", [](const std::string& f) { return OutcomeOfOpening(f + "-secret", O_RDONLY); }},
        {"read the system's", [](const std::string&) { return OutcomeOfOpening("/etc/hostname", O_RDONLY); }},
        {"read what is not there", [](const std::string& f) { return OutcomeOfOpening(f + "-none", O_RDONLY); }},
        {"write the system's", [](const std::string&) { return OutcomeOfOpening("/etc/hostname", O_WRONLY); }},
        {"make a folder", [](const std::string& f) { return Outcome(mkdir((f + "-folder").c_str(), 0700)); }},
        {"remove", [](const std::string& f) { return Outcome(unlink((f + "-secret").c_str())); }},
        {"rename", [](const std::string& f) { return Outcome(std::rename((f + "-secret").c_str(), "/tmp/x")); }},
        {"open a socket", [](const std::string&) { return Outcome(socket(AF_INET, SOCK_STREAM, 0)); }},
        {"open a local socket", [](const std::string&) { return Outcome(socket(AF_UNIX, SOCK_STREAM, 0)); }},
        {"run a program",
         [](const std::string&) { return Outcome(execl("/bin/true", "true", static_cast<char*>(nullptr))); }},
        {"fork",
         [](const std::string&) {
             const pid_t process = fork();
             if (process == 0) _exit(0);
             return Outcome(process);
         }},
        {"spawn",
         [](const std::string&) {
             char name[] = "true";
             char* arguments[] = {name, nullptr};
             errno = posix_spawn(nullptr, "/bin/true", nullptr, nullptr, arguments, environ);
             return Outcome(errno == 0 ? 0 : -1);
         }},
        {"start a thread",
         [](const std::string&) {
             std::string outcome = "no thread";
             std::thread([&] { outcome = "done"; }).join();
             return outcome;
         }},
        {"use the home folder", [](const std::string&) {
             return OutcomeOfOpening(std::string(std::getenv("HOME")) + "/settings", O_CREAT | O_WRONLY);
         }}};
    return attempts;
}

class SandboxTest : public testing::Test {
  protected:
    SandboxTest() {
        std::string pattern = (fs::temp_directory_path() / "sandbox-XXXXXX").native();
        folder = mkdtemp(pattern.data());
        std::fclose(std::fopen((folder.native() + "-secret").c_str(), "w"));
    }
    ~SandboxTest() override {
        fs::remove_all(folder);
        for (const char* end : {"-secret", "-other", "-folder"}) fs::remove(folder.native() + end);
    }
    void SetUp() override {
        if (const std::string obstacle = ObstacleToSandbox(); !obstacle.empty()) GTEST_SKIP() << obstacle;
    }

    // Returns how an attempt ended in the sandbox, and what was noted: "EACCES, opening \"/etc/x\"".
    std::string Try(const std::string& attempt) {
        const ChildResult child = RunInChild("try in the sandbox", attempt + "\n" + folder.native(), kLimit);
        EXPECT_TRUE(child.Succeeded()) << FailureText(child) << child.output;
        std::string text = child.text;
        for (const checker::Try& each : child.tries) {
            EXPECT_EQ(each.step, "trying to " + attempt);
            text += ", " + each.what;
        }
        return text;
    }

    // The note about a path beside the private folder.
    std::string Beside(const char* words, const char* end) const {
        return std::string(words) + " \"" + folder.native() + end + "\"";
    }

    static constexpr std::chrono::duration<double> kLimit{20};
    fs::path folder;
};

TEST_F(SandboxTest, AllowsThePrivateFolderSystemFilesAndThreads) {
    for (const char* attempt : {"write inside", "read the system's", "start a thread", "use the home folder"}) {
        EXPECT_EQ(Try(attempt), "done") << attempt;
    }
    EXPECT_TRUE(fs::exists(folder / "new"));
    EXPECT_TRUE(fs::exists(folder / "settings"));
}

TEST_F(SandboxTest, RefusesOtherFilesAndNotesTheirPaths) {
    EXPECT_EQ(Try("write outside"), "EACCES, " + Beside("opening", "-other"));
    EXPECT_EQ(Try("read outside"), "EACCES, " + Beside("opening", "-secret"));
    EXPECT_EQ(Try("write the system's"), "EACCES, opening \"/etc/hostname\"");
    EXPECT_EQ(Try("make a folder"), "EACCES, " + Beside("creating", "-folder"));
    EXPECT_EQ(Try("remove"), "EACCES, " + Beside("removing", "-secret"));
    EXPECT_EQ(Try("rename"), "EACCES, " + Beside("renaming", "-secret"));
    EXPECT_TRUE(fs::exists(folder.native() + "-secret"));
    EXPECT_FALSE(fs::exists(folder.native() + "-other"));
}

TEST_F(SandboxTest, ReportsAMissingFileAsMissing) { EXPECT_EQ(Try("read what is not there"), "ENOENT"); }

TEST_F(SandboxTest, RefusesLocalSocketsWithoutANote) { EXPECT_EQ(Try("open a local socket"), "EACCES"); }

TEST_F(SandboxTest, RefusesSocketsProgramsAndProcesses) {
    EXPECT_EQ(Try("open a socket"), "EPERM, opening a socket");
    EXPECT_EQ(Try("run a program"), "EPERM, running a program");
    EXPECT_EQ(Try("fork"), "EPERM, starting a process");
}

TEST_F(SandboxTest, EndsAProcessThatSpawnsAnotherAndNotesTheTry) {
    const ChildResult child = RunInChild("try in the sandbox", "spawn\n" + folder.native(), kLimit);
    EXPECT_EQ(FailureText(child), "SIGSYS while trying to spawn");
    EXPECT_EQ(child.tries, (std::vector<checker::Try>{{"trying to spawn", "starting a process"}}));
}

}  // namespace

ChildWork SandboxWork() {
    return {"try in the sandbox", [](const std::string& argument) {
                const std::size_t end = argument.find('\n');
                const std::string attempt = argument.substr(0, end), folder = argument.substr(end + 1);
                NoteStep("trying to " + attempt);
                EnterSandbox({.folder = folder, .readable = {}});
                return Attempts().at(attempt)(folder);
            }};
}

}  // namespace checker
