// tile.h - pixels in memory: a view of some, and a block that owns some.
//
// A pixel is four floats: red, green, blue and alpha, linear light, premultiplied. Rows go upward, lowest y first.
// Lifetime: a Tile borrows; a PixelBlock owns and frees.
// Threads:  whoever writes a tile has it alone.

#pragma once

#include <cstddef>
#include <memory>

#include "core/extent.h"

namespace core_image {

inline constexpr std::size_t kFloatsPerPixel = 4;

// A rectangle of pixels to be written or read.
struct Tile {
    Region region;
    float* pixels = nullptr;       // of the lowest row's first pixel
    std::size_t floatsPerRow = 0;  // from one row to the next

    std::size_t width() const { return static_cast<std::size_t>(region.width); }
    float* row(std::int64_t y) const { return pixels + static_cast<std::size_t>(y - region.y) * floatsPerRow; }

    // The part of the tile that is a smaller region inside it.
    Tile part(const Region& inner) const {
        return {inner, row(inner.y) + static_cast<std::size_t>(inner.x - region.x) * kFloatsPerPixel, floatsPerRow};
    }
};

// Memory for the pixels of a region, not cleared.
class PixelBlock {
  public:
    // Fails with std::bad_alloc, also for regions that no address space holds.
    explicit PixelBlock(const Region& region);

    const Region& region() const { return region_; }
    Tile tile() const { return {region_, pixels_.get(), floatsPerRow_}; }
    const float* row(std::int64_t y) const { return tile().row(y); }

  private:
    Region region_;
    std::size_t floatsPerRow_;
    std::unique_ptr<float[]> pixels_;
};

// Makes a tile transparent.
void Clear(const Tile& tile);

}  // namespace core_image
