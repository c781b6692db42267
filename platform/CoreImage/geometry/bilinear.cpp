// bilinear.cpp - the four nearest pixels, weighed by how near they are.

#include "geometry/bilinear.h"

#include <hwy/highway.h>

namespace core_image {
namespace {

namespace hn = hwy::HWY_NAMESPACE;

// A place as a pixel and what is left; written without the library's floor, which is a call.
struct Place {
    std::int32_t pixel;
    float rest;

    Place(double place, double least, double most) {
        place = std::min(std::max(place, least), most);
        pixel = static_cast<std::int32_t>(place);
        pixel -= static_cast<double>(pixel) > place;
        rest = static_cast<float>(place - static_cast<double>(pixel));
    }
};

}  // namespace

void SampleLine(const PixelBlock& source, const LinePlaces& places, std::int64_t first, float* out, std::size_t count) {
    const hn::FixedTag<float, kFloatsPerPixel> d;
    const Region& region = source.region();
    const Tile tile = source.tile();
    const auto left = static_cast<std::int32_t>(region.x), bottom = static_cast<std::int32_t>(region.y);
    // The last place that still has a pixel after it.
    const double leastX = static_cast<double>(region.x), mostX = static_cast<double>(region.right() - 2);
    const double leastY = static_cast<double>(region.y), mostY = static_cast<double>(region.top() - 2);
    const auto rowLength = static_cast<std::ptrdiff_t>(tile.floatsPerRow);
    for (std::size_t index = 0; index < count; ++index, out += kFloatsPerPixel) {
        const double x = static_cast<double>(first + static_cast<std::int64_t>(index)) + 0.5;
        const Place column(places.stepX * x + places.x0, leastX, mostX);
        const Place row(places.stepY * x + places.y0, leastY, mostY);
        const float* from = tile.pixels + (row.pixel - bottom) * rowLength +
                            static_cast<std::ptrdiff_t>(column.pixel - left) * std::ptrdiff_t{kFloatsPerPixel};
        const auto right = hn::Set(d, column.rest), above = hn::Set(d, row.rest);
        const auto mix = [&](auto a, auto b, auto k) { return hn::MulAdd(k, hn::Sub(b, a), a); };
        const auto lower = mix(hn::LoadU(d, from), hn::LoadU(d, from + kFloatsPerPixel), right);
        const auto upper = mix(hn::LoadU(d, from + rowLength), hn::LoadU(d, from + rowLength + kFloatsPerPixel), right);
        hn::StoreU(mix(lower, upper, above), d, out);
    }
}

}  // namespace core_image
