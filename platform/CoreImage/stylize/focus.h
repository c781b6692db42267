// focus.h - what is in focus in a miniature.

#pragma once

namespace core_image {

// A segment between two points, and how focus falls off with the distance from it.
struct FocusLine {
    double startX, startY;
    double alongX, alongY;  // from start to end
    double perSquare;       // 1 / the squared length of the segment; 0 for a point
    double near;            // everything up to this distance is in focus
    double perStep;         // 1 / the width of the transition to fully out of focus; 0 for none
};

}  // namespace core_image
