// color_controls.cpp - saturation, contrast and brightness as one linear map.
//
// For an unpremultiplied color v with luminance L: v1 = L + saturation (v - L); v2 = contrast (v1 - 0.5) + 0.5 +
// brightness. Nothing is clipped.

#include <utility>

#include "color/color_matrix.h"
#include "color/filters.h"
#include "core/luminance.h"
#include "core/point.h"

namespace core_image {

// CIColorControls: inputSaturation, then inputContrast, then inputBrightness.
ImageRef ColorControls(const Inputs& inputs) {
    ImageRef input = inputs.GetImage("inputImage");
    if (input == nullptr) return nullptr;
    const double saturation = inputs.GetNumber("inputSaturation");
    const double contrast = inputs.GetNumber("inputContrast");
    const double brightness = inputs.GetNumber("inputBrightness");
    if (saturation == 1 && contrast == 1 && brightness == 0) return input;

    MatrixFunction::Columns columns{};
    for (std::size_t column = 0; column < 3; ++column) {
        for (std::size_t row = 0; row < 3; ++row) {
            const double own = row == column ? saturation : 0;
            columns[column][row] = FiniteFloat(contrast * (own + (1 - saturation) * kLuminance[column]));
        }
        columns[3][column] = FiniteFloat(0.5 - 0.5 * contrast + brightness);
    }
    columns[3][3] = 1;
    return MakePointImage(std::move(input), std::make_unique<MatrixFunction>(columns));
}

}  // namespace core_image
