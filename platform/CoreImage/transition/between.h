// between.h - what transitions share: the check for both images, the union of their extents, and exact results at
// both ends.
//
// Adding a transition: pass a function of a Between to MakeTransition; combine the images by a formula (formulas.h).

#pragma once

#include "core/inputs.h"

namespace core_image {

// A transition at a time strictly between its ends.
struct Between {
    ImageRef image;
    ImageRef target;
    Extent extent;  // the union of both
    double time;    // above 0 and below 1
};

// The image of a transition: the input or the target at its ends, and the result of a function between them. Returns
// null when one of the images is missing.
using TransitionFunction = ImageRef (*)(const Inputs& inputs, const Between& between);
ImageRef MakeTransition(const Inputs& inputs, TransitionFunction function);

// A direction across the plane, given by an angle.
struct Direction {
    explicit Direction(double angle);

    // The position of a place along the direction.
    double Along(double placeX, double placeY) const { return placeX * x + placeY * y; }

    // The least and greatest position within a rectangle, whose sides may be negative.
    struct Range {
        double least, most;
    };
    Range Of(double left, double bottom, double width, double height) const;

    double x, y;
};

}  // namespace core_image
