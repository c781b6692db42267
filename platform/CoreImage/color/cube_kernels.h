// cube_kernels.h - the inner loops of cubes, vectorized for the processor. Threads: any.

#pragma once

#include <cstddef>
#include <cstdint>

namespace core_image {

// Replaces colors by those of a table of dimension^3 texels, whose numbers are rounded to bytes; see cube.cpp.
void LookUpCube(const float* texels, int dimension, float* blocks, std::size_t count);

// The same for texels that are rounded already, which takes less time and a quarter of the cache.
void LookUpCube(const std::uint8_t* levels, int dimension, float* blocks, std::size_t count);

// Rounds the numbers of a table to bytes.
void RoundTexels(const float* texels, std::size_t count, std::uint8_t* levels);

// Encode and decode colors, divided by alpha and clipped to 0...1, with the sRGB curve.
void EncodeClipped(float* blocks, std::size_t count);
void DecodeClipped(float* blocks, std::size_t count);

}  // namespace core_image
