// tile.h - pixels in memory: a tile of some to be written, a view of some to be read, and a block that owns some.
//
// A pixel is four floats: red, green, blue and alpha, linear light, premultiplied. Rows go upward, lowest y first.
// Lifetime: a Tile and a View borrow; a PixelBlock owns and frees.
// Threads:  whoever writes a tile has it alone.

#pragma once

#include <algorithm>
#include <cstddef>
#include <memory>

#include "core/extent.h"

namespace core_image {

inline constexpr std::size_t kFloatsPerPixel = 4;

// A rectangle of pixels to be written or read.
struct Tile {
    Region region;
    float* pixels = nullptr;          // of the lowest row's first pixel
    std::ptrdiff_t floatsPerRow = 0;  // from one row to the next; negative where rows go downward in memory

    std::size_t Width() const { return static_cast<std::size_t>(region.width); }
    float* Row(std::int64_t y) const { return pixels + static_cast<std::ptrdiff_t>(y - region.y) * floatsPerRow; }

    // The part of the tile that is a smaller region inside it.
    Tile Part(const Region& inner) const {
        return {inner, Row(inner.y) + static_cast<std::size_t>(inner.x - region.x) * kFloatsPerPixel, floatsPerRow};
    }
};

// A rectangle of pixels to be read only.
struct View {
    Region region;
    const float* pixels = nullptr;    // of the lowest row's first pixel
    std::ptrdiff_t floatsPerRow = 0;  // as in a tile

    std::size_t Width() const { return static_cast<std::size_t>(region.width); }
    const float* Row(std::int64_t y) const { return pixels + static_cast<std::ptrdiff_t>(y - region.y) * floatsPerRow; }
    const float* PixelAt(std::int64_t x, std::int64_t y) const {
        return Row(y) + static_cast<std::ptrdiff_t>(x - region.x) * std::ptrdiff_t{kFloatsPerPixel};
    }

    // The part of the view that is a smaller region inside it.
    View Part(const Region& inner) const { return {inner, PixelAt(inner.x, inner.y), floatsPerRow}; }
};

// Memory that begins on a cache line, and is kept for the next who asks when it is given back. Throws std::bad_alloc.
void* AllocateKept(std::size_t bytes);
struct FreeKept {
    void operator()(void* memory) const;
};

// Memory for the pixels of a region, not cleared. Rows begin on whole cache lines.
//
// Blocks come and go with every tile, so their memory is kept for the next one (core/tile.cpp).
class PixelBlock {
  public:
    // Fails with std::bad_alloc, also for regions that no address space holds.
    explicit PixelBlock(const Region& region);

    const Region& GetRegion() const { return region_; }
    Tile GetTile() const { return {region_, pixels_.get(), static_cast<std::ptrdiff_t>(floatsPerRow_)}; }
    View GetView() const { return {region_, pixels_.get(), static_cast<std::ptrdiff_t>(floatsPerRow_)}; }
    const float* Row(std::int64_t y) const { return GetView().Row(y); }

  private:
    Region region_;
    std::size_t floatsPerRow_;
    std::unique_ptr<float[], FreeKept> pixels_;
};

// Makes a tile transparent.
void Clear(const Tile& tile);

}  // namespace core_image
