// generator.h - the image of one color.

#pragma once

#include "core/inputs.h"

namespace core_image {

// One pixel everywhere; infinite.
ImageRef MakeConstantImage(const Pixel& pixel);

}  // namespace core_image
