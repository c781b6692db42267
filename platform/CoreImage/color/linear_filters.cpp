// linear_filters.cpp - the filters that are a matrix plus an offset of linear, unpremultiplied colors.
//
// A filter that keeps transparent pixels transparent is one matrix of premultiplied pixels (color_matrix.h). Only a
// color matrix that mixes alpha into colors, or colors into alpha, has to divide by alpha.

#include <cmath>
#include <utility>

#include "color/color_matrix.h"
#include "color/filters.h"
#include "color/formulas.h"
#include "core/luminance.h"
#include "core/point.h"

namespace core_image {
namespace {

constexpr MatrixFunction::Columns kIdentity = {{{1, 0, 0, 0}, {0, 1, 0, 0}, {0, 0, 1, 0}, {0, 0, 0, 1}}};

ImageRef MakeMatrixImage(ImageRef input, const MatrixFunction::Columns& columns) {
    return MakePointImage(std::move(input), std::make_unique<MatrixFunction>(columns));
}

MatrixFormula ReadMatrix(const Inputs& inputs) {
    constexpr const char* kKeys[] = {"inputRVector", "inputGVector", "inputBVector", "inputAVector"};
    MatrixFormula formula;
    for (std::size_t row = 0; row < 4; ++row) {
        for (std::size_t column = 0; column < 4; ++column)
            formula.rows[row][column] = static_cast<float>(inputs.GetElement(kKeys[row], column));
        formula.bias[row] = static_cast<float>(inputs.GetElement("inputBiasVector", row));
    }
    return formula;
}

// Whether alpha is only scaled, and colors are mixed from colors alone.
bool KeepsAlphaApart(const MatrixFormula& formula) {
    const auto& alpha = formula.rows[3];
    return formula.rows[0][3] == 0 && formula.rows[1][3] == 0 && formula.rows[2][3] == 0 && alpha[0] == 0 &&
           alpha[1] == 0 && alpha[2] == 0 && alpha[3] >= 0 && formula.bias[3] == 0;
}

// Such a formula as a map of premultiplied pixels: colors, and their offset, are multiplied by the new alpha.
MatrixFunction::Columns ColumnsOf(const MatrixFormula& formula) {
    const double alpha = formula.rows[3][3];
    MatrixFunction::Columns columns{};
    for (std::size_t row = 0; row < 3; ++row) {
        for (std::size_t column = 0; column < 3; ++column)
            columns[column][row] = FiniteFloat(formula.rows[row][column] * alpha);
        columns[3][row] = FiniteFloat(formula.bias[row] * alpha);
    }
    columns[3][3] = formula.rows[3][3];
    return columns;
}

}  // namespace

// CIExposureAdjust: colors times two to the power of inputEV.
ImageRef ExposureAdjust(const Inputs& inputs) {
    ImageRef input = inputs.GetImage("inputImage");
    const double stops = inputs.GetNumber("inputEV");
    if (input == nullptr || stops == 0) return input;
    MatrixFunction::Columns columns = kIdentity;
    for (std::size_t channel = 0; channel < 3; ++channel) columns[channel][channel] = FiniteFloat(std::exp2(stops));
    return MakeMatrixImage(std::move(input), columns);
}

// CIColorInvert: one minus each color.
ImageRef ColorInvert(const Inputs& inputs) {
    ImageRef input = inputs.GetImage("inputImage");
    if (input == nullptr) return nullptr;
    return MakeMatrixImage(std::move(input), {{{-1, 0, 0, 0}, {0, -1, 0, 0}, {0, 0, -1, 0}, {1, 1, 1, 1}}});
}

// CIColorMatrix: red, green, blue and alpha are each the dot product of (red, green, blue, alpha) with inputRVector,
// inputGVector, inputBVector or inputAVector, plus an element of inputBiasVector. Alpha may exceed 1. Infinite where
// the bias has alpha.
ImageRef ColorMatrix(const Inputs& inputs) {
    ImageRef input = inputs.GetImage("inputImage");
    if (input == nullptr) return nullptr;
    const MatrixFormula formula = ReadMatrix(inputs);
    if (!KeepsAlphaApart(formula)) {
        const bool showsNothing = formula.bias[3] == 0;
        return MakeFormulaImage(std::move(input), formula, /*isInfinite=*/!showsNothing);
    }
    const MatrixFunction::Columns columns = ColumnsOf(formula);
    return columns == kIdentity ? input : MakeMatrixImage(std::move(input), columns);
}

// CIFalseColor: inputColor0 where luminance is 0, inputColor1 where it is 1, and linear in luminance everywhere.
ImageRef FalseColor(const Inputs& inputs) {
    ImageRef input = inputs.GetImage("inputImage");
    if (input == nullptr) return nullptr;
    const Pixel dark = inputs.GetColor("inputColor0"), light = inputs.GetColor("inputColor1");
    const float from[] = {dark.red, dark.green, dark.blue, dark.alpha};
    const float to[] = {light.red, light.green, light.blue, light.alpha};
    MatrixFunction::Columns columns{};
    for (std::size_t row = 0; row < 4; ++row) {
        for (std::size_t column = 0; column < 3; ++column)
            columns[column][row] = FiniteFloat(kLuminance[column] * (static_cast<double>(to[row]) - from[row]));
        columns[3][row] = from[row];
    }
    return MakeMatrixImage(std::move(input), columns);
}

}  // namespace core_image
