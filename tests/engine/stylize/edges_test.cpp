// edges_test.cpp - compares edges and edge work with their formulas in doubles.

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <vector>

#include "blur/slow_blur.h"

namespace {

using namespace oracle;

TEST(EdgesTest, AddTheSquaredDifferencesOfTwoDiagonals) {
    Random random;
    for (int round = 0; round < 12; ++round) {
        const Source source = RandomSource(random);
        const double intensity = random.Between(0, 10);
        const ImageRef image = Output("CIEdges", source.image, {{"inputIntensity", {intensity}}});
        EXPECT_EQ(image->GetExtent(), Extent::Of(source.region));
        ExpectPixels(image, source.region, [&](std::int64_t x, std::int64_t y, std::size_t channel) {
            const auto at = [&](std::int64_t px, std::int64_t py) { return source.At(px, py, channel); };
            if (channel == 3) return at(x, y);
            const double falling = at(x, y) - at(x + 1, y - 1), rising = at(x + 1, y) - at(x, y - 1);
            return intensity * (falling * falling + rising * rising);
        });
    }
}

TEST(EdgesTest, RedBesideBlackGivesARedLineOnePixelWide) {
    std::vector<float> pixels;
    for (int index = 0; index < 12; ++index) pixels.insert(pixels.end(), {index % 4 < 2 ? 1.0f : 0.0f, 0, 0, 1});
    const ImageRef image = Output("CIEdges", SourceOf({0, 0, 4, 3}, pixels).image, {{"inputIntensity", {3}}});
    EXPECT_EQ(Pixels(image, {0, 1, 4, 1}), (std::vector<float>{0, 0, 0, 1, 6, 0, 0, 1, 0, 0, 0, 1, 0, 0, 0, 1}));
}

TEST(EdgesTest, TransparentSurroundingsLightUpTheFrameBelowAndOnTheRight) {
    const ImageRef image =
        Output("CIEdges", SourceOf({0, 0, 3, 3}, std::vector<float>(36, 0.5f)).image, {{"inputIntensity", {2}}});
    ExpectPixels(image, {0, 0, 3, 3}, [](std::int64_t x, std::int64_t y, std::size_t channel) {
        if (channel == 3) return 0.5;
        return x == 2 && y == 0 ? 0.5 : x == 2 || y == 0 ? 1 : 0;
    });
}

TEST(EdgesTest, ZeroIntensityGivesBlack) {
    const ImageRef image = Output("CIEdges", RandomImage(4, 4), {{"inputIntensity", {0}}});
    const std::vector<float> pixels = Pixels(image, {0, 0, 4, 4});
    for (std::size_t index = 0; index < pixels.size(); ++index)
        if (index % 4 != 3) EXPECT_EQ(pixels[index], 0);
}

TEST(EdgeWorkTest, MatchesTheFormula) {
    Random random;
    for (const double radius : {0.0, 0.6, 2.5, 3.9, 5.5}) {
        const Source source = RandomSource(random);
        const ImageRef image = Output("CIEdgeWork", source.image, {{"inputRadius", {radius}}});
        const auto reach = static_cast<std::int64_t>(std::ceil(3 * radius));
        const Region& all = source.region;
        EXPECT_EQ(image->GetExtent(), Extent::Of(all.GrownBy(reach)));
        const Slow tone = [&](std::int64_t x, std::int64_t y, std::size_t) {
            return 0.2125 * Clipped(source, x, y, 0) + 0.7154 * Clipped(source, x, y, 1) +
                   0.0721 * Clipped(source, x, y, 2);
        };
        const SlowGaussian around(tone, radius, all);
        const Slow brighter = [&](std::int64_t x, std::int64_t y, std::size_t) {
            if (!all.Contains(x, y)) return 0.0;
            return std::clamp(0.45 + 80 * (tone(x, y, 0) - around(x, y, 0)), 0.0, 1.0);
        };
        const SlowGaussian smooth(brighter, radius, all.GrownBy(reach));
        // The tolerance is large because the first blur's error of 1e-5 is multiplied by 800.
        ExpectPixels(
            image, all.GrownBy(reach),
            [&](std::int64_t x, std::int64_t y, std::size_t) {
                return std::clamp(0.5 + 10 * (smooth(x, y, 0) - 0.5), 0.0, 1.0);
            },
            1e-2);
    }
}

// Returns the alpha of a row of edge work of two grays side by side.
std::vector<float> RowAcrossTwoGrays() {
    std::vector<float> pixels;
    for (int index = 0; index < 80 * 60; ++index) {
        const float light = index % 80 < 40 ? 0.8f : 0.3f;
        pixels.insert(pixels.end(), {light, light, light, 1});
    }
    const ImageRef image = Output("CIEdgeWork", SourceOf({0, 0, 80, 60}, pixels).image, {{"inputRadius", {2}}});
    const std::vector<float> row = Pixels(image, {-6, 30, 92, 1});
    std::vector<float> alphas;
    for (std::size_t index = 0; index < row.size(); index += 4) {
        for (std::size_t channel = 0; channel < 3; ++channel) EXPECT_EQ(row[index + channel], row[index + 3]);
        alphas.push_back(row[index + 3]);
    }
    return alphas;
}

TEST(EdgeWorkTest, DrawsTheBrightSideOfAnEdgeInWhiteAndLeavesTheRestClear) {
    const std::vector<float> alphas = RowAcrossTwoGrays();
    const auto at = [&](std::size_t x) { return alphas[x + 6]; };
    for (const std::size_t x : {37u, 38u, 39u}) EXPECT_EQ(at(x), 1) << x;
    for (const std::size_t x : {15u, 24u, 41u, 42u, 50u, 60u}) EXPECT_NEAR(at(x), 0, 0.01) << x;
}

TEST(EdgeWorkTest, FramesThePictureInWhiteAndShowsNothingOutside) {
    const std::vector<float> alphas = RowAcrossTwoGrays();
    for (const std::size_t x : {0u, 5u, 86u, 91u}) EXPECT_EQ(alphas[x], 0) << x;
    for (const std::size_t x : {7u, 8u, 83u, 84u}) EXPECT_EQ(alphas[x], 1) << x;
}

TEST(EdgeWorkTest, WithoutRadiusNothingIsDrawn) {
    const ImageRef image = Output("CIEdgeWork", RandomImage(9, 7), {{"inputRadius", {0}}});
    EXPECT_EQ(Pixels(image, {0, 0, 9, 7}), std::vector<float>(9 * 7 * 4, 0.0f));
}

}  // namespace
