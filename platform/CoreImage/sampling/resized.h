// resized.h - images enlarged or reduced to a size in pixels.
//
// Interpolation is Lanczos with three lobes (lanczos.h), in linear light and premultiplied. It overshoots a little
// beside sharp edges, as every sharp kernel does; numbers are clipped when they are stored.

#pragma once

#include <cstdint>

#include "core/image.h"

namespace core_image {

// What becomes of the proportions.
enum class ResizeMode {
    kStretch,  // the result has the size; proportions change
    kFit,      // proportions stay; the result is as large as fits into the size
    kFill,     // proportions stay; the result has the size, and what extends beyond it is cut off on both sides
};

// The image resized to a size of at least 1 x 1; the lower left corner is at 0, 0. Null for an image without a finite
// extent. An image that has the size already is only moved.
ImageRef MakeResizedImage(ImageRef input, std::int64_t width, std::int64_t height, ResizeMode mode);

}  // namespace core_image
