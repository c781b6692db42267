// lifetime_test.cpp - the host and its objects over time: references, bytes of callers, threads, forks, the end.

#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <cstdlib>
#include <thread>
#include <vector>

#include "tests/library/opened_library.h"

namespace {

class LibraryLifetimeTest : public testing::Test {
  protected:
    OpenedLibrary& library = OpenedLibrary::Get();
    std::array<unsigned char, 4> pixel = {200, 100, 50, 255};

    // An image of one pixel over bytes of the test.
    ZevaValue ImageOver(ZevaForget forget, void* context) {
        std::array<ZevaValue, 3> arguments = {};
        arguments[0].kind = kZevaObject;
        EXPECT_EQ(library.ZevaNewBlock(pixel.data(), 4, forget, context, &arguments[0].as.object), kZevaDone);
        arguments[1].kind = arguments[2].kind = kZevaInteger;
        arguments[1].as.integer = arguments[2].as.integer = 1;
        ZevaValue image;
        EXPECT_EQ(
            library.ZevaCall(nullptr, library.Member("CIImageQOR", "FromPixels", true), arguments.data(), 3, &image),
            kZevaDone)
            << library.Message();
        library.ZevaRelease(arguments[0].as.object);
        return image;
    }
};

TEST_F(LibraryLifetimeTest, HundredThousandObjectsLeaveNone) {
    const int64_t before = library.Objects();
    const ZevaClass* blur = library.Class("GaussianBlur");
    std::vector<ZevaObject*> objects(1000);
    for (int round = 0; round < 100; ++round) {
        for (ZevaObject*& object : objects) ASSERT_EQ(library.ZevaConstruct(blur, nullptr, 0, &object), kZevaDone);
        EXPECT_EQ(library.Objects(), before + 1000);
        for (ZevaObject* object : objects) library.ZevaRelease(object);
    }
    EXPECT_EQ(library.Objects(), before);
}

TEST_F(LibraryLifetimeTest, ImagesKeepTheBytesOfTheCallerUntilTheLastOneHasGone) {
    int forgotten = 0;
    ZevaValue image = ImageOver([](void* count) { ++*static_cast<int*>(count); }, &forgotten);
    ZevaValue rectangle, cropped;
    ASSERT_EQ(library.ZevaValueFromText("CIVectorQOR", "0,0,1,1", "rectangle", &rectangle), kZevaDone);
    ASSERT_EQ(library.ZevaCall(image.as.object, library.Member("CIImageQOR", "Crop"), &rectangle, 1, &cropped),
              kZevaDone);
    library.ZevaReleaseValue(&image);
    EXPECT_EQ(forgotten, 0);
    // The bytes are the caller's own, not a copy.
    pixel[0] = 10;
    ZevaValue pixels;
    ASSERT_EQ(library.ZevaCall(cropped.as.object, library.Member("CIImageQOR", "Pixels"), &rectangle, 1, &pixels),
              kZevaDone);
    void* bytes = nullptr;
    int32_t size = 0;
    ASSERT_EQ(library.ZevaBlockBytes(pixels.as.object, &bytes, &size), kZevaDone);
    EXPECT_EQ(*static_cast<unsigned char*>(bytes), 10);
    for (ZevaValue* value : {&pixels, &rectangle, &cropped}) library.ZevaReleaseValue(value);
    EXPECT_EQ(forgotten, 1);
}

// The lock is held while bytes are forgotten, so a release that waited for it would never return.
TEST_F(LibraryLifetimeTest, ReleaseDoesNotWaitForACallOfAnotherThread) {
    const int64_t before = library.Objects();
    static OpenedLibrary* const shared = &library;
    ZevaObject* blur = library.New("GaussianBlur");
    ZevaValue image = ImageOver(
        [](void* other) { std::thread([other] { shared->ZevaRelease(static_cast<ZevaObject*>(other)); }).join(); },
        blur);
    library.ZevaReleaseValue(&image);
    EXPECT_EQ(library.Objects(), before);
}

TEST_F(LibraryLifetimeTest, ThreadsTakeTurnsAndHaveErrorsOfTheirOwn) {
    const int64_t before = library.Objects();
    std::vector<std::thread> threads;
    for (int i = 0; i < 4; ++i) {
        threads.emplace_back([&, i] {
            const std::string name = "missing" + std::to_string(i);
            for (int round = 0; round < 200; ++round) {
                library.ZevaRelease(library.New("Bloom"));
                const ZevaClass* isa = nullptr;
                EXPECT_EQ(library.ZevaFindClass(name.c_str(), &isa), kZevaRefused);
                EXPECT_EQ(library.Message(), "class " + name + ": there is no such class");
            }
        });
    }
    for (std::thread& each : threads) each.join();
    EXPECT_EQ(library.Objects(), before);
}

TEST_F(LibraryLifetimeTest, ForkedProcessIsRefused) {
    ZevaObject* blur = library.New("GaussianBlur");
    const pid_t child = fork();
    if (child == 0) {
        const ZevaClass* isa = nullptr;
        const bool isRefused = library.ZevaFindClass("Bloom", &isa) == kZevaForked;
        library.ZevaRelease(blur);
        _exit(isRefused && library.Message().find("start a new process") != std::string::npos ? 0 : 1);
    }
    int status = -1;
    ASSERT_EQ(waitpid(child, &status, 0), child);
    EXPECT_EQ(status, 0);
    library.ZevaRelease(blur);
}

TEST_F(LibraryLifetimeTest, HostWithObjectsDoesNotClose) {
    ZevaObject* blur = library.New("GaussianBlur");
    EXPECT_EQ(library.ZevaCloseHost(), kZevaRefused);
    EXPECT_NE(library.Message().find("still referenced; the host remains"), std::string::npos);
    EXPECT_EQ(library.ZevaOpenHost(nullptr), kZevaRefused);
    EXPECT_EQ(library.Message(), "host: this process already has one");
    library.ZevaRelease(blur);
}

using LibraryEndTest = LibraryLifetimeTest;

// In a process of its own: nothing can load the modules a second time.
TEST_F(LibraryEndTest, ClosedHostIsGoneAndAnotherOneHasNoModules) {
    testing::FLAGS_gtest_death_test_style = "threadsafe";
    const auto closeAndOpen = [&] {
        const ZevaClass* isa = nullptr;
        bool isExpected = library.ZevaCloseHost() == kZevaDone && library.ZevaFindClass("Bloom", &isa) == kZevaRefused;
        isExpected = isExpected && library.Message() == "host: there is none, ZevaOpenHost makes it";
        ZevaHostOptions options = {};
        options.hasNoModules = 1;
        isExpected = isExpected && library.ZevaOpenHost(&options) == kZevaDone;
        isExpected = isExpected && library.ZevaFindClass("MemoryBlock", &isa) == kZevaDone;
        isExpected = isExpected && library.ZevaFindClass("Bloom", &isa) == kZevaRefused;
        std::_Exit(isExpected ? 0 : 1);
    };
    EXPECT_EXIT(closeAndOpen(), testing::ExitedWithCode(0), "");
}

}  // namespace
