// file_test.mm - writing over what exists: modes, owners, links, pipes and devices; and paths that are not text.

#include <ImageIO/ImageIO.h>
#include "rendering.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <climits>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>
#include <thread>
#include <vector>

#include "tests/support/read_file.h"

namespace {

using std::filesystem::path;

CFURLRef URLFor(const std::string& name) {
    CFURLRef url = CFURLCreateFromFileSystemRepresentation(nullptr, reinterpret_cast<const UInt8*>(name.data()),
                                                           static_cast<CFIndex>(name.size()), false);
    return (CFURLRef)[(id)url autorelease];
}

std::string PathOf(CFURLRef url) {
    UInt8 bytes[PATH_MAX];
    if (!CFURLGetFileSystemRepresentation(url, true, bytes, sizeof bytes)) return "none";
    return reinterpret_cast<const char*>(bytes);
}

class FileTest : public testing::Test {
  protected:
    FileTest() { folder = mkdtemp(std::string("/tmp/zeva-file-XXXXXX").data()); }
    ~FileTest() override { std::filesystem::remove_all(folder); }

    // Writes a picture. Returns the error number, 0 for none.
    static int Write(const path& file) {
        CIImage* image = ImageOfBytes(2, 2, VariedBytes(2, 2));
        CGImageRef bitmap = [[CIContext contextWithOptions:nil] createCGImage:image fromRect:[image extent]];
        CGImageDestinationRef destination =
            CGImageDestinationCreateWithURL(URLFor(file), CFSTR("public.png"), 1, nullptr);
        CGImageDestinationAddImage(destination, bitmap, nullptr);
        const int error = CGImageDestinationFinalize(destination) ? 0 : errno;
        CFRelease(destination);
        CGImageRelease(bitmap);
        return error;
    }

    static void Create(const path& file, mode_t mode) {
        std::ofstream(file) << "before";
        ASSERT_EQ(chmod(file.c_str(), mode), 0);
    }

    static struct stat StatusOf(const path& file) {
        struct stat status = {};
        EXPECT_EQ(lstat(file.c_str(), &status), 0) << file;
        return status;
    }

    std::ptrdiff_t FileCount() {
        return std::distance(std::filesystem::directory_iterator(folder), std::filesystem::directory_iterator());
    }

