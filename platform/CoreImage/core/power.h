// power.h - an exponent made ready for the inner loops (power-inl.h).

#pragma once

namespace core_image {

// What a number from 0 on is to be raised to.
struct Power {
    explicit constexpr Power(double value)
        : exponent(static_cast<float>(value)),
          ofZero(value > 0   ? 0
                 : value < 0 ? 1e30f
                             : 1) {}

    float exponent;
    float ofZero;  // 0 raised to it
};

}  // namespace core_image
