// filters.h - filters that cover the plane with copies of one cell of an image.
//
// The cell has a corner at inputCenter and edges of inputWidth. One edge is at inputAngle; the other is at
// inputAcuteAngle from it, or at a right angle for filters without that key. Each copy shows the cell moved, rotated
// or reflected (folds.h). All results are infinite.
//
// Adding one: a function in this folder, named like the filter without "CI", and a line in the list.

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
