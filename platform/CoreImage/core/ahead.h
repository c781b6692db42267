// ahead.h - prefetches the next rows of a tile while a row is computed, a cache line at a time.
//
// Why: each row of a tile lies on other memory pages than the row before, and the hardware prefetcher stops at page
// ends. Why not a whole row at once: only a few lines are fetched at a time, and everything that follows the last
// prefetch would wait until it has begun.
// Threads: one.

#pragma once

#include <hwy/cache_control.h>

#include <cstddef>
#include <cstdint>

#include "core/tile.h"

namespace core_image {

// A row of which each line is prefetched once.
class RowAhead {
  public:
    RowAhead() = default;
    // Row y of a tile or a view; nothing is prefetched of a row outside.
    template <class Pixels>
    RowAhead(const Pixels& pixels, std::int64_t y) {
        if (y < pixels.region.y || y >= pixels.region.Top()) return;
        row_ = pixels.Row(y);
        floats_ = pixels.Width() * kFloatsPerPixel;
    }

    void PrefetchLine() {
        if (next_ >= floats_) return;
        hwy::Prefetch(row_ + next_);
        next_ += kFloatsPerLine;
    }

  private:
    const float* row_ = nullptr;
    std::size_t floats_ = 0, next_ = 0;
};

// The rows that are read and written after the present ones.
struct RowsAhead {
    RowAhead read, written;
    std::size_t passes = 1;  // over the present ones: each prefetches its share

    // Prefetches as many lines of each row as belong to this many lines of a pass.
    void Prefetch(std::size_t lines) {
        for (std::size_t n = 0; n * passes < lines; ++n) {
            read.PrefetchLine();
            written.PrefetchLine();
        }
    }
};

}  // namespace core_image
