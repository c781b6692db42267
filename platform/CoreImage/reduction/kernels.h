// kernels.h - the inner loops of reductions, in the widest instructions that the processor has.
//
// What a loop adds up it adds in the same order whatever those are, so results do not depend on the processor.
// Threads: any.

#pragma once

#include <cstddef>
#include <cstdint>

namespace core_image {

// Adds pixels to four sums.
void AddPixels(const float* pixels, std::size_t count, double* sums);

// Adds each number of a row to its own sum.
void AddRow(const float* numbers, std::size_t count, double* sums);

// Replaces each of four numbers by that component of a pixel which is larger than it, or smaller. What is no number is neither.
void LargestOf(const float* pixels, std::size_t count, float* largest);
void SmallestOf(const float* pixels, std::size_t count, float* smallest);

// How many pixels are put into bins at once, at most.
inline constexpr std::size_t kMostBinned = 64;

// Writes for each component of each pixel which counter counts it: there are four for each bin, one for each component.
void FindBins(const float* pixels, std::size_t count, std::size_t bins, std::uint32_t* counters);

}  // namespace core_image
