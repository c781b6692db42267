// check.h - checks that a rival renders the same picture as the engine, apart from rounding.
//
// Threads: any; nothing is shared.

#pragma once

#include <cstddef>
#include <string>

namespace benchmarks {

// Describes how a rival's result differs from the engine's; empty when they match.
//
// Compares red, green and blue, but not alpha, which some libraries ignore. 99 percent of the components must be within
// 0.4 percent of the largest component; bytes must be within one level. The rest may differ: posterizing turns a
// rounding error into a whole level, and a rotation moves the engine's blurred rim into the picture. The outer 64
// pixels of a large picture are not compared, because libraries differ in how they extend a picture beyond its edges.
[[nodiscard]] std::string DifferenceOf(const std::string& operation, const void* ours, const void* theirs,
                                       std::size_t bytes);

}  // namespace benchmarks
