// ahead.h - prefetches the next rows of a tile while a row is computed, a cache line at a time.
//
// Why: each row of a tile is on different memory pages from the row before, and the hardware prefetcher does not cross
// page boundaries. Why not a whole row at once: the processor fetches only a few lines at the same time, so whatever
// follows a long series of prefetches waits until the last of them has started.
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
    // Row y of a tile or a view. A row outside of it is not prefetched.
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

    // Prefetches all lines of the row, where its computation gives no occasion to prefetch one at a time.
    void PrefetchAll() {
        while (next_ < floats_) PrefetchLine();
    }

  private:
    const float* row_ = nullptr;
    std::size_t floats_ = 0, next_ = 0;
};

// The rows to be read and written after the current ones.
struct RowsAhead {
    RowAhead read, written;
    std::size_t passes = 1;  // over the current rows: each prefetches its share

    // Prefetches the share of a pass that processes this many cache lines of the current rows.
    void Prefetch(std::size_t lines) {
        for (std::size_t n = 0; n * passes < lines; ++n) {
            read.PrefetchLine();
            written.PrefetchLine();
        }
    }
};

}  // namespace core_image
