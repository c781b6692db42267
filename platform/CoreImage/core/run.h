// run.h - pixels channel by channel, as the inner loops of filters want them.
//
// A run is a piece of one row. Its pixels are held in blocks of kBlockPixels: first their reds, then greens, blues and alphas.
// A block takes up the memory of the pixels that it holds, so a run goes from one form to the other in place; the last block
// is filled up with transparent pixels.
// Threads: any.

#pragma once

#include <cstddef>

#include "core/tile.h"

namespace core_image {

// As many as the longest vectors have lanes.
inline constexpr std::size_t kBlockPixels = 16;

// Why so many: calling a function for each costs little, and the shorter a run, the less memory waits while it is worked on.
inline constexpr std::size_t kRunPixels = 64;
inline constexpr std::size_t kRunFloats = kRunPixels * kFloatsPerPixel;

// Where a run is.
struct Run {
    std::int64_t x = 0;
    std::int64_t y = 0;
    std::size_t count = 0;  // of pixels, kRunPixels at most

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

// Memory for some runs, one behind the other.
class RunMemory {
  public:
    explicit RunMemory(std::size_t runs) : pixels_({0, 0, static_cast<std::int64_t>(runs * kRunPixels), 1}) {}

    float* Run(std::size_t index) const { return pixels_.GetTile().pixels + index * kRunFloats; }

  private:
    PixelBlock pixels_;
};

// Turns pixels into blocks, and blocks into pixels. Both may be at the same place.
void ToBlocks(const float* pixels, std::size_t count, float* blocks);
void FromBlocks(const float* blocks, std::size_t count, float* pixels);

}  // namespace core_image
