// lossy_coding_test.cpp - tests what compression keeps of a picture and what it changes.

#include "lossy_coding.h"

#include <gtest/gtest.h>

#include <cstddef>
#include <cstdint>

namespace {

using golden::Picture;

// A picture of gray noise, with alpha by column.
Picture Noise(bool isOpaque) {
    Picture picture{32, 32, {}};
    std::uint32_t bits = 1;
    for (std::size_t index = 0; index < 32 * 32; ++index) {
        bits = bits * 1664525 + 1013904223;
        const auto alpha = static_cast<std::uint8_t>(isOpaque ? 255 : index % 32 * 8);
        const auto gray = static_cast<std::uint8_t>((bits >> 24) * alpha / 255);
        picture.pixels.insert(picture.pixels.end(), {gray, gray, gray, alpha});
    }
    return picture;
}

TEST(LossyCodingTest, ChangesColorsByLessAtHigherQuality) {
    const Picture picture = Noise(/*isOpaque=*/true);
    const auto rms = [&](float quality) {
        return golden::Compare(*golden::Coded(picture, {quality, 4}), picture)->rms;
    };
    EXPECT_GT(rms(10), rms(75));
    EXPECT_GT(rms(75), 1);
    EXPECT_LT(rms(100), 5);
}

TEST(LossyCodingTest, KeepsAlphaExactly) {
    for (const bool isOpaque : {true, false}) {
        const Picture picture = Noise(isOpaque), coded = *golden::Coded(picture, {75, 4});
        ASSERT_EQ(coded.pixels.size(), picture.pixels.size());
        for (std::size_t index = 3; index < picture.pixels.size(); index += 4)
            ASSERT_EQ(coded.pixels[index], picture.pixels[index]) << index;
    }
}

TEST(LossyCodingTest, PictureWithoutPixelsIsEmpty) { EXPECT_FALSE(golden::Coded({}, {75, 4}).has_value()); }

}  // namespace
