// edges_test.cpp - edges and the woodcut of edges, against their formulas in doubles.

#include "blur/slow_blur.h"

namespace {

using namespace oracle;

TEST(EdgesTest, AreTheLengthOfTheSlopeOfEachColor) {
    Random random;
    for (int round = 0; round < 12; ++round) {
        const Source source = RandomSource(random);
        const double intensity = random.Between(0, 10);
        const ImageRef image = Output("CIEdges", source.image, {{"inputIntensity", {intensity}}});
        EXPECT_EQ(image->GetExtent(), Extent::Of(source.region));
        ExpectPixels(image, source.region, [&](std::int64_t x, std::int64_t y, std::size_t channel) {
            const auto at = [&](std::int64_t px, std::int64_t py) { return AtNearest(source, px, py, channel); };
            if (channel == 3) return at(x, y);
            return intensity * std::hypot(at(x + 1, y) - at(x - 1, y), at(x, y + 1) - at(x, y - 1)) / 2;
        });
    }
}

TEST(EdgesTest, RedBesideBlackIsARedLineTwoPixelsWide) {
    std::vector<float> pixels;
    for (int x = 0; x < 4; ++x) pixels.insert(pixels.end(), {x < 2 ? 1.0f : 0.0f, 0, 0, 1});
    const ImageRef image = Output("CIEdges", SourceOf({0, 0, 4, 1}, pixels).image, {{"inputIntensity", {3}}});
    EXPECT_EQ(Pixels(image, {0, 0, 4, 1}), (std::vector<float>{0, 0, 0, 1, 1.5f, 0, 0, 1, 1.5f, 0, 0, 1, 0, 0, 0, 1}));
}

TEST(EdgesTest, OfIntensityZeroAreBlack) {
    const ImageRef image = Output("CIEdges", RandomImage(4, 4), {{"inputIntensity", {0}}});
    const std::vector<float> pixels = Pixels(image, {0, 0, 4, 4});
    for (std::size_t index = 0; index < pixels.size(); ++index)
        if (index % 4 != 3) EXPECT_EQ(pixels[index], 0);
}

double Luminance(const Source& source, std::int64_t x, std::int64_t y) {
    return 0.2125 * Clipped(source, x, y, 0) + 0.7154 * Clipped(source, x, y, 1) + 0.0721 * Clipped(source, x, y, 2);
}

TEST(EdgeWorkTest, IsWhiteButWhereAPixelIsDarkerThanItsSurroundings) {
    Random random;
    for (const double radius : {0.0, 0.6, 2.5, 3.9, 5.5}) {
        const Source source = RandomSource(random);
        const ImageRef image = Output("CIEdgeWork", source.image, {{"inputRadius", {radius}}});
        EXPECT_EQ(image->GetExtent(), Extent::Of(source.region));
        const Region& all = source.region;
        const Slow tone = [&](std::int64_t x, std::int64_t y, std::size_t channel) {
            x = std::clamp(x, all.x, all.Right() - 1);
            y = std::clamp(y, all.y, all.Top() - 1);
            return channel == 3 ? 0.0 : Luminance(source, x, y);
        };
        const SlowGaussian sharp(tone, std::min(radius / 3, 1.0), all), blurred(tone, radius, all);
        // Why so much: the blur's own 1e-5 counts eight times, and in the dark fifty times more.
        ExpectPixels(
            image, all,
            [&](std::int64_t x, std::int64_t y, std::size_t channel) {
                const double own = sharp(x, y, 0), around = blurred(x, y, 0), alpha = Clipped(source, x, y, 3);
                if (channel == 3) return alpha;
                return std::clamp(1 + 8 * ((own - around) / (around + 0.02) + 0.05), 0.0, 1.0) * alpha;
            },
            2e-3);
    }
}

TEST(EdgeWorkTest, LeavesEvenAreasWhiteAndDrawsTheDarkSideOfAnEdgeBlack) {
    std::vector<float> pixels;
    for (int x = 0; x < 40; ++x) {
        const float light = x < 20 ? 0.8f : 0.3f;
        pixels.insert(pixels.end(), {light, light, light, 1});
    }
    const ImageRef image = Output("CIEdgeWork", SourceOf({0, 0, 40, 1}, pixels).image, {{"inputRadius", {2}}});
    const std::vector<float> row = Pixels(image, {0, 0, 40, 1});
    const auto tone = [&](std::size_t x) { return row[x * 4]; };
    for (const std::size_t even : {0u, 5u, 19u, 35u, 39u}) EXPECT_EQ(tone(even), 1) << even;
    EXPECT_EQ(tone(20), 0);
    EXPECT_EQ(tone(21), 0);
    EXPECT_EQ(row[20 * 4 + 1], 0);
    EXPECT_EQ(row[20 * 4 + 3], 1);
}

TEST(EdgeWorkTest, ARadiusBeyondThePictureIsThePictureSLongerSide) {
    const ImageRef source = RandomImage(9, 7);
    const auto render = [&](double radius) {
        return Pixels(Output("CIEdgeWork", source, {{"inputRadius", {radius}}}), {0, 0, 9, 7});
    };
    EXPECT_EQ(render(1e30), render(9));
    EXPECT_NE(render(8), render(9));
}

}  // namespace
