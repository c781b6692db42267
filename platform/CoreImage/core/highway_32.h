// highway_32.h - what Highway needs to be compiled for AVX-512 at 32 bits; included before every source of the engine.
//
// The compiler has this function at 64 bits only, because it is one instruction there. Without it Highway could not be
// compiled for AVX-512, whose long vectors save a quarter of the time: 32-bit code has only eight vector registers.

#pragma once

#include <cstdint>

namespace core_image {

// The lowest bits of a number, so many of them.
inline std::uint64_t LowestBits(std::uint64_t bits, std::uint32_t count) {
    return count >= 64 ? bits : bits & ((std::uint64_t{1} << count) - 1);
}

}  // namespace core_image

#define _bzhi_u64 core_image::LowestBits  // NOLINT(bugprone-reserved-identifier)
