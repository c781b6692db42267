// generator.h - the family of filters that need no image.

#pragma once

#include "core/inputs.h"

namespace core_image {

// One pixel everywhere.
ImageRef MakeConstantImage(const Pixel& pixel);

}  // namespace core_image
