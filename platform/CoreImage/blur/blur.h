// blur.h - blurs as images, for the family's filters and for filters that build on a blur.

#pragma once

#include "core/inputs.h"

namespace core_image {

// Returns an image blurred by a Gaussian of standard deviation sigma, or the input itself when sigma is 0 or less.
//
// The result is cut off three sigma (rounded up) beyond the input, where less than 0.2 percent of a pixel remains.
ImageRef MakeGaussianBlurImage(ImageRef input, double sigma);

// Returns the mean over a square of the largest odd width that does not exceed the given one, or the input itself
// for a width below 3.
//
// Above 2047 pixels the mean is computed on a reduced image. The extent grows by half the width on each side.
ImageRef MakeBoxBlurImage(ImageRef input, double width);

// Returns the mean over a disc whose rim is one pixel soft, or the input itself when the radius is 0 or less.
//
// The extent grows by the radius, rounded up, plus 2. Above the largest exact radius the mean is computed on a reduced
// image: that rounds the steps of the rim, by less than the reduced image's pixels.
inline constexpr double kLargestExactDisc = 128;
ImageRef MakeDiscBlurImage(ImageRef input, double radius, double largestExact = kLargestExactDisc);

}  // namespace core_image
