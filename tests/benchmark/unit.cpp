// unit.cpp - one cache line at a time, with the vectors that every processor of the two widths has.

#include "unit.h"

#include <emmintrin.h>

namespace benchmarks {

void CopyPastCaches(const float* from, std::size_t count, float* to) {
    for (const float* const end = from + count; from != end; from += 16, to += 16) {
        const __m128 first = _mm_load_ps(from), second = _mm_load_ps(from + 4);
        const __m128 third = _mm_load_ps(from + 8), fourth = _mm_load_ps(from + 12);
        _mm_stream_ps(to, first);
        _mm_stream_ps(to + 4, second);
        _mm_stream_ps(to + 8, third);
        _mm_stream_ps(to + 12, fourth);
    }
    _mm_sfence();
}

}  // namespace benchmarks
