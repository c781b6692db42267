// redrawing_limits_test.cpp - the stylize and halftone filters under numbers and images beyond sense: finite pixels, and an image
// where one is due.

#include "generator/generator.h"
#include "support/oracle.h"

namespace {

using namespace oracle;

// Filters, and those of their keys that hold a number or a place.
const struct {
    const char* filter;
    std::vector<const char*> keys;
} kFilters[] = {
    {"CIBloom", {"inputRadius", "inputIntensity"}},
    {"CICMYKHalftone", {"inputCenter", "inputAngle", "inputWidth", "inputSharpness", "inputGCR", "inputUCR"}},
    {"CICircularScreen", {"inputCenter", "inputWidth", "inputSharpness"}},
    {"CIComicEffect", {}},
    {"CICrystallize", {"inputCenter", "inputRadius"}},
    {"CIDepthOfField",
     {"inputPoint0", "inputPoint1", "inputRadius", "inputSaturation", "inputUnsharpMaskRadius",
      "inputUnsharpMaskIntensity"}},
    {"CIDotScreen", {"inputCenter", "inputAngle", "inputWidth", "inputSharpness"}},
    {"CIEdgeWork", {"inputRadius"}},
    {"CIEdges", {"inputIntensity"}},
    {"CIGloom", {"inputRadius", "inputIntensity"}},
};

// A filter with one value for all of its keys, or with another for the one at an index.
ImageRef With(std::size_t row, const ImageRef& input, double value, std::size_t index, double other) {
    std::vector<Value> values;
    for (std::size_t key = 0; key < kFilters[row].keys.size(); ++key) {
        const double number = key == index ? other : value;
        values.push_back({kFilters[row].keys[key], {number, number}});
    }
    return Output(kFilters[row].filter, input, values);
}

// Images in range, of one pixel that is not, and with one that is no number.
std::vector<ImageRef> Images() {
    const float large = 1e30f, none = std::nanf("");
    return {RandomImage(5, 3), SourceOf({2, -1, 1, 1}, {large, -large, none, large}).image,
            SourceOf({-3, 4, 2, 1}, {0, 1, none, 0, 0.1f, 0.2f, 0.1f, 0.2f}).image};
}

class RedrawingLimitsTest : public testing::TestWithParam<std::size_t> {};

TEST_P(RedrawingLimitsTest, AnyNumbersAndImagesGiveFinitePixels) {
    const std::size_t keys = kFilters[GetParam()].keys.size();
    for (const ImageRef& image : Images()) {
        for (const double value : kHostile) {
            // In one key after the other, then in all of them. Without keys the pictures alone are beyond sense.
            for (std::size_t index = 0; index < keys + (keys != 1); ++index) {
                const ImageRef result = With(GetParam(), image, index == keys ? value : 3, index, value);
                ASSERT_NE(result, nullptr);
                // What changes nothing hands through what it was given.
                if (result != image) ExpectSound(result);
            }
        }
    }
}

TEST_P(RedrawingLimitsTest, OfNothingThereIsNothing) {
    EXPECT_EQ(With(GetParam(), nullptr, 3, 0, 3), nullptr);
    const ImageRef empty = MakeCroppedImage(RandomImage(2, 2), {5, 5, 6, 6});
    const ImageRef result = With(GetParam(), empty, 3, 0, 3);
    ASSERT_NE(result, nullptr);
    EXPECT_TRUE(result->GetExtent().IsEmpty());
}

TEST_P(RedrawingLimitsTest, WhatHasNoEndHasNoneAfterwards) {
    const ImageRef result = With(GetParam(), MakeConstantImage({0.5f, 0.25f, 0, 0.5f}), 3, 0, 3);
    EXPECT_TRUE(result->GetExtent().IsInfinite());
    ExpectSound(result);
}

TEST_P(RedrawingLimitsTest, TilesAndBlocksChangeNoBit) {
    Random random;
    const Source source = RandomSource(random);
    const ImageRef image = With(GetParam(), source.image, 2.5, 0, 2.5);
    const Region region = source.region.GrownBy(3);
    const std::vector<float> whole = Pixels(image, region, {4096, 4096, 4096});
    EXPECT_EQ(Pixels(image, region, {4096, 7, 5}), whole);
    EXPECT_EQ(Pixels(image, region, {19, 16, 3}), whole);
}

INSTANTIATE_TEST_SUITE_P(Filters, RedrawingLimitsTest, testing::Range(std::size_t{0}, std::size(kFilters)),
                         [](const auto& test) { return std::string(kFilters[test.param].filter); });

}  // namespace
