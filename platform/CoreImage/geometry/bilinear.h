// bilinear.h - pixels between pixels.

#pragma once

#include "core/tile.h"

namespace core_image {

// Where the pixels of a line come from: pixel number x from (stepX (x + 0.5) + x0, stepY (x + 0.5) + y0), counted in pixels of
// the source from the centre of pixel (0, 0).
struct LinePlaces {
    double stepX, x0, stepY, y0;
};

// Writes the pixels of a line from number first on. What lies outside the source is taken from its edge: a source holds all
// four pixels around each place.
void SampleLine(const PixelBlock& source, const LinePlaces& places, std::int64_t first, float* out, std::size_t count);

}  // namespace core_image
