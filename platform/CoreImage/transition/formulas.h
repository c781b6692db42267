// formulas.h - how transitions combine a pixel of the image, one of the target and one of a third image, which says
// how far the transition has come at that place. Here are the parameters; the loops (formulas.cpp) are vectorized
// for the processor.
//
// All work on premultiplied pixels, alpha included unless noted. mix(a, b, k) = a (1 - k) + b k.
// Threads:  any.
// Adding one: a struct here and its line in the list; its function in formulas.cpp.

#pragma once

#include <memory>
#include <utility>

#include "core/inputs.h"
#include "core/point.h"

namespace core_image {

// Every formula, named ...Formula, and the number of images besides the first.
#define CORE_IMAGE_TRANSITION_FORMULAS(FORMULA) \
    FORMULA(Dissolve, 1)                        \
    FORMULA(Uncover, 1)                         \
    FORMULA(Glare, 2)                           \
    FORMULA(Flash, 2)                           \
    FORMULA(Disintegrate, 2)

// mix(image, target, time).
struct DissolveFormula {
    float time;
};

// The image over the target.
struct UncoverFormula {};

// mix(target, image, p) + light min(p / 0.83, (1 - p) / 0.17), where p is the third image's red.
struct GlareFormula {
    Pixel light;
};

// mix(target, flash, share), where flash is the image plus the third image, each number clipped to 0...1.
struct FlashFormula {
    float share;
};

// mix(target targetGain (1 - density shadow), image imageGain, cover), where cover is the third image's red and
// shadow its green. Gain and shadow do not apply to alpha.
struct DisintegrateFormula {
    float imageGain;
    float targetGain;
    float density;
};

#define CORE_IMAGE_DECLARE(name, count) \
    void Apply(const name##Formula& formula, float* pixels, const float* const* others, std::size_t pixelCount);
CORE_IMAGE_TRANSITION_FORMULAS(CORE_IMAGE_DECLARE)
#undef CORE_IMAGE_DECLARE

// A formula as a function of images.
template <class Formula>
class FormulaOfPlaces : public CombiningFunction {
  public:
    explicit FormulaOfPlaces(const Formula& formula) : formula_(formula) {}

    void ApplyToRun(float* pixels, const float* const* others, std::size_t count) const override {
        Apply(formula_, pixels, others, count);
    }

  private:
    Formula formula_;
};

// The image of a formula over others: the image, the target, and the third where the formula has one.
template <class Formula>
ImageRef MakeFormulaImage(std::vector<ImageRef> images, const Formula& formula, const Extent& extent) {
    return MakeCombinedImage(std::move(images), std::make_unique<FormulaOfPlaces<Formula>>(formula), extent);
}

}  // namespace core_image
