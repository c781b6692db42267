// power.h - an exponent prepared for the inner loops (power-inl.h).

#pragma once

namespace core_image {

// An exponent for numbers of 0 or more.
struct Power {
    explicit constexpr Power(double value)
        : exponent(static_cast<float>(value)),
          ofZero(value > 0   ? 0
                 : value < 0 ? 1e30f
                             : 1) {}

    float exponent;
    float ofZero;  // the result for 0
};

}  // namespace core_image
