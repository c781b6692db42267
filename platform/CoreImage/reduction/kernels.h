// kernels.h - the inner loops of reductions, vectorized for the processor.
//
// Sums are built in the same order on every processor, so results do not depend on it.
// Threads: any.

#pragma once

#include <cstddef>
#include <cstdint>

namespace core_image {

// Adds pixels to four sums.
void AddPixels(const float* pixels, std::size_t count, double* sums);

// Adds each number of a row to its own sum.
void AddRow(const float* numbers, std::size_t count, double* sums);

// Replaces each of four numbers by the largest, or smallest, of it and that component of the pixels. NaN is ignored.
void LargestOf(const float* pixels, std::size_t count, float* largest);
void SmallestOf(const float* pixels, std::size_t count, float* smallest);

// The largest number of pixels that are assigned to bins at once.
inline constexpr std::size_t kMostBinned = 64;

// Writes the index of the counter for each component of each pixel. There are four counters for each bin, one per
// component.
void FindBins(const float* pixels, std::size_t count, std::size_t bins, std::uint32_t* counters);

}  // namespace core_image
