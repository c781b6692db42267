// disc.h - the mean over a disc whose rim is one pixel soft, for planes.
//
// Threads: constant once made.

#pragma once

#include <cstdint>
#include <vector>

#include "blur/planes.h"
#include "blur/sums.h"

namespace core_image {

// The weight of a pixel of a disc, before all of them are divided by their sum.
double DiscWeight(double radius, std::int64_t x, std::int64_t y);

// A disc, its weights summing to one. One of radius 0 is a single pixel.
class Disc {
  public:
    explicit Disc(double radius);

    // How far from its center the disc has weights.
    std::int64_t Reach() const { return static_cast<std::int64_t>(rows_.size()) - 1; }

    // Writes the means around the pixels of out. The source reaches as far beyond out as the disc, at least. If it is
    // opaque, alpha is not summed. While a row of out is written, the rows ahead of it are prefetched, if given.
    void Blur(const Planes& source, bool isOpaque, Planes& out, RowsAhead* ahead = nullptr) const;

  private:
    std::vector<DiscRows> rows_;  // for each distance from the center
    float meanOfOnes_;            // computed as any other mean
};

}  // namespace core_image
