// stylize.h - the family of filters that redraw a picture: glows, outlines, mosaics, comics, miniatures.

#pragma once

#include "core/inputs.h"

namespace core_image {

// What spreads in a glow.
enum class Glow { kLight, kDarkness };

// An image that moves towards a blurred copy of itself, by an intensity, in every channel where that is more (light) or less
// (darkness). Its extent is the blurred one's.
ImageRef MakeGlowImage(ImageRef input, ImageRef blurred, Glow glow, double intensity);

// An image as a woodcut: black where it, blurred by grain, is darker than blurred by a radius, white elsewhere; alpha stays.
ImageRef MakeWoodcutImage(ImageRef input, double grain, double radius);

}  // namespace core_image
