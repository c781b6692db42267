// formulas.h - the nonlinear functions of this family: their parameters, and the loops that run them over pixels,
// vectorized for the processor.
//
// Pixels are premultiplied. "Colors" below are divided by alpha, black where alpha is 0, and multiplied by it again.
// Threads:  any.
// Adding one: a struct here and its line in the list; its function in formulas.cpp.

#pragma once

#include <array>
#include <cstddef>
#include <memory>
#include <utility>

#include "core/point.h"
#include "core/power.h"

namespace core_image {

// Every formula; its struct is called ...Formula.
#define CORE_IMAGE_COLOR_FORMULAS(FORMULA) \
    FORMULA(Matrix)                        \
    FORMULA(Gamma)                         \
    FORMULA(Clamp)                         \
    FORMULA(Posterize)                     \
    FORMULA(Monochrome)                    \
    FORMULA(Polynomial)                    \
    FORMULA(CrossPolynomial)

// Colors and alpha become rows[channel] * (red, green, blue, alpha) + bias[channel]; alpha is then at least 0.
struct MatrixFormula {
    std::array<std::array<float, 4>, 4> rows;
    std::array<float, 4> bias;
};

// Colors, at least 0, are raised to a power.
struct GammaFormula {
    Power power;
};

// Colors and alpha are limited first to at most highest, then to at least lowest; alpha is then at least 0.
struct ClampFormula {
    std::array<float, 4> lowest;
    std::array<float, 4> highest;
};

// Colors become the nearest of steps + 1 values between 0 and 1; the spacing continues outside. Without steps all
// colors become black.
struct PosterizeFormula {
    float steps;
};

// Colors move by intensity toward a shade of the color: black at luminance 0, the color at one half, white at 1.
struct MonochromeFormula {
    std::array<float, 3> color;
    float intensity;
};

// Colors and alpha x become k[0] + k[1] x + k[2] x^2 + k[3] x^3, with k = coefficients[channel]; alpha is then at
// least 0.
struct PolynomialFormula {
    std::array<std::array<float, 4>, 4> coefficients;
};

// Colors become the sum of coefficients[channel] times red, green, blue, their squares, red green, green blue, blue
// red and 1.
struct CrossPolynomialFormula {
    std::array<std::array<float, 10>, 3> coefficients;
};

#define CORE_IMAGE_DECLARE(name) void Apply(const name##Formula& formula, float* pixels, std::size_t count);
CORE_IMAGE_COLOR_FORMULAS(CORE_IMAGE_DECLARE)
#undef CORE_IMAGE_DECLARE

// A formula as a function of an image.
template <class Formula>
class FormulaFunction : public PointFunction {
  public:
    explicit FormulaFunction(const Formula& formula) : formula_(formula) {}

    void ApplyToRun(float* pixels, std::size_t count) const override { Apply(formula_, pixels, count); }

  private:
    Formula formula_;
};

// The image of an input under a formula. Its extent is the input's, or infinite.
template <class Formula>
ImageRef MakeFormulaImage(ImageRef input, const Formula& formula, bool isInfinite = false) {
    const Extent extent = isInfinite ? Extent::Infinite() : input->GetExtent();
    return MakePointImage(std::move(input), std::make_unique<FormulaFunction<Formula>>(formula), extent);
}

}  // namespace core_image
