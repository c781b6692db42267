// parameters.h - the parameters of the operations, the same for the engine and for other libraries.
//
// Threads: constants and pure functions, safe anywhere.

#pragma once

#include <array>
#include <cmath>
#include <cstddef>
#include <vector>

#include "pictures.h"

namespace benchmarks {

// A color matrix. Each row holds the weights of red, green and blue and the bias of one channel of the result.
inline constexpr double kMatrix[3][4] = {{0.9, 0.05, 0.02, 0.01}, {0.1, 0.8, 0.05, 0.02}, {0.03, 0.1, 0.85, 0.03}};

inline constexpr double kExposure = 0.5;  // stops
inline constexpr double kGamma = 0.75;
inline constexpr double kPosterizeLevels = 6;
inline constexpr double kSaturation = 1.3;
inline constexpr double kBrightness = 0.05;
inline constexpr double kContrast = 1.1;
inline constexpr double kLuminance[3] = {0.2125, 0.7154, 0.0721};
inline constexpr double kSigma = 10;
inline constexpr int kBoxWidth = 21;
inline constexpr int kDiscRadius = 8;
inline constexpr double kTransitionTime = 0.4;
inline constexpr int kBins = 256;
inline constexpr double kBumpRadius = 1200;
inline constexpr double kBumpScale = 0.5;
inline constexpr double kSmallCrystal = 3;
inline constexpr double kDisplacement = 50;

// The affine transform: a rotation in radians and a scale, both about the center of the picture.
inline constexpr double kRotation = 0.08726646;
inline constexpr double kScale = 1.02;

// Returns the weights of a convolution, row by row. They sum to 1 and are neither separable nor symmetric.
inline std::vector<double> Kernel(std::size_t count) {
    std::vector<double> weights;
    double sum = 0;
    for (std::size_t index = 0; index < count; ++index) {
        weights.push_back(static_cast<double>(1 + index * 37 % 11));
        sum += weights.back();
    }
    for (double& weight : weights) weight /= sum;
    return weights;
}

// Returns the color controls as a color matrix.
inline std::array<std::array<double, 4>, 3> ControlsMatrix() {
    std::array<std::array<double, 4>, 3> matrix;
    for (std::size_t to = 0; to < 3; ++to) {
        for (std::size_t from = 0; from < 3; ++from) {
            matrix[to][from] = kContrast * ((to == from ? kSaturation : 0) + (1 - kSaturation) * kLuminance[from]);
        }
        matrix[to][3] = 0.5 - 0.5 * kContrast + kBrightness;
    }
    return matrix;
}

// Maps a pixel (x, y) of the transformed picture to its source (a x + b y + c, d x + e y + f); (0, 0) is the top left
// pixel.
struct SourceMap {
    double a, b, c, d, e, f;
};
inline SourceMap TransformedSource() {
    const double cosine = std::cos(kRotation) / kScale, sine = std::sin(kRotation) / kScale;
    const double x = (kWidth - 1) / 2.0, y = (kHeight - 1) / 2.0;
    return {cosine, -sine, x - cosine * x + sine * y, sine, cosine, y - sine * x - cosine * y};
}

// Returns the weights of a disc with a soft rim one pixel wide: a square of 2 kDiscRadius + 1 pixels.
inline std::vector<double> DiscKernel() {
    std::vector<double> weights;
    double sum = 0;
    for (int y = -kDiscRadius; y <= kDiscRadius; ++y) {
        for (int x = -kDiscRadius; x <= kDiscRadius; ++x) {
            const double weight = kDiscRadius + 0.5 - std::hypot(x, y);
            weights.push_back(weight < 0 ? 0 : weight > 1 ? 1 : weight);
            sum += weights.back();
        }
    }
    for (double& weight : weights) weight /= sum;
    return weights;
}

// Returns the weights of a Gaussian, cut off at three sigmas.
inline std::vector<double> GaussianKernel() {
    const int reach = static_cast<int>(3 * kSigma);
    std::vector<double> weights;
    double sum = 0;
    for (int x = -reach; x <= reach; ++x) {
        weights.push_back(std::exp(-0.5 * x * x / (kSigma * kSigma)));
        sum += weights.back();
    }
    for (double& weight : weights) weight /= sum;
    return weights;
}

}  // namespace benchmarks
