// flash.h - the light of a flash: its parameters, for the loops that are compiled once per instruction set.

#pragma once

#include <array>
#include <cstddef>

namespace core_image {

// The brightness of the rays around the circle, interpolated linearly from one ray to the next. The first two follow
// the last one again, because interpolation reads one ray ahead, and an angle of half a turn is behind the last.
inline constexpr std::size_t kRays = 680;
using Rays = std::array<float, kRays + 2>;

// A flash at one time.
struct FlashLight {
    double centerX, centerY;
    double radius;
    double reach;  // where the light ends
    double contrast, strength;
};

}  // namespace core_image
