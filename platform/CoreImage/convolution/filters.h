// filters.h - filters that weight a pixel and its neighbors with given weights.
//
// inputWeights are ordered row by row, the topmost first, each from left to right, and are not mirrored: the first
// weight is for the neighbor up and to the left. inputBias is added. All four premultiplied components are summed;
// then alpha is limited to 0...1, and colors to 0...alpha. With a bias the image is infinite.
//
// Adding one: a function in this folder, named like the filter without "CI", and a line in the list.

#pragma once

#include "core/filter.h"

// Every filter of the family.
#define CONVOLUTION_FILTERS(FILTER) \
    FILTER(Convolution3X3)          \
    FILTER(Convolution5X5)          \
    FILTER(Convolution7X7)          \
    FILTER(Convolution9Horizontal)  \
    FILTER(Convolution9Vertical)

namespace core_image {

CONVOLUTION_FILTERS(DECLARE_FILTER)

}  // namespace core_image
