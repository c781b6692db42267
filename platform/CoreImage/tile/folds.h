// folds.h - which place of the cell stands where in the plane, in the widest instructions that the processor has.
//
// A place of the plane is counted in edges of the cell from its corner: (s, t), the cell itself being 0...1 in both. A
// fold brings it back into the cell, by a symmetry that takes the plane to itself.
// Threads:  any.
// Adding one: a line in the list, and its function in folds.cpp.

#pragma once

#include "sampling/warp.h"

namespace core_image {

// Every fold; its function is called ...Fold.
#define CORE_IMAGE_FOLDS(FOLD)                                                                            \
    FOLD(Translate)    /* (s, t) modulo 1 */                                                              \
    FOLD(Reflect)      /* both up and down again, with a period of 2 */                                   \
    FOLD(ReflectEight) /* both up to 0.5 and down again, with a period of 1; the larger of them first */  \
    FOLD(Rotate)       /* 2 x 2 cells, those around their common corner a quarter turn from each other */ \
    FOLD(Glide)        /* s modulo 1, -s modulo 1 in odd rows; t modulo 1 */

// The corner and the edges of the cell.
struct Cell {
    double x, y;
    double firstX, firstY;
    double secondX, secondY;
};

// Writes the places of a row of pixels.
using Fold = void (*)(const Cell& cell, const PlaceRow& row, double* x, double* y);
#define CORE_IMAGE_DECLARE(name) void name##Fold(const Cell& cell, const PlaceRow& row, double* x, double* y);
CORE_IMAGE_FOLDS(CORE_IMAGE_DECLARE)
#undef CORE_IMAGE_DECLARE

}  // namespace core_image
