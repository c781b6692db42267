// unit.h - the unit of the tables: a plain copy past the caches.
//
// Why not the C library's: its memcpy chooses between cached and non-temporal stores by the size of the machine's
// cache, so that multiples of it would mean something else on each machine.
// Threads: any.

#pragma once

#include <cstddef>

namespace benchmarks {

// Copies floats with non-temporal stores. The addresses are multiples of 16 bytes, and the count is one of 16 floats.
void CopyPastCaches(const float* from, std::size_t count, float* to);

}  // namespace benchmarks
