// filters.h - filters that spread each pixel over its neighbors.
//
// Adding one: a function in this folder, named like the filter without "CI", and a line in the list.

#pragma once

#include "core/filter.h"

// Every filter of the family.
#define BLUR_FILTERS(FILTER) \
    FILTER(BoxBlur)          \
    FILTER(DiscBlur)         \
    FILTER(GaussianBlur)

namespace core_image {

BLUR_FILTERS(DECLARE_FILTER)

}  // namespace core_image
