// affine_test.cpp - compares affine transforms, clamps and tiles with bilinear interpolation in doubles.

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

#include "core/transfer.h"
#include "support/oracle.h"

namespace {

using namespace oracle;

// A random transform that scales by 0.2 to 4 and rotates by any angle, with a hand-written inverse.
struct Map {
    std::vector<double> numbers;

    explicit Map(Random& random) {
        const double angle = random.Between(0, 6.3), scale = random.Between(0.2, 4), squeeze = random.Between(0.5, 1);
        numbers = {scale * std::cos(angle),           scale * std::sin(angle), -squeeze * scale * std::sin(angle),
                   squeeze * scale * std::cos(angle), random.Between(-9, 9),   random.Between(-9, 9)};
    }
    std::array<double, 2> Back(double x, double y) const {
        const double a = numbers[0], b = numbers[1], c = numbers[2], d = numbers[3];
        const double u = x - numbers[4], v = y - numbers[5], determinant = a * d - b * c;
        return {(d * u - c * v) / determinant, (a * v - b * u) / determinant};
    }
};

struct Kind {
    const char* filter;
    // Returns the coordinate inside the image that is shown at the wanted coordinate.
    std::int64_t (*place)(std::int64_t wanted, std::int64_t start, std::int64_t length);
};

class AffineTest : public testing::TestWithParam<Kind> {};

TEST_P(AffineTest, InterpolatesTheFourNearestPixels) {
    Random random;
    for (int round = 0; round < 30; ++round) {
        const Source source = RandomSource(random);
        const Map map(random);
        const ImageRef image = Output(GetParam().filter, source.image, {{"inputTransform", map.numbers}});
        const At at = [&](std::int64_t x, std::int64_t y, std::size_t channel) {
            return source.At(GetParam().place(x, source.region.x, source.region.width),
                             GetParam().place(y, source.region.y, source.region.height), channel);
        };
        const Extent extent = image->GetExtent();
        ExpectPixels(image, {-60, -50, 131, 117}, [&](std::int64_t x, std::int64_t y, std::size_t channel) {
            const double px = static_cast<double>(x) + 0.5, py = static_cast<double>(y) + 0.5;
            if (px < extent.left || px > extent.right || py < extent.bottom || py > extent.top) return 0.0;
            const auto [u, v] = map.Back(px, py);
            return Bilinear(at, u, v, channel);
        });
    }
}

TEST_P(AffineTest, SingularTransformsAndMissingImagesGiveNull) {
    const Source source = SourceOf({0, 0, 1, 1}, {1, 1, 1, 1});
    EXPECT_EQ(Output(GetParam().filter, source.image, {{"inputTransform", {1, 2, 2, 4, 0, 0}}}), nullptr);
    EXPECT_EQ(Output(GetParam().filter, source.image, {{"inputTransform", {0, 0, 0, 0, 5, 5}}}), nullptr);
    EXPECT_EQ(Output(GetParam().filter, nullptr, {}), nullptr);
}

TEST_P(AffineTest, HostileNumbersGiveFinitePixels) {
    const Source source = SourceOf({2, 3, 2, 1}, {1, 1, 1, 1, 0, 0, 0, 1});
    for (const double number : kHostile) {
        for (const double other : kHostile) {
            const std::vector<double> numbers = {number, 0.25, -other, number, other, number};
            ExpectFinite(Output(GetParam().filter, source.image, {{"inputTransform", numbers}}));
            ExpectFinite(Output(GetParam().filter, MakeCroppedImage(source.image, {}), {{"inputTransform", numbers}}));
        }
    }
}

TEST_P(AffineTest, MovingByWholePixelsCopiesThem) {
    Random random;
    const Source source = RandomSource(random);
    const Region region = source.region.GrownBy(GetParam().place(-99, 0, 3) == -99 ? 0 : 30);
    const ImageRef still = Output(GetParam().filter, source.image, {{"inputTransform", {1, 0, 0, 1, 0, 0}}});
    const ImageRef moved = Output(GetParam().filter, source.image, {{"inputTransform", {1, 0, 0, 1, 1000, -77}}});
    EXPECT_EQ(Pixels(moved, {region.x + 1000, region.y - 77, region.width, region.height}), Pixels(still, region));
}

INSTANTIATE_TEST_SUITE_P(Kinds, AffineTest,
                         testing::Values(Kind{"CIAffineTransform",
                                              [](std::int64_t wanted, std::int64_t, std::int64_t) { return wanted; }},
                                         Kind{"CIAffineClamp",
                                              [](std::int64_t wanted, std::int64_t start, std::int64_t length) {
                                                  return std::clamp(wanted, start, start + length - 1);
                                              }},
                                         Kind{"CIAffineTile",
                                              [](std::int64_t wanted, std::int64_t start, std::int64_t length) {
                                                  return start + ((wanted - start) % length + length) % length;
                                              }}),
                         [](const auto& test) { return std::string(test.param.filter); });

TEST(AffineExtentTest, IsTheBoundingBoxRoundedOutward) {
    const Source source = SourceOf({1, 2, 3, 5}, std::vector<float>(60, 1.0f));
    const auto extent = [&](const std::vector<double>& numbers) {
        return Output("CIAffineTransform", source.image, {{"inputTransform", numbers}})->GetExtent();
    };
    EXPECT_EQ(extent({2, 0, 0, 0.5, 0.25, 0}), (Extent{2, 1, 9, 4}));
    // A quarter turn whose cosine is not exactly 0.
    EXPECT_EQ(extent({-4.4e-8, 1, -1, -4.4e-8, 0, 0}), (Extent{-7, 1, -2, 4}));
    EXPECT_EQ(extent({1e-9, 0, 0, 1e-9, 0, 0}), (Extent{0, 0, 1, 1}));
    const ImageRef board = Generated("CICheckerboardGenerator", {{"inputWidth", {8}}});
    EXPECT_TRUE(Output("CIAffineTransform", board, {{"inputTransform", {0.6, 0.8, -0.8, 0.6, 1, 1}}})
                    ->GetExtent()
                    .IsInfinite());
    EXPECT_TRUE(
        Output("CIAffineTile", source.image, {{"inputTransform", {1, 0, 0, 1, 0, 0}}})->GetExtent().IsInfinite());
}

TEST(AffinePictureTest, InterpolatesStoredValuesOfAPicture) {
    const std::vector<Value> half = {{"inputTransform", {1, 0, 0, 1, 0.5, 0}}};
    const double stored =
        static_cast<double>(Pixels(Output("CIAffineTransform", BlackAndWhite(), half), {1, 0, 1, 1})[0]);
    EXPECT_NEAR(stored, static_cast<double>(DecodeSRGB(0.5f)), 3e-6);
    // Cropped, moved, clamped and tiled pictures stay encoded; a second transform is applied before decoding.
    const ImageRef cut = MakeCroppedImage(BlackAndWhite(), {0, 0, 2, 0.5});
    EXPECT_NE(cut->Encoded(), nullptr);
    const std::vector<Value> quarter = {{"inputTransform", {1, 0, 0, 1, 0.25, 0}}};
    const ImageRef clamped = Output("CIAffineClamp", BlackAndWhite(), quarter);
    EXPECT_NEAR(static_cast<double>(Pixels(clamped, {1, 0, 1, 1})[0]), static_cast<double>(DecodeSRGB(0.75f)), 3e-6);
    const ImageRef twice = Output("CIAffineTransform", clamped, quarter);
    EXPECT_NEAR(static_cast<double>(Pixels(twice, {1, 0, 1, 1})[0]), static_cast<double>(DecodeSRGB(0.5625f)), 3e-6);
    const ImageRef tiled = Output("CIAffineTile", BlackAndWhite(), half);
    EXPECT_NEAR(static_cast<double>(Pixels(tiled, {-4, 7, 1, 1})[0]), static_cast<double>(DecodeSRGB(0.5f)), 3e-6);
}

TEST(AffinePictureTest, InterpolatesOtherImagesInLinearLight) {
    const Source source = SourceOf({0, 0, 2, 1}, {0, 0, 0, 1, 1, 1, 1, 1});
    const ImageRef image = Output("CIAffineTransform", source.image, {{"inputTransform", {1, 0, 0, 1, 0.5, 0}}});
    EXPECT_EQ(Pixels(image, {1, 0, 1, 1}), (std::vector<float>{0.5f, 0.5f, 0.5f, 1}));
}

TEST(AffineLimitsTest, ShrinkingALargePatternReadsFewPixels) {
    const ImageRef board = Generated(
        "CICheckerboardGenerator",
        {{"inputWidth", {1e5}}, {"inputSharpness", {1}}, {"inputColor0", {1, 1, 1, 1}}, {"inputColor1", {0, 0, 0, 1}}});
    for (const double scale : {0.1, 1e-3, 1e-6, 1e-12}) {
        const ImageRef image = Output("CIAffineTransform", board, {{"inputTransform", {scale, 0, 0, scale, 0, 0}}});
        EXPECT_EQ(Pixels(image, {0, 0, 300, 300})[3], 1) << scale;
    }
}

}  // namespace
