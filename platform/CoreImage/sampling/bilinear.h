// bilinear.h - interpolation between pixels: the places to sample, and the sampling.
//
// A place is a point of the plane, in doubles: pixel (i, j) has its center at (i + 0.5, j + 0.5).
// Threads: only one thread writes a Places.

#pragma once

#include <memory>

#include "core/tile.h"

namespace core_image {

// Rows of places are padded to a multiple of this, so that they can be processed in whole vectors.
inline constexpr std::size_t kPlaceStep = 16;

// The padded length of a row of pixels.
inline std::size_t PlaceRowLength(std::int64_t width) {
    return (static_cast<std::size_t>(width) + kPlaceStep - 1) / kPlaceStep * kPlaceStep;
}

// Places are limited to this distance, so that they still are 32-bit integers.
inline constexpr double kFarthestPlace = 1 << 30;

// Borrowed places, one for each pixel of a region.
struct PlacesView {
    Region region;
    const double* numbers;     // the lowest row's first x
    std::size_t numbersToY;    // from an x to its y
    std::size_t numbersToRow;  // from one row to the next

    std::size_t Width() const { return static_cast<std::size_t>(region.width); }
    const double* X(std::int64_t row) const {
        return numbers + numbersToRow * static_cast<std::size_t>(row - region.y);
    }
    const double* Y(std::int64_t row) const { return X(row) + numbersToY; }

    // The places of the pixels in a smaller region.
    PlacesView Part(const Region& inner) const {
        return {inner, X(inner.y) + (inner.x - region.x), numbersToY, numbersToRow};
    }

    // The smallest extent that contains all places.
    Extent Bounds() const;
};

// One place for each pixel of a region.
class Places {
  public:
    explicit Places(const Region& region);

    const Region& GetRegion() const { return region_; }

    // The places of a row of pixels. There is room for a padded row of them (PlaceRowLength).
    double* X(std::int64_t row) { return numbers_.get() + Start(row); }
    double* Y(std::int64_t row) { return X(row) + rowLength_; }

    // Fills the padding of a row; to be called after its places are written.
    void FinishRow(std::int64_t row);

    // To be called when all rows are finished.
    PlacesView GetView() const { return {region_, numbers_.get(), rowLength_, 2 * rowLength_}; }

  private:
    std::size_t Start(std::int64_t row) const { return 2 * rowLength_ * static_cast<std::size_t>(row - region_.y); }

    Region region_;
    std::size_t rowLength_;
    std::unique_ptr<double[], FreePooled> numbers_;  // for each row all x, then all y; after the last row padding
};

// The pixels from which places within an extent are interpolated, limited to kFarthestPlace.
Region PixelsAround(const Extent& places);

// Writes a tile: each pixel is the mean of the four nearest to its place, weighted by distance. Places outside the
// source use its edge: the source must contain all four pixels around each place, or be transparent there.
void SampleBilinear(const View& source, const PlacesView& places, const Tile& out);

}  // namespace core_image
