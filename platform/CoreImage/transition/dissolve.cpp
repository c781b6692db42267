// dissolve.cpp - a mean of the two images, weighted by the time.

#include "transition/between.h"
#include "transition/filters.h"
#include "transition/formulas.h"

namespace core_image {

// CIDissolveTransition: the image fades into the target.
ImageRef DissolveTransition(const Inputs& inputs) {
    return MakeTransition(inputs, [](const Inputs&, const Between& between) {
        const DissolveFormula formula = {static_cast<float>(between.time)};
        return MakeFormulaImage({between.image, between.target}, formula, between.extent);
    });
}

}  // namespace core_image
