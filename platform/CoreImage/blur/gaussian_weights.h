// gaussian_weights.h - sampled Gaussians. Each set of weights sums to one.

#pragma once

#include <cstdint>
#include <vector>

namespace core_image {

// A set of weights reaches this many sigma; 1.6 millionths of the Gaussian lie beyond.
inline constexpr double kGaussianReach = 4.8;

// The weights at the whole distances -reach ... reach: 2 reach + 1 of them.
std::vector<float> GaussianWeights(double sigma);

// Their reach. The last weight stands for half a pixel beyond it, too.
std::int64_t GaussianReach(double sigma);

// The weights of the pixel centers around a point halfway between two of them. Their number is a multiple of four.
std::vector<float> GaussianWeightsBetween(double sigma);

// The weights of the kGaussianTaps samples around a pixel, with a sigma of one sample. The phase is the pixel's
// distance from the sample before it.
std::vector<float> GaussianInterpolationWeights(double phase);

}  // namespace core_image
