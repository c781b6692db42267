// encode_rows.cpp - converts rows to the channels that a file format stores: with straight alpha, or blended onto
// white.

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <limits>

#include "encode.h"

namespace image_io {
namespace {

// Returns value * numerator / denominator, rounded, at most 255.
std::uint8_t Scale(unsigned value, unsigned numerator, unsigned denominator) {
    return static_cast<std::uint8_t>(std::min(255u, (value * numerator + denominator / 2) / denominator));
}

template <typename Component>
const Component* RowOf(const Pixels& pixels, std::size_t row) {
    return reinterpret_cast<const Component*>(pixels.bytes + row * pixels.bytesPerRow);
}

// Adds the channels that a row uses.
template <typename Component>
void AddChannels(const Pixels& pixels, const Component* pixel, Channels* channels) {
    constexpr Component kOpaque =
        std::numeric_limits<Component>::is_integer ? std::numeric_limits<Component>::max() : 1;
    bool hasColor = false, hasAlpha = false;
    for (std::size_t x = 0; x < pixels.width; ++x, pixel += 4) {
        hasColor |= (pixel[0] != pixel[1]) | (pixel[1] != pixel[2]);
        hasAlpha |= pixel[3] != kOpaque;
    }
    channels->hasColor |= hasColor;
    channels->hasAlpha |= hasAlpha && !pixels.isOpaque;
}

template <typename Component>
void Pack(const Pixels& pixels, Channels channels, std::size_t row, Component* to) {
    constexpr unsigned kMost = std::numeric_limits<Component>::max();
    const auto* from = RowOf<Component>(pixels, row);
    const std::size_t colors = channels.hasColor ? 3 : 1;
    for (std::size_t x = 0; x < pixels.width; ++x, from += 4) {
        const unsigned alpha = pixels.isOpaque ? kMost : from[3];
        for (std::size_t i = 0; i < colors; ++i) {
            const bool isStraight = !pixels.isPremultiplied || alpha == kMost;
            const unsigned color = from[i];
            const unsigned straight = isStraight ? color : alpha == 0 ? 0 : (color * kMost + alpha / 2) / alpha;
            *to++ = static_cast<Component>(std::min(straight, kMost));
        }
        if (channels.hasAlpha) *to++ = static_cast<Component>(alpha);
    }
}

void CopyFloats(const Pixels& pixels, Channels channels, std::size_t row, float* to) {
    const auto* from = RowOf<float>(pixels, row);
    for (std::size_t x = 0; x < pixels.width; ++x, from += 4) {
        to = std::copy(from, from + (channels.hasColor ? 3 : 1), to);
        if (channels.hasAlpha) *to++ = from[3];
    }
}

}  // namespace

Channels ChannelsOf(const Pixels& pixels) {
    Channels channels = {pixels.profile != nullptr, false};
    for (std::size_t y = 0; y < pixels.height; ++y) {
        if (channels.hasColor && (channels.hasAlpha || pixels.isOpaque)) break;
        if (pixels.depth == 8) AddChannels(pixels, RowOf<std::uint8_t>(pixels, y), &channels);
        if (pixels.depth == 16) AddChannels(pixels, RowOf<std::uint16_t>(pixels, y), &channels);
        if (pixels.depth == 32) AddChannels(pixels, RowOf<float>(pixels, y), &channels);
    }
    return channels;
}

void PackRow(const Pixels& pixels, Channels channels, std::size_t row, void* to) {
    if (pixels.depth == 8) Pack(pixels, channels, row, static_cast<std::uint8_t*>(to));
    if (pixels.depth == 16) Pack(pixels, channels, row, static_cast<std::uint16_t*>(to));
    if (pixels.depth == 32) CopyFloats(pixels, channels, row, static_cast<float*>(to));
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
