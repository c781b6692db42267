// write_file_test.cpp - checks that a text replaces a file as a whole or not at all.

#include "host/runtime/write_file.h"

#include <gtest/gtest.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <unistd.h>

#include <csignal>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>
#include <vector>

#include "host/runtime/errors.h"

namespace {

namespace fs = std::filesystem;

class WriteFileTest : public testing::Test {
  protected:
    WriteFileTest() { fs::create_directory(folder_); }
    ~WriteFileTest() override { fs::remove_all(folder_); }

    static std::string Content(const fs::path& path) {
        std::ifstream file(path, std::ios::binary);
        return {std::istreambuf_iterator<char>(file), {}};
    }

    std::vector<std::string> Names() const {
        std::vector<std::string> names;
        for (const auto& entry : fs::directory_iterator(folder_)) names.push_back(entry.path().filename().string());
        return names;
    }

    const fs::path folder_ = fs::temp_directory_path() / ("zeva-write-" + std::to_string(getpid()));
    const fs::path file_ = folder_ / "a.txt";
};

TEST_F(WriteFileTest, WritesANewFileAndReplacesItWithItsMode) {
    host::WriteFile(file_, "one");
    EXPECT_EQ(Content(file_), "one");
    fs::permissions(file_, fs::perms{0640});
    host::WriteFile(file_, "two");
    EXPECT_EQ(Content(file_), "two");
    EXPECT_EQ(fs::status(file_).permissions(), fs::perms{0640});
    EXPECT_EQ(Names(), std::vector<std::string>{"a.txt"});
}

TEST_F(WriteFileTest, FollowsLinksToFilesThatExistOrDoNot) {
    for (const char* before : {"old", ""}) {
        const fs::path target = folder_ / "target", link = folder_ / "link";
        if (*before != '\0') std::ofstream(target) << before;
        fs::create_symlink("target", link);
        host::WriteFile(link, "new");
        EXPECT_TRUE(fs::is_symlink(link));
        EXPECT_EQ(Content(target), "new");
        fs::remove(link);
        fs::remove(target);
    }
}

TEST_F(WriteFileTest, LeavesTheFileWhenTheNewOneIsNotComplete) {
    std::ofstream(file_) << "before";
    std::signal(SIGXFSZ, SIG_IGN);
    rlimit usual;
    ASSERT_EQ(getrlimit(RLIMIT_FSIZE, &usual), 0);
    const rlimit small = {16, usual.rlim_max};
    ASSERT_EQ(setrlimit(RLIMIT_FSIZE, &small), 0);
    EXPECT_THROW(host::WriteFile(file_, std::string(100, 'x')), host::HostError);
    ASSERT_EQ(setrlimit(RLIMIT_FSIZE, &usual), 0);
    EXPECT_EQ(Content(file_), "before");
    EXPECT_EQ(Names(), std::vector<std::string>{"a.txt"});
}

TEST_F(WriteFileTest, DoesNotWriteThroughALinkThatWasLeftBesideTheFile) {
    std::ofstream(folder_ / "other") << "other";
    fs::create_symlink("other", folder_ / ".a.txt.zeva-part");
    host::WriteFile(file_, "text");
    EXPECT_EQ(Content(file_), "text");
    EXPECT_EQ(Content(folder_ / "other"), "other");
}

TEST_F(WriteFileTest, WritesToDevicesDirectlyAndSaysWhyItCannot) {
    EXPECT_NO_THROW(host::WriteFile("/dev/null", "text"));
    EXPECT_TRUE(fs::is_character_file("/dev/null"));
    try {
        host::WriteFile("/dev/full", "text");
        FAIL() << "nothing was thrown";
    } catch (const host::HostError& error) {
        EXPECT_STREQ(error.what(), "/dev/full: it cannot be written (no space left on device)");
    }
}

}  // namespace
