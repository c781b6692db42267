// blur.h - the family of filters that spread each pixel over its neighbours.

#pragma once

#include "core/inputs.h"

namespace core_image {

// An image under a Gaussian of standard deviation sigma. The input itself for 0 and less.
//
// The result is cut off at three sigma around the input (rounded up), where less than 0.2 per cent of a pixel arrives.
ImageRef MakeGaussianBlurImage(ImageRef input, double sigma);

// CIGaussianBlur: inputRadius is the standard deviation.
ImageRef GaussianBlur(const Inputs& inputs);

}  // namespace core_image
