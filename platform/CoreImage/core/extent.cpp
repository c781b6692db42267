// extent.cpp - from extents to pixels.

#include "core/extent.h"

#include <cmath>

namespace core_image {
namespace {

constexpr auto kFarthestPixel = static_cast<double>(-kCountable.x);

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

Extent Divided(const Extent& extent, double n) {
    return {std::floor(extent.left / n), std::floor(extent.bottom / n), std::ceil(extent.right / n),
            std::ceil(extent.top / n)};
}

}  // namespace core_image
