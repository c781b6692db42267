// cube_kernels.h - the inner loops of cubes, in the widest instructions that the processor has. Threads: any.

#pragma once

#include <cstddef>

namespace core_image {

// Replaces colors by what a table of dimension^3 texels, each number rounded to a byte, holds for them; see color.h.
void LookUpCube(const float* texels, int dimension, float* blocks, std::size_t count);

// Encode and decode colors, divided by alpha and clipped to 0...1, by the curve of sRGB.
void EncodeClipped(float* blocks, std::size_t count);
void DecodeClipped(float* blocks, std::size_t count);

}  // namespace core_image
