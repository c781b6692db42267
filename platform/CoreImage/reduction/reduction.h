// reduction.h - the family of filters that sum up a rectangle of an image in one pixel or one row of pixels.
//
// The rectangle is inputExtent as far as the image reaches; nothing there gives transparent pixels. The result begins at (0, 0).

#pragma once

#include "core/inputs.h"

namespace core_image {

// CIAreaAverage, CIAreaMaximum, CIAreaMinimum: each component by itself.
ImageRef AreaAverage(const Inputs& inputs);
ImageRef AreaMaximum(const Inputs& inputs);
ImageRef AreaMinimum(const Inputs& inputs);

// CIAreaMaximumAlpha, CIAreaMinimumAlpha: the pixel whose alpha it is; of several the lowest, then the leftmost.
ImageRef AreaMaximumAlpha(const Inputs& inputs);
ImageRef AreaMinimumAlpha(const Inputs& inputs);

// CIAreaHistogram: the share of pixels in each of inputCount equal steps from 0 to 1, times inputScale, each component by itself.
ImageRef AreaHistogram(const Inputs& inputs);

// CIColumnAverage: each column's mean.
ImageRef ColumnAverage(const Inputs& inputs);

}  // namespace core_image
