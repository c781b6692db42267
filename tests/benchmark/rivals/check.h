// check.h - whether two results are the same picture, but for rounding.

#pragma once

#include <cstddef>
#include <string>

namespace benchmarks {

// What is wrong with a rival's result beside the engine's; empty when nothing is.
//
// Colors are compared, not alpha, which some libraries do not know. All but one in a hundred must be within 4 thousandths of
// the largest, or one level of bytes. Why not all: a step, as that of posterizing, turns a rounding into a whole level, and the
// engine's blurred rim turns up within a turned picture. The outer 64 pixels of a large picture are not compared, where each
// library has its own idea of what lies beyond.
std::string DifferenceOf(const std::string& operation, const void* ours, const void* theirs, std::size_t bytes);

}  // namespace benchmarks
