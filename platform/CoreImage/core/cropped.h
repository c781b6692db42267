// cropped.h - part of an image.

#pragma once

#include "core/image.h"

namespace core_image {

// The part of an image inside an extent. Returns the image itself when all of it lies inside; the result's extent is empty
// when nothing does.
ImageRef MakeCroppedImage(ImageRef input, const Extent& extent);

}  // namespace core_image
