// halftone_test.cpp - compares the screens with their formulas in doubles, and checks that the mean tone is preserved.

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <numbers>
#include <vector>

#include "generator/generator.h"
#include "support/oracle.h"

namespace {

using namespace oracle;

constexpr double kWhole = 2 * std::numbers::pi;

// The parameters that all screens have.
struct Setting {
    double x, y, angle, width, sharpness;
};

Setting RandomSetting(Random& random) {
    // At higher sharpness the last bit of a float changes the result by more than 1e-5.
    return {random.Between(-200, 200), random.Between(-200, 200), random.Between(-4, 4), random.Between(0.5, 30),
            random.Between(0, 0.95)};
}

std::vector<Value> ValuesOf(const Setting& s) {
    return {{"inputCenter", {s.x, s.y}},
            {"inputAngle", {s.angle}},
            {"inputWidth", {s.width}},
            {"inputSharpness", {s.sharpness}}};
}

// Returns an unpremultiplied channel of a clipped pixel.
double Straight(const Source& source, std::int64_t x, std::int64_t y, std::size_t channel) {
    const double alpha = Clipped(source, x, y, 3);
    return alpha == 0 ? 0 : Clipped(source, x, y, channel) / alpha;
}

double Tone(const Source& source, std::int64_t x, std::int64_t y) {
    return 0.2125 * Straight(source, x, y, 0) + 0.7154 * Straight(source, x, y, 1) + 0.0721 * Straight(source, x, y, 2);
}

// Returns a tone screened by a pattern value between -1/2 and 1/2.
double Drawn(const Setting& s, double tone, double pattern) {
    return std::clamp(0.5 + (tone - 0.5 - pattern) / (1 - s.sharpness), 0.0, 1.0);
}

double Rings(const Setting& s, std::int64_t x, std::int64_t y) {
    const double rings =
        std::hypot(static_cast<double>(x) + 0.5 - s.x, static_cast<double>(y) + 0.5 - s.y) / std::max(s.width, 1.0);
    const double beyond = rings - std::floor(rings);
    return 2 * std::min(beyond, 1 - beyond) - 0.5;
}

// Returns the pattern of two crossing waves, rotated by a further angle.
double Dots(const Setting& s, std::int64_t x, std::int64_t y, double turned) {
    const double dx = static_cast<double>(x) + 0.5 - s.x, dy = static_cast<double>(y) + 0.5 - s.y;
    const double c = std::cos(s.angle + turned), n = std::sin(s.angle + turned), width = std::max(s.width, 1.0);
    const double strength = std::max(s.sharpness - 0.005, 0.0) / 4;
    return strength * (std::sin(kWhole * (dx * c + dy * n) / width) + std::sin(kWhole * (dy * c - dx * n) / width));
}

TEST(ScreenTest, OneInkScreensMatchTheFormula) {
    Random random;
    for (int round = 0; round < 20; ++round) {
        const Source source = RandomSource(random);
        const Setting s = RandomSetting(random);
        for (const bool isRound : {true, false}) {
            const ImageRef image = Output(isRound ? "CICircularScreen" : "CIDotScreen", source.image, ValuesOf(s));
            EXPECT_EQ(image->GetExtent(), Extent::Of(source.region));
            ExpectPixels(image, source.region.GrownBy(1), [&](std::int64_t x, std::int64_t y, std::size_t channel) {
                const double alpha = Clipped(source, x, y, 3);
                if (channel == 3) return alpha;
                const double pattern = isRound ? Rings(s, x, y) : Dots(s, x, y, 0);
                return Drawn(s, Tone(source, x, y), pattern) * alpha;
            });
        }
    }
}

TEST(ScreenTest, FourInkScreenMatchesTheFormula) {
    Random random;
    for (int round = 0; round < 20; ++round) {
        const Source source = RandomSource(random);
        const Setting s = RandomSetting(random);
        const double gcr = random.Between(0, 1), ucr = random.Between(0, 1);
        std::vector<Value> values = ValuesOf(s);
        values.push_back({"inputGCR", {gcr}});
        values.push_back({"inputUCR", {ucr}});
        const ImageRef image = Output("CICMYKHalftone", source.image, values);
        EXPECT_EQ(image->GetExtent(), Extent::Of(source.region));
        ExpectPixels(image, source.region.GrownBy(1), [&](std::int64_t x, std::int64_t y, std::size_t channel) {
            const double alpha = Clipped(source, x, y, 3);
            if (channel == 3) return alpha;
            double least = 1;
            for (std::size_t ink = 0; ink < 3; ++ink) least = std::min(least, 1 - Straight(source, x, y, ink));
            const double black = gcr * least * least, degrees[] = {75, 15, 0};
            const auto printed = [&](double ink, double turned) {
                return Drawn(s, ink, Dots(s, x, y, turned / 360 * kWhole));
            };
            const double own = std::max(1 - Straight(source, x, y, channel) - ucr * black, 0.0);
            return (1 - printed(own, degrees[channel])) * (1 - printed(black, 45)) * alpha;
        });
    }
}

// Returns the mean red, green and blue of a screened uniform color, over whole periods of 12 pixels.
std::array<double, 3> Means(const char* filter, const Pixel& color, double sharpness) {
    const ImageRef image = Output(filter, MakeConstantImage(color),
                                  {{"inputCenter", {3, 5}},
                                   {"inputWidth", {12}},
                                   {"inputSharpness", {sharpness}},
                                   {"inputGCR", {1}},
                                   {"inputUCR", {1}}});
    const std::vector<float> pixels = Pixels(image, {0, 0, 240, 240});
    std::array<double, 3> means{};
    for (std::size_t index = 0; index < pixels.size(); ++index)
        if (index % 4 != 3) means[index % 4] += static_cast<double>(pixels[index]);
    for (double& mean : means) mean /= 240 * 240;
    return means;
}

TEST(HalftoneTest, SharpScreensPreserveTheMeanOfEachTone) {
    for (const float tone : {0.1f, 0.25f, 0.5f, 0.7f, 0.9f}) {
        const Pixel gray = {tone, tone, tone, 1};
        EXPECT_NEAR(Means("CICircularScreen", gray, 0.98)[0], tone, 0.01);
        // The sum of two crossing waves is not uniformly distributed: a tone of 1/4 becomes less than 1/5.
        EXPECT_NEAR(Means("CIDotScreen", gray, 0.98)[0], tone, 0.09);
        // Of the gray 1 - tone, its square is printed in black, and the rest in each of the colors; both screens err.
        const double black = (1 - tone) * (1 - tone);
        EXPECT_NEAR(Means("CICMYKHalftone", gray, 0.98)[1], (1 - black) * (tone + black), 0.12);
        // The middle tone is preserved exactly.
        EXPECT_NEAR(Means("CIDotScreen", {0.5f, 0.5f, 0.5f, 1}, tone)[0], 0.5, 1e-3);
    }
}

TEST(HalftoneTest, PureInkIsPrintedAlone) {
    const std::array<double, 3> cyan = Means("CICMYKHalftone", {0.4f, 1, 1, 1}, 0.98);
    EXPECT_NEAR(cyan[0], 0.4, 0.09);
    EXPECT_EQ(cyan[1], 1);
    EXPECT_EQ(cyan[2], 1);
    const std::array<double, 3> yellow = Means("CICMYKHalftone", {1, 1, 0.4f, 1}, 0.98);
    EXPECT_EQ(yellow[0], 1);
    EXPECT_NEAR(yellow[2], 0.4, 0.09);
}

TEST(HalftoneTest, BlackAndWhiteAreUnchangedAtAnySharpness) {
    for (const double sharpness : {0.0, 0.3, 0.7, 0.99, 1.0, 7.0}) {
        for (const char* filter : {"CIDotScreen", "CICMYKHalftone"}) {
            EXPECT_EQ(Means(filter, {0, 0, 0, 1}, sharpness)[1], 0) << filter << " " << sharpness;
            EXPECT_EQ(Means(filter, {1, 1, 1, 1}, sharpness)[1], 1) << filter << " " << sharpness;
        }
    }
}

TEST(HalftoneTest, RingsMatchHandComputedValues) {
    // Distances of 1.5 and 2.5 are 1/4 and 5/12 of the period of 6; the thresholds are 1/2 and 5/6.
    const ImageRef image = Output("CICircularScreen", MakeConstantImage({0.6f, 0.6f, 0.6f, 1}),
                                  {{"inputCenter", {0, 0.5}}, {"inputWidth", {6}}, {"inputSharpness", {0.5}}});
    const std::vector<float> pixels = Pixels(image, {1, 0, 2, 1});
    EXPECT_NEAR(pixels[0], 0.5 + 0.1 / 0.5, 1e-6);
    EXPECT_NEAR(pixels[4], 0.5 + (0.6 - 5.0 / 6) / 0.5, 1e-6);
}

TEST(HalftoneTest, DotsMatchHandComputedValues) {
    // A quarter period to the left and below, both sines are -1: 0.5 + (0.2 - 0.5 + 2 k) / 0.3 with k = 0.17375.
    const ImageRef image = Output("CIDotScreen", MakeConstantImage({0.2f, 0.2f, 0.2f, 1}),
                                  {{"inputCenter", {2, 2}}, {"inputWidth", {6}}, {"inputSharpness", {0.7}}});
    EXPECT_NEAR(Pixels(image, {0, 0, 1, 1})[0], 0.5 + (0.2 - 0.5 + 2 * 0.17375) / 0.3, 1e-5);
    // Half a pixel to the left of and below the center of an ink's screen, both waves are -sin(30 degrees).
    const ImageRef yellow =
        Output("CICMYKHalftone", MakeConstantImage({1, 1, 0.8f, 1}),
               {{"inputCenter", {0, 0}}, {"inputWidth", {6}}, {"inputSharpness", {0.7}}, {"inputGCR", {1}}});
    const double ink = 0.5 + (0.2 - 0.5 + 2 * 0.17375 * 0.5) / 0.3;
    EXPECT_NEAR(Pixels(yellow, {-1, -1, 1, 1})[2], 1 - ink, 1e-5);
    EXPECT_EQ(Pixels(yellow, {0, 0, 1, 1})[2], 1);
}

TEST(HalftoneTest, NegativeInkDotWidthActsLikePositive) {
    const ImageRef image = RandomImage(30, 20);
    const auto render = [&](double width) {
        return Pixels(Output("CICMYKHalftone", image, {{"inputWidth", {width}}, {"inputSharpness", {0.7}}}),
                      {0, 0, 30, 20});
    };
    EXPECT_EQ(render(-7), render(7));
    EXPECT_NE(render(-7), render(8));
}

}  // namespace
