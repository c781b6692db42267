// transition_test.cpp - compares transitions with their formulas in doubles and with hand-computed values, and checks
// properties that all transitions share.

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "core/point.h"
#include "core/transfer.h"
#include "generator/generator.h"
#include "support/counting_image.h"
#include "support/oracle.h"

namespace {

using namespace oracle;

// Returns the output of a transition from one image to another.
ImageRef Transition(const std::string& filter, const ImageRef& image, const ImageRef& target,
                    std::vector<Value> values) {
    values.push_back({"inputTargetImage", {}, target});
    return Output(filter.c_str(), image, values);
}

double Mix(double a, double b, double k) { return a + k * (b - a); }

// Contains all random images.
constexpr Region kAround = {-60, -60, 161, 161};

// Returns an opaque image in which red, green and blue have one level.
ImageRef Gray(float level, const Region& region) {
    return MakeCroppedImage(MakeConstantImage({level, level, level, 1}), Extent::Of(region));
}

// A transition, and its keys for numbers and vectors.
struct Kind {
    const char* filter;
    std::vector<const char*> keys;
};
class EveryTransitionTest : public testing::TestWithParam<Kind> {
  protected:
    ImageRef At(double time, const ImageRef& image, const ImageRef& target, std::vector<Value> values = {}) const {
        values.push_back({"inputTime", {time}});
        values.push_back({"inputMaskImage", {}, mask_});
        return Transition(GetParam().filter, image, target, std::move(values));
    }

    // Returns a value for each key: a number and a vector of that number.
    std::vector<Value> All(double number) const {
        std::vector<Value> values;
        for (const char* key : GetParam().keys) values.push_back({key, {number, number, number, number}});
        return values;
    }

