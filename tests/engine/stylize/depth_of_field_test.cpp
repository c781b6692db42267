// depth_of_field_test.cpp - the miniature against its formula in doubles.

#include "blur/slow_blur.h"

namespace {

using namespace oracle;

// The parameters of a miniature.
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

// How far out of focus a pixel is.
double Away(const Setting& s, const Region& all, std::int64_t px, std::int64_t py) {
    const double x = static_cast<double>(px) + 0.5 - s.x0, y = static_cast<double>(py) + 0.5 - s.y0;
    const double dx = s.x1 - s.x0, dy = s.y1 - s.y0, square = dx * dx + dy * dy;
    const double share = square > 0 ? std::clamp((x * dx + y * dy) / square, 0.0, 1.0) : 0;
    const auto side = static_cast<double>(std::min(all.width, all.height));
    const double t = std::clamp((std::hypot(x - share * dx, y - share * dy) / side - 0.1) / 0.2, 0.0, 1.0);
    return t * t * (3 - 2 * t);
}

TEST(DepthOfFieldTest, IsSharpAndColorfulOnTheLineAndADiscAwayFromIt) {
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
        const auto reach = static_cast<std::int64_t>(std::ceil(s.radius));
        const auto disc = [&](std::int64_t px, std::int64_t py, std::size_t channel) {
            double sum = 0, weights = 0;
            for (std::int64_t j = -reach; j <= reach; ++j) {
                for (std::int64_t i = -reach; i <= reach; ++i) {
                    const double distance = std::hypot(static_cast<double>(i), static_cast<double>(j));
                    const double weight = std::clamp(s.radius + 0.5 - distance, 0.0, 1.0);
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
            const double away = Away(s, all, px, py), alpha = plain(px, py, 3);
            double focused = alpha;
            if (channel < 3) {
                const double gray = 0.2125 * sharp(px, py, 0) + 0.7154 * sharp(px, py, 1) + 0.0721 * sharp(px, py, 2);
                focused = std::clamp(gray + s.saturation * (sharp(px, py, channel) - gray), 0.0, alpha);
            }
            return focused * (1 - away) + disc(px, py, channel) * away;
        });
    }
}

TEST(DepthOfFieldTest, IsTheSameOnBothSidesOfItsLine) {
    const Source source = SourceOf({0, 0, 20, 40}, std::vector<float>(20 * 40 * 4, 1.0f));
    std::vector<float> pixels(source.pixels);
    for (std::size_t row : {1u, 12u, 27u, 38u}) pixels[row * 80 + 41] = 0;
    const ImageRef image = Miniature(SourceOf({0, 0, 20, 40}, pixels).image, {-9, 20, 50, 20, 3, 1.5, 0.5, 2.5});
    for (std::int64_t y = 0; y < 20; ++y) {
        const auto below = Pixels(image, {10, y, 1, 1}), above = Pixels(image, {10, 39 - y, 1, 1});
        for (std::size_t channel = 0; channel < 4; ++channel) EXPECT_NEAR(below[channel], above[channel], 1e-6) << y;
    }
}

TEST(DepthOfFieldTest, WithoutRadiusSaturationOrSharpeningIsTheVeryInput) {
    const ImageRef image = RandomImage(5, 4);
    EXPECT_EQ(Miniature(image, {0, 0, 5, 0, 0, 1, 0, 2.5}), image);
    EXPECT_NE(Miniature(image, {0, 0, 5, 0, 1, 1, 0, 2.5}), image);
}

}  // namespace
