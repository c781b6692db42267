// dots.h - the pattern of a screen of dots: two waves that cross at right angles.
//
// With (u, v) the place from the center, turned back by the angle and in units of the width, the pattern is
// sin 2 pi (u + shift) + sin 2 pi (v + shift), between -2 and 2. The sine of a sum is made of sines and cosines of its parts, so
// four tables of a column's part and of a row's make every pixel.

#pragma once

#include <array>
#include <vector>

#include "core/run.h"

namespace core_image {

// Where dots are.
struct DotGrid {
    double centerX, centerY;
    double angle;
    double width;
    double shift;  // how far dots lie from the center, in widths
};

// Sines and cosines along one direction, of both waves.
struct WaveParts {
    std::array<std::vector<float>, 2> sines, cosines;
};

// How a pattern of dots becomes black and white.
struct DotContrast {
    float amplitude;  // of each wave
    float slope;      // of the step from black to white
};

// What black ink does to the others.
struct BlackInk {
    float replaced;  // how much of the gray that they have in common is printed in black
    float removed;   // how much of that black is taken away from each of them
};

// What a row of pixels needs of the tables.
struct DotRow {
    std::array<const float*, 2> columnSines, columnCosines;  // of the row's first pixel, and on
    std::array<float, 2> sines, cosines;
};

// The pattern of a region.
class Dots {
  public:
    Dots(const Region& region, const DotGrid& grid);

    // What a run in the region needs.
    DotRow Row(const Run& run) const;

  private:
    std::int64_t left_, bottom_;
    WaveParts columns_, rows_;
};

}  // namespace core_image
