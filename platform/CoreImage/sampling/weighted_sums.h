// weighted_sums.h - sums of pixels with weights, vectorized for the processor: along columns and along rows.
//
// A pixel is four floats. Each result is summed in the same order, whatever its position in a row, so that results do
// not depend on the tiling.
// Threads: any.

#pragma once

#include <cstddef>
#include <cstdint>

#include "core/ahead.h"

namespace core_image {

// out[i] = sum over k of weights[k] * rows[k][i], for a count of floats that is a multiple of four.
void SumRows(const float* const* rows, const float* weights, std::size_t rowCount, float* out, std::size_t floats);

// outs[n][i] = sum over k of weights[k] * rows[n + k][i]: results that share most of their rows.
void SumRowsTogether(const float* const* rows, const float* weights, std::size_t rowCount, float* const* outs,
                     std::size_t outCount, std::size_t floats);

// out[i] = sum over k of weights[k] * in[i + k * apart], for a count of floats that is a multiple of four. Neighbors
// are 1 or 4 floats apart: numbers or pixels. Rows ahead are prefetched meanwhile.
void SumAlong(const float* in, std::size_t apart, const float* weights, std::size_t count, float* out,
              std::size_t floats, RowsAhead* ahead = nullptr);

// Which neighbors make the pixels of a row, and with which weights.
struct Neighbors {
    const std::int32_t* first;  // of each pixel, the index of its first neighbor
    const std::int32_t* count;  // of each pixel, the number of its neighbors
    const float* weights;       // of each pixel `stride` weights, the unused ones 0
    std::size_t stride;         // a multiple of kNeighborStep
};

// Neighbors are read in steps of up to this many, and weights kMostLanes at a time.
inline constexpr std::size_t kNeighborStep = 4;
inline constexpr std::size_t kMostLanes = 16;

// out[row][i] = sum over k of weights[i][k] * in[row][first[i] + k], in pixels. Rows are `inStride` and `outStride`
// floats apart.
void SumNeighborsOfRows(const float* in, std::ptrdiff_t inStride, std::size_t rows, const Neighbors& neighbors,
                        float* out, std::ptrdiff_t outStride, std::size_t pixels);

// The numbers of samples from which InterpolateRow makes a pixel.
inline constexpr std::size_t kLinearTaps = 2, kGaussianTaps = 10;

// out[i] = sum over k of weights[k * step + p] * in[first + k], in pixels, where first = (phase + i) / step and p =
// (phase + i) % step. The step is a power of two, and kMostLanes unused weights follow the others. The row that begins
// outStride floats after out is prefetched meanwhile.
void InterpolateRow(const float* in, const float* weights, std::size_t taps, std::size_t step, std::size_t phase,
                    float* out, std::size_t pixels, std::ptrdiff_t outStride);

}  // namespace core_image
