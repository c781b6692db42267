// bitmap_store.cpp - encodes linear, premultiplied pixels for a bitmap.
//
// Why unclipped: alpha may exceed 1 between filters. Colours are divided by that alpha and multiplied by it again, and only then
// is everything clipped; clipping alpha first would change the colours of what was added up.

#include <cmath>

#include "core/bitmap.h"

namespace core_image {
namespace {

// The nearest byte; what is no number becomes 0.
std::uint8_t ToByte(float value) {
    if (!(value > 0)) return 0;
    return value >= 1 ? 255 : static_cast<std::uint8_t>(value * 255 + 0.5f);
}

// Encodes a pixel, still as floats.
void EncodePixel(const float* from, Transfer transfer, float* to) {
    const float alpha = from[3];
    for (int channel = 0; channel < 3; ++channel) {
        if (transfer == Transfer::linear) {
            to[channel] = from[channel];
        } else if (alpha == 1) {
            to[channel] = EncodeSRGB(from[channel]);
        } else {
            to[channel] = alpha == 0 ? 0 : EncodeSRGB(from[channel] / alpha) * alpha;
        }
    }
    to[3] = alpha;
}

void StoreByteRow(const float* from, std::size_t count, Transfer transfer, void* to) {
    auto* bytes = static_cast<std::uint8_t*>(to);
    float encoded[kFloatsPerPixel];
    for (std::size_t index = 0; index < count; ++index, from += kFloatsPerPixel, bytes += kFloatsPerPixel) {
        EncodePixel(from, transfer, encoded);
        for (std::size_t channel = 0; channel < kFloatsPerPixel; ++channel) bytes[channel] = ToByte(encoded[channel]);
    }
}

void StoreFloatRow(const float* from, std::size_t count, Transfer transfer, void* to) {
    auto* floats = static_cast<float*>(to);
    for (std::size_t index = 0; index < count; ++index) {
        EncodePixel(from + index * kFloatsPerPixel, transfer, floats + index * kFloatsPerPixel);
    }
}

}  // namespace

void Store(const Tile& tile, const Region& region, const BitmapDestination& destination) {
    const bool bytes = destination.format == PixelFormat::bytes;
    const auto pixelSize = static_cast<std::ptrdiff_t>(bytes ? kFloatsPerPixel : kFloatsPerPixel * sizeof(float));
    const auto column = static_cast<std::ptrdiff_t>(tile.region.x - region.x) * pixelSize;
    for (std::int64_t y = tile.region.y; y < tile.region.top(); ++y) {
        const auto row = static_cast<std::ptrdiff_t>(region.top() - 1 - y);
        void* to = static_cast<std::uint8_t*>(destination.pixels) + row * destination.bytesPerRow + column;
        (bytes ? StoreByteRow : StoreFloatRow)(tile.row(y), tile.width(), destination.transfer, to);
    }
}

}  // namespace core_image
