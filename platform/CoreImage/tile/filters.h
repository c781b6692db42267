// filters.h - the family of filters that cover the plane with copies of one cell of an image.
//
// The cell has a corner at inputCenter and edges of inputWidth, one at inputAngle, the other at inputAcuteAngle from
// it, a right angle where there is no such key. A copy shows the cell moved, turned or reflected (folds.h). All results
// are endless.
//
// Adding one: a function in this folder, named as the filter is without "CI", and a line in the list.

#pragma once

#include "core/filter.h"

// Every filter of the family.
#define TILE_FILTERS(FILTER)       \
    FILTER(EightfoldReflectedTile) \
    FILTER(FourfoldReflectedTile)  \
    FILTER(FourfoldRotatedTile)    \
    FILTER(FourfoldTranslatedTile) \
    FILTER(GlideReflectedTile)

namespace core_image {

TILE_FILTERS(DECLARE_FILTER)

}  // namespace core_image
