// curve_filters_test.cpp - compares the nonlinear color filters with their formulas in doubles.

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <cstddef>
#include <vector>

#include "support/point_oracle.h"

namespace {

using namespace core_image;

FilterValues On(const ImageRef& image) { return FilterValues().Image("inputImage", image); }

TEST(GammaTest, RaisesColorsToThePower) {
    const ImageRef image = OutOfRangeImage(11);
    for (const double power : {0.25, 0.4545, 1.0001, 2.2, 4.0}) {
        ExpectPixels(On(image).Number("inputPower", power).Output("CIGammaAdjust"), {image}, [&](const auto& in) {
            const Slow c = Unpremultiplied(in[0]);
            const auto raised = [&](double x) { return x > 0 ? std::pow(x, power) : 0; };
            return Premultiplied({raised(c.red), raised(c.green), raised(c.blue), c.alpha});
        });
    }
    ExpectNear(PixelOf(On(OnePixel(0.25f, 0.5f, 1, 1)).Number("inputPower", 2).Output("CIGammaAdjust")),
               {0.0625, 0.25, 1, 1});
}

// Covers every power of two and values between them, down to the smallest that the engine does not treat as black. The
// tolerance grows with the logarithm: powers above 3 are computed by logarithms and have a proportional error.
TEST(GammaTest, IsAccurateFromDarkToBright) {
    for (const double power : {0.1, 0.75, 1.8, 2.999, 3.0, 3.001, 4.0}) {
        for (double light = 1e-8; light < 1e6; light *= 1.37) {
            const auto value = static_cast<float>(light);
            const ImageRef image = OnePixel(value, value, value, 1);
            const float raised = PixelOf(On(image).Number("inputPower", power).Output("CIGammaAdjust"))[0];
            const double expected = std::pow(static_cast<double>(value), power);
            const double tolerance = 1e-6 + 1e-7 * std::abs(std::log2(expected));
            ASSERT_NEAR(raised, expected, tolerance * expected) << light << " to the power of " << power;
        }
    }
}

TEST(GammaTest, ZeroPowerGivesWhiteInsideTheImage) {
    const ImageRef image = OnePixel(0, 0.2f, 0.5f, 0.5f);
    ExpectNear(PixelOf(On(image).Number("inputPower", 0).Output("CIGammaAdjust")), {0.5, 0.5, 0.5, 0.5});
    ExpectNear(PixelOf(On(OnePixel(0, 0, 0, 0)).Number("inputPower", 0).Output("CIGammaAdjust")), {0, 0, 0, 0});
}

TEST(ClampTest, KeepsEveryChannelWithinItsLimits) {
    const ImageRef image = OutOfRangeImage(12);
    RandomNumbers random(120);
    for (int round = 0; round < 10; ++round) {
        const std::vector<double> low = random.List(4, -0.2, 0.4), high = random.List(4, 0.3, 1.2);
        const ImageRef result =
            On(image).Vector("inputMinComponents", low).Vector("inputMaxComponents", high).Output("CIColorClamp");
        EXPECT_EQ(result->GetExtent().IsInfinite(), low[3] > 0);
        ExpectPixels(result, {image}, [&](const auto& in) {
            const Slow c = Unpremultiplied(in[0]);
            const auto kept = [&](double x, std::size_t k) { return std::max(std::min(x, high[k]), low[k]); };
            return Premultiplied({kept(c.red, 0), kept(c.green, 1), kept(c.blue, 2), std::max(kept(c.alpha, 3), 0.0)});
        });
    }
}

TEST(ClampTest, PositiveMinimumAlphaMakesTheImageInfinite) {
    FilterValues values = On(OnePixel(2, -1, 0.5f, 1));
    values.Vector("inputMinComponents", {0.1, 0.2, 0, 0.5}).Vector("inputMaxComponents", {0.8, 1, 1, 1});
    const ImageRef result = values.Output("CIColorClamp");
    ExpectNear(Pixels(result, {0, 0, 2, 1}), {0.8, 0.2, 0.5, 1, 0.05, 0.1, 0, 0.5});
}

TEST(PosterizeTest, RoundsToTheNearestLevel) {
    const auto result = [](double levels) {
        return PixelOf(On(OnePixel(0.24f, 0.26f, 0.9f, 1)).Number("inputLevels", levels).Output("CIColorPosterize"));
    };
    ExpectNear(result(2), {0, 0, 1, 1});
    ExpectNear(result(3), {0, 0.5, 1, 1});
    ExpectNear(result(5), {0.25, 0.25, 1, 1});
    ExpectNear(result(6), {0.2, 0.2, 1, 1});
    ExpectNear(result(1), {0, 0, 0, 1});
    ExpectNear(result(-5), {0, 0, 0, 1});
}

// Skips values that are halfway between two levels, where either level is correct.
TEST(PosterizeTest, MatchesTheFormula) {
    const ImageRef image = OutOfRangeImage(13);
    const std::vector<float> source = Pixels(image, kOffsetRegion);
    for (const double levels : {2.0, 6.0, 7.5, 30.0}) {
        const std::vector<float> fast =
            Pixels(On(image).Number("inputLevels", levels).Output("CIColorPosterize"), kOffsetRegion);
        for (std::size_t index = 0; index < fast.size(); ++index) {
            const double alpha = source[index / 4 * 4 + 3];
            if (index % 4 == 3 || alpha == 0) continue;
            const double steps = source[index] / alpha * (levels - 1);
            if (std::abs(steps - std::floor(steps) - 0.5) < 1e-4) continue;
            ASSERT_NEAR(fast[index], std::floor(steps + 0.5) / (levels - 1) * alpha, 1e-5) << "number " << index;
        }
    }
}

TEST(MonochromeTest, ShadesRunFromBlackThroughTheColorToWhite) {
    const auto result = [](float gray, double intensity) {
        FilterValues values = On(OnePixel(gray, gray, gray, 1));
        values.Vector("inputColor", {1, 0, 1, 1}).Number("inputIntensity", intensity);
        return PixelOf(values.Output("CIColorMonochrome"));
    };
    ExpectNear(result(0, 1), {0, 0, 0, 1});
    ExpectNear(result(0.25f, 1), {0.5, 0, 0.5, 1});
    ExpectNear(result(0.5f, 1), {1, 0, 1, 1});
    ExpectNear(result(0.75f, 1), {1, 0.5, 1, 1});
    ExpectNear(result(1, 1), {1, 1, 1, 1});
    ExpectNear(result(0.75f, 0.5), {0.875, 0.625, 0.875, 1});
}

TEST(MonochromeTest, MatchesTheFormula) {
    const ImageRef image = OutOfRangeImage(14);
    RandomNumbers random(140);
    for (const double intensity : {0.3, 1.0, 1.7}) {
        const std::vector<double> encoded = random.List(3, 0.1, 1);
        std::vector<double> color;
        for (const double x : encoded) color.push_back(std::pow((x + 0.055) / 1.055, 2.4));
        FilterValues values = On(image);
        values.Vector("inputColor", {encoded[0], encoded[1], encoded[2], 0.3}).Number("inputIntensity", intensity);
        ExpectPixels(values.Output("CIColorMonochrome"), {image}, [&](const auto& in) {
            const Slow c = Unpremultiplied(in[0]);
            const double y = Luminance(c);
            const auto tinted = [&](double x, double k) {
                const double shade = y < 0.5 ? 2 * y * k : k + (1 - k) * (2 * y - 1);
                return x + (shade - x) * intensity;
            };
            return Premultiplied(
                {tinted(c.red, color[0]), tinted(c.green, color[1]), tinted(c.blue, color[2]), c.alpha});
        });
    }
}

TEST(PolynomialTest, EvaluatesACubicPerChannel) {
    const ImageRef image = OutOfRangeImage(15);
    RandomNumbers random(150);
    for (int round = 0; round < 10; ++round) {
        std::array<std::vector<double>, 4> k;
        for (auto& channel : k) channel = random.List(4, -1, 1);
        if (round % 2 == 0) k[3][0] = 0;
        FilterValues values = On(image);
        values.Vector("inputRedCoefficients", k[0]).Vector("inputGreenCoefficients", k[1]);
        values.Vector("inputBlueCoefficients", k[2]).Vector("inputAlphaCoefficients", k[3]);
        const ImageRef result = values.Output("CIColorPolynomial");
        EXPECT_EQ(result->GetExtent().IsInfinite(), round % 2 == 1);
        ExpectPixels(result, {image}, [&](const auto& in) {
            const Slow c = Unpremultiplied(in[0]);
            const auto cubic = [&](double x, std::size_t n) {
                return k[n][0] + k[n][1] * x + k[n][2] * x * x + k[n][3] * x * x * x;
            };
            return Premultiplied(
                {cubic(c.red, 0), cubic(c.green, 1), cubic(c.blue, 2), std::max(cubic(c.alpha, 3), 0.0)});
        });
    }
}

TEST(CrossPolynomialTest, EvaluatesAQuadraticOfTheThreeColors) {
    const ImageRef image = OutOfRangeImage(16);
    RandomNumbers random(160);
    for (int round = 0; round < 10; ++round) {
        std::array<std::vector<double>, 3> k;
        for (auto& channel : k) channel = random.List(10, -1, 1);
        FilterValues values = On(image);
        values.Vector("inputRedCoefficients", k[0]).Vector("inputGreenCoefficients", k[1]);
        values.Vector("inputBlueCoefficients", k[2]);
        ExpectPixels(values.Output("CIColorCrossPolynomial"), {image}, [&](const auto& in) {
            const Slow c = Unpremultiplied(in[0]);
            const double r = c.red, g = c.green, b = c.blue;
            const double terms[] = {r, g, b, r * r, g * g, b * b, r * g, g * b, b * r, 1};
            double sums[3] = {};
            for (std::size_t channel = 0; channel < 3; ++channel) {
                for (std::size_t term = 0; term < 10; ++term) sums[channel] += k[channel][term] * terms[term];
            }
            return Premultiplied({sums[0], sums[1], sums[2], c.alpha});
        });
    }
}

TEST(CrossPolynomialTest, MissingCoefficientsAreZeroAndConstantsKeepTheExtent) {
    FilterValues values = On(OnePixel(0.5f, 0.25f, 1, 1));
    values.Vector("inputRedCoefficients", {0, 2}).Vector("inputGreenCoefficients", {0, 0, 0, 0, 0, 0, 0, 0, 1});
    values.Vector("inputBlueCoefficients", {0, 0, 0, 0, 0, 0, 0, 0, 0, 0.75});
    const ImageRef result = values.Output("CIColorCrossPolynomial");
    ExpectNear(Pixels(result, {0, 0, 2, 1}), {0.5, 0.5, 0.75, 1, 0, 0, 0, 0});
}

}  // namespace
