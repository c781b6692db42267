// tile.cpp - memory for pixels.

#include "core/tile.h"

#include <tbb/scalable_allocator.h>

#include <cstdlib>
#include <cstring>
#include <limits>
#include <new>

namespace core_image {
namespace {

// A cache line, and the widest vector.
constexpr std::size_t kLine = 64 / sizeof(float);

// From one row to the next. Throws where that is more than can be counted in bytes.
//
// Why an odd number of lines: the pixels of a column would otherwise compete for the same few places of the cache.
std::size_t FloatsPerRow(const Region& region) {
    constexpr auto kMost = std::numeric_limits<std::size_t>::max() / 2 / sizeof(float);
    const auto width = static_cast<std::uint64_t>(region.width), height = static_cast<std::uint64_t>(region.height);
    if (width > kMost / kFloatsPerPixel - kLine) throw std::bad_alloc();
    const auto lines = (static_cast<std::size_t>(width) * kFloatsPerPixel + kLine - 1) / kLine;
    const std::size_t floats = (height == 1 ? lines : lines | 1) * kLine;
    if (height != 0 && floats > kMost / height) throw std::bad_alloc();
    return floats;
}

}  // namespace

// Why not the C library's: it gives large blocks back to the system, and clearing them anew takes longer than what is done
// in them. The address sanitizer, however, watches only that.
void* AllocateKept(std::size_t bytes) {
    constexpr std::size_t kAlignment = kLine * sizeof(float);
    // A whole number of lines, as aligned_alloc wants it.
    const std::size_t size = (std::max<std::size_t>(bytes, 1) + kAlignment - 1) / kAlignment * kAlignment;
#if __has_feature(address_sanitizer)
    void* memory = std::aligned_alloc(kAlignment, size);
#else
    void* memory = scalable_aligned_malloc(size, kAlignment);
#endif
    if (memory == nullptr) throw std::bad_alloc();
    return memory;
}

void FreeKept::operator()(void* memory) const {
#if __has_feature(address_sanitizer)
    std::free(memory);
#else
    scalable_aligned_free(memory);
#endif
}

PixelBlock::PixelBlock(const Region& region)
    : region_(region),
      floatsPerRow_(FloatsPerRow(region)),
      pixels_(
          static_cast<float*>(AllocateKept(floatsPerRow_ * static_cast<std::size_t>(region.height) * sizeof(float)))) {}

void Clear(const Tile& tile) {
    for (std::int64_t y = tile.region.y; y < tile.region.Top(); ++y) {
        std::memset(tile.Row(y), 0, tile.Width() * kFloatsPerPixel * sizeof(float));
    }
}

}  // namespace core_image
