// convolution.h - the family of filters that weigh a pixel with its neighbors, weight by weight.
//
// inputWeights go row by row, the topmost first, each from left to right, and are not mirrored: the first weight is for the
// neighbor up and to the left. inputBias is added. All four premultiplied components are summed; then alpha is kept within 0
// and 1, and colors within 0 and alpha. With a bias the image has no end.

#pragma once

#include "core/inputs.h"

namespace core_image {

// CIConvolution3X3, 5X5, 7X7, 9Horizontal and 9Vertical.
ImageRef Convolution3X3(const Inputs& inputs);
ImageRef Convolution5X5(const Inputs& inputs);
ImageRef Convolution7X7(const Inputs& inputs);
ImageRef Convolution9Horizontal(const Inputs& inputs);
ImageRef Convolution9Vertical(const Inputs& inputs);

}  // namespace core_image
