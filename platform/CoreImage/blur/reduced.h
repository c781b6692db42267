// reduced.h - smaller pictures for blurs so wide that nobody sees the difference.
//
// A picture is made smaller by a power of two, blurred, kept, and made as large again. Pixels of the smaller picture are means,
// up to a factor of 32; beyond that, where a bitmap would have shrunk to little, not all pixels are looked at.

#pragma once

#include "core/image.h"

namespace core_image {

// A blur wider than this is taken as this wide: it would only be fainter.
inline constexpr double kWidestBlur = 200000;

// By how much a picture is made smaller.
struct Reduction {
    int sparse = 0;  // powers of two by which pixels are left out
    int means = 0;   // powers of two by which pixels are averaged

    double Factor() const;
};

// The smallest reduction by at least a factor.
Reduction ReductionFor(double factor);

// The smaller picture.
ImageRef Reduced(ImageRef input, const Reduction& reduction);

// A smaller picture in full size, cut to an extent.
ImageRef Enlarged(ImageRef reduced, const Reduction& reduction, const Extent& extent);

}  // namespace core_image
