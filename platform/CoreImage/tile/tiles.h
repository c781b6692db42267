// tiles.h - the family of filters that cover the plane with copies of one cell of an image.
//
// The cell has a corner at inputCenter and edges of inputWidth, one at inputAngle, the other at inputAcuteAngle from
// it, a right angle where there is no such key. A copy shows the cell moved, turned or reflected (folds.h). All results
// are endless.

#pragma once

#include "core/inputs.h"

namespace core_image {

// CIEightfoldReflectedTile: an eighth of the cell, reflected in all sides of its triangle.
ImageRef EightfoldReflectedTile(const Inputs& inputs);

// CIFourfoldReflectedTile: the cell, reflected in its sides.
ImageRef FourfoldReflectedTile(const Inputs& inputs);

// CIFourfoldRotatedTile: the cell, turned about its corners by quarter turns.
ImageRef FourfoldRotatedTile(const Inputs& inputs);

// CIFourfoldTranslatedTile: the cell, side by side with itself.
ImageRef FourfoldTranslatedTile(const Inputs& inputs);

// CIGlideReflectedTile: rows of the cell side by side with itself, every other row reflected left to right.
ImageRef GlideReflectedTile(const Inputs& inputs);

}  // namespace core_image
