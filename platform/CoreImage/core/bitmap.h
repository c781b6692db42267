// bitmap.h - bitmaps in memory: as the source of an image, and as the destination of a rendering.
//
// The topmost row comes first in memory. The lower left pixel of a source is at (0, 0).

#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <memory>

#include "core/image.h"
#include "core/row_window.h"
#include "core/transfer.h"

namespace core_image {

// The layout of a pixel: bytes, 16-bit words or floats in the order red, green, blue, alpha.
enum class PixelFormat { kBytes, kWords, kFloats };

// The meaning of the fourth number for the other three.
enum class Alpha { kStraight, kPremultiplied, kIgnored };

// Pixels to make an image of. Floats are premultiplied.
struct BitmapSource {
    const void* pixels = nullptr;  // the topmost row
    std::size_t width = 0;
    std::size_t height = 0;
    std::size_t bytesPerRow = 0;
    PixelFormat format = PixelFormat::kBytes;
    Alpha alpha = Alpha::kStraight;
    Transfer transfer = Transfer::kSRGB;
};

// The destination of a rendering. Floats are premultiplied. Words have straight alpha, because words that were
// multiplied cannot be divided again without loss; so have bytes if they are to be stored in a file.
struct BitmapDestination {
    void* pixels = nullptr;  // the topmost row
    std::ptrdiff_t bytesPerRow = 0;
    PixelFormat format = PixelFormat::kBytes;
    bool hasStraightBytes = false;
    Transfer transfer = Transfer::kSRGB;
};

// The image of a bitmap. The image keeps the owner, which keeps the pixels alive.
ImageRef MakeBitmapImage(const BitmapSource& source, std::shared_ptr<const void> owner);

// A bitmap at a half, a quarter and an eighth of its size; null where it cannot be decoded so.
using ReducedImages = std::array<ImageRef, 3>;

// The image of a bitmap whose rows are decoded when they are needed; the source's own pixels are null.
//
// The reduced images are the same bitmap at smaller scales, by the powers of two: the first one at a half. Each has the
// pixels that a division of the size gives, rounded up, and squares of the rightmost and lowest pixels may be cut off.
ImageRef MakeStreamedImage(const BitmapSource& source, std::shared_ptr<RowWindow> rows,
                           const ReducedImages& reduced = {});

// The size of a pixel in bytes.
constexpr std::size_t SizeOfPixel(PixelFormat format) {
    return format == PixelFormat::kBytes   ? kFloatsPerPixel
           : format == PixelFormat::kWords ? kPixelBytes / 2
                                           : kPixelBytes;
}

// Encodes a run of blocks into its place in a bitmap that covers a region. The blocks are overwritten.
//
// pastCache uses non-temporal stores; it is meant for a bitmap larger than the cache. The caller then flushes before
// others read the bitmap. Partial cache lines are always written through the cache, so most runs should begin on a
// line.
void Store(float* blocks, const Run& run, const Region& region, const BitmapDestination& destination, bool pastCache);

// The number of pixels between a place in such a bitmap and the next start of a cache line.
std::size_t PixelsToLine(const BitmapDestination& destination, const Region& region, std::int64_t x, std::int64_t y);

}  // namespace core_image
