// compositing_test.cpp - compares addition, blend modes and masks with formulas in doubles, and tests missing images.

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <functional>
#include <limits>
#include <string_view>

#include "core/cropped.h"
#include "generator/generator.h"
#include "support/point_oracle.h"

namespace {

using namespace core_image;

FilterValues Over(const ImageRef& source, const ImageRef& background) {
    return FilterValues().Image("inputImage", source).Image("inputBackgroundImage", background);
}

double Clip(double value) { return std::clamp(value, 0.0, 1.0); }

// A blend mode of one color channel; the background comes first.
using Mode = double (*)(double b, double s);

// Clips two pixels and blends them by a mode.
Slow Blended(Slow b, Slow s, const std::function<Slow(const Slow& b, const Slow& s)>& mode) {
    for (Slow* pixel : {&b, &s}) {
        pixel->alpha = Clip(pixel->alpha);
        for (double* color : {&pixel->red, &pixel->green, &pixel->blue}) *color = std::clamp(*color, 0.0, pixel->alpha);
    }
    const Slow inside = mode(Unpremultiplied(b), Unpremultiplied(s));
    const auto whole = [&](double source, double background, double in) {
        return (1 - b.alpha) * source + (1 - s.alpha) * background + b.alpha * s.alpha * in;
    };
    return {whole(s.red, b.red, inside.red), whole(s.green, b.green, inside.green), whole(s.blue, b.blue, inside.blue),
            b.alpha + s.alpha - b.alpha * s.alpha};
}

double Burnt(double b, double s) { return b >= 1 ? 1 : s == 0 ? 0 : 1 - std::min(1.0, (1 - b) / s); }

double Dodged(double b, double s) { return b == 0 ? 0 : s >= 1 ? 1 : std::min(1.0, b / (1 - s)); }

const struct {
    const char* filter;
    Mode mode;
} kModes[] = {
    {"CIColorBurnBlendMode", Burnt},
    {"CIColorDodgeBlendMode", Dodged},
    {"CIDarkenBlendMode", [](double b, double s) { return std::min(b, s); }},
    {"CIDifferenceBlendMode", [](double b, double s) { return std::abs(b - s); }},
    {"CIExclusionBlendMode", [](double b, double s) { return b + s - 2 * b * s; }},
};

// The tolerance is ten times the usual one: burning and dodging divide by values that may be small, and floats near 1
// have few digits left for their distance to 1.
TEST(BlendModeTest, MatchesTheFormulaInsideAndOutsideTheOverlap) {
    const ImageRef source = OutOfRangeImage(31);
    const ImageRef background = MakeCroppedImage(OutOfRangeImage(32), {9, -100, 50, 100});
    for (const auto& [filter, mode] : kModes) {
        SCOPED_TRACE(filter);
        const auto each = [&mode = mode](const Slow& b, const Slow& s) {
            return Slow{mode(b.red, s.red), mode(b.green, s.green), mode(b.blue, s.blue), 0};
        };
        ExpectPixels(
            Over(source, background).Output(filter), {background, source},
            [&](const auto& in) { return Blended(in[0], in[1], each); }, 1e-4);
    }
}

// Returns a color with the hue and the HSL saturation of another color and the given lightness.
Slow ColorOfLightness(const Slow& hue, double lightness) {
    const double most = std::max({hue.red, hue.green, hue.blue}), least = std::min({hue.red, hue.green, hue.blue});
    const double chroma = most - least;
    if (chroma == 0) return {lightness, lightness, lightness, 0};
    const double saturation = chroma / (1 - std::abs(most + least - 1));
    double sixth = most == hue.red     ? std::fmod((hue.green - hue.blue) / chroma + 6, 6)
                   : most == hue.green ? (hue.blue - hue.red) / chroma + 2
                                       : (hue.red - hue.green) / chroma + 4;
    const double c = (1 - std::abs(2 * lightness - 1)) * saturation;
    const double x = c * (1 - std::abs(std::fmod(sixth, 2) - 1));
    const double m = lightness - c / 2;
    const double parts[6][3] = {{c, x, 0}, {x, c, 0}, {0, c, x}, {0, x, c}, {x, 0, c}, {c, 0, x}};
    const double* part = parts[std::min(static_cast<int>(sixth), 5)];
    return {part[0] + m, part[1] + m, part[2] + m, 0};
}

TEST(BlendModeTest, ColorModeTakesHueAndSaturationFromTheImageAndLightnessFromTheBackground) {
    const ImageRef source = InRangeImage(33), background = InRangeImage(34);
    ExpectPixels(
        Over(source, background).Output("CIColorBlendMode"), {background, source},
        [](const auto& in) {
            return Blended(in[0], in[1], [](const Slow& b, const Slow& s) {
                const double most = std::max({b.red, b.green, b.blue}), least = std::min({b.red, b.green, b.blue});
                return ColorOfLightness(s, (most + least) / 2);
            });
        },
        1e-4);
}

TEST(BlendModeTest, OpaqueColorsMatchHandComputedValues) {
    const auto blend = [](const char* filter) {
        return PixelOf(Over(OnePixel(0.5f, 0.25f, 1, 1), OnePixel(0.75f, 0.5f, 0.25f, 1)).Output(filter));
    };
    ExpectNear(blend("CIColorBurnBlendMode"), {0.5, 0, 0.25, 1});
    ExpectNear(blend("CIColorDodgeBlendMode"), {1, 2.0 / 3, 1, 1});
    ExpectNear(blend("CIDarkenBlendMode"), {0.5, 0.25, 0.25, 1});
    ExpectNear(blend("CIDifferenceBlendMode"), {0.25, 0.25, 0.75, 1});
    ExpectNear(blend("CIExclusionBlendMode"), {0.5, 0.5, 0.75, 1});
    // Lightness 0.5 has a range of 0.5 on both sides, lightness 0.625 one of 0.375, so each channel is
    // 0.5 + (color - 0.625) * 0.5 / 0.375.
    ExpectNear(blend("CIColorBlendMode"), {1.0 / 3, 0, 1, 1});
    ExpectNear(blend("CIAdditionCompositing"), {1.25, 0.75, 1.25, 2});
}

TEST(BlendModeTest, BurnAndDodgeHandleBlackAndWhite) {
    const auto blend = [](const char* filter, float s, float b) {
        return PixelOf(Over(OnePixel(s, s, s, 1), OnePixel(b, b, b, 1)).Output(filter))[0];
    };
    EXPECT_EQ(blend("CIColorBurnBlendMode", 0, 1), 1);
    EXPECT_EQ(blend("CIColorBurnBlendMode", 0, 0.5f), 0);
    EXPECT_EQ(blend("CIColorBurnBlendMode", 1, 0.5f), 0.5f);
    EXPECT_EQ(blend("CIColorDodgeBlendMode", 1, 0), 0);
    EXPECT_EQ(blend("CIColorDodgeBlendMode", 1, 0.5f), 1);
    EXPECT_EQ(blend("CIColorDodgeBlendMode", 0, 0.5f), 0.5f);
}

TEST(BlendModeTest, OutsideOneImageTheOtherIsUnchanged) {
    const ImageRef left = MakeCroppedImage(InRangeImage(35), {5, 3, 30, 40});
    const ImageRef right = MakeCroppedImage(InRangeImage(36), {40, 3, 66, 40});
    for (const char* filter :
         {"CIAdditionCompositing", "CIColorBlendMode", "CIColorBurnBlendMode", "CIColorDodgeBlendMode",
          "CIDarkenBlendMode", "CIDifferenceBlendMode", "CIExclusionBlendMode"}) {
        const ImageRef result = Over(left, right).Output(filter);
        EXPECT_EQ(result->GetExtent(), (Extent{5, 3, 66, 40})) << filter;
        EXPECT_EQ(Pixels(result, {5, 3, 25, 37}), Pixels(left, {5, 3, 25, 37})) << filter;
        EXPECT_EQ(Pixels(result, {40, 3, 26, 37}), Pixels(right, {40, 3, 26, 37})) << filter;
        EXPECT_EQ(Over(left, nullptr).Output(filter), left) << filter;
        EXPECT_EQ(Over(nullptr, right).Output(filter), right) << filter;
        EXPECT_EQ(Over(nullptr, nullptr).Output(filter), nullptr) << filter;
        EXPECT_TRUE(Over(left, MakeConstantImage({1, 1, 1, 1})).Output(filter)->GetExtent().IsInfinite()) << filter;
    }
}

TEST(AdditionTest, AddsPremultipliedPixelsAndAlphaWithoutClipping) {
    const ImageRef source = OutOfRangeImage(37), background = OutOfRangeImage(38);
    ExpectPixels(Over(source, background).Output("CIAdditionCompositing"), {source, background}, [](const auto& in) {
        return Slow{in[0].red + in[1].red, in[0].green + in[1].green, in[0].blue + in[1].blue,
                    in[0].alpha + in[1].alpha};
    });
}

TEST(MaskTest, BlendsFromTheBackgroundToTheImage) {
    const ImageRef source = OutOfRangeImage(41), background = OutOfRangeImage(42);
    const ImageRef mask = MakeCroppedImage(OutOfRangeImage(43), {7, 0, 60, 30});
    for (const bool byAlpha : {false, true}) {
        const ImageRef result = Over(source, background)
                                    .Image("inputMaskImage", mask)
                                    .Output(byAlpha ? "CIBlendWithAlphaMask" : "CIBlendWithMask");
        ExpectPixels(result, {source, background, mask}, [byAlpha](const auto& in) {
            const double m = Clip(byAlpha ? in[2].alpha : in[2].green);
            const auto mix = [m](double s, double b) { return s * m + b * (1 - m); };
            return Slow{mix(in[0].red, in[1].red), mix(in[0].green, in[1].green), mix(in[0].blue, in[1].blue),
                        mix(in[0].alpha, in[1].alpha)};
        });
    }
}

TEST(MaskTest, ExtentCoversTheBackgroundAndTheImageInsideTheMask) {
    const ImageRef all = MakeConstantImage({1, 1, 1, 1});
    const ImageRef source = MakeCroppedImage(all, {0, 0, 10, 10}), mask = MakeCroppedImage(all, {5, 5, 20, 20});
    const ImageRef background = MakeCroppedImage(all, {-3, -3, 2, 2});
    for (const char* filter : {"CIBlendWithMask", "CIBlendWithAlphaMask"}) {
        const auto reach = [&](const ImageRef& s, const ImageRef& b, const ImageRef& m) {
            return Over(s, b).Image("inputMaskImage", m).Output(filter);
        };
        EXPECT_EQ(reach(source, background, mask)->GetExtent(), (Extent{-3, -3, 10, 10}));
        EXPECT_EQ(reach(source, nullptr, mask)->GetExtent(), (Extent{5, 5, 10, 10}));
        ExpectNear(Pixels(reach(source, nullptr, mask), {4, 5, 2, 1}), {0, 0, 0, 0, 1, 1, 1, 1});
        EXPECT_EQ(reach(nullptr, background, mask), background);
        EXPECT_EQ(reach(source, background, nullptr), background);
        EXPECT_EQ(reach(source, nullptr, nullptr), nullptr);
    }
}

TEST(MaskTest, FullAndEmptyMasksCopyPixelsExactly) {
    const ImageRef source = InRangeImage(44), background = InRangeImage(45);
    const auto under = [&](float mask) {
        return Over(source, background)
            .Image("inputMaskImage", MakeConstantImage({mask, mask, mask, mask}))
            .Output("CIBlendWithMask");
    };
    EXPECT_EQ(Pixels(under(1), kOffsetRegion), Pixels(source, kOffsetRegion));
    EXPECT_EQ(Pixels(under(0), kOffsetRegion), Pixels(background, kOffsetRegion));
}

TEST(CompositingTest, NaNCountsAsZero) {
    const float nan = std::nanf("");
    const ImageRef usual = OnePixel(0.5f, 0.25f, 0.75f, 1), other = OnePixel(0, 1, 0.5f, 1);
    const struct {
        ImageRef odd, even;
    } kPairs[] = {{OnePixel(nan, 0.25f, nan, 1), OnePixel(0, 0.25f, 0, 1)},
                  {OnePixel(0.5f, 0.25f, 0.125f, nan), OnePixel(0.5f, 0.25f, 0.125f, 0)}};
    for (const char* filter :
         {"CIColorBlendMode", "CIColorBurnBlendMode", "CIColorDodgeBlendMode", "CIDarkenBlendMode",
          "CIDifferenceBlendMode", "CIExclusionBlendMode", "CIBlendWithMask", "CIBlendWithAlphaMask"}) {
        const bool isMasked = std::string_view(filter).starts_with("CIBlendWith");
        for (const auto& [odd, even] : kPairs) {
            const auto blend = [&](const ImageRef& image) {
                return PixelOf(Over(isMasked ? other : image, usual).Image("inputMaskImage", image).Output(filter));
            };
            EXPECT_EQ(blend(odd), blend(even)) << filter;
        }
    }
}

TEST(CompositingTest, HostilePixelsGiveFinitePixels) {
    const float nan = std::nanf(""), infinity = std::numeric_limits<float>::infinity();
    for (const char* filter : {"CIAdditionCompositing", "CIColorBlendMode", "CIColorBurnBlendMode",
                               "CIColorDodgeBlendMode", "CIDarkenBlendMode", "CIDifferenceBlendMode",
                               "CIExclusionBlendMode", "CIBlendWithMask", "CIBlendWithAlphaMask"}) {
        for (const float value : {nan, infinity, -infinity, 1e38f, -1e38f, 0.0f}) {
            const ImageRef odd = OnePixel(value, -value, 1, value), usual = OnePixel(0.5f, 0, 1, 1);
            for (const ImageRef& result : {Over(odd, usual).Image("inputMaskImage", usual).Output(filter),
                                           Over(usual, odd).Image("inputMaskImage", odd).Output(filter),
                                           Over(odd, odd).Image("inputMaskImage", odd).Output(filter)}) {
                for (const float number : PixelOf(result)) ASSERT_TRUE(std::isfinite(number)) << filter << value;
            }
        }
    }
}

}  // namespace
