// point_limits_test.cpp - parameters and pixels beyond sense: nothing comes out that is no number.

#include <gtest/gtest.h>

#include <cmath>

#include "core/cropped.h"
#include "support/point_oracle.h"

namespace {

using namespace core_image;

constexpr double kEndless = std::numeric_limits<double>::infinity();
const double kSenseless[] = {0, -1, std::nan(""), kEndless, -kEndless, 1e300, -1e300, 1e38, 1e-300};

// Filters on one image, and those of their keys that hold numbers, vectors or colors.
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

// A pixel in range, one that is not, and one that is none.
std::vector<ImageRef> Images() {
    const float none = std::nanf("");
    return {OnePixel(0.5f, 0.2f, 0, 0.5f), OnePixel(1e30f, -1e30f, 0, 1e30f), OnePixel(none, none, 0, 1)};
}

TEST(PointLimitsTest, NothingComesOutThatIsNoNumber) {
    for (const auto& [filter, keys] : kFilters) {
        for (const double value : kSenseless) {
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

TEST(PointLimitsTest, WithoutAnImageThereIsNone) {
    for (const auto& row : kFilters) EXPECT_EQ(FilterValues().Output(row.filter), nullptr) << row.filter;
}

TEST(PointLimitsTest, NothingOfAnEmptyImageIsNothing) {
    const ImageRef empty = MakeCroppedImage(OnePixel(1, 1, 1, 1), {5, 5, 6, 6});
    for (const auto& row : kFilters) {
        const ImageRef result = FilterValues().Image("inputImage", empty).Output(row.filter);
        ASSERT_NE(result, nullptr) << row.filter;
        EXPECT_TRUE(result->GetExtent().IsEmpty()) << row.filter;
    }
}

}  // namespace
