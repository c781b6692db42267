// bitmap.h - bytes in memory: as the source of an image, and as what is rendered into.
//
// The topmost row stands first in memory. A source's lower left pixel is at (0, 0).

#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>

#include "core/image.h"
#include "core/transfer.h"

namespace core_image {

// How a pixel is laid out: bytes or floats in the order red, green, blue, alpha.
enum class PixelFormat { kBytes, kFloats };

// What the fourth number does to the others.
enum class Alpha { kStraight, kPremultiplied, kIgnored };

// Pixels to make an image of.
struct BitmapSource {
    const void* pixels = nullptr;  // of the topmost row
    std::size_t width = 0;
    std::size_t height = 0;
    std::size_t bytesPerRow = 0;
    PixelFormat format = PixelFormat::kBytes;
    Alpha alpha = Alpha::kStraight;
    Transfer transfer = Transfer::kSRGB;
};

// Where to render to: premultiplied pixels.
struct BitmapDestination {
    void* pixels = nullptr;  // of the topmost row
    std::ptrdiff_t bytesPerRow = 0;
    PixelFormat format = PixelFormat::kBytes;
    Transfer transfer = Transfer::kSRGB;
};

// The image of a bitmap, whose pixels the owner keeps alive.
ImageRef MakeBitmapImage(const BitmapSource& source, std::shared_ptr<const void> owner);

// How many bytes a pixel takes.
constexpr std::size_t SizeOfPixel(PixelFormat format) {
    return format == PixelFormat::kBytes ? kFloatsPerPixel : kFloatsPerPixel * sizeof(float);
}

// Encodes a run in blocks, whose memory is used, into its place in a bitmap that stands for a region.
//
// Past the cache: for a bitmap larger than that, of which nothing would be found there later. Who writes so flushes before others
// read. What does not fill a line of memory goes through the cache, so most runs should begin where a line does.
void Store(float* blocks, const Run& run, const Region& region, const BitmapDestination& destination, bool pastCache);

// How many pixels lie between a place in such a bitmap and the next beginning of a line of memory.
std::size_t PixelsToLine(const BitmapDestination& destination, const Region& region, std::int64_t x, std::int64_t y);

}  // namespace core_image
