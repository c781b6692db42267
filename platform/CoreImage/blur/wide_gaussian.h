// wide_gaussian.h - the Gaussian blur of larger radius, at a cost that hardly depends on the radius.
//
// Gaussians in sequence are one Gaussian, their variances added. So the image is blurred by one coarse step and kept only at
// every step-th place in both directions, blurred there by most of sigma, and brought back by interpolating with a Gaussian of
// one coarse step. A grid that is no coarser than half of sigma loses less than a millionth.
//
// The grid is fixed to the origin of the plane, not to what is rendered, so that parts fit together.

#pragma once

#include "core/image.h"

namespace core_image {

// From here on the wide blur is exact enough: its coarse step is two pixels.
inline constexpr double kNarrowestWideSigma = 4;

// Makes a stage for a region of the blurred image. A sigma above 100000 is taken as 100000: it would only be fainter.
std::unique_ptr<const Stage> PrepareWideGaussian(const ImageRef& input, double sigma, const Region& region);

}  // namespace core_image
