// focus.h - what is in focus in a miniature.

#pragma once

namespace core_image {

// A line between two points, and how focus is lost with the distance from it.
struct FocusLine {
    double startX, startY;
    double alongX, alongY;  // from the start to the end
    double perSquare;       // one over the square of the line's length; 0 for a point
    double near;            // up to this distance all is in focus
    double perStep;         // one over the width of the step from there to where nothing is; 0 for none
};

}  // namespace core_image
