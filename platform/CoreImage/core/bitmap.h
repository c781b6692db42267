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
enum class PixelFormat { bytes, floats };

// What the fourth number does to the others.
enum class Alpha { straight, premultiplied, ignored };

// Pixels to make an image of.
struct BitmapSource {
    const void* pixels = nullptr;  // of the topmost row
    std::size_t width = 0;
    std::size_t height = 0;
    std::size_t bytesPerRow = 0;
    PixelFormat format = PixelFormat::bytes;
    Alpha alpha = Alpha::straight;
    Transfer transfer = Transfer::sRGB;
};

// Where to render to: premultiplied pixels.
struct BitmapDestination {
    void* pixels = nullptr;  // of the topmost row
    std::ptrdiff_t bytesPerRow = 0;
    PixelFormat format = PixelFormat::bytes;
    Transfer transfer = Transfer::sRGB;
};

// The image of a bitmap, whose pixels the owner keeps alive.
ImageRef MakeBitmapImage(const BitmapSource& source, std::shared_ptr<const void> owner);

// Encodes a tile into its place in a bitmap that stands for a region.
void Store(const Tile& tile, const Region& region, const BitmapDestination& destination);

}  // namespace core_image
