// encode_rows.cpp - reads rows, and converts them to the alpha that a file format stores: straight, or blended onto
// white.

#include <algorithm>
#include <cerrno>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <new>

#include "encode.h"

namespace image_io {
namespace {

// Returns value * numerator / denominator, rounded, at most 255.
std::uint8_t Scale(unsigned value, unsigned numerator, unsigned denominator) {
    return static_cast<std::uint8_t>(std::min(255u, (value * numerator + denominator / 2) / denominator));
}

}  // namespace

PixelRows::PixelRows(const Pixels& pixels) : all_(pixels), current_(pixels), mostRows_(pixels.height) {
    if (pixels.source == nullptr) return;
    mostRows_ = std::min(std::max<std::size_t>(1, kMostBytes / pixels.bytesPerRow), pixels.height);
    memory_.reset(new (std::nothrow) std::uint8_t[(mostRows_ + 1) * pixels.bytesPerRow]);
}

int PixelRows::ReadNext() {
    const std::size_t rowsLeft = read_ - end_;
    begin_ = end_;
    end_ = std::min(begin_ + mostRows_, all_.height);
    read_ = std::max(read_, end_);
    if (all_.source == nullptr) return 0;
    if (memory_ == nullptr) return ENOMEM;
    // The row above, if there is one, stays in front of the new ones.
    std::uint8_t* const rows = memory_.get() + all_.bytesPerRow;
    if (begin_ != 0) {
        std::memmove(memory_.get(), current_.Row(begin_ - 1), (rowsLeft + 1) * all_.bytesPerRow);
    }
    current_.bytes = begin_ == 0 ? rows : memory_.get();
    current_.firstRow = begin_ == 0 ? 0 : begin_ - 1;
    return all_.source->Read(rows + rowsLeft * all_.bytesPerRow, end_ - begin_ - rowsLeft);
}

void PixelRows::Shorten(std::size_t step) {
    if (end_ < all_.height) end_ -= (end_ - begin_) % step;
}

void StraightRow(const Pixels& pixels, std::size_t row, std::uint8_t* to) {
    const std::uint8_t* from = pixels.Row(row);
    for (std::size_t x = 0; x < pixels.width; ++x, from += 4, to += 4) {
        const unsigned alpha = pixels.isOpaque ? 255 : from[3];
        for (int channel = 0; channel < 3; ++channel) {
            to[channel] = !pixels.isPremultiplied ? from[channel] : alpha == 0 ? 0 : Scale(from[channel], 255, alpha);
        }
        to[3] = static_cast<std::uint8_t>(alpha);
    }
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
