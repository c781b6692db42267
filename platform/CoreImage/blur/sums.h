// sums.h - sums of runs of pixels, along rows and along columns, in the widest instructions that the processor has.
//
// Nothing is ever subtracted, so nothing is lost; and every sum is made in the same order wherever a row begins, so that results
// do not depend on how an image was cut into tiles. Counts of floats are multiples of four.
// Threads: any.

#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <vector>

#include "core/tile.h"

namespace core_image {

// out[i] is the sum of the pixels in[i] ... in[i + width - 1], times scale, for an odd width of 3 and more. Memory has room for the
// pixels that are read, pixels + width - 1, and for those that are written. None of the three overlap.
//
// By doubling: sums of two pixels, of four, of eight; a width is made of the powers of two in it.
void SumAlongRow(const float* in, std::size_t width, float scale, float* memory, float* out, std::size_t pixels);

// sum += in, and out becomes the sum. Sums are floats or doubles.
void Accumulate(const float* in, float* sum, float* out, std::size_t floats);
void Accumulate(const float* in, double* sum, float* out, std::size_t floats);

// sum += in, and out becomes (before + sum) * scale. Out may be before.
void Combine(const float* in, float* sum, const float* before, float scale, float* out, std::size_t floats);
void Combine(const float* in, double* sum, const float* before, float scale, float* out, std::size_t floats);

// pair = a + b, and sum += pair.
void AddPair(const float* a, const float* b, float* pair, float* sum, std::size_t floats);

// Two rows that are weighed alike.
struct Mirrored {
    const float* left;
    const float* right;
    float weight;
};

// out += weight * (left + right), for each of some pairs in turn.
void AddMirrored(const Mirrored* pairs, std::size_t count, float* out, std::size_t floats);

// The remainder of a division rounded downward.
inline std::int64_t FloorRemainder(std::int64_t number, std::int64_t divisor) {
    const std::int64_t rest = number % divisor;
    return rest < 0 ? rest + divisor : rest;
}

// Sums along columns, a row of them at a time: that of number y is of the rows y ... y + height - 1, times scale, summed in Number.
// For y from first to last in turn, target(y) tells where the row of sums goes, which may be row y itself of what is summed up;
// then done(y) is called.
//
// Rows are divided into blocks as high as the sum, counted from the origin of the plane. A sum is the end of one block and the
// beginning of the next: one sum from its start to the end of its block, one from the beginning of the next block to its end.
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
            // A sum that starts where a block does is that block, and complete.
            const float* added = y == block ? zeros.data() : in.Row(y + height - 1);
            Combine(added, sum.data(), ends.Row(y - block), scale, target(y), floats);
            done(y);
        }
    }
}

}  // namespace core_image
