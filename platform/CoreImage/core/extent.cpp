// extent.cpp - from extents to pixels.

#include "core/extent.h"

#include <cmath>

namespace core_image {
namespace {

// Doubles up to this size, 2^52, hold every whole number and its half.
constexpr double kFarthestPixel = 4503599627370496.0;

}  // namespace

bool RegionOfExtent(const Extent& extent, Region* region) noexcept {
    if (extent.IsEmpty()) return false;
    for (const double edge : {extent.left, extent.bottom, extent.right, extent.top}) {
        if (!(std::abs(edge) < kFarthestPixel)) return false;
    }
    *region = {static_cast<std::int64_t>(extent.left), static_cast<std::int64_t>(extent.bottom),
               static_cast<std::int64_t>(extent.right - extent.left),
               static_cast<std::int64_t>(extent.top - extent.bottom)};
    return true;
}

}  // namespace core_image
