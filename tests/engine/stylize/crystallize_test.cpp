// crystallize_test.cpp - the mosaic against every pixel compared with every seed, and what must hold of its polygons.

#include "stylize/crystals.h"

#include <set>

#include "support/oracle.h"

namespace {

using namespace oracle;

ImageRef Mosaic(const ImageRef& input, double x, double y, double radius) {
    return Output("CICrystallize", input, {{"inputCenter", {x, y}}, {"inputRadius", {radius}}});
}

// The mean of a source's pixels in the square around a place, as far as they are in the source.
double MeanAround(const Source& source, double x, double y, std::int64_t reach, std::size_t channel) {
    const Region& all = source.region;
    const std::int64_t column = std::clamp(static_cast<std::int64_t>(std::floor(x)), all.x, all.Right() - 1);
    const std::int64_t row = std::clamp(static_cast<std::int64_t>(std::floor(y)), all.y, all.Top() - 1);
    const Region square = Region{column, row, 1, 1}.GrownBy(reach).Intersection(all);
    double sum = 0;
    for (std::int64_t py = square.y; py < square.Top(); ++py)
        for (std::int64_t px = square.x; px < square.Right(); ++px) sum += source.At(px, py, channel);
    return sum / static_cast<double>(square.width * square.height);
}

TEST(CrystallizeTest, EveryPixelHasTheMeanAroundItsNearestSeed) {
    Random random;
    for (const double radius : {1.5, 3.0, 7.9, 8.1, 13.0, 30.0, 200.0}) {
        const Source source = RandomSource(random);
        const double cx = random.Between(-90, 90), cy = random.Between(-90, 90);
        const ImageRef image = Mosaic(source.image, cx, cy, radius);
        EXPECT_EQ(image->GetExtent(), Extent::Of(source.region));
        const std::vector<float> pixels = Pixels(image, source.region, {4096, 29, 17});
        const auto reach = static_cast<std::int64_t>(radius / 2);
        for (int place = 0; place < 60; ++place) {
            const std::int64_t x = random.Whole(source.region.x, source.region.Right() - 1);
            const std::int64_t y = random.Whole(source.region.y, source.region.Top() - 1);
            const double u = (static_cast<double>(x) + 0.5 - cx) / radius;
            const double v = (static_cast<double>(y) + 0.5 - cy) / radius;
            const auto column = static_cast<std::int64_t>(std::floor(u)),
                       row = static_cast<std::int64_t>(std::floor(v));
            double least = 1e9, second = 1e9, nearestX = 0, nearestY = 0;
            for (std::int64_t j = row - 4; j <= row + 4; ++j) {
                for (std::int64_t i = column - 4; i <= column + 4; ++i) {
                    const Seed seed = SeedOf(i, j);
                    const double sx = static_cast<double>(i) + seed.x, sy = static_cast<double>(j) + seed.y;
                    const double distance = std::hypot(u - sx, v - sy);
                    second = std::min(second, std::max(distance, least));
                    if (distance >= least) continue;
                    least = distance;
                    nearestX = cx + radius * sx;
                    nearestY = cy + radius * sy;
                }
            }
            // Which of two seeds as far away it is rests on the last bit.
            if (second - least < 1e-5) continue;
            const auto* pixel = &pixels[static_cast<std::size_t>((source.region.Top() - 1 - y) * source.region.width +
                                                                 x - source.region.x) *
                                        4];
            for (std::size_t channel = 0; channel < 4; ++channel)
                ASSERT_NEAR(pixel[channel], MeanAround(source, nearestX, nearestY, reach, channel), 1e-5);
        }
    }
}

TEST(CrystallizeTest, SeedsAreSpreadEvenlyOverTheirCells) {
    double x = 0, y = 0;
    std::set<float> different;
    for (std::int64_t row = -50; row < 50; ++row) {
        for (std::int64_t column = -50; column < 50; ++column) {
            const Seed seed = SeedOf(column, row);
            ASSERT_TRUE(seed.x >= 0.1f && seed.x <= 0.9001f && seed.y >= 0.1f && seed.y <= 0.9001f);
            x += seed.x / 1e4;
            y += seed.y / 1e4;
            different.insert(seed.x);
        }
    }
    EXPECT_NEAR(x, 0.5, 0.01);
    EXPECT_NEAR(y, 0.5, 0.01);
    EXPECT_GT(different.size(), 8500u);  // of 10000 draws from 65536 about 9280 differ
}

TEST(CrystallizeTest, HasAsManyColorsAsCellsAndMovesWithItsCenter) {
    Random random;
    const Source source = RandomSource(random);
    Affine move;
    move.tx = 5;
    move.ty = -3;
    const Region moved = {source.region.x + 5, source.region.y - 3, source.region.width, source.region.height};
    const auto here = Pixels(Mosaic(source.image, 4, 7, 12), source.region);
    EXPECT_EQ(Pixels(Mosaic(MakeAffineImage(source.image, move), 9, 4, 12), moved), here);
    std::set<std::vector<float>> colors;
    for (std::size_t index = 0; index < here.size(); index += 4)
        colors.insert(
            {here.begin() + static_cast<std::ptrdiff_t>(index), here.begin() + static_cast<std::ptrdiff_t>(index) + 4});
    const double cells = static_cast<double>(source.region.width * source.region.height) / (12 * 12);
    EXPECT_GE(static_cast<double>(colors.size()), cells / 2);
    EXPECT_LE(static_cast<double>(colors.size()), 3 * cells + 12);
}

TEST(CrystallizeTest, AnEvenPictureStaysEvenAtAnyRadius) {
    const Source source = SourceOf({-7, 3, 199, 150}, std::vector<float>(199 * 150 * 4, 0.75f));
    for (const double radius : {2.0, 20.0, 129.0, 257.0, 5000.0, 1e9})
        ExpectPixels(Mosaic(source.image, 0, 0, radius), source.region, [](auto, auto, auto) { return 0.75; });
}

TEST(CrystallizeTest, ACellWiderThanALargePictureHasItsMean) {
    std::vector<float> pixels;
    for (std::size_t index = 0; index < 500 * 300; ++index) {
        const float light = index % 500 < 125 ? 1 : 0;
        pixels.insert(pixels.end(), {light, light, light, 1});
    }
    const Source source = SourceOf({-7, 3, 500, 300}, pixels);
    const Slow mean = [](auto, auto, std::size_t channel) { return channel == 3 ? 1 : 0.25; };
    ExpectPixels(Mosaic(source.image, -4e8, -5e8, 1e9), {0, 10, 5, 5}, mean, 0.005);
}

TEST(CrystallizeTest, ARadiusOfOneIsTheVeryInput) {
    const ImageRef image = RandomImage(5, 4);
    for (const double radius : {1.0, 0.0, -8.0}) EXPECT_EQ(Mosaic(image, 0, 0, radius), image);
}

}  // namespace
