// comic_effect_test.cpp - checks properties of the comic effect that hold for any picture.

#include <gtest/gtest.h>

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <vector>

#include "generator/generator.h"
#include "support/oracle.h"

namespace {

using namespace oracle;

// Returns a row of opaque gray pixels.
ImageRef Grays(std::size_t count, const std::function<float(std::size_t)>& light) {
    std::vector<float> pixels;
    for (std::size_t x = 0; x < count; ++x) pixels.insert(pixels.end(), {light(x), light(x), light(x), 1});
    return SourceOf({0, 0, static_cast<std::int64_t>(count), 1}, pixels).image;
}

TEST(ComicEffectTest, WhiteAndBlackAreUnchanged) {
    for (const float light : {0.0f, 1.0f}) {
        const ImageRef image = Output("CIComicEffect", Grays(60, [=](std::size_t) { return light; }), {});
        ExpectPixels(image, {0, 0, 60, 1},
                     [=](auto, auto, std::size_t channel) { return channel == 3 ? 1 : static_cast<double>(light); });
    }
}

TEST(ComicEffectTest, DrawsABlackLineOnTheDarkSideOfAStrongEdge) {
    const ImageRef image = Output("CIComicEffect", Grays(60, [](std::size_t x) { return x < 30 ? 1.0f : 0.3f; }), {});
    const std::vector<float> row = Pixels(image, {0, 0, 60, 1});
    EXPECT_EQ(row[10 * 4], 1);
    float darkest = 1;
    for (std::size_t x = 30; x < 34; ++x) darkest = std::min(darkest, row[x * 4 + 1]);
    EXPECT_LT(darkest, 0.02f);  // less than a tenth of its neighbors; smoothing leaves an edge slightly gray
    EXPECT_GT(row[50 * 4 + 1] + row[53 * 4 + 1], 0.1f);
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

TEST(ComicEffectTest, UniformColorIsHalfItsNearestStepAndHalfDots) {
    // 0.25 is stored as 0.537. The nearest of six steps is 0.6, which is 0.3185 in linear light. Inside a dot only
    // half of that remains; between dots the light of white paper is added.
    const ImageRef image = Output("CIComicEffect", Grays(70, [](std::size_t) { return 0.25f; }), {});
    double lightest = 0, darkest = 1;
    for (std::size_t index = 0; index < 70; ++index) {
        const double light = Pixels(image, {static_cast<std::int64_t>(index), 0, 1, 1})[1];
        lightest = std::max(lightest, light);
        darkest = std::min(darkest, light);
    }
    EXPECT_NEAR(darkest, 0.3185 / 2, 1e-3);
    EXPECT_GT(lightest, 0.3185);
}

}  // namespace
