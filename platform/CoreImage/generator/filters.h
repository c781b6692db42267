// filters.h - the family of filters that need no image.
//
// Adding one: a function in this folder, named as the filter is without "CI", and a line in the list.

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
