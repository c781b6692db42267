// fourier.h - weighted means over very wide neighborhoods, by Fourier transforms: a pixel takes the same time for all
// of them.
//
// A block of pixels is transformed as a whole, multiplied by the transform of the weights, and transformed back. Two
// channels are transformed together, as the real and the imaginary part of complex numbers; weights that are their own
// mirror image have a real transform, so the two stay apart. The result is rounded relative to the largest number of
// the block, not to each pixel.
//
// Threads: constant once made; each block is computed by one thread.
// Failure: MemoryShortage.

#pragma once

#include <array>
#include <cstdint>
#include <functional>
#include <vector>

#include "blur/fourier_columns.h"
#include "core/image.h"

namespace core_image {

// The weights of a mean, prepared for blocks of a size.
class FourierMean {
  public:
    using Weight = std::function<double(std::int64_t x, std::int64_t y)>;

    // The width and height of a block are powers of two, at least 64, and more than twice the reach. The weight of a
    // neighbor that is x columns and y rows away is that of -x, and of -y; beyond the reach it is 0. Weights are
    // divided by their sum.
    FourierMean(std::int64_t width, std::int64_t height, std::int64_t reach, const Weight& weight);

    // Writes the means around the pixels of a tile, which lies in the middle of a block: as far from its edges as the
    // reach. Given are the first column and row of the middle; the block decides how pixels are rounded. Outside the
    // image everything is transparent.
    //
    // Writes nothing and returns false if a number of the block is not finite, or so large that rounding might show.
    [[nodiscard]] bool Blur(const Prepared& image, std::int64_t x, std::int64_t y, const Tile& tile) const;

  private:
    // The channels of a block, transformed: red and green, blue and alpha.
    using Pairs = std::array<Strips, 2>;

    PixelRange Transform(const Prepared& image, const Region& block, const Pairs& transformed) const;
    void Multiply(const Pairs& transformed) const;
    void TransformBack(const Pairs& transformed, const Region& block, const PixelRange& range, const Tile& tile) const;

    std::int64_t width_, height_;
    std::int64_t reach_;
    std::vector<Twiddles> twiddlesOfRows_, twiddlesOfColumns_;
    std::vector<float> weights_;  // transformed, strip by strip, divided by the number of pixels of a block
};

}  // namespace core_image
