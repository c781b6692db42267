// lanczos.h - the weights of Lanczos interpolation with three lobes, in one direction.
//
// An output pixel is the weighted mean of the input pixels around its place. When the image shrinks, the kernel is as
// many times wider as the image becomes smaller, so that every input pixel counts. Beyond the input there are no
// pixels: near its edges the weights of those that exist are scaled to a sum of 1.
//
// Weights are multiples of a power of two and add up to exactly 1. Sums of them are exact in any order, so an opaque
// image stays exactly opaque.
//
// Threads: immutable.

#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

#include "core/memory_budget.h"

namespace core_image {

// A line of output pixels over a line of input pixels.
struct ResizedLine {
    double start;            // where the first output pixel begins, in input coordinates
    double step;             // input pixels per output pixel
    std::int64_t low, high;  // the input pixels that exist: low...high - 1

    struct Range {
        std::int64_t begin, end;
    };

    // The input pixels from which an output pixel is made. Both ends grow with the index.
    Range Around(std::int64_t index) const;
};

class LanczosWeights {
  public:
    // The weights of the output pixels begin...end - 1, each with room for a multiple of `multiple` weights, and with
    // `spare` readable floats after all of them.
    LanczosWeights(const ResizedLine& line, std::int64_t begin, std::int64_t end, std::size_t multiple,
                   std::size_t spare);

    // The first input pixel of an output pixel, the number of weights, and the weights, followed by zeros.
    std::int64_t First(std::int64_t index) const { return first_[Place(index)]; }
    std::size_t Count(std::int64_t index) const { return count_[Place(index)]; }
    const float* Weights(std::int64_t index) const { return &weights_[Place(index) * stride_]; }

    // The most weights of a pixel, rounded up.
    std::size_t Stride() const { return stride_; }

  private:
    std::size_t Place(std::int64_t index) const { return static_cast<std::size_t>(index - begin_); }

    std::int64_t begin_;
    std::size_t stride_ = 0;
    BudgetShare memory_{0};  // of the three below
    std::vector<std::int64_t> first_;
    std::vector<std::size_t> count_;
    std::vector<float> weights_;
};

}  // namespace core_image
