// tile.cpp - memory for pixels.

#include "core/tile.h"

#include <sys/mman.h>
#include <tbb/scalable_allocator.h>

#include <cstdlib>
#include <cstring>
#include <limits>
#include <new>

namespace core_image {
namespace {

// The distance from one row to the next. Throws MemoryShortage when the size overflows.
//
// Why an odd number of lines: otherwise the pixels of a column would compete for the same few cache sets.
std::size_t FloatsPerRow(const Region& region) {
    constexpr auto kMost = std::numeric_limits<std::size_t>::max() / 2 / sizeof(float);
    const auto width = static_cast<std::uint64_t>(region.width), height = static_cast<std::uint64_t>(region.height);
    const MemoryShortage shortage(width * height * kPixelBytes, 0);
    if (width > kMost / kFloatsPerPixel - kFloatsPerLine) throw shortage;
    const auto lines = (static_cast<std::size_t>(width) * kFloatsPerPixel + kFloatsPerLine - 1) / kFloatsPerLine;
    const std::size_t floats = (height == 1 ? lines : lines | 1) * kFloatsPerLine;
    if (height != 0 && floats > kMost / height) throw shortage;
    return floats;
}

// Lets the system use huge pages for large memory: each first use of a small page costs more than filling it.
void AskForHugePages(void* memory, std::size_t bytes) {
#ifdef MADV_HUGEPAGE
    constexpr std::size_t kHugePage = std::size_t{2} << 20;
    if (bytes < 4 * kHugePage) return;
    // A request of whole pages. It is only advice, so failing is no error.
    const std::size_t skipped = (kHugePage - reinterpret_cast<std::uintptr_t>(memory) % kHugePage) % kHugePage;
    madvise(static_cast<char*>(memory) + skipped, (bytes - skipped) / kHugePage * kHugePage, MADV_HUGEPAGE);
#else
    (void)memory, (void)bytes;
#endif
}

}  // namespace

// Why not malloc: it returns large blocks to the system, and the page faults of new ones take longer than the work
// done in them. The address sanitizer, however, watches only malloc.
void* AllocatePooled(std::size_t bytes) {
    // Whole lines, as aligned_alloc requires.
    const std::size_t size = (std::max<std::size_t>(bytes, 1) + kLineBytes - 1) / kLineBytes * kLineBytes;
#if __has_feature(address_sanitizer)
    void* memory = std::aligned_alloc(kLineBytes, size);
#else
    void* memory = scalable_aligned_malloc(size, kLineBytes);
#endif
    if (memory == nullptr) throw MemoryShortage(size, 0);
    AskForHugePages(memory, size);
    return memory;
}

void FreePooled::operator()(void* memory) const {
#if __has_feature(address_sanitizer)
    std::free(memory);
#else
    scalable_aligned_free(memory);
#endif
}

PixelBlock::PixelBlock(const Region& region)
    : region_(region),
      floatsPerRow_(FloatsPerRow(region)),
      share_(Bytes()),
      pixels_(static_cast<float*>(AllocatePooled(Bytes()))) {}

void Clear(const Tile& tile) {
    for (std::int64_t y = tile.region.y; y < tile.region.Top(); ++y) {
        std::memset(tile.Row(y), 0, tile.Width() * kPixelBytes);
    }
}

void Copy(const View& from, const Tile& tile) {
    for (std::int64_t row = 0; row < tile.region.height; ++row) {
        std::memcpy(tile.Row(tile.region.y + row), from.Row(from.region.y + row), tile.Width() * kPixelBytes);
    }
}

}  // namespace core_image
