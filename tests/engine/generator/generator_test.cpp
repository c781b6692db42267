// generator_test.cpp - patterns without an input, pixel by pixel from their formulas.

#include "core/transfer.h"
#include "support/oracle.h"

namespace {

using namespace oracle;

// A color's channel, premultiplied linear light.
double Light(const std::vector<double>& color, std::size_t channel) {
    if (channel == 3) return color[3];
    return static_cast<double>(DecodeSRGB(static_cast<float>(color[channel]))) * color[3];
}

std::vector<double> RandomColor(Random& random) {
    return {random.Between(0, 1), random.Between(0, 1), random.Between(0, 1), random.Between(0, 1)};
}

TEST(CheckerboardTest, IsThatOfTheFormula) {
    Random random;
    for (int round = 0; round < 20; ++round) {
        const std::vector<double> color0 = RandomColor(random), color1 = RandomColor(random);
        const double cx = random.Between(-99, 99), cy = random.Between(-99, 99), width = random.Between(0.7, 30);
        const double sharpness = round % 3 == 0 ? 1 : random.Between(0, 0.99);
        const ImageRef image = Generated("CICheckerboardGenerator", {{"inputCenter", {cx, cy}},
                                                                     {"inputWidth", {width}},
                                                                     {"inputSharpness", {sharpness}},
                                                                     {"inputColor0", color0},
                                                                     {"inputColor1", color1}});
        EXPECT_TRUE(image->GetExtent().IsInfinite());
        const auto even = [&](double place) {
            const double sign = std::fmod(std::abs(std::floor(place)), 2) == 0 ? 1 : -1;
            if (sharpness == 1) return sign > 0 ? 1.0 : 0.0;
            const double a = sign * (1 - std::abs(2 * (place - std::floor(place)) - 1));
            return std::clamp(0.5 + 0.5 * a / (1 - sharpness), 0.0, 1.0);
        };
        ExpectPixels(image, {-40, -30, 71, 57}, [&](std::int64_t x, std::int64_t y, std::size_t channel) {
            const double bx = even((static_cast<double>(x) + 0.5 - cx) / width);
            const double by = even((static_cast<double>(y) + 0.5 - cy) / width);
            const double t = bx * by + (1 - bx) * (1 - by);
            return Light(color1, channel) * (1 - t) + Light(color0, channel) * t;
        });
    }
}

TEST(CheckerboardTest, SquareAboveAndRightOfTheCenterIsTheFirstColor) {
    const ImageRef image = Generated("CICheckerboardGenerator", {{"inputCenter", {2, 1}},
                                                                 {"inputWidth", {2}},
                                                                 {"inputSharpness", {1}},
                                                                 {"inputColor0", {1, 0, 0, 1}},
                                                                 {"inputColor1", {0, 0, 1, 1}}});
    EXPECT_EQ(Pixels(image, {1, 1, 3, 1}), (std::vector<float>{0, 0, 1, 1, 1, 0, 0, 1, 1, 0, 0, 1}));
    EXPECT_EQ(Pixels(image, {2, 0, 1, 1}), (std::vector<float>{0, 0, 1, 1}));
}

TEST(CheckerboardTest, SquaresOfNoWidthAreTheMeanOfTheColors) {
    for (const double width : {0.0, -5.0}) {
        const ImageRef image = Generated("CICheckerboardGenerator", {{"inputWidth", {width}},
                                                                     {"inputSharpness", {1}},
                                                                     {"inputColor0", {1, 1, 1, 1}},
                                                                     {"inputColor1", {0, 0, 0, 1}}});
        EXPECT_EQ(Pixels(image, {5, 5, 1, 1}), (std::vector<float>{0.5f, 0.5f, 0.5f, 1}));
    }
}

TEST(GaussianGradientTest, IsThatOfTheFormula) {
    Random random;
    for (int round = 0; round < 20; ++round) {
        const std::vector<double> color0 = RandomColor(random), color1 = RandomColor(random);
        const double cx = random.Between(-20, 20), cy = random.Between(-20, 20), radius = random.Between(0.5, 60);
        const ImageRef image = Generated(
            "CIGaussianGradient",
            {{"inputCenter", {cx, cy}}, {"inputRadius", {radius}}, {"inputColor0", color0}, {"inputColor1", color1}});
        ExpectPixels(image, {-40, -30, 71, 57}, [&](std::int64_t x, std::int64_t y, std::size_t channel) {
            const double r = std::hypot(static_cast<double>(x) + 0.5 - cx, static_cast<double>(y) + 0.5 - cy);
            const double t = std::min(1.0, r / radius);
            const double k = 1 - t * t * (3 - 2 * t);
            return Light(color1, channel) + (Light(color0, channel) - Light(color1, channel)) * k;
        });
    }
}

TEST(GaussianGradientTest, HalfTheRadiusIsHalfway) {
    const ImageRef image = Generated("CIGaussianGradient", {{"inputCenter", {0.5, 0.5}},
                                                            {"inputRadius", {8}},
                                                            {"inputColor0", {1, 1, 1, 1}},
                                                            {"inputColor1", {0, 0, 0, 0}}});
    EXPECT_EQ(Pixels(image, {0, 0, 1, 1}), std::vector<float>(4, 1.0f));
    EXPECT_EQ(Pixels(image, {4, 0, 1, 1}), std::vector<float>(4, 0.5f));
    EXPECT_EQ(Pixels(image, {0, -8, 1, 1}), std::vector<float>(4, 0.0f));
    EXPECT_EQ(Pixels(image, {100, 0, 1, 1}), std::vector<float>(4, 0.0f));
}

TEST(GeneratorLimitsTest, AnyNumbersGiveFinitePixels) {
    const std::vector<double> white = {1, 1, 1, 1};
    for (const double number : kHostile) {
        for (const double center : kHostile) {
            ExpectSound(Generated("CICheckerboardGenerator", {{"inputCenter", {center, 0}},
                                                              {"inputWidth", {number}},
                                                              {"inputSharpness", {center}},
                                                              {"inputColor0", white}}));
            ExpectSound(Generated("CIGaussianGradient",
                                  {{"inputCenter", {center, 0}}, {"inputRadius", {number}}, {"inputColor0", white}}));
        }
    }
}

}  // namespace
