// folds.h - which place of the cell each place of the plane shows, vectorized for the processor.
//
// A place of the plane is given in edges of the cell, relative to its corner: (s, t), with the cell itself at 0...1
// in both. A fold maps it back into the cell by a symmetry of the plane.
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
    FOLD(Glide)        /* s modulo 1, mirrored in odd columns; t modulo 1, half a cell higher there */

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
