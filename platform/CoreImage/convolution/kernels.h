// kernels.h - the inner loop of convolutions, in the widest instructions that the processor has.
//
// Every result is summed column by column of its weights, whatever stands beside it, so that results do not depend on how an
// image was cut into tiles.
// Threads: any.

#pragma once

#include <cstddef>

namespace core_image {

// So many rows are made at once at most: a row that is read then serves several that are written.
inline constexpr std::size_t kMostConvolved = 4;

// The highest kernel. Heights are odd.
inline constexpr std::size_t kHighestKernel = 9;

// Weights column by column, the leftmost first, each from the lowest up.
struct KernelView {
    const float* weights;
    std::size_t width;
    std::size_t height;
    float bias;
};

// Writes count rows, one or kMostConvolved of them. in[k] is row k of those that are read, height - 1 more than are written, the
// lowest first: its first pixel is the leftmost neighbor of the first pixel written.
//
// A sum and the bias are kept possible: alpha within 0 and 1, colors within 0 and alpha; what is no number becomes 0.
void Convolve(const KernelView& kernel, const float* const* in, float* const* out, std::size_t count,
              std::size_t pixels);

}  // namespace core_image
