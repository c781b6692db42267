// planes.h - pixels channel by channel: one number for each pixel of a region.
//
// A blur of planes takes less time than one of pixels. It leaves out channels that are not needed, and the rows around
// a pixel stay in a core's own cache until they have been used.
//
// Lifetime: a plane owns its memory, which is pooled like that of a tile (core/tile.h) and not cleared.
// Threads:  one thread writes a plane.

#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <vector>

#include "core/ahead.h"
#include "core/run.h"
#include "core/tile.h"

namespace core_image {

// One number for each pixel of a region. Rows begin on cache lines; kBlockPixels more numbers may be written to each.
class Plane {
  public:
    // Throws MemoryShortage.
    explicit Plane(const Region& region);

    const Region& GetRegion() const { return region_; }
    std::size_t Width() const { return static_cast<std::size_t>(region_.width); }
    std::ptrdiff_t Stride() const { return static_cast<std::ptrdiff_t>(stride_); }  // from a row to the next above it
    float* Row(std::int64_t y) { return &numbers_[RowStart(y)]; }
    const float* Row(std::int64_t y) const { return &numbers_[RowStart(y)]; }

  private:
    std::size_t RowStart(std::int64_t y) const { return stride_ * static_cast<std::size_t>(y - region_.y); }

    Region region_;
    std::size_t stride_;
    std::unique_ptr<float[], FreePooled> numbers_;
};

// The four channels of the pixels of a region.
using Planes = std::array<Plane, kFloatsPerPixel>;
inline constexpr std::size_t kAlpha = 3;
Planes MakePlanes(const Region& region);
Planes PlanesOf(const View& view);

// A row of each of them.
using PlaneRows = std::array<float*, kFloatsPerPixel>;
PlaneRows RowsOf(Planes& planes, std::int64_t y);

// Convert a row of pixels to planes, and planes to a row of pixels.
void RowToPlanes(const float* pixels, std::size_t count, const PlaneRows& rows);
void RowFromPlanes(const PlaneRows& rows, std::size_t count, float* pixels);

// Whether every number of a plane, or of a row of it, has a value.
bool AreAll(const Plane& plane, float value);
bool IsRowAll(const Plane& plane, std::int64_t y, float value);

// Tiles are computed in bands of this many rows, with the rows that the next band reads and writes prefetched
// meanwhile.
inline constexpr std::int64_t kRowsOfBand = 16;

// The planes of a view, made from its lowest row up, as bands need them.
class RisingPlanes {
  public:
    explicit RisingPlanes(const View& view) : view_(view), planes_(MakePlanes(view.region)) {}

    // Makes the rows below an end; calls a function with each of them.
    template <typename Function>
    void MakeUpTo(std::int64_t end, const Function& function) {
        for (; next_ < end; ++next_) {
            const PlaneRows rows = RowsOf(planes_, next_);
            RowToPlanes(view_.Row(next_), view_.Width(), rows);
            function(rows);
            if (!IsRowAll(planes_[kAlpha], next_, 1)) opaqueFrom_ = next_ + 1;
        }
    }

    const Planes& Get() const { return planes_; }
    // Whether all rows made from this one on are opaque.
    bool AreOpaqueFrom(std::int64_t y) const { return opaqueFrom_ <= y; }

    // What follows the rows of a band that is written to a tile.
    std::array<RowsAhead, kRowsOfBand> Ahead(const Region& band, const Tile& tile) const {
        std::array<RowsAhead, kRowsOfBand> ahead;
        for (std::int64_t i = 0; i < kRowsOfBand; ++i) {
            ahead[static_cast<std::size_t>(i)] = {{view_, next_ + i}, {tile, band.Top() + i}};
        }
        return ahead;
    }

  private:
    View view_;
    Planes planes_;
    std::int64_t next_ = view_.region.y;        // the row to make
    std::int64_t opaqueFrom_ = view_.region.y;  // all rows made from this one on are opaque
};

// Calls a function with the bands of a region, from the lowest up.
template <typename Function>
void ForEachBand(const Region& region, const Function& function) {
    for (std::int64_t y = region.y; y < region.Top(); y += kRowsOfBand) {
        function(region.Intersection({region.x, y, region.width, kRowsOfBand}));
    }
}

// Converts planes to a run in blocks. Padding pixels are converted, too.
void FromPlanes(const Planes& planes, const Run& run, float* blocks);

// Writes the sums of the neighbors of a plane's numbers along columns and rows, each weighted: a separable blur. The
// plane reaches as far beyond out as the weights.
//
// While a row of out is written, the rows ahead of it are prefetched, if given.
void BlurPlane(const Plane& plane, const std::vector<float>& weights, Plane& out, RowsAhead* ahead = nullptr);

}  // namespace core_image
