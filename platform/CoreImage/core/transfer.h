// transfer.h - the sRGB curve: encoded values to linear light and back.
//
// Values above 1 follow the curve, negative ones its mirror image. Bytes are decoded by tables that are made on
// first use.
// Threads: any.

#pragma once

#include <cstddef>
#include <cstdint>

namespace core_image {

// How numbers encode light.
enum class Transfer { kLinear, kSRGB };

// The linear light of an encoded value.
float DecodeSRGB(float encoded);

// Encode and decode a run in blocks (run.h) whose colors are premultiplied. The relative error is at most 1e-6.
void EncodeRun(float* blocks, std::size_t count);
void DecodeRun(float* blocks, std::size_t count);

// Decodes a row of pixels, four floats each, in the same way.
void DecodePremultipliedRow(float* pixels, std::size_t count);

// The linear light of each of the 256 encoded bytes.
const float* DecodedBytes();

// The premultiplied linear light of encoded, premultiplied bytes: 256 values for each alpha.
const float* DecodedPremultipliedBytes();

}  // namespace core_image
