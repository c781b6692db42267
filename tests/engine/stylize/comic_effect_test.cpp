// comic_effect_test.cpp - checks the tones and lines of the comic effect.

#include <gtest/gtest.h>

#include <array>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <vector>

#include "core/transfer.h"
#include "support/oracle.h"

namespace {

using namespace oracle;
using Color = std::array<float, 3>;  // encoded

constexpr Color kBlack = {33, 20, 19}, kRed = {235, 58, 42}, kTan = {231, 158, 72}, kWhite = {255, 255, 255};

// Returns the comic of opaque pixels, 21 x 21, in bytes per color, top row first.
std::vector<Color> ComicOf(const std::function<Color(int x, int y)>& color) {
    std::vector<float> pixels;
    for (int y = 20; y >= 0; --y) {
        for (int x = 0; x < 21; ++x) {
            for (const float value : color(x, y)) pixels.push_back(DecodeSRGB(value));
            pixels.push_back(1);
        }
    }
    std::vector<float> drawn =
        Pixels(Output("CIComicEffect", SourceOf({0, 0, 21, 21}, pixels).image, {}), {0, 0, 21, 21});
    std::vector<Color> colors;
    for (std::size_t index = 0; index < drawn.size(); index += 4) {
        Color bytes;
        for (std::size_t channel = 0; channel < 3; ++channel) {
            const float light = drawn[index + channel];
            bytes[channel] =
                light <= 0.0031308f ? 255 * 12.92f * light : 255 * (1.055f * std::pow(light, 1 / 2.4f) - 0.055f);
        }
        EXPECT_EQ(drawn[index + 3], 1);
        colors.push_back(bytes);
    }
    return colors;
}

void ExpectColor(const Color& color, const Color& expected) {
    for (std::size_t channel = 0; channel < 3; ++channel) EXPECT_NEAR(color[channel], expected[channel], 0.05f);
}

TEST(ComicEffectTest, BrightestColorDecidesBetweenBlackRedAndTan) {
    const auto middle = [](const Color& color) { return ComicOf([&](int, int) { return color; })[10 * 21 + 10]; };
    ExpectColor(middle({0, 0, 0}), kBlack);
    ExpectColor(middle({0.3f, 0.1f, 0.3f}), kBlack);
    ExpectColor(middle({0.5f, 0.5f, 0.5f}), kRed);
    ExpectColor(middle({0.1f, 0.5f, 0}), kRed);
    ExpectColor(middle({0.8f, 0.5f, 0.2f}), kTan);
    ExpectColor(middle({0.2f, 0.8f, 0.2f}), kTan);
}

TEST(ComicEffectTest, BlueEnoughIsWhite) {
    const auto middle = [](const Color& color) { return ComicOf([&](int, int) { return color; })[10 * 21 + 10]; };
    ExpectColor(middle({1, 1, 1}), kWhite);
    ExpectColor(middle({0.3f, 0.6f, 0.8f}), kWhite);
    ExpectColor(middle({0.1f, 0.2f, 0.7f}), kWhite);
}

TEST(ComicEffectTest, DrawsABlackLineOnEdgesAndAFrameOfOnePixel) {
    const std::vector<Color> comic = ComicOf([](int x, int) {
        return x < 11 ? Color{1, 1, 1} : Color{0.8f, 0.2f, 0.1f};
    });
    const auto at = [&](std::size_t x, std::size_t y) { return comic[y * 21 + x]; };
    ExpectColor(at(10, 10), kBlack);
    ExpectColor(at(11, 10), kBlack);
    ExpectColor(at(9, 10), kWhite);
    ExpectColor(at(12, 10), kTan);
    for (std::size_t place = 0; place < 21; ++place) {
        ExpectColor(at(0, place), kBlack);
        ExpectColor(at(place / 2, 20), kBlack);
    }
    ExpectColor(at(1, 1), kWhite);
}

TEST(ComicEffectTest, AlphaIsUnchangedAndColorsStayWithinIt) {
    Random random;
    const Source source = RandomSource(random);
    const std::vector<float> pixels = Pixels(Output("CIComicEffect", source.image, {}), source.region);
    for (std::size_t index = 0; index < pixels.size(); index += 4) {
        const float alpha = pixels[index + 3];
        EXPECT_FLOAT_EQ(alpha, source.pixels[index + 3]);
        for (std::size_t channel = 0; channel < 3; ++channel) {
            EXPECT_GE(pixels[index + channel], 0);
            EXPECT_LE(pixels[index + channel], alpha * 1.00001f);
        }
    }
}

}  // namespace
