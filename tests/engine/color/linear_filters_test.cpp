// linear_filters_test.cpp - compares exposure, inversion, color matrix and false color with their formulas in doubles.

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <vector>

#include "support/point_oracle.h"

namespace {

using namespace core_image;

FilterValues On(const ImageRef& image) { return FilterValues().Image("inputImage", image); }

double Light(double encoded) { return encoded <= 0.04045 ? encoded / 12.92 : std::pow((encoded + 0.055) / 1.055, 2.4); }

TEST(ExposureTest, DoublesWithEachStop) {
    const ImageRef image = OutOfRangeImage(1);
    for (const double stops : {-10.0, -0.7, 0.5, 3.0}) {
        const double factor = std::exp2(stops);
        ExpectPixels(On(image).Number("inputEV", stops).Output("CIExposureAdjust"), {image}, [&](const auto& in) {
            return Slow{in[0].red * factor, in[0].green * factor, in[0].blue * factor, in[0].alpha};
        });
    }
    ExpectNear(PixelOf(On(OnePixel(0.1f, 0.2f, 0.3f, 0.5f)).Number("inputEV", 1).Output("CIExposureAdjust")),
               {0.2, 0.4, 0.6, 0.5});
}

TEST(InvertTest, ReflectsEachColorAboutOneHalf) {
    const ImageRef image = OutOfRangeImage(2);
    ExpectPixels(On(image).Output("CIColorInvert"), {image}, [](const auto& in) {
        const Slow c = Unpremultiplied(in[0]);
        return Premultiplied({1 - c.red, 1 - c.green, 1 - c.blue, c.alpha});
    });
    ExpectNear(PixelOf(On(OnePixel(0.1f, 0.25f, 2, 0.5f)).Output("CIColorInvert")), {0.4, 0.25, -1.5, 0.5});
}

TEST(InvertTest, AppliedTwiceRestoresTheInput) {
    const ImageRef image = OutOfRangeImage(3);
    ExpectPixels(On(On(image).Output("CIColorInvert")).Output("CIColorInvert"), {image},
                 [](const auto& in) { return in[0]; });
}

// Returns the inputs of a color matrix with its five vectors.
FilterValues MatrixOn(const ImageRef& image, const std::vector<std::vector<double>>& v) {
    FilterValues values = On(image);
    values.Vector("inputRVector", v[0]).Vector("inputGVector", v[1]).Vector("inputBVector", v[2]);
    return values.Vector("inputAVector", v[3]).Vector("inputBiasVector", v[4]);
}

Slow SlowMatrix(const Slow& pixel, const std::vector<std::vector<double>>& v) {
    const Slow c = Unpremultiplied(pixel);
    const auto row = [&](std::size_t index) {
        return c.red * v[index][0] + c.green * v[index][1] + c.blue * v[index][2] + c.alpha * v[index][3] + v[4][index];
    };
    return Premultiplied({row(0), row(1), row(2), std::max(row(3), 0.0)});
}

TEST(ColorMatrixTest, MultipliesUnpremultipliedColorsAndAddsTheBias) {
    const ImageRef image = OutOfRangeImage(4);
    RandomNumbers random(40);
    for (int round = 0; round < 20; ++round) {
        std::vector<std::vector<double>> vectors;
        for (int row = 0; row < 5; ++row) vectors.push_back(random.List(4, -1, 1));
        // Every other round treats alpha separately from the colors, which takes another path through the engine.
        if (round % 2 == 0) {
            vectors[3] = {0, 0, 0, random(0, 1.5)};
            vectors[0][3] = vectors[1][3] = vectors[2][3] = vectors[4][3] = 0;
        }
        const ImageRef result = MatrixOn(image, vectors).Output("CIColorMatrix");
        EXPECT_EQ(result->GetExtent().IsInfinite(), round % 2 == 1);
        ExpectPixels(result, {image}, [&](const auto& in) { return SlowMatrix(in[0], vectors); });
    }
}

// A large picture is written past the cache, and multiplied in blocks for that; a small one is multiplied where it is.
TEST(ColorMatrixTest, LargePicturesGiveTheSameBitsAsSmallOnes) {
    constexpr std::int64_t kWidth = 1031, kHeight = 1100;
    RandomNumbers random(60);
    std::vector<float> floats(kWidth * kHeight * kFloatsPerPixel);
    for (float& number : floats) number = static_cast<float>(random(-2, 2));
    for (std::size_t index = 0; index < floats.size(); index += 97) floats[index] = index % 2 == 0 ? NAN : 3e38f;
    std::vector<std::vector<double>> vectors;
    for (int row = 0; row < 3; ++row) vectors.push_back({random(-1, 1), random(-1, 1), random(-1, 1), 0});
    vectors.push_back({0, 0, 0, 0.7});
    vectors.push_back({0.1, -0.2, 0.3, 0});
    const ImageRef result = MatrixOn(ImageOf(kWidth, kHeight, std::move(floats)), vectors).Output("CIColorMatrix");
    std::vector<float> rows;
    for (std::int64_t y = kHeight; y-- > 0;) {
        const std::vector<float> row = Pixels(result, {0, y, kWidth, 1});
        rows.insert(rows.end(), row.begin(), row.end());
    }
    EXPECT_TRUE(Pixels(result, {0, 0, kWidth, kHeight}) == rows);
}

TEST(ColorMatrixTest, AlphaMayExceedOneAndMultipliesTheColors) {
    const std::vector<std::vector<double>> vectors = {
        {0.5, 0, 0, 0}, {0, 1.5, 0, 0}, {0, 0, 0.75, 0}, {0, 0, 0, 1.25}, {0, 1, 0, 0}};
    ExpectNear(PixelOf(MatrixOn(OnePixel(0.4f, 0.2f, 0.8f, 1), vectors).Output("CIColorMatrix")),
               {0.25, 1.625, 0.75, 1.25});
}

TEST(ColorMatrixTest, AlphaBiasMakesTheImageInfinite) {
    const std::vector<std::vector<double>> vectors = {
        {1, 0, 0, 0}, {0, 1, 0, 0}, {0, 0, 1, 0}, {0, 0, 0, 1}, {0.25, 0.5, 1, 0.5}};
    const ImageRef result = MatrixOn(OnePixel(0, 0, 0, 0), vectors).Output("CIColorMatrix");
    EXPECT_TRUE(result->GetExtent().IsInfinite());
    ExpectNear(Pixels(result, {-1000, 7, 1, 1}), {0.125, 0.25, 0.5, 0.5});
}

TEST(FalseColorTest, InterpolatesBetweenTheColorsByLuminance) {
    const ImageRef image = OutOfRangeImage(5);
    RandomNumbers random(50);
    for (int round = 0; round < 5; ++round) {
        const std::vector<double> dark = random.List(4, 0, 1), light = random.List(4, 0, 1);
        const ImageRef result =
            On(image).Vector("inputColor0", dark).Vector("inputColor1", light).Output("CIFalseColor");
        ExpectPixels(result, {image}, [&](const auto& in) {
            const Slow c = Unpremultiplied(in[0]);
            const auto mixed = [&](std::size_t channel) {
                const double from = channel == 3 ? dark[3] : Light(dark[channel]) * dark[3];
                const double to = channel == 3 ? light[3] : Light(light[channel]) * light[3];
                return (from + (to - from) * Luminance(c)) * c.alpha;
            };
            return Slow{mixed(0), mixed(1), mixed(2), mixed(3)};
        });
    }
}

TEST(FalseColorTest, BlackBecomesTheFirstColorAndWhiteTheSecond) {
    const auto result = [](float gray) {
        FilterValues values = On(OnePixel(gray, gray, gray, 1));
        return PixelOf(
            values.Vector("inputColor0", {1, 0, 0, 1}).Vector("inputColor1", {0, 1, 0, 1}).Output("CIFalseColor"));
    };
    ExpectNear(result(0), {1, 0, 0, 1});
    ExpectNear(result(1), {0, 1, 0, 1});
    ExpectNear(result(0.25f), {0.75, 0.25, 0, 1});
}

// The engine merges consecutive color matrices into one, which must not change the result.
TEST(LinearFiltersTest, MergingConsecutiveFiltersKeepsTheResult) {
    const ImageRef image = OutOfRangeImage(17);
    const ImageRef first = FilterValues().Image("inputImage", image).Number("inputEV", 1.3).Output("CIExposureAdjust");
    const ImageRef both = FilterValues().Image("inputImage", first).Output("CIColorInvert");
    EXPECT_EQ(both->GetDepth().levels, first->GetDepth().levels);
    ExpectPixels(both, {image}, [](const std::vector<Slow>& inputs) {
        const Slow& s = inputs[0];
        const double gain = std::exp2(1.3);
        return Slow{s.alpha - gain * s.red, s.alpha - gain * s.green, s.alpha - gain * s.blue, s.alpha};
    });
}

TEST(LinearFiltersTest, MergingKeepsTheLimitBetweenTwoFilters) {
    ImageRef image = OnePixel(0, 2, 4, 1);
    for (const double stops : {120.0, -120.0})
        image = FilterValues().Image("inputImage", image).Number("inputEV", stops).Output("CIExposureAdjust");
    const std::vector<float> pixel = PixelOf(image);
    EXPECT_EQ(pixel[1], pixel[2]);
}

}  // namespace
