// module_path_test.cpp - loading code for macOS as a module: the errors for files that the host cannot load.

#include <gtest/gtest.h>
#include <unistd.h>

#include <filesystem>
#include <fstream>
#include <string>

#include "host/runtime/errors.h"
#include "host/runtime/module.h"

namespace {

namespace fs = std::filesystem;

// The reason why a file cannot be loaded, without its path; empty if it loads.
std::string RefusalOf(const fs::path& file) {
    try {
        host::LoadEntryPoint(file);
    } catch (const host::HostError& error) {
        EXPECT_EQ(error.Subject(), "module " + file.string());
        return error.Problem();
    }
    return "";
}

class ModulePathTest : public testing::Test {
  protected:
    ~ModulePathTest() override { fs::remove_all(file); }

    void Write(std::uint32_t word) {
        std::ofstream(file, std::ios::binary).write(reinterpret_cast<const char*>(&word), sizeof word);
    }

    fs::path file = fs::temp_directory_path() / ("module_path_test_" + std::to_string(getpid()));
};

#ifdef ZEVA_TINY_OBJECT

TEST_F(ModulePathTest, RefusesDamagedObjectCodeWithTheReason) {
    Write(0xFEEDFACE);
    EXPECT_EQ(RefusalOf(file), "it cannot be loaded (header: bytes 0 to 28 are beyond the file's end at 4)");
    Write(0xFEEDFACF);
    EXPECT_EQ(RefusalOf(file), "it cannot be loaded (header: bytes 0 to 28 are beyond the file's end at 4)");
}

TEST_F(ModulePathTest, RefusesObjectCodeWithoutEntryPoint) {
    EXPECT_EQ(RefusalOf(ZEVA_TINY_OBJECT), "it has no entry point ZEVAPluginMain, so it is not a module");
    EXPECT_EQ(RefusalOf(ZEVA_TINY_BUNDLE), "it has no entry point ZEVAPluginMain, so it is not a module");
}

TEST_F(ModulePathTest, RefusesToLoadObjectCodeTwiceByAnyPath) {
    EXPECT_EQ(RefusalOf(ZEVA_FILTERS_OBJECT), "");
    fs::create_symlink(ZEVA_FILTERS_OBJECT, file);
    EXPECT_EQ(RefusalOf(file), "it is already loaded; a process can load a module only once");
}

TEST_F(ModulePathTest, RefusesToLoadABundleTwiceByItsFolderAndItsFile) {
    EXPECT_EQ(RefusalOf(ZEVA_FILTERS_BUNDLE "/Contents/MacOS/filters"), "");
    EXPECT_EQ(RefusalOf(ZEVA_FILTERS_BUNDLE), "it is already loaded; a process can load a module only once");
    fs::create_directory_symlink(ZEVA_FILTERS_BUNDLE, file);
    EXPECT_EQ(RefusalOf(file), "it is already loaded; a process can load a module only once");
}

#else

TEST_F(ModulePathTest, HostsOfAnotherWidthRefuseObjectCode) {
    for (const std::uint32_t magic : {0xFEEDFACEu, 0xFEEDFACFu}) {
        Write(magic);
        EXPECT_EQ(RefusalOf(file),
                  "it cannot be loaded (code for macOS: only the 32-bit build of this program can run it)");
    }
}

#endif

TEST_F(ModulePathTest, RefusesFoldersThatAreNotBundles) {
    fs::create_directories(file / "Contents" / "MacOS");
    EXPECT_EQ(RefusalOf(file),
              "it cannot be loaded (folder: it is not a bundle: it has no Contents/Info.plist that can be read)");
    const auto write = [&](const std::string& properties) {
        std::ofstream(file / "Contents" / "Info.plist") << properties;
    };
    const std::string key = "<plist><dict><key>CFBundleExecutable</key>\n";
    const std::string unnamed =
        "it cannot be loaded (Contents/Info.plist: its key CFBundleExecutable does not name a file)";
    for (const std::string& text : {std::string("<plist/>"), key, key + "<string></string>", key + "<string>a",
                                    key + "<string>../Info.plist</string>", key + "<string>..</string>"}) {
        write(text);
        EXPECT_EQ(RefusalOf(file), unnamed) << text;
    }
    write(key + "<string>kettle</string></dict></plist>");
    EXPECT_EQ(RefusalOf(file), "it cannot be loaded (Contents/MacOS/kettle: no such file)");
}

}  // namespace
