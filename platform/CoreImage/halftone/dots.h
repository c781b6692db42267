// dots.h - the pattern of a screen of dots: two waves that cross at right angles.
//
// With (u, v) the position relative to the center, rotated back by the angle and in units of the width, the pattern
// is sin 2 pi u + sin 2 pi v, between -2 and 2. By the addition theorem every pixel is computed
// from four tables for columns and four for rows.

#pragma once

#include <array>
#include <cstdint>
#include <vector>

#include "core/extent.h"
#include "core/memory_budget.h"
#include "core/run.h"

namespace core_image {

// The position of the dots.
struct DotGrid {
    double centerX, centerY;
    double angle;
    double width;
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

// The effect of black ink on the others.
struct BlackInk {
    float replaced;  // the share of the square of their common gray that is printed in black
    float removed;   // the share of that black that is removed from each of them
};

// The parts of the tables for one row of pixels.
struct DotRow {
    std::array<const float*, 2> columnSines, columnCosines;  // starting at the row's first pixel
    std::array<float, 2> sines, cosines;
};

// The pattern of a region.
class Dots {
  public:
    Dots(const Region& region, const DotGrid& grid);

    // The parts of the tables for a run in the region.
    DotRow Row(const Run& run) const;

  private:
    std::int64_t left_, bottom_;
    BudgetShare memory_;  // of the next two
    WaveParts columns_, rows_;
};

}  // namespace core_image
