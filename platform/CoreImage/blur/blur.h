// blur.h - the family of filters that spread each pixel over its neighbors.

#pragma once

#include "core/inputs.h"

namespace core_image {

// An image under a Gaussian of standard deviation sigma. The input itself for 0 and less.
//
// The result is cut off at three sigma around the input (rounded up), where less than 0.2 per cent of a pixel arrives.
ImageRef MakeGaussianBlurImage(ImageRef input, double sigma);

// An image under a square of the largest odd width that is not above the given one. The input itself for less than 3.
//
// Wider than 2047 pixels it is computed on a smaller picture; the extent grows by half the width either way.
ImageRef MakeBoxBlurImage(ImageRef input, double width);

// An image under a disc whose rim is one pixel soft. The input itself for a radius of 0 and less.
//
// The extent grows by the radius, rounded up, and 2. Above a radius of 128 pixels it is computed on a smaller picture.
ImageRef MakeDiscBlurImage(ImageRef input, double radius);

}  // namespace core_image
