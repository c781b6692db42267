// kernels.h - the inner loops of blurs, in the widest instructions that the processor has.
//
// Pixels are four floats. Every number of a result is summed in the order of its weights whatever stands beside it, so that
// results do not depend on how an image was cut into tiles.
// Threads: any.

#pragma once

#include <cstddef>

namespace core_image {

// How many samples of a coarse row one pixel is interpolated from.
inline constexpr std::size_t kInterpolationTaps = 10;

// out[i] = sum over k of weights[k] * rows[k][i], for a count of floats that is a multiple of four.
void SumRows(const float* const* rows, const float* weights, std::size_t rowCount, float* out, std::size_t floats);

// out[i] = sum over k of weights[k] * in[i + k], in pixels.
void SumNeighbors(const float* in, const float* weights, std::size_t weightCount, float* out, std::size_t pixels);

// out[i] = sum over k of weights[k] * in[i * step + k], in pixels.
void ReduceRow(const float* in, const float* weights, std::size_t weightCount, std::size_t step, float* out,
               std::size_t pixels);

// The reverse, in pixels: out[i] is the sum of kInterpolationTaps pixels of in, beginning with number (phase + i) / step, under
// the weights of phase (phase + i) % step. The weights of one phase follow those of the one before.
void InterpolateRow(const float* in, const float* weights, std::size_t step, std::size_t phase, float* out,
                    std::size_t pixels);

}  // namespace core_image
