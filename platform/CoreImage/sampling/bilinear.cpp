// bilinear.cpp - the mean of the four nearest pixels, weighted by distance; compiled once per instruction set.
//
// A row is processed in two steps: first vectors of places become pixel indices and weights; then each pixel is a
// vector of four channels.

#include "sampling/bilinear.h"

#include <algorithm>
#include <cmath>

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "sampling/bilinear.cpp"
#include <hwy/cache_control.h>
#include <hwy/foreach_target.h>
#include <hwy/highway.h>

HWY_BEFORE_NAMESPACE();
namespace core_image::HWY_NAMESPACE {

namespace hn = hwy::HWY_NAMESPACE;
using Doubles = hn::CappedTag<double, kPlaceStep>;

// Widens a range to contain all numbers.
HWY_INLINE void Widen(const double* numbers, std::size_t count, double* least, double* most) {
    const Doubles d;
    auto low = hn::Set(d, *least), high = hn::Set(d, *most);
    const auto include = [&](auto number) HWY_ATTR {
        low = hn::Min(low, number);
        high = hn::Max(high, number);
    };
    std::size_t index = 0;
    for (; index + hn::Lanes(d) <= count; index += hn::Lanes(d)) include(hn::LoadU(d, numbers + index));
    for (; index < count; ++index) include(hn::Set(d, numbers[index]));
    *least = hn::GetLane(hn::MinOfLanes(d, low));
    *most = hn::GetLane(hn::MaxOfLanes(d, high));
}

HWY_ATTR void BoundsOfPlaces(const PlacesView& places, Extent* bounds) {
    for (std::int64_t row = places.region.y; row < places.region.Top(); ++row) {
        Widen(places.X(row), places.Width(), &bounds->left, &bounds->right);
        Widen(places.Y(row), places.Width(), &bounds->bottom, &bounds->top);
    }
}

// The number of pixels processed at once, so that their corners stay in the first-level cache.
constexpr std::size_t kMostAtOnce = 256;
static_assert(kMostAtOnce % kPlaceStep == 0);

// For several pixels: the index of the lower left of the four, relative to the first of a block, and the weights of
// those to the right and above.
struct Corners {
    std::int32_t column[kMostAtOnce], row[kMostAtOnce];
    float right[kMostAtOnce], above[kMostAtOnce];
};

// Splits places in one direction, where a block covers the pixels from least to most. Whole vectors are read.
HWY_INLINE void Split(const double* places, std::size_t count, double least, double most, std::int32_t* pixels,
                      float* rests) {
    const Doubles d;
    const hn::Rebind<std::int32_t, Doubles> whole;
    const hn::Rebind<float, Doubles> single;
    for (std::size_t index = 0; index < count; index += hn::Lanes(d)) {
        auto place = hn::Sub(hn::LoadU(d, places + index), hn::Set(d, 0.5));
        place = hn::Min(hn::Max(place, hn::Set(d, least)), hn::Set(d, most));
        const auto pixel = hn::Min(hn::Floor(place), hn::Set(d, most - 1));
        hn::StoreU(hn::DemoteTo(whole, hn::Sub(pixel, hn::Set(d, least))), whole, pixels + index);
        hn::StoreU(hn::DemoteTo(single, hn::Sub(place, pixel)), single, rests + index);
    }
}

// How far ahead pixels are prefetched, once per cache line.
//
// Why: each row of a tile is on another memory page, and there the hardware does not prefetch.
constexpr std::ptrdiff_t kRowsAhead = 3;
constexpr std::size_t kPixelsPerLine = kFloatsPerLine / kFloatsPerPixel;

HWY_INLINE void SampleCorners(const float* block, std::ptrdiff_t rowLength, const Corners& corners, std::size_t count,
                              std::ptrdiff_t outLength, float* out) {
    const hn::FixedTag<float, kFloatsPerPixel> d;
    const auto mix = [](auto a, auto b, auto k) HWY_ATTR { return hn::MulAdd(k, hn::Sub(b, a), a); };
    for (std::size_t index = 0; index < count; ++index, out += kFloatsPerPixel) {
        const float* from = block + corners.row[index] * rowLength +
                            static_cast<std::ptrdiff_t>(corners.column[index]) * std::ptrdiff_t{kFloatsPerPixel};
        if (index % kPixelsPerLine == 0) {
            hwy::Prefetch(from + kRowsAhead * rowLength);
            hwy::Prefetch(out + outLength);
        }
        const auto right = hn::Set(d, corners.right[index]), above = hn::Set(d, corners.above[index]);
        const auto lower = mix(hn::LoadU(d, from), hn::LoadU(d, from + kFloatsPerPixel), right);
        const auto upper = mix(hn::LoadU(d, from + rowLength), hn::LoadU(d, from + rowLength + kFloatsPerPixel), right);
        hn::StoreU(mix(lower, upper, above), d, out);
    }
}

HWY_ATTR void SampleTile(const View& source, const PlacesView& places, const Tile& out) {
    const Region& region = source.region;
    const double left = static_cast<double>(region.x), mostX = static_cast<double>(region.Right() - 1);
    const double bottom = static_cast<double>(region.y), mostY = static_cast<double>(region.Top() - 1);
    Corners corners;
    for (std::int64_t row = out.region.y; row < out.region.Top(); ++row) {
        for (std::size_t start = 0; start < out.Width(); start += kMostAtOnce) {
            const std::size_t count = std::min(kMostAtOnce, out.Width() - start);
            Split(places.X(row) + start, count, left, mostX, corners.column, corners.right);
            Split(places.Y(row) + start, count, bottom, mostY, corners.row, corners.above);
            SampleCorners(source.pixels, source.floatsPerRow, corners, count, out.floatsPerRow,
                          out.Row(row) + start * kFloatsPerPixel);
        }
    }
}

}  // namespace core_image::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
namespace core_image {
namespace {

HWY_EXPORT(BoundsOfPlaces);
HWY_EXPORT(SampleTile);

}  // namespace

// Why the size is not checked: a tile's pixels are already in memory.
Places::Places(const Region& region)
    : region_(region),
      rowLength_(PlaceRowLength(region.width)),
      numbers_(static_cast<double*>(
          AllocatePooled((2 * rowLength_ * static_cast<std::size_t>(region.height) + kPlaceStep) * sizeof(double)))) {}

void Places::FinishRow(std::int64_t row) {
    const auto last = static_cast<std::size_t>(region_.width) - 1;
    std::fill(X(row) + last + 1, X(row) + rowLength_, X(row)[last]);
    std::fill(Y(row) + last + 1, Y(row) + rowLength_, Y(row)[last]);
}

Extent PlacesView::Bounds() const {
    const double x = *X(region.y), y = *Y(region.y);
    Extent bounds = {x, y, x, y};
    HWY_DYNAMIC_DISPATCH(BoundsOfPlaces)(*this, &bounds);
    return bounds;
}

Region PixelsAround(const Extent& places) {
    const auto pixel = [](double place) {
        return static_cast<std::int64_t>(std::floor(std::clamp(place - 0.5, -kFarthestPlace, kFarthestPlace)));
    };
    const std::int64_t left = pixel(places.left), bottom = pixel(places.bottom);
    return {left, bottom, pixel(places.right) + 2 - left, pixel(places.top) + 2 - bottom};
}

void SampleBilinear(const View& source, const PlacesView& places, const Tile& out) {
    HWY_DYNAMIC_DISPATCH(SampleTile)(source, places, out);
}

}  // namespace core_image
#endif
