// check.cpp - compares two results component by component.

#include "check.h"

#include <algorithm>
#include <cmath>
#include <cstdint>

#include "../pictures.h"

namespace benchmarks {
namespace {

constexpr std::size_t kMargin = 64;
constexpr double kTolerance = 0.004;
constexpr double kMaxOutlierShare = 0.01;

// Describes how two results differ; empty when they match. The tolerance is relative to the largest component of ours.
template <typename Number>
std::string Compare(const Number* ours, const Number* theirs, std::size_t count, double tolerance) {
    const bool isLarge = count == kWidth * kHeight * kChannels;
    const std::size_t width = isLarge ? kWidth : count / kChannels;
    const std::size_t height = count / kChannels / width;
    const std::size_t margin = isLarge ? kMargin : 0;
    double largest = 0, farthest = 0;
    for (std::size_t index = 0; index < count; ++index) {
        if (index % kChannels < 3) largest = std::max(largest, std::abs(static_cast<double>(ours[index])));
    }
    std::size_t compared = 0, outliers = 0;
    for (std::size_t y = margin; y < height - margin; ++y) {
        for (std::size_t index = (y * width + margin) * kChannels; index < ((y + 1) * width - margin) * kChannels;
             ++index) {
            if (index % kChannels == 3) continue;
            const double apart = std::abs(static_cast<double>(ours[index]) - static_cast<double>(theirs[index]));
            ++compared;
            // Written as !(apart <= ...) so that NaN counts as an outlier.
            if (!(apart <= tolerance * largest)) ++outliers;
            farthest = std::max(farthest, apart);
        }
    }
    if (static_cast<double>(outliers) <= kMaxOutlierShare * static_cast<double>(compared)) return "";
    return std::to_string(outliers) + " of " + std::to_string(compared) + " components differ, by up to " +
           std::to_string(farthest);
}

}  // namespace

std::string DifferenceOf(const std::string& operation, const void* ours, const void* theirs, std::size_t bytes) {
    if (operation == "12 MP/sRGB bytes out") {
        return Compare(static_cast<const std::uint8_t*>(ours), static_cast<const std::uint8_t*>(theirs), bytes,
                       1.5 / 255);
    }
    return Compare(static_cast<const float*>(ours), static_cast<const float*>(theirs), bytes / sizeof(float),
                   kTolerance);
}

}  // namespace benchmarks
