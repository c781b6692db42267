// kernels.h - the inner loops of blurs, vectorized for the processor.
//
// A pixel is four floats. Each result is summed in the order of its weights, whatever its position in a row, so that
// results do not depend on the tiling.
// Threads: any.

#pragma once

#include <cstddef>

namespace core_image {

// The number of coarse samples from which a pixel is interpolated.
inline constexpr std::size_t kInterpolationTaps = 10;

// out[i] = sum over k of weights[k] * in[i + k], in pixels.
void SumNeighbors(const float* in, const float* weights, std::size_t weightCount, float* out, std::size_t pixels);

// out[i] = sum over k of weights[k] * in[i * step + k], in pixels.
void ReduceRow(const float* in, const float* weights, std::size_t weightCount, std::size_t step, float* out,
               std::size_t pixels);

// The reverse, in pixels: out[i] is the sum of kInterpolationTaps pixels of in, starting at index (phase + i) /
// step, with the weights of phase (phase + i) % step. The weights are stored phase after phase.
void InterpolateRow(const float* in, const float* weights, std::size_t step, std::size_t phase, float* out,
                    std::size_t pixels);

}  // namespace core_image