    ImageRef mask_ = RandomImage(20, 20);
};

TEST_P(EveryTransitionTest, IsTheImageBeforeTimeZeroAndTheTargetAfterTimeOne) {
    Random random;
    for (int round = 0; round < 5; ++round) {
        const Source image = RandomSource(random), target = RandomSource(random);
        const std::vector<Value> values = All(random.Between(-1, 40));
        for (const double time : {0.0, -1.0, -HUGE_VAL, std::nan("")}) {
            EXPECT_EQ(Pixels(At(time, image.image, target.image, values), kAround), Pixels(image.image, kAround))
                << time;
        }
        for (const double time : {1.0, 2.0, HUGE_VAL}) {
            EXPECT_EQ(Pixels(At(time, image.image, target.image, values), kAround), Pixels(target.image, kAround))
                << time;
        }
    }
}

TEST_P(EveryTransitionTest, DoesNotDependOnTiling) {
    Random random;
    for (int round = 0; round < 5; ++round) {
        const Source image = RandomSource(random), target = RandomSource(random);
        const ImageRef between = At(random.Between(0.1, 0.9), image.image, target.image, All(random.Between(0.5, 20)));
        EXPECT_EQ(Pixels(between, kAround, {23, 16, 7}), Pixels(between, kAround));
    }
}

TEST_P(EveryTransitionTest, ExtentCoversBothImagesAtAnyTime) {
    const ImageRef image = Gray(1, {1, 2, 3, 4}), target = Gray(1, {-7, 3, 2, 9});
    for (const double time : {0.0, 0.3, 1.0}) {
        EXPECT_EQ(At(time, image, target)->GetExtent(), (Extent{-7, 2, 4, 12}));
        EXPECT_TRUE(At(time, image, MakeConstantImage({1, 1, 1, 1}))->GetExtent().IsInfinite());
    }
}

TEST_P(EveryTransitionTest, MissingImageGivesNull) {
    const ImageRef image = Gray(1, {1, 2, 3, 4});
    for (const double time : {0.0, 0.3, 1.0}) {
        EXPECT_EQ(At(time, image, nullptr), nullptr);
        EXPECT_EQ(At(time, nullptr, image), nullptr);
    }
}

TEST_P(EveryTransitionTest, HostileNumbersAndImagesGiveFinitePixels) {
    const float nan = std::nanf("");
    const ImageRef usual = SourceOf({2, 3, 2, 1}, {1, 1, 1, 1, 0, 0, 0, 1}).image;
    const ImageRef odd = SourceOf({0, 0, 2, 1}, {nan, 1e30f, -1e30f, 1, HUGE_VALF, 0, 0, nan}).image;
    const ImageRef infinite = MakeConstantImage({1, 0.5f, 0, 1}), empty = MakeCroppedImage(usual, {});
    const ImageRef images[] = {usual, odd, infinite, empty, Gray(0.5f, {0, 0, 1, 1})};
    for (const double number : kHostile) {
        for (const double time : {1e-9, 0.3, 0.9}) {
            for (const ImageRef& image : images) {
                mask_ = image;
                ExpectFinite(At(time, image, usual, All(number)));
                ExpectFinite(At(time, usual, image, All(number)));
                ExpectFinite(At(time, image, image, All(number)));
            }
        }
    }
}

INSTANTIATE_TEST_SUITE_P(
    Kinds, EveryTransitionTest,
    testing::Values(
        Kind{"CIBarsSwipeTransition", {"inputAngle", "inputWidth", "inputBarOffset"}},
        Kind{"CICopyMachineTransition", {"inputAngle", "inputWidth", "inputOpacity", "inputExtent", "inputColor"}},
        Kind{"CIDisintegrateWithMaskTransition", {"inputShadowRadius", "inputShadowDensity", "inputShadowOffset"}},
        Kind{"CIDissolveTransition", {}},
        Kind{"CIFlashTransition",
             {"inputCenter", "inputExtent", "inputColor", "inputFadeThreshold", "inputMaxStriationRadius",
              "inputStriationContrast", "inputStriationStrength"}}),
    [](const auto& test) { return std::string(test.param.filter); });

TEST(DissolveTransitionTest, IsTheMeanWeightedByTime) {
    Random random;
    for (int round = 0; round < 10; ++round) {
        const Source image = RandomSource(random), target = RandomSource(random);
        const double time = random.Between(0, 1);
        ExpectPixels(Transition("CIDissolveTransition", image.image, target.image, {{"inputTime", {time}}}), kAround,
                     [&](std::int64_t x, std::int64_t y, std::size_t channel) {
                         return Mix(image.At(x, y, channel), target.At(x, y, channel), time);
                     });
    }
}

TEST(CopyMachineTransitionTest, MatchesTheFormula) {
    Random random;
    for (int round = 0; round < 20; ++round) {
        const Source image = RandomSource(random), target = RandomSource(random);
        const double time = random.Between(0, 1), angle = random.Between(-7, 7), width = random.Between(0.5, 90);
        const double opacity = random.Between(0, 3), left = random.Between(-50, 0), bottom = random.Between(-50, 0);
        const double across = random.Between(1, 90), up = random.Between(1, 90);
        const std::vector<double> color = {random.Between(0, 1), random.Between(0, 1), random.Between(0, 1),
                                           random.Between(0, 1)};
        const ImageRef image2 = Transition("CICopyMachineTransition", image.image, target.image,
                                           {{"inputTime", {time}},
                                            {"inputAngle", {angle}},
                                            {"inputWidth", {width}},
                                            {"inputOpacity", {opacity}},
                                            {"inputColor", color},
                                            {"inputExtent", {left, bottom, across, up}}});
        double least = 1e9, most = -1e9;
        for (const double x : {left, left + across}) {
            for (const double y : {bottom, bottom + up}) {
                least = std::min(least, x * std::cos(angle) + y * std::sin(angle));
                most = std::max(most, x * std::cos(angle) + y * std::sin(angle));
            }
        }
        const Extent extent = image2->GetExtent();
        ExpectPixels(image2, kAround, [&](std::int64_t x, std::int64_t y, std::size_t channel) {
            const double px = static_cast<double>(x) + 0.5, py = static_cast<double>(y) + 0.5;
            if (px < extent.left || px > extent.right || py < extent.bottom || py > extent.top) return 0.0;
            const double far = least + time / 0.65 * (most - least + width);
            const double u = px * std::cos(angle) + py * std::sin(angle);
            const double p = std::clamp((u - (far - width)) / width, 0.0, 1.0);
            return Mix(target.At(x, y, channel), image.At(x, y, channel), p) +
                   opacity * color[3] * (channel == 3 ? 1 : color[channel]) * std::min(p / 0.83, (1 - p) / 0.17);
        });
    }
}

TEST(CopyMachineTransitionTest, StripMatchesHandComputedValues) {
    // At half of time 0.65 a strip 10 pixels wide has reached 45...55 of 0...100.
    const ImageRef image =
        Transition("CICopyMachineTransition", Gray(0.5f, {0, 0, 100, 9}), Gray(0.25f, {0, 0, 100, 9}),
                   {{"inputTime", {0.325}},
                    {"inputWidth", {10}},
                    {"inputOpacity", {2}},
                    {"inputColor", {0.5, 0, 1, 1}},
                    {"inputExtent", {0, 0, 100, 9}}});
    const auto pixel = [&](std::int64_t x) { return Pixels(image, {x, 4, 1, 1}); };
    EXPECT_EQ(pixel(44), (std::vector<float>{0.25f, 0.25f, 0.25f, 1}));
    EXPECT_EQ(pixel(55), (std::vector<float>{0.5f, 0.5f, 0.5f, 1}));
    const double glare = 0.45 / 0.83, mean = 0.25 * 0.55 + 0.5 * 0.45;
    const double expected[] = {mean + glare, mean, mean + 2 * glare, 1 + 2 * glare};
    for (std::size_t channel = 0; channel < 4; ++channel) EXPECT_NEAR(pixel(49)[channel], expected[channel], 1e-6);
    EXPECT_NEAR(pixel(54)[3], 1 + 2 * 0.05 / 0.17, 1e-6);
}

TEST(BarsSwipeTransitionTest, MatchesTheFormula) {
    Random random;
    for (int round = 0; round < 20; ++round) {
        const Source image = RandomSource(random), target = RandomSource(random);
        const double time = random.Between(0, 1), angle = random.Between(-7, 7), width = random.Between(0.5, 30);
        const double offset = random.Between(0.3, 20), sin = std::sin(angle), cos = std::cos(angle);
        const ImageRef bars = Transition(
            "CIBarsSwipeTransition", image.image, target.image,
            {{"inputTime", {time}}, {"inputAngle", {angle}}, {"inputWidth", {width}}, {"inputBarOffset", {offset}}});
        const Extent all = bars->GetExtent();
        const double across = all.right - all.left, up = all.top - all.bottom;
        const double least = std::min(all.left * cos, all.right * cos) + std::min(all.bottom * sin, all.top * sin);
        const bool isSteep = across * std::abs(cos) > up * std::abs(sin);
        const double reach = isSteep
                                 ? std::floor(across * std::abs(cos) / width) + std::sqrt(up / std::abs(cos) / offset)
                                 : std::floor(up * std::abs(sin) / width) + std::sqrt(across / std::abs(sin) / offset);
        ExpectPixels(bars, kAround, [&](std::int64_t x, std::int64_t y, std::size_t channel) {
            const double px = static_cast<double>(x) + 0.5, py = static_cast<double>(y) + 0.5;
            const double n = std::max(0.0, time * reach - std::floor((px * cos + py * sin - least) / width));
            const double u = px - offset * n * n * sin, v = py + offset * n * n * cos;
            const At at = [&](std::int64_t i, std::int64_t j, std::size_t c) { return image.At(i, j, c); };
            if (px < all.left || px > all.right || py < all.bottom || py > all.top) return 0.0;
            return Bilinear(at, u, v, channel) + (1 - Bilinear(at, u, v, 3)) * target.At(x, y, channel);
        });
    }
}

TEST(BarsSwipeTransitionTest, BarsMatchHandComputedValues) {
    // Three bars, 30 wide and 100 high. Each row is one level brighter than the row below: M = 3 + sqrt(100 / 10).
    std::vector<float> rows;
    for (int row = 99; row >= 0; --row) {
        for (int column = 0; column < 90; ++column) rows.insert(rows.end(), {static_cast<float>(row), 0, 0, 1});
    }
    const Source image = SourceOf({0, 0, 90, 100}, rows);
    const ImageRef bars =
        Transition("CIBarsSwipeTransition", image.image, Gray(1000, {0, 0, 90, 100}),
                   {{"inputTime", {0.5}}, {"inputAngle", {0}}, {"inputWidth", {30}}, {"inputBarOffset", {10}}});
    const auto red = [&](std::int64_t x, std::int64_t y) { return Pixels(bars, {x, y, 1, 1})[0]; };
    const double m = 0.5 * (3 + std::sqrt(10.0));
    EXPECT_NEAR(red(10, 2), 2 + 10 * m * m, 1e-3);
    EXPECT_NEAR(red(40, 2), 2 + 10 * (m - 1) * (m - 1), 1e-3);
    EXPECT_NEAR(red(89, 2), 2 + 10 * (m - 2) * (m - 2), 1e-3);
    EXPECT_EQ(red(10, 50), 1000);
}

TEST(BarsSwipeTransitionTest, DoesNotDependOnWhetherTheImageIsInMemory) {
    class Unchanged : public PointFunction {
        void ApplyToRun(float*, std::size_t) const override {}
    };
    const ImageRef inMemory = RandomImage(120, 90);
    const ImageRef rendered = MakePointImage(inMemory, std::make_unique<Unchanged>());
    const auto bars = [](const ImageRef& image) {
        const ImageRef swipe =
            Transition("CIBarsSwipeTransition", image, Gray(0.5f, {0, 0, 120, 90}),
                       {{"inputTime", {0.5}}, {"inputAngle", {0.3}}, {"inputWidth", {7}}, {"inputBarOffset", {3}}});
        return Pixels(swipe, {-5, -5, 130, 100}, {4096, 29, 17});
    };
    EXPECT_EQ(bars(inMemory), bars(rendered));
}

TEST(BarsSwipeTransitionTest, WidthAndOffsetAreAtLeastAMillionth) {
    const auto bars = [](double width, double offset) {
        return Pixels(
            Transition(
                "CIBarsSwipeTransition", RandomImage(31, 17), RandomImage(17, 31),
                {{"inputTime", {0.4}}, {"inputAngle", {3}}, {"inputWidth", {width}}, {"inputBarOffset", {offset}}}),
            {0, 0, 31, 31});
    };
    for (const double tooSmall : {0.0, -5.0}) {
        EXPECT_EQ(bars(tooSmall, 2), bars(1e-6, 2));
        EXPECT_EQ(bars(9, tooSmall), bars(9, 1e-6));
    }
}

TEST(BarsSwipeTransitionTest, InfiniteTargetLaysBarsOverTheImage) {
    const ImageRef image = RandomImage(31, 17), infinite = MakeConstantImage({0, 1, 0, 1});
    const std::vector<Value> values = {
        {"inputTime", {0.4}}, {"inputAngle", {3}}, {"inputWidth", {5}}, {"inputBarOffset", {2}}};
    const ImageRef finite = MakeCroppedImage(infinite, {0, 0, 31, 17});
    const Region region = {0, 0, 31, 17};
    EXPECT_EQ(Pixels(Transition("CIBarsSwipeTransition", image, infinite, values), region),
              Pixels(Transition("CIBarsSwipeTransition", image, finite, values), region));
    EXPECT_EQ(Pixels(Transition("CIBarsSwipeTransition", infinite, infinite, values), region),
              Pixels(infinite, region));
}

// The tolerance is ten times the usual one: on a uniform mask the shadow multiplies the rounding errors of the
// interpolated mask by up to 1000 / radius.
TEST(DisintegrateTransitionTest, MatchesTheFormula) {
    Random random;
    for (int round = 0; round < 20; ++round) {
        const Source image = RandomSource(random), target = RandomSource(random), mask = RandomSource(random);
        const double time = random.Between(0, 1), radius = random.Between(0.5, 30), density = random.Between(0, 1);
        const std::vector<double> offset = {random.Between(-9, 9), random.Between(-9, 9)};
        const ImageRef between = Transition("CIDisintegrateWithMaskTransition", image.image, target.image,
                                            {{"inputTime", {time}},
                                             {"inputShadowRadius", {radius}},
                                             {"inputShadowDensity", {density}},
                                             {"inputShadowOffset", offset},
                                             {"inputMaskImage", {}, mask.image}});
        const auto m = [&](std::int64_t x, std::int64_t y, std::size_t channel = 1) { return mask.At(x, y, channel); };
        ExpectPixels(
            between, kAround,
            [&](std::int64_t x, std::int64_t y, std::size_t channel) {
                const double g = std::max(std::abs(m(x, y) - m(x - 1, y)), std::abs(m(x, y) - m(x, y - 1))) + 0.001;
                const double cover = std::clamp(0.5 + (m(x, y) - time) / g, 0.0, 1.0);
                if (channel == 3) return Mix(target.At(x, y, 3), image.At(x, y, 3), cover);
                const double moved =
                    Bilinear(m, static_cast<double>(x) + 0.5 - offset[0], static_cast<double>(y) + 0.5 - offset[1], 1);
                const double shadow = std::clamp(0.5 + (moved - time) / (g * radius), 0.0, 1.0);
                return Mix(target.At(x, y, channel) * (0.75 + 0.25 * time) * (1 - density * shadow),
                           image.At(x, y, channel) * (1 + 0.25 * time), cover);
            },
            1e-4);
    }
}

TEST(DisintegrateTransitionTest, EdgeAndShadowMatchHandComputedValues) {
    // The mask is 1 to the left of x = 10 and 0 to the right of it. Its shadow is offset 3 to the right.
    const Region all = {0, 0, 20, 1};
    const ImageRef mask = MakeCroppedImage(Gray(1, {0, -5, 10, 9}), {-99, -99, 99, 99});
    const ImageRef between = Transition("CIDisintegrateWithMaskTransition", Gray(1, all), Gray(0.5f, all),
                                        {{"inputTime", {0.5}},
                                         {"inputShadowRadius", {0}},
                                         {"inputShadowDensity", {0.4}},
                                         {"inputShadowOffset", {3, 0}},
                                         {"inputMaskImage", {}, mask}});
    const auto red = [&](std::int64_t x) { return Pixels(between, {x, 0, 1, 1})[0]; };
    EXPECT_NEAR(red(5), 1.125, 1e-6);
    EXPECT_NEAR(red(9), 1.125, 1e-6);
    // Where the mask falls from 1 to 0, the coverage is 0.5 - 0.5 / 1.001.
    EXPECT_NEAR(red(10), 0.5 * 0.875 * 0.6 + (0.5 - 0.5 / 1.001) * (1.125 - 0.5 * 0.875 * 0.6), 1e-6);
    EXPECT_NEAR(red(12), 0.5 * 0.875 * 0.6, 1e-6);
    EXPECT_NEAR(red(13), 0.5 * 0.875, 1e-6);
    EXPECT_EQ(Pixels(between, {12, 0, 1, 1})[3], 1);
}

// A mask in memory is read run by run, any other one is rendered as tiles.
TEST(DisintegrateTransitionTest, DoesNotDependOnWhetherTheMaskIsInMemory) {
    const Region region = {-5, -5, 160, 105};
    const ImageRef mask = RandomImage(150, 90);
    const auto between = [](const ImageRef& any) {
        return Transition("CIDisintegrateWithMaskTransition", RandomImage(150, 90), Gray(0.5f, {0, 0, 150, 90}),
                          {{"inputTime", {0.5}},
                           {"inputShadowRadius", {8}},
                           {"inputShadowDensity", {0.65}},
                           {"inputShadowOffset", {3, -10}},
                           {"inputMaskImage", {}, any}});
    };
    EXPECT_TRUE(Prepare(between(mask), region).IsPointwise());
    EXPECT_FALSE(Prepare(between(Unshared(mask)), region).IsPointwise());
    const std::vector<float> whole = Pixels(between(mask), region, {4096, 4096, 4096});
    EXPECT_EQ(Pixels(between(Unshared(mask)), region, {4096, 29, 17}), whole);
    EXPECT_EQ(Pixels(between(mask), region, {70, 13, 5}), whole);
}

// Returns a flash around the center of pixel (0, 0), without rays unless the values add them.
ImageRef Flash(double time, const ImageRef& image, const ImageRef& target, std::vector<Value> values) {
    for (const Value& value : std::vector<Value>{{"inputTime", {time}},
                                                 {"inputCenter", {0.5, 0.5}},
                                                 {"inputExtent", {0, 0, 30, 40}},
                                                 {"inputColor", {1, 0.8, 0.6, 1}},
                                                 {"inputFadeThreshold", {0.85}},
                                                 {"inputMaxStriationRadius", {2.5}}}) {
        values.push_back(value);
    }
    return Transition("CIFlashTransition", image, target, std::move(values));
}

double FlashRadius(double time) { return 0.3168 * 50 / std::sqrt(2) * time * time * time / (1 - time * time); }

TEST(FlashTransitionTest, MatchesTheFormulaWithoutRays) {
    Random random;
    for (int round = 0; round < 20; ++round) {
        const Source image = RandomSource(random), target = RandomSource(random);
        const double time = random.Between(0.3, 1), radius = FlashRadius(time);
        const double share = std::min(1.0, (1 - time) / 0.15);
        const ImageRef flash = Flash(time, image.image, target.image, {});
        const Extent all = flash->GetExtent();
        ExpectPixels(flash, kAround, [&](std::int64_t x, std::int64_t y, std::size_t channel) {
            const double px = static_cast<double>(x) + 0.5, py = static_cast<double>(y) + 0.5;
            if (px < all.left || px > all.right || py < all.bottom || py > all.top) return 0.0;
            const double component[] = {1, 0.8, 0.6}, r = std::hypot(px - 0.5, py - 0.5);
            const double color =
                channel == 3 ? 1 : static_cast<double>(DecodeSRGB(static_cast<float>(component[channel])));
            const double light = r == 0 ? 1e9 : std::max(0.0, 1 - r / 2.5 / radius) * color * radius * radius / r / r;
            return Mix(target.At(x, y, channel), std::clamp(image.At(x, y, channel) + light, 0.0, 1.0), share);
        });
    }
}

// Returns the brightness of a ray over black. The flash has no color and a huge radius, so only the noise remains.
double RayAt(std::int64_t x, std::int64_t y, double contrast, double strength) {
    const ImageRef black = Gray(0, {-200, -200, 400, 400});
    const ImageRef flash = Flash(0.8, black, black,
                                 {{"inputColor", {0, 0, 0, 0}},
                                  {"inputStriationContrast", {contrast}},
                                  {"inputStriationStrength", {strength}},
                                  {"inputMaxStriationRadius", {1e6}}});
    return Pixels(flash, {x, y, 1, 1})[0];
}

TEST(FlashTransitionTest, RaysAreStraightAndFollowContrastAndStrength) {
    for (const auto& [x, y] : {std::array<std::int64_t, 2>{3, 1}, {-5, 7}, {-2, -9}, {8, -3}}) {
        const double noise = RayAt(x, y, 1, 1);
        EXPECT_NEAR(RayAt(9 * x, 9 * y, 1, 1), noise, 1e-4);
        EXPECT_NEAR(RayAt(x, y, 0.5, 0.7), 0.7 * ((noise - 0.5) * 0.5 + 0.5), 1e-4);
    }
}

TEST(FlashTransitionTest, MostRaysAreFaintAndAFewAreBright) {
    // Samples a large circle at steps of 1/100 degree.
    const ImageRef black = Gray(0, {-9000, -9000, 18000, 18000});
    const ImageRef flash = Flash(0.8, black, black,
                                 {{"inputColor", {0, 0, 0, 0}},
                                  {"inputStriationContrast", {1}},
                                  {"inputStriationStrength", {1}},
                                  {"inputMaxStriationRadius", {1e9}}});
    std::vector<double> rays;
    for (int step = 0; step < 36000; ++step) {
        const double angle = step * 6.283185307179586 / 36000;
        const auto x = std::llround(8000 * std::cos(angle)), y = std::llround(8000 * std::sin(angle));
        rays.push_back(Pixels(flash, {x, y, 1, 1})[0]);
    }
    // A ray is half a degree wide, and none begins with a step: not even where the last one meets the first.
    for (std::size_t i = 0; i < rays.size(); ++i) EXPECT_NEAR(rays[i], rays[(i + 1) % rays.size()], 0.06) << i;
    double sum = 0, squares = 0;
    for (const double ray : rays) sum += ray, squares += ray * ray;
    const double mean = sum / 36000, variance = squares / 36000 - mean * mean;
    EXPECT_NEAR(mean, 0.39, 0.02);
    EXPECT_NEAR(std::sqrt(variance), 0.16, 0.01);
    EXPECT_NEAR(*std::min_element(rays.begin(), rays.end()), 0.05, 0.05);
    EXPECT_NEAR(*std::max_element(rays.begin(), rays.end()), 0.9, 0.05);
    const auto correlation = [&](std::size_t lag) {
        double products = 0;
        for (std::size_t i = 0; i < rays.size(); ++i) products += rays[i] * rays[(i + lag) % rays.size()];
        return (products / 36000 - mean * mean) / variance;
    };
    EXPECT_NEAR(correlation(38), 0.5, 0.05);
    EXPECT_LT(correlation(70), 0.2);
}

TEST(FlashTransitionTest, CoversTheExtentWhenItBeginsToFade) {
    const ImageRef black = Gray(0, {0, 0, 300, 300});
    const ImageRef flash = Transition("CIFlashTransition", black, black,
                                      {{"inputTime", {0.85}},
                                       {"inputCenter", {150, 150}},
                                       {"inputExtent", {0, 0, 300, 300}},
                                       {"inputColor", {1, 0.8, 0.6, 1}},
                                       {"inputFadeThreshold", {0.85}},
                                       {"inputMaxStriationRadius", {2.58}}});
    EXPECT_GT(Pixels(flash, {0, 0, 1, 1})[0], 0.2f);
    EXPECT_EQ(Pixels(flash, {150, 150, 1, 1}), std::vector<float>(4, 1.0f));
}

}  // namespace
