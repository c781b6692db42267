// filters.h - filters that choose and move places.
//
// Adding one: a function in this folder, named like the filter without "CI", and a line in the list.

#pragma once

#include "core/filter.h"

// Every filter of the family.
#define GEOMETRY_FILTERS(FILTER) \
    FILTER(AffineClamp)          \
    FILTER(AffineTile)           \
    FILTER(AffineTransform)      \
    FILTER(Crop)

namespace core_image {

GEOMETRY_FILTERS(DECLARE_FILTER)

}  // namespace core_image
