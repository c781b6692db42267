// lossy_coding.h - what compression with losses makes of a picture.
//
// Some reference renders are known only through it. A render is compared with such a reference after the same
// compression, so that what then differs is the render's. Threads: any.

#pragma once

#include "golden_cases.h"

namespace golden {

// Compresses a picture and decompresses it again; opaque pictures without alpha, others with exact alpha. Empty when
// memory is short.
[[nodiscard]] std::optional<Picture> Coded(const Picture& picture, const Lossy& lossy);

}  // namespace golden
