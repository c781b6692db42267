// transfer.h - the curve of sRGB: encoded values to linear light and back.
//
// Values beyond 0...1 follow the curve, negative ones its mirror image. Bytes are decoded by tables that are made on first use.
// Threads: any.

#pragma once

#include <cstddef>
#include <cstdint>

namespace core_image {

// How numbers stand for light.
enum class Transfer { kLinear, kSRGB };

// Linear light of an encoded value.
float DecodeSRGB(float encoded);

// Decodes pixels, four floats each, whose first three are encoded and multiplied by the fourth. Accurate to 3e-6 of the value.
void DecodePremultipliedRow(float* pixels, std::size_t count);

// Encode and decode a run in blocks (run.h) whose colors are multiplied by alpha. Accurate to 1e-6 of the value.
void EncodeRun(float* blocks, std::size_t count);
void DecodeRun(float* blocks, std::size_t count);

// Linear light of each of the 256 encoded bytes.
const float* DecodedBytes();

// Linear light, multiplied by alpha, of an encoded byte that was itself multiplied by alpha: 256 values for each alpha.
const float* DecodedPremultipliedBytes();

}  // namespace core_image
