// between.h - what transitions share: two images that must be there, the extent of both, and ends that are exact.
//
// Adding a transition: hand a function of a Between to MakeTransition; combine the images by a formula (formulas.h).

#pragma once

#include "core/inputs.h"

namespace core_image {

// A transition on its way.
struct Between {
    ImageRef image;
    ImageRef target;
    Extent extent;  // of both
    double time;    // after 0 and before 1
};

// The image of a transition: the input or the target at its ends, and what a function makes between them. Null where
// one of the images is missing.
using TransitionFunction = ImageRef (*)(const Inputs& inputs, const Between& between);
ImageRef MakeTransition(const Inputs& inputs, TransitionFunction function);

// A way across the plane, by an angle.
struct Direction {
    explicit Direction(double angle);

    // How far along a place is.
    double Along(double placeX, double placeY) const { return placeX * x + placeY * y; }

    // The least and the most of a rectangle, whose sides may be negative.
    struct Range {
        double least, most;
    };
    Range Of(double left, double bottom, double width, double height) const;

    double x, y;
};

}  // namespace core_image
