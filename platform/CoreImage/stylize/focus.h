// focus.h - what is in focus in a miniature.

#pragma once

namespace core_image {

// A line through two points, and how focus falls off with the distance from it.
struct FocusLine {
    double startX, startY;
    double alongX, alongY;  // from the first point to the second
    double perSquare;       // 1 / the squared distance of the two points; 0 for a single point
    double perStep;         // 1 / the distance in which focus is lost to one blur; 0 if it is not
};

}  // namespace core_image