    path folder;
};

TEST_F(FileTest, AnOverwrittenFileKeepsItsMode) {
    for (const mode_t mode : {0600, 0640, 0666, 0755}) {
        Create(folder / "a.png", mode);
        EXPECT_EQ(Write(folder / "a.png"), 0);
        EXPECT_EQ(StatusOf(folder / "a.png").st_mode & 07777, mode);
        EXPECT_EQ(ReadFile(folder / "a.png").substr(1, 3), "PNG");
    }
    EXPECT_EQ(FileCount(), 1);
}

TEST_F(FileTest, ANewFileHasTheModeOfTheProcess) {
    const mode_t before = umask(027);
    EXPECT_EQ(Write(folder / "a.png"), 0);
    umask(before);
    EXPECT_EQ(StatusOf(folder / "a.png").st_mode & 07777, mode_t{0640});
}

TEST_F(FileTest, AnOverwrittenFileKeepsItsOwner) {
    if (geteuid() != 0) GTEST_SKIP() << "only root can give a file away";
    Create(folder / "a.png", 0644);
    ASSERT_EQ(chown((folder / "a.png").c_str(), 1234, 4321), 0);
    EXPECT_EQ(Write(folder / "a.png"), 0);
    const struct stat status = StatusOf(folder / "a.png");
    EXPECT_EQ(status.st_uid, 1234u);
    EXPECT_EQ(status.st_gid, 4321u);
    EXPECT_EQ(status.st_mode & 07777, mode_t{0644});
}

TEST_F(FileTest, ALinkIsFollowedAndStays) {
    std::filesystem::create_directory(folder / "target");
    std::filesystem::create_symlink("target/a.png", folder / "relative.png");
    std::filesystem::create_symlink(folder / "relative.png", folder / "absolute.png");
    for (int i = 0; i < 2; ++i) {  // the target does not exist at first
        EXPECT_EQ(Write(folder / "absolute.png"), 0);
        EXPECT_TRUE(std::filesystem::is_symlink(folder / "absolute.png"));
        EXPECT_TRUE(std::filesystem::is_symlink(folder / "relative.png"));
        EXPECT_EQ(ReadFile(folder / "target/a.png").substr(1, 3), "PNG");
    }
    EXPECT_EQ(FileCount(), 3);
    std::filesystem::create_symlink("loop.png", folder / "loop.png");
    EXPECT_EQ(Write(folder / "loop.png"), ELOOP);
}

TEST_F(FileTest, OtherNamesOfAReplacedFileKeepTheOldContent) {
    Create(folder / "a.png", 0640);
    const std::string before = ReadFile(folder / "a.png");
    std::filesystem::create_hard_link(folder / "a.png", folder / "backup.png");
    EXPECT_EQ(Write(folder / "a.png"), 0);
    EXPECT_EQ(ReadFile(folder / "a.png").substr(1, 3), "PNG");
    EXPECT_EQ(ReadFile(folder / "backup.png"), before);
    EXPECT_EQ(StatusOf(folder / "a.png").st_mode & 07777, mode_t{0640});
    EXPECT_EQ(FileCount(), 2);
}

TEST_F(FileTest, APipeAndADeviceAreWrittenToAndStay) {
    ASSERT_EQ(mkfifo((folder / "pipe").c_str(), 0600), 0);
    std::string read;
    std::thread reader([&] { read = ReadFile(folder / "pipe"); });
    EXPECT_EQ(Write(folder / "pipe"), 0);
    reader.join();
    EXPECT_EQ(read.substr(1, 3), "PNG");
    EXPECT_TRUE(S_ISFIFO(StatusOf(folder / "pipe").st_mode));
    std::filesystem::create_symlink("/dev/null", folder / "null");
    EXPECT_EQ(Write(folder / "null"), 0);
    EXPECT_TRUE(std::filesystem::is_symlink(folder / "null"));
    EXPECT_EQ(FileCount(), 2);
}

TEST_F(FileTest, AFileWithoutANameIsWrittenTo) {
    const path file = folder / "a.png";
    const int descriptor = open(file.c_str(), O_RDWR | O_CREAT, 0600);
    ASSERT_EQ(write(descriptor, "before, and longer than the picture", 35), 35);
    std::filesystem::remove(file);
    EXPECT_EQ(Write("/proc/self/fd/" + std::to_string(descriptor)), 0);
    char bytes[4] = {};
    EXPECT_EQ(pread(descriptor, bytes, sizeof bytes, 0), 4);
    EXPECT_EQ(std::memcmp(bytes, "\x89PNG", 4), 0);
    close(descriptor);
    EXPECT_EQ(FileCount(), 0);
}

TEST_F(FileTest, AFileWithoutWritePermissionIsRefused) {
    constexpr uid_t kNobody = 65534;
    Create(folder / "a.png", 0444);
    ASSERT_EQ(chmod(folder.c_str(), 0777), 0);  // the folder would permit replacing the file
    const uid_t user = geteuid();
    if (user == 0) ASSERT_EQ(seteuid(kNobody), 0);  // root may write every file
    EXPECT_EQ(Write(folder / "a.png"), EACCES);
    ASSERT_EQ(seteuid(user), 0);
    EXPECT_EQ(ReadFile(folder / "a.png"), "before");
}

TEST_F(FileTest, FailuresHaveTheNumberOfTheSystemAndLeaveNothingBehind) {
    EXPECT_EQ(Write("/dev/full"), ENOSPC);
    EXPECT_EQ(Write(folder / "none" / "a.png"), ENOENT);
    EXPECT_EQ(Write(folder), EISDIR);
    EXPECT_EQ(Write(folder / std::string(256, 'n')), ENAMETOOLONG);
    EXPECT_EQ(FileCount(), 0);
    EXPECT_EQ(Write(folder / std::string(255, 'n')), 0);
    EXPECT_EQ(FileCount(), 1);
}

TEST_F(FileTest, WhatAKilledWriterLeftIsTakenOver) {
    Create(folder / ".a.png.zeva-part", 0600);
    EXPECT_EQ(Write(folder / "a.png"), 0);
    EXPECT_EQ(FileCount(), 1);
    EXPECT_EQ(ReadFile(folder / "a.png").substr(1, 3), "PNG");
}

TEST_F(FileTest, AnotherWriterIsWaitedFor) {
    const path part = folder / ".a.png.zeva-part";
    const int other = open(part.c_str(), O_WRONLY | O_CREAT | O_CLOEXEC, 0666);
    ASSERT_EQ(flock(other, LOCK_EX), 0);
    std::thread writer([&] {
        usleep(50'000);
        EXPECT_FALSE(std::filesystem::exists(folder / "a.png"));
        std::filesystem::rename(part, folder / "a.png");
        close(other);
    });
    EXPECT_EQ(Write(folder / "a.png"), 0);
    writer.join();
    EXPECT_EQ(FileCount(), 1);
    EXPECT_EQ(ReadFile(folder / "a.png").substr(1, 3), "PNG");
}

TEST_F(FileTest, AFileOfAnotherNameIsNotWrittenByWayOfTheUnfinishedOne) {
    Create(folder / "mine.txt", 0644);
    std::filesystem::create_hard_link(folder / "mine.txt", folder / ".a.png.zeva-part");
    EXPECT_EQ(Write(folder / "a.png"), 0);
    std::filesystem::create_symlink(folder / "mine.txt", folder / ".b.png.zeva-part");
    EXPECT_EQ(Write(folder / "b.png"), ELOOP);
    EXPECT_EQ(ReadFile(folder / "mine.txt"), "before");
}

TEST_F(FileTest, SyncedFilesAreWrittenAsOthers) {
    CGImageDestinationSetSynced(true);
    EXPECT_EQ(Write(folder / "a.png"), 0);
    CGImageDestinationSetSynced(false);
    EXPECT_EQ(Write(folder / "b.png"), 0);
    EXPECT_EQ(ReadFile(folder / "a.png"), ReadFile(folder / "b.png"));
}

TEST_F(FileTest, UrlsHoldTheBytesOfEveryPath) {
    std::string bytes = "/";
    for (int byte = 1; byte < 256; ++byte) bytes += static_cast<char>(byte);
    for (const std::string& name : {bytes, std::string("/caf\xe9.png"), std::string("/a b/%41?c#d;e")}) {
        EXPECT_EQ(PathOf(URLFor(name)), name);
    }
    EXPECT_EQ(PathOf(URLFor("a.png")), (std::filesystem::current_path() / "a.png").string());
    EXPECT_EQ(PathOf((CFURLRef)[NSURL fileURLWithPath:@"/Gr\u00fc\u00dfe, a b%41?.png"]),
              "/Gr\u00fc\u00dfe, a b%41?.png");
    EXPECT_EQ(PathOf((CFURLRef)[NSURL URLWithString:@"http://a.example/b"]), "none");
    EXPECT_EQ(PathOf((CFURLRef)[NSURL URLWithString:@"file:///a%00b"]), "none");
    UInt8 small[4];
    EXPECT_FALSE(CFURLGetFileSystemRepresentation(URLFor("/abc"), true, small, sizeof small));
    EXPECT_TRUE(CFURLGetFileSystemRepresentation(URLFor("/ab"), true, small, sizeof small));
}

TEST_F(FileTest, FilesWithNamesThatAreNotTextAreWrittenAndRead) {
    const path file = folder / "caf\xe9\n.png";
    EXPECT_EQ(Write(file), 0);
    CGImageSourceRef source = CGImageSourceCreateWithURL(URLFor(file), nullptr);
    EXPECT_EQ(CGImageSourceGetStatus(source), kCGImageStatusComplete);
    CFRelease(source);
    EXPECT_EQ(CGImageSourceCreateWithURL(URLFor(folder / "caf\u00e9\n.png"), nullptr), nullptr);
    EXPECT_EQ(errno, ENOENT);
    EXPECT_EQ(CGImageSourceCreateWithURL(URLFor(folder), nullptr), nullptr);
    EXPECT_EQ(errno, EINVAL);
}

}  // namespace
