// encode_rows.cpp - converts rows to the alpha that a file format stores: straight, or blended onto white.

#include <algorithm>
#include <cstddef>
#include <cstdint>

#include "encode.h"

namespace image_io {
namespace {

// Returns value * numerator / denominator, rounded, at most 255.
std::uint8_t Scale(unsigned value, unsigned numerator, unsigned denominator) {
    return static_cast<std::uint8_t>(std::min(255u, (value * numerator + denominator / 2) / denominator));
}

}  // namespace

void StraightRow(const Pixels& pixels, std::size_t row, std::uint8_t* to) {
    const std::uint8_t* from = pixels.bytes + row * pixels.bytesPerRow;
    for (std::size_t x = 0; x < pixels.width; ++x, from += 4, to += 4) {
        const unsigned alpha = pixels.isOpaque ? 255 : from[3];
        for (int channel = 0; channel < 3; ++channel) {
            to[channel] = !pixels.isPremultiplied ? from[channel] : alpha == 0 ? 0 : Scale(from[channel], 255, alpha);
        }
        to[3] = static_cast<std::uint8_t>(alpha);
    }
}

void RowOnWhite(const Pixels& pixels, std::size_t row, std::uint8_t* to) {
    const std::uint8_t* from = pixels.bytes + row * pixels.bytesPerRow;
    for (std::size_t x = 0; x < pixels.width; ++x, from += 4, to += 3) {
        const unsigned alpha = pixels.isOpaque ? 255 : from[3];
        for (int channel = 0; channel < 3; ++channel) {
            const unsigned color = pixels.isPremultiplied ? from[channel] : Scale(from[channel], alpha, 255);
            to[channel] = static_cast<std::uint8_t>(std::min(255u, color + 255 - alpha));
        }
    }
}

}  // namespace image_io
