// gaussian_weights.cpp - the bell curve at evenly spaced places.

#include "blur/gaussian_weights.h"

#include <cmath>
#include <cstddef>

#include "sampling/weighted_sums.h"

namespace core_image {
namespace {

// Appends count weights, at places first, first + 1 and so on, that sum to one.
void Append(double sigma, double first, std::size_t count, std::vector<float>& weights) {
    // Why the quotient is squared and not sigma: the square of a very small sigma would underflow to zero.
    const auto bell = [&](std::size_t index) {
        const double distance = (first + static_cast<double>(index)) / sigma;
        return std::exp(-0.5 * distance * distance);
    };
    double sum = 0;
    for (std::size_t index = 0; index < count; ++index) sum += bell(index);
    for (std::size_t index = 0; index < count; ++index) weights.push_back(static_cast<float>(bell(index) / sum));
}

}  // namespace

std::int64_t GaussianReach(double sigma) { return static_cast<std::int64_t>(std::ceil(kGaussianReach * sigma - 0.5)); }

std::vector<float> GaussianWeights(double sigma) {
    const std::int64_t reach = GaussianReach(sigma);
    std::vector<float> weights;
    Append(sigma, -static_cast<double>(reach), static_cast<std::size_t>(2 * reach + 1), weights);
    return weights;
}

std::vector<float> GaussianWeightsBetween(double sigma) {
    const double reach = 2 * std::ceil(kGaussianReach * sigma / 2);
    std::vector<float> weights;
    Append(sigma, 0.5 - reach, static_cast<std::size_t>(2 * reach), weights);
    return weights;
}

std::vector<float> GaussianInterpolationWeights(double phase) {
    // The pixel lies between the two middle samples, this far after the first of them.
    constexpr double kMiddle = kGaussianTaps / 2 - 1;
    std::vector<float> weights;
    Append(1, -kMiddle - phase, kGaussianTaps, weights);
    return weights;
}

}  // namespace core_image
