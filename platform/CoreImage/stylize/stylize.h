// stylize.h - images that the filters of the family share.

#pragma once

#include "core/inputs.h"

namespace core_image {

// What spreads in a glow.
enum class Glow { kLight, kDarkness };

// An image moved by an intensity toward its blurred copy, in every channel where the copy is larger (light) or
// smaller (darkness). Its extent is that of the blurred copy.
ImageRef MakeGlowImage(ImageRef input, ImageRef blurred, Glow glow, double intensity);

}  // namespace core_image
