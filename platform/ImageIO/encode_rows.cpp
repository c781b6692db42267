// encode_rows.cpp - reads rows, and converts them to the channels that a file format stores: with straight alpha, or
// blended onto white.

#include <algorithm>
#include <cerrno>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <functional>
#include <limits>
#include <new>

#include "encode.h"

namespace image_io {
namespace {

// Returns value * numerator / denominator, rounded, at most 255.
std::uint8_t Scale(unsigned value, unsigned numerator, unsigned denominator) {
    return static_cast<std::uint8_t>(std::min(255u, (value * numerator + denominator / 2) / denominator));
}

template <typename Component>
const Component* RowOf(const Pixels& pixels, std::size_t row) {
    return reinterpret_cast<const Component*>(pixels.Row(row));
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

// Whether the colors of a row are straight: not premultiplied, or by an alpha of 1.
template <typename Component>
bool IsStraight(const Pixels& pixels, const Component* pixel) {
    if (pixels.isOpaque || !pixels.isPremultiplied) return true;
    Component alphas = std::numeric_limits<Component>::max();
    for (std::size_t x = 0; x < pixels.width; ++x) alphas &= pixel[4 * x + 3];
    return alphas == std::numeric_limits<Component>::max();
}

// Keeps the colors of pixels. The fourth component of each is written, too, and then replaced by the next pixel.
template <typename Component>
void CopyColors(const Component* from, std::size_t count, Component* to) {
    for (; count > 1; --count, from += 4, to += 3) std::memcpy(to, from, 4 * sizeof *to);
    if (count == 1) std::memcpy(to, from, 3 * sizeof *to);
}

template <typename Component>
void Pack(const Pixels& pixels, Channels channels, std::size_t row, Component* to) {
    constexpr unsigned kMost = std::numeric_limits<Component>::max();
    const auto* from = RowOf<Component>(pixels, row);
    if (channels.hasColor && !channels.hasAlpha && IsStraight(pixels, from)) {
        return CopyColors(from, pixels.width, to);
    }
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

// Adds the channels that rows from begin to end use.
void AddChannels(const Pixels& pixels, std::size_t begin, std::size_t end, Channels* channels) {
    for (std::size_t y = begin; y < end; ++y) {
        if (channels->hasColor && (channels->hasAlpha || pixels.isOpaque)) break;
        if (pixels.depth == 8) AddChannels(pixels, RowOf<std::uint8_t>(pixels, y), channels);
        if (pixels.depth == 16) AddChannels(pixels, RowOf<std::uint16_t>(pixels, y), channels);
        if (pixels.depth == 32) AddChannels(pixels, RowOf<float>(pixels, y), channels);
    }
}

// The channels of a picture before its pixels are known.
Channels LeastChannels(const Pixels& pixels) { return {.hasColor = pixels.profile != nullptr}; }

void CopyFloats(const Pixels& pixels, Channels channels, std::size_t row, float* to) {
    const auto* from = RowOf<float>(pixels, row);
    for (std::size_t x = 0; x < pixels.width; ++x, from += 4) {
        to = std::copy(from, from + (channels.hasColor ? 3 : 1), to);
        if (channels.hasAlpha) *to++ = from[3];
    }
}

}  // namespace

Channels ChannelsOf(const Pixels& pixels) {
    Channels channels = LeastChannels(pixels);
    AddChannels(pixels, 0, pixels.height, &channels);
    return channels;
}

PixelRows::PixelRows(const Pixels& pixels) : all_(pixels), current_(pixels), mostRows_(pixels.height) {
    if (pixels.source == nullptr) return;
    mostRows_ = std::min(std::max<std::size_t>(1, kMostBytes / pixels.bytesPerRow), pixels.height);
    // Without memory, reading fails.
    if (pixels.bytesPerRow > SIZE_MAX / 2 / (mostRows_ + 1)) return;
    memory_.reset(new (std::nothrow) std::uint8_t[(mostRows_ + 1) * pixels.bytesPerRow]);
}

int PixelRows::ReadNext(Channels* channels) {
    const std::size_t rowsLeft = read_ - end_;
    begin_ = end_;
    end_ = std::min(begin_ + mostRows_, all_.height);
    read_ = std::max(read_, end_);
    if (all_.source != nullptr) {
        if (memory_ == nullptr) return ENOMEM;
        // The row above, if there is one, stays in front of the new ones.
        std::uint8_t* const rows = memory_.get() + all_.bytesPerRow;
        if (begin_ != 0) {
            std::memmove(memory_.get(), current_.Row(begin_ - 1), (rowsLeft + 1) * all_.bytesPerRow);
        }
        current_.bytes = begin_ == 0 ? rows : memory_.get();
        current_.firstRow = begin_ == 0 ? 0 : begin_ - 1;
        const int error = all_.source->Read(rows + rowsLeft * all_.bytesPerRow, end_ - begin_ - rowsLeft);
        if (error != 0) return error;
    }
    AddChannels(current_, begin_, end_, channels);
    return 0;
}

void PixelRows::Shorten(std::size_t step) {
    if (end_ < all_.height) end_ -= (end_ - begin_) % step;
}

int EncodeByRows(const Pixels& pixels, EncodedFile* file,
                 const std::function<int(Channels* channels, bool* isComplete)>& attempt) {
    Channels channels = LeastChannels(pixels);
    for (;;) {
        bool isComplete = false;
        int error = attempt(&channels, &isComplete);
        if (error != 0 || isComplete) return error;
        pixels.source->Rewind();
        if (file->sink != nullptr) error = file->sink->Restart();
        if (error != 0) return error;
        std::free(file->bytes);
        file->bytes = nullptr;
        file->length = 0;
    }
}

void PackRow(const Pixels& pixels, Channels channels, std::size_t row, void* to) {
    if (pixels.depth == 8) Pack(pixels, channels, row, static_cast<std::uint8_t*>(to));
    if (pixels.depth == 16) Pack(pixels, channels, row, static_cast<std::uint16_t*>(to));
    if (pixels.depth == 32) CopyFloats(pixels, channels, row, static_cast<float*>(to));
}

void RowOnWhite(const Pixels& pixels, std::size_t row, std::uint8_t* to) {
    const std::uint8_t* from = pixels.Row(row);
    for (std::size_t x = 0; x < pixels.width; ++x, from += 4, to += 3) {
        const unsigned alpha = pixels.isOpaque ? 255 : from[3];
        for (int channel = 0; channel < 3; ++channel) {
            const unsigned color = pixels.isPremultiplied ? from[channel] : Scale(from[channel], alpha, 255);
            to[channel] = static_cast<std::uint8_t>(std::min(255u, color + 255 - alpha));
        }
    }
}

}  // namespace image_io
