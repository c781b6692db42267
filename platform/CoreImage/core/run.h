// run.h - pixels stored channel by channel, as the inner loops of filters need them.
//
// A run is a piece of one row. Its pixels are stored in blocks of kBlockPixels: first all reds, then greens, blues
// and alphas. A block takes exactly the memory of its pixels, so that a run can be converted in place; the last
// block is padded with transparent pixels.
// Threads: any.

#pragma once

#include <algorithm>
#include <cstddef>

#include "core/tile.h"

namespace core_image {

// The number of lanes of the longest vectors.
inline constexpr std::size_t kBlockPixels = 16;

// A compromise: with longer runs a function call per run costs less; with shorter runs less memory is in use at
// once.
inline constexpr std::size_t kRunPixels = 64;
inline constexpr std::size_t kRunFloats = kRunPixels * kFloatsPerPixel;

// The place of a run.
struct Run {
    std::int64_t x = 0;
    std::int64_t y = 0;
    std::size_t count = 0;  // of pixels, at most kRunPixels

    Region GetRegion() const { return {x, y, static_cast<std::int64_t>(count), 1}; }
};

// Calls a function with the runs of a region, row by row.
template <typename Function>
void ForEachRun(const Region& region, const Function& function) {
    for (std::int64_t y = region.y; y < region.Top(); ++y) {
        for (std::int64_t x = region.x; x < region.Right(); x += kRunPixels) {
            const auto rest = static_cast<std::size_t>(region.Right() - x);
            function(Run{x, y, std::min(rest, kRunPixels)});
        }
    }
}

// Memory for several consecutive runs.
class RunMemory {
  public:
    explicit RunMemory(std::size_t runs) : pixels_({0, 0, static_cast<std::int64_t>(runs * kRunPixels), 1}) {}

    float* Run(std::size_t index) const { return pixels_.GetTile().pixels + index * kRunFloats; }

  private:
    PixelBlock pixels_;
};

// Convert pixels to blocks, and blocks to pixels. Both may be at the same address.
// Pixels that begin on a cache line can be written past the caches, by non-temporal stores.
void ToBlocks(const float* pixels, std::size_t count, float* blocks);
void FromBlocks(const float* blocks, std::size_t count, float* pixels, bool pastCache = false);

}  // namespace core_image
