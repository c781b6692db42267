// bilinear.h - pixels between pixels: where they are taken from, and taking them.
//
// A place is a point of the plane, as a double: pixel (i, j) has its center at (i + 0.5, j + 0.5).
// Threads: whoever writes places has them alone.

#pragma once

#include "core/tile.h"

namespace core_image {

// Rows of places are made longer to a multiple of this, so that they are worked on in whole vectors.
inline constexpr std::size_t kPlaceStep = 16;

// The length that a row of pixels is made.
inline std::size_t PlaceRowLength(std::int64_t width) {
    return (static_cast<std::size_t>(width) + kPlaceStep - 1) / kPlaceStep * kPlaceStep;
}

// Places further out than this are taken as this far out: they still are whole numbers of 32 bits.
inline constexpr double kFarthestPlace = 1 << 30;

// One place for each pixel of a region.
class Places {
  public:
    explicit Places(const Region& region);

    const Region& GetRegion() const { return region_; }
    std::size_t RowLength() const { return rowLength_; }

    // The places of a row of pixels. There is room for rowLength() of them.
    double* X(std::int64_t row) { return numbers_.get() + Start(row); }
    double* Y(std::int64_t row) { return X(row) + rowLength_; }
    const double* X(std::int64_t row) const { return numbers_.get() + Start(row); }
    const double* Y(std::int64_t row) const { return X(row) + rowLength_; }

    // Fills what a row has room for beyond its pixels; to be called when its places are written.
    void FinishRow(std::int64_t row);

    // The smallest extent that holds all places. All rows are finished.
    Extent Bounds() const;

  private:
    std::size_t Start(std::int64_t row) const { return 2 * rowLength_ * static_cast<std::size_t>(row - region_.y); }

    Region region_;
    std::size_t rowLength_;
    std::unique_ptr<double[], FreeKept> numbers_;  // for each row all x, then all y
};

// The pixels that places within an extent are interpolated from, no further out than kFarthestPlace.
Region PixelsAround(const Extent& places);

// Writes a tile: each pixel is the mean of the four that are nearest to its place, weighed by how near they are. What lies
// outside the source is taken from its edge: a source holds all four pixels around each place, or transparent ones there.
void SampleBilinear(const View& source, const Places& places, const Tile& out);

}  // namespace core_image
