// filters.h - the family of filters that sum up a rectangle of an image in one pixel or one row of pixels.
//
// The rectangle is inputExtent as far as the image reaches; nothing there gives transparent pixels. The result begins at (0, 0).
//
// Adding one: a function in this folder, named as the filter is without "CI", and a line in the list.

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
