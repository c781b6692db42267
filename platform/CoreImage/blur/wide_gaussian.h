// wide_gaussian.h - the Gaussian blur of larger radius, at a cost that hardly depends on the radius.
//
// A sequence of Gaussians is one Gaussian whose variance is the sum of theirs. So the image is blurred by one coarse
// step and kept only at every step-th place in both directions, blurred there by most of sigma, and interpolated
// back with a Gaussian of one coarse step. A grid no coarser than half of sigma loses less than a millionth.
//
// The grid is fixed to the origin of the plane, not to the rendered region, so that separately rendered parts fit
// together.

#pragma once

#include "core/image.h"

namespace core_image {

// From this sigma on the wide blur is accurate enough: its coarse step is two pixels.
inline constexpr double kNarrowestWideSigma = 4;

// The region of an input of an extent that a region of its blur is made of.
Region WideGaussianSource(const Extent& extent, double sigma, const Region& region);

// Makes a stage for a region of the blurred image. Sigma is limited to 100000; a wider blur would only be fainter.
std::unique_ptr<const Stage> PrepareWideGaussian(const ImageRef& input, double sigma, const Region& region);

}  // namespace core_image
