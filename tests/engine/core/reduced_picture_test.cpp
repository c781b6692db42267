// reduced_picture_test.cpp - compares pictures at two scales, and counts the rows that this decodes and keeps.

#include "core/reduced_picture.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <memory>

#include "core/row_window.h"

namespace {

using namespace core_image;

constexpr std::size_t kWidth = 4096, kHeight = 4096, kFactor = 2;
constexpr double kShrinks = 16;
constexpr std::uint64_t kMegabyte = 1 << 20;

// A gray picture that is decoded row by row. Its columns alternate between two levels.
struct Stripes {
    std::size_t width, height;
    std::uint8_t even, odd;
    std::size_t rowsRead = 0;
    int rewinds = 0;
    std::uint64_t mostInUse = 0;

    const char* Read(std::uint8_t* rows, std::size_t count) {
        mostInUse = std::max(mostInUse, MemoryBudget::Default().Used());
        rowsRead += count;
        for (std::size_t i = 0; i < count * width * 4; ++i) rows[i] = i / 4 % 2 == 0 ? even : odd;
        return nullptr;
    }

    std::shared_ptr<RowWindow> Window() {
        const RowReader reader = {this,
                                  [](void* object, void* rows, std::size_t count) {
                                      return static_cast<Stripes*>(object)->Read(static_cast<std::uint8_t*>(rows),
                                                                                 count);
                                  },
                                  [](void* object) { ++static_cast<Stripes*>(object)->rewinds; }, [](void*) {}};
        return std::make_shared<RowWindow>(reader, nullptr, height, width * 4);
    }
};

Stripes Whole(std::uint8_t even, std::uint8_t odd) { return {kWidth, kHeight, even, odd}; }
Stripes Reduced(std::uint8_t level) { return {kWidth / kFactor, kHeight / kFactor, level, level}; }

TEST(ReducedPictureTest, PicturesThatLookAlikeAreComparedWithoutKeepingTheWholeOne) {
    Stripes whole = Whole(100, 100), reduced = Reduced(100);
    const auto rows = whole.Window(), some = reduced.Window();
    EXPECT_TRUE(
        LooksLikeWhole({rows.get(), kWidth, kHeight}, {some.get(), reduced.width, reduced.height}, kFactor, kShrinks));
    EXPECT_EQ(whole.rowsRead, kHeight / 16);
    // Two strips and the one that is decoded, of four; and one of the reduced picture.
    EXPECT_LE(whole.mostInUse, 4 * kMegabyte);
    EXPECT_EQ(MemoryBudget::Default().Used(), kMegabyte) << "the rows of the reduced picture";
}

TEST(ReducedPictureTest, WholePictureIsRenderedInOrderAfterTheComparison) {
    Stripes whole = Whole(100, 100), reduced = Reduced(100);
    const auto rows = whole.Window(), some = reduced.Window();
    EXPECT_TRUE(
        LooksLikeWhole({rows.get(), kWidth, kHeight}, {some.get(), reduced.width, reduced.height}, kFactor, kShrinks));
    whole.rowsRead = 0;
    for (std::size_t first = 0; first < kHeight; first += 64) static_cast<void>(rows->Rows(first, first + 63));
    EXPECT_EQ(whole.rowsRead, kHeight);
    EXPECT_EQ(whole.rewinds, 1);
    // A window whose requests are not in order keeps all of them.
    EXPECT_LE(whole.mostInUse, 12 * kMegabyte);
}

// The limit is a little less than one level.
TEST(ReducedPictureTest, PicturesThatDifferByOneLevelAreToldApart) {
    for (const std::uint8_t level : {std::uint8_t{99}, std::uint8_t{101}}) {
        Stripes whole = Whole(100, 100), reduced = Reduced(level);
        const auto rows = whole.Window(), some = reduced.Window();
        EXPECT_FALSE(LooksLikeWhole({rows.get(), kWidth, kHeight}, {some.get(), reduced.width, reduced.height}, kFactor,
                                    kShrinks));
    }
}

TEST(ReducedPictureTest, PicturesThatDifferAreToldApartByTheirFirstRowsWhichAreKept) {
    // The mean of the levels is far below that of the light.
    Stripes whole = Whole(0, 255), reduced = Reduced(128);
    const auto rows = whole.Window(), some = reduced.Window();
    EXPECT_FALSE(
        LooksLikeWhole({rows.get(), kWidth, kHeight}, {some.get(), reduced.width, reduced.height}, kFactor, kShrinks));
    const std::size_t read = whole.rowsRead;
    EXPECT_LE(read, rows->RowsPerStrip());
    static_cast<void>(rows->Rows(0, read - 1));
    EXPECT_EQ(whole.rowsRead, read);
    EXPECT_EQ(whole.rewinds, 0);
}

}  // namespace
