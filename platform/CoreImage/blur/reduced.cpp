// reduced.cpp - reduced images by affine maps: halfway between two pixels the bilinear value is their mean.

#include "blur/reduced.h"

#include <algorithm>
#include <cmath>
#include <utility>

#include "core/buffered.h"
#include "core/cropped.h"
#include "sampling/affine.h"

namespace core_image {
namespace {

// Up to a factor of 32 every pixel is read; beyond it, only one pixel in each square of means.
constexpr int kMostMeans = 5;
constexpr int kMeansOfSparse = 2;

Affine Scale(double factor) {
    Affine map;
    map.a = map.d = factor;
    return map;
}

}  // namespace

double Reduction::Factor() const { return std::ldexp(1, sparse + means); }

Reduction ReductionFor(double factor) {
    const int powers = std::max(0, static_cast<int>(std::ceil(std::log2(factor))));
    return powers <= kMostMeans ? Reduction{0, powers} : Reduction{powers - kMeansOfSparse, kMeansOfSparse};
}

ImageRef Reduced(ImageRef input, const Reduction& reduction) {
    if (reduction.sparse > 0)
        input = MakeAffineImage(std::move(input), Scale(std::ldexp(1, -reduction.sparse)), Light::kLinear);
    for (int power = 0; power < reduction.means; ++power) {
        input = MakeAffineImage(std::move(input), Scale(0.5), Light::kLinear);
    }
    return MakeBufferedImage(std::move(input));
}

ImageRef Enlarged(ImageRef reduced, const Reduction& reduction, const Extent& extent) {
    ImageRef buffered = MakeBufferedImage(std::move(reduced));
    return MakeCroppedImage(MakeAffineImage(std::move(buffered), Scale(reduction.Factor()), Light::kLinear), extent);
}

}  // namespace core_image
