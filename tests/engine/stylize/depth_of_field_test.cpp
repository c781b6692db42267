// depth_of_field_test.cpp - compares the depth of field with its formula in doubles.

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <vector>

#include "blur/slow_blur.h"

namespace {

using namespace oracle;

// The parameters of the filter.
struct Setting {
    double x0, y0, x1, y1;
    double radius, saturation, intensity, sharpRadius;
};

ImageRef Miniature(const ImageRef& input, const Setting& s) {
    return Output("CIDepthOfField", input,
                  {{"inputPoint0", {s.x0, s.y0}},
                   {"inputPoint1", {s.x1, s.y1}},
                   {"inputRadius", {s.radius}},
                   {"inputSaturation", {s.saturation}},
                   {"inputUnsharpMaskIntensity", {s.intensity}},
                   {"inputUnsharpMaskRadius", {s.sharpRadius}}});
}

double Smooth(double t) {
    t = std::clamp(t, 0.0, 1.0);
    return t * t * (3 - 2 * t);
}

// Returns the distance of a pixel from the line, or from the point without a line, in quarters of the picture's height.
double Steps(const Setting& s, const Region& all, std::int64_t px, std::int64_t py) {
    const double x = static_cast<double>(px) + 0.5 - s.x0, y = static_cast<double>(py) + 0.5 - s.y0;
    const double dx = s.x1 - s.x0, dy = s.y1 - s.y0, length = std::hypot(dx, dy);
    const double distance = length > 0 ? std::abs(x * dy - y * dx) / length : std::hypot(x, y);
    return distance / (static_cast<double>(all.height) / 4);
}

TEST(DepthOfFieldTest, IsSharpAndSaturatedOnTheLineAndBlurredAwayFromIt) {
    Random random;
    for (int round = 0; round < 6; ++round) {
        const Source source = RandomSource(random);
        const Region& all = source.region;
        const auto x = [&] { return static_cast<double>(random.Whole(all.x, all.Right())); };
        const auto y = [&] { return static_cast<double>(random.Whole(all.y, all.Top())); };
        Setting s = {x(),
                     y(),
                     x(),
                     y(),
                     random.Between(0.5, 4),
                     random.Between(0, 3),
                     random.Between(0, 2),
                     random.Between(0.3, 2.5)};
        if (round == 0) s.x1 = s.x0, s.y1 = s.y0;
        const ImageRef image = Miniature(source.image, s);
        EXPECT_EQ(image->GetExtent(), Extent::Of(all));
        const Slow plain = [&](std::int64_t px, std::int64_t py, std::size_t channel) {
            return Clipped(source, std::clamp(px, all.x, all.Right() - 1), std::clamp(py, all.y, all.Top() - 1),
                           channel);
        };
        const SlowGaussian soft(plain, s.sharpRadius, all);
        const auto disc = [&](double radius, std::int64_t px, std::int64_t py, std::size_t channel) {
            radius = std::min(radius, static_cast<double>(std::max(all.width, all.height)));
            const auto reach = static_cast<std::int64_t>(std::ceil(radius));
            double sum = 0, weights = 0;
            for (std::int64_t j = -reach; j <= reach; ++j) {
                for (std::int64_t i = -reach; i <= reach; ++i) {
                    const double distance = std::hypot(static_cast<double>(i), static_cast<double>(j));
                    const double weight = std::clamp(radius + 0.5 - distance, 0.0, 1.0);
                    sum += weight * plain(px + i, py + j, channel);
                    weights += weight;
                }
            }
            return sum / weights;
        };
        const auto sharp = [&](std::int64_t px, std::int64_t py, std::size_t channel) {
            return plain(px, py, channel) + s.intensity * (plain(px, py, channel) - soft(px, py, channel));
        };
        ExpectPixels(image, all, [&](std::int64_t px, std::int64_t py, std::size_t channel) {
            const double steps = Steps(s, all, px, py);
            double focused = plain(px, py, 3);
            if (channel < 3) {
                const double gray = 0.2125 * sharp(px, py, 0) + 0.7154 * sharp(px, py, 1) + 0.0721 * sharp(px, py, 2);
                focused = gray + s.saturation * (sharp(px, py, channel) - gray);
            }
            const double near = std::lerp(focused, disc(s.radius, px, py, channel), Smooth(steps));
            return std::lerp(near, disc(3 * s.radius, px, py, channel), Smooth(steps - 1));
        });
    }
}

TEST(DepthOfFieldTest, FocusFollowsTheWholeLineNotOnlyThePartBetweenItsPoints) {
    Random random;
    const ImageRef picture = RandomImage(60, 40);
    const auto render = [&](double x0, double x1) {
        return Pixels(Miniature(picture, {x0, 20, x1, 20, 3, 1.5, 0.5, 2.5}), {0, 0, 60, 40});
    };
    EXPECT_EQ(render(0, 2), render(0, 32));
}

TEST(DepthOfFieldTest, BlursThreeTimesAsFarWithTwiceTheDistance) {
    // A white dot far from the line lies in a disc of three radii.
    std::vector<float> pixels(std::size_t{101} * 101 * 4, 0.0f);
    for (std::size_t index = 3; index < pixels.size(); index += 4) pixels[index] = 1;
    for (std::size_t channel = 0; channel < 3; ++channel) pixels[(std::size_t{50} * 101 + 80) * 4 + channel] = 1;
    const ImageRef image = Miniature(SourceOf({0, 0, 101, 101}, pixels).image, {-100, 0, -100, 9, 4, 1, 0, 0});
    const std::vector<float> row = Pixels(image, {0, 50, 101, 1});
    EXPECT_GT(row[(80 - 12) * 4], 0);
    EXPECT_EQ(row[(80 - 13) * 4], 0);
}

TEST(DepthOfFieldTest, IsSymmetricAboutItsLine) {
    const Source source = SourceOf({0, 0, 20, 40}, std::vector<float>(20 * 40 * 4, 1.0f));
    std::vector<float> pixels(source.pixels);
    for (std::size_t row : {1u, 12u, 27u, 38u}) pixels[row * 80 + 41] = 0;
    const ImageRef image = Miniature(SourceOf({0, 0, 20, 40}, pixels).image, {-9, 20, 50, 20, 3, 1.5, 0.5, 2.5});
    for (std::int64_t y = 0; y < 20; ++y) {
        const auto below = Pixels(image, {10, y, 1, 1}), above = Pixels(image, {10, 39 - y, 1, 1});
        for (std::size_t channel = 0; channel < 4; ++channel) EXPECT_NEAR(below[channel], above[channel], 1e-6) << y;
    }
}

TEST(DepthOfFieldTest, BlursOfAnyWidthKeepAnEvenPicture) {
    std::vector<float> pixels;
    for (std::size_t index = 0; index < std::size_t{200} * 200; ++index) {
        pixels.insert(pixels.end(), {0.2f, 0.4f, 0.1f, 0.8f});
    }
    const ImageRef even = SourceOf({0, 0, 200, 200}, pixels).image;
    for (const double radius : {0.0, 0.2, 6.6, 6.7, 21.0, 42.0, 43.0, 1000.0}) {
        for (const double sharpRadius : {0.0, 3.9, 4.1}) {
            const ImageRef image = Miniature(even, {0, 100, 200, 120, radius, 1, 2, sharpRadius});
            ExpectPixels(image, {0, 0, 200, 200}, [&](std::int64_t, std::int64_t, std::size_t channel) {
                return static_cast<double>(pixels[channel]);
            });
        }
    }
}

TEST(DepthOfFieldTest, IdentitySettingsReturnTheInput) {
    const ImageRef image = RandomImage(5, 4);
    EXPECT_EQ(Miniature(image, {0, 0, 5, 0, 0, 1, 0, 2.5}), image);
    EXPECT_NE(Miniature(image, {0, 0, 5, 0, 1, 1, 0, 2.5}), image);
}

}  // namespace
