// point_limits_test.cpp - checks that pointwise filters give finite pixels for hostile numbers and pixels.

#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <vector>

#include "core/cropped.h"
#include "support/point_oracle.h"

namespace {

using namespace core_image;

constexpr double kInfinity = std::numeric_limits<double>::infinity();
const double kUnusable[] = {0, -1, std::nan(""), kInfinity, -kInfinity, 1e300, -1e300, 1e38, 1e-300};

// Filters of one image, and their keys for numbers, vectors and colors.
const struct {
    const char* filter;
    std::vector<const char*> keys;
} kFilters[] = {
    {"CIColorClamp", {"inputMinComponents", "inputMaxComponents"}},
    {"CIColorControls", {"inputSaturation", "inputBrightness", "inputContrast"}},
    {"CIColorCrossPolynomial", {"inputRedCoefficients", "inputGreenCoefficients", "inputBlueCoefficients"}},
    {"CIColorInvert", {}},
    {"CIColorMatrix", {"inputRVector", "inputGVector", "inputBVector", "inputAVector", "inputBiasVector"}},
    {"CIColorMonochrome", {"inputIntensity", "inputColor"}},
    {"CIColorPolynomial",
     {"inputRedCoefficients", "inputGreenCoefficients", "inputBlueCoefficients", "inputAlphaCoefficients"}},
    {"CIColorPosterize", {"inputLevels"}},
    {"CIExposureAdjust", {"inputEV"}},
    {"CIFalseColor", {"inputColor0", "inputColor1"}},
    {"CIGammaAdjust", {"inputPower"}},
};

// Returns a pixel in range, one out of range, and one with NaN.
std::vector<ImageRef> Images() {
    const float nan = std::nanf("");
    return {OnePixel(0.5f, 0.2f, 0, 0.5f), OnePixel(1e30f, -1e30f, 0, 1e30f), OnePixel(nan, nan, 0, 1)};
}

TEST(PointLimitsTest, HostileNumbersAndPixelsGiveFinitePixels) {
    for (const auto& [filter, keys] : kFilters) {
        for (const double value : kUnusable) {
            for (const ImageRef& image : Images()) {
                FilterValues numbers = FilterValues().Image("inputImage", image), vectors = numbers;
                for (const char* key : keys) numbers.Number(key, value);
                for (const char* key : keys) vectors.Vector(key, std::vector<double>(10, value));
                for (const ImageRef& result : {numbers.Output(filter), vectors.Output(filter)}) {
                    if (result == image) continue;
                    for (const float number : PixelOf(result))
                        ASSERT_TRUE(std::isfinite(number)) << filter << " " << value;
                }
            }
        }
    }
}

TEST(PointLimitsTest, MissingImageGivesNull) {
    for (const auto& row : kFilters) EXPECT_EQ(FilterValues().Output(row.filter), nullptr) << row.filter;
}

TEST(PointLimitsTest, EmptyImageStaysEmpty) {
    const ImageRef empty = MakeCroppedImage(OnePixel(1, 1, 1, 1), {5, 5, 6, 6});
    for (const auto& row : kFilters) {
        const ImageRef result = FilterValues().Image("inputImage", empty).Output(row.filter);
        ASSERT_NE(result, nullptr) << row.filter;
        EXPECT_TRUE(result->GetExtent().IsEmpty()) << row.filter;
    }
}

}  // namespace
