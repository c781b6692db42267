// gaussian_weights.h - sampled Gaussians, each set of weights summing to one.

#pragma once

#include <vector>

namespace core_image {

// How many sigma a set of weights reaches: what lies beyond is 1.6 millionths of the whole.
inline constexpr double kGaussianReach = 4.8;

// The weights at distances -reach ... reach, whole numbers; 2 reach + 1 of them.
std::vector<float> GaussianWeights(double sigma);

// The weights of pixel centers around a point between two of them: an even number.
std::vector<float> GaussianWeightsBetween(double sigma);

// For each phase of a coarse grid with a sample every step pixels, the weights of the samples around a pixel.
// Sigma is one step.
std::vector<float> GaussianInterpolationWeights(int step);

}  // namespace core_image
