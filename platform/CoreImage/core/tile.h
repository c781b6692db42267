// tile.h - pixels in memory: a Tile to write, a View to read, a PixelBlock that owns pixels.
//
// A pixel is four floats: red, green, blue and alpha, linear light, premultiplied. Rows go upward, lowest y first.
// Lifetime: a Tile and a View borrow; a PixelBlock owns and frees.
// Threads:  only one thread writes a tile.

#pragma once

#include <algorithm>
#include <cstddef>
#include <memory>

#include "core/extent.h"
#include "core/memory_budget.h"

namespace core_image {

inline constexpr std::size_t kFloatsPerPixel = 4;
inline constexpr std::size_t kPixelBytes = kFloatsPerPixel * sizeof(float);

// A cache line, and the widest vector.
inline constexpr std::size_t kLineBytes = 64;
inline constexpr std::size_t kFloatsPerLine = kLineBytes / sizeof(float);

// A rectangle of pixels to write or read.
struct Tile {
    Region region;
    float* pixels = nullptr;          // the lowest row's first pixel
    std::ptrdiff_t floatsPerRow = 0;  // from one row to the next; negative where rows go downward in memory

    std::size_t Width() const { return static_cast<std::size_t>(region.width); }
    float* Row(std::int64_t y) const { return pixels + static_cast<std::ptrdiff_t>(y - region.y) * floatsPerRow; }

    // The part of the tile inside a smaller region.
    Tile Part(const Region& inner) const {
        return {inner, Row(inner.y) + static_cast<std::size_t>(inner.x - region.x) * kFloatsPerPixel, floatsPerRow};
    }
};

// A rectangle of pixels to read.
struct View {
    Region region;
    const float* pixels = nullptr;    // the lowest row's first pixel
    std::ptrdiff_t floatsPerRow = 0;  // as in a tile

    std::size_t Width() const { return static_cast<std::size_t>(region.width); }
    const float* Row(std::int64_t y) const { return pixels + static_cast<std::ptrdiff_t>(y - region.y) * floatsPerRow; }
    const float* PixelAt(std::int64_t x, std::int64_t y) const {
        return Row(y) + static_cast<std::ptrdiff_t>(x - region.x) * std::ptrdiff_t{kFloatsPerPixel};
    }

    // The part of the view inside a smaller region.
    View Part(const Region& inner) const { return {inner, PixelAt(inner.x, inner.y), floatsPerRow}; }
};

// Allocates memory aligned to a cache line, from a pool that reuses freed blocks. Throws MemoryShortage.
[[nodiscard]] void* AllocatePooled(std::size_t bytes);
struct FreePooled {
    void operator()(void* memory) const;
};

// Memory for the pixels of a region, not cleared. Rows begin on whole cache lines.
//
// Blocks come and go with every tile, so their memory is pooled (core/tile.cpp).
class PixelBlock {
  public:
    // Throws MemoryShortage, also for regions too large for the address space.
    explicit PixelBlock(const Region& region);

    const Region& GetRegion() const { return region_; }
    Tile GetTile() const { return {region_, pixels_.get(), static_cast<std::ptrdiff_t>(floatsPerRow_)}; }
    View GetView() const { return {region_, pixels_.get(), static_cast<std::ptrdiff_t>(floatsPerRow_)}; }
    const float* Row(std::int64_t y) const { return GetView().Row(y); }

  private:
    std::size_t Bytes() const { return floatsPerRow_ * static_cast<std::size_t>(region_.height) * sizeof(float); }

    Region region_;
    std::size_t floatsPerRow_;
    BudgetShare share_;
    std::unique_ptr<float[], FreePooled> pixels_;
};

// Makes a tile transparent.
void Clear(const Tile& tile);

// Copies pixels to a tile, which is as large as the view.
void Copy(const View& from, const Tile& tile);

}  // namespace core_image
