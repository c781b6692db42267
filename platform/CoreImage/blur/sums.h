// sums.h - sums of consecutive pixels along rows and along columns, vectorized for the processor.
//
// Nothing is ever subtracted, so no precision is lost. Each sum is built in the same order wherever a row begins, so
// that results do not depend on the tiling. Counts of floats are multiples of four, except for discs.
// Threads: any.

#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <vector>

#include "core/ahead.h"
#include "core/tile.h"

namespace core_image {

// out[i] is the sum of the pixels in[i] ... in[i + width - 1], times scale, for an odd width of at least 3. The
// buffers have room for the pixels read, pixels + width - 1, and for those written. None of the three buffers
// overlap.
//
// Sums are doubled: of two pixels, of four, of eight. A width is composed of its powers of two. The rows ahead are
// prefetched meanwhile.
void SumAlongRow(const float* in, std::size_t width, float scale, float* memory, float* out, std::size_t pixels,
                 RowsAhead ahead);

// sum += in, and out becomes the sum. Sums are floats or doubles.
void Accumulate(const float* in, float* sum, float* out, std::size_t floats);
void Accumulate(const float* in, double* sum, float* out, std::size_t floats);

// sum += in, and out becomes (before + sum) * scale. Out may be before.
void Combine(const float* in, float* sum, const float* before, float scale, float* out, std::size_t floats);
void Combine(const float* in, double* sum, const float* before, float scale, float* out, std::size_t floats);

// Two columns of a disc, this far to the left and to the right of its center.
struct MirroredColumns {
    std::ptrdiff_t distance;
    float weight;
};

// What two rows of a disc contribute, one below and one above its center.
struct DiscRows {
    std::vector<MirroredColumns> runs;  // sums of all rows up to these two
    std::vector<MirroredColumns> rim;   // sums of these two rows alone
};

// out[i] is the weighted mean of the numbers around the i-th. The disc has rows for each distance from its center,
// which is in the row that begins with its leftmost neighbor at middle; stride leads from one row to the next. runs and
// pair are scratch memory for as many numbers as are read of a row.
//
// A whole vector is read and written at the end of each row, so all rows have kBlockPixels more numbers. Rows ahead, of
// pixels, are prefetched meanwhile.
void SumDisc(const std::vector<DiscRows>& disc, const float* middle, std::ptrdiff_t stride, float* runs, float* pair,
             float* out, std::size_t pixels, RowsAhead& ahead);

// The remainder of a division that rounds down.
inline std::int64_t FloorRemainder(std::int64_t number, std::int64_t divisor) {
    const std::int64_t rest = number % divisor;
    return rest < 0 ? rest + divisor : rest;
}

// Sums columns, one row of sums at a time. Row y is the sum of the rows y ... y + height - 1, times scale,
// accumulated in Number. For each y from first to last, target(y) returns the row to write, which may be input row y
// itself; then done(y) is called.
//
// Rows are grouped into blocks as high as the sum, counted from the origin of the plane. Each sum is the end of one
// block plus the beginning of the next: a suffix sum of the first block and a prefix sum of the second.
template <typename Number, typename Target, typename Done>
void SumAlongColumns(const View& in, std::int64_t height, float scale, std::int64_t first, std::int64_t last,
                     const Target& target, const Done& done) {
    const std::size_t floats = in.Width() * kFloatsPerPixel;
    const PixelBlock ends({in.region.x, 0, in.region.width, height});
    const std::vector<float> zeros(floats);
    std::vector<Number> sum(floats);
    for (std::int64_t block = first - FloorRemainder(first, height); block <= last; block += height) {
        const std::int64_t from = std::max(block, first), to = std::min(block + height - 1, last);
        std::fill(sum.begin(), sum.end(), Number{});
        for (std::int64_t y = block + height - 1; y >= from; --y) {
            Accumulate(in.Row(y), sum.data(), ends.GetTile().Row(y - block), floats);
        }
        std::fill(sum.begin(), sum.end(), Number{});
        for (std::int64_t y = block + 1; y < from; ++y) {
            Accumulate(in.Row(y + height - 1), sum.data(), ends.GetTile().Row(0), floats);
        }
        for (std::int64_t y = from; y <= to; ++y) {
            // A sum that starts at the start of a block is that block, so it is complete.
            const float* added = y == block ? zeros.data() : in.Row(y + height - 1);
            Combine(added, sum.data(), ends.Row(y - block), scale, target(y), floats);
            done(y);
        }
    }
}

}  // namespace core_image
