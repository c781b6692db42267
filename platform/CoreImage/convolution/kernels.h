// kernels.h - the inner loop of convolutions, vectorized for the processor.
//
// Every result is summed column by column of its weights, whatever its position in a row, so that results do not
// depend on the tiling.
// Threads: any.

#pragma once

#include <cstddef>

namespace core_image {

// The largest number of rows made at once: each row read then serves several rows written.
inline constexpr std::size_t kMostConvolved = 4;

// The largest height of a kernel. Heights are odd.
inline constexpr std::size_t kHighestKernel = 9;

// Weights column by column, the leftmost first, each from the lowest up.
struct KernelView {
    const float* weights;
    std::size_t width;
    std::size_t height;
    float bias;
};

// Writes count rows, one or kMostConvolved of them. in[k] is row k of the rows read, of which there are height - 1
// more than rows written, the lowest first. Its first pixel is the leftmost neighbor of the first pixel written.
//
// Sums plus bias are limited: alpha to 0...1, colors to 0...alpha; NaN becomes 0.
void Convolve(const KernelView& kernel, const float* const* in, float* const* out, std::size_t count,
              std::size_t pixels);

}  // namespace core_image
