// cube_kernels.h - the inner loops of cubes, in the widest instructions that the processor has. Threads: any.

#pragma once

#include <cstddef>

namespace core_image {

// Replaces colours by what a table of dimension^3 texels holds for them; see cube.h.
void LookUpCube(const float* texels, int dimension, float* pixels, std::size_t count);

// Encode and decode colours, divided by alpha and clipped to 0...1, by the curve of sRGB.
void EncodeRow(float* pixels, std::size_t count);
void DecodeRow(float* pixels, std::size_t count);

}  // namespace core_image
