// color_controls_test.cpp - color controls against the three formulas one after the other, in doubles, on divided colors.

#include <gtest/gtest.h>

#include <cmath>

#include "support/declared_keys.h"
#include "support/engine_images.h"

namespace {

using namespace core_image;

// The color of one pixel, step by step.
void Slow(const float* pixel, double saturation, double brightness, double contrast, double* result) {
    const double alpha = pixel[3];
    double color[3];
    for (int channel = 0; channel < 3; ++channel) color[channel] = alpha == 0 ? 0 : pixel[channel] / alpha;
    const double gray = 0.2125 * color[0] + 0.7154 * color[1] + 0.0721 * color[2];
    for (int channel = 0; channel < 3; ++channel) {
        const double saturated = gray + saturation * (color[channel] - gray);
        result[channel] = ((saturated - 0.5) * contrast + 0.5 + brightness) * alpha;
    }
    result[3] = alpha;
}

TEST(ColorControlsTest, IsThatOfTheFormulas) {
    const Region region = {0, 0, 32, 32};
    const ImageRef image = RandomImage(32, 32);
    const std::vector<float> source = Pixels(image, region);
    for (double saturation : {0.0, 0.4, 1.0, 2.0}) {
        for (double brightness : {-0.3, 0.0, 0.7}) {
            for (double contrast : {0.25, 1.0, 4.0}) {
                std::vector<InputValue> values(4);
                values[0].key = "inputImage";
                values[0].image = &image;
                values[1] = {"inputSaturation", saturation};
                values[2] = {"inputBrightness", brightness};
                values[3] = {"inputContrast", contrast};
                const std::vector<float> fast = Pixels(CallFilter("CIColorControls", values), region);
                for (std::size_t index = 0; index < fast.size(); index += 4) {
                    double slow[4];
                    Slow(&source[index], saturation, brightness, contrast, slow);
                    for (std::size_t channel = 0; channel < 4; ++channel) {
                        // Relative to what is added up, not to what remains of it.
                        ASSERT_NEAR(fast[index + channel], slow[channel],
                                    1e-5 * std::max(1.0, contrast) * std::max(1.0, saturation));
                    }
                }
            }
        }
    }
}

}  // namespace
