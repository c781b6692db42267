// power.h - an exponent made ready for the inner loops (power-inl.h).

#pragma once

#include <bit>
#include <cstdint>

namespace core_image {

// What a number from 0 on is to be raised to.
struct Power {
    explicit constexpr Power(double value)
        : exponent(static_cast<float>(value)),
          high(std::bit_cast<float>(std::bit_cast<std::uint32_t>(exponent) & 0xfffff000u)),
          low(exponent - high),
          ofZero(value > 0   ? 0
                 : value < 0 ? 1e30f
                             : 1) {}

    float exponent;
    float high;  // its twelve leading bits, and what they leave over
    float low;
    float ofZero;  // 0 raised to it
};

}  // namespace core_image
