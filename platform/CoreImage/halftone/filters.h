// filters.h - filters that render tones with patterns of ink.
//
// A pattern is a number between -1/2 and 1/2 for every place, with mean 0. A tone v becomes
// clamp(0.5 + (v - 0.5 - pattern) / (1 - sharpness)). A sharp pattern is nearly black and white, and its share of white
// equals the tone: exactly for rings, within a tenth for dots.
// The image is divided by alpha and clipped to 0...1; alpha is unchanged. The extent is the input's.
//
// Adding one: a function in this folder, named like the filter without "CI", and a line in the list.

#pragma once

#include "core/filter.h"

// Every filter of the family.
#define HALFTONE_FILTERS(FILTER) \
    FILTER(CircularScreen)       \
    FILTER(CMYKHalftone)         \
    FILTER(DotScreen)

namespace core_image {

HALFTONE_FILTERS(DECLARE_FILTER)

}  // namespace core_image
