// framed.h - blurs of pictures that go on beyond their frame as their outermost pixels do, so that the frame is not seen.

#pragma once

#include <algorithm>

#include "core/image.h"

namespace core_image {

// A blur's radius in a picture that goes on beyond an extent.
//
// Why a limit: a radius as long as the picture already blends all of it, and what is beyond the frame would only take time.
inline double FramedRadius(double radius, const Extent& extent) {
    if (extent.IsEmpty()) return 0;
    return std::min(radius, std::max(extent.right - extent.left, extent.top - extent.bottom));
}

}  // namespace core_image
