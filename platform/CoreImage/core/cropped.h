// cropped.h - part of an image.

#pragma once

#include "core/image.h"

namespace core_image {

// The part of an image inside an extent. Returns the image itself when all of it lies inside. When nothing does, the
// extent of the result is empty.
ImageRef MakeCroppedImage(ImageRef input, const Extent& extent);

}  // namespace core_image
