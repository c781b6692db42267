// power.h - an exponent prepared for the inner loops (power-inl.h).
//
// The power of a float is the product of two: of two to the power of its exponent, from a table, and of its mantissa,
// from a cubic for each eighth of 1...2.

#pragma once

#include <array>
#include <cstddef>

namespace core_image {

// An exponent for numbers of 0 or more.
struct Power {
    explicit Power(double value);

    static constexpr std::size_t kParts = 8;

    float exponent;
    float ofZero;  // the result for 0

    // Whether the cubics are exact to 8e-8: from 0 to 3. Otherwise there are no tables.
    bool hasTables;
    // The coefficients of the cubics, the constant ones first. Each part is there twice, for vectors of 16.
    alignas(64) std::array<std::array<float, 2 * kParts>, 4> cubics;
    std::array<float, 256> scales;  // by the bits of a float's exponent, within the range of floats
};

// The powers of the sRGB curve.
extern const Power kEncodingPower;
extern const Power kDecodingPower;

}  // namespace core_image
