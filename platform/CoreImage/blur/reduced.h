// reduced.h - reduced images for blurs so wide that the loss is invisible.
//
// An image is reduced by a power of two, blurred, and enlarged again. Where tiles would reduce or blur the same pixels
// often, the result is held (core/plan.cpp). Up to a factor of 32 each pixel of the reduced image is the mean of all
// pixels below it. Beyond that factor, where no bitmap would leave more than a few pixels, some pixels are skipped.

#pragma once

#include "core/image.h"

namespace core_image {

// Wider blurs are limited to this width; the only difference is that they would be fainter.
inline constexpr double kWidestBlur = 200000;

// How much an image is reduced.
struct Reduction {
    int sparse = 0;  // log2 of the factor by which pixels are skipped
    int means = 0;   // log2 of the factor by which pixels are averaged

    double Factor() const;
};

// The smallest reduction by at least a factor.
Reduction ReductionFor(double factor);

// The reduced image.
ImageRef Reduced(ImageRef input, const Reduction& reduction);

// A reduced image enlarged to full size and cropped to an extent.
ImageRef Enlarged(ImageRef reduced, const Reduction& reduction, const Extent& extent);

}  // namespace core_image
