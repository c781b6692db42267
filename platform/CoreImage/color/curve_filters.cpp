// curve_filters.cpp - the filters that bend colors: each reads its parameters and selects its formula (formulas.h).

#include <algorithm>
#include <array>
#include <utility>

#include "color/filters.h"
#include "color/formulas.h"

namespace core_image {
namespace {

// The leading elements of a vector.
template <std::size_t kCount>
std::array<float, kCount> ReadElements(const Inputs& inputs, const char* key) {
    std::array<float, kCount> elements;
    for (std::size_t index = 0; index < kCount; ++index)
        elements[index] = static_cast<float>(inputs.GetElement(key, index));
    return elements;
}

}  // namespace

// CIGammaAdjust: colors, at least 0, raised to inputPower.
ImageRef GammaAdjust(const Inputs& inputs) {
    ImageRef input = inputs.GetImage("inputImage");
    const double power = inputs.GetNumber("inputPower");
    if (input == nullptr || power == 1) return input;
    return MakeFormulaImage(std::move(input), GammaFormula{Power(power)});
}

// CIColorClamp: red, green, blue and alpha, each limited to its elements of inputMinComponents and
// inputMaxComponents. Infinite where the least alpha is above 0.
ImageRef ColorClamp(const Inputs& inputs) {
    ImageRef input = inputs.GetImage("inputImage");
    if (input == nullptr) return nullptr;
    const ClampFormula formula = {ReadElements<4>(inputs, "inputMinComponents"),
                                  ReadElements<4>(inputs, "inputMaxComponents")};
    return MakeFormulaImage(std::move(input), formula, /*isInfinite=*/formula.lowest[3] > 0);
}

// CIColorPosterize: each color becomes the nearest of inputLevels evenly spaced ones. One level or less gives black.
ImageRef ColorPosterize(const Inputs& inputs) {
    ImageRef input = inputs.GetImage("inputImage");
    if (input == nullptr) return nullptr;
    const double steps = std::max(inputs.GetNumber("inputLevels") - 1, 0.0);
    return MakeFormulaImage(std::move(input), PosterizeFormula{static_cast<float>(steps)});
}

// CIColorMonochrome: moves by inputIntensity toward shades of inputColor, from black through the color to white.
ImageRef ColorMonochrome(const Inputs& inputs) {
    ImageRef input = inputs.GetImage("inputImage");
    const double intensity = inputs.GetNumber("inputIntensity");
    if (input == nullptr || intensity == 0) return input;
    const double opaque[] = {inputs.GetElement("inputColor", 0), inputs.GetElement("inputColor", 1),
                             inputs.GetElement("inputColor", 2), 1};
    const Pixel color = PixelOfColor(opaque);
    return MakeFormulaImage(std::move(input),
                            MonochromeFormula{{color.red, color.green, color.blue}, static_cast<float>(intensity)});
}

// CIColorPolynomial: a separate cubic for each channel, alpha included. Infinite where the cubic of alpha has a
// constant.
ImageRef ColorPolynomial(const Inputs& inputs) {
    ImageRef input = inputs.GetImage("inputImage");
    if (input == nullptr) return nullptr;
    const PolynomialFormula formula = {
        {ReadElements<4>(inputs, "inputRedCoefficients"), ReadElements<4>(inputs, "inputGreenCoefficients"),
         ReadElements<4>(inputs, "inputBlueCoefficients"), ReadElements<4>(inputs, "inputAlphaCoefficients")}};
    const auto& k = formula.coefficients;
    const std::array<float, 4> same = {0, 1, 0, 0};
    if (std::all_of(k.begin(), k.end(), [&](const auto& channel) { return channel == same; })) return input;
    return MakeFormulaImage(std::move(input), formula, /*isInfinite=*/k[3][0] != 0);
}

// CIColorCrossPolynomial: each color is a weighted sum of red, green, blue, their squares, their products and 1.
ImageRef ColorCrossPolynomial(const Inputs& inputs) {
    ImageRef input = inputs.GetImage("inputImage");
    if (input == nullptr) return nullptr;
    const CrossPolynomialFormula formula = {{ReadElements<10>(inputs, "inputRedCoefficients"),
                                             ReadElements<10>(inputs, "inputGreenCoefficients"),
                                             ReadElements<10>(inputs, "inputBlueCoefficients")}};
    const CrossPolynomialFormula same = {{{{1}, {0, 1}, {0, 0, 1}}}};
    if (formula.coefficients == same.coefficients) return input;
    return MakeFormulaImage(std::move(input), formula);
}

}  // namespace core_image
