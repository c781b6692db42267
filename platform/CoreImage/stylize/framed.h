// framed.h - blurs of pictures that are extended beyond their frame by their outermost pixels, so that the frame is
// not visible.

#pragma once

#include <algorithm>

#include "core/image.h"

namespace core_image {

// The radius of a blur over a picture that is extended beyond an extent.
//
// Why a limit: a radius as long as the picture already blends all of it; the pixels beyond the frame would only take
// time.
inline double FramedRadius(double radius, const Extent& extent) {
    if (extent.IsEmpty()) return 0;
    return std::min(radius, std::max(extent.right - extent.left, extent.top - extent.bottom));
}

}  // namespace core_image
