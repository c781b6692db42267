// tile.cpp - memory for pixels.

#include "core/tile.h"

#include <cstring>
#include <limits>
#include <new>

namespace core_image {
namespace {

// How many floats a region needs; throws where that is more than can be counted in bytes.
std::size_t FloatsOf(const Region& region) {
    constexpr auto kMost = std::numeric_limits<std::size_t>::max() / 2 / (kFloatsPerPixel * sizeof(float));
    const auto width = static_cast<std::uint64_t>(region.width);
    const auto height = static_cast<std::uint64_t>(region.height);
    if (height != 0 && width > kMost / height) throw std::bad_alloc();
    return static_cast<std::size_t>(width * height) * kFloatsPerPixel;
}

}  // namespace

PixelBlock::PixelBlock(const Region& region)
    : region_(region),
      floatsPerRow_(static_cast<std::size_t>(region.width) * kFloatsPerPixel),
      pixels_(new float[FloatsOf(region)]) {}

void Clear(const Tile& tile) {
    for (std::int64_t y = tile.region.y; y < tile.region.top(); ++y) {
        std::memset(tile.row(y), 0, tile.width() * kFloatsPerPixel * sizeof(float));
    }
}

}  // namespace core_image
