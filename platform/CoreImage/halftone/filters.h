// filters.h - the family of filters that draw tones with patterns of ink.
//
// A pattern is a number between -1/2 and 1/2 for every place, 0 in the mean. A tone v becomes clamp(0.5 + (v - 0.5 - pattern) /
// (1 - sharpness)): a sharp pattern is nearly black and white, and white in as much of it as the tone is light; rings exactly,
// dots within a tenth.
// Filters see their image divided by alpha and clipped to 0...1; alpha stays. The extent is the input's.
//
// Adding one: a function in this folder, named as the filter is without "CI", and a line in the list.

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
