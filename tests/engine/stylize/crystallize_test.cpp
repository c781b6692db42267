// crystallize_test.cpp - compares the mosaic with a search for the nearest seeds, and checks properties of its cells.

#include "stylize/crystals.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <set>
#include <vector>

#include "support/oracle.h"

namespace {

using namespace oracle;
using Pixel = std::array<double, 4>;

ImageRef Mosaic(const ImageRef& input, double x, double y, double radius) {
    return Output("CICrystallize", input, {{"inputCenter", {x, y}}, {"inputRadius", {radius}}});
}

// Returns a premultiplied pixel with its colors encoded, or decoded.
template <class Curve>
Pixel Followed(Pixel pixel, const Curve& curve) {
    for (std::size_t channel = 0; channel < 3; ++channel) {
        const double color = pixel[3] == 0 ? 0 : pixel[channel] / pixel[3];
        pixel[channel] = std::copysign(curve(std::abs(color)), color) * pixel[3];
    }
    return pixel;
}
Pixel Encoded(const Pixel& pixel) {
    return Followed(pixel, [](double v) { return v <= 0.0031308 ? 12.92 * v : 1.055 * std::pow(v, 1 / 2.4) - 0.055; });
}
Pixel Decoded(const Pixel& pixel) {
    return Followed(pixel, [](double v) { return v <= 0.04045 ? v / 12.92 : std::pow((v + 0.055) / 1.055, 2.4); });
}

// A seed in the plane and its distance from a pixel.
struct NearSeed {
    double distance, x, y;
};

// Returns the three seeds nearest to a point.
std::vector<NearSeed> NearestSeeds(double px, double py, double cx, double cy, double radius) {
    std::vector<NearSeed> seeds;
    const auto column = static_cast<std::int64_t>(std::floor((px - cx) / radius)),
               row = static_cast<std::int64_t>(std::floor((py - cy) / radius));
    for (std::int64_t j = row - 4; j <= row + 4; ++j) {
        for (std::int64_t i = column - 4; i <= column + 4; ++i) {
            const Seed seed = SeedOf(i, j);
            const double x = cx + radius * (static_cast<double>(i) + static_cast<double>(seed.x));
            const double y = cy + radius * (static_cast<double>(j) + static_cast<double>(seed.y));
            seeds.push_back({std::hypot(px - x, py - y), x, y});
        }
    }
    std::partial_sort(seeds.begin(), seeds.begin() + 3, seeds.end(),
                      [](const NearSeed& a, const NearSeed& b) { return a.distance < b.distance; });
    return {seeds.begin(), seeds.begin() + 3};
}

TEST(CrystallizeTest, EachPixelHasTheColorAtItsNearestSeedAndEdgesAreOnePixelWide) {
    Random random;
    int edges = 0;
    for (const double radius : {1.5, 3.0, 4.0, 4.1, 13.0, 30.0, 200.0}) {
        const Source source = RandomSource(random);
        const double cx = random.Between(-90, 90), cy = random.Between(-90, 90);
        const ImageRef image = Mosaic(source.image, cx, cy, radius);
        const Region all = source.region.GrownBy(static_cast<std::int64_t>(std::ceil(1.5 * radius)));
        EXPECT_EQ(image->GetExtent(), Extent::Of(all));
        const std::vector<float> pixels = Pixels(image, all, {4096, 29, 17});
        const At at = [&](std::int64_t x, std::int64_t y, std::size_t channel) { return source.At(x, y, channel); };
        for (int place = 0; place < 300; ++place) {
            const std::int64_t x = random.Whole(all.x, all.Right() - 1), y = random.Whole(all.y, all.Top() - 1);
            const std::vector<NearSeed> seeds =
                NearestSeeds(static_cast<double>(x) + 0.5, static_cast<double>(y) + 0.5, cx, cy, radius);
            // When the second and the third are equally far away, the last bit decides.
            if (seeds[2].distance - seeds[1].distance < 1e-4 * radius) continue;
            const auto square = [](double number) { return number * number; };
            const double apart = std::hypot(seeds[0].x - seeds[1].x, seeds[0].y - seeds[1].y);
            const double share =
                std::clamp(0.5 + (square(seeds[1].distance) - square(seeds[0].distance)) / (2 * apart), 0.0, 1.0);
            edges += share < 1;
            Pixel first, second, mixed;
            for (std::size_t channel = 0; channel < 4; ++channel) {
                first[channel] = Bilinear(at, seeds[0].x, seeds[0].y, channel);
                second[channel] = Bilinear(at, seeds[1].x, seeds[1].y, channel);
            }
            for (std::size_t channel = 0; channel < 4; ++channel)
                mixed[channel] = std::lerp(Encoded(second)[channel], Encoded(first)[channel], share);
            const Pixel expected = share < 1 ? Decoded(mixed) : first;
            const auto* pixel = &pixels[static_cast<std::size_t>((all.Top() - 1 - y) * all.width + x - all.x) * 4];
            for (std::size_t channel = 0; channel < 4; ++channel)
                ASSERT_NEAR(pixel[channel], expected[channel], 2e-4) << "radius " << radius;
        }
    }
    EXPECT_GT(edges, 50);
}

TEST(CrystallizeTest, SeedsAreDistributedEvenlyWithinAThirdOfTheirNodes) {
    double x = 0, y = 0, squares = 0;
    std::set<float> different;
    for (std::int64_t row = -50; row < 50; ++row) {
        for (std::int64_t column = -50; column < 50; ++column) {
            const Seed seed = SeedOf(column, row);
            constexpr float kThird = 1.0f / 3;
            ASSERT_TRUE(std::abs(seed.x) <= kThird && std::abs(seed.y) <= kThird);
            x += static_cast<double>(seed.x) / 1e4;
            y += static_cast<double>(seed.y) / 1e4;
            squares += static_cast<double>(seed.x * seed.x) / 1e4;
            different.insert(seed.x);
        }
    }
    EXPECT_NEAR(x, 0, 0.01);
    EXPECT_NEAR(y, 0, 0.01);
    EXPECT_NEAR(std::sqrt(squares), 1 / std::sqrt(27.0), 0.005);
    EXPECT_GT(different.size(), 8500u);  // 10000 draws from 65536 values give about 9280 distinct ones
}

TEST(CrystallizeTest, CellsAreFlatAndMoveWithTheCenter) {
    const ImageRef picture = RandomImage(200, 150);
    const Region region = {30, 30, 140, 90};
    const auto here = Pixels(Mosaic(picture, 4, 7, 20), region);
    const ImageRef moved = Mosaic(MakeAffineImage(picture, {1, 0, 0, 1, 5, -3}), 9, 4, 20);
    const auto there = Pixels(moved, {35, 27, 140, 90});
    std::size_t flat = 0;
    for (std::size_t index = 0; index < here.size(); index += 4) {
        for (std::size_t channel = 0; channel < 4; ++channel)
            ASSERT_NEAR(here[index + channel], there[index + channel], 1e-5);
        flat += index + 8 <= here.size() && std::equal(&here[index], &here[index] + 4, &here[index] + 4);
    }
    // Each cell of 400 pixels has about 45 pixels on edges.
    EXPECT_GT(static_cast<double>(flat), 0.8 * 140 * 90);
}

TEST(CrystallizeTest, UniformPictureStaysUniformAwayFromItsFrame) {
    const Source source = SourceOf({-7, 3, 199, 150}, std::vector<float>(199 * 150 * 4, 0.75f));
    for (const double radius : {2.0, 20.0, 45.0})
        ExpectPixels(Mosaic(source.image, 0, 0, radius),
                     source.region.GrownBy(-static_cast<std::int64_t>(1.2 * radius) - 2),
                     [](auto, auto, auto) { return 0.75; });
}

TEST(CrystallizeTest, PictureBetweenSeedsIsTransparent) {
    const Source source = SourceOf({0, 0, 9, 7}, std::vector<float>(9 * 7 * 4, 1.0f));
    for (const double radius : {5000.0, 1e9}) {
        const ImageRef image = Mosaic(source.image, radius / 2, radius / 2, radius);
        EXPECT_EQ(Pixels(image, {-2, -2, 13, 11}), std::vector<float>(13 * 11 * 4, 0.0f));
    }
}

TEST(CrystallizeTest, RadiusOfAtMostOneReturnsTheInput) {
    const ImageRef image = RandomImage(5, 4);
    for (const double radius : {1.0, 0.0, -8.0}) EXPECT_EQ(Mosaic(image, 0, 0, radius), image);
}

}  // namespace
