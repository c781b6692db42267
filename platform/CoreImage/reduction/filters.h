// filters.h - filters that reduce a rectangle of an image to one pixel or one row of pixels.
//
// The rectangle is the part of inputExtent inside the image; if it is empty, the pixels are transparent. The result
// begins at (0, 0).
//
// Adding one: a function in this folder, named like the filter without "CI", and a line in the list.

#pragma once

#include "core/filter.h"

// Every filter of the family.
#define REDUCTION_FILTERS(FILTER) \
    FILTER(AreaAverage)           \
    FILTER(AreaHistogram)         \
    FILTER(AreaMaximum)           \
    FILTER(AreaMaximumAlpha)      \
    FILTER(AreaMinimum)           \
    FILTER(AreaMinimumAlpha)      \
    FILTER(ColumnAverage)

namespace core_image {

REDUCTION_FILTERS(DECLARE_FILTER)

}  // namespace core_image
