// compositing.h - one image laid over another.

#pragma once

#include "core/image.h"

namespace core_image {

// An image over a background, like a transparent sheet. Where one of them is null the other is the result.
ImageRef MakeSourceOverImage(ImageRef source, ImageRef background);

}  // namespace core_image
