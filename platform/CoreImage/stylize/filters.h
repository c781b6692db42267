// filters.h - filters that redraw a picture: glows, outlines, mosaics, comics, miniatures.
//
// This family builds on images of blur: glows, woodcuts and miniatures.
// Adding one: a function in this folder, named like the filter without "CI", and a line in the list.

#pragma once

#include "core/filter.h"

// Every filter of the family.
#define STYLIZE_FILTERS(FILTER) \
    FILTER(Bloom)               \
    FILTER(ComicEffect)         \
    FILTER(Crystallize)         \
    FILTER(DepthOfField)        \
    FILTER(Edges)               \
    FILTER(EdgeWork)            \
    FILTER(Gloom)

namespace core_image {

STYLIZE_FILTERS(DECLARE_FILTER)

}  // namespace core_image
