// fourier.cpp - blocks are transformed by columns, then by rows; rows become columns in between.
//
// A block is cut into strips of kFourierColumns columns. The transformed strips are written with columns and rows
// exchanged, so that the rows of the block are the columns of new strips: these are what is held in memory. They are
// transformed, multiplied and transformed back in one go, and exchanged once more on the way to the result.

#include "blur/fourier.h"

#include <algorithm>
#include <array>
#include <limits>

#include "core/window.h"

namespace core_image {
namespace {

// Above this, rounding might show in pixels of the usual range.
constexpr float kLargest = 16;

// The pixels of a row that are read and written at a time.
constexpr std::int64_t kColumns = kFourierColumns, kPart = kRunPixels, kStripsOfPart = kPart / kColumns;
static_assert(kPart % kColumns == 0);

// How far ahead of the row that is computed one is prefetched.
constexpr std::int64_t kRowsAhead = 2;

std::array<Strips, 2> MakePairs(std::int64_t rows, std::int64_t strips) {
    return {Strips(rows, strips), Strips(rows, strips)};
}

// Clears rows of the strips of a part.
void ClearRows(const Strips& part, std::int64_t begin, std::int64_t end) {
    for (std::int64_t strip = 0; strip < kStripsOfPart; ++strip) {
        std::fill(part.Row(strip, begin), part.Row(strip, end), 0.0f);
    }
}

// Writes a strip to the rows of a block that begin at a column of it, and back, with columns and rows exchanged.
void ToBlock(const float* strip, const Strips& block, std::int64_t strips, std::int64_t column) {
    for (std::int64_t to = 0; to < strips; ++to, strip += kColumns * kFourierRowFloats) {
        ExchangeColumns(strip, block.Row(to, column), block.Row(std::min(to + 1, strips - 1), column));
    }
}
void FromBlock(const Strips& block, std::int64_t strips, std::int64_t column, float* strip) {
    for (std::int64_t from = 0; from < strips; ++from, strip += kColumns * kFourierRowFloats) {
        ExchangeColumns(block.Row(from, column), strip, block.Row(std::min(from + 1, strips - 1), column));
    }
}

}  // namespace

FourierMean::FourierMean(std::int64_t width, std::int64_t height, std::int64_t reach, const Weight& weight)
    : width_(width),
      height_(height),
      reach_(reach),
      twiddlesOfRows_(TwiddlesFor(static_cast<std::size_t>(width))),
      twiddlesOfColumns_(TwiddlesFor(static_cast<std::size_t>(height))) {
    double sum = 0;
    for (std::int64_t y = -reach; y <= reach; ++y) {
        for (std::int64_t x = -reach; x <= reach; ++x) sum += weight(x, y);
    }
    const double factor = 1 / (sum * static_cast<double>(width) * static_cast<double>(height));
    const Strips strip(height, 1), block(width, height / kColumns);
    // The block is cyclic: what is left of its first column, and below its first row, lies at its other end.
    for (std::int64_t column = 0; column < width; column += kColumns) {
        std::fill(strip.Row(0, 0), strip.Row(0, height), 0.0f);
        for (std::int64_t row = 0; row < height; ++row) {
            const std::int64_t y = std::min(row, height - row);
            for (std::int64_t i = 0; i < kColumns && y <= reach; ++i) {
                const std::int64_t x = std::min(column + i, width - column - i);
                if (x <= reach) strip.Row(0, row)[i] = static_cast<float>(weight(x, y) * factor);
            }
        }
        TransformColumns(strip.Row(0, 0), static_cast<std::size_t>(height), twiddlesOfColumns_.data());
        ToBlock(strip.Row(0, 0), block, height / kColumns, column);
    }
    for (std::int64_t each = 0; each < height / kColumns; ++each) {
        TransformColumns(block.Row(each, 0), static_cast<std::size_t>(width), twiddlesOfRows_.data());
        for (std::int64_t row = 0; row < width; ++row) {
            weights_.insert(weights_.end(), block.Row(each, row), block.Row(each, row) + kColumns);
        }
    }
}

bool FourierMean::Blur(const Prepared& image, std::int64_t x, std::int64_t y, const Tile& tile) const {
    const Region block = {x - reach_, y - reach_, width_, height_};
    const Pairs transformed = MakePairs(width_, height_ / kColumns);
    const PixelRange range = Transform(image, block, transformed);
    if (!(range.largest <= kLargest)) return false;
    Multiply(transformed);
    TransformBack(transformed, block, range, tile);
    return true;
}

PixelRange FourierMean::Transform(const Prepared& image, const Region& block, const Pairs& transformed) const {
    const Region seen = Clip(block, image.GetExtent());
    const std::int64_t below = seen.y - block.y, above = seen.Top() - block.y;
    PixelRange range;
    range.isOpaque = seen == block;
    const Pairs strips = MakePairs(height_, kStripsOfPart);
    for (std::int64_t left = 0; left < width_; left += kPart) {
        const Region part = {block.x + left, seen.y, kPart, seen.height};
        const bool isEmpty = part.Intersection(seen).IsEmpty();
        for (const Strips& each : strips) {
            ClearRows(each, 0, isEmpty ? height_ : below);
            if (!isEmpty) ClearRows(each, above, height_);
        }
        if (!isEmpty) {
            const Window window(image, part);
            const View& view = window.GetView();
            for (std::int64_t y = part.y; y < part.Top(); ++y) {
                SplitPixels(view.Row(y), view.Width(), strips[0].Row(0, y - block.y), strips[1].Row(0, y - block.y),
                            strips[0].Apart(), {{view, y + kRowsAhead}, {}}, range);
            }
        }
        for (std::int64_t strip = 0; strip < kStripsOfPart; ++strip) {
            for (std::size_t pair = 0; pair < strips.size(); ++pair) {
                float* const columns = strips[pair].Row(strip, 0);
                if (!isEmpty) TransformColumns(columns, static_cast<std::size_t>(height_), twiddlesOfColumns_.data());
                ToBlock(columns, transformed[pair], height_ / kColumns, left + strip * kColumns);
            }
        }
    }
    return range;
}

void FourierMean::Multiply(const Pairs& transformed) const {
    const auto rows = static_cast<std::size_t>(width_);
    const float* weights = weights_.data();
    for (std::int64_t strip = 0; strip < height_ / kColumns; ++strip, weights += width_ * kColumns) {
        for (const Strips& pair : transformed) {
            float* const columns = pair.Row(strip, 0);
            TransformColumns(columns, rows, twiddlesOfRows_.data());
            MultiplyColumns(columns, rows, weights);
            TransformColumnsBack(columns, rows, twiddlesOfRows_.data());
        }
    }
}

void FourierMean::TransformBack(const Pairs& transformed, const Region& block, const PixelRange& range,
                                const Tile& tile) const {
    // Less than the rounding of what a block is made of.
    const float least = range.largest * std::numeric_limits<float>::epsilon();
    const Pairs strips = MakePairs(height_, kStripsOfPart);
    const RunMemory memory(1);
    const std::int64_t end = tile.region.Right() - block.x;
    for (std::int64_t left = (tile.region.x - block.x) / kColumns * kColumns; left < end; left += kPart) {
        const std::int64_t right = std::min(left + kPart, (end + kColumns - 1) / kColumns * kColumns);
        for (std::int64_t column = left; column < right; column += kColumns) {
            for (std::size_t pair = 0; pair < strips.size(); ++pair) {
                float* const columns = strips[pair].Row((column - left) / kColumns, 0);
                FromBlock(transformed[pair], height_ / kColumns, column, columns);
                TransformColumnsBack(columns, static_cast<std::size_t>(height_), twiddlesOfColumns_.data());
            }
        }
        const Region part = {block.x + left, tile.region.y, right - left, tile.region.height};
        const Tile to = tile.Part(part.Intersection(tile.region));
        for (std::int64_t y = part.y; y < part.Top(); ++y) {
            float* const row = to.region == part ? to.Row(y) : memory.Run(0);
            JoinPixels(strips[0].Row(0, y - block.y), strips[1].Row(0, y - block.y), strips[0].Apart(), least,
                       range.isOpaque, row, static_cast<std::size_t>(part.width), {{}, {to, y + kRowsAhead}});
            if (row == to.Row(y)) continue;
            std::copy_n(row + (to.region.x - part.x) * std::int64_t{kFloatsPerPixel}, to.Width() * kFloatsPerPixel,
                        to.Row(y));
        }
    }
}

}  // namespace core_image
