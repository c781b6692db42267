// filters.h - filters that need no image.
//
// Adding one: a function in this folder, named like the filter without "CI", and a line in the list.

#pragma once

#include "core/filter.h"

// Every filter of the family.
#define GENERATOR_FILTERS(FILTER)  \
    FILTER(CheckerboardGenerator)  \
    FILTER(ConstantColorGenerator) \
    FILTER(GaussianGradient)

namespace core_image {

GENERATOR_FILTERS(DECLARE_FILTER)

}  // namespace core_image
