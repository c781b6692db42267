// power.cpp - the tables of powers.

#include "core/power.h"

#include <algorithm>
#include <cmath>

namespace core_image {
namespace {

constexpr std::size_t kExponentOfOne = 127;  // in a float's bits
constexpr std::size_t kLargestExponent = 254;

// The cubic that is closest to x to the power of p in the part of 1...2 around a center: a Taylor series, whose fourth
// and fifth powers are replaced by the polynomials of lower degree that differ least from them (Chebyshev).
std::array<double, 4> CubicAround(double center, double p) {
    constexpr double kHalf = 0.5 / Power::kParts;
    std::array<double, 6> series = {std::pow(center, p)};
    for (std::size_t k = 1; k < series.size(); ++k) {
        const auto degree = static_cast<double>(k);
        series[k] = series[k - 1] * (p - degree + 1) / (degree * center);
    }
    series[3] += series[5] * 5 / 4 * kHalf * kHalf;
    series[1] -= series[5] * 5 / 16 * std::pow(kHalf, 4);
    series[2] += series[4] * kHalf * kHalf;
    series[0] -= series[4] / 8 * std::pow(kHalf, 4);
    // From powers of the distance from the center to powers of x.
    const auto [a, b, c, d, e, f] = series;
    return {a - center * (b - center * (c - center * d)), b - center * (2 * c - 3 * center * d), c - 3 * center * d, d};
}

}  // namespace

Power::Power(double value)
    : exponent(static_cast<float>(value)),
      ofZero(value > 0   ? 0
             : value < 0 ? 1e30f
                         : 1),
      hasTables(value >= 0 && value <= 3) {
    if (!hasTables) return;
    for (std::size_t part = 0; part < kParts; ++part) {
        const std::array<double, 4> cubic = CubicAround(1 + (static_cast<double>(part) + 0.5) / kParts, value);
        for (std::size_t k = 0; k < cubic.size(); ++k) {
            cubics[k][part] = cubics[k][part + kParts] = static_cast<float>(cubic[k]);
        }
    }
    constexpr double kLargest = 0x1p126;
    const double ratio = std::exp2(value), inverse = 1 / ratio;
    double scale = 1;
    for (std::size_t bits = kExponentOfOne; bits <= kLargestExponent; ++bits, scale *= ratio) {
        scales[bits] = static_cast<float>(std::min(scale, kLargest));
    }
    scale = 1;
    for (std::size_t bits = kExponentOfOne; bits > 0; --bits, scale *= inverse) {
        scales[bits] = static_cast<float>(std::max(scale, 1 / kLargest));
    }
    scales[0] = ofZero;
    scales.back() = scales[kLargestExponent];
}

const Power kEncodingPower(1 / 2.4);
const Power kDecodingPower(2.4);

}  // namespace core_image
