// formulas.h - what transitions make of a pixel of the image, the target's, and a third image's that says how far they
// are at its place: their parameters, and the loops that run them in the widest instructions that the processor has.
//
// All work on premultiplied pixels, alpha included unless said otherwise. mix(a, b, k) = a (1 - k) + b k.
// Threads:  any.
// Adding one: a struct here and its line in the list; what it does in formulas.cpp.

#pragma once

#include <memory>
#include <utility>

#include "core/inputs.h"
#include "core/point.h"

namespace core_image {

// Every formula, called ...Formula, and how many images there are beside the first.
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

// mix(target, image, p) + light min(p / 0.83, (1 - p) / 0.17), p being the third image's red.
struct GlareFormula {
    Pixel light;
};

// mix(target, flash, share), the flash being the image plus the third image, each number clipped to 0...1.
struct FlashFormula {
    float share;
};

// mix(target targetGain (1 - density shadow), image imageGain, cover), cover being the third image's red and shadow its
// green. Alpha knows neither gain nor shadow.
struct DisintegrateFormula {
    float imageGain;
    float targetGain;
    float density;
};

#define CORE_IMAGE_DECLARE(name, count) \
    void Apply(const name##Formula& formula, float* pixels, const float* const* others, std::size_t pixelCount);
CORE_IMAGE_TRANSITION_FORMULAS(CORE_IMAGE_DECLARE)
#undef CORE_IMAGE_DECLARE

// A formula as the function of images.
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

// The image of others under a formula: the image, the target, and the third where the formula has one.
template <class Formula>
ImageRef MakeFormulaImage(std::vector<ImageRef> images, const Formula& formula, const Extent& extent) {
    return MakeCombinedImage(std::move(images), std::make_unique<FormulaOfPlaces<Formula>>(formula), extent);
}

}  // namespace core_image
