// pictures.cpp - generates the pictures: waves with a little noise.

#include "pictures.h"

#include <cmath>

namespace benchmarks {
namespace {

Picture MakePicture(std::size_t width, std::size_t height, double phase) {
    Picture picture{width, height, std::vector<float>(width * height * kChannels)};
    std::vector<float> across(width);
    for (std::size_t x = 0; x < width; ++x) {
        across[x] = static_cast<float>(std::sin(12 * static_cast<double>(x) / static_cast<double>(width) + phase));
    }
    std::uint32_t noise = 12345;
    float* pixel = picture.pixels.data();
    for (std::size_t y = 0; y < height; ++y) {
        const auto down =
            static_cast<float>(std::cos(9 * static_cast<double>(y) / static_cast<double>(height) + phase));
        for (std::size_t x = 0; x < width; ++x, pixel += kChannels) {
            for (std::size_t channel = 0; channel < 3; ++channel) {
                noise = noise * 1664525 + 1013904223;
                const float weight = 0.08f + 0.08f * static_cast<float>(channel);
                pixel[channel] = 0.5f + weight * across[x] + (0.4f - weight) * down +
                                 0.1f * (static_cast<float>(noise >> 8) / (1 << 24) - 0.5f);
            }
            pixel[3] = 1;
        }
    }
    return picture;
}

double EncodeSRGB(double linear) {
    return linear <= 0.0031308 ? 12.92 * linear : 1.055 * std::pow(linear, 1 / 2.4) - 0.055;
}

}  // namespace

const Picture& First() {
    static const Picture picture = MakePicture(kWidth, kHeight, 0.3);
    return picture;
}

const Picture& Second() {
    static const Picture picture = MakePicture(kWidth, kHeight, 2.1);
    return picture;
}

const Picture& Photo() {
    static const Picture picture = MakePicture(kPhotoWidth, kPhotoHeight, 0.3);
    return picture;
}

const Picture& Small() {
    static const Picture picture = MakePicture(kSmallEdge, kSmallEdge, 0.3);
    return picture;
}

const std::vector<std::uint8_t>& FirstAsBytes() {
    static const std::vector<std::uint8_t> bytes = [] {
        constexpr std::size_t kSteps = 4096;
        std::vector<std::uint8_t> table(kSteps + 1);
        for (std::size_t level = 0; level <= kSteps; ++level) {
            table[level] =
                static_cast<std::uint8_t>(std::lround(255 * EncodeSRGB(static_cast<double>(level) / kSteps)));
        }
        const std::vector<float>& floats = First().pixels;
        std::vector<std::uint8_t> encoded(floats.size());
        for (std::size_t index = 0; index < floats.size(); ++index) {
            encoded[index] = table[static_cast<std::size_t>(floats[index] * kSteps)];
        }
        return encoded;
    }();
    return bytes;
}

const std::vector<float>& Cube() {
    static const std::vector<float> cube = [] {
        std::vector<float> texels;
        for (std::size_t index = 0; index < kCubeEdge * kCubeEdge * kCubeEdge; ++index) {
            const std::size_t position[] = {index % kCubeEdge, index / kCubeEdge % kCubeEdge,
                                            index / kCubeEdge / kCubeEdge};
            for (std::size_t channel = 0; channel < 3; ++channel) {
                const double own = static_cast<double>(position[channel]) / (kCubeEdge - 1);
                const double other = static_cast<double>(position[(channel + 1) % 3]) / (kCubeEdge - 1);
                texels.push_back(static_cast<float>(0.8 * own * own + 0.2 * std::sqrt(other)));
            }
            texels.push_back(1);
        }
        return texels;
    }();
    return cube;
}

}  // namespace benchmarks
