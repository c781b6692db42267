// parallel.h - loops on all threads, if that is worth it.

#pragma once

#include <tbb/parallel_for.h>

#include <cstdint>

namespace core_image {

// Calls a function with each index from begin to end, in any order. For work that takes a few nanoseconds a pixel: if
// all together are few, handing them to other threads takes longer than they do.
template <typename Function>
void ForEachIndex(std::int64_t begin, std::int64_t end, std::int64_t pixels, const Function& function) {
    constexpr std::int64_t kFewPixels = 1 << 13;
    if (pixels >= kFewPixels) {
        tbb::parallel_for(begin, end, function);
        return;
    }
    for (std::int64_t index = begin; index < end; ++index) function(index);
}

}  // namespace core_image
